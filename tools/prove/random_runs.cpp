// Random runs of setup. The text of what each step leaves must be the same on both targets. Each run has a number:
// QTV_RUNS="1-50". QTV_RESULTS names the folder of the build machine that gets a file for each run.
#include <fstream>
#include <list>
#include <random>
#include <sstream>

#include "end_to_end/run.h"
#include "harness/registry_values.h"

namespace {

using List = std::vector<std::string>;

// The texts between the semicolons.
List Split(const std::string& text) {
    List parts;
    std::istringstream rest(text);
    for (std::string part; std::getline(rest, part, ';');)
        parts.push_back(part);
    return parts;
}

const List kNames = Split(
    "a.txt;b.bin;c d.dat;NOEXT;sub\\e.txt;sub\\f.bin;g.dll;x64\\h.dll;sub\\in\\i.x;two.dots.txt;_under.ini");
// A program of the package that may be running.
constexpr char kRunning[] = "runs.exe";
const List kValues = Split(
    "*.*;*;*.txt;sub\\*.*;sub\\*;sub\\*.t?t;none\\*.*;?.txt;missing.x;a.txt > new.txt;b.bin > sub\\b2.bin;"
    "a.txt > none\\a.txt;NoExt;A.TXT;sub;sub\\in;x64;sub/e.txt;a.txt | note; a.txt;a.txt >;*.txt > t;"
    "sub\\in\\*.*;;SUB\\E.TXT;runs.exe");
const List kPrefixes = Split(
    "File Copy: ;File Copy: ;File Copy: ;File Copy x64: ;File Copy ind: ;File Copy prt: ;Make Dir: ;"
    "File Overwrite: ;File Del: ;file copy: ;# ;File Copy ind: kernel32.dll > ");
const List kOptions = Split("-allusers;-autostart;-nodeskico;-runafter;-S;-x");
const List kTargets = Split(
    "; -instdir C:\\Scratch\\Qantivo; -instport C:\\Scratch\\p\\Qantivo;"
    " -instdir \"C:\\Scratch\\a b\\Qantivo\"; -instdir C:\\Scratch\\package");

class RandomRun : public EndToEndTest {
  public:
    explicit RandomRun(unsigned number) : m_random(number) {
        ImportFile("sleeper.exe", package + TEXT("\\") + Wide(kRunning));
        Rebase();
    }
    std::string Result() {
        MakePackage(Random() % 3 + 1);
        std::string arguments = Arguments();
        if (Random() % 2 == 0) {
            const DWORD exitCode = Setup(Wide(arguments));
            Note("earlier", arguments + " ended with " + std::to_string(exitCode));
            if (MayRestart(arguments) || Random() % 3 == 0) RestartMachine();
            MakePackage(Random() % 3 + 1);
            if (Random() % 3 == 0) arguments = Arguments();
            Spoil();
        }
        {
            std::list<HeldFile> held;
            if (!MayRestart(arguments)) held = Hold();
            const DWORD exitCode = Setup(Wide(arguments));
            if (MayRestart(arguments)) RestartMachine();
            Note("setup", arguments + " ended with " + std::to_string(exitCode));
        }
        const Text folder = Wide(Folder());
        if (Random() % 4 != 0 && Exists(folder + TEXT("\\QtvUnInst.exe"))) {
            const std::list<HeldFile> held = Hold();
            const DWORD exitCode = Uninstall(folder);
            Note("uninstall", "ended with " + std::to_string(exitCode));
        }
        RestartMachine();
        Note("restart", "");
        return m_result.str();
    }

  private:
    void TestBody() override {}

    const std::string& Any(const List& list) { return list[Random() % list.size()]; }

    // The last step may ask for a restart, after which no file is in use any more. Wine restarts at once.
    static bool MayRestart(const std::string& arguments) {
        return arguments.find("-runafter") != arguments.npos;
    }

