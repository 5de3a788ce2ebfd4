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
    // Takes the type over. 0 when no folder is chosen: the page has said so, and stays.
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

// How many names in the folder match the pattern, without "." and ".."; folders count like files. 0 for a
// folder that can't be read.
int CountFolderEntries(LPCWSTR pattern, LPCWSTR folder);

// Lets the folder browser open at the target folder, and stay open when a name is typed that is no folder.
int CALLBACK BrowseCallbackProc(HWND browser, UINT message, LPARAM lParam, LPARAM data);
