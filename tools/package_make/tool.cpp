#include "package_make/tool.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <map>
#include <random>
#include <string_view>

#include "common/help.h"
#include "common/plain_files.h"
#include "engine/file_steps.h"
#include "install/file_version.h"
#include "package_check/package_check.h"
#include "package_check/recipe_lines.h"
#include "package_make/agreement.h"
#include "package_make/installed.h"
#include "package_make/manifest_text.h"
#include "package_make/recipe.h"
#include "run/product.h"
#include "run/run_values.h"

namespace fs = std::filesystem;

namespace package_make {

namespace {

volatile std::sig_atomic_t stopped = 0;

void Stop(int signal) {
    stopped = signal;
}

// The package while it is made, in a new folder next to its final place. The destructor removes what wasn't put
// there.
class NewPackage {
  public:
    explicit NewPackage(const fs::path& place) : m_place(place) {
        if (fs::exists(fs::symlink_status(place)) && !(fs::is_directory(place) && fs::is_empty(place)))
            throw BadInput(Shown(place) + " is there already and is not an empty folder");
        std::random_device random;
        std::error_code error;
        do {
            m_folder = place;
            m_folder += "." + tools::Hex(random(), 8) + ".unfinished";
        } while (!fs::create_directory(m_folder, error) && !error);
        if (error) throw BadInput(Shown(m_folder) + " can't be made: " + error.message());
    }
    ~NewPackage() {
        std::error_code error;
        fs::remove_all(m_folder, error);
    }
    NewPackage(const NewPackage&) = delete;
    NewPackage& operator=(const NewPackage&) = delete;

    const fs::path& Folder() const { return m_folder; }

    void Copy(const fs::path& from, const fs::path& name) const {
        if (stopped) throw BadInput("stopped; nothing was made");
        const fs::path target = m_folder / name;
        std::error_code error;
        fs::copy_file(from, target, error);
        if (error) throw BadInput(Shown(from) + " can't be copied: " + error.message());
        // The time of a file shows which build it comes from.
        fs::last_write_time(target, fs::last_write_time(from, error), error);
    }

    void Write(const fs::path& name, const std::string& bytes) const {
        std::ofstream file(m_folder / name, std::ios::binary);
        file << bytes;
        file.close();
        if (!file) throw BadInput(Shown(m_folder / name) + " can't be written");
    }

    void PutInPlace() {
        if (stopped) throw BadInput("stopped; nothing was made");
        std::error_code error;
        fs::remove(m_place, error);
        fs::rename(m_folder, m_place, error);
        if (error) throw BadInput(Shown(m_place) + " can't be made: " + error.message());
    }

