#pragma once

#include <cstdint>
#include <span>
#include <string>

// The text of a tag of an ICC profile, of type "desc" or "mluc" (English where there are several languages); "" for any other. Never
// throws, any thread.
std::string IccText(std::span<const std::uint8_t> tag);
