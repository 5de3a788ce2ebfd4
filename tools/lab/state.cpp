#include <shlobj.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "common/text.h"
#include "lab/lab.h"
#include "run/product.h"
#include "support/handles.h"

namespace lab {

namespace {

using tools::Hex;
using tools::Shown;
using tools::Utf8;
using tools::WideText;

constexpr DWORD kBytesRead = 1 << 16;

// The application counts its starts, so a second run adds one.
constexpr char kStarts[] = "HKCU\\Software\\Lorvanta\\Qantivo 8\\ : Starts";
constexpr char kProductLog[] = "C:\\Program Files\\Qantivo 8\\QtvUnInst.log";

constexpr char kMachineKeys[] = "HKLM\\";
// More levels have so many keys that it takes longer to watch them than to read them.
constexpr int kWatchedLevels = 5;

[[noreturn]] void CantRead(const std::string& what, DWORD error) {
    throw std::runtime_error(what + " can't be read: error " + std::to_string(error));
}

// Under Windows, the programs of the system are hundreds of megabytes, so they count by name and size.
bool CountsBySize(const WideText& path) {
    const auto liesIn = [&](const WideText& folder) {
        return _wcsnicmp(path.c_str(), folder.c_str(), folder.size()) == 0;
    };
    const WideText windows = TEXT("C:\\Windows\\");
    return !kIsEmbedded && liesIn(windows) && !liesIn(TEXT("C:\\Windows\\Temp\\")) &&
           path.find('\\', windows.size()) != path.npos;
}

std::string Attributes(DWORD attributes) {
    std::string what;
    if (attributes & FILE_ATTRIBUTE_READONLY) what += 'R';
    if (attributes & FILE_ATTRIBUTE_HIDDEN) what += 'H';
    if (attributes & FILE_ATTRIBUTE_SYSTEM) what += 'S';
    return what.empty() ? what : what + ' ';
}

std::string ContentWhat(const WideText& path) {
    const KernelHandle file(CreateFileW(path.c_str(), GENERIC_READ,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                        OPEN_EXISTING, 0, nullptr));
    if (file.get() == INVALID_HANDLE_VALUE) {
        if (GetLastError() == ERROR_SHARING_VIOLATION) return "held";
        CantRead(Utf8(path), GetLastError());
    }
    // It detects changes, not attacks.
    std::uint64_t digest = 0, size = 0;
    static std::vector<char> bytes(kBytesRead);
    DWORD cbRead = 0;
    do {
        if (!ReadFile(file.get(), bytes.data(), kBytesRead, &cbRead, nullptr))
            CantRead(Utf8(path), GetLastError());
        digest = digest * 31 + std::hash<std::string_view>()({bytes.data(), cbRead});
        size += cbRead;
    } while (cbRead > 0);
    return std::to_string(size) + " bytes " + Hex(digest, 16);
}

std::string FileWhat(const WideText& path, const WIN32_FIND_DATAW& found) {
    const std::uint64_t size = std::uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow;
    return "file " + Attributes(found.dwFileAttributes) +
           (CountsBySize(path) ? std::to_string(size) + " bytes" : ContentWhat(path));
}

// What the link contains; empty if the shell can't read the file as a shortcut.
std::string ShortcutWhat(const WideText& path) {
    IShellLinkW* link = nullptr;
    if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                reinterpret_cast<void**>(&link))))
        return {};
    std::string what;
    IPersistFile* file = nullptr;
    if (SUCCEEDED(link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file)))) {
        WCHAR target[MAX_PATH] = {}, text[MAX_PATH] = {};
        int showCommand = 0;
        if (SUCCEEDED(file->Load(path.c_str(), 0)) &&
            SUCCEEDED(link->GetPath(target, MAX_PATH, nullptr, SLGP_RAWPATH))) {
            what = "shortcut to " + Utf8(target);
            if (SUCCEEDED(link->GetWorkingDirectory(text, MAX_PATH)) && text[0]) what += " in " + Utf8(text);
            if (SUCCEEDED(link->GetArguments(text, MAX_PATH)) && text[0]) what += " with " + Utf8(text);
            if (SUCCEEDED(link->GetDescription(text, MAX_PATH)) && text[0]) what += " as " + Utf8(text);
            if (SUCCEEDED(link->GetShowCmd(&showCommand)) && showCommand != SW_SHOWNORMAL)
                what += " shown " + std::to_string(showCommand);
        }
        file->Release();
    }
    link->Release();
    return what;
}

