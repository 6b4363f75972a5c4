#include "orvgui/gridframe.h"

#include <wx/dc.h>
#include <wx/grid.h>
#include <wx/panel.h>
#include <wx/sizer.h>

#include "orvgui/icons.h"
#include "zorbase/gui/imageconvert.h"

namespace {

constexpr int kWidestColumn = 480;
const wxColour kOrange(255, 165, 0);

// Draws one picture in a cell.
class PictureRenderer : public wxGridCellStringRenderer {
  public:
    explicit PictureRenderer(const wxBitmap& bitmap) : m_bitmap(bitmap) {}

    void Draw(wxGrid& grid, wxGridCellAttr& attr, wxDC& dc, const wxRect& rect, int row, int col,
              bool isSelected) override {
        wxGridCellRenderer::Draw(grid, attr, dc, rect, row, col, isSelected);
        if (m_bitmap.IsOk()) dc.DrawBitmap(m_bitmap, rect.x + 2, rect.y + 2, true);
    }
    wxSize GetBestSize(wxGrid&, wxGridCellAttr&, wxDC&, int, int) override {
        return m_bitmap.IsOk() ? m_bitmap.GetSize() + wxSize(4, 4) : wxSize(4, 4);
    }
    PictureRenderer* Clone() const override { return new PictureRenderer(m_bitmap); }

  private:
    wxBitmap m_bitmap;
};

void SetCell(wxGrid& grid, int row, int col, const wxString& value, const std::vector<Image>& thumbnails) {
    wxString rest;
    long index = 0;
    if (value.StartsWith("*IMG*", &rest)) {
        if (rest.ToLong(&index) && index >= 0 && index < static_cast<long>(thumbnails.size())) {
            const Image& image = thumbnails[static_cast<std::size_t>(index)];
            wxImage picture;
            if (IplImageToWxImage(image, picture))
                grid.SetCellRenderer(row, col, new PictureRenderer(wxBitmap(picture)));
        }
    } else if (value.StartsWith("!", &rest)) {
        grid.SetCellTextColour(row, col, *wxRED);
        grid.SetCellValue(row, col, rest);
    } else if (value.StartsWith("?", &rest)) {
        grid.SetCellTextColour(row, col, kOrange);
        grid.SetCellValue(row, col, rest);
    } else {
        grid.SetCellValue(row, col, value);
    }
}

}  // namespace

GridFrame::GridFrame(wxWindow* parent, const wxString& title, Table& table, FrameType, int,
                     const std::vector<Image>& thumbnails)
    : wxFrame(parent, wxID_ANY, title, wxDefaultPosition, wxSize(1200, 600)) {
    SetIcons(LoadMainIcon());
    auto* panel = new wxPanel(this);
    m_grid = new wxGrid(panel, wxID_ANY);
    const int columns = table.empty() ? 0 : static_cast<int>(table[0].size());
    const int rows = table.empty() ? 0 : static_cast<int>(table.size()) - 1;
    {
        const wxGridUpdateLocker quiet(m_grid);
        m_grid->CreateGrid(rows, columns, wxGrid::wxGridSelectRows);
        m_grid->EnableEditing(false);
        m_grid->HideRowLabels();
        for (int col = 0; col < columns; ++col) {
            const wxString& label = table[0][static_cast<std::size_t>(col)];
            m_grid->SetColLabelValue(col, label.StartsWith("#") ? label.Mid(1) : label);
        }
        for (int row = 0; row < rows; ++row) {
            const auto& cells = table[static_cast<std::size_t>(row) + 1];
            for (int col = 0; col < columns && col < static_cast<int>(cells.size()); ++col) {
                SetCell(*m_grid, row, col, cells[static_cast<std::size_t>(col)], thumbnails);
            }
        }
        m_grid->AutoSize();
        for (int col = 0; col < columns; ++col) {
            if (m_grid->GetColSize(col) > kWidestColumn) m_grid->SetColSize(col, kWidestColumn);
        }
    }
    auto* inner = new wxBoxSizer(wxVERTICAL);
    inner->Add(m_grid, 1, wxEXPAND);
    panel->SetSizer(inner);
    auto* outer = new wxBoxSizer(wxVERTICAL);
    outer->Add(panel, 1, wxEXPAND);
    SetSizer(outer);
    SetSize(wxSize(1200, 600));
}
