#include <algorithm>
#include <map>

#include "orvcore/filter/filter.h"
#include "orvcore/filters/consistencyoffile.h"
#include "orvcore/filters/filterlist.h"
#include "orvcore/tables/tablemarkup.h"
#include "zorbase/text.h"

namespace {

enum Column : std::size_t { kRule, kGroup, kSeverity, kResult, kFound, kMeaning, kOffset };

constexpr const char* kBroken = "Does not fit";

std::vector<std::string> RowOf(const ConsistencyResult& one) {
    const RuleState state = one.answer.state;
    return {one.rule->title,
            RuleGroupText(one.rule->group),
            RuleSeverityText(one.rule->severity),
            state == RuleState::Broken  ? kBroken
            : state == RuleState::Holds ? "Fits"
                                        : "Not stated",
            one.answer.found,
            one.rule->meaning,
            one.answer.offset ? ToString(static_cast<std::int64_t>(*one.answer.offset)) : std::string()};
}

CellMark MarkOf(const std::vector<std::string>& row) {
    if (row[kResult] != kBroken || row[kSeverity] == RuleSeverityText(RuleSeverity::Hint))
        return CellMark::None;
    return row[kSeverity] == RuleSeverityText(RuleSeverity::Strong) ? CellMark::StandsOut
                                                                    : CellMark::Doubtful;
}

const ::TableString* RowsOf(const OrvSlotResult* slot) {
    const Parameter* rows = slot != nullptr ? slot->output.Find("rows") : nullptr;
    return rows != nullptr && rows->IsSet() ? &rows->Get<::TableString>() : nullptr;
}

::TableString OneFile(const ::TableString& rows) {
    ::TableString table{
        {"Rule", "Severity", "What Was Found", "Result", "About", "Why It Matters", "Offset"}};
    for (const std::vector<std::string>& row : rows) {
        std::vector<std::string> cells;
        for (const Column i : {kRule, kSeverity, kFound, kResult, kGroup, kMeaning, kOffset})
            cells.push_back(MarkCell(i == kFound || i == kSeverity ? MarkOf(row) : CellMark::None, row[i]));
        table.push_back(std::move(cells));
    }
    return table;
}

// What stands in both tables side by side, by rule: the order of the evidence, then what only the reference has.
::TableString BothFiles(const ::TableString& evidence, const ::TableString& reference) {
    ::TableString table{{"Rule", "Severity", "Found In The Evidence", "Found In The Reference", "Evidence",
                         "Reference", "About", "Why It Matters", "Offset (evidence)", "Offset (reference)"}};
    std::map<std::string, const std::vector<std::string>*> others;
    for (const std::vector<std::string>& row : reference) others[row[kRule]] = &row;
    const auto add = [&table](const std::vector<std::string>* a, const std::vector<std::string>* b) {
        static const std::string kNone = "Not listed";
        const std::vector<std::string>& any = a != nullptr ? *a : *b;
        const auto cell = [](const std::vector<std::string>* row, std::size_t column) {
            return row == nullptr
                       ? std::string()
                       : MarkCell(column == kFound ? MarkOf(*row) : CellMark::None, (*row)[column]);
        };
        const std::string first = a == nullptr ? kNone : (*a)[kResult];
        const std::string second = b == nullptr ? kNone : (*b)[kResult];
        const CellMark differs = first != second ? CellMark::Doubtful : CellMark::None;
        table.push_back({TableCell(any[kRule]), TableCell(any[kSeverity]), cell(a, kFound), cell(b, kFound),
                         MarkCell(differs, first), MarkCell(differs, second), TableCell(any[kGroup]),
                         TableCell(any[kMeaning]), cell(a, kOffset), cell(b, kOffset)});
    };
    for (const std::vector<std::string>& row : evidence) {
        const auto other = others.find(row[kRule]);
        add(&row, other == others.end() ? nullptr : other->second);
        if (other != others.end()) other->second = nullptr;
    }
    for (const std::vector<std::string>& row : reference)
        if (others[row[kRule]] != nullptr) add(nullptr, &row);
    return table;
}

class ConsistencyFilter : public OrvFilter {
  public:
    ConsistencyFilter();
    bool GivesVerdict() const override { return true; }
    int GetVersion() const override { return 3; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return file.GetBytes().empty() ? "Empty file" : "";
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
    void Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
               VecParameter& output) const override;
};

ConsistencyFilter::ConsistencyFilter() : OrvFilter("Consistency", "consistency") {
    Describe(
        "File",
        "Whether what the file says fits together: name and content, structure and camera, EXIF, XMP, IPTC and the camera's own note, "
        "dates among themselves, thumbnail and picture, position and time, content credentials. Each rule tells what was found, how "
        "much it weighs, why it matters and what else has this effect, and where in the file it stands. A rule speaks only where the "
        "file states all that it compares. It cannot see: whoever writes everything anew can write it to agree, and a file that says "
        "little breaks few rules. A hint is what cameras, ordinary programs and services do every day: hints alone are no finding.");
    using enum ParameterType;
    SetParameters(
        {Parameter::Choice("show", "Show", 0, {"What Does Not Fit", "What Could Be Compared", "All Rules"})},
        {},
        {
            Parameter::Output(OutputString, "broken", "Does Not Fit"),
            Parameter::Output(OutputString, "compared", "Rules That Could Compare"),
            Parameter::Output(OutputText, "findings", "What Deserves A Look"),
            Parameter::Output(TableString, "table", "Rules"),
            Parameter::Output(TableString, "rows", "Rows Of One File").SetHiddenFromGui(),
        });
}

void ConsistencyFilter::Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                                OrvSlotResult& result) const {
    const auto parts = GetConsistencyParts(file);
    job.SetProgress(0.6);
    const ConsistencyInput facts = ConsistencyInputOf(file, *parts, true, job);
    std::vector<ConsistencyResult> all = CheckConsistency(facts);
    std::stable_sort(all.begin(), all.end(), [](const ConsistencyResult& a, const ConsistencyResult& b) {
        if (a.answer.state != b.answer.state) return a.answer.state > b.answer.state;
        return a.answer.state == RuleState::Broken && a.rule->severity > b.rule->severity;
    });
    std::vector<ConsistencyResult> broken;
    int counts[3] = {};
    int compared = 0;
    const int show = input.Get<int>("show");
    ::TableString rows;
    for (const ConsistencyResult& one : all) {
        const bool isBroken = one.answer.state == RuleState::Broken;
        if (one.answer.state != RuleState::NotStated) ++compared;
        if (isBroken) {
            ++counts[static_cast<std::size_t>(one.rule->severity)];
            broken.push_back(one);
        }
        if (isBroken || show == 2 || (show == 1 && one.answer.state == RuleState::Holds))
            rows.push_back(RowOf(one));
    }
    result.Set("broken", ToString(counts[2]) + " strong, " + ToString(counts[1]) + " worth a look, " +
                             ToString(counts[0]) + (counts[0] == 1 ? " hint" : " hints"));
    result.Set("compared", ToString(compared) + " of " + ToString(static_cast<int>(all.size())));
    if (!rows.empty()) result.Set("rows", rows);
    JudgeConsistency(broken, result);
}

void ConsistencyFilter::Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
                              VecParameter& output) const {
    OrvFilter::Merge(evidence, reference, output);
    output.Find("rows")->Reset();
    const ::TableString* first = RowsOf(evidence);
    const ::TableString* second = RowsOf(reference);
    if (first == nullptr && second == nullptr) return;
    static const ::TableString kNone;
    const bool isComparison = evidence != nullptr && reference != nullptr;
    output.Find("table")->SetValue(
        isComparison ? BothFiles(first != nullptr ? *first : kNone, second != nullptr ? *second : kNone)
                     : OneFile(first != nullptr ? *first : *second));
}

}  // namespace

std::unique_ptr<OrvFilter> MakeConsistencyFilter() {
    return std::make_unique<ConsistencyFilter>();
}
