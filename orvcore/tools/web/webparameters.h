#pragma once

#include <wx/translation.h>

#include <string>

#include "zorbase/parameter.h"

// The settings of the actions that use the network: names as the dialogs show them, and readers that say which field is
// missing or wrong. Readers throw ZorException (kind Argument). Pure, any thread.

inline constexpr const char* kWebParameterMake = wxTRANSLATE("Camera Make");
inline constexpr const char* kWebParameterModel = wxTRANSLATE("Camera Model");
inline constexpr const char* kWebParameterDays = wxTRANSLATE("Start From Pictures Taken N Days Ago. N Is");
inline constexpr const char* kWebParameterCount = wxTRANSLATE("Stop After Finding At Least N Pictures. N Is");
inline constexpr const char* kWebParameterSize = wxTRANSLATE("Look For Pictures Of Size");
inline constexpr const char* kWebParameterNoSoftware =
    wxTRANSLATE("Exclude Picture With Known Software Tags");
inline constexpr const char* kWebParameterSameCamera =
    wxTRANSLATE("Exclude Pictures With Different Make or Model");
inline constexpr const char* kWebParameterKey = wxTRANSLATE("CameraForensics API Key");
inline constexpr const char* kWebParameterSoftware = wxTRANSLATE("Exif Software");
inline constexpr const char* kWebParameterTables = wxTRANSLATE("JPEG QT Hash");
inline constexpr const char* kWebParameterNumber = wxTRANSLATE("Number of Pictures");
inline constexpr const char* kWebParameterTinEye = wxTRANSLATE("Search On TinEye");
inline constexpr const char* kWebParameterGoogle = wxTRANSLATE("Search On Google");
inline constexpr const char* kWebParameterDomain =
    wxTRANSLATE("Search On This Domain (Optional - Only For Google)");
inline constexpr const char* kWebParameterAllow = wxTRANSLATE("Allow To Send Images On The Web");
inline constexpr const char* kWebParameterPhotos = "Photo-Id";  // name, address, name, address, …
inline constexpr const char* kWebParameterFolder = "Folder";

// Of a search's results: beside what was found, why there may be more. Not there when the search was finished.
inline constexpr const char* kWebResultIncomplete = "incomplete";
inline constexpr const char* kWebEntryAnySize = wxTRANSLATE("Any Size");

// A picture's size in pixels; 0 x 0 stands for any size.
struct WebPictureSize {
    int width = 0;
    int height = 0;
    bool IsAny() const { return width <= 0 || height <= 0; }
    // Also when the picture is turned by 90 degrees.
    bool Fits(int otherWidth, int otherHeight) const;
};

// The text, without blanks around it; refuses "", texts with control characters, and the hint "[write here …]" that a
// dialog shows where the evidence says nothing.
std::string ReadWebText(const VecParameter& parameters, const char* name);
int ReadWebNumber(const VecParameter& parameters, const char* name, int minimum, int maximum);
bool ReadWebFlag(const VecParameter& parameters, const char* name);
// Of a choice: the index and the entry that it stands for.
int ReadWebChoice(const VecParameter& parameters, const char* name);
std::string ReadWebEntry(const VecParameter& parameters, const char* name);
// Of a choice with entries "4000 x 3000" and "Any Size".
WebPictureSize ReadWebSize(const VecParameter& parameters);
