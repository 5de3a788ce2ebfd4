#include <cstdio>
#include <exception>

#include "package_check/package_paths.h"
#include "package_check/tool.h"
#include "common/help.h"

int wmain(int count, wchar_t** values);

int wmain(int count, wchar_t** values) {
    // The findings are UTF-8.
    (void)SetConsoleOutputCP(CP_UTF8);
    std::vector<std::string> arguments;
    for (int i = 0; i < count; ++i)
        arguments.push_back(package_check::Utf8(values[i]));
    if (tools::TellsOfItself({arguments.begin(), arguments.end()}, package_check::kHelp)) return 0;
    const auto request = package_check::ReadArguments(arguments);
    if (!request) return package_check::kMisused;
    try {
        return package_check::RunTool(*request, arguments, values[request->folder],
                                      request->recipe ? values[request->recipe] : nullptr);
    } catch (const std::exception& error) {
        tools::PrintFailure("package_check", error);
        return package_check::kMisused;
    }
}
