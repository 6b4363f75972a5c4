#include "orvcore/formats/damage.h"

#include <algorithm>

#include "orvcore/formats/jpegstructure.h"

namespace {

void AddOnce(std::vector<std::string>& list, const std::string& sentence) {
    if (std::find(list.begin(), list.end(), sentence) == list.end()) list.push_back(sentence);
}

}  // namespace

std::vector<std::string> FileDamage::All() const {
    std::vector<std::string> all = damage;
    all.insert(all.end(), remarks.begin(), remarks.end());
    return all;
}

void AddDamage(FileDamage& damage, const std::vector<std::string>& sentences) {
    for (const std::string& sentence : sentences) AddOnce(damage.damage, sentence);
}

FileDamage FindDamage(std::span<const std::uint8_t> bytes, const ImageInfo& info) {
    if (info.format != FileFormat::Jpeg) return FindDamage(bytes, info, nullptr);
    const JpegStructure structure = ParseJpegStructure(bytes);
    return FindDamage(bytes, info, &structure);
}

FileDamage FindDamage(std::span<const std::uint8_t>, const ImageInfo& info, const JpegStructure* structure) {
    FileDamage result;
    if (structure != nullptr) {
        // The structure's reader says where; what the header's reader says of the same is the same.
        AddDamage(result, structure->damage);
        for (const std::string& warning : structure->warnings) {
            const bool isDamage = std::find(structure->damage.begin(), structure->damage.end(), warning) !=
                                  structure->damage.end();
            // Pictures that the file's own index names belong to it.
            const bool isIndexed = structure->pictures.size() > 1 && warning == structure->trailingWarning;
            if (!isDamage && !isIndexed) AddOnce(result.remarks, warning);
        }
    }
    AddDamage(result, info.warnings);
    return result;
}
