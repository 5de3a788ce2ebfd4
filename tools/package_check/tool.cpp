#include "package_check/tool.h"

#include <cstdio>

#include "app/setup_state.h"
#include "package_check/package_check.h"

// The one variable of the program that the check fills.
VersionNumbers g_version;

namespace package_check {

std::optional<Request> ReadArguments(const std::vector<std::string>& arguments) {
    Request request = {0, false};
    bool misused = false;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        if (arguments[i] == "--json") {
            request.json = true;
        } else if (arguments[i].starts_with("--") || request.folder != 0) {
            misused = true;
        } else {
            request.folder = i;
        }
    }
    if (request.folder != 0 && !misused) return request;
    std::fputs("use: package_check [--json] FOLDER\n", stderr);
    return std::nullopt;
}

int RunTool(LPCWSTR folder, const std::string& shown, bool json) {
    const std::vector<Finding> findings = CheckPackage(folder);
    const std::string text = json ? ToJson(findings, shown) : ToText(findings, shown);
    (void)std::fwrite(text.data(), 1, text.size(), stdout);
    return ExitCode(findings);
}

}  // namespace package_check
