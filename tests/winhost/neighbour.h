#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

// Another process, a fork of the test's. It does something and then stops until the test ends it. It uses
// the machine, but the machine doesn't list it among its processes.
class Neighbour {
  public:
    explicit Neighbour(const std::function<bool()>& act) : m_id(fork()) {
        if (m_id == 0) {
            if (act()) (void)raise(SIGSTOP);
            _exit(1);
        }
        int status = 0;
        EXPECT_EQ(waitpid(m_id, &status, WUNTRACED), m_id);
        EXPECT_TRUE(WIFSTOPPED(status));
    }
    ~Neighbour() {
        kill(m_id, SIGKILL);
        waitpid(m_id, nullptr, 0);
    }
    pid_t Id() const { return m_id; }
    Neighbour(const Neighbour&) = delete;

  private:
    const pid_t m_id;
};
