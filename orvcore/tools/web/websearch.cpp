#include "orvcore/tools/web/websearch.h"

#include "orvcore/tools/web/httpclient.h"
#include "orvcore/tools/web/webparameters.h"
#include "orvcore/tools/web/webresults.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

// More than any of the sites takes.
constexpr std::size_t kMostBytes = std::size_t{32} << 20;
constexpr int kUploadMs = 10 * 60 * 1000;

struct Site {
    const char* name;
    const char* option;
    std::string address;
    const char* field;  // of the site's form
};

// The file's own name can say more than the picture: it stays here.
HttpUpload MakeUpload(const OrvLoadedFile& evidence, const char* field) {
    const FileFormat format = evidence.GetInfo().format;
    const struct {
        FileFormat format;
        const char* filename;
        const char* type;
    } kinds[] = {
        {FileFormat::Jpeg, "image.jpg", "image/jpeg"}, {FileFormat::Png, "image.png", "image/png"},
        {FileFormat::Gif, "image.gif", "image/gif"},   {FileFormat::Webp, "image.webp", "image/webp"},
        {FileFormat::Tiff, "image.tif", "image/tiff"}, {FileFormat::Bmp, "image.bmp", "image/bmp"},
    };
    for (const auto& kind : kinds)
        if (kind.format == format) return {field, kind.filename, kind.type, evidence.GetBytes()};
    ZOR_THROW(
        Format,
        "The evidence has a format that the search sites do not read. Save it as JPEG or PNG, load that "
        "file and search with it.");
}

std::string ReadDomain(const VecParameter& parameters) {
    const std::string domain = Trim(parameters.Get<std::string>(kWebParameterDomain));
    if (!domain.empty() && !IsHostName(domain))
        ZOR_THROW(Argument,
                  "\"" + std::string(kWebParameterDomain) +
                      "\" must be a domain such as example.org, without https: and without a path.");
    return ToLower(domain);
}

std::string SearchOn(const Site& site, const OrvLoadedFile& evidence, const OrvJob& job) {
    HttpRequest request;
    request.address = site.address;
    request.what = "The " + std::string(site.option);
    request.limits.totalMs = kUploadMs;
    request.uploads = {MakeUpload(evidence, site.field)};
    const HttpResponse response = HttpClient(job, WebReach::Services).Send(request);
    if (response.status < 300 || response.status >= 400) CheckHttpStatus(response);
    // The window opens it in the browser.
    if (!IsWebAddress(response.location))
        ZOR_THROW(Network, "The site " + response.host +
                               " took the picture but did not tell where its results are. " +
                               "Search with its page in the browser.");
    return ParseWebAddress(response.location, "The address of the results").text;
}

}  // namespace

VecParameter SearchWeb(const VecParameter& parameters, const OrvFilePtr& evidence,
                       const OrvWebServices& services, const OrvJob& job) {
    std::vector<Site> sites;
    if (ReadWebFlag(parameters, kWebParameterTinEye))
        sites.push_back({"TinEye", "TinEye address", services.tinEyeAddress, "image"});
    const bool isGoogle = ReadWebFlag(parameters, kWebParameterGoogle);
    if (isGoogle)
        sites.push_back(
            {"Google", "Google picture search address", services.googlePictureAddress, "encoded_image"});
    if (sites.empty()) ZOR_THROW(Argument, "No site to search on was chosen.");
    if (!ReadWebFlag(parameters, kWebParameterAllow))
        ZOR_THROW(
            Argument,
            "Nothing was sent: this search works by sending the evidence to the site. To allow it tick \"" +
                std::string(kWebParameterAllow) + "\".");
    if (!evidence) ZOR_THROW(Argument, "You need to load an evidence image first.");
    if (evidence->GetBytes().size() > kMostBytes)
        ZOR_THROW(Argument, "The evidence is too large to be sent: the search sites take less than " +
                                FormatFileSize(kMostBytes) + ".");
    const std::string domain = isGoogle ? ReadDomain(parameters) : std::string();
    // Everything that is missing is told before the first byte goes out.
    for (const Site& site : sites) {
        RequireOption(site.address, site.option);
        ParseWebAddress(site.address, "The " + std::string(site.option));
    }
    VecParameter results;
    std::string problems;
    for (std::size_t i = 0; i < sites.size(); ++i) {
        job.SetProgress(static_cast<double>(i) / static_cast<double>(sites.size()),
                        std::string("Sending to ") + sites[i].name);
        try {
            std::string address = SearchOn(sites[i], *evidence, job);
            if (sites[i].name == std::string("Google") && !domain.empty())
                address = AddWebQuery(address, {{"q", "site:" + domain}});
            results.push_back(Parameter::Output(sites[i].name, sites[i].name, address));
        } catch (const ZorException& error) {
            if (error.GetKind() != ZorException::Kind::Network) throw;
            problems += (problems.empty() ? "" : "\n") + error.GetMessage();
        }
    }
    if (results.empty()) ZOR_THROW(Network, problems);
    if (!problems.empty()) results.push_back(Parameter::Output(kWebResultIncomplete, "Incomplete", problems));
    return results;
}
