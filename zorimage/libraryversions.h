#pragma once

#include <string>
#include <vector>

// The libraries that pixels come from, in the versions that run now, not those that were there when the program was built.
struct LibraryVersion {
    std::string name;
    std::string version;
};
std::vector<LibraryVersion> ImageLibraryVersions();
