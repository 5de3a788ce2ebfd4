// Work in a child process. If it fails or is interrupted, this process can still clean up.
#pragma once

#include <functional>

namespace rehearse {

// While this object exists, Ctrl-C and other requests to end wait for RunChild. Its destructor waits until everything
// that the children started has ended.
class Children {
  public:
    Children();
    ~Children();
    Children(const Children&) = delete;
    Children& operator=(const Children&) = delete;
};

enum class Until { DoneOrAsked, Done };

// Runs the work in a child and waits for it. Processes of the work that still run then are killed. Returns the result
// of the work; 2 if it crashed; 128 plus the number of the signal if it was asked to end.
int RunChild(const std::function<int()>& work, Until until = Until::DoneOrAsked);

}  // namespace rehearse
