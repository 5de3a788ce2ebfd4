// The trace: one line for each platform call that a program makes, in a file of the host that WINHOST_TRACE names. Calls
// that winhost makes itself have none. trace_calls.awk makes the functions that write it. A line has these fields, with
// tabs between them; those in brackets may be missing:
//
//   PROGRAM.exe   PROCESS   CALL   [NAME=ARGUMENT]...   [= RESULT]   [error CODE]
//
// A handle of a file, folder or key is shown by its path. A control character in a text becomes a blank. The line is
// written when the call returns, so the calls that a message or a dialog causes come before it. A last line "ends" has the
// exit code of the process.
//
// A debugger can stop at each platform call, whether it is traced or not: they all begin with winhost::FaultOf (faults.h),
// whose first argument is the name. In gdb, which may start a program by its path in the machine:
//   break winhost::FaultOf if $_streq(call, "CopyFileW")
#pragma once

#include <windows.h>

#include <string>
#include <type_traits>

namespace winhost {

// Whether this process writes a trace. It is decided at its first call.
bool Tracing();

// One call. Its arguments are shown before it is made, and the result ends it.
class TracedCall {
  public:
    explicit TracedCall(const char* call);

    void Show(const char* name, LPCWSTR text);
    void Show(const char* name, LPCSTR text);
    void Show(const char* name, HANDLE handle);
    void Show(const char* name, HKEY key) { Show(name, static_cast<HANDLE>(key)); }
    void Show(const char* name, HWND window) { Show(name, static_cast<HANDLE>(window)); }
    void Show(const char* name, HMODULE module) { Show(name, static_cast<HANDLE>(module)); }
    template <class Number>
    requires std::is_integral_v<Number>
    void Show(const char* name, Number number) { Add(name, Shown(number)); }
    // A text that the call has written: as long as the result, and shorter than the buffer.
    void ShowWritten(const char* name, LPCWSTR text, std::size_t cchText, std::size_t cchBuffer);
    // The data of a value in the registry.
    void ShowData(DWORD type, const BYTE* data, DWORD cbData);

    // Write the line. The error is shown if the call failed: the last error, or the code that it returned.
    void End();
    template <class Result>
    void End(Result result) {
        if constexpr (std::is_pointer_v<Result>)
            EndWith(reinterpret_cast<ULONG_PTR>(result));
        else
            EndWith(static_cast<ULONG_PTR>(static_cast<LONG_PTR>(result)), Shown(result));
    }
    void EndStatus(LSTATUS status);
    void EndCom(HRESULT result);

  private:
    template <class Number>
    static std::string Shown(Number number) {
        // Large numbers are flags or addresses.
        return ShownNumber(static_cast<std::make_unsigned_t<Number>>(number), static_cast<LONGLONG>(number));
    }
    static std::string ShownNumber(ULONGLONG number, LONGLONG withSign);
    void Add(const char* name, const std::string& value);
    void EndWith(ULONG_PTR result, const std::string& shown = {});
    void Write(const std::string& result, const std::string& error = {});

    std::string m_line;
    DWORD m_lastError;
};

// Writes the last line of this process.
void TraceEnd(DWORD exitCode);

}  // namespace winhost
