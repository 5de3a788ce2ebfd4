// CDialog: a window made from a template in the resources; CDataExchange and DDX_…: its fields and controls.
#pragma once

#include <windows.h>

#include "window.h"

class CDialog : public CWnd {
    DECLARE_DYNAMIC(CDialog)

  public:
    // `parent` owns a modal dialog; null for none. The object outlives its window or destroys it.
    explicit CDialog(UINT templateId, CWnd* parent = nullptr) : m_template(templateId), m_parent(parent) {}
    ~CDialog() override;

    // Shows the dialog and runs it until EndDialog, whose value it gives; -1 when it can't be made.
    INT_PTR DoModal();
    // Makes the dialog as a child of `parent`, or beside it as its template says. 0 when it can't be made.
    BOOL Create(UINT templateId, CWnd* parent);
    // Lets DoModal return `result` as soon as the message at work has been handled.
    void EndDialog(int result);

  protected:
    // Called before the dialog is seen, to fill it. Non-zero gives the first control the focus.
    virtual BOOL OnInitDialog();
    // Enter, or the button IDOK: takes the data from the controls and ends the dialog with IDOK.
    virtual void OnOK();
    // Esc, the button IDCANCEL, or the title bar's cross: ends the dialog with IDCANCEL.
    virtual void OnCancel();

  private:
    static INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    BOOL OnCommand(WPARAM wParam, LPARAM lParam);
    void OnWindowGone();

    UINT m_template;
    CWnd* m_parent;
    INT_PTR m_result = IDCANCEL;
};

// One exchange between the controls of a dialog and the fields of its object.
class CDataExchange {
  public:
    CDataExchange(CWnd& dialog, BOOL save) : m_bSaveAndValidate(save), m_dialog(dialog) {}
    // Non-zero: from the controls into the fields.
    const BOOL m_bSaveAndValidate;
    // The control's window; null, with the exchange failed, when there is none.
    HWND Control(int control);
    bool Succeeded() const { return m_succeeded; }

  private:
    CWnd& m_dialog;
    bool m_succeeded = true;
};

// Binds the object to the control, in either direction.
void DDX_Control(CDataExchange* exchange, int control, CWnd& object);
void DDX_Text(CDataExchange* exchange, int control, CString& text);
// 1 when the box is ticked.
void DDX_Check(CDataExchange* exchange, int control, int& value);
// The index of the button that is set among the radio buttons of the group that starts with `control`; -1 for
// none.
void DDX_Radio(CDataExchange* exchange, int control, int& value);
