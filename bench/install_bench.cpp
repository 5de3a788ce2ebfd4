// Compares installs with loops that only call CreateDirectoryW and CopyFileW for the same files, and with
// another installer. The runs come in pairs, each run in a process of its own.
//
//   install_bench package KIND SAMPLE FOLDER  makes a package of that kind; SAMPLE: the sample package
//   install_bench small|large|growth WORK ROUNDS    compares installs of the packages WORK\<kind>
//   install_bench application WORK ROUNDS OTHER     compares with the installer OTHER
//   install_bench download WORK ROUNDS OTHER OWN    compares the download OWN with it
//   install_bench bare KIND SOURCE TARGET     the bare loop
//   install_bench link TARGET LINK            saves one shell link
#include <shlobj.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "common/text.h"
#include "measure.h"

namespace fs = std::filesystem;

namespace {

// The files of a package in addition to the program's own.
struct Kind {
    Text name;
    int folders;
    int filesInFolder;
    DWORD cbFile;
};
const Kind kKinds[] = {
    {TEXT("small"), 50, 100, 1024}, {TEXT("large"), 1, 3, 200 << 20},      {TEXT("fewer"), 10, 125, 1024},
    {TEXT("more"), 80, 125, 1024},  {TEXT("application"), 12, 15, 349525},
};

const Kind& KindOf(const Text& name) {
    for (const Kind& kind : kKinds)
        if (kind.name == name) return kind;
    Check(false, "finding the kind of package");
    return kKinds[0];
}

std::string FolderName(int folder) {
    return "folder" + std::to_string(folder);
}

std::string FileName(int file) {
    return "file" + std::to_string(file) + ".dat";
}

Text Quoted(const Text& text) {
    return TEXT("\"") + text + TEXT("\"");
}

void WriteWhole(const fs::path& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    file.close();
    Check(!file.fail(), "writing a file");
}

// ---- packages ----

std::string PatternManifest(const Kind& kind) {
    std::string manifest;
    for (int folder = 0; folder < kind.folders; ++folder)
        manifest += "File Copy: " + FolderName(folder) + "\\*.*\r\n";
    return manifest;
}

std::string RecordManifest(const Kind& kind) {
    std::string manifest;
    for (int folder = 0; folder < kind.folders; ++folder)
        for (int file = 0; file < kind.filesInFolder; ++file)
            manifest += "File Copy: " + FolderName(folder) + "\\" + FileName(file) + "\r\n";
    return manifest;
}

void WriteManifest(const fs::path& package, const std::string& manifest) {
    WriteWhole(package / "QtvUnInst.log", manifest);
}

void MakePackage(const Kind& kind, const fs::path& sample, const fs::path& package) {
    const bool isApplication = kind.name == TEXT("application");
    fs::copy(sample, package, fs::copy_options::recursive);
    const std::string own =
        isApplication ? tools::ReadWhole((sample / "QtvUnInst.log").native()).value() : "";
    std::string bytes(kind.cbFile, 'x');
    std::minstd_rand random(8);
    for (int folder = 0; folder < kind.folders; ++folder) {
        const fs::path path = package / FolderName(folder);
        fs::create_directory(path);
        for (int file = 0; file < kind.filesInFolder; ++file) {
            // All files differ, because the other installer would store equal files once.
            const std::string number = std::to_string(folder * kind.filesInFolder + file);
            // An application's files can be compressed to about half.
            if (isApplication)
                for (char& byte : bytes)
                    byte = static_cast<char>('a' + random() / 8 % 16);
            bytes.replace(0, number.size(), number);
            WriteWhole(path / FileName(file), bytes);
        }
    }
    WriteManifest(package, own + (isApplication ? PatternManifest(kind) : RecordManifest(kind)));
}

// ---- what is timed ----

void CopyBare(const Kind& kind, const fs::path& source, const fs::path& target) {
    Check(CreateDirectoryW(target.c_str(), nullptr), "CreateDirectoryW");
    for (int folder = 0; folder < kind.folders; ++folder) {
        const fs::path from = source / FolderName(folder), to = target / FolderName(folder);
        Check(CreateDirectoryW(to.c_str(), nullptr), "CreateDirectoryW");
        for (int file = 0; file < kind.filesInFolder; ++file)
            Check(CopyFileW((from / FileName(file)).c_str(), (to / FileName(file)).c_str(), FALSE),
                  "CopyFileW");
    }
}

void SaveLink(LPCWSTR target, LPCWSTR path) {
    Check(SUCCEEDED(CoInitialize(nullptr)), "CoInitialize");
    void* object;
    Check(
        SUCCEEDED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW, &object)),
        "CoCreateInstance");
    IShellLinkW* const link = static_cast<IShellLinkW*>(object);
    Check(SUCCEEDED(link->SetPath(target)), "SetPath");
    Check(SUCCEEDED(link->QueryInterface(IID_IPersistFile, &object)), "QueryInterface");
    IPersistFile* const file = static_cast<IPersistFile*>(object);
    Check(SUCCEEDED(file->Save(path, TRUE)), "Save");
    file->Release();
    link->Release();
}

