#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "zorbase/files.h"

// A complete JPEG that was found inside another file.
struct EmbeddedJpeg {
    std::size_t offset = 0;  // in the searched file; of a packed member: of the member's local header in the
                             // (outermost) container
    std::string
        container;  // member of a zip container that holds it ("word/media/image1.jpeg", levels joined by " >
                    // "), valid UTF-8, from the file and therefore hostile; "" when it lies in no member
    std::vector<std::uint8_t> bytes;  // from SOI to EOI, unchanged
    std::string sha256;               // of bytes
    int width = 0;
    int height = 0;
};

// Limits of what is unpacked from containers. Beyond them the search says so in its warnings and goes on with
// the rest.
constexpr std::size_t kMaxMemberBytes = std::size_t{512} << 20;
constexpr std::size_t kMaxUnpackedBytes = std::size_t{2} << 30;  // of all members together
constexpr int kMaxContainerDepth = 3;

// Every complete JPEG inside a file of any kind, each content once (by SHA-256, at its first place), by
// growing offset for what lies open in the file, then the packed members of a zip container (office
// documents), containers in containers included. Pictures inside pictures, such as an EXIF thumbnail, are
// found too; cut ones are not. A member that begins like a JPEG is given whole, even when it is cut or more follows its
// end. The file's own picture is not embedded: a JPEG at offset 0 is left out when
// nothing but padding (00 or FF) follows it. When other data follow, the file is more than that JPEG, and it
// is listed like the others. progress gets the part done, 0..1, and may throw to stop. Never throws by
// itself, except for lack of memory. warnings may be null.
std::vector<EmbeddedJpeg> FindEmbeddedJpegs(std::span<const std::uint8_t> bytes,
                                            const std::function<void(double)>& progress = {},
                                            std::vector<std::string>* warnings = nullptr);

// Writes each of them into the folder as "<baseName>_<offset, 8 hex digits>_<first 12 of the SHA-256>.jpg", those of
// members with the end of the member's name, made safe, before the SHA-256, and returns how many. The folder is created only when something is found. Only the last part of baseName is
// used. Throws ZorException (kind File) when a file cannot be written; those written before stay.
int DumpEmbeddedJpegs(std::span<const std::uint8_t> bytes, const std::string& folder,
                      const std::string& baseName, const std::function<void(double)>& progress = {},
                      std::vector<std::string>* warnings = nullptr);
