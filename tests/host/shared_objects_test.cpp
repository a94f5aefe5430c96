// Named objects between two processes.
#include "host/win32/shared/process_mark.h"
#include "host/win32/shared/shared_object.h"
#include "host/win32/shared/shared_objects.h"
#include "host/win32/sync.h"
#include "host/win32/win32.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// A process that runs `body` and ends with its result.
class Process {
  public:
    explicit Process(const std::function<int()>& body) : pid_(fork()) {
        if (pid_ == 0) {
            _exit(body());
        }
    }
    ~Process() { Kill(); }

    int Result() {
        int status = -1;
        waitpid(pid_, &status, 0);
        pid_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    // Ends it; its parent does not ask for its exit code.
    void End() {
        kill(pid_, SIGKILL);
        siginfo_t info;
        waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT);
    }
    void Kill() {
        if (pid_ != 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
            pid_ = 0;
        }
    }
    pid_t Pid() const { return pid_; }

  private:
    pid_t pid_;
};

class SharedObjects : public testing::Test {
  protected:
    SharedObjects() {
        host::UseNamedObjects(host::SharedObjects());
        host::SetSession("test-" + std::to_string(getpid()));
        host::ResetWin32();
    }
    ~SharedObjects() override {
        host::ResetWin32();
        host::SetSession("");
        host::UseNamedObjects(host::InProcessObjects());
    }

    // A process that has made `name` and stands still.
    static std::unique_ptr<Process> MakerOf(const std::string& name, int32_t count = 0) {
        int made[2];
        if (pipe(made) != 0) {
            throw std::runtime_error("no pipe");
        }
        auto maker = std::make_unique<Process>([&] {
            host::CreateNamedSemaphore(name, count);
            [[maybe_unused]] const auto written = write(made[1], "!", 1);
            while (true) {
                pause();
            }
            return 0;
        });
        close(made[1]);
        char mark;
        EXPECT_EQ(read(made[0], &mark, 1), 1);
        close(made[0]);
        return maker;
    }
    static HANDLE OpenSemaphoreNamed(const char* name) {
        return OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, 1, name);
    }
    static bool IsInMemory(const std::string& name) {
        const int file = shm_open(("/korv-" + host::Session() + "-" + name).c_str(), O_RDWR, 0);
        if (file >= 0) {
            close(file);
        }
        return file >= 0;
    }
};

TEST_F(SharedObjects, AMappingIsOneMemoryInBothProcesses) {
    auto* memory = static_cast<uint32_t*>(host::CreateNamedMapping("Shm", 16));
    memory[0] = 7;
    Process other([] {
        const HANDLE mapping = OpenFileMappingA(FILE_MAP_WRITE, 1, "Shm");
        auto* view = static_cast<uint32_t*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 16));
        if (view == nullptr || view[0] != 7) {
            return 1;
        }
        view[3] = 1002;
        return UnmapViewOfFile(view) == 1 && CloseHandle(mapping) == 1 ? 0 : 2;
    });
    EXPECT_EQ(other.Result(), 0);
    EXPECT_EQ(memory[3], 1002u);
}

TEST_F(SharedObjects, TwoProcessesGoInLockStep) {
    constexpr int kRounds = 50;
    host::CreateNamedSemaphore("Leave", 0);
    host::CreateNamedSemaphore("Report", 0);
    auto* memory = static_cast<volatile uint32_t*>(host::CreateNamedMapping("Shm", 16));
    Process other([] {
        const HANDLE leave = OpenSemaphoreNamed("Leave");
        const HANDLE report = OpenSemaphoreNamed("Report");
        const auto shared = host::NamedMapping("Shm");
        auto* word = static_cast<volatile uint32_t*>(shared.get());
        for (int i = 0; i < kRounds; ++i) {
            if (WaitForSingleObject(leave, INFINITE) != WAIT_OBJECT_0) {
                return 1;
            }
            *word = *word * 3 + 1;
            if (ReleaseSemaphore(report, 1, nullptr) != 1) {
                return 2;
            }
        }
        return 0;
    });
    uint32_t expected = 0;
    for (int i = 0; i < kRounds; ++i) {
        EXPECT_EQ(*memory, expected);
        host::SignalSemaphore("Leave");
        ASSERT_TRUE(host::AwaitSemaphore("Report", 10000));
        expected = expected * 3 + 1;
    }
    EXPECT_EQ(*memory, expected);
    EXPECT_EQ(other.Result(), 0);
}

TEST_F(SharedObjects, CountAndMaximumHoldForAllProcesses) {
    host::CreateNamedSemaphore("S", 1, 3);
    Process other([] {
        const HANDLE semaphore = OpenSemaphoreNamed("S");
        LONG previous = -1;
        return ReleaseSemaphore(semaphore, 2, &previous) == 1 && previous == 1 &&
                       ReleaseSemaphore(semaphore, 1, nullptr) == 0
                   ? 0
                   : 1;
    });
    EXPECT_EQ(other.Result(), 0);
    EXPECT_EQ(host::SemaphoreCount("S"), 3);
    EXPECT_FALSE(host::SignalSemaphore("S"));
}

