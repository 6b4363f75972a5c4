#include <algorithm>
#include <cstdlib>

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/filterlist.h"
#include "orvcore/formats/names/camerasizes.h"
#include "orvcore/formats/names/nameorigin.h"
#include "orvcore/tables/tablemarkup.h"
#include "zorbase/calendar.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

constexpr const char* kDash = "-";
constexpr std::int64_t kSlack =
    120;  // seconds between pressing the button and naming the file, with a slow card
constexpr std::int64_t kQuarter = 900;
constexpr std::int64_t kLargestZone = 14 * 3600;
constexpr std::int64_t kDay = 86400;

std::string TimeText(const NameTime& time) {
    const CalendarTime calendar = UtcTime(static_cast<std::time_t>(time.seconds));
    char text[64];
    if (time.hasClock)
        std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d%s", calendar.year, calendar.month,
                      calendar.day, calendar.hour, calendar.minute, calendar.second,
                      time.isUtc ? " UTC" : ", local");
    else
        std::snprintf(text, sizeof text, "%04d-%02d-%02d", calendar.year, calendar.month, calendar.day);
    return text;
}

std::string SpanText(std::int64_t seconds) {
    const std::int64_t size = std::abs(seconds);
    if (size < 120) return ToString(size) + " s";
    if (size < 2 * 3600) return ToString((size + 30) / 60) + " min";
    if (size < 2 * kDay) return FixedText(static_cast<double>(size) / 3600, 1) + " h";
    return FixedText(static_cast<double>(size) / static_cast<double>(kDay), 1) + " days";
}

// How the time in a name agrees with the one that the metadata state, which is a local one without a zone.
struct TimeComparison {
    std::string text;
    bool isOdd = false;
};

TimeComparison CompareTimes(const NameOrigin& origin, std::int64_t taken) {
    const NameTime& time = *origin.time;
    if (!time.hasClock) {
        const bool isSameDay = time.seconds <= taken && taken < time.seconds + kDay;
        if (isSameDay) return {"the day of the metadata"};
        return {taken < time.seconds ? "later than the metadata's day" : "earlier than the metadata's day",
                taken > time.seconds + 2 * kDay};
    }
    const std::int64_t apart = time.seconds - taken;
    if (std::abs(apart) <= kSlack) return {"agrees with the metadata (" + SpanText(apart) + " apart)"};
    const std::int64_t rest = ((apart % kQuarter) + kQuarter + kSlack) % kQuarter;
    const bool isZone = std::abs(apart) <= kLargestZone + kSlack && rest <= 2 * kSlack;
    if (isZone) return {"apart from the metadata by " + SpanText(apart) + ", as another time zone would be"};
    const bool isLater = apart > 0;
    const std::string text =
        SpanText(apart) + (isLater ? " later than the metadata" : " earlier than the metadata");
    // A camera names a file when it writes it; a messenger or service when it sends or saves it, which may be any time after.
    return {text, origin.row.kind == "device" || (!isLater && !time.isUtc) ||
                      (!isLater && std::abs(apart) > kLargestZone)};
}

bool FitsMaker(const std::string& makers, const std::string& make) {
    for (const std::string& maker : StringToVecString(makers, "|"))
        if (ToLower(make).find(ToLower(maker)) != std::string::npos) return true;
    return false;
}

std::string SizesText(const CameraSizes& camera) {
    std::string text;
    for (const CameraSizes::Size& size : camera.sizes)
        text += (text.empty() ? "" : ", ") + ToString(size.width) + " x " + ToString(size.height);
    return text;
}

class NameAndCameraFilter : public OrvFilter {
  public:
    NameAndCameraFilter();
    bool GivesVerdict() const override { return true; }
    int GetVersion() const override { return 2; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
    void Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
               VecParameter& output) const override;

