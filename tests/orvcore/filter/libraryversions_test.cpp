#include "orvcore/filter/libraryversions.h"

#include <gtest/gtest.h>

TEST(LibraryVersions, EveryLibraryIsToldWithANumber) {
    std::string names;
    for (const auto& [name, version] : GetLibraryVersions()) {
        names += name + ", ";
        EXPECT_NE(version.find_first_of("0123456789"), std::string::npos) << name << ' ' << version;
        EXPECT_NE(VersionText().find("\n  " + name + " " + version), std::string::npos);
    }
    EXPECT_EQ(
        names,
        "JPEG, PNG, TIFF, WebP, GIF, JPEG 2000, HEIF, RAW, OpenCV, Exiv2, QPDF, curl, OpenSSL, Brotli, SQLite, "
        "zlib, Pango, cairo, librsvg, wxWidgets, ");
}
