#pragma once

#include <wx/string.h>

#include "orvcore/model/loadedfile.h"

// What the main window says, decided without it.

// "case12.zop* - Orvane": file name of the project (or "New Project"), a star while it is not saved, the base title.
wxString MakeFrameTitle(const wxString& projectPath, bool saved, const wxString& baseTitle);

// The name under which a project is offered to be saved: its own, else that of the evidence, else "New Project", each ".zop".
wxString ProposeProjectName(const wxString& projectPath, const wxString& evidencePath);

// What the progress dialog shows.
struct ProgressView {
    wxString message;
    int value = 0;  // percent, at most 99: the end is told by the core, not by the bar
};
struct ProgressState {
    double outer = 0.0;  // 0 … 1
    double inner = 0.0;
    wxString outerText;
    wxString innerText;
    bool innerRunning = false;  // the inner progress drives the bar
};
ProgressView MakeProgressView(const ProgressState& state);
ProgressState ReadProgressState();

// Latitude and longitude in degrees from a text with a blank between them; NaN for what is no position.
struct MapPosition {
    double latitude;
    double longitude;
};
MapPosition ParseMapPosition(const wxString& text);

// "JPEG   4000 x 3000   8 bit   2,345,678 bytes (2.2 MB)". May wait for a decoding of the file that is under way.
wxString MakePictureText(const OrvLoadedFile& file);
