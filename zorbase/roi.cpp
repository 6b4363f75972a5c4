#include "zorbase/roi.h"

#include "zorbase/text.h"

std::string ToString(const Roi& roi) {
    return ToString(roi.x) + ", " + ToString(roi.y) + ", " + ToString(roi.width) + ", " +
           ToString(roi.height);
}

bool FromString(const std::string& text, Roi& roi) {
    const std::vector<std::string> pieces = StringToVecString(text, ",", SplitMode::KeepEmpty, true);
    Roi result;
    if (pieces.size() != 4 || !FromString(pieces[0], result.x) || !FromString(pieces[1], result.y) ||
        !FromString(pieces[2], result.width) || !FromString(pieces[3], result.height)) {
        return false;
    }
    if (result.width < 0 || result.height < 0) return false;
    roi = result;
    return true;
}
