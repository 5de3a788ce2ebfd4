#include "rehearse/child.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>

#include "common/hang.h"
#include "common/descriptor.h"
#include "common/help.h"

namespace rehearse {

namespace {

constexpr int kCrashed = 2;
constexpr int kBySignal = 128;
constexpr int kPollMs = 10;

sigset_t heldSignals, earlierSignals;

[[noreturn]] void Work(const std::function<int()>& work) {
    (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
    // The child has its own process group, so that it can be ended as a whole.
    (void)setpgid(0, 0);
    (void)sigprocmask(SIG_SETMASK, &earlierSignals, nullptr);
    (void)dup2(tools::Descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC)).get(), STDIN_FILENO);
    int result = kCrashed;
    try {
        result = work();
    } catch (const std::exception& error) {
        tools::PrintFailure("rehearse", error);
    }
    std::fflush(nullptr);
    std::_Exit(result);
}

// Whether a child has ended. Its exit status is not collected yet, so that no other group gets its number.
bool HasEnded(pid_t child) {
    siginfo_t info = {};
    return waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == child;
}

}  // namespace

Children::Children() {
    // A process that loses its parent becomes a child of this process.
    (void)prctl(PR_SET_CHILD_SUBREAPER, 1);
    (void)sigemptyset(&heldSignals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGCHLD})
        (void)sigaddset(&heldSignals, signal);
    (void)sigprocmask(SIG_BLOCK, &heldSignals, &earlierSignals);
}

Children::~Children() {
    for (unsigned long waited = 0; waited < tools::kHangMs; waited += kPollMs) {
        pid_t ended;
        while ((ended = waitpid(-1, nullptr, WNOHANG)) > 0) {
        }
        if (ended < 0) break;
        const timespec pause = {0, kPollMs * 1000000L};
        (void)nanosleep(&pause, nullptr);
    }
}

int RunChild(const std::function<int()>& work, Until until) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) return kCrashed;
    if (child == 0) Work(work);
    (void)setpgid(child, child);
    int asked = 0;
    while (!HasEnded(child) && asked == 0) {
        int signal = 0;
        (void)sigwait(&heldSignals, &signal);
        if (signal != SIGCHLD && until == Until::DoneOrAsked) asked = signal;
    }
    (void)kill(-child, SIGKILL);
    int status = 0;
    (void)waitpid(child, &status, 0);
    if (asked != 0) return kBySignal + asked;
    return WIFEXITED(status) ? WEXITSTATUS(status) : kCrashed;
}

}  // namespace rehearse
