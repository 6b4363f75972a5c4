#include "zorimage/imageformat.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "zorbase/files.h"
#include "zorimage/codec.h"

using codec::HasText;

namespace {

using namespace std::string_view_literals;

struct FormatRow {
    FileFormat format;
    const char* name;
    std::vector<std::string> extensions;
};

const std::vector<FormatRow>& FormatRows() {
    static const std::vector<FormatRow> rows = {
        {FileFormat::Jpeg, "JPEG", {"jpg", "jpeg", "jpe", "jfif", "jif", "mpo"}},
        {FileFormat::Png, "PNG", {"png", "apng"}},
        {FileFormat::Tiff, "TIFF", {"tif", "tiff"}},
        {FileFormat::Bmp, "BMP", {"bmp", "dib"}},
        {FileFormat::Gif, "GIF", {"gif"}},
        {FileFormat::Webp, "WebP", {"webp"}},
        {FileFormat::Jpeg2000, "JPEG 2000", {"jp2", "j2k", "jpx", "jpf", "j2c", "jpc", "jpm"}},
        {FileFormat::Heif, "HEIF", {"heic", "heif", "hif", "heics"}},
        {FileFormat::Avif, "AVIF", {"avif", "avifs"}},
        {FileFormat::Raw, "Camera RAW", {"dng", "cr2", "cr3", "nef", "arw", "raf", "orf", "rw2", "pef",
                                         "srw", "crw", "nrw", "sr2", "srf", "raw", "rwl", "x3f", "3fr",
                                         "fff", "dcr", "kdc", "k25", "mrw", "mef", "mos", "iiq", "erf"}},
        {FileFormat::Pdf, "PDF", {"pdf"}},
        {FileFormat::Zip, "ZIP archive", {"zip", "docx", "pptx", "xlsx", "odt", "odp", "ods", "epub"}},
        {FileFormat::OleDocument, "OLE document", {"doc", "ppt", "xls", "msg", "db"}},
        {FileFormat::Photoshop, "Photoshop", {"psd", "psb"}},
        {FileFormat::Ico, "Icon", {"ico", "cur"}},
        {FileFormat::Pnm, "PNM", {"ppm", "pgm", "pbm", "pnm", "pam"}},
        {FileFormat::Mp4, "MP4 / QuickTime", {"mp4", "mov", "m4v", "3gp", "m4a"}},
        {FileFormat::Text, "Text", {"txt", "csv", "tsv", "xml", "html", "htm", "json", "md", "svg", "xmp"}},
        {FileFormat::Empty, "Empty file", {}},
    };
    return rows;
}

const FormatRow* FindRow(FileFormat format) {
    const auto& rows = FormatRows();
    const auto found = std::find_if(rows.begin(), rows.end(),
                                    [format](const FormatRow& row) { return row.format == format; });
    return found == rows.end() ? nullptr : &*found;
}

// Numbers of a TIFF header in its own byte order; 0 outside the bytes.
class TiffView {
  public:
    explicit TiffView(ByteSpan bytes) : m_bytes(bytes), m_order(TiffByteOrder(bytes)) {}
    std::uint32_t Get16(std::size_t offset) const {
        return static_cast<std::uint32_t>(NumberAt(m_bytes, offset, 2, m_order));
    }
    std::uint32_t Get32(std::size_t offset) const {
        return static_cast<std::uint32_t>(NumberAt(m_bytes, offset, 4, m_order));
    }

  private:
    ByteSpan m_bytes;
    ByteOrder m_order;
};

bool IsRawMake(ByteSpan head, std::size_t offset) {
    constexpr std::array makes = {
        "NIKON"sv,     "Nikon"sv,         "SONY"sv,          "Sony"sv,           "PENTAX"sv,     "Pentax"sv,
        "RICOH"sv,     "SAMSUNG"sv,       "Samsung"sv,       "Hasselblad"sv,     "HASSELBLAD"sv, "Kodak"sv,
        "KODAK"sv,     "EASTMAN KODAK"sv, "Eastman Kodak"sv, "SEIKO EPSON"sv,    "Mamiya"sv,     "Leaf"sv,
        "Phase One"sv, "Canon"sv,         "Minolta"sv,       "KONICA MINOLTA"sv, "Imacon"sv,     "OLYMPUS"sv,
        "LEICA"sv,     "Leica"sv};
    return std::any_of(makes.begin(), makes.end(),
                       [&](std::string_view make) { return HasText(head, offset, make); });
}

// Whether a TIFF header leads to sensor data. A camera's make alone does not say so: editors keep it in the
// TIFF files that they export. Sensor data shows by its colour filter, by a maker's private coding, or by a
// first directory that is only a preview and points to the true picture.
bool IsTiffRaw(ByteSpan head) {
    if (HasText(head, 8, "CR\x02"sv)) return true;
    const TiffView view(head);
    const std::size_t directory = view.Get32(4);
    const std::size_t count = std::min<std::size_t>(view.Get16(directory), 512);
    bool isPreview = false;
    bool hasSubDirectories = false;
    bool hasRawMake = false;
    bool hasSensorCoding = false;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t entry = directory + 2 + i * 12;
        if (entry + 12 > head.size()) break;
        const bool isShort = view.Get16(entry + 2) == 3;
        const std::uint32_t value = isShort ? view.Get16(entry + 8) : view.Get32(entry + 8);
        switch (view.Get16(entry)) {
            case 0x00fe:
                isPreview = (value & 1U) != 0;
                break;
            case 0x0103:  // makers' private codings
                hasSensorCoding =
                    hasSensorCoding || value == 34713 || value == 32767 || value == 32770 || value == 65535;
                break;
            case 0x0106:
                hasSensorCoding = hasSensorCoding || value == 32803;
                break;  // colour filter array
            case 0x010f:
                hasRawMake = IsRawMake(head, value);
                break;
            case 0x014a:
                hasSubDirectories = true;
                break;
            case 0xc612:
                return true;  // DNG version
            default:
                break;
        }
    }
    return hasRawMake && (hasSensorCoding || (isPreview && hasSubDirectories));
}

