#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

struct PdfDumpOptions {
    int firstPage = 1;             // counted from 1
    int lastPage = 0;              // inclusive; 0 is the last of the document, a larger number than that too
    bool convertJpeg2000 = false;  // to PNG; otherwise the stream is written as it is
    bool convertJbig2 = true;
    bool convertCcitt = true;
    std::string ownerPassword = {};  // UTF-8; either password opens the document
    std::string userPassword = {};
};

struct PdfDumpResult {
    int pages = 0;                   // looked at
    std::vector<std::string> files;  // paths that were written
    std::vector<std::string>
        warnings;  // each a sentence: damage, images that could not be converted or written
};

// Writes every image of a PDF document's pages into the folder, each image object once, at the page that names it first: images drawn or
// only named in the page's resources, in nested forms, patterns, groups of soft masks, fonts of drawings, annotations; inline ones of pages,
// forms and tiles; masks too. JPEG and JPEG
// 2000 streams are written unchanged (.jpg, .jp2, .j2k). Sampled images become PNG, by the plain formulas of the device colour
// spaces, without colour management. CCITT and JBIG2 become PNG when asked; otherwise, or when that fails, their raw data are written
// (.ccitt; .jb2 with its shared part as .jb2g). The decoder of JBIG2 makes mistakes that it does not notice: its data are written beside every
// picture of it, which is marked as not verified. Samples in a colour space that is not converted are written unpacked as .bin.
// Names: "<baseName>_p<page>_o<object number>.<extension>", "i" and a running number for inline ones; only the last part of baseName is
// used. The folder is created only when something is found.
// Throws ZorException: kind Argument for a wrong or missing password and for a page range outside the document, kind Format when it is
// no PDF or too damaged, kind File when a file cannot be written. progress gets the part done, 0..1, and may throw to stop;
// what was written before stays.
PdfDumpResult DumpPdfImages(std::span<const std::uint8_t> bytes, const std::string& folder,
                            const std::string& baseName, const PdfDumpOptions& options,
                            const std::function<void(double)>& progress = {});

// Ways to write the password that documents of different ages expect, the text itself first: prepared as AES-256 encryption asks
// (RFC 4013, for the letters of the western scripts), and in the single-byte encodings of older ones.
std::vector<std::string> PdfPasswordForms(const std::string& password);
