// The marks for the machine's next start: delayed moves and deletes.
#include "files/boot.h"

#include "core/bytes.h"
#include "core/machine_lock.h"
#include "core/text.h"
#include "files/paths.h"
#include "registry/registry_store.h"

namespace winhost {

namespace {

// Where Windows stores them: pairs of source and target, as paths of its object names. An empty target means a delete. A "!"
// before the target means that the move may replace an existing file.
constexpr char16_t kKey[] = u"SYSTEM\\CurrentControlSet\\Control\\Session Manager";
constexpr char16_t kValue[] = u"PendingFileRenameOperations";
constexpr std::u16string_view kObjectPrefix = u"\\??\\";
constexpr char16_t kReplaces = u'!';
void AppendText(std::string& bytes, std::u16string_view text) {
    for (const char16_t unit : std::u16string(text) + u'\0') {
        bytes += static_cast<char>(unit);
        bytes += static_cast<char>(unit >> 8);
    }
}

// Returns the bytes of the list without the empty text that ends it. None when the value is no list; then it takes no marks.
std::optional<std::string> StoredMarks() {
    const std::optional<MachineValue> value = ReadMachineValue(kKey, kValue);
    if (!value) return std::string();
    if (value->type != REG_MULTI_SZ) return std::nullopt;
    return value->bytes.substr(0, std::max<std::size_t>(value->bytes.size(), 2) - 2);
}

std::vector<std::u16string> Texts(std::string_view bytes) {
    std::vector<std::u16string> texts(1);
    for (const char16_t unit : Units(bytes)) {
        if (unit == 0)
            texts.emplace_back();
        else
            texts.back() += unit;
    }
    texts.pop_back();
    return texts;
}

std::u16string WithoutPrefix(std::u16string_view path) {
    return std::u16string(path.starts_with(kObjectPrefix) ? path.substr(kObjectPrefix.size()) : path);
}

// Returns the path as a name of the system's objects. Empty, with the last error set, when there is none.
std::u16string MarkedPath(LPCWSTR path) {
    std::u16string full = FullPath(path);
    if (full.size() >= MAX_PATH) {
        SetLastError(ERROR_PATH_NOT_FOUND);
        return {};
    }
    constexpr std::u16string_view kDevice = u"\\\\.\\";
    if (full.starts_with(kDevice)) full.erase(0, kDevice.size());
    if (full.starts_with(u"\\\\")) full.replace(0, 2, u"UNC\\");
    return full.empty() ? full : std::u16string(kObjectPrefix) + full;
}

}  // namespace

bool AddBootMark(LPCWSTR source, LPCWSTR target, bool replace) {
    const std::u16string from = MarkedPath(source);
    const std::u16string to = target ? MarkedPath(target) : std::u16string();
    if (from.empty() || (target && to.empty())) return false;
    const MachineLock lock("boot-marks");
    std::optional<std::string> stored = StoredMarks();
    if (!stored) {
        SetLastError(ERROR_INVALID_DATA);
        return false;
    }
    std::string& bytes = *stored;
    AppendText(bytes, from);
    const std::u16string mark = replace ? std::u16string(1, kReplaces) : std::u16string();
    AppendText(bytes, to.empty() ? to : mark + to);
    AppendText(bytes, u"");
    const DWORD error = WriteMachineValue(kKey, kValue, REG_MULTI_SZ, bytes);
    if (error) SetLastError(error);
    return error == 0;
}

std::vector<BootMark> BootMarks() {
    const std::vector<std::u16string> texts = Texts(StoredMarks().value_or(std::string()));
    std::vector<BootMark> marks;
    for (std::size_t i = 0; i + 1 < texts.size(); i += 2) {
        BootMark& mark = marks.emplace_back();
        mark.source = WithoutPrefix(texts[i]);
        const std::u16string_view target = texts[i + 1];
        mark.replace = target.starts_with(kReplaces);
        if (!target.empty()) mark.target = WithoutPrefix(target.substr(mark.replace));
    }
    return marks;
}

void ForgetBootMarks() {
    DeleteMachineValue(kKey, kValue);
}

}  // namespace winhost
