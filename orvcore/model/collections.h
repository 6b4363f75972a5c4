#pragma once

#include <string>

#include "zorbase/parameter.h"

// What examiners collect over many cases, in the documents folder: fingerprints of cameras, signatures of writers. A filter's parameter
// that names none means these.

// Where both are kept; "": the documents folder. The program options tell it. Any thread, as all here.
void SetCollectionPlace(const std::string& folder);

// The folder of camera fingerprints; it may be missing.
std::string FingerprintFolder();
// The collection of compression signatures; it may be missing.
std::string SignatureCollectionFile();

// The file or folder that a parameter means: its value, or, where it has none and is called "fingerprint" or "collection", the
// examiner's own. Throws ZorException (kind Argument) when the parameter holds no path.
std::string PathMeantBy(const Parameter& parameter);
