#include "orvgui/common/language.h"

#include <wx/translation.h>

#include "zorbase/files.h"
#include "zorbase/text.h"

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
    if (!language.empty()) translations->SetLanguage(ToWx(language));
    translations->AddStdCatalog();
    translations->AddCatalog("orvane");
}
