#include "orvgui/pages/filtersummarytext.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

OrvFilterResult Result(OrvVerdict verdict, std::vector<std::string> findings = {}) {
    auto slot = std::make_shared<OrvSlotResult>();
    slot->verdict = verdict;
    slot->verdictText = "a few words";
    slot->findings = std::move(findings);
    OrvFilterResult result;
    result.input = {Parameter::Int("block", "Block", 8, 1, 64)};
    result.slot[OrvEvidence] = slot;
    return result;
}

SummaryEntry Entry(const char* name, SummaryState state, std::vector<wxString> findings = {}) {
    SummaryEntry entry;
    entry.filterName = name;
    entry.state = state;
    entry.findings = std::move(findings);
    return entry;
}

constexpr SummaryState kAllStates[] = {SummaryState::NotRun,       SummaryState::Failed,
                                       SummaryState::NoVerdict,    SummaryState::NotApplicable,
                                       SummaryState::NothingFound, SummaryState::WorthALook,
                                       SummaryState::StrongSign};

// Hints alone are no finding, but they are told.
TEST(FilterSummaryText, HintsAreToldBesideTheFilterThatFoundNothing) {
    SummaryFile file;
    file.title = "Evidence (a.jpg)";
    file.entries = {Entry("Consistency", SummaryState::NothingFound),
                    Entry("Ghosts", SummaryState::NothingFound)};
    file.entries[0].text = "Nothing found, but 2 hints";
    file.entries[1].text = "Nothing found";
    EXPECT_TRUE(GlobalResultText({file}).Contains("Nothing found by: Consistency (but 2 hints), Ghosts."));
}

