#pragma once

#include <string>

#include "orvcore/model/loadedfile.h"

// "" unless the file is a JPEG whose luminance is stored smaller than its colours, otherwise why methods about blocks of 8 x 8 decoded pixels
// cannot say anything of it: its blocks are larger than that. Looks at headers only.
std::string WhyNotReducedLuminance(const OrvLoadedFile& file);
