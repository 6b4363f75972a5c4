#include "orvcore/tools/web/camerasearch.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "orvcore/formats/editingsoftware.h"
#include "orvcore/tools/web/httpclient.h"
#include "orvcore/tools/web/weboptions.h"
#include "orvcore/tools/web/webparameters.h"
#include "orvcore/tools/web/webresults.h"
#include "zorbase/calendar.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

// A page of Flickr's results, and how many pictures are looked at before a search gives up.
constexpr int kFlickrPage = 100;
constexpr int kMostExamined = 1000;
// Google tells ten results at a time, the first hundred at most.
constexpr int kGooglePage = 10;
constexpr int kGoogleMost = 100;
constexpr std::time_t kSecondsADay = 86400;

struct SearchSettings {
    std::string make;
    std::string model;
    int days = 0;
    int wanted = 1;
    WebPictureSize size;
    bool excludesSoftware = false;
    bool excludesOtherCameras = false;
};

SearchSettings ReadSettings(const VecParameter& parameters) {
    SearchSettings settings;
    settings.make = ReadWebText(parameters, kWebParameterMake);
    settings.model = ReadWebText(parameters, kWebParameterModel);
    settings.days = ReadWebNumber(parameters, kWebParameterDays, 0, 36500);
    settings.wanted = ReadWebNumber(parameters, kWebParameterCount, 1, 1000);
    settings.size = ReadWebSize(parameters);
    settings.excludesSoftware = ReadWebChoice(parameters, kWebParameterNoSoftware) == 0;
    settings.excludesOtherCameras = ReadWebChoice(parameters, kWebParameterSameCamera) == 0;
    return settings;
}

// The words that are searched for: the model, with the make unless the model begins with it.
std::string SearchWords(const SearchSettings& settings) {
    const std::string firstWord = ToLower(settings.make.substr(0, settings.make.find(' ')));
    return ToLower(settings.model).starts_with(firstWord) ? settings.model
                                                          : settings.make + " " + settings.model;
}

void TellProgress(const std::vector<WebPicture>& found, int wanted, const std::string& title,
                  const OrvJob& job) {
    const int next = std::min(static_cast<int>(found.size()) + 1, wanted);
    job.SetProgress(static_cast<double>(next - 1) / wanted,
                    "Picture " + ToString(next) + " of " + ToString(wanted) + ": " + WebReason(title, {}));
}

class FlickrSearch {
  public:
    FlickrSearch(const SearchSettings& settings, const OrvWebServices& services, const OrvJob& job)
        : m_settings(settings), m_services(services), m_job(job), m_client(job, WebReach::Services) {}

    void Run() {
        for (int page = 1; !IsDone(); ++page) {
            // Never copied: what is nested a million times cannot be.
            const Json answer = Ask(SearchFields(page));
            const Json& photos = WebMember(answer, "photos");
            const Json& list = WebMember(photos, "photo");
            if (!list.is_array() || list.empty()) break;
            for (const Json& photo : list) {
                if (IsDone()) break;
                ++m_examined;
                Examine(photo);
            }
            if (page >= WebNumber(photos, "pages")) break;
        }
    }
    const std::vector<WebPicture>& GetFound() const { return m_found; }

  private:
    bool IsDone() const {
        return static_cast<int>(m_found.size()) >= m_settings.wanted || m_examined >= kMostExamined;
    }

    WebQuery SearchFields(int page) const {
        const CalendarTime day = UtcTime(std::time(nullptr) - m_settings.days * kSecondsADay);
        char text[80];
        std::snprintf(text, sizeof text, "%04d-%02d-%02d 00:00:00", day.year, day.month, day.day);
        return {{"method", "flickr.photos.search"},
                {"text", SearchWords(m_settings)},
                {"min_taken_date", text},
                {"sort", "date-taken-asc"},
                {"media", "photos"},
                {"extras", "date_taken,original_format,url_o,o_dims"},
                {"per_page", ToString(kFlickrPage)},
                {"page", ToString(page)}};
    }

    // One call of Flickr's API. A refusal that concerns one picture alone answers null.
    Json Ask(WebQuery fields, bool isOfOnePicture = false) {
        fields.insert(fields.end(),
                      {{"api_key", m_services.flickrKey}, {"format", "json"}, {"nojsoncallback", "1"}});
        HttpRequest request;
        request.address = m_services.flickrAddress;
        request.what = "The Flickr address";
        request.query = std::move(fields);
        const HttpResponse response = m_client.Send(request);
        if (isOfOnePicture && response.status >= 500) return {};
        CheckHttpStatus(response);
        Json answer = ReadWebJson(response);
        if (WebText(answer, "stat") == "ok") return answer;
        const int code = WebNumber(answer, "code");
        // Not found, not allowed to see, no longer there: the picture's own matter.
        if (isOfOnePicture && (code == 1 || code == 2)) return {};
        const std::string reason = WebReason(WebText(answer, "message"), {m_services.flickrKey});
        ZOR_THROW(Network, "Flickr refused the search: " + (reason.empty() ? "no reason was given" : reason) +
                               "." +
                               (code == 100 ? " Check the Flickr API key in View > Program Options." : ""));
    }

    void Examine(const Json& photo) {
        WebPicture picture = ReadPhoto(photo);
        TellProgress(m_found, m_settings.wanted, picture.title, m_job);
        const std::string id = WebText(photo, "id");
        const bool isId = !id.empty() && id.size() <= 20 &&
                          std::all_of(id.begin(), id.end(), [](char c) { return c >= '0' && c <= '9'; });
        if (!isId || !m_settings.size.Fits(picture.width, picture.height)) return;
        const Json answer =
            Ask({{"method", "flickr.photos.getExif"}, {"photo_id", id}, {"secret", WebText(photo, "secret")}},
                true);
        ReadExif(WebMember(WebMember(answer, "photo"), "exif"), picture);
        if (m_settings.excludesSoftware && IsEditingSoftware(picture.software)) return;
        if (m_settings.excludesOtherCameras &&
            !IsSameCamera(picture.make, picture.model, m_settings.make, m_settings.model))
            return;
        m_found.push_back(std::move(picture));
    }

