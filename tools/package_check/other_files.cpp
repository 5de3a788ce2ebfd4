#include "package_check/other_files.h"

#include "engine/file_steps.h"
#include "install/file_version.h"
#include "install/query_text.h"
#include "run/product.h"
#include "run/run_values.h"
#include "support/handles.h"
#include "support/text_lines.h"

namespace package_check {

namespace {

constexpr char kDamaged[] = "Setup reports that its files are damaged, and ends.";

bool Exists(const CString& path) {
    return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES;
}

void CheckApplication(const CString& package, std::vector<Finding>& findings) {
    const CString path = WithSeparator(package) + kApplicationFile;
    const auto report = [&](const char* id, const char* what, const char* instead) {
        findings.push_back({id, Utf8(kApplicationFile), 0, what, kDamaged, instead});
    };
    if (!Exists(path))
        return report("application-missing", "the package has no such file",
                      "The application in the package folder.");
    ReadFileVersion(path);
    if (g_version.major == 0)
        report("application-version", "its version can't be read, or its first number is 0",
               "A version resource whose first number is at least 1: it is the version of the package.");
}

std::vector<unsigned> Units(const std::string& bytes) {
    std::vector<unsigned> units;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        units.push_back(static_cast<unsigned char>(bytes[i]) | static_cast<unsigned char>(bytes[i + 1]) << 8);
    return units;
}

void CheckAgreementText(const std::string& bytes, std::vector<Finding>& findings) {
    const auto report = [&](const char* id, const char* what, const char* happens, const char* instead) {
        findings.push_back({id, "agreement.txt", 0, what, happens, instead});
    };
    const std::vector<unsigned> units = Units(bytes);
    bool narrow = true, bareLineFeed = false;
    for (std::size_t i = 0; i < units.size(); ++i) {
        narrow = narrow && units[i] > 0xFF;
        bareLineFeed = bareLineFeed || (units[i] == '\n' && (i == 0 || units[i - 1] != '\r'));
    }
    if (narrow)
        return report("agreement-encoding", "the text is not UTF-16, little-endian",
                      "Setup does not convert it: the agreement page shows meaningless characters.",
                      "iconv -t UTF-16LE, or \"UTF-16 LE\" in an editor that can leave the mark out.");
    if (units[0] == 0xFEFF)
        report("agreement-mark", "a byte-order mark", "The mark is shown as the text's first character.",
               "The file without its first two bytes.");
    if (bytes.size() % 2 != 0)
        report("agreement-odd-length", "an odd number of bytes",
               "The text is read in units of two bytes: the last byte is left out, or the units are shifted.",
               "A text in UTF-16, little-endian.");
    if (bareLineFeed)
        report("agreement-line-ends", "line feeds without a carriage return",
               "The agreement page does not end the line there.",
               "Line ends of carriage return and line feed.");
}

void CheckAgreement(const CString& package, std::vector<Finding>& findings) {
    const CString path = WithSeparator(package) + TEXT("agreement.txt");
    const std::optional<std::string> bytes = tools::ReadWhole(path.Text());
    if (Exists(path) && !bytes) {
        findings.push_back({"unreadable", "agreement.txt", 0, "a file that can't be read",
                            "It isn't checked.",
                            "A file that the check may read, and that nobody holds open."});
    } else if (!bytes || bytes->size() < 2) {
        findings.push_back({"agreement-empty", "agreement.txt", 0, "no text",
                            "The agreement page is empty, and the user can accept it nevertheless.",
                            "The agreement as text in UTF-16, little-endian, without a byte-order mark."});
    } else {
        CheckAgreementText(*bytes, findings);
    }
}

// Lines of HomePage.url that set the query of the page that setup opens at the end.
enum class UrlLine { Other, Acts, Idle };

UrlLine JudgeUrlLine(const CString& line) {
    // A text that no line can set.
    const CString before = TEXT("\n");
    CString query = before;
    TakeQueryLine(line, query);
    if (query != before) return UrlLine::Acts;
    // Other keys belong to the shell.
    const int sign = line.Find('=');
    const CString key = line.Left(sign).Trim();
    const bool meant = key.CompareNoCase(TEXT("URL")) == 0 || key.CompareNoCase(TEXT("Update")) == 0;
    const bool noKey = sign < 0 && !line.IsEmpty() && line[0] != '[';
    return meant || noKey ? UrlLine::Idle : UrlLine::Other;
}

void CheckHomePage(const CString& package, std::vector<Finding>& findings) {
    const char* const kFile = "HomePage.url";
    struct Acting {
        unsigned line;
        CString text;
    };
    std::vector<Acting> acting;
    const FileStream file(_wfopen(WithSeparator(package) + TEXT("HomePage.url"), TEXT("r")));
    WCHAR piece[kUrlLineChars];
    unsigned number = 1;
    while (file && ReadTextLine(piece, kUrlLineChars, file.get())) {
        const bool whole = wcslen(piece) < kUrlLineChars - 1 || piece[kUrlLineChars - 2] == '\n';
        const CString line = CString(piece).Trim();
        const UrlLine judged = JudgeUrlLine(line);
        if (judged == UrlLine::Idle || !whole) {
            findings.push_back(
                {"home-page-idle", kFile, number, Utf8(line),
                 whole ? "The line adds nothing to the address of the page that setup opens."
                       : "The line is longer than the 259 characters of one read, and is cut.",
                 "URL=http://... with a ?, or Update=http://... with a language of two letters at its end."});
        } else if (judged == UrlLine::Acts) {
            if (line.Find(TEXT("URL")) == 0) {
                for (const Acting& earlier : acting)
                    findings.push_back({"home-page-wiped", kFile, earlier.line, Utf8(earlier.text),
                                        "Line " + std::to_string(number) + " replaces what this line added.",
                                        "One URL= line, and the Update= line after it."});
                acting.clear();
            }
            acting.push_back({number, line});
        }
        number += whole;
    }
}

}  // namespace

void CheckOtherFiles(const CString& package, const PackageFiles& files, std::vector<Finding>& findings) {
    if (!files.HasSetup())
        findings.push_back({"setup-missing", "", 0, "no file whose name holds setup.exe",
                            "Under another name the program uninstalls.",
                            "The setup program as setup.exe in the package folder."});
    CheckApplication(package, findings);
    CheckAgreement(package, findings);
    CheckHomePage(package, findings);
}

}  // namespace package_check
