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

// At most this many leading bytes are looked at.
constexpr std::size_t kFormatSniffBytes = 4096;

// head: the first kFormatSniffBytes of the file, or the whole file when it is shorter. Camera RAW files that are TIFF inside
// are told by their signature or the make in their first directory. Never throws.
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
