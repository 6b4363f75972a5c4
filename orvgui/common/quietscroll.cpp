#include "orvgui/common/quietscroll.h"

#include <wx/window.h>

// Declarations of the library that the toolkit draws with; its headers come with no package that the toolkit's headers need.
extern "C" {
void gtk_widget_show(_GtkWidget* widget);
void gtk_widget_hide(_GtkWidget* widget);
int gtk_widget_get_visible(_GtkWidget* widget);
void gtk_widget_set_child_visible(_GtkWidget* widget, int isVisible);
}

// Shown as a child that its parent keeps from the screen, and hidden again before anything is drawn.
HiddenChildrenCount::HiddenChildrenCount(const wxWindow& window) {
    for (const wxWindow* child : window.GetChildren()) {
        auto* widget = reinterpret_cast<_GtkWidget*>(child->GetHandle());
        if (child->IsTopLevel() || widget == nullptr || gtk_widget_get_visible(widget) != 0) continue;
        gtk_widget_set_child_visible(widget, 0);
        gtk_widget_show(widget);
        m_hidden.push_back(widget);
    }
}

HiddenChildrenCount::~HiddenChildrenCount() {
    for (_GtkWidget* widget : m_hidden) {
        gtk_widget_hide(widget);
        gtk_widget_set_child_visible(widget, 1);
    }
}
