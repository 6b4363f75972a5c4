#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "orvcore/formats/damage.h"
#include "orvcore/formats/evidencefacts.h"
#include "orvcore/model/job.h"
#include "orvcore/model/sharedvalues.h"
#include "zorbase/fileprotection.h"
#include "zorbase/files.h"
#include "zorbase/hash.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

// Whether somebody else shares the buffer of a value that only its owner holds.
template <typename T>
bool IsPartInUse(const T&) {
    return false;
}
inline bool IsPartInUse(const cv::Mat& mat) {
    return mat.u != nullptr && CV_XADD(&mat.u->refcount, 0) > 1;
}
inline bool IsPartInUse(const DecodedImage& decoded) {
    return IsPartInUse(decoded.image.GetMat());
}

// One loaded file as an immutable snapshot: its bytes as they were when it was read, and what follows from
// them, worked out once on first need. Held by std::shared_ptr<const …>: loading another file into a slot
// swaps the pointer, and whoever still holds the old one finishes with it in peace. Safe on any thread.
class OrvLoadedFile {
  public:
    // Reads the whole file, read-only. Throws ZorException that names the file and the reason; files above
    // maximumBytes are refused.
    static std::shared_ptr<const OrvLoadedFile> Load(const std::string& path, std::uint64_t maximumBytes,
                                                     const OrvJob& job);

    // Different for every load, also of the same file.
    std::uint64_t GetSerial() const { return m_serial; }
    const std::string& GetPath() const { return m_path; }  // absolute, bytes
    const Bytes& GetBytes() const { return m_bytes; }
    const FileFacts& GetFacts() const { return m_facts; }
    const std::string& GetSha256() const { return m_sha256; }
    // Whether it was changed while it was read: what was there at the start is what counts.
    bool HasChanged() const { return m_hasChanged; }

    const FileHashes& GetHashes(const OrvJob& job) const;
    const ImageInfo& GetInfo() const;
    // What every reader has found wrong so far: headers and structure, and the decoder once the picture was decoded.
    FileDamage GetDamage() const;
    // Already worked out for a file in a slot, so that the GUI thread may ask.
    const EvidenceFacts& GetEvidenceFacts() const;

    // The decoded picture, shared by everybody who asks. Throws ZorException when it cannot be decoded, then the same to
    // every further caller; an aborted decode, and one that lacked memory, is tried again by the next.
    std::shared_ptr<const DecodedImage> GetDecoded(const OrvJob& job) const;
    bool IsDecoded() const { return m_shared.Has(kDecoded); }

    // What several analyses need of this file (see orvcore/filter/intermediates.h): made by `make` once per key, as a T, however
    // many ask; the key names the quantity with every parameter that it depends on. bytesOf tells how much memory the value holds.
    // An exception of make reaches the caller. One key always stands for one T.
    template <typename T, typename Make, typename BytesOf>
    std::shared_ptr<const T> GetShared(const std::string& key, const Make& make,
                                       const BytesOf& bytesOf) const {
        return std::static_pointer_cast<const T>(m_shared.Get(key, [&]() -> OrvSharedValues::Made {
            auto value = std::make_shared<const T>(make());
            const T* raw = value.get();
            return {value, bytesOf(*value), [raw] { return IsPartInUse(*raw); }};
        }));
    }

  private:
    static constexpr const char* kDecoded = "decoded";

    OrvLoadedFile() = default;

    std::uint64_t m_serial = 0;
    std::string m_path;
    Bytes m_bytes;
    FileFacts m_facts;
    std::string m_sha256;
    bool m_hasChanged = false;
    std::unique_ptr<FileProtection> m_protection;  // nothing writes to it while it is held
    mutable std::mutex m_hashMutex;
    mutable std::mutex m_infoMutex;
    mutable std::unique_ptr<FileHashes> m_hashes;
    mutable std::unique_ptr<ImageInfo> m_info;
    mutable std::unique_ptr<FileDamage> m_damage;
    mutable std::vector<std::string> m_decodeWarnings;  // under m_infoMutex
    mutable std::unique_ptr<EvidenceFacts> m_evidenceFacts;
    mutable OrvSharedValues m_shared;
};

using OrvFilePtr = std::shared_ptr<const OrvLoadedFile>;
