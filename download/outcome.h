// How a download ends before setup starts.
#pragma once

// The numbers are the exit codes, and docs/releasing.md lists them. When setup starts, its own exit code is that of
// the download.
enum class Outcome {
    Right = 0,
    Failed = 2,
    Damaged = 3,
    NoSpace = 4,
    NoRights = 5,
    Cancelled = 6,
    // An update doesn't find the installation that it builds on.
    OtherInstallation = 7,
};

// Returns what an error code of Windows means for a download.
Outcome OutcomeOf(unsigned long error);
