#include "orvcore/tools/genericactions.h"

#include "orvcore/formats/metadata.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

VecParameter ShowLocation(const OrvFilePtr& evidence) {
    if (!evidence) ZOR_THROW(Argument, "You need to load an evidence image first.");
    const auto position = ReadGps(evidence->GetBytes());
    if (!position)
        ZOR_THROW(Format, "\"" + ToValidUtf8(PathName(evidence->GetPath())) +
                              "\" holds no position in its metadata.");
    return {Parameter::Output("position", "Position", GpsToText(*position))};
}

}  // namespace

VecParameter RunGenericAction(OrvActionId action, const std::string& name, const VecParameter&,
                              const OrvFilePtr (&files)[kFileSlots], OrvContext&, const OrvJob&) {
    switch (action) {
        case OrvActionShowLocation:
            return ShowLocation(files[OrvEvidence]);
        default:
            break;
    }
    ZOR_THROW(Argument, "\"" + name + "\" is not available in this version of the program.");
}
