#include "orvcore/tools/web/webaddress.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>

#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr std::size_t kLongestAddress = 8000;

using Url = std::unique_ptr<CURLU, void (*)(CURLU*)>;

// A part of the address, "" when it is not there.
std::string Part(const Url& url, CURLUPart part, unsigned flags = 0) {
    char* text = nullptr;
    if (curl_url_get(url.get(), part, &text, flags) != CURLUE_OK) return {};
    std::string result(text);
    curl_free(text);
    return result;
}

bool HasForbiddenCharacter(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte <= 0x20 || byte == 0x7F || c == '\\';
    });
}

[[noreturn]] void Refuse(const std::string& what, const std::string& reason) {
    ZOR_THROW(Argument, what + " cannot be used: " + reason + ".");
}

using Ipv4 = std::array<std::uint8_t, 4>;
using Ipv6 = std::array<std::uint8_t, 16>;

// First address and number of leading bits of the networks that are not the public one.
struct Network4 {
    Ipv4 first;
    int bits;
};
constexpr Network4 kNotPublic4[] = {
    {{0, 0, 0, 0}, 8},      {{10, 0, 0, 0}, 8},    {{100, 64, 0, 0}, 10},   {{127, 0, 0, 0}, 8},
    {{169, 254, 0, 0}, 16}, {{172, 16, 0, 0}, 12}, {{192, 0, 0, 0}, 24},    {{192, 0, 2, 0}, 24},
    {{192, 168, 0, 0}, 16}, {{198, 18, 0, 0}, 15}, {{198, 51, 100, 0}, 24}, {{203, 0, 113, 0}, 24},
    {{224, 0, 0, 0}, 4},    {{240, 0, 0, 0}, 4},
};

template <std::size_t N>
bool IsInside(const std::array<std::uint8_t, N>& address, const std::array<std::uint8_t, N>& first,
              int bits) {
    for (std::size_t i = 0; i < N && bits > 0; ++i, bits -= 8) {
        const int mask = bits >= 8 ? 0xFF : 0xFF << (8 - bits) & 0xFF;
        if (((address[i] ^ first[i]) & mask) != 0) return false;
    }
    return true;
}

bool IsPublic4(const Ipv4& address) {
    return std::none_of(std::begin(kNotPublic4), std::end(kNotPublic4),
                        [&address](const Network4& net) { return IsInside(address, net.first, net.bits); });
}

Ipv4 Inner(const Ipv6& address, std::size_t offset) {
    return {address[offset], address[offset + 1], address[offset + 2], address[offset + 3]};
}

constexpr Ipv6 kMapped = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};

// Only 2000::/3 is handed out; inside it are the networks of tunnels and of examples.
bool IsPublic6(const Ipv6& address) {
    constexpr Ipv6 kGlobal = {0x20};
    constexpr Ipv6 kTranslated = {0x00, 0x64, 0xFF, 0x9B};
    constexpr Ipv6 kTunnels = {0x20, 0x01};  // 2001::/23: Teredo and other special uses
    constexpr Ipv6 kExamples = {0x20, 0x01, 0x0D, 0xB8};
    constexpr Ipv6 kSixToFour = {0x20, 0x02};
    if (IsInside(address, kMapped, 96) || IsInside(address, kTranslated, 96))
        return IsPublic4(Inner(address, 12));
    if (IsInside(address, kSixToFour, 16)) return IsPublic4(Inner(address, 2));
    return IsInside(address, kGlobal, 3) && !IsInside(address, kTunnels, 23) &&
           !IsInside(address, kExamples, 32);
}

Ipv4 BytesOf(const sockaddr_in& address) {
    Ipv4 bytes;
    std::memcpy(bytes.data(), &address.sin_addr, bytes.size());
    return bytes;
}

Ipv6 BytesOf(const sockaddr_in6& address) {
    Ipv6 bytes;
    std::memcpy(bytes.data(), &address.sin6_addr, bytes.size());
    return bytes;
}

const sockaddr_in& As4(const sockaddr& address) {
    return reinterpret_cast<const sockaddr_in&>(address);
}

const sockaddr_in6& As6(const sockaddr& address) {
    return reinterpret_cast<const sockaddr_in6&>(address);
}

}  // namespace

