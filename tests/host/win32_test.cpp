// Heaps, devices, system image, clock, named objects and DCI.
#include "host/win32/clock.h"
#include "host/win32/dci.h"
#include "host/win32/device.h"
#include "host/win32/heap.h"
#include "host/win32/sync.h"
#include "host/win32/system.h"
#include "host/win32/win32.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>

namespace {

class Win32Test : public ::testing::Test {
  protected:
    Win32Test() { host::ResetWin32(); }
    ~Win32Test() override { host::ResetWin32(); }
};

using HeapTest = Win32Test;

TEST_F(HeapTest, ZeroedBlocksAreZeroAndOthersAreNot) {
    const HANDLE heap = HeapCreate(0x04000000, 2500, 0);
    auto* zeroed = static_cast<uint8_t*>(HeapAlloc(heap, HEAP_ZERO_MEMORY, 8));
    auto* stale = static_cast<uint8_t*>(HeapAlloc(heap, 0, 8));
    EXPECT_EQ(std::count(zeroed, zeroed + 8, 0), 8);
    EXPECT_EQ(std::count(stale, stale + 8, 0), 0);
    EXPECT_EQ(host::heap::LastCreation().options, 0x04000000u);
    EXPECT_EQ(host::heap::LastCreation().initialBytes, 2500u);
}

TEST_F(HeapTest, LiveBlocksAreCountedUntilTheyAreFreed) {
    const HANDLE heap = HeapCreate(0, 0, 0);
    void* block = HeapAlloc(heap, 0, 116);
    EXPECT_EQ(host::heap::LiveBlocks(), 1u);
    EXPECT_EQ(host::heap::LiveBytes(), 116u);
    EXPECT_TRUE(host::heap::IsLive(block));
    EXPECT_EQ(HeapFree(heap, 0, block), 1);
    EXPECT_EQ(host::heap::LiveBlocks(), 0u);
    EXPECT_EQ(HeapFree(heap, 0, block), 0);
}

TEST_F(HeapTest, TheNextAllocationCanBeMadeToFail) {
    const HANDLE heap = HeapCreate(0, 0, 0);
    host::heap::FailAllocations(1, 1);
    EXPECT_NE(HeapAlloc(heap, 0, 4), nullptr);
    EXPECT_EQ(HeapAlloc(heap, 0, 4), nullptr);
    EXPECT_NE(HeapAlloc(heap, 0, 4), nullptr);
}

TEST_F(HeapTest, ABlockBelongsToItsOwnHeap) {
    const HANDLE one = HeapCreate(0, 0, 0);
    const HANDLE other = HeapCreate(0, 0, 0);
    void* block = HeapAlloc(one, 0, 4);
    EXPECT_EQ(HeapFree(other, 0, block), 0);
    EXPECT_EQ(HeapFree(one, 0, block), 1);
    EXPECT_EQ(host::heap::Heaps(), 2u);
}

TEST_F(HeapTest, ANullHandleAllocatesNothingAndCreationCanFail) {
    EXPECT_EQ(HeapAlloc(nullptr, 0, 4), nullptr);
    host::heap::FailCreations();
    EXPECT_EQ(HeapCreate(0, 0, 0), nullptr);
    EXPECT_NE(HeapCreate(0, 0, 0), nullptr);
}

// Answers with its input plus one.
class AddingDevice : public host::Device {
  public:
    bool Control(uint32_t code, const void* in, uint32_t inBytes, void* out, uint32_t outBytes,
                 uint32_t* returned) override {
        ++calls;
        if (code != 7 || inBytes != 4 || outBytes != 4) {
            return false;
        }
        uint32_t value;
        std::memcpy(&value, in, 4);
        ++value;
        std::memcpy(out, &value, 4);
        *returned = 4;
        return true;
    }
    int calls = 0;
};

using DeviceTest = Win32Test;

HANDLE OpenDevice(const char* name) {
    return CreateFileA(name, GENERIC_READ, 3, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                       nullptr);
}

TEST_F(DeviceTest, AnUnknownNameGivesTheInvalidHandle) {
    EXPECT_EQ(OpenDevice("\\\\.\\nothing"), INVALID_HANDLE_VALUE);
    EXPECT_EQ(host::LastDeviceOpening().name, "\\\\.\\nothing");
    EXPECT_EQ(host::LastDeviceOpening().access, 0x80000000u);
}

TEST_F(DeviceTest, RequestsGoToTheDeviceThroughEachOpenHandle) {
    AddingDevice device;
    host::RegisterDevice("\\\\.\\adder", &device);
    const HANDLE first = OpenDevice("\\\\.\\Adder");
    const HANDLE second = OpenDevice("\\\\.\\adder");
    EXPECT_NE(first, second);
    EXPECT_EQ(host::OpenDeviceHandles(), 2u);
    uint32_t in = 41, out = 0;
    DWORD returned = 0;
    EXPECT_EQ(DeviceIoControl(second, 7, &in, 4, &out, 4, &returned, nullptr), 1);
    EXPECT_EQ(out, 42u);
    EXPECT_EQ(returned, 4u);
    EXPECT_EQ(DeviceIoControl(first, 8, &in, 4, &out, 4, &returned, nullptr), 0);
    EXPECT_EQ(returned, 0u);
    EXPECT_EQ(CloseHandle(first), 1);
    EXPECT_EQ(CloseHandle(first), 0);
    EXPECT_EQ(DeviceIoControl(first, 7, &in, 4, &out, 4, nullptr, nullptr), 0);
    EXPECT_EQ(device.calls, 2);
    EXPECT_EQ(host::OpenDeviceHandles(), 1u);
}

using SystemTest = Win32Test;

uint32_t WordAt(const uint8_t* image, uint32_t offset) {
    uint32_t word;
    std::memcpy(&word, image + offset, 4);
    return word;
}

// The export with this ordinal, found by walking the image's headers.
uintptr_t Export(const uint8_t* image, uint32_t ordinal) {
    const uint32_t header = WordAt(image, 60);
    const uint32_t exports = WordAt(image, header + 120);
    const uint32_t functions = WordAt(image, exports + 28);
    return reinterpret_cast<uintptr_t>(image) + WordAt(image, functions + 4 * (ordinal - 1));
}

TEST_F(SystemTest, TheSystemImageHasMarksAndExports) {
    const auto* image = reinterpret_cast<uint8_t*>(GetModuleHandleA("KERNEL32"));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(WordAt(image, 0) & 0xFFFF, 0x5A4Du);
    const uint32_t header = WordAt(image, 60);
    EXPECT_EQ(WordAt(image, header), 0x4550u);
    const uint32_t exports = WordAt(image, header + 120);
    EXPECT_EQ(WordAt(image, exports + 16), 1u);
    EXPECT_EQ(WordAt(image, exports + 20), 98u);
    EXPECT_EQ(GetModuleHandleA("GDI32"), nullptr);
}

TEST_F(SystemTest, TheWin16LockIsReachedByOrdinals) {
    const auto* image = reinterpret_cast<uint8_t*>(GetModuleHandleA("kernel32.dll"));
    const auto get = reinterpret_cast<void(KORV_STDCALL*)(uint32_t*)>(Export(image, 93));
    const auto enter = reinterpret_cast<void(KORV_STDCALL*)(uint32_t)>(Export(image, 97));
    const auto leave = reinterpret_cast<void(KORV_STDCALL*)(uint32_t)>(Export(image, 98));
    uint32_t lock = 0;
    get(&lock);
    EXPECT_EQ(lock, host::Win16LockAddress());
    EXPECT_NE(lock, 0u);
    enter(lock);
    EXPECT_EQ(host::Win16Lock().depth, 1u);
    leave(lock);
    EXPECT_EQ(host::Win16Lock().depth, 0u);
    leave(lock);
    enter(lock + 4);
    EXPECT_EQ(host::Win16Lock().unbalanced, 2u);
    host::SetWin16LockPresent(false);
    get(&lock);
    EXPECT_EQ(lock, 0u);
}

TEST_F(SystemTest, ADamagedImageIsLaidOutOnDemand) {
    host::SetSystemImage({.peMark = false, .exports = 5});
    const auto* image = reinterpret_cast<uint8_t*>(GetModuleHandleA("KERNEL32"));
    EXPECT_NE(WordAt(image, WordAt(image, 60)), 0x4550u);
    host::SetSystemImage({.present = false});
    EXPECT_EQ(GetModuleHandleA("KERNEL32"), nullptr);
}

TEST_F(SystemTest, TheProcessorIsAsSet) {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    EXPECT_EQ(info.dwProcessorType, 586u);
    EXPECT_EQ(info.dwNumberOfProcessors, 1u);
    host::SetProcessor(486, 2);
    GetSystemInfo(&info);
    EXPECT_EQ(info.dwProcessorType, 486u);
    EXPECT_EQ(info.dwNumberOfProcessors, 2u);
}

TEST_F(SystemTest, TextIsCopiedAndJoined) {
    char text[16];
    EXPECT_EQ(lstrcpyA(text, "ab"), text);
    EXPECT_EQ(lstrcatA(text, "cd"), text);
    EXPECT_STREQ(text, "abcd");
}

using ClockTest = Win32Test;

TEST_F(ClockTest, TimeStandsUntilItIsMoved) {
    EXPECT_EQ(timeGetTime(), 0u);
    host::clock::Set(0xFFFFFFFF);
    EXPECT_EQ(timeGetTime(), 0xFFFFFFFFu);
    host::clock::Advance(17);
    EXPECT_EQ(timeGetTime(), 16u);
}

TEST_F(ClockTest, TimeFollowsASourceUntilItsOwnerLeaves) {
    uint64_t microseconds = 5999;
    int owner = 0, stranger = 0;
    host::clock::Follow(&owner, [&] { return microseconds; });
    EXPECT_EQ(timeGetTime(), 5u);
    host::clock::Unfollow(&stranger);
    microseconds = 7000;
    EXPECT_EQ(timeGetTime(), 7u);
    host::clock::Unfollow(&owner);
    microseconds = 90000;
    EXPECT_EQ(timeGetTime(), 7u);
}

using SyncTest = Win32Test;

TEST_F(SyncTest, SemaphoresAreOpenedByNameAndCount) {
    EXPECT_EQ(OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, 1, "GTraceSemP"), nullptr);
    host::CreateNamedSemaphore("GTraceSemP", 1, 2);
    const HANDLE semaphore = OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, 1, "GTraceSemP");
    ASSERT_NE(semaphore, nullptr);
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_TIMEOUT);
    LONG previous = -1;
    EXPECT_EQ(ReleaseSemaphore(semaphore, 2, &previous), 1);
    EXPECT_EQ(previous, 0);
    EXPECT_EQ(ReleaseSemaphore(semaphore, 1, nullptr), 0);
    EXPECT_EQ(host::SemaphoreCount("GTraceSemP"), 2);
    EXPECT_EQ(CloseHandle(semaphore), 1);
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_FAILED);
    EXPECT_EQ(host::OpenSyncHandles(), 0u);
}

