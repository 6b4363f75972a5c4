// A project as text, and back. The text is JSON; its shape is documented by the functions here, one per kind of value.

#include <wx/base64.h>

#include <algorithm>
#include <cmath>

#include "orvcore/model/project.h"
#include "zorbase/appversion.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr const char* kFormat = "orvane-project";
// 1 kept neither sizes, views, case data nor versions.
constexpr int kVersion = 2;
constexpr const char* kSlotNames[kFileSlots] = {"evidence", "reference"};
constexpr const char* kKinds[] = {"rectangle", "arrow", "text"};

// More than any case has; a file that claims more is not followed.
constexpr std::size_t kMaxEntries = 100000;
constexpr std::size_t kMaxThumbnail = 1 << 20;  // of its text

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
    std::string path;
    if (json.is_string()) {
        path = json.get<std::string>();
    } else {
        if (!json.is_object() || !json.contains("hex") || !json["hex"].is_string())
            ZOR_THROW(Format, "a path that cannot be read");
        const std::string hex = json["hex"].get<std::string>();
        if (hex.size() % 2 != 0 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
            ZOR_THROW(Format, "a path that cannot be read");
        for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
            path += static_cast<char>(std::strtoul(hex.substr(i, 2).c_str(), nullptr, 16));
    }
    if (path.find('\0') != std::string::npos) ZOR_THROW(Format, "a path that cannot be read");
    return path;
}

// The member of that name, null where there is none.
const Json& Member(const Json& json, const char* key) {
    static const Json kNull;
    const auto entry = json.is_object() ? json.find(key) : json.end();
    return json.is_object() && entry != json.end() ? *entry : kNull;
}

std::string TextOf(const Json& json, const char* key) {
    const Json& entry = Member(json, key);
    return entry.is_string() ? entry.get<std::string>() : std::string();
}

bool FlagOf(const Json& json, const char* key, bool otherwise) {
    const Json& entry = Member(json, key);
    return entry.is_boolean() ? entry.get<bool>() : otherwise;
}

Json ObjectOf(const Json& json, const char* key) {
    const Json& entry = Member(json, key);
    return entry.is_object() ? entry : Json::object();
}

// A whole number in the range, otherwise refused.
int NumberOf(const Json& json, const char* key, int minimum, int maximum, int otherwise) {
    const Json& entry = Member(json, key);
    if (entry.is_null()) return otherwise;
    const double value = entry.is_number() ? entry.get<double>() : std::nan("");
    if (!(value >= minimum && value <= maximum) || value != std::floor(value))
        ZOR_THROW(Format, std::string("the number \"") + key + "\" cannot be read");
    return static_cast<int>(value);
}

double RealOf(const Json& json, const char* key, double otherwise) {
    const Json& entry = Member(json, key);
    if (entry.is_null()) return otherwise;
    constexpr double kLargest = 1e9;
    const double value = entry.is_number() ? entry.get<double>() : std::nan("");
    if (!(std::abs(value) <= kLargest))
        ZOR_THROW(Format, std::string("the number \"") + key + "\" cannot be read");
    return value;
}

const Json& ListOf(const Json& json, const char* key, const char* what) {
    static const Json kEmpty = Json::array();
    const Json& entry = Member(json, key);
    if (entry.is_null()) return kEmpty;
    if (!entry.is_array() || entry.size() > kMaxEntries)
        ZOR_THROW(Format, std::string("the list of ") + what + " cannot be read");
    return entry;
}

void RequireObject(const Json& json, const char* what) {
    if (!json.is_object()) ZOR_THROW(Format, std::string(what) + " that cannot be read");
}

Json FileToJson(const OrvCaseFile& file) {
    if (file.IsEmpty()) return nullptr;
    Json json{{"path", PathToJson(file.path)}, {"size", file.size}, {"sha256", file.sha256}};
    if (!file.relativePath.empty()) json["relativePath"] = PathToJson(file.relativePath);
    return json;
}

