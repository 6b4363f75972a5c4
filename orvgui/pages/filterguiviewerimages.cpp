// Which picture each canvas shows, and what is said of it: caption, marks and values of its map.

#include "orvgui/pages/filterguiviewer.h"

#include <wx/intl.h>

#include "orvcore/facade/interface.h"
#include "orvcore/filter/pictureplaces.h"
#include "orvgui/common/visibletext.h"
#include "orvgui/viewer/annotationpaint.h"
#include "orvgui/viewer/annotationpanel.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/mappanel.h"
#include "orvgui/viewer/viewerpanel.h"
#include "orvgui/viewer/viewmodes.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

bool ShowsPlaces(const OrvFilter& filter, OrvFileId slot, bool isProcessed) {
    const auto* places = dynamic_cast<const OrvPicturePlaces*>(&filter);
    return places == nullptr || places->ShowsPlaces(slot, isProcessed);
}

}  // namespace

void OrvFilterGuiViewer::GetInputOutputImages(Image& first, Image& second, int mode, int) {
    const OrvInterface* core = GetInterface();
    const bool hasReference = core != nullptr && core->HasFile(OrvReference);
    Image evidenceInput = m_filter->GetInputImage(OrvEvidence);
    Image evidenceOutput = ProcessedImage(OrvEvidence);
    Image referenceInput;
    Image referenceOutput;
    if (hasReference) {
        referenceInput = m_filter->GetInputImage(OrvReference);
        referenceOutput = ProcessedImage(OrvReference);
    }
    m_shown[0] = m_shown[1] = {evidenceOutput.IsValid() ? OrvEvidence : OrvReference, true};
    m_differenceMessage.clear();
    if (IsSingleViewer()) {
        first = evidenceOutput.IsValid() ? evidenceOutput : referenceOutput;
        m_viewerPanel->SetInputOutputImages(evidenceInput, evidenceOutput, referenceInput, referenceOutput);
        return;
    }
    const ViewMode* view = FindViewMode(mode);
    if (view != nullptr && view->second == ViewImage::DifferenceInput) {
        evidenceOutput = m_derived.Difference(evidenceInput, referenceInput, m_differenceMessage);
        evidenceInput.Reset();
    } else if (view != nullptr && view->second == ViewImage::DifferenceOutput) {
        // Of the pictures as the analysis gives them; what the user laid over one another is another question.
        evidenceOutput = m_derived.Difference(m_filter->GetOutputImage(OrvEvidence),
                                              hasReference ? m_filter->GetOutputImage(OrvReference) : Image(),
                                              m_differenceMessage);
        evidenceInput.Reset();
    }
    m_viewerPanel->SetInputOutputImages(evidenceInput, evidenceOutput, referenceInput, referenceOutput);
    if (view == nullptr) return;
    const auto choose = [&](ViewImage image) -> Image {
        switch (image) {
            case ViewImage::EvidenceInput:
                return evidenceInput;
            case ViewImage::EvidenceOutput:
            case ViewImage::DifferenceInput:
            case ViewImage::DifferenceOutput:
                return evidenceOutput;
            case ViewImage::ReferenceInput:
                return referenceInput;
            case ViewImage::ReferenceOutput:
                return referenceOutput;
            case ViewImage::None:
                break;
        }
        return Image();
    };
    first = choose(view->first);
    second = choose(view->second);
    const auto describe = [](ViewImage image) {
        const bool isReference = image == ViewImage::ReferenceInput || image == ViewImage::ReferenceOutput;
        const bool isProcessed = image == ViewImage::EvidenceOutput || image == ViewImage::ReferenceOutput;
        const bool isDifference = image == ViewImage::DifferenceInput || image == ViewImage::DifferenceOutput;
        return Shown{isReference ? OrvReference : OrvEvidence, isProcessed, isDifference};
    };
    m_shown[0] = describe(view->first);
    m_shown[1] = describe(view->second);
}

