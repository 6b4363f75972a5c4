#include "orvcore/formats/pdfpixels.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr long long kMaxSide = 1000000;
constexpr long long kMaxPixels = 600000000;
constexpr int kMaxColourDepth = 4;  // an ICC space may name a base, an index a space

using Model = PdfSampling::Model;

int ComponentsOf(Model model) {
    switch (model) {
        case Model::Rgb:
            return 3;
        case Model::Cmyk:
            return 4;
        default:
            return 1;
    }
}

Model ModelOfCount(long long count) {
    return count == 1 ? Model::Grey : count == 3 ? Model::Rgb : count == 4 ? Model::Cmyk : Model::Other;
}

std::string NameOf(QPDFObjectHandle object) {
    return object.isName() ? object.getName() : std::string();
}

long long IntOf(QPDFObjectHandle object, long long otherwise) {
    return object.isInteger() ? object.getIntValue() : otherwise;
}

// The model of a colour space; palette is filled in for Indexed.
Model ModelOf(QPDFObjectHandle space, PdfSampling& sampling, int depth) {
    if (depth > kMaxColourDepth) return Model::Other;
    const bool isArray = space.isArray() && space.getArrayNItems() > 0;
    const std::string name = NameOf(isArray ? space.getArrayItem(0) : space);
    if (name == "/DeviceGray" || name == "/G" || name == "/CalGray") return Model::Grey;
    if (name == "/DeviceRGB" || name == "/RGB" || name == "/CalRGB") return Model::Rgb;
    if (name == "/DeviceCMYK" || name == "/CMYK") return Model::Cmyk;
    if (!isArray) return Model::Other;
    if (name == "/ICCBased" && space.getArrayNItems() > 1 && space.getArrayItem(1).isStream()) {
        QPDFObjectHandle profile = space.getArrayItem(1).getDict();
        return ModelOfCount(IntOf(profile.getKey("/N"), 0));
    }
    if (name == "/Separation") return Model::Ink;
    if (name == "/DeviceN" && space.getArrayNItems() > 1 && space.getArrayItem(1).isArray())
        return space.getArrayItem(1).getArrayNItems() == 1 ? Model::Ink : Model::Other;
    if ((name == "/Indexed" || name == "/I") && space.getArrayNItems() > 3) {
        const Model base = ModelOf(space.getArrayItem(1), sampling, depth + 1);
        if (base == Model::Other || base == Model::Indexed) return Model::Other;
        QPDFObjectHandle table = space.getArrayItem(3);
        std::string bytes;
        if (table.isString()) bytes = table.getStringValue();
        if (table.isStream()) {
            const auto data = table.getStreamData(qpdf_dl_specialized);
            bytes.assign(reinterpret_cast<const char*>(data->getBuffer()),
                         std::min<std::size_t>(data->getSize(), 1024));
        }
        sampling.paletteModel = base;
        sampling.palette.assign(bytes.begin(), bytes.end());
        return Model::Indexed;
    }
    return Model::Other;
}

// Reads samples of 1 to 16 bits from one row.
class RowReader {
  public:
    RowReader(const Bytes& bytes, std::size_t offset, int bits)
        : m_bytes(bytes), m_offset(offset), m_bits(bits) {}
    int Next() {
        int value = 0;
        if (m_bits == 16) {
            value = (At(m_offset) << 8) | At(m_offset + 1);
            m_offset += 2;
            return value;
        }
        value = (At(m_offset) >> (8 - m_bits - m_used)) & ((1 << m_bits) - 1);
        m_used += m_bits;
        if (m_used == 8) {
            m_used = 0;
            ++m_offset;
        }
        return value;
    }

  private:
    int At(std::size_t i) const { return i < m_bytes.size() ? m_bytes[i] : 0; }
    const Bytes& m_bytes;
    std::size_t m_offset;
    int m_bits;
    int m_used = 0;
};

// For each component the shown value (0..maximum) of every stored one.
std::vector<std::vector<int>> ShownValues(const PdfSampling& s, int maximum) {
    const int stored = (1 << s.bits) - 1;
    std::vector<std::vector<int>> tables;
    for (int c = 0; c < s.components; ++c) {
        const auto at = 2 * static_cast<std::size_t>(c);
        const bool given = s.decode.size() >= at + 2;
        const double low = given ? s.decode[at] : 0;
        const double high = given ? s.decode[at + 1] : 1;
        std::vector<int> table(static_cast<std::size_t>(stored) + 1);
        for (int v = 0; v <= stored; ++v) {
            const double part = std::clamp(low + v * (high - low) / stored, 0.0, 1.0);
            table[static_cast<std::size_t>(v)] = static_cast<int>(std::lround(part * maximum));
        }
        tables.push_back(std::move(table));
    }
    return tables;
}

