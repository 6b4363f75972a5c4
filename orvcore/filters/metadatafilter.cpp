#include "orvcore/filters/metadatafilter.h"

#include "orvcore/filters/filterlist.h"
#include "orvcore/formats/metadatacheck.h"
#include "orvcore/formats/metadatatable.h"
#include "orvcore/formats/provenance/provenance.h"
#include "orvcore/model/trust.h"
#include "zorbase/text.h"

namespace {

// In the order of the choice "Show", after "All".
constexpr MetadataKind kKinds[] = {MetadataKind::Exif, MetadataKind::Gps, MetadataKind::MakerNote,
                                   MetadataKind::Iptc, MetadataKind::Xmp, MetadataKind::Comment};

std::string Size(int width, int height) {
    return ToString(width) + " x " + ToString(height) + " pixels";
}

// A word or two; the filter Provenance tells all of it.
std::string Credentials(const OrvLoadedFile& file, const MetadataSet& metadata, const OrvJob& job) {
    ProvenanceOptions options;
    options.metadata = &metadata;
    options.wantsMarks = false;
    options.between = [&job] { job.CheckAbort(); };
    const provenance::Report report = ReadProvenance(file.GetBytes(), GetTrust()->settings, options);
    const bool isThere = report.presence == provenance::Presence::Embedded;
    return isThere ? "Present: " + report.Summary() : report.Summary();
}

}  // namespace

MetadataFilter::MetadataFilter() : OrvFilter("Metadata", "metadata") {
    Describe(
        "File",
        "What the file says about itself in EXIF, GPS, maker notes, IPTC, XMP and comments, both files side by side with "
        "differences marked, and what in it does not fit together or names a program. It cannot see: metadata is "
        "written as easily as it is read, so agreement proves nothing; and a file without metadata may have lost it "
        "on an ordinary way through a service or messenger. Dates are those of the device's clock.");
    using enum ParameterType;
    SetParameters(
        {
            Parameter::Choice("show", "Show", 0,
                              {"All", "EXIF", "GPS", "Maker Note", "IPTC", "XMP", "Comments"}),
            Parameter::Choice("values", "Values", 0, {"Interpreted", "As Stored"}),
        },
        {},
        {
            Parameter::Output(OutputInt64, "entries", "Entries"),
            Parameter::Output(OutputString, "camera", "Camera"),
            Parameter::Output(OutputString, "software", "Software"),
            Parameter::Output(OutputDateTime, "taken", "Taken"),
            Parameter::Output(OutputString, "position", "Position (degrees)"),
            Parameter::Output(OutputString, "thumbnail", "Thumbnail"),
            Parameter::Output(OutputString, "credentials", "Content Credentials (C2PA)"),
            Parameter::Output(OutputText, "findings", "What Deserves A Look"),
            Parameter::Output(OutputText, "warnings", "Warnings"),
            Parameter::Output(TableString, "table", "Metadata"),
            Parameter::Output(TableString, "rows", "Rows Of One File").SetHiddenFromGui(),
        });
}

void MetadataFilter::Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                             OrvSlotResult& result) const {
    const auto set = [&result](const char* name, const auto& value) {
        result.output.Find(name)->SetValue(value);
    };
    const MetadataSet metadata = ReadMetadata(file.GetBytes());
    job.SetProgress(0.6);
    const MetadataFacts& facts = metadata.facts;

    MetadataSurroundings around;
    around.format = file.GetInfo().format;
    around.width = file.GetInfo().width;
    around.height = file.GetInfo().height;
    const std::vector<std::uint8_t> thumbnail = ReadExifThumbnail(file.GetBytes());
    if (!thumbnail.empty()) {
        const ImageInfo info = ReadImageInfo(thumbnail);
        around.thumbnailWidth = info.width;
        around.thumbnailHeight = info.height;
    }

    const auto show = static_cast<std::size_t>(input.Get<int>("show"));
    std::vector<MetadataKind> kinds;
    if (show > 0) kinds.push_back(kKinds[show - 1]);
    set("rows", MetadataRows(metadata, kinds, input.Get<int>("values") == 1));
    set("entries", static_cast<std::int64_t>(metadata.entries.size()));
    const bool isRead = metadata.reading != MetadataReading::NotRead;
    const auto told = [&](const std::string& text, unsigned bits) {
        if (text.empty()) return std::string(isRead ? "Not stated" : "Not read");
        return (facts.fromXmp & bits) != 0 ? text + " (XMP)" : text;
    };
    set("camera", told(Trim(facts.make + " " + facts.model), kFactMake | kFactModel));
    set("software", told(facts.software, kFactSoftware));
    set("taken", told(facts.dateTimeOriginal, kFactTaken));
    set("position", told(metadata.gps ? GpsToText(*metadata.gps) : std::string(), 0));
    set("thumbnail", thumbnail.empty()           ? std::string("None")
                     : around.thumbnailWidth > 0 ? Size(around.thumbnailWidth, around.thumbnailHeight)
                                                 : std::string("Present, cannot be read"));
    set("credentials", Credentials(file, metadata, job));
    set("warnings", metadata.warnings.empty() ? std::string("None") : Join(metadata.warnings, "\n"));

    if (metadata.entries.empty()) {
        set("findings", std::string("There is no metadata to look at."));
        result.verdict = OrvVerdict::NotApplicable;
        result.verdictText = "No metadata";
        return;
    }
    bool isStrong = false;
    for (const MetadataFinding& finding : CheckMetadata(metadata, around)) {
        result.findings.push_back(finding.text);
        isStrong = isStrong || finding.isStrong;
    }
    const std::size_t count = result.findings.size();
    set("findings", count == 0 ? std::string("Nothing found") : Join(result.findings, "\n"));
    result.verdict = isStrong    ? OrvVerdict::StrongSign
                     : count > 0 ? OrvVerdict::WorthALook
                                 : OrvVerdict::NothingFound;
    result.verdictText = isStrong     ? "Declared by the file itself"
                         : count == 0 ? "Nothing found"
                         : count == 1 ? "1 point to look at"
                                      : ToString(static_cast<int>(count)) + " points to look at";
    result.status = count > 0 ? FilterStatus::StandsOut : FilterStatus::Processed;
}

void MetadataFilter::Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
                           VecParameter& output) const {
    OrvFilter::Merge(evidence, reference, output);
    const auto rowsOf = [](const OrvSlotResult* slot) -> const ::TableString* {
        const Parameter* rows = slot != nullptr ? slot->output.Find("rows") : nullptr;
        return rows != nullptr && rows->IsSet() ? &rows->Get<::TableString>() : nullptr;
    };
    output.Find("rows")->Reset();
    const ::TableString table = MergeMetadataRows(rowsOf(evidence), rowsOf(reference));
    if (!table.empty()) output.Find("table")->SetValue(table);
}

std::unique_ptr<OrvFilter> MakeMetadataFilter() {
    return std::make_unique<MetadataFilter>();
}
