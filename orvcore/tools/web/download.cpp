#include "orvcore/tools/web/download.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "orvcore/tables/tablemarkup.h"
#include "orvcore/tables/tables.h"
#include "orvcore/tools/newfile.h"
#include "orvcore/tools/web/httpclient.h"
#include "orvcore/tools/web/webparameters.h"
#include "zorbase/calendar.h"
#include "zorbase/files.h"
#include "zorbase/hash.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr std::size_t kLongestName = 120;
constexpr std::size_t kLongestExtension = 6;
constexpr int kNamedFailures = 5;
constexpr int kDownloadMs = 30 * 60 * 1000;

struct Extension {
    const char* type;
    const char* extension;
};
constexpr Extension kPictureTypes[] = {
    {"image/jpeg", "jpg"}, {"image/png", "png"},   {"image/gif", "gif"},   {"image/webp", "webp"},
    {"image/tiff", "tif"}, {"image/heic", "heic"}, {"image/heif", "heif"}, {"image/avif", "avif"},
    {"image/bmp", "bmp"},  {"image/jp2", "jp2"},
};
constexpr const char* kPictureExtensions[] = {"jpg", "jpeg", "jpe",  "jfif", "png",  "gif", "webp",
                                              "tif", "tiff", "heic", "heif", "avif", "bmp", "jp2",
                                              "dng", "cr2",  "nef",  "arw",  "raw",  "pdf"};

// "image/jpeg; charset=x" without what follows the type.
std::string PlainType(const std::string& contentType) {
    return ToLower(Trim(contentType.substr(0, contentType.find(';'))));
}

std::string ExtensionOfType(const std::string& contentType) {
    const std::string type = PlainType(contentType);
    for (const Extension& known : kPictureTypes)
        if (type == known.type) return known.extension;
    return {};
}

bool HasPictureExtension(const std::string& name) {
    const std::string extension = PathExtension(name);
    return std::find(std::begin(kPictureExtensions), std::end(kPictureExtensions), extension) !=
           std::end(kPictureExtensions);
}

// Characters that a name must not have, in UTF-8: they change the direction of writing or cannot be seen.
std::string WithoutInvisible(std::string text) {
    for (const char* sign :
         {"\u200B", "\u200C", "\u200D", "\u200E", "\u200F", "\u202A", "\u202B", "\u202C", "\u202D", "\u202E",
          "\u061C", "\u2060", "\u2066", "\u2067", "\u2068", "\u2069", "\uFEFF", "\uFFFD"}) {
        const std::string pattern = sign;
        for (std::size_t at = text.find(pattern); at != std::string::npos; at = text.find(pattern, at))
            text.erase(at, pattern.size());
    }
    return text;
}

std::string NowUtc() {
    const CalendarTime now = UtcTime(std::time(nullptr));
    char text[80];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", now.year, now.month, now.day, now.hour,
                  now.minute, now.second);
    return text;
}

class Download {
  public:
    Download(const VecParameter& parameters, const OrvWebServices& services, std::uint64_t maximumBytes,
             const OrvJob& job)
        : m_texts(parameters.Get<std::vector<std::string>>(kWebParameterPhotos)),
          m_folder(parameters.Get<std::string>(kWebParameterFolder)),
          m_maximumBytes(maximumBytes),
          m_job(job),
          m_client(job, services.allowsLocalDownloads ? WebReach::Anywhere : WebReach::PublicNetwork) {
        if (m_texts.empty() || m_texts.size() % 2 != 0)
            ZOR_THROW(Argument, "No address to download from was given.");
        if (m_folder.empty()) ZOR_THROW(Argument, "No folder was given.");
    }

    void Run() {
        MakeFolder(m_folder);
        try {
            for (std::size_t i = 0; i + 1 < m_texts.size(); i += 2) FetchOrNote(i);
        } catch (const ZorException&) {
            // What has been fetched stays, and so does the word of where it came from.
            try {
                WriteLog();
            } catch (const ZorException&) {
                // The first failure says more.
            }
            throw;
        }
        WriteLog();
        if (m_failed == 0) return;
        if (m_failed > kNamedFailures) m_problems += "\n\u2026";
        ZOR_THROW(Network, ToString(m_failed) + " of " + ToString(static_cast<int>(m_texts.size() / 2)) +
                               " files were not downloaded:" + m_problems);
    }

