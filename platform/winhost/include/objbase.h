// The part of COM that shell links need.
#pragma once
#include <windows.h>

struct GUID {
    DWORD Data1;
    WORD Data2;
    WORD Data3;
    BYTE Data4[8];
};
using IID = GUID;
using CLSID = GUID;
using REFIID = const IID&;
using REFCLSID = const CLSID&;
using LPOLESTR = WCHAR*;
using LPCOLESTR = const WCHAR*;

inline bool operator==(const GUID& left, const GUID& right) {
    return __builtin_memcmp(&left, &right, sizeof left) == 0;
}

#define CLSCTX_INPROC_SERVER 1u
#define STDMETHODCALLTYPE

struct IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;

  protected:
    ~IUnknown() = default;
};
struct IPersist : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetClassID(CLSID* id) = 0;

  protected:
    ~IPersist() = default;
};
struct IPersistFile : IPersist {
    virtual HRESULT STDMETHODCALLTYPE IsDirty() = 0;
    virtual HRESULT STDMETHODCALLTYPE Load(LPCOLESTR path, DWORD mode) = 0;
    virtual HRESULT STDMETHODCALLTYPE Save(LPCOLESTR path, BOOL remember) = 0;
    virtual HRESULT STDMETHODCALLTYPE SaveCompleted(LPCOLESTR path) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCurFile(LPOLESTR* path) = 0;

  protected:
    ~IPersistFile() = default;
};

struct IMalloc : IUnknown {
    virtual void* STDMETHODCALLTYPE Alloc(std::size_t size) = 0;
    virtual void* STDMETHODCALLTYPE Realloc(void* memory, std::size_t size) = 0;
    virtual void STDMETHODCALLTYPE Free(void* memory) = 0;
    virtual std::size_t STDMETHODCALLTYPE GetSize(void* memory) = 0;
    virtual int STDMETHODCALLTYPE DidAlloc(void* memory) = 0;
    virtual void STDMETHODCALLTYPE HeapMinimize() = 0;

  protected:
    ~IMalloc() = default;
};

extern const IID IID_IUnknown;
extern const IID IID_IPersistFile;

HRESULT CoInitialize(LPVOID reserved);
void CoUninitialize();
HRESULT CoCreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID iid, LPVOID* object);
