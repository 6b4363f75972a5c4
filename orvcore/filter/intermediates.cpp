#include "orvcore/filter/intermediates.h"

#include "zorbase/zorexception.h"

std::shared_ptr<const JpegStructure> GetJpegStructure(const OrvLoadedFile& file) {
    return file.GetShared<JpegStructure>(
        "jpeg structure", [&] { return ParseJpegStructure(file.GetBytes()); },
        [](const JpegStructure& structure) {
            return sizeof structure + structure.segments.size() * sizeof(JpegSegment);
        });
}

std::shared_ptr<const MetadataSet> GetMetadata(const OrvLoadedFile& file) {
    return file.GetShared<MetadataSet>(
        "metadata", [&] { return ReadMetadata(file.GetBytes()); },
        [](const MetadataSet& metadata) {
            std::size_t bytes = sizeof metadata;
            for (const MetadataEntry& entry : metadata.entries) bytes += sizeof entry + entry.value.size();
            return bytes;
        });
}

cv::Mat GetEightBits(const OrvLoadedFile& file, const OrvJob& job) {
    const auto decoded = file.GetDecoded(job);
    const Image& image = decoded->image;
    if (!image.IsValid()) ZOR_THROW(Format, "Nothing of the picture could be decoded.");
    return image.GetChannels() <= 2 ? image.ToGray().GetMat() : image.ToColor().GetMat();
}

cv::Mat GetSamples(const OrvLoadedFile& file, const OrvJob& job) {
    const auto decoded = file.GetDecoded(job);
    if (!decoded->image.IsValid()) ZOR_THROW(Format, "Nothing of the picture could be decoded.");
    return decoded->image.GetMat();
}
