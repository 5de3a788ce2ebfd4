// Work spread over the processors, a process each: a machine is a matter of the whole process.
#pragma once

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace sweep {

// A file system that runs programs and has room, in memory if there is one. Throws std::runtime_error when
// there is none.
std::filesystem::path PlaceToWork();

// One of the numbered tasks; what it writes comes back by lines. `own` is the worker's folder.
using Task = std::function<void(std::size_t number, const std::filesystem::path& own, std::ostream& lines)>;
struct TaskLine {
    std::size_t number;
    std::string line;
};
// Does the tasks 0 to count - 1. The standard error of a worker is captured, see machines.h. Throws
// std::runtime_error with the text of the first worker that failed.
std::vector<TaskLine> DoTasks(const std::filesystem::path& folder, std::size_t count, const Task& task);

}  // namespace sweep
