#pragma once

#include <nlohmann/json.hpp>

#include <string>

#include "zorbase/roi.h"

using Json = nlohmann::json;

// Compact text for indent 0, otherwise indented by so many blanks. Bytes that are not UTF-8 are replaced, never thrown on.
std::string JsonToText(const Json& json, int indent);

// Throws ZorException (kind Format) that names the place when the text is not JSON.
Json JsonFromText(const std::string& text);

Json ToJson(const Roi& roi);
bool FromJson(const Json& json, Roi& roi);