FileFormat DetectTiff(ByteSpan bytes) {
    return IsTiffRaw(bytes) ? FileFormat::Raw : FileFormat::Tiff;
}

// ISO base media files, told by the brands of their first box.
FileFormat DetectBoxed(ByteSpan head) {
    const auto isOneOf = [&](std::size_t offset, std::initializer_list<std::string_view> brands) {
        return std::any_of(brands.begin(), brands.end(),
                           [&](std::string_view brand) { return HasText(head, offset, brand); });
    };
    if (isOneOf(8, {"crx "sv})) return FileFormat::Raw;
    if (isOneOf(8, {"avif"sv, "avis"sv})) return FileFormat::Avif;
    if (isOneOf(8, {"heic"sv, "heix"sv, "hevc"sv, "hevx"sv, "heim"sv, "heis"sv, "hevm"sv, "hevs"sv}))
        return FileFormat::Heif;
    const std::size_t end = std::min<std::size_t>(Big32(head, 0), head.size());
    bool isHeif = isOneOf(8, {"mif1"sv, "msf1"sv, "mif2"sv, "miaf"sv});
    for (std::size_t offset = 16; offset + 4 <= end; offset += 4) {
        if (isOneOf(offset, {"avif"sv, "avis"sv})) return FileFormat::Avif;
        isHeif = isHeif || isOneOf(offset, {"heic"sv, "heix"sv, "mif1"sv});
    }
    return isHeif ? FileFormat::Heif : FileFormat::Mp4;
}

// Length of the UTF-8 sequence at the start of bytes, 0 when it is none. A sequence cut off by the end
// counts.
std::size_t Utf8Length(ByteSpan bytes) {
    const std::uint8_t first = bytes[0];
    const std::size_t length = first < 0x80                    ? 1
                               : first >= 0xc2 && first < 0xe0 ? 2
                               : (first & 0xf0) == 0xe0        ? 3
                               : first >= 0xf0 && first < 0xf5 ? 4
                                                               : 0;
    for (std::size_t i = 1; i < std::min(length, bytes.size()); ++i) {
        if ((bytes[i] & 0xc0) != 0x80) return 0;
    }
    return length;
}

bool IsText(ByteSpan head) {
    for (std::size_t i = 0; i < head.size();) {
        const std::uint8_t byte = head[i];
        const bool isControl = byte == 0x7f || (byte < 0x20 && (byte < 0x09 || byte > 0x0d));
        const std::size_t length = Utf8Length(head.subspan(i));
        if (isControl || length == 0) return false;
        i += length;
    }
    return true;
}

bool IsPnm(ByteSpan head) {
    return head.size() > 2 && head[0] == 'P' && head[1] >= '1' && head[1] <= '7' &&
           (head[2] == '\n' || head[2] == '\r' || head[2] == ' ' || head[2] == '\t');
}

// A JPEG whose third byte is damaged: what follows must be what follows in a JPEG. Two markers with lengths that lead to
// a third one, or the first segment's well-known label.
bool IsDamagedJpeg(ByteSpan head) {
    if (!HasText(head, 0, "\xff\xd8")) return false;
    if (HasText(head, 6, "JFIF\0"sv) || HasText(head, 6, "Exif\0"sv)) return true;
    if (head.size() < 6 || head[3] < 0xc0) return false;
    const std::size_t next = 4 + std::size_t{Big16(head, 4)};
    return next + 1 < head.size() && head[next] == 0xff && head[next + 1] >= 0xc0 && head[next + 1] != 0xff;
}

bool IsBmp(ByteSpan head) {
    // Two letters are little: the size of the second header must be one that was ever in use.
    if (!HasText(head, 0, "BM") || head.size() < 18) return false;
    const std::uint32_t size = Little32(head, 14);
    return size == 12 || (size >= 16 && size <= 124 && size % 4 == 0);
}

bool IsPdf(ByteSpan head) {
    const std::string_view text(reinterpret_cast<const char*>(head.data()),
                                std::min<std::size_t>(head.size(), 1024));
    return text.find("%PDF-") != std::string_view::npos;
}

