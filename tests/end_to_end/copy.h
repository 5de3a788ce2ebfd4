// A running copy of the application.
#pragma once

#include "harness/scratch.h"
#include "instances/instance_manager.h"

// Starts the application of the folder, and waits until it is in the list and shows its window.
inline RunningProgram StartCopy(const Text& folder, LPCWSTR option = TEXT(" -show")) {
    RunningProgram copy(TEXT("\"") + folder + TEXT("\\QtvApp8.exe\"") + option);
    Await("the application's window",
          [&] { return COXInstanceManager::FindInstanceWindow(copy.Id()) != nullptr; });
    return copy;
}
