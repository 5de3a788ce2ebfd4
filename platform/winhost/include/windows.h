// The part of <windows.h> that this project calls, for a host that has none. Names, values and sizes are those of
// Windows. Everything here is implemented in platform/winhost. A call, flag or argument that is not modelled ends the
// run.
//
//   types and constants   ·  text of the runtime library   ·  files   ·  profile files   ·  processes and modules
//   security              ·  system                        ·  registry ·  resources and versions
//   windows               ·  dialogs and controls
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>

// ---- types and constants ----------------------------------------------------------------------------------------

using WCHAR = char16_t;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using ULONG = std::uint32_t;
using LONG = std::int32_t;
using BOOL = std::int32_t;
using USHORT = std::uint16_t;
using UCHAR = std::uint8_t;
using SHORT = std::int16_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using DWORD_PTR = std::uintptr_t;
using ULONG_PTR = std::uintptr_t;
using UINT_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using INT_PTR = std::intptr_t;
using SIZE_T = std::size_t;
using WPARAM = UINT_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;
using HRESULT = LONG;
using LSTATUS = LONG;
using NTSTATUS = LONG;
using ATOM = WORD;

using LPVOID = void*;
using LPCVOID = const void*;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using LPCSTR = const char*;
using LPBYTE = BYTE*;
using LPDWORD = DWORD*;
using PDWORD = DWORD*;
using PBOOL = BOOL*;
using PUINT = UINT*;

using HANDLE = void*;
using PHANDLE = HANDLE*;
#define DECLARE_HANDLE(name) \
    struct name##__ {        \
        int unused;          \
    };                       \
    using name = name##__*
DECLARE_HANDLE(HINSTANCE);
DECLARE_HANDLE(HKEY);
DECLARE_HANDLE(HWND);
DECLARE_HANDLE(HICON);
DECLARE_HANDLE(HMENU);
DECLARE_HANDLE(HBRUSH);
using HMODULE = HINSTANCE;
using HCURSOR = HICON;
using PHKEY = HKEY*;
using FARPROC = INT_PTR (*)();
using WNDPROC = LRESULT (*)(HWND, UINT, WPARAM, LPARAM);
using DLGPROC = INT_PTR (*)(HWND, UINT, WPARAM, LPARAM);

#define WINAPI
#define CALLBACK
#define TEXT(quote) u##quote
#define FALSE 0
#define TRUE 1
#define MAX_PATH 260
#define INFINITE 0xFFFFFFFFu
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1)))
#define LOWORD(l) (static_cast<WORD>(static_cast<DWORD_PTR>(l) & 0xFFFF))
#define HIWORD(l) (static_cast<WORD>((static_cast<DWORD_PTR>(l) >> 16) & 0xFFFF))
#define MAKELONG(a, b) \
    (static_cast<LONG>((static_cast<WORD>(a)) | (static_cast<DWORD>(static_cast<WORD>(b)) << 16)))
#define MAKEWPARAM(l, h) (static_cast<WPARAM>(static_cast<DWORD>(MAKELONG(l, h))))
#define MAKELPARAM(l, h) (static_cast<LPARAM>(static_cast<DWORD>(MAKELONG(l, h))))
#define MAKEINTRESOURCEW(i) (reinterpret_cast<LPCWSTR>(static_cast<ULONG_PTR>(static_cast<WORD>(i))))
#define IS_INTRESOURCE(p) ((reinterpret_cast<ULONG_PTR>(p) >> 16) == 0)

struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};
union LARGE_INTEGER {
    LONGLONG QuadPart;
};
union ULARGE_INTEGER {
    ULONGLONG QuadPart;
};
struct POINT {
    LONG x;
    LONG y;
};
struct RECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};
using LPPOINT = POINT*;
using LPRECT = RECT*;
struct SECURITY_ATTRIBUTES;
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

