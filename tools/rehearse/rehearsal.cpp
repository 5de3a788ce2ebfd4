#include "rehearse/rehearsal.h"

#include <algorithm>
#include <map>
#include <sstream>

#include "common/text.h"
#include "rehearse/expected.h"
#include "rehearse/outcomes.h"
#include "common/copied_files.h"

namespace rehearse {

namespace {

using lab::Neutral;
using lab::State;

constexpr char kUninstallerName[] = "\\QtvUnInst.exe";
constexpr char kLogName[] = "\\QtvUnInst.log";
constexpr char kUninstallString[] =
    "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Qantivo 8\\ : UninstallString";

bool IsMark(const std::string& name) {
    return name.starts_with("mark ");
}

bool IsInPackage(const std::string& name) {
    return name.starts_with(kPackage) || name.starts_with(kEarlierPackage);
}

std::string FileName(const std::string& path) {
    return path.substr(path.rfind('\\') + 1);
}

std::string Quoted(const std::string& argument) {
    if (!argument.empty() && argument.find_first_of(" \t\"") == argument.npos) return argument;
    std::string out = "\"";
    std::size_t backslashes = 0;
    for (const char character : argument) {
        // A backslash is a plain character unless a quote follows.
        if (character == '"') out.append(backslashes + 1, '\\');
        backslashes = character == '\\' ? backslashes + 1 : 0;
        out += character;
    }
    return out.append(backslashes, '\\') + '"';
}

// The log is the manifest, an empty line, and a line for each thing made outside the folder.
struct Log {
    std::string what;
    std::vector<std::string> lines;
};
Log ReadLog(const std::string& path) {
    const std::string text = tools::ReadWhole(tools::Wide(path)).value_or("");
    std::string manifest;
    Log log;
    for (const auto& [folder, name] :
         {std::pair(kPackage, "the manifest"), std::pair(kEarlierPackage, "the earlier manifest")}) {
        const std::string other =
            tools::ReadWhole(tools::Wide(std::string(folder) + (kLogName + 1))).value_or("");
        if (other.size() <= manifest.size() || !text.starts_with(other)) continue;
        manifest = other;
        log.what = name;
    }
    if (manifest.empty()) return log;
    std::istringstream rest(text.substr(manifest.size()));
    for (std::string line; std::getline(rest, line);) {
        if (line.ends_with('\r')) line.pop_back();
        tools::WideText wide;
        for (const char byte : line)
            wide += static_cast<unsigned char>(byte);
        if (!wide.empty()) log.lines.push_back(Neutral(tools::Utf8(wide)));
    }
    const auto count = log.lines.size();
    if (count > 0) log.what += " and " + std::to_string(count) + (count == 1 ? " line more" : " lines more");
    return log;
}

bool ByName(const lab::Change& left, const lab::Change& right) {
    return left.name < right.name;
}

bool IsEarlier(const std::string& name) {
    return name.starts_with(kEarlierPackage);
}

// The files of the packages that have one content. The file of the same name counts first, because setup program and
// uninstaller have the same bytes, then that of the package.
class Origins {
  public:
    // The names come sorted: those of the earlier package first.
    void Add(const std::string& name) {
        for (const std::string& key : {FileName(name), std::string()})
            m_last[key] = name;
    }
    const std::string& For(const std::string& fileName) const {
        const auto same = m_last.find(fileName);
        return same == m_last.end() ? m_last.at({}) : same->second;
    }

  private:
    std::map<std::string, std::string> m_last;  // by the name of the file, and for any name
};

struct Hangs {};

class Stage {
  public:
    explicit Stage(const std::function<void(const Step&)>& seen) : m_seen(seen) {
        (void)Neutral({});  // makes the folders of the shell before the first snapshot
        m_before = m_last = Look();
        for (const auto& [name, what] : m_before)
            if (IsInPackage(name)) m_origins[what].Add(name);
    }

    bool Has(const std::string& name) const { return m_last.contains(name); }

    // Starts the program, which is that of the package or one that carries it.
    void Install(const char* name, const std::string& folder, const std::string& program,
                 const std::vector<std::string>& options) {
        std::string command = Quoted(program);
        for (const std::string& option : options)
            command += " " + Quoted(option);
        Run({name, command, {}, {}, {}, {}, {}}, tools::FolderOf(program));
        const bool isPortable = std::find(options.begin(), options.end(), "-instport") != options.end();
        for (const std::string& uninstaller : Uninstallers())
            for (const std::string& what :
                 WronglyInstalled(m_last, folder, tools::FolderOf(uninstaller), isPortable))
                m_rehearsal.faults.push_back({name, Neutral(what)});
    }

    // Returns the programs that Windows' list of programs would start. An installation that is not in the list is found
    // by its program.
    std::vector<std::string> Uninstallers() const {
        if (const auto listed = m_last.find(kUninstallString); listed != m_last.end()) {
            std::string path = listed->second.substr(listed->second.find('"') + 1);
            path = path.substr(0, path.rfind('"'));
            if (Has(path)) return {path};
        }
        std::vector<std::string> found;
        for (const auto& [name, what] : m_last)
            if (name.ends_with(kUninstallerName) && !IsInPackage(name)) found.push_back(name);
        return found;
    }

