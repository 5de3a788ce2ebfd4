// A tree of registry keys with their values.
#pragma once

#include <windows.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace winhost {

struct RegistryValue {
    std::u16string name;  // empty for the key's default value
    DWORD type = REG_NONE;
    std::string bytes;
};

// Paths are names with backslashes between them; empty names are skipped. Case doesn't matter.
struct RegistryNode {
    std::u16string name;                                           // as spelled when the key was made
    std::map<std::u16string, std::unique_ptr<RegistryNode>> keys;  // by upper-cased name
    std::vector<RegistryValue> values;                             // in the order in which they were made
    // The key and its values as they were last written, or empty if they have changed since.
    std::string text;

    // Returns null when there is no such key.
    RegistryNode* FindKey(std::u16string_view path);
    // Returns the key and makes its missing levels. Returns null and makes nothing when a name is too long, holds a
    // line feed, or the path is too deep.
    RegistryNode* MakeKey(std::u16string_view path);
    // Returns null when there is no such value.
    RegistryValue* FindValue(std::u16string_view value);
    void SetValue(std::u16string_view value, DWORD type, std::string_view bytes);
    bool DeleteValue(std::u16string_view value);
};

inline constexpr std::u16string_view kLocalMachine = u"HKEY_LOCAL_MACHINE";
inline constexpr std::u16string_view kUsers = u"HKEY_USERS";
// The user that the machine's programs run as, and that user's classes.
inline constexpr std::u16string_view kCurrentUser = u"HKEY_USERS\\S-1-5-21-1000-1000-1000-1001";
inline constexpr std::u16string_view kUserClasses = u"HKEY_USERS\\S-1-5-21-1000-1000-1000-1001_Classes";
inline constexpr std::u16string_view kMachineClasses = u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes";

// Returns the names in a path, without empty ones.
std::vector<std::u16string_view> KeyNames(std::u16string_view path);

}  // namespace winhost
