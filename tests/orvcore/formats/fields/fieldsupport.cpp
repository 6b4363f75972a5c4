#include "tests/orvcore/formats/fields/fieldsupport.h"

#include <algorithm>
#include <cmath>

#include "zorbase/hash.h"

using namespace formatsupport;

namespace fieldsupport {

namespace {

void AppendFixed(Bytes& bytes, double value) {
    AppendBig(bytes, static_cast<std::uint32_t>(static_cast<std::int32_t>(std::lround(value * 65536))), 4);
}

std::string FromHex(const std::string& hex) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    return bytes;
}

}  // namespace

std::string Md5Bytes(const Bytes& bytes) {
    return FromHex(ComputeHashes(bytes).md5);
}

Bytes MakeProfile(const ProfileRecipe& recipe) {
    std::vector<std::pair<std::string, Bytes>> tags;
    Bytes description = ToBytes(std::string("desc\0\0\0\0", 8));
    AppendBig(description, recipe.description.size() + 1, 4);
    description = description + ToBytes(recipe.description + std::string(1 + 78, '\0'));
    tags.emplace_back("desc", description);
    const char* const names[] = {"rXYZ", "gXYZ", "bXYZ"};
    for (std::size_t i = 0; i < 3; ++i) {
        Bytes xyz = ToBytes(std::string("XYZ \0\0\0\0", 8));
        for (std::size_t k = 0; k < 3; ++k) AppendFixed(xyz, recipe.primaries[3 * i + k]);
        tags.emplace_back(names[i], xyz);
    }
    for (const char* name : {"rTRC", "gTRC", "bTRC"}) {
        Bytes curve = ToBytes(std::string("curv\0\0\0\0", 8));
        AppendBig(curve, 1, 4);
        AppendBig(curve, static_cast<std::uint64_t>(std::lround(recipe.gamma * 256)), 2);
        AppendBig(curve, 0, 2);
        tags.emplace_back(name, curve);
    }
    Bytes table;
    Bytes data;
    const std::size_t start = 128 + 4 + 12 * tags.size();
    AppendBig(table, tags.size(), 4);
    for (auto& [name, content] : tags) {
        content.resize((content.size() + 3) / 4 * 4);
        table = table + ToBytes(name);
        AppendBig(table, start + data.size(), 4);
        AppendBig(table, content.size(), 4);
        data = data + content;
    }
    Bytes header;
    AppendBig(header, start + data.size(), 4);
    header = header + ToBytes("cmmX");
    AppendBig(header, 0x02400000, 4);
    header = header + ToBytes("mntrRGB XYZ ");
    for (const int number : {2020, 3, 4, 5, 6, 7}) AppendBig(header, static_cast<std::uint64_t>(number), 2);
    header = header + ToBytes("acspAPPL");
    header.resize(80);
    header = header + ToBytes(recipe.creator);
    header.resize(128);
    Bytes profile = header + table + data;
    if (recipe.withIdentifier) {
        const std::string identifier = Md5Bytes(profile);
        std::copy(identifier.begin(), identifier.end(), profile.begin() + 84);
    }
    return profile;
}

std::vector<std::pair<int, Bytes>> ProfileSegments(const Bytes& profile, std::size_t pieceBytes) {
    std::vector<std::pair<int, Bytes>> segments;
    const std::size_t count = (profile.size() + pieceBytes - 1) / pieceBytes;
    for (std::size_t i = 0; i < count; ++i) {
        Bytes payload = ToBytes(std::string("ICC_PROFILE\0", 12));
        AppendBig(payload, i + 1, 1);
        AppendBig(payload, count, 1);
        const auto from = profile.begin() + static_cast<std::ptrdiff_t>(i * pieceBytes);
        const auto to =
            profile.begin() + static_cast<std::ptrdiff_t>(std::min(profile.size(), (i + 1) * pieceBytes));
        segments.emplace_back(2, payload + Bytes(from, to));
    }
    return segments;
}

Bytes Resources(const std::vector<std::pair<int, Bytes>>& resources) {
    Bytes payload = ToBytes(std::string("Photoshop 3.0\0", 14));
    for (const auto& [number, content] : resources) {
        payload = payload + ToBytes("8BIM");
        AppendBig(payload, static_cast<std::uint64_t>(number), 2);
        AppendBig(payload, 0, 2);
        AppendBig(payload, content.size(), 4);
        payload = payload + content;
        if (content.size() % 2 != 0) payload.push_back(0);
    }
    return payload;
}

Bytes Iptc(const std::vector<std::pair<int, std::string>>& datasets) {
    Bytes block;
    for (const auto& [number, text] : datasets) {
        AppendBig(block, 0x1C02, 2);
        AppendBig(block, static_cast<std::uint64_t>(number), 1);
        AppendBig(block, text.size(), 2);
        block = block + ToBytes(text);
    }
    return block;
}

Bytes Xmp(const std::string& attributes, const std::string& elements) {
    const std::string packet =
        "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
        "<rdf:Description rdf:about='' xmlns:exif='http://ns.adobe.com/exif/1.0/' "
        "xmlns:tiff='http://ns.adobe.com/tiff/1.0/' xmlns:xmp='http://ns.adobe.com/xap/1.0/' "
        "xmlns:photoshop='http://ns.adobe.com/photoshop/1.0/' xmlns:xmpMM='http://ns.adobe.com/xap/1.0/mm/' "
        "xmlns:stEvt='http://ns.adobe.com/xap/1.0/sType/ResourceEvent#' "
        "xmlns:crs='http://ns.adobe.com/camera-raw-settings/1.0/' xmlns:aux='http://ns.adobe.com/exif/1.0/aux/' "
        "xmlns:dc='http://purl.org/dc/elements/1.1/' xmlns:xmpNote='http://ns.adobe.com/xmp/note/' "
        "xmlns:Iptc4xmpExt='http://iptc.org/std/Iptc4xmpExt/2008-02-29/' " +
        attributes + ">" + elements + "</rdf:Description></rdf:RDF></x:xmpmeta>";
    return ToBytes(std::string("http://ns.adobe.com/xap/1.0/\0", 29) + packet);
}

std::vector<std::pair<int, Bytes>> ExtendedXmpSegments(const std::string& packet, std::size_t pieceBytes,
                                                       std::string& identifier) {
    identifier = ComputeHashes(ToBytes(packet)).md5;
    std::transform(identifier.begin(), identifier.end(), identifier.begin(),
                   [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
    std::vector<std::pair<int, Bytes>> segments;
    for (std::size_t at = 0; at < packet.size(); at += pieceBytes) {
        Bytes payload = ToBytes(std::string("http://ns.adobe.com/xmp/extension/\0", 35) + identifier);
        AppendBig(payload, packet.size(), 4);
        AppendBig(payload, at, 4);
        segments.emplace_back(1, payload + ToBytes(packet.substr(at, pieceBytes)));
    }
    return segments;
}

}  // namespace fieldsupport
