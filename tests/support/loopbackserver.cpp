#include "tests/support/loopbackserver.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>

#include "orvcore/tools/web/webaddress.h"
#include "zorbase/text.h"

namespace {

constexpr int kPollMs = 20;

int Listen(int backlog, int& port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(fd, backlog) != 0 ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        throw std::runtime_error("no port to listen on");
    port = ntohs(address.sin_port);
    return fd;
}

// A context with a fresh key and a certificate for localhost that is signed with it.
std::shared_ptr<void> MakeTls() {
    SSL_CTX* context = SSL_CTX_new(TLS_server_method());
    EVP_PKEY* key = EVP_EC_gen("P-256");
    X509* certificate = X509_new();
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 86400);
    X509_set_pubkey(certificate, key);
    X509_NAME* name = X509_get_subject_name(certificate);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("localhost"),
                               -1, -1, 0);
    X509_set_issuer_name(certificate, name);
    const bool isGood = X509_sign(certificate, key, EVP_sha256()) > 0 &&
                        SSL_CTX_use_certificate(context, certificate) == 1 &&
                        SSL_CTX_use_PrivateKey(context, key) == 1;
    X509_free(certificate);
    EVP_PKEY_free(key);
    if (!isGood) throw std::runtime_error("no certificate");
    return {context, [](void* held) { SSL_CTX_free(static_cast<SSL_CTX*>(held)); }};
}

bool ParseHead(const std::string& head, LoopbackRequest& request) {
    const std::vector<std::string> lines = StringToVecString(head, "\r\n");
    const std::vector<std::string> first = StringToVecString(lines[0], " ");
    if (first.size() != 3) return false;
    request.method = first[0];
    request.target = first[1];
    const std::size_t question = request.target.find('?');
    request.path = PercentDecode(request.target.substr(0, question));
    if (question != std::string::npos) {
        for (const std::string& field : StringToVecString(request.target.substr(question + 1), "&")) {
            const std::size_t equals = field.find('=');
            request.query[PercentDecode(field.substr(0, equals))] =
                equals == std::string::npos ? "" : PercentDecode(field.substr(equals + 1));
        }
    }
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::size_t colon = lines[i].find(':');
        if (colon != std::string::npos)
            request.headers[ToLower(lines[i].substr(0, colon))] = Trim(lines[i].substr(colon + 1));
    }
    return true;
}

std::string HeadOf(const LoopbackAnswer& answer) {
    std::string head = "HTTP/1.1 " + ToString(answer.status) + " Scripted\r\n";
    if (!answer.contentType.empty()) head += "Content-Type: " + answer.contentType + "\r\n";
    for (const auto& [name, value] : answer.headers) head += name + ": " + value + "\r\n";
    const std::size_t length = answer.promised > 0 ? answer.promised : answer.body.size();
    if (answer.endlessBytes > 0)
        head += "Connection: close\r\n";
    else
        head += "Content-Length: " + ToString(static_cast<std::int64_t>(length)) + "\r\n";
    return head + "\r\n";
}

}  // namespace

