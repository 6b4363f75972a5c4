#include "orvgui/viewer/mapview.h"

#include <wx/translation.h>

#include <algorithm>
#include <cmath>

#include "orvcore/filter/mapimage.h"
#include "zorbase/text.h"

namespace {

constexpr int kStripRows = 128;
constexpr int kLegendNumbers = 5;

bool IsBeyond(const OrvMap& map, double value) {
    if (map.thresholdSide == OrvMapSide::Above) return value > map.threshold;
    return map.thresholdSide == OrvMapSide::Below && value < map.threshold;
}

OrvRange ShownRange(const OrvMap& map) {
    return map.scale == OrvMapScale::Probability ? OrvRange{0.0, 1.0} : map.range;
}

wxString NumberWithUnit(const OrvMap& map, double value) {
    const std::string unit = map.unit.empty() ? "" : " " + map.unit;
    return ToWx(MapNumberText(map, value) + unit);
}

template <typename Value>
void MarkCells(const OrvMap& map, bool beyondOnly, const std::stop_token& stop, cv::Mat& shown) {
    const int channels = map.values.channels();
    for (int row = 0; row < shown.rows && !stop.stop_requested(); ++row) {
        std::uint8_t* cells = shown.ptr<std::uint8_t>(row);
        const Value* values = map.values.ptr<Value>(row);
        const std::uint8_t* mask = map.mask.empty() ? nullptr : map.mask.ptr<std::uint8_t>(row);
        for (int column = 0; column < shown.cols; ++column, values += channels) {
            if (mask != nullptr && mask[column] != 0) continue;
            bool isShown = !beyondOnly;
            for (int c = 0; c < channels; ++c) {
                const double value = static_cast<double>(values[c]);
                if (!std::isfinite(value)) {
                    isShown = false;
                    break;
                }
                isShown = isShown || IsBeyond(map, value);
            }
            cells[column] = isShown ? 255 : 0;
        }
    }
}

// Not 0 for the cells whose colours are shown, in the map's own resolution.
cv::Mat ShownCells(const OrvMap& map, bool beyondOnly, const std::stop_token& stop) {
    cv::Mat shown(map.values.rows, map.values.cols, CV_8U, cv::Scalar(0));
    switch (map.values.depth()) {
        case CV_8U:
            MarkCells<std::uint8_t>(map, beyondOnly, stop, shown);
            break;
        case CV_8S:
            MarkCells<std::int8_t>(map, beyondOnly, stop, shown);
            break;
        case CV_16U:
            MarkCells<std::uint16_t>(map, beyondOnly, stop, shown);
            break;
        case CV_16S:
            MarkCells<std::int16_t>(map, beyondOnly, stop, shown);
            break;
        case CV_32S:
            MarkCells<std::int32_t>(map, beyondOnly, stop, shown);
            break;
        default:
            MarkCells<float>(map, beyondOnly, stop, shown);
            break;
    }
    return shown;
}

// The cell of each place along one axis, -1 outside the map.
std::vector<int> CellsAlong(int places, int origin, int block, int cells) {
    std::vector<int> along(static_cast<std::size_t>(places), -1);
    for (int i = 0; i < places; ++i) {
        const std::int64_t distance = std::int64_t{i} - origin;
        if (distance < 0 || distance / block >= cells) continue;
        along[static_cast<std::size_t>(i)] = static_cast<int>(distance / block);
    }
    return along;
}

}  // namespace

bool IsBeyond(const OrvMap& map, const OrvMapValue& value) {
    for (int i = 0; i < value.count; ++i)
        if (IsBeyond(map, value.channels[static_cast<std::size_t>(i)])) return true;
    return false;
}

