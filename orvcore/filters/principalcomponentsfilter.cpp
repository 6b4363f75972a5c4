#include "orvcore/analysis/principalcomponents.h"

#include <cmath>

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/filterlist.h"

namespace {

// Untouched photographs stay within this nearly everywhere on their third axis.
constexpr double kCalmLevels = 8.0;

// The picture along the axes of its own colours.
class PrincipalComponentsFilter : public OrvFilterImage {
  public:
    PrincipalComponentsFilter() : OrvFilterImage("Principal Components", "principal-components") {
        Describe(
            "Looking",
            "The colours of a picture form a cloud; its longest axis carries light and shade, the second colour, the third "
            "hardly anything but noise and compression. The map shows each pixel's place on one axis, or its distance "
            "from it: a part that was taken or compressed otherwise can stand out on the third axis. Eigenvalues are "
            "variances along the axes. Blind for parts with the same history; a grey picture has one axis only. "
            "After Hotelling, 1933.");
        SetParameters(
            {Parameter::Choice("component", "Component", 2, {"First", "Second", "Third"}),
             Parameter::Choice("show", "Shows", 0, {"Place on the axis", "Distance from the axis"})},
            {},
            {Parameter::Output(ParameterType::TableString, "numbers", "Numbers"),
             Parameter::Output(ParameterType::TableString, "axes", "Axes")});
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const cv::Mat picture = GetSamples(file, job);
        const ColourAxes axes = FindColourAxes(picture, job.Part(0.0, 0.5));
        TableString table{
            {"Component", "Eigenvalue (squared levels)", "Share of variance (%)", "Red", "Green", "Blue"}};
        for (std::size_t i = 0; i < 3; ++i) {
            table.push_back({std::to_string(i + 1), FixedText(axes.eigenvalues[i], 3),
                             FixedText(100.0 * axes.share[i], 3), FixedText(axes.vectors[i][0], 4),
                             FixedText(axes.vectors[i][1], 4), FixedText(axes.vectors[i][2], 4)});
            result.AddNumber("Eigenvalue " + std::to_string(i + 1) + " (squared levels)",
                             FixedText(axes.eigenvalues[i], 3));
        }
        result.Set("axes", table);
        const int component = input.Get<int>("component");
        const bool isDistance = input.Get<int>("show") == 1;
        OrvMap map;
        map.unit = "levels";
        map.name = isDistance ? "Distance From The Axis" : "Place On The Axis";
        map.scale = isDistance ? OrvMapScale::Sequential : OrvMapScale::Diverging;
        map.values = isDistance ? DistanceFromAxis(picture, axes, component, job.Part(0.5, 1.0))
                                : ProjectOnAxis(picture, axes, component, job.Part(0.5, 1.0));
        map.floor = isDistance ? OrvRange{0.0, kCalmLevels} : OrvRange{-kCalmLevels, kCalmLevels};
        result.AddMap(std::move(map));
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakePrincipalComponentsFilter() {
    return std::make_unique<PrincipalComponentsFilter>();
}
