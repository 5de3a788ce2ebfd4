// A new machine has two users, Ann and Bob. Its registry has the keys that an installer reads.
#include "core/new_machine.h"

namespace winhost {

namespace {

constexpr const char* kFolders[] = {
    ".state",
    ".state/processes",
    "C/Program Files/Common Files",
    "C/Program Files (x86)/Common Files",
    "C/ProgramData/Microsoft/Windows/Start Menu/Programs/Startup",
    "C/Users/Ann/AppData/Local/Temp",
    "C/Users/Ann/AppData/Roaming/Microsoft/Windows/Start Menu/Programs/Startup",
    "C/Users/Ann/Desktop",
    "C/Users/Ann/Documents",
    "C/Users/Ann/Pictures",
    "C/Users/Bob/AppData/Roaming/Microsoft/Windows/Start Menu/Programs/Startup",
    "C/Users/Bob/Desktop",
    "C/Users/Public/Desktop",
    "C/Users/Public/Documents",
    "C/Users/Public/Pictures",
    "C/Windows/System32",
    "C/Windows/Temp",
    "D",
};

constexpr Variable kFirstValues[] = {
    {"ALLUSERSPROFILE", R"(C:\ProgramData)"},
    {"APPDATA", R"(C:\Users\Ann\AppData\Roaming)"},
    {"COMMONPROGRAMFILES", R"(C:\Program Files\Common Files)"},
    {"COMMONPROGRAMFILES(X86)", R"(C:\Program Files (x86)\Common Files)"},
    {"COMMONPROGRAMW6432", R"(C:\Program Files\Common Files)"},
    {"COMPUTERNAME", "MACHINE"},
    {"COMSPEC", R"(C:\Windows\system32\cmd.exe)"},
    {"HOMEDRIVE", "C:"},
    {"HOMEPATH", R"(\Users\Ann)"},
    {"LOCALAPPDATA", R"(C:\Users\Ann\AppData\Local)"},
    {"LOGONSERVER", R"(\\MACHINE)"},
    {"NUMBER_OF_PROCESSORS", "2"},
    {"OS", "Windows_NT"},
    {"PATH", R"(C:\Windows\system32;C:\Windows)"},
    {"PATHEXT", ".COM;.EXE;.BAT;.CMD"},
    {"PROCESSOR_ARCHITECTURE", "AMD64"},
    {"PROGRAMDATA", R"(C:\ProgramData)"},
    {"PROGRAMFILES", R"(C:\Program Files)"},
    {"PROGRAMFILES(X86)", R"(C:\Program Files (x86))"},
    {"PROGRAMW6432", R"(C:\Program Files)"},
    {"PUBLIC", R"(C:\Users\Public)"},
    {"SYSTEMDRIVE", "C:"},
    {"SYSTEMROOT", R"(C:\Windows)"},
    {"TEMP", R"(C:\Users\Ann\AppData\Local\Temp)"},
    {"TMP", R"(C:\Users\Ann\AppData\Local\Temp)"},
    {"USERDOMAIN", "MACHINE"},
    {"USERNAME", "Ann"},
    {"USERPROFILE", R"(C:\Users\Ann)"},
    {"WINDIR", R"(C:\Windows)"},
};

}  // namespace

constinit const std::span<const char* const> kNewFolders = kFolders;
constinit const std::span<const Variable> kNewVariables = kFirstValues;

constinit const std::string_view kNewRegistry = R"(Windows Registry Editor Version 5.00

[HKEY_LOCAL_MACHINE\SOFTWARE\Classes\.bmp]
@="Paint.Picture"
"Content Type"="image/bmp"
"PerceivedType"="image"
[HKEY_LOCAL_MACHINE\SOFTWARE\Classes\.gif]
@="giffile"
"Content Type"="image/gif"
"PerceivedType"="image"
[HKEY_LOCAL_MACHINE\SOFTWARE\Classes\.jpg]
@="jpegfile"
"Content Type"="image/jpeg"
"PerceivedType"="image"
[HKEY_LOCAL_MACHINE\SOFTWARE\Classes\.png]
@="pngfile"
"Content Type"="image/png"
"PerceivedType"="image"
[HKEY_LOCAL_MACHINE\SOFTWARE\Classes\.txt]
@="txtfile"
[HKEY_LOCAL_MACHINE\SOFTWARE\Classes\Applications]
[HKEY_LOCAL_MACHINE\SOFTWARE\Classes\CLSID]
[HKEY_LOCAL_MACHINE\SOFTWARE\Classes\giffile]
@="GIF Image"
[HKEY_LOCAL_MACHINE\SOFTWARE\Classes\jpegfile]
@="JPEG Image"
[HKEY_LOCAL_MACHINE\SOFTWARE\Classes\Paint.Picture]
@="Bitmap Image"
[HKEY_LOCAL_MACHINE\SOFTWARE\Classes\pngfile]
@="PNG Image"
[HKEY_LOCAL_MACHINE\SOFTWARE\Classes\txtfile]
@="Text Document"

[HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion]
"ProgramFilesDir"="C:\\Program Files"
[HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\App Paths]
[HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer\Shell Folders]
"Common AppData"="C:\\ProgramData"
"Common Desktop"="C:\\Users\\Public\\Desktop"
"Common Documents"="C:\\Users\\Public\\Documents"
"Common Programs"="C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs"
"Common Startup"="C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs\\Startup"
"CommonPictures"="C:\\Users\\Public\\Pictures"
[HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Uninstall]
[HKEY_LOCAL_MACHINE\SOFTWARE\RegisteredApplications]
[HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\Session Manager]

[HKEY_USERS\.DEFAULT\Software\Microsoft\Windows\CurrentVersion\Explorer\Shell Folders]
"AppData"="C:\\Windows\\System32\\config\\systemprofile\\AppData\\Roaming"
"Programs"="C:\\Windows\\System32\\config\\systemprofile\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs"
"Startup"="C:\\Windows\\System32\\config\\systemprofile\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs\\Startup"

[HKEY_USERS\S-1-5-21-1000-1000-1000-1001\Software\Classes]
[HKEY_USERS\S-1-5-21-1000-1000-1000-1001\Software\Microsoft\Windows\CurrentVersion\Explorer\FileExts\.bmp\UserChoice]
"Progid"="Paint.Picture"
[HKEY_USERS\S-1-5-21-1000-1000-1000-1001\Software\Microsoft\Windows\CurrentVersion\Explorer\FileExts\.gif\UserChoice]
"Progid"="giffile"
[HKEY_USERS\S-1-5-21-1000-1000-1000-1001\Software\Microsoft\Windows\CurrentVersion\Explorer\FileExts\.jpg\UserChoice]
"Progid"="jpegfile"
[HKEY_USERS\S-1-5-21-1000-1000-1000-1001\Software\Microsoft\Windows\CurrentVersion\Explorer\FileExts\.png]
[HKEY_USERS\S-1-5-21-1000-1000-1000-1001\Software\Microsoft\Windows\CurrentVersion\Explorer\Shell Folders]
"AppData"="C:\\Users\\Ann\\AppData\\Roaming"
"Desktop"="C:\\Users\\Ann\\Desktop"
"My Pictures"="C:\\Users\\Ann\\Pictures"
"Personal"="C:\\Users\\Ann\\Documents"
"Programs"="C:\\Users\\Ann\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs"
"Startup"="C:\\Users\\Ann\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs\\Startup"
[HKEY_USERS\S-1-5-21-1000-1000-1000-1001_Classes]

[HKEY_USERS\S-1-5-21-1000-1000-1000-1002\Software\Microsoft\Windows\CurrentVersion\Explorer\FileExts\.png\UserChoice]
"Progid"="pngfile"
[HKEY_USERS\S-1-5-21-1000-1000-1000-1002\Software\Microsoft\Windows\CurrentVersion\Explorer\Shell Folders]
"AppData"="C:\\Users\\Bob\\AppData\\Roaming"
"Desktop"="C:\\Users\\Bob\\Desktop"
"My Pictures"="C:\\Users\\Bob\\Pictures"
"Personal"="C:\\Users\\Bob\\Documents"
"Programs"="C:\\Users\\Bob\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs"
"Startup"="C:\\Users\\Bob\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs\\Startup"
)";

}  // namespace winhost
