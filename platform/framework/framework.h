// The dialog framework that the program uses. It is small, calls only Win32, and is
// the same code on both targets.
//
//   CObject, CRuntimeClass       object.h       base class with run-time class information
//   CString                      text.h         wide text that owns its characters
//   CDWordArray                  collections.h  growing array of 32-bit numbers with checked access
//   CInvalidArgException         collections.h  thrown by checked access
//   CMutex, CSingleLock          sync.h         a named mutex, and the lock that takes it
//   CWinApp, CWinThread          app.h          the application object, the program's entry
//   CWnd and its message map     window.h       a window by its handle; AfxMessageBox
//   CButton, CStatic, CEdit      window.h       the controls of a dialog
//   CDialog, CDataExchange       dialog.h       a dialog from a template; its fields and controls
#pragma once

#include "app.h"
#include "collections.h"
#include "dialog.h"
#include "object.h"
#include "sync.h"
#include "text.h"
#include "window.h"
