#include "orvcore/formats/provenance/cbor.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "zorbase/text.h"
#include "zorbase/utf8.h"

namespace provenance {

namespace {

constexpr std::size_t kShownBytes = 32;

bool IsUtf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const Utf8Step step = NextUtf8(text, i);
        if (!step.valid) return false;
        i += step.length;
    }
    return true;
}

std::string_view ViewOf(ByteSpan bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

double HalfToDouble(std::uint32_t half) {
    const int exponent = static_cast<int>((half >> 10) & 31);
    const double mantissa = half & 1023;
    const double sign = (half & 0x8000) != 0 ? -1.0 : 1.0;
    if (exponent == 31)
        return mantissa == 0 ? sign * std::numeric_limits<double>::infinity()
                             : std::numeric_limits<double>::quiet_NaN();
    return sign * (exponent == 0 ? std::ldexp(mantissa, -24) : std::ldexp(mantissa + 1024, exponent - 25));
}

class Decoder {
  public:
    Decoder(ByteSpan bytes, std::size_t& budget) : m_bytes(bytes), m_budget(budget) {}

    CborResult Run() {
        CborResult result;
        CborValue value;
        if (Item(value, 0) && m_position != m_bytes.size()) Fail("There are bytes after the record's end.");
        if (m_error.empty()) {
            result.value = std::move(value);
        } else {
            result.error = m_error;
            result.position = m_errorPosition;
        }
        return result;
    }

  private:
    bool Fail(const char* error) {
        if (m_error.empty()) {
            m_error = error;
            m_errorPosition = m_position;
        }
        return false;
    }

    std::size_t Left() const { return m_bytes.size() - m_position; }

    struct Head {
        int major = 0;
        int extra = 0;  // the lower five bits
        std::uint64_t number = 0;
        bool isIndefinite = false;
    };

    bool ReadHead(Head& head) {
        if (Left() == 0) return Fail("The record ends inside an item.");
        const std::uint32_t first = ByteAt(m_bytes, m_position);
        head.major = static_cast<int>(first >> 5);
        head.extra = static_cast<int>(first & 31);
        if (head.extra >= 28 && head.extra <= 30) return Fail("The record uses a reserved code.");
        head.isIndefinite = head.extra == 31;
        if (head.isIndefinite && (head.major < 2 || head.major == 6))
            return Fail("The record uses a reserved code.");
        const std::size_t count =
            head.extra < 24 || head.isIndefinite ? 0 : std::size_t{1} << (head.extra - 24);
        if (Left() - 1 < count) return Fail("The record ends inside an item.");
        head.number = head.extra < 24 ? static_cast<std::uint64_t>(head.extra)
                                      : NumberAt(m_bytes, m_position + 1, count, ByteOrder::Big);
        m_position += 1 + count;
        return true;
    }

    bool AtBreak() {
        if (Left() == 0 || m_bytes[m_position] != 0xFF) return false;
        ++m_position;
        return true;
    }

    bool Item(CborValue& value, int depth) {
        if (depth > kMaxCborDepth) return Fail("The record is nested too deeply.");
        if (m_budget == 0) return Fail("The records have too many items.");
        --m_budget;
        const std::size_t start = m_position;
        Head head;
        if (!ReadHead(head)) return false;
        value.number = head.number;
        bool isGood = true;
        switch (head.major) {
            case 0:
                value.type = CborValue::Type::Unsigned;
                break;
            case 1:
                value.type = CborValue::Type::Negative;
                break;
            case 2:
            case 3:
                isGood = String(value, head);
                break;
            case 4:
                value.type = CborValue::Type::Array;
                isGood = Children(value, head, 1, depth);
                break;
            case 5:
                value.type = CborValue::Type::Map;
                isGood = Children(value, head, 2, depth) && KeysDiffer(value);
                break;
            case 6:
                value.type = CborValue::Type::Tag;
                value.items.emplace_back();
                isGood = Item(value.items.back(), depth + 1);
                break;
            default:
                isGood = Simple(value, head);
        }
        if (isGood) value.raw = m_bytes.subspan(start, m_position - start);
        return isGood;
    }

    bool String(CborValue& value, const Head& head) {
        value.type = head.major == 2 ? CborValue::Type::Bytes : CborValue::Type::Text;
        if (!head.isIndefinite) {
            if (head.number > Left()) return Fail("A text or byte string is longer than the record.");
            value.content = m_bytes.subspan(m_position, static_cast<std::size_t>(head.number));
            m_position += value.content.size();
        } else {
            auto joined = std::make_shared<std::vector<std::uint8_t>>();
            while (!AtBreak()) {
                Head piece;
                if (!ReadHead(piece)) return false;
                if (piece.major != head.major || piece.isIndefinite || piece.number > Left())
                    return Fail("A text or byte string in pieces is not sound.");
                const ByteSpan content = m_bytes.subspan(m_position, static_cast<std::size_t>(piece.number));
                if (value.type == CborValue::Type::Text && !IsUtf8(ViewOf(content)))
                    return Fail("A text is not UTF-8.");
                joined->insert(joined->end(), content.begin(), content.end());
                m_position += content.size();
            }
            value.content = *joined;
            value.joined = std::move(joined);
        }
        value.number = value.content.size();
        if (value.type == CborValue::Type::Text && !IsUtf8(ViewOf(value.content)))
            return Fail("A text is not UTF-8.");
        return true;
    }

    // An array's elements, or a map's keys and values (perEntry 2).
    bool Children(CborValue& value, const Head& head, std::size_t perEntry, int depth) {
        if (!head.isIndefinite && head.number > Left() / perEntry)
            return Fail("A list states more entries than the record has bytes.");
        for (std::uint64_t i = 0; head.isIndefinite || i < head.number; ++i) {
            if (head.isIndefinite && AtBreak()) break;
            for (std::size_t part = 0; part < perEntry; ++part) {
                CborValue child;
                if (!Item(child, depth + 1)) return false;
                value.items.push_back(std::move(child));
            }
        }
        value.number = value.items.size() / perEntry;
        return true;
    }

    // Two entries of one name would let two readers see two different records.
    bool KeysDiffer(const CborValue& map) {
        std::vector<std::pair<CborValue::Type, std::string_view>> keys;
        for (std::size_t i = 0; i < map.items.size(); i += 2) {
            const CborValue& key = map.items[i];
            if (key.IsArray() || key.IsMap() || key.Is(CborValue::Type::Tag))
                return Fail("A map's key is not a plain value.");
            const bool isString = key.IsBytes() || key.Is(CborValue::Type::Text);
            keys.emplace_back(key.type, ViewOf(isString ? key.content : key.raw));
        }
        std::sort(keys.begin(), keys.end());
        if (std::adjacent_find(keys.begin(), keys.end()) != keys.end())
            return Fail("A map gives one key twice.");
        return true;
    }

    bool Simple(CborValue& value, const Head& head) {
        using Type = CborValue::Type;
        switch (head.extra) {
            case 20:
            case 21:
                value.type = Type::Bool;
                value.number = head.extra == 21 ? 1 : 0;
                return true;
            case 22:
                value.type = Type::Null;
                return true;
            case 23:
                value.type = Type::Undefined;
                return true;
            case 25:
                value.real = HalfToDouble(static_cast<std::uint32_t>(head.number));
                break;
            case 26:
                value.real = std::bit_cast<float>(static_cast<std::uint32_t>(head.number));
                break;
            case 27:
                value.real = std::bit_cast<double>(head.number);
                break;
            case 31:
                return Fail("A break stands outside a list.");
            default:
                value.type = Type::Simple;
                return head.extra != 24 || head.number >= 32 || Fail("The record uses a reserved code.");
        }
        value.type = Type::Float;
        return true;
    }

    ByteSpan m_bytes;
    std::size_t& m_budget;
    std::size_t m_position = 0;
    std::string m_error;
    std::size_t m_errorPosition = 0;
};

// Writes the notation into a text of bounded length.
class Writer {
  public:
    explicit Writer(std::size_t maximum) : m_maximum(maximum) {}

    std::string Take() {
        if (IsFull()) m_text = ShortenText(m_text, m_maximum) + "\n… (shortened)";
        return std::move(m_text);
    }

    void Value(const CborValue& value, int depth) {
        if (IsFull()) return;
        using Type = CborValue::Type;
        switch (value.type) {
            case Type::Unsigned:
                m_text += std::to_string(value.number);
                break;
            case Type::Negative:
                m_text += value.number == std::numeric_limits<std::uint64_t>::max()
                              ? std::string("-18446744073709551616")
                              : "-" + std::to_string(value.number + 1);
                break;
            case Type::Bytes:
                Hex(value.content);
                break;
            case Type::Text:
                Quote(value.Text());
                break;
            case Type::Array:
                List(value, "[", "]", 1, depth);
                break;
            case Type::Map:
                List(value, "{", "}", 2, depth);
                break;
            case Type::Tag:
                m_text += std::to_string(value.number) + "(";
                for (const CborValue& item : value.items) Value(item, depth);
                m_text += ")";
                break;
            case Type::Bool:
                m_text += value.number != 0 ? "true" : "false";
                break;
            case Type::Null:
                m_text += "null";
                break;
            case Type::Undefined:
                m_text += "undefined";
                break;
            case Type::Simple:
                m_text += "simple(" + std::to_string(value.number) + ")";
                break;
            case Type::Float:
                m_text += std::isnan(value.real)   ? std::string("NaN")
                          : std::isinf(value.real) ? (value.real < 0 ? "-Infinity" : "Infinity")
                                                   : ToString(value.real);
        }
    }

  private:
    bool IsFull() const { return m_text.size() > m_maximum; }

    void Hex(ByteSpan bytes) {
        static constexpr char kDigits[] = "0123456789abcdef";
        m_text += "h'";
        for (const std::uint8_t byte : Slice(bytes, 0, kShownBytes)) {
            m_text += kDigits[byte >> 4];
            m_text += kDigits[byte & 15];
        }
        m_text += bytes.size() > kShownBytes ? "…' (" + std::to_string(bytes.size()) + " bytes)" : "'";
    }

    void Quote(std::string_view text) {
        m_text += '"';
        for (const char c : text.substr(0, m_maximum)) {
            if (c == '"' || c == '\\') m_text += '\\';
            if (c == '\n')
                m_text += "\\n";
            else
                m_text += c;
        }
        m_text += '"';
    }

    void List(const CborValue& value, const char* open, const char* close, std::size_t perEntry, int depth) {
        m_text += open;
        for (std::size_t i = 0; i < value.items.size() && !IsFull(); i += perEntry) {
            m_text += (i == 0 ? "\n" : ",\n") + std::string(static_cast<std::size_t>(depth + 1) * 2, ' ');
            Value(value.items[i], depth + 1);
            if (perEntry < 2) continue;
            m_text += ": ";
            Value(value.items[i + 1], depth + 1);
        }
        if (!value.items.empty()) m_text += "\n" + std::string(static_cast<std::size_t>(depth) * 2, ' ');
        m_text += close;
    }

    std::size_t m_maximum;
    std::string m_text;
};

const CborValue* Present(const CborValue& value) {
    const bool isAbsent = value.Is(CborValue::Type::Null) || value.Is(CborValue::Type::Undefined);
    return isAbsent ? nullptr : &value;
}

}  // namespace

