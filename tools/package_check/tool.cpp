#include "package_check/tool.h"

#include <cstdio>

#include "common/help.h"
#include "engine/file_steps.h"
#include "package_check/recipe_lines.h"
#include "package_check/sarif.h"
#include "run/product.h"

namespace package_check {

namespace {

std::string Report(const std::vector<Finding>& findings, const Request& request,
                   const std::vector<std::string>& arguments) {
    const std::string& package = arguments[request.folder];
    switch (request.format) {
        case Format::Json:
            return ToJson(findings, package);
        case Format::Sarif:
            return ToSarif(
                findings, {package, arguments[request.recipe], request.base ? arguments[request.base] : "."});
        default:
            return ToText(findings, package);
    }
}

}  // namespace

std::optional<Request> ReadArguments(const std::vector<std::string>& arguments) {
    Request request;
    bool misused = false;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        std::size_t& place = argument == "--recipe"       ? request.recipe
                             : argument == "--sarif-base" ? request.base
                                                          : request.folder;
        if (argument == "--json" || argument == "--sarif") {
            misused = misused || request.format != Format::Text;
            request.format = argument == "--json" ? Format::Json : Format::Sarif;
        } else if (&place != &request.folder && ++i == arguments.size()) {
            misused = true;
        } else {
            misused = misused || place != 0 || arguments[i].starts_with("--");
            place = i;
        }
    }
    if (request.folder != 0 && !misused && (request.base == 0 || request.format == Format::Sarif))
        return request;
    tools::PrintUsage(kHelp);
    return std::nullopt;
}

int RunTool(const Request& request, const std::vector<std::string>& arguments, LPCWSTR folder,
            LPCWSTR recipe) {
    std::vector<Finding> findings = CheckPackage(folder);
    if (recipe) {
        std::vector<CString> manifestLines, recipeLines;
        if (!ReadLines(recipe, recipeLines)) {
            std::fprintf(stderr, "package_check: %s can't be read\n", arguments[request.recipe].c_str());
            return kMisused;
        }
        (void)ReadLines(WithSeparator(folder) + kLogFile, manifestLines);
        NameRecipe(findings, manifestLines, recipeLines, arguments[request.recipe]);
    }
    const std::string text = Report(findings, request, arguments);
    (void)std::fwrite(text.data(), 1, text.size(), stdout);
    return ExitCode(findings);
}

}  // namespace package_check
