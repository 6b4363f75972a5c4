#include "orvcore/tools/web/httptransfer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>

#include "zorbase/appversion.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kPollMs = 40;
constexpr std::size_t kMostHeaderBytes = 256 << 10;

void InitialiseOnce() {
    static const CURLcode s_result = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (s_result != CURLE_OK) ZOR_THROW(Internal, "The network library could not be started.");
}

std::string AddressText(const sockaddr& address) {
    char text[INET6_ADDRSTRLEN] = "?";
    if (address.sa_family == AF_INET)
        inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in&>(address).sin_addr, text, sizeof text);
    else if (address.sa_family == AF_INET6)
        inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6&>(address).sin6_addr, text, sizeof text);
    return text;
}

// A header line is one line; a name or value that would make two of it is a mistake of the caller.
std::string HeaderLine(const std::string& name, const std::string& value) {
    const std::string line = name + ": " + value;
    if (std::any_of(line.begin(), line.end(),
                    [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }))
        ZOR_THROW(Argument, "The " + name + " holds characters that cannot be sent.");
    return line;
}

std::string Seconds(int milliseconds) {
    return milliseconds % 1000 == 0 ? ToString(milliseconds / 1000) + " seconds"
                                    : ToString(milliseconds) + " milliseconds";
}

}  // namespace

CurlMulti MakeCurlMulti() {
    InitialiseOnce();
    CurlMulti multi(curl_multi_init(), curl_multi_cleanup);
    if (!multi) ZOR_THROW(Memory, "There is not enough memory.");
    return multi;
}

HttpTransfer::HttpTransfer(const HttpRequest& request, const WebAddress& address, WebReach reach,
                           const HttpSink& sink, bool withHeaders)
    : m_request(request),
      m_address(address),
      m_reach(reach),
      m_sink(sink),
      m_easy(curl_easy_init(), curl_easy_cleanup),
      m_headers(nullptr, curl_slist_free_all),
      m_form(nullptr, curl_mime_free) {
    if (!m_easy) ZOR_THROW(Memory, "There is not enough memory.");
    Set(CURLOPT_ERRORBUFFER, m_detail);
    Set(CURLOPT_NOSIGNAL, 1L);
    Set(CURLOPT_QUICK_EXIT, 1L);
    Set(CURLOPT_PROTOCOLS_STR, "http,https");
    Set(CURLOPT_FOLLOWLOCATION, 0L);
    Set(CURLOPT_URL, address.text.c_str());
    Set(CURLOPT_USERAGENT, AppVersion().GetAppName().c_str());
    Set(CURLOPT_SSL_VERIFYPEER, 1L);
    Set(CURLOPT_SSL_VERIFYHOST, 2L);
    Set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    Set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(request.limits.connectMs));
    Set(CURLOPT_TIMEOUT_MS, static_cast<long>(request.limits.totalMs));
    Set(CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(request.limits.maximumBytes));
    Set(CURLOPT_WRITEFUNCTION, &HttpTransfer::OnBody);
    Set(CURLOPT_WRITEDATA, this);
    Set(CURLOPT_HEADERFUNCTION, &HttpTransfer::OnHeader);
    Set(CURLOPT_HEADERDATA, this);
    Set(CURLOPT_XFERINFOFUNCTION, &HttpTransfer::OnProgress);
    Set(CURLOPT_XFERINFODATA, this);
    Set(CURLOPT_NOPROGRESS, 0L);
    SetRoute();
    SetBody();
    SetHeaders(withHeaders);
}

template <typename T>
void HttpTransfer::Set(CURLoption option, T value) {
    if (curl_easy_setopt(m_easy.get(), option, value) != CURLE_OK)
        ZOR_THROW(Internal, "The network library lacks something that Orvane needs.");
}

void HttpTransfer::SetRoute() {
    Set(CURLOPT_OPENSOCKETFUNCTION, &HttpTransfer::OnOpenSocket);
    Set(CURLOPT_OPENSOCKETDATA, this);
    if (m_reach == WebReach::PublicNetwork || m_address.IsLoopback()) Set(CURLOPT_PROXY, "");
}

