#include "orvcore/filters/metadatafilter.h"

#include "orvcore/filters/consistencyoffile.h"
#include "orvcore/filters/filterlist.h"
#include "orvcore/formats/metadatatable.h"
#include "orvcore/formats/provenance/provenance.h"
#include "orvcore/model/trust.h"
#include "zorbase/text.h"

namespace {

// In the order of the choice "Show", after "All".
constexpr MetadataKind kKinds[] = {MetadataKind::Exif,   MetadataKind::Gps, MetadataKind::MakerNote,
                                   MetadataKind::Iptc,   MetadataKind::Xmp, MetadataKind::Icc,
                                   MetadataKind::Comment};

// The rules that speak of metadata.
const std::vector<RuleGroup> kRuleGroups = {RuleGroup::Camera, RuleGroup::Thumbnail, RuleGroup::Dates,
                                            RuleGroup::Programs, RuleGroup::Position};

std::string Size(int width, int height) {
    return ToString(width) + " x " + ToString(height) + " pixels";
}

std::string ProfileText(const IccFacts& icc) {
    if (!icc.isProfile) return "None";
    std::vector<std::string> parts = {icc.description.empty() ? "Without a name" : icc.description};
    if (icc.primaries.size() == 6)
        parts.push_back(HasPrimariesOfSrgb(icc) ? "primaries of sRGB" : "primaries other than sRGB's");
    if (!icc.curves.empty()) parts.push_back("curves: " + icc.curves);
    return Join(parts, ", ");
}

std::string Count(std::size_t number, const char* what) {
    return ToString(static_cast<std::int64_t>(number)) + what;
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
        "What the file says about itself in EXIF, GPS, maker notes, IPTC, XMP, its colour profile and comments, readable and as stored, "
        "with the place in the file; of two files with what changed and what only one of them has; and what in it does not fit together "
        "or names a program. It cannot see: metadata is written as easily as it is read, so agreement proves nothing; and a file "
        "without metadata may have lost it on an ordinary way through a service or messenger. Dates are those of the device's clock. "
        "Places are not known inside packed parts and for some entries of makers' notes.");
    using enum ParameterType;
    SetParameters(
        {
            Parameter::Choice(
                "show", "Show", 0,
                {"All", "EXIF", "GPS", "Maker Note", "IPTC", "XMP", "Colour Profile", "Comments"}),
            Parameter::Choice("values", "Values", 0,
                              {"Interpreted And As Stored", "Interpreted", "As Stored"}),
            Parameter::Choice("order", "Two Files", 0,
                              {"Order Of The File", "Differences First", "Differences Only"}),
            Parameter::String("search", "Containing", ""),
            Parameter::Choice("encoding", "Texts That Are Not Unicode", 0, TextEncodingNames()),
        },
        {},
        {
            Parameter::Output(OutputText, "findings", "What Deserves A Look"),
            Parameter::Output(OutputString, "differences", "Differences"),
            Parameter::Output(OutputInt64, "entries", "Entries"),
            Parameter::Output(OutputString, "camera", "Camera"),
            Parameter::Output(OutputString, "software", "Software"),
            Parameter::Output(OutputDateTime, "taken", "Taken"),
            Parameter::Output(OutputString, "position", "Position (degrees)"),
            Parameter::Output(OutputString, "thumbnail", "Thumbnail"),
            Parameter::Output(OutputString, "profile", "Colour Profile"),
            Parameter::Output(OutputString, "credentials", "Content Credentials (C2PA)"),
            Parameter::Output(OutputText, "warnings", "Warnings"),
            Parameter::Output(TableString, "table", "Metadata"),
            Parameter::Output(TableString, "rows", "Rows Of One File").SetHiddenFromGui(),
            Parameter::Output(OutputString, "layout", "Layout Of The Table").SetHiddenFromGui(),
        });
}

void MetadataFilter::Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                             OrvSlotResult& result) const {
    const auto set = [&result](const char* name, const auto& value) {
        result.output.Find(name)->SetValue(value);
    };
    const auto parts = GetConsistencyParts(file);
    job.SetProgress(0.6);
    const MetadataSet& metadata = parts->metadata.set;
    const MetadataFacts& facts = metadata.facts;
    const ConsistencyInput around = ConsistencyInputOf(file, *parts, false, job);

    const auto show = static_cast<std::size_t>(input.Get<int>("show"));
    std::vector<MetadataKind> kinds;
    if (show > 0) kinds.push_back(kKinds[show - 1]);
    const auto encoding = static_cast<TextEncoding>(input.Get<int>("encoding"));
    const std::string& search = input.Get<std::string>("search");
    if (encoding == TextEncoding::Western)
        set("rows", MetadataRows(metadata, kinds, search));
    else
        set("rows",
            MetadataRows(ReadDetailedMetadata(file.GetBytes(), file.GetInfo().iccProfile, encoding).set,
                         kinds, search));
    set("layout", ToString(input.Get<int>("values")) + " " + ToString(input.Get<int>("order")));
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
    set("thumbnail", parts->thumbnail.empty()    ? std::string("None")
                     : around.thumbnailWidth > 0 ? Size(around.thumbnailWidth, around.thumbnailHeight)
                                                 : std::string("Present, cannot be read"));
    set("profile", ProfileText(parts->metadata.icc));
    set("credentials", Credentials(file, metadata, job));
    set("warnings", metadata.warnings.empty() ? std::string("None") : Join(metadata.warnings, "\n"));

    if (metadata.entries.empty()) {
        set("findings", std::string("There is no metadata to look at."));
        result.verdict = OrvVerdict::NotApplicable;
        result.verdictText = "No metadata";
        return;
    }
    JudgeConsistency(FindInconsistencies(around, kRuleGroups), result);
}

void MetadataFilter::Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
                           VecParameter& output) const {
    OrvFilter::Merge(evidence, reference, output);
    const auto rowsOf = [](const OrvSlotResult* slot) -> const ::TableString* {
        const Parameter* rows = slot != nullptr ? slot->output.Find("rows") : nullptr;
        return rows != nullptr && rows->IsSet() ? &rows->Get<::TableString>() : nullptr;
    };
    output.Find("rows")->Reset();
    output.Find("layout")->Reset();
    const OrvSlotResult* any = evidence != nullptr ? evidence : reference;
    const Parameter* asked = any != nullptr ? any->output.Find("layout") : nullptr;
    MetadataTableLayout layout;
    if (asked != nullptr && asked->IsSet()) {
        const std::string& digits = asked->Get<std::string>();
        if (digits.size() == 3) {
            layout.values = static_cast<MetadataTableLayout::Values>(digits[0] - '0');
            layout.order = static_cast<MetadataTableLayout::Order>(digits[2] - '0');
        }
    }
    MetadataDifferences differences;
    const ::TableString table = MergeMetadataRows(rowsOf(evidence), rowsOf(reference), layout, &differences);
    if (rowsOf(evidence) != nullptr && rowsOf(reference) != nullptr)
        output.Find("differences")
            ->SetValue(Count(differences.changed, " changed, ") +
                       Count(differences.onlyEvidence, " only in the evidence, ") +
                       Count(differences.onlyReference, " only in the reference, ") +
                       Count(differences.equal, " equal"));
    if (!table.empty()) output.Find("table")->SetValue(table);
}

std::unique_ptr<OrvFilter> MakeMetadataFilter() {
    return std::make_unique<MetadataFilter>();
}
