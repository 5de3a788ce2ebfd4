// Work in a process of its own, which may fail or be broken off while this one still tidies up.
#pragma once

#include <functional>

namespace rehearse {

// While it lives Ctrl-C and the other requests to end wait for RunChild. In the end it waits until all that
// the children started has ended.
class Children {
  public:
    Children();
    ~Children();
    Children(const Children&) = delete;
    Children& operator=(const Children&) = delete;
};

enum class Until { DoneOrAsked, Done };

// Runs the work in a child, and waits for it; what of its own still runs then is killed. Gives the work's
// result: 2 when it crashed, 128 and the signal's number when it was asked to end.
int RunChild(const std::function<int()>& work, Until until = Until::DoneOrAsked);

}  // namespace rehearse
