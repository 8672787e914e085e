// Fontconfig keeps 288 bytes of its parsed configuration for the length of the process, which
// nobody but FcFini frees, and that must not be called while others may use fonts. Tells the leak
// checker; without one nobody asks.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}