    std::vector<Installation> Installations() const {
        std::vector<Installation> installations;
        for (const std::string& uninstaller : Uninstallers())
            installations.emplace_back(uninstaller, m_last);
        return installations;
    }

    void Uninstall() {
        const auto uninstallers = Uninstallers();
        for (const std::string& path : uninstallers)
            Run({"uninstall", "\"" + path + "\"", {}, {}, {}, {}, {}},
                path.substr(0, path.size() + 1 - sizeof kUninstallerName), true);
        if (!uninstallers.empty()) return;
        Step step;
        step.name = "uninstall";
        step.outcome.messages.push_back(
            {"", "the machine has no uninstaller of the product", "nothing to run"});
        Finish(step, true);
    }

    void NextStart() {
        const bool restarted = lab::Restart();
        Step step;
        step.name = "restart";
        Finish(step, false);
        if (!restarted) throw Hangs();
    }

    Rehearsal End(const std::vector<Installation>& installations) {
        m_rehearsal.left = Judge(lab::Differences(m_before, m_last), installations);
        for (Leftover& left : m_rehearsal.left)
            left.change = Described(left.change);
        std::sort(
            m_rehearsal.left.begin(), m_rehearsal.left.end(),
            [](const Leftover& left, const Leftover& right) { return ByName(left.change, right.change); });
        return std::move(m_rehearsal);
    }

    Rehearsal Unfinished() {
        m_rehearsal.finished = false;
        return std::move(m_rehearsal);
    }

  private:
    static State Look() {
        State now = lab::Take();
        for (auto& [name, what] : now) {
            if (!name.ends_with(kLogName) || IsInPackage(name)) continue;
            if (const std::string log = ReadLog(name).what; !log.empty()) what = log;
        }
        return now;
    }

    void Run(Step step, const std::string& folder, bool isUninstall = false) {
        step.outcome = lab::Run(step.command, {.folder = folder});
        std::move(step.outcome.pages.begin(), step.outcome.pages.end(),
                  std::back_inserter(step.outcome.programs));
        for (std::string& program : step.outcome.programs)
            program = Neutral(program);
        Finish(step, isUninstall);
        if (step.outcome.end == lab::End::Late) throw Hangs();
    }

    void Finish(Step& step, bool isUninstall) {
        const State now = Look();
        step.changes = Differences(m_last, now);
        if (isUninstall) step.remains = Differences(m_before, now);
        for (const auto& [name, what] : now)
            if (IsMark(name)) step.marks.push_back(Neutral(what));
        for (const auto& [name, what] : now)
            if (name.ends_with(kLogName) && !IsInPackage(name) &&
                !(m_last.contains(name) && m_last[name] == what))
                step.logLines = ReadLog(name).lines;
        m_last = now;
        for (const std::string& what : FaultsOf(step.outcome, !step.command.empty()))
            m_rehearsal.faults.push_back({step.name, what});
        m_seen(step);
        m_rehearsal.steps.push_back(step);
    }

    Changes Differences(const State& before, const State& after) const {
        Changes changes;
        for (const auto& change : lab::Differences(before, after))
            if (!IsMark(change.name)) changes.push_back(Described(change));
        std::sort(changes.begin(), changes.end(), ByName);
        return changes;
    }

    lab::Change Described(const lab::Change& change) const {
        const auto describe = [&](const std::string& what) {
            return what.starts_with("file ") ? DescribedFile(change.name, what) : Neutral(what);
        };
        return {change.kind, Neutral(change.name), describe(change.before), describe(change.after)};
    }

    std::string DescribedFile(const std::string& name, const std::string& what) const {
        const auto origins = m_origins.find(what);
        if (origins == m_origins.end()) {
            const auto digest = what.find(" bytes ");
            const std::string kind = "file ";
            return what.substr(kind.size(), digest == what.npos ? digest : digest + 6 - kind.size());
        }
        const std::string& origin = origins->second.For(FileName(name));
        const bool isEarlier = IsEarlier(origin);
        const std::string package = isEarlier ? "the earlier package" : "the package";
        if (FileName(origin) == FileName(name)) return "as in " + package;
        const std::string folder = isEarlier ? kEarlierPackage : kPackage;
        return origin.substr(folder.size()) + " of " + package;
    }

    const std::function<void(const Step&)>& m_seen;
    State m_before;
    State m_last;
    std::map<std::string, Origins> m_origins;  // by the content
    Rehearsal m_rehearsal;
};

}  // namespace

int Rehearsal::ExitCode() const {
    if (!finished) return 2;
    return !faults.empty() ||
           std::any_of(left.begin(), left.end(), [](const Leftover& item) { return item.reason.empty(); });
}

Rehearsal Rehearse(const std::vector<std::string>& options, const std::function<void(const Step&)>& seen) {
    Stage stage(seen);
    const std::string setup = "setup.exe";
    try {
        if (stage.Has(kEarlierPackage))
            stage.Install("setup of the earlier package", kEarlierPackage, kEarlierPackage + setup, options);
        if (stage.Has(kUpdate))
            stage.Install("update", kPackage, kUpdate, options);
        else
            stage.Install("setup", kPackage, kPackage + setup, options);
        const std::vector<Installation> installations = stage.Installations();
        stage.Uninstall();
        stage.NextStart();
        return stage.End(installations);
    } catch (const Hangs&) {
        return stage.Unfinished();
    }
}

}  // namespace rehearse
