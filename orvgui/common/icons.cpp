#include "orvgui/common/icons.h"

#include <wx/artprov.h>
#include <wx/filename.h>
#include <wx/image.h>
#include <wx/log.h>

#include <map>
#include <utility>

#include "orvcore/facade/context.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

wxString ImageFolder() {
    const OrvContext* context = GetContext();
    const wxString data =
        context ? context->GetConfigDir() : PathToWx(GetAppDataPath()) + wxFileName::GetPathSeparator();
    return data + "img" + wxFileName::GetPathSeparator();
}

// An empty bitmap when the file is missing or no picture.
wxBitmap ReadPng(const wxString& path) {
    if (!wxImage::FindHandler(wxBITMAP_TYPE_PNG)) wxImage::AddHandler(new wxPNGHandler);
    const wxLogNull silence;
    wxImage image;
    if (!wxFileName::FileExists(path) || !image.LoadFile(path, wxBITMAP_TYPE_PNG)) return wxBitmap();
    return wxBitmap(image);
}

struct Substitute {
    const char* name;
    const char* art;
};
const Substitute kSubstitutes[] = {
    {"open", wxART_FILE_OPEN}, {"save", wxART_FILE_SAVE},  {"new", wxART_NEW},
    {"delete", wxART_DELETE},  {"browse", wxART_FOLDER},   {"bwd", wxART_GOTO_FIRST},
    {"bwds", wxART_GO_BACK},   {"play", wxART_GO_FORWARD}, {"fwd", wxART_GOTO_LAST},
    {"copy", wxART_COPY},      {"edit", wxART_EDIT},       {"expand", wxART_PLUS},
    {"collapse", wxART_MINUS}, {"reset", wxART_REFRESH},   {"bookmark", wxART_ADD_BOOKMARK},
};

wxBitmapBundle ToolkitPicture(const wxString& stem, int size) {
    wxArtID art = wxART_NORMAL_FILE;
    for (const Substitute& substitute : kSubstitutes) {
        if (stem == substitute.name) art = substitute.art;
    }
    return wxArtProvider::GetBitmapBundle(art, wxART_BUTTON, wxSize(size, size));
}

// The pictures of one icon, read when a size is first asked for: at start only the one of the display's scale is.
class IconPictures : public wxBitmapBundleImpl {
  public:
    IconPictures(const wxString& base, int size) : m_base(base), m_size(size) {}

    wxSize GetDefaultSize() const override { return wxSize(m_size, m_size); }
    wxSize GetPreferredBitmapSizeAtScale(double scale) const override { return GetDefaultSize() * scale; }

    wxBitmap GetBitmap(const wxSize& size) override {
        wxBitmap& bitmap = m_bitmaps[size.x];
        if (bitmap.IsOk()) return bitmap;
        // The smallest picture that need not be enlarged.
        for (const auto& [width, suffix] :
             {std::pair(16, "-16.png"), std::pair(32, ".png"), std::pair(64, "@2x.png")}) {
            if (width >= size.x || !bitmap.IsOk()) {
                if (const wxBitmap read = ReadPng(m_base + suffix); read.IsOk()) bitmap = read;
            }
            if (width >= size.x && bitmap.IsOk()) break;
        }
        if (bitmap.IsOk() && bitmap.GetWidth() != size.x) wxBitmap::Rescale(bitmap, size);
        return bitmap;
    }

  private:
    wxString m_base;
    int m_size;
    std::map<int, wxBitmap> m_bitmaps;  // by width in pixels
};

}  // namespace

wxBitmapBundle LoadIconBundle(const wxString& fileName, int size) {
    const wxString stem = fileName.BeforeLast('.');
    const wxString base = ImageFolder() + stem;
    // Kept to the end of the process: bitmaps must not outlive the toolkit, which is gone when statics are destroyed.
    static auto& known = *new std::map<std::pair<wxString, int>, wxBitmapBundle>;
    wxBitmapBundle& bundle = known[{base, size}];
    if (!bundle.IsOk()) {
        auto* pictures = new IconPictures(base, size);
        bundle = wxBitmapBundle::FromImpl(pictures);
        // The bundle itself must not be asked for a picture that is missing.
        if (!pictures->GetBitmap(wxSize(size, size)).IsOk()) bundle = ToolkitPicture(stem, size);
    }
    return bundle;
}

wxIconBundle LoadMainIcon() {
    wxIconBundle bundle;
    for (const char* suffix : {"-16.png", "-32.png", "-48.png", ".png"}) {
        const wxBitmap bitmap = ReadPng(ImageFolder() + "orvane" + suffix);
        if (!bitmap.IsOk()) continue;
        wxIcon icon;
        icon.CopyFromBitmap(bitmap);
        bundle.AddIcon(icon);
    }
    return bundle;
}

wxBitmapBundle MakeWarningSign(int size) {
    static constexpr const char* kSign =
        "<svg xmlns='http://www.w3.org/2000/svg' width='16' height='16' viewBox='0 0 16 16'>"
        "<path d='M8 1.5 15.2 14.5H0.8z' fill='#d55e00'/>"
        "<path d='M7 5.5h2l-0.3 5H7.3z' fill='#ffffff'/><path d='M7 11.3h2v1.9H7z' fill='#ffffff'/></svg>";
    return wxBitmapBundle::FromSVG(kSign, wxSize(size, size));
}
