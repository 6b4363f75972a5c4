#include "orvcore/filter/intermediates.h"

#include "orvcore/analysis/blockdct.h"
#include "orvcore/analysis/luminance.h"
#include "orvcore/analysis/waveletresidual.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr float kJpegLevel = 128.0F;  // taken from every sample before the transform

// A matrix under a key, made from the part of the job that is left when what it is made from is there.
template <typename Make>
cv::Mat GetPlane(const OrvLoadedFile& file, const std::string& key, const Make& make) {
    return *file.GetShared<cv::Mat>(key, make, BytesOfMat);
}

Image GetPicture(const OrvLoadedFile& file, const OrvJob& job) {
    const auto decoded = file.GetDecoded(job);
    if (!decoded->image.IsValid()) ZOR_THROW(Format, "Nothing of the picture could be decoded.");
    return decoded->image;
}

}  // namespace

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

std::shared_ptr<const JpegCoefficients> GetJpegCoefficients(const OrvLoadedFile& file, const OrvJob& job) {
    return file.GetShared<JpegCoefficients>(
        "jpeg coefficients",
        [&] {
            job.SetProgress(0.0, "Reading the coefficients");
            return ReadJpegCoefficients(file.GetBytes(), JpegComponentChoice::All, job.Part());
        },
        [](const JpegCoefficients& coefficients) {
            std::size_t bytes = sizeof coefficients;
            for (const JpegCoefficientPlane& component : coefficients.components)
                bytes += BytesOfMat(component.coefficients);
            return bytes;
        });
}

cv::Mat GetEightBits(const OrvLoadedFile& file, const OrvJob& job) {
    const Image image = GetPicture(file, job);
    const bool isGrey = image.GetChannels() <= 2;
    if (image.GetMat().type() == (isGrey ? CV_8UC1 : CV_8UC3)) return image.GetMat();
    return GetPlane(file, "eight bits",
                    [&] { return isGrey ? image.ToGray().GetMat() : image.ToColor().GetMat(); });
}

cv::Mat GetGrey(const OrvLoadedFile& file, const OrvJob& job) {
    const Image image = GetPicture(file, job);
    if (image.GetMat().type() == CV_8UC1) return image.GetMat();
    return GetPlane(file, "grey", [&] { return image.ToGray().GetMat(); });
}

cv::Mat GetLuminance(const OrvLoadedFile& file, const OrvJob& job) {
    return GetPlane(file, "luminance", [&] {
        const OrvJob decoding = job.Piece(0.0, 0.5, {});
        const Image image = GetPicture(file, decoding);
        return ComputeLuminance(image.GetMat(), job.Part(0.5, 1.0));
    });
}

cv::Mat GetBlockDct(const OrvLoadedFile& file, cv::Point origin, const OrvJob& job) {
    const std::string key = "block dct " + ToString(origin.x) + " " + ToString(origin.y);
    return GetPlane(file, key, [&] {
        const OrvJob before = job.Piece(0.0, 0.5, {});
        cv::Mat coefficients;
        ForwardBlockDct(GetLuminance(file, before), origin, coefficients, kJpegLevel, job.Part(0.5, 1.0));
        return coefficients;
    });
}

cv::Mat GetNoiseResidual(const OrvLoadedFile& file, double sigma, const OrvJob& job) {
    return GetPlane(file, "noise residual " + ToString(sigma), [&] {
        const OrvJob before = job.Piece(0.0, 0.2, {});
        return WaveletResidual(GetLuminance(file, before), sigma, job.Part(0.2, 1.0));
    });
}

cv::Mat GetSamples(const OrvLoadedFile& file, const OrvJob& job) {
    const auto decoded = file.GetDecoded(job);
    if (!decoded->image.IsValid()) ZOR_THROW(Format, "Nothing of the picture could be decoded.");
    return decoded->image.GetMat();
}
