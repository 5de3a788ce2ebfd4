#include "package_make/tool.h"
#include "common/help.h"

namespace fs = std::filesystem;

bool package_make::IsLink(const fs::path& path) {
    return (GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

int wmain(int count, wchar_t** values);

int wmain(int count, wchar_t** values) {
    // The output is UTF-8.
    (void)SetConsoleOutputCP(CP_UTF8);
    const std::vector<fs::path> arguments(values, values + count);
    if (tools::TellsOfItself(arguments, package_make::kHelp)) return 0;
    const auto request = package_make::ReadArguments(arguments, arguments[0].parent_path() / "setup.exe");
    if (!request) return package_make::kMisused;
    return package_make::RunTool(*request,
                                 [](const fs::path& path, const char*) { return CString(path.c_str()); });
}