#define ERROR_SUCCESS 0L
#define ERROR_FILE_NOT_FOUND 2L
#define ERROR_PATH_NOT_FOUND 3L
#define ERROR_TOO_MANY_OPEN_FILES 4L
#define ERROR_ACCESS_DENIED 5L
#define ERROR_INVALID_HANDLE 6L
#define ERROR_NOT_ENOUGH_MEMORY 8L
#define ERROR_NOT_SAME_DEVICE 17L
#define ERROR_INVALID_DATA 13L
#define ERROR_NO_MORE_FILES 18L
#define ERROR_SHARING_VIOLATION 32L
#define ERROR_HANDLE_DISK_FULL 39L
#define ERROR_BAD_NETPATH 53L
#define ERROR_FILE_EXISTS 80L
#define ERROR_INVALID_PARAMETER 87L
#define ERROR_BUFFER_OVERFLOW 111L
#define ERROR_DISK_FULL 112L
#define ERROR_INSUFFICIENT_BUFFER 122L
#define ERROR_INVALID_NAME 123L
#define ERROR_MOD_NOT_FOUND 126L
#define ERROR_PROC_NOT_FOUND 127L
#define ERROR_NEGATIVE_SEEK 131L
#define ERROR_DIR_NOT_EMPTY 145L
#define ERROR_BAD_PATHNAME 161L
#define ERROR_ALREADY_EXISTS 183L
#define ERROR_BAD_EXE_FORMAT 193L
#define ERROR_ENVVAR_NOT_FOUND 203L
#define ERROR_FILENAME_EXCED_RANGE 206L
#define ERROR_MORE_DATA 234L
#define ERROR_NO_MORE_ITEMS 259L
#define ERROR_DIRECTORY 267L
#define ERROR_NOACCESS 998L
#define ERROR_KEY_DELETED 1018L
#define ERROR_MESSAGE_SYNC_ONLY 1159L
#define ERROR_INVALID_OWNER 1307L
#define ERROR_PRIVILEGE_NOT_HELD 1314L
#define ERROR_NO_SUCH_PRIVILEGE 1313L
#define ERROR_NOT_ALL_ASSIGNED 1300L
#define ERROR_INVALID_WINDOW_HANDLE 1400L
#define ERROR_TLW_WITH_WSCHILD 1406L
#define ERROR_CANNOT_FIND_WND_CLASS 1407L
#define ERROR_CLASS_ALREADY_EXISTS 1410L
#define ERROR_CONTROL_ID_NOT_FOUND 1421L
#define ERROR_TIMEOUT 1460L
#define ERROR_RESOURCE_DATA_NOT_FOUND 1812L
#define ERROR_RESOURCE_TYPE_NOT_FOUND 1813L
#define ERROR_RESOURCE_NAME_NOT_FOUND 1814L
#define ERROR_NOT_ENOUGH_QUOTA 1816L

#define S_OK 0
#define S_FALSE 1
#define E_NOINTERFACE (static_cast<HRESULT>(0x80004002u))
#define E_POINTER (static_cast<HRESULT>(0x80004003u))
#define E_FAIL (static_cast<HRESULT>(0x80004005u))
#define E_INVALIDARG (static_cast<HRESULT>(0x80070057u))
#define CO_E_NOTINITIALIZED (static_cast<HRESULT>(0x800401F0u))
#define SUCCEEDED(hr) (static_cast<HRESULT>(hr) >= 0)
#define FAILED(hr) (static_cast<HRESULT>(hr) < 0)
constexpr HRESULT HRESULT_FROM_WIN32(DWORD code) {
    return static_cast<HRESULT>(code == 0 ? 0u : (code & 0xFFFFu) | 0x80070000u);
}

DWORD GetLastError();
void SetLastError(DWORD code);

// ---- text of the runtime library --------------------------------------------------------------------------------
// Overloads for 16-bit text, in the "C" locale of Windows' runtime: only A to Z have a case, but all of Unicode's white
// space counts.

std::size_t wcslen(const char16_t* text);
char16_t* wcscpy(char16_t* target, const char16_t* source);
char16_t* wcscat(char16_t* target, const char16_t* source);
int wcscmp(const char16_t* left, const char16_t* right);
int wcsncmp(const char16_t* left, const char16_t* right, std::size_t count);
const char16_t* wcschr(const char16_t* text, char16_t unit);
char16_t* wcschr(char16_t* text, char16_t unit);
const char16_t* wcsrchr(const char16_t* text, char16_t unit);
char16_t* wcsrchr(char16_t* text, char16_t unit);
const char16_t* wcsstr(const char16_t* text, const char16_t* part);
char16_t* wcsstr(char16_t* text, const char16_t* part);
int _wcsicmp(const char16_t* left, const char16_t* right);
int _wcsnicmp(const char16_t* left, const char16_t* right, std::size_t count);
int iswspace(char16_t unit);
int _wtoi(const char16_t* text);
int _vsnwprintf(char16_t* buffer, std::size_t count, const char16_t* format, va_list arguments);

// ---- runtime library: files, processes ---------------------------------------------------------------------------

// Text mode as in Windows' runtime: CR LF is read as one line feed, 0x1A ends the text, and a line feed is written as
// CR LF. Modes: "r", "w", "a", "rb", "wb", "ab".
FILE* _wfopen(const char16_t* path, const char16_t* mode);
int _waccess(const char16_t* path, int mode);
void _wsplitpath(const char16_t* path, char16_t* drive, char16_t* directory, char16_t* name,
                 char16_t* extension);
