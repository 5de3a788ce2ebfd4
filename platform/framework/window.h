// CWnd: a window by its handle; CButton, CStatic, CEdit: the controls of a dialog; AfxMessageBox; message maps.
//
// The object of a control only refers to its window. Neither of them destroys the other. Without a window
// every operation has no effect and returns 0.
#pragma once

#include <windows.h>

#include <span>

#include "app.h"
#include "text.h"

class CDataExchange;

// One row of a message map: a control's notification, and the member function that handles it.
struct MessageMapEntry {
    UINT notification;
    int control;
    void (CWnd::*handler)();
};
using MessageMap = std::span<const MessageMapEntry>;

class CWnd : public CCmdTarget {
    DECLARE_DYNAMIC(CWnd)

  public:
    CWnd() = default;
    // If the object is the application's main window, the application has none afterwards.
    ~CWnd() override;

    // The window. Null before it is made and after it is destroyed.
    HWND m_hWnd = nullptr;

    // Destroys the window. Returns 0 when it can't be destroyed, or when an override refuses to close it.
    virtual BOOL DestroyWindow();

    // The window of a control, by its id; null when there is none.
    HWND GetDlgItem(int control) const;
    CString GetText() const;
    void SetText(LPCWSTR text);
    void SetItemText(int control, LPCWSTR text);
    void Show(int command);
    void ShowItem(int control, int command);
    void Enable(BOOL enable);
    void Focus();
    LRESULT Send(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
    LRESULT SendToItem(int control, UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
    // The window's rectangle in the client coordinates of `frame`.
    RECT PlaceIn(const CWnd& frame) const;

    // Copies data from the controls into the object's fields (`save` non-zero) or the other way. Returns
    // false when a control is missing.
    bool UpdateData(BOOL save = TRUE);

  protected:
    // Lists what UpdateData copies.
    virtual void DoDataExchange(CDataExchange*) {}
    virtual MessageMap GetMessageMap() const { return {}; }
};

class CButton : public CWnd {
    DECLARE_DYNAMIC(CButton)
};
class CStatic : public CWnd {
    DECLARE_DYNAMIC(CStatic)
};
class CEdit : public CWnd {
    DECLARE_DYNAMIC(CEdit)
};

// Shows a message box with the application's name as its caption. Returns the button pressed.
int AfxMessageBox(LPCWSTR text, UINT type = MB_OK);

// The class holds DECLARE_MESSAGE_MAP(). Its .cpp file holds BEGIN_MESSAGE_MAP, a row for each handler, and
// END_MESSAGE_MAP.
// clang-format off
#define DECLARE_MESSAGE_MAP() \
  protected:                  \
    MessageMap GetMessageMap() const override;
#define BEGIN_MESSAGE_MAP(class_name)              \
    MessageMap class_name::GetMessageMap() const { \
        using ThisClass = class_name;              \
        static const MessageMapEntry entries[] = {
#define ON_BN_CLICKED(control, member) \
            {BN_CLICKED, control, static_cast<void (CWnd::*)()>(&ThisClass::member)},
#define END_MESSAGE_MAP() \
        };                \
        return entries;   \
    }
// clang-format on
