#include "zorimage/libraryversions.h"

#include <dlfcn.h>
#include <gif_lib.h>
#include <openjpeg.h>
#include <png.h>
#include <tiffio.h>
#include <webp/decode.h>
#include <webp/encode.h>

#include <cstdio>
#include <filesystem>
#include <opencv2/core.hpp>

// The library's header needs the ones above.
#include <jpeglib.h>

#include "zorbase/zorexception.h"
#include "zorimage/latecodec.h"

namespace {

// A library that does not tell its version at run time has it in the name of the file that it was loaded from.
std::string LoadedFileOf(const void* symbol) {
    Dl_info info{};
    if (dladdr(symbol, &info) == 0 || info.dli_fname == nullptr) return "not known";
    std::error_code error;
    const std::filesystem::path path = std::filesystem::canonical(info.dli_fname, error);
    return error ? std::string(info.dli_fname) : path.filename().string();
}

std::string ThreeNumbers(int packed) {
    return std::to_string(packed >> 16 & 255) + "." + std::to_string(packed >> 8 & 255) + "." +
           std::to_string(packed & 255);
}

// Loads the module. One that is not there is told to who opens such a file.
std::string LateVersion(const codec::LateCodec& (*module)()) {
    try {
        return module().version();
    } catch (const ZorException&) {
        return "not there";
    }
}

}  // namespace

std::vector<LibraryVersion> ImageLibraryVersions() {
    const std::string tiff = TIFFGetVersion();  // "LIBTIFF, Version 4.5.0", a line end and more
    const std::size_t number = tiff.rfind(' ', tiff.find('\n')) + 1;
    return {{"JPEG", LoadedFileOf(reinterpret_cast<const void*>(&jpeg_std_error))},
            {"PNG", png_get_libpng_ver(nullptr)},
            {"TIFF", tiff.substr(number, tiff.find('\n') - number)},
            {"WebP", ThreeNumbers(WebPGetDecoderVersion())},
            {"GIF", LoadedFileOf(reinterpret_cast<const void*>(&DGifOpen))},
            {"JPEG 2000", opj_version()},
            {"HEIF", LateVersion(codec::HeifModule)},
            {"RAW", LateVersion(codec::RawModule)},
            {"OpenCV", cv::getVersionString()}};
}
