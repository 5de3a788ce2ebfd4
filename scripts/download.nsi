; The download of a package: unpacks it, starts its setup program, and exits with setup's exit code. scripts/make_download.sh
; compiles it.
;   makensis -DPACKAGE=folder -DOUTPUT=file -DICON=file -DNAME=text -DVERSION=a.b.c.d -DCOMPANY=text -DCOPYRIGHT=text \
;           -DNEEDED=bytes download.nsi

!include LogicLib.nsh

Unicode true
Target amd64-unicode
SetCompressor /SOLID /FINAL lzma
CRCCheck force
; Elevation is asked for once, because setup inherits the rights.
RequestExecutionLevel admin
ManifestDPIAware true
OutFile "${OUTPUT}"
Name "${NAME}"
Icon "${ICON}"
VIProductVersion "${VERSION}"
VIFileVersion "${VERSION}"
VIAddVersionKey "CompanyName" "${COMPANY}"
VIAddVersionKey "FileDescription" "${NAME} Setup"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "LegalCopyright" "${COPYRIGHT}"
VIAddVersionKey "ProductName" "${NAME}"
VIAddVersionKey "ProductVersion" "${VERSION}"
; The only page shows the progress of unpacking.
Page instfiles
AutoCloseWindow true
ShowInstDetails nevershow
BrandingText " "
XPStyle on

; The exit code if this program ends before setup starts.
!define FAILED 2
; The longest command line that starts setup. The variables have this size.
!define /math MOST_CHARS ${NSIS_MAX_STRLEN} - 1

Var CommandLine ; address of the whole line
Var Arguments   ; as they were given

!macro Fail text
    MessageBox MB_OK|MB_ICONSTOP "${text}" /SD IDOK
    SetErrorLevel ${FAILED}
    Quit
!macroend

; Reads the arguments as setup will. "-s" also makes this program silent, unless "-v" or "-sconf" comes before it and ends the
; reading. With "-sconf" setup shows only its last page.
Function ReadSilence
    System::Call 'shell32::CommandLineToArgvW(p $CommandLine, *i .r1) p.r0'
    StrCpy $2 1
    ${DoWhile} $2 < $1
        IntOp $3 $2 * ${NSIS_PTR_SIZE}
        IntPtrOp $3 $0 + $3
        System::Call '*$3(p.r3)'
        ; Long enough to distinguish the options from longer arguments.
        System::Call 'kernel32::lstrcpynW(w.r4, p r3, i 16)'
        ${If} $4 == "-s"
            SetSilent silent
        ${ElseIf} $4 == "-sconf"
            SetSilent silent
            ${Break}
        ${ElseIf} $4 == "-v"
            ${Break}
        ${EndIf}
        IntOp $2 $2 + 1
    ${Loop}
FunctionEnd

Function .onInit
    System::Call 'kernel32::GetCommandLineW() p.r0'
    StrCpy $CommandLine $0
    Call ReadSilence
    InitPluginsDir

    System::Call 'shlwapi::PathGetArgsW(p $CommandLine) p.r0'
    System::Call 'kernel32::lstrlenW(p r0) i.r1'
    StrCpy $2 '"$PLUGINSDIR\package\setup.exe" "-sfxname=$EXEPATH" '
    StrLen $2 $2
    IntOp $1 $1 + $2
    ${If} $1 > ${MOST_CHARS}
        !insertmacro Fail "The command line is too long."
    ${EndIf}
    System::Call 'kernel32::lstrcpynW(w.r1, p r0, i ${NSIS_MAX_STRLEN})'
    StrCpy $Arguments $1

    System::Call 'kernel32::GetDiskFreeSpaceExW(w "$PLUGINSDIR", *l .r0, p 0, p 0) i.r1'
    System::Int64Op $0 < ${NEEDED}
    Pop $0
    ${If} $1 <> 0
    ${AndIf} $0 <> 0
        !insertmacro Fail "The drive of the temporary folder has too little free space."
    ${EndIf}
FunctionEnd

Section
    SetOutPath "$PLUGINSDIR\package"
    File /r "${PACKAGE}/*.*"
    HideWindow
    ClearErrors
    ExecWait '"$PLUGINSDIR\package\setup.exe" "-sfxname=$EXEPATH" $Arguments' $0
    ${If} ${Errors}
        !insertmacro Fail "Setup can't be started."
    ${EndIf}
    ; A folder can't be deleted while it is the current folder of a program. This program leaves it; if another program is in it,
    ; it is deleted at the next start.
    SetOutPath "$TEMP"
    RMDir /r /REBOOTOK "$PLUGINSDIR"
    SetErrorLevel $0
SectionEnd
