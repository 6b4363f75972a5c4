#pragma once

#include <functional>
#include <string>
#include <vector>

#include "orvcore/formats/pdfimages.h"
#include "orvcore/formats/qpdfheaders.h"
#include "zorbase/files.h"

// One file made of one image stream.
struct PdfImageFile {
    std::string extension;  // "jpg"
    Bytes bytes;
};

struct PdfImageFiles {
    std::vector<PdfImageFile> files;  // empty when nothing could be taken out
    std::vector<std::string>
        problems;  // each a clause to follow the image's name: "its colour space is not converted"
};

// maximumBytes: that its data may unpack to; what is beyond is cut, and told.
// Takes an image out of its stream in the form that DumpPdfImages promises. alive is called at least every megabyte of data and may
// throw to stop; its exception arrives unchanged. What the library throws for damaged objects passes through.
PdfImageFiles ExtractPdfImage(const QPDFObjectHandle& stream, const PdfDumpOptions& options,
                              std::size_t maximumBytes, const std::function<void()>& alive);
