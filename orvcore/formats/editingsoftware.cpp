#include "orvcore/formats/editingsoftware.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "zorbase/text.h"

namespace {

// Programs that change pictures, lower case, as the software fields name them: by the beginning of a word…
constexpr const char* kEditors[] = {
    "photoshop",      "lightroom",      "adobe",     "paint.net",     "paintshop",   "paint shop",
    "affinity",       "snapseed",       "picsart",   "pixelmator",    "corel",       "acdsee",
    "acd systems",    "capture one",    "darktable", "rawtherapee",   "imagemagick", "graphicsmagick",
    "irfanview",      "xnview",         "picasa",    "luminar",       "photoscape",  "photofiltre",
    "krita",          "facetune",       "meitu",     "faststone",     "photoline",   "photo editor",
    "olympus master", "camedia master", "quicktime", "digikam",       "polarr",      "windows photo gallery",
    "zoner photo",    "photoimpact",    "ulead",     "photodirector", "photofunia",  "beautyplus",
    "inshot",
};
// …and these only as whole words.
constexpr const char* kEditorWords[] = {"gimp", "paint", "dxo", "canva", "vsco", "topaz", "fotor", "remini"};

}  // namespace

bool IsEditingSoftware(const std::string& software) {
    const std::string text = ToLower(software);
    const auto isLetter = [&text](std::size_t at) {
        return at < text.size() && text[at] >= 'a' && text[at] <= 'z';
    };
    const auto names = [&](std::string_view name, bool isWord) {
        for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + 1))
            if ((at == 0 || !isLetter(at - 1)) && !(isWord && isLetter(at + name.size()))) return true;
        return false;
    };
    return std::any_of(std::begin(kEditors), std::end(kEditors),
                       [&](const char* name) { return names(name, false); }) ||
           std::any_of(std::begin(kEditorWords), std::end(kEditorWords),
                       [&](const char* name) { return names(name, true); });
}
