#include "orvgui/pages/plotdialog.h"

#include <wx/button.h>
#include <wx/image.h>
#include <wx/intl.h>
#include <wx/sizer.h>

#include "orvgui/common/fileselectors.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/pages/plotpanel.h"
#include "zorbase/gui/imageconvert.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

constexpr int kBorder = 8;

// The core's texts are looked up here; an empty one has no translation.
wxString Translated(const std::string& text) {
    return text.empty() ? wxString() : wxGetTranslation(ToWx(text));
}

}  // namespace

void ShowPlotData(PlotPanel& panel, OrvPlotData data, OrvFileId slot, int visibleLayer) {
    wxImage picture;
    if (data.image.IsValid()) IplImageToWxImage(data.image.ToColor().GetMat(), picture);
    wxString title = slot == OrvEvidence ? _("Evidence") : _("Reference");
    if (!data.text.empty()) title += ": " + Translated(data.text);
    panel.SetTexts(Translated(data.xLabel), Translated(data.yLabel), title);
    panel.ConfigurePlot(data.x, data.curves, data.layerCount,
                        data.counts.empty() ? nullptr : data.counts.data(), picture, visibleLayer, data.marks,
                        data.helpLines);
}

PlotDialog::PlotDialog(wxWindow* parent, const wxString& title, const OrvPlotData& data, OrvFileId slot)
    : wxDialog(parent, wxID_ANY, title, wxDefaultPosition, wxSize(900, 600),
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER | wxMAXIMIZE_BOX),
      m_plot(new PlotPanel(this, wxID_ANY)) {
    ShowPlotData(*m_plot, data, slot, 0);
    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    auto* save = new wxButton(this, wxID_SAVE, _("Save As..."));
    save->SetToolTip(_("Saves the plot, as large as it is shown here, as a picture"));
    buttons->Add(save);
    buttons->AddStretchSpacer();
    buttons->Add(new wxButton(this, wxID_CLOSE, _("Close")));
    auto* column = new wxBoxSizer(wxVERTICAL);
    column->Add(m_plot, 1, wxEXPAND | wxALL, kBorder);
    column->Add(buttons, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, kBorder);
    SetSizer(column);
    SetEscapeId(wxID_CLOSE);
    SetMinSize(wxSize(400, 300));
    save->Bind(wxEVT_BUTTON, &PlotDialog::OnSave, this);
    CentreOnParent();
}

void PlotDialog::OnSave(wxCommandEvent&) {
    const Image image = m_plot->Render();
    const wxString path =
        OrvFileSaveSelector(_("Select a file to save to..."), "plot.png", _("PNG image (*.png)|*.png"));
    if (path.empty() || !image.IsValid()) return;
    try {
        WriteImage(image, PathFromWx(path));
    } catch (const ZorException& exception) {
        OrvMessageBox(ToWx(exception.GetMessage()), _("Error"), wxOK | wxICON_ERROR, this);
    }
}
