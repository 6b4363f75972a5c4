#include "orvgui/viewer/displayresample.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <opencv2/core/hal/intrin.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace {

constexpr int kTaps = 3;
constexpr std::size_t kPad = 16;  // vector loads reach past the last pixel

std::uint8_t EightBits(std::uint32_t wide) {
    return static_cast<std::uint8_t>((wide * 255U + 32895U) >> 16);
}

template <typename Sample>
std::uint8_t ToByte(Sample value) {
    if constexpr (sizeof(Sample) == 2) {
        return EightBits(value);
    } else {
        return value;
    }
}

template <typename Sample>
void ConvertRow(const Sample* source, int channels, int count, std::uint8_t* bgr) {
    if (channels <= 2) {
        for (int x = 0; x < count; ++x) {
            const std::uint8_t grey = ToByte(source[x * channels]);
            bgr[3 * x] = bgr[3 * x + 1] = bgr[3 * x + 2] = grey;
        }
    } else {
        for (int x = 0; x < count; ++x) {
            for (int c = 0; c < 3; ++c) bgr[3 * x + c] = ToByte(source[x * channels + c]);
        }
    }
}

// Source pixels and weights behind each of `count` screen pixels along one axis.
struct Axis {
    std::vector<int> first;              // index of the first source pixel
    std::vector<std::uint16_t> weights;  // kTaps per screen pixel, sum `unit`
    int begin = 0;                       // source pixels needed: begin up to end
    int end = 0;
};

Axis MakeAxis(int device, int count, double zoom, int offset, int length, int scale, int sourceLength,
              int unit) {
    Axis axis;
    axis.first.resize(static_cast<std::size_t>(count));
    axis.weights.assign(static_cast<std::size_t>(count) * kTaps, 0);
    axis.begin = sourceLength;
    const double sourceEnd = static_cast<double>(length) / scale;
    for (int i = 0; i < count; ++i) {
        double from = ((static_cast<double>(device) + i) / zoom - offset) / scale;
        double to = ((static_cast<double>(device) + i + 1.0) / zoom - offset) / scale;
        // Screen pixels at the rim are covered in part only: they show what they cover.
        from = std::clamp(from, 0.0, sourceEnd);
        to = std::clamp(to, 0.0, sourceEnd);
        int first = std::clamp(static_cast<int>(std::floor(from)), 0, sourceLength - 1);
        double covered[kTaps] = {};
        double total = 0.0;
        for (int t = 0; t < kTaps && first + t < sourceLength; ++t) {
            const double left = std::max<double>(first + t, from);
            const double right = std::min<double>(first + t + 1, to);
            covered[t] = std::max(right - left, 0.0);
            total += covered[t];
        }
        if (total <= 0.0) {
            covered[0] = total = 1.0;
        }
        // Rounded so that the sum is exact: a flat area keeps its value.
        int rest = unit;
        int largest = 0;
        std::uint16_t* weights = &axis.weights[static_cast<std::size_t>(i) * kTaps];
        for (int t = 0; t < kTaps; ++t) {
            weights[t] = static_cast<std::uint16_t>(std::lround(covered[t] / total * unit));
            rest -= weights[t];
            if (weights[t] > weights[largest]) largest = t;
        }
        weights[largest] = static_cast<std::uint16_t>(weights[largest] + rest);
        axis.first[static_cast<std::size_t>(i)] = first;
        axis.begin = std::min(axis.begin, first);
        for (int t = kTaps - 1; t >= 0; --t) {
            if (weights[t] != 0) {
                axis.end = std::max(axis.end, first + t + 1);
                break;
            }
        }
    }
    return axis;
}

// Weights of two neighbouring screen pixels side by side, four lanes each: three registers per pair.
std::vector<std::uint16_t> PairWeights(const Axis& axis) {
    const std::size_t count = axis.first.size();
    std::vector<std::uint16_t> lanes((count + 1) / 2 * kTaps * 8, 0);
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t t = 0; t < kTaps; ++t) {
            std::uint16_t* lane = &lanes[((i / 2) * kTaps + t) * 8 + (i % 2) * 4];
            std::fill(lane, lane + 4, axis.weights[i * kTaps + t]);
        }
    }
    return lanes;
}

