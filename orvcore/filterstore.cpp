#include "orvcore/filterstore.h"

#include "orvcore/context.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr const char* kFormat = "orvane-filter-configurations";
constexpr int kVersion = 1;

}  // namespace

std::string OrvFilterStore::SettingsPath() {
    return PathJoin(PathJoin(GetAppDocumentsPath(), "settings"), "filters.json");
}

Json OrvFilterStore::ToJson(const OrvContext& context) {
    Json filters = Json::object();
    for (OrvFilter* filter : context.GetFilters()) {
        if (filter->HasSingleConfiguration() && filter->GetInputPrototype().empty() &&
            filter->IsConfigurationEnabled(0))
            continue;
        Json list = Json::array();
        for (const OrvFilterConfiguration& configuration : filter->GetConfigurations())
            list.push_back({{"enabled", configuration.IsEnabled()},
                            {"parameters", configuration.GetParameters().ToJson()}});
        filters[filter->GetId()] = {{"active", filter->GetActiveConfiguration()},
                                    {"configurations", std::move(list)}};
    }
    return Json{{"format", kFormat}, {"version", kVersion}, {"filters", std::move(filters)}};
}

void OrvFilterStore::FromJson(OrvContext& context, const Json& json, std::vector<std::string>& problems) {
    if (!json.is_object() || json.value("format", Json()) != kFormat || !json.contains("filters") ||
        !json["filters"].is_object() || !json.contains("version") || !json["version"].is_number_integer())
        ZOR_THROW(Format, "This is not a file of filter configurations.");
    // Compared without narrowing: a number that does not fit into an int is newer, too.
    const Json& version = json["version"];
    if (version.is_number_unsigned() && version.get<std::uint64_t>() > kVersion)
        ZOR_THROW(Format,
                  "These filter configurations were written by a newer version of the program (format " +
                      JsonToText(version, 0) + ", this one reads " + ToString(kVersion) + ").");

    for (const auto& [id, entry] : json["filters"].items()) {
        OrvFilter* filter = context.FindFilter(id);
        const std::string name = filter != nullptr ? filter->GetNameUtf8() : ToValidUtf8(id);
        if (filter == nullptr) {
            problems.push_back("unknown filter \"" + name + "\"");
            continue;
        }
        if (!entry.is_object() || !entry.contains("configurations") || !entry["configurations"].is_array()) {
            problems.push_back(name + ": no list of configurations");
            continue;
        }
        std::vector<OrvFilterConfiguration> read;
        for (const Json& item : entry["configurations"]) {
            if (!item.is_object() || !item.contains("parameters")) {
                problems.push_back(name + ": a configuration without parameters");
                continue;
            }
            VecParameter parameters = filter->GetInputPrototype();
            std::vector<std::string> unfit;
            parameters.FromJson(item["parameters"], unfit);
            for (const std::string& text : unfit) problems.push_back(name + ": " + text);
            OrvFilterConfiguration configuration(parameters);
            const auto enabled = item.find("enabled");
            configuration.Enable(enabled == item.end() || !enabled->is_boolean() || enabled->get<bool>());
            read.push_back(std::move(configuration));
        }
        if (read.empty() && !entry["configurations"].empty()) continue;
        const auto active = entry.find("active");
        const int index = active != entry.end() && active->is_number_integer() ? active->get<int>() : 0;
        filter->EditConfigurations([&](std::vector<OrvFilterConfiguration>& configurations, int& current) {
            // A status says what was run in this session; it stays with the parameters that it belongs to.
            for (OrvFilterConfiguration& configuration : read)
                for (const OrvFilterConfiguration& old : configurations)
                    if (old.GetParameters() == configuration.GetParameters())
                        configuration.SetFilterStatus(old.GetFilterStatus());
            configurations = std::move(read);
            current = index;
        });
    }
}

void OrvFilterStore::ResetToDefaults(OrvFilter& filter) {
    filter.EditConfigurations([&filter](std::vector<OrvFilterConfiguration>& configurations, int& active) {
        std::vector<OrvFilterConfiguration> defaults = filter.m_defaultConfigurations;
        if (defaults.empty()) defaults.emplace_back(filter.m_inputPrototype);
        for (OrvFilterConfiguration& configuration : defaults)
            for (const OrvFilterConfiguration& old : configurations)
                if (old.GetParameters() == configuration.GetParameters())
                    configuration.SetFilterStatus(old.GetFilterStatus());
        configurations = std::move(defaults);
        active = 0;
    });
}
