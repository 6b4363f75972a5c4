#pragma once

#include <string>

// Whether the name of a software is that of a program for changing pictures, by a list of common ones.
bool IsEditingSoftware(const std::string& software);
