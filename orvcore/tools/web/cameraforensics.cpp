#include "orvcore/tools/web/cameraforensics.h"

#include <algorithm>

#include "orvcore/tools/web/httpclient.h"
#include "orvcore/tools/web/weboptions.h"
#include "orvcore/tools/web/webparameters.h"
#include "orvcore/tools/web/webresults.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

// The hashes that the chosen entry holds in brackets: "Luma and Chroma (…,…)".
Json ReadTableHashes(const VecParameter& parameters) {
    Json hashes = Json::array();
    if (ReadWebChoice(parameters, kWebParameterTables) == 0) return hashes;
    const std::string entry = ReadWebEntry(parameters, kWebParameterTables);
    const std::size_t open = entry.rfind('(');
    const std::size_t close = entry.rfind(')');
    if (open != std::string::npos && close != std::string::npos && open < close) {
        for (const std::string& hash : StringToVecString(entry.substr(open + 1, close - open - 1), ",")) {
            const bool isHash =
                hash.size() == 32 && hash.find_first_not_of("0123456789abcdef") == std::string::npos;
            if (isHash) hashes.push_back(hash);
        }
    }
    if (hashes.empty())
        ZOR_THROW(Argument,
                  "\"" + std::string(kWebParameterTables) + "\" names no hash of a quantization table.");
    return hashes;
}

Json MakeRequest(const VecParameter& parameters) {
    Json request = {{"make", ReadWebText(parameters, kWebParameterMake)},
                    {"model", ReadWebText(parameters, kWebParameterModel)},
                    {"count", ReadWebNumber(parameters, kWebParameterNumber, 1, 1000)}};
    if (ReadWebChoice(parameters, kWebParameterSoftware) > 0)
        request["software"] = ReadWebEntry(parameters, kWebParameterSoftware);
    const WebPictureSize size = ReadWebSize(parameters);
    if (!size.IsAny()) {
        request["width"] = size.width;
        request["height"] = size.height;
    }
    const Json hashes = ReadTableHashes(parameters);
    if (!hashes.empty()) request["quantizationTables"] = hashes;
    return request;
}

std::string ReadKey(const VecParameter& parameters) {
    const std::string key = Trim(parameters.Get<std::string>(kWebParameterKey));
    if (key.empty())
        ZOR_THROW(Argument, "The CameraForensics API key is missing. Enter it in the field \"" +
                                std::string(kWebParameterKey) + "\".");
    if (key.size() > 1000 || std::any_of(key.begin(), key.end(), [](char c) { return c <= ' ' || c > '~'; }))
        ZOR_THROW(Argument, "\"" + std::string(kWebParameterKey) + "\" holds characters that no key has.");
    return key;
}

WebPicture ReadImage(const Json& image) {
    WebPicture picture;
    picture.title = WebText(image, "title");
    picture.make = WebText(image, "make");
    picture.model = WebText(image, "model");
    picture.software = WebText(image, "software");
    picture.taken = WebText(image, "dateTaken");
    picture.width = WebNumber(image, "width");
    picture.height = WebNumber(image, "height");
    picture.format = WebText(image, "format");
    picture.link = WebText(image, "link");
    picture.page = WebText(image, "page");
    return picture;
}

void CheckAnswer(const HttpResponse& response, const std::string& key) {
    if (response.IsSuccess()) return;
    std::string reason;
    try {
        reason = WebReason(WebText(ReadWebJson(response), "error"), {key});
    } catch (const ZorException&) {
        // The status alone must do.
    }
    if (reason.empty()) CheckHttpStatus(response);
    ZOR_THROW(Network,
              "CameraForensics refused the search with " + HttpStatusText(response.status) + ": " + reason);
}

}  // namespace

TableString SearchCameraForensics(const VecParameter& parameters, const OrvWebServices& services,
                                  const OrvJob& job) {
    const std::string key = ReadKey(parameters);
    RequireWebOptions(OrvActionCameraForensics, services);
    HttpRequest request;
    request.address = services.cameraForensicsAddress;
    request.what = "The CameraForensics address";
    request.headers = {{"Authorization", "Bearer " + key}};
    const Json body = MakeRequest(parameters);
    request.json = JsonToText(body, 0);
    job.SetProgress(0.0, "CameraForensics");
    const HttpResponse response = HttpClient(job, WebReach::Services).Send(request);
    CheckAnswer(response, key);
    const Json answer = ReadWebJson(response);
    const Json& images = WebMember(answer, "images");
    if (!images.is_array())
        ZOR_THROW(Network, "The site " + response.host + " gave an answer without a list of images.");
    std::vector<WebPicture> pictures;
    for (const Json& image : images)
        if (static_cast<int>(pictures.size()) < body["count"].get<int>())
            pictures.push_back(ReadImage(image));
    return WebPictureTable(pictures);
}
