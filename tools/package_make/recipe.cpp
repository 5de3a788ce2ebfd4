#include "package_make/recipe.h"

#include "package_check/manifest_lines.h"
#include "support/handles.h"

namespace package_make {

std::vector<CString> ReadRecipe(const CString& path, const std::string& shown) {
    const auto bytes = tools::ReadWhole(path.Text());
    const FileStream file(_wfopen(path, TEXT("r")));
    if (!file || !bytes) throw BadInput(shown + " can't be read");
    package_check::ManifestLines lines(*bytes, file.get());
    package_check::ManifestLine line;
    std::vector<CString> texts;
    while (lines.Next(line)) {
        const std::string place = shown + ":" + std::to_string(line.number) + ": ";
        if (line.hidesText)
            throw BadInput(place +
                           "a byte 0; save the recipe as plain text with one byte for each character");
        if (line.isCut) throw BadInput(place + "more than 511 characters, which setup reads in pieces");
        // An empty line keeps its line feed, because the reader never cuts the first character.
        const CString text = line.text;
        texts.push_back(text == TEXT("\n") ? CString() : text);
    }
    if (lines.EndsEarly())
        throw BadInput(shown + ":" + std::to_string(lines.EndLine()) +
                       ": a byte 1A, which ends the text for setup");
    return texts;
}

}  // namespace package_make
