#include "orvgui/icons.h"

#include <wx/artprov.h>
#include <wx/filename.h>
#include <wx/image.h>
#include <wx/log.h>

#include "orvcore/context.h"
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

}  // namespace

wxBitmapBundle LoadIconBundle(const wxString& fileName, int size) {
    const wxString stem = fileName.BeforeLast('.');
    const wxString base = ImageFolder() + stem;
    wxVector<wxBitmap> bitmaps;
    for (const char* suffix : {"-16.png", ".png", "@2x.png"}) {
        const wxBitmap bitmap = ReadPng(base + suffix);
        // The smallest picture of a bundle decides its size, so smaller ones stay out.
        if (bitmap.IsOk() && bitmap.GetWidth() >= size) bitmaps.push_back(bitmap);
    }
    if (bitmaps.empty()) return ToolkitPicture(stem, size);
    if (bitmaps.front().GetWidth() != size) {
        wxBitmap::Rescale(bitmaps.front(), wxSize(size, size));
    }
    return wxBitmapBundle::FromBitmaps(bitmaps);
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
