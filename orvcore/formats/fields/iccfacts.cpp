#include "orvcore/formats/fields/iccfacts.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "zorbase/hash.h"
#include "zorbase/text.h"
#include "zorimage/icctext.h"
#include "zorimage/imageio.h"

namespace {

constexpr std::size_t kHeaderBytes = 128;
constexpr std::size_t kMaxTags = 1000;
constexpr std::size_t kMaxText = 400;
constexpr std::size_t kShownNumbers = 16;

constexpr const char* kLabels[][2] = {
    {"desc", "Description"},
    {"cprt", "Copyright"},
    {"wtpt", "White Point"},
    {"bkpt", "Black Point"},
    {"rXYZ", "Red Primary"},
    {"gXYZ", "Green Primary"},
    {"bXYZ", "Blue Primary"},
    {"rTRC", "Red Curve"},
    {"gTRC", "Green Curve"},
    {"bTRC", "Blue Curve"},
    {"kTRC", "Grey Curve"},
    {"dmnd", "Device Maker"},
    {"dmdd", "Device Model"},
    {"vued", "Viewing Conditions"},
    {"view", "Viewing Conditions Data"},
    {"lumi", "Luminance"},
    {"meas", "Measurement"},
    {"tech", "Technology"},
    {"chad", "Chromatic Adaptation"},
    {"chrm", "Chromaticity"},
    {"A2B0", "Device To Connection Space"},
    {"B2A0", "Connection Space To Device"},
    {"calt", "Calibration Time"},
    {"targ", "Target"},
    {"mmod", "Make And Model"},
    {"vcgt", "Video Card Curves"},
    {"cicp", "Coding-Independent Code Points"},
};

constexpr const char* kIntents[] = {"Perceptual", "Relative colorimetric", "Saturation",
                                    "Absolute colorimetric"};

struct ClassName {
    const char* code;
    const char* name;
};
constexpr ClassName kClasses[] = {
    {"scnr", "Input device"}, {"mntr", "Display"},  {"prtr", "Output device"}, {"link", "Device link"},
    {"spac", "Colour space"}, {"abst", "Abstract"}, {"nmcl", "Named colours"}};

// Four characters; "" for zeros.
std::string Code(ByteSpan bytes, std::size_t at) {
    if (Big32(bytes, at) == 0) return {};
    return ToValidUtf8(TextOf(Slice(bytes, at, 4)));
}

double Fixed(ByteSpan bytes, std::size_t at) {
    return static_cast<double>(static_cast<std::int32_t>(Big32(bytes, at))) / 65536.0;
}

std::string Number(double value, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

std::string Short(const std::string& text) {
    return ShortenText(Trim(ToValidUtf8(text)), kMaxText);
}

std::string Hex(std::uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(value));
    return text;
}

std::string DateText(ByteSpan bytes, std::size_t at) {
    char text[64];
    std::snprintf(text, sizeof text, "%04u:%02u:%02u %02u:%02u:%02u", Big16(bytes, at), Big16(bytes, at + 2),
                  Big16(bytes, at + 4), Big16(bytes, at + 6), Big16(bytes, at + 8), Big16(bytes, at + 10));
    return text;
}

// x and y of an XYZ number; nothing where they sum to zero.
std::optional<std::pair<double, double>> Chromaticity(ByteSpan tag) {
    const double x = Fixed(tag, 8);
    const double y = Fixed(tag, 12);
    const double sum = x + y + Fixed(tag, 16);
    if (tag.size() < 20 || std::abs(sum) < 1e-6) return std::nullopt;
    return std::pair{x / sum, y / sum};
}

bool IsNear(double a, double b, double tolerance) {
    return std::abs(a - b) <= tolerance;
}

std::string ParametricText(ByteSpan tag) {
    static constexpr std::size_t kParameters[] = {1, 3, 4, 5, 7};
    const std::size_t function = Big16(tag, 8);
    if (function >= std::size(kParameters)) return "parametric, unknown function " + std::to_string(function);
    const double gamma = Fixed(tag, 12);
    if (function == 0) return "gamma " + Number(gamma, 2);
    const bool isSrgb = function >= 3 && IsNear(gamma, 2.4, 0.001) &&
                        IsNear(Fixed(tag, 16), 0.94787, 0.001) && IsNear(Fixed(tag, 20), 0.05213, 0.001) &&
                        IsNear(Fixed(tag, 24), 0.07739, 0.001);
    return (isSrgb ? std::string("sRGB curve")
                   : "function " + std::to_string(function) + ", exponent " + Number(gamma, 2)) +
           " (parametric)";
}

std::string CurveText(ByteSpan tag) {
    if (StartsWith(tag, 0, "para", 4)) return ParametricText(tag);
    const std::size_t count = Big32(tag, 8);
    if (count == 0) return "linear";
    if (count == 1) return "gamma " + Number(Big16(tag, 12) / 256.0, 2);
    return "table of " + std::to_string(count);
}

std::string NumbersText(ByteSpan tag, bool isFixed) {
    std::string text;
    for (std::size_t i = 0; i < kShownNumbers && 12 + 4 * i <= tag.size(); ++i)
        text +=
            (i == 0 ? "" : " ") + (isFixed ? Number(Fixed(tag, 8 + 4 * i), 5) : Hex(Big32(tag, 8 + 4 * i)));
    return text;
}

class Reader {
  public:
    explicit Reader(ByteSpan profile) : m_profile(profile) {}

