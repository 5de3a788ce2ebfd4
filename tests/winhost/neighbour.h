#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

// Another process, a fork of the test's. It does something and then waits for the test to end it. It uses
// the machine, but the machine doesn't list it among its processes.
class Neighbour {
  public:
    explicit Neighbour(const std::function<bool()>& act) {
        int ready[2];
        if (pipe(ready) != 0) return;
        m_id = fork();
        if (m_id == 0) {
            const char done = act();
            if (write(ready[1], &done, 1) == 1) pause();
            _exit(1);
        }
        char done = 0;
        EXPECT_EQ(read(ready[0], &done, 1), 1);
        EXPECT_TRUE(done);
        close(ready[0]);
        close(ready[1]);
    }
    ~Neighbour() {
        kill(m_id, SIGKILL);
        waitpid(m_id, nullptr, 0);
    }
    pid_t Id() const { return m_id; }
    Neighbour(const Neighbour&) = delete;
    Neighbour& operator=(const Neighbour&) = delete;

  private:
    pid_t m_id = -1;
};
