@echo off
rem Runs all tests on this Windows. windows.md says what the options are and what is written.
rem The exit code is 0, 1 if something failed, or 2 if they could not run.
setlocal
set "program=%~dp0programs\kit.exe"
if not exist "%program%" (
    echo run.cmd: programs\kit.exe is missing: unpack the whole zip again
    exit /b 2
)
"%program%" %*
set result=%errorlevel%
if "%~1"=="" pause
if "%result%"=="0" exit /b 0
if "%result%"=="1" exit /b 1
if not "%result%"=="2" echo run.cmd: programs\kit.exe did not run to its end: unpack the whole zip again
exit /b 2
