// Link files: a link that is read can be saved, and reading it again has the same result.
#include "shell/link_format.h"

#include "machine.h"

namespace {

bool AreSame(const winhost::LinkData& left, const winhost::LinkData& right) {
    return left.path == right.path && left.toFolder == right.toFolder &&
           left.attributes == right.attributes && left.description == right.description &&
           left.workingFolder == right.workingFolder && left.arguments == right.arguments &&
           left.iconPath == right.iconPath && left.icon == right.icon &&
           left.showCommand == right.showCommand && left.hotkey == right.hotkey;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto link = winhost::ParseLink(Bytes(data, size));
    if (!link) return 0;
    Require(link->path.size() < MAX_PATH, "a path that fits");
    const auto again = winhost::ParseLink(winhost::FormatLink(*link));
    Require(again && AreSame(*again, *link), "saved and read the same");
    return 0;
}
