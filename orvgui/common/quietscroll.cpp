#include "orvgui/common/quietscroll.h"

#include <wx/window.h>

// Declarations of the library that the toolkit draws with; its headers come with no package that the toolkit's headers need.
struct _GdkWindow;
extern "C" {
void gtk_widget_show(_GtkWidget* widget);
void gtk_widget_hide(_GtkWidget* widget);
int gtk_widget_get_visible(_GtkWidget* widget);
int gtk_widget_get_child_visible(_GtkWidget* widget);
void gtk_widget_set_child_visible(_GtkWidget* widget, int isVisible);
_GdkWindow* gtk_widget_get_window(_GtkWidget* widget);
std::size_t gtk_container_get_type();
void gtk_container_forall(_GtkWidget* container, void (*callback)(_GtkWidget*, void*), void* data);
int g_type_check_instance_is_a(_GtkWidget* instance, std::size_t type);
}

namespace {

struct Search {
    const _GdkWindow* window;  // that is scrolled
    std::vector<_GtkWidget*>& found;
};

// As the toolkit moves them: everything that draws on the window that is scrolled, at any depth.
void Collect(_GtkWidget* widget, void* data) {
    auto* search = static_cast<Search*>(data);
    if (gtk_widget_get_visible(widget) == 0) search->found.push_back(widget);
    if (gtk_widget_get_window(widget) == search->window &&
        g_type_check_instance_is_a(widget, gtk_container_get_type()) != 0)
        gtk_container_forall(widget, Collect, data);
}

}  // namespace

// Shown as a child that its parent keeps from the screen, and hidden again before anything is drawn.
HiddenChildrenCount::HiddenChildrenCount(const wxWindow& window) {
    auto* scrolled = reinterpret_cast<_GtkWidget*>(window.m_wxwindow);
    const _GdkWindow* surface = scrolled != nullptr ? gtk_widget_get_window(scrolled) : nullptr;
    if (surface == nullptr) return;
    std::vector<_GtkWidget*> hidden;
    Search search{surface, hidden};
    gtk_container_forall(scrolled, Collect, &search);
    for (_GtkWidget* widget : hidden) {
        m_hidden.push_back({widget, gtk_widget_get_child_visible(widget) != 0});
        gtk_widget_set_child_visible(widget, 0);
        gtk_widget_show(widget);
    }
}

HiddenChildrenCount::~HiddenChildrenCount() {
    for (const Hidden& hidden : m_hidden) {
        gtk_widget_hide(hidden.widget);
        gtk_widget_set_child_visible(hidden.widget, hidden.isWanted ? 1 : 0);
    }
}
