#include "sweep/scenarios.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "winhost.h"

namespace fs = std::filesystem;

namespace sweep {

namespace {

constexpr char16_t kTarget[] = u"C:\\Program Files\\Qantivo 8\\";
constexpr char16_t kPackage[] = u"C:\\Package\\";
constexpr char kSetup[] = "setup.exe";
constexpr char kCopy[] = "uni*.tmp";

constexpr char kManifest[] =
    "File Copy: QtvApp8.exe\r\n"
    "File Copy: QtvApp8Man.chm\r\n"
    "File Copy: QtvUnInst.exe\r\n"
    "File Copy: ThumbQvi32.dll\r\n"
    "File Copy: engine.dll\r\n"
    "File Copy: presets.dat\r\n"
    "File Copy: readme-en.txt > readme.txt\r\n"
    "File Copy ind: runtime9.dll\r\n"
    "Make Dir: Samples\r\n"
    "File Copy: Samples\\*.*\r\n"
    "File Overwrite: QtvApp8.ini\r\n";
constexpr char kObsolete[] = "File Del: QtvApp8Man.hlp\r\n";

void Write(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

// The copy has no debugging data, so that it starts faster.
void CopyProgram(const fs::path& source, const fs::path& target) {
    fs::create_directories(target.parent_path());
    const std::string command = "strip --strip-debug -o '" + target.native() + "' '" + source.native() + "'";
    if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
}

// The loader ignores bytes after the end of a program; with them it counts as another version.
void Mark(const fs::path& program, const std::string& version) {
    std::ofstream(program, std::ios::binary | std::ios::app) << version;
}

// The earlier version has a help file that the later one does not have.
void MakePackage(const fs::path& helpers, const std::string& version) {
    const fs::path folder = winhost::HostPath(kPackage);
    const fs::path sample = helpers / "package";
    const bool early = version == "early";
    for (const char* program : {"QtvApp8.exe", "ThumbQvi32.dll", "runtime9.dll"}) {
        CopyProgram(sample / program, folder / program);
        Mark(folder / program, version);
    }
    for (const char* file : {"QtvApp8Man.chm", "engine.dll", "presets.dat", "readme-en.txt",
                             "Samples/meadow.bmp", "Samples/tiles.gif"})
        Write(folder / file, std::string(file) + ", " + version + "\n");
    if (early) Write(folder / "QtvApp8Man.hlp", "help, early\n");
    const std::string obsolete = early ? "File Copy: QtvApp8Man.hlp\r\n" : kObsolete;
    Write(folder / "QtvUnInst.log", kManifest + obsolete);
    Write(winhost::HostPath(u"C:\\Download\\QtvApp8.ini"), "[settings]\r\nversion=" + version + "\r\n");
}

void SetText(HKEY hive, const std::u16string& subKey, LPCWSTR value, const std::u16string& text) {
    HKEY key = nullptr;
    (void)RegCreateKeyW(hive, subKey.c_str(), &key);
    (void)RegSetValueExW(key, value, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                         static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR)));
    (void)RegCloseKey(key);
}

// Adds things that don't belong to the product. Some of their names are very similar to its own.
void AddOtherThings() {
    for (const char16_t* path :
         {u"C:\\Users\\Ann\\Documents\\letter.txt", u"C:\\Users\\Ann\\Desktop\\notes.txt",
          u"C:\\Users\\Ann\\Desktop\\Qantivo 8 notes.txt", u"C:\\Apps\\Other\\other.exe", u"D:\\picture.qvi",
          u"C:\\Users\\Ann\\AppData\\Local\\Temp\\work.tmp", u"C:\\Program Files\\Qantivo 7\\QtvApp7.exe",
          u"C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs\\Other\\Other.lnk"})
        Write(winhost::HostPath(path), "not the product's\n");
    const std::u16string extensions = u"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\FileExts\\";
    SetText(HKEY_CURRENT_USER, extensions + u".png\\UserChoice", u"Progid", u"Other.png");
    SetText(HKEY_LOCAL_MACHINE, u"SOFTWARE\\Lorvanta\\Qantivo 7", u"Path", u"C:\\Program Files\\Qantivo 7");
    SetText(HKEY_LOCAL_MACHINE, u"SOFTWARE\\RegisteredApplications", u"Other", u"SOFTWARE\\Other");
}

void AddUsersChoices() {
    Write(winhost::HostPath(std::u16string(kTarget) + u"my notes.txt"), "the user's\n");
    const std::u16string extensions = u"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\FileExts\\";
    SetText(HKEY_CURRENT_USER, extensions + u".jpg\\UserChoice", u"Progid", u"Applications\\QtvApp8.exe");
}

const std::u16string& InstallLine() {
    static const std::u16string line =
        u"C:\\Package\\setup.exe -s -runafter -sfxname=C:\\Download\\package.exe";
    return line;
}

}  // namespace

