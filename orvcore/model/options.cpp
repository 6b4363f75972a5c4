#include "orvcore/model/options.h"

#include <wx/translation.h>

#include "orvcore/model/collections.h"
#include "orvcore/model/trust.h"
#include "orvcore/model/webservices.h"
#include "zorbase/files.h"
#include "zorbase/json.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

Parameter Text(const char* name, const char* label, const char* value, const char* toolTip) {
    return Parameter::String(name, label, value).SetToolTip(toolTip);
}

// Addresses and keys of the services on the network, in one place. The manual tells what is sent to each.
VecParameter WebServiceOptions() {
    return {
        Text("flickrAddress", wxTRANSLATE("Flickr address"), "https://api.flickr.com/services/rest/",
             wxTRANSLATE("Where camera searches ask Flickr.")),
        Text("flickrKey", wxTRANSLATE("Flickr API key"), "",
             wxTRANSLATE("The key that Flickr gave you for its API.")),
        Text("googleAddress", wxTRANSLATE("Google search address"),
             "https://www.googleapis.com/customsearch/v1",
             wxTRANSLATE("Where camera searches ask Google (Custom Search JSON API).")),
        Text("googleKey", wxTRANSLATE("Google API key"), "",
             wxTRANSLATE("The key that Google gave you for the Custom Search API.")),
        Text("googleEngine", wxTRANSLATE("Google search engine ID"), "",
             wxTRANSLATE("The ID (cx) of your search engine, with the search for images switched on.")),
        Text("googlePictureAddress", wxTRANSLATE("Google picture search address"),
             "https://lens.google.com/v3/upload",
             wxTRANSLATE("Where the web search sends the picture, only when you allow it.")),
        Text("tinEyeAddress", wxTRANSLATE("TinEye address"), "https://tineye.com/search",
             wxTRANSLATE("Where the web search sends the picture, only when you allow it.")),
        Text(
            "cameraForensicsAddress", wxTRANSLATE("CameraForensics address"), "",
            wxTRANSLATE(
                "The address of the CameraForensics search that comes with your key; the manual tells its form.")),
        Parameter::Bool("allowLocalDownloads", wxTRANSLATE("Allow downloads from the local network"), false)
            .SetToolTip(wxTRANSLATE(
                "Otherwise only addresses on the public network are downloaded from: an address in a "
                "search's result could lead to a machine of your own.")),
    };
}

}  // namespace