// The arguments after the program are LPCWSTR. A null one ends them.
INT_PTR _wexecl(const char16_t* program, const char16_t* argument0, ...);
extern int __argc;
extern char16_t** __wargv;

#define _MAX_PATH 260
#define _MAX_DRIVE 3
#define _MAX_DIR 256

using __time64_t = long long;
__time64_t _time64(__time64_t* now);
std::tm* _localtime64(const __time64_t* time);

// ---- files ------------------------------------------------------------------------------------------------------

#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define DELETE 0x00010000u
#define READ_CONTROL 0x00020000u
#define FILE_SHARE_READ 1u
#define FILE_SHARE_WRITE 2u
#define FILE_SHARE_DELETE 4u
#define CREATE_NEW 1u
#define CREATE_ALWAYS 2u
#define OPEN_EXISTING 3u
#define OPEN_ALWAYS 4u
#define TRUNCATE_EXISTING 5u
#define FILE_ATTRIBUTE_READONLY 0x1u
#define FILE_ATTRIBUTE_HIDDEN 0x2u
#define FILE_ATTRIBUTE_SYSTEM 0x4u
#define FILE_ATTRIBUTE_DIRECTORY 0x10u
#define FILE_ATTRIBUTE_ARCHIVE 0x20u
#define FILE_ATTRIBUTE_NORMAL 0x80u
#define FILE_ATTRIBUTE_TEMPORARY 0x100u
#define FILE_ATTRIBUTE_REPARSE_POINT 0x400u
#define FILE_ATTRIBUTE_OFFLINE 0x1000u
#define FILE_ATTRIBUTE_NOT_CONTENT_INDEXED 0x2000u
#define FILE_FLAG_BACKUP_SEMANTICS 0x02000000u
#define FILE_FLAG_OPEN_REPARSE_POINT 0x00200000u
#define FILE_BEGIN 0u
#define INVALID_FILE_ATTRIBUTES 0xFFFFFFFFu
#define INVALID_FILE_SIZE 0xFFFFFFFFu
#define MOVEFILE_REPLACE_EXISTING 1u
#define MOVEFILE_COPY_ALLOWED 2u
#define MOVEFILE_DELAY_UNTIL_REBOOT 4u
#define DRIVE_FIXED 3u

struct WIN32_FIND_DATAW {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;
    DWORD dwReserved1;
    WCHAR cFileName[MAX_PATH];
    WCHAR cAlternateFileName[14];
};

HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                   DWORD flags, HANDLE templateFile);
BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD cbBuffer, LPDWORD cbRead, void* overlapped);
BOOL WriteFile(HANDLE file, LPCVOID data, DWORD cbData, LPDWORD cbWritten, void* overlapped);
DWORD GetFileSize(HANDLE file, LPDWORD high);
BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* place, DWORD method);
BOOL SetFileTime(HANDLE file, const FILETIME* created, const FILETIME* accessed, const FILETIME* written);
BOOL CloseHandle(HANDLE handle);
BOOL CopyFileW(LPCWSTR source, LPCWSTR target, BOOL failIfExists);
BOOL MoveFileW(LPCWSTR source, LPCWSTR target);
BOOL MoveFileExW(LPCWSTR source, LPCWSTR target, DWORD flags);
BOOL DeleteFileW(LPCWSTR path);
BOOL CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES security);
BOOL RemoveDirectoryW(LPCWSTR path);
DWORD GetFileAttributesW(LPCWSTR path);
BOOL SetFileAttributesW(LPCWSTR path, DWORD attributes);
HANDLE FindFirstFileW(LPCWSTR pattern, WIN32_FIND_DATAW* data);
BOOL FindNextFileW(HANDLE find, WIN32_FIND_DATAW* data);
BOOL FindClose(HANDLE find);
DWORD GetTempPathW(DWORD cchBuffer, LPWSTR buffer);
UINT GetTempFileNameW(LPCWSTR folder, LPCWSTR prefix, UINT unique, LPWSTR name);
UINT GetWindowsDirectoryW(LPWSTR buffer, UINT cchBuffer);
UINT GetSystemDirectoryW(LPWSTR buffer, UINT cchBuffer);
DWORD GetCurrentDirectoryW(DWORD cchBuffer, LPWSTR buffer);
BOOL SetCurrentDirectoryW(LPCWSTR path);
DWORD GetFullPathNameW(LPCWSTR path, DWORD cchBuffer, LPWSTR buffer, LPWSTR* filePart);
BOOL GetDiskFreeSpaceExW(LPCWSTR folder, ULARGE_INTEGER* available, ULARGE_INTEGER* all,
                         ULARGE_INTEGER* free);

// ---- profile files ----------------------------------------------------------------------------------------------