  private:
    const fs::path m_place;
    fs::path m_folder;
};

enum class Kind { Windows, Host, Other };
Kind KindOf(const fs::path& program) {
    char start[4] = {};
    std::ifstream(program, std::ios::binary).read(start, sizeof start);
    const std::string_view bytes(start, sizeof start);
    return bytes.starts_with("MZ") ? Kind::Windows
           : bytes ==
                   "\x7F"
                   "ELF"
               ? Kind::Host
               : Kind::Other;
}

const Entry* FileNamed(const std::vector<Entry>& entries, LPCWSTR name) {
    for (const Entry& entry : entries)
        if (!entry.isFolder && entry.name.CompareNoCase(name) == 0) return &entry;
    return nullptr;
}

std::array<DWORD, 4> VersionOf(const CString& program) {
    ReadFileVersion(program);
    return {g_version.major, g_version.minor, g_version.release, g_version.build};
}

std::string Text(const std::array<DWORD, 4>& version) {
    std::string text;
    for (const DWORD number : version)
        text += (text.empty() ? "" : ".") + std::to_string(number);
    return text;
}

// Setup and package managers take a package for an update only if its version is higher.
void CheckVersion(const Request& request, const CString& application, const CString& earlier) {
    const auto before = VersionOf(WithSeparator(earlier) + kApplicationFile), now = VersionOf(application);
    if (now <= before && !request.sameVersion)
        throw BadInput("its version " + Text(now) + " is not higher than " + Text(before) + ", that of " +
                       Shown(request.earlier) + "; --same-version takes it nevertheless");
}

void CheckPrograms(const Request& request, const std::vector<Entry>& entries, const CString& reached) {
    const Entry* application = FileNamed(entries, kApplicationFile);
    if (!application)
        throw BadInput(Shown(request.folder) + " has no QtvApp8.exe: there is no application to install");
    if (VersionOf(reached)[0] == 0)
        throw BadInput(
            Shown(application->path) +
            ": its version can't be read, or its first number is 0; setup would call its files damaged");
    const Kind kind = KindOf(request.setup);
    if (kind == Kind::Other)
        throw BadInput(Shown(request.setup) + " is no program; --setup FILE names the setup program");
    if (const Kind other = KindOf(application->path); other != Kind::Other && other != kind)
        throw BadInput(Shown(request.setup) + " and " + Shown(application->path) +
                       " are programs of different systems; --setup FILE names the setup program");
}

void CopyFiles(const NewPackage& package, const std::vector<Entry>& entries, const Request& request) {
    for (const Entry& entry : entries)
        if (entry.isFolder)
            fs::create_directories(package.Folder() / entry.path.lexically_relative(request.folder));
    for (const Entry& entry : entries)
        if (!entry.isFolder) package.Copy(entry.path, entry.path.lexically_relative(request.folder));
    for (const char* name : {"setup.exe", "QtvUnInst.exe"})
        package.Copy(request.setup, name);
}

std::string Bytes(const std::vector<CString>& lines) {
    std::string bytes;
    for (const CString& line : lines) {
        for (const WCHAR character : line.Text())
            bytes += static_cast<char>(character);
        bytes += "\r\n";
    }
    return bytes;
}

Installed ReadEarlier(const fs::path& folder, const CString& package) {
    std::vector<package_check::Finding> findings;
    std::vector<CString> lines;
    if (!package_check::ReadLines(WithSeparator(package) + kLogFile, lines))
        throw BadInput(Shown(folder) + " is no package: its QtvUnInst.log can't be read");
    return ReadInstalled(package_check::PackageFiles(package, findings), lines);
}

// Returns the bytes that setup shows. None without an agreement, and if the file has them already.
std::optional<std::string> ReadAgreement(const std::vector<Entry>& entries, const Reach& reach) {
    const Entry* const entry = FileNamed(entries, kAgreement);
    if (!entry) return std::nullopt;
    const auto bytes = tools::ReadWhole(reach(entry->path, "agreement.txt").Text());
    if (!bytes) throw BadInput(Shown(entry->path) + " can't be read");
    auto agreement = AgreementFor(*bytes);
    if (!agreement) throw BadInput(Shown(entry->path) + " is neither UTF-8 nor UTF-16");
    return *agreement == *bytes ? std::nullopt : agreement;
}

std::string Name(const fs::path& path) {
    const std::u8string bytes = path.u8string();
    return {bytes.begin(), bytes.end()};
}

// Returns the folder as a record names it.
CString RecordName(const fs::path& folder) {
    CString name = OneByteText(folder.has_filename() ? folder : folder.parent_path()).value_or(CString());
    name.Replace('/', '\\');
    return name;
}

void CheckPlaces(const Request& request) {
    if (!fs::is_directory(request.folder)) throw BadInput(Shown(request.folder) + " is no folder");
    if (!fs::is_directory(request.package.parent_path()))
        throw BadInput(Shown(request.package.parent_path()) + ", where the package is to be, is no folder");
    if (const auto inside =
            fs::weakly_canonical(request.package).lexically_relative(fs::canonical(request.folder));
        !inside.empty() && *inside.begin() != "..")
        throw BadInput(Shown(request.package) + " lies in the folder of the files");
    for (const fs::path& file : {request.recipe, request.setup})
        tools::RequirePlainFile(file);
    tools::RequirePlainFiles(request.earlier);
}

// All that is read before anything is made.
struct Sources {
    ManifestInput input;
    std::optional<Installed> earlier;
    std::optional<std::string> agreement;  // if it isn't in the encoding that setup shows
};
Sources ReadSources(const Request& request, const Reach& reach) {
    Sources sources;
    ManifestInput& input = sources.input;
    input.entries = ReadSourceFolder(request.folder);
    for (const fs::path& folder : request.own)
        input.own.push_back(RecordName(folder));
    if (!request.recipe.empty())
        input.recipe = ReadRecipe(reach(request.recipe, "recipe"), Shown(request.recipe));
    const Entry* const application = FileNamed(input.entries, kApplicationFile);
    const CString reached = application ? reach(application->path, "QtvApp8.exe") : CString();
    CheckPrograms(request, input.entries, reached);
    if (!request.earlier.empty()) {
        const CString place = reach(request.earlier, "Earlier");
        sources.earlier = ReadEarlier(request.earlier, place);
        CheckVersion(request, reached, place);
    }
    sources.agreement = ReadAgreement(input.entries, reach);
    return sources;
}

void PrintResult(const Request& request, const std::vector<package_check::Finding>& findings,
                 const Update& update, const std::string& size) {
    std::string text = package_check::ToText(findings, Name(request.package));
    for (const std::string& sentence : update.stays)
        text += "after an update stays " + sentence + "\n";
    text += Name(request.package) + ": " + size + "\n";
    (void)std::fwrite(text.data(), 1, text.size(), stdout);
}

int Make(const Request& request, const Reach& reach) {
    CheckPlaces(request);
    const Sources sources = ReadSources(request, reach);
    const ManifestInput& input = sources.input;

    NewPackage package(request.package);
    CopyFiles(package, input.entries, request);
    if (sources.agreement)
        package.Write(FileNamed(input.entries, kAgreement)->path.filename(), *sources.agreement);
    const CString folder = reach(package.Folder(), "Package");
    std::vector<package_check::Finding> findings;
    const package_check::PackageFiles files(folder, findings);
    std::vector<CString> lines = DeriveManifest(input, folder, files);
    Update update;
    if (sources.earlier) update = UpdateFrom(*sources.earlier, ReadInstalled(files, lines), request.makeDirs);
    lines.insert(lines.end(), update.records.begin(), update.records.end());
    package.Write("QtvUnInst.log", Bytes(lines));
    findings = package_check::CheckPackage(folder);
    package_check::NameRecipe(findings, lines, input.recipe, Name(request.recipe));
    package.PutInPlace();

    PrintResult(request, findings, update,
                std::to_string(input.entries.size()) + " files and folders, " + std::to_string(lines.size()) +
                    " lines");
    return package_check::ExitCode(findings);
}

// Reads the options into the request and all other arguments into `places`. Returns whether they are right.
bool ReadOptions(const std::vector<fs::path>& arguments, Request& request, std::vector<fs::path>& places) {
    const std::map<fs::path, fs::path*> values = {
        {"--recipe", &request.recipe}, {"--earlier", &request.earlier}, {"--setup", &request.setup}};
    const std::map<fs::path, bool*> flags = {{"--same-version", &request.sameVersion},
                                             {"--make-dirs", &request.makeDirs}};
    const auto isValue = [&](std::size_t at) {
        return at < arguments.size() && !arguments[at].empty() && *arguments[at].u8string().begin() != u8'-';
    };
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const auto flag = flags.find(arguments[i]);
        const auto value = values.find(arguments[i]);
        const bool isOwn = arguments[i] == "--own";
        if (flag != flags.end()) {
            *flag->second = true;
            continue;
        }
        if (value != values.end() || isOwn) ++i;
        if (!isValue(i)) return false;
        if (value != values.end())
            *value->second = fs::absolute(arguments[i]);
        else
            (isOwn ? request.own : places).push_back(arguments[i]);
    }
    return true;
}

}  // namespace

std::optional<Request> ReadArguments(const std::vector<fs::path>& arguments, const fs::path& setup) {
    Request request;
    request.setup = setup;
    std::vector<fs::path> places;
    if (!ReadOptions(arguments, request, places) || places.size() != 2) {
        tools::PrintUsage(kHelp);
        return std::nullopt;
    }
    const auto plain = [](const fs::path& place) {
        const fs::path path = fs::absolute(place).lexically_normal();
        return path.has_filename() ? path : path.parent_path();
    };
    request.folder = plain(places[0]);
    request.package = plain(places[1]);
    return request;
}

int RunTool(const Request& request, const Reach& reach) {
    for (const int signal : {SIGINT, SIGTERM})
        (void)std::signal(signal, Stop);
    try {
        return Make(request, reach);
    } catch (const std::exception& error) {
        const std::string text = error.what();
        for (std::size_t at = 0, end; at < text.size(); at = end + 1) {
            end = std::min(text.find('\n', at), text.size());
            std::fprintf(stderr, "package_make: %s\n", text.substr(at, end - at).c_str());
        }
        return kMisused;
    }
}

}  // namespace package_make
