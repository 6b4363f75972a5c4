#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

// What a file is, by its first bytes and never by its name.
enum class FileFormat {
    Unknown,
    Empty,
    Jpeg,
    Png,
    Tiff,
    Bmp,
    Gif,
    Webp,
    Jpeg2000,
    Heif,
    Avif,
    Raw,
    Pdf,
    Zip,
    OleDocument,
    Photoshop,
    Ico,
    Pnm,
    Mp4,
    Text
};

// As many leading bytes tell every format, but for a camera RAW file that is TIFF inside and whose first directory lies behind them.
constexpr std::size_t kFormatSniffBytes = 4096;

// head: the whole file, or its first kFormatSniffBytes (then such a RAW file counts as TIFF). Camera RAW files that are TIFF inside
// are told by their signature or by their first directory, wherever it is. Never throws.
FileFormat DetectFormat(std::span<const std::uint8_t> head);

// "JPEG", "PNG", "Camera RAW", "Unknown"…: what the examiner reads. Never translated here.
std::string FormatName(FileFormat format);
// The usual extensions, lower case, without dot, the most usual first; empty for Unknown.
const std::vector<std::string>& FormatExtensions(FileFormat format);
// Whether Orvane decodes the pixels of this format.
bool IsReadableFormat(FileFormat format);
// Whether a name's extension is one of the format's. True for Unknown and Empty when the name has no extension.
bool ExtensionAgrees(FileFormat format, const std::string& path);
// Whether a name ends like that of a picture that Orvane decodes.
bool IsPictureName(const std::string& path);
// The filter string of a file chooser: "All supported images|*.jpg;…|JPEG|*.jpg;…|All files (*.*)|*.*", in both letter cases.
std::string ImageFormatsReadFilter();