// sums: source rows already weighted, 256 times the value, from source pixel axis.begin on.
void AverageAlongRow(const std::uint16_t* sums, int pixelBytes, const Axis& axis,
                     const std::vector<std::uint16_t>& lanes, std::uint8_t* target) {
    const std::size_t count = axis.first.size();
    const std::uint16_t* weight = lanes.data();
    const cv::v_uint16x8 half = cv::v_setall_u16(128);
    std::uint8_t spare[16];
    for (std::size_t i = 0; i < count; i += 2, weight += kTaps * 8) {
        const bool isPair = i + 1 < count;
        const std::uint16_t* left =
            sums + static_cast<std::ptrdiff_t>(axis.first[i] - axis.begin) * pixelBytes;
        const std::uint16_t* right =
            isPair ? sums + static_cast<std::ptrdiff_t>(axis.first[i + 1] - axis.begin) * pixelBytes : left;
        cv::v_uint16x8 total = cv::v_mul_hi(cv::v_load_halves(left, right), cv::v_load(weight));
        total = cv::v_add_wrap(total, cv::v_mul_hi(cv::v_load_halves(left + pixelBytes, right + pixelBytes),
                                                   cv::v_load(weight + 8)));
        total = cv::v_add_wrap(total,
                               cv::v_mul_hi(cv::v_load_halves(left + 2 * pixelBytes, right + 2 * pixelBytes),
                                            cv::v_load(weight + 16)));
        total = cv::v_add_wrap(total, half) >> 8;
        if (isPair) {
            cv::v_pack_store(target + 4 * i, total);
        } else {
            cv::v_pack_store(spare, total);
            std::memcpy(target + 4 * i, spare, 4);
        }
    }
}

void WeightRows(const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c,
                const std::uint16_t* weights, std::size_t count, std::uint16_t* sums) {
    const std::uint16_t wa = weights[0];
    const std::uint16_t wb = weights[1];
    const std::uint16_t wc = weights[2];
    if (wc == 0 && wb == 0) {
        for (std::size_t i = 0; i < count; ++i) sums[i] = static_cast<std::uint16_t>(a[i] << 8);
    } else if (wc == 0) {
        for (std::size_t i = 0; i < count; ++i) sums[i] = static_cast<std::uint16_t>(a[i] * wa + b[i] * wb);
    } else {
        for (std::size_t i = 0; i < count; ++i) {
            sums[i] = static_cast<std::uint16_t>(a[i] * wa + b[i] * wb + c[i] * wc);
        }
    }
}

// The rows of a part in strips, on OpenCV's threads.
template <typename Rows>
void ForStrips(int rows, std::size_t pixels, const Rows& work) {
    constexpr std::size_t kWorthThreads = 64 * 1024;
    if (pixels < kWorthThreads) {
        work(0, rows);
        return;
    }
    cv::parallel_for_(cv::Range(0, rows), [&work](const cv::Range& range) { work(range.start, range.end); });
}

void FillRow(std::uint8_t* target, const std::uint8_t* bgr, int pixelBytes, const std::vector<int>& columns,
             int firstX) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::uint8_t* pixel = bgr + static_cast<std::ptrdiff_t>(columns[i] - firstX) * pixelBytes;
        std::uint8_t* screen = target + 4 * i;
        screen[0] = pixel[0];
        screen[1] = pixel[1];
        screen[2] = pixel[2];
    }
}

}  // namespace

