#include "orvcore/tools/web/webtransfer.h"

#include <algorithm>

#include "orvcore/tools/web/webaddress.h"
#include "orvcore/tools/web/webparameters.h"
#include "zorbase/mapsite.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

std::string HostOf(const std::string& address) {
    try {
        return ParseWebAddress(address, "The address").host;
    } catch (const ZorException&) {
        return {};
    }
}

WebTransfer Ask(const std::string& service, const std::string& address, const std::string& what) {
    return {service, HostOf(address), what, false};
}

bool IsTicked(const VecParameter& parameters, const char* name) {
    const Parameter* flag = parameters.Find(name);
    return flag != nullptr && flag->Type() == ParameterType::Bool && flag->Get<bool>();
}

std::vector<WebTransfer> DescribeWebSearch(const VecParameter& parameters, const OrvWebServices& services) {
    const bool sends = IsTicked(parameters, kWebParameterAllow);
    const std::string what =
        sends ? "the evidence itself, byte for byte, with all metadata that is in it (place, owner, "
                "serial numbers), but not its file name"
              : "nothing: sending images is not allowed";
    std::vector<WebTransfer> transfers;
    if (IsTicked(parameters, kWebParameterTinEye))
        transfers.push_back({"TinEye", HostOf(services.tinEyeAddress), what, sends});
    if (IsTicked(parameters, kWebParameterGoogle))
        transfers.push_back({"Google", HostOf(services.googlePictureAddress), what, sends});
    return transfers;
}

// One entry per host, in the order in which they are asked first.
std::vector<WebTransfer> DescribeDownload(const VecParameter& parameters) {
    std::vector<WebTransfer> transfers;
    std::vector<int> counts;
    const Parameter* photos = parameters.Find(kWebParameterPhotos);
    if (photos == nullptr || photos->Type() != ParameterType::VectorString) return transfers;
    const auto& texts = photos->Get<std::vector<std::string>>();
    for (std::size_t i = 1; i < texts.size(); i += 2) {
        const std::string host = HostOf(texts[i]);
        const auto found =
            std::find_if(transfers.begin(), transfers.end(),
                         [&host](const WebTransfer& transfer) { return transfer.host == host; });
        const auto index = static_cast<std::size_t>(found - transfers.begin());
        if (found == transfers.end()) {
            transfers.push_back({"Download", host, {}, false});
            counts.push_back(0);
        }
        ++counts[index];
    }
    for (std::size_t i = 0; i < transfers.size(); ++i)
        transfers[i].what =
            counts[i] == 1 ? "the address of 1 file" : "the addresses of " + ToString(counts[i]) + " files";
    return transfers;
}

}  // namespace

std::vector<WebTransfer> DescribeWebTransfers(OrvActionId action, const VecParameter& parameters,
                                              const OrvWebServices& services) {
    switch (action) {
        case OrvActionSearchFlickr:
            return {Ask("Flickr", services.flickrAddress,
                        "your API key, the camera's make and model and a date")};
        case OrvActionSearchGoogle:
            return {
                Ask("Google", services.googleAddress,
                    "your API key, the ID of your search engine, the camera's make and model and a date")};
        case OrvActionCameraForensics:
            return {
                Ask("CameraForensics", services.cameraForensicsAddress,
                    "your API key, the camera's make and model and, where you chose them, software, size and "
                    "the hashes of the quantization tables")};
        case OrvActionShowLocation:
            return {Ask(kMapSite, kMapAddress, "the place that the evidence names, by your browser")};
        case OrvActionWebSearch:
            return DescribeWebSearch(parameters, services);
        case OrvActionDownload:
            return DescribeDownload(parameters);
        default:
            return {};
    }
}
