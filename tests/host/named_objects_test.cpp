// Named objects in one process: both forms do the same.
#include "host/win32/named_objects.h"
#include "host/win32/shared/shared_objects.h"
#include "host/win32/sync.h"
#include "host/win32/win32.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace {

struct Form {
    const char* name;
    host::NamedObjects& (*objects)();
};

class NamedObjects : public testing::TestWithParam<Form> {
  protected:
    NamedObjects() {
        host::UseNamedObjects(GetParam().objects());
        host::ResetWin32();
    }
    ~NamedObjects() override {
        host::ResetWin32();
        host::UseNamedObjects(host::InProcessObjects());
    }

    static HANDLE OpenSemaphoreNamed(const char* name) {
        return OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, 1, name);
    }
};

INSTANTIATE_TEST_SUITE_P(Forms, NamedObjects,
                         testing::Values(Form{"InProcess", host::InProcessObjects},
                                         Form{"Shared", host::SharedObjects}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(NamedObjects, AMappingIsOneMemoryForAllWhoOpenIt) {
    auto* memory = static_cast<uint32_t*>(host::CreateNamedMapping("Shm", 16));
    EXPECT_EQ(memory[0] | memory[1] | memory[2] | memory[3], 0u);
    memory[0] = 7;
    const HANDLE mapping = OpenFileMappingA(FILE_MAP_WRITE, 1, "Shm");
    auto* view = static_cast<uint32_t*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 16));
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view[0], 7u);
    view[3] = 1002;
    EXPECT_EQ(memory[3], 1002u);
    EXPECT_EQ(static_cast<uint32_t*>(host::NamedMapping("Shm").get())[3], 1002u);
    EXPECT_EQ(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 17), nullptr);
    EXPECT_EQ(UnmapViewOfFile(view), 1);
    EXPECT_EQ(CloseHandle(mapping), 1);
}

TEST_P(NamedObjects, TwoThreadsGoInLockStep) {
    constexpr int kRounds = 50;
    host::CreateNamedSemaphore("Leave", 0);
    host::CreateNamedSemaphore("Report", 0);
    uint32_t word = 0; // the semaphores keep both sides apart
    int failures = 0;
    std::thread other([&] {
        const HANDLE leave = OpenSemaphoreNamed("Leave");
        const HANDLE report = OpenSemaphoreNamed("Report");
        for (int i = 0; i < kRounds; ++i) {
            failures += WaitForSingleObject(leave, INFINITE) != WAIT_OBJECT_0;
            word = word * 3 + 1;
            failures += ReleaseSemaphore(report, 1, nullptr) != 1;
        }
    });
    uint32_t expected = 0;
    for (int i = 0; i < kRounds; ++i) {
        EXPECT_EQ(word, expected);
        host::SignalSemaphore("Leave");
        EXPECT_TRUE(host::AwaitSemaphore("Report", 10000));
        expected = expected * 3 + 1;
    }
    other.join();
    EXPECT_EQ(word, expected);
    EXPECT_EQ(failures, 0);
}

TEST_P(NamedObjects, CountAndMaximumHoldForAllHandles) {
    host::CreateNamedSemaphore("S", 1, 3);
    const HANDLE first = OpenSemaphoreNamed("S"), second = OpenSemaphoreNamed("S");
    LONG previous = -1;
    EXPECT_EQ(ReleaseSemaphore(first, 2, &previous), 1);
    EXPECT_EQ(previous, 1);
    EXPECT_EQ(ReleaseSemaphore(second, 1, nullptr), 0);
    EXPECT_EQ(ReleaseSemaphore(second, 0, nullptr), 0);
    EXPECT_EQ(ReleaseSemaphore(second, -1, nullptr), 0);
    EXPECT_EQ(host::SemaphoreCount("S"), 3);
    EXPECT_FALSE(host::SignalSemaphore("S"));
    for (const HANDLE handle : {first, second, first}) {
        EXPECT_EQ(WaitForSingleObject(handle, INFINITE), WAIT_OBJECT_0);
    }
    EXPECT_EQ(WaitForSingleObject(second, 0), WAIT_TIMEOUT);
    EXPECT_FALSE(host::AwaitSemaphore("S", 1));
}

TEST_P(NamedObjects, AnObjectHasOneKind) {
    host::CreateNamedSemaphore("S", 1);
    EXPECT_EQ(OpenFileMappingA(FILE_MAP_WRITE, 1, "S"), nullptr);
    EXPECT_EQ(host::NamedMapping("S"), nullptr);
    host::CreateNamedMapping("S", 8);
    EXPECT_EQ(OpenSemaphoreNamed("S"), nullptr);
    EXPECT_EQ(OpenSemaphoreNamed("s"), nullptr);
    EXPECT_EQ(host::SemaphoreCount("S"), -1);
}

TEST_P(NamedObjects, AnEarlierOneOfThisProcessGivesWay) {
    host::CreateNamedSemaphore("S", 5);
    const HANDLE old = OpenSemaphoreNamed("S");
    host::CreateNamedSemaphore("S", 2);
    EXPECT_EQ(host::SemaphoreCount("S"), 2);
    // Who has the old one open keeps it.
    EXPECT_EQ(WaitForSingleObject(old, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(host::SemaphoreCount("S"), 2);
    LONG previous = -1;
    EXPECT_EQ(ReleaseSemaphore(old, 1, &previous), 1);
    EXPECT_EQ(previous, 4);
}

TEST_P(NamedObjects, ARemovedNameIsFreeAndItsHoldersKeepTheObject) {
    auto* memory = static_cast<uint32_t*>(host::CreateNamedMapping("Shm", 4));
    *memory = 17;
    const auto held = host::NamedMapping("Shm");
    host::RemoveNamedObject("Shm");
    EXPECT_EQ(host::NamedMapping("Shm"), nullptr);
    EXPECT_EQ(*static_cast<uint32_t*>(held.get()), 17u);
    host::RemoveNamedObject("Shm");
    host::CreateNamedMapping("Shm", 4);
    EXPECT_EQ(*static_cast<uint32_t*>(host::NamedMapping("Shm").get()), 0u);
}

TEST_P(NamedObjects, AResetLeavesNoName) {
    host::CreateNamedSemaphore("S", 0);
    host::CreateNamedMapping("Shm", 16);
    host::ResetWin32();
    EXPECT_EQ(OpenSemaphoreNamed("S"), nullptr);
    EXPECT_EQ(host::NamedMapping("Shm"), nullptr);
}

TEST_P(NamedObjects, ReachNobodyThroughTheOtherForm) {
    host::CreateNamedSemaphore("S", 1);
    const bool shared = &GetParam().objects() == &host::SharedObjects();
    host::UseNamedObjects(shared ? host::InProcessObjects() : host::SharedObjects());
    EXPECT_EQ(host::SemaphoreCount("S"), -1);
    host::UseNamedObjects(GetParam().objects());
    EXPECT_EQ(host::SemaphoreCount("S"), 1);
}

} // namespace