  private:
    static void ReadName(const NameReading& name, const MetadataFacts& facts, OrvSlotResult& result,
                         std::vector<std::string>& findings);
    static void ReadCamera(const OrvLoadedFile& file, const MetadataFacts& facts, OrvSlotResult& result,
                           std::vector<std::string>& findings);
};

NameAndCameraFilter::NameAndCameraFilter() : OrvFilter("Name And Camera", "name-and-camera") {
    Describe(
        "File",
        "What the file's name tells: which devices, messengers, services and programs name their pictures like that, how sure that is and "
        "where it is known from, and the time hidden in it beside the one that the metadata state; and whether the named camera "
        "records pictures of this size, also turned. It cannot see who gave the name: anybody can rename a file, and many programs "
        "use the same names. Names that anything could have say so. The list of cameras holds about 900 of them, for most of which only "
        "the sizes that were seen in files are known: a size that is not among them proves nothing.");
    using enum ParameterType;
    SetParameters({}, {},
                  {
                      Parameter::Output(OutputString, "origin", "Origin By The Name"),
                      Parameter::Output(OutputString, "services", "Services With Such Names"),
                      Parameter::Output(OutputString, "time", "Time In The Name"),
                      Parameter::Output(OutputString, "taken", "Taken, By The Metadata"),
                      Parameter::Output(OutputString, "times", "Do They Agree?"),
                      Parameter::Output(OutputString, "camera", "Camera, By The Metadata"),
                      Parameter::Output(OutputString, "size", "Size"),
                      Parameter::Output(OutputString, "sizes", "Does The Camera Record It?"),
                      Parameter::Output(OutputText, "findings", "What Deserves A Look"),
                      Parameter::Output(TableString, "table", "Who Names Files Like This"),
                  });
}

void NameAndCameraFilter::ReadName(const NameReading& name, const MetadataFacts& facts, OrvSlotResult& result,
                                   std::vector<std::string>& findings) {
    const auto taken = ParseMetadataTime(facts.dateTimeOriginal);
    ::TableString table = {{"Origin", "Kind", "How Sure", "Time In The Name", "Known From", "Pattern"}};
    const NameOrigin* timed = nullptr;
    for (const NameOrigin& origin : name.origins) {
        table.push_back({TableCell(origin.row.origin), origin.row.kind == "none" ? kDash : origin.row.kind,
                         origin.row.sure, origin.time ? TimeText(*origin.time) : std::string(kDash),
                         TableCell(origin.row.source), TableCell(origin.row.pattern)});
        if (timed == nullptr && origin.time) timed = &origin;
    }
    if (table.size() > 1) result.Set("table", table);
    const NameOrigin* best = name.origins.empty() ? nullptr : &name.origins.front();
    const std::string services = Join(name.services, ", ");
    std::string text;
    if (best != nullptr)
        text = best->row.origin;
    else
        text = services.empty() ? "No origin: the name fits nothing that is known"
                                : "Perhaps " + services + ", whose names look like this, as others do too";
    if (name.IsGeneric()) {
        text = "No origin: any program could have given this name" +
               (services.empty() ? std::string() : ", and so could " + services);
    } else if (best != nullptr) {
        text += " (" + best->row.sure + " certainty)";
        if (!name.copyNumber.empty()) text += ", with the number of a copy";
    }
    result.Set("origin", text);
    result.Set("services", services.empty() ? std::string("None") : services);
    result.Set("taken", facts.dateTimeOriginal.empty() ? std::string(kDash) : facts.dateTimeOriginal);
    result.Set("time", timed != nullptr ? TimeText(*timed->time) : std::string(kDash));
    if (timed != nullptr && taken) {
        const TimeComparison comparison = CompareTimes(*timed, *taken);
        result.Set("times", comparison.text);
        if (comparison.isOdd)
            findings.push_back("The time in the name, " + TimeText(*timed->time) + ", is " + comparison.text +
                               " (" + facts.dateTimeOriginal +
                               "). A clock that was set, a renamed file or changed metadata cause this.");
    } else {
        result.Set("times", kDash);
    }
    if (best == nullptr || name.IsGeneric()) return;
    if (best->row.kind == "copy")
        findings.push_back(
            "The name is that of a copy that was made of another picture: " + best->row.origin + ".");
    if (best->row.makers != "-" && best->row.sure != "low" && !facts.make.empty() &&
        !FitsMaker(best->row.makers, facts.make))
        findings.push_back("Files with such names come from " + best->row.origin +
                           ", but the metadata name the maker " + ShortenText(facts.make, 60) +
                           ". Whoever renamed the file or changed the metadata leaves this.");
}