// What the filter gives as processed, or its map as the user wants to see it: laid over the picture.
Image OrvFilterGuiViewer::ProcessedImage(OrvFileId slot) {
    const OrvMap* map = m_mapPanel->GetMap(slot);
    const MapDisplay display = m_mapPanel->GetDisplay();
    const Image plain = m_filter->GetOutputImage(slot);
    if (map == nullptr || display == MapDisplay()) return plain;
    return m_derived.Overlay(slot, *map, display, m_filter->GetInputImage(slot), plain);
}

// What each half shows: evidence or reference, of which file, as it is or processed.
void OrvFilterGuiViewer::ShowCaptions() {
    const OrvInterface* core = GetInterface();
    const auto canvases = GetCanvases();
    for (std::size_t i = 0; i < canvases.size(); ++i) {
        const Canvas& canvas = *canvases[i];
        const Shown& shown = m_shown[IsSwapped(canvas) && canvases.size() == 2 ? 1 - i : i];
        wxString text;
        if (canvas.HasImage() && core != nullptr) {
            const wxString name = VisibleText(PathName(PathFromWx(core->GetFilename(shown.slot))));
            text = shown.slot == OrvEvidence ? _("Evidence") : _("Reference");
            if (shown.isDifference)
                text = _("Difference");
            else
                text += ": " + name + wxString::FromUTF8("  \u00b7  ") +
                        (shown.isProcessed ? _("processed") : _("original"));
            if (IsSwapped(canvas)) text += wxString::FromUTF8("  \u00b7  ") + _("swapped");
            if (IsMixed())
                text += wxString::FromUTF8("  \u00b7  ") +
                        wxString::Format(_("%d %% of the other"), m_mixPercent);
        }
        m_viewerPanel->SetCaption(static_cast<int>(i), text);
        // Marks belong to the file's own pixels: a picture of another size is a sheet of small ones or the like.
        const bool isOfPlaces = !shown.isDifference && ShowsPlaces(*m_filter, shown.slot, shown.isProcessed);
        const Image input = isOfPlaces ? m_filter->GetInputImage(shown.slot) : Image();
        const OrvFilePtr file = core != nullptr ? core->GetFile(shown.slot) : nullptr;
        const IntPair size = canvases[i]->GetProperties()->GetPixelSize();
        const bool isOwn = file && input.IsValid() && size == IntPair{input.GetWidth(), input.GetHeight()};
        SetMarkedFile(*canvases[i], isOwn ? file->GetSha256() : std::string());
    }
    ShowAnnotations(*this);
}

// Lines and regions of the chosen map lie over the processed picture; the untouched one stays untouched.
void OrvFilterGuiViewer::ShowMarks() {
    const auto canvases = GetCanvases();
    for (std::size_t i = 0; i < canvases.size(); ++i) {
        const Shown& shown = m_shown[i];
        const OrvMap* map = shown.isProcessed ? m_mapPanel->GetMap(shown.slot) : nullptr;
        if (map != nullptr) {
            canvases[i]->SetMarks(map->lines, map->regions);
        } else {
            canvases[i]->SetMarks({}, {});
        }
    }
}

const OrvMap* OrvFilterGuiViewer::MapOnCanvas(const Canvas* canvas) const {
    const auto canvases = GetCanvases();
    for (std::size_t i = 0; i < canvases.size(); ++i) {
        if (canvases[i] != canvas) continue;
        // While the other picture is shown in place, its map counts.
        const Shown& shown = m_shown[IsSwapped(*canvas) ? 1 - i : i];
        return m_mapPanel->GetMap(shown.slot);
    }
    return nullptr;
}

wxString OrvFilterGuiViewer::DescribeMap(const Canvas* canvas, int x, int y) const {
    const OrvMap* map = m_mapPanel != nullptr ? MapOnCanvas(canvas) : nullptr;
    if (map == nullptr) return {};
    const std::string text = MapValueText(*map, MapValueAt(*map, x, y));
    return text.empty() ? wxString() : MapTitle(*map).BeforeFirst('(').Trim() + " " + ToWx(text);
}
