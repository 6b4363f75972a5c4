#pragma once

// The library's header needs size_t and FILE.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <jpeglib.h>

// The JPEG library's encoder into memory, for files that no writer of the program makes: set what is wanted of Info() between construction
// and Start. A fault of the library ends the test program.
class JpegEncoder {
  public:
    JpegEncoder(int width, int height, int components, J_COLOR_SPACE space, int quality, bool isBaseline) {
        m_info.err = jpeg_std_error(&m_errors);
        jpeg_create_compress(&m_info);
        jpeg_mem_dest(&m_info, &m_data, &m_size);
        m_info.image_width = static_cast<JDIMENSION>(width);
        m_info.image_height = static_cast<JDIMENSION>(height);
        m_info.input_components = components;
        m_info.in_color_space = space;
        jpeg_set_defaults(&m_info);
        jpeg_set_quality(&m_info, quality, isBaseline ? TRUE : FALSE);
    }
    ~JpegEncoder() {
        jpeg_destroy_compress(&m_info);
        std::free(m_data);
    }
    JpegEncoder(const JpegEncoder&) = delete;
    JpegEncoder& operator=(const JpegEncoder&) = delete;

    jpeg_compress_struct& Info() { return m_info; }
    void SetLuminanceSampling(int horizontal, int vertical) {
        m_info.comp_info[0].h_samp_factor = horizontal;
        m_info.comp_info[0].v_samp_factor = vertical;
    }
    void Start() { jpeg_start_compress(&m_info, TRUE); }
    // rowAt(y): the samples of a row.
    template <typename RowAt>
    std::vector<std::uint8_t> WriteRows(const RowAt& rowAt) {
        while (m_info.next_scanline < m_info.image_height) {
            auto* row = const_cast<JSAMPROW>(rowAt(static_cast<int>(m_info.next_scanline)));
            jpeg_write_scanlines(&m_info, &row, 1);
        }
        jpeg_finish_compress(&m_info);
        return {m_data, m_data + m_size};
    }

  private:
    jpeg_compress_struct m_info{};
    jpeg_error_mgr m_errors{};
    unsigned char* m_data = nullptr;
    unsigned long m_size = 0;
};
