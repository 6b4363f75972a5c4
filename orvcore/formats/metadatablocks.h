#pragma once

#include "zorbase/bytes.h"

// Where a file's metadata lie, found without the metadata library, for files that it refuses as a whole. The spans
// point into the bytes; empty where there is none.
struct MetadataBlocks {
    ByteSpan exif;  // from its byte-order mark on; may be cut
    ByteSpan xmp;   // from <x:xmpmeta to its end
};

// Of a JPEG the first blocks in its segments, also in one that the file's end cuts; of a PNG those of its chunks that are not packed;
// of anything else the first bytes that look like one. Pure, linear in the bytes.
MetadataBlocks FindMetadataBlocks(ByteSpan bytes);
// The same, but of anything other than a JPEG the first bytes that look like a block, whether it is the one that counts or not: for what is
// too damaged to be followed.
MetadataBlocks SearchMetadataBlocks(ByteSpan bytes);
