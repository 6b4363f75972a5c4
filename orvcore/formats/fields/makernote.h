#pragma once

#include <string>
#include <vector>

#include "zorbase/bytes.h"
#include "orvcore/formats/structure/tiffdirectories.h"

// The maker note of an EXIF block as a directory, for the makers whose notes are one: where each entry stands, and whether the
// values lie where the note points. Nothing is interpreted. Layouts: headers as the makers' cameras write them, described in many
// places, among them the documentation of the open metadata readers.

struct MakerNoteEntry {
    std::uint32_t tag = 0;
    std::uint32_t type = 0;
    std::uint64_t count = 0;
    std::size_t valueOffset = 0;  // in the TIFF structure; inside the entry when the value is short
    std::size_t valueSize = 0;    // as stated
    bool isInline = false;
    bool isInNote = false;   // the value lies inside the note
    bool isInBlock = false;  // ... inside the TIFF structure
};

struct MakerNote {
    std::string kind;        // "Canon", "Apple"; "" when the layout is not known here
    std::size_t offset = 0;  // of the note in the TIFF structure
    std::size_t size = 0;    // bytes of it that are there
    bool isRead = false;     // a directory was found at its place
    bool little = false;
    // Whether its bytes are the directory alone: such cameras keep the values elsewhere in the block.
    bool isDirectoryOnly = false;
    // Whether values are pointed at from the start of the TIFF structure, so that moving the note breaks them.
    bool isAbsolute = false;
    std::vector<MakerNoteEntry> entries;
};

// Entries beyond this number are left out.
constexpr std::size_t kMaxMakerNoteEntries = 1000;

// offset and size: of the note's value in the TIFF structure. make: the camera's maker as EXIF states it, which tells the layout of
// notes without a header. Never throws on what the bytes say.
MakerNote ReadMakerNote(ByteSpan tiff, bool little, std::size_t offset, std::size_t size,
                        const std::string& make);

// The name of an entry that the metadata library does not know, "" when it has none here.
std::string MakerNoteTagName(const std::string& kind, std::uint32_t tag);
// The value of an entry as text: numbers, a text, or the number of bytes.
std::string MakerNoteValue(ByteSpan tiff, const MakerNote& note, const MakerNoteEntry& entry);
