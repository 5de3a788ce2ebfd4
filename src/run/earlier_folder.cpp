#include "run/earlier_folder.h"

#include "run/product.h"
#include "support/registry.h"

namespace {

// `-instdir "C:\Apps\Qa\"` reaches the program as `C:\Apps\Qa"`, because a backslash escapes the quote that follows it.
CString CleanFolderArgument(const CString& argument) {
    const CString folder = argument.Last() == '"' ? argument.Left(argument.GetLength() - 1) : argument;
    const WCHAR last = folder.Last();
    return last == '\\' || last == '/' ? folder.Left(folder.GetLength() - 1) : folder;
}

}  // namespace

CString GetInstalledFolder() {
    CString folder = GetRegString(HKEY_LOCAL_MACHINE, kProductKey, TEXT("Path"));
    if (folder.IsEmpty()) {
        const CString application = GetRegString(HKEY_LOCAL_MACHINE, kAppPathsKey, nullptr);
        folder = application.Left(application.Find(TEXT("\\") + CString(kApplicationFile)));
    }
    return folder.Last() == '\\' ? folder.Left(folder.GetLength() - 1) : folder;
}

// A folder isn't skipped: it is read as an option, too.
CString GetFolderOption() {
    CString folder;
    for (int i = 1; i + 1 < __argc; ++i) {
        const CString argument = __wargv[i];
        if (argument == TEXT("-instdir") || argument == TEXT("-instport"))
            folder = CleanFolderArgument(__wargv[i + 1]);
    }
    return folder;
}
