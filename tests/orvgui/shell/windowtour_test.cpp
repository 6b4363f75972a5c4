// Walks through the program by the scripts in tours/ beside this file and holds what every step changed in the window against what
// was kept below it. A line of a script that begins with "> " is a step, one with "#" a remark; the lines between were written by the
// walk itself, with the environment variable ORVANE_KEEP_RESULTS, and looked at.

#include <cxxabi.h>
#include <gtest/gtest.h>
#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/combobox.h>
#include <wx/menu.h>
#include <wx/msgdlg.h>
#include <wx/slider.h>
#include <wx/spinctrl.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/textdlg.h>
#include <wx/tglbtn.h>
#include <wx/weakref.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <list>
#include <map>
#include <set>
#include <sstream>

#include "orvgui/common/accessible.h"
#include "orvgui/pages/filtergui.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/shell/filterspanel.h"
#include "orvgui/viewer/windowproperties.h"
#include "tests/orvgui/framefixture.h"
#include "tests/orvgui/keys.h"
#include "tests/orvgui/windowstate.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

using Lines = std::vector<std::string>;

// The part of what is painted that may be another one: columns of tables end a pixel earlier or later.
constexpr double kTolerance = 0.003;

// Dialogs are written down and answered as the script says, with Cancel where it says nothing.
class DialogsOfTour : public wxModalDialogHook {
  public:
    explicit DialogsOfTour(std::string folder) : m_folder(std::move(folder)) { Register(); }
    ~DialogsOfTour() override { Unregister(); }
    int answer = wxID_CANCEL;
    std::string text;  // what is typed into a dialog that asks for one
    Lines seen;

  protected:
    int Enter(wxDialog* dialog) override {
        wxString title = dialog->GetTitle();
        if (const auto* box = dynamic_cast<wxMessageDialog*>(dialog)) title += "|" + box->GetMessage();
        seen.push_back("dialog " + title.utf8_string());
        if (auto* entry = dynamic_cast<wxTextEntryDialog*>(dialog)) entry->SetValue(ToWx(text));
        if (dynamic_cast<wxMessageDialog*>(dialog) == nullptr) {
            WindowState state(m_folder);
            dialog->Show();
            PumpFrames();
            state.Take("dialog", dialog);
            dialog->Hide();
            seen.insert(seen.end(), state.Lines().begin(), state.Lines().end());
        }
        return std::exchange(answer, wxID_CANCEL);
    }

  private:
    std::string m_folder;
};

Lines Split(const std::string& text, char separator) {
    Lines pieces;
    std::istringstream stream(text);
    for (std::string piece; std::getline(stream, piece, separator);) pieces.push_back(piece);
    return pieces;
}

std::string TypeOf(const wxWindow* window) {
    int status = 0;
    char* name = abi::__cxa_demangle(typeid(*window).name(), nullptr, nullptr, &status);
    std::string text = name != nullptr ? name : "?";
    std::free(name);
    return text;
}

std::string NameOf(const wxWindow* window) {
    const wxString spoken = GetAccessibleName(window);
    const wxString label = wxControl::RemoveMnemonics(window->GetLabel());
    return (spoken.empty() ? label.empty() ? window->GetToolTipText() : label : spoken).utf8_string();
}

// All shown windows below one, in the order of the toolkit.
void Collect(wxWindow* root, std::vector<wxWindow*>& found) {
    for (wxWindow* child : root->GetChildren()) {
        if (!child->IsShown() || child->IsTopLevel()) continue;
        found.push_back(child);
        Collect(child, found);
    }
}

void Send(wxWindow* window, const wxEventTypeTag<wxCommandEvent>& type, int value,
          const wxString& text = {}) {
    wxCommandEvent event(type, window->GetId());
    event.SetEventObject(window);
    event.SetInt(value);
    event.SetString(text);
    window->GetEventHandler()->ProcessEvent(event);
}