enum class Until { OwnEnd, EndOfAllStarted };

// Runs a program and waits for everything that it starts. Returns the seconds until its own end, or until the
// end of all.
double Time(const Text& commandLine, Until until = Until::OwnEnd) {
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    const HANDLE port = CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 1);
    JOBOBJECT_ASSOCIATE_COMPLETION_PORT report = {nullptr, port};
    Check(SetInformationJobObject(job, JobObjectAssociateCompletionPortInformation, &report, sizeof report),
          "SetInformationJobObject");
    const double begin = Seconds();
    const lab::Program program = Start(commandLine, CREATE_SUSPENDED);
    Check(AssignProcessToJobObject(job, program.Process()), "AssignProcessToJobObject");
    (void)ResumeThread(program.Thread());
    (void)program.EndsWithin(INFINITE);
    const double own = Seconds() - begin;
    DWORD event = 0;
    ULONG_PTR key;
    OVERLAPPED* overlapped;
    while (event != JOB_OBJECT_MSG_ACTIVE_PROCESS_ZERO)
        Check(GetQueuedCompletionStatus(port, &event, &key, &overlapped, INFINITE), "waiting");
    const double all = Seconds() - begin;
    Check(program.ExitCode() == 0, "a timed program");
    CloseHandle(port);
    CloseHandle(job);
    return until == Until::OwnEnd ? own : all;
}

struct Pair {
    double bare;
    double setup;
};

// Installs the package once by the bare loop and once by the setup program.
Pair TimePair(const Text& kind, const Text& work) {
    const Text package = work + TEXT("\\") + kind;
    const Text target = work + TEXT("\\target");
    Pair pair;
    fs::remove_all(target);
    pair.bare = Time(Quoted(OwnProgram()) + TEXT(" bare ") + kind + TEXT(" ") + package + TEXT(" ") + target);
    fs::remove_all(target);
    pair.setup = Time(Quoted(package + TEXT("\\setup.exe")) + TEXT(" -s -instport ") + target);
    fs::remove_all(target);
    return pair;
}

void CompareWithBareLoop(const char* what, const Text& kind, const Text& work, int rounds) {
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        const Pair pair = TimePair(kind, work);
        ratios.push_back(pair.setup / pair.bare);
    }
    Report(what, Median(ratios));
}

void MeasureSmall(const Text& work, int rounds) {
    const Text package = work + TEXT("\\small");
    WriteManifest(package, PatternManifest(KindOf(TEXT("small"))));
    CompareWithBareLoop("5,000 small files by patterns, over the bare loop", TEXT("small"), work, rounds);
    WriteManifest(package, RecordManifest(KindOf(TEXT("small"))));
    CompareWithBareLoop("5,000 small files by a record each, over the bare loop", TEXT("small"), work,
                        rounds);
}

void MeasureGrowth(const Text& work, int rounds) {
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        const Pair fewer = TimePair(TEXT("fewer"), work);
        const Pair more = TimePair(TEXT("more"), work);
        ratios.push_back(more.setup / fewer.setup / (more.bare / fewer.bare));
    }
    Report("10,000 records over 1,250, over the bare loop's growth", Median(ratios));
}

