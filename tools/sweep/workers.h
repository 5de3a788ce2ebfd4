// Distributes work over the processors. Each task runs in a process, because a process belongs to only one machine.
#pragma once

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace sweep {

// Returns a folder on a file system that can run programs and has room, in memory if possible. Throws
// std::runtime_error if there is none.
std::filesystem::path PlaceToWork();

// One of the numbered tasks. What it writes is returned as lines. `own` is the worker's folder.
using Task = std::function<void(std::size_t number, const std::filesystem::path& own, std::ostream& lines)>;
struct TaskLine {
    std::size_t number;
    std::string line;
};
// Runs the tasks 0 to count - 1 and returns their lines. The standard error of a worker is captured, see machines.h.
// Throws std::runtime_error with the text of the first worker that failed.
std::vector<TaskLine> DoTasks(const std::filesystem::path& folder, std::size_t count, const Task& task);

}  // namespace sweep
