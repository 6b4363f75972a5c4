#pragma once

#include <string>

// What every opening for reading comes down to (see OpenForReading in zorbase/files.h), for a path that is relative to an open folder, or
// AT_FDCWD. Private to zorbase.
int OpenBelow(int folder, const std::string& path, int moreFlags);
