// What calls on files and folders answer. Paths are plain ASCII.
#pragma once

#include <algorithm>

#include "machine/answers.h"

inline void MakeFiles(const std::vector<std::string>& namesInScratch, const std::string& bytes = "content") {
    for (const std::string& name : namesInScratch)
        MakeFile(kScratch + TEXT("\\") + Wide(name), bytes);
}

// The names with blanks between them.
inline std::string Listed(const std::vector<Text>& names) {
    std::string list;
    for (const Text& name : names)
        list += (list.empty() ? "" : " ") + Narrow(name);
    return list;
}

inline std::string Attributes(const std::string& path) {
    return Told(GetFileAttributesW(Wide(path).c_str()) != INVALID_FILE_ATTRIBUTES);
}

inline std::string Open(const std::string& path, DWORD access = GENERIC_READ,
                        DWORD disposition = OPEN_EXISTING, DWORD share = FILE_SHARE_READ) {
    const HANDLE file = CreateFileW(Wide(path).c_str(), access, share, nullptr, disposition,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    return Told(file != INVALID_HANDLE_VALUE && CloseHandle(file));
}

inline std::string Copy(const std::string& source, const std::string& target, BOOL failIfThere = FALSE) {
    SetLastError(ERROR_MORE_DATA);
    const bool done = CopyFileW(Wide(source).c_str(), Wide(target).c_str(), failIfThere);
    return Told(done && GetLastError() == ERROR_SUCCESS);
}

inline std::string Move(const std::string& source, const std::string& target) {
    return Told(MoveFileW(Wide(source).c_str(), Wide(target).c_str()));
}

// An empty target is none.
inline std::string Move(const std::string& source, const std::string& target, DWORD flags) {
    return Told(MoveFileExW(Wide(source).c_str(), target.empty() ? nullptr : Wide(target).c_str(), flags));
}

inline std::string Delete(const std::string& file) {
    return Told(DeleteFileW(Wide(file).c_str()));
}

inline std::string MakeDirectory(const std::string& folder) {
    return Told(CreateDirectoryW(Wide(folder).c_str(), nullptr));
}

inline std::string Remove(const std::string& folder) {
    return Told(RemoveDirectoryW(Wide(folder).c_str()));
}

// The names that a search finds, sorted, or its error.
inline std::string Found(const std::string& pattern) {
    std::vector<Text> names;
    for (const WIN32_FIND_DATAW& each : Search(Wide(pattern)))
        names.push_back(each.cFileName);
    std::sort(names.begin(), names.end());
    return names.empty() ? Told(false) : Listed(names);
}

// A value of a file's version block: its size, in characters or bytes, and its first words.
inline std::string Version(LPCWSTR path, LPCWSTR query, bool isText = false) {
    std::vector<BYTE> block(GetFileVersionInfoSizeW(path, nullptr));
    void* value = nullptr;
    UINT size = 0;
    if (block.empty() || !GetFileVersionInfoW(path, 0, static_cast<DWORD>(block.size()), block.data()) ||
        !VerQueryValueW(block.data(), query, &value, &size))
        return Told(false);
    std::string told = std::to_string(size);
    // Every word is read, so that the sanitizers see a value that ends after its block.
    for (UINT i = 0; i < (isText ? size : size / 2); ++i)
        if (const WORD word = static_cast<WORD*>(value)[i]; i < 8) told += " " + std::to_string(word);
    return told;
}
