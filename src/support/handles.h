// Owners of handles: each closes its handle at the end of its scope.
#pragma once

#include <framework.h>

#include <cstdio>
#include <memory>
#include <type_traits>

struct FileCloser {
    void operator()(FILE* file) const { (void)std::fclose(file); }
};
using FileStream = std::unique_ptr<FILE, FileCloser>;

struct HandleCloser {
    void operator()(HANDLE handle) const { (void)CloseHandle(handle); }
};
// A kernel handle whose failure value is null.
using KernelHandle = std::unique_ptr<void, HandleCloser>;

struct ModuleCloser {
    void operator()(HMODULE module) const { (void)FreeLibrary(module); }
};
using LibraryHandle = std::unique_ptr<std::remove_pointer_t<HMODULE>, ModuleCloser>;

struct KeyCloser {
    void operator()(HKEY key) const { (void)RegCloseKey(key); }
};
using RegistryKey = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser>;

// A running search; false when nothing matched.
class FindHandle {
  public:
    explicit FindHandle(HANDLE find) : m_find(find) {}
    ~FindHandle() {
        if (*this) (void)FindClose(m_find);
    }
    FindHandle(const FindHandle&) = delete;
    FindHandle& operator=(const FindHandle&) = delete;
    explicit operator bool() const { return m_find != INVALID_HANDLE_VALUE; }
    HANDLE get() const { return m_find; }

  private:
    HANDLE m_find;
};
