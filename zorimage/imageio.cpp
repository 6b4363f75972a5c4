#include "zorimage/imageio.h"

#include <new>

#include "zorbase/files.h"
#include "zorbase/zorexception.h"
#include "zorimage/codec.h"
#include "zorimage/plausibility.h"

ImageInfo ReadImageInfo(std::span<const std::uint8_t> bytes) {
    ImageInfo info;
    info.format = DetectFormat(bytes);
    const codec::Codec* codec = codec::FindCodec(info.format);
    if (codec == nullptr) return info;
    if (std::string problem = StructureProblem(bytes); !problem.empty()) {
        info.warnings.push_back(std::move(problem));
        return info;
    }
    try {
        codec->readInfo(bytes, info);
    } catch (const std::exception& exception) {
        info.warnings.emplace_back(exception.what());
    }
    if (std::string problem = CutProblem(bytes); !problem.empty())
        info.warnings.push_back(std::move(problem));
    return info;
}

DecodedImage DecodeImage(std::span<const std::uint8_t> bytes, const DecodeProgress& progress) {
    const FileFormat format = DetectFormat(bytes);
    if (format == FileFormat::Empty) ZOR_THROW(Format, "The file is empty.");
    const codec::Codec* codec = codec::FindCodec(format);
    if (codec == nullptr) {
        ZOR_THROW(Format, format == FileFormat::Unknown
                              ? "The file is not of a format that can be shown as a picture."
                              : "The file is of the format " + FormatName(format) +
                                    ", which cannot be shown as a picture.");
    }
    if (const std::string problem = StructureProblem(bytes); !problem.empty()) ZOR_THROW(Format, problem);
    try {
        return codec->decode(
            bytes, progress ? progress : [](double) {});
    } catch (const std::bad_alloc&) {
        ZOR_THROW(Memory, "There is not enough memory to decode this file.");
    } catch (const cv::Exception& exception) {
        ZOR_THROW(Internal, std::string("The picture could not be decoded: ") + exception.what());
    }
}

std::vector<std::uint8_t> EncodeImage(const Image& image, const std::string& extension, int jpegQuality) {
    if (!image.IsValid()) ZOR_THROW(Argument, "There is no picture to save.");
    if (extension == "png") return codec::EncodePng(image);
    if (extension == "jpg" || extension == "jpeg") return codec::EncodeJpeg(image, jpegQuality);
    if (extension == "tif" || extension == "tiff") return codec::EncodeTiff(image);
    if (extension == "bmp") return codec::EncodeBmp(image);
    if (extension == "webp") return codec::EncodeWebp(image);
    ZOR_THROW(Argument, "Pictures cannot be saved as \"" + extension + "\"; use png, jpg, tif, bmp or webp.");
}

void WriteImage(const Image& image, const std::string& path, int jpegQuality) {
    WriteFile(path, EncodeImage(image, PathExtension(path), jpegQuality));
}
