; Another installer that does the same as the setup program with the package of the benchmark: the same files, shortcuts,
; registry values and started programs. It has its fastest setting: nothing is compressed or checked. With -DDOWNLOAD it packs
; the files as well as it can.
;   makensis -DPACKAGE=folder -DOUTPUT=file [-DDOWNLOAD] other_installer.nsi

Unicode true
Target amd64-unicode
Name "Other 8"
OutFile "${OUTPUT}"
InstallDir "C:\Other 8"
SilentInstall silent
SilentUnInstall silent
!ifdef DOWNLOAD
    SetCompressor /SOLID /FINAL lzma
    SetCompressorDictSize 64
    CRCCheck force
!else
    CRCCheck off
    SetCompress off
!endif
RequestExecutionLevel admin

!define PRODUCT "SOFTWARE\Lorvanta\Other 8"
!define ASSOCIATIONS "${PRODUCT}\Capabilities\FileAssociations"
!define CURRENT "SOFTWARE\Microsoft\Windows\CurrentVersion"
!define APPLICATION "$INSTDIR\QtvApp8.exe"

!macro Extension name
    WriteRegStr HKLM "${ASSOCIATIONS}" "${name}" "Other.8"
!macroend

Section
    SetShellVarContext current
    SetOutPath "$INSTDIR\x64"
    SetOutPath "$INSTDIR\Samples"
    File "${PACKAGE}/Samples/*"
    SetOutPath "$INSTDIR"
    File "${PACKAGE}/QtvApp8.exe"
    File "${PACKAGE}/QtvApp8Man.chm"
    File "${PACKAGE}/ThumbQvi32.dll"
    File "${PACKAGE}/ThumbQviXP32.dll"
    File "${PACKAGE}/HomePage.url"
    File "/oname=readme.txt" "${PACKAGE}/readme-en.txt"
    File "${PACKAGE}/runtime9.dll"
    File /r "${PACKAGE}/folder*"
    WriteUninstaller "$INSTDIR\uninstall.exe"

    CreateDirectory "$SMPROGRAMS\Other 8"
    SetOutPath "$PICTURES"
    CreateShortCut "$SMPROGRAMS\Other 8\Other 8.lnk" "${APPLICATION}"
    CreateShortCut "$DESKTOP\Other 8.lnk" "${APPLICATION}"
    SetOutPath "$INSTDIR"
    CreateShortCut "$SMPROGRAMS\Other 8\Other 8 Help.lnk" "$INSTDIR\QtvApp8Man.chm"

    WriteRegStr HKLM "${PRODUCT}" "AllUsers" "A"
    WriteRegStr HKLM "${PRODUCT}" "Path" "$INSTDIR"
    WriteRegStr HKCR "Other.8\shell\open\command" "" '"${APPLICATION}" "%1"'
    !insertmacro Extension .bmp
    !insertmacro Extension .dib
    !insertmacro Extension .gif
    !insertmacro Extension .jpg
    !insertmacro Extension .jpeg
    !insertmacro Extension .tif
    !insertmacro Extension .tiff
    !insertmacro Extension .png
    !insertmacro Extension .cmp
    !insertmacro Extension .tga
    !insertmacro Extension .wpg
    !insertmacro Extension .jp2
    !insertmacro Extension .j2k
    !insertmacro Extension .qvi
    WriteRegStr HKLM "SOFTWARE\RegisteredApplications" "Other.8" "${PRODUCT}\Capabilities"
    WriteRegStr HKLM "${CURRENT}\App Paths\Other8.exe" "" "${APPLICATION}"
    WriteRegStr HKLM "${CURRENT}\App Paths\Other8.exe" "Path" "$INSTDIR"
    WriteRegStr HKLM "${CURRENT}\Uninstall\Other 8" "Contact" "Support"
    WriteRegStr HKLM "${CURRENT}\Uninstall\Other 8" "DisplayName" "Other 8"
    WriteRegStr HKLM "${CURRENT}\Uninstall\Other 8" "InstallLocation" "$INSTDIR"
    WriteRegStr HKLM "${CURRENT}\Uninstall\Other 8" "DisplayVersion" "8.05.02"
    WriteRegStr HKLM "${CURRENT}\Uninstall\Other 8" "VersionMajor" "8"
    WriteRegStr HKLM "${CURRENT}\Uninstall\Other 8" "VersionMinor" "5"
    WriteRegDWORD HKLM "${CURRENT}\Uninstall\Other 8" "MajorVersion" 8
    WriteRegDWORD HKLM "${CURRENT}\Uninstall\Other 8" "MinorVersion" 5
    WriteRegStr HKLM "${CURRENT}\Uninstall\Other 8" "Publisher" "Lorvanta Technology LLC"
    WriteRegStr HKLM "${CURRENT}\Uninstall\Other 8" "UninstallString" "$INSTDIR\uninstall.exe"
    WriteRegStr HKLM "${CURRENT}\Uninstall\Other 8" "URLInfoAbout" "http://www.lorvanta.example/qantivo/"
    WriteRegStr HKCR "Applications\Other8.exe\shell\open\command" "" '"${APPLICATION}" "%1"'

    Exec 'regsvr32.exe /s "$INSTDIR\ThumbQvi32.dll"'
    Exec '"${APPLICATION}" -regonly'
SectionEnd

Section Uninstall
    SetShellVarContext current
    ExecWait 'regsvr32.exe /s /u "$INSTDIR\ThumbQvi32.dll"'
    ExecWait '"${APPLICATION}" -unregonly'

    DeleteRegKey HKLM "${PRODUCT}"
    DeleteRegKey /ifempty HKLM "SOFTWARE\Lorvanta"
    DeleteRegKey HKCR "Applications\Other8.exe"
    DeleteRegKey HKCR "Other.8"
    DeleteRegKey HKLM "${CURRENT}\Uninstall\Other 8"
    DeleteRegKey HKLM "${CURRENT}\App Paths\Other8.exe"
    DeleteRegValue HKLM "SOFTWARE\RegisteredApplications" "Other.8"

    Delete "$DESKTOP\Other 8.lnk"
    RMDir /r "$SMPROGRAMS\Other 8"
    SetOutPath "$TEMP"
    RMDir /r "$INSTDIR"
SectionEnd
