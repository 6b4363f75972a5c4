#pragma once

#include <string>

#include "zorbase/parameter.h"

// Files that are parameters of a filter (a fingerprint, a table) count by what is in them, not by their names alone: a result that was
// made with what a file held before is no answer. Of a folder the files directly in it count, and where none is named those that it means
// (see PathMeantBy).

// Where and when each file was last written, which changes with every change of a file that the system tells of. Cheap enough for
// the window's thread. "" without such parameters.
std::string StampOfFiles(const VecParameter& parameters);

// The SHA-256 of each file's content, "missing" for what cannot be read. Reads them whole.
std::string DigestOfFiles(const VecParameter& parameters);