TEST(FilterSummaryText, SaysHowAFilterStands) {
    const OrvFilterResult strong = Result(OrvVerdict::StrongSign, {"One.", "Two."});
    const struct {
        const char* name;
        OrvFilterResult result;
        bool hasResult;
        bool isCurrent;
        OrvFileId slot;
        const char* error;
        const char* status;
    } cases[] = {
        {"no result", {}, false, false, OrvEvidence, "", "not run yet"},
        {"of files that are gone", strong, true, false, OrvEvidence, "", "not run yet"},
        {"nothing for this slot", strong, true, true, OrvReference, "", "not run yet"},
        {"strong", strong, true, true, OrvEvidence, "", "strong sign"},
        {"look", Result(OrvVerdict::WorthALook), true, true, OrvEvidence, "", "worth a look"},
        {"nothing", Result(OrvVerdict::NothingFound), true, true, OrvEvidence, "", "nothing found"},
        {"not for this", Result(OrvVerdict::NotApplicable), true, true, OrvEvidence, "", "not applicable"},
        {"no opinion", Result(OrvVerdict::None), true, true, OrvEvidence, "", "no verdict"},
        {"failed", strong, true, true, OrvEvidence, "No memory.", "failed"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const SummaryEntry entry =
            MakeSummaryEntry("Grid", c.hasResult ? &c.result : nullptr, c.isCurrent, c.slot, c.error);
        EXPECT_EQ(StateText(entry.state), c.status);
        EXPECT_EQ(entry.findings.size(), std::string(c.status) == "strong sign" ? 2U : 0U);
    }
}

TEST(FilterSummaryText, ToolTipHoldsWhatTheFieldHasNoRoomFor) {
    const OrvFilterResult result = Result(OrvVerdict::WorthALook);
    const wxString text = StatusToolTip(MakeSummaryEntry("Grid", &result, true, OrvEvidence, ""));
    for (const char* part : {"Grid", "worth a look", "a few words", "Block 8"})
        EXPECT_TRUE(text.Contains(part)) << part << " is missing in: " << text;
    const wxString failed =
        StatusToolTip(MakeSummaryEntry("Grid", nullptr, false, OrvEvidence, "No memory."));
    EXPECT_TRUE(failed.Contains("No memory."));
    EXPECT_EQ(MakeSummaryEntry("Grid", nullptr, false, OrvEvidence, "Grid: No memory.").text, "No memory.");
}

// Red-green blindness, simulated on linear light.
void Simulate(const wxColour& colour, int kind, double (&out)[3]) {
    static const double kMatrix[3][3][3] = {
        {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
        {{0.152286, 1.052583, -0.204868}, {0.114503, 0.786281, 0.099216}, {-0.003882, -0.048116, 1.051998}},
        {{0.367322, 0.860646, -0.227968}, {0.280085, 0.672501, 0.047413}, {-0.011820, 0.042940, 0.968881}},
    };
    const double linear[3] = {std::pow(colour.Red() / 255.0, 2.2), std::pow(colour.Green() / 255.0, 2.2),
                              std::pow(colour.Blue() / 255.0, 2.2)};
    for (int i = 0; i < 3; ++i) {
        double sum = 0;
        for (int j = 0; j < 3; ++j) sum += kMatrix[kind][i][j] * linear[j];
        out[i] = std::pow(std::max(0.0, sum), 1 / 2.2) * 255;
    }
}

TEST(FilterSummaryText, VerdictColoursDifferForEveryEye) {
    const SummaryState states[] = {SummaryState::NotRun, SummaryState::NotApplicable,
                                   SummaryState::NothingFound, SummaryState::WorthALook,
                                   SummaryState::StrongSign};
    for (int kind = 0; kind < 3; ++kind)
        for (const SummaryState a : states)
            for (const SummaryState b : states) {
                if (a >= b) continue;
                double first[3];
                double second[3];
                Simulate(StateColour(a), kind, first);
                Simulate(StateColour(b), kind, second);
                const double distance =
                    std::hypot(first[0] - second[0], first[1] - second[1], first[2] - second[2]);
                EXPECT_GT(distance, 60) << "kind " << kind << ": " << StateText(a) << " / " << StateText(b);
            }
}

TEST(FilterSummaryText, SaysWhatToDoBeforeAnythingWasRun) {
    const wxString empty = GlobalResultText({});
    EXPECT_TRUE(empty.Contains("Ctrl+O"));
    EXPECT_TRUE(empty.Contains("filters tree"));
    const wxString loaded = GlobalResultText({{"Evidence (a.jpg)", {Entry("Grid", SummaryState::NotRun)}}});
    EXPECT_TRUE(loaded.Contains("No filter with a verdict has been run"));
    EXPECT_TRUE(loaded.Contains("filters tree"));
    EXPECT_FALSE(loaded.Contains("not a proof"));
}

TEST(FilterSummaryText, FindingsNameTheirFilterStrongestFirst) {
    const wxString text = GlobalResultText(
        {{"Evidence (a.jpg)",
          {Entry("Noise", SummaryState::WorthALook, {"The left is smoother."}),
           Entry("Grid", SummaryState::StrongSign,
                 {"A second grid is shifted by 3, 5.", "It covers a third."}),
           Entry("Ghosts", SummaryState::NothingFound), Entry("Quantization", SummaryState::NotApplicable),
           Entry("Mosaic", SummaryState::NotRun), Entry("Blur", SummaryState::Failed)}}});
    const char* parts[] = {"Grid (strong sign): A second grid is shifted by 3, 5.",
                           "Grid (strong sign): It covers a third.",
                           "Noise (worth a look): The left is smoother.",
                           "Nothing found by: Ghosts.",
                           "Not applicable to this file: Quantization.",
                           "Could not be run: Blur.",
                           "Not run yet: Mosaic.",
                           "A finding is not a proof."};
    int last = -1;
    for (const char* part : parts) {
        const int at = text.Find(part);
        EXPECT_GT(at, last) << part << " is missing or out of order in:\n" << text;
        last = at;
    }
    EXPECT_FALSE(text.Contains("found anything that stands out"));
}

TEST(FilterSummaryText, EachKindOfFindingStandsOut) {
    for (const SummaryState state : kAllStates) {
        const wxString text = GlobalResultText(
            {{"Evidence (a.jpg)", {Entry("Grid", state), Entry("Ghosts", SummaryState::NothingFound)}}});
        const bool isFinding = state == SummaryState::WorthALook || state == SummaryState::StrongSign;
        EXPECT_EQ(text.Contains("found anything that stands out"), !isFinding) << StateText(state);
        EXPECT_FALSE(text.Contains("has been run on this file yet"));
    }
    for (const SummaryState state : {SummaryState::NotRun, SummaryState::Failed})
        EXPECT_TRUE(GlobalResultText({{"Evidence (a.jpg)", {Entry("Grid", state)}}})
                        .Contains("No filter with a verdict has been run on this file yet."));
}

TEST(FilterSummaryText, NothingFoundIsNoProofEither) {
    const wxString text =
        GlobalResultText({{"Evidence (a.jpg)", {Entry("Ghosts", SummaryState::NothingFound)}}});
    EXPECT_TRUE(text.Contains("No filter that was run found anything that stands out."));
    EXPECT_TRUE(text.Contains("Nothing found is not a proof either"));
}

TEST(FilterSummaryText, AFileCannotForgeALine) {
    const OrvFilterResult result =
        Result(OrvVerdict::StrongSign, {"Written by \"x\"\nNothing found by: Grid\x01\xff."});
    const SummaryEntry entry = MakeSummaryEntry("Metadata", &result, true, OrvEvidence, "");
    ASSERT_EQ(entry.findings.size(), 1U);
    EXPECT_FALSE(entry.findings[0].Contains("\n"));
    EXPECT_FALSE(entry.findings[0].empty());
}

TEST(FilterSummaryText, NeverPassesASentence) {
    std::vector<SummaryEntry> entries;
    for (const SummaryState state : kAllStates) entries.push_back(Entry("Grid", state));
    wxString all = GlobalResultText({}) + GlobalResultText({{"Evidence", entries}});
    for (const SummaryState state : kAllStates) all += StateText(state);
    for (const char* word : {"fake", "authentic", "genuine", "forged", "manipulated", "tampered"})
        EXPECT_FALSE(all.Lower().Contains(word)) << word;
}

TEST(FilterSummaryText, ListsFindingsStrongestFirst) {
    const auto entry = [](const char* name, SummaryState state, std::vector<wxString> findings) {
        SummaryEntry made;
        made.filterName = name;
        made.state = state;
        made.text = "in short";
        made.findings = std::move(findings);
        return made;
    };
    SummaryFile evidence;
    evidence.entries = {entry("A", SummaryState::WorthALook, {"a1", "a2"}),
                        entry("B", SummaryState::NothingFound, {"not told"}),
                        entry("C", SummaryState::StrongSign, {"c1"})};
    SummaryFile reference;
    reference.slot = OrvReference;
    reference.entries = {entry("A", SummaryState::StrongSign, {}), entry("B", SummaryState::Failed, {}),
                         entry("C", SummaryState::NotRun, {})};
    std::string listed;
    for (const SummaryFinding& finding : ListFindings({evidence, reference}))
        listed += (finding.filterName + (finding.slot == OrvReference ? "r " : " ") + finding.text + "|")
                      .utf8_string();
    EXPECT_EQ(listed, "C c1|Ar in short|A a1|A a2|");
    EXPECT_TRUE(ListFindings({}).empty());
}

}  // namespace
