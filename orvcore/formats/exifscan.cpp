#include "orvcore/formats/exifscan.h"

#include <climits>
#include <cmath>

#include "zorbase/text.h"

namespace {

constexpr std::uint32_t kMaxFields = 1000;  // of one directory

enum Type : std::uint32_t {
    kByte = 1,
    kAscii = 2,
    kShort = 3,
    kLong = 4,
    kRational = 5,
    kSignedShort = 8,
    kSignedLong = 9,
    kSignedRational = 10,
    kDouble = 12,
    kDirectory = 13,
    kUtf8 = 129
};

// Bytes of one value.
std::size_t UnitOf(std::uint32_t type) {
    switch (type) {
        case kShort:
        case kSignedShort:
            return 2;
        case kLong:
        case kSignedLong:
        case kDirectory:
        case 11:  // floating point
            return 4;
        case kRational:
        case kSignedRational:
        case kDouble:
            return 8;
        default:
            return 1;
    }
}

struct Field {
    std::uint32_t tag = 0;
    std::uint32_t type = 0;
    std::uint32_t count = 0;
    std::size_t valueAt = 0;  // where its value stands, outside the block when the file lies
};

class Scanner {
  public:
    explicit Scanner(ByteSpan tiff) : m_tiff(tiff) {}

    ExifScan Run() {
        if (!StartsWith(m_tiff, 0, "II", 2) && !StartsWith(m_tiff, 0, "MM", 2)) return m_scan;
        m_order = TiffByteOrder(m_tiff);
        if (Number16(2) != 42) return m_scan;

        std::size_t exifAt = 0;
        std::size_t gpsAt = 0;
        MetadataFacts& facts = m_scan.facts;
        const std::size_t nextAt = ReadDirectory(Number32(4), [&](const Field& field) {
            switch (field.tag) {
                case 0x010F:
                    SetText(facts.make, field);
                    break;
                case 0x0110:
                    SetText(facts.model, field);
                    break;
                case 0x0112: {
                    const int orientation = Whole(field);
                    if (orientation <= 8) facts.orientation = orientation;
                    break;
                }
                case 0x0131:
                    SetText(facts.software, field);
                    break;
                case 0x0132:
                    SetText(facts.dateTime, field);
                    break;
                case 0x8769:
                    exifAt = Offset(field);
                    break;
                case 0x8825:
                    gpsAt = Offset(field);
                    break;
                default:
                    break;
            }
        });
        m_scan.isPresent = m_wasRead;
        ReadDirectory(exifAt, [&](const Field& field) {
            if (field.tag == 0x9003) SetText(facts.dateTimeOriginal, field);
            if (field.tag == 0x9004) SetText(facts.dateTimeDigitized, field);
            if (field.tag == 0xA002) facts.pixelXDimension = Whole(field);
            if (field.tag == 0xA003) facts.pixelYDimension = Whole(field);
        });
        ReadPosition(gpsAt);
        ReadThumbnail(nextAt);
        return m_scan;
    }

  private:
    std::uint32_t Number16(std::size_t at) const {
        return static_cast<std::uint32_t>(NumberAt(m_tiff, at, 2, m_order));
    }
    std::uint32_t Number32(std::size_t at) const {
        return static_cast<std::uint32_t>(NumberAt(m_tiff, at, 4, m_order));
    }

    // Hands every field over and returns where the next directory stands, 0 when there is none. Directories
    // are followed a fixed number of times, so no loop of theirs can keep it busy.
    template <typename Take>
    std::size_t ReadDirectory(std::size_t at, const Take& take) {
        m_wasRead = at >= 8 && at + 2 <= m_tiff.size();
        if (!m_wasRead) return 0;
        const std::uint32_t count = Number16(at);
        if (count > kMaxFields) return 0;
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::size_t fieldAt = at + 2 + std::size_t{12} * i;
            if (fieldAt + 12 > m_tiff.size()) return 0;
            Field field{Number16(fieldAt), Number16(fieldAt + 2), Number32(fieldAt + 4), fieldAt + 8};
            const std::size_t unit = UnitOf(field.type);
            if (unit * field.count > 4) field.valueAt = Number32(fieldAt + 8);
            if (unit * field.count <= m_tiff.size() && field.valueAt <= m_tiff.size() - unit * field.count)
                take(field);
        }
        return Number32(at + 2 + std::size_t{12} * count);
    }