void HttpTransfer::SetHeaders(bool withHeaders) {
    const auto add = [this](const std::string& line) {
        curl_slist* longer = curl_slist_append(m_headers.get(), line.c_str());
        if (longer == nullptr) ZOR_THROW(Memory, "There is not enough memory.");
        static_cast<void>(m_headers.release());
        m_headers.reset(longer);
    };
    add("Expect:");  // otherwise a large body waits for a permission that few servers give
    if (!m_request.json.empty()) add("Content-Type: application/json");
    if (withHeaders)
        for (const auto& [name, value] : m_request.headers) add(HeaderLine(name, value));
    Set(CURLOPT_HTTPHEADER, m_headers.get());
}

void HttpTransfer::SetBody() {
    if (!m_request.json.empty()) {
        Set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(m_request.json.size()));
        Set(CURLOPT_POSTFIELDS, m_request.json.c_str());
        return;
    }
    if (m_request.uploads.empty()) return;
    m_form.reset(curl_mime_init(m_easy.get()));
    for (const HttpUpload& upload : m_request.uploads) {
        curl_mimepart* part = m_form ? curl_mime_addpart(m_form.get()) : nullptr;
        if (part == nullptr || curl_mime_name(part, upload.field.c_str()) != CURLE_OK ||
            curl_mime_filename(part, upload.filename.c_str()) != CURLE_OK ||
            curl_mime_type(part, upload.contentType.c_str()) != CURLE_OK ||
            curl_mime_data(part, reinterpret_cast<const char*>(upload.bytes.data()), upload.bytes.size()) !=
                CURLE_OK)
            ZOR_THROW(Memory, "There is not enough memory.");
    }
    Set(CURLOPT_MIMEPOST, m_form.get());
}

HttpResponse HttpTransfer::Run(CURLM* multi, const OrvJob& job) {
    job.CheckAbort();
    m_started = m_lastMove = Clock::now();
    if (curl_multi_add_handle(multi, m_easy.get()) != CURLM_OK)
        ZOR_THROW(Memory, "There is not enough memory.");
    struct Removal {
        CURLM* multi;
        CURL* easy;
        ~Removal() { curl_multi_remove_handle(multi, easy); }
    };
    CURLcode code = CURLE_OK;
    {
        const Removal removal{multi, m_easy.get()};
        code = Drive(multi, job);
    }
    if (m_sinkFailure) std::rethrow_exception(m_sinkFailure);
    if (code != CURLE_OK) Fail(code);
    return TakeResponse();
}

CURLcode HttpTransfer::Drive(CURLM* multi, const OrvJob& job) {
    for (;;) {
        int running = 0;
        if (curl_multi_perform(multi, &running) != CURLM_OK)
            ZOR_THROW(Network, "The network library stopped working.");
        int left = 0;
        while (const CURLMsg* message = curl_multi_info_read(multi, &left))
            if (message->msg == CURLMSG_DONE) return message->data.result;
        job.CheckAbort();
        CheckStall();
        curl_multi_poll(multi, nullptr, 0, kPollMs, nullptr);
    }
}

void HttpTransfer::CheckStall() const {
    // Until it is connected the other limit counts.
    if (m_moved == 0 && Clock::now() - m_started < std::chrono::milliseconds(m_request.limits.connectMs))
        return;
    if (Clock::now() - m_lastMove > std::chrono::milliseconds(m_request.limits.stallMs))
        FailInTime("sent nothing for " + Seconds(m_request.limits.stallMs));
}

bool HttpTransfer::IsConnected() const {
    curl_off_t microseconds = 0;
    return curl_easy_getinfo(m_easy.get(), CURLINFO_PRETRANSFER_TIME_T, &microseconds) == CURLE_OK &&
           microseconds > 0;
}

void HttpTransfer::FailInTime(const std::string& what) const {
    ZOR_THROW(Network,
              "The site " + m_address.host + " " + what + "; the request was given up. Try again later.");
}

