#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "zorbase/bytes.h"
#include "zorbase/files.h"

// One file inside a zip container, as the central directory tells it. Offsets count bytes of the container.
struct ZipMember {
    std::string name;              // bytes as the container has them: hostile, never a path
    std::size_t headerOffset = 0;  // of its local header
    std::size_t dataOffset = 0;
    std::size_t packedSize = 0;
    std::size_t size = 0;  // as stated, which may be a lie
    std::uint32_t crc = 0;
    int method = 0;  // 0 stored, 8 deflated, others are not read
    bool encrypted = false;
    bool crcKnown = true;
};

struct ZipDirectory {
    std::vector<ZipMember> members;
    std::vector<std::string> warnings;
};

constexpr std::size_t kMaxZipMembers = 100000;

// The members of a container in memory, found through its end record (which may be followed by a comment and
// preceded by other data). Without an end record that fits, members are found by the headers before them, which a warning
// tells, if the bytes begin with one; otherwise nothing. Members whose data lie outside the
// container or over another member's are left out and told in warnings. Sizes and offsets of more than 32
// bits are understood. Never throws on what the bytes say.
std::optional<ZipDirectory> ReadZipDirectory(ByteSpan container);

struct UnpackedMember {
    Bytes bytes;          // as many as came out
    std::string problem;  // a sentence when the data are damaged, were cut off at the limit, or their check
                          // sum is wrong
    bool limitReached = false;
};

// Unpacks a deflated member to at most `limit` bytes. `between` is called every megabyte of output and may
// throw to stop.
UnpackedMember UnpackZipMember(ByteSpan container, const ZipMember& member, std::size_t limit,
                               const std::function<void()>& between);
