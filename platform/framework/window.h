// CWnd: a window by its handle; CButton, CStatic, CEdit: the controls of a dialog; message maps.
//
// An object of a control only names its window, and neither ends with the other. Without a window every
// operation does nothing and gives 0.
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
    // An object that is the application's main window ceases to be it.
    ~CWnd() override;

    // The window, or null before it is made and after it is gone.
    HWND m_hWnd = nullptr;

    // Destroys the window. 0 when it can't be or, in a class that overrides it, may not be left now.
    virtual BOOL DestroyWindow();

    // The window of a child, by its number; null when there is none.
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
    // The window's place on the screen, in the client coordinates of `frame`.
    RECT PlaceIn(const CWnd& frame) const;

    // Moves data from the controls into the object's fields (`save` non-zero), or the other way. False when a
    // control is missing.
    bool UpdateData(BOOL save = TRUE);

  protected:
    // Names what UpdateData moves.
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

// In the class: DECLARE_MESSAGE_MAP(). Beside its code: BEGIN_MESSAGE_MAP, a row for each handler, and
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
