#include "orvcore/formats/consistency/consistency.h"

#include <algorithm>

namespace {

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
