#include "orvcore/filters/fileformatfilter.h"

#include <algorithm>

#include "orvcore/filters/filterlist.h"
#include "orvcore/formats/consistency/consistency.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

std::string Agreement(const ImageInfo& info, const std::string& path) {
    if (info.format == FileFormat::Empty) return "Cannot be told";
    if (info.format == FileFormat::Unknown)
        return IsPictureName(path) ? "No: the name is that of a picture, the content of no known format"
                                   : "Cannot be told";
    if (ExtensionAgrees(info.format, path)) return "Yes";
    const std::string extension = PathExtension(path);
    const std::vector<std::string>& usual = FormatExtensions(info.format);
    return "No: the content is " + FormatName(info.format) +
           (usual.empty() ? std::string() : ", usually named ." + usual.front()) +
           (extension.empty() ? ", and the name has no extension"
                              : ", and the name ends in ." + ToValidUtf8(extension));
}

std::string ProfileName(const ImageInfo& info) {
    if (info.iccProfile.empty()) return "None embedded";
    const std::string name = IccProfileName(info.iccProfile);
    return name.empty() ? "Embedded, without a name" : name;
}

// What every reader found, the decoder among them. failure: why nothing can be decoded, where that is so.
FileDamage AllDamage(const OrvLoadedFile& file, const OrvJob& job, std::string& failure) {
    if (IsReadableFormat(file.GetInfo().format)) {
        try {
            file.GetDecoded(job);
        } catch (const ZorException& exception) {
            if (exception.GetKind() != ZorException::Kind::Format &&
                exception.GetKind() != ZorException::Kind::Memory)
                throw;
            failure = exception.GetMessage();
        }
    }
    return file.GetDamage();
}

void Judge(const ImageInfo& info, const std::string& path, const FileDamage& damage,
           const std::string& failure, OrvSlotResult& result) {
    const bool isDisguised = info.format == FileFormat::Unknown && IsPictureName(path);
    if ((info.format == FileFormat::Unknown && !isDisguised) || info.format == FileFormat::Empty) {
        result.verdict = OrvVerdict::NotApplicable;
        result.verdictText = info.format == FileFormat::Empty ? "Empty file" : "Unknown format";
        return;
    }
    ConsistencyInput input;
    input.format = info.format;
    input.isPictureName = IsPictureName(path);
    input.nameAgrees = ExtensionAgrees(info.format, path);
    input.damage = damage.damage;
    for (const ConsistencyResult& one : FindInconsistencies(input, {RuleGroup::File}))
        result.findings.push_back(one.Text());
    // Kinds that a standard allows and hardly anybody reads, twelve bits say, are no damage.
    if (damage.IsEmpty() && !failure.empty())
        result.findings.push_back("The picture cannot be decoded: " + failure);
    const bool isOdd = !result.findings.empty();
    result.verdict = isOdd ? OrvVerdict::WorthALook : OrvVerdict::NothingFound;
    result.verdictText = !damage.IsEmpty()  ? "Damaged"
                         : !failure.empty() ? "Cannot be decoded"
                         : isOdd            ? "Worth a look"
                                            : "Nothing found";
    result.status = isOdd ? FilterStatus::StandsOut : FilterStatus::Processed;
}

}  // namespace

FileFormatFilter::FileFormatFilter() : OrvFilter("File Format", "file-format") {
    Describe(
        "File",
        "What the file itself says before any pixel is looked at: its place, size and dates, its format by content and "
        "whether the name agrees, what its headers say about the picture, and its hashes. Dates belong to the file "
        "system: copying a file changes them without touching its content.");
    using enum ParameterType;
    SetParameters({}, {},
                  {
                      Parameter::Output(OutputString, "path", "Full Path"),
                      Parameter::Output(OutputInt64, "size", "Size (bytes)"),
                      Parameter::Output(OutputDateTime, "modified", "Modified"),
                      Parameter::Output(OutputDateTime, "created", "Created"),
                      Parameter::Output(OutputDateTime, "accessed", "Last Accessed"),
                      Parameter::Output(OutputDateTime, "changed", "Attributes Changed"),
                      Parameter::Output(OutputString, "format", "Format By Content"),
                      Parameter::Output(OutputString, "nameAgrees", "Name Agrees With Content"),
                      Parameter::Output(OutputImageResolution, "dimensions", "Dimensions (pixels)"),
                      Parameter::Output(OutputString, "depth", "Depth (bits per channel)"),
                      Parameter::Output(OutputString, "channels", "Channels"),
                      Parameter::Output(OutputString, "colourModel", "Colour Model"),
                      Parameter::Output(OutputString, "compression", "Compression"),
                      Parameter::Output(OutputString, "frames", "Pictures In The File"),
                      Parameter::Output(OutputString, "profile", "Colour Profile"),
                      Parameter::Output(OutputString, "recipe", "How Pixels Are Decoded"),
                      Parameter::Output(OutputString, "md5", "MD5"),
                      Parameter::Output(OutputString, "sha1", "SHA-1"),
                      Parameter::Output(OutputString, "sha256", "SHA-256"),
                      Parameter::Output(OutputText, "warnings", "Warnings"),
                  });
}

void FileFormatFilter::Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                               OrvSlotResult& result) const {
    VecParameter& output = result.output;
    const auto set = [&output](const char* name, const auto& value) { output.Find(name)->SetValue(value); };
    const auto count = [](int value) { return value > 0 ? ToString(value) : std::string("Not known"); };

    const FileFacts& facts = file.GetFacts();
    set("path", ToValidUtf8(file.GetPath()));
    set("size", static_cast<std::int64_t>(file.GetBytes().size()));
    set("modified", FormatTime(facts.modified));
    set("created", facts.created ? FormatTime(*facts.created) : std::string("Not kept by this file system"));
    set("accessed", FormatTime(facts.accessed));
    set("changed", FormatTime(facts.changed));

    const ImageInfo& info = file.GetInfo();
    set("format", FormatName(info.format));
    set("nameAgrees", Agreement(info, file.GetPath()));
    if (info.width > 0 && info.height > 0) set("dimensions", ImageResolution{info.width, info.height});
    if (IsReadableFormat(info.format)) {
        set("depth", count(info.bitsPerSample));
        set("channels", count(info.channels));
        set("colourModel", info.colourModel);
        set("compression", info.compression);
        set("frames", ToString(info.frames));
        set("profile", ProfileName(info));
        set("recipe", info.recipe);
    }
    job.SetProgress(0.2, "Computing hashes");
    const FileHashes& hashes = file.GetHashes(job);
    set("md5", hashes.md5);
    set("sha1", hashes.sha1);
    set("sha256", hashes.sha256);
    std::string failure;
    const FileDamage damage = AllDamage(file, job, failure);
    std::vector<std::string> sentences = damage.All();
    if (!failure.empty() && std::find(sentences.begin(), sentences.end(), failure) == sentences.end())
        sentences.push_back(failure);
    set("warnings", sentences.empty() ? std::string("None") : Join(sentences, "\n"));
    Judge(info, file.GetPath(), damage, failure, result);
}

std::unique_ptr<OrvFilter> MakeFileFormatFilter() {
    return std::make_unique<FileFormatFilter>();
}
