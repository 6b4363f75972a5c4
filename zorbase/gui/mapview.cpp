#include "zorbase/gui/mapview.h"

#include <charconv>
#include <cmath>
#include <string>

#include "zorbase/gui/shell.h"
#include "zorbase/mapsite.h"

namespace {

// Six decimals are a tenth of a metre. Independent of the user's locale.
std::string Degrees(double value) {
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 6);
    return std::string(buffer, result.ptr);
}

}  // namespace

bool MapView::IsValid() const {
    return std::fabs(m_latitude) <= 90 && std::fabs(m_longitude) <= 180;
}

wxString MapView::GetAddress() const {
    if (!IsValid()) return {};
    const std::string latitude = Degrees(m_latitude);
    const std::string longitude = Degrees(m_longitude);
    return wxString::FromAscii(
        (kMapAddress + ("?mlat=" + latitude) + "&mlon=" + longitude + "#map=15/" + latitude + "/" + longitude)
            .c_str());
}

bool MapView::ShowOnMap() const {
    return LaunchWebAddress(GetAddress());
}
