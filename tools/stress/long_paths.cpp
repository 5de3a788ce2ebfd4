// Paths up to the longest possible one and beyond it, at each place of a record: what is too long is left out, and
// nothing else.
#include <algorithm>
#include <fstream>
#include <vector>

#include "common/throwaway_folder.h"
#include "stress/large.h"
#include "sweep/machines.h"
#include "sweep/scenarios.h"
#include "sweep/workers.h"
#include "winhost.h"

namespace fs = std::filesystem;

namespace stress {

namespace {

using Names = std::set<std::string>;

constexpr std::size_t kMostOfFile = 259;    // characters of a path
constexpr std::size_t kMostOfFolder = 247;  // of the path of a new folder
constexpr std::size_t kMostHidden = kMostOfFile - std::string_view(".toinst").size();
constexpr std::size_t kMostMovedAside = kMostOfFile - std::string_view(".old").size();
// How much longer than that the paths are.
constexpr int kBeyond[] = {-1, 0, 1, 7};
constexpr std::size_t kCharsOfDeepFolder = 120;

constexpr char16_t kPortable[] = u"C:\\Portable\\Qantivo 8", kPortableParent[] = u"C:\\Portable";
constexpr char16_t kPrograms[] = u"C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs";

enum class Name { Long, Short };
enum class Kind { File, Library, Folder };
enum class In { Target, Parent, Package };  // the folder whose path counts with the long name

// A record of a package with a long name in it.
struct Place {
    const char* record;
    Name source, target;
    Kind kind = Kind::File;
    In in = In::Target;
    std::size_t most = kMostOfFile;
    bool deep = false;  // the name has a folder in front of it
};
using enum Name;
constexpr Place kPlaces[] = {
    {"File Copy: ", Long, Long},     {"File Copy: ", Long, Long, Kind::File, In::Target, kMostOfFile, true},
    {"File Copy: ", Short, Long},    {"File Copy: ", Long, Short, Kind::File, In::Package},
    {"File Copy ind: ", Long, Long}, {"Make Dir: ", Long, Long, Kind::Folder, In::Target, kMostOfFolder},
};
// A portable installation doesn't look for the library elsewhere. One that can't be hidden meanwhile is found in the
// package itself, so it counts as one of the system.
constexpr Place kHiddenPlaces[] = {
    {"File Copy ind: ", Long, Short, Kind::Library, In::Package, kMostHidden},
};
constexpr Place kPortablePlaces[] = {
    {"File Copy x64: ", Long, Long},
    {"File Copy ind: ", Long, Short, Kind::Library, In::Package},
    {"File Copy prt: ", Long, Long, Kind::File, In::Parent},
};

fs::path Host(const char16_t* folder) {
    return winhost::HostPath(folder);
}

std::size_t CharsOf(const char16_t* folder) {
    return std::u16string_view(folder).size() + 1;
}

std::string Padded(std::string name, std::size_t length) {
    return name + std::string(length - name.size(), 'x');
}

std::string DeepFolder() {
    return Padded("deep", kCharsOfDeepFolder);
}

// The records of the places, with the files of the package made, and what they add to the target folder and to
// the folder around it.
struct Records {
    int count = 0;
    std::string lines;
    Names target;
    Names parent;
};

void AddRecord(const Place& place, std::size_t length, bool fits, Records& records) {
    const std::string id = std::to_string(++records.count) + '_';
    std::string longName = Padded("l" + id, length);
    // The system's loader adds an extension to a name without one.
    if (place.kind == Kind::Library) longName.replace(length - 4, 4, ".dll");
    if (place.deep) longName[kCharsOfDeepFolder] = '\\';
    if (place.deep) longName.replace(0, kCharsOfDeepFolder, DeepFolder());
    const std::string shortName = "s" + id;
    const std::string& source = place.source == Long ? longName : shortName;
    const std::string& target = place.target == Long ? longName : shortName;
    records.lines += place.record + source + (source == target ? "" : " > " + target) + "\r\n";
    std::string stored = source;
    std::replace(stored.begin(), stored.end(), '\\', '/');
    const fs::path file = Host(kPackage) / stored;
    if (place.kind == Kind::File) MakeFile(file);
    if (place.kind == Kind::Library) fs::create_hard_link(Host(kPackage) / "runtime9.dll", file);
    if (!fits) return;
    std::string made = target;
    std::replace(made.begin(), made.end(), '\\', '/');
    (place.in == In::Parent ? records.parent : records.target).insert(made);
}

template <std::size_t count>
void AddRecords(const Place (&places)[count], const char16_t* target, Records& records) {
    for (const Place& place : places)
        for (const int beyond : kBeyond) {
            const char16_t* const folder = place.in == In::Package  ? kPackage
                                           : place.in == In::Parent ? kPortableParent
                                                                    : target;
            const std::size_t length = place.most + static_cast<std::size_t>(beyond) - CharsOf(folder);
            AddRecord(place, length, beyond <= 0, records);
        }
}

// What differs, for the reader; empty for nothing.
bool Same(const char* what, const Names& found, const Names& expected, std::FILE* report) {
    for (const std::string& name : found)
        if (!expected.contains(name)) std::fprintf(report, "large: %s, too much: %s\n", what, name.c_str());
    for (const std::string& name : expected)
        if (!found.contains(name)) std::fprintf(report, "large: %s, missing: %s\n", what, name.c_str());
    return found == expected;
}

bool RunsWell(const sweep::RunOutcome& outcome, std::FILE* report) {
    if (!outcome.complaint.empty()) std::fprintf(report, "large: %s\n", outcome.complaint.c_str());
    return outcome.complaint.empty();
}

bool Update(std::FILE* report) {
    return RunsWell(sweep::RunAgain(sweep::ScenarioOf("install")), report);
}

bool Uninstall(std::FILE* report) {
    const bool good = RunsWell(sweep::Run(sweep::ScenarioOf("uninstall").commandLine, "uni*.tmp"), report);
    winhost::RestartMachine();
    return good;
}

// Files that are there already, with paths of all lengths in a folder. Adds those that are too long to `left`.
std::vector<std::string> Plant(const char16_t* folder, const char* front, Names& left) {
    std::vector<std::string> planted;
    for (const int beyond : kBeyond) {
        const std::size_t length = kMostOfFile + static_cast<std::size_t>(beyond) - CharsOf(folder);
        planted.push_back(Padded(front + std::to_string(beyond) + '_', length));
        MakeFile(Host(folder) / planted.back());
        if (beyond > 0) left.insert(planted.back());
    }
    return planted;
}

// The first failure ends a pattern: what comes after it in the folder's order is left out, too.
void AddPatterns(Records& records) {
    const std::size_t length = kMostOfFile + 1 - CharsOf(kTarget) - std::string_view("first\\").size();
    for (const std::string& name : {std::string("a"), Padded("b", length)})
        MakeFile(Host(kPackage) / "first" / name);
    for (const std::string& name : {std::string("a"), Padded("b", length + 1), std::string("c")})
        MakeFile(Host(kPackage) / "among" / name);
    records.lines +=
        "File Copy: first\\*.*\r\nFile Copy: among\\*.*\r\nMake Dir: first\r\nMake Dir: among\r\n";
    records.target.merge(Names{"first", "first/a", "among", "among/a"});
}

// A line that is too long arrives in pieces, none of which is a record here.
void AddLongLine(Records& records) {
    constexpr std::size_t kTooLong = 1500;
    records.lines += "File Copy: " + std::string(kTooLong, 'x') + "\r\nFile Copy: last\r\n";
    MakeFile(Host(kPackage) / "last");
    records.target.insert("last");
}

// Installs the records over the sample, and removes all of it.
bool RecordsAreLeftOut(std::FILE* report) {
    Names inTarget = NamesBelow(Host(kTarget));
    Records records;
    AddRecords(kPlaces, kTarget, records);
    AddRecords(kHiddenPlaces, kTarget, records);
    records.lines += "Make Dir: " + DeepFolder() + "\r\n";
    records.target.insert(DeepFolder());
    AddPatterns(records);
    AddLongLine(records);
    Names left = {"my notes.txt"};
    for (const std::string& name : Plant(kTarget, "del", left))
        records.lines += "File Del: " + name + "\r\n";
    inTarget.insert(left.begin(), left.end());
    const auto overwritten = Plant(kTarget, "over", left);
    for (const std::string& name : overwritten)
        records.lines += "File Overwrite: " + name + "\r\n";
    inTarget.insert(overwritten.begin(), overwritten.end());
    inTarget.merge(records.target);
    AddToManifest(records.lines);
    bool good = Update(report) && Same("installed", NamesBelow(Host(kTarget)), inTarget, report);
    return Uninstall(report) && Same("removed", NamesBelow(Host(kTarget)), left, report) && good;
}

bool PortableRecordsAreLeftOut(std::FILE* report) {
    Records records;
    AddRecords(kPortablePlaces, kPortable, records);
    const std::u16string line = std::u16string(kPackage) + u"\\setup.exe -s -instport \"" + kPortable + u"\"";
    if (!RunsWell(sweep::Run(line, "setup.exe"), report)) return false;
    Names expected = NamesBelow(Host(kPortable));
    fs::remove_all(Host(kPortable));
    AddToManifest(records.lines);
    if (!RunsWell(sweep::Run(line, "setup.exe"), report)) return false;
    expected.merge(records.target);
    Names around = NamesBelow(Host(kPortableParent));
    std::erase_if(around, [](const std::string& name) { return name.starts_with("Qantivo 8"); });
    const bool isSame = Same("portable", NamesBelow(Host(kPortable)), expected, report);
    return Same("portable, parent", around, records.parent, report) && isSame;
}

// An update deletes the links and the groups that the log names.
bool LogLinesAreLeftOut(std::FILE* report) {
    Names expected = NamesBelow(Host(kPrograms));
    const std::string programs = winhost::Utf8(kPrograms) + '\\';
    std::string lines;
    Names tooLong;
    for (const std::string& name : Plant(kPrograms, "link", tooLong))
        lines += "Shell Link: " + programs + name + "\r\n";
    for (const std::string& name : Plant(kPrograms, "group", tooLong)) {
        fs::remove(Host(kPrograms) / name);
        fs::create_directory(Host(kPrograms) / name);
        lines += "Made Dir: " + programs + name + "\r\n";
    }
    AddToLog(lines + "Shell Link: " + programs + "Qantivo 8\\Qantivo 8.lnk\r\n");
    expected.merge(tooLong);
    return Update(report) && Same("log", NamesBelow(Host(kPrograms)), expected, report);
}

// An update makes the group of the log's last link anew, and the links in it.
bool GroupIsLeftOut(std::size_t cchGroup, std::FILE* report) {
    const std::string group = Padded("group", cchGroup - CharsOf(kPrograms));
    Names expected;
    for (const std::string& name : NamesBelow(Host(kPrograms))) {
        if (!name.starts_with("Qantivo 8")) {
            expected.insert(name);
        } else if (cchGroup <= kMostOfFolder) {
            const std::string moved = name.substr(std::string_view("Qantivo 8").size());
            if (cchGroup + moved.size() <= kMostOfFile) expected.insert(group + moved);
        }
    }
    AddToLog("Shell Link: " + winhost::Utf8(kPrograms) + '\\' + group + "\\old.lnk\r\n");
    return Update(report) && Same("group", NamesBelow(Host(kPrograms)), expected, report);
}

// A held file whose path has no room for ".old" is deleted at the restart. One more run brings it back.
bool HeldFileComesBack(std::size_t cchPath, std::FILE* report) {
    const std::string name = Padded("held", cchPath - CharsOf(kTarget));
    MakeFile(Host(kPackage) / name);
    AddToManifest("File Copy: " + name + "\r\n");
    bool good = Update(report);
    const fs::path target = Host(kTarget) / name;
    {
        const auto held =
            winhost::HoldFile(std::u16string(kTarget) + u'\\' + winhost::Utf16(name), winhost::Use::IsRead);
        good = Update(report) && good;
    }
    winhost::RestartMachine();
    const bool stays = cchPath <= kMostMovedAside;
    const bool asExpected = fs::exists(target) == stays;
    if (!asExpected) std::fprintf(report, "large: a held file of %zu characters\n", cchPath);
    return Update(report) && fs::exists(target) && asExpected && good;
}

}  // namespace

bool LongPaths(const Options& options, std::FILE* report) {
    const tools::ThrowawayFolder work("stress", sweep::PlaceToWork());
    const fs::path prepared = work.Path() / "prepared", machine = work.Path() / "machine";
    sweep::CaptureErrors(work.Path() / "errors");
    PrepareInstalled(prepared, options.setup);
    unsigned count = 0, good = 0;
    const auto onNewMachine = [&](auto test, auto... arguments) {
        fs::remove_all(machine);
        sweep::CopyMachine(prepared, machine);
        winhost::EnterMachine(machine);
        good += test(arguments..., report);
        ++count;
    };
    onNewMachine(RecordsAreLeftOut);
    onNewMachine(PortableRecordsAreLeftOut);
    onNewMachine(LogLinesAreLeftOut);
    const std::size_t cchLink = std::string_view("\\Qantivo 8.lnk").size();
    for (const std::size_t cch : {kMostOfFile - cchLink, kMostOfFile - cchLink + 1, kMostOfFolder,
                                  kMostOfFolder + 1, kMostOfFile, kMostOfFile + 1})
        onNewMachine(GroupIsLeftOut, cch);
    for (const std::size_t cch : {kMostMovedAside, kMostMovedAside + 1, kMostOfFile})
        onNewMachine(HeldFileComesBack, cch);
    std::fprintf(report, "large: %u runs with paths that are too long, %u as promised\n", count, good);
    return good == count;
}

}  // namespace stress
