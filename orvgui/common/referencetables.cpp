#include "orvgui/common/referencetables.h"

#include "orvcore/formats/names/nameorigin.h"

namespace {

// Before every object without a stated order of its own.
#define ORVANE_MADE_FIRST __attribute__((init_priority(101)))

SocialMediaPatterns MakePatterns() {
    SocialMediaPatterns patterns;
    for (const ServicePattern& row : kServicePatterns) patterns.emplace_back(row.service, row.pattern);
    return patterns;
}

const SocialMediaPatterns g_patterns ORVANE_MADE_FIRST = MakePatterns();

// Plain texts first: a list of so many wxString would be made twice, once to be copied from.
constexpr const char* kCameraRecords[] = {
#include "camerarecords.inc"
};

const std::vector<wxString> g_cameras ORVANE_MADE_FIRST(std::begin(kCameraRecords), std::end(kCameraRecords));

}  // namespace

const SocialMediaPatterns& GetSocialMediaPatterns() {
    return g_patterns;
}

const std::vector<wxString>& GetCameraRecords() {
    return g_cameras;
}
