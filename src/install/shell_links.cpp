#include "install/shell_links.h"

#include <shlobj.h>

#include <memory>

#include "run/run_paths.h"
#include "engine/manifest.h"
#include "install/log_lines.h"

namespace {

constexpr std::size_t kTargetChars = 512;

struct ComReleaser {
    template <typename Interface>
    void operator()(Interface* object) const {
        (void)object->Release();
    }
};
template <typename Interface>
using ComPointer = std::unique_ptr<Interface, ComReleaser>;

// COM stays initialised until the process ends.
void InitializeComOnce() {
    static int initialized = 0;
    if (initialized) return;
    (void)CoInitialize(nullptr);
    initialized = 1;
}

CString WithoutQuotes(LPCWSTR target) {
    CString path = *target == '"' ? target + 1 : target;
    if (path.Last() == '"') path = path.Left(path.GetLength() - 1);
    return path;
}

}  // namespace

HRESULT MakeShellLink(LPCWSTR target, LPCWSTR linkPath, LPCWSTR description, DWORD showCommand,
                      LPCWSTR arguments, LPCWSTR workingFolder) {
    if (wcslen(target) >= kTargetChars || wcslen(linkPath) >= MAX_PATH) return E_INVALIDARG;

    InitializeComOnce();
    void* object;
    HRESULT result =
        CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW, &object);
    if (FAILED(result)) return result;
    const ComPointer<IShellLinkW> link(static_cast<IShellLinkW*>(object));
    result = link->QueryInterface(IID_IPersistFile, &object);
    if (FAILED(result)) return result;
    const ComPointer<IPersistFile> file(static_cast<IPersistFile*>(object));

    if (FAILED(link->SetPath(WithoutQuotes(target)))) AfxMessageBox(TEXT("SetPath failed!"), MB_OK);
    if (FAILED(link->SetDescription(description))) AfxMessageBox(TEXT("SetDescription failed!"), MB_OK);
    if (showCommand != kDefaultShowCommand) (void)link->SetShowCmd(static_cast<int>(showCommand));
    if (arguments) (void)link->SetArguments(arguments);
    if (workingFolder) (void)link->SetWorkingDirectory(workingFolder);

    result = file->Save(linkPath, TRUE);
    // Only a saved shortcut is recorded, so that the uninstall deletes the product's own shortcuts only.
    if (SUCCEEDED(result)) AppendLogLine(LogPath(), CString(kShellLink) + linkPath);
    return result;
}
