#pragma once

// Marks what the window library shows to programs that load it.
#if defined(ORVGUI_BUILD)
#define ORVGUI_API __attribute__((visibility("default")))
#else
#define ORVGUI_API
#endif
