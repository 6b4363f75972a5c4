#pragma once

#include <optional>
#include <string>
#include <vector>

// The picture sizes that camera models record, of data/camera-facts.tsv, compiled in. Safe on any thread.
struct CameraSizes {
    std::string make;  // as its files state it
    std::string model;
    struct Size {
        int width = 0;
        int height = 0;
    };
    std::vector<Size> sizes;  // pixels, the largest first
    // Whether the list is the maker's own, so complete; otherwise it is what was seen in files.
    bool isComplete = false;
};

// The camera of a make and model as metadata states them; case and blanks at the ends do not count; makers that write
// their name in several ways count as one where nobody else has the model. Nothing for an unknown one.
std::optional<CameraSizes> FindCameraSizes(const std::string& make, const std::string& model);

enum class SizeMatch { Among, Turned, NotAmong };
// Whether a picture's size is among them, as it is or with sides exchanged.
SizeMatch MatchSize(const CameraSizes& camera, int width, int height);
