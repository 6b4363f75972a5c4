#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "orvcore/model/job.h"
#include "orvcore/tools/web/webaddress.h"

// Times in milliseconds. An answer that breaks a limit is given up as a whole.
struct HttpLimits {
    int connectMs = 10000;                                // until a connection stands, encryption included
    int stallMs = 30000;                                  // without a single byte in either direction
    int totalMs = 120000;                                 // of one request without its redirects
    std::uint64_t maximumBytes = std::uint64_t{8} << 20;  // of the answer's body, inclusive
};

// A file inside a form (multipart/form-data). The bytes must outlive the request.
struct HttpUpload {
    std::string field;
    std::string filename;
    std::string contentType;
    std::span<const std::uint8_t> bytes;
};

// GET, or POST as soon as there is a body. The query and the headers hold the secrets: neither ever stands in a message.
struct HttpRequest {
    std::string address;
    std::string what = "The address";  // names the address in messages: "The Flickr address"
    WebQuery query;                    // added to the address
    std::vector<std::pair<std::string, std::string>>
        headers;  // not sent to another host or port by a redirect
    std::vector<HttpUpload> uploads;
    std::string json;              // body of type application/json
    bool followsRedirects = true;  // of GET only, at most five
    HttpLimits limits;
};

struct HttpResponse {
    int status = 0;
    std::string body;         // empty when a sink took it
    std::string contentType;  // as the server says, "" when it says nothing
    std::string location;     // where a redirect that was not followed leads, absolute; "" when there is none
    std::string address;      // the one that answered, after redirects
    std::string host;         // of that address
    bool IsSuccess() const { return status >= 200 && status < 300; }
};

// Takes the body of a successful answer piece by piece as it comes; may throw to give the request up.
using HttpSink = std::function<void(std::span<const std::uint8_t>)>;

// Whom a client may talk to.
enum class WebReach {
    Services,  // https anywhere; http to this machine alone
    PublicNetwork,  // http and https, but no address of this machine or the local network, whatever names resolve to
    Anywhere,  // http and https
};

// Requests over HTTP. Certificates and host names are always verified, TLS is 1.2 at least, nothing is kept between
// requests but open connections: no cookies, no stored passwords. Redirects never leave encryption and obey the reach.
// A proxy of the environment is used except for this machine and except with PublicNetwork, where nobody could tell
// what it connects to. One thread at a time. An abort of the job acts within a tenth of a second, also while a name is
// being resolved.
class HttpClient {
  public:
    HttpClient(const OrvJob& job, WebReach reach);
    ~HttpClient();
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;

    // Sends and waits for the answer, whatever its status. Throws ZorException: kind Network with a text that names the
    // site and says what is wrong, kind Argument for an address that cannot be used, kind Aborted.
    HttpResponse Send(const HttpRequest& request, const HttpSink& sink = {});

  private:
    class Implementation;
    std::unique_ptr<Implementation> m;
};

// Throws ZorException (kind Network) unless the answer is a success: "The site api.example.org answered with 403
// (forbidden)." and what can be done about it.
void CheckHttpStatus(const HttpResponse& response);

// "404 (not found)".
std::string HttpStatusText(int status);
