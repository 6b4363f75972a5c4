#include "orvgui/pages/filterguitext.h"

#include <wx/combobox.h>
#include <wx/gbsizer.h>
#include <wx/grid.h>
#include <wx/textctrl.h>

#include <map>
#include <numeric>

#include "orvgui/common/statictext.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/shell/filterspanel.h"
#include "tests/orvgui/framefixture.h"
#include "tests/orvgui/pagefixture.h"

TEST(TableColumns, GiveWayUntilAllAreInSight) {
    const auto fit = [](std::vector<int> widths, int room) {
        return FitColumnWidths(std::move(widths), room, 100);
    };
    EXPECT_EQ(fit({100, 150, 200}, 450), (std::vector<int>{100, 150, 200})) << "they fit";
    EXPECT_EQ(fit({100, 420, 420}, 500), (std::vector<int>{100, 200, 200}));
    EXPECT_EQ(fit({100, 300, 420}, 700), (std::vector<int>{100, 300, 300}));
    EXPECT_EQ(fit({60, 420, 90, 900}, 300), (std::vector<int>{60, 140, 90, 200}))
        << "short ones whole, sentences readable, and scrolled";
    EXPECT_EQ(fit({60, 420, 90, 900}, 500), (std::vector<int>{60, 150, 90, 200}));
    EXPECT_EQ(fit({60, 330, 240, 900}, 300), (std::vector<int>{60, 110, 100, 200}));
    EXPECT_TRUE(fit({}, 100).empty());
}

namespace {

class TextPageTest : public FrameTest {
  protected:
    OrvFilterGui* Open(const char* id) {
        // A photograph with metadata, as every table needs one.
        Load(PathJoin(PathJoin(GetAppDataPath(), "samples"), "coffee-edited.jpg"));
        OrvFilter* filter = core->GetContext().FindFilter(id);
        auto* page =
            filter != nullptr ? dynamic_cast<OrvFilterGui*>(filter->GetAnalsyisFilterGui()) : nullptr;
        EXPECT_NE(page, nullptr) << id;
        if (page == nullptr) return nullptr;
        frame->GetFiltersPanel()->ActivateGui(page);
        Settle();
        PumpFrames();
        return page;
    }
    template <typename Window>
    static Window* Lowest(const wxWindow* page) {
        Window* lowest = nullptr;
        for (wxWindow* child : page->GetChildren()) {
            auto* window = dynamic_cast<Window*>(child);
            if (window != nullptr && window->IsShown() &&
                (lowest == nullptr || window->GetPosition().y > lowest->GetPosition().y))
                lowest = window;
        }
        return lowest;
    }
};

}  // namespace

TEST_F(TextPageTest, TablesAndDumpsFillTheirPage) {
    for (const char* id : {"metadata", "file-structure", "hex-view"}) {
        OrvFilterGui* page = Open(id);
        ASSERT_NE(page, nullptr);
        wxWindow* result = Lowest<wxGrid>(page);
        if (result == nullptr) result = Lowest<wxTextCtrl>(page);
        ASSERT_NE(result, nullptr) << id;
        const wxSize room = page->GetClientSize();
        EXPECT_NEAR(result->GetRect().GetBottom(), room.y, 20) << id << ": down to the lower edge";
        EXPECT_GT(result->GetSize().y, room.y / 3) << id << ": the largest part";
        EXPECT_NEAR(result->GetSize().x, room.x, 40) << id << ": its label stands above it";
        EXPECT_LE(page->GetVirtualSize().x, room.x) << id << ": nothing to scroll";
        EXPECT_LE(page->GetVirtualSize().y, room.y) << id;
        if (auto* grid = dynamic_cast<wxGrid*>(result)) {
            int width = 0;
            for (int column = 0; column < grid->GetNumberCols(); ++column) width += grid->GetColSize(column);
            EXPECT_LE(width, grid->GetClientSize().x) << id << ": all columns in sight";
        }
    }
}

