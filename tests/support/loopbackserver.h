#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

struct LoopbackRequest {
    std::string method;
    std::string target;                          // path and query as they were sent
    std::string path;                            // decoded
    std::map<std::string, std::string> query;    // decoded
    std::map<std::string, std::string> headers;  // names in lower case
    std::string body;
};

struct LoopbackAnswer {
    int status = 200;
    std::string body;
    std::string contentType = "application/json";
    std::vector<std::pair<std::string, std::string>> headers;
    int delayMs = 0;                 // before anything is sent
    std::size_t promised = 0;        // length that the header claims; 0 = the body's
    bool stalls = false;             // after the body nothing more happens, the connection stays
    int trickleMs = 0;               // pause after every byte of the body
    std::uint64_t endlessBytes = 0;  // so many more bytes after the body, without a length in the header
};

// A web server for tests on a free port of this machine: answers come from a function, requests are kept. With
// encryption it shows a certificate of its own making, which nobody trusts. Each connection has its own thread; the
// function is called on these.
class LoopbackServer {
  public:
    using Handler = std::function<LoopbackAnswer(const LoopbackRequest&)>;
    enum class Kind { Plain, SelfSigned };

    explicit LoopbackServer(Handler handler, Kind kind = Kind::Plain);
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    std::string Address(const std::string& target = "/") const;  // "http://127.0.0.1:40123/"
    int Port() const { return m_port; }
    std::vector<LoopbackRequest> Requests() const;
    int Connections() const { return m_connections; }

  private:
    class Connection;
    void Accept();
    void Serve(int socket);

    Handler m_handler;
    Kind m_kind;
    int m_socket = -1;
    int m_port = 0;
    std::atomic<bool> m_ends{false};
    std::atomic<int> m_connections{0};
    mutable std::mutex m_mutex;
    std::vector<LoopbackRequest> m_requests;
    std::vector<std::thread> m_threads;
    std::shared_ptr<void> m_tls;
    std::thread m_accepting;
};

// A port on which nobody ever answers: a connection attempt waits.
class SilentPort {
  public:
    SilentPort();
    ~SilentPort();
    SilentPort(const SilentPort&) = delete;
    SilentPort& operator=(const SilentPort&) = delete;
    std::string Address() const;

  private:
    int m_port = 0;
    std::vector<int> m_sockets;
};