std::string_view CborValue::Text() const {
    return type == Type::Text ? ViewOf(content) : std::string_view();
}

std::optional<std::uint64_t> CborValue::Unsigned() const {
    if (type != Type::Unsigned) return {};
    return number;
}

std::optional<std::int64_t> CborValue::Signed() const {
    if (number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return {};
    if (type == Type::Unsigned) return static_cast<std::int64_t>(number);
    if (type == Type::Negative) return -1 - static_cast<std::int64_t>(number);
    return {};
}

const CborValue* CborValue::Find(std::string_view key) const {
    if (!IsMap()) return nullptr;
    for (std::size_t i = 0; i + 1 < items.size(); i += 2)
        if (items[i].Is(Type::Text) && items[i].Text() == key) return Present(items[i + 1]);
    return nullptr;
}

const CborValue* CborValue::Find(std::int64_t key) const {
    if (!IsMap()) return nullptr;
    for (std::size_t i = 0; i + 1 < items.size(); i += 2)
        if (items[i].Signed() == key) return Present(items[i + 1]);
    return nullptr;
}

std::optional<std::uint64_t> CborValue::UnsignedOf(std::string_view key) const {
    const CborValue* value = Find(key);
    if (value == nullptr) return {};
    return value->Unsigned();
}

std::string CborValue::TextOf(std::string_view key) const {
    const CborValue* value = Find(key);
    return value == nullptr ? std::string() : std::string(value->Text());
}

CborResult DecodeCbor(ByteSpan bytes, std::size_t& budget) {
    return Decoder(bytes, budget).Run();
}

std::string CborToText(const CborValue& value, std::size_t maximumBytes) {
    Writer writer(maximumBytes);
    writer.Value(value, 0);
    return ToValidUtf8(writer.Take());
}

void AppendCborHead(std::vector<std::uint8_t>& bytes, int majorType, std::uint64_t number) {
    const auto first = static_cast<std::uint8_t>(majorType << 5);
    int count = 0;
    if (number < 24) {
        bytes.push_back(static_cast<std::uint8_t>(first | number));
        return;
    }
    while (count < 3 && (number >> (8 << count)) != 0) ++count;
    bytes.push_back(static_cast<std::uint8_t>(first | (24 + count)));
    for (int i = (1 << count); i-- > 0;) bytes.push_back(static_cast<std::uint8_t>(number >> (8 * i)));
}

void AppendCborBytes(std::vector<std::uint8_t>& bytes, ByteSpan content) {
    AppendCborHead(bytes, 2, content.size());
    bytes.insert(bytes.end(), content.begin(), content.end());
}

void AppendCborText(std::vector<std::uint8_t>& bytes, std::string_view text) {
    AppendCborHead(bytes, 3, text.size());
    bytes.insert(bytes.end(), text.begin(), text.end());
}

}  // namespace provenance
