#include "core/trace.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "core/handles.h"
#include "core/host_io.h"
#include "core/machine.h"
#include <winhost.h>

namespace winhost {

namespace {

constexpr char kVariable[] = "WINHOST_TRACE";
// Stands for the last error until a call sets one. No call sets this one.
constexpr DWORD kNotSet = 0xFFFFFFFF;
// Numbers from here on are shown in hexadecimal digits: they are flags or addresses.
constexpr ULONGLONG kFirstHex = 0x10000;
constexpr std::size_t kMostBytes = 32;
constexpr DWORD kWin32Facility = 0x80070000;

std::string Hex(ULONGLONG number) {
    std::array<char, 2 + 2 * sizeof number + 1> text;
    (void)std::snprintf(text.data(), text.size(), "0x%llx", static_cast<unsigned long long>(number));
    return text.data();
}

std::string Line(std::u16string_view text) {
    std::string line = Utf8(text);
    std::replace_if(
        line.begin(), line.end(), [](unsigned char byte) { return byte < ' '; }, ' ');
    return line;
}

std::u16string NameOf(HANDLE handle) {
    if (handle == HKEY_CLASSES_ROOT) return u"HKEY_CLASSES_ROOT";
    if (handle == HKEY_CURRENT_USER) return u"HKEY_CURRENT_USER";
    if (handle == HKEY_LOCAL_MACHINE) return u"HKEY_LOCAL_MACHINE";
    if (handle == HKEY_USERS) return u"HKEY_USERS";
    const auto object = FindHandle(handle);
    return object ? object->Name() : std::u16string();
}

// Each line begins with this.
const std::string& Process() {
    // Never destroyed: static objects of the program make calls at its end.
    static const auto* process = [] {
        std::error_code error;
        const auto program = std::filesystem::read_symlink("/proc/self/exe", error).filename();
        return new std::string(Line(Utf16(program.native())) + '\t' + std::to_string(getpid()) + '\t');
    }();
    return *process;
}

}  // namespace

bool Tracing() {
    static const bool traces = std::getenv(kVariable) != nullptr;
    return traces;
}

void SetProgramTrace(const std::filesystem::path& file) {
    // This process does not begin to trace now.
    (void)Tracing();
    setenv(kVariable, std::filesystem::absolute(file).c_str(), 1);
}

void ClearProgramTrace() {
    unsetenv(kVariable);
}

TracedCall::TracedCall(const char* call) : m_line(call), m_lastError(GetLastError()) {
    SetLastError(kNotSet);
}

void TracedCall::Add(const char* name, const std::string& value) {
    m_line += std::string("\t") + name + '=' + value;
}

void TracedCall::Show(const char* name, LPCWSTR text) {
    if (!text)
        Add(name, "null");
    else if (IS_INTRESOURCE(text))
        Add(name, '#' + std::to_string(reinterpret_cast<ULONG_PTR>(text)));
    else
        Add(name, Line(text));
}

void TracedCall::Show(const char* name, LPCSTR text) {
    Show(name, IS_INTRESOURCE(text) ? reinterpret_cast<LPCWSTR>(text) : Utf16(text).c_str());
}

void TracedCall::Show(const char* name, HANDLE handle) {
    const std::u16string path = NameOf(handle);
    SetLastError(kNotSet);
    Add(name, path.empty() ? Hex(reinterpret_cast<ULONG_PTR>(handle)) : Line(path));
}

void TracedCall::ShowWritten(const char* name, LPCWSTR text, std::size_t cchText, std::size_t cchBuffer) {
    if (cchText < cchBuffer) Add(name, Line({text, cchText}));
}

void TracedCall::ShowData(DWORD type, const BYTE* data, DWORD cbData) {
    std::string shown;
    DWORD number = 0;
    if (type == REG_DWORD && cbData == sizeof number) {
        std::memcpy(&number, data, sizeof number);
        shown = std::to_string(number);
    } else if (type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ) {
        std::u16string text(cbData / sizeof(char16_t), u' ');
        std::copy_n(data, text.size() * sizeof(char16_t), reinterpret_cast<BYTE*>(text.data()));
        while (!text.empty() && text.back() == 0)
            text.pop_back();
        shown = Line(text);
    } else {
        for (std::size_t i = 0; i < std::min<std::size_t>(cbData, kMostBytes); ++i)
            shown += (i ? " " : "") + Hex(data[i]).substr(2);
        if (cbData > kMostBytes) shown += " and more";
    }
    Add("data", shown);
}

std::string TracedCall::ShownNumber(ULONGLONG number, LONGLONG withSign) {
    if (withSign < 0 && withSign > -static_cast<LONGLONG>(kFirstHex)) return std::to_string(withSign);
    return number < kFirstHex ? std::to_string(number) : Hex(number);
}

void TracedCall::End() {
    Write("");
}

void TracedCall::EndWith(ULONG_PTR result, const std::string& shown) {
    const bool failed = result == 0 || static_cast<DWORD>(result) == 0xFFFFFFFF;
    const DWORD error = GetLastError();
    const bool hasError = failed && error != kNotSet && error != ERROR_SUCCESS;
    Write(shown.empty() ? Hex(result) : shown, hasError ? std::to_string(error) : "");
}

void TracedCall::EndStatus(LSTATUS status) {
    Write(std::to_string(status), status == ERROR_SUCCESS ? "" : std::to_string(status));
}

void TracedCall::EndCom(HRESULT result) {
    const auto code = static_cast<DWORD>(result);
    const bool isWin32 = (code & 0xFFFF0000) == kWin32Facility;
    Write(Hex(code), SUCCEEDED(result) ? "" : isWin32 ? std::to_string(code & 0xFFFF) : Hex(code));
}

void TracedCall::Write(const std::string& result, const std::string& error) {
    if (GetLastError() == kNotSet) SetLastError(m_lastError);
    const std::string end =
        (result.empty() ? "" : "\t= " + result) + (error.empty() ? "" : "\terror " + error) + '\n';
    const std::string line = Process() + m_line + end;
    // Never closed. One write in append mode, so that the lines of several processes don't mix.
    static const auto* file =
        new Descriptor(open(std::getenv(kVariable), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
    if (!WriteAtOnce(file->get(), line.data(), line.size()))
        NotModelled(kVariable, "a file that can't be written");
}

void TraceEnd(DWORD exitCode) {
    if (!Tracing()) return;
    TracedCall end("ends");
    end.End(exitCode);
}

}  // namespace winhost