// Blue, green, red of up to four components of 0..maximum.
std::array<int, 3> ToBgr(Model model, const int* v, int maximum) {
    if (model == Model::Rgb) return {v[2], v[1], v[0]};
    if (model == Model::Cmyk) {
        std::array<int, 3> bgr{};
        for (int i = 0; i < 3; ++i) {
            const double part = (1.0 - double(v[2 - i]) / maximum) * (1.0 - double(v[3]) / maximum);
            bgr[static_cast<std::size_t>(i)] = static_cast<int>(std::lround(part * maximum));
        }
        return bgr;
    }
    const int grey = model == Model::Ink ? maximum - v[0] : v[0];
    return {grey, grey, grey};
}

template <typename Sample>
void FillRow(const PdfSampling& s, const std::vector<std::vector<int>>& shown,
             const std::vector<std::array<int, 3>>& palette, RowReader reader, Sample* out, int channels,
             int maximum) {
    for (int x = 0; x < s.width; ++x) {
        int values[4] = {0, 0, 0, 0};
        std::array<int, 3> bgr{};
        if (s.model == Model::Indexed) {
            const int index = reader.Next();
            // A decode array of an index gives other indices; only its reversal is in use.
            const bool reversed = s.decode.size() >= 2 && s.decode[0] > s.decode[1];
            const int used = reversed ? (1 << s.bits) - 1 - index : index;
            bgr = palette[std::min(static_cast<std::size_t>(used), palette.size() - 1)];
        } else {
            for (int c = 0; c < s.components; ++c)
                values[c] = shown[static_cast<std::size_t>(c)][static_cast<std::size_t>(reader.Next())];
            bgr = ToBgr(s.model, values, maximum);
        }
        for (int c = 0; c < channels; ++c) *out++ = static_cast<Sample>(bgr[static_cast<std::size_t>(c)]);
    }
}

}  // namespace

std::size_t PdfSampling::RowBytes() const {
    return (static_cast<std::size_t>(width) * static_cast<std::size_t>(components) *
                static_cast<std::size_t>(bits) +
            7) /
           8;
}

PdfSampling ReadPdfSampling(QPDFObjectHandle dictionary) {
    PdfSampling s;
    const long long width = IntOf(dictionary.getKey("/Width"), 0);
    const long long height = IntOf(dictionary.getKey("/Height"), 0);
    if (width < 1 || height < 1 || width > kMaxSide || height > kMaxSide || width * height > kMaxPixels) {
        s.problem = "it states an impossible size";
        return s;
    }
    s.width = static_cast<int>(width);
    s.height = static_cast<int>(height);
    QPDFObjectHandle mask = dictionary.getKey("/ImageMask");
    const bool isMask = mask.isBool() && mask.getBoolValue();
    const long long bits = isMask ? 1 : IntOf(dictionary.getKey("/BitsPerComponent"), 8);
    if (bits != 1 && bits != 2 && bits != 4 && bits != 8 && bits != 16) {
        s.problem = "it states an impossible number of bits";
        return s;
    }
    s.bits = static_cast<int>(bits);
    s.model = isMask ? Model::Grey : ModelOf(dictionary.getKey("/ColorSpace"), s, 0);
    if (s.model == Model::Other) s.problem = "its colour space is not converted";
    if (s.model == Model::Indexed && (s.bits == 16 || s.palette.empty()))
        s.problem = "its palette is damaged";
    s.components = ComponentsOf(s.model);
    QPDFObjectHandle decode = dictionary.getKey("/Decode");
    if (decode.isArray())
        for (int i = 0; i < std::min(decode.getArrayNItems(), 8); ++i)
            s.decode.push_back(decode.getArrayItem(i).isNumber() ? decode.getArrayItem(i).getNumericValue()
                                                                 : 0);
    return s;
}

Image PdfSamplesToImage(const PdfSampling& s, const Bytes& samples) {
    const bool wide = s.bits == 16 && s.model != Model::Cmyk;
    const int maximum = wide ? 65535 : 255;
    const int channels = s.model == Model::Grey || s.model == Model::Ink ? 1 : 3;
    const auto shown = ShownValues(s, maximum);
    std::vector<std::array<int, 3>> palette;
    if (s.model == Model::Indexed) {
        const auto step = static_cast<std::size_t>(ComponentsOf(s.paletteModel));
        for (std::size_t at = 0; at + step <= s.palette.size(); at += step) {
            int values[4] = {0, 0, 0, 0};
            for (std::size_t c = 0; c < step; ++c) values[c] = s.palette[at + c];
            palette.push_back(ToBgr(s.paletteModel, values, 255));
        }
        if (palette.empty()) palette.push_back({0, 0, 0});
    }
    cv::Mat mat(s.height, s.width, CV_MAKETYPE(wide ? CV_16U : CV_8U, channels));
    for (int y = 0; y < s.height; ++y) {
        const RowReader reader(samples, s.RowBytes() * static_cast<std::size_t>(y), s.bits);
        if (wide)
            FillRow(s, shown, palette, reader, mat.ptr<std::uint16_t>(y), channels, maximum);
        else
            FillRow(s, shown, palette, reader, mat.ptr<std::uint8_t>(y), channels, maximum);
    }
    return Image(mat);
}
