#include "orvgui/shell/filterspanel.h"

#include <gtest/gtest.h>
#include <wx/frame.h>
#include <wx/menu.h>
#include <wx/sizer.h>

#include <fstream>

#include "orvgui/common/fileselectors.h"
#include "orvgui/pages/filtergui.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "tests/orvgui/filtersfixture.h"
#include "tests/support/guitest.h"
#include "zorbase/files.h"

namespace {

class FiltersPanel : public FiltersFixture {
  protected:
    void SetUp() override {
        FiltersFixture::SetUp();
        alpha = AddFakeFilter("Alpha", "First", {true, true, {1, 2}});
        beta = AddFakeFilter("Beta", "First", {false, false, {}});
        gamma = AddFakeFilter("Gamma", "Second", {true, false, {5}});
        delta = AddFakeFilter("Delta", "First", {true, false, {}});
        BuildPanels();
    }

    FakeFilter* alpha = nullptr;
    FakeFilter* beta = nullptr;
    FakeFilter* gamma = nullptr;
    FakeFilter* delta = nullptr;
};

// --- building ---

TEST_F(FiltersPanel, GroupsFiltersThatFollowEachOther) {
    std::vector<wxString> groups;
    ForEachChild(tree->GetRootItem(),
                 [&](wxTreeItemId group) { groups.push_back(tree->GetItemText(group)); });
    ASSERT_GE(groups.size(), 4U);
    EXPECT_EQ(groups.front(), "Overview");
    EXPECT_EQ(std::vector<wxString>(groups.end() - 3, groups.end()),
              (std::vector<wxString>{"First", "Second", "First"}));
    EXPECT_EQ(Data(tree->GetItemParent(FilterItem(alpha)))->kind, OrvItemGroup);
    EXPECT_EQ(Data(tree->GetItemParent(FilterItem(alpha)))->filter, nullptr);
    EXPECT_EQ(Data(FilterItem(alpha))->kind, OrvItemFilter);
    EXPECT_EQ(Data(FilterItem(alpha))->configuration, -1);
    EXPECT_EQ(ChildTexts(alpha).size(), 3U);
    EXPECT_EQ(ChildTexts(alpha)[2], "Level 2");
    EXPECT_TRUE(ChildTexts(beta).empty());
}

TEST_F(FiltersPanel, PagesAreMadeOnceAndKeepTheCoresOrder) {
    const std::vector<OrvFilterGui*> pages = panel->GetPages();
    panel->InitTreebook();
    EXPECT_EQ(panel->GetPages(), pages);
    std::vector<OrvFilter*> filters;
    for (OrvFilterGui* page : pages) filters.push_back(page->GetFilter());
    EXPECT_EQ(filters, core->GetFilters());
}

TEST_F(FiltersPanel, ARebuildKeepsSelectionAndWhatWasExpanded) {
    tree->Expand(FilterItem(gamma));
    Select(Child(alpha, 1));
    panel->InitTreebook();
    EXPECT_EQ(tree->GetSelection(), Child(alpha, 1));
    EXPECT_TRUE(tree->IsExpanded(FilterItem(gamma)));
    EXPECT_FALSE(tree->IsExpanded(FilterItem(delta)));
}

TEST_F(FiltersPanel, ARebuildWithAGroupChosenGoesToTheActiveFilter) {
    Select(Child(alpha, 1));
    Settle();
    Select(tree->GetItemParent(FilterItem(gamma)));
    panel->InitTreebook();
    EXPECT_EQ(tree->GetSelection(), Child(alpha, 1));
    EXPECT_EQ(GetContext()->GetActiveFilter(), alpha) << "not the first of the tree";
}

TEST_F(FiltersPanel, TheMenuAlwaysHasItsElevenEntries) {
    const auto menu = panel->CreateContextMenu();
    std::vector<int> ids;
    for (const wxMenuItem* item : menu->GetMenuItems())
        if (!item->IsSeparator()) ids.push_back(item->GetId());
    EXPECT_EQ(ids, (std::vector<int>{6014, 6013, 6015, 6016, 6019, 6020, 6021, 6011, 6012}));
    EXPECT_EQ(menu->GetMenuItemCount(), 12U);
    EXPECT_EQ(menu->GetLabel(6021), "Reset Default Configurations");
}

// --- status ---

TEST_F(FiltersPanel, StatusShowsWhatWasRunAndWhatStandsOut) {
    EXPECT_EQ(Look(Child(alpha, 0)), "plain");
    LoadEvidence("one");
    Select(Child(alpha, 0));
    Settle();
    EXPECT_EQ(Look(Child(alpha, 0)), "bold");
    EXPECT_EQ(Look(FilterItem(alpha)), "bold");
    Select(Child(alpha, 1));
    Settle();
    EXPECT_EQ(Look(Child(alpha, 1)), "bold red");
    EXPECT_EQ(Look(Child(alpha, 0)), "bold");
    EXPECT_EQ(Look(Child(alpha, 2)), "plain");
    EXPECT_EQ(Look(FilterItem(alpha)), "bold red");

    // Other files: nothing of that is true any more, also for filters that are not active.
    Select(Child(gamma, 0));
    Settle();
    LoadEvidence("two");
    EXPECT_EQ(Look(Child(alpha, 0)), "plain");
    EXPECT_EQ(Look(Child(alpha, 1)), "plain");
    EXPECT_EQ(Look(FilterItem(alpha)), "plain");
    EXPECT_EQ(Look(Child(gamma, 0)), "bold");
}

TEST_F(FiltersPanel, AnotherReferenceClearsTheStatusToo) {
    LoadEvidence("one");
    Select(Child(alpha, 1));
    Settle();
    Select(Child(gamma, 0));
    Settle();
    core->SetFile(wxString::FromUTF8(MakeFile("reference")), OrvReference);
    Settle();
    EXPECT_EQ(Look(Child(alpha, 1)), "plain");
}

TEST_F(FiltersPanel, ValuesSavedNowhereShowOnTheFilter) {
    LoadEvidence("one");
    Select(FilterItem(gamma));
    Settle();
    core->Configure(gamma, -1, FakeFilter::Level(77), {}, false);
    Settle();
    EXPECT_EQ(Look(FilterItem(gamma)), "bold red");
    EXPECT_EQ(Look(Child(gamma, 1)), "plain");
}

TEST_F(FiltersPanel, DisabledIsGreyWhateverTheStatus) {
    LoadEvidence("one");
    Select(Child(alpha, 1));
    Settle();
    Send(6016);
    EXPECT_EQ(Look(Child(alpha, 1)), "grey");
    EXPECT_FALSE(alpha->IsConfigurationEnabled(1));
    EXPECT_TRUE(tree->GetItemTextColour(Child(alpha, 1)) == *wxLIGHT_GREY);
    Send(6015);
    EXPECT_EQ(Look(Child(alpha, 1)), "bold red");
}

TEST_F(FiltersPanel, AFilterStaysEnabledWhileAnyConfigurationIs) {
    Select(Child(gamma, 0));
    Send(6016);
    EXPECT_EQ(Look(FilterItem(gamma)), "plain");
    Select(Child(gamma, 1));
    Send(6016);
    EXPECT_EQ(Look(FilterItem(gamma)), "grey");
    EXPECT_EQ(Look(tree->GetItemParent(FilterItem(gamma))), "grey");
    panel->InitTreebook();
    EXPECT_EQ(Look(FilterItem(gamma)), "grey");
    EXPECT_EQ(Look(Child(gamma, 0)), "grey");
    Select(FilterItem(gamma));
    Send(6022);
    EXPECT_TRUE(gamma->IsConfigurationEnabled(0) && gamma->IsConfigurationEnabled(1));
    EXPECT_EQ(Look(tree->GetItemParent(FilterItem(gamma))), "plain");
    Send(6022);
    EXPECT_FALSE(gamma->IsConfigurationEnabled(0) || gamma->IsConfigurationEnabled(1));
}

TEST_F(FiltersPanel, ADisabledRunNoLongerCounts) {
    LoadEvidence("one");
    Select(Child(alpha, 1));
    Settle();
    EXPECT_EQ(Look(FilterItem(alpha)), "bold red");
    Send(6016);  // the only one that ran
    EXPECT_EQ(Look(FilterItem(alpha)), "plain");
}

TEST_F(FiltersPanel, AGroupFollowsDeletionAndReset) {
    const wxTreeItemId group = tree->GetItemParent(FilterItem(gamma));
    Select(Child(gamma, 0));
    Send(6016);
    ASSERT_EQ(Look(group), "plain") << "one configuration is left";
    Select(Child(gamma, 1));
    Send(6013);
    EXPECT_EQ(Look(group), "grey") << "the enabled one was deleted";
    Select(FilterItem(gamma));
    Send(6018);
    EXPECT_EQ(Look(group), "plain") << "the defaults are enabled";
}

TEST_F(FiltersPanel, AGroupSwitchesAllItsFilters) {
    Select(tree->GetItemParent(FilterItem(alpha)));
    Send(6016);
    EXPECT_EQ(Look(FilterItem(alpha)), "grey");
    EXPECT_EQ(Look(FilterItem(beta)), "grey");
    EXPECT_EQ(Look(FilterItem(delta)), "plain") << "another group of the same name";
    Send(6015);
    EXPECT_EQ(Look(FilterItem(beta)), "plain");
}

// --- choosing ---

TEST_F(FiltersPanel, ChoosingShowsThePageAndAsksForTheMissingResult) {
    LoadEvidence("one");
    Select(Child(alpha, 2));
    EXPECT_EQ(viewer->GetShownPage(), Page(alpha));
    EXPECT_EQ(core->GetActiveFilter(), alpha);
    EXPECT_EQ(alpha->GetActiveConfiguration(), 2);
    EXPECT_TRUE(alpha->GetParametersInput() == FakeFilter::Level(2));
    Settle();
    EXPECT_EQ(alpha->CountRuns(), 1);
    // What is known is not computed again.
    Select(FilterItem(beta));
    Settle();
    Select(Child(alpha, 2));
    Settle();
    EXPECT_EQ(alpha->CountRuns(), 1);
}

TEST_F(FiltersPanel, PassingByComputesOnlyWhereTheSelectionRests) {
    LoadEvidence("one");
    Select(Child(gamma, 0));
    Settle();
    const int before = alpha->CountRuns();
    panel->SetSettleTime(100);
    PumpFor(150);
    tree->SelectItem(Child(gamma, 1));
    for (int i = 0; i < 3; ++i) tree->SelectItem(Child(alpha, static_cast<std::size_t>(i)));
    tree->SelectItem(FilterItem(beta));
    EXPECT_EQ(viewer->GetShownPage(), Page(beta)) << "the page follows at once";
    PumpFor(150);
    Settle();
    EXPECT_EQ(alpha->CountRuns(), before);
    EXPECT_EQ(beta->CountRuns(), 1);
    EXPECT_EQ(core->GetActiveFilter(), beta);
}

TEST_F(FiltersPanel, AWalkThatEndsOnAGroupComputesThePageInSight) {
    LoadEvidence("one");
    Select(Child(gamma, 0));
    Settle();
    panel->SetSettleTime(100);
    PumpFor(150);
    tree->SelectItem(Child(gamma, 1));
    tree->SelectItem(Child(alpha, 2));
    tree->SelectItem(tree->GetItemParent(FilterItem(alpha)));
    EXPECT_EQ(viewer->GetShownPage(), Page(alpha));
    EXPECT_TRUE(PumpUntil([this] { return alpha->CountRuns() > 0; }));
    Settle();
    EXPECT_EQ(alpha->GetParametersInput(), FakeFilter::Level(2));
}

TEST_F(FiltersPanel, SelectingFromCodeIsSilent) {
    LoadEvidence("one");
    Select(Child(alpha, 1));
    Settle();
    const int runs = alpha->CountRuns();
    panel->SelectFirstItem();
    Settle();
    EXPECT_EQ(Data(tree->GetSelection())->filter->GetId(), "summary");
    EXPECT_EQ(viewer->GetShownPage()->GetFilter()->GetId(), "summary");
    EXPECT_EQ(core->GetActiveFilter()->GetId(), "summary");
    EXPECT_EQ(alpha->CountRuns(), runs);
}

TEST_F(FiltersPanel, TheCoreNeverTakesThePlaceOfTheUsersChoice) {
    LoadEvidence("one");
    Select(FilterItem(gamma));
    Settle();
    panel->ChangePage(Page(alpha), 1);
    EXPECT_EQ(viewer->GetShownPage(), Page(gamma));
    EXPECT_EQ(tree->GetSelection(), FilterItem(gamma));
    // What the core has made active itself is shown.
    GetContext()->SetActiveFilter(alpha);
    core->Configure(alpha, 1, FakeFilter::Level(1), {}, false);
    panel->ChangePage(Page(alpha), 1);
    EXPECT_EQ(viewer->GetShownPage(), Page(alpha));
    EXPECT_EQ(tree->GetSelection(), Child(alpha, 1));
    Settle();
    // A filter item stays chosen while its filter runs with one configuration or another.
    Select(FilterItem(alpha));
    Settle();
    panel->ChangePage(Page(alpha), 1);
    EXPECT_EQ(tree->GetSelection(), FilterItem(alpha));
}

TEST_F(FiltersPanel, AFilterLeftBehindStillGetsItsStatus) {
    LoadEvidence("one");
    // Nothing is handled in between: alpha's result arrives when gamma is chosen already.
    tree->SelectItem(Child(alpha, 1));
    tree->SelectItem(FilterItem(gamma));
    Settle();
    EXPECT_EQ(tree->GetSelection(), FilterItem(gamma));
    EXPECT_EQ(Look(Child(alpha, 1)), "bold red");
}

TEST_F(FiltersPanel, ActivatingAPageIsLikePickingIt) {
    LoadEvidence("one");
    Select(Child(alpha, 2));
    Settle();
    Select(FilterItem(beta));
    Settle();
    core->SetFile(wxString::FromUTF8(MakeFile("two")), OrvEvidence);
    Settle();
    panel->ActivateGui(Page(alpha));
    EXPECT_EQ(viewer->GetShownPage(), Page(alpha));
    EXPECT_EQ(tree->GetSelection(), Child(alpha, 2));
    Settle();
    EXPECT_EQ(alpha->CountRuns(), 2);
}

TEST_F(FiltersPanel, ActivatingAPageKeepsTheUsersOwnValues) {
    LoadEvidence("one");
    Select(Child(alpha, 1));
    Settle();
    core->Configure(alpha, 1, FakeFilter::Level(44), {}, false);
    Settle();
    Select(FilterItem(beta));
    Settle();
    panel->ActivateGui(Page(alpha));
    Settle();
    EXPECT_TRUE(alpha->GetParametersInput() == FakeFilter::Level(44));
    EXPECT_EQ(tree->GetSelection(), FilterItem(alpha));
}

TEST_F(FiltersPanel, AConfigurationIsChosenOnlyWhileItsValuesAre) {
    LoadEvidence("one");
    Select(Child(alpha, 1));
    Settle();
    // Values of the user's own, as the page hands them over.
    core->Configure(alpha, -1, FakeFilter::Level(44), {}, false);
    Settle();
    EXPECT_EQ(tree->GetSelection(), FilterItem(alpha));
    // A click brings the configuration's values back.
    Select(Child(alpha, 1));
    Settle();
    EXPECT_EQ(alpha->GetParametersInput(), FakeFilter::Level(1));
    EXPECT_EQ(tree->GetSelection(), Child(alpha, 1));
    // A run that fails leaves the values and the choice of before.
    core->Configure(alpha, -1, FakeFilter::Level(3), {}, false);
    Settle();
    EXPECT_EQ(alpha->GetParametersInput(), FakeFilter::Level(1));
}

// --- configurations ---

TEST_F(FiltersPanel, AddingAppendsTheCurrentValuesBelowTheFilter) {
    Select(tree->GetItemParent(FilterItem(alpha)));
    EXPECT_EQ(Send(6014), "Please select a tool to add the configuration.");
    Select(Child(alpha, 1));
    EXPECT_EQ(Send(6014), "This configuration is already present.");
    EXPECT_EQ(alpha->GetConfigurationsSize(), 3);
    core->Configure(alpha, -1, FakeFilter::Level(44), {}, false);
    Settle();
    EXPECT_EQ(Send(6014), "");
    EXPECT_EQ(ChildTexts(alpha), (std::vector<wxString>{"Level 0", "Level 1", "Level 2", "Level 44"}));
    EXPECT_TRUE(alpha->GetConfigurationParams(3) == FakeFilter::Level(44));
    EXPECT_EQ(tree->GetSelection(), Child(alpha, 3));
    EXPECT_EQ(Data(Child(alpha, 3))->configuration, 3);
    EXPECT_NE(Look(Child(alpha, 3)), "grey");
}

TEST_F(FiltersPanel, DeletingTakesOneConfigurationOrAll) {
    Select(tree->GetItemParent(FilterItem(alpha)));
    EXPECT_EQ(Send(6013), "You cannot delete a tool group.");
    Select(Child(alpha, 1));
    EXPECT_EQ(Send(6013), "") << "one configuration goes without a question";
    EXPECT_EQ(ChildTexts(alpha), (std::vector<wxString>{"Level 0", "Level 2"}));
    EXPECT_EQ(Data(Child(alpha, 1))->configuration, 1);
    EXPECT_EQ(alpha->GetConfigurationsSize(), 2);
    EXPECT_EQ(tree->GetSelection(), FilterItem(alpha));
    EXPECT_EQ(Send(6013, wxID_CANCEL), "Do you want to delete all configurations for this filter?");
    EXPECT_EQ(alpha->GetConfigurationsSize(), 2);
    Send(6013, wxID_OK);
    EXPECT_EQ(alpha->GetConfigurationsSize(), 0);
    EXPECT_TRUE(ChildTexts(alpha).empty());
    // A filter without configurations still takes a new one.
    Send(6014);
    EXPECT_EQ(alpha->GetConfigurationsSize(), 1);
    EXPECT_EQ(ChildTexts(alpha).size(), 1U);
}

TEST_F(FiltersPanel, AFilterWithoutSettingsKeepsItsOneConfiguration) {
    Select(FilterItem(beta));
    EXPECT_FALSE(Send(6013).empty());
    EXPECT_EQ(beta->GetConfigurationsSize(), 1);
    panel->InitTreebook();
}

TEST_F(FiltersPanel, ResettingBringsTheDefaultsBack) {
    Select(tree->GetItemParent(FilterItem(alpha)));
    EXPECT_EQ(Send(6018), "You cannot reset a tool group.");
    Select(Child(alpha, 2));
    Send(6013);
    Select(Child(alpha, 1));
    EXPECT_EQ(Send(6018, wxID_CANCEL), "Do you want to reset default configurations for this filter?");
    EXPECT_EQ(ChildTexts(alpha).size(), 2U);
    Send(6018, wxID_OK);
    EXPECT_EQ(ChildTexts(alpha), (std::vector<wxString>{"Level 0", "Level 1", "Level 2"}));
    EXPECT_EQ(tree->GetSelection(), FilterItem(alpha));
}

TEST_F(FiltersPanel, DeleteKeyDeletes) {
    Select(Child(alpha, 1));
    wxKeyEvent key(wxEVT_KEY_DOWN);
    key.m_keyCode = WXK_DELETE;
    wxTreeEvent event(wxEVT_TREE_KEY_DOWN, tree, tree->GetSelection());
    event.SetKeyEvent(key);
    tree->GetEventHandler()->ProcessEvent(event);
    EXPECT_EQ(alpha->GetConfigurationsSize(), 2);
}

// --- order ---

TEST_F(FiltersPanel, DroppingReordersTreeAndCoreAlike) {
    const struct {
        int from;
        int to;  // -1: the filter item
        std::vector<wxString> order;
    } cases[] = {
        {2, -1, {"Level 2", "Level 0", "Level 1"}}, {0, 2, {"Level 1", "Level 2", "Level 0"}},
        {0, 1, {"Level 1", "Level 0", "Level 2"}},  {2, 0, {"Level 0", "Level 2", "Level 1"}},
        {1, 1, {"Level 0", "Level 1", "Level 2"}},  {0, -1, {"Level 0", "Level 1", "Level 2"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.from * 10 + c.to);
        Select(FilterItem(alpha));
        core->ResetDefaultFilterConfigurations(alpha);
        panel->InitTreebook();
        Select(Child(alpha, static_cast<std::size_t>(c.from)));
        EXPECT_TRUE(Drag(Child(alpha, static_cast<std::size_t>(c.from)),
                         c.to < 0 ? FilterItem(alpha) : Child(alpha, static_cast<std::size_t>(c.to))));
        EXPECT_EQ(ChildTexts(alpha), c.order);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(ConfigurationText(alpha->GetConfigurationParams(i)),
                      c.order[static_cast<std::size_t>(i)]);
            EXPECT_EQ(Data(Child(alpha, static_cast<std::size_t>(i)))->configuration, i);
        }
        EXPECT_EQ(tree->GetItemText(tree->GetSelection()), wxString::Format("Level %d", c.from));
    }
}

TEST_F(FiltersPanel, OnlyConfigurationsMoveAndOnlyWithinTheirFilter) {
    EXPECT_FALSE(Drag(FilterItem(alpha), FilterItem(gamma)));
    EXPECT_FALSE(Drag(tree->GetItemParent(FilterItem(alpha)), FilterItem(gamma)));
    EXPECT_TRUE(Drag(Child(alpha, 0), Child(gamma, 0)));
    EXPECT_TRUE(Drag(Child(alpha, 0), wxTreeItemId()));
    EXPECT_EQ(ChildTexts(alpha), (std::vector<wxString>{"Level 0", "Level 1", "Level 2"}));
    EXPECT_EQ(ChildTexts(gamma).size(), 2U);
}

// --- files of configurations ---

TEST_F(FiltersPanel, ConfigurationsTravelAsFiles) {
    const std::string path = folder / "mine.zof";
    const auto answer = [&](OrvSelectorKind, const wxString&, const wxString&, const wxString&,
                            const wxString& filter) {
        EXPECT_TRUE(filter.Contains("*.zof"));
        return wxString::FromUTF8(path);
    };
    const OrvSelectorAnswer before = SetSelectorAnswer(answer);
    Select(FilterItem(alpha));
    Send(6013, wxID_OK);
    core->AddFilterConfiguration(alpha, FakeFilter::Level(9), 0);
    Send(6019);
    Settle();
    ASSERT_TRUE(FileExists(path));

    EXPECT_EQ(Send(6021, wxID_CANCEL), "Do you want to reset default configurations for all filters?");
    Send(6021, wxID_OK);
    EXPECT_EQ(ChildTexts(alpha), (std::vector<wxString>{"Level 0", "Level 1", "Level 2"}));
    Settle();
    Select(Child(alpha, 0));
    Send(6020);
    Settle();
    EXPECT_EQ(ChildTexts(alpha), (std::vector<wxString>{"Level 9"}));
    EXPECT_EQ(ChildTexts(gamma).size(), 2U);
    EXPECT_TRUE(PumpUntil([&] { return tree->GetSelection() == Child(alpha, 0); }, 2000));
    SetSelectorAnswer(before);
}

TEST_F(FiltersPanel, ToolTipsSayWhatTheFilterDoes) {
    EXPECT_TRUE(ToolTip(FilterItem(alpha)).Contains("Does nothing, and says so."));
    EXPECT_TRUE(ToolTip(Child(alpha, 2)).Contains("Level 2"));
    EXPECT_TRUE(ToolTip(tree->GetItemParent(FilterItem(alpha))).empty());
    LoadEvidence("one");
    core->Configure(gamma, -1, FakeFilter::Level(3), {}, false);
    Settle();
    EXPECT_TRUE(ToolTip(FilterItem(gamma)).Contains("The level is three.")) << ToolTip(FilterItem(gamma));
}

// --- the viewer area ---

TEST(ViewerArea, SaysHowToLoadAPhotographUntilThereIsOne) {
    EXPECT_EQ(ChooseEmptyHint(false, false, false), OrvEmptyHint::Alone);
    EXPECT_EQ(ChooseEmptyHint(false, true, false), OrvEmptyHint::Alone);
    EXPECT_EQ(ChooseEmptyHint(false, true, true), OrvEmptyHint::Line);
    EXPECT_EQ(ChooseEmptyHint(false, false, true), OrvEmptyHint::Alone);
    EXPECT_EQ(ChooseEmptyHint(true, true, true), OrvEmptyHint::None);
}

TEST_F(FiltersPanel, PagesAreBuiltWhenTheyAreSeen) {
    EXPECT_EQ(viewer->GetEmptyHint(), OrvEmptyHint::Alone);
    for (OrvFilterGui* page : panel->GetPages()) {
        EXPECT_FALSE(viewer->IsPageBuilt(page));
        EXPECT_FALSE(page->IsShown());
    }
    Select(FilterItem(alpha));
    EXPECT_EQ(viewer->GetEmptyHint(), OrvEmptyHint::Line);
    EXPECT_TRUE(viewer->IsPageBuilt(Page(alpha)));
    EXPECT_FALSE(viewer->IsPageBuilt(Page(gamma)));
    LoadEvidence("one");
    EXPECT_EQ(viewer->GetEmptyHint(), OrvEmptyHint::None);
    EXPECT_EQ(Page(alpha)->GetSize().y, viewer->GetClientSize().y);
}

// Who starts the program with a photograph that cannot be read sees one thing, not a hint above an empty page.
TEST_F(FiltersPanel, APageThatAwaitsItsPhotographIsNotSeenWithoutIt) {
    viewer->ExpectFile();
    panel->ActivateGui(Page(alpha));
    Settle();
    EXPECT_EQ(viewer->GetEmptyHint(), OrvEmptyHint::Alone);
    EXPECT_FALSE(Page(alpha)->IsShown());
    EXPECT_EQ(viewer->GetShownPage(), Page(alpha));
    core->SetFile("/no/such/photograph.jpg", OrvEvidence);
    Settle();
    EXPECT_EQ(viewer->GetEmptyHint(), OrvEmptyHint::Alone);
    // From here on it is the user who asks.
    Select(FilterItem(gamma));
    EXPECT_EQ(viewer->GetEmptyHint(), OrvEmptyHint::Line);
    LoadEvidence("one");
    EXPECT_TRUE(Page(gamma)->IsShown());
}

TEST_F(FiltersPanel, APageIsMadeWhenItIsFirstAskedFor) {
    // The summary's, which is shown at first.
    ASSERT_EQ(viewer->GetPages().size(), 1U);
    EXPECT_FALSE(alpha->HasPage() || beta->HasPage() || gamma->HasPage() || delta->HasPage());

    OrvFilterGui* page = panel->FindPage(gamma);
    ASSERT_NE(page, nullptr);
    EXPECT_EQ(page->GetFilter(), gamma);
    EXPECT_EQ(page->GetParent(), viewer);
    EXPECT_FALSE(page->IsShown());
    EXPECT_EQ(gamma->GetAnalsyisFilterGui(), page);
    EXPECT_EQ(panel->FindPage(gamma), page) << "once";
    EXPECT_FALSE(alpha->HasPage()) << "and no other";
    // Whoever knows the filter alone gets it too.
    EXPECT_NE(delta->GetAnalsyisFilterGui(), nullptr);
    EXPECT_EQ(viewer->GetPages().size(), 3U);

    // The core's events find the page that nobody has seen so far.
    LoadEvidence("one");
    core->ActivateFilter(beta, -1);
    Settle();
    ASSERT_TRUE(beta->HasPage());
    EXPECT_EQ(viewer->GetShownPage(), panel->FindPage(beta));
    EXPECT_FALSE(alpha->HasPage());

    page->Destroy();
    Pump();
    EXPECT_EQ(gamma->GetAnalsyisFilterGui(), nullptr) << "one that is gone does not come back";
    EXPECT_EQ(panel->FindPage(nullptr), nullptr);
    EXPECT_EQ(panel->GetPages().size(), core->GetFilters().size() - 1);
}

TEST_F(FiltersPanel, OnlyTheCurrentPageIsShown) {
    LoadEvidence("one");
    Select(FilterItem(alpha));
    Select(FilterItem(gamma));
    Settle();
    // A refreshed page shows itself; not over the current one.
    Page(alpha)->UpdateGui();
    EXPECT_FALSE(Page(alpha)->IsShown());
    EXPECT_TRUE(Page(gamma)->IsShown());
    // One that was never seen has nothing to refresh.
    Page(delta)->UpdateGui();
    EXPECT_FALSE(Page(delta)->IsShown());
    EXPECT_TRUE(Page(delta)->GetChildren().empty());
}

}  // namespace
