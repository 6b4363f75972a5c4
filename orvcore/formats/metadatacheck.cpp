#include "orvcore/formats/metadatacheck.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string_view>

#include "orvcore/formats/jpegstructure.h"
#include "zorbase/text.h"

namespace {

constexpr std::int64_t kSecondsADay = 86400;
// A picture is written within moments after it was taken; anything later was another hand.
constexpr std::int64_t kWritingSeconds = 120;
constexpr std::size_t kQuotedBytes = 80;

// Programs that change pictures, lower case, as the software fields name them: by the beginning of a word…
constexpr const char* kEditors[] = {
    "photoshop",      "lightroom",      "adobe",     "paint.net",     "paintshop",   "paint shop",
    "affinity",       "snapseed",       "picsart",   "pixelmator",    "corel",       "acdsee",
    "acd systems",    "capture one",    "darktable", "rawtherapee",   "imagemagick", "graphicsmagick",
    "irfanview",      "xnview",         "picasa",    "luminar",       "photoscape",  "photofiltre",
    "krita",          "facetune",       "meitu",     "faststone",     "photoline",   "photo editor",
    "olympus master", "camedia master", "quicktime", "digikam",       "polarr",      "windows photo gallery",
    "zoner photo",    "photoimpact",    "ulead",     "photodirector", "photofunia",  "beautyplus",
    "inshot",
};
// …and these only as whole words.
constexpr const char* kEditorWords[] = {"gimp", "paint", "dxo", "canva", "vsco", "topaz", "fotor", "remini"};

// Makers whose cameras, but for some early ones, write a maker note into every JPEG, lower case, as the make begins.
constexpr const char* kNoteWriters[] = {"canon", "nikon", "olympus", "fujifilm", "pentax", "panasonic"};

std::string Quote(const std::string& text) {
    std::string line = Trim(text);
    std::replace(line.begin(), line.end(), '\n', ' ');
    if (line.size() > kQuotedBytes) {
        std::size_t end = kQuotedBytes;
        while (end > 0 && (static_cast<unsigned char>(line[end]) & 0xC0) == 0x80) --end;
        line = line.substr(0, end) + "…";
    }
    return "\"" + line + "\"";
}

std::string ValueOf(const MetadataSet& set, const char* key) {
    const MetadataEntry* entry = FindMetadata(set, key);
    return entry != nullptr ? Trim(entry->raw) : std::string();
}

class Checker {
  public:
    Checker(const MetadataSet& set, const MetadataSurroundings& surroundings)
        : m_set(set), m_facts(set.facts.FromExif()), m_around(surroundings) {}

    std::vector<MetadataFinding> Run() {
        CheckSource();
        CheckPrograms();
        CheckHistory();
        CheckTimes();
        CheckSubSeconds();
        CheckPosition();
        CheckSize();
        CheckThumbnail();
        CheckMakerNote();
        CheckCopies();
        return std::move(m_findings);
    }

  private:
    void Add(const std::string& text, bool isStrong = false) { m_findings.push_back({isStrong, text}); }

    void CheckSource() {
        std::string type = ValueOf(m_set, "Xmp.iptcExt.DigitalSourceType");
        if (const std::size_t slash = type.rfind('/'); slash != std::string::npos) type.erase(0, slash + 1);
        const std::string lower = ToLower(type);
        if (lower.find("algorithmicmedia") != std::string::npos) {
            Add("The metadata declares the kind of source as " + Quote(type) +
                    ": by its own words the picture was made, wholly or in part, by an algorithm.",
                true);
        } else if (lower.find("composite") != std::string::npos) {
            Add("The metadata declares the kind of source as " + Quote(type) +
                    ": by its own words the picture is put together of several.",
                true);
        }
    }