void NameAndCameraFilter::ReadCamera(const OrvLoadedFile& file, const MetadataFacts& facts,
                                     OrvSlotResult& result, std::vector<std::string>& findings) {
    const ImageInfo& info = file.GetInfo();
    const std::string size = ToString(info.width) + " x " + ToString(info.height);
    const std::string name = Trim(facts.make + " " + facts.model);
    result.Set("camera", name.empty() ? std::string(kDash) : name);
    result.Set("size", info.width > 0 ? size : std::string(kDash));
    if (facts.model.empty()) return result.Set("sizes", "No camera is named");
    if (info.width <= 0) return result.Set("sizes", "The size of the picture is not known");
    const auto camera = FindCameraSizes(facts.make, facts.model);
    if (!camera || camera->sizes.empty()) return result.Set("sizes", "The camera is not in the list");
    const std::string list =
        std::string(camera->isComplete ? "all its sizes: " : "sizes seen in files: ") + SizesText(*camera);
    switch (MatchSize(*camera, info.width, info.height)) {
        case SizeMatch::Among:
            return result.Set("sizes", "Yes (" + list + ")");
        case SizeMatch::Turned:
            return result.Set("sizes", "Yes, turned (" + list + ")");
        case SizeMatch::NotAmong:
            result.Set("sizes", (camera->isComplete ? "No (" : "Not known of it (") + list + ")");
    }
    if (camera->isComplete)
        findings.push_back("The camera that the metadata name does not record pictures of " + size +
                           " pixels. The picture was cut or scaled, or the metadata belong to another one.");
}

void NameAndCameraFilter::Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob&,
                                  OrvSlotResult& result) const {
    const auto metadata = GetMetadata(file);
    const NameReading name = ReadNameOrigin(file.GetPath());
    std::vector<std::string> findings;
    ReadName(name, metadata->facts, result, findings);
    ReadCamera(file, metadata->facts, result, findings);
    result.Set("findings", findings.empty() ? std::string("Nothing found") : Join(findings, "\n"));
    if (findings.empty())
        result.Judge(OrvVerdict::NothingFound, "Nothing found");
    else
        result.Judge(OrvVerdict::WorthALook, "Name or size does not fit", std::move(findings));
}

// The table of the evidence stands before the reference's.
void NameAndCameraFilter::Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
                                VecParameter& output) const {
    OrvFilter::Merge(evidence, reference, output);
    ::TableString table;
    const auto add = [&table](const OrvSlotResult* slot, const char* file) {
        const Parameter* rows = slot != nullptr ? slot->output.Find("table") : nullptr;
        if (rows == nullptr || !rows->IsSet()) return;
        const auto& cells = rows->Get<::TableString>();
        for (std::size_t i = table.empty() ? 0 : 1; i < cells.size(); ++i) {
            table.push_back(cells[i]);
            table.back().insert(table.back().begin(), i == 0 ? "File" : file);
        }
    };
    if (reference == nullptr) return;
    add(evidence, "Evidence");
    add(reference, "Reference");
    output.Find("table")->ClearReference();
    if (!table.empty()) output.Find("table")->SetValue(table);
}

}  // namespace

std::unique_ptr<OrvFilter> MakeNameAndCameraFilter() {
    return std::make_unique<NameAndCameraFilter>();
}
