#pragma once

#include <wx/gdicmn.h>
#include <wx/string.h>

#include <string>
#include <vector>

#include "orvcore/model/casedata.h"
#include "orvgui/viewer/annotationgeometry.h"

class WindowProperties;
class wxDC;
class wxWindow;

// The text of a mark as it is shown: no control characters, of limited length.
wxString MarkLabel(const OrvAnnotation& mark);
// Size of that text with its ground in the window's font, in pixels; 0, 0 without text.
IntPair MarkLabelSize(const wxWindow& window, const OrvAnnotation& mark);

// What a canvas is given beside its picture: which file's pixels it shows one to one ("" for none), and the marks on them; selected: the
// index of the one that stands out, -1 for none. GUI thread.
void SetMarkedFile(wxWindow& canvas, const std::string& sha256);
std::string GetMarkedFile(const wxWindow& canvas);
void SetCanvasMarks(wxWindow& canvas, const std::vector<OrvAnnotation>& marks, int selected);
const std::vector<OrvAnnotation>& GetCanvasMarks(const wxWindow& canvas);

// Draws the canvas's marks over its picture: lines of the same width at every zoom, on a dark edge.
void DrawAnnotationMarks(wxDC& dc, const wxWindow& canvas, const WindowProperties& shared);
