#include "end_to_end/run.h"

#include <cstdlib>
#include <sstream>

#include "instances/instance_manager.h"

namespace {

std::string FileName(const std::string& path) {
    return path.substr(path.rfind('\\') + 1);
}

// Where the kit keeps the state before while the machine restarts; empty without a kit.
Text KitFile() {
    WCHAR folder[MAX_PATH] = {};
    const bool isKit = GetEnvironmentVariableW(TEXT("QTV_KIT"), folder, MAX_PATH) != 0;
    return isKit ? folder + Text(TEXT("\\before.txt")) : Text();
}

lab::State StateBefore() {
    std::istringstream lines(FileBytes(KitFile()).value_or(""));
    lab::State state;
    for (std::string name, what; std::getline(lines, name, '\t') && std::getline(lines, what);)
        state[name] = what;
    return state;
}

}  // namespace

const Text EndToEndTest::package = kScratch + TEXT("\\package");
const Text EndToEndTest::target = kScratch + TEXT("\\Qantivo");

EndToEndTest::EndToEndTest() {
    if (!IsBeforeRestart(1)) {
        m_before = StateBefore();
        return;
    }
    // A planted fault may be in another package than the build's.
    const char* const other = std::getenv("QTV_PACKAGE");
    ImportFile(other ? other : "package", package);
    // These parents of setup's keys stay. Every Windows has them, but not every new Wine prefix.
    for (const LPCWSTR name :
         {TEXT("SOFTWARE\\RegisteredApplications"), TEXT("SOFTWARE\\Classes\\Applications")}) {
        HKEY key;
        EXPECT_EQ(RegCreateKeyW(HKEY_LOCAL_MACHINE, name, &key), ERROR_SUCCESS);
        RegCloseKey(key);
    }
    Rebase();
}

void EndToEndTest::Rebase() {
    m_before = lab::Take();
    if (KitFile().empty()) return;
    std::string lines;
    for (const auto& [name, what] : m_before)
        lines += name + "\t" + what + "\n";
    MakeFile(KitFile(), lines);
}

DWORD EndToEndTest::Setup(const Text& arguments, const Person& person) {
    return RunProgram(TEXT("\"") + package + TEXT("\\setup.exe\" ") + arguments, package, [&](DWORD id) {
        if (person) person(Driver(id, TEXT("Qantivo Setup")));
    });
}

DWORD EndToEndTest::Uninstall(const Text& folder) {
    return RunProgram(TEXT("\"") + folder + TEXT("\\QtvUnInst.exe\""));
}

State EndToEndTest::Changes() const {
    const lab::State now = lab::Take();
    const std::string packageFolder = Narrow(package) + "\\";
    // A file of the same name comes first, because setup program and uninstaller have the same bytes.
    const auto origin = [&](const std::string& name, const std::string& what) {
        std::string found;
        for (const auto& [path, packed] : m_before)
            if (packed == what && path.starts_with(packageFolder) &&
                (found.empty() || FileName(path) == FileName(name)))
                found = path.substr(packageFolder.size());
        return found;
    };
    State changes;
    for (const auto& change : lab::Differences(m_before, now)) {
        std::string what = change.kind == '-' ? "gone" : change.after;
        if (what.starts_with("file "))
            if (const std::string source = origin(change.name, what); !source.empty()) what = "= " + source;
        changes[Neutral(change.name)] = Neutral(what);
    }
    return changes;
}

State Marks(const std::vector<std::string>& what) {
    State state;
    for (const std::string& mark : what)
        state["mark 00" + std::to_string(state.size() + 1)] = mark;
    return state;
}

State FolderMarks(const std::string& target) {
    return Marks({"delete " + target + "\\x64", "delete " + target + "\\Samples"});
}

