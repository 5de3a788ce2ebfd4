// The machine's registry: the file that all processes share.
#pragma once

#include <windows.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "core/machine_lock.h"
#include "registry/registry_tree.h"

namespace winhost {

// One operation on the registry. No other process of the machine reads or writes it while this object lives.
class RegistryFile {
  public:
    // Waits for the lock and reads the file if it has changed. Ends the run if it can't be read.
    RegistryFile();
    RegistryNode& root() { return *m_root; }
    // Replaces the file by the changed tree; until then the old file stays whole. Returns 0 or an error code. After an
    // error the tree again holds what the file holds.
    DWORD Save();

  private:
    MachineLock m_lock{"registry.lock"};
    RegistryNode* m_root;
};

// Reads one value of a key below HKEY_LOCAL_MACHINE, such as "SYSTEM\\...". Returns none when it is missing.
struct MachineValue {
    DWORD type = REG_NONE;
    std::string bytes;
};
std::optional<MachineValue> ReadMachineValue(std::u16string_view key, std::u16string_view value);
// Returns 0 or the error code of a failure.
DWORD WriteMachineValue(std::u16string_view key, std::u16string_view value, DWORD type,
                        std::string_view bytes);
// Has no effect when there is no such value.
void DeleteMachineValue(std::u16string_view key, std::u16string_view value);
// Writes the first registry of a new machine.
void CreateRegistry(const std::filesystem::path& root);

}  // namespace winhost
