// The ready page and, with other controls shown, the last page. The frame does its work.
#pragma once

#include <framework.h>

#include "resource.h"

class CStartDlg : public CDialog {
    DECLARE_DYNAMIC(CStartDlg)

  public:
    explicit CStartDlg(CWnd* parent = nullptr) : CDialog(IDD_START, parent) {}
    BOOL CreatePage(UINT templateId, CWnd* parent) { return Create(templateId, parent); }
};
