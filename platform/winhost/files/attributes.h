// What the machine keeps on a file or folder itself, so that
// it survives a rename: attributes, and the short name.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace winhost {

// Texts that are stored on a file or folder of the host, by their names.
inline constexpr char kAttributesText[] = "user.winhost.attributes";
inline constexpr char kShortNameText[] = "user.winhost.short-name";
// Returns an empty text when there is none.
std::string KeptText(const std::string& host, const char* name);
// Returns false with errno set.
bool KeepText(const std::string& host, const char* name, const std::string& text);
void DropText(const std::string& host, const char* name);

// The kept text is the short name, this, and the name that it belongs to. No name holds it.
inline constexpr char kNameSeparator = '/';
// Returns the short name that is kept on an entry. Empty for none.
std::string KeptShortName(const std::string& folder, std::string_view name);

// Windows attributes of a host file: what is stored, FILE_ATTRIBUTE_DIRECTORY for folders, NORMAL for none.
DWORD StoredAttributes(const std::string& host, bool isFolder);
bool StoreAttributes(const std::string& host, DWORD attributes);
// Gives an opened file the archive attribute, as writing to it does.
void MarkWritten(int descriptor);

}  // namespace winhost
