// Compares an install of many files with a bare loop of CreateDirectoryW and CopyFileW over the same files,
// in pairs of runs, each in a process of its own.
//
//   copy_bench PACKAGE WORK ROUNDS         PACKAGE: the sample package; WORK: a folder to work in, emptied
//   copy_bench bare SOURCE TARGET FOLDERS FILES     the bare loop
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Text = std::basic_string<WCHAR>;

constexpr int kFolders = 50;
constexpr int kFilesInFolder = 100;
constexpr int kFileBytes = 1024;

Text Number(int number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

Text FolderName(int folder) {
    return TEXT("folder") + Number(folder);
}

Text FileName(int file) {
    return TEXT("file") + Number(file) + TEXT(".dat");
}

void Check(bool done, const char* what) {
    if (done) return;
    std::fprintf(stderr, "copy_bench: %s failed\n", what);
    std::exit(1);
}

void WriteWhole(const Text& path, const std::string& bytes) {
    FILE* file = _wfopen(path.c_str(), TEXT("wb"));
    Check(file && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size(), "writing a file");
    std::fclose(file);
}

void DeleteTree(const Text& folder) {
    WIN32_FIND_DATAW data;
    const HANDLE find = FindFirstFileW((folder + TEXT("\\*")).c_str(), &data);
    if (find == INVALID_HANDLE_VALUE) return;
    do {
        const Text name = data.cFileName;
        if (name == TEXT(".") || name == TEXT("..")) continue;
        const Text path = folder + TEXT("\\") + name;
        if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            DeleteTree(path);
        else
            (void)DeleteFileW(path.c_str());
    } while (FindNextFileW(find, &data));
    FindClose(find);
    (void)RemoveDirectoryW(folder.c_str());
}

int CopyBare(const Text& source, const Text& target, int folders, int files) {
    Check(CreateDirectoryW(target.c_str(), nullptr), "CreateDirectoryW");
    for (int folder = 0; folder < folders; ++folder) {
        const Text from = source + TEXT("\\") + FolderName(folder);
        const Text to = target + TEXT("\\") + FolderName(folder);
        Check(CreateDirectoryW(to.c_str(), nullptr), "CreateDirectoryW");
        for (int file = 0; file < files; ++file) {
            const Text name = TEXT("\\") + FileName(file);
            Check(CopyFileW((from + name).c_str(), (to + name).c_str(), FALSE), "CopyFileW");
        }
    }
    return 0;
}

// Seconds from the start of a program to its end.
double Time(Text commandLine) {
    LARGE_INTEGER frequency, begin, end;
    QueryPerformanceFrequency(&frequency);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process;
    QueryPerformanceCounter(&begin);
    Check(CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                         &process),
          "CreateProcessW");
    WaitForSingleObject(process.hProcess, INFINITE);
    QueryPerformanceCounter(&end);
    DWORD exitCode = 1;
    Check(GetExitCodeProcess(process.hProcess, &exitCode) && exitCode == 0, "a timed program");
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return static_cast<double>(end.QuadPart - begin.QuadPart) / static_cast<double>(frequency.QuadPart);
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void MakePackage(const Text& sample, const Text& package) {
    Check(CreateDirectoryW(package.c_str(), nullptr), "CreateDirectoryW");
    for (const Text name : {TEXT("\\setup.exe"), TEXT("\\QtvApp8.exe")})
        Check(CopyFileW((sample + name).c_str(), (package + name).c_str(), FALSE), "CopyFileW");
    const std::string bytes(kFileBytes, 'x');
    for (int folder = 0; folder < kFolders; ++folder) {
        const Text path = package + TEXT("\\") + FolderName(folder);
        Check(CreateDirectoryW(path.c_str(), nullptr), "CreateDirectoryW");
        for (int file = 0; file < kFilesInFolder; ++file)
            WriteWhole(path + TEXT("\\") + FileName(file), bytes);
    }
}

std::string Narrow(const Text& text) {
    return {text.begin(), text.end()};
}

std::string PatternManifest() {
    std::string manifest;
    for (int folder = 0; folder < kFolders; ++folder)
        manifest += "File Copy: " + Narrow(FolderName(folder)) + "\\*.*\r\n";
    return manifest;
}

std::string RecordManifest() {
    std::string manifest;
    for (int folder = 0; folder < kFolders; ++folder)
        for (int file = 0; file < kFilesInFolder; ++file)
            manifest += "File Copy: " + Narrow(FolderName(folder)) + "\\" + Narrow(FileName(file)) + "\r\n";
    return manifest;
}

}  // namespace

int wmain(int argc, WCHAR** argv) {
    WCHAR own[MAX_PATH];
    Check(GetModuleFileNameW(nullptr, own, MAX_PATH) < MAX_PATH, "GetModuleFileNameW");
    if (argc == 6) return CopyBare(argv[2], argv[3], _wtoi(argv[4]), _wtoi(argv[5]));
    if (argc != 4) {
        std::fprintf(stderr, "usage: copy_bench PACKAGE WORK ROUNDS\n");
        return 2;
    }
    const Text work = argv[2];
    const int rounds = _wtoi(argv[3]);
    const Text package = work + TEXT("\\package");
    const Text target = work + TEXT("\\target");
    DeleteTree(work);
    Check(CreateDirectoryW(work.c_str(), nullptr), "CreateDirectoryW");
    MakePackage(argv[1], package);

    const Text bare = TEXT("\"") + Text(own) + TEXT("\" bare ") + package + TEXT(" ") + target + TEXT(" ") +
                      Number(kFolders) + TEXT(" ") + Number(kFilesInFolder);
    const Text setup = TEXT("\"") + package + TEXT("\\setup.exe\" -s -instport ") + target;
    const struct {
        const char* name;
        std::string manifest;
        double bound;
    } kinds[] = {{"patterns", PatternManifest(), 1.3}, {"one record a file", RecordManifest(), 1.85}};
    for (const auto& kind : kinds) {
        WriteWhole(package + TEXT("\\QtvUnInst.log"), kind.manifest);
        std::vector<double> ratios;
        for (int round = 0; round < rounds; ++round) {
            DeleteTree(target);
            const double bareSeconds = Time(bare);
            DeleteTree(target);
            const double setupSeconds = Time(setup);
            ratios.push_back(setupSeconds / bareSeconds);
        }
        std::printf("%d small files, %s: %.2f x the bare loop (bound %.2f, median of %d pairs)\n",
                    kFolders * kFilesInFolder, kind.name, Median(ratios), kind.bound, rounds);
    }
    DeleteTree(work);
    return 0;
}
