#include "orvgui/shell/commandregistry.h"

#include <gtest/gtest.h>
#include <wx/accel.h>
#include <wx/bmpbuttn.h>
#include <wx/frame.h>
#include <wx/menuitem.h>

#include <set>

#include "orvgui/common/icons.h"
#include "tests/support/guitest.h"

namespace {

const OrvGuiCommandRegistryBase* const kRegistries[] = {
    &OrvGuiCommandRegistry::m_global, &OrvGuiCommandRegistry::m_viewer, &OrvGuiCommandRegistry::m_tools,
    &OrvGuiCommandRegistry::m_bookmarks};

int CountAll() {
    int count = 0;
    for (const auto* registry : kRegistries) count += registry->size();
    return count;
}

}  // namespace

TEST(CommandRegistry, HoldsEachCommandOnce) {
    OrvGuiCommandRegistry::Init();
    const int count = CountAll();
    OrvGuiCommandRegistry::Init();
    EXPECT_EQ(count, CountAll());

    std::multiset<int> ids;
    for (const auto* registry : kRegistries) {
        for (const OrvGuiCommand& command : *registry) ids.insert(command.id);
    }
    for (int id = 6000; id <= 6060; ++id) {
        const bool isUndefined = id == 6002 || (id >= 6015 && id <= 6017);
        EXPECT_EQ(isUndefined ? 0u : id == 6034 ? 2u : 1u, ids.count(id)) << id;
    }
    EXPECT_EQ(static_cast<std::size_t>(count), ids.size());
}

TEST(CommandRegistry, LabelsAndAccelerators) {
    const struct {
        int id;
        const char* name;
        const char* accelerator;
    } cases[] = {
        {6000, "Open Evidence", "Ctrl+O"},
        {6001, "Open Reference", "Alt+Ctrl+O"},
        {6006, "Open Project...", "Ctrl+Shift+O"},
        {6004, "Batch Processing", "Ctrl+B"},
        {6022, "Reset Default Settings", ""},
        {6027, "Show Image Location On Google Maps", ""},
        {6042, "Previous Image In Evidence Folder", "Ctrl+Left"},
        {6044, "Last Image in Evidence Folder", "Alt+Ctrl+Right"},
        {6051, "First Image In Reference Folder", "Alt+Ctrl+Shift+Left"},
        {6052, "Previous Image In Reference Folder", "Alt+Ctrl+Shift+Left"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.name, OrvGuiCommandRegistry::GetCommandName(c.id));
        // However the toolkit words it, it reads it back as the same keys.
        const wxString text = OrvGuiCommandRegistry::GetAcceleratorText(c.id);
        if (c.accelerator[0] == '\0') {
            EXPECT_EQ("", text) << c.id;
            continue;
        }
        wxAcceleratorEntry expected, actual;
        ASSERT_TRUE(expected.FromString(c.accelerator) && actual.FromString(text)) << c.id;
        EXPECT_EQ(expected.GetFlags(), actual.GetFlags()) << c.id;
        EXPECT_EQ(expected.GetKeyCode(), actual.GetKeyCode()) << c.id;
        EXPECT_TRUE(OrvGuiCommandRegistry::GetToolTip(c.id).Contains("(" + text + ")")) << c.id;
    }
}

TEST(CommandRegistry, UnknownCommandsAndFullRegistriesAssert) {
    const ExpectedAssertions assertions;
    EXPECT_EQ("", OrvGuiCommandRegistry::GetCommandName(6002));
    ASSERT_EQ(1u, assertions.Messages().size());
    OrvGuiCommandRegistryBase full;
    for (int i = 0; i < OrvGuiCommandRegistryBase::MAX_ENTRY; ++i) full.Add({i, "x", "", 0, 0});
    EXPECT_EQ(1u, assertions.Messages().size());
    full.Add({1000, "y", "", 0, 0});
    ASSERT_EQ(2u, assertions.Messages().size());
    EXPECT_EQ("m_lastEntryId < MAX_ENTRY", assertions.Messages().back());
    EXPECT_EQ(nullptr, full.Find(1000));
}

TEST(CommandRegistry, MenuItemsShowTheirAccelerator) {
    const std::unique_ptr<wxMenuItem> item(OrvGuiCommandRegistry::CreateMenuItem(6001));
    EXPECT_EQ(6001, item->GetId());
    EXPECT_EQ("Open Reference", item->GetItemLabelText());
    const std::unique_ptr<wxAcceleratorEntry> accelerator(item->GetAccel());
    ASSERT_NE(nullptr, accelerator);
    EXPECT_EQ(wxACCEL_ALT | wxACCEL_CTRL, accelerator->GetFlags());
    EXPECT_EQ('O', accelerator->GetKeyCode());
}

TEST(CommandRegistry, EveryIconIsThereAndSharpAtBothScales) {
    for (const auto* registry : kRegistries) {
        for (const OrvGuiCommand& command : *registry) {
            if (command.icon[0] == '\0') continue;
            const wxBitmapBundle bundle = OrvGuiCommandRegistry::GetBitmap(command.id);
            ASSERT_TRUE(bundle.IsOk()) << command.icon;
            EXPECT_EQ(wxSize(16, 16), bundle.GetDefaultSize()) << command.icon;
            EXPECT_EQ(wxSize(32, 32), bundle.GetPreferredBitmapSizeAtScale(2)) << command.icon;
        }
    }
    EXPECT_TRUE(LoadIconBundle("there-is-no-such.png").IsOk()) << "a missing file is replaced silently";
}

TEST(CommandRegistry, KeysOfTextFields) {
    EXPECT_TRUE(IsKeyOfTextField(wxACCEL_CTRL, WXK_LEFT));
    EXPECT_TRUE(IsKeyOfTextField(wxACCEL_CTRL, WXK_RIGHT));
    EXPECT_FALSE(IsKeyOfTextField(wxACCEL_CTRL | wxACCEL_ALT, WXK_LEFT));
    EXPECT_FALSE(IsKeyOfTextField(wxACCEL_CTRL, 'O'));
}
