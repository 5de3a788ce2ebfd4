#include "install/query_text.h"

namespace {

constexpr int kLanguageChars = 2;

bool IsDigit(WCHAR character) {
    return character >= '0' && character <= '9';
}

}  // namespace

void TakeQueryLine(const CString& line, CString& query) {
    if (line.Find(TEXT("URL=http://")) == 0 && line.Find('?') >= 0) query = line.Mid(line.Find('?'));
    if (line.Find(TEXT("Update=http://")) != 0) return;
    CString language = line.Right(kLanguageChars);
    if (IsDigit(language[0]) || IsDigit(language[1])) return;
    query += query.IsEmpty() ? '?' : '&';
    query += TEXT("Lang=") + language.MakeUpper();
}
