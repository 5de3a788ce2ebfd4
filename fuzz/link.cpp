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

void TryInput(std::string_view input) {
    const auto link = winhost::ParseLink(input);
    if (!link) return;
    Require(link->path.size() < MAX_PATH, "a path that fits");
    const auto again = winhost::ParseLink(winhost::FormatLink(*link));
    Require(again && Fields(*again) == Fields(*link), "saved and read the same");
}
