#include "orvcore/tools/batch/camerafingerprints.h"

#include <cmath>
#include <filesystem>
#include <limits>
#include <optional>

#include "orvcore/analysis/fingerprintfile.h"
#include "orvcore/filter/filterresult.h"
#include "orvcore/formats/editingsoftware.h"
#include "orvcore/formats/metadata.h"
#include "orvcore/model/collections.h"
#include "orvcore/tools/folder/foldertable.h"
#include "zorbase/appversion.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

constexpr std::uint64_t kLargestFile = std::uint64_t{2} << 30;

struct Picture {
    cv::Mat pixels;  // 8 bits, grey or B, G, R
    MetadataFacts facts;
};

Picture ReadPicture(const std::string& path, const OrvJob& job) {
    const auto facts = GetFileFacts(path);
    if (facts && facts->size > kLargestFile) ZOR_THROW(File, "Larger than 2 GiB.");
    const Bytes bytes = ReadFileBytes(path);
    job.CheckAbort();
    Picture picture;
    picture.facts = ReadMetadataFacts(bytes);
    const DecodedImage decoded = DecodeImage(bytes, [&job](double) { job.CheckAbort(); });
    if (!decoded.image.IsValid()) ZOR_THROW(Format, "Nothing of it could be decoded.");
    picture.pixels =
        decoded.image.GetChannels() <= 2 ? decoded.image.ToGray().GetMat() : decoded.image.ToColor().GetMat();
    return picture;
}

// Another camera than the first picture's; what is not stated contradicts nothing.
bool IsOtherCamera(const MetadataFacts& a, const MetadataFacts& b) {
    const auto differ = [](const std::string& x, const std::string& y) {
        return !x.empty() && !y.empty() && x != y;
    };
    return differ(a.make, b.make) || differ(a.model, b.model) || differ(a.serial, b.serial);
}

// A name that is one file name anywhere.
std::string FileNameOf(const std::string& name) {
    std::string clean;
    for (const char c : name) {
        const bool isPlain = (static_cast<unsigned char>(c) >= 0x80) ||
                             std::isalnum(static_cast<unsigned char>(c)) != 0 || c == ' ' || c == '-' ||
                             c == '_' || c == '.';
        clean += isPlain ? c : '_';
    }
    while (!clean.empty() && (clean.front() == '.' || clean.front() == ' ')) clean.erase(0, 1);
    if (clean.size() > 100) clean.resize(100);
    return clean.empty() ? "camera" : ToValidUtf8(clean);
}

std::string FreePath(const std::string& folder, const std::string& name) {
    for (int number = 1;; ++number) {
        const std::string suffix = number == 1 ? "" : " (" + std::to_string(number) + ")";
        const std::string path = PathJoin(folder, FileNameOf(name) + suffix + "." + kFingerprintExtension);
        if (!GetFileFacts(path)) return path;
    }
}

std::string Joined(const std::vector<std::string>& parts) {
    std::string all;
    for (const std::string& part : parts)
        if (!part.empty()) all += (all.empty() ? "" : " ") + part;
    return all;
}

void TellProgress(const OrvJob& job, std::size_t i, std::size_t count, const std::string& path) {
    job.SetProgress(static_cast<double>(i) / static_cast<double>(count),
                    "Picture " + std::to_string(i + 1) + " of " + std::to_string(count) + ": " +
                        ToValidUtf8(PathName(path)));
}

std::string WhyLeftOut(FingerprintMaker& maker, const std::string& path, std::optional<MetadataFacts>& first,
                       const OrvJob& job) {
    try {
        const Picture picture = ReadPicture(path, job);
        if (IsEditingSoftware(picture.facts.software))
            return "Written by \"" + picture.facts.software + "\".";
        if (first && IsOtherCamera(*first, picture.facts))
            return "Of another camera by its metadata: " +
                   Joined({picture.facts.make, picture.facts.model, picture.facts.serial}) + ".";
        const std::string why = maker.Add(picture.pixels, [&job](double) { job.CheckAbort(); });
        if (why.empty() && !first) first = picture.facts;
        return why;
    } catch (const ZorException& error) {
        if (error.GetKind() == ZorException::Kind::Aborted) throw;
        return error.what();
    }
}

}  // namespace

