// What the sanitizers do in programs other than tests. Tests look for leaks in the same code, and here that look and what it keeps
// of each allocation take most of the time of a short run.

extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
    return "detect_leaks=0:malloc_context_size=5:quarantine_size_mb=4";
}