void TakeFolder(State& state, const WideText& folder) {
    WIN32_FIND_DATAW data;
    const FindHandle find(FindFirstFileW((folder + TEXT("*")).c_str(), &data));
    if (!find) {
        // The root of an empty drive has no entry at all.
        if (GetLastError() == ERROR_FILE_NOT_FOUND) return;
        CantRead(Utf8(folder), GetLastError());
    }
    do {
        if (wcscmp(data.cFileName, TEXT(".")) == 0 || wcscmp(data.cFileName, TEXT("..")) == 0) continue;
        const WideText path = folder + data.cFileName;
        if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
            if (IsLeftOut(Utf8(path) + "\\")) continue;
            const std::string attributes = Attributes(data.dwFileAttributes);
            state[Utf8(path) + "\\"] = attributes.empty() ? "folder" : "folder " + attributes;
            TakeFolder(state, path + TEXT("\\"));
            continue;
        }
        if (IsLeftOut(Utf8(path))) continue;
        const LPCWSTR extension = path.c_str() + std::min(path.rfind('.'), path.size());
        const std::string link = _wcsicmp(extension, TEXT(".lnk")) == 0 ? ShortcutWhat(path) : "";
        state[Utf8(path)] = link.empty() ? FileWhat(path, data) : link;
    } while (FindNextFileW(find.get(), &data));
    if (GetLastError() != ERROR_NO_MORE_FILES) CantRead(Utf8(folder), GetLastError());
}

std::string ValueWhat(DWORD type, const std::vector<BYTE>& data) {
    if (type == REG_SZ || type == REG_EXPAND_SZ) {
        WideText text(data.size() / sizeof(WCHAR), WCHAR{0});
        std::memcpy(text.data(), data.data(), text.size() * sizeof(WCHAR));
        text.erase(text.find_last_not_of(WCHAR{0}) + 1);
        return (type == REG_SZ ? "REG_SZ \"" : "REG_EXPAND_SZ \"") + Shown(Utf8(text)) + "\"";
    }
    DWORD number = 0;
    if (type == REG_DWORD && data.size() == sizeof number) {
        std::memcpy(&number, data.data(), sizeof number);
        return "REG_DWORD " + std::to_string(number);
    }
    std::string what = "type " + std::to_string(type);
    for (const BYTE byte : data)
        what += " " + Hex(byte, 2);
    return what;
}

void TakeValues(State& state, HKEY key, const std::string& name) {
    static constexpr DWORD kNameChars = 16384;
    // Made once: to make them for each key takes as long as to read it.
    static std::vector<WCHAR> valueName(kNameChars);
    static std::vector<BYTE> data(1 << 16);
    for (DWORD index = 0;;) {
        DWORD cchName = kNameChars;
        DWORD cbData = static_cast<DWORD>(data.size());
        DWORD type = 0;
        const LSTATUS status =
            RegEnumValueW(key, index, valueName.data(), &cchName, nullptr, &type, data.data(), &cbData);
        if (status == ERROR_NO_MORE_ITEMS) return;
        if (status == ERROR_MORE_DATA) {
            data.resize(2 * data.size());
            continue;
        }
        if (status != ERROR_SUCCESS) CantRead(name, static_cast<DWORD>(status));
        const std::string item = name + " : " + (cchName ? Shown(Utf8(valueName.data())) : "(default)");
        if (!IsLeftOut(item))
            state[item] = ValueWhat(type, {data.begin(), data.begin() + static_cast<std::ptrdiff_t>(cbData)});
        ++index;
    }
}

// Wine writes HKLM\Software, and Windows HKLM\SOFTWARE.
WideText Upper(WideText name) {
    for (WCHAR& character : name)
        if (character >= 'a' && character <= 'z') character = static_cast<WCHAR>(character - 'a' + 'A');
    return name;
}

void TakeKey(State& state, HKEY parent, LPCWSTR subName, const std::string& name) {
    if (IsLeftOut(name)) return;
    HKEY key = nullptr;
    LSTATUS status = RegOpenKeyExW(parent, subName, 0, KEY_READ, &key);
    const RegistryKey owner(key);
    if (status == ERROR_FILE_NOT_FOUND) {
        state[name] = "link to a missing key";
        return;
    }
    if (status != ERROR_SUCCESS) CantRead(name, static_cast<DWORD>(status));
    static std::map<std::string, State> read;
    const bool isWatched = std::count(name.begin(), name.end(), '\\') <= kWatchedLevels;
    if (isWatched && IsUnchanged(key, name) && read.contains(name)) {
        state.merge(State(read[name]));
        return;
    }
    read.erase(name);
    state[name] = "key";
    TakeValues(state, key, name);
    WCHAR below[512];
    for (DWORD index = 0; (status = RegEnumKeyW(key, index, below, 512)) == ERROR_SUCCESS; ++index)
        TakeKey(state, key, below, name + Shown(Utf8(name == kMachineKeys ? Upper(below) : below)) + "\\");
    if (status != ERROR_NO_MORE_ITEMS) CantRead(name, static_cast<DWORD>(status));
    if (isWatched) {
        const auto isBelow = [&](const auto& item) { return item.first.starts_with(name); };
        const auto first = state.lower_bound(name);
        read[name] = State(first, std::find_if_not(first, state.end(), isBelow));
    }
}

