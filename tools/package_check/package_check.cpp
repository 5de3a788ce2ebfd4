#include "package_check/package_check.h"

#include <algorithm>
#include <tuple>

#include "engine/file_steps.h"
#include "package_check/manifest_lines.h"
#include "package_check/other_files.h"
#include "package_check/records.h"
#include "run/product.h"
#include "support/handles.h"

namespace package_check {

namespace {

void AddManifestFinding(std::vector<Finding>& findings, const char* id, unsigned line,
                        const std::string& what, const char* happens, const char* instead) {
    findings.push_back({id, Utf8(kLogFile), line, what, happens, instead});
}

// Whether the bytes are text in 16-bit units, with or without a byte-order mark.
bool IsWide(const std::string& bytes) {
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) return true;
    if (bytes.size() < 4) return false;
    const bool low = bytes[0] != 0;
    return (bytes[1] != 0) != low && (bytes[2] != 0) == low && (bytes[3] != 0) != low;
}

void CheckLine(const ManifestLine& line, RecordChecks& records, std::vector<Finding>& findings) {
    const CString text = line.text;
    const Record record = MendedRecord(text);
    const auto report = [&](const char* id, const char* happens, const char* instead) {
        AddManifestFinding(findings, id, line.number, Utf8(text), happens, instead);
    };
    if (line.isCut || line.continues) {
        const bool obeyed = record.kind && record.asWritten();
        if (line.isCut)
            report(
                "long-line",
                "The line is longer than the 511 characters of one read. Its first piece is a record that is "
                "too short, and each further piece is read as a line of its own.",
                "A shorter line.");
        else if (obeyed)
            report("long-line", "This piece of a longer line begins like a record, and is carried out.",
                   "A shorter line.");
        return;
    }
    if (line.hidesText)
        report("nul-byte", "A byte 0 ends its line: the rest of the line is not read.",
               "The line without that byte.");
    if (record.kind && !record.Value().IsEmpty()) {
        records.Take(record, line.number);
    } else if (record.kind) {
        for (const Mending& mending : record.mendings)
            report(mending.id, mending.happens, mending.instead.c_str());
    } else if (StartsWithMark(text)) {
        report("byte-order-mark", "The mark is before the first prefix, so the line is not a record.",
               kSaveAs);
    } else if (const WCHAR first = CString(text).TrimLeft()[0]; first != 0 && first != '#') {
        report(
            "no-record",
            "No record begins like this: setup and the uninstaller skip the line without a message.",
            "One of the prefixes, spelled exactly, with the same case; or # at the beginning of a remark.");
    }
}

void CheckManifest(const std::string& bytes, FILE* file, RecordChecks& records,
                   std::vector<Finding>& findings) {
    if (IsWide(bytes))
        return AddManifestFinding(
            findings, "wide-encoding", 1, "a text in 16-bit characters",
            "Setup reads one byte as one character: no line is a record, and nothing is installed.", kSaveAs);
    ManifestLines lines(bytes, file);
    ManifestLine line;
    while (lines.Next(line))
        CheckLine(line, records, findings);
    if (lines.EndsEarly())
        AddManifestFinding(findings, "text-end", lines.EndLine(), "a byte 1A",
                           "That byte ends the text: no later line is read.", "The file without that byte.");
    records.Finish();
}

void Sort(std::vector<Finding>& findings) {
    const std::string manifest = Utf8(kLogFile);
    std::stable_sort(findings.begin(), findings.end(), [&](const Finding& left, const Finding& right) {
        const auto rank = [&](const Finding& finding) {
            // A finding of the whole manifest has line 0 and comes after all lines: 0 - 1 is the largest number.
            return std::tuple(finding.file != manifest, finding.file == manifest ? finding.line - 1 : 0);
        };
        return rank(left) < rank(right);
    });
}

CString WithoutSeparator(const CString& folder) {
    return folder.Last() == '\\' && folder.GetLength() > 3 ? folder.Left(folder.GetLength() - 1) : folder;
}

}  // namespace

std::vector<Finding> CheckPackage(LPCWSTR folder) {
    std::vector<Finding> findings;
    const CString package = WithoutSeparator(FullPath(folder));
    const DWORD attributes = package.IsEmpty() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(package);
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
        findings.push_back({"no-package", "", 0, "no such folder", "There is nothing to check.",
                            "The path of a package folder."});
        return findings;
    }
    const CString manifestPath = WithSeparator(package) + kLogFile;
    if (GetFileAttributesW(manifestPath) == INVALID_FILE_ATTRIBUTES) {
        AddManifestFinding(findings, "no-manifest", 0, "the folder has no QtvUnInst.log",
                           "Setup reports that its files are damaged, and ends.",
                           "A package folder, with its manifest.");
        return findings;
    }
    const FileStream manifest(_wfopen(manifestPath, TEXT("r")));
    const std::optional<std::string> bytes = tools::ReadWhole(manifestPath.Text());
    if (!manifest || !bytes) {
        AddManifestFinding(findings, "unreadable", 0, "a file that can't be read", "Nothing else is checked.",
                           "A file that the check may read, and that no program has open.");
        return findings;
    }
    if (GetFileAttributesW(manifestPath) & FILE_ATTRIBUTE_READONLY)
        AddManifestFinding(findings, "manifest-read-only", 0, "a read-only file",
                           "Its copy, the log, is read-only too: setup can't add the program group and the "
                           "shortcuts, and an uninstall leaves those of a group that the user named.",
                           "A manifest that can be written.");
    PackageFiles files(package, findings);
    RecordChecks records(package, files, findings);
    CheckManifest(*bytes, manifest.get(), records, findings);
    CheckOtherFiles(package, files, findings);
    Sort(findings);
    return findings;
}

int ExitCode(const std::vector<Finding>& findings) {
    const auto isUnread = [](const Finding& finding) {
        return finding.id == "no-package" || finding.id == "no-manifest" || finding.id == "unreadable";
    };
    if (std::any_of(findings.begin(), findings.end(), isUnread)) return 2;
    return !std::all_of(findings.begin(), findings.end(),
                        [](const Finding& finding) { return finding.isNote; });
}

}  // namespace package_check