const std::vector<Scenario>& Scenarios() {
    static const std::vector<Scenario> scenarios = {
        {"install", InstallLine(), {kSetup}, true},
        {"update", InstallLine(), {kSetup}, true},
        {"install-wizard", u"C:\\Package\\setup.exe", {kSetup}, true},
        {"uninstall", u"\"C:\\Program Files\\Qantivo 8\\QtvUnInst.exe\"", {"QtvUnInst.exe", kCopy}, false},
    };
    return scenarios;
}

const Scenario& ScenarioOf(const std::string& name) {
    const auto& all = Scenarios();
    return *std::find_if(all.begin(), all.end(),
                         [&](const Scenario& scenario) { return name == scenario.name; });
}

void Prepare(const Scenario& scenario, const fs::path& root, const fs::path& setup, const fs::path& helpers) {
    const std::string name = scenario.name;
    winhost::CreateMachine(root);
    winhost::EnterMachine(root);
    winhost::SetBoxAnswers({});
    const fs::path package = winhost::HostPath(kPackage);
    CopyProgram(setup, package / kSetup);
    // An install only copies it, and a small file is copied faster.
    if (scenario.installs)
        Write(package / "QtvUnInst.exe", "uninstaller\n");
    else
        CopyProgram(setup, package / "QtvUnInst.exe");
    AddOtherThings();
    if (name == "update") {
        MakePackage(helpers, "early");
        Install();
        fs::remove(package / "QtvApp8Man.hlp");
    }
    MakePackage(helpers, "late");
    if (name == "uninstall") Install();
    if (!name.starts_with("install")) AddUsersChoices();
}

void Install() {
    const RunOutcome outcome = Run(InstallLine(), kSetup);
    if (!outcome.complaint.empty())
        throw std::runtime_error("no installation to start from: " + outcome.complaint);
    winhost::RestartMachine();
}

FilesInUse::FilesInUse() {
    m_running = winhost::HoldFile(std::u16string(kTarget) + u"engine.dll", winhost::Use::Runs);
    m_held = winhost::HoldFile(std::u16string(kTarget) + u"presets.dat", winhost::Use::IsRead);
}

RunOutcome RunAgain(const Scenario& scenario) {
    // A silent run asks nothing, so it also repairs what the wizard left.
    if (scenario.installs) return Run(InstallLine(), kSetup);
    const std::u16string program = std::u16string(kTarget) + u"QtvUnInst.exe";
    const fs::path source = winhost::HostPath(std::u16string(kPackage) + u"QtvUnInst.exe");
    // Not whole if a setup was ended while it copied the program.
    std::error_code missing;
    if (fs::file_size(winhost::HostPath(program), missing) == fs::file_size(source))
        return Run(scenario.commandLine, kCopy);
    // It marks itself for deletion, so a copy must run.
    const std::u16string copy = u"C:\\Users\\Ann\\AppData\\Local\\Temp\\uniF.tmp";
    fs::copy_file(source, winhost::HostPath(copy));
    return Run(copy + u" -delself \"" + program + u"\"", kCopy);
}

}  // namespace sweep