OrvCaseFile FileFromJson(const Json& json) {
    OrvCaseFile file;
    if (json.is_null()) return file;
    // The first version kept a bookmark's files as paths alone.
    if (json.is_string() || (json.is_object() && json.contains("hex"))) {
        file.path = PathFromJson(json);
        return file;
    }
    RequireObject(json, "a file");
    file.path = PathFromJson(Member(json, "path"));
    file.relativePath = PathFromJson(Member(json, "relativePath"));
    if (const Json& size = Member(json, "size"); size.is_number_unsigned())
        file.size = size.get<std::uint64_t>();
    file.sha256 = ToLower(TextOf(json, "sha256"));
    return file;
}

Json RoiToJson(const Roi& roi) {
    return Json{{"x", roi.x}, {"y", roi.y}, {"width", roi.width}, {"height", roi.height}};
}

// Sides may be negative: an arrow points anywhere.
Roi RoiFromJson(const Json& json) {
    constexpr int kFar = 1 << 28;
    if (json.is_null()) return {};
    RequireObject(json, "a region");
    return {NumberOf(json, "x", -kFar, kFar, 0), NumberOf(json, "y", -kFar, kFar, 0),
            NumberOf(json, "width", -kFar, kFar, 0), NumberOf(json, "height", -kFar, kFar, 0)};
}

Json ViewToJson(const OrvViewState& view) {
    Json json{{"mode", view.mode}, {"fit", view.isFit}};
    if (!view.isFit) {
        json["zoom"] = view.zoom;
        json["centre"] = {{"x", view.centreX}, {"y", view.centreY}};
    }
    if (!view.selection.IsEmpty()) json["selection"] = RoiToJson(view.selection);
    const OrvViewState plain;
    if (view.map != plain.map || view.mapOpacity != plain.mapOpacity || view.isMapBeyondOnly)
        json["map"] = {
            {"name", view.map}, {"opacity", view.mapOpacity}, {"beyondOnly", view.isMapBeyondOnly}};
    return json;
}

OrvViewState ViewFromJson(const Json& json) {
    OrvViewState view;
    if (json.is_null()) return view;
    RequireObject(json, "a view");
    view.mode = NumberOf(json, "mode", -1, 1000, -1);
    view.isFit = FlagOf(json, "fit", true);
    view.zoom = RealOf(json, "zoom", 1.0);
    view.centreX = RealOf(Member(json, "centre"), "x", 0.0);
    view.centreY = RealOf(Member(json, "centre"), "y", 0.0);
    view.selection = RoiFromJson(Member(json, "selection"));
    if (view.selection.IsEmpty()) view.selection = {};
    const Json& map = Member(json, "map");
    view.map = TextOf(map, "name");
    view.mapOpacity = NumberOf(map, "opacity", 0, 100, 100);
    view.isMapBeyondOnly = FlagOf(map, "beyondOnly", false);
    return view;
}

Json BookmarkToJson(const OrvBookmark& bookmark) {
    Json json{{"name", bookmark.name},
              {"note", bookmark.note},
              {"filter", bookmark.filterId},
              {"filterVersion", bookmark.filterVersion},
              {"program", bookmark.programVersion},
              {"made", bookmark.madeOn},
              {"input", bookmark.input},
              {"postProcessing", bookmark.postProcessing},
              {"referenceEnabled", bookmark.isReferenceEnabled},
              {"view", ViewToJson(bookmark.view)}};
    for (int slot = 0; slot < kFileSlots; ++slot) json[kSlotNames[slot]] = FileToJson(bookmark.file[slot]);
    if (bookmark.mapRanges.is_object()) json["mapRanges"] = bookmark.mapRanges;
    if (bookmark.thumbnail)
        json["thumbnail"] =
            wxBase64Encode(bookmark.thumbnail->data(), bookmark.thumbnail->size()).utf8_string();
    return json;
}

