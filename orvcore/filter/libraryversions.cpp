#include "orvcore/filter/libraryversions.h"

#include <exiv2/exiv2.hpp>
#include <vector>

#include "zorbase/text.h"
#include "zorimage/libraryversions.h"

const std::string& LibraryVersionsText() {
    static const std::string text = [] {
        std::vector<std::string> texts;
        for (const LibraryVersion& library : ImageLibraryVersions())
            texts.push_back(library.name + " " + library.version);
        texts.push_back(std::string("Exiv2 ") + Exiv2::versionString());
        return Join(texts, ", ");
    }();
    return text;
}
