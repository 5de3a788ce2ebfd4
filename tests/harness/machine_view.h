// A short notation for files, folders and boot-time marks in tests. All paths are relative to a folder. A list has
// blanks between its items.
#pragma once

#include <map>
#include <sstream>

#include "harness/scratch.h"

// A path below C:\Scratch.
inline Text At(const std::string& name) {
    return kScratch + TEXT("\\") + Wide(name);
}

inline std::vector<std::string> Items(const std::string& list) {
    std::istringstream text(list);
    return {std::istream_iterator<std::string>(text), {}};
}

inline std::vector<Text> Names(const std::string& list) {
    std::vector<Text> names;
    for (const std::string& item : Items(list))
        names.push_back(Wide(item));
    return names;
}

// Every file with its bytes, and every folder with no bytes. A folder's name ends with a backslash.
using Files = std::map<Text, std::string>;

// Reads a list of NAME:BYTES for files and NAME\ for folders. The folders above them are added without being named.
inline Files State(const std::string& list) {
    Files files;
    for (const std::string& item : Items(list)) {
        const std::size_t end = std::min(item.find(':'), item.size());
        for (std::size_t at = 0; (at = item.find('\\', at)) < end; ++at)
            files[Wide(item.substr(0, at + 1))];
        if (end < item.size()) files[Wide(item.substr(0, end))] = item.substr(end + 1);
    }
    return files;
}

inline Files Look(const Text& folder = kScratch) {
    Files files;
    for (const Text& name : Tree(folder))
        files[name] = FileBytes(folder + TEXT("\\") + name).value_or("");
    return files;
}

inline void Make(const std::string& list, const Text& folder = kScratch) {
    MakeFolder(folder);
    for (const auto& [name, bytes] : State(list)) {
        if (name.back() == TEXT('\\'))
            MakeFolder(folder + TEXT("\\") + name);
        else
            MakeFile(folder + TEXT("\\") + name, bytes);
    }
}

// Reads a list of SOURCE for deletes and SOURCE>TARGET for moves. "." is the folder itself.
inline std::vector<Mark> Marks(const std::string& list, const Text& folder = kScratch) {
    const auto path = [&](const std::string& name) {
        return name == "." ? folder : folder + TEXT("\\") + Wide(name);
    };
    std::vector<Mark> marks;
    for (const std::string& item : Items(list)) {
        const std::size_t split = item.find('>');
        marks.emplace_back(path(item.substr(0, split)),
                           split < item.size() ? path(item.substr(split + 1)) : Text());
    }
    return marks;
}

// The marks after the first `earlier` ones.
inline std::vector<Mark> MarksFrom(std::size_t earlier) {
    const std::vector<Mark> marks = BootMarks();
    return {marks.begin() + static_cast<std::ptrdiff_t>(std::min(earlier, marks.size())), marks.end()};
}