  private:
    void FetchOrNote(std::size_t index) {
        const auto count = static_cast<double>(m_texts.size());
        const std::string wish = SafeDownloadName(m_texts[index], {});
        m_job.SetProgress(static_cast<double>(index) / count,
                          "File " + ToString(static_cast<int>(index / 2 + 1)) + " of " +
                              ToString(static_cast<int>(count / 2)) + ": " + wish);
        const std::string& address = m_texts[index + 1];
        try {
            Fetch(wish, address);
        } catch (const ZorException& exception) {
            if (exception.GetKind() == ZorException::Kind::Aborted) throw;
            Note({wish, address, "", NowUtc(), "", "", "", exception.GetMessage()});
            if (++m_failed <= kNamedFailures) m_problems += "\n\"" + wish + "\": " + exception.GetMessage();
            // A disk that is full or gone stays so.
            if (exception.GetKind() == ZorException::Kind::File) throw;
        }
    }

    void Fetch(const std::string& wish, const std::string& address) {
        HttpRequest request;
        request.address = address;
        request.limits.maximumBytes = m_maximumBytes;
        request.limits.totalMs = kDownloadMs;
        NewFile file(m_folder, wish);
        Sha256Stream hash;
        std::uint64_t size = 0;
        const HttpResponse response = m_client.Send(request, [&](std::span<const std::uint8_t> piece) {
            file.Write(piece);
            hash.Add(piece);
            size += piece.size();
        });
        if (!response.IsSuccess())
            ZOR_THROW(Network, "The site " + response.host + " answered with " +
                                   HttpStatusText(response.status) + ".");
        if (size == 0) ZOR_THROW(Network, "The site " + response.host + " sent an empty file.");
        file.SetName(SafeDownloadName(wish, response.contentType));
        const std::string name = file.Finish();
        Note({name, address, response.address, NowUtc(), ToString(static_cast<std::int64_t>(size)),
              hash.Finish(), response.contentType, ""});
    }

    void Note(const std::vector<std::string>& texts) {
        std::vector<std::string> row;
        for (const std::string& text : texts) row.push_back(TableCell(ToValidUtf8(text)));
        m_log.push_back(std::move(row));
    }

    void WriteLog() const {
        if (m_log.size() < 2) return;
        NewFile file(m_folder, "downloads.tsv");
        const std::string text = TableToTsv(m_log);
        file.Write(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
        file.Finish();
    }

    const std::vector<std::string>& m_texts;
    const std::string m_folder;
    const std::uint64_t m_maximumBytes;
    const OrvJob& m_job;
    HttpClient m_client;
    TableString m_log = {{"Name", "Address", "Answered By", "Time", "Bytes", "SHA-256", "Type", "Failure"}};
    std::string m_problems;
    int m_failed = 0;
};

}  // namespace

std::string SafeDownloadName(const std::string& name, const std::string& contentType) {
    // Decoded after the query is cut off: an encoded '?' or '#' is part of the name, an encoded '/' must not be.
    std::string safe = PercentDecode(name.substr(0, name.find_first_of("?#")));
    // Bytes that are no UTF-8 come from old pages, whose letters are those of Western Europe.
    if (ToValidUtf8(safe) != safe) safe = Latin1ToUtf8(safe);
    safe = WithoutInvisible(safe);
    safe = safe.substr(safe.find_last_of("/\\") + 1);
    std::erase_if(safe, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
    for (char& c : safe)
        if (std::string_view("<>:\"|?*").find(c) != std::string_view::npos) c = '_';
    safe.erase(0, std::min(safe.find_first_not_of(". "), safe.size()));
    safe.erase(safe.find_last_not_of(". ") + 1);
    if (safe.empty()) safe = "image";
    const std::string extension = ExtensionOfType(contentType);
    std::string end = HasPictureExtension(safe) || extension.empty() ? std::string() : "." + extension;
    if (end.empty() && safe.size() > kLongestName) {
        const std::size_t dot = safe.rfind('.');
        if (dot != std::string::npos && dot > 0 && safe.size() - dot - 1 <= kLongestExtension) {
            end = safe.substr(dot);
            safe.erase(dot);
        }
    }
    return ShortenText(safe, kLongestName - end.size()) + end;
}

void DownloadFiles(const VecParameter& parameters, const OrvWebServices& services, std::uint64_t maximumBytes,
                   const OrvJob& job) {
    Download(parameters, services, maximumBytes, job).Run();
}