Image OverlayMap(const Image& picture, const OrvMap& map, const MapDisplay& display,
                 const std::stop_token& stop) {
    const bool hasPicture = picture.IsValid() && picture.GetMat().type() == CV_8UC3 &&
                            picture.GetWidth() == map.image.width && picture.GetHeight() == map.image.height;
    if (!hasPicture || map.values.empty()) return map.values.empty() ? picture : DrawMap(map);
    const cv::Mat shown = ShownCells(map, display.beyondOnly, stop);
    const std::vector<int> columns =
        CellsAlong(map.image.width, map.origin.x, map.block.width, map.values.cols);
    const std::vector<int> rows =
        CellsAlong(map.image.height, map.origin.y, map.block.height, map.values.rows);
    const int opacity = std::clamp(display.opacity, 0, 100);

    cv::Mat blended = picture.GetMat().clone();
    for (int top = 0; top < blended.rows; top += kStripRows) {
        if (stop.stop_requested()) return {};
        const cv::Rect strip(0, top, blended.cols, std::min(kStripRows, blended.rows - top));
        const cv::Mat colours = DrawMapPart(map, strip);
        for (int y = strip.y; y < strip.y + strip.height; ++y) {
            const int row = rows[static_cast<std::size_t>(y)];
            if (row < 0) continue;
            const std::uint8_t* cells = shown.ptr<std::uint8_t>(row);
            const std::uint8_t* colour = colours.ptr<std::uint8_t>(y - strip.y);
            std::uint8_t* pixel = blended.ptr<std::uint8_t>(y);
            for (int x = 0; x < blended.cols; ++x, colour += 3, pixel += 3) {
                const int column = columns[static_cast<std::size_t>(x)];
                if (column < 0 || cells[column] == 0) continue;
                for (int c = 0; c < 3; ++c)
                    pixel[c] = static_cast<std::uint8_t>(
                        (pixel[c] * (100 - opacity) + colour[c] * opacity + 50) / 100);
            }
        }
    }
    return Image(blended);
}

std::vector<LegendMark> LegendMarks(const OrvMap& map) {
    std::vector<LegendMark> marks;
    const OrvRange range = ShownRange(map);
    if (map.scale == OrvMapScale::Classes || !(range.high > range.low)) return marks;
    const auto textAt = [&](double value) { return ToWx(MapNumberText(map, value)); };
    for (int i = 0; i < kLegendNumbers; ++i) {
        const double place = static_cast<double>(i) / (kLegendNumbers - 1);
        const wxString text = textAt(range.low + place * (range.high - range.low));
        // A narrow range of whole numbers says each once.
        if (!marks.empty() && marks.back().text == text) continue;
        marks.push_back({place, text, false});
    }
    const bool isInRange = map.threshold >= range.low && map.threshold <= range.high;
    if (map.thresholdSide != OrvMapSide::None && isInRange)
        marks.push_back(
            {(map.threshold - range.low) / (range.high - range.low), textAt(map.threshold), true});
    return marks;
}

wxString MapTitle(const OrvMap& map) {
    const wxString name = map.name.empty() ? wxString(_("Map")) : wxGetTranslation(ToWx(map.name));
    return map.unit.empty() ? name : name + " (" + wxGetTranslation(ToWx(map.unit)) + ")";
}

wxString RangeText(const OrvMap& map, bool isByHand) {
    if (map.scale == OrvMapScale::Classes) return {};
    const OrvRange range = ShownRange(map);
    // TRANSLATORS: a range of values: the lowest, and the highest with its unit.
    const wxString text =
        wxString::Format(_("%s to %s"), ToWx(MapNumberText(map, range.low)), NumberWithUnit(map, range.high));
    if (map.scale == OrvMapScale::Probability) return text;
    return text + ", " +
           (isByHand          ? _("set by hand")
            : map.isAutomatic ? _("automatic")
                              : _("fixed by the analysis"));
}

wxString ThresholdText(const OrvMap& map) {
    if (map.thresholdSide == OrvMapSide::None) return {};
    return wxString::Format(
        map.thresholdSide == OrvMapSide::Above ? _("Above %s counts") : _("Below %s counts"),
        NumberWithUnit(map, map.threshold));
}

wxString NumbersText(const OrvMap& map, const MapNumbers& numbers) {
    if (numbers.count == 0) return {};
    const auto number = [](double value) { return wxString::Format("%.4g", value); };
    wxString text = wxString::Format(_("mean %s, median %s, deviation %s"), number(numbers.mean),
                                     number(numbers.median), number(numbers.deviation));
    if (map.thresholdSide != OrvMapSide::None)
        text += wxString::Format(_(", %s %% beyond the threshold"), number(100.0 * numbers.beyond));
    return text +
           wxString::Format(wxPLURAL(" (%s value)", " (%s values)",
                                     static_cast<unsigned>(std::min<std::int64_t>(numbers.count, 1000))),
                            ToWx(ToString(numbers.count)));
}