DWORD GetPrivateProfileSectionW(LPCWSTR section, LPWSTR buffer, DWORD cchBuffer, LPCWSTR file);
BOOL WritePrivateProfileSectionW(LPCWSTR section, LPCWSTR entries, LPCWSTR file);

// ---- processes and modules --------------------------------------------------------------------------------------

#define PROCESS_TERMINATE 1u
#define PROCESS_QUERY_INFORMATION 0x400u
#define PROCESS_QUERY_LIMITED_INFORMATION 0x1000u
#define SYNCHRONIZE 0x00100000u
#define STILL_ACTIVE 259u
#define WAIT_OBJECT_0 0u
#define WAIT_ABANDONED 0x80u
#define WAIT_TIMEOUT 258u
#define WAIT_FAILED 0xFFFFFFFFu

struct STARTUPINFOW {
    DWORD cb;
    LPWSTR lpReserved;
    LPWSTR lpDesktop;
    LPWSTR lpTitle;
    DWORD dwX;
    DWORD dwY;
    DWORD dwXSize;
    DWORD dwYSize;
    DWORD dwXCountChars;
    DWORD dwYCountChars;
    DWORD dwFillAttribute;
    DWORD dwFlags;
    WORD wShowWindow;
    WORD cbReserved2;
    LPBYTE lpReserved2;
    HANDLE hStdInput;
    HANDLE hStdOutput;
    HANDLE hStdError;
};
struct PROCESS_INFORMATION {
    HANDLE hProcess;
    HANDLE hThread;
    DWORD dwProcessId;
    DWORD dwThreadId;
};

BOOL CreateProcessW(LPCWSTR application, LPWSTR commandLine, LPSECURITY_ATTRIBUTES processSecurity,
                    LPSECURITY_ATTRIBUTES threadSecurity, BOOL inheritHandles, DWORD flags,
                    LPVOID environment, LPCWSTR folder, STARTUPINFOW* startup, PROCESS_INFORMATION* process);
DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);
HANDLE OpenProcess(DWORD access, BOOL inherit, DWORD id);
BOOL TerminateProcess(HANDLE process, UINT exitCode);
BOOL GetExitCodeProcess(HANDLE process, LPDWORD exitCode);
HANDLE GetCurrentProcess();
DWORD GetCurrentProcessId();
DWORD GetCurrentThreadId();
[[noreturn]] void ExitProcess(UINT exitCode);
void Sleep(DWORD milliseconds);
DWORD GetTickCount();
DWORD GetEnvironmentVariableW(LPCWSTR name, LPWSTR buffer, DWORD cchBuffer);
BOOL SetEnvironmentVariableW(LPCWSTR name, LPCWSTR value);
LPWSTR GetCommandLineW();

HMODULE LoadLibraryW(LPCWSTR name);
BOOL FreeLibrary(HMODULE module);
HMODULE GetModuleHandleA(LPCSTR name);
HMODULE GetModuleHandleW(LPCWSTR name);
DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD cchBuffer);
FARPROC GetProcAddress(HMODULE module, LPCSTR name);
BOOL IsWow64Process(HANDLE process, PBOOL wow64);

// ---- shared objects ---------------------------------------------------------------------------------------------

#define PAGE_READWRITE 0x04u
#define SEC_COMMIT 0x08000000u
#define FILE_MAP_WRITE 2u
#define FILE_MAP_READ 4u

HANDLE CreateFileMappingW(HANDLE file, LPSECURITY_ATTRIBUTES security, DWORD protection, DWORD sizeHigh,
                          DWORD sizeLow, LPCWSTR name);
HANDLE OpenFileMappingW(DWORD access, BOOL inherit, LPCWSTR name);
LPVOID MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow, SIZE_T cbView);
BOOL UnmapViewOfFile(LPCVOID view);
HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES security, BOOL initialOwner, LPCWSTR name);
BOOL ReleaseMutex(HANDLE mutex);

// ---- security ---------------------------------------------------------------------------------------------------

#define TOKEN_ADJUST_PRIVILEGES 0x20u
#define TOKEN_QUERY 0x8u
#define SE_PRIVILEGE_ENABLED 2u
#define ANYSIZE_ARRAY 1

struct LUID {
    DWORD LowPart;
    LONG HighPart;
};
using PLUID = LUID*;
struct LUID_AND_ATTRIBUTES {
    LUID Luid;
    DWORD Attributes;
};
struct TOKEN_PRIVILEGES {
    DWORD PrivilegeCount;
    LUID_AND_ATTRIBUTES Privileges[ANYSIZE_ARRAY];
};
using PTOKEN_PRIVILEGES = TOKEN_PRIVILEGES*;

