#pragma once

#include <wx/string.h>

// A place on an online map, in degrees: latitude -90..90 (south negative), longitude -180..180 (west
// negative). Showing it tells the map's provider the place: only on the user's explicit wish. GUI thread.
class MapView {
  public:
    MapView(double latitude, double longitude) : m_latitude(latitude), m_longitude(longitude) {}

    bool IsValid() const;         // within the bounds, not NaN
    wxString GetAddress() const;  // empty when not valid
    // Opens the map in the browser; false when the place is not valid or nothing could be started.
    bool ShowOnMap() const;

  private:
    double m_latitude;
    double m_longitude;
};
