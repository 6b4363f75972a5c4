#include "orvcore/formats/pdfimages.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <exception>
#include <map>
#include <set>

#include "orvcore/formats/pdfimagestream.h"
#include "orvcore/formats/pdfpages.h"
#include "orvcore/formats/qpdfheaders.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/plausibility.h"

namespace {

constexpr std::size_t kMaxWarnings = 200;
constexpr std::size_t kMaxFiles = 100000;
constexpr std::size_t kMaxPending = 100000;  // objects of one page still to be looked at

// Carries the exception of whoever wants to stop past the handlers for damaged objects.
struct Stop {
    std::exception_ptr cause;
};

class Dumper {
  public:
    Dumper(QPDF& pdf, std::size_t fileBytes, const std::string& folder, const std::string& stem,
           const PdfDumpOptions& options, const std::function<void(double)>& progress)
        // The image itself and the file made of it are held beside what is unpacked.
        : m_pdf(pdf),
          m_folder(folder),
          m_stem(stem),
          m_options(options),
          m_progress(progress),
          m_maximumBytes(MemoryLimit(fileBytes) / 3) {}

    PdfDumpResult Run() {
        const PdfPages listed = ListPdfPages(m_pdf);
        const std::vector<QPDFObjectHandle>& pages = listed.pages;
        for (const std::string& warning : listed.warnings) Warn(warning);
        if (pages.empty()) ZOR_THROW(Format, "The document has no pages that can be read.");
        m_stored = m_pdf.getXRefTable();
        const int count = static_cast<int>(pages.size());
        const int last = m_options.lastPage <= 0 ? count : std::min(m_options.lastPage, count);
        if (m_options.firstPage < 1 || m_options.firstPage > last)
            ZOR_THROW(Argument, "The first page to process must lie between 1 and " + std::to_string(last) +
                                    "; the document has " + std::to_string(count) + " pages.");
        for (int page = m_options.firstPage; page <= last; ++page) {
            m_page = page;
            m_done = double(page - m_options.firstPage) / double(last - m_options.firstPage + 1);
            Alive();
            Guard("Page " + std::to_string(page),
                  [&] { LookAtPage(pages[static_cast<std::size_t>(page - 1)]); });
            ++m_result.pages;
        }
        if (!m_result.files.empty()) SyncFolder(m_folder);
        m_done = 1.0;
        Alive();
        return std::move(m_result);
    }

    void Warn(const std::string& text) {
        if (m_result.warnings.size() < kMaxWarnings) m_result.warnings.push_back(ToValidUtf8(text));
    }

  private:
    void Alive() const {
        if (!m_progress) return;
        try {
            m_progress(m_done);
        } catch (...) {
            throw Stop{std::current_exception()};
        }
    }

    // Damaged objects make the library throw: the rest of the document is looked at all the same.
    template <typename Work>
    void Guard(const std::string& what, const Work& work) {
        try {
            work();
        } catch (const ZorException& e) {
            if (e.GetKind() == ZorException::Kind::File) throw;
            Warn(what + ": " + e.GetMessage());
        } catch (const std::bad_alloc&) {
            Warn(what + ": there is not enough memory for it.");
        } catch (const std::exception& e) {
            Warn(what + ": " + e.what());
        }
    }

    void LookAtPage(QPDFObjectHandle page) {
        ExternalizeInline(page, "Page " + std::to_string(m_page));
        QPDFPageObjectHelper helper(page);
        m_pending.clear();
        Resources(helper.getAttribute("/Resources", false));
        Guard("Annotations of page " + std::to_string(m_page), [&] { Annotations(page.getKey("/Annots")); });
        while (!m_pending.empty()) {
            QPDFObjectHandle stream = m_pending.front();
            m_pending.pop_front();
            Alive();
            Guard("Object " + std::to_string(stream.getObjectID()), [&] { LookAtStream(stream); });
        }
    }

