#pragma once

#include "orvcore/model/fileid.h"

// For a filter of whose pictures not every one is, point by point, the photograph's: a spectrum, a small picture out of the file, one that
// was brought onto another. It derives from this beside OrvFilter; all others show places of the photograph. What the examiner marked
// in a photograph is drawn on its own places only. Any thread.
class OrvPicturePlaces {
  public:
    virtual ~OrvPicturePlaces() = default;

    // Whether the points of what is shown of a slot, as original or as processed, are the points of its file's picture.
    virtual bool ShowsPlaces(OrvFileId slot, bool isProcessed) const = 0;
};
