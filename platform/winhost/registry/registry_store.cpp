// The registry file. It is read again when it has changed and
// replaced as a whole, under a lock that all processes share.
#include "registry/registry_store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>

#include "core/host_io.h"
#include "core/limits.h"
#include "core/machine.h"
#include "core/new_machine.h"
#include "core/text.h"
#include "registry/registry_text.h"

namespace winhost {

namespace {

constexpr std::size_t kMaxKeyName = 255;
constexpr std::size_t kMaxDepth = 512;

// The tree as it was last read. Its file stays open, so that no other file gets the same inode meanwhile.
struct Cache {
    std::unique_ptr<RegistryNode> root;
    int descriptor = -1;
    struct stat identity = {};

    void Keep(std::unique_ptr<RegistryNode> tree, int file) {
        Drop();
        root = std::move(tree);
        descriptor = file;
        if (fstat(file, &identity) != 0) Drop();
    }
    void Drop() {
        if (descriptor >= 0) close(descriptor);
        descriptor = -1;
        root.reset();
    }
    bool Holds(const std::string& path) const {
        struct stat now;
        return descriptor >= 0 && stat(path.c_str(), &now) == 0 && now.st_dev == identity.st_dev &&
               now.st_ino == identity.st_ino && now.st_size == identity.st_size &&
               now.st_mtim.tv_sec == identity.st_mtim.tv_sec &&
               now.st_mtim.tv_nsec == identity.st_mtim.tv_nsec;
    }
};

Cache& TheCache() {
    static auto* cache = new Cache;
    return *cache;
}

std::string FilePath() {
    return (Root() / "registry.reg").native();
}

std::string ReadAll(int descriptor) {
    std::string text;
    char block[65536];
    for (;;) {
        const ssize_t got = read(descriptor, block, sizeof block);
        if (got > 0)
            text.append(block, static_cast<std::size_t>(got));
        else if (got == 0 || errno != EINTR)
            return text;
    }
}

std::u16string MachineKey(std::u16string_view key) {
    return std::u16string(kLocalMachine) + u'\\' + std::u16string(key);
}

void SaveMachine(RegistryFile& file) {
    if (file.Save() != ERROR_SUCCESS) NotModelled("registry", "a machine whose registry can't be written");
}

}  // namespace

std::vector<std::u16string_view> KeyNames(std::u16string_view path) {
    std::vector<std::u16string_view> names;
    while (!path.empty()) {
        const auto end = std::min(path.find(u'\\'), path.size());
        if (end > 0) names.push_back(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return names;
}

RegistryNode* RegistryNode::FindKey(std::u16string_view path) {
    RegistryNode* node = this;
    for (const auto part : KeyNames(path)) {
        const auto found = node->keys.find(Upper(part));
        if (found == node->keys.end()) return nullptr;
        node = found->second.get();
    }
    return node;
}

RegistryNode* RegistryNode::MakeKey(std::u16string_view path) {
    const auto names = KeyNames(path);
    if (names.size() > kMaxDepth) return nullptr;
    // A line feed would end the key's line in the text form.
    for (const auto part : names)
        if (part.size() > kMaxKeyName || part.find(u'\n') != part.npos) return nullptr;
    RegistryNode* node = this;
    for (const auto part : names) {
        auto& child = node->keys[Upper(part)];
        if (!child) {
            child = std::make_unique<RegistryNode>();
            child->name = part;
        }
        node = child.get();
    }
    return node;
}

RegistryValue* RegistryNode::FindValue(std::u16string_view value) {
    const auto found = std::find_if(values.begin(), values.end(), [value](const RegistryValue& each) {
        return SameName(each.name, value);
    });
    return found == values.end() ? nullptr : &*found;
}

void RegistryNode::SetValue(std::u16string_view value, DWORD type, std::string_view bytes) {
    RegistryValue* target = FindValue(value);
    if (!target) {
        target = &values.emplace_back();
        target->name = value;
    }
    target->type = type;
    target->bytes = bytes;
}

bool RegistryNode::DeleteValue(std::u16string_view value) {
    return std::erase_if(values, [value](const RegistryValue& each) { return SameName(each.name, value); }) >
           0;
}

RegistryFile::RegistryFile() {
    Cache& cache = TheCache();
    const std::string path = FilePath();
    if (!cache.Holds(path)) {
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (file < 0) NotModelled("registry", "a machine without a registry.reg that can be read");
        auto tree = ParseRegistry(ReadAll(file));
        for (const auto hive : {kMachineClasses, kCurrentUser, kUserClasses})
            tree->MakeKey(hive);
        cache.Keep(std::move(tree), file);
    }
    m_root = cache.root.get();
}

DWORD RegistryFile::Save() {
    const std::string path = FilePath(), fresh = path + ".new";
    Cache& cache = TheCache();
    const std::string text = FormatRegistry(root());
    std::error_code unread;
    if (!HasRoom(std::filesystem::file_size(path, unread), text.size())) {
        cache.Drop();
        return ERROR_DISK_FULL;
    }
    const int file = open(fresh.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const std::size_t half = text.size() / 2;
    Step();
    bool written = file >= 0 && WriteAtOnce(file, text.data(), half);
    Step();
    written = written && WriteAtOnce(file, text.data() + half, text.size() - half);
    if (written && rename(fresh.c_str(), path.c_str()) == 0) {
        cache.Keep(std::move(cache.root), file);
        return ERROR_SUCCESS;
    }
    const DWORD error = ErrorOf(errno);
    if (file >= 0) close(file);
    cache.Drop();
    return error;
}

std::optional<MachineValue> ReadMachineValue(std::u16string_view key, std::u16string_view value) {
    RegistryFile file;
    RegistryNode* node = file.root().FindKey(MachineKey(key));
    const RegistryValue* found = node ? node->FindValue(value) : nullptr;
    if (!found) return std::nullopt;
    return MachineValue{found->type, found->bytes};
}

DWORD WriteMachineValue(std::u16string_view key, std::u16string_view value, DWORD type,
                        std::string_view bytes) {
    RegistryFile file;
    RegistryNode* node = file.root().MakeKey(MachineKey(key));
    if (!node) NotModelled("WriteMachineValue", Utf8(key));
    node->SetValue(value, type, bytes);
    return file.Save();
}

void DeleteMachineValue(std::u16string_view key, std::u16string_view value) {
    RegistryFile file;
    RegistryNode* node = file.root().FindKey(MachineKey(key));
    if (node && node->DeleteValue(value)) SaveMachine(file);
}

void CreateRegistry(const std::filesystem::path& root) {
    std::ofstream(root / "registry.reg", std::ios::binary) << FormatRegistry(*ParseRegistry(kNewRegistry));
}

}  // namespace winhost
