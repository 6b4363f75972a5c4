#include "orvcore/tools/genericactions.h"

#include "zorbase/zorexception.h"

VecParameter RunGenericAction(OrvActionId, const std::string& name, const VecParameter&,
                              const OrvFilePtr (&)[kFileSlots], OrvContext&, const OrvJob&) {
    ZOR_THROW(Argument, "\"" + name + "\" is not available in this version of the program.");
}