TEST_F(SharedObjects, AWaitWithoutLimitFailsWhenTheMakerHasDied) {
    const auto maker = MakerOf("S");
    const HANDLE semaphore = OpenSemaphoreNamed("S");
    ASSERT_NE(semaphore, nullptr);
    std::string lost;
    host::SetSemaphoreHooks({.idle = [&](const std::string&) { maker->Kill(); },
                             .makerLost = [&](const std::string& name) { lost = name; }});
    EXPECT_EQ(WaitForSingleObject(semaphore, INFINITE), WAIT_FAILED);
    EXPECT_EQ(lost, "S");
}

TEST_F(SharedObjects, WhatADeadMakerLeftIsTakenFirst) {
    const auto maker = MakerOf("S", 1);
    const HANDLE semaphore = OpenSemaphoreNamed("S");
    maker->Kill();
    EXPECT_EQ(WaitForSingleObject(semaphore, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(semaphore, INFINITE), WAIT_FAILED);
}

TEST_F(SharedObjects, ThoseOfADeadMakerAreNotOpenedAndGiveWay) {
    const auto maker = MakerOf("S", 5);
    EXPECT_EQ(host::SemaphoreCount("S"), 5);
    maker->End();
    EXPECT_EQ(OpenSemaphoreNamed("S"), nullptr);
    EXPECT_EQ(host::SemaphoreCount("S"), -1);
    host::CreateNamedSemaphore("S", 2);
    EXPECT_EQ(host::SemaphoreCount("S"), 2);
}

TEST_F(SharedObjects, ThoseOfADeadMakerAreRemoved) {
    const auto maker = MakerOf("S");
    host::CreateNamedSemaphore("Mine", 0);
    maker->Kill();
    host::SharedObject::RemoveStale();
    EXPECT_FALSE(IsInMemory("S"));
    EXPECT_TRUE(IsInMemory("Mine"));
}

TEST_F(SharedObjects, ANameInUseIsRefused) {
    const auto maker = MakerOf("S");
    EXPECT_THROW(host::CreateNamedSemaphore("S", 0), std::runtime_error);
}

TEST_F(SharedObjects, AForkedProcessLeavesItsParentsObjectsAlone) {
    host::CreateNamedSemaphore("S", 1);
    Process other([] {
        host::RemoveNamedObject("S");
        host::ResetWin32();
        return host::SemaphoreCount("S") == 1 ? 0 : 1;
    });
    EXPECT_EQ(other.Result(), 0);
    EXPECT_EQ(host::SemaphoreCount("S"), 1);
}

TEST_F(SharedObjects, SessionsDoNotMeet) {
    const std::string session = host::Session();
    host::CreateNamedSemaphore("S", 1);
    host::SetSession(session + "-b");
    EXPECT_EQ(host::SemaphoreCount("S"), -1);
    host::SetSession(session);
    EXPECT_EQ(host::SemaphoreCount("S"), 1);
}

TEST_F(SharedObjects, AProcessHasASessionOfItsOwn) {
    host::SetSession("");
    EXPECT_EQ(host::Session(), std::to_string(getpid()));
    // The one that it is forked with stays, so that both can meet.
    const std::string mine = host::Session();
    Process other([&] { return host::Session() == mine ? 0 : 1; });
    EXPECT_EQ(other.Result(), 0);
}

TEST_F(SharedObjects, AResetLeavesNothingInMemory) {
    host::CreateNamedSemaphore("S", 0);
    host::CreateNamedMapping("Shm", 16);
    host::ResetWin32();
    EXPECT_FALSE(IsInMemory("S"));
    EXPECT_FALSE(IsInMemory("Shm"));
}

TEST_F(SharedObjects, AnObjectHasOneKind) {
    host::CreateNamedSemaphore("S", 1);
    EXPECT_EQ(OpenFileMappingA(FILE_MAP_WRITE, 1, "S"), nullptr);
    EXPECT_EQ(host::NamedMapping("S"), nullptr);
    host::CreateNamedMapping("S", 8);
    EXPECT_EQ(OpenSemaphoreNamed("S"), nullptr);
    EXPECT_EQ(OpenSemaphoreNamed("s"), nullptr);
}

TEST(ProcessMark, IsOfOneRunOfAProcess) {
    host::ProcessMark mark = host::ThisProcess();
    EXPECT_TRUE(host::IsRunning(mark));
    --mark.start; // an earlier process of the same number
    EXPECT_FALSE(host::IsRunning(mark));
}

TEST_F(SharedObjects, AMakerThatNobodyAskedForHasEnded) {
    host::CreateNamedSemaphore("Told", 0);
    auto* mark = static_cast<host::ProcessMark*>(
        host::CreateNamedMapping("Mark", sizeof(host::ProcessMark)));
    Process other([] {
        *static_cast<host::ProcessMark*>(host::NamedMapping("Mark").get()) = host::ThisProcess();
        host::SignalSemaphore("Told");
        while (true) {
            pause();
        }
        return 0;
    });
    ASSERT_TRUE(host::AwaitSemaphore("Told", 10000));
    EXPECT_EQ(mark->pid, other.Pid());
    EXPECT_TRUE(host::IsRunning(*mark));
    other.End();
    // It stays listed until its parent takes note.
    const std::string listed = "/proc/" + std::to_string(other.Pid()) + "/stat";
    EXPECT_EQ(access(listed.c_str(), F_OK), 0);
    EXPECT_FALSE(host::IsRunning(*mark));
}

} // namespace
