// The shell's folders, links and notifications that this project calls.
#pragma once
#include <objbase.h>
#include <shellapi.h>
#include <windows.h>

#define CSIDL_DESKTOP 0x0000
#define CSIDL_PROGRAMS 0x0002
#define CSIDL_PERSONAL 0x0005
#define CSIDL_STARTUP 0x0007
#define CSIDL_STARTMENU 0x000B
#define CSIDL_DESKTOPDIRECTORY 0x0010
#define CSIDL_COMMON_STARTMENU 0x0016
#define CSIDL_COMMON_PROGRAMS 0x0017
#define CSIDL_COMMON_STARTUP 0x0018
#define CSIDL_COMMON_DESKTOPDIRECTORY 0x0019
#define CSIDL_APPDATA 0x001A
#define CSIDL_LOCAL_APPDATA 0x001C
#define CSIDL_COMMON_APPDATA 0x0023
#define CSIDL_WINDOWS 0x0024
#define CSIDL_SYSTEM 0x0025
#define CSIDL_PROGRAM_FILES 0x0026
#define CSIDL_MYPICTURES 0x0027
#define CSIDL_PROFILE 0x0028
#define CSIDL_COMMON_DOCUMENTS 0x002E
#define CSIDL_COMMON_PICTURES 0x0036
#define CSIDL_FLAG_CREATE 0x8000
#define SHGFP_TYPE_CURRENT 0
#define SHCNE_ASSOCCHANGED 0x08000000
#define SHCNF_IDLIST 0x0000
#define SLGP_RAWPATH 4
#define BIF_RETURNONLYFSDIRS 0x1u
#define BIF_EDITBOX 0x10u
#define BIF_VALIDATE 0x20u
#define BIF_NEWDIALOGSTYLE 0x40u
#define BFFM_INITIALIZED 1u
#define BFFM_SELCHANGED 2u
#define BFFM_VALIDATEFAILEDW 4u
#define BFFM_SETSELECTIONW (WM_USER + 103)

struct SHITEMID {
    USHORT cb;
    BYTE abID[1];
};
struct ITEMIDLIST {
    SHITEMID mkid;
};
using PIDLIST_ABSOLUTE = ITEMIDLIST*;
using PCIDLIST_ABSOLUTE = const ITEMIDLIST*;
using BFFCALLBACK = int (*)(HWND, UINT, LPARAM, LPARAM);
struct BROWSEINFOW {
    HWND hwndOwner;
    PCIDLIST_ABSOLUTE pidlRoot;
    LPWSTR pszDisplayName;
    LPCWSTR lpszTitle;
    UINT ulFlags;
    BFFCALLBACK lpfn;
    LPARAM lParam;
    int iImage;
};

struct IShellLinkW : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetPath(LPWSTR path, int cchPath, WIN32_FIND_DATAW* data,
                                              DWORD flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetIDList(void** list) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetIDList(const void* list) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDescription(LPWSTR text, int cchText) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDescription(LPCWSTR text) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetWorkingDirectory(LPWSTR path, int cchPath) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetWorkingDirectory(LPCWSTR path) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetArguments(LPWSTR text, int cchText) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetArguments(LPCWSTR text) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHotkey(WORD* key) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetHotkey(WORD key) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetShowCmd(int* showCommand) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetShowCmd(int showCommand) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetIconLocation(LPWSTR path, int cchPath, int* icon) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetIconLocation(LPCWSTR path, int icon) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetRelativePath(LPCWSTR path, DWORD reserved) = 0;
    virtual HRESULT STDMETHODCALLTYPE Resolve(HWND owner, DWORD flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetPath(LPCWSTR path) = 0;

  protected:
    ~IShellLinkW() = default;
};

extern const CLSID CLSID_ShellLink;
extern const IID IID_IShellLinkW;

PIDLIST_ABSOLUTE SHBrowseForFolderW(BROWSEINFOW* browse);
BOOL SHGetPathFromIDListW(PCIDLIST_ABSOLUTE items, LPWSTR path);
HRESULT SHGetMalloc(IMalloc** allocator);
HRESULT SHGetFolderPathW(HWND owner, int folder, HANDLE token, DWORD flags, LPWSTR path);
void SHChangeNotify(LONG event, UINT flags, LPCVOID item1, LPCVOID item2);
