// list_watch BUILD ROUNDS KILLS: the list of running copies with eight processes of an embedded machine that enter it and
// leave it ROUNDS times each. KILLS of them are killed and replaced. BUILD is the folder with their program. Exits with 0
// if everything was right.
#include "prove/list.h"

#include <cstdio>
#include <cstdlib>
#include <random>
#include <set>
#include <vector>

#include "common/throwaway_folder.h"
#include "instances/instance_manager.h"
#include "lab/program.h"
#include <winhost.h>

namespace {

using prove::kAdditionalBytes;
using prove::kListName;

constexpr std::size_t kWorkers = 8;
const std::u16string kWorker = u"C:\\list_worker.exe";

class Watch {
  public:
    explicit Watch(unsigned rounds) : m_rounds(rounds) {
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
        std::printf("list: %u rounds in each of %zu processes, %zu killed, %u looks\n", m_rounds, kWorkers,
                    m_killed.size(), m_looks);
        return m_good;
    }

  private:
    void Enlist(unsigned rounds) {
        m_workers.emplace_back(kWorker + u" " + winhost::Utf16(std::to_string(rounds)), u"C:\\");
        m_known.insert(m_workers.back().Id());
    }

    void Fail(const char* what, unsigned long number) {
        std::printf("list: %s: %lu\n", what, number);
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
        const lab::Program& worker = m_workers[number];
        if (!TerminateProcess(worker.Process(), 9) || !worker.EndsWithin(INFINITE)) return;
        m_killed.insert(worker.Id());
        m_workers.erase(m_workers.begin() + static_cast<std::ptrdiff_t>(number));
        Enlist(m_rounds / 2);
    }

    void DropEnded() {
        std::erase_if(m_workers, [&](const lab::Program& worker) {
            if (!worker.EndsWithin(0)) return false;
            if (worker.ExitCode()) Fail("a worker ended with", worker.ExitCode());
            return true;
        });
    }

    COXInstanceManager m_holder{kListName, kAdditionalBytes, true};
    std::vector<lab::Program> m_workers;
    std::set<DWORD> m_known{GetCurrentProcessId()}, m_killed;
    unsigned m_rounds;
    unsigned m_looks = 0;
    bool m_good = true;
};

}  // namespace

int main(int count, char** values) {
    if (count != 4) {
        std::fprintf(stderr, "use: list_watch BUILD ROUNDS KILLS\n");
        return 2;
    }
    const tools::ThrowawayFolder work("list_watch");
    winhost::CreateMachine(work.Path());
    winhost::EnterMachine(work.Path());
    std::filesystem::copy_file(values[1] + std::string("/list_worker.exe"), winhost::HostPath(kWorker));
    return Watch(static_cast<unsigned>(std::atoi(values[2]))).Run(static_cast<unsigned>(std::atoi(values[3])))
               ? 0
               : 1;
}
