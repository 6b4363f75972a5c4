#include "orvcore/model/logdocument.h"

#include "orvcore/formats/qpdfheaders.h"
#include "orvcore/model/project.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

// The texts of the document's information, where a report in PDF keeps what is to be read by programs.
std::string PdfInformation(const std::string& path, const std::string& bytes) {
    try {
        QPDF pdf;
        pdf.setSuppressWarnings(true);
        pdf.processMemoryFile(path.c_str(), bytes.data(), bytes.size());
        std::string all;
        QPDFObjectHandle information = pdf.getTrailer().getKey("/Info");
        if (!information.isDictionary()) return all;
        for (const std::string& key : information.getKeys())
            if (QPDFObjectHandle value = information.getKey(key); value.isString())
                all += value.getUTF8Value() + "\n";
        return all;
    } catch (const std::exception& error) {
        ZOR_THROW(Format,
                  "\"" + ToValidUtf8(path) + "\" cannot be read as PDF: " + ToValidUtf8(error.what()));
    }
}

}  // namespace

std::vector<OrvLogPlace> ReadLogPlaces(const std::string& path) {
    const std::string text = ReadFile(path);
    std::vector<OrvLogPlace> places;
    if (text.starts_with("%PDF")) {
        places = FindLogPlaces(PdfInformation(path, text));
    } else if (text.starts_with("{")) {
        const OrvLogPlace place = OrvProject::FromText(text).GetState().logPlace;
        if (!place.log.empty()) places.push_back(place);
    } else {
        places = FindLogPlaces(text);
    }
    if (places.empty())
        ZOR_THROW(Format, "\"" + ToValidUtf8(PathName(path)) + "\" states no place in a log.");
    return places;
}
