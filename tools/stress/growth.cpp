// Packages of a size, of twice and of four times that size. What is linear grows by twice as much at the second
// step as at the first one, and what is quadratic by four times as much.
#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <vector>

#include "common/throwaway_folder.h"
#include "stress/large.h"
#include "sweep/machines.h"
#include "sweep/workers.h"
#include "winhost.h"

namespace fs = std::filesystem;

namespace stress {

namespace {

constexpr std::size_t kSizes = 3;
// The growth at the second step over that at the first one.
constexpr double kMostCalls = 2.05;
// The time of the last size over that of the first one: 4 if it is linear, 16 if it is quadratic. Another processor's
// work changes times by a half.
constexpr double kMostTime = 7;
// Shorter times tell nothing on a busy machine.
constexpr long kShortMs = 5000;
constexpr long kMostMemoryKib = 1024;
// The machine looks through a folder for each name, as its names have no order. A bare loop of copies shows what that
// costs. For each file, setup looks up a few names more than the loop does.
constexpr double kMostOverBare = 3;

constexpr unsigned kFilesInFolder = 200;
constexpr unsigned kLevels = 60;

const std::u16string kGroup = u"C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs\\Qantivo 8";
constexpr char16_t kBareCopy[] = u"C:\\bare_copy.exe";

std::string Numbered(const char* front, unsigned number, const char* end = "") {
    return front + std::to_string(number) + end;
}

// Many names of one file take little room.
class Files {
  public:
    void Make(const fs::path& path) {
        if (m_first.empty()) {
            MakeFile(path);
            m_first = path;
        } else {
            fs::create_directories(path.parent_path());
            fs::create_hard_link(m_first, path);
        }
    }

