#include "orvcore/formats/consistency/consistency.h"

#include <algorithm>

#include "zorbase/text.h"

namespace {

std::size_t CountHints(const std::vector<ConsistencyResult>& broken) {
    return static_cast<std::size_t>(std::count_if(
        broken.begin(), broken.end(),
        [](const ConsistencyResult& result) { return result.rule->severity == RuleSeverity::Hint; }));
}

std::string Counted(std::size_t count, const char* one, const char* many) {
    return std::to_string(count) + (count == 1 ? one : many);
}

bool IsWanted(const std::vector<RuleGroup>& groups, RuleGroup group) {
    return groups.empty() || std::find(groups.begin(), groups.end(), group) != groups.end();
}

}  // namespace

std::string ConsistencyResult::Text() const {
    return answer.found +
           (answer.state == RuleState::Broken ? std::string(" ") + rule->meaning : std::string());
}

std::vector<ConsistencyResult> CheckConsistency(const ConsistencyInput& input,
                                                const std::vector<RuleGroup>& groups) {
    std::vector<ConsistencyResult> results;
    for (const ConsistencyRule& rule : ConsistencyRules())
        if (IsWanted(groups, rule.group)) results.push_back({&rule, rule.check(input)});
    return results;
}

std::vector<ConsistencyResult> FindInconsistencies(const ConsistencyInput& input,
                                                   const std::vector<RuleGroup>& groups) {
    std::vector<ConsistencyResult> results = CheckConsistency(input, groups);
    std::erase_if(results,
                  [](const ConsistencyResult& result) { return result.answer.state != RuleState::Broken; });
    std::stable_sort(results.begin(), results.end(),
                     [](const ConsistencyResult& a, const ConsistencyResult& b) {
                         return a.rule->severity > b.rule->severity;
                     });
    return results;
}

std::string ConsistencySummary(const std::vector<ConsistencyResult>& broken) {
    const std::size_t hints = CountHints(broken);
    const std::string hintsText = Counted(hints, " hint", " hints");
    if (hints == broken.size()) return hints == 0 ? "Nothing found" : "Nothing found, but " + hintsText;
    bool isStrong = false;
    bool isDeclared = false;
    for (const ConsistencyResult& one : broken) {
        isStrong = isStrong || one.rule->severity == RuleSeverity::Strong;
        isDeclared = isDeclared || std::string(one.rule->id) == "declared-source";
    }
    if (isDeclared) return "Declared by the file itself";
    if (isStrong) return "Content credentials do not hold";
    return Counted(broken.size() - hints, " point to look at", " points to look at") +
           (hints == 0 ? std::string() : ", " + hintsText);
}

std::string ConsistencyLines(const std::vector<ConsistencyResult>& broken) {
    std::vector<std::string> lines;
    std::vector<std::string> hints;
    for (const ConsistencyResult& one : broken)
        if (one.rule->severity == RuleSeverity::Hint)
            hints.push_back("Hint: " + one.Text());
        else
            lines.push_back(one.Text());
    if (lines.empty()) lines.push_back(ConsistencySummary(broken) + (hints.empty() ? "" : ":"));
    lines.insert(lines.end(), hints.begin(), hints.end());
    return Join(lines, "\n");
}

std::string RuleSeverityText(RuleSeverity severity) {
    return severity == RuleSeverity::Strong       ? "Strong"
           : severity == RuleSeverity::WorthALook ? "Worth a look"
                                                  : "Hint";
}

std::string RuleGroupText(RuleGroup group) {
    static constexpr const char* kTexts[] = {"File",  "JPEG",     "Camera",   "Thumbnail",
                                             "Dates", "Programs", "Position", "Credentials"};
    return kTexts[static_cast<std::size_t>(group)];
}