// What a user does to a control: the next entry, the other state, a third of the way; an own value where one is given. False where there is
// nothing to do.
bool Poke(wxWindow* window, const std::string& value = {}) {
    if (!window->IsThisEnabled() || !window->IsEnabled()) return false;
    const int number = value.empty() ? -1 : std::atoi(value.c_str());
    if (auto* box = dynamic_cast<wxCheckBox*>(window)) {
        box->SetValue(!box->GetValue());
        Send(box, wxEVT_CHECKBOX, box->GetValue());
    } else if (auto* toggle = dynamic_cast<wxToggleButton*>(window)) {
        toggle->SetValue(!toggle->GetValue());
        Send(toggle, wxEVT_TOGGLEBUTTON, toggle->GetValue());
    } else if (auto* choice = dynamic_cast<wxChoice*>(window)) {
        if (choice->GetCount() < 2) return false;
        choice->SetSelection(
            number >= 0 ? number : (choice->GetSelection() + 1) % static_cast<int>(choice->GetCount()));
        Send(choice, wxEVT_CHOICE, choice->GetSelection(), choice->GetStringSelection());
    } else if (auto* combo = dynamic_cast<wxComboBox*>(window)) {
        if (combo->GetCount() < 2) return false;
        combo->SetSelection(number >= 0 ? number
                                        : (combo->GetSelection() + 1) % static_cast<int>(combo->GetCount()));
        Send(combo, wxEVT_COMBOBOX, combo->GetSelection(), combo->GetStringSelection());
    } else if (auto* slider = dynamic_cast<wxSlider*>(window)) {
        const int third = slider->GetMin() + (slider->GetMax() - slider->GetMin()) / 3;
        slider->SetValue(number >= 0 ? number : third == slider->GetValue() ? third + 1 : third);
        for (const auto& type : {wxEVT_SCROLL_THUMBTRACK, wxEVT_SCROLL_THUMBRELEASE, wxEVT_SCROLL_CHANGED}) {
            wxScrollEvent event(type, slider->GetId(), slider->GetValue(), wxHORIZONTAL);
            event.SetEventObject(slider);
            slider->GetEventHandler()->ProcessEvent(event);
        }
        Send(slider, wxEVT_SLIDER, slider->GetValue());
    } else if (auto* spin = dynamic_cast<wxSpinCtrl*>(window)) {
        spin->SetValue(number >= 0 ? number : spin->GetValue() + 1);
        wxSpinEvent event(wxEVT_SPINCTRL, spin->GetId());
        event.SetEventObject(spin);
        event.SetPosition(spin->GetValue());
        spin->GetEventHandler()->ProcessEvent(event);
    } else if (auto* field = dynamic_cast<wxTextCtrl*>(window)) {
        if (!field->IsEditable()) return false;
        long whole = 0;
        field->SetValue(!value.empty()                     ? wxString::FromUTF8(value)
                        : field->GetValue().ToLong(&whole) ? wxString::Format("%ld", whole + 1)
                                                           : field->GetValue() + "7");
        Send(field, wxEVT_TEXT_ENTER, 0, field->GetValue());
    } else if (auto* button = dynamic_cast<wxAnyButton*>(window)) {
        Send(button, wxEVT_BUTTON, 0);
    } else {
        return false;
    }
    return true;
}

int KeyOf(const std::string& name) {
    const std::map<std::string, int> named = {
        {"left", WXK_LEFT}, {"right", WXK_RIGHT}, {"up", WXK_UP},         {"down", WXK_DOWN},
        {"home", WXK_HOME}, {"end", WXK_END},     {"pageup", WXK_PAGEUP}, {"pagedown", WXK_PAGEDOWN},
        {"tab", WXK_TAB},   {"space", WXK_SPACE}, {"escape", WXK_ESCAPE}, {"enter", WXK_RETURN},
        {"f1", WXK_F1},     {"f5", WXK_F5},       {"delete", WXK_DELETE}};
    const auto found = named.find(name);
    return found != named.end() ? found->second : name.at(0);
}

std::string ToursFolder() {
    return std::string(ORVANE_SOURCES) + "/tests/orvgui/shell/tours/";
}

