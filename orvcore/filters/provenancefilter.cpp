#include <algorithm>

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/filterlist.h"
#include "orvcore/formats/provenance/provenance.h"
#include "orvcore/model/trust.h"
#include "orvcore/tables/tablemarkup.h"
#include "orvcore/tools/folder/thumbnail.h"
#include "zorbase/text.h"
#include "zorbase/utf8.h"

namespace {

using namespace provenance;

constexpr const char* kDash = "-";
constexpr int kPictureSide = 150;  // pixels
constexpr std::size_t kMaxPictures = 100;
constexpr const char* kAbsence =
    "There are no content credentials, and no mark of a generator was found. That proves nothing: most files never had any, "
    "services and programs remove them, and a generated picture need not carry one.";

std::string OrDash(const std::string& text) {
    return text.empty() ? kDash : text;
}

std::string SignerOf(const Manifest& manifest) {
    const bool isSame = manifest.signerOrganisation == manifest.signerName;
    std::vector<std::string> parts;
    if (!manifest.signerName.empty()) parts.push_back(manifest.signerName);
    if (!manifest.signerOrganisation.empty() && !isSame) parts.push_back(manifest.signerOrganisation);
    const std::string name = Join(parts, ", ");
    return name.empty() ? "Not named" : name + " (certificate of " + OrDash(manifest.issuerCommonName) + ")";
}

std::string TimeOfSigning(const Manifest& manifest) {
    if (!manifest.stamp) return "No time stamp";
    const std::string says = UtcText(manifest.stamp->time) + ", by " + OrDash(manifest.stamp->authority);
    if (!manifest.stamp->isIntact) return "No time stamp that holds";
    return says + (manifest.stamp->isTrusted   ? " (authority trusted by your choice)"
                   : manifest.stamp->isChecked ? " (authority not trusted)"
                                               : " (authority not checked: no certificates for it chosen)");
}

std::string PlaceText(const FileRange& place) {
    return place.size == 0 ? std::string(kDash) : std::to_string(place.offset);
}

std::string SizeText(const FileRange& place) {
    return place.size == 0 ? std::string(kDash) : std::to_string(place.size);
}

// A row of texts as they are; the first one marked.
std::vector<std::string> TextRow(CellMark mark, const std::vector<std::string>& texts) {
    std::vector<std::string> row;
    for (const std::string& text : texts) row.push_back(MarkCell(row.empty() ? mark : CellMark::None, text));
    return row;
}

::TableString LineageTable(const Report& report) {
    ::TableString table = {{"What", "Name", "Detail", "Source Type", "Status", "Offset", "Bytes"}};
    for (const LineageRow& row : report.lineage) {
        const std::string indent(4 * static_cast<std::size_t>(row.depth), ' ');
        table.push_back(TextRow(row.what == "Fault" ? CellMark::StandsOut : CellMark::None,
                                {indent + row.what, row.name, row.detail, row.sourceType, row.status,
                                 PlaceText(row.place), SizeText(row.place)}));
    }
    return table;
}

::TableString CheckTable(const Report& report) {
    static constexpr const char* kWords[] = {"Holds", "Note", "Fault"};
    ::TableString table = {{"Result", "Check", "About", "Meaning", "Offset", "Bytes"}};
    for (const Status& status : report.statuses) {
        const bool isFault = status.severity == Severity::Failure && !status.wasRecorded;
        table.push_back(TextRow(isFault ? CellMark::StandsOut : CellMark::None,
                                {status.wasRecorded ? "Fault, known to the later signer"
                                                    : kWords[static_cast<int>(status.severity)],
                                 status.code, OrDash(status.subject), status.sentence,
                                 PlaceText(status.place), SizeText(status.place)}));
    }
    return table;
}

::TableString MarkTable(const Report& report) {
    ::TableString table = {{"Mark", "Where", "Written By", "Known From", "Vouched For", "Offset", "Bytes"}};
    for (const Mark& mark : report.marks) {
        const FileRange place = mark.place.value_or(FileRange{});
        table.push_back(
            TextRow(CellMark::None,
                    {mark.text, mark.where, OrDash(mark.writer), OrDash(mark.source),
                     mark.isSigned ? "By the signer" : "By nobody", PlaceText(place), SizeText(place)}));
    }
    return table;
}

// The pictures that the credentials carry, each with the manifest that it belongs to; what cannot be decoded has no picture.
::TableString ThumbnailTable(const Report& report, const OrvJob& job, std::vector<Image>& pictures) {
    ::TableString table = {{"Picture", "Thumbnail", "Of Manifest", "Kind", "Dimensions", "Offset", "Bytes"}};
    for (const Thumbnail& thumbnail : report.thumbnails) {
        const ImageInfo info = ReadImageInfo(thumbnail.bytes);
        const Image picture =
            pictures.size() < kMaxPictures ? MakeThumbnail(thumbnail.bytes, kPictureSide, job) : Image();
        if (picture.IsValid()) pictures.push_back(picture);
        const Manifest& manifest = report.manifests[thumbnail.manifest];
        table.push_back(
            {picture.IsValid() ? ThumbnailCell(static_cast<int>(pictures.size()) - 1) : std::string(kDash),
             TableCell(ToValidUtf8(thumbnail.label)),
             TableCell(manifest.title.empty() ? manifest.label : manifest.title),
             TableCell(ToValidUtf8(thumbnail.mediaType)),
             info.width > 0 ? ToString(info.width) + " x " + ToString(info.height) : "Cannot be read",
             PlaceText(thumbnail.place), std::to_string(thumbnail.bytes.size())});
    }
    return table;
}

std::string ClaimsText(const Report& report) {
    std::string text;
    for (std::size_t i = report.manifests.size(); i-- > 0;) {
        const Manifest& manifest = report.manifests[i];
        text += manifest.label + (i == report.active ? " (the file's own)" : "") + "\n" + manifest.claimText +
                "\n\n";
    }
    return text;
}

// What credentials say about a file's origin and whether they hold, and what generators leave beside them.
class ProvenanceFilter : public OrvFilter {
  public:
    ProvenanceFilter() : OrvFilter("Provenance", "provenance") {
        Describe(
            "File",
            "Content credentials (C2PA) that cameras, editors and generators sign into a file: whether they are there, what they "
            "say, whether the signature verifies, whether they belong to these bytes, and whether you trust the signer; and the "
            "marks that generators leave as plain text. It cannot see: whether what a signer says is true. Valid credentials "
            "prove who signed and that nothing changed since, not that a scene was real. Without credentials nothing follows: "
            "most files have none, and services remove them. Marks in text can be written and removed by anybody.");
        using enum ParameterType;
        SetParameters({}, {},
                      {
                          Parameter::Output(OutputString, "present", "Content Credentials (C2PA)"),
                          Parameter::Output(OutputString, "verdict", "Verdict"),
                          Parameter::Output(OutputString, "generator", "Written By"),
                          Parameter::Output(OutputString, "signer", "Signer"),
                          Parameter::Output(OutputString, "time", "Time Of Signing"),
                          Parameter::Output(OutputText, "signature", "Does The Signature Verify?"),
                          Parameter::Output(OutputText, "content", "Is The Content What Was Signed?"),
                          Parameter::Output(OutputText, "trust", "Is The Signer Trusted?"),
                          Parameter::Output(OutputString, "anchors", "Trusted Certificates"),
                          Parameter::Output(OutputText, "findings", "What Deserves A Look"),
                          Parameter::Output(OutputText, "warnings", "Warnings"),
                          Parameter::Output(TableString, "lineage", "Lineage"),
                          Parameter::Output(TableString, "marks", "Marks Of Generated Pictures"),
                          Parameter::Output(TableString, "checks", "Checks"),
                          Parameter::Output(TableString, "thumbnails", "Thumbnails In The Credentials"),
                          Parameter::Output(OutputText, "claims", "The Claims As They Are"),
                      });
    }
    bool GivesVerdict() const override { return true; }
    int GetVersion() const override { return 2; }
    std::string GetSurroundings() const override { return GetTrustState(); }

    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return IsReadableFormat(file.GetInfo().format) || HasProvenance(file.GetBytes()) ? ""
                                                                                         : "Not a picture";
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                 OrvSlotResult& result) const override {
        job.SetProgress(0.0, "Reading content credentials");
        const auto trust = GetTrust();
        const auto metadata = GetMetadata(file);
        ProvenanceOptions options;
        options.metadata = metadata.get();
        options.between = [&job] { job.CheckAbort(); };
        const Report report = ReadProvenance(file.GetBytes(), trust->settings, options);
        Show(report, *trust, result);
        if (!report.thumbnails.empty())
            result.Set("thumbnails", ThumbnailTable(report, job, result.thumbnails));
        Decide(report, result);
    }