DisplayColour DisplayColourAt(const cv::Mat& image, int x, int y) {
    const auto sample = [&](int channel) -> int {
        const int at = x * image.channels() + channel;
        return image.depth() == CV_16U ? EightBits(image.ptr<std::uint16_t>(y)[at])
                                       : image.ptr<std::uint8_t>(y)[at];
    };
    if (image.channels() <= 2) return {sample(0), sample(0), sample(0)};
    return {sample(2), sample(1), sample(0)};
}

BgrRows::BgrRows(const cv::Mat& source)
    : m_source(source),
      m_pixelBytes(source.type() == CV_8UC4 ? 4 : 3),
      m_isDirect(source.type() == CV_8UC3 || source.type() == CV_8UC4) {
    if (!m_isDirect) m_rows.reset(new std::uint8_t[kKept * static_cast<std::size_t>(source.cols) * 3]);
}

const std::uint8_t* BgrRows::Row(int y, int firstX, int lastX) {
    if (m_isDirect) return m_source.ptr(y) + static_cast<std::ptrdiff_t>(firstX) * m_pixelBytes;
    const int slot = y % kKept;
    std::uint8_t* row = m_rows.get() +
                        static_cast<std::size_t>(slot) * static_cast<std::size_t>(m_source.cols) * 3 +
                        static_cast<std::size_t>(firstX) * 3;
    if (m_keptRow[slot] != y) {
        m_keptRow[slot] = y;
        const int channels = m_source.channels();
        if (m_source.depth() == CV_16U) {
            ConvertRow(m_source.ptr<std::uint16_t>(y) + static_cast<std::ptrdiff_t>(firstX) * channels,
                       channels, lastX - firstX, row);
        } else {
            ConvertRow(m_source.ptr(y) + static_cast<std::ptrdiff_t>(firstX) * channels, channels,
                       lastX - firstX, row);
        }
    }
    return row;
}

void ResampleNearest(const cv::Mat& source, const ResampleView& view, const IntRect& part,
                     ScreenPixels screen) {
    if (part.IsEmpty()) return;
    std::vector<int> columns(static_cast<std::size_t>(part.width));
    for (int i = 0; i < part.width; ++i) {
        columns[static_cast<std::size_t>(i)] =
            PixelUnderDevice(view.origin.x + part.x + i, view.offset.x, source.cols, view.zoom);
    }
    const int firstX = columns.front();
    const int lastX = columns.back() + 1;
    const bool isOneToOne = lastX - firstX == part.width;
    ForStrips(part.height, static_cast<std::size_t>(part.width) * static_cast<std::size_t>(part.height),
              [&](int begin, int end) {
                  BgrRows rows(source);
                  const std::uint8_t* previous = nullptr;
                  int previousRow = -1;
                  for (int i = begin; i < end; ++i) {
                      std::uint8_t* target = screen.data +
                                             static_cast<std::size_t>(part.y + i) * screen.stride +
                                             static_cast<std::size_t>(part.x) * 4;
                      const int y =
                          PixelUnderDevice(view.origin.y + part.y + i, view.offset.y, source.rows, view.zoom);
                      if (y == previousRow) {
                          std::memcpy(target, previous, static_cast<std::size_t>(part.width) * 4);
                      } else {
                          const std::uint8_t* row = rows.Row(y, firstX, lastX);
                          if (isOneToOne && rows.PixelBytes() == 4) {
                              std::memcpy(target, row, static_cast<std::size_t>(part.width) * 4);
                          } else if (isOneToOne) {
                              const cv::Mat from(1, part.width, CV_8UC3, const_cast<std::uint8_t*>(row));
                              cv::Mat to(1, part.width, CV_8UC4, target);
                              cv::cvtColor(from, to, cv::COLOR_BGR2BGRA);
                          } else {
                              FillRow(target, row, rows.PixelBytes(), columns, firstX);
                          }
                      }
                      previous = target;
                      previousRow = y;
                  }
              });
}