BOOL OpenProcessToken(HANDLE process, DWORD access, PHANDLE token);
BOOL LookupPrivilegeValueW(LPCWSTR system, LPCWSTR name, PLUID luid);
BOOL AdjustTokenPrivileges(HANDLE token, BOOL disableAll, PTOKEN_PRIVILEGES state, DWORD cbPrevious,
                           PTOKEN_PRIVILEGES previous, PDWORD cbNeeded);

// ---- system -----------------------------------------------------------------------------------------------------

#define EWX_REBOOT 2u

struct RTL_OSVERSIONINFOEXW {
    ULONG dwOSVersionInfoSize;
    ULONG dwMajorVersion;
    ULONG dwMinorVersion;
    ULONG dwBuildNumber;
    ULONG dwPlatformId;
    WCHAR szCSDVersion[128];
    USHORT wServicePackMajor;
    USHORT wServicePackMinor;
    USHORT wSuiteMask;
    UCHAR wProductType;
    UCHAR wReserved;
};
using RTL_OSVERSIONINFOW = RTL_OSVERSIONINFOEXW;
struct SYSTEM_INFO {
    WORD wProcessorArchitecture;
    WORD wReserved;
    DWORD dwPageSize;
    LPVOID lpMinimumApplicationAddress;
    LPVOID lpMaximumApplicationAddress;
    DWORD_PTR dwActiveProcessorMask;
    DWORD dwNumberOfProcessors;
    DWORD dwProcessorType;
    DWORD dwAllocationGranularity;
    WORD wProcessorLevel;
    WORD wProcessorRevision;
};

void GetSystemInfo(SYSTEM_INFO* info);
BOOL ExitWindowsEx(UINT flags, DWORD reason);

// ---- registry ---------------------------------------------------------------------------------------------------

#define HKEY_CLASSES_ROOT (reinterpret_cast<HKEY>(static_cast<LONG_PTR>(static_cast<LONG>(0x80000000u))))
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<LONG_PTR>(static_cast<LONG>(0x80000001u))))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<LONG_PTR>(static_cast<LONG>(0x80000002u))))
#define HKEY_USERS (reinterpret_cast<HKEY>(static_cast<LONG_PTR>(static_cast<LONG>(0x80000003u))))
#define KEY_QUERY_VALUE 0x1u
#define KEY_SET_VALUE 0x2u
#define KEY_ENUMERATE_SUB_KEYS 0x8u
#define KEY_READ 0x20019u
#define KEY_ALL_ACCESS 0xF003Fu
#define KEY_WOW64_64KEY 0x100u
#define REG_NONE 0u
#define REG_SZ 1u
#define REG_EXPAND_SZ 2u
#define REG_BINARY 3u
#define REG_DWORD 4u
#define REG_MULTI_SZ 7u
using REGSAM = DWORD;

LSTATUS RegOpenKeyExW(HKEY parent, LPCWSTR name, DWORD options, REGSAM access, PHKEY key);
LSTATUS RegCreateKeyW(HKEY parent, LPCWSTR name, PHKEY key);
LSTATUS RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD cchName);
LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD cchName, LPDWORD reserved, LPDWORD type,
                      LPBYTE data, LPDWORD cbData);
LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD cbData);
LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD cbData);
LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR name);
LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name);
LSTATUS RegCloseKey(HKEY key);

// ---- resources and versions -------------------------------------------------------------------------------------

struct VS_FIXEDFILEINFO {
    DWORD dwSignature;
    DWORD dwStrucVersion;
    DWORD dwFileVersionMS;
    DWORD dwFileVersionLS;
    DWORD dwProductVersionMS;
    DWORD dwProductVersionLS;
    DWORD dwFileFlagsMask;
    DWORD dwFileFlags;
    DWORD dwFileOS;
    DWORD dwFileType;
    DWORD dwFileSubtype;
    DWORD dwFileDateMS;
    DWORD dwFileDateLS;
};

int LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int cchBuffer);
DWORD GetFileVersionInfoSizeW(LPCWSTR path, LPDWORD handle);
BOOL GetFileVersionInfoW(LPCWSTR path, DWORD handle, DWORD cbData, LPVOID data);
BOOL VerQueryValueW(LPCVOID block, LPCWSTR query, LPVOID* value, PUINT cbValue);

// ---- windows ----------------------------------------------------------------------------------------------------

