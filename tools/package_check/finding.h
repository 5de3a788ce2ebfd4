// What the package check finds.
#pragma once

#include <string>

namespace package_check {

// One thing to correct. All texts are UTF-8.
struct Finding {
    std::string id;           // does not change between versions; docs/manifest.md explains each
    std::string file;         // relative to the package, with backslashes; empty for the folder itself
    unsigned line = 0;        // of that file, from 1; 0 for the file as a whole
    std::string what;         // the record as setup reads it, or what was found
    std::string happens;      // the result on a customer's machine
    std::string instead;      // how to write it, or what to do
    bool isNote = false;      // a hint: the package works as it is
    bool isInRecipe = false;  // `file` and `line` are those of the recipe
};

}  // namespace package_check