void HttpTransfer::Fail(CURLcode code) const {
    const std::string site = "The site " + m_address.host;
    const std::string reach = site + " could not be reached: ";
    if (!m_refusedAddress.empty() && m_reach == WebReach::PublicNetwork)
        ZOR_THROW(Network, site + " lies on this machine or in the local network (" + m_refusedAddress +
                               "). Downloads from there are switched off in the program options.");
    if (!m_refusedAddress.empty())
        ZOR_THROW(Network, site + " does not lie on this machine (" + m_refusedAddress +
                               "). Its address must begin with https:.");
    if (m_isTooLarge || code == CURLE_FILESIZE_EXCEEDED)
        ZOR_THROW(Network, "The answer of the site " + m_address.host + " is larger than " +
                               FormatFileSize(m_request.limits.maximumBytes) + "; it was given up.");
    switch (code) {
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_RESOLVE_PROXY:
            ZOR_THROW(Network, reach + "its name could not be resolved. Check the network connection.");
        case CURLE_COULDNT_CONNECT:
            ZOR_THROW(Network, reach + "no connection was made. Check the network connection.");
        case CURLE_OPERATION_TIMEDOUT:
            if (IsConnected()) FailInTime("was not done within " + Seconds(m_request.limits.totalMs));
            ZOR_THROW(Network, reach + "no connection within " + Seconds(m_request.limits.connectMs) +
                                   ". Check the network connection.");
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_ISSUER_ERROR:
        case CURLE_SSL_CACERT_BADFILE:
            ZOR_THROW(Network, "The certificate of the site " + m_address.host + " is not trusted (" +
                                   ToValidUtf8(m_detail) + "). Nothing was sent.");
        case CURLE_PARTIAL_FILE:
        case CURLE_RECV_ERROR:
        case CURLE_SEND_ERROR:
        case CURLE_GOT_NOTHING:
            ZOR_THROW(Network, "The connection to the site " + m_address.host +
                                   " was cut before the answer was complete. Try again.");
        default:
            ZOR_THROW(Network, "The request to the site " + m_address.host +
                                   " failed: " + curl_easy_strerror(code) + ".");
    }
}

HttpResponse HttpTransfer::TakeResponse() {
    long status = 0;
    const char* text = nullptr;
    curl_easy_getinfo(m_easy.get(), CURLINFO_RESPONSE_CODE, &status);
    m_response.status = static_cast<int>(status);
    if (curl_easy_getinfo(m_easy.get(), CURLINFO_CONTENT_TYPE, &text) == CURLE_OK && text != nullptr)
        m_response.contentType = text;
    text = nullptr;
    if (curl_easy_getinfo(m_easy.get(), CURLINFO_REDIRECT_URL, &text) == CURLE_OK && text != nullptr)
        m_response.location = text;
    m_response.address = m_address.text;
    m_response.host = m_address.host;
    return std::move(m_response);
}

bool HttpTransfer::TakeBody(std::span<const std::uint8_t> piece) {
    if (piece.size() > m_request.limits.maximumBytes - m_received) {
        m_isTooLarge = true;
        return false;
    }
    m_received += piece.size();
    long status = 0;
    curl_easy_getinfo(m_easy.get(), CURLINFO_RESPONSE_CODE, &status);
    try {
        if (!m_sink) {
            m_response.body.append(piece.begin(), piece.end());
        } else if (status >= 200 && status < 300) {
            m_sink(piece);
        }
        return true;
    } catch (...) {
        m_sinkFailure = std::current_exception();
        return false;
    }
}

std::size_t HttpTransfer::OnBody(char* data, std::size_t size, std::size_t count, void* self) {
    const std::span piece(reinterpret_cast<const std::uint8_t*>(data), size * count);
    return static_cast<HttpTransfer*>(self)->TakeBody(piece) ? piece.size() : 0;
}

std::size_t HttpTransfer::OnHeader(char*, std::size_t size, std::size_t count, void* self) {
    std::size_t& total = static_cast<HttpTransfer*>(self)->m_headerBytes;
    total += size * count;
    static_cast<HttpTransfer*>(self)->m_isTooLarge |= total > kMostHeaderBytes;
    return total > kMostHeaderBytes ? 0 : size * count;
}

int HttpTransfer::OnProgress(void* self, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent) {
    auto& transfer = *static_cast<HttpTransfer*>(self);
    if (received + sent != transfer.m_moved) {
        transfer.m_moved = received + sent;
        transfer.m_lastMove = Clock::now();
    }
    return 0;
}

curl_socket_t HttpTransfer::OnOpenSocket(void* self, curlsocktype, curl_sockaddr* address) {
    auto& transfer = *static_cast<HttpTransfer*>(self);
    const bool isOpenService = transfer.m_reach == WebReach::Services && !transfer.m_address.IsEncrypted();
    const bool isAllowed = transfer.m_reach == WebReach::PublicNetwork ? IsPublicAddress(address->addr)
                           : isOpenService                             ? IsLoopbackAddress(address->addr)
                                                                       : true;
    if (isAllowed) return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    transfer.m_refusedAddress = AddressText(address->addr);
    return CURL_SOCKET_BAD;
}
