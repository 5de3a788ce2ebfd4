// Runs a command of the host and prints its peak memory in KiB. Wine runs a program in the process that starts
// it, and the host knows the peak of a process when it has ended.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

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
    std::printf("%ld\n", used.ru_maxrss);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
