#pragma once

#include <string>
#include <utility>
#include <vector>

// The libraries that results rest on, with their versions, as one line: part of the key of every kept result. Any thread.
const std::string& LibraryVersionsText();

// All libraries that the core runs with and that tell their version: name and version, in a fixed order. Any thread.
std::vector<std::pair<std::string, std::string>> GetLibraryVersions();

// What "--version" prints: the program with its version, and below it one line per library; ends without a line end.
std::string VersionText();
