#pragma once

#include <string>
#include <vector>

#include "tests/orvcore/formats/formatsupport.h"

// Blocks of metadata for tests, made field by field.
namespace fieldsupport {

// An RGB matrix profile: primaries as XYZ (nine numbers), one gamma for all curves.
struct ProfileRecipe {
    std::string description = "Test RGB";
    std::string creator = "TEST";
    std::vector<double> primaries = {0.43607, 0.22249, 0.01392, 0.38515, 0.71687,
                                     0.09708, 0.14307, 0.06061, 0.71410};
    double gamma = 2.2;
    bool withIdentifier = false;
};
Bytes MakeProfile(const ProfileRecipe& recipe = {});
// The profile as segments of a JPEG, in pieces of at most so many bytes.
std::vector<std::pair<int, Bytes>> ProfileSegments(const Bytes& profile, std::size_t pieceBytes = 60000);

// Photoshop's image resources: pairs of number and content, as the payload of a segment APP13.
Bytes Resources(const std::vector<std::pair<int, Bytes>>& resources);
// An IPTC block of text data sets of record 2.
Bytes Iptc(const std::vector<std::pair<int, std::string>>& datasets);
std::string Md5Bytes(const Bytes& bytes);  // 16 bytes

// An XMP packet as the payload of a segment, with the name spaces that the rules ask for.
Bytes Xmp(const std::string& attributes, const std::string& elements = {});
// The pieces of an extended packet of that text, and its identifier.
std::vector<std::pair<int, Bytes>> ExtendedXmpSegments(const std::string& packet, std::size_t pieceBytes,
                                                       std::string& identifier);

}  // namespace fieldsupport
