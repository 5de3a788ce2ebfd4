#include "wizard/start_dlg.h"

IMPLEMENT_DYNAMIC(CStartDlg, CDialog)
