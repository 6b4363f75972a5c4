#include "orvcore/filter/filterstore.h"

#include <algorithm>

#include "orvcore/filter/filter.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr const char* kFormat = "orvane-filter-configurations";
constexpr int kVersion = 1;

// More than anybody sets up by hand; a file that claims more is not followed.
constexpr std::size_t kMaxConfigurations = 500;

bool Holds(const std::vector<OrvFilterConfiguration>& list, const VecParameter& parameters) {
    return std::any_of(list.begin(), list.end(), [&parameters](const OrvFilterConfiguration& configuration) {
        return configuration.GetParameters() == parameters;
    });
}

// The readable entries of a list, each parameter set once. isWhole becomes false when one had to be left out.
std::vector<OrvFilterConfiguration> ReadList(const OrvFilter& filter, const Json& list, bool& isWhole,
                                             std::vector<std::string>& problems) {
    const std::string& name = filter.GetNameUtf8();
    std::vector<OrvFilterConfiguration> read;
    for (const Json& item : list) {
        const auto values = item.is_object() ? item.find("parameters") : item.end();
        if (!item.is_object() || values == item.end() || !values->is_object()) {
            problems.push_back(name + ": a configuration without parameters");
            isWhole = false;
            continue;
        }
        VecParameter parameters = filter.GetInputPrototype();
        std::vector<std::string> unfit;
        parameters.FromJson(*values, unfit);
        for (const std::string& text : unfit) problems.push_back(name + ": " + text);
        if (!values->empty() && unfit.size() >= values->size()) {
            isWhole = false;  // nothing of it is known: it would be the defaults under a wrong name
            continue;
        }
        if (Holds(read, parameters)) continue;
        if (read.size() == kMaxConfigurations) {
            problems.push_back(name + ": more than " + ToString(static_cast<int>(kMaxConfigurations)) +
                               " configurations");
            isWhole = false;
            break;
        }
        OrvFilterConfiguration configuration(parameters);
        const auto enabled = item.find("enabled");
        configuration.Enable(enabled == item.end() || !enabled->is_boolean() || enabled->get<bool>());
        read.push_back(std::move(configuration));
    }
    return read;
}

}  // namespace

std::string OrvFilterStore::SettingsPath() {
    return PathJoin(PathJoin(GetAppDocumentsPath(), "settings"), "filters.json");
}

Json OrvFilterStore::ToJson(const std::vector<OrvFilter*>& filters) {
    Json entries = Json::object();
    for (OrvFilter* filter : filters) {
        if (filter->GetPageKind() == OrvPageKind::Summary) continue;  // belongs to the window, runs nothing
        if (filter->HasSingleConfiguration() && filter->GetInputPrototype().empty() &&
            filter->IsConfigurationEnabled(0))
            continue;
        Json list = Json::array();
        for (const OrvFilterConfiguration& configuration : filter->GetConfigurations())
            list.push_back({{"enabled", configuration.IsEnabled()},
                            {"parameters", configuration.GetParameters().ToJson()}});
        entries[filter->GetId()] = {{"active", filter->GetActiveConfiguration()},
                                    {"configurations", std::move(list)}};
    }
    return Json{{"format", kFormat}, {"version", kVersion}, {"filters", std::move(entries)}};
}

void OrvFilterStore::FromJson(const std::vector<OrvFilter*>& filters, const Json& json,
                              std::vector<std::string>& problems) {
    if (!json.is_object() || json.value("format", Json()) != kFormat || !json.contains("filters") ||
        !json["filters"].is_object() || !json.contains("version") || !json["version"].is_number_integer())
        ZOR_THROW(Format, "This is not a file of filter configurations.");
    // Compared without narrowing: a number that does not fit into an int is newer, too.
    const Json& version = json["version"];
    if (version.is_number_unsigned() && version.get<std::uint64_t>() > kVersion)
        problems.push_back("written by a newer version of the program (format " + JsonToText(version, 0) +
                           ", this one reads " + ToString(kVersion) + "): what only that version knows");

    for (const auto& [id, entry] : json["filters"].items()) {
        const auto found = std::find_if(filters.begin(), filters.end(),
                                        [&id](const OrvFilter* one) { return one->GetId() == id; });
        OrvFilter* filter = found == filters.end() ? nullptr : *found;
        const std::string name = filter != nullptr ? filter->GetNameUtf8() : ToValidUtf8(id);
        if (filter == nullptr) {
            problems.push_back("unknown filter \"" + name + "\"");
            continue;
        }
        if (!entry.is_object() || !entry.contains("configurations") || !entry["configurations"].is_array()) {
            problems.push_back(name + ": no list of configurations");
            continue;
        }
        bool isWhole = true;
        std::vector<OrvFilterConfiguration> read =
            ReadList(*filter, entry["configurations"], isWhole, problems);
        if (filter->HasSingleConfiguration() && read.size() != 1) {
            if (isWhole)
                problems.push_back(name + ": has one configuration, not " +
                                   ToString(static_cast<int>(read.size())));
            continue;
        }
        if (!isWhole) {
            // What could be read joins what is there instead of replacing it.
            std::vector<OrvFilterConfiguration> joined = filter->GetConfigurations();
            for (OrvFilterConfiguration& configuration : read)
                if (!Holds(joined, configuration.GetParameters())) joined.push_back(std::move(configuration));
            read = std::move(joined);
        }
        const auto active = entry.find("active");
        const int index = active != entry.end() && active->is_number_integer() ? active->get<int>() : 0;
        filter->EditConfigurations([&](std::vector<OrvFilterConfiguration>& configurations, int& current) {
            // A status says what was run in this session; it stays with the parameters that it belongs to.
            for (OrvFilterConfiguration& configuration : read)
                for (const OrvFilterConfiguration& old : configurations)
                    if (old.GetParameters() == configuration.GetParameters())
                        configuration.SetFilterStatus(old.GetFilterStatus());
            configurations = std::move(read);
            if (isWhole) current = index;
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
