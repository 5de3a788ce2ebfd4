#include "instances/instance_manager.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr WCHAR kListMutexPrefix[] = TEXT("Local\\COXInstanceManager_InstanceList_Mutex_");
constexpr WCHAR kAdditionalMutexPrefix[] = TEXT("Local\\COXInstanceManager_Additional_Mutex_");
constexpr WCHAR kFileMapPrefix[] = TEXT("Local\\COXInstanceManager_FileMap_");

constexpr DWORD kListAccess = FILE_MAP_READ | FILE_MAP_WRITE;
constexpr int kTitleChars = 512;
constexpr WCHAR kTitleStart[] = TEXT("Qantivo");
// Titles of hidden windows that COM and DDE make in a process.
constexpr LPCWSTR kForeignTitles[] = {TEXT("DDE Server Window"), TEXT("OleMainThreadWndName")};

// The formula is right only for sizes below the granularity. The application uses the same one, and both must
// agree on where the additional region begins.
DWORD RoundedSize(DWORD cbWanted, DWORD granularity) {
    return cbWanted / granularity + (cbWanted % granularity != 0 ? granularity : 0);
}

struct WindowSearch {
    DWORD processId;
    HWND found;
};

}  // namespace

IMPLEMENT_DYNAMIC(COXInstanceManager, CObject)

// Access to the list for one operation; false when the list can't be used. The view is closed
// before the lock is released.
class COXInstanceManager::ListAccess {
  public:
    explicit ListAccess(COXInstanceManager& manager) : m_manager(manager), m_lock(&manager.m_listMutex) {
        if (m_manager.MapInstanceList()) (void)m_lock.Lock();
    }
    ~ListAccess() { m_manager.UnmapInstanceList(); }
    ListAccess(const ListAccess&) = delete;
    ListAccess& operator=(const ListAccess&) = delete;
    explicit operator bool() const { return m_lock.IsLocked(); }

  private:
    COXInstanceManager& m_manager;
    CSingleLock m_lock;
};

COXInstanceManager::COXInstanceManager(LPCWSTR name, DWORD cbAdditional, bool addThis)
    : m_name(name),
      m_listSize(sizeof(InstanceListHeader)),
      m_additionalSize(cbAdditional),
      m_listMutex(FALSE, kListMutexPrefix + m_name),
      m_additionalMutex(FALSE, kAdditionalMutexPrefix + m_name) {
    SYSTEM_INFO system = {};
    GetSystemInfo(&system);
    m_listSize = RoundedSize(m_listSize, system.dwAllocationGranularity);
    m_additionalSize = RoundedSize(m_additionalSize, system.dwAllocationGranularity);
    const CString mappingName = kFileMapPrefix + m_name;
    m_fileMapping.reset(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | SEC_COMMIT, 0,
                                           m_listSize + m_additionalSize, mappingName));
    // Nothing protects the time between the two steps: a process that enters itself before the list is
    // initialised is lost from it.
    if (GetLastError() != ERROR_ALREADY_EXISTS) InitInstanceList();
    if (addThis) (void)AddInstance(GetCurrentProcessId());
}

COXInstanceManager::~COXInstanceManager() {
    (void)RemoveInstance(GetCurrentProcessId());
    UnmapAdditionalData();
}

bool COXInstanceManager::MapInstanceList() {
    if (!m_fileMapping) return false;
    m_listView =
        static_cast<InstanceListHeader*>(MapViewOfFile(m_fileMapping.get(), kListAccess, 0, 0, m_listSize));
    return m_listView != nullptr;
}

void COXInstanceManager::UnmapInstanceList() {
    if (m_listView) (void)UnmapViewOfFile(m_listView);
    m_listView = nullptr;
}

void COXInstanceManager::InitInstanceList() {
    const ListAccess access(*this);
    if (!access) return;
    m_listView->maxInstances = 1;
    m_listView->instanceCount = 0;
    std::fill(std::begin(m_listView->processIds), std::end(m_listView->processIds), 0);
}

DWORD COXInstanceManager::ListedEntries() const {
    const DWORD count = m_listView->instanceCount;
    return std::min(count, kMaxListedInstances);
}

// The message is posted, not sent, so that nobody waits for another process while holding the lock. For a
// process without a window it goes to this thread.
void COXInstanceManager::NotifyListed(UINT message, DWORD processId) const {
    const DWORD entries = ListedEntries();
    for (DWORD index = 0; index < entries; ++index)
        (void)PostMessageW(FindInstanceWindow(m_listView->processIds[index]), message, 0,
                           static_cast<LPARAM>(processId));
}

int COXInstanceManager::AddInstance(DWORD processId) {
    const ListAccess access(*this);
    if (!access) return 0;
    const DWORD count = ListedEntries();
    if (count >= kMaxListedInstances) return 0;
    // This comes before the entry, so that the new process gets no message about itself.
    NotifyListed(WM_INSTANCE_ADDED, processId);
    m_listView->processIds[count] = processId;
    m_listView->instanceCount = count + 1;
    return 1;
}

