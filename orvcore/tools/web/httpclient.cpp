#include "orvcore/tools/web/httpclient.h"

#include "orvcore/tools/web/httptransfer.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kMostRedirects = 5;

bool IsRedirect(int status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

void CheckScheme(const WebAddress& address, const std::string& what, WebReach reach) {
    if (address.IsEncrypted() || reach != WebReach::Services || address.IsLoopback()) return;
    ZOR_THROW(Argument, what + " cannot be used: it is not encrypted. It must begin with https:.");
}

void CheckRedirect(const WebAddress& from, const WebAddress& to, WebReach reach) {
    const bool isAsOpen = !from.IsEncrypted() && (reach != WebReach::Services || to.IsLoopback());
    if (to.IsEncrypted() || isAsOpen) return;
    ZOR_THROW(Network, "The site " + from.host + " redirects to an address that is not encrypted (" +
                           to.host + "); it was not followed.");
}

}  // namespace

class HttpClient::Implementation {
  public:
    Implementation(const OrvJob& job, WebReach reach)
        : m_job(job), m_reach(reach), m_multi(MakeCurlMulti()) {}

    HttpResponse Send(const HttpRequest& request, const HttpSink& sink) {
        // The address is looked at before the query is added, so that no message can hold a key.
        ParseWebAddress(request.address, request.what);
        WebAddress address = ParseWebAddress(AddWebQuery(request.address, request.query), request.what);
        CheckScheme(address, request.what, m_reach);
        const std::string firstHost = address.host;
        const std::string origin = address.origin;
        for (int redirects = 0;; ++redirects) {
            HttpTransfer transfer(request, address, m_reach, sink, address.origin == origin);
            HttpResponse response = transfer.Run(m_multi.get(), m_job);
            const bool isPost = !request.uploads.empty() || !request.json.empty();
            if (!IsRedirect(response.status) || !request.followsRedirects || isPost) return response;
            if (response.location.empty()) return response;
            if (redirects == kMostRedirects)
                ZOR_THROW(Network, "The site " + firstHost + " redirects again and again.");
            const WebAddress next = ParseWebAddress(
                response.location, "The address that the site " + address.host + " redirects to");
            CheckRedirect(address, next, m_reach);
            address = next;
        }
    }

  private:
    OrvJob m_job;
    WebReach m_reach;
    CurlMulti m_multi;
};

HttpClient::HttpClient(const OrvJob& job, WebReach reach) : m(std::make_unique<Implementation>(job, reach)) {}

HttpClient::~HttpClient() = default;

HttpResponse HttpClient::Send(const HttpRequest& request, const HttpSink& sink) {
    return m->Send(request, sink);
}

std::string HttpStatusText(int status) {
    const std::pair<int, const char*> reasons[] = {
        {301, "moved"},
        {302, "moved"},
        {303, "moved"},
        {307, "moved"},
        {308, "moved"},
        {400, "bad request"},
        {401, "not authorised"},
        {403, "forbidden"},
        {404, "not found"},
        {405, "not allowed"},
        {410, "gone"},
        {413, "too large"},
        {415, "unknown type"},
        {429, "too many requests"},
        {500, "server error"},
        {502, "bad gateway"},
        {503, "not available now"},
        {504, "gateway time-out"},
    };
    for (const auto& [known, reason] : reasons)
        if (known == status) return ToString(status) + " (" + reason + ")";
    return ToString(status);
}

void CheckHttpStatus(const HttpResponse& response) {
    if (response.IsSuccess()) return;
    std::string message =
        "The site " + response.host + " answered with " + HttpStatusText(response.status) + ".";
    if (response.status == 401 || response.status == 403) message += " Check the key.";
    if (response.status == 429) message += " Wait a while and try again.";
    if (response.status >= 500) message += " Try again later.";
    ZOR_THROW(Network, message);
}
