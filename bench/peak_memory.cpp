// Runs a command of the host. Prints its peak memory in KiB and its processor time in ms. Wine runs a program in
// the process that starts it, and the host knows both when the process has ended.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

namespace {

long Milliseconds(const timeval& time) {
    return time.tv_sec * 1000 + time.tv_usec / 1000;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: peak_memory COMMAND [ARGUMENT]...\n");
        return 2;
    }
    const pid_t child = fork();
    if (child == 0) {
        execvp(argv[1], argv + 1);
        _exit(127);
    }
    int status = 1;
    rusage used = {};
    if (child < 0 || wait4(child, &status, 0, &used) != child) return 2;
    std::printf("%ld %ld\n", used.ru_maxrss, Milliseconds(used.ru_utime) + Milliseconds(used.ru_stime));
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
