// What the benchmarks share: time, medians, and the lines of the table that they print.
#pragma once

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "lab/program.h"

using Text = std::basic_string<WCHAR>;

// Ends the program if a measurement can't be made.
inline void Check(bool done, const char* what) {
    if (done) return;
    std::fprintf(stderr, "benchmark: %s failed (error %u)\n", what, static_cast<unsigned>(GetLastError()));
    std::exit(2);
}

inline double Seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

template <class Work>
double SecondsOf(Work work) {
    const double begin = Seconds();
    work();
    return Seconds() - begin;
}

inline double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// A figure for the table of scripts/bench.sh, which knows the bound.
inline void Report(const char* what, double ratio) {
    std::printf("%s\t%.2f\n", what, ratio);
    std::fflush(stdout);
}

inline Text OwnProgram() {
    WCHAR path[MAX_PATH];
    Check(GetModuleFileNameW(nullptr, path, MAX_PATH) < MAX_PATH, "GetModuleFileNameW");
    return path;
}

inline lab::Program Start(const Text& commandLine, DWORD flags = 0) {
    lab::Program program(commandLine, {}, flags);
    Check(static_cast<bool>(program),
          ("starting " + std::string(commandLine.begin(), commandLine.end())).c_str());
    return program;
}
