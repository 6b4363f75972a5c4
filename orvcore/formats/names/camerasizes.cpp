#include "orvcore/formats/names/camerasizes.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <string_view>

#include "zorbase/text.h"

namespace {

constexpr std::string_view kFacts =
#include "camera-facts.inc"
    ;

// By model, in lower case.
using Cameras = std::multimap<std::string, CameraSizes>;

Cameras ReadCameras() {
    Cameras cameras;
    const std::vector<std::string> lines = StringToVecString(std::string(kFacts), "\n");
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::vector<std::string> cells = StringToVecString(lines[i], "\t");
        if (cells.size() != 6) continue;
        CameraSizes camera;
        camera.make = cells[0];
        camera.model = cells[1];
        camera.isComplete = cells[5] == "catalogue";
        for (const std::string& text : StringToVecString(cells[4], ";")) {
            CameraSizes::Size size;
            if (std::sscanf(text.c_str(), "%5dx%5d", &size.width, &size.height) == 2)
                camera.sizes.push_back(size);
        }
        cameras.emplace(ToLower(camera.model), std::move(camera));
    }
    return cameras;
}

}  // namespace

std::optional<CameraSizes> FindCameraSizes(const std::string& make, const std::string& model) {
    static const Cameras s_cameras = ReadCameras();
    const std::string wanted = ToLower(Trim(model));
    if (wanted.empty()) return {};
    const auto [first, end] = s_cameras.equal_range(wanted);
    for (auto camera = first; camera != end; ++camera)
        if (ToLower(camera->second.make) == ToLower(Trim(make))) return camera->second;
    if (first == end || std::next(first) != end) return {};
    // Makers write their names in several ways, but begin alike.
    const std::string ours = ToLower(first->second.make).substr(0, 4);
    if (ToLower(Trim(make)).compare(0, ours.size(), ours) != 0) return {};
    return first->second;
}

SizeMatch MatchSize(const CameraSizes& camera, int width, int height) {
    SizeMatch match = SizeMatch::NotAmong;
    for (const CameraSizes::Size& size : camera.sizes) {
        if (size.width == width && size.height == height) return SizeMatch::Among;
        if (size.width == height && size.height == width) match = SizeMatch::Turned;
    }
    return match;
}