class Tour : public FrameTest, public testing::WithParamInterface<const char*> {
  protected:
    Tour() : m_dialogs(folder.Path()), m_state(folder.Path()) {}

    wxWindow* Page() { return frame->GetViewerPanel()->GetShownPage(); }

    // A control by what it is called; on the page first, then in the whole window and in the other windows.
    wxWindow* Named(const std::string& name) {
        std::vector<wxWindow*> windows;
        if (Page() != nullptr) Collect(Page(), windows);
        for (wxWindow* top : wxTopLevelWindows)
            if (top->IsShown()) Collect(top, windows);
        for (wxWindow* window : windows)
            if (dynamic_cast<wxControl*>(window) != nullptr &&
                dynamic_cast<wxStaticText*>(window) == nullptr && NameOf(window) == name)
                return window;
        ADD_FAILURE() << "no control is called " << name;
        return nullptr;
    }

    wxWindow* Typed(const std::string& type, std::size_t number) {
        std::vector<wxWindow*> windows;
        Collect(frame, windows);
        for (wxWindow* window : windows)
            if (TypeOf(window) == type && window->IsShownOnScreen() && number-- == 0) return window;
        std::string types;
        for (wxWindow* window : windows) types += " " + TypeOf(window);
        ADD_FAILURE() << "no window is a " << type << " among" << types;
        return nullptr;
    }

    void Wait() {
        Settle();
        PumpFrames();
        Settle();
    }

    WindowState Now() {
        WindowState now(folder.Path());
        for (wxWindow* top : wxTopLevelWindows) {
            if (top == frame)
                now.Take(WindowState::kWholeWindow, top);
            else if (top->IsShown())
                now.Take(static_cast<wxTopLevelWindow*>(top)->GetTitle().utf8_string(), top);
        }
        const WindowProperties& view = *frame->GetWindowProperties();
        std::ostringstream text;
        text.precision(7);
        text << view.zoom << " offset " << view.offset.x << ' ' << view.offset.y << " centre "
             << view.zoomCentre.x << ' ' << view.zoomCentre.y << " scrolled " << view.scrollPosition.x << ' '
             << view.scrollPosition.y << " mode " << view.splitMode << (view.syncViews ? " in step" : "");
        now.Add("view", text.str());
        if (const OrvFilter* filter = core->GetContext().GetActiveFilter())
            now.Add("filter", filter->GetId() + " " + filter->GetParametersInput().ToJson().dump());
        return now;
    }

    // What is otherwise than when this was asked last, once nothing changes by itself any more.
    Lines Changes() {
        Wait();
        WindowState now = Now();
        for (int again = 0; again < 20; ++again) {
            Wait();
            WindowState later = Now();
            if (later.Lines() == now.Lines()) break;
            now = std::move(later);
        }
        std::list<std::string> before(m_state.Lines().begin(), m_state.Lines().end());
        Lines changed;
        for (const std::string& line : now.Lines()) {
            const auto same = std::find_if(before.begin(), before.end(), [&](const std::string& old) {
                return IsSameState(old, line, kTolerance);
            });
            if (same != before.end())
                before.erase(same);
            else
                changed.push_back(line);
        }
        if (!before.empty()) changed.push_back("other lines that are gone: " + std::to_string(before.size()));
        m_state = std::move(now);
        for (const std::string& dialog : std::exchange(m_dialogs.seen, {})) changed.push_back(Plain(dialog));
        for (const std::string& file : std::exchange(asked, {})) changed.push_back("asked " + Plain(file));
        for (const std::string& address : std::exchange(launched, {}))
            changed.push_back("opened " + Plain(address));
        return changed;
    }

    std::string Plain(std::string text) const {
        const std::pair<std::string, const char*> paths[] = {{folder.Path(), "FOLDER"},
                                                             {std::getenv("ORVANE_DATA"), "DATA"}};
        for (const auto& [path, name] : paths)
            for (std::size_t at = 0; (at = text.find(path)) != std::string::npos;)
                text.replace(at, path.size(), name);
        std::replace(text.begin(), text.end(), '\n', '/');
        return text;
    }