    // Turns the images inside drawing commands into objects, in memory only.
    void ExternalizeInline(QPDFObjectHandle owner, const std::string& what) {
        Guard(what, [&] {
            const std::size_t limit = std::min(kMaxPdfContent, m_contentLeft);
            const std::size_t size = CountPdfContent(owner, limit, [this] { Alive(); });
            m_contentLeft -= std::min(size, m_contentLeft);
            if (size > limit) {
                Warn(what + ": its drawing commands unpack to more than " + FormatFileSize(limit) +
                     "; images among them were not looked for.");
                return;
            }
            QPDFPageObjectHelper(owner).externalizeInlineImages(0, true);
        });
    }

    void Push(QPDFObjectHandle object) {
        if (!object.isStream() || !m_seen.insert(object.getObjGen()).second) return;
        if (m_pending.size() < kMaxPending)
            m_pending.push_back(object);
        else
            Warn("Page " + std::to_string(m_page) + " names too many objects; some were left out.");
    }

    void PushEntries(QPDFObjectHandle dictionary) {
        if (!dictionary.isDictionary()) return;
        // Pages often share one list: look through it once.
        if (dictionary.isIndirect() && !m_seen.insert(dictionary.getObjGen()).second) return;
        for (const std::string& key : dictionary.getKeys()) Push(dictionary.getKey(key));
    }

    void Resources(QPDFObjectHandle resources) {
        if (!resources.isDictionary()) return;
        PushEntries(resources.getKey("/XObject"));
        PushEntries(resources.getKey("/Pattern"));
        SoftMasks(resources.getKey("/ExtGState"));
        QPDFObjectHandle fonts = resources.getKey("/Font");
        if (!fonts.isDictionary()) return;
        if (fonts.isIndirect() && !m_seen.insert(fonts.getObjGen()).second) return;
        for (const std::string& key : fonts.getKeys()) {
            QPDFObjectHandle font = fonts.getKey(key);
            if (!font.isDictionary()) continue;
            QPDFObjectHandle type = font.getKey("/Subtype");
            if (!type.isName() || type.getName() != "/Type3") continue;
            if (font.isIndirect() && !m_seen.insert(font.getObjGen()).second) continue;
            QPDFObjectHandle inner = font.getKey("/Resources");
            if (inner.isDictionary()) PushEntries(inner.getKey("/XObject"));
        }
    }

    // The groups that graphic states draw masks with.
    void SoftMasks(QPDFObjectHandle states) {
        if (!states.isDictionary()) return;
        if (states.isIndirect() && !m_seen.insert(states.getObjGen()).second) return;
        for (const std::string& key : states.getKeys()) {
            QPDFObjectHandle state = states.getKey(key);
            QPDFObjectHandle mask =
                state.isDictionary() ? state.getKey("/SMask") : QPDFObjectHandle::newNull();
            if (mask.isDictionary()) Push(mask.getKey("/G"));
        }
    }

    void Annotations(QPDFObjectHandle annotations) {
        if (!annotations.isArray()) return;
        for (int i = 0; i < annotations.getArrayNItems(); ++i) {
            QPDFObjectHandle annotation = annotations.getArrayItem(i);
            QPDFObjectHandle looks =
                annotation.isDictionary() ? annotation.getKey("/AP") : QPDFObjectHandle::newNull();
            if (!looks.isDictionary()) continue;
            for (const std::string& key : looks.getKeys()) {
                QPDFObjectHandle look = looks.getKey(key);
                Push(look);
                if (look.isDictionary()) PushEntries(look);
            }
        }
    }

