// A version block: blocks within blocks, each with a name and a value.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/text.h"

namespace download_make {

struct VersionBlock {
    tools::WideText name;
    bool isText = false;
    std::string value;  // of a text, its UTF-16 without a terminator
    std::vector<VersionBlock> inner;

    tools::WideText Text() const;
    void SetText(const tools::WideText& text);
};

// Throws std::runtime_error when the bytes are no version block.
VersionBlock ReadVersion(std::string_view bytes);
std::string WriteVersion(const VersionBlock& block);

// What a version says of a program. A text that it doesn't hold is empty.
struct VersionTexts {
    std::string version;  // four numbers with dots, the file's
    tools::WideText product, company;
};
VersionTexts TextsOf(const VersionBlock& version);

// Changes the version of an application into that of its setup: same numbers and texts, but its description is that of a
// setup, and the names of the application's file are left out.
void DescribeSetup(VersionBlock& version);

}  // namespace download_make
