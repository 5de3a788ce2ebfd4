#include "install/closing_page.h"

#include <shellapi.h>

#include "app/setup_state.h"
#include "resource.h"
#include "support/handles.h"
#include "support/text_lines.h"

namespace {

constexpr WCHAR kAddress[] = TEXT("http://") QTV_WIDE(QTV_WEB_SERVER) TEXT("/qvdx/InstScript.asp");
constexpr int kUrlLineChars = 260;
constexpr int kLanguageChars = 2;

bool IsDigit(WCHAR character) {
    return character >= '0' && character <= '9';
}

// Lets one line act on the query text.
void TakeLine(const CString& line, CString& query) {
    if (line.Find(TEXT("URL=http://")) == 0 && line.Find('?') >= 0) query = line.Mid(line.Find('?'));
    if (line.Find(TEXT("Update=http://")) != 0) return;
    CString language = line.Right(kLanguageChars);
    if (IsDigit(language[0]) || IsDigit(language[1])) return;
    query += query.IsEmpty() ? '?' : '&';
    query += TEXT("Lang=") + language.MakeUpper();
}

CString ReadQuery() {
    CString query;
    const FileStream file(_wfopen(g_targetDir + TEXT("\\HomePage.url"), TEXT("r")));
    WCHAR line[kUrlLineChars];
    while (file && ReadTextLine(line, kUrlLineChars, file.get()))
        TakeLine(CString(line).Trim(), query);
    return query;
}

}  // namespace

void OpenClosingPage() {
    const bool packageIsNewer = g_freshInstall != 0 || g_upgradeOlder != 0;
    if (g_silentMode != 0 || !packageIsNewer || g_settingsFromPackage != 0) return;
    const CString address = kAddress + ReadQuery();
    (void)ShellExecuteW(nullptr, TEXT("open"), address, nullptr, nullptr, SW_SHOW);
}
