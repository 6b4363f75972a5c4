#include "orvcore/analysis/errorlevel.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "orvcore/analysis/parallel.h"
#include "zorbase/zorexception.h"
#include "zorimage/jpegsession.h"

namespace {

// Rows of a strip, multiples of every block row's height: few enough to stay in the cache, and enough not to be mostly context.
constexpr int kStripRows = 64;
constexpr int kStripRowsWithContext = 192;
constexpr int kContextRows = 16;  // what smooth upsampling reads beyond a strip

// One JPEG round trip.
class RoundTrip : JpegSession {
  public:
    RoundTrip() {
        Attach(m_encoder);
        Attach(m_decoder);
    }
    ~RoundTrip() override {
        jpeg_destroy_compress(&m_encoder);
        jpeg_destroy_decompress(&m_decoder);
        std::free(m_data);
    }

    // Encodes rows first up to last (exclusive) of the image and decodes them into `decoded`, of the same type and row count.
    void Make(const cv::Mat& image, int first, int last, const ErrorLevelSettings& settings,
              cv::Mat& decoded) {
        if (!Run([&] {
                Encode(image, first, last, settings);
                Decode(decoded);
            }))
            ZOR_THROW(Memory, Explain("The picture could not be saved as JPEG in memory: "));
    }

  private:
    // Both within Run.
    void Encode(const cv::Mat& image, int first, int last, const ErrorLevelSettings& settings) {
        if (!m_hasEncoder) jpeg_create_compress(&m_encoder);
        m_hasEncoder = true;
        // The buffer of the strip before is used again; the library replaces it when it is too small.
        unsigned char* const before = m_data;
        m_size = m_capacity;
        jpeg_mem_dest(&m_encoder, &m_data, &m_size);
        m_encoder.image_width = static_cast<JDIMENSION>(image.cols);
        m_encoder.image_height = static_cast<JDIMENSION>(last - first);
        m_encoder.input_components = image.channels();
        m_encoder.in_color_space = image.channels() == 1 ? JCS_GRAYSCALE : JCS_EXT_BGR;
        jpeg_set_defaults(&m_encoder);
        jpeg_set_quality(&m_encoder, settings.quality, TRUE);
        m_encoder.dct_method = JDCT_ISLOW;
        if (image.channels() == 3) {
            m_encoder.comp_info[0].h_samp_factor =
                settings.subsampling == ErrorLevelSubsampling::None ? 1 : 2;
            m_encoder.comp_info[0].v_samp_factor =
                settings.subsampling == ErrorLevelSubsampling::Both ? 2 : 1;
        }
        jpeg_start_compress(&m_encoder, TRUE);
        while (m_encoder.next_scanline < m_encoder.image_height) {
            JSAMPROW row = const_cast<JSAMPROW>(image.ptr(first + static_cast<int>(m_encoder.next_scanline)));
            jpeg_write_scanlines(&m_encoder, &row, 1);
        }
        jpeg_finish_compress(&m_encoder);
        if (m_data != before) {
            std::free(before);
            m_capacity = m_size;
        }
    }

    void Decode(cv::Mat& decoded) {
        if (!m_hasDecoder) jpeg_create_decompress(&m_decoder);
        m_hasDecoder = true;
        jpeg_mem_src(&m_decoder, m_data, m_size);
        jpeg_read_header(&m_decoder, TRUE);
        m_decoder.out_color_space = decoded.channels() == 1 ? JCS_GRAYSCALE : JCS_EXT_BGR;
        m_decoder.dct_method = JDCT_ISLOW;
        m_decoder.do_fancy_upsampling = TRUE;
        jpeg_start_decompress(&m_decoder);
        while (m_decoder.output_scanline < m_decoder.output_height) {
            JSAMPROW row = decoded.ptr(static_cast<int>(m_decoder.output_scanline));
            jpeg_read_scanlines(&m_decoder, &row, 1);
        }
        jpeg_finish_decompress(&m_decoder);
    }

    jpeg_compress_struct m_encoder{};
    jpeg_decompress_struct m_decoder{};
    unsigned char* m_data = nullptr;  // by malloc
    unsigned long m_size = 0;
    unsigned long m_capacity = 0;
    bool m_hasEncoder = false;
    bool m_hasDecoder = false;
};

void MeanOfChannels(const std::uint8_t* difference, int count, std::uint8_t* mean) {
    for (int x = 0; x < count; ++x) {
        const int sum = difference[3 * x] + difference[3 * x + 1] + difference[3 * x + 2];
        mean[x] = static_cast<std::uint8_t>((sum + 1) / 3);
    }
}

// Strips of one image, shared out among threads.
class StripWork {
  public:
    StripWork(const cv::Mat& image, const ErrorLevelSettings& settings, cv::Mat& result)
        : m_image(image),
          m_settings(settings),
          m_result(result),
          m_hasContext(image.channels() == 3 && settings.subsampling == ErrorLevelSubsampling::Both),
          m_stripRows(m_hasContext ? kStripRowsWithContext : kStripRows),
          m_strips((image.rows + m_stripRows - 1) / m_stripRows) {}

