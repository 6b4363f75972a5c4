#pragma once

#include <string>

// What is kept of the last self-test, in selftest.json in the documents folder.

std::string SelfTestRecordPath();

// "On 2026-11-22 10:00:00 +0100, Orvane 0.1.0: 61 of 62 answers as expected. Others: error-level on twice.jpg." or that none was made
// with this program here. Never throws; any thread.
std::string SelfTestSummary();