    Lines PokeEverything(const std::set<std::string>& except) {
        std::vector<wxWindow*> windows;
        Collect(Page(), windows);
        std::vector<wxWeakRef<wxWindow>> controls(windows.begin(), windows.end());
        Lines text;
        for (const wxWeakRef<wxWindow>& control : controls) {
            if (!control || !control->IsShownOnScreen() || except.count(NameOf(control)) > 0) continue;
            const std::string called = TypeOf(control) + " " + NameOf(control);
            if (!Poke(control)) continue;
            text.push_back("~ " + Plain(called));
            const Lines changed = Changes();
            text.insert(text.end(), changed.begin(), changed.end());
        }
        return text;
    }

    Lines Step(const std::string& step) {
        std::istringstream words(step);
        std::string verb;
        words >> verb;
        const auto rest = [&words] {
            std::string text;
            std::getline(words >> std::ws, text);
            return text;
        };
        if (verb == "load") {
            std::string slot;
            words >> slot;
            Load(folder / rest(), slot == "reference" ? OrvReference : OrvEvidence);
        } else if (verb == "page") {
            OrvFilter* filter = core->GetContext().FindFilter(rest());
            if (filter == nullptr)
                frame->SelectFirstItem();  // the summary
            else
                frame->GetFiltersPanel()->ActivateGui(
                    dynamic_cast<OrvFilterGui*>(filter->GetAnalsyisFilterGui()));
        } else if (verb == "menu") {
            const Lines way = Split(rest(), '>');
            const int id = frame->GetMenuBar()->FindMenuItem(ToWx(way.at(0)), ToWx(way.at(1)));
            EXPECT_NE(id, wxNOT_FOUND) << step;
            Command(id);
        } else if (verb == "command") {
            const int id = std::atoi(rest().c_str());
            wxCommandEvent event(wxEVT_MENU, id);
            if (!frame->GetFiltersPanel()->ProcessWindowEventLocally(event)) Command(id);
        } else if (verb == "set") {
            const Lines parts = Split(rest(), '=');
            wxWindow* control = Named(parts.at(0));
            EXPECT_TRUE(control != nullptr && Poke(control, parts.size() > 1 ? parts[1] : "")) << step;
        } else if (verb == "poke") {
            const Lines except = Split(rest(), ',');
            return PokeEverything({except.begin(), except.end()});
        } else if (verb == "mouse") {
            MoveMouse(words);
        } else if (verb == "key") {
            std::string type, key, modifier;
            std::size_t number = 0;
            words >> type >> number >> key >> modifier;
            if (wxWindow* window = Typed(type, number)) {
                window->SetFocus();
                PumpUntilActive(frame);
                PressKey(KeyOf(key), modifier == "ctrl"    ? wxMOD_CONTROL
                                     : modifier == "shift" ? wxMOD_SHIFT
                                     : modifier == "alt"   ? wxMOD_ALT
                                                           : 0);
            }
        } else if (verb == "answer") {
            const std::map<std::string, int> codes = {{"ok", wxID_OK}, {"yes", wxID_YES}, {"no", wxID_NO}};
            std::string code;
            words >> code;
            m_dialogs.answer = codes.at(code);
            m_dialogs.text = rest();
            return {};
        } else if (verb == "choose") {
            const std::string name = rest();
            chosen = name.empty() ? std::string() : folder / name;
            return {};
        } else if (verb == "size") {
            int width = 0, height = 0;
            words >> width >> height;
            SetRoom({width, height});
        } else {
            ADD_FAILURE() << "unknown step: " << step;
        }
        return Changes();
    }

