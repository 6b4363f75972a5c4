#pragma once

#include <curl/curl.h>

#include <chrono>
#include <exception>
#include <memory>
#include <string>

#include "orvcore/tools/web/httpclient.h"

// Handles of the transfer library, released with their owner.
using CurlMulti = std::unique_ptr<CURLM, CURLMcode (*)(CURLM*)>;
using CurlEasy = std::unique_ptr<CURL, void (*)(CURL*)>;
using CurlList = std::unique_ptr<curl_slist, void (*)(curl_slist*)>;
using CurlForm = std::unique_ptr<curl_mime, void (*)(curl_mime*)>;

CurlMulti MakeCurlMulti();

// One request to one address and its answer: no redirect is followed here. A part of HttpClient, used by it alone.
class HttpTransfer {
  public:
    // All references must outlive this. withHeaders false leaves out the request's own headers.
    HttpTransfer(const HttpRequest& request, const WebAddress& address, WebReach reach, const HttpSink& sink,
                 bool withHeaders);
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    HttpResponse Run(CURLM* multi, const OrvJob& job);

  private:
    using Clock = std::chrono::steady_clock;
    template <typename T>
    void Set(CURLoption option, T value);
    void SetHeaders(bool withHeaders);
    void SetBody();
    void SetRoute();
    CURLcode Drive(CURLM* multi, const OrvJob& job);
    void CheckStall() const;
    bool IsConnected() const;
    [[noreturn]] void Fail(CURLcode code) const;
    [[noreturn]] void FailInTime(const std::string& what) const;
    HttpResponse TakeResponse();

    // Called by the transfer library; none lets an exception through.
    static std::size_t OnBody(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t OnHeader(char* data, std::size_t size, std::size_t count, void* self);
    static int OnProgress(void* self, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent);
    static curl_socket_t OnOpenSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
    bool TakeBody(std::span<const std::uint8_t> piece);

    const HttpRequest& m_request;
    const WebAddress& m_address;
    const WebReach m_reach;
    const HttpSink& m_sink;
    CurlEasy m_easy;
    CurlList m_headers;
    CurlForm m_form;
    HttpResponse m_response;
    std::uint64_t m_received = 0;
    std::size_t m_headerBytes = 0;
    curl_off_t m_moved = 0;
    Clock::time_point m_started = Clock::now();
    Clock::time_point m_lastMove = m_started;
    std::string m_refusedAddress;  // that the name led to and the reach does not allow
    bool m_isTooLarge = false;
    std::exception_ptr m_sinkFailure;
    char m_detail[CURL_ERROR_SIZE] = {};
};
