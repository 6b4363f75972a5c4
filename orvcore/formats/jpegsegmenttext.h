#pragma once

#include <string>
#include <vector>

#include "orvcore/formats/jpegstructure.h"
#include "zorbase/bytes.h"
#include "zorimage/jpegnames.h"

// The words of one marker segment: its identifier and what it says in a few words. Payloads are the bytes
// after marker and length. Nothing throws; what does not fit its layout gives a shorter text.

// The text that an APPn payload starts with: printable characters up to a zero byte, or a known one that has
// no zero byte.
std::string JpegAppIdentifier(ByteSpan payload);

std::string JpegSegmentText(std::uint8_t marker, const std::string& identifier, ByteSpan payload);

// A comment as valid UTF-8, shortened when it is very long.
std::string JpegCommentText(ByteSpan payload);

// The pictures that an APP2 "MPF" payload lists; empty for any other payload. payloadOffset and imageStart
// (of the JPEG's SOI) count in the same span, in which the entries' offsets then count too.
std::vector<JpegPictureEntry> ReadPictureIndex(ByteSpan payload, std::size_t payloadOffset,
                                               std::size_t imageStart);
