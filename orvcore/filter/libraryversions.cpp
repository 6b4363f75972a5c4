#include "orvcore/filter/libraryversions.h"

#include <brotli/decode.h>
#include <curl/curl.h>
#include <librsvg/rsvg.h>
#include <openssl/crypto.h>
#include <pango/pangocairo.h>
#include <sqlite3.h>
#include <wx/version.h>
#include <zlib.h>

#include <exiv2/exiv2.hpp>

#include "orvcore/formats/qpdfheaders.h"
#include "zorbase/appversion.h"
#include "zorbase/text.h"
#include "zorimage/libraryversions.h"

namespace {

std::string BrotliVersion() {
    const std::uint32_t packed = BrotliDecoderVersion();
    return ToString(static_cast<int>(packed >> 24)) + "." + ToString(static_cast<int>(packed >> 12 & 0xfff)) +
           "." + ToString(static_cast<int>(packed & 0xfff));
}

}  // namespace

const std::string& LibraryVersionsText() {
    static const std::string text = [] {
        std::vector<std::string> texts;
        for (const LibraryVersion& library : ImageLibraryVersions())
            texts.push_back(library.name + " " + library.version);
        texts.push_back(std::string("Exiv2 ") + Exiv2::versionString());
        return Join(texts, ", ");
    }();
    return text;
}

std::vector<std::pair<std::string, std::string>> GetLibraryVersions() {
    std::vector<std::pair<std::string, std::string>> versions;
    for (const LibraryVersion& library : ImageLibraryVersions())
        versions.emplace_back(library.name, library.version);
    versions.emplace_back("Exiv2", Exiv2::versionString());
    versions.emplace_back("QPDF", QPDF::QPDFVersion());
    versions.emplace_back("curl", curl_version_info(CURLVERSION_NOW)->version);
    versions.emplace_back("OpenSSL", OpenSSL_version(OPENSSL_VERSION_STRING));
    versions.emplace_back("Brotli", BrotliVersion());
    versions.emplace_back("SQLite", sqlite3_libversion());
    versions.emplace_back("zlib", zlibVersion());
    versions.emplace_back("Pango", pango_version_string());
    versions.emplace_back("cairo", cairo_version_string());
    versions.emplace_back("librsvg", ToString(static_cast<int>(rsvg_major_version)) + "." +
                                         ToString(static_cast<int>(rsvg_minor_version)) + "." +
                                         ToString(static_cast<int>(rsvg_micro_version)));
    // The base library does not tell its version at run time.
    versions.emplace_back("wxWidgets", ToString(wxMAJOR_VERSION) + "." + ToString(wxMINOR_VERSION) + "." +
                                           ToString(wxRELEASE_NUMBER) + " when built");
    return versions;
}

std::string VersionText() {
    const AppVersion version;
    std::string text = version.GetFullName();
    if (!version.GetRevision().empty()) text += " (" + version.GetRevision() + ")";
    for (const auto& [name, number] : GetLibraryVersions()) text += "\n  " + name + " " + number;
    return text;
}
