// The list of running copies with eight processes that start and end. Some of them are killed.
#include "stress/list.h"

#include <algorithm>
#include <random>
#include <set>
#include <vector>

#include "common/throwaway_folder.h"
#include "instances/instance_manager.h"
#include "stress/parts.h"
#include "sweep/workers.h"
#include "winhost.h"

namespace fs = std::filesystem;

namespace stress {

namespace {

constexpr std::size_t kWorkers = 8;
constexpr unsigned kRounds = 10000, kQuickRounds = 100;
constexpr unsigned kKills = 100, kQuickKills = 5;
constexpr char16_t kWorker[] = u"C:\\list_worker.exe";

struct Worker {
    HANDLE process = nullptr;
    DWORD id = 0;
};

Worker Start(unsigned rounds) {
    std::u16string line = kWorker + (u" " + winhost::Utf16(std::to_string(rounds)));
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, u"C:\\", &startup,
                        &process))
        return {};
    (void)CloseHandle(process.hThread);
    return {process.hProcess, process.dwProcessId};
}

class Watch {
  public:
    Watch(unsigned rounds, std::FILE* report) : m_rounds(rounds), m_report(report) {
        for (std::size_t i = 0; i < kWorkers; ++i)
            Enlist(m_rounds);
    }

    // Checks the list and the workers until all have ended. Meanwhile it kills `kills` of them, and starts another one
    // for each. Returns whether everything was right.
    bool Run(unsigned kills) {
        std::mt19937 random(1);
        while (!m_workers.empty()) {
            Look();
            if (kills > 0 && random() % 8 == 0) {
                Kill(random() % m_workers.size());
                --kills;
            }
            Sleep(static_cast<DWORD>(random()) % 20);
            DropEnded();
        }
        Look();
        std::fprintf(m_report, "list: %u rounds in each of %zu processes, %zu killed, %u looks\n", m_rounds,
                     kWorkers, m_killed.size(), m_looks);
        return m_good;
    }

  private:
    void Enlist(unsigned rounds) {
        m_workers.push_back(Start(rounds));
        m_known.insert(m_workers.back().id);
    }

    void Fail(const char* what, unsigned long number) {
        std::fprintf(m_report, "list: %s: %lu\n", what, number);
        m_good = false;
    }

    // This process never leaves the list, so it is there once. No other process is there twice unless it was killed,
    // and no unknown process is there.
    void Look() {
        ++m_looks;
        CDWordArray ids;
        if (!m_holder.ListInstances(ids)) return Fail("can't be opened", 0);
        std::multiset<DWORD> listed(ids.GetData(), ids.GetData() + ids.GetSize());
        if (listed.count(GetCurrentProcessId()) != 1) Fail("this process is lost", 0);
        for (const DWORD id : listed)
            if (!m_known.contains(id))
                Fail("an unknown entry", id);
            else if (listed.count(id) > 1)
                Fail("an entry is there twice", id);
        if (listed.size() > 1 + kWorkers + m_killed.size()) Fail("too many entries", listed.size());
    }

    void Kill(std::size_t number) {
        const HANDLE process = m_workers[number].process;
        if (!TerminateProcess(process, 9)) return;
        (void)WaitForSingleObject(process, INFINITE);
        (void)CloseHandle(process);
        m_killed.insert(m_workers[number].id);
        m_workers.erase(m_workers.begin() + static_cast<std::ptrdiff_t>(number));
        Enlist(m_rounds / 2);
    }

    void DropEnded() {
        std::erase_if(m_workers, [&](const Worker& worker) {
            if (WaitForSingleObject(worker.process, 0) == WAIT_TIMEOUT) return false;
            DWORD exitCode = 99;
            (void)GetExitCodeProcess(worker.process, &exitCode);
            if (exitCode) Fail("a worker ended with", exitCode);
            (void)CloseHandle(worker.process);
            return true;
        });
    }

    COXInstanceManager m_holder{kListName, kAdditionalBytes, true};
    std::vector<Worker> m_workers;
    std::set<DWORD> m_known{GetCurrentProcessId()}, m_killed;
    unsigned m_rounds;
    unsigned m_looks = 0;
    std::FILE* m_report;
    bool m_good = true;
};

}  // namespace

bool SharedList(const Options& options, std::FILE* report) {
    const tools::ThrowawayFolder work("stress", sweep::PlaceToWork());
    const fs::path& folder = work.Path();
    winhost::CreateMachine(folder / "machine");
    winhost::EnterMachine(folder / "machine");
    fs::copy_file(QTV_BUILD_FOLDER "/list_worker.exe", winhost::HostPath(kWorker));
    return Watch(options.quick ? kQuickRounds : kRounds, report).Run(options.quick ? kQuickKills : kKills);
}

}  // namespace stress
