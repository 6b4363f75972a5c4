#include "orvcore/model/project.h"

#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr const char* kFormat = "orvane-project";
constexpr int kVersion = 1;
constexpr const char* kSlotNames[kFileSlots] = {"evidence", "reference"};

// Paths are bytes and JSON is UTF-8: what is not UTF-8 travels as hexadecimal digits.
Json PathToJson(const std::string& path) {
    if (ToValidUtf8(path) == path) return path;
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (const unsigned char byte : path) {
        hex += kDigits[byte >> 4];
        hex += kDigits[byte & 15];
    }
    return Json{{"hex", hex}};
}

std::string PathFromJson(const Json& json) {
    if (json.is_null()) return {};
    if (json.is_string()) return json.get<std::string>();
    if (!json.is_object() || !json.contains("hex") || !json["hex"].is_string())
        ZOR_THROW(Format, "a path that cannot be read");
    const std::string hex = json["hex"].get<std::string>();
    if (hex.size() % 2 != 0 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
        ZOR_THROW(Format, "a path that cannot be read");
    std::string path;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        path += static_cast<char>(std::strtoul(hex.substr(i, 2).c_str(), nullptr, 16));
    return path;
}

std::string TextOf(const Json& json, const char* key) {
    const auto entry = json.find(key);
    return entry != json.end() && entry->is_string() ? entry->get<std::string>() : std::string();
}

Json BookmarkToJson(const OrvBookmark& bookmark) {
    return Json{{"name", bookmark.name},
                {"note", bookmark.note},
                {"filter", bookmark.filterId},
                {"input", bookmark.input},
                {"postProcessing", bookmark.postProcessing},
                {"evidence", PathToJson(bookmark.path[OrvEvidence])},
                {"reference", PathToJson(bookmark.path[OrvReference])}};
}

OrvBookmark BookmarkFromJson(const Json& json) {
    if (!json.is_object()) ZOR_THROW(Format, "a bookmark that cannot be read");
    OrvBookmark bookmark;
    bookmark.name = TextOf(json, "name");
    bookmark.note = TextOf(json, "note");
    bookmark.filterId = TextOf(json, "filter");
    bookmark.input = json.value("input", Json::object());
    bookmark.postProcessing = json.value("postProcessing", Json::object());
    for (int slot = 0; slot < kFileSlots; ++slot)
        bookmark.path[slot] = PathFromJson(json.value(kSlotNames[slot], Json()));
    return bookmark;
}

}  // namespace

wxString OrvProject::GetFilename() const {
    return PathToWx(m_path);
}

void OrvProject::SetFile(OrvFileId slot, const std::string& path, const std::string& sha256) {
    m_filePath[slot] = path;
    m_fileSha256[slot] = sha256;
}

std::string OrvProject::ToText() const {
    Json json{{"format", kFormat}, {"version", kVersion}, {"bookmarks", Json::array()}};
    for (int slot = 0; slot < kFileSlots; ++slot)
        if (!m_filePath[slot].empty())
            json[kSlotNames[slot]] = {{"path", PathToJson(m_filePath[slot])}, {"sha256", m_fileSha256[slot]}};
    for (const OrvBookmark& bookmark : m_bookmarks) json["bookmarks"].push_back(BookmarkToJson(bookmark));
    return JsonToText(json, 2) + "\n";
}

OrvProject OrvProject::FromText(const std::string& text) {
    try {
        const Json json = JsonFromText(text);
        if (!json.is_object() || json.value("format", Json()) != kFormat || !json.contains("version") ||
            !json["version"].is_number_integer())
            ZOR_THROW(Format, "this is not a project file");
        // Compared without narrowing: a number that does not fit into an int is newer, too.
        if (const Json& version = json["version"];
            version.is_number_unsigned() && version.get<std::uint64_t>() > kVersion)
            ZOR_THROW(Format, "it was written by a newer version of the program");
        OrvProject project;
        for (int slot = 0; slot < kFileSlots; ++slot) {
            const Json entry = json.value(kSlotNames[slot], Json());
            if (!entry.is_object()) continue;
            project.SetFile(static_cast<OrvFileId>(slot), PathFromJson(entry.value("path", Json())),
                            TextOf(entry, "sha256"));
        }
        const Json bookmarks = json.value("bookmarks", Json::array());
        if (!bookmarks.is_array()) ZOR_THROW(Format, "the list of bookmarks cannot be read");
        for (const Json& entry : bookmarks) project.m_bookmarks.push_back(BookmarkFromJson(entry));
        return project;
    } catch (const Json::exception&) {
        ZOR_THROW(Format, "it is damaged");
    }
}
