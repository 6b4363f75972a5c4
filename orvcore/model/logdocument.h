#pragma once

#include <string>
#include <vector>

#include "orvcore/model/logplace.h"

// What a project, an HTML report or a PDF report states of logs. Throws ZorException when the file cannot be read (kind File) or
// states none (kind Format).
std::vector<OrvLogPlace> ReadLogPlaces(const std::string& path);