// An uninstall leaves folders for the next start of the machine. No round may find those of the last round.
void ForgetBootMarks() {
    HKEY session;
    Check(RegOpenKeyExW(HKEY_LOCAL_MACHINE, TEXT("SYSTEM\\CurrentControlSet\\Control\\Session Manager"), 0,
                        KEY_SET_VALUE, &session) == ERROR_SUCCESS,
          "opening the boot-time marks");
    (void)RegDeleteValueW(session, TEXT("PendingFileRenameOperations"));
    RegCloseKey(session);
}

struct Ratios {
    std::vector<double> install;
    std::vector<double> uninstall;
};

// Installs and uninstalls both in turn. `own` is the program that installs the product.
Ratios CompareWithOther(const Text& work, const Text& own, const Text& other, int rounds) {
    // The uninstall waits this long for the end of its first process.
    constexpr double kFixedSeconds = 1;
    const Text target = work + TEXT("\\Qantivo 8");
    const Text otherTarget = work + TEXT("\\Other 8");
    Ratios ratios;
    for (int round = 0; round < rounds; ++round) {
        const double otherInstall = Time(Quoted(other) + TEXT(" /S /D=") + otherTarget);
        const double otherUninstall =
            Time(Quoted(otherTarget + TEXT("\\uninstall.exe")) + TEXT(" /S"), Until::EndOfAllStarted);
        ratios.install.push_back(Time(Quoted(own) + TEXT(" -install -s -instdir ") + Quoted(target)) /
                                 otherInstall);
        ratios.uninstall.push_back(
            (Time(Quoted(target + TEXT("\\QtvUnInst.exe")), Until::EndOfAllStarted) - kFixedSeconds) /
            otherUninstall);
        for (const Text& folder : {target, otherTarget})
            Check(!fs::exists(folder + TEXT("\\QtvApp8.exe")), "an uninstall");
        fs::remove_all(target);
        ForgetBootMarks();
    }
    return ratios;
}

void MeasureApplication(const Text& work, const Text& other, int rounds) {
    const Ratios ratios = CompareWithOther(work, work + TEXT("\\application\\setup.exe"), other, rounds);
    Report("install of 180 files, 60 MB, over another installer", Median(ratios.install));
    Report("its uninstall less the fixed second, over the other's", Median(ratios.uninstall));
}

}  // namespace

int wmain(int argc, WCHAR** argv);

int wmain(int argc, WCHAR** argv) {
    // Wine's first window starts the process of the desktop,
    // which keeps running. It must not be part of a measurement.
    (void)GetDesktopWindow();
    const std::vector<Text> arguments(argv + 1, argv + argc);
    const Text mode = argc > 1 ? arguments[0] : Text();
    if (mode == TEXT("package") && argc == 5) {
        MakePackage(KindOf(arguments[1]), arguments[2], arguments[3]);
    } else if (mode == TEXT("bare") && argc == 5) {
        CopyBare(KindOf(arguments[1]), arguments[2], arguments[3]);
    } else if (mode == TEXT("link") && argc == 4) {
        SaveLink(argv[2], argv[3]);
    } else if (mode == TEXT("small") && argc == 4) {
        MeasureSmall(arguments[1], _wtoi(argv[3]));
    } else if (mode == TEXT("large") && argc == 4) {
        CompareWithBareLoop("3 files of 200 MB, over the bare loop", mode, arguments[1], _wtoi(argv[3]));
    } else if (mode == TEXT("growth") && argc == 4) {
        MeasureGrowth(arguments[1], _wtoi(argv[3]));
    } else if (mode == TEXT("application") && argc == 5) {
        MeasureApplication(arguments[1], arguments[3], _wtoi(argv[3]));
    } else if (mode == TEXT("download") && argc == 6) {
        const Ratios ratios = CompareWithOther(arguments[1], arguments[4], arguments[3], _wtoi(argv[3]));
        Report("a silent start of the download, over the other's", Median(ratios.install));
    } else {
        std::fprintf(stderr, "usage: see the head of install_bench.cpp\n");
        return 2;
    }
    return 0;
}
