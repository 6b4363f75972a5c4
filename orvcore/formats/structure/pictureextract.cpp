#include <zlib.h>

#include <algorithm>

#include "orvcore/formats/structure/isobox.h"
#include "orvcore/formats/structure/picturesinfile.h"
#include "orvcore/formats/structure/structurewriter.h"
#include "orvcore/formats/structure/tiffdirectories.h"

namespace {

Bytes Copy(ByteSpan bytes) {
    return Bytes(bytes.begin(), bytes.end());
}

void Append(Bytes& target, ByteSpan bytes) {
    target.insert(target.end(), bytes.begin(), bytes.end());
}

void AppendBig32(Bytes& target, std::size_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) target.push_back(static_cast<std::uint8_t>(value >> shift));
}

void AppendLittle32(Bytes& target, std::size_t value) {
    for (int shift = 0; shift <= 24; shift += 8) target.push_back(static_cast<std::uint8_t>(value >> shift));
}

// The file with its header pointing at another directory.
std::optional<Bytes> WithFirstDirectory(ByteSpan bytes, std::size_t offset) {
    const TiffDirectories tiff = ReadTiffDirectories(bytes);
    if (!tiff.isTiff || offset >= bytes.size()) return std::nullopt;
    Bytes result = Copy(bytes);
    const std::size_t width = tiff.isBig ? 8 : 4;
    const std::size_t at = tiff.isBig ? 8 : 4;
    for (std::size_t i = 0; i < width; ++i) {
        const std::size_t shift = 8 * (tiff.little ? i : width - 1 - i);
        result[at + i] = static_cast<std::uint8_t>(std::uint64_t{offset} >> shift);
    }
    return result;
}

// The file with another primary item.
std::optional<Bytes> WithPrimaryItem(ByteSpan bytes, std::size_t id) {
    for (std::size_t at = 0; at < bytes.size();) {
        const auto box = ReadIsoBox(bytes, at, bytes.size());
        if (!box) return std::nullopt;
        at = box->End();
        if (box->type != "meta") continue;
        for (std::size_t inner = box->Content() + 4; inner < box->End();) {
            const auto part = ReadIsoBox(bytes, inner, box->End());
            if (!part) return std::nullopt;
            inner = part->End();
            if (part->type != "pitm") continue;
            const std::size_t width = ByteAt(bytes, part->Content()) == 0 ? 2 : 4;
            if (part->size < part->headerSize + 4 + width || (width == 2 && id > 0xFFFF)) return std::nullopt;
            Bytes result = Copy(bytes);
            for (std::size_t i = 0; i < width; ++i)
                result[part->Content() + 4 + i] = static_cast<std::uint8_t>(id >> (8 * (width - 1 - i)));
            return result;
        }
        return std::nullopt;
    }
    return std::nullopt;
}

std::optional<Bytes> GifFrame(ByteSpan bytes, const FilePicture& picture) {
    const std::uint32_t flags = ByteAt(bytes, 10);
    const std::size_t head = 13 + ((flags & 0x80) != 0 ? std::size_t{6} << (flags & 7) : 0);
    if (head > picture.offset) return std::nullopt;
    Bytes result = Copy(Slice(bytes, 0, head));
    // The canvas becomes the frame's own.
    const std::size_t at = result.size();
    Append(result, Slice(bytes, picture.offset, picture.size));
    for (std::size_t i = 0; i < 4; ++i) {
        result[6 + i] = result[at + 5 + i];
        result[at + 1 + i] = 0;
    }
    result.push_back(0x3B);
    return result;
}

std::optional<Bytes> WebpFrame(ByteSpan bytes, const FilePicture& picture) {
    const ByteSpan chunks = Slice(bytes, picture.offset + 24, picture.size < 24 ? 0 : picture.size - 24);
    if (chunks.size() < 8) return std::nullopt;
    Bytes body;
    if (StartsWith(chunks, 0, "ALPH", 4)) {
        // Alpha is allowed in the extended layout only: flags, then width and height less one.
        Append(body, ByteSpan(reinterpret_cast<const std::uint8_t*>("VP8X"), 4));
        AppendLittle32(body, 10);
        AppendLittle32(body, 0x10);
        Append(body, Slice(bytes, picture.offset + 8 + 6, 6));
    }
    Append(body, chunks);
    Bytes result;
    Append(result, ByteSpan(reinterpret_cast<const std::uint8_t*>("RIFF"), 4));
    AppendLittle32(result, body.size() + 4);
    Append(result, ByteSpan(reinterpret_cast<const std::uint8_t*>("WEBP"), 4));
    Append(result, body);
    return result;
}

void AppendChunk(Bytes& target, const char* type, ByteSpan data) {
    AppendBig32(target, data.size());
    const std::size_t at = target.size();
    Append(target, ByteSpan(reinterpret_cast<const std::uint8_t*>(type), 4));
    Append(target, data);
    AppendBig32(target, crc32_z(0, target.data() + at, data.size() + 4));
}

std::optional<Bytes> PngFrame(ByteSpan bytes, const FilePicture& picture) {
    Bytes result = Copy(Slice(bytes, 0, 8));
    Bytes data;
    bool hasHeader = false;
    for (std::size_t at = 8; at + 12 <= bytes.size();) {
        const std::size_t length = Big32(bytes, at);
        if (length > bytes.size() - at - 12) break;
        const std::string type = FourCharacterText(bytes, at + 4);
        const ByteSpan content = Slice(bytes, at + 8, length);
        if (type == "IHDR" && length >= 13) {
            Bytes header = Copy(content);
            for (std::size_t i = 0; i < 8; ++i)
                header[i] = static_cast<std::uint8_t>(ByteAt(bytes, picture.offset + 8 + 4 + i));
            AppendChunk(result, "IHDR", header);
            hasHeader = true;
        } else if (type == "PLTE" || type == "tRNS") {
            AppendChunk(result, type.c_str(), content);
        } else if (at > picture.offset && at < picture.offset + picture.size) {
            if (type == "fdAT" && length > 4) Append(data, content.subspan(4));
            if (type == "IDAT") Append(data, content);
        }
        at += length + 12;
    }
    if (!hasHeader || data.empty()) return std::nullopt;
    AppendChunk(result, "IDAT", data);
    AppendChunk(result, "IEND", {});
    return result;
}

}  // namespace

std::optional<Bytes> ExtractFilePicture(std::span<const std::uint8_t> bytes, const FilePicture& picture) {
    using Access = FilePicture::Access;
    switch (picture.access) {
        case Access::Whole:
            return Copy(bytes);
        case Access::Bytes: {
            const ByteSpan part = Slice(bytes, picture.offset, picture.size);
            if (part.empty()) return std::nullopt;
            return Copy(part);
        }
        case Access::Directory:
            return WithFirstDirectory(bytes, picture.index);
        case Access::Item:
            return WithPrimaryItem(bytes, picture.index);
        case Access::Frame:
            if (picture.format == "GIF") return GifFrame(bytes, picture);
            if (picture.format == "WebP") return WebpFrame(bytes, picture);
            if (picture.format == "PNG") return PngFrame(bytes, picture);
            return std::nullopt;
        case Access::None:
            break;
    }
    return std::nullopt;
}