    void LookAtStream(QPDFObjectHandle stream) {
        QPDFObjectHandle dictionary = stream.getDict();
        QPDFObjectHandle type = dictionary.getKey("/Subtype");
        if (type.isName() && type.getName() == "/Image") {
            Push(dictionary.getKey("/SMask"));
            Push(dictionary.getKey("/Mask"));
            WriteImage(stream);
            return;
        }
        // Tiles draw like forms; the library looks for inline images in what is called one. Nothing of this is saved.
        QPDFObjectHandle pattern = dictionary.getKey("/PatternType");
        const bool isTile = pattern.isInteger() && pattern.getIntValue() == 1;
        if (isTile) dictionary.replaceKey("/Subtype", QPDFObjectHandle::newName("/Form"));
        const bool isForm = isTile || (type.isName() && type.getName() == "/Form");
        if (isForm && !dictionary.getKey("/Resources").isDictionary())
            dictionary.replaceKey("/Resources", QPDFObjectHandle::newDictionary());
        if (isForm) ExternalizeInline(stream, "Object " + std::to_string(stream.getObjectID()));
        Resources(dictionary.getKey("/Resources"));
    }

    void WriteImage(const QPDFObjectHandle& stream) {
        const int id = stream.getObjectID();
        const bool isInline = m_stored.count(stream.getObjGen()) == 0;
        char number[64];
        std::snprintf(number, sizeof number, "_p%04d_%c%d", m_page, isInline ? 'i' : 'o',
                      isInline ? ++m_inlineNumber : id);
        const PdfImageFiles image = ExtractPdfImage(stream, m_options, m_maximumBytes, [this] { Alive(); });
        for (const std::string& problem : image.problems)
            Warn("Image " + std::string(number + 1) + ": " + problem + (problem.back() == '.' ? "" : "."));
        for (const PdfImageFile& file : image.files) {
            const std::string path = PathJoin(m_folder, m_stem + number + "." + file.extension);
            if (m_result.files.size() >= kMaxFiles) {
                Warn("The document holds more than " + std::to_string(kMaxFiles) +
                     " images; the others were left out.");
                return;
            }
            // Synced once at the end: thousands of small pictures would wait for the disk each.
            WriteFile(path, file.bytes, FileSync::Later);
            m_result.files.push_back(path);
        }
    }

