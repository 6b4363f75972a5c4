#pragma once

#include <functional>
#include <string>
#include <vector>

#include "orvcore/formats/qpdfheaders.h"
#include "zorbase/bytes.h"

// The walk through a document that hostile ones cannot end: the library's own goes down page trees and into packed
// streams as deep and as far as they claim to go.

struct PdfPages {
    std::vector<QPDFObjectHandle>
        pages;  // in order; each has /Resources of its own now, those it inherits (in memory only)
    std::vector<std::string> warnings;
};
// Without recursion, so any depth is good; a node that was met before is not followed again.
PdfPages ListPdfPages(QPDF& pdf);

// Why the document must not be handed to the library, a sentence: its packed lists of objects unpack to far more than
// its size can justify; "" when it may. Linear in the bytes and what is unpacked.
std::string PdfStructureProblem(ByteSpan bytes);

// How much drawing commands may unpack to, bytes.
constexpr std::size_t kMaxPdfContent = std::size_t{64} << 20;        // of one page, form or pattern
constexpr std::size_t kMaxPdfContentInAll = std::size_t{256} << 20;  // of a document

// Bytes that the drawing commands of a page or form unpack to, counted up to `limit` + 1. alive is called every megabyte
// and may throw to stop.
std::size_t CountPdfContent(QPDFObjectHandle owner, std::size_t limit, const std::function<void()>& alive);