    void Run(const AnalysisProgress& between) {
        ForEachPiece(m_strips, between, [this](int strip) {
            std::unique_ptr<Bench> bench = TakeBench();
            DoStrip(*bench, strip);
            const std::lock_guard lock(m_mutex);
            m_free.push_back(std::move(bench));
        });
    }

  private:
    // What one strip needs while it is worked on, used again for the next.
    struct Bench {
        RoundTrip trip;
        cv::Mat decoded;
        cv::Mat difference;
    };

    std::unique_ptr<Bench> TakeBench() {
        {
            const std::lock_guard lock(m_mutex);
            if (!m_free.empty()) {
                std::unique_ptr<Bench> bench = std::move(m_free.back());
                m_free.pop_back();
                return bench;
            }
        }
        return std::make_unique<Bench>();
    }

    void DoStrip(Bench& bench, int strip) {
        const int begin = strip * m_stripRows;
        const int end = std::min(begin + m_stripRows, m_image.rows);
        const int first = m_hasContext ? std::max(begin - kContextRows, 0) : begin;
        const int last = m_hasContext ? std::min(end + kContextRows, m_image.rows) : end;
        bench.decoded.create(last - first, m_image.cols, m_image.type());
        bench.trip.Make(m_image, first, last, m_settings, bench.decoded);
        const cv::Mat source = m_image.rowRange(begin, end);
        const cv::Mat again = bench.decoded.rowRange(begin - first, end - first);
        cv::Mat target = m_result.rowRange(begin, end);
        if (target.type() == source.type()) {
            cv::absdiff(source, again, target);
            return;
        }
        cv::absdiff(source, again, bench.difference);
        for (int y = 0; y < target.rows; ++y)
            MeanOfChannels(bench.difference.ptr(y), target.cols, target.ptr(y));
    }

    const cv::Mat& m_image;
    const ErrorLevelSettings& m_settings;
    cv::Mat& m_result;
    const bool m_hasContext;  // only chroma that was reduced in height is mixed across block rows
    const int m_stripRows;
    const int m_strips;
    std::mutex m_mutex;
    std::vector<std::unique_ptr<Bench>> m_free;
};

}  // namespace

cv::Mat ComputeErrorLevel(const cv::Mat& image, const ErrorLevelSettings& settings,
                          const std::function<void(double done)>& between) {
    if (image.empty() || (image.type() != CV_8UC1 && image.type() != CV_8UC3)) {
        ZOR_THROW(Argument, "Error levels need a grey or colour picture of 8 bits per channel.");
    }
    if (image.cols > JPEG_MAX_DIMENSION || image.rows > JPEG_MAX_DIMENSION) {
        ZOR_THROW(
            Argument,
            "A JPEG file cannot hold more than 65500 pixels in a row or column, so this picture has no error level.");
    }
    ErrorLevelSettings used = settings;
    used.quality = std::clamp(settings.quality, 1, 100);
    const bool isGrey = image.channels() == 1 || settings.grey;
    cv::Mat result(image.rows, image.cols, isGrey ? CV_8UC1 : CV_8UC3);
    StripWork(image, used, result).Run(between);
    return result;
}

ErrorLevelStatistics MeasureErrorLevel(const cv::Mat& errorLevel, const Roi& region) {
    ErrorLevelStatistics statistics;
    const auto sumOf = [](const cv::Mat& mat) {
        const cv::Scalar sums = cv::sum(mat);
        return sums[0] + sums[1] + sums[2];
    };
    const double channels = errorLevel.channels();
    const double total = sumOf(errorLevel);
    const double samples = static_cast<double>(errorLevel.total()) * channels;
    statistics.mean = total / samples;
    double maximum = 0.0;
    cv::minMaxLoc(errorLevel.reshape(1), nullptr, &maximum);
    statistics.maximum = static_cast<int>(maximum);
    const cv::Rect inside =
        cv::Rect(region.x, region.y, std::max(region.width, 0), std::max(region.height, 0)) &
        cv::Rect(0, 0, errorLevel.cols, errorLevel.rows);
    const double insideTotal = inside.empty() ? 0.0 : sumOf(errorLevel(inside));
    const double insideSamples = static_cast<double>(inside.area()) * channels;
    const double none = std::numeric_limits<double>::quiet_NaN();
    statistics.meanInside = insideSamples > 0.0 ? insideTotal / insideSamples : none;
    statistics.meanOutside =
        samples > insideSamples ? (total - insideTotal) / (samples - insideSamples) : none;
    return statistics;
}

cv::Mat AmplifyErrorLevel(const cv::Mat& errorLevel, double gain, const cv::Rect& part) {
    cv::Mat table(1, 256, CV_8U);
    for (int i = 0; i < 256; ++i) table.ptr()[i] = cv::saturate_cast<std::uint8_t>(i * gain);
    cv::Mat amplified;
    cv::LUT(errorLevel(part), table, amplified);
    return amplified;
}