    void CheckPrograms() {
        std::vector<std::string> named;
        for (const std::string& text : {m_set.facts.software, ValueOf(m_set, "Exif.Image.ProcessingSoftware"),
                                        ValueOf(m_set, "Xmp.xmp.CreatorTool")}) {
            if (IsEditingSoftware(text) && std::find(named.begin(), named.end(), text) == named.end())
                named.push_back(text);
        }
        for (const std::string& text : named)
            Add("The metadata names " + Quote(text) +
                ", a program that changes pictures. Turning, cropping or merely saving with it leaves the same "
                "entry, and the entry can be written by hand.");
    }

    void CheckHistory() {
        std::size_t steps = 0;
        std::string agent;
        for (const MetadataEntry& entry : m_set.entries) {
            if (!entry.key.starts_with("Xmp.xmpMM.History[")) continue;
            if (entry.key.ends_with("stEvt:action")) ++steps;
            if (entry.key.ends_with("stEvt:softwareAgent")) agent = entry.raw;
        }
        if (steps == 0) return;
        Add("The XMP block keeps a history of " + ToString(static_cast<int>(steps)) +
            (steps == 1 ? " step" : " steps") +
            (agent.empty() ? std::string() : ", the last by " + Quote(agent)) +
            ". It says that the file went through such a program, not what was changed in the picture.");
    }

    void CheckTimes() {
        const auto taken = ParseMetadataTime(m_facts.dateTimeOriginal);
        const auto changed = ParseMetadataTime(m_facts.dateTime);
        if (!taken || !changed) return;
        if (*taken > *changed) {
            Add("The time of taking (" + m_facts.dateTimeOriginal +
                ") is later than the time of the last change (" + m_facts.dateTime +
                "). A time set by hand does this; so does a program that writes one of them in another time zone.");
        } else if (*changed - *taken > kWritingSeconds) {
            Add("The time of the last change (" + m_facts.dateTime + ") is later than the time of taking (" +
                m_facts.dateTimeOriginal +
                "): something wrote the file again after it was taken. Turning it or adding a title is enough.");
        }
    }

    void CheckSubSeconds() {
        static constexpr const char* kKeys[][2] = {
            {"Exif.Image.DateTime", "Exif.Photo.SubSecTime"},
            {"Exif.Photo.DateTimeOriginal", "Exif.Photo.SubSecTimeOriginal"},
            {"Exif.Photo.DateTimeDigitized", "Exif.Photo.SubSecTimeDigitized"}};
        int given = 0;
        for (const auto& [time, fraction] : kKeys) {
            if (ValueOf(m_set, time).empty()) return;
            given += ValueOf(m_set, fraction).empty() ? 0 : 1;
        }
        if (given == 1 || given == 2)
            Add("Fractions of a second are given for " + ToString(given) +
                " of the three times. Most cameras that write them write all three; a program that renews one time "
                "often drops its fraction.");
    }

    // Dates two days apart are more than a day apart in whatever time zone.
    void CheckPosition() {
        const auto fix = ParseMetadataTime(ValueOf(m_set, "Exif.GPSInfo.GPSDateStamp") + " 00:00:00");
        const auto taken = ParseMetadataTime(m_facts.dateTimeOriginal);
        if (!fix || !taken) return;
        const std::int64_t days = std::abs(*fix / kSecondsADay - *taken / kSecondsADay);
        if (days >= 2)
            Add("The date of the position (" + ValueOf(m_set, "Exif.GPSInfo.GPSDateStamp") +
                ") and the time of taking (" + m_facts.dateTimeOriginal +
                ") lie more than a day apart. A clock that was never set and an old position do this too.");
    }

    void CheckSize() {
        const int x = m_facts.pixelXDimension;
        const int y = m_facts.pixelYDimension;
        const bool isKnown = x > 0 && y > 0 && m_around.width > 0 && m_around.height > 0;
        if (m_around.format != FileFormat::Jpeg || !isKnown || (x == m_around.width && y == m_around.height))
            return;
        const std::string sizes = "The metadata states a picture of " + ToString(x) + " x " + ToString(y) +
                                  " pixels, the file holds one of " + ToString(m_around.width) + " x " +
                                  ToString(m_around.height) + ". ";
        const bool isTurned = x == m_around.height && y == m_around.width;
        Add(sizes + (isTurned
                         ? "The picture was turned, and the entry kept."
                         : "Cropping or scaling with a program that keeps the entry does this; so do a few "
                           "cameras that interpolate."));
    }

