#include "orvcore/model/loadedfile.h"

#include <atomic>
#include <filesystem>

#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

std::uint64_t NextSerial() {
    static std::atomic<std::uint64_t> serial{0};
    return ++serial;
}

}  // namespace

OrvFilePtr OrvLoadedFile::Load(const std::string& path, std::uint64_t maximumBytes, const OrvJob& job) {
    job.CheckAbort();
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    std::shared_ptr<OrvLoadedFile> file(new OrvLoadedFile);
    file->m_serial = NextSerial();
    file->m_path = error ? path : absolute.lexically_normal().string();

    if (const auto facts = GetFileFacts(path); facts && !facts->isFolder && facts->size > maximumBytes)
        ZOR_THROW(File, "\"" + ToValidUtf8(path) + "\" has " + FormatFileSize(facts->size) +
                            ". The largest file to open is set to " + FormatFileSize(maximumBytes) +
                            "; it can be raised in the program options.");
    Sha256Stream sha256;
    const std::size_t size = ReadFileInto(
        path, file->m_bytes, maximumBytes,
        [&](std::span<const std::uint8_t> piece) {
            job.CheckAbort();
            sha256.Add(piece);
        },
        &file->m_hasChanged);
    file->m_protection = std::make_unique<FileProtection>(path);
    file->m_bytes.resize(size);
    file->m_bytes.shrink_to_fit();
    // The facts are taken after reading: they describe the state that was read, as far as the system can
    // tell.
    if (const auto facts = GetFileFacts(path)) file->m_facts = *facts;
    file->m_facts.size = file->m_bytes.size();
    file->m_sha256 = sha256.Finish();
    // Read here, on the worker: whoever paints asks for it.
    file->GetDamage();
    return file;
}

const FileHashes& OrvLoadedFile::GetHashes(const OrvJob& job) const {
    const std::lock_guard lock(m_hashMutex);
    if (!m_hashes)
        m_hashes = std::make_unique<FileHashes>(
            ComputeHashes(std::span<const std::uint8_t>(m_bytes), [&job](double) { job.CheckAbort(); }));
    return *m_hashes;
}

const ImageInfo& OrvLoadedFile::GetInfo() const {
    const std::lock_guard lock(m_infoMutex);
    if (!m_info) m_info = std::make_unique<ImageInfo>(ReadImageInfo(m_bytes));
    return *m_info;
}

FileDamage OrvLoadedFile::GetDamage() const {
    const ImageInfo& info = GetInfo();
    const std::lock_guard lock(m_infoMutex);
    if (!m_damage) m_damage = std::make_unique<FileDamage>(FindDamage(m_bytes, info));
    FileDamage damage = *m_damage;
    if (m_hasChanged)
        AddDamage(damage, {"The file changed while it was read; what was there at the start is shown."});
    AddDamage(damage, m_decodeWarnings);
    return damage;
}

const EvidenceFacts& OrvLoadedFile::GetEvidenceFacts() const {
    const ImageInfo& info = GetInfo();
    const std::lock_guard lock(m_infoMutex);
    if (!m_evidenceFacts) m_evidenceFacts = std::make_unique<EvidenceFacts>(ReadEvidenceFacts(m_bytes, info));
    return *m_evidenceFacts;
}

std::shared_ptr<const DecodedImage> OrvLoadedFile::GetDecoded(const OrvJob& job) const {
    return GetShared<DecodedImage>(
        kDecoded,
        [&] {
            DecodedImage decoded =
                DecodeImage(m_bytes, [&job](double done) { job.SetProgress(done, "Decoding the picture"); });
            const std::lock_guard lock(m_infoMutex);
            m_decodeWarnings = decoded.warnings;
            return decoded;
        },
        [](const DecodedImage& decoded) {
            const cv::Mat& mat = decoded.image.GetMat();
            return mat.total() * mat.elemSize();
        });
}
