#include "orvcore/report/selftestrecord.h"

#include "orvcore/filter/libraryversions.h"
#include "zorbase/appversion.h"
#include "zorbase/files.h"
#include "zorbase/json.h"
#include "zorbase/text.h"

std::string SelfTestRecordPath() {
    return PathJoin(GetAppDocumentsPath(), "selftest.json");
}

std::string SelfTestSummary() {
    const std::string path = SelfTestRecordPath();
    const std::string none =
        "No self-test of this program is known here; \"Run Self-Test\" (Help > About) or \"orvane-cli selftest\" makes one.";
    try {
        if (!FileExists(path)) return none;
        const Json record = JsonFromText(ReadFile(path));
        const auto count = record.at("answers").get<std::int64_t>();
        const auto wrong = record.at("wrong").get<std::vector<std::string>>();
        std::string text = "On " + record.at("date").get<std::string>() + ", with " +
                           record.at("program").get<std::string>() + ": ";
        text += wrong.empty() ? "all " + ToString(count) + " known answers were found."
                              : ToString(static_cast<std::int64_t>(wrong.size())) +
                                    " known answers were not found (of " + ToString(count) +
                                    "): " + Join(wrong, "; ") + ".";
        if (record.at("program").get<std::string>() != AppVersion().GetFullName() ||
            record.at("libraries").get<std::string>() != LibraryVersionsText())
            text += " Program or libraries have changed since.";
        return ToValidUtf8(text);
    } catch (const std::exception&) {
        return "The record of the last self-test cannot be read. " + none;
    }
}