// What was found stands above what was asked for, and that next to the table that it fills; sentences go on in the next line.
TEST_F(TextPageTest, FindingsStandFirstAndSentencesAreWhole) {
    for (const char* id : {"consistency", "metadata"}) {
        OrvFilterGui* page = Open(id);
        ASSERT_NE(page, nullptr);
        if (id == std::string("consistency")) {
            VecParameter input = page->GetFilter()->GetParametersInput();
            input.Find("show")->SetValue(2);  // every rule, whether it could compare or not
            core->Configure(page->GetFilter(), -1, input, {}, false);
            Settle();
            PumpFrames();
        }
        auto* grid = Lowest<wxGrid>(page);
        ASSERT_NE(grid, nullptr) << id;
        int firstInput = 10000;
        int firstResult = 10000;
        int lastResult = 0;
        int lastInput = 0;
        for (wxWindow* child : page->GetChildren()) {
            if (!child->IsShown()) continue;
            const int y = child->GetPosition().y;
            const auto* text = dynamic_cast<wxTextCtrl*>(child);
            if (dynamic_cast<wxComboBox*>(child) != nullptr) {
                firstInput = std::min(firstInput, y);
                lastInput = std::max(lastInput, y);
            } else if (text != nullptr && !text->IsEditable()) {
                firstResult = std::min(firstResult, y);
                lastResult = std::max(lastResult, y);
            }
        }
        EXPECT_LT(lastResult, firstInput) << id;
        EXPECT_LT(lastInput, grid->GetPosition().y) << id;
        EXPECT_LT(firstResult, lastResult) << id;
        int tallest = 0;
        for (int row = 0; row < grid->GetNumberRows(); ++row)
            tallest = std::max(tallest, grid->GetRowSize(row));
        if (id == std::string("consistency")) {
            EXPECT_GT(tallest, 2 * grid->GetDefaultRowSize()) << "a sentence in lines";
        }
    }
}

namespace {

// Three inputs, three short results and a table.
class ManyFieldsFilter : public OrvFilterPlot {
  public:
    ManyFieldsFilter() : OrvFilterPlot("Many fields", "many-fields") {
        Describe("Test", "Has fields.");
        SetParameters({Parameter::Int("a", "A", 0, 0, 9), Parameter::Int("b", "B", 0, 0, 9),
                       Parameter::Int("c", "C", 0, 0, 9)},
                      {},
                      {Parameter::Output(ParameterType::OutputString, "one", "One"),
                       Parameter::Output(ParameterType::OutputString, "two", "Two"),
                       Parameter::Output(ParameterType::OutputString, "three", "Three"),
                       Parameter::Output(ParameterType::TableString, "table", "Table")});
    }
    OrvPageKind GetPageKind() const override { return OrvPageKind::Text; }

  protected:
    void Compute(const OrvLoadedFile&, const VecParameter&, const OrvJob&, OrvSlotResult&) const override {}
};

class TextGridTest : public PageFixture {};

}  // namespace

// Two short ones share a row, what is left over reaches to the right edge; results stand above inputs, the table below both and its label
// above it.
TEST_F(TextGridTest, ShortFieldsArePairedAndResultsComeFirst) {
    auto* page = MakePage<OrvFilterGuiText>(Register<ManyFieldsFilter>());
    auto* grid = dynamic_cast<wxGridBagSizer*>(page->GetSizer());
    ASSERT_NE(grid, nullptr);
    const std::map<wxString, std::pair<int, int>> places = {
        {"One", {0, 0}}, {"Two", {0, 2}}, {"Three", {2, 0}}, {"A", {3, 0}},
        {"B", {3, 2}},   {"C", {5, 0}},   {"Table", {7, 0}}};
    std::size_t found = 0;
    for (wxWindow* child : page->GetChildren()) {
        const auto* label = dynamic_cast<OrvStaticText*>(child);
        const auto place = label != nullptr ? places.find(label->GetText()) : places.end();
        if (place == places.end()) continue;
        ++found;
        EXPECT_EQ(grid->GetItemPosition(child), wxGBPosition(place->second.first, place->second.second))
            << place->first;
        const bool isTable = place->first == "Table";
        const auto [row, column] = place->second;
        auto* field = static_cast<wxGBSizerItem*>(
            grid->FindItemAtPosition(isTable ? wxGBPosition(row + 1, 0) : wxGBPosition(row, column + 1)));
        ASSERT_NE(field, nullptr) << place->first;
        const bool isAlone = place->first == "Three" || place->first == "C";
        EXPECT_EQ(field->GetSpan(), wxGBSpan(1, isTable ? 4 : isAlone ? 3 : 1)) << place->first;
    }
    EXPECT_EQ(found, places.size());
    EXPECT_TRUE(grid->IsRowGrowable(8));
    EXPECT_TRUE(grid->IsColGrowable(1) && grid->IsColGrowable(3));
    EXPECT_FALSE(grid->IsColGrowable(0) || grid->IsColGrowable(2) || grid->IsRowGrowable(5));
}
