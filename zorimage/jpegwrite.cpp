#include <algorithm>
#include <cstdlib>

#include "zorbase/zorexception.h"
#include "zorimage/codec.h"
#include "zorimage/jpegsession.h"

namespace {

struct Writer : JpegSession {
    jpeg_compress_struct cinfo{};
    unsigned char* data = nullptr;  // the library's, by malloc
    unsigned long size = 0;

    Writer() { Attach(cinfo); }
    ~Writer() override {
        jpeg_destroy_compress(&cinfo);
        std::free(data);
    }
};

// Within Run.
void Compress(Writer& writer, const cv::Mat& pixels, int quality) {
    jpeg_compress_struct& cinfo = writer.cinfo;
    jpeg_create_compress(&cinfo);
    jpeg_mem_dest(&cinfo, &writer.data, &writer.size);
    cinfo.image_width = static_cast<JDIMENSION>(pixels.cols);
    cinfo.image_height = static_cast<JDIMENSION>(pixels.rows);
    cinfo.input_components = pixels.channels();
    cinfo.in_color_space = pixels.channels() == 1 ? JCS_GRAYSCALE : JCS_EXT_BGR;
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, quality, TRUE);
    cinfo.dct_method = JDCT_ISLOW;
    if (quality >= 90 &&
        pixels.channels() == 3) {  // colour as sharp as brightness where quality is asked for
        cinfo.comp_info[0].h_samp_factor = 1;
        cinfo.comp_info[0].v_samp_factor = 1;
    }
    jpeg_start_compress(&cinfo, TRUE);
    while (cinfo.next_scanline < cinfo.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(pixels.ptr(static_cast<int>(cinfo.next_scanline)));
        jpeg_write_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_compress(&cinfo);
}

}  // namespace

namespace codec {

std::vector<std::uint8_t> EncodeJpeg(const Image& image, int quality) {
    if (image.GetWidth() > JPEG_MAX_DIMENSION || image.GetHeight() > JPEG_MAX_DIMENSION) {
        ZOR_THROW(Argument,
                  "A JPEG file cannot hold more than 65500 pixels in a row or column; save as PNG or TIFF.");
    }
    const Image narrow = image.GetChannels() <= 2 ? image.ToGray() : image.ToColor();
    Writer writer;
    if (!writer.Run([&] { Compress(writer, narrow.GetMat(), std::clamp(quality, 1, 100)); }))
        ZOR_THROW(Memory, writer.Explain("The JPEG file could not be made: "));
    return {writer.data, writer.data + writer.size};
}

}  // namespace codec
