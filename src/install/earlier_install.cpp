#include "install/earlier_install.h"

#include <resource.h>
#include <shlobj.h>

#include "engine/manifest.h"
#include "install/file_version.h"
#include "run/product.h"
#include "run/run_paths.h"
#include "run/run_values.h"
#include "support/handles.h"
#include "support/path_text.h"
#include "support/registry.h"
#include "support/shell_folders.h"

namespace {

// Space for a question with eight numbers of any length.
constexpr std::size_t kQuestionChars = 512;

// The version as one number. A field above 99 carries into the next one.
DWORD VersionAsNumber(const VersionNumbers& version) {
    return ((version.major * 100 + version.minor) * 100 + version.release) * 100 + version.build;
}

bool Ask(LPCWSTR question) {
    return AfxMessageBox(question, MB_YESNO | MB_ICONQUESTION) == IDYES;
}

bool AskAboutNewer(const VersionNumbers& installed) {
    WCHAR question[kQuestionChars];
    (void)FormatBounded(question, kQuestionChars, LoadResString(IDS_NEWER_INSTALLED),
                        static_cast<int>(installed.major), static_cast<int>(installed.minor),
                        static_cast<int>(installed.release), static_cast<int>(installed.build),
                        static_cast<int>(g_version.major), static_cast<int>(g_version.minor),
                        static_cast<int>(g_version.release), static_cast<int>(g_version.build));
    return Ask(question);
}

bool AskAboutSame() {
    WCHAR question[kQuestionChars];
    (void)FormatBounded(question, kQuestionChars, LoadResString(IDS_SAME_INSTALLED),
                        static_cast<int>(g_version.major), static_cast<int>(g_version.minor),
                        static_cast<int>(g_version.release), static_cast<int>(g_version.build));
    return Ask(question);
}

FileStream OpenEarlierLog() {
    FileStream log(_wfopen(LogPath(), TEXT("r")));
    if (!log) log.reset(_wfopen(InTargetDir(kOlderLogFile), TEXT("r")));
    return log;
}

// The lower-cased folders that a logged shortcut is compared with.
struct GroupFolders {
    CString programsPrefix;
    CString startupFolder;
};

GroupFolders FindGroupFolders() {
    GroupFolders folders;
    if (g_installType == kForAllUsers) {
        folders.programsPrefix = GetShellFolder(CSIDL_COMMON_PROGRAMS);
        folders.startupFolder = GetShellFolder(CSIDL_COMMON_STARTUP);
    } else if (g_installType == kForCurrentUser) {
        folders.programsPrefix = GetShellFolder(CSIDL_PROGRAMS);
        folders.startupFolder = GetShellFolder(CSIDL_STARTUP);
    }
    if (folders.programsPrefix.Last() != '\\') folders.programsPrefix += TEXT("\\");
    folders.programsPrefix.MakeLower();
    folders.startupFolder.MakeLower();
    return folders;
}

bool LiesInGroup(LPCWSTR link, const GroupFolders& folders) {
    CString lowered = link;
    lowered.MakeLower();
    return lowered.Find(folders.programsPrefix) == 0 && lowered.Find(folders.startupFolder) < 0;
}

// Tests whether a file can be created in the folder. The result is not used. A file that
// could be opened is deleted again.
void ProbeForWriting(LPCWSTR folder) {
    WCHAR name[kPathChars];
    if (!GetTempFileNameW(folder, TEXT("q8t"), 0, name)) return;
    FileStream probe(_wfopen(name, TEXT("w")));
    if (!probe) return;
    probe.reset();
    (void)DeleteFileW(name);
}

bool HasProductLink(const CString& folder) {
    const CString link = folder + TEXT("\\") + kProductName + TEXT(".lnk");
    return link.GetLength() < kPathChars && Exists(link);
}

}  // namespace

bool AgreeToReplaceVersion() {
    ReadFileVersion(InTargetDir(kApplicationFile));
    const VersionNumbers installed = g_version;
    ReadFileVersion(InSourceDir(kApplicationFile));
    const DWORD oldNumber = VersionAsNumber(installed);
    const DWORD newNumber = VersionAsNumber(g_version);
    if (g_silentMode != kInteractive || oldNumber < newNumber) {
        g_upgradeOlder = 1;
        return true;
    }
    return oldNumber > newNumber ? AskAboutNewer(installed) : AskAboutSame();
}

void AdoptInstallType() {
    if (g_installType >= kPortable) return;
    const CString users = GetRegString(HKEY_LOCAL_MACHINE, kProductKey, TEXT("AllUsers"));
    g_installType = users == TEXT("B") ? kForAllUsers : kForCurrentUser;
}

void AdoptGroup() {
    const FileStream log = OpenEarlierLog();
    if (!log) return;
    const GroupFolders folders = FindGroupFolders();
    ForEachRecord(log.get(), [&](const LogRecord& record) {
        if (record.kind.removal == AtRemoval::DeleteLink && LiesInGroup(record.value, folders))
            g_groupName = ParentDir(record.value + folders.programsPrefix.GetLength());
    });
}

void AdoptAutoStart() {
    const CString commonStartup = GetShellFolder(CSIDL_COMMON_STARTUP);
    const CString userStartup = GetShellFolder(CSIDL_STARTUP);
    bool commonLinkFound = false;
    if (commonStartup.GetLength() > kNoFolderChars) {
        ProbeForWriting(commonStartup);
        commonLinkFound = HasProductLink(commonStartup);
    }
    const bool userLinkFound = userStartup.GetLength() > kNoFolderChars && HasProductLink(userStartup);
    g_autoStart = userLinkFound || commonLinkFound;
}