namespace {

State InstalledFiles(const std::string& target) {
    State state;
    for (const char* name : {"HomePage.url", "QtvApp8.exe", "QtvApp8Man.chm", "QtvUnInst.exe",
                             "Samples\\meadow.bmp", "Samples\\mountains.png", "Samples\\sunset.jpg",
                             "Samples\\tiles.gif", "ThumbQvi32.dll", "ThumbQviXP32.dll", "runtime9.dll"})
        state[target + "\\" + name] = "= " + std::string(name);
    state[target + "\\readme.txt"] = "= readme-en.txt";
    state[target + "\\"] = state[target + "\\Samples\\"] = state[target + "\\x64\\"] = "folder";
    state[target + "\\QtvUnInst.log"] = "the log";
    return state;
}

State Shortcuts(const Plan& plan) {
    const std::string common = plan.allUsers ? "Common" : "";
    const std::string application = "shortcut to " + plan.target + "\\QtvApp8.exe in <Pictures>";
    State state;
    const std::string group = "<" + common + "Programs>\\" + plan.group + "\\";
    for (std::size_t end = group.find('\\'); (end = group.find('\\', end + 1)) != std::string::npos;)
        state[group.substr(0, end + 1)] = "folder";
    state[group + "Qantivo 8.lnk"] = application;
    state[group + "Qantivo 8 Help.lnk"] = "shortcut to " + plan.target + "\\QtvApp8Man.chm";
    if (plan.desktopIcon) state["<" + common + "Desktop>\\Qantivo 8.lnk"] = application;
    if (plan.autoStart) state["<" + common + "Startup>\\Qantivo 8.lnk"] = application;
    return state;
}

std::string Sz(const std::string& text) {
    return "REG_SZ \"" + text + "\"";
}

// A key with its values, and the keys between it and `parent`.
void AddKey(State& state, const std::string& parent, const std::string& key, const State& values) {
    for (std::size_t end = 0; (end = key.find('\\', end) + 1) != 0;)
        state[parent + key.substr(0, end)] = "key";
    for (const auto& [name, what] : values)
        state[parent + key + " : " + name] = what;
}

State Registry(const Plan& plan) {
    const std::string application = plan.target + "\\QtvApp8.exe";
    const std::string open = "\"" + application + "\" \"%1\"";
    const std::string software = "HKLM\\SOFTWARE\\";
    State state;
    AddKey(state, software, "Lorvanta\\Qantivo 8\\",
           {{"AllUsers", Sz(plan.allUsers ? "B" : "A")}, {"Path", Sz(plan.target)}});
    State extensions;
    for (const char* extension : {".bmp", ".dib", ".gif", ".jpg", ".jpeg", ".tif", ".tiff", ".png", ".cmp",
                                  ".tga", ".wpg", ".jp2", ".j2k", ".qvi"})
        extensions[extension] = Sz("Qantivo.8");
    AddKey(state, software, "Lorvanta\\Qantivo 8\\Capabilities\\FileAssociations\\", extensions);
    state[software + "RegisteredApplications\\ : Qantivo.8"] =
        Sz("SOFTWARE\\Lorvanta\\Qantivo 8\\Capabilities");
    AddKey(state, software + "Microsoft\\Windows\\CurrentVersion\\App Paths\\", "QtvApp8.exe\\",
           {{"(default)", Sz(application)}, {"Path", Sz(plan.target)}});
    AddKey(
        state, software + "Microsoft\\Windows\\CurrentVersion\\Uninstall\\", "Qantivo 8\\",
        {{"Contact", Sz("Support")},
         {"DisplayName", Sz("Qantivo 8")},
         {"DisplayVersion", Sz("8.05.02")},
         {"InstallLocation", Sz(plan.target)},
         {"MajorVersion", "REG_DWORD 8"},
         {"MinorVersion", "REG_DWORD 5"},
         {"Publisher", Sz("Lorvanta Technology LLC")},
         // Without quotes, a blank in the folder would start "C:\Program.exe" instead, if somebody put it there.
         {"UninstallString", Sz(plan.target + "\\QtvUnInst.exe")},
         {"URLInfoAbout", Sz("http://www.lorvanta.example/qantivo/")},
         {"VersionMajor", Sz("8")},
         {"VersionMinor", Sz("5")}});
    for (const auto& [parent, progId] :
         {std::pair{"Classes\\", "Qantivo.8\\"}, std::pair{"Classes\\Applications\\", "QtvApp8.exe\\"}})
        AddKey(state, software + parent, std::string(progId) + "shell\\open\\command\\",
               {{"(default)", Sz(open)}});
    return state;
}

// What the application and the thumbnail handler of the sample package register themselves.
State OwnRegistration(const Plan& plan) {
    State state;
    AddKey(state, "HKCU\\Software\\", "Lorvanta\\Qantivo 8\\",
           {{"Registered", "REG_DWORD 1"}, {"RegisteredPath", Sz(plan.target + "\\QtvApp8.exe")}});
    const std::string classes = "HKLM\\SOFTWARE\\Classes\\CLSID\\";
    const std::string handler = "{5E0C2B7A-8D41-4F69-9C3B-71A6D2E48F15}\\";
    AddKey(state, classes, handler, {{"(default)", Sz("Qantivo thumbnails")}});
    AddKey(state, classes, handler + "InprocServer32\\",
           {{"(default)", Sz(plan.target + "\\ThumbQvi32.dll")}, {"ThreadingModel", Sz("Apartment")}});
    return state;
}

}  // namespace

State PortableFiles(const std::string& target) {
    return With(InstalledFiles(target),
                {{target + "\\x64\\ThumbQvi64.dll", "= x64\\ThumbQvi64.dll"},
                 {target.substr(0, target.rfind('\\')) + "\\StartQV8.exe", "= StartQV8.exe"}});
}

State Installed(const Plan& plan) {
    State state = InstalledFiles(plan.target);
    for (const State& part : {Shortcuts(plan), Registry(plan), OwnRegistration(plan)})
        state = With(std::move(state), part);
    return state;
}

State With(State base, const State& more) {
    for (const auto& [name, what] : more)
        base[name] = what;
    std::erase_if(base, [](const auto& item) { return item.second.empty(); });
    return base;
}

::testing::AssertionResult Same(const State& expected, const State& actual) {
    std::string difference;
    for (const auto& [kind, name, wanted, found] : lab::Differences(expected, actual))
        if (kind != '*' || wanted != "the log")
            difference += "\n" + name + "\n    expected: " + wanted + "\n    found:    " + found;
    if (difference.empty()) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << difference;
}

RunningProgram StartCopy(const Text& folder, LPCWSTR option) {
    RunningProgram copy(TEXT("\"") + folder + TEXT("\\QtvApp8.exe\"") + option);
    Await("the application's window",
          [&] { return COXInstanceManager::FindInstanceWindow(copy.Id()) != nullptr; });
    return copy;
}

Text Where(std::string name) {
    for (const auto& [path, neutral] : lab::Names())
        name = tools::Replaced(std::move(name), neutral, path);
    return Wide(name);
}