std::string Patterns(const FormatRow& row) {
    std::string patterns;
    for (const std::string& extension : row.extensions) {
        std::string upper = extension;
        std::transform(upper.begin(), upper.end(), upper.begin(),
                       [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
        if (!patterns.empty()) patterns += ';';
        patterns.append("*.").append(extension).append(";*.").append(upper);
    }
    return patterns;
}

struct Signature {
    std::size_t offset;
    std::string_view text;
    FileFormat format;
};

constexpr Signature kSignatures[] = {
    {0, "\xff\xd8\xff"sv, FileFormat::Jpeg},
    {0, "\x89PNG\r\n\x1a\n"sv, FileFormat::Png},
    {0, "GIF87a"sv, FileFormat::Gif},
    {0, "GIF89a"sv, FileFormat::Gif},
    {0, "\0\0\0\x0cjP  \r\n\x87\n"sv, FileFormat::Jpeg2000},
    {0, "\xff\x4f\xff\x51"sv, FileFormat::Jpeg2000},
    {0, "IIRO"sv, FileFormat::Raw},  // Olympus
    {0, "IIRS"sv, FileFormat::Raw},
    {0, "MMOR"sv, FileFormat::Raw},
    {0, "IIU\0"sv, FileFormat::Raw},  // Panasonic
    {0, "FUJIFILMCCD-RAW"sv, FileFormat::Raw},
    {6, "HEAPCCDR"sv, FileFormat::Raw},  // Canon, before TIFF
    {0, "FOVb"sv, FileFormat::Raw},      // Sigma
    {0, "\0MRM"sv, FileFormat::Raw},     // Minolta
    {0, "PK\x03\x04"sv, FileFormat::Zip},
    {0, "PK\x05\x06"sv, FileFormat::Zip},
    {0, "PK\x07\x08"sv, FileFormat::Zip},
    {0, "\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1"sv, FileFormat::OleDocument},
    {0, "8BPS"sv, FileFormat::Photoshop},
    {0, "\0\0\x01\0"sv, FileFormat::Ico},
    {0, "\0\0\x02\0"sv, FileFormat::Ico},
    {4, "moov"sv, FileFormat::Mp4},
    {4, "mdat"sv, FileFormat::Mp4},
    {4, "wide"sv, FileFormat::Mp4},
};

}  // namespace

FileFormat DetectFormat(ByteSpan bytes) {
    const ByteSpan head = bytes.first(std::min(bytes.size(), kFormatSniffBytes));
    if (head.empty()) return FileFormat::Empty;
    if (HasText(head, 0, "RIFF") && HasText(head, 8, "WEBP")) return FileFormat::Webp;
    if (head.size() >= 12 && HasText(head, 4, "ftyp")) return DetectBoxed(head);
    for (const Signature& signature : kSignatures) {
        if (HasText(head, signature.offset, signature.text)) return signature.format;
    }
    if (HasText(head, 0, "II*\0"sv) || HasText(head, 0, "MM\0*"sv)) return DetectTiff(bytes);
    if (HasText(head, 0, "II+\0"sv) || HasText(head, 0, "MM\0+"sv))
        return FileFormat::Tiff;  // with 64-bit offsets
    if (IsDamagedJpeg(head)) return FileFormat::Jpeg;
    if (IsBmp(head)) return FileFormat::Bmp;
    if (IsPnm(head)) return FileFormat::Pnm;
    if (IsPdf(head)) return FileFormat::Pdf;
    return IsText(head) ? FileFormat::Text : FileFormat::Unknown;
}

std::string FormatName(FileFormat format) {
    const FormatRow* row = FindRow(format);
    return row == nullptr ? "Unknown" : row->name;
}

const std::vector<std::string>& FormatExtensions(FileFormat format) {
    static const std::vector<std::string> none;
    const FormatRow* row = FindRow(format);
    return row == nullptr ? none : row->extensions;
}

bool IsReadableFormat(FileFormat format) {
    return codec::FindCodec(format) != nullptr;
}

bool ExtensionAgrees(FileFormat format, const std::string& path) {
    const std::string extension = PathExtension(path);
    const std::vector<std::string>& known = FormatExtensions(format);
    if (known.empty()) return extension.empty();
    return std::find(known.begin(), known.end(), extension) != known.end();
}

bool IsPictureName(const std::string& path) {
    const auto& rows = FormatRows();
    return std::any_of(rows.begin(), rows.end(), [&path](const FormatRow& row) {
        return IsReadableFormat(row.format) && ExtensionAgrees(row.format, path);
    });
}

std::string ImageFormatsReadFilter() {
    std::string all;
    std::string each;
    for (const FormatRow& row : FormatRows()) {
        if (!IsReadableFormat(row.format)) continue;
        const std::string patterns = Patterns(row);
        if (!all.empty()) all += ';';
        all += patterns;
        each += std::string(row.name) + '|' + patterns + '|';
    }
    return "All supported images|" + all + '|' + each + "All files (*.*)|*.*";
}
