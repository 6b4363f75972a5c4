#include "orvcore/tools/toolsettings.h"

#include "zorbase/files.h"
#include "zorbase/zorexception.h"

namespace {

constexpr const char* kFormat = "orvane-tools";
constexpr int kVersion = 1;
constexpr std::uint64_t kLargestFile = 1024 * 1024;

}  // namespace

std::string OrvToolSettings::Path() {
    return PathJoin(PathJoin(GetAppDocumentsPath(), "settings"), "tools.json");
}

void OrvToolSettings::Load() {
    Json json;
    try {
        const auto facts = GetFileFacts(Path());
        if (!facts || facts->size > kLargestFile) return;
        json = JsonFromText(ReadFile(Path()));
    } catch (const ZorException&) {
        return;
    }
    if (!json.is_object() || json.value("format", Json()) != kFormat ||
        json.value("version", Json()) != kVersion)
        return;
    const auto tools = json.find("tools");
    if (tools == json.end() || !tools->is_object()) return;
    const std::lock_guard lock(m_mutex);
    for (const auto& [name, record] : tools->items())
        if (record.is_object()) m_records[name] = record;
}

void OrvToolSettings::Save() const {
    Json tools = Json::object();
    {
        const std::lock_guard lock(m_mutex);
        for (const auto& [name, record] : m_records) tools[name] = record;
    }
    const Json json = {{"format", kFormat}, {"version", kVersion}, {"tools", std::move(tools)}};
    WriteFile(Path(), JsonToText(json, 2) + "\n");
}

Json OrvToolSettings::Get(const std::string& name) const {
    const std::lock_guard lock(m_mutex);
    const auto found = m_records.find(name);
    return found != m_records.end() ? found->second : Json::object();
}

void OrvToolSettings::Set(const std::string& name, const Json& record) {
    const std::lock_guard lock(m_mutex);
    m_records[name] = record;
}
