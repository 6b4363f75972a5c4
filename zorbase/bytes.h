#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

// Numbers and texts inside a file's bytes. A position outside the bytes reads as zero, so no caller can read
// past the end; whoever must tell "zero" from "not there" compares the position with the size first.

using ByteSpan = std::span<const std::uint8_t>;

inline std::uint32_t ByteAt(ByteSpan bytes, std::size_t position) {
    return position < bytes.size() ? bytes[position] : 0U;
}

inline std::uint32_t Big16(ByteSpan bytes, std::size_t position) {
    return (ByteAt(bytes, position) << 8) | ByteAt(bytes, position + 1);
}

inline std::uint32_t Big32(ByteSpan bytes, std::size_t position) {
    return (Big16(bytes, position) << 16) | Big16(bytes, position + 2);
}

inline std::uint32_t Little16(ByteSpan bytes, std::size_t position) {
    return ByteAt(bytes, position) | (ByteAt(bytes, position + 1) << 8);
}

inline std::uint32_t Little32(ByteSpan bytes, std::size_t position) {
    return Little16(bytes, position) | (Little16(bytes, position + 2) << 16);
}

inline std::uint32_t Little24(ByteSpan bytes, std::size_t position) {
    return Little16(bytes, position) | (ByteAt(bytes, position + 2) << 16);
}

inline std::uint64_t Big64(ByteSpan bytes, std::size_t position) {
    return (std::uint64_t{Big32(bytes, position)} << 32) | Big32(bytes, position + 4);
}

inline std::uint64_t Little64(ByteSpan bytes, std::size_t position) {
    return Little32(bytes, position) | (std::uint64_t{Little32(bytes, position + 4)} << 32);
}

// A whole number of 1 to 8 bytes in the byte order that the file states.
enum class ByteOrder : std::uint8_t { Big, Little };
inline std::uint64_t NumberAt(ByteSpan bytes, std::size_t position, std::size_t size, ByteOrder order) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < size; ++i)
        number = (number << 8) | ByteAt(bytes, position + (order == ByteOrder::Big ? i : size - 1 - i));
    return number;
}

// The byte order that a TIFF header at the start of the bytes states; big where it states none.
inline ByteOrder TiffByteOrder(ByteSpan bytes) {
    return ByteAt(bytes, 0) == 'I' && ByteAt(bytes, 1) == 'I' ? ByteOrder::Little : ByteOrder::Big;
}

// The part of the bytes that really exists: never outside, never longer than what is there.
inline ByteSpan Slice(ByteSpan bytes, std::size_t position, std::size_t count) {
    if (position >= bytes.size()) return {};
    return bytes.subspan(position, count < bytes.size() - position ? count : bytes.size() - position);
}

inline bool StartsWith(ByteSpan bytes, std::size_t position, const char* text, std::size_t count) {
    if (position > bytes.size() || bytes.size() - position < count) return false;
    for (std::size_t i = 0; i < count; ++i)
        if (bytes[position + i] != static_cast<std::uint8_t>(text[i])) return false;
    return true;
}

inline std::string TextOf(ByteSpan bytes) {
    return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}
