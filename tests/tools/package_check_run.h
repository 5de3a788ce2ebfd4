// A package that has no findings, and what package_check says of it after a change.
#pragma once

#include "harness/scratch.h"
#include "package_check/package_check.h"

using package_check::Finding;

inline const Text kPackage = TEXT("C:\\Scratch\\pkg");

// What a clean package needs. The records of the rows begin in line 4.
inline const std::string kStart =
    "File Copy: Qtv*.exe\r\nFile Copy: QtvApp8Man.chm\r\nFile Copy: HomePage.url\r\n";
inline const std::string kPage = "[InternetShortcut]\r\nURL=http://h/?a\r\nIconIndex=0\r\n";

class PackageCheckTest : public ScratchTest {
  protected:
    PackageCheckTest() {
        ImportFile("package/QtvApp8.exe", kPackage + TEXT("\\QtvApp8.exe"));
        for (const char* name : {"setup.exe", "QtvUnInst.exe", "QtvApp8Man.chm"})
            Write(name, "content");
        Write("QtvUnInst.log", kStart);
        Write("HomePage.url", kPage + "Update=http://h/de");
        Write("agreement.txt", Utf16("Agree?\r\n"));
    }
    static void Write(const std::string& name, const std::string& bytes) {
        MakeFile(kPackage + TEXT("\\") + Wide(name), bytes);
    }
    // The findings with blanks between them: "id:line", or "id(file)" if they are about no line. The next ones of the same kind
    // follow as ",line".
    std::string Check(const Text& folder = kPackage) {
        std::string list, last;
        for (const Finding& finding : m_findings = package_check::CheckPackage(folder.c_str())) {
            if (!list.empty()) list += finding.id == last ? ',' : ' ';
            if (finding.id != last) list += finding.id + (finding.line ? ":" : "");
            list += finding.line ? std::to_string(finding.line) : "(" + finding.file + ")";
            last = finding.id;
            EXPECT_FALSE(finding.what.empty() || finding.happens.empty() || finding.instead.empty()) << list;
            EXPECT_NE(m_manual.find("`" + finding.id + "`"), m_manual.npos)
                << finding.id << " isn't documented";
        }
        return list;
    }
    int ExitCode() const { return package_check::ExitCode(m_findings); }

    const std::string m_manual = BuildBytes("manifest.md");
    std::vector<Finding> m_findings;
};
