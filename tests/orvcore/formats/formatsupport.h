#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "zorbase/files.h"

// Small files for the tests of formats/, made in memory.
namespace formatsupport {

struct JpegRecipe {
    int width = 48;
    int height = 32;
    int quality = 80;
    int components = 3;  // 1 or 3
    int horizontal = 2;  // sampling of the first component
    int vertical = 2;
    bool progressive = false;
    bool optimised = false;
    int restartRows = 0;
    std::string comment = {};
    unsigned seed = 1;                                 // of the picture's content
    std::vector<std::pair<int, Bytes>> segments = {};  // APPn number and payload, after JFIF
};
Bytes MakeJpeg(const JpegRecipe& recipe = {});

Bytes ToBytes(const std::string& text);
Bytes operator+(Bytes left, const Bytes& right);
void AppendLittle(Bytes& bytes, std::uint64_t value, int count);
void AppendBig(Bytes& bytes, std::uint64_t value, int count);

struct ZipEntry {
    std::string name;
    Bytes content;
    bool deflate = true;
    bool encrypted = false;
};
Bytes MakeZip(const std::vector<ZipEntry>& entries);

// Folder of real files, "" when $ORVANE_FIXTURES is not set.
std::string Fixtures();
std::vector<std::string> FilesBelow(const std::string& folder);

}  // namespace formatsupport

// Skips the test, visibly, when there is no folder of real files.
#define NEED_FIXTURES() \
    if (formatsupport::Fixtures().empty()) GTEST_SKIP() << "ORVANE_FIXTURES is not set"