  private:
    fs::path m_first;
};

// ---- what there can be much of; each makes it in the machine that was entered ----

void MakeRecords(unsigned count) {
    const fs::path package = winhost::HostPath(kPackage);
    Files files;
    std::string records;
    for (unsigned i = 0; i < count; ++i) {
        const std::string folder = Numbered("d", i / kFilesInFolder), file = Numbered("f", i, ".dat");
        files.Make(package / folder / file);
        records += "File Copy: " + folder + '\\' + file + "\r\n";
        if (i % kFilesInFolder == 0) records += "Make Dir: " + folder + "\r\n";
    }
    AddToManifest(records);
}

void MakeLinks(unsigned count) {
    const fs::path group = winhost::HostPath(kGroup);
    Files files;
    std::string lines;
    for (unsigned i = 0; i < count; ++i) {
        const std::string folder = Numbered("g", i / kFilesInFolder), file = Numbered("l", i, ".lnk");
        files.Make(group / folder / file);
        const std::string path = winhost::Utf8(kGroup) + '\\' + folder;
        if (i % kFilesInFolder == 0) lines += "Made Dir: " + path + "\r\n";
        lines += "Shell Link: " + path + '\\' + file + "\r\n";
    }
    // The group of the last link is the one that an update takes.
    AddToLog(lines + "Shell Link: " + winhost::Utf8(kGroup) + "\\Qantivo 8.lnk\r\n");
}

void MakeFolder(unsigned count) {
    const fs::path package = winhost::HostPath(kPackage);
    Files files;
    for (unsigned i = 0; i < count; ++i)
        files.Make(package / "many" / Numbered("f", i, ".dat"));
    AddToManifest("File Copy: many\\*.*\r\nMake Dir: many\r\n");
}

void MakeTree(unsigned filesOfLevel) {
    const fs::path package = winhost::HostPath(kPackage);
    Files files;
    std::string records, folders, folder;
    for (unsigned level = 0; level < kLevels; ++level) {
        folder += "d\\";
        std::string host = folder;
        std::replace(host.begin(), host.end(), '\\', '/');
        for (unsigned i = 0; i < filesOfLevel; ++i)
            files.Make(package / host / Numbered("f", i, ".dat"));
        // "*.*" would match the folder below, too, which can't be copied and ends the pattern.
        records += "File Copy: " + folder + "*.dat\r\n";
        // The uninstall removes the folders in the order of the records: the deepest one first.
        folders = "Make Dir: " + folder.substr(0, folder.size() - 1) + "\r\n" + folders;
    }
    AddToManifest(records + folders);
}

struct Shape {
    const char* name;
    void (*make)(unsigned count);
    unsigned count, quickCount;  // the smallest of the three sizes
    unsigned filesOfEach = 1;
    bool inLog = false;  // of the installation, and not of the package
    bool overBare = false;
};
constexpr Shape kShapes[] = {
    {"records", MakeRecords, 25000, 250},
    {"links in the log", MakeLinks, 25000, 250, 0, true},
    {"files in one folder", MakeFolder, 5000, 250, 1, false, true},
    {"files in each of 60 levels", MakeTree, 100, 5, kLevels},
};

// ---- the jobs, each in a process of its own ----

struct Measure {
    double calls = 0;
    long ms = 0;  // of processor time
    long peakKib = 0;
};

std::string Quoted(const std::string& text) {
    return " '" + text + '\'';
}

Measure RunMeasured(const std::u16string& program, const std::vector<std::u16string>& arguments) {
    const fs::path host = winhost::HostPath(program);
    winhost::SetVirtualClock(true);
    winhost::SetProgramFaults(host.filename(), {});
    std::string command = QTV_BUILD_FOLDER "/peak_memory" + Quoted(host);
    for (const std::u16string& argument : arguments)
        command += Quoted(winhost::Utf8(argument));
    Measure measure;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(popen(command.c_str(), "r"), pclose);
    if (!output || std::fscanf(output.get(), "%ld %ld", &measure.peakKib, &measure.ms) != 2)
        throw std::runtime_error("can't be measured: " + command);
    constexpr DWORD kApplicationEndsMs = 30000;
    if (!winhost::WaitForProcesses(kApplicationEndsMs)) throw std::runtime_error("hangs: " + command);
    for (const auto& [call, count] : winhost::ProgramCallCounts())
        measure.calls += count;
    if (measure.calls == 0) throw std::runtime_error("crashed: " + command);
    return measure;
}

Measure RunSetup() {
    return RunMeasured(std::u16string(kPackage) + u"\\setup.exe", {u"-s"});
}

// What the uninstaller does once it runs as a temporary copy.
Measure RunRemoval() {
    const std::u16string program = std::u16string(kTarget) + u"\\QtvUnInst.exe";
    const std::u16string copy = u"C:\\Users\\Ann\\AppData\\Local\\Temp\\uniF.tmp";
    fs::copy_file(winhost::HostPath(program), winhost::HostPath(copy));
    return RunMeasured(copy, {u"-delself", program, u"-s"});
}

// The measures of a shape by the name of the job, one for each size.
using Measures = std::map<std::string, std::array<Measure, kSizes>>;

void Expect(bool is, const std::string& what) {
    if (!is) throw std::runtime_error("not as promised: " + what);
}

void MeasurePackage(const Shape& shape, unsigned count, std::size_t size, Measures& measures) {
    shape.make(count);
    const std::size_t files = std::size_t{count} * shape.filesOfEach;
    const fs::path target = winhost::HostPath(kTarget);
    fs::remove_all(target);
    measures["install"][size] = RunSetup();
    Expect(NamesBelow(target).size() > files, "all files are installed");
    measures["update"][size] = RunSetup();
    Expect(NamesBelow(target).size() > files, "all files are updated");
    measures["uninstall"][size] = RunRemoval();
    Expect(!fs::exists(target), "all files are removed");
    if (shape.overBare)
        measures["bare loop"][size] =
            RunMeasured(kBareCopy, {std::u16string(kPackage) + u"\\many", u"C:\\Bare"});
}

void MeasureLog(const Shape& shape, unsigned count, std::size_t size, Measures& measures) {
    const fs::path group = winhost::HostPath(kGroup);
    shape.make(count);
    Expect(NamesBelow(group).size() > count, "the links are there");
    measures["update"][size] = RunSetup();
    Expect(NamesBelow(group).size() < 10, "an update deletes the links of the log");
    shape.make(count);
    measures["uninstall"][size] = RunRemoval();
    Expect(!fs::exists(group), "an uninstall deletes the links of the log");
}

Measures MeasureAll(const Shape& shape, const fs::path& prepared, const fs::path& machine, bool quick) {
    Measures measures;
    for (std::size_t size = 0; size < kSizes; ++size) {
        const unsigned count = (quick ? shape.quickCount : shape.count) << size;
        fs::remove_all(machine);
        sweep::CopyMachine(prepared, machine);
        winhost::EnterMachine(machine);
        (shape.inLog ? MeasureLog : MeasurePackage)(shape, count, size, measures);
    }
    return measures;
}

double GrowthOf(double first, double second, double third) {
    return (third - second) / std::max(second - first, 1.0);
}

// Prints the measures of a job. False for one that grows by more than the package does. With a bare loop, the memory
// counts only as far as it exceeds the loop's, and the time of a job that copies is compared with the loop's.
bool Judge(const std::string& name, const std::array<Measure, kSizes>& of,
           const std::array<Measure, kSizes>* bare, bool copies, std::FILE* report) {
    const auto& [first, second, third] = of;
    const double calls = GrowthOf(first.calls, second.calls, third.calls);
    double time = static_cast<double>(third.ms) / std::max(static_cast<double>(first.ms), 1.0);
    double mostTime = kMostTime;
    long memory = third.peakKib - first.peakKib;
    const bool isOverBare = bare && copies;
    if (bare) memory -= (*bare)[2].peakKib - (*bare)[0].peakKib;
    if (isOverBare) {
        time = static_cast<double>(third.ms) / std::max(static_cast<double>((*bare)[2].ms), 1.0);
        mostTime = kMostOverBare;
    }
    const bool good =
        calls <= kMostCalls && (third.ms < kShortMs || time <= mostTime) && memory <= kMostMemoryKib;
    std::fprintf(report,
                 "large: %-34s calls by %.2f, time %s %.2f, last %.1f s, memory by %ld KiB to %ld KiB%s\n",
                 name.c_str(), calls, isOverBare ? "over a loop of copies by" : "by", time,
                 static_cast<double>(third.ms) / 1000, memory, third.peakKib, good ? "" : ": TOO MUCH");
    return good;
}

}  // namespace

bool Growth(const Options& options, std::FILE* report) {
    const tools::ThrowawayFolder work("stress", sweep::PlaceToWork());
    const fs::path prepared = work.Path() / "prepared", machine = work.Path() / "machine";
    PrepareInstalled(prepared, options.setup);
    fs::copy_file(QTV_BUILD_FOLDER "/bare_copy.exe", winhost::HostPath(kBareCopy));
    bool good = true;
    for (const Shape& shape : kShapes) {
        const unsigned most = (options.quick ? shape.quickCount : shape.count) << (kSizes - 1);
        const Measures measures = MeasureAll(shape, prepared, machine, options.quick);
        for (const auto& [job, of] : measures) {
            const std::string name = std::to_string(most) + ' ' + shape.name + ", " + job;
            const auto* const bare = shape.overBare ? &measures.at("bare loop") : nullptr;
            if (job != "bare loop") good = Judge(name, of, bare, job != "uninstall", report) && good;
        }
    }
    return good;
}

}  // namespace stress