#define MB_OK 0x0u
#define MB_OKCANCEL 0x1u
#define MB_YESNOCANCEL 0x3u
#define MB_YESNO 0x4u
#define MB_ICONSTOP 0x10u
#define MB_ICONQUESTION 0x20u
#define MB_ICONWARNING 0x30u
#define MB_ICONINFORMATION 0x40u
#define MB_DEFBUTTON2 0x100u
#define IDOK 1
#define IDCANCEL 2
#define IDYES 6
#define IDNO 7
#define SW_HIDE 0
#define SW_SHOWNORMAL 1
#define SW_SHOW 5
#define SW_RESTORE 9
#define SW_SHOWDEFAULT 10
#define SWP_NOSIZE 0x1u
#define SWP_NOMOVE 0x2u
#define SWP_NOZORDER 0x4u
#define SWP_NOACTIVATE 0x10u
#define SWP_SHOWWINDOW 0x40u
#define SWP_HIDEWINDOW 0x80u
#define HWND_TOP (reinterpret_cast<HWND>(static_cast<LONG_PTR>(0)))
#define HWND_BOTTOM (reinterpret_cast<HWND>(static_cast<LONG_PTR>(1)))
#define HWND_MESSAGE (reinterpret_cast<HWND>(static_cast<LONG_PTR>(-3)))
#define WM_NULL 0x0u
#define WM_CREATE 0x1u
#define WM_DESTROY 0x2u
#define WM_MOVE 0x3u
#define WM_SIZE 0x5u
#define WM_ACTIVATE 0x6u
#define WM_SETFOCUS 0x7u
#define WM_KILLFOCUS 0x8u
#define WM_SETTEXT 0xCu
#define WM_GETTEXT 0xDu
#define WM_GETTEXTLENGTH 0xEu
#define WM_ENABLE 0xAu
#define WM_CLOSE 0x10u
#define WM_QUERYENDSESSION 0x11u
#define WM_ENDSESSION 0x16u
#define WM_QUIT 0x12u
#define WM_SHOWWINDOW 0x18u
#define WM_CANCELMODE 0x1Fu
#define WM_NEXTDLGCTL 0x28u
#define WM_SETFONT 0x30u
#define WM_GETFONT 0x31u
#define WM_NCCREATE 0x81u
#define WM_NCDESTROY 0x82u
#define WM_NCCALCSIZE 0x83u
#define WM_NCACTIVATE 0x86u
#define WM_GETDLGCODE 0x87u
#define WM_KEYFIRST 0x100u
#define WM_KEYDOWN 0x100u
#define WM_KEYUP 0x101u
#define WM_CHAR 0x102u
#define WM_SYSKEYDOWN 0x104u
#define WM_SYSKEYUP 0x105u
#define WM_SYSCHAR 0x106u
#define WM_KEYLAST 0x109u
#define WM_INITDIALOG 0x110u
#define WM_COMMAND 0x111u
#define WM_SYSCOMMAND 0x112u
#define WM_CUT 0x300u
#define WM_COPY 0x301u
#define WM_PASTE 0x302u
#define WM_CLEAR 0x303u
#define WM_UNDO 0x304u
#define WM_MOUSEFIRST 0x200u
#define WM_MOUSELAST 0x20Eu
#define WM_PARENTNOTIFY 0x210u
#define WM_USER 0x400u
#define WM_APP 0x8000u
#define SC_CLOSE 0xF060u
#define DM_GETDEFID (WM_USER + 0)
#define DM_SETDEFID (WM_USER + 1)
#define DC_HASDEFID 0x534B
#define WA_INACTIVE 0
#define WA_ACTIVE 1
#define WS_OVERLAPPED 0x0u
#define WS_CHILD 0x40000000u
#define WS_POPUP 0x80000000u
#define WS_MINIMIZE 0x20000000u
#define WS_VISIBLE 0x10000000u
#define WS_DISABLED 0x08000000u
#define WS_CLIPSIBLINGS 0x04000000u
#define WS_MAXIMIZE 0x01000000u
#define WS_CAPTION 0x00C00000u
#define WS_BORDER 0x00800000u
#define WS_DLGFRAME 0x00400000u
#define WS_SYSMENU 0x00080000u
#define WS_THICKFRAME 0x00040000u
#define WS_MINIMIZEBOX 0x00020000u
#define WS_MAXIMIZEBOX 0x00010000u
#define WS_GROUP 0x00020000u
#define WS_TABSTOP 0x00010000u
#define WS_OVERLAPPEDWINDOW \
    (WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX)
