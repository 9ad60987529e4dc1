; Copyright (c) the Disk Hub developers
; SPDX-License-Identifier: MIT
;
; The installer: for the user who runs it, without more rights than that user has. Wants
; VERSION, ICON, STAGE (the directory that holds what is installed), REMOVE (a file with the commands
; that delete exactly that), and OUTPUT.

Unicode true
Target amd64-unicode
SetCompressor /SOLID lzma

!include LogicLib.nsh
!include MUI2.nsh

!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Disk Hub"
!define SETTINGS_KEY "Software\Tesseline LLC"
!define SHORTCUT "$SMPROGRAMS\Disk Hub.lnk"

Name "Disk Hub"
OutFile "${OUTPUT}"
InstallDir "$LOCALAPPDATA\Programs\Disk Hub"
InstallDirRegKey HKCU "${UNINSTALL_KEY}" InstallLocation
RequestExecutionLevel user
VIProductVersion "${VERSION}.0"
VIAddVersionKey ProductName "Disk Hub"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey FileDescription "Installs Disk Hub"
VIAddVersionKey LegalCopyright "Copyright (c) the Disk Hub developers, MIT licence"

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_FINISHPAGE_RUN "$INSTDIR\disk-hub.exe"
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE English

; A program that runs can be neither replaced nor deleted.
!macro RefuseWhileRunning
    ${If} ${FileExists} "$INSTDIR\disk-hub.exe"
        ClearErrors
        FileOpen $0 "$INSTDIR\disk-hub.exe" a
        ${If} ${Errors}
            MessageBox MB_ICONSTOP|MB_OK "Disk Hub is running. Close its window first." /SD IDOK
            SetErrorLevel 2
            Quit
        ${EndIf}
        FileClose $0
    ${EndIf}
!macroend

Section
    !insertmacro RefuseWhileRunning
    SetOutPath "$INSTDIR"
    File /r "${STAGE}/*"
    WriteUninstaller "$INSTDIR\uninstall.exe"
    CreateShortcut "${SHORTCUT}" "$INSTDIR\disk-hub.exe"
    WriteRegStr HKCU "${UNINSTALL_KEY}" DisplayName "Disk Hub"
    WriteRegStr HKCU "${UNINSTALL_KEY}" DisplayVersion "${VERSION}"
    WriteRegStr HKCU "${UNINSTALL_KEY}" DisplayIcon "$INSTDIR\disk-hub.exe"
    WriteRegStr HKCU "${UNINSTALL_KEY}" Publisher "the Disk Hub developers"
    WriteRegStr HKCU "${UNINSTALL_KEY}" InstallLocation "$INSTDIR"
    WriteRegStr HKCU "${UNINSTALL_KEY}" UninstallString '"$INSTDIR\uninstall.exe"'
    WriteRegStr HKCU "${UNINSTALL_KEY}" QuietUninstallString '"$INSTDIR\uninstall.exe" /S'
    WriteRegDWORD HKCU "${UNINSTALL_KEY}" NoModify 1
    WriteRegDWORD HKCU "${UNINSTALL_KEY}" NoRepair 1
SectionEnd

; Whoever is asked may keep the settings for the next installation; /S leaves nothing.
Section Uninstall
    !insertmacro RefuseWhileRunning
    !include "${REMOVE}"
    Delete "$INSTDIR\uninstall.exe"
    RMDir "$INSTDIR"
    RMDir "$LOCALAPPDATA\Programs" ; if nothing else is in it
    Delete "${SHORTCUT}"
    DeleteRegKey HKCU "${UNINSTALL_KEY}"
    MessageBox MB_ICONQUESTION|MB_YESNO|MB_DEFBUTTON2 "Delete the settings, too, with the users and their passwords?" /SD IDYES IDNO kept
    DeleteRegKey HKCU "${SETTINGS_KEY}\Disk Hub"
    DeleteRegKey /ifempty HKCU "${SETTINGS_KEY}"
    kept:
SectionEnd