bool WebAddress::IsLoopback() const {
    if (host == "localhost") return true;
    sockaddr_in address4{};
    address4.sin_family = AF_INET;
    if (inet_pton(AF_INET, host.c_str(), &address4.sin_addr) == 1) return BytesOf(address4)[0] == 127;
    in6_addr address6{};
    return inet_pton(AF_INET6, host.c_str(), &address6) == 1 && IN6_IS_ADDR_LOOPBACK(&address6);
}

WebAddress ParseWebAddress(const std::string& text, const std::string& what) {
    if (text.empty()) Refuse(what, "it is empty");
    if (text.size() > kLongestAddress) Refuse(what, "it is too long");
    if (HasForbiddenCharacter(text)) Refuse(what, "it holds a blank, a backslash or a control character");
    // The library reads one to three slashes as two.
    const std::size_t slashes = text.find("//");
    if (slashes == std::string::npos || text[slashes + 2] == '/' || text[slashes + 2] == '\0')
        Refuse(what, "it is not a web address");
    const Url url(curl_url(), curl_url_cleanup);
    if (!url) ZOR_THROW(Memory, "There is not enough memory.");
    if (curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME | CURLU_URLENCODE) !=
        CURLUE_OK)
        Refuse(what, "it is not a web address");
    WebAddress address;
    address.scheme = ToLower(Part(url, CURLUPART_SCHEME));
    if (address.scheme != "http" && address.scheme != "https")
        Refuse(what, "it begins neither with https: nor with http:");
    if (!Part(url, CURLUPART_USER).empty() || !Part(url, CURLUPART_PASSWORD).empty())
        Refuse(what, "it holds a user name");
    address.host = ToLower(Part(url, CURLUPART_HOST));
    if (address.host.size() > 1 && address.host.front() == '[')
        address.host = address.host.substr(1, address.host.size() - 2);
    if (address.host.empty()) Refuse(what, "it names no host");
    address.path = Part(url, CURLUPART_PATH);
    address.origin =
        address.scheme + "://" + address.host + ":" + Part(url, CURLUPART_PORT, CURLU_DEFAULT_PORT);
    // What follows '#' is for whoever shows a page.
    curl_url_set(url.get(), CURLUPART_FRAGMENT, nullptr, 0);
    address.text = Part(url, CURLUPART_URL);
    return address;
}

bool IsWebAddress(const std::string& text) {
    try {
        ParseWebAddress(text, "The address");
        return true;
    } catch (const ZorException&) {
        return false;
    }
}

std::string AddWebQuery(const std::string& address, const WebQuery& query) {
    const std::size_t hash = address.find('#');
    std::string result = address.substr(0, hash);
    const std::size_t question = result.find('?');
    bool isFirst = question == std::string::npos;
    bool needsSeparator = !isFirst && question + 1 < result.size() && result.back() != '&';
    for (const auto& [name, value] : query) {
        if (isFirst) result += '?';
        if (needsSeparator) result += '&';
        result += PercentEncode(name) + "=" + PercentEncode(value);
        isFirst = false;
        needsSeparator = true;
    }
    return hash == std::string::npos ? result : result + address.substr(hash);
}

bool IsHostName(const std::string& text) {
    if (text.empty() || text.size() > 253) return false;
    for (const std::string& label : StringToVecString(text, ".")) {
        if (label.empty() || label.size() > 63 || label.front() == '-' || label.back() == '-') return false;
        for (const char c : label)
            if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-'))
                return false;
    }
    return text.find('.') != std::string::npos;
}

bool IsLoopbackAddress(const sockaddr& address) {
    if (address.sa_family == AF_INET) return BytesOf(As4(address))[0] == 127;
    if (address.sa_family != AF_INET6) return false;
    const Ipv6 bytes = BytesOf(As6(address));
    constexpr Ipv6 kLoopback = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    return bytes == kLoopback || (IsInside(bytes, kMapped, 96) && bytes[12] == 127);
}

bool IsPublicAddress(const sockaddr& address) {
    if (address.sa_family == AF_INET) return IsPublic4(BytesOf(As4(address)));
    return address.sa_family == AF_INET6 && IsPublic6(BytesOf(As6(address)));
}
