#pragma once

#include "orvcore/formats/metadata.h"
#include "zorbase/bytes.h"

// The few EXIF facts that a table of many files shows, read straight from the block of a JPEG: hundreds of
// times faster than a whole reading of its metadata, which interprets every entry and lets only one thread in
// at a time. It says the same as ReadMetadataFacts, ReadGps and ReadExifThumbnail on sound files; lens and
// serial number, which stand in the makers' own notes, stay empty. Pure, safe on any thread, never throws on
// what the bytes say.
struct ExifScan {
    bool isPresent = false;  // there is a readable first directory
    MetadataFacts facts;
    bool hasPosition = false;  // a complete position, every part with its hemisphere
    ByteSpan thumbnail;        // the JPEG of the second directory, inside the block; empty when there is none
    bool hasOtherThumbnail = false;  // one that is no JPEG, or not told in a way that is read here
};

// tiff: the block from its byte-order mark on.
ExifScan ScanExif(ByteSpan tiff);