    QPDF& m_pdf;
    std::string m_folder;
    std::string m_stem;
    const PdfDumpOptions& m_options;
    const std::function<void(double)>& m_progress;
    PdfDumpResult m_result;
    std::deque<QPDFObjectHandle> m_pending;
    std::set<QPDFObjGen> m_seen;
    std::map<QPDFObjGen, QPDFXRefEntry>
        m_stored;                // what the document held before inline images became objects
    std::size_t m_maximumBytes;  // that one image may unpack to
    std::size_t m_contentLeft = kMaxPdfContentInAll;
    int m_inlineNumber = 0;
    int m_page = 0;
    double m_done = 0;
};

// Opens with each form of each password; throws when none fits.
std::shared_ptr<QPDF> Open(std::span<const std::uint8_t> bytes, const PdfDumpOptions& options) {
    std::vector<std::string> passwords = {""};
    for (const std::string* password : {&options.userPassword, &options.ownerPassword}) {
        if (password->empty()) continue;
        for (const std::string& form : PdfPasswordForms(*password)) passwords.push_back(form);
    }
    for (const std::string& password : passwords) {
        const std::shared_ptr<QPDF> pdf = QPDF::create();
        const std::shared_ptr<QPDFLogger> quiet = QPDFLogger::create();
        quiet->setWarn(quiet->discard());
        quiet->setError(quiet->discard());
        pdf->setSuppressWarnings(true);
        pdf->setLogger(quiet);
        try {
            pdf->processMemoryFile("document", reinterpret_cast<const char*>(bytes.data()), bytes.size(),
                                   password.c_str());
            return pdf;
        } catch (const QPDFExc& e) {
            if (e.getErrorCode() != qpdf_e_password)
                ZOR_THROW(Format, "The document cannot be read: " + ToValidUtf8(e.getMessageDetail()) + ".");
        } catch (const std::exception& e) {
            ZOR_THROW(Format, "The document cannot be read: " + ToValidUtf8(e.what()) + ".");
        }
    }
    ZOR_THROW(Argument, passwords.size() == 1
                            ? "The document is encrypted. Enter its owner password or its user password."
                            : "The document is encrypted and the password is wrong.");
}

// Letters of the western scripts as the preparation of passwords (RFC 4013) wants them; others stay.
std::string Prepare(const std::string& password) {
    struct Row {
        const char* from;
        const char* to;
    };
    static constexpr Row kRows[] = {{"\xC2\xAD", ""},
                                    {"\xE2\x80\x8B", ""},
                                    {"\xE2\x80\x8C", ""},
                                    {"\xE2\x80\x8D", ""},
                                    {"\xE2\x81\xA0", ""},
                                    {"\xEF\xBB\xBF", ""},
                                    {"\xC2\xA0", " "},
                                    {"\xE2\x80\xAF", " "},
                                    {"\xE3\x80\x80", " "},
                                    {"\xC2\xAA", "a"},
                                    {"\xC2\xBA", "o"},
                                    {"\xC2\xB2", "2"},
                                    {"\xC2\xB3", "3"},
                                    {"\xC2\xB9", "1"},
                                    {"\xC2\xB5", "\xCE\xBC"},
                                    {"\xC2\xBC",
                                     "1\xE2\x81\x84"
                                     "4"},
                                    {"\xC2\xBD",
                                     "1\xE2\x81\x84"
                                     "2"},
                                    {"\xC2\xBE",
                                     "3\xE2\x81\x84"
                                     "4"},
                                    {"\xE2\x85\xA8", "IX"},
                                    {"\xEF\xAC\x81", "fi"},
                                    {"\xEF\xAC\x82", "fl"}};
    std::string result;
    for (std::size_t at = 0; at < password.size();) {
        const Row* hit = nullptr;
        for (const Row& row : kRows)
            if (password.compare(at, std::char_traits<char>::length(row.from), row.from) == 0) hit = &row;
        if (hit == nullptr) {
            result += password[at++];
        } else {
            result += hit->to;
            at += std::char_traits<char>::length(hit->from);
        }
    }
    return result;
}

}  // namespace

std::vector<std::string> PdfPasswordForms(const std::string& password) {
    std::vector<std::string> forms = {password, Prepare(password)};
    for (const std::string& form : QUtil::possible_repaired_encodings(password)) forms.push_back(form);
    std::set<std::string> known;
    std::erase_if(forms, [&known](const std::string& form) { return !known.insert(form).second; });
    return forms;
}

PdfDumpResult DumpPdfImages(std::span<const std::uint8_t> bytes, const std::string& folder,
                            const std::string& baseName, const PdfDumpOptions& options,
                            const std::function<void(double)>& progress) {
    if (const std::string problem = PdfStructureProblem(bytes); !problem.empty())
        ZOR_THROW(Format, "The document was not read. " + problem);
    const std::shared_ptr<QPDF> pdf = Open(bytes, options);
    Dumper dumper(*pdf, bytes.size(), folder, PathName(baseName), options, progress);
    PdfDumpResult result;
    try {
        result = dumper.Run();
    } catch (const Stop& stop) {
        std::rethrow_exception(stop.cause);
    } catch (const ZorException&) {
        throw;
    } catch (const std::bad_alloc&) {
        ZOR_THROW(Memory, "There is not enough memory to read the document.");
    } catch (const QPDFExc& e) {
        ZOR_THROW(Format,
                  "The document is too damaged to be read: " + ToValidUtf8(e.getMessageDetail()) + ".");
    } catch (const std::exception& e) {
        ZOR_THROW(Format, "The document is too damaged to be read: " + ToValidUtf8(e.what()) + ".");
    }
    for (const QPDFExc& warning : pdf->getWarnings())
        if (result.warnings.size() < kMaxWarnings) result.warnings.push_back(ToValidUtf8(warning.what()));
    return result;
}
