#pragma once

// The site whose map shows a place, and where it lies. What is asked there ends in its log.
inline constexpr const char* kMapSite = "OpenStreetMap";
inline constexpr const char* kMapAddress = "https://www.openstreetmap.org/";
