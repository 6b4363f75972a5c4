#include "orvgui/common/referencetables.h"

namespace {

// Before every object without a stated order of its own.
#define ORVANE_MADE_FIRST __attribute__((init_priority(101)))

const SocialMediaPatterns g_patterns ORVANE_MADE_FIRST = {
    {"Facebook", "^[0-9]+_[0-9]+_[0-9]+_[o|n]$"},
    {"Flickr", "^[0-9]+_[a-z0-9]+_[b|k|h|m|o|q|z]$"},
    {"Tumblr", "^tumblr_[a-zA-Z0-9]+_[0-9]{3,5}$"},
    {"Imgur", "^[0-9]* - [a-zA-Z0-9]{7,8}$"},
    {"Whatsapp", "^IMG-[0-9]{8}-WA[0-9]{4,}$"},
    {"Whatsapp", "^WhatsApp-Image-[0-9]{8}[ \\([0-9]*\\)*$"},
    {"Whatsapp", "^WhatsApp Image [0-9]{4}-[0-9]{2}-[0-9]{2} at [0-9]{2}.[0-9]{2}.[0-9]{2}$"},
    {"Instagram", "^[0-9]+_[0-9]+_[0-9]+_[o|n]$"},
    {"Tinypic", "^[a-z0-9]{7,8}$"},
    {"Telegram", "^[0-9]+_[0-9]{16,}$"},
    {"Telegram", "^photo[0-9]+$"},
};

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
