# Makes what stands between a program and each platform call, from the declarations in include/. CopyFileW is then a function that
# writes the call to the trace; it calls UntracedCopyFileW, and the sources of winhost define that one (core/trace.h).
#   awk -v OUTPUT=names  -f trace_calls.awk HEADER...   the new names; all sources of winhost begin with them
#   awk -v OUTPUT=traced -f trace_calls.awk HEADER...   the functions that write the trace
BEGIN {
    print OUTPUT == "names" ? "#pragma once" : "#include \"core/trace.h\""
    # Calls that say nothing about what a program does, and the entry of a program.
    split("GetLastError SetLastError GetCurrentProcess GetCurrentProcessId GetCurrentThreadId wWinMain", list, " ")
    for (i in list) skipped[list[i]] = 1
    # Texts that end with 0 if the call succeeds. Other texts that a call writes are as long as its result.
    split("RegEnumKeyW.name RegEnumValueW.name GetTempFileNameW.name SHGetFolderPathW.path SHGetPathFromIDListW.path", list, " ")
    for (i in list) ended[list[i]] = 1
    split("LPCWSTR LPCSTR HKEY HANDLE HWND HMODULE HINSTANCE BOOL DWORD UINT int LONG WPARAM LPARAM LONG_PTR SIZE_T REGSAM char16_t", list, " ")
    for (i in list) shown[list[i]] = 1
}
FNR == 1 { header = FILENAME; sub(/.*\//, "", header); print "#include <" header ">" }
# A declaration begins at the start of a line. Of the runtime library, only the calls that open or look for a file are traced.
!declaration && !/^[A-Za-z_\[:]+[^{=]* \**([A-Z][A-Za-z0-9]+|_wfopen|_waccess)\(/ { next }
!declaration && /^(using|#|inline|extern|static)/ { next }
{ sub(/^ +/, " "); declaration = declaration $0 }
/;$/ { make(declaration); declaration = "" }

function make(text,    name, result, parameters, count, i) {
    sub(/;$/, "", text)
    gsub(/const char16_t\*/, "LPCWSTR", text)
    name = result = parameters = text
    sub(/\(.*/, "", name); sub(/.*[ *]/, "", name)
    sub(/ *[A-Za-z0-9_]+\(.*/, "", result)
    if (text ~ /^[^(]*\*[A-Za-z_]+\(/ && result !~ /\*$/) result = result "*"
    if (name in skipped) return
    if (OUTPUT == "names") {
        sub(name "\\(", "Untraced" name "(", text)
        printf "%s;\n#define %s Untraced%s\n", text, name, name
        return
    }
    sub(/^[^(]*\(/, "", parameters); sub(/\)$/, "", parameters)
    count = split(parameters, parts, /, */)
    arguments = before = after = ""
    limit = match(parameters, /cch[A-Za-z]+/) ? substr(parameters, RSTART, RLENGTH) : 0
    for (i = 1; i <= count; ++i) argument(name, parts[i], i < count ? parts[i + 1] : "", result)
    printf "#undef %s\n%s {\n", name, text
    call = "Untraced" name "(" arguments ")"
    if (result ~ /noreturn/) {
        printf "    if (winhost::Tracing()) {\n        winhost::TracedCall call(\"%s\");\n%s        call.End();\n    }\n", name, before
        printf "    %s;\n}\n", call
        return
    }
    printf "    if (!winhost::Tracing()) return %s;\n    winhost::TracedCall call(\"%s\");\n%s", call, name, before
    if (result == "void") {
        printf "    %s;\n    call.End();\n}\n", call
        return
    }
    end = result == "LSTATUS" ? "EndStatus" : result == "HRESULT" ? "EndCom" : "End"
    printf "    const auto given = %s;\n%s    call.%s(given);\n    return given;\n}\n", call, after, end
}

function argument(name, part, following, result,    type) {
    type = part
    sub(/ *[A-Za-z0-9_]+$/, "", type)
    sub(/.*[ *]/, "", part)
    arguments = arguments (arguments ? ", " : "") part
    sub(/.*[ *]/, "", following)
    if (part ~ /^(reserved|cb[A-Z]|cch[A-Z])/) return
    if (type in shown || name part == "CreateProcessWcommandLine")
        before = before sprintf("    call.Show(\"%s\", %s);\n", part, part)
    else if (name part == "RegSetValueExWdata")
        before = before sprintf("    call.ShowData(type, data, cbData);\n")
    else if (name "." part in ended)
        after = after sprintf("    if (given %s 0) call.Show(\"%s\", %s);\n", result == "BOOL" || result == "UINT" ? "!=" : "==", part, part)
    else if (type == "LPWSTR" && result ~ /^(DWORD|UINT|int)$/)
        after = after sprintf("    call.ShowWritten(\"%s\", %s, given, %s);\n", part, part, limit)
    else if (type == "WIN32_FIND_DATAW*")
        after = after sprintf("    if (%s) call.Show(\"name\", data->cFileName);\n", result == "BOOL" ? "given" : "given != INVALID_HANDLE_VALUE")
}
