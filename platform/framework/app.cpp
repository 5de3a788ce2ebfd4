#include "app.h"

#include <cstdlib>

namespace {

CWinApp* current;
HINSTANCE instanceModule;
HINSTANCE resourceModule;

}  // namespace

IMPLEMENT_DYNAMIC(CCmdTarget, CObject)
IMPLEMENT_DYNAMIC(CWinThread, CCmdTarget)
IMPLEMENT_DYNAMIC(CWinApp, CWinThread)

int CWinThread::Run() {
    if (!m_pMainWnd) return 0;
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return static_cast<int>(message.wParam);
}

CWinApp::CWinApp() {
    current = this;
}

CWinApp::~CWinApp() {
    if (current == this) current = nullptr;
}

CWinApp* AfxGetApp() {
    return current;
}

HINSTANCE AfxGetInstanceHandle() {
    return instanceModule;
}
HINSTANCE AfxGetResourceHandle() {
    return resourceModule;
}
void AfxSetInstanceHandle(HINSTANCE module) {
    instanceModule = module;
}
void AfxSetResourceHandle(HINSTANCE module) {
    resourceModule = module;
}

void AfxFailFast() {
    constexpr UINT kFatalCheckFailure = 0xC0000409;
    (void)TerminateProcess(GetCurrentProcess(), kFatalCheckFailure);
    std::abort();
}

int AfxWinMain() {
    if (!current || !current->InitInstance()) return 0;
    return current->Run();
}
