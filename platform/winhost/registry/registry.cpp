// The registry calls, over the tree of registry_store.
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <set>

#include "core/bytes.h"
#include "core/faults.h"
#include "core/handles.h"
#include "core/machine.h"
#include "core/text.h"
#include "registry/registry_store.h"

namespace winhost {

namespace {

constexpr REGSAM kKnownAccess = KEY_ALL_ACCESS | SYNCHRONIZE | KEY_WOW64_64KEY;
constexpr std::size_t kMaxValueName = 16383;

// A key by its path. Below HKEY_CLASSES_ROOT the path begins there, and the key can be in two places: among the user's
// own classes, which come first, and among the machine's.
struct KeyPath {
    bool classes = false;
    std::u16string path;
    bool users = false;  // opened as one of the user's own classes; gone when that class is gone
};

class OpenKey : public KernelObject {
  public:
    OpenKey(KeyPath path, REGSAM access) : m_path(std::move(path)), m_access(access) { All().insert(this); }
    ~OpenKey() override { All().erase(this); }
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;

    const KeyPath& path() const { return m_path; }
    std::u16string Name() const override {
        std::u16string name = m_path.classes ? u"HKEY_CLASSES_ROOT" : u"";
        for (const auto part : KeyNames(m_path.path))
            name += (name.empty() ? u"" : u"\\") + std::u16string(part);
        return name;
    }
    REGSAM access() const { return m_access; }
    bool deleted() const { return m_deleted; }

    // A handle of a deleted key stays dead when a key of the same name is made again.
    static void MarkDeleted(RegistryNode& root);

  private:
    static std::set<OpenKey*>& All() {
        static auto* all = new std::set<OpenKey*>;
        return *all;
    }

    KeyPath m_path;
    REGSAM m_access;
    bool m_deleted = false;
};

// A user's "Software\Classes" is a link to that user's hive of classes.
std::u16string FollowLink(RegistryNode& root, const std::u16string& path) {
    const auto names = KeyNames(path);
    if (names.size() < 4 || !SameName(names[0], kUsers) || !SameName(names[2], u"Software") ||
        !SameName(names[3], u"Classes"))
        return path;
    std::u16string target = std::u16string(kUsers) + u'\\' + std::u16string(names[1]) + u"_Classes";
    if (!root.FindKey(target)) return path;
    for (std::size_t i = 4; i < names.size(); ++i)
        target += u'\\' + std::u16string(names[i]);
    return target;
}

// The full paths where the key can be. The first one that exists counts.
std::vector<std::u16string> Places(RegistryNode& root, const KeyPath& key) {
    if (!key.classes) return {FollowLink(root, key.path)};
    return {std::u16string(kUserClasses) + u'\\' + key.path,
            std::u16string(kMachineClasses) + u'\\' + key.path};
}

bool IsUsersClass(RegistryNode& root, const KeyPath& key) {
    return key.classes && root.FindKey(Places(root, key).front());
}

std::vector<RegistryNode*> Nodes(RegistryNode& root, const KeyPath& key) {
    std::vector<RegistryNode*> nodes;
    if (key.users && !IsUsersClass(root, key)) return nodes;
    for (const auto& place : Places(root, key))
        if (RegistryNode* node = root.FindKey(place)) nodes.push_back(node);
    return nodes;
}

void OpenKey::MarkDeleted(RegistryNode& root) {
    for (OpenKey* key : All())
        if (Nodes(root, key->m_path).empty()) key->m_deleted = true;
}

// What a handle stands for: a predefined key, or a key that this process opened.
struct Subject {
    DWORD error = ERROR_SUCCESS;
    KeyPath key;
    REGSAM access = KEY_ALL_ACCESS;
    bool predefined = false;
};

Subject SubjectOf(HKEY handle) {
    Subject subject;
    subject.predefined = true;
    if (handle == HKEY_CLASSES_ROOT) {
        subject.key.classes = true;
    } else if (handle == HKEY_CURRENT_USER) {
        subject.key.path = kCurrentUser;
    } else if (handle == HKEY_LOCAL_MACHINE) {
        subject.key.path = kLocalMachine;
    } else if (handle == HKEY_USERS) {
        subject.key.path = kUsers;
    } else {
        subject.predefined = false;
        if (const auto open = HandleAs<OpenKey>(handle)) {
            subject.key = open->path();
            subject.access = open->access();
            subject.error = open->deleted() ? ERROR_KEY_DELETED : ERROR_SUCCESS;
        } else {
            subject.error = ERROR_INVALID_HANDLE;
        }
    }
    return subject;
}

// One call on the key of a handle. The registry stays locked until the call ends.
struct KeyCall {
    RegistryFile file;
    Subject subject;
    std::vector<RegistryNode*> nodes;
    DWORD error;