    void MakePackage(unsigned generation) {
        std::string manifest = "File Copy: QtvApp8.exe\r\nFile Copy: QtvUnInst.exe\r\n";
        if (Random() % 2) manifest += std::string("File Copy: ") + kRunning + "\r\n";
        // One draw a statement: compilers evaluate the parts of an expression in different orders.
        for (unsigned count = Random() % 12; count > 0; --count) {
            manifest += Any(kPrefixes);
            manifest += Any(Random() % 2 ? kNames : kValues);
            manifest += Random() % 5 ? "\r\n" : " \n";
        }
        MakeFile(package + TEXT("\\QtvUnInst.log"), manifest);
        for (const std::string& name : kNames)
            if (Random() % 4 != 0)
                Put(package + TEXT("\\") + Wide(name), name + std::string(generation, '!'));
    }

    std::string Arguments() {
        std::string arguments = "-s";
        arguments += Any(kTargets);
        for (unsigned count = Random() % 3; count > 0; --count)
            arguments += " " + Any(kOptions);
        return arguments;
    }

    // A missing file has all attribute bits set.
    static bool IsFile(const Text& path) {
        return !(GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_DIRECTORY);
    }

    // If a manifest has made a folder with that name, it stays.
    static void Put(const Text& path, const std::string& bytes) {
        if (!Exists(path) || IsFile(path)) MakeFile(path, bytes);
    }

    // Returns where the product is, according to the registry.
    static std::string Folder() {
        const auto path = GetValue(HKEY_LOCAL_MACHINE, TEXT("SOFTWARE\\Lorvanta\\Qantivo 8"), TEXT("Path"));
        return path ? Narrow(reinterpret_cast<LPCWSTR>(path->bytes.c_str())) : "C:\\Scratch\\p\\Qantivo";
    }

    // Writes files of another program into the product's folder, and deletes files of the product.
    void Spoil() {
        const Text folder = Wide(Folder());
        for (unsigned count = Random() % 4; count > 0; --count) {
            const Text path = folder + TEXT("\\") + Wide(Any(kNames));
            if (Random() % 2 == 0)
                (void)DeleteFileW(path.c_str());
            else
                Put(path, "a stranger's");
        }
        Note("spoilt", "");
    }

    // Up to two of the product's files are in use.
    std::list<HeldFile> Hold() {
        List files = kNames;
        files.insert(files.end(), {"QtvApp8.exe", kRunning});
        // Windows renames no folder that holds an open file, but Wine does.
        std::erase_if(files, [](const std::string& name) {
            return name.find('\\') != name.npos || !IsFile(Wide(Folder() + "\\" + name));
        });
        std::list<HeldFile> held;
        for (unsigned count = Random() % 3; count > 0 && !files.empty(); --count) {
            const std::string name = Any(files);
            held.emplace_back(Wide(Folder() + "\\" + name),
                              name == kRunning ? Hold::Running : Hold::NoDelete);
            std::erase(files, name);
        }
        return held;
    }

    void Note(const char* step, const std::string& what) {
        m_result << "== " << step << ' ' << what << '\n';
        for (const auto& [name, state] : Changes()) {
            m_result << name << "   ";
            // A log contains paths with the user's name.
            if (name.ends_with(".log") && state.starts_with("file "))
                m_result << '\n' << Neutral(FileBytes(Where(name)).value_or("")) << '\n';
            else
                m_result << state << '\n';
        }
    }

    unsigned Random() { return static_cast<unsigned>(m_random()); }

    std::mt19937 m_random;
    std::ostringstream m_result;
};

TEST(RandomRuns, LeaveTheirResults) {
    const char* const runs = std::getenv("QTV_RUNS");
    const char* const results = std::getenv("QTV_RESULTS");
    ASSERT_TRUE(runs && results) << "use scripts/prove.sh both";
    unsigned first = 0, last = 0;
    ASSERT_EQ(std::sscanf(runs, "%u-%u", &first, &last), 2);
    for (unsigned number = first; number <= last; ++number)
        std::ofstream(results + ("/" + std::to_string(number)), std::ios::binary)
            << RandomRun(number).Result();
}

}  // namespace
