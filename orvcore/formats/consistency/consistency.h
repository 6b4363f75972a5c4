#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "orvcore/formats/consistency/consistencyinput.h"

// Whether what a file says fits together: with itself, with the picture, and with what a camera writes. One list of rules for every
// page, table and report that tells of such a thing. A rule speaks only where the file states all that it compares; agreement
// proves nothing, because what is written can be written to agree.

enum class RuleSeverity {
    Hint,        // departs from what a camera writes; ordinary programs and services do this
    WorthALook,  // two statements that should agree do not
    Strong       // the file declares it by itself, or a signature says so
};

enum class RuleState {
    NotStated,  // there is nothing to compare
    Holds,
    Broken
};

enum class RuleGroup { File, Jpeg, Camera, Thumbnail, Dates, Programs, Position, Credentials };

struct RuleAnswer {
    RuleState state = RuleState::NotStated;
    std::string found;                  // whole sentences; hostile texts are quoted, shortened to a line
    std::optional<std::size_t> offset;  // where in the file
};

struct ConsistencyRule {
    const char* id;     // never changes: "taken-after-changed"
    const char* title;  // a few words: "Taken before it was changed"
    RuleGroup group;
    RuleSeverity severity;
    const char* meaning;  // why it matters, and what else has this effect; whole sentences
    RuleAnswer (*check)(const ConsistencyInput& input);
};

// Every rule, in the order of the tables.
const std::vector<ConsistencyRule>& ConsistencyRules();

struct ConsistencyResult {
    const ConsistencyRule* rule = nullptr;
    RuleAnswer answer;
    // What was found with what it means.
    std::string Text() const;
};

// The answers of all rules, or of those of some groups (empty: all), in the order of the rules. Pure, any thread.
std::vector<ConsistencyResult> CheckConsistency(const ConsistencyInput& input,
                                                const std::vector<RuleGroup>& groups = {});
// Only what is broken, the most severe first, otherwise in the order of the rules.
std::vector<ConsistencyResult> FindInconsistencies(const ConsistencyInput& input,
                                                   const std::vector<RuleGroup>& groups = {});

// What is broken, in a few words: "Nothing found", "Nothing found, but 2 hints", "1 point to look at, 2 hints"... Hints alone are no
// finding: a camera's own files have them too.
std::string ConsistencySummary(const std::vector<ConsistencyResult>& broken);
// The same as lines to read: what deserves a look, then the hints, each marked as one.
std::string ConsistencyLines(const std::vector<ConsistencyResult>& broken);

// "Strong", "Worth a look", "Hint".
std::string RuleSeverityText(RuleSeverity severity);
std::string RuleGroupText(RuleGroup group);
