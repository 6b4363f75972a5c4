#include "orvgui/common/accessible.h"

#include <wx/anybutton.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/combobox.h>
#include <wx/dialog.h>
#include <wx/listbox.h>
#include <wx/modalhook.h>
#include <wx/slider.h>
#include <wx/spinctrl.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/window.h>

// The toolkit keeps its accessibility objects to itself on this platform. These declarations are those of the libraries that it
// draws with; their headers come with no package that the toolkit's headers need.
extern "C" {
struct _GtkWidget;
struct _AtkObject;
_AtkObject* gtk_widget_get_accessible(_GtkWidget* widget);
_GtkWidget* gtk_bin_get_child(_GtkWidget* bin);
void atk_object_set_name(_AtkObject* object, const char* name);
const char* atk_object_get_name(_AtkObject* object);
}

namespace {

bool IsMultiLine(const wxWindow* window) {
    const auto* text = dynamic_cast<const wxTextCtrl*>(window);
    return text != nullptr && text->IsMultiLine();
}

bool IsBareCheckBox(const wxWindow* window) {
    const auto* box = dynamic_cast<const wxCheckBox*>(window);
    return box != nullptr && box->GetLabel().empty();
}

// What an unnamed choice says instead is its value.
bool SpeaksItsValue(const wxWindow* window) {
    return dynamic_cast<const wxChoice*>(window) != nullptr ||
           dynamic_cast<const wxComboBox*>(window) != nullptr;
}

// The native widget that a screen reader lands on: inside the frame that scrolls a text, or the field of a combo box.
_GtkWidget* SpokenWidget(const wxWindow* window) {
    auto* widget = reinterpret_cast<_GtkWidget*>(window->GetHandle());
    if (widget == nullptr) return nullptr;
    const bool isBin = IsMultiLine(window) || dynamic_cast<const wxComboBox*>(window) != nullptr ||
                       dynamic_cast<const wxListBox*>(window) != nullptr;
    _GtkWidget* inner = isBin ? gtk_bin_get_child(widget) : nullptr;
    return inner != nullptr ? inner : widget;
}

wxString Spoken(const wxString& label) {
    wxString text = wxControl::RemoveMnemonics(label);
    text.Replace("\n", " ");
    return text.Trim().Trim(false);
}

// The last label before the window among its siblings; other fields in between belong to the same label only as its next part.
wxString LabelBefore(const wxWindow* window) {
    wxString label;
    for (const wxWindow* sibling : window->GetParent()->GetChildren()) {
        if (sibling == window) return label;
        if (const auto* text = dynamic_cast<const wxStaticText*>(sibling)) {
            const wxString spoken = Spoken(text->GetLabel());
            // Units and separators stand after what they belong to.
            if (spoken.length() > 1 || (spoken.length() == 1 && wxIsalpha(spoken[0]))) label = spoken;
        }
    }
    return {};
}

wxString NameFor(const wxWindow* window) {
    const bool isButton = dynamic_cast<const wxAnyButton*>(window) != nullptr;
    if (const wxString toolTip = Spoken(window->GetToolTipText()); isButton && !toolTip.empty())
        return toolTip;
    if (const wxString label = LabelBefore(window); !isButton && !label.empty()) return label;
    if (const auto* entry = dynamic_cast<const wxTextEntry*>(window))
        if (const wxString hint = Spoken(entry->GetHint()); !hint.empty()) return hint;
    if (const wxString toolTip = Spoken(window->GetToolTipText()); !toolTip.empty()) return toolTip;
    // One field that is all there is in its window is what the window is about.
    const wxWindow* top = wxGetTopLevelParent(const_cast<wxWindow*>(window));
    return top != nullptr ? Spoken(top->GetLabel()) : wxString();
}

// Lets every dialog be shown as it is, with names.
class DialogNames : public wxModalDialogHook {
    int Enter(wxDialog* dialog) override {
        NameControls(dialog);
        return wxID_NONE;
    }
};

}  // namespace

void SetAccessibleName(wxWindow* window, const wxString& name) {
    if (_GtkWidget* widget = SpokenWidget(window))
        atk_object_set_name(gtk_widget_get_accessible(widget), name.utf8_str());
}

wxString GetAccessibleName(const wxWindow* window) {
    _GtkWidget* widget = SpokenWidget(window);
    const char* name = widget != nullptr ? atk_object_get_name(gtk_widget_get_accessible(widget)) : nullptr;
    return name != nullptr ? wxString::FromUTF8(name) : wxString();
}

bool NeedsAccessibleName(const wxWindow* window) {
    if (const auto* button = dynamic_cast<const wxAnyButton*>(window))
        return Spoken(button->GetLabel()).length() < 2;  // a sign such as "+" tells nothing when it is spoken
    return dynamic_cast<const wxTextCtrl*>(window) != nullptr ||
           dynamic_cast<const wxSpinCtrlBase*>(window) != nullptr ||
           dynamic_cast<const wxSlider*>(window) != nullptr ||
           dynamic_cast<const wxChoice*>(window) != nullptr ||
           dynamic_cast<const wxComboBox*>(window) != nullptr ||
           dynamic_cast<const wxListBox*>(window) != nullptr || IsBareCheckBox(window);
}

void NameControls(wxWindow* root) {
    for (wxWindow* child : root->GetChildren()) {
        if (child->IsTopLevel()) continue;
        if (NeedsAccessibleName(child) && (SpeaksItsValue(child) || GetAccessibleName(child).empty())) {
            if (const wxString name = NameFor(child); !name.empty()) SetAccessibleName(child, name);
        }
        NameControls(child);
    }
}

void NameControlsOfDialogs() {
    static auto& names = *new DialogNames;
    static bool isRegistered = false;
    if (!isRegistered) names.Register();
    isRegistered = true;
}