OrvOptions::OrvOptions() {
    m_groups = {
        {Parameter::Bool("useCache", wxTRANSLATE("Keep slow results on disk"), true)
             .SetToolTip(wxTRANSLATE(
                 "Results that take long are kept in the cache folder and shown at once the next time.")),
         Parameter::Int("cacheMiB", wxTRANSLATE("Room for results on disk (MiB)"), 2048, 16, 1048576)
             .SetToolTip(wxTRANSLATE(
                 "Where it is exceeded, the results that were not looked at for longest are removed.")),
         Parameter::Int("memoryMiB", wxTRANSLATE("Memory for results (MiB, 0: automatic)"), 0, 0, 1048576)
             .SetToolTip(wxTRANSLATE(
                 "How much results that can be computed again may take. Automatic is a quarter of the machine's "
                 "memory, and at most 1 GB.")),
         Parameter::Int("maximumFileMiB", wxTRANSLATE("Largest file to open (MiB)"), 2048, 1, 16384)
             .SetToolTip(wxTRANSLATE("A file is read into memory as a whole; larger ones are refused."))},
        {Parameter::Slider("jpegQuality", wxTRANSLATE("JPEG quality of saved results"), 95, 1, 100)
             .SetToolTip(wxTRANSLATE("PNG and TIFF keep every pixel; JPEG does not.")),
         Parameter::Bool("openReports", wxTRANSLATE("Open reports in the browser"), true)
             .SetToolTip(wxTRANSLATE("A report that was written is shown at once.")),
         Parameter::Slider("mapOpacity", wxTRANSLATE("Opacity of maps (percent)"), 100, 0, 100)
             .SetToolTip(wxTRANSLATE(
                 "How much of a map lies over the picture until it is changed on the page. Saved maps are whole."))},
        {Text("examiner", wxTRANSLATE("Examiner"), "",
              wxTRANSLATE("Stands in the reports of cases whose data name nobody else.")),
         Text("organisation", wxTRANSLATE("Organisation"), "", wxTRANSLATE("Stands at the head of reports.")),
         Parameter::Path(ParameterType::FileLoadImage, "logo", wxTRANSLATE("Logo"), "")
             .SetToolTip(wxTRANSLATE("A picture at the head of reports."))},
        {Parameter::Path(ParameterType::Folder, "reportFolder", wxTRANSLATE("Folder for reports"), "")
             .SetToolTip(
                 wxTRANSLATE("Without one, reports go to the folder \"reports\" of the documents folder.")),
         Parameter::Path(ParameterType::Folder, "collectionFolder",
                         wxTRANSLATE("Folder for fingerprints and signatures"), "")
             .SetToolTip(wxTRANSLATE("Without one, they are kept in the documents folder.")),
         Parameter::Bool("batchSubfolders", wxTRANSLATE("Batch analysis includes subfolders"), false)
             .SetToolTip(wxTRANSLATE("Applies to the analysis and the comparison of a folder.")),
         Parameter::Bool("batchHashes", wxTRANSLATE("Batch analysis computes MD5 and SHA-1"), false)
             .SetToolTip(wxTRANSLATE("Besides SHA-256. Takes three to four times as long."))},
        {Parameter::Path(ParameterType::Folder, "trustFolder", wxTRANSLATE("Trusted certificates"), "")
             .SetToolTip(wxTRANSLATE(
                 "A folder of certificates (PEM) that signers of content credentials may lead to. Files whose names "
                 "contain \"tsa\" count for time stamps only. Without a folder nobody is trusted.")),
         Text(
             "signerUsages", wxTRANSLATE("Further uses that may sign"), "",
             wxTRANSLATE(
                 "Extended key usages, as dotted numbers, that a signer's certificate may state beside the usual ones."))},
        WebServiceOptions(),
        {Parameter::Choice("language", wxTRANSLATE("Language of the window"), 0,
                           {wxTRANSLATE("As the system"), "English", "Deutsch"})
             .SetToolTip(wxTRANSLATE("Takes effect when the program starts anew."))},
    };
}

std::string OrvOptions::Path() {
    return PathJoin(PathJoin(GetAppDocumentsPath(), "settings"), "options.json");
}

std::vector<std::string> OrvOptions::GroupTitles() {
    return {wxTRANSLATE("Files"),   wxTRANSLATE("Results and Reports"), wxTRANSLATE("Case Data"),
            wxTRANSLATE("Folders"), wxTRANSLATE("Content Credentials"), wxTRANSLATE("Web Services"),
            wxTRANSLATE("Language")};
}

std::vector<std::string> OrvOptions::Load() {
    {
        const std::lock_guard lock(m_mutex);
        TellTrust();
    }
    Json json;
    try {
        if (!FileExists(Path())) return {};
        // It holds keys; an older version, or a copy, may have left it open to others.
        RestrictToOwner(Path());
        json = JsonFromText(ReadFile(Path()));
    } catch (const ZorException& error) {
        // What a parser says of the text could repeat a key.
        return {error.GetKind() == ZorException::Kind::File ? error.GetMessage() : "The file is damaged."};
    }
    if (!json.is_object()) return {"The file is damaged."};
    const std::lock_guard lock(m_mutex);
    std::vector<std::string> problems;
    for (const auto& [name, value] : json.items()) {
        Parameter* option = nullptr;
        for (VecParameter& group : m_groups)
            if (option == nullptr) option = group.Find(name);
        if (option == nullptr)
            problems.push_back("unknown option \"" + ToValidUtf8(name) + "\"");
        else if (!option->ValueFromJson(value))
            problems.push_back(option->GetDescription() + ": a value that does not fit");
    }
    TellTrust();
    return problems;
}

