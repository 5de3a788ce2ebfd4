#include "app.h"

#include <cstdlib>

namespace {

CWinApp* application;
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
    application = this;
}

CWinApp::~CWinApp() {
    if (application == this) application = nullptr;
}

CWinApp* AfxGetApp() {
    return application;
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
    if (!application || !application->InitInstance()) return 0;
    return application->Run();
}