    void MoveMouse(std::istringstream& words) {
        std::string type, what, modifier;
        std::size_t number = 0;
        int x = 0, y = 0;
        words >> type >> number >> what >> x >> y >> modifier;
        wxWindow* window = Typed(type, number);
        if (window == nullptr) return;
        const std::map<std::string, wxEventType> types = {
            {"move", wxEVT_MOTION},        {"drag", wxEVT_MOTION},          {"down", wxEVT_LEFT_DOWN},
            {"up", wxEVT_LEFT_UP},         {"double", wxEVT_LEFT_DCLICK},   {"rightdown", wxEVT_RIGHT_DOWN},
            {"rightup", wxEVT_RIGHT_UP},   {"leave", wxEVT_LEAVE_WINDOW},   {"enter", wxEVT_ENTER_WINDOW},
            {"wheelup", wxEVT_MOUSEWHEEL}, {"wheeldown", wxEVT_MOUSEWHEEL}, {"middledown", wxEVT_MIDDLE_DOWN},
            {"middleup", wxEVT_MIDDLE_UP}};
        wxMouseEvent event(types.at(what));
        event.SetEventObject(window);
        event.SetId(window->GetId());
        event.m_x = x;
        event.m_y = y;
        event.m_leftDown = what == "down" || what == "drag" || what == "double";
        event.m_rightDown = what == "rightdown";
        event.m_controlDown = modifier == "ctrl";
        event.m_shiftDown = modifier == "shift";
        event.m_wheelDelta = 120;
        event.m_wheelRotation = what == "wheelup" ? 120 : -120;
        event.m_clickCount = what == "double" ? 2 : 1;
        window->GetEventHandler()->ProcessEvent(event);
    }

    void SetRoom(const wxSize& room) {
        // The window manager tells its borders when it likes, and the toolkit then takes them from the size.
        for (int agreed = 0; agreed < 3; ++agreed) {
            if (frame->GetClientSize() != room) agreed = 0;
            frame->SetClientSize(room);
            PumpFrames();
        }
    }

    DialogsOfTour m_dialogs;
    WindowState m_state;
};

}  // namespace

TEST_P(Tour, EveryStepChangesWhatItChanged) {
    const bool isWriting = std::getenv("ORVANE_KEEP_RESULTS") != nullptr;
    const std::string path = ToursFolder() + GetParam() + ".txt";
    const Lines script = Split(ReadFile(path), '\n');
    const std::string drawn = "# letters " + DrawnWith(frame);
    if (!isWriting && script.at(0) != drawn)
        GTEST_SKIP() << "drawn with " << drawn << ", kept with " << script.at(0);
    const std::string samples = std::string(std::getenv("ORVANE_DATA")) + "/samples/";
    for (const char* name : {"coffee-edited.jpg", "coffee.jpg"})
        std::filesystem::copy_file(samples + name, folder / name);
    wxUIActionSimulator().MouseMove(0, 0);
    SetRoom({1280, 700});
    Changes();

    std::string written = drawn + "\n";
    int differing = 0;
    for (std::size_t i = 1; i < script.size();) {
        if (!script[i].starts_with("> ")) {
            if (isWriting && script[i].starts_with("#")) written += script[i] + "\n";
            ++i;
            continue;
        }
        const std::string& step = script[i++];
        const Lines found = Step(step.substr(2));
        written += step + "\n" + Join(found, "\n") + (found.empty() ? "" : "\n");
        if (isWriting) continue;
        std::size_t line = 0;
        for (; i < script.size() && !script[i].starts_with("> ") && !script[i].starts_with("#");
             ++i, ++line) {
            const std::string now = line < found.size() ? found[line] : std::string();
            if (script[i].empty() || IsSameState(script[i], now, kTolerance) || ++differing > 12) continue;
            ADD_FAILURE() << step << "\nkept  " << script[i] << "\nfound " << now;
        }
        for (; line < found.size() && ++differing < 12; ++line)
            ADD_FAILURE() << step << "\nfound, and not kept, " << found[line];
        if (differing > 0) break;  // all later steps start elsewhere
    }
    if (isWriting) WriteFile(path, written);
}

INSTANTIATE_TEST_SUITE_P(All, Tour, testing::Values("viewer", "tools", "maps", "tables", "pages", "window"),
                         [](const auto& tour) { return std::string(tour.param); });