TEST_F(SyncTest, AWaitWithoutLimitEndsWhenAnotherThreadReleases) {
    host::CreateNamedSemaphore("S", 0);
    const HANDLE semaphore = OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, 1, "S");
    std::thread other([] { host::SignalSemaphore("S"); });
    EXPECT_EQ(WaitForSingleObject(semaphore, INFINITE), WAIT_OBJECT_0);
    other.join();
}

TEST_F(SyncTest, TheOtherProgramGetsItsTurnWhenAWaitWouldBlock) {
    host::CreateNamedSemaphore("S", 0);
    const HANDLE semaphore = OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, 1, "S");
    std::string asked;
    host::SetSemaphoreHooks({.idle = [&](const std::string& name) {
        asked = name;
        host::SignalSemaphore(name);
    }});
    EXPECT_EQ(WaitForSingleObject(semaphore, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(asked, "S");
}

TEST_F(SyncTest, MappingsShareTheMakersMemory) {
    auto* memory = static_cast<uint32_t*>(host::CreateNamedMapping("GTraceShm", 16));
    memory[1] = 0xABCD;
    const HANDLE mapping = OpenFileMappingA(FILE_MAP_WRITE, 1, "GTraceShm");
    auto* view = static_cast<uint32_t*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 16));
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view[1], 0xABCDu);
    view[2] = 1000;
    EXPECT_EQ(memory[2], 1000u);
    EXPECT_EQ(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 17), nullptr);
    EXPECT_EQ(host::MappedViews(), 1u);
    EXPECT_EQ(UnmapViewOfFile(view), 1);
    EXPECT_EQ(UnmapViewOfFile(view), 0);
    EXPECT_EQ(host::MappedViews(), 0u);
}

using DciTest = Win32Test;

TEST_F(DciTest, AccessIsAnsweredAsSetAndRecorded) {
    DCISURFACEINFO surface{};
    EXPECT_EQ(DCIBeginAccess(&surface, 1, 2, 3, 4), DCI_OK);
    EXPECT_EQ(host::Dci().begins, 1u);
    EXPECT_EQ(host::Dci().x, 1);
    EXPECT_EQ(host::Dci().height, 4);
    host::SetDciResult(-1);
    EXPECT_EQ(DCIBeginAccess(&surface, 0, 0, 0, 0), -1);
    DCIEndAccess(&surface);
    EXPECT_EQ(host::Dci().ends, 1u);
    EXPECT_EQ(host::Dci().surface, &surface);
}

} // namespace