    static WebPicture ReadPhoto(const Json& photo) {
        WebPicture picture;
        picture.title = WebText(photo, "title");
        picture.taken = WebText(photo, "datetaken");
        picture.link = WebText(photo, "url_o");
        picture.width = std::max(WebNumber(photo, "width_o"), WebNumber(photo, "o_width"));
        picture.height = std::max(WebNumber(photo, "height_o"), WebNumber(photo, "o_height"));
        picture.format = WebText(photo, "originalformat");
        if (picture.format.empty()) picture.format = PathExtension(picture.link);
        const std::string owner = WebText(photo, "owner");
        if (!owner.empty())
            picture.page = "https://www.flickr.com/photos/" + PercentEncode(owner) + "/" +
                           PercentEncode(WebText(photo, "id"));
        return picture;
    }

    static void ReadExif(const Json& tags, WebPicture& picture) {
        if (!tags.is_array()) return;
        for (const Json& tag : tags) {
            const std::string name = WebText(tag, "tag");
            std::string* field = name == "Make"       ? &picture.make
                                 : name == "Model"    ? &picture.model
                                 : name == "Software" ? &picture.software
                                                      : nullptr;
            if (field != nullptr && field->empty()) *field = WebText(tag, "raw");
        }
    }

    const SearchSettings& m_settings;
    const OrvWebServices& m_services;
    const OrvJob& m_job;
    HttpClient m_client;
    std::vector<WebPicture> m_found;
    int m_examined = 0;
};

class GoogleSearch {
  public:
    GoogleSearch(const SearchSettings& settings, const OrvWebServices& services, const OrvJob& job)
        : m_settings(settings), m_services(services), m_job(job), m_client(job, WebReach::Services) {}

    void Run() {
        for (int start = 1; start + kGooglePage - 1 <= kGoogleMost && !IsDone(); start += kGooglePage) {
            const Json answer = Ask(start);
            const Json& items = WebMember(answer, "items");
            if (!items.is_array() || items.empty()) break;
            for (const Json& item : items)
                if (!IsDone()) Take(item);
            if (WebMember(WebMember(answer, "queries"), "nextPage").is_null()) break;
        }
    }
    const std::vector<WebPicture>& GetFound() const { return m_found; }

  private:
    bool IsDone() const { return static_cast<int>(m_found.size()) >= m_settings.wanted; }

    Json Ask(int start) {
        TellProgress(m_found, m_settings.wanted, "results from " + ToString(start), m_job);
        HttpRequest request;
        request.address = m_services.googleAddress;
        request.what = "The Google search address";
        request.query = {{"key", m_services.googleKey},  {"cx", m_services.googleEngine},
                         {"q", SearchWords(m_settings)}, {"searchType", "image"},
                         {"num", ToString(kGooglePage)}, {"start", ToString(start)}};
        if (m_settings.days > 0) request.query.emplace_back("dateRestrict", "d" + ToString(m_settings.days));
        const HttpResponse response = m_client.Send(request);
        if (response.IsSuccess()) return ReadWebJson(response);
        std::string reason;
        try {
            reason = WebReason(WebText(WebMember(ReadWebJson(response), "error"), "message"),
                               {m_services.googleKey, m_services.googleEngine});
        } catch (const ZorException&) {
            // The status alone must do.
        }
        if (reason.empty()) CheckHttpStatus(response);
        ZOR_THROW(Network, "Google refused the search with " + HttpStatusText(response.status) + ": " +
                               reason +
                               " Check the Google API key and search engine ID in View > Program Options.");
    }

    void Take(const Json& item) {
        const Json& image = WebMember(item, "image");
        WebPicture picture;
        picture.title = WebText(item, "title");
        picture.link = WebText(item, "link");
        picture.page = WebText(image, "contextLink");
        picture.width = WebNumber(image, "width");
        picture.height = WebNumber(image, "height");
        const std::string type = WebText(item, "mime");
        picture.format = type.starts_with("image/") ? type.substr(6) : PathExtension(picture.link);
        if (m_settings.size.Fits(picture.width, picture.height)) m_found.push_back(std::move(picture));
    }

    const SearchSettings& m_settings;
    const OrvWebServices& m_services;
    const OrvJob& m_job;
    HttpClient m_client;
    std::vector<WebPicture> m_found;
};

template <typename Search>
TableString RunAsFarAsItGoes(Search search, std::string& incomplete) {
    try {
        search.Run();
    } catch (const ZorException& error) {
        if (error.GetKind() != ZorException::Kind::Network || search.GetFound().empty()) throw;
        incomplete = "The search is not complete: it ended after the pictures shown.\n" + error.GetMessage();
    }
    return WebPictureTable(search.GetFound());
}

}  // namespace

TableString SearchCamera(OrvActionId action, const VecParameter& parameters, const OrvWebServices& services,
                         const OrvJob& job, std::string& incomplete) {
    incomplete.clear();
    const SearchSettings settings = ReadSettings(parameters);
    RequireWebOptions(action, services);
    if (action == OrvActionSearchGoogle) {
        job.SetProgress(0.0, "Asking Google");
        return RunAsFarAsItGoes(GoogleSearch(settings, services, job), incomplete);
    }
    job.SetProgress(0.0, "Asking Flickr");
    return RunAsFarAsItGoes(FlickrSearch(settings, services, job), incomplete);
}
