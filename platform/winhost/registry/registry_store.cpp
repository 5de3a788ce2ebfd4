// The registry file. It is read again when it has changed and
// replaced as a whole, under a lock that all processes share.
#include "registry/registry_store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>

#include "core/host_io.h"
#include "core/limits.h"
#include "core/machine.h"
#include "core/new_machine.h"
#include "registry/registry_text.h"
#include <winhost.h>

namespace winhost {

namespace {

// The tree as it was last read. Its file stays open, so that no other file gets the same inode meanwhile.
struct Cache {
    std::unique_ptr<RegistryNode> root;
    Descriptor file;
    struct stat identity = {};

    void Keep(std::unique_ptr<RegistryNode> tree, Descriptor read) {
        root = std::move(tree);
        file = std::move(read);
        if (fstat(file.get(), &identity) != 0) Drop();
    }
    void Drop() {
        file = Descriptor();
        root.reset();
    }
    bool Holds(const std::string& path) const {
        struct stat now;
        return file && stat(path.c_str(), &now) == 0 && now.st_dev == identity.st_dev &&
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

RegistryFile::RegistryFile() {
    Cache& cache = TheCache();
    const std::string path = FilePath();
    if (!cache.Holds(path)) {
        Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
        if (!file) NotModelled("registry", "a machine without a registry.reg that can be read");
        auto tree = ParseRegistry(ReadAll(file.get()));
        for (const auto hive : {kMachineClasses, kCurrentUser, kUserClasses})
            tree->MakeKey(hive);
        cache.Keep(std::move(tree), std::move(file));
    }
    m_root = cache.root.get();
}

DWORD RegistryFile::Save() {
    const std::string path = FilePath(), fresh = path + ".new";
    Cache& cache = TheCache();
    const std::string text = FormatRegistry(root());
    std::error_code unread;
    if (!HasSpace(std::filesystem::file_size(path, unread), text.size())) {
        cache.Drop();
        return ERROR_DISK_FULL;
    }
    Descriptor file(open(fresh.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    const std::size_t half = text.size() / 2;
    Step();
    bool written = file && WriteAtOnce(file.get(), text.data(), half);
    Step();
    written = written && WriteAtOnce(file.get(), text.data() + half, text.size() - half);
    if (written && rename(fresh.c_str(), path.c_str()) == 0) {
        cache.Keep(std::move(cache.root), std::move(file));
        return ERROR_SUCCESS;
    }
    const DWORD error = ErrorOf(errno);
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
