#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "zorbase/files.h"
#include "zorbase/hash.h"
#include "zorbase/json.h"
#include "zorbase/zorexception.h"

// What a reader makes of a file in all the ways in which it can be damaged, in one sum: of every beginning of the file, and of the file with
// one byte changed. A sum tells that something reads otherwise than before, not what; DescribeDamage's text, compared with that of the
// version before, tells the rest.
using Describe = std::function<std::string(std::span<const std::uint8_t>)>;

// What describe says, or what it throws.
inline std::string DescribeOrRefusal(std::span<const std::uint8_t> bytes, const Describe& describe) {
    try {
        return describe(bytes);
    } catch (const ZorException& exception) {
        return "refused: " + exception.GetMessage();
    }
}

// One line for each damaged file: cuts at every step-th byte, changes within first..end.
inline std::string DescribeDamage(const Bytes& file, const Describe& describe, std::size_t first = 0,
                                  std::size_t end = 200, std::size_t step = 1) {
    std::string text;
    for (std::size_t size = 0; size <= file.size(); size += step)
        text += "cut to " + std::to_string(size) + ": " +
                DescribeOrRefusal(std::span(file).first(size), describe) + "\n";
    for (std::size_t at = first; at < std::min(end, file.size()); ++at)
        for (const int value : {0, 1, 255, file[at] ^ 1, file[at] ^ 128, file[at] + 1}) {
            Bytes changed = file;
            changed[at] = static_cast<std::uint8_t>(value);
            if (changed[at] == file[at]) continue;
            text += std::to_string(at) + " is " + std::to_string(changed[at]) + ": " +
                    DescribeOrRefusal(changed, describe) + "\n";
        }
    return text;
}

inline std::string SumOfDamage(const Bytes& file, const Describe& describe, std::size_t first = 0,
                               std::size_t end = 200, std::size_t step = 1) {
    return Sha256(DescribeDamage(file, describe, first, end, step)).substr(0, 16);
}

// The same of a text of JSON: each member and item left out, and replaced by values of every kind.
inline std::string DescribeJsonDamage(const Json& json,
                                      const std::function<std::string(const Json&)>& describe) {
    const auto told = [&describe](const Json& changed) {
        try {
            return describe(changed);
        } catch (const ZorException& exception) {
            return "refused: " + exception.GetMessage();
        }
    };
    std::string text = "whole: " + told(json) + "\n";
    const Json flat = json.flatten();
    for (const auto& leaf : flat.items()) {
        for (Json::json_pointer place(leaf.key()); !place.empty(); place = place.parent_pointer()) {
            Json without = json;
            Json& parent = without[place.parent_pointer()];
            if (parent.is_object()) parent.erase(place.back());
            text += place.to_string() + " left out: " + told(without) + "\n";
            for (const Json& value :
                 {Json(nullptr), Json(-1), Json(0), Json(1.5), Json(5000000000), Json(true), Json(false),
                  Json("text"), Json("\xC3\xA9"), Json::array(), Json::object()}) {
                Json changed = json;
                changed[place] = value;
                text += place.to_string() + " is " + value.dump() + ": " + told(changed) + "\n";
            }
        }
    }
    return text;
}
