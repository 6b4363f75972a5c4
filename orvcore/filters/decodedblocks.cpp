#include "orvcore/filters/decodedblocks.h"

#include "orvcore/filter/intermediates.h"

std::string WhyNotReducedLuminance(const OrvLoadedFile& file) {
    if (file.GetInfo().format != FileFormat::Jpeg) return {};
    const auto structure = GetJpegStructure(file);
    const std::vector<JpegComponent>& components = structure->frame.components;
    for (const JpegComponent& other : components)
        if (other.horizontal > components[0].horizontal || other.vertical > components[0].vertical)
            return "Luminance is stored smaller than the colours: blocks are not of 8 x 8 pixels";
    return {};
}