    // Tables of two files become one, with the file in front of each row.
    void Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
               VecParameter& output) const override {
        OrvFilter::Merge(evidence, reference, output);
        for (const char* name : {"lineage", "marks", "checks", "thumbnails"}) {
            ::TableString table;
            if (reference != nullptr) {
                AddRows(evidence, name, "Evidence", 0, table);
                AddRows(reference, name, "Reference",
                        evidence != nullptr ? static_cast<int>(evidence->thumbnails.size()) : 0, table);
            }
            output.Find(name)->ClearReference();
            if (!table.empty()) output.Find(name)->SetValue(table);
        }
    }

  private:
    static void AddRows(const OrvSlotResult* slot, const char* name, const char* file, int firstPicture,
                        ::TableString& table) {
        const Parameter* parameter = slot != nullptr ? slot->output.Find(name) : nullptr;
        if (parameter == nullptr || !parameter->IsSet()) return;
        const auto& rows = parameter->Get<::TableString>();
        for (std::size_t i = table.empty() ? 0 : 1; i < rows.size(); ++i) {
            std::vector<std::string> row = rows[i];
            for (std::string& cell : row) cell = ShiftThumbnail(cell, firstPicture);
            row.insert(row.begin(), i == 0 ? "File" : file);
            table.push_back(std::move(row));
        }
    }

    static void Show(const Report& report, const Trust& trust, OrvSlotResult& result) {
        static constexpr const char* kPresence[] = {"None",
                                                    "Kept elsewhere, not fetched",
                                                    "Present",
                                                    "Present several times",
                                                    "Present, damaged",
                                                    "Present, not read"};
        result.Set("present", kPresence[static_cast<int>(report.presence)]);
        const bool isBare = report.presence == Presence::None;
        result.Set("verdict", isBare ? "None, which proves nothing" : report.Summary());
        const Manifest* active = report.Active();
        result.Set("generator", active != nullptr ? OrDash(active->generator) : std::string(kDash));
        result.Set("signer", active != nullptr ? SignerOf(*active) : std::string(kDash));
        result.Set("time", active != nullptr ? TimeOfSigning(*active) : std::string(kDash));
        result.Set("signature", OrDash(report.signature.sentence));
        result.Set("content", OrDash(report.content.sentence));
        result.Set("trust", OrDash(report.trust.sentence));
        result.Set("anchors", trust.folder.empty()
                                  ? std::string("None chosen in the program options")
                                  : ToString(static_cast<int>(trust.settings.anchors.Size())) + " of " +
                                        PathToUtf8(trust.folder) + ", judged on " +
                                        UtcText(trust.settings.now).substr(0, 10));
        std::vector<std::string> sentences;
        for (const Finding& finding : report.findings)
            sentences.push_back(finding.text + (finding.place
                                                    ? " (At byte " + PlaceText(*finding.place) + ".)"
                                                    : std::string()));
        result.Set("findings", !sentences.empty() ? Join(sentences, "\n")
                               : isBare           ? std::string(kAbsence)
                                                  : std::string("Nothing found"));
        std::vector<std::string> warnings = report.warnings;
        warnings.insert(warnings.end(), trust.warnings.begin(), trust.warnings.end());
        result.Set("warnings", warnings.empty() ? std::string("None") : Join(warnings, "\n"));
        if (!report.lineage.empty()) result.Set("lineage", LineageTable(report));
        if (!report.marks.empty()) result.Set("marks", MarkTable(report));
        if (!report.statuses.empty()) result.Set("checks", CheckTable(report));
        if (!report.manifests.empty()) result.Set("claims", ClaimsText(report));
    }

    static void Decide(const Report& report, OrvSlotResult& result) {
        std::vector<std::string> sentences;
        bool isStrong = false;
        for (const Finding& finding : report.findings) {
            sentences.push_back(finding.text);
            isStrong = isStrong || finding.isStrong;
        }
        const bool isBare = report.presence == Presence::None;
        const bool isGenerated = std::any_of(report.marks.begin(), report.marks.end(),
                                             [](const Mark& mark) { return mark.isSigned; });
        const std::string text = isGenerated && report.content.answer != Answer::No ? "Declared as generated"
                                 : isBare && !report.marks.empty()                  ? "Mark of a generator"
                                                                                    : report.Summary();
        if (sentences.empty() && isBare)
            result.SayNothing("No credentials, which proves nothing: most files have none");
        else
            result.Judge(isStrong             ? OrvVerdict::StrongSign
                         : !sentences.empty() ? OrvVerdict::WorthALook
                                              : OrvVerdict::NothingFound,
                         text, sentences);
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeProvenanceFilter() {
    return std::make_unique<ProvenanceFilter>();
}
