// CDialog: a window made from a template in the resources. CDataExchange and DDX_… connect
// its fields with its controls.
#pragma once

#include <windows.h>

#include "window.h"

class CDialog : public CWnd {
    DECLARE_DYNAMIC(CDialog)

  public:
    // `parent` is the owner of a modal dialog, or null. The destructor destroys a window that still exists.
    explicit CDialog(UINT templateId, CWnd* parent = nullptr) : m_template(templateId), m_parent(parent) {}
    ~CDialog() override;

    // Shows the dialog and runs it until EndDialog. Returns the value given there, or -1 when the dialog can't be made.
    INT_PTR DoModal();
    // Makes the dialog. Its template says whether it is a child of `parent` or a window of its own.
    // Returns 0 when it can't be made.
    BOOL Create(UINT templateId, CWnd* parent);
    // Lets DoModal return `result` as soon as the current message has been handled.
    void EndDialog(int result);

  protected:
    // Called to fill the dialog before it is shown. When it returns non-zero, the first control gets the focus.
    virtual BOOL OnInitDialog();
    // Enter, or the button IDOK: reads the data from the controls and ends the dialog with IDOK.
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
    // Non-zero means from the controls into the fields, 0 the other direction.
    const BOOL m_bSaveAndValidate;
    // The control's window. If there is none, it is null and the exchange has failed.
    HWND Control(int control);
    bool Succeeded() const { return m_succeeded; }

  private:
    CWnd& m_dialog;
    bool m_succeeded = true;
};

// Binds the object to the control. The direction doesn't matter.
void DDX_Control(CDataExchange* exchange, int control, CWnd& object);
void DDX_Text(CDataExchange* exchange, int control, CString& text);
// 1 when the box is ticked.
void DDX_Check(CDataExchange* exchange, int control, int& value);
// The index of the set button in the group of radio buttons that starts with `control`; -1 when none is set.
void DDX_Radio(CDataExchange* exchange, int control, int& value);
