// What a part of the system keeps for each thread.
#pragma once

#include <windows.h>

#include <memory>

namespace winhost {

// Returns the calling thread's own State, made at the first call. That of the first thread is never destroyed: static
// objects of the program still use it while the process ends.
template <class State>
State& StateOfThread() {
    thread_local State* state = nullptr;
    if (state) return *state;
    state = new State;
    if (GetCurrentThreadId() != GetCurrentProcessId()) {
        thread_local const std::unique_ptr<State> owner(state);
    }
    return *state;
}

}  // namespace winhost
