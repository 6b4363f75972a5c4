#include "zorbase/appversion.h"

#include <cstdlib>
#include <string_view>

AppVersion::AppVersion() : m_appName("Orvane"), m_version(ORVANE_VERSION), m_revision(ORVANE_REVISION) {}

bool ZorHasJapaneseCustomization() {
    const char* edition = std::getenv("ORVANE_EDITION");
    return edition != nullptr && std::string_view(edition) == "jp";
}
