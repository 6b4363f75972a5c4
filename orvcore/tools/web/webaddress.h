#pragma once

#include <string>
#include <utility>
#include <vector>

struct sockaddr;

// Addresses on the web, as strictly as a program needs them that meets hostile ones. Pure functions, safe on any thread.

struct WebAddress {
    std::string text;         // the whole address, encoded where it needs it
    std::string scheme;       // "http" or "https"
    std::string host;         // lower case; an IPv6 address without brackets
    std::string origin;       // scheme, host and port: who gets what is sent there
    std::string path;         // "/" at least, still encoded
    bool IsLoopback() const;  // by its name: localhost, 127.0.0.0/8 or ::1
    bool IsEncrypted() const { return scheme == "https"; }
};

// Takes an address apart. `what` names it in messages ("The Flickr address"). Throws ZorException (kind Argument) for
// anything but http and https with a host, for names and passwords inside the address, and for control characters,
// blanks and more than 8,000 bytes. The message never repeats the address, which could hold a key.
WebAddress ParseWebAddress(const std::string& text, const std::string& what);

// The same, answering whether it is one that a link may lead to.
bool IsWebAddress(const std::string& text);

// The address with the fields added to its query, names and values encoded.
using WebQuery = std::vector<std::pair<std::string, std::string>>;
std::string AddWebQuery(const std::string& address, const WebQuery& query);

// "example.org", without scheme, port or path; letters, digits, '-' and dots as names of hosts have them.
bool IsHostName(const std::string& text);

// What a connection really leads to, after names were resolved: loopback, and whether the address is one of the public
// network (not loopback, private, link-local, shared, multicast, documentation or reserved; IPv4 inside IPv6 counts as
// itself).
bool IsLoopbackAddress(const sockaddr& address);
bool IsPublicAddress(const sockaddr& address);
