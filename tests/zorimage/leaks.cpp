// The AV1 decoder forgets a few bytes for each damaged file that it refuses. Everything else is still reported.
extern "C" const char* __lsan_default_suppressions();  // NOLINT: the sanitizer's name

extern "C" const char* __lsan_default_suppressions() {
    return "leak:libdav1d\n";
}