// Under the lock.
void OrvOptions::TellTrust() const {
    std::string folder;
    std::string usages;
    std::string collections;
    for (const VecParameter& group : m_groups) {
        if (const Parameter* option = group.Find("trustFolder")) folder = option->Get<std::string>();
        if (const Parameter* option = group.Find("signerUsages")) usages = option->Get<std::string>();
        if (const Parameter* option = group.Find("collectionFolder"))
            collections = option->Get<std::string>();
    }
    SetTrust(folder, usages);
    SetCollectionPlace(collections);
}

void OrvOptions::Save() const {
    Json json = Json::object();
    for (const VecParameter& group : Get())
        for (const Parameter& option : group) json[option.Name()] = option.ValueToJson();
    WritePrivateFile(Path(), JsonToText(json, 2) + "\n");
}

VecVecParameter OrvOptions::Get() const {
    const std::lock_guard lock(m_mutex);
    return m_groups;
}

void OrvOptions::Set(const VecVecParameter& options) {
    const std::lock_guard lock(m_mutex);
    for (VecParameter& group : m_groups)
        for (Parameter& option : group)
            for (const VecParameter& given : options)
                if (const Parameter* value = given.Find(option.Name())) option.Set(*value);
    TellTrust();
}

template <typename T>
T OrvOptions::Value(const char* name) const {
    const std::lock_guard lock(m_mutex);
    for (const VecParameter& group : m_groups)
        if (const Parameter* option = group.Find(name)) return option->Get<T>();
    ThrowParameterType(name);
}

bool OrvOptions::IsCacheEnabled() const {
    return Value<bool>("useCache");
}

std::uint64_t OrvOptions::GetMaximumFileBytes() const {
    return static_cast<std::uint64_t>(Value<int>("maximumFileMiB")) * 1024 * 1024;
}

std::size_t OrvOptions::GetMemoryBytes() const {
    return static_cast<std::size_t>(Value<int>("memoryMiB")) * 1024 * 1024;
}

std::uint64_t OrvOptions::GetCacheBytes() const {
    return static_cast<std::uint64_t>(Value<int>("cacheMiB")) * 1024 * 1024;
}

int OrvOptions::GetJpegQuality() const {
    return Value<int>("jpegQuality");
}

bool OrvOptions::OpensReports() const {
    return Value<bool>("openReports");
}

int OrvOptions::GetMapOpacity() const {
    return Value<int>("mapOpacity");
}

std::string OrvOptions::GetExaminer() const {
    return Trim(Value<std::string>("examiner"));
}

std::string OrvOptions::GetOrganisation() const {
    return Trim(Value<std::string>("organisation"));
}

std::string OrvOptions::GetLogo() const {
    return Value<std::string>("logo");
}

std::string OrvOptions::GetReportFolder() const {
    const std::string folder = Value<std::string>("reportFolder");
    return folder.empty() ? PathJoin(GetAppDocumentsPath(), "reports") : folder;
}

bool OrvOptions::BatchIncludesSubfolders() const {
    return Value<bool>("batchSubfolders");
}

OrvWebServices OrvOptions::GetWebServices() const {
    return ReadWebServices(Get());
}

OrvWebServices ReadWebServices(const VecVecParameter& options) {
    const auto find = [&options](const char* name) -> const Parameter& {
        for (const VecParameter& group : options)
            if (const Parameter* option = group.Find(name)) return *option;
        ThrowParameterType(name);
    };
    const auto text = [&find](const char* name) { return Trim(find(name).Get<std::string>()); };
    OrvWebServices services;
    services.flickrAddress = text("flickrAddress");
    services.flickrKey = text("flickrKey");
    services.googleAddress = text("googleAddress");
    services.googleKey = text("googleKey");
    services.googleEngine = text("googleEngine");
    services.googlePictureAddress = text("googlePictureAddress");
    services.tinEyeAddress = text("tinEyeAddress");
    services.cameraForensicsAddress = text("cameraForensicsAddress");
    services.allowsLocalDownloads = find("allowLocalDownloads").Get<bool>();
    return services;
}

bool OrvOptions::BatchComputesAllHashes() const {
    return Value<bool>("batchHashes");
}
