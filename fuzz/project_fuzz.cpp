#include <cstdio>
#include <cstdlib>
#include <string>

#include "orvcore/model/logplace.h"
#include "orvcore/model/project.h"
#include "zorbase/zorexception.h"

// Project files of any bytes: what is read can be written, and is read back as the same project.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    FindLogPlaces(text);
    try {
        OrvProject project = OrvProject::FromText(text);
        const std::string written = project.ToText();
        if (OrvProject::FromText(written).ToText() != written) {
            std::fprintf(stderr, "broken promise: a project reads what it writes\n");
            std::abort();
        }
        project.SetRelativePaths("/some/folder");
        project.GetAllFiles();
    } catch (const ZorException&) {
        // Refused with a text, as it should be.
    }
    return 0;
}
