#pragma once

#include <string>

// The libraries that pixels and metadata come from, in the versions that run now, as one line: "JPEG libjpeg.so.62.3.0, PNG 1.6.39, …".
// Part of a kept result's key, and of every report.
const std::string& LibraryVersionsText();
