#include "orvgui/common/textfocus.h"

#include <wx/button.h>
#include <wx/spinctrl.h>
#include <wx/textctrl.h>
#include <wx/textentry.h>
#include <wx/window.h>

#include <algorithm>

// Declarations of the library that the toolkit draws with; its headers come with no package that the toolkit's headers need.
extern "C" {
struct _GtkWidget;
unsigned long gtk_text_view_get_type();
unsigned long gtk_container_get_type();
void gtk_container_forall(void* container, void (*callback)(_GtkWidget*, void*), void* data);
int g_type_check_instance_is_a(void* instance, unsigned long type);
void gtk_text_view_set_left_margin(_GtkWidget* view, int pixels);
void gtk_text_view_set_right_margin(_GtkWidget* view, int pixels);
void gtk_text_view_set_top_margin(_GtkWidget* view, int pixels);
void gtk_text_view_set_bottom_margin(_GtkWidget* view, int pixels);
}

namespace {

constexpr int kUsualText = 17;     // pixels from line to line, at 10 points
constexpr int kEnlargedText = 21;  // from here on texts count as enlarged
constexpr int kFieldInset = 10;    // pixels of border and padding above and below

void InsetView(_GtkWidget* widget, void*) {
    if (g_type_check_instance_is_a(widget, gtk_text_view_get_type()) == 0) return;
    gtk_text_view_set_left_margin(widget, kTextInsetX);
    gtk_text_view_set_right_margin(widget, kTextInsetX);
    gtk_text_view_set_top_margin(widget, kTextInsetY);
    gtk_text_view_set_bottom_margin(widget, kTextInsetY);
}

}  // namespace

void InsetText(wxTextCtrl& field) {
    auto* widget = reinterpret_cast<_GtkWidget*>(field.GetHandle());
    if (widget != nullptr && g_type_check_instance_is_a(widget, gtk_container_get_type()) != 0)
        gtk_container_forall(widget, InsetView, nullptr);
}

bool IsTextEntry(const wxWindow* window) {
    for (; window != nullptr; window = window->GetParent()) {
        if (dynamic_cast<const wxTextEntryBase*>(window) != nullptr ||
            dynamic_cast<const wxSpinCtrlBase*>(window) != nullptr)
            return true;
        if (window->IsTopLevel()) return false;
    }
    return false;
}

int TextWidth(const wxWindow& window, int width) {
    const int height = window.GetCharHeight();
    return height < kEnlargedText ? width : width * height / kUsualText;
}

wxSize FieldSize(const wxWindow& field, int width) {
    return {TextWidth(field, width),
            std::max(field.GetBestSize().GetHeight(), field.GetCharHeight() + kFieldInset)};
}

bool ConfirmsDialog(const wxKeyEvent& event) {
    const int key = event.GetKeyCode();
    return (key == WXK_RETURN || key == WXK_NUMPAD_ENTER) && !event.HasAnyModifiers() &&
           dynamic_cast<wxButton*>(wxWindow::FindFocus()) == nullptr;
}