    KeyCall(HKEY handle, REGSAM needed) : subject(SubjectOf(handle)), nodes(Nodes(file.root(), subject.key)) {
        error = subject.error;
        if (error == ERROR_SUCCESS && nodes.empty()) error = ERROR_KEY_DELETED;
        if (error == ERROR_SUCCESS && (subject.access & needed) != needed) error = ERROR_ACCESS_DENIED;
    }
};

// Makes the path of a sub-key. Only directly below HKEY_CLASSES_ROOT may the name begin with a backslash.
DWORD SubKey(HKEY handle, const Subject& subject, LPCWSTR name, KeyPath& key) {
    key = subject.key;
    key.users = false;
    if (name && *name == u'\\' && handle != HKEY_CLASSES_ROOT) return ERROR_BAD_PATHNAME;
    if (name && *name) key.path += u'\\' + std::u16string(name);
    return ERROR_SUCCESS;
}

// No name, or an empty one, means the key itself. A predefined key is then its own handle.
bool IsItself(const Subject& subject, LPCWSTR name) {
    return subject.predefined && (!name || !*name);
}

HKEY AddKey(RegistryNode& root, KeyPath key, REGSAM access) {
    key.users = IsUsersClass(root, key);
    return static_cast<HKEY>(AddHandle(std::make_shared<OpenKey>(key, access)));
}

// A hive is made only by loading it, and removed only by unloading it.
bool IsHive(const std::u16string& path) {
    return KeyNames(path).size() <= 2;
}

bool HasControlUnit(std::u16string_view name) {
    return std::any_of(name.begin(), name.end(), [](char16_t unit) { return unit < 0x20; });
}

bool IsTextType(DWORD type) {
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

// Returns the bytes to store. A text without a terminator takes the one that follows it in memory, as on Windows. The
// host is asked for those bytes, because they may lie outside the caller's memory.
std::string BytesToStore(DWORD type, const BYTE* data, DWORD cbData) {
    std::string bytes(data, data + cbData);
    if (!IsTextType(type) || cbData < 2 || cbData % 2 != 0 || WordAt(bytes, cbData - 2) == 0) return bytes;
    char next[2] = {'?', '?'};
    const iovec own = {next, sizeof next};
    const iovec theirs = {const_cast<BYTE*>(data) + cbData, sizeof next};
    const bool read = process_vm_readv(getpid(), &own, 1, &theirs, 1, 0) == sizeof next;
    if (read && WordAt({next, sizeof next}, 0) == 0) bytes.append(2, '\0');
    return bytes;
}

// Copies a value's type and bytes to the caller, as RegQueryValueExW and RegEnumValueW do.
DWORD GiveValue(const RegistryValue& value, LPDWORD type, LPBYTE data, LPDWORD cbData) {
    const DWORD cbBuffer = cbData ? *cbData : 0;
    const std::string& bytes = value.bytes;
    if (type) *type = value.type;
    if (cbData) *cbData = static_cast<DWORD>(bytes.size());
    if (!data) return ERROR_SUCCESS;
    if (bytes.size() > cbBuffer) return ERROR_MORE_DATA;
    std::copy(bytes.begin(), bytes.end(), data);
    // A text that is stored without a terminator gets one if there is space. The returned size doesn't count it.
    const bool terminated = bytes.size() >= 2 && bytes.ends_with(std::string_view("\0\0", 2));
    if (IsTextType(value.type) && !terminated && !bytes.empty() && cbBuffer - bytes.size() >= 2)
        std::fill_n(data + bytes.size(), 2, BYTE{0});
    return ERROR_SUCCESS;
}

// Where a value of the key is set or deleted. HKEY_CLASSES_ROOT itself stands for the classes of the machine.
RegistryNode& ChangedNode(const KeyCall& call) {
    const bool isRoot = call.subject.key.classes && KeyNames(call.subject.key.path).empty();
    return isRoot ? *call.nodes.back() : *call.nodes.front();
}

RegistryValue* FindValue(const std::vector<RegistryNode*>& nodes, std::u16string_view name) {
    for (RegistryNode* node : nodes)
        if (RegistryValue* value = node->FindValue(name)) return value;
    return nullptr;
}

}  // namespace

}  // namespace winhost

using namespace winhost;

LSTATUS RegOpenKeyExW(HKEY parent, LPCWSTR name, DWORD options, REGSAM access, PHKEY key) {
    if (const DWORD fault = FaultOf("RegOpenKeyExW")) return static_cast<LSTATUS>(fault);
    if (options != 0 || (access & ~kKnownAccess) != 0) NotModelled("RegOpenKeyExW", "options or access mask");
    // The machine has only one view of the registry. The count tells a test which view was asked for.
    if (access & KEY_WOW64_64KEY) (void)FaultOf("RegOpenKeyExW, 64-bit view");
    if (!key) return ERROR_INVALID_PARAMETER;
    *key = nullptr;
    KeyCall call(parent, 0);
    if (call.error != ERROR_SUCCESS) return static_cast<LSTATUS>(call.error);
    if (IsItself(call.subject, name)) {
        *key = parent;
        return ERROR_SUCCESS;
    }
    KeyPath path;
    if (const DWORD error = SubKey(parent, call.subject, name, path)) return static_cast<LSTATUS>(error);
    if (Nodes(call.file.root(), path).empty()) return ERROR_FILE_NOT_FOUND;
    *key = AddKey(call.file.root(), path, access);
    return ERROR_SUCCESS;
}

LSTATUS RegCreateKeyW(HKEY parent, LPCWSTR name, PHKEY key) {
    if (const DWORD fault = FaultOf("RegCreateKeyW")) return static_cast<LSTATUS>(fault);
    if (!key) return ERROR_INVALID_PARAMETER;
    *key = nullptr;
    if (name && HasControlUnit(name)) NotModelled("RegCreateKeyW", "a control character in a key's name");
    KeyCall call(parent, 0);
    if (call.error != ERROR_SUCCESS) return static_cast<LSTATUS>(call.error);
    if (IsItself(call.subject, name)) {
        *key = parent;
        return ERROR_SUCCESS;
    }
    KeyPath path;
    if (const DWORD error = SubKey(parent, call.subject, name, path)) return static_cast<LSTATUS>(error);
    RegistryNode& root = call.file.root();
    if (Nodes(root, path).empty()) {
        const std::u16string place = Places(root, path).back();
        const auto names = KeyNames(place);
        const std::u16string hive = std::u16string(names[0]) + u'\\' + std::u16string(names[1]);
        if (!root.FindKey(hive) || !root.MakeKey(place)) return ERROR_INVALID_PARAMETER;
        if (const DWORD error = call.file.Save()) return static_cast<LSTATUS>(error);
    }
    *key = AddKey(root, path, KEY_ALL_ACCESS);
    return ERROR_SUCCESS;
}

LSTATUS RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD cchName) {
    if (const DWORD fault = FaultOf("RegEnumKeyW")) return static_cast<LSTATUS>(fault);
    if (!name) return ERROR_INVALID_PARAMETER;
    KeyCall call(key, KEY_ENUMERATE_SUB_KEYS);
    if (call.error != ERROR_SUCCESS) return static_cast<LSTATUS>(call.error);
    std::map<std::u16string_view, const RegistryNode*> merged;
    for (const RegistryNode* node : call.nodes)
        for (const auto& entry : node->keys)
            merged.emplace(entry.first, entry.second.get());
    if (index >= merged.size()) return ERROR_NO_MORE_ITEMS;
    const std::u16string& found = std::next(merged.begin(), static_cast<std::ptrdiff_t>(index))->second->name;
    if (found.size() >= cchName) return ERROR_MORE_DATA;
    wcscpy(name, found.c_str());
    return ERROR_SUCCESS;
}

LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD cchName, LPDWORD reserved, LPDWORD type,
                      LPBYTE data, LPDWORD cbData) {
    if (const DWORD fault = FaultOf("RegEnumValueW")) return static_cast<LSTATUS>(fault);
    if (!name || !cchName || reserved || (data && !cbData)) return ERROR_INVALID_PARAMETER;
    KeyCall call(key, KEY_QUERY_VALUE);
    if (call.error != ERROR_SUCCESS) return static_cast<LSTATUS>(call.error);
    std::vector<const RegistryValue*> merged;
    for (RegistryNode* node : call.nodes)
        for (const RegistryValue& value : node->values)
            if (node == call.nodes[0] || !call.nodes[0]->FindValue(value.name)) merged.push_back(&value);
    if (index >= merged.size()) return ERROR_NO_MORE_ITEMS;
    const RegistryValue& value = *merged[index];
    if (value.name.size() >= *cchName) {
        (void)GiveValue(value, type, nullptr, cbData);
        return ERROR_MORE_DATA;
    }
    wcscpy(name, value.name.c_str());
    *cchName = static_cast<DWORD>(value.name.size());
    return static_cast<LSTATUS>(GiveValue(value, type, data, cbData));
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                         LPDWORD cbData) {
    if (const DWORD fault = FaultOf("RegQueryValueExW")) return static_cast<LSTATUS>(fault);
    if (reserved || (data && !cbData)) return ERROR_INVALID_PARAMETER;
    KeyCall call(key, KEY_QUERY_VALUE);
    if (call.error != ERROR_SUCCESS) return static_cast<LSTATUS>(call.error);
    const RegistryValue* value = FindValue(call.nodes, name ? name : u"");
    if (!value) return ERROR_FILE_NOT_FOUND;
    return static_cast<LSTATUS>(GiveValue(*value, type, data, cbData));
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD cbData) {
    if (const DWORD fault = FaultOf("RegSetValueExW")) return static_cast<LSTATUS>(fault);
    if (reserved != 0) NotModelled("RegSetValueExW", "reserved argument");
    if (!data && cbData > 0) return ERROR_NOACCESS;
    const std::u16string_view value = name ? name : u"";
    if (value.size() > kMaxValueName) return ERROR_INVALID_PARAMETER;
    KeyCall call(key, KEY_SET_VALUE);
    if (call.error != ERROR_SUCCESS) return static_cast<LSTATUS>(call.error);
    ChangedNode(call).SetValue(value, type, BytesToStore(type, data, cbData));
    return static_cast<LSTATUS>(call.file.Save());
}

LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR name) {
    if (const DWORD fault = FaultOf("RegDeleteKeyW")) return static_cast<LSTATUS>(fault);
    if (!name) return ERROR_INVALID_PARAMETER;
    KeyCall call(key, 0);
    if (call.error != ERROR_SUCCESS) return static_cast<LSTATUS>(call.error);
    KeyPath path;
    if (const DWORD error = SubKey(key, call.subject, name, path)) return static_cast<LSTATUS>(error);
    RegistryNode& root = call.file.root();
    for (const std::u16string& place : Places(root, path)) {
        RegistryNode* node = root.FindKey(place);
        if (!node) continue;
        if (IsHive(place) || !node->keys.empty()) return ERROR_ACCESS_DENIED;
        const std::u16string_view last = KeyNames(place).back();
        const auto cutAt = static_cast<std::size_t>(last.data() - place.data());
        RegistryNode* parent = root.FindKey(std::u16string_view(place).substr(0, cutAt));
        parent->keys.erase(Upper(last));
        if (const DWORD error = call.file.Save()) return static_cast<LSTATUS>(error);
        OpenKey::MarkDeleted(root);
        return ERROR_SUCCESS;
    }
    return ERROR_FILE_NOT_FOUND;
}

LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name) {
    if (const DWORD fault = FaultOf("RegDeleteValueW")) return static_cast<LSTATUS>(fault);
    KeyCall call(key, KEY_SET_VALUE);
    if (call.error != ERROR_SUCCESS) return static_cast<LSTATUS>(call.error);
    if (!ChangedNode(call).DeleteValue(name ? name : u"")) return ERROR_FILE_NOT_FOUND;
    return static_cast<LSTATUS>(call.file.Save());
}

LSTATUS RegCloseKey(HKEY key) {
    if (const DWORD fault = FaultOf("RegCloseKey")) return static_cast<LSTATUS>(fault);
    if (SubjectOf(key).predefined) return ERROR_SUCCESS;
    if (!HandleAs<OpenKey>(key)) return ERROR_INVALID_HANDLE;
    (void)DropHandle(key);
    return ERROR_SUCCESS;
}
