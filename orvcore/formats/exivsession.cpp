#include "orvcore/formats/exivsession.h"

#include <algorithm>
#include <climits>

#include "orvcore/formats/metadatablocks.h"
#include "zorbase/text.h"
#include "zorimage/imageformat.h"
#include "zorimage/plausibility.h"

namespace {

constexpr std::size_t kMaxWarnings = 100;

std::mutex& LibraryMutex() {
    static std::mutex mutex;
    return mutex;
}

// The session whose thread holds the library; guarded by its lock.
ExivSession* g_session = nullptr;

void CollectLog(int level, const char* text) {
    if (g_session == nullptr || level < Exiv2::LogMsg::warn) return;
    g_session->Warn(Trim(text));
}

locale_t PlainLocale() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

// The library's readers of films run wild on damaged files, and no film has metadata that the program shows.
bool IsReadFormat(FileFormat format) {
    switch (format) {
        case FileFormat::Jpeg:
        case FileFormat::Png:
        case FileFormat::Tiff:
        case FileFormat::Webp:
        case FileFormat::Jpeg2000:
        case FileFormat::Heif:
        case FileFormat::Avif:
        case FileFormat::Raw:
        case FileFormat::Photoshop:
            return true;
        default:
            return false;
    }
}

}  // namespace

ExivSession::ExivSession() : m_lock(LibraryMutex()), m_oldLocale(uselocale(PlainLocale())) {
    static const bool ready = [] {
        Exiv2::LogMsg::setHandler(CollectLog);
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::warn);
        Exiv2::enableBMFF(true);
        return Exiv2::XmpParser::initialize();
    }();
    g_session = this;
    if (!ready) Warn("XMP cannot be read: its parser did not start.");
}

ExivSession::~ExivSession() {
    g_session = nullptr;
    uselocale(m_oldLocale);
}

void ExivSession::Warn(const std::string& text) {
    const std::string clean = ToValidUtf8(text);
    if (m_warnings.size() < kMaxWarnings &&
        std::find(m_warnings.begin(), m_warnings.end(), clean) == m_warnings.end())
        m_warnings.push_back(clean);
}

bool ExivSession::Guard(const std::function<void()>& work) {
    try {
        work();
        return true;
    } catch (const std::exception& e) {
        Warn(std::string("Some metadata could not be read: ") + e.what());
    }
    return false;
}

Exiv2::Image::AutoPtr ExivSession::Rescue(ByteSpan bytes, Exiv2::Image::AutoPtr image) {
    const MetadataBlocks blocks = SearchMetadataBlocks(bytes);
    // An empty picture in memory to hold what is found.
    if (image.get() == nullptr) Guard([&] { image = Exiv2::ImageFactory::create(Exiv2::ImageType::jpeg); });
    if (image.get() != nullptr && image->exifData().empty() && !blocks.exif.empty())
        Guard([&] {
            Exiv2::ExifParser::decode(image->exifData(), blocks.exif.data(),
                                      static_cast<std::uint32_t>(blocks.exif.size()));
        });
    if (image.get() != nullptr && image->xmpData().empty() && !blocks.xmp.empty())
        Guard([&] { Exiv2::XmpParser::decode(image->xmpData(), TextOf(blocks.xmp)); });
    const bool hasAny = image.get() != nullptr && (!image->exifData().empty() || !image->xmpData().empty() ||
                                                   !image->iptcData().empty());
    m_reading = hasAny ? MetadataReading::Part : MetadataReading::NotRead;
    Warn(hasAny ? "The metadata could not be read as a whole: what is told is only a part."
                : "The metadata could not be read: whether there is any is not known.");
    return hasAny ? image : Exiv2::Image::AutoPtr();
}

Exiv2::Image::AutoPtr ExivSession::Open(ByteSpan bytes) {
    const FileFormat format = DetectFormat(bytes);
    Exiv2::Image::AutoPtr image;
    if (!IsReadFormat(format)) return image;
    // The library follows boxes as deep as they go, and copies each of them.
    if (const std::string problem = StructureProblem(bytes); !problem.empty()) {
        Warn("The metadata were not read. " + problem);
        m_reading = MetadataReading::NotRead;
        return image;
    }
    if (bytes.size() > static_cast<std::size_t>(LONG_MAX)) return image;
    bool isWhole =
        Guard([&] { image = Exiv2::ImageFactory::open(bytes.data(), static_cast<long>(bytes.size())); });
    // Damaged metadata throw half way; what was read until then is kept.
    isWhole = isWhole && Guard([&] { image->readMetadata(); });
    if (!isWhole) image = Rescue(bytes, image);
    return image;
}