int COXInstanceManager::RemoveInstance(DWORD processId) {
    const ListAccess access(*this);
    if (!access) return 0;
    const DWORD entries = ListedEntries();
    DWORD* const first = m_listView->processIds;
    DWORD* const end = first + entries;
    DWORD* const entry = std::find(first, end, processId);
    if (entry == end) return 0;
    (void)std::copy(entry + 1, end, entry);
    // This clears the slot after the old last entry, not the one that became free. Readers stop at the count.
    // In a full list it is the first word after the record.
    reinterpret_cast<DWORD*>(reinterpret_cast<BYTE*>(m_listView) +
                             offsetof(InstanceListHeader, processIds))[entries] = 0;
    m_listView->instanceCount = m_listView->instanceCount - 1;
    NotifyListed(WM_INSTANCE_REMOVED, processId);
    return 1;
}

int COXInstanceManager::CountInstances() {
    const ListAccess access(*this);
    return access ? static_cast<int>(m_listView->instanceCount) : 0;
}

int COXInstanceManager::ListInstances(CDWordArray& ids) {
    const ListAccess access(*this);
    if (!access) return 0;
    const DWORD entries = ListedEntries();
    ids.SetSize(static_cast<int>(entries));
    (void)std::copy_n(m_listView->processIds, entries, ids.GetData());
    return 1;
}

bool COXInstanceManager::IsOtherInstanceRunning() {
    return CountInstances() > 1;
}

BOOL CALLBACK COXInstanceManager::EnumInstanceWindowsProc(HWND window, LPARAM context) {
    WindowSearch& search = *reinterpret_cast<WindowSearch*>(context);
    DWORD processId = 0;
    (void)GetWindowThreadProcessId(window, &processId);
    if (processId != search.processId) return TRUE;
    if (GetWindow(window, GW_OWNER)) return TRUE;
    if (GetWindowLongW(window, GWL_EXSTYLE) & WS_EX_TOOLWINDOW) return TRUE;
    WCHAR title[kTitleChars] = {};
    (void)GetWindowTextW(window, title, kTitleChars);
    for (const LPCWSTR foreign : kForeignTitles)
        if (wcscmp(title, foreign) == 0) return TRUE;
    if (wcsncmp(title, kTitleStart, std::size(kTitleStart) - 1) != 0) return TRUE;
    search.found = window;
    return FALSE;
}

HWND COXInstanceManager::FindInstanceWindow(DWORD processId) {
    WindowSearch search = {processId, nullptr};
    (void)EnumWindows(EnumInstanceWindowsProc, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

int COXInstanceManager::CloseInstance(DWORD processId) {
    const HWND window = FindInstanceWindow(processId);
    if (!window || !IsWindowEnabled(window)) return 0;
    (void)PostMessageW(window, WM_CLOSE, 0, 0);
    return 1;
}

DWORD COXInstanceManager::GetMaxInstances() {
    const ListAccess access(*this);
    return access ? m_listView->maxInstances : 0;
}

int COXInstanceManager::SetMaxInstances(DWORD limit, bool closeExcess) {
    DWORD ids[kMaxListedInstances];
    DWORD entries = 0;
    LONGLONG excess = 0;
    {
        const ListAccess access(*this);
        if (!access) return 0;
        m_listView->maxInstances = limit;
        entries = ListedEntries();
        (void)std::copy_n(m_listView->processIds, entries, ids);
        excess = static_cast<LONGLONG>(m_listView->instanceCount) - limit;
    }
    if (!closeExcess) return 1;
    const DWORD own = GetCurrentProcessId();
    for (DWORD index = entries; index > 0 && excess > 0; --index)
        if (ids[index - 1] != own) excess -= CloseInstance(ids[index - 1]);
    if (excess > 0) (void)CloseInstance(own);
    return 1;
}

bool COXInstanceManager::IsOverLimit(bool bringForward) {
    const ListAccess access(*this);
    if (!access) return false;
    const bool over = m_listView->maxInstances < m_listView->instanceCount;
    if (over && bringForward) BringForward();
    return over;
}

void COXInstanceManager::BringForward() const {
    const DWORD* const first = m_listView->processIds;
    const DWORD* const end = first + ListedEntries();
    const DWORD own = GetCurrentProcessId();
    const DWORD* const earlier = first != end && *first == own ? first + 1 : first;
    if (earlier == end || *earlier == 0) return;
    const HWND window = FindInstanceWindow(*earlier);
    if (!window) return;
    (void)SetForegroundWindow(window);
    if (GetWindowLongW(window, GWL_STYLE) & WS_MINIMIZE) (void)ShowWindow(window, SW_RESTORE);
}

void* COXInstanceManager::MapAdditionalData() {
    if (!m_additionalView && m_fileMapping)
        m_additionalView = MapViewOfFile(m_fileMapping.get(), kListAccess, 0, m_listSize, m_additionalSize);
    return m_additionalView;
}

void COXInstanceManager::UnmapAdditionalData() {
    if (m_additionalView) (void)UnmapViewOfFile(m_additionalView);
    m_additionalView = nullptr;
}
