#include "sweep/workers.h"

#include <sys/mman.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <new>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "sweep/machines.h"

namespace fs = std::filesystem;

namespace sweep {

namespace {

std::vector<TaskLine> ReadLines(const fs::path& path) {
    std::vector<TaskLine> lines;
    std::ifstream file(path);
    std::size_t number;
    for (std::string line; file >> number && file.get() && std::getline(file, line);)
        lines.push_back({number, line});
    return lines;
}

// Writes the number of the task before each of its lines.
void Do(const Task& task, std::size_t number, const fs::path& own, std::ostream& all) {
    std::stringstream lines;
    task(number, own, lines);
    for (std::string line; std::getline(lines, line);)
        all << number << '\t' << line << '\n';
}

void DoShare(const Task& task, std::size_t count, std::atomic<std::size_t>& next, const fs::path& own) {
    std::ofstream lines(own / "lines");
    for (std::size_t number; (number = next++) < count;)
        Do(task, number, own, lines);
    if (!lines.flush()) throw std::runtime_error("the results can't be written");
}

int RunWorker(const Task& task, std::size_t count, std::atomic<std::size_t>& next, const fs::path& own) {
    CaptureErrors(own / "errors");
    try {
        DoShare(task, count, next, own);
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}

}  // namespace

fs::path PlaceToWork() {
    for (const fs::path& folder : {fs::path("/dev/shm"), fs::temp_directory_path()}) {
        struct statvfs info;
        constexpr unsigned long kNeeded = 1ul << 30;
        if (statvfs(folder.c_str(), &info) == 0 && !(info.f_flag & ST_NOEXEC) &&
            info.f_bavail * info.f_frsize >= kNeeded)
            return folder;
    }
    throw std::runtime_error("no folder to work in");
}

std::vector<TaskLine> DoTasks(const fs::path& folder, std::size_t count, const Task& task) {
    void* shared = mmap(nullptr, sizeof(std::atomic<std::size_t>), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto& next = *new (shared) std::atomic<std::size_t>(0);
    const std::size_t workers = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, count + 1);
    std::vector<pid_t> ids;
    for (std::size_t i = 0; i < workers; ++i) {
        const fs::path own = folder / std::to_string(i);
        fs::create_directories(own);
        const pid_t id = fork();
        if (id == 0) _exit(RunWorker(task, count, next, own));
        ids.push_back(id);
    }
    std::vector<TaskLine> all;
    std::string failure;
    for (std::size_t i = 0; i < workers; ++i) {
        int status = 0;
        (void)waitpid(ids[i], &status, 0);
        const fs::path own = folder / std::to_string(i);
        if (status != 0 && failure.empty()) {
            std::ifstream errors(own / "errors");
            failure = "a worker failed: " + std::string(std::istreambuf_iterator<char>(errors), {});
        }
        for (TaskLine& line : ReadLines(own / "lines"))
            all.push_back(std::move(line));
    }
    (void)munmap(shared, sizeof(std::atomic<std::size_t>));
    if (!failure.empty()) throw std::runtime_error(failure);
    return all;
}

}  // namespace sweep
