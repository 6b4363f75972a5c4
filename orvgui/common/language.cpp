#include "orvgui/common/language.h"

#include <wx/translation.h>

#include <cstdlib>
#include <string_view>

#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

// Whether the system asks for the language that the texts are written in, or for none. The names in the order in which the system's own
// catalogues are chosen by them.
bool IsSystemEnglish() {
    for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (value == nullptr || *value == '\0') continue;
        const std::string_view wanted(value);
        return wanted == "C" || wanted.starts_with("C.") || wanted == "POSIX" || wanted == "en" ||
               wanted.starts_with("en_") || wanted.starts_with("en:") || wanted.starts_with("en.");
    }
    return true;
}

}  // namespace

std::string LanguageOf(const VecVecParameter& options) {
    constexpr const char* kCodes[] = {"", "en", "de"};  // in the order of the choice
    for (const VecParameter& group : options)
        if (const Parameter* option = group.Find("language"))
            if (const int choice = option->Get<int>(); choice >= 0 && choice < 3) return kCodes[choice];
    return {};
}

void UseLanguage(const std::string& language) {
    wxFileTranslationsLoader::AddCatalogLookupPathPrefix(PathToWx(PathJoin(GetAppDataPath(), "locale")));
    auto* translations = new wxTranslations;
    wxTranslations::Set(translations);
    // To find that there is no catalogue costs the toolkit as much as to load one.
    if (language == "en" || (language.empty() && IsSystemEnglish())) return;
    if (!language.empty()) translations->SetLanguage(ToWx(language));
    translations->AddStdCatalog();
    translations->AddCatalog("orvane");
}
