#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "zorimage/imageio.h"

struct JpegStructure;

// What is wrong with a file, from every reader that has looked at it, as one list that every page, table and report
// shows. Sentences, each once.
struct FileDamage {
    std::vector<std::string> damage;   // what a sound file does not have
    std::vector<std::string> remarks;  // odd but no damage: bytes behind the end, fill bytes
    bool IsEmpty() const { return damage.empty(); }
    std::vector<std::string> All() const;  // damage first
};

// From headers and structure; no pixel is decoded. structure: that of a JPEG, or null. Pure.
FileDamage FindDamage(std::span<const std::uint8_t> bytes, const ImageInfo& info,
                      const JpegStructure* structure);
FileDamage FindDamage(std::span<const std::uint8_t> bytes, const ImageInfo& info);

// Adds what the decoder said, each sentence once.
void AddDamage(FileDamage& damage, const std::vector<std::string>& sentences);
