#include "orvgui/shell/frametexts.h"

#include <wx/filename.h>
#include <wx/translation.h>

#include <algorithm>
#include <cmath>

#include "orvgui/common/visibletext.h"
#include "zorbase/files.h"
#include "zorbase/gpsformat.h"
#include "zorbase/progress.h"
#include "zorbase/text.h"

namespace {

int Percent(double done) {
    if (!(done > 0.0)) return 0;  // not a number, too
    return std::min(static_cast<int>(std::floor(std::min(done, 1.0) * 100.0)), 99);
}

wxString Line(const wxString& text, int percent) {
    return percent > 0 ? text + wxString::Format(" (%d%%)", percent) : text;
}

}  // namespace

wxString MakeFrameTitle(const wxString& projectPath, bool saved, const wxString& baseTitle) {
    wxString title = VisibleText(PathName(PathFromWx(projectPath)));
    if (title.empty()) title = _("New Project");
    if (!saved) title += "*";
    return title + " - " + baseTitle;
}

wxString ProposeProjectName(const wxString& projectPath, const wxString& evidencePath) {
    if (!projectPath.empty()) return projectPath;
    const wxString name =
        evidencePath.empty() ? wxString(_("New Project")) : wxFileName(evidencePath).GetName();
    return name + ".zop";
}

ProgressView MakeProgressView(const ProgressState& state) {
    const int outer = Percent(state.outer);
    const wxString line1 = Line(state.outerText, outer);
    if (!state.innerRunning) return {line1, outer};
    const int inner = Percent(state.inner);
    return {line1 + "\n" + Line(state.innerText, inner), inner};
}

ProgressState ReadProgressState() {
    return {acvGetProgress(), acvGetProgress2(), ToWx(acvGetProgressString()), ToWx(acvGetProgressString2()),
            acvProgressRunning2()};
}

MapPosition ParseMapPosition(const wxString& text) {
    wxString longitude;
    const wxString latitude = text.BeforeFirst(' ', &longitude);
    return {GPSFormat::ConvertToDeg(FromWx(latitude)), GPSFormat::ConvertToDeg(FromWx(longitude))};
}

wxString MakePictureText(const OrvLoadedFile& file) {
    const ImageInfo& info = file.GetInfo();
    wxString text = ToWx(FormatName(info.format));
    if (info.width > 0 && info.height > 0) text += wxString::Format("   %d x %d", info.width, info.height);
    if (info.bitsPerSample > 0) text += wxString::Format(_("   %d bit"), info.bitsPerSample);
    // Analyses look at one picture only; the page of pictures says what the others are.
    if (info.frames > 1) text += wxString::Format(_("   the main one of %d pictures"), info.frames);
    text += "   " + ToWx(FormatFileSize(file.GetFacts().size));
    return file.GetDamage().IsEmpty() ? text : text + "   " + _("damaged");
}
