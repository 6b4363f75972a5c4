#include <png.h>

#include <array>
#include <csetjmp>
#include <cstring>

#include "zorbase/zorexception.h"
#include "zorimage/codec.h"

namespace {

struct Writer {
    png_structp png = nullptr;
    png_infop info = nullptr;
    std::jmp_buf jump{};
    std::array<char, 256> error{};
    std::vector<std::uint8_t> out;

    Writer() = default;
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() { png_destroy_write_struct(&png, &info); }
};

[[noreturn]] void OnError(png_structp png, png_const_charp text) {
    Writer& writer = *static_cast<Writer*>(png_get_error_ptr(png));
    std::strncpy(writer.error.data(), text, writer.error.size() - 1);
    std::longjmp(writer.jump, 1);
}

void OnWarning(png_structp, png_const_charp) {}

void OnWrite(png_structp png, png_bytep data, std::size_t count) {
    bool isStored = true;
    try {
        Writer& writer = *static_cast<Writer*>(png_get_io_ptr(png));
        writer.out.insert(writer.out.end(), data, data + count);
    } catch (const std::exception&) {
        isStored = false;
    }
    if (!isStored) png_error(png, "not enough memory");
}

void OnFlush(png_structp) {}

bool Compress(Writer& writer, const cv::Mat& pixels) {
    if (setjmp(writer.jump) != 0) return false;  // NOLINT: the library's way to report errors
    constexpr std::array colours = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                                    PNG_COLOR_TYPE_RGB_ALPHA};
    png_structp png = writer.png;
    png_set_user_limits(png, 0x7fffffff, 0x7fffffff);
    png_set_write_fn(png, &writer, OnWrite, OnFlush);
    png_set_IHDR(png, writer.info, static_cast<png_uint_32>(pixels.cols),
                 static_cast<png_uint_32>(pixels.rows), pixels.depth() == CV_16U ? 16 : 8,
                 colours[static_cast<std::size_t>(pixels.channels() - 1)], PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(
        png, 3);  // of a photograph the best level makes little less in several times the time
    png_write_info(png, writer.info);
    png_set_bgr(png);
    png_set_swap(png);
    for (int y = 0; y < pixels.rows; ++y) png_write_row(png, pixels.ptr(y));
    png_write_end(png, nullptr);
    return true;
}

}  // namespace

namespace codec {

std::vector<std::uint8_t> EncodePng(const Image& image) {
    Writer writer;
    writer.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &writer, OnError, OnWarning);
    if (writer.png != nullptr) writer.info = png_create_info_struct(writer.png);
    if (writer.info == nullptr || !Compress(writer, image.GetMat())) {
        ZOR_THROW(Memory, std::string("The PNG file could not be made: ") + writer.error.data() + '.');
    }
    return std::move(writer.out);
}

}  // namespace codec
