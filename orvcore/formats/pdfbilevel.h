#pragma once

#include <optional>
#include <string>

#include "zorbase/bytes.h"
#include "zorbase/files.h"

// Unpacks the two coders of black-and-white pages. The result is rows of one bit per pixel, padded to bytes, 0 black and 1 white. Nothing
// when not a single row could be decoded; a damaged end leaves the missing rows white.

struct CcittParameters {
    int k = 0;  // below 0: group 4; 0: group 3, one-dimensional; above: two-dimensional
    int columns = 1728;
    int rows = 0;
    bool byteAlign = false;
    bool blackIs1 = false;  // the result is then the other way round
};
std::optional<Bytes> DecodeCcitt(ByteSpan data, const CcittParameters& parameters);

// globals: the part that several images share, may be empty. width and height are those that the result shall have.
// complaint: what the decoder found wrong, "" when nothing; the picture may then be wrong too.
std::optional<Bytes> DecodeJbig2(ByteSpan data, ByteSpan globals, int width, int height,
                                 std::string& complaint);
