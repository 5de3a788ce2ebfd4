// The destination page: for whom, and into which folder.
#pragma once

#include <framework.h>

#include <shlobj.h>

class CFolderDlg : public CDialog {
    DECLARE_DYNAMIC(CFolderDlg)

    CString m_hint;
    CStatic m_folderText;
    int m_type = -1;

  public:
    explicit CFolderDlg(CWnd* parent = nullptr);
    BOOL CreatePage(UINT templateId, CWnd* parent) { return Create(templateId, parent); }
    // Stores the type. When no folder is chosen, it says so, returns 0, and the page stays.
    BOOL DestroyWindow() override;

  protected:
    void DoDataExchange(CDataExchange* exchange) override;
    BOOL OnInitDialog() override;
    void OnTypeChanged();
    void OnBrowse();
    DECLARE_MESSAGE_MAP()

  private:
    void TakeFolder(const CString& chosen);
};

// The number of files and folders that match the pattern, without "." and "..". Returns 0 for
// a folder that can't be read.
int CountFolderEntries(LPCWSTR pattern, LPCWSTR folder);

// Makes the folder browser open at the target folder, and stay open when the typed name isn't a folder.
int CALLBACK BrowseCallbackProc(HWND browser, UINT message, LPARAM lParam, LPARAM data);