    void CheckThumbnail() {
        const int width = m_around.thumbnailWidth;
        const int height = m_around.thumbnailHeight;
        if (width == height || width <= 0 || m_around.width == m_around.height || m_around.width <= 0) return;
        if ((width > height) == (m_around.width > m_around.height)) return;
        Add("The picture is " +
            std::string(m_around.width > m_around.height ? "wider than high" : "higher than wide") +
            ", its thumbnail (" + ToString(width) + " x " + ToString(height) +
            ") the other way round. Turning or cropping with a program that keeps the thumbnail does this; a camera "
            "may also turn only one of them.");
    }

    void CheckMakerNote() {
        if (m_around.format != FileFormat::Jpeg || m_facts.dateTimeOriginal.empty()) return;
        const std::string make = ToLower(m_facts.make);
        const bool writes = std::any_of(std::begin(kNoteWriters), std::end(kNoteWriters),
                                        [&make](const char* writer) { return make.starts_with(writer); });
        const bool has =
            FindMetadata(m_set, "Exif.Photo.MakerNote") != nullptr ||
            std::any_of(m_set.entries.begin(), m_set.entries.end(),
                        [](const MetadataEntry& entry) { return entry.kind == MetadataKind::MakerNote; });
        if (writes && !has)
            Add("The maker of the camera is given as " + Quote(m_facts.make) +
                ", most of whose cameras write a maker note; there is none. Programs and services that shorten metadata "
                "remove it.");
    }

    void CheckCopies() {
        static constexpr const char* kPairs[][3] = {{"Exif.Image.Make", "Xmp.tiff.Make", "maker"},
                                                    {"Exif.Image.Model", "Xmp.tiff.Model", "camera model"}};
        for (const auto& [exif, xmp, name] : kPairs) {
            const std::string first = ValueOf(m_set, exif);
            const std::string second = ValueOf(m_set, xmp);
            if (first.empty() || second.empty() || ToLower(first) == ToLower(second)) continue;
            Add(std::string("EXIF and XMP state the ") + name + " differently: " + Quote(first) + " and " +
                Quote(second) + ". Metadata copied from another file does this.");
        }
        const auto exif = ParseMetadataTime(m_facts.dateTimeOriginal);
        const std::string xmpText = ValueOf(m_set, "Xmp.exif.DateTimeOriginal");
        const auto xmp = ParseMetadataTime(xmpText);
        if (exif && xmp && std::abs(*exif - *xmp) > kSecondsADay)
            Add("EXIF and XMP state the time of taking more than a day apart: " + m_facts.dateTimeOriginal +
                " and " + Quote(xmpText) +
                ". Metadata copied from another file or corrected in one place does this.");
    }

    const MetadataSet& m_set;
    const MetadataFacts m_facts;  // of EXIF alone: dates of XMP may be in another time zone
    const MetadataSurroundings& m_around;
    std::vector<MetadataFinding> m_findings;
};

}  // namespace

bool IsEditingSoftware(const std::string& software) {
    const std::string text = ToLower(software);
    const auto isLetter = [&text](std::size_t at) {
        return at < text.size() && text[at] >= 'a' && text[at] <= 'z';
    };
    const auto names = [&](std::string_view name, bool isWord) {
        for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + 1))
            if ((at == 0 || !isLetter(at - 1)) && !(isWord && isLetter(at + name.size()))) return true;
        return false;
    };
    return std::any_of(std::begin(kEditors), std::end(kEditors),
                       [&](const char* name) { return names(name, false); }) ||
           std::any_of(std::begin(kEditorWords), std::end(kEditorWords),
                       [&](const char* name) { return names(name, true); });
}

std::vector<MetadataFinding> CheckMetadata(const MetadataSet& set, const MetadataSurroundings& surroundings) {
    return Checker(set, surroundings).Run();
}
