#include "zorbase/gui/aboutdialog.h"

#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/icon.h>
#include <wx/intl.h>
#include <wx/listctrl.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>

#include "zorbase/appversion.h"
#include "zorbase/licence.h"
#include "zorbase/text.h"

namespace {

struct Library {
    const char* name;
    const char* use;
    const char* licence;
};

constexpr Library kLibraries[] = {
    {"wxWidgets", wxTRANSLATE("Windows"), "wxWindows Library Licence 3.1"},
    {"wxMathPlot", wxTRANSLATE("Plots"), "wxWindows Library Licence 3.1"},
    {"OpenCV", wxTRANSLATE("Image arithmetic"), "Apache 2.0"},
    {"Exiv2", wxTRANSLATE("Metadata"), "GPL 2 or later"},
    {"libjpeg-turbo", "JPEG", "IJG, BSD 3-Clause, zlib"},
    {"libpng", "PNG", "PNG Reference Library License"},
    {"LibTIFF", "TIFF", "libtiff"},
    {"libwebp", "WebP", "BSD 3-Clause"},
    {"GIFLIB", "GIF", "MIT"},
    {"OpenJPEG", "JPEG 2000", "BSD 2-Clause"},
    {"libheif", "HEIF", "LGPL 3 or later"},
    {"LibRaw", wxTRANSLATE("Raw photographs"), "LGPL 2.1 or CDDL 1.0"},
    {"QPDF", "PDF", "Apache 2.0"},
    {"jbig2dec", "JBIG2", "AGPL 3 or later"},
    {"libcurl", wxTRANSLATE("Web searches"), "curl"},
    {"OpenSSL", wxTRANSLATE("Hash values"), "Apache 2.0"},
    {"zlib", wxTRANSLATE("Compression"), "zlib"},
    {"Boost", wxTRANSLATE("Parameters"), "Boost Software License 1.0"},
    {"JSON for Modern C++", wxTRANSLATE("Settings and projects"), "MIT"},
    {"CLI11", wxTRANSLATE("Command line"), "BSD 3-Clause"},
};

wxStaticText* MakeText(wxWindow* parent, const wxString& text) {
    auto* control = new wxStaticText(parent, wxID_ANY, wxEmptyString);
    control->SetLabelText(text);
    return control;
}

wxListView* MakeLibraryList(wxWindow* parent) {
    auto* list =
        new wxListView(parent, wxID_ANY, wxDefaultPosition, wxSize(560, 260), wxLC_REPORT | wxLC_SINGLE_SEL);
    list->AppendColumn(_("Library"));
    list->AppendColumn(_("Used for"));
    list->AppendColumn(_("Licence"));
    for (const Library& library : kLibraries) {
        const long row = list->InsertItem(list->GetItemCount(), library.name);
        list->SetItem(row, 1, wxGetTranslation(library.use));
        list->SetItem(row, 2, library.licence);
    }
    for (int column = 0; column < 3; ++column) list->SetColumnWidth(column, wxLIST_AUTOSIZE);
    return list;
}

wxSizer* MakeTitle(wxDialog& dialog, const AppVersion& version, const wxIcon& icon) {
    auto* name = MakeText(&dialog, ToWx(version.GetAppName()));
    name->SetFont(name->GetFont().Bold().Scaled(1.6f));
    wxString text = wxString::Format(_("Version %s"), ToWx(version.GetVersion()));
    if (!version.GetRevision().empty()) {
        text += ", " + wxString::Format(_("revision %s"), ToWx(version.GetRevision()));
    }
    if (LicenceManager::Get().IsTrial())
        text += ", " + wxGetTranslation(LicenceManager::Get().GetEditionName());
    auto* lines = new wxBoxSizer(wxVERTICAL);
    lines->Add(name);
    lines->Add(MakeText(&dialog, text), 0, wxTOP, 4);

    auto* row = new wxBoxSizer(wxHORIZONTAL);
    if (icon.IsOk())
        row->Add(new wxStaticBitmap(&dialog, wxID_ANY, icon), 0, wxRIGHT | wxALIGN_CENTER_VERTICAL, 16);
    row->Add(lines, 1, wxALIGN_CENTER_VERTICAL);
    return row;
}

}  // namespace

void CreateAboutDialog(wxWindow* parent, const AppVersion& version, const wxIcon& icon, bool& restart,
                       const AboutCheck& check) {
    restart = false;
    wxDialog dialog(parent, wxID_ANY, wxString::Format(_("About %s"), ToWx(version.GetAppName())),
                    wxDefaultPosition, wxDefaultSize, wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER);
    auto* what = MakeText(
        &dialog,
        _("Forensic analysis of images: what a file and its pixels say about how a photograph was made, "
          "whether it was saved again and which parts do not belong. The evidence is only ever read."));
    what->Wrap(560);

    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(MakeTitle(dialog, version, icon), 0, wxEXPAND | wxALL, 16);
    sizer->Add(what, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, 16);
    sizer->Add(MakeText(&dialog, _("It stands on these libraries:")), 0, wxLEFT | wxRIGHT | wxBOTTOM, 16);
    sizer->Add(MakeLibraryList(&dialog), 1, wxEXPAND | wxLEFT | wxRIGHT, 16);
    if (!check.text.empty()) {
        auto* row = new wxBoxSizer(wxHORIZONTAL);
        auto* text = MakeText(&dialog, check.text);
        text->Wrap(400);
        row->Add(text, 1, wxALIGN_CENTER_VERTICAL | wxRIGHT, 12);
        auto* button = new wxButton(&dialog, wxID_ANY, check.button);
        button->Bind(wxEVT_BUTTON, [&dialog, &check](wxCommandEvent&) {
            *check.isWanted = true;
            dialog.EndModal(wxID_OK);
        });
        row->Add(button, 0, wxALIGN_CENTER_VERTICAL);
        sizer->Add(row, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, 16);
    }
    sizer->Add(dialog.CreateButtonSizer(wxOK), 0, wxEXPAND | wxALL, 12);
    dialog.SetSizerAndFit(sizer);
    // Without a cancel button Escape would do nothing.
    dialog.SetEscapeId(wxID_OK);
    if (wxWindow* ok = dialog.FindWindow(wxID_OK)) ok->SetFocus();
    dialog.CentreOnParent();
    dialog.ShowModal();
}
