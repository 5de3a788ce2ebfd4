// What the engine's tests look at: all that is left below C:\Scratch.
#pragma once

#include <map>

#include "support/scratch.h"

// Every file with its bytes and every folder with none, by the path relative to the folder.
using Files = std::map<Text, std::string>;

inline Files Look(const Text& folder = kScratch) {
    Files files;
    for (const Text& name : Tree(folder))
        files[name] = FileBytes(folder + TEXT("\\") + name).value_or("");
    return files;
}

inline void Make(const Files& files, const Text& folder = kScratch) {
    for (const auto& [name, bytes] : files) {
        const Text path = folder + TEXT("\\") + name;
        if (name.back() == TEXT('\\')) {
            MakeFolder(path.substr(0, path.size() - 1));
        } else {
            MakeFile(path, bytes);
        }
    }
}

// A path below C:\Scratch.
inline Text At(const Text& name) {
    return kScratch + TEXT("\\") + name;
}
