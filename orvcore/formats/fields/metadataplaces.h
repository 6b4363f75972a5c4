#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "zorbase/bytes.h"
#include "orvcore/formats/fields/iccfacts.h"
#include "orvcore/formats/fields/makernote.h"
#include "orvcore/formats/metadata.h"
#include "orvcore/formats/structure/tiffdirectories.h"

// Where metadata stand in the file. Offsets count bytes from the start of the file.

// One data set of IPTC-IIM.
struct IptcPlace {
    int record = 0;
    int number = 0;
    std::size_t offset = 0;  // of its value
    std::size_t size = 0;
};

struct MetadataPlaces {
    std::optional<std::size_t> exif;  // where the EXIF block's TIFF structure starts
    ByteSpan exifBytes;
    TiffDirectories tiff;
    std::optional<MakerNote> makerNote;  // offsets of it count from the TIFF structure
    std::optional<std::size_t> xmp;      // where the packet starts
    ByteSpan xmpBytes;
    std::vector<IptcPlace> iptc;
    std::optional<std::size_t> iptcBlock;
    // The MD5 that Photoshop's resources state for the IPTC block, and that of the block itself, hex; "" where there is none.
    std::string statedIptcDigest;
    std::string iptcDigest;
    std::vector<std::uint32_t> resources;  // numbers of Photoshop's image resources, in file order
    std::optional<std::size_t> photoshop;  // where they start
    std::optional<std::size_t> icc;  // of the profile where it stands in the file in one piece, unpacked
};

// Finds the blocks of the first picture. iccProfile: as ReadImageInfo hands it out, empty without one. The spans point into `bytes`,
// which must outlive the result. Never throws on what the bytes say.
MetadataPlaces FindMetadataPlaces(ByteSpan bytes, ByteSpan iccProfile);

// What ReadMetadata says, and beside it the fields of the colour profile, the entries of makers' notes that the library leaves closed, and
// the offset of each entry as far as it is known: EXIF and GPS, makers' entries that stand in the note's own directory, IPTC, XMP
// properties (those of a structure or list: of the whole property), ICC tags.
struct DetailedMetadata {
    MetadataSet set;
    MetadataPlaces places;
    IccFacts icc;
};
DetailedMetadata ReadDetailedMetadata(ByteSpan bytes, ByteSpan iccProfile,
                                      TextEncoding encoding = TextEncoding::Western);
