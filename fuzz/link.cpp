// Link files: a link that is read can be saved, and reading it again has the same result.
#include "shell/link_format.h"

#include <tuple>

#include "fuzz_machine.h"

namespace {

auto Fields(const winhost::LinkData& link) {
    return std::tie(link.path, link.toFolder, link.attributes, link.description, link.workingFolder,
                    link.arguments, link.iconPath, link.icon, link.showCommand, link.hotkey);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto link = winhost::ParseLink(Bytes(data, size));
    if (!link) return 0;
    Require(link->path.size() < MAX_PATH, "a path that fits");
    const auto again = winhost::ParseLink(winhost::FormatLink(*link));
    Require(again && Fields(*again) == Fields(*link), "saved and read the same");
    return 0;
}
