#include "orvgui/common/loadedfiles.h"

#include "orvcore/facade/interface.h"

bool IsForLoadedFiles(const OrvFilterResultPtr& result, const OrvInterface& core) {
    if (!result) return false;
    bool hasFile = false;
    for (const OrvFileId slot : {OrvEvidence, OrvReference}) {
        // A reference that is switched off is no file for analyses.
        const OrvFilePtr file = core.HasFile(slot) ? core.GetFile(slot) : nullptr;
        if (result->file[slot] != file) return false;
        hasFile = hasFile || file;
    }
    return hasFile;
}
