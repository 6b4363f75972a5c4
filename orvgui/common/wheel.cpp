#include "orvgui/common/wheel.h"

#include <wx/choice.h>
#include <wx/combobox.h>
#include <wx/scrolwin.h>
#include <wx/textctrl.h>

#include <vector>

// What the toolkit keeps to itself on this platform: the native parts of its controls and their events. These declarations are those
// of the libraries that it draws with; their headers come with no package that the toolkit's headers need.
extern "C" {
struct _GtkWidget;
union _GdkEvent;
struct _GClosure;
int gdk_event_get_event_type(const _GdkEvent* event);
int gdk_event_get_scroll_direction(const _GdkEvent* event, int* direction);
int gdk_event_get_scroll_deltas(const _GdkEvent* event, double* deltaX, double* deltaY);
unsigned long gtk_container_get_type();
void gtk_container_forall(void* container, void (*callback)(_GtkWidget*, void*), void* data);
int g_type_check_instance_is_a(void* instance, unsigned long type);
unsigned long g_signal_connect_data(void* instance, const char* signal, void (*handler)(), void* data,
                                    void (*destroy)(void*, _GClosure*), int flags);
}

namespace {

constexpr int kNativeScroll = 31;  // the type of a native event
enum NativeDirection { kUp = 0, kDown = 1 };
constexpr int kWheelDelta = 120;
constexpr int kLinesPerTurn = 3;

bool KeepsWheel(const wxWindow* control) {
    const bool isChoice = dynamic_cast<const wxComboBox*>(control) != nullptr ||
                          dynamic_cast<const wxChoice*>(control) != nullptr;
    return !isChoice && control->HasFocus();
}

// Whether a window that scrolls has more content where the wheel turns to.
bool HasMoreContent(const wxWindow& window, const wxScrollHelperBase& scrolled, const wxMouseEvent& wheel) {
    int across = 0, down = 0, stepAcross = 0, stepDown = 0;
    scrolled.GetViewStart(&across, &down);
    scrolled.GetScrollPixelsPerUnit(&stepAcross, &stepDown);
    if (stepDown == 0) return false;  // it scrolls sideways at most
    const int top = down * stepDown;
    return wheel.GetWheelRotation() > 0 ? top > 0
                                        : top + window.GetClientSize().y < window.GetVirtualSize().y;
}

// Comes before what the part itself does with an event. Sideways turns change values as well, and end here.
int OnNativeEvent(_GtkWidget*, const _GdkEvent* native, void* data) {
    if (gdk_event_get_event_type(native) != kNativeScroll) return 0;
    const auto* control = static_cast<const wxWindow*>(data);
    if (KeepsWheel(control)) return 0;
    wxMouseEvent wheel(wxEVT_MOUSEWHEEL);
    wheel.m_wheelDelta = kWheelDelta;
    wheel.m_linesPerAction = wheel.m_columnsPerAction = kLinesPerTurn;
    int direction = -1;
    double deltaX = 0;
    double deltaY = 0;
    if (gdk_event_get_scroll_direction(native, &direction) != 0) {
        wheel.m_wheelRotation = direction == kUp ? kWheelDelta : direction == kDown ? -kWheelDelta : 0;
    } else if (gdk_event_get_scroll_deltas(native, &deltaX, &deltaY) != 0) {
        wheel.m_wheelRotation = static_cast<int>(-deltaY * kWheelDelta);
    }
    if (wheel.m_wheelRotation != 0) ScrollPageAround(control, wheel);
    return 1;
}

void WatchNative(_GtkWidget* widget, void* control) {
    g_signal_connect_data(widget, "event", reinterpret_cast<void (*)()>(&OnNativeEvent), control, nullptr, 0);
    if (g_type_check_instance_is_a(widget, gtk_container_get_type()) != 0)
        gtk_container_forall(widget, &WatchNative, control);
}

}  // namespace

bool ScrollPageAround(const wxWindow* window, wxMouseEvent& wheel) {
    for (wxWindow* parent = window->GetParent(); parent != nullptr && !parent->IsTopLevel();
         parent = parent->GetParent()) {
        auto* scrolled = dynamic_cast<wxScrollHelperBase*>(parent);
        if (scrolled == nullptr || !HasMoreContent(*parent, *scrolled, wheel)) continue;
        scrolled->HandleOnMouseWheel(wheel);
        return true;
    }
    return false;
}

void LeaveWheelToPage(wxWindow* control) {
    control->Bind(wxEVT_MOUSEWHEEL, [control](wxMouseEvent& event) {
        if (KeepsWheel(control)) return event.Skip();
        ScrollPageAround(control, event);
    });
    if (auto* widget = reinterpret_cast<_GtkWidget*>(control->GetHandle())) WatchNative(widget, control);
}

bool HasMoreText(const wxTextCtrl& field) {
    const int bottom = field.PositionToCoords(field.GetLastPosition()).y + field.GetCharHeight();
    const int top = field.PositionToCoords(0).y;
    return bottom - top > field.GetClientSize().y;
}

void PassWheelOn(wxTextCtrl* field) {
    field->Bind(wxEVT_MOUSEWHEEL, [field](wxMouseEvent& event) {
        event.Skip(HasMoreText(*field) || !ScrollPageAround(field, event));
    });
}

void PassWheelOn(wxScrolled<wxPanel>* part) {
    part->Bind(wxEVT_MOUSEWHEEL, [part](wxMouseEvent& event) {
        event.Skip(HasMoreContent(*part, *part, event) || !ScrollPageAround(part, event));
    });
}

void FitScrolledParents(wxWindow* window) {
    std::vector<wxWindow*> between;
    for (wxWindow* parent = window->GetParent(); parent != nullptr && !parent->IsTopLevel();
         parent = parent->GetParent()) {
        if (dynamic_cast<wxScrollHelperBase*>(parent) == nullptr) {
            between.push_back(parent);
            continue;
        }
        parent->FitInside();
        // What keeps its size is not told, and has to place its content anew all the same.
        for (; !between.empty(); between.pop_back()) between.back()->Layout();
    }
}