// One connection, plain or encrypted. Reads and writes answer false when it is gone or the server ends.
class LoopbackServer::Connection {
  public:
    Connection(int fd, SSL_CTX* tls, const std::atomic<bool>& ends) : m_fd(fd), m_ends(ends) {
        fcntl(fd, F_SETFL, O_NONBLOCK);
        if (tls == nullptr) return;
        m_tls.reset(SSL_new(tls));
        SSL_set_fd(m_tls.get(), fd);
    }
    ~Connection() {
        m_tls.reset();
        close(m_fd);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool Handshake() {
        while (m_tls) {
            const int result = SSL_accept(m_tls.get());
            if (result == 1) return true;
            if (!WaitAfter(result)) return false;
        }
        return true;
    }
    bool Read(std::string& to) {
        char buffer[65536];
        for (;;) {
            const ssize_t got =
                m_tls ? SSL_read(m_tls.get(), buffer, sizeof buffer) : recv(m_fd, buffer, sizeof buffer, 0);
            if (got > 0) {
                to.append(buffer, static_cast<std::size_t>(got));
                return true;
            }
            if (got == 0 || !WaitAfter(static_cast<int>(got))) return false;
        }
    }
    bool Write(const std::string& text) {
        for (std::size_t done = 0; done < text.size();) {
            const ssize_t put =
                m_tls ? SSL_write(m_tls.get(), text.data() + done, static_cast<int>(text.size() - done))
                      : send(m_fd, text.data() + done, text.size() - done, MSG_NOSIGNAL);
            if (put > 0)
                done += static_cast<std::size_t>(put);
            else if (!WaitAfter(static_cast<int>(put)))
                return false;
        }
        return true;
    }
    bool Sleep(int milliseconds) const {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
        while (!m_ends && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(std::min(milliseconds, kPollMs)));
        return !m_ends;
    }
    // Until the other side goes or the server ends.
    void WaitForEnd() {
        std::string ignored;
        while (Read(ignored)) ignored.clear();
    }

  private:
    bool WaitAfter(int result) {
        short wanted = POLLIN;
        if (m_tls) {
            const int error = SSL_get_error(m_tls.get(), result);
            if (error != SSL_ERROR_WANT_READ && error != SSL_ERROR_WANT_WRITE) return false;
            if (error == SSL_ERROR_WANT_WRITE) wanted = POLLOUT;
        } else {
            if (errno != EAGAIN && errno != EINTR) return false;
            wanted = POLLIN | POLLOUT;
        }
        // Room to write is nearly always there: while reading it would end the wait at once.
        pollfd item{m_fd, wanted, 0};
        poll(&item, 1, kPollMs);
        if (!m_tls) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return !m_ends;
    }

    int m_fd;
    const std::atomic<bool>& m_ends;
    std::unique_ptr<SSL, void (*)(SSL*)> m_tls{nullptr, SSL_free};
};

LoopbackServer::LoopbackServer(Handler handler, Kind kind) : m_handler(std::move(handler)), m_kind(kind) {
    if (kind == Kind::SelfSigned) m_tls = MakeTls();
    m_socket = Listen(64, m_port);
    m_accepting = std::thread([this] { Accept(); });
}

LoopbackServer::~LoopbackServer() {
    m_ends = true;
    m_accepting.join();
    for (std::thread& thread : m_threads) thread.join();
    close(m_socket);
}

std::string LoopbackServer::Address(const std::string& target) const {
    // The certificate is for this name.
    const bool isPlain = m_kind == Kind::Plain;
    return (isPlain ? "http://127.0.0.1:" : "https://localhost:") + ToString(m_port) + target;
}

std::vector<LoopbackRequest> LoopbackServer::Requests() const {
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

void LoopbackServer::Accept() {
    while (!m_ends) {
        pollfd item{m_socket, POLLIN, 0};
        if (poll(&item, 1, kPollMs) <= 0) continue;
        const int fd = accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) continue;
        ++m_connections;
        m_threads.emplace_back([this, fd] { Serve(fd); });
    }
}

void LoopbackServer::Serve(int socket) {
    Connection connection(socket, static_cast<SSL_CTX*>(m_tls.get()), m_ends);
    if (!connection.Handshake()) return;
    std::string input;
    for (;;) {
        std::size_t end;
        while ((end = input.find("\r\n\r\n")) == std::string::npos)
            if (!connection.Read(input)) return;
        LoopbackRequest request;
        if (!ParseHead(input.substr(0, end), request)) return;
        input.erase(0, end + 4);
        int length = 0;
        FromString(request.headers["content-length"], length);
        while (input.size() < static_cast<std::size_t>(length))
            if (!connection.Read(input)) return;
        request.body = input.substr(0, static_cast<std::size_t>(length));
        input.erase(0, static_cast<std::size_t>(length));
        {
            const std::lock_guard lock(m_mutex);
            m_requests.push_back(request);
        }
        const LoopbackAnswer answer = m_handler(request);
        if (!connection.Sleep(answer.delayMs) || !connection.Write(HeadOf(answer))) return;
        if (answer.trickleMs > 0) {
            for (const char c : answer.body)
                if (!connection.Write(std::string(1, c)) || !connection.Sleep(answer.trickleMs)) return;
        } else if (!connection.Write(answer.body)) {
            return;
        }
        for (std::uint64_t sent = 0; sent < answer.endlessBytes; sent += 65536)
            if (!connection.Write(std::string(65536, 'x'))) return;
        if (answer.stalls) connection.WaitForEnd();
        if (answer.endlessBytes > 0 || answer.promised > 0) return;
    }
}

SilentPort::SilentPort() {
    m_sockets.push_back(Listen(0, m_port));
    // The queue of connections that nobody accepts is full after these.
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(m_port));
    for (int i = 0; i < 3; ++i) {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        static_cast<void>(connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
        m_sockets.push_back(fd);
    }
}

SilentPort::~SilentPort() {
    for (const int fd : m_sockets) close(fd);
}

std::string SilentPort::Address() const {
    return "http://127.0.0.1:" + ToString(m_port) + "/";
}
