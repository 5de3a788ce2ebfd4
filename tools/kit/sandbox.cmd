@echo off
rem Opens Windows Sandbox, where the kit runs by itself. With /restart the sandbox restarts for what needs it.
call "%~dp0run.cmd" /sandbox %*
if errorlevel 1 pause