void TakeMarks(State& state) {
    int number = 0;
    for (const auto& [source, target] : Marks()) {
        const std::string count = std::to_string(++number);
        state["mark " + std::string(3 - std::min<std::size_t>(3, count.size()), '0') + count] =
            target.empty() ? "delete " + Utf8(source) : "move " + Utf8(source) + " to " + Utf8(target);
    }
}

// The list of running copies. It must end with the last process that uses it.
void TakeSharedMemory(State& state) {
    const WideText name = TEXT("Local\\COXInstanceManager_FileMap_") + WideText(kInstanceListName);
    const KernelHandle mapping(OpenFileMappingW(FILE_MAP_READ, FALSE, name.c_str()));
    if (mapping) state["shared memory " + Utf8(name)] = "there";
}

bool IsOthers(const State::value_type& item) {
    const auto& [name, what] = item;
    if (name.starts_with("shared memory ")) return false;
    return !IsTouched(name.starts_with("mark ") ? what.substr(what.find(' ') + 1) : name);
}

// Renames a mark by what it does.
void AddMark(State& state, const std::string& name, const std::string& what) {
    std::string& places = state["mark: " + Neutral(what)];
    places += (places.empty() ? "" : " ") + name.substr(name.size() - 3);
}

// The log is the manifest, an empty line, and a record for each thing made outside the folder.
void AddLog(State& state, const std::string& name) {
    const std::string text = "\n" + tools::ReadWhole(tools::Wide(name)).value_or("");
    const std::size_t end = std::min(text.find("\n\r"), text.size() - 1) + 1;
    state[name] = "a log of manifest " + std::to_string(std::hash<std::string>()(text.substr(0, end)));
    std::istringstream lines(text.substr(std::min(end + 2, text.size())));
    std::map<std::string, int> records;
    for (std::string line; std::getline(lines, line);)
        ++records[Neutral(line.substr(0, line.find('\r')))];
    for (const auto& [record, count] : records)
        state["log: " + record] = count == 1 ? "once" : std::to_string(count) + " times";
}

}  // namespace

State Take() {
    State state;
    // The shell reads shortcuts through COM. If the caller uses COM already, this only counts one more use.
    (void)CoInitialize(nullptr);
    for (const WideText drive : {TEXT("C:\\"), TEXT("D:\\")})
        if (GetFileAttributesW(drive.c_str()) != INVALID_FILE_ATTRIBUTES) TakeFolder(state, drive);
    TakeKey(state, HKEY_LOCAL_MACHINE, nullptr, kMachineKeys);
    TakeKey(state, HKEY_USERS, nullptr, "HKU\\");
    TakeMarks(state);
    TakeSharedMemory(state);
    if (IsSomebodys()) std::erase_if(state, IsOthers);
    return state;
}

State Look() {
    State state;
    for (const auto& [name, what] : Take()) {
        if (name.starts_with("mark "))
            AddMark(state, name, what);
        else if (name == kProductLog)
            AddLog(state, name);
        else if (const std::string item = Neutral(name); item != kStarts)
            state[item] = Neutral(what);
    }
    return state;
}

std::vector<Mark> Marks() {
    HKEY opened = nullptr;
    DWORD cbData = 0;
    const LPCWSTR value = TEXT("PendingFileRenameOperations");
    LSTATUS status =
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, TEXT("SYSTEM\\CurrentControlSet\\Control\\Session Manager"), 0,
                      KEY_READ, &opened);
    const RegistryKey key(opened);
    if (status == ERROR_SUCCESS) status = RegQueryValueExW(opened, value, nullptr, nullptr, nullptr, &cbData);
    if (status == ERROR_FILE_NOT_FOUND) return {};
    WideText data(cbData / sizeof(WCHAR), 0);
    if (status == ERROR_SUCCESS)
        status =
            RegQueryValueExW(opened, value, nullptr, nullptr, reinterpret_cast<LPBYTE>(data.data()), &cbData);
    if (status != ERROR_SUCCESS) CantRead("the list of marks", static_cast<DWORD>(status));
    std::size_t at = 0;
    const auto next = [&] {
        WideText path = data.c_str() + std::min(at, data.size());
        at += path.size() + 1;
        if (const auto prefix = path.find(TEXT("\\??\\")); prefix <= 1) path.erase(prefix, 4);
        return path;
    };
    std::vector<Mark> marks;
    for (WideText source = next(); !source.empty(); source = next())
        marks.emplace_back(source, next());
    return marks;
}

std::vector<Change> Differences(const State& before, const State& after) {
    State all = before;
    all.insert(after.begin(), after.end());
    std::vector<Change> changes;
    for (const auto& item : all) {
        const auto in = [&](const State& state) {
            return state.contains(item.first) ? state.at(item.first) : "";
        };
        const std::string was = in(before), is = in(after);
        if (was != is) changes.push_back({was.empty() ? '+' : is.empty() ? '-' : '*', item.first, was, is});
    }
    return changes;
}

}  // namespace lab