#define WS_EX_DLGMODALFRAME 0x1u
#define WS_EX_NOPARENTNOTIFY 0x4u
#define WS_EX_TOOLWINDOW 0x80u
#define WS_EX_WINDOWEDGE 0x100u
#define WS_EX_CLIENTEDGE 0x200u
#define WS_EX_CONTROLPARENT 0x10000u
#define WS_EX_STATICEDGE 0x20000u
#define CW_USEDEFAULT (static_cast<int>(0x80000000u))
#define GWL_STYLE (-16)
#define GWL_EXSTYLE (-20)
#define GWLP_ID (-12)
#define GWLP_USERDATA (-21)
#define DWLP_MSGRESULT 0
#define DWLP_USER 16
#define GW_HWNDNEXT 2u
#define GW_OWNER 4u
#define GW_CHILD 5u
#define VK_BACK 0x08
#define VK_TAB 0x09
#define VK_RETURN 0x0D
#define VK_SHIFT 0x10
#define VK_CONTROL 0x11
#define VK_CAPITAL 0x14
#define VK_ESCAPE 0x1B
#define VK_SPACE 0x20
#define VK_PRIOR 0x21
#define VK_NEXT 0x22
#define VK_END 0x23
#define VK_HOME 0x24
#define VK_LEFT 0x25
#define VK_UP 0x26
#define VK_RIGHT 0x27
#define VK_DOWN 0x28
#define VK_INSERT 0x2D
#define VK_DELETE 0x2E
#define VK_F4 0x73
#define SMTO_NORMAL 0x0u
#define PM_NOREMOVE 0u
#define PM_REMOVE 1u
#define IDC_ARROW MAKEINTRESOURCEW(32512)
#define IDC_WAIT MAKEINTRESOURCEW(32514)

struct WNDCLASSEXW {
    UINT cbSize;
    UINT style;
    WNDPROC lpfnWndProc;
    int cbClsExtra;
    int cbWndExtra;
    HINSTANCE hInstance;
    HICON hIcon;
    HCURSOR hCursor;
    HBRUSH hbrBackground;
    LPCWSTR lpszMenuName;
    LPCWSTR lpszClassName;
    HICON hIconSm;
};
struct CREATESTRUCTW {
    LPVOID lpCreateParams;
    HINSTANCE hInstance;
    HMENU hMenu;
    HWND hwndParent;
    int cy;
    int cx;
    int y;
    int x;
    LONG style;
    LPCWSTR lpszName;
    LPCWSTR lpszClass;
    DWORD dwExStyle;
};
struct MSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;
    POINT pt;
};
using LPMSG = MSG*;
using WNDENUMPROC = BOOL (*)(HWND, LPARAM);

ATOM RegisterClassExW(const WNDCLASSEXW* windowClass);
HWND CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR title, DWORD style, int x, int y, int width,
                     int height, HWND parent, HMENU menu, HINSTANCE instance, LPVOID parameter);
BOOL DestroyWindow(HWND window);
LRESULT DefWindowProcW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
BOOL EnumWindows(WNDENUMPROC callback, LPARAM context);
HWND FindWindowExW(HWND parent, HWND after, LPCWSTR className, LPCWSTR title);
DWORD GetWindowThreadProcessId(HWND window, LPDWORD process);
HWND GetWindow(HWND window, UINT relation);
HWND GetParent(HWND window);
int GetClassNameW(HWND window, LPWSTR name, int cchName);
LONG GetWindowLongW(HWND window, int index);
LONG_PTR GetWindowLongPtrW(HWND window, int index);
LONG_PTR SetWindowLongPtrW(HWND window, int index, LONG_PTR value);
int GetWindowTextW(HWND window, LPWSTR text, int cchText);
int GetWindowTextLengthW(HWND window);
BOOL SetWindowTextW(HWND window, LPCWSTR text);
BOOL IsWindow(HWND window);
BOOL IsWindowEnabled(HWND window);
BOOL EnableWindow(HWND window, BOOL enable);
BOOL IsWindowVisible(HWND window);
BOOL ShowWindow(HWND window, int command);
BOOL UpdateWindow(HWND window);
BOOL SetWindowPos(HWND window, HWND after, int x, int y, int width, int height, UINT flags);
BOOL GetWindowRect(HWND window, LPRECT rectangle);
BOOL ClientToScreen(HWND window, LPPOINT point);
BOOL ScreenToClient(HWND window, LPPOINT point);
HWND GetForegroundWindow();
BOOL SetForegroundWindow(HWND window);
HWND GetActiveWindow();
HWND GetLastActivePopup(HWND window);
HWND GetFocus();
HWND SetFocus(HWND window);
SHORT GetKeyState(int key);
BOOL SetKeyboardState(LPBYTE keys);
HCURSOR LoadCursorW(HINSTANCE module, LPCWSTR name);
HCURSOR SetCursor(HCURSOR cursor);

int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style);
LRESULT SendMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
LRESULT SendMessageTimeoutW(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT flags,
                            UINT milliseconds, DWORD_PTR* result);
BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
BOOL GetMessageW(MSG* message, HWND window, UINT first, UINT last);
BOOL PeekMessageW(MSG* message, HWND window, UINT first, UINT last, UINT flags);
BOOL TranslateMessage(const MSG* message);
LRESULT DispatchMessageW(const MSG* message);
void PostQuitMessage(int exitCode);

