#include "wizard/into_dlg.h"

#include <ctime>

#include "resource.h"
#include "run/run_values.h"
#include "support/path_text.h"

namespace {

constexpr int kBetaChars = 32;
constexpr int kInfoChars = 512;
constexpr int kFirstYear = 1900;

int CurrentYear() {
    const auto now = _time64(nullptr);
    const std::tm* const local = _localtime64(&now);
    return local ? local->tm_year + kFirstYear : kFirstYear;
}

}  // namespace

IMPLEMENT_DYNAMIC(CIntoDlg, CDialog)

CIntoDlg::CIntoDlg(CWnd* parent) : CDialog(IDD_INTO, parent) {}

void CIntoDlg::DoDataExchange(CDataExchange* exchange) {
    DDX_Control(exchange, IDC_VERSION, m_info);
}

BOOL CIntoDlg::OnInitDialog() {
    (void)CDialog::OnInitDialog();
    // The text of the template is the format pattern.
    const CString pattern = m_info.GetText();
    WCHAR beta[kBetaChars] = {};
    if (g_version.build != 0) (void)FormatBounded(beta, kBetaChars, TEXT("Beta %d"), g_version.build);
    const CString product = LoadResString(IDS_PRODUCT_SHORT);
    WCHAR info[kInfoChars];
    (void)FormatBounded(info, kInfoChars, pattern, static_cast<LPCWSTR>(product), g_version.major,
                        g_version.minor, g_version.release, static_cast<LPCWSTR>(beta), CurrentYear());
    m_info.SetText(info);
    return TRUE;
}
