#include "orvcore/tools/web/weboptions.h"

#include "orvcore/tools/web/webresults.h"

void RequireWebOptions(OrvActionId action, const OrvWebServices& services) {
    switch (action) {
        case OrvActionSearchFlickr:
            RequireOption(services.flickrAddress, "Flickr address");
            return RequireOption(services.flickrKey, "Flickr API key");
        case OrvActionSearchGoogle:
            RequireOption(services.googleAddress, "Google search address");
            RequireOption(services.googleKey, "Google API key");
            return RequireOption(services.googleEngine, "Google search engine ID");
        case OrvActionCameraForensics:
            return RequireOption(services.cameraForensicsAddress, "CameraForensics address");
        default:
            break;
    }
}