// ---- dialogs and controls ---------------------------------------------------------------------------------------

#define DS_SETFONT 0x40u
#define DS_MODALFRAME 0x80u
#define DS_CONTROL 0x400u
#define DS_CENTER 0x800u
#define DLGC_WANTARROWS 0x1
#define DLGC_WANTTAB 0x2
#define DLGC_WANTALLKEYS 0x4
#define DLGC_HASSETSEL 0x8
#define DLGC_DEFPUSHBUTTON 0x10
#define DLGC_UNDEFPUSHBUTTON 0x20
#define DLGC_RADIOBUTTON 0x40
#define DLGC_WANTCHARS 0x80
#define DLGC_STATIC 0x100
#define DLGC_BUTTON 0x2000
#define BS_PUSHBUTTON 0x0u
#define BS_DEFPUSHBUTTON 0x1u
#define BS_CHECKBOX 0x2u
#define BS_AUTOCHECKBOX 0x3u
#define BS_RADIOBUTTON 0x4u
#define BS_GROUPBOX 0x7u
#define BS_AUTORADIOBUTTON 0x9u
#define BS_TYPEMASK 0xFu
#define BS_MULTILINE 0x2000u
#define BN_CLICKED 0
#define BST_UNCHECKED 0
#define BST_CHECKED 1
#define BST_PUSHED 4
#define BST_FOCUS 8
#define BM_GETCHECK 0xF0u
#define BM_SETCHECK 0xF1u
#define BM_GETSTATE 0xF2u
#define BM_SETSTYLE 0xF4u
#define BM_CLICK 0xF5u
#define SS_CENTER 0x1u
#define SS_BITMAP 0xEu
#define SS_ETCHEDHORZ 0x10u
#define SS_TYPEMASK 0x1Fu
#define SS_REALSIZECONTROL 0x40u
#define SS_NOPREFIX 0x80u
#define SS_SUNKEN 0x1000u
#define STM_GETIMAGE 0x173u
#define IMAGE_BITMAP 0u
#define ES_MULTILINE 0x4u
#define ES_AUTOVSCROLL 0x40u
#define ES_AUTOHSCROLL 0x80u
#define ES_READONLY 0x800u
#define ES_WANTRETURN 0x1000u
#define EN_SETFOCUS 0x100
#define EN_KILLFOCUS 0x200
#define EN_CHANGE 0x300
#define EN_UPDATE 0x400
#define EN_MAXTEXT 0x501
#define EM_GETSEL 0xB0u
#define EM_SETSEL 0xB1u
#define EM_SCROLLCARET 0xB7u
#define EM_REPLACESEL 0xC2u
#define EM_SETLIMITTEXT 0xC5u
#define EM_CANUNDO 0xC6u
#define EM_UNDO 0xC7u
#define EM_EMPTYUNDOBUFFER 0xCDu
#define EM_SETREADONLY 0xCFu
#define EM_GETLIMITTEXT 0xD5u

#pragma pack(push, 2)
struct DLGTEMPLATE {
    DWORD style;
    DWORD dwExtendedStyle;
    WORD cdit;
    SHORT x;
    SHORT y;
    SHORT cx;
    SHORT cy;
};
#pragma pack(pop)
using LPCDLGTEMPLATEW = const DLGTEMPLATE*;

HWND CreateDialogParamW(HINSTANCE module, LPCWSTR name, HWND parent, DLGPROC procedure, LPARAM parameter);
HWND CreateDialogIndirectParamW(HINSTANCE module, LPCDLGTEMPLATEW dialog, HWND parent, DLGPROC procedure,
                                LPARAM parameter);
INT_PTR DialogBoxParamW(HINSTANCE module, LPCWSTR name, HWND owner, DLGPROC procedure, LPARAM parameter);
INT_PTR DialogBoxIndirectParamW(HINSTANCE module, LPCDLGTEMPLATEW dialog, HWND owner, DLGPROC procedure,
                                LPARAM parameter);
BOOL EndDialog(HWND dialog, INT_PTR result);
BOOL IsDialogMessageW(HWND dialog, LPMSG message);
HWND GetDlgItem(HWND dialog, int id);
int GetDlgCtrlID(HWND window);
HWND GetNextDlgTabItem(HWND dialog, HWND control, BOOL previous);
UINT GetDlgItemTextW(HWND dialog, int id, LPWSTR text, int cchText);
BOOL CheckRadioButton(HWND dialog, int first, int last, int checked);
UINT IsDlgButtonChecked(HWND dialog, int id);

// Each program defines its entry.
int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previous, LPWSTR commandLine, int showCommand);