    IccFacts Run() {
        m_facts.isProfile = m_profile.size() >= kHeaderBytes && StartsWith(m_profile, 36, "acsp", 4);
        if (!m_facts.isProfile) return std::move(m_facts);
        ReadHeader();
        ReadTags();
        SumUp();
        m_facts.description = Short(IccProfileName(m_profile));
        CheckWhole();
        return std::move(m_facts);
    }

  private:
    void Field(const char* label, std::size_t at, std::size_t size, const std::string& value,
               const std::string& raw) {
        m_facts.header.push_back({label, value, raw, at, size});
    }
    void CodeField(const char* label, std::size_t at, const std::string& name = {}) {
        const std::string code = Code(m_profile, at);
        Field(label, at, 4, code.empty() ? "None" : name.empty() ? Trim(code) : name, code);
    }

    void ReadHeader() {
        const std::uint32_t size = Big32(m_profile, 0);
        Field("Profile Size", 0, 4, std::to_string(size) + " bytes", std::to_string(size));
        m_facts.cmm = Code(m_profile, 4);
        CodeField("Preferred Module", 4);
        const std::uint32_t version = Big32(m_profile, 8);
        Field("Version", 8, 4,
              std::to_string(version >> 24) + "." + std::to_string((version >> 20) & 15) + "." +
                  std::to_string((version >> 16) & 15),
              Hex(version));
        std::string kind;
        for (const ClassName& name : kClasses)
            if (StartsWith(m_profile, 12, name.code, 4)) kind = name.name;
        CodeField("Class", 12, kind);
        m_facts.space = ToValidUtf8(TextOf(Slice(m_profile, 16, 4)));
        CodeField("Colour Space", 16);
        CodeField("Connection Space", 20);
        Field("Made", 24, 12, DateText(m_profile, 24), DateText(m_profile, 24));
        CodeField("Platform", 40);
        const std::uint32_t flags = Big32(m_profile, 44);
        Field("Flags", 44, 4,
              std::string((flags & 1) != 0 ? "Embedded" : "Not embedded") +
                  ((flags & 2) != 0 ? ", not to be used alone" : ""),
              Hex(flags));
        CodeField("Device Maker Code", 48);
        CodeField("Device Model Code", 52);
        Field("Device Attributes", 56, 8, Hex(Big32(m_profile, 60)), Hex(Big32(m_profile, 60)));
        const std::uint32_t intent = Big32(m_profile, 64);
        Field("Rendering Intent", 64, 4, intent < std::size(kIntents) ? kIntents[intent] : "Unknown",
              std::to_string(intent));
        const std::string white = Number(Fixed(m_profile, 68), 4) + " " + Number(Fixed(m_profile, 72), 4) +
                                  " " + Number(Fixed(m_profile, 76), 4);
        Field("Illuminant (XYZ)", 68, 12, white, white);
        m_facts.creator = Code(m_profile, 80);
        CodeField("Creator", 80);
        std::string identifier;
        for (std::size_t i = 84; i < 100; ++i) {
            char byte[4];
            std::snprintf(byte, sizeof byte, "%02x", static_cast<unsigned>(m_profile[i]));
            identifier += byte;
        }
        const bool isStated = identifier.find_first_not_of('0') != std::string::npos;
        if (isStated) CheckIdentifier(identifier);
        Field("Profile ID (MD5)", 84, 16, isStated ? identifier : "None", identifier);
    }

    // The MD5 of the profile with flags, intent and the identifier itself as zeros.
    void CheckIdentifier(const std::string& stated) {
        const std::size_t size = Big32(m_profile, 0);
        if (size < kHeaderBytes || size > m_profile.size()) return;
        std::vector<std::uint8_t> copy(m_profile.begin(),
                                       m_profile.begin() + static_cast<std::ptrdiff_t>(size));
        for (const auto& [from, count] : {std::pair{44, 4}, {64, 4}, {84, 16}})
            std::fill_n(copy.begin() + from, count, std::uint8_t{0});
        if (ComputeHashes(copy).md5 != stated)
            Damage("The profile is not the one that its ID (MD5) was made for.");
    }

    void Damage(const std::string& sentence) {
        if (m_facts.damage.empty()) m_facts.damage = sentence;
    }