FingerprintOutcome MakeCameraFingerprint(const FingerprintRequest& request, const OrvJob& job) {
    FingerprintOutcome outcome;
    outcome.table = {{"Name", "Took Part", "Agreement", "Why Not", "Full Path"}};
    std::vector<std::string> problems;
    const std::vector<std::string> paths =
        ListFolderFiles(request.folder, request.includesSubfolders, problems, job);
    FingerprintMaker maker;
    std::optional<MetadataFacts> first;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        TellProgress(job, i, paths.size() + 1, paths[i]);
        const std::string why = WhyLeftOut(maker, paths[i], first, job);
        std::string agreement;
        if (why.empty()) {
            const double value = maker.GetAgreements().back();
            agreement = (value < kLeastAgreement ? "?" : "") + FixedText(value, 1);
        }
        outcome.table.push_back({ToValidUtf8(PathName(paths[i])), why.empty() ? "yes" : "?no", agreement,
                                 ToValidUtf8(why), ToValidUtf8(paths[i])});
    }
    if (maker.GetPictures() == 0) {
        const std::string reason =
            outcome.table.size() > 1 ? " " + outcome.table[1][0] + ": " + outcome.table[1][3] : "";
        ZOR_THROW(Argument, "No picture of the folder could be used for a fingerprint." + reason);
    }
    FingerprintRecord record;
    record.make = first->make;
    record.model = first->model;
    record.serialNumber = first->serial;
    record.name = request.name.empty() ? Joined({first->make, first->model, first->serial}) : request.name;
    if (record.name.empty()) record.name = "Camera";
    record.madeWith = AppVersion().GetFullName();
    record.fingerprint = maker.Finish([&job](double) { job.CheckAbort(); });
    const std::string folder = request.collection.empty() ? FingerprintFolder() : request.collection;
    MakeFolder(folder);
    outcome.path = FreePath(folder, record.name);
    WriteFingerprint(record, outcome.path);
    outcome.pictures = record.fingerprint.pictures;
    outcome.agreement = record.fingerprint.agreement;
    if (outcome.pictures >= 3 && outcome.agreement < kLeastAgreement) {
        outcome.warning =
            "The pictures do not agree: several cameras, changed pictures, or too dark ones. Do not rely on this fingerprint.";
    } else if (outcome.pictures < kAdvisedPictures) {
        outcome.warning = "Made of " + std::to_string(outcome.pictures) + " pictures; " +
                          std::to_string(kAdvisedPictures) +
                          " and more are advised, flat and bright ones best.";
    }
    return outcome;
}

TableString IdentifyCameras(const std::string& folder, const std::string& collection, bool includesSubfolders,
                            const OrvJob& job) {
    std::vector<FingerprintRecord> records;
    std::string damaged;
    for (const std::string& path : ListFingerprints(collection.empty() ? FingerprintFolder() : collection)) {
        job.CheckAbort();
        try {
            records.push_back(ReadFingerprint(path));
        } catch (const ZorException& error) {
            damaged += std::string(error.what()) + " ";
        }
    }
    if (records.empty()) {
        ZOR_THROW(Argument, "There is no camera fingerprint that could be used. " + damaged);
    }
    std::vector<std::string> problems;
    const std::vector<std::string> paths = ListFolderFiles(folder, includesSubfolders, problems, job);
    TableString table = {{"Name", "Camera", "PCE", "Threshold", "log10 Of The False-Alarm Probability",
                          "Runner-Up Camera", "Its PCE", "Notes", "Full Path"}};
    bool hasPicture = false;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        TellProgress(job, i, paths.size(), paths[i]);
        std::vector<std::string> row(table[0].size());
        row[0] = ToValidUtf8(PathName(paths[i]));
        row.back() = ToValidUtf8(paths[i]);
        try {
            CameraResidual residual =
                ComputeCameraResidual(ReadPicture(paths[i], job).pixels, kDefaultWaveletSigma,
                                      [&job](double) { job.CheckAbort(); });
            CleanResidual(residual, [&job](double) { job.CheckAbort(); });
            const FingerprintRanking ranking =
                RankFingerprints(residual, records, false, [&job](double) { job.CheckAbort(); });
            hasPicture = true;
            if (!ranking.entries.empty()) {
                const RankedFingerprint& best = ranking.entries[0];
                row[1] = best.match.isMatch ? records[best.index].name : "none";
                row[2] = FixedText(best.match.pce, 1);
                row[3] = FixedText(best.match.threshold, 1);
                row[4] = FixedText(best.match.log10FalseAlarm, 1);
                if (ranking.entries.size() > 1) {
                    row[5] = records[ranking.entries[1].index].name;
                    row[6] = FixedText(ranking.entries[1].match.pce, 1);
                }
            }
            if (ranking.otherSizes > 0)
                row[7] = std::to_string(ranking.otherSizes) +
                         " fingerprints have another size and were not compared.";
        } catch (const ZorException& error) {
            if (error.GetKind() == ZorException::Kind::Aborted) throw;
            row[7] = std::string("!") + ToValidUtf8(error.what());
        }
        if (table.size() == 1 && !damaged.empty()) row[7] += (row[7].empty() ? "!" : " ") + damaged;
        table.push_back(std::move(row));
    }
    if (!hasPicture) ZOR_THROW(Argument, "The folder holds no picture that could be decoded.");
    return table;
}
