// The shell's link object.
#include "shell/shell_link.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "core/environment.h"
#include "core/faults.h"
#include "core/host_io.h"
#include "core/limits.h"
#include "core/machine.h"
#include "core/text.h"
#include "core/trace.h"
#include "files/files.h"
#include "files/find.h"
#include "files/paths.h"
#include "files/sharing.h"
#include "processes/search.h"
#include "shell/link_format.h"
#include <winhost.h>

const CLSID CLSID_ShellLink = {0x00021401, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
const IID IID_IShellLinkW = {0x000214F9, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

namespace winhost {

namespace {

const IID kPersist = {0x0000010C, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// The largest link file that is read, in bytes. A link has only a few texts.
constexpr std::size_t kMaxLinkFile = 1u << 20;

// Each method of a link is a platform call: it can be told to fail, and it is traced with the text that it takes.
template <class Run>
HRESULT Call(const char* call, LPCWSTR text, Run run) {
    const auto made = [&]() -> HRESULT {
        const DWORD fault = FaultOf(call);
        return fault ? HRESULT_FROM_WIN32(fault) : run();
    };
    if (!Tracing()) return made();
    TracedCall traced(call);
    if (text) traced.Show("text", text);
    const HRESULT result = made();
    traced.EndCom(result);
    return result;
}
template <class Run>
HRESULT Call(const char* call, Run run) {
    return Call(call, nullptr, run);
}

HRESULT GiveText(const std::u16string& text, LPWSTR buffer, int cchBuffer) {
    if (!buffer) return E_POINTER;
    if (cchBuffer <= 0) return S_OK;
    const std::size_t cch = std::min(text.size(), static_cast<std::size_t>(cchBuffer) - 1);
    std::copy_n(text.begin(), cch, buffer);
    buffer[cch] = 0;
    return S_OK;
}

HRESULT TakeText(LPCWSTR text, std::u16string& target) {
    const std::u16string_view taken = text ? text : u"";
    if (taken.size() > kMaxLinkText) return E_INVALIDARG;
    target = taken;
    return S_OK;
}

class ShellLink final : public IShellLinkW, public IPersistFile {
  public:
    HRESULT QueryInterface(REFIID iid, void** object) override {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (FaultOf("IUnknown::QueryInterface")) return E_NOINTERFACE;
        if (iid == IID_IUnknown || iid == IID_IShellLinkW)
            *object = static_cast<IShellLinkW*>(this);
        else if (iid == kPersist || iid == IID_IPersistFile)
            *object = static_cast<IPersistFile*>(this);
        else
            NotModelled("IUnknown::QueryInterface", "another interface of links");
        AddRef();
        return S_OK;
    }
    ULONG AddRef() override { return ++m_references; }
    ULONG Release() override {
        const ULONG left = --m_references;
        if (left == 0) delete this;
        return left;
    }

    HRESULT GetPath(LPWSTR path, int cchPath, WIN32_FIND_DATAW* data, DWORD flags) override {
        return Call("IShellLinkW::GetPath", [&] {
            if (data || (flags & ~SLGP_RAWPATH) != 0)
                NotModelled("IShellLinkW::GetPath", "find data or flags");
            const HRESULT given = GiveText(m_link.path, path, cchPath);
            return given == S_OK && m_link.path.empty() ? S_FALSE : given;
        });
    }
    HRESULT SetPath(LPCWSTR path) override {
        return Call("IShellLinkW::SetPath", path, [&] { return PointTo(path); });
    }

    HRESULT GetDescription(LPWSTR text, int cchText) override {
        return Get("IShellLinkW::GetDescription", m_link.description, text, cchText);
    }
    HRESULT SetDescription(LPCWSTR text) override {
        return Set("IShellLinkW::SetDescription", text, m_link.description);
    }

    HRESULT GetWorkingDirectory(LPWSTR path, int cchPath) override {
        return Get("IShellLinkW::GetWorkingDirectory", m_link.workingFolder, path, cchPath);
    }
    HRESULT SetWorkingDirectory(LPCWSTR path) override {
        return Set("IShellLinkW::SetWorkingDirectory", path, m_link.workingFolder);
    }

    HRESULT GetArguments(LPWSTR text, int cchText) override {
        return Get("IShellLinkW::GetArguments", m_link.arguments, text, cchText);
    }
    HRESULT SetArguments(LPCWSTR text) override {
        return Set("IShellLinkW::SetArguments", text, m_link.arguments);
    }

    HRESULT GetShowCmd(int* showCommand) override {
        return Call("IShellLinkW::GetShowCmd", [&] {
            *showCommand = m_link.showCommand;
            return S_OK;
        });
    }
    HRESULT SetShowCmd(int showCommand) override {
        return Call("IShellLinkW::SetShowCmd", [&] {
            m_link.showCommand = showCommand;
            m_dirty = true;
            return S_OK;
        });
    }

    HRESULT GetIconLocation(LPWSTR path, int cchPath, int* icon) override {
        return Call("IShellLinkW::GetIconLocation", [&] {
            *icon = m_link.icon;
            return GiveText(m_link.iconPath, path, cchPath);
        });
    }
    HRESULT SetIconLocation(LPCWSTR path, int icon) override {
        const HRESULT set = Set("IShellLinkW::SetIconLocation", path, m_link.iconPath);
        if (set == S_OK) m_link.icon = icon;
        return set;
    }

    HRESULT GetIDList(void**) override { NotModelled("IShellLinkW::GetIDList", "lists of item ids"); }
    HRESULT SetIDList(const void*) override { NotModelled("IShellLinkW::SetIDList", "lists of item ids"); }
    HRESULT GetHotkey(WORD*) override { NotModelled("IShellLinkW::GetHotkey", "hot keys"); }
    HRESULT SetHotkey(WORD) override { NotModelled("IShellLinkW::SetHotkey", "hot keys"); }
    HRESULT SetRelativePath(LPCWSTR, DWORD) override {
        NotModelled("IShellLinkW::SetRelativePath", "relative paths");
    }
    HRESULT Resolve(HWND, DWORD) override { NotModelled("IShellLinkW::Resolve", "the search for a target"); }

    HRESULT GetClassID(CLSID* id) override {
        *id = CLSID_ShellLink;
        return S_OK;
    }
    HRESULT IsDirty() override { return m_dirty ? S_OK : S_FALSE; }
    HRESULT Load(LPCOLESTR path, DWORD) override {
        return Call("IPersistFile::Load", path, [&] { return LoadFrom(path); });
    }
    HRESULT Save(LPCOLESTR path, BOOL remember) override {
        return Call("IPersistFile::Save", path, [&] { return SaveTo(path, remember); });
    }
    HRESULT SaveCompleted(LPCOLESTR) override { return S_OK; }
    HRESULT GetCurFile(LPOLESTR*) override {
        NotModelled("IPersistFile::GetCurFile", "memory that the caller frees");
    }

  private:
    HRESULT PointTo(LPCWSTR path);
    HRESULT LoadFrom(LPCWSTR path);
    HRESULT SaveTo(LPCWSTR path, BOOL remember);
    static HRESULT Get(const char* call, const std::u16string& text, LPWSTR buffer, int cchBuffer) {
        return Call(call, [&] { return GiveText(text, buffer, cchBuffer); });
    }
    HRESULT Set(const char* call, LPCWSTR text, std::u16string& target) {
        return Call(call, text, [&] {
            m_dirty = true;
            return TakeText(text, target);
        });
    }

    ULONG m_references = 1;
    bool m_dirty = false;
    LinkData m_link;
};

// Returns the place of a link's target. Quotes around the path are removed. A name without a folder is searched for
// like a program.
Place TargetOf(std::u16string_view path) {
    if (path.size() >= 2 && path.starts_with(u'"') && path.ends_with(u'"'))
        path = path.substr(1, path.size() - 2);
    Place target = Locate(std::u16string(path));
    if (target.exists() || path.find_first_of(u"\\/:") != path.npos) return target;
    Place found = SearchFile(path, u"", Wanted::Program);
    return found.exists() ? found : target;
}

// A target that doesn't exist is stored too; the result is then S_FALSE.
HRESULT ShellLink::PointTo(LPCWSTR path) {
    if (!path) return E_INVALIDARG;
    m_dirty = true;
    if (!*path) {
        m_link.path.clear();
        return S_OK;
    }
    if (ExpandVariables(path) != path) NotModelled("IShellLinkW::SetPath", "a variable in the path");
    const Place target = TargetOf(path);
    if (target.windows.empty() || target.windows.size() >= MAX_PATH) return E_INVALIDARG;
    WIN32_FIND_DATAW data = {};
    const std::size_t end = target.host.rfind('/');
    if (target.exists()) Describe(target.host.substr(0, end), target.host.substr(end + 1), data);
    m_link.path = target.windows;
    m_link.path[0] = UpperUnit(m_link.path[0]);
    m_link.toFolder = target.isFolder;
    m_link.attributes = data.dwFileAttributes;
    m_link.created = data.ftCreationTime;
    m_link.accessed = data.ftLastAccessTime;
    m_link.written = data.ftLastWriteTime;
    m_link.size = data.nFileSizeLow;
    return target.exists() ? S_OK : S_FALSE;
}

HRESULT ShellLink::LoadFrom(LPCWSTR path) {
    if (!path) return E_INVALIDARG;
    const auto file = OpenPlace(Locate(path), kReading, FILE_SHARE_READ, OPEN_EXISTING, 0);
    if (!file) return HRESULT_FROM_WIN32(GetLastError());
    struct stat info;
    if (fstat(file->descriptor(), &info) != 0) return HRESULT_FROM_WIN32(ErrorOf(errno));
    std::string bytes(std::min(static_cast<std::size_t>(info.st_size), kMaxLinkFile), '\0');
    const ssize_t got = pread(file->descriptor(), bytes.data(), bytes.size(), 0);
    if (got < 0) return HRESULT_FROM_WIN32(ErrorOf(errno));
    const auto link = ParseLink(std::string_view(bytes).substr(0, static_cast<std::size_t>(got)));
    if (!link) return E_FAIL;
    m_link = *link;
    m_dirty = false;
    return S_OK;
}

HRESULT ShellLink::SaveTo(LPCWSTR path, BOOL remember) {
    if (!path) NotModelled("IPersistFile::Save", "saving under the file's former name");
    const auto file = OpenPlace(Locate(path), kWriting, 0, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
    if (!file) return HRESULT_FROM_WIN32(GetLastError());
    const std::string bytes = FormatLink(m_link);
    if (!WriteWhole(file->descriptor(), bytes.data(), bytes.size())) {
        const DWORD error = ErrorOf(errno);
        (void)RemovePlace(Locate(path));
        return HRESULT_FROM_WIN32(error);
    }
    if (remember) m_dirty = false;
    return S_OK;
}

}  // namespace

HRESULT CreateShellLink(REFIID iid, void** object) {
    auto* link = new ShellLink;
    const HRESULT result = link->QueryInterface(iid, object);
    link->Release();
    return result;
}

}  // namespace winhost
