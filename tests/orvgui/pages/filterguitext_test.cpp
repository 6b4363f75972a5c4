#include "orvgui/pages/filterguitext.h"

#include <wx/combobox.h>
#include <wx/grid.h>
#include <wx/textctrl.h>

#include <numeric>

#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/shell/filterspanel.h"
#include "tests/orvgui/framefixture.h"

TEST(TableColumns, GiveWayUntilAllAreInSight) {
    const auto fit = [](std::vector<int> widths, int room) {
        return FitColumnWidths(std::move(widths), room, 100);
    };
    EXPECT_EQ(fit({100, 150, 200}, 450), (std::vector<int>{100, 150, 200})) << "they fit";
    EXPECT_EQ(fit({100, 420, 420}, 500), (std::vector<int>{100, 200, 200}));
    EXPECT_EQ(fit({100, 300, 420}, 700), (std::vector<int>{100, 300, 300}));
    EXPECT_EQ(fit({60, 420, 90, 900}, 300), (std::vector<int>{60, 100, 90, 200}))
        << "short ones whole, sentences readable, and scrolled";
    EXPECT_EQ(fit({60, 420, 90, 900}, 500), (std::vector<int>{60, 150, 90, 200}));
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
