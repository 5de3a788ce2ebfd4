#include "install/closing_page.h"

#include <shellapi.h>

#include "install/query_text.h"
#include "resource.h"
#include "run/run_paths.h"
#include "run/run_values.h"
#include "support/handles.h"
#include "support/text_lines.h"

namespace {

constexpr WCHAR kAddress[] = TEXT("http://") QTV_WIDE(QTV_WEB_SERVER) TEXT("/qvdx/InstScript.asp");

CString ReadQuery() {
    CString query;
    const FileStream file(_wfopen(InTargetDir(TEXT("HomePage.url")), TEXT("r")));
    WCHAR line[kUrlLineChars];
    while (file && ReadTextLine(line, kUrlLineChars, file.get()))
        TakeQueryLine(CString(line).Trim(), query);
    return query;
}

}  // namespace

void OpenClosingPage() {
    const bool packageIsNewer = g_freshInstall != 0 || g_upgradeOlder != 0;
    if (g_silentMode != kInteractive || !packageIsNewer || g_settingsFromPackage != 0) return;
    const CString address = kAddress + ReadQuery();
    (void)ShellExecuteW(nullptr, TEXT("open"), address, nullptr, nullptr, SW_SHOW);
}