    static bool IsText(const Field& field) { return field.type == kAscii || field.type == kUtf8; }

    // The first of several fields of one tag counts. A text ends at its first zero byte.
    void SetText(std::string& text, const Field& field) const {
        if (!text.empty() || !IsText(field)) return;
        text = TextOf(Slice(m_tiff, field.valueAt, std::min<std::size_t>(field.count, kMaxMetadataText)));
        if (const std::size_t zero = text.find('\0'); zero != std::string::npos) text.resize(zero);
        text = Trim(ToValidUtf8(text));
    }

    int Whole(const Field& field) const {
        if (field.count == 0) return 0;
        std::uint32_t value = 0;
        switch (field.type) {
            case kByte:
                value = ByteAt(m_tiff, field.valueAt);
                break;
            case kShort:
                value = Number16(field.valueAt);
                break;
            case kSignedShort:
                value = Number16(field.valueAt);
                if (value > SHRT_MAX) return 0;
                break;
            case kLong:
            case kSignedLong:  // some phones sign what cannot be negative, pointers among it
            case kDirectory:
                value = Number32(field.valueAt);
                break;
            default:
                break;
        }
        return value <= INT_MAX ? static_cast<int>(value) : 0;
    }
    std::size_t Offset(const Field& field) const { return static_cast<std::size_t>(Whole(field)); }

    // Degrees of up to three fractions, negative when one cannot be read. A negative part of a signed fraction
    // contradicts the hemisphere that stands beside it.
    double Degrees(const Field& field) const {
        const bool isSigned = field.type == kSignedRational;
        if ((field.type != kRational && !isSigned) || field.count < 1 || field.count > 3) return -1;
        double degrees = 0;
        double share = 1;
        for (std::size_t i = 0; i < field.count; ++i, share /= 60) {
            const std::uint32_t numerator = Number32(field.valueAt + 8 * i);
            const std::uint32_t denominator = Number32(field.valueAt + 8 * i + 4);
            if (denominator == 0 || (isSigned && (numerator > INT_MAX || denominator > INT_MAX))) return -1;
            const double part = static_cast<double>(numerator) / denominator;
            if (i > 0 && part >= 60) return -1;
            degrees += share * part;
        }
        return degrees;
    }

    void ReadPosition(std::size_t at) {
        char hemispheres[2] = {0, 0};
        double degrees[2] = {-1, -1};
        ReadDirectory(at, [&](const Field& field) {
            const bool isLatitude = field.tag <= 2;
            if (field.tag == 1 || field.tag == 3) {
                std::string letter;
                SetText(letter, field);
                if (letter.size() == 1) hemispheres[isLatitude ? 0 : 1] = letter[0];
            }
            if (field.tag == 2 || field.tag == 4) degrees[isLatitude ? 0 : 1] = Degrees(field);
        });
        m_scan.hasPosition = (hemispheres[0] == 'N' || hemispheres[0] == 'S') &&
                             (hemispheres[1] == 'E' || hemispheres[1] == 'W') && degrees[0] >= 0 &&
                             degrees[0] <= 90 && degrees[1] >= 0 && degrees[1] <= 180;
    }

    void ReadThumbnail(std::size_t at) {
        std::size_t offset = 0;
        std::size_t size = 0;
        bool isJpeg = true;
        bool hasStrips = false;
        ReadDirectory(at, [&](const Field& field) {
            if (field.tag == 0x0103) isJpeg = Whole(field) == 6;
            if (field.tag == 0x0111) hasStrips = true;
            if (field.tag == 0x0201) offset = Offset(field);
            if (field.tag == 0x0202) size = Offset(field);
        });
        m_scan.hasOtherThumbnail = hasStrips || !isJpeg;
        if (isJpeg && offset > 0 && size > 0 && offset < m_tiff.size() && size <= m_tiff.size() - offset)
            m_scan.thumbnail = m_tiff.subspan(offset, size);
    }

    ByteSpan m_tiff;
    ByteOrder m_order = ByteOrder::Big;
    bool m_wasRead = false;
    ExifScan m_scan;
};

}  // namespace

ExifScan ScanExif(ByteSpan tiff) {
    return Scanner(tiff).Run();
}
