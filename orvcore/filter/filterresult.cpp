#include "orvcore/filter/filterresult.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>

#include "orvcore/filter/intermediates.h"
#include "orvcore/filter/mapimage.h"
#include "orvcore/filter/mappictures.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr char kNumbers[] = "numbers";

const OrvMap* FindMap(const OrvSlotResultPtr& slot, const std::string& name) {
    if (!slot) return nullptr;
    for (const OrvMap& map : slot->maps)
        if (map.name == name) return &map;
    return nullptr;
}

}  // namespace

void ThrowOutput(const std::string& name, bool exists) {
    ZOR_THROW(Argument, exists ? "The output \"" + name + "\" is of another type."
                               : "There is no output \"" + name + "\".");
}

std::string FixedText(double value, int digits) {
    if (std::isnan(value)) return {};
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

std::string MeasurementText(const OrvMeasurement& measurement) {
    const auto number = [&](double value) {
        return FixedText(value, measurement.digits) +
               (measurement.unit.empty() ? "" : " " + measurement.unit);
    };
    std::string text = measurement.quantity + " " + number(measurement.value) + ", threshold " +
                       number(measurement.threshold);
    if (measurement.falseAlarmRate) {
        char share[32];
        std::snprintf(share, sizeof share, "%.2g", 100.0 * *measurement.falseAlarmRate);
        text += std::string("; ") + share + " % of untouched pictures lie beyond it";
    }
    return text;
}

void OrvSlotResult::AddNumber(const std::string& label, const std::string& value) {
    Parameter* numbers = output.Find(kNumbers);
    if (numbers == nullptr || numbers->Type() != ParameterType::TableString)
        ThrowOutput(kNumbers, numbers != nullptr);
    TableString table = numbers->IsSet() ? numbers->Get<TableString>() : TableString{{"Quantity", "Value"}};
    table.push_back({label, value});
    numbers->SetValue(table);
}

void OrvSlotResult::AddMap(OrvMap map) {
    if (const std::string fault = DescribeMapFault(map); !fault.empty()) ZOR_THROW(Argument, fault);
    maps.push_back(std::move(map));
}

void OrvSlotResult::SayNothing(const std::string& reason) {
    verdict = OrvVerdict::NotApplicable;
    verdictText = reason;
    findings.clear();
    status = FilterStatus::Processed;
}

void OrvSlotResult::Judge(OrvVerdict newVerdict, const std::string& text,
                          std::vector<std::string> sentences) {
    const bool isOdd = newVerdict == OrvVerdict::WorthALook || newVerdict == OrvVerdict::StrongSign;
    verdict = newVerdict;
    verdictText = text;
    findings = std::move(sentences);
    if (isOdd && findings.empty()) findings.push_back(text + ".");
    status = isOdd ? FilterStatus::StandsOut : FilterStatus::Processed;
}

void OrvSlotResult::Judge(OrvVerdict newVerdict, const std::string& text, const OrvMeasurement& measurement,
                          std::vector<std::string> sentences) {
    Judge(newVerdict, text + " (" + MeasurementText(measurement) + ")", std::move(sentences));
}

bool OrvFilterResult::IsLight() const {
    return std::any_of(std::begin(slot), std::end(slot),
                       [](const OrvSlotResultPtr& result) { return result && result->isLight; });
}

std::size_t OrvFilterResult::GetBytes() const {
    std::set<const void*> seen;
    std::size_t bytes = 0;
    const auto add = [&](const cv::Mat& mat) {
        if (!mat.empty() && seen.insert(mat.datastart).second) bytes += BytesOfMat(mat);
    };
    // The file's own picture counts where it was decoded; filters that show it as it is share it.
    const auto addResult = [&](const OrvSlotResultPtr& result) {
        if (!result) return;
        if (result->outputImage.GetMat().datastart != result->inputImage.GetMat().datastart)
            add(result->outputImage.GetMat());
        add(result->plot.image.GetMat());
        for (const OrvPlotData& plotData : result->morePlots) add(plotData.image.GetMat());
        for (const OrvMap& map : result->maps) {
            add(map.values);
            add(map.mask);
        }
        for (const Image& thumbnail : result->thumbnails) add(thumbnail.GetMat());
    };
    for (int i = 0; i < kFileSlots; ++i) {
        addResult(computed[i]);
        addResult(slot[i]);
    }
    return bytes;
}

std::vector<Image> OrvFilterResult::GetThumbnails() const {
    std::vector<Image> thumbnails;
    for (const OrvSlotResultPtr& result : slot)
        if (result) thumbnails.insert(thumbnails.end(), result->thumbnails.begin(), result->thumbnails.end());
    return thumbnails;
}

OrvFilterResultPtr OrvFilterResult::MakeLight() const {
    auto light = std::make_shared<OrvFilterResult>(*this);
    light->pictures.reset();
    const auto lighten = [](OrvSlotResultPtr& result) {
        if (!result) return;
        auto copy = std::make_shared<OrvSlotResult>(*result);
        copy->inputImage.Reset();
        copy->outputImage.Reset();
        copy->plot.image.Reset();
        for (OrvPlotData& plotData : copy->morePlots) plotData.image.Reset();
        copy->maps.clear();
        copy->isLight = true;  // thumbnails stay: tables name them
        result = std::move(copy);
    };
    for (int i = 0; i < kFileSlots; ++i) {
        lighten(light->computed[i]);
        lighten(light->slot[i]);
    }
    return light;
}

std::vector<OrvMap> OrvFilterResult::GetMaps(int ofSlot) const {
    if (!slot[ofSlot]) return {};
    std::vector<OrvMap> maps = slot[ofSlot]->maps;
    for (OrvMap& map : maps) {
        // A range that came with a project may fit another version's map, and not this one.
        const auto set = pictures ? pictures->Ranges().Get(map.name) : std::nullopt;
        if (const auto range = set ? RangeByHand(map, set->low, set->high) : std::nullopt) {
            map.range = *range;
            map.isAutomatic = false;
        }
        if (!map.isAutomatic) continue;
        const OrvMap* other = FindMap(slot[1 - ofSlot], map.name);
        if (other == nullptr || !other->isAutomatic) continue;
        map.range.low = std::min(map.range.low, other->range.low);
        map.range.high = std::max(map.range.high, other->range.high);
    }
    return maps;
}

Image OrvFilterResult::GetPicture(int ofSlot) const {
    if (!slot[ofSlot]) return {};
    const OrvSlotResult& result = *slot[ofSlot];
    if (result.outputImage.IsValid() || result.maps.empty()) return result.outputImage;
    const auto draw = [&] { return DrawMap(GetMaps(ofSlot).front()); };
    return pictures ? pictures->Get(ofSlot, draw) : draw();
}