OrvBookmark BookmarkFromJson(const Json& json) {
    RequireObject(json, "a bookmark");
    OrvBookmark bookmark;
    bookmark.name = TextOf(json, "name");
    bookmark.note = TextOf(json, "note");
    bookmark.filterId = TextOf(json, "filter");
    bookmark.filterVersion = NumberOf(json, "filterVersion", 0, 1 << 30, 0);
    bookmark.programVersion = TextOf(json, "program");
    bookmark.madeOn = TextOf(json, "made");
    bookmark.input = ObjectOf(json, "input");
    bookmark.postProcessing = ObjectOf(json, "postProcessing");
    bookmark.isReferenceEnabled = FlagOf(json, "referenceEnabled", true);
    bookmark.view = ViewFromJson(Member(json, "view"));
    if (const Json& ranges = Member(json, "mapRanges"); ranges.is_object()) bookmark.mapRanges = ranges;
    for (int slot = 0; slot < kFileSlots; ++slot)
        bookmark.file[slot] = FileFromJson(Member(json, kSlotNames[slot]));
    const std::string thumbnail = TextOf(json, "thumbnail");
    // A picture for the list only: one that cannot be read is no reason to refuse the rest.
    if (!thumbnail.empty() && thumbnail.size() <= kMaxThumbnail) {
        const wxMemoryBuffer bytes =
            wxBase64Decode(thumbnail.data(), thumbnail.size(), wxBase64DecodeMode_Strict);
        if (bytes.GetDataLen() > 0)
            bookmark.thumbnail = std::make_shared<const std::string>(
                static_cast<const char*>(bytes.GetData()), bytes.GetDataLen());
    }
    return bookmark;
}

Json CaseToJson(const OrvCaseData& data) {
    Json exhibits = Json::array();
    for (const OrvExhibit& exhibit : data.exhibits)
        exhibits.push_back({{"file", FileToJson(exhibit.file)},
                            {"number", exhibit.number},
                            {"receivedFrom", exhibit.receivedFrom},
                            {"receivedOn", exhibit.receivedOn},
                            {"expectedHash", exhibit.expectedHash}});
    return Json{{"title", data.title},       {"examiner", data.examiner}, {"reviewer", data.reviewer},
                {"question", data.question}, {"limits", data.limits},     {"exhibits", std::move(exhibits)}};
}

OrvCaseData CaseFromJson(const Json& json) {
    OrvCaseData data;
    if (json.is_null()) return data;
    RequireObject(json, "case data");
    data.title = TextOf(json, "title");
    data.examiner = TextOf(json, "examiner");
    data.reviewer = TextOf(json, "reviewer");
    data.question = TextOf(json, "question");
    data.limits = TextOf(json, "limits");
    for (const Json& entry : ListOf(json, "exhibits", "exhibits")) {
        RequireObject(entry, "an exhibit");
        data.exhibits.push_back({FileFromJson(Member(entry, "file")), TextOf(entry, "number"),
                                 TextOf(entry, "receivedFrom"), TextOf(entry, "receivedOn"),
                                 TextOf(entry, "expectedHash")});
    }
    return data;
}

Json AnnotationToJson(const OrvAnnotation& annotation) {
    return Json{{"kind", kKinds[static_cast<int>(annotation.kind)]},
                {"file", annotation.sha256},
                {"place", RoiToJson(annotation.place)},
                {"text", annotation.text}};
}

OrvAnnotation AnnotationFromJson(const Json& json) {
    RequireObject(json, "a mark");
    OrvAnnotation annotation;
    const std::string kind = TextOf(json, "kind");
    const auto found = std::find(std::begin(kKinds), std::end(kKinds), kind);
    if (found == std::end(kKinds)) ZOR_THROW(Format, "a mark of an unknown kind");
    annotation.kind = static_cast<OrvAnnotation::Kind>(found - std::begin(kKinds));
    annotation.sha256 = ToLower(TextOf(json, "file"));
    annotation.place = RoiFromJson(Member(json, "place"));
    annotation.text = TextOf(json, "text");
    return annotation;
}

