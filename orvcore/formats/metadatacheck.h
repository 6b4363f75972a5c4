#pragma once

#include <span>
#include <string>
#include <vector>

#include "orvcore/formats/jpegstructure.h"
#include "orvcore/formats/metadata.h"
#include "zorimage/imageformat.h"

// What the metadata is compared with. Sizes in pixels as stored, 0 when not known or not there.
struct MetadataSurroundings {
    FileFormat format = FileFormat::Unknown;
    int width = 0;
    int height = 0;
    int thumbnailWidth = 0;
    int thumbnailHeight = 0;
};

struct MetadataFinding {
    bool isStrong = false;  // what the file says of itself; otherwise worth a look
    std::string text;       // whole sentences, with what else can have this effect
};

// Contradictions inside the metadata, between metadata and picture, and what it says about programs that had
// the file in hand. Rules speak only where the file states all that they compare; dates outside the file are
// not looked at. Texts of the file are quoted, shortened to a line. Pure.
std::vector<MetadataFinding> CheckMetadata(const MetadataSet& set, const MetadataSurroundings& surroundings);

// Whether the name of a software is that of a program for changing pictures, by a list of common ones.
bool IsEditingSoftware(const std::string& software);
