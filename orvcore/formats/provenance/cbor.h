#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zorbase/bytes.h"

// CBOR (RFC 8949) read into a tree that keeps the encoded bytes of every item, because hashes and signatures are
// computed over them. Pure; any thread.
namespace provenance {

// Items that one file's records may have altogether: bounds memory at about 30 MB whatever the bytes say.
constexpr std::size_t kMaxCborItems = 300000;
constexpr int kMaxCborDepth = 32;

// One item. The spans point into the decoded bytes (or into `joined`), which must outlive it.
struct CborValue {
    enum class Type {
        Unsigned,
        Negative,
        Bytes,
        Text,
        Array,
        Map,
        Tag,
        Bool,
        Null,
        Undefined,
        Simple,
        Float
    };

    Type type = Type::Undefined;
    std::uint64_t number =
        0;             // Unsigned: the value; Negative: -1 - value; Tag, Simple: its number; Bool: 0 or 1
    double real = 0;   // Float
    ByteSpan raw;      // the item as encoded, header included
    ByteSpan content;  // Bytes, Text: the content; Text is valid UTF-8
    std::shared_ptr<const std::vector<std::uint8_t>> joined;  // of strings that came in pieces
    std::vector<CborValue> items;  // Array: elements; Map: key, value, key, value…; Tag: the tagged item

    bool Is(Type wanted) const { return type == wanted; }
    bool IsMap() const { return type == Type::Map; }
    bool IsArray() const { return type == Type::Array; }
    bool IsBytes() const { return type == Type::Bytes; }
    // Of Text, otherwise "".
    std::string_view Text() const;
    std::optional<std::uint64_t> Unsigned() const;
    std::optional<std::int64_t> Signed() const;
    // The value of a map's key; null when there is none, it is CBOR null or undefined, or this is no map.
    const CborValue* Find(std::string_view key) const;
    const CborValue* Find(std::int64_t key) const;
    std::optional<std::uint64_t> UnsignedOf(std::string_view key) const;
    // Text of a map's key, "" when there is none.
    std::string TextOf(std::string_view key) const;
};

struct CborResult {
    std::optional<CborValue> value;  // nothing on error
    std::string error;               // a sentence
    std::size_t position = 0;        // where, in the bytes
};

// Exactly one item that fills the bytes. Refused: nesting beyond kMaxCborDepth, lengths beyond the bytes, texts that are
// no UTF-8, keys given twice, reserved codes. budget: items that may still be made; counted down.
CborResult DecodeCbor(ByteSpan bytes, std::size_t& budget);

// RFC 8949 diagnostic notation, indented, for reading; byte strings beyond 32 bytes and the text beyond maximumBytes are
// shortened and say so.
std::string CborToText(const CborValue& value, std::size_t maximumBytes);

// Encodes the head of an item (major type 0..7) in its shortest form, and whole byte or text strings.
void AppendCborHead(std::vector<std::uint8_t>& bytes, int majorType, std::uint64_t number);
void AppendCborBytes(std::vector<std::uint8_t>& bytes, ByteSpan content);
void AppendCborText(std::vector<std::uint8_t>& bytes, std::string_view text);

}  // namespace provenance