Json StateToJson(const OrvProjectState& state) {
    Json json{{"filter", state.filterId},
              {"input", state.input},
              {"postProcessing", state.postProcessing},
              {"referenceEnabled", state.isReferenceEnabled},
              {"view", ViewToJson(state.view)},
              {"filterVersions", state.filterVersions}};
    if (!state.mapRanges.empty()) json["mapRanges"] = state.mapRanges;
    if (!state.configurations.is_null()) json["configurations"] = state.configurations;
    return json;
}

OrvProjectState StateFromJson(const Json& json) {
    OrvProjectState state;
    if (json.is_null()) return state;
    RequireObject(json, "a state of the program");
    state.filterId = TextOf(json, "filter");
    state.input = ObjectOf(json, "input");
    state.postProcessing = ObjectOf(json, "postProcessing");
    state.isReferenceEnabled = FlagOf(json, "referenceEnabled", true);
    state.view = ViewFromJson(Member(json, "view"));
    state.filterVersions = ObjectOf(json, "filterVersions");
    state.mapRanges = ObjectOf(json, "mapRanges");
    state.configurations = Member(json, "configurations");
    return state;
}

// Compared without narrowing: a number that does not fit into an int is newer, too.
void RefuseNewer(const Json& json) {
    const Json& version = json["version"];
    if (!version.is_number_unsigned() || version.get<std::uint64_t>() <= kVersion) return;
    const std::string program = ShortenText(ToValidUtf8(TextOf(json, "program")), 100);
    ZOR_THROW(Format, "it was written by a newer version of the program (" +
                          (program.empty() ? "" : program + ", ") + "project format " +
                          JsonToText(version, 0) + "; this one is " + AppVersion().GetFullName() +
                          " and reads up to format " + ToString(kVersion) + ")");
}

}  // namespace

std::string OrvProject::ToText() const {
    Json json{{"format", kFormat},
              {"version", kVersion},
              {"program", m_state.programVersion},
              {"case", CaseToJson(m_caseData)},
              {"state", StateToJson(m_state)},
              {"bookmarks", Json::array()},
              {"marks", Json::array()}};
    for (int slot = 0; slot < kFileSlots; ++slot)
        if (!m_file[slot].IsEmpty()) json[kSlotNames[slot]] = FileToJson(m_file[slot]);
    for (const OrvBookmark& bookmark : m_bookmarks) json["bookmarks"].push_back(BookmarkToJson(bookmark));
    for (const OrvAnnotation& annotation : m_annotations)
        json["marks"].push_back(AnnotationToJson(annotation));
    if (!m_state.logPlace.log.empty())
        json["log"] = {{"name", m_state.logPlace.log},
                       {"line", m_state.logPlace.line},
                       {"sha256", m_state.logPlace.sha256}};
    return JsonToText(json, 2) + "\n";
}

OrvProject OrvProject::FromText(const std::string& text) {
    try {
        const Json json = JsonFromText(text);
        if (!json.is_object() || json.value("format", Json()) != kFormat || !json.contains("version") ||
            !json["version"].is_number_integer())
            ZOR_THROW(Format, "this is not a project file");
        RefuseNewer(json);
        OrvProject project;
        for (int slot = 0; slot < kFileSlots; ++slot)
            project.m_file[slot] = FileFromJson(Member(json, kSlotNames[slot]));
        project.m_caseData = CaseFromJson(Member(json, "case"));
        for (const Json& entry : ListOf(json, "bookmarks", "bookmarks"))
            project.m_bookmarks.push_back(BookmarkFromJson(entry));
        for (const Json& entry : ListOf(json, "marks", "marks"))
            project.m_annotations.push_back(AnnotationFromJson(entry));
        project.m_state = StateFromJson(Member(json, "state"));
        project.m_state.programVersion = TextOf(json, "program");
        const Json& log = Member(json, "log");
        project.m_state.logPlace = {TextOf(log, "name"), NumberOf(log, "line", 0, 1 << 30, 0),
                                    ToLower(TextOf(log, "sha256"))};
        return project;
    } catch (const Json::exception&) {
        ZOR_THROW(Format, "it is damaged");
    }
}