    void ReadTags() {
        const std::size_t stated = Big32(m_profile, kHeaderBytes);
        const std::size_t room =
            m_profile.size() >= kHeaderBytes + 4 ? (m_profile.size() - kHeaderBytes - 4) / 12 : 0;
        if (stated > room) Damage("The profile's list of tags runs beyond its end.");
        const std::size_t count = std::min({stated, room, kMaxTags});
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t at = kHeaderBytes + 4 + 12 * i;
            IccTag tag;
            tag.signature = ToValidUtf8(TextOf(Slice(m_profile, at, 4)));
            tag.offset = Big32(m_profile, at + 4);
            tag.size = Big32(m_profile, at + 8);
            tag.isInside = tag.offset <= m_profile.size() && tag.size <= m_profile.size() - tag.offset;
            tag.label = tag.signature;
            for (const auto& [signature, label] : kLabels)
                if (tag.signature == signature) tag.label = label;
            if (!tag.isInside)
                Damage("The profile's tag \"" + tag.signature + "\" lies outside the profile.");
            else
                Interpret(Slice(m_profile, tag.offset, tag.size), tag);
            m_facts.tags.push_back(std::move(tag));
        }
    }

    void Interpret(ByteSpan bytes, IccTag& tag) const {
        tag.type = Code(bytes, 0);
        tag.raw = std::to_string(tag.size) + " bytes";
        if (tag.type == "XYZ ") {
            tag.raw = NumbersText(Slice(bytes, 0, 20), true);
            const auto xy = Chromaticity(bytes);
            tag.value = xy ? "x " + Number(xy->first, 4) + ", y " + Number(xy->second, 4) : tag.raw;
        } else if (tag.type == "curv" || tag.type == "para") {
            tag.value = CurveText(bytes);
            if (tag.type == "para") tag.raw = NumbersText(Slice(bytes, 4, 32), true);
        } else if (tag.type == "desc" || tag.type == "mluc") {
            tag.value = Short(IccText(bytes));
            tag.raw = tag.value;
        } else if (tag.type == "text") {
            std::string text = TextOf(Slice(bytes, 8, kMaxText));
            if (const std::size_t zero = text.find('\0'); zero != std::string::npos) text.resize(zero);
            tag.value = Short(text);
            tag.raw = tag.value;
        } else if (tag.type == "sf32") {
            tag.raw = NumbersText(bytes, true);
            tag.value = tag.raw;
        } else if (tag.type == "sig ") {
            tag.value = Trim(Code(bytes, 8));
            tag.raw = tag.value;
        } else if (tag.type == "dtim") {
            tag.value = DateText(bytes, 8);
            tag.raw = tag.value;
        } else {
            tag.value = "Type \"" + Trim(tag.type) + "\", " + tag.raw;
        }
    }

    const IccTag* Find(const char* signature) const {
        for (const IccTag& tag : m_facts.tags)
            if (tag.signature == signature && tag.isInside) return &tag;
        return nullptr;
    }

    void SumUp() {
        for (const char* signature : {"rXYZ", "gXYZ", "bXYZ"}) {
            const IccTag* tag = Find(signature);
            const auto xy =
                tag == nullptr ? std::nullopt : Chromaticity(Slice(m_profile, tag->offset, tag->size));
            if (!xy) {
                m_facts.primaries.clear();
                break;
            }
            m_facts.primaries.push_back(xy->first);
            m_facts.primaries.push_back(xy->second);
        }
        for (const char* signature : {"kTRC", "rTRC", "gTRC", "bTRC"}) {
            const IccTag* tag = Find(signature);
            if (tag == nullptr) continue;
            m_facts.curves =
                m_facts.curves.empty() || m_facts.curves == tag->value ? tag->value : "different";
        }
    }

    void CheckWhole() {
        const std::size_t size = Big32(m_profile, 0);
        if (size > m_profile.size())
            Damage("The profile states " + std::to_string(size) + " bytes, the file holds " +
                   std::to_string(m_profile.size()) + " of them.");
    }

    ByteSpan m_profile;
    IccFacts m_facts;
};

bool HasPrimaries(const IccFacts& facts, const double (&wanted)[6]) {
    if (facts.primaries.size() != 6) return false;
    for (std::size_t i = 0; i < 6; ++i)
        if (!IsNear(facts.primaries[i], wanted[i], 0.003)) return false;
    return true;
}

}  // namespace

IccFacts ReadIccFacts(ByteSpan profile) {
    return Reader(profile).Run();
}

std::vector<MetadataEntry> IccEntries(const IccFacts& facts) {
    std::vector<MetadataEntry> entries;
    const auto add = [&entries](const std::string& group, const std::string& key, const std::string& label,
                                const std::string& value, const std::string& raw, const std::string& type) {
        entries.push_back({MetadataKind::Icc, group, "Icc." + key, label, value, raw, type});
        return &entries.back();
    };
    for (const IccField& field : facts.header)
        add("ICC header", "Header." + field.label, field.label, field.value, field.raw, "Header")->size =
            field.size;
    for (const IccTag& tag : facts.tags) {
        MetadataEntry* entry = add("ICC profile", tag.signature, tag.label,
                                   tag.isInside ? tag.value : "Outside the profile", tag.raw, Trim(tag.type));
        entry->tag = tag.signature;
        entry->size = tag.size;
    }
    return entries;
}

bool HasPrimariesOfSrgb(const IccFacts& facts) {
    // The colorants of sRGB adapted to D50 by the Bradford method (IEC 61966-2-1).
    static constexpr double kSrgb[6] = {0.6485, 0.3309, 0.3212, 0.5979, 0.1559, 0.0660};
    return HasPrimaries(facts, kSrgb);
}