void ResampleAverage(const cv::Mat& source, const ResampleView& view, const IntRect& part,
                     ScreenPixels screen) {
    if (part.IsEmpty()) return;
    const Axis across = MakeAxis(view.origin.x + part.x, part.width, view.zoom, view.offset.x, view.image.x,
                                 view.scale, source.cols, 65535);
    const Axis down = MakeAxis(view.origin.y + part.y, part.height, view.zoom, view.offset.y, view.image.y,
                               view.scale, source.rows, 256);
    const std::vector<std::uint16_t> lanes = PairWeights(across);
    const int pixels = across.end - across.begin;
    ForStrips(part.height, static_cast<std::size_t>(part.width) * static_cast<std::size_t>(part.height),
              [&](int begin, int end) {
                  BgrRows rows(source);
                  const std::size_t bytes =
                      static_cast<std::size_t>(pixels) * static_cast<std::size_t>(rows.PixelBytes());
                  std::vector<std::uint16_t> sums(bytes + kTaps * 4 + kPad, 0);
                  for (int i = begin; i < end; ++i) {
                      const std::uint16_t* weights = &down.weights[static_cast<std::size_t>(i) * kTaps];
                      const std::uint8_t* row[kTaps];
                      for (int t = 0; t < kTaps; ++t) {
                          const int y = down.first[static_cast<std::size_t>(i)] + t;
                          row[t] = t == 0 || weights[t] != 0
                                       ? rows.Row(std::min(y, source.rows - 1), across.begin, across.end)
                                       : row[0];
                      }
                      // A weight of 256 on one row stands alone; where the first row has no weight it must not be the only one.
                      if (weights[1] == 0 && weights[2] == 0) {
                          WeightRows(row[0], row[0], row[0], weights, bytes, sums.data());
                      } else {
                          WeightRows(row[0], row[1], row[2], weights, bytes, sums.data());
                      }
                      AverageAlongRow(sums.data(), rows.PixelBytes(), across, lanes,
                                      screen.data + static_cast<std::size_t>(part.y + i) * screen.stride +
                                          static_cast<std::size_t>(part.x) * 4);
                  }
              });
}

cv::Mat HalveImage(const cv::Mat& source) {
    cv::Mat bgr = source;
    if (source.type() != CV_8UC3) {
        bgr.create(source.rows, source.cols, CV_8UC3);
        BgrRows rows(source);
        for (int y = 0; y < source.rows; ++y) {
            const std::uint8_t* row = rows.Row(y, 0, source.cols);
            if (rows.PixelBytes() == 3) {
                std::memcpy(bgr.ptr(y), row, static_cast<std::size_t>(source.cols) * 3);
            } else {
                ConvertRow(row, 4, source.cols, bgr.ptr(y));
            }
        }
    }
    const int width = (bgr.cols + 1) / 2;
    const int height = (bgr.rows + 1) / 2;
    cv::Mat half(height, width, CV_8UC3);
    const int evenX = bgr.cols / 2;
    const int evenY = bgr.rows / 2;
    if (evenX > 0 && evenY > 0) {
        cv::Mat inner = half(cv::Rect(0, 0, evenX, evenY));
        cv::resize(bgr(cv::Rect(0, 0, 2 * evenX, 2 * evenY)), inner, inner.size(), 0, 0, cv::INTER_AREA);
    }
    // What is left over at an odd right or lower edge.
    const auto average = [&bgr](int x, int y, int c) {
        const int right = std::min(x + 1, bgr.cols - 1);
        const int below = std::min(y + 1, bgr.rows - 1);
        const auto at = [&](int column, int line) { return static_cast<int>(bgr.ptr(line)[column * 3 + c]); };
        return static_cast<std::uint8_t>((at(x, y) + at(right, y) + at(x, below) + at(right, below) + 2) / 4);
    };
    for (int y = 0; y < height; ++y) {
        const int from = y < evenY ? evenX : 0;
        for (int x = from; x < width; ++x) {
            for (int c = 0; c < 3; ++c) half.ptr(y)[x * 3 + c] = average(2 * x, 2 * y, c);
        }
    }
    return half;
}
