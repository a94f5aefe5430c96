// What the loader says of files that it cannot use, and where it puts those that it can.
#include "host/display/machine.h"
#include "host/driver_module.h"
#include "host/loader/dll_module.h"
#include "host/loader/image.h"
#include "host/loader/imports.h"
#include "tests/loader/machine.h"
#include "tests/support_host/dll_bytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/mman.h>

namespace {

using namespace test;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using testing::ThrowsMessage;

class ImageTest : public testing::Test, protected DllBytes {
  protected:
    ImageTest()
        : path_(testing::TempDir() + "loader_" +
                testing::UnitTest::GetInstance()->current_test_info()->name() + ".dll") {}
    ~ImageTest() override {
        std::filesystem::remove(path_);
        host::UseLinkedDriver();
        host::PowerCycle();
    }

    // The file with `bytes` in it.
    std::string Path() {
        std::ofstream(path_, std::ios::binary).write(bytes.data(), std::ssize(bytes));
        return path_;
    }
    void ExpectRefusal(const std::string& reason) {
        const std::string path = Path();
        EXPECT_THAT(
            [&] { host::loader::UseDriverDll(path); },
            ThrowsMessage<std::runtime_error>(
                AllOf(StartsWith(path + ": "), HasSubstr(reason), testing::Not(HasSubstr("\n")))));
    }

  private:
    std::string path_;
};

TEST_F(ImageTest, AMissingFileIsTold) {
    EXPECT_THAT([] { host::loader::UseDriverDll("/nowhere/KORV32.dll"); },
                ThrowsMessage<std::runtime_error>("/nowhere/KORV32.dll: cannot be opened"));
}

TEST_F(ImageTest, AFileOfAnotherKindIsRefused) {
    bytes = "";
    ExpectRefusal("not a Windows program");
    bytes = std::string(4096, 'x');
    ExpectRefusal("not a Windows program");
}

TEST_F(ImageTest, AnotherProcessorsDllIsRefused) {
    bytes[Header() + 4] = 0x64;
    bytes[Header() + 5] = '\x86';
    ExpectRefusal("not a program for 32-bit x86");
}

TEST_F(ImageTest, AProgramThatIsNoDllIsRefused) {
    bytes[Header() + 23] &= ~0x20;
    ExpectRefusal("not a 32-bit DLL");
}

TEST_F(ImageTest, EveryFileThatWasCutShortIsRefused) {
    const std::string whole = bytes;
    for (size_t length = 0; length < whole.size() - 0x200; length += 1021) {
        bytes = whole.substr(0, length);
        EXPECT_THROW(host::loader::UseDriverDll(Path()), std::runtime_error) << length;
    }
}

TEST_F(ImageTest, AnImportThatTheHostLacksIsNamed) {
    const size_t at = bytes.find("timeGetTime");
    ASSERT_NE(at, std::string::npos);
    bytes.replace(at, 11, "timeSetTime");
    ExpectRefusal("needs timeSetTime of WINMM.DLL");
}

TEST_F(ImageTest, RelocationsWhoseSizeWrapsAroundAreRefused) {
    constexpr uint32_t kRelocations = 5;
    const std::string whole = bytes;
    const uint32_t at = Word(Directory(kRelocations));
    ASSERT_NE(at, 0u);
    // Their end is small again, or the largest that there is.
    for (const uint32_t size : {16 - at, 0xFFFFFFFF - at, 0xFFFFFFFFu}) {
        bytes = whole;
        SetWord(Directory(kRelocations) + 4, size);
        ExpectRefusal("its relocations lead out of the image");
    }
    for (const uint32_t size : {0u, 7u, 16 - at, 0xFFFFFFF8u}) {
        bytes = whole;
        SetWord(InFile(at) + 4, size);
        ExpectRefusal("a relocation block has an impossible size");
    }
}

TEST_F(ImageTest, StorageForEachThreadIsRefused) {
    constexpr uint32_t kThreadStorage = 9;
    ASSERT_EQ(Word(Directory(kThreadStorage)), 0u);
    SetWord(Directory(kThreadStorage), 0x1000);
    SetWord(Directory(kThreadStorage) + 4, 24);
    ExpectRefusal("wants storage of its own for each thread");
}

TEST_F(ImageTest, AnExportThatIsAnotherLibrarysIsRefused) {
    // An address within the export directory is the name of a function elsewhere.
    const uint32_t exports = Word(Directory(0)), size = Word(Directory(0) + 4);
    const uint32_t functions = InFile(Word(InFile(exports) + 28));
    const std::string whole = bytes;
    for (const uint32_t address : {exports, exports + size - 1}) {
        bytes = whole;
        SetWord(functions + 4, address);
        ExpectRefusal("an export is another library's");
    }
}

TEST_F(ImageTest, ADllMainThatReturnsZeroIsTold) {
    const std::string refuses("\x31\xC0\xC2\x0C\x00", 5); // xor %eax,%eax; ret $12
    SetDllMain(refuses);
    host::loader::UseDriverDll(Path());
    const uint16_t before = host::loader::ControlWord();
    EXPECT_THAT([] { host::PowerCycle(); },
                ThrowsMessage<std::runtime_error>("the driver's DllMain refused to be loaded"));
    EXPECT_EQ(host::loader::ControlWord(), before);
    PowerOn(Driver::Dll);
    EXPECT_TRUE(host::Display({}).Start()) << "another choice does away with it";
}

TEST_F(ImageTest, ARefusalLeavesTheChoiceAsItWas) {
    host::loader::UseDriverDll(DllPath());
    EXPECT_THROW(host::loader::UseDriverDll("/nowhere/KORV32.dll"), std::runtime_error);
    EXPECT_TRUE(host::TheDriverModule().linked) << "in force from the next PowerCycle on";
    host::PowerCycle();
    EXPECT_FALSE(host::TheDriverModule().linked);
    host::UseLinkedDriver();
    host::PowerCycle();
    EXPECT_TRUE(host::TheDriverModule().linked);
}

TEST_F(ImageTest, BothModulesGiveAllTwentyExports) {
    for (const Driver driver : {Driver::Library, Driver::Dll}) {
        PowerOn(driver);
        const host::DriverModule& module = host::TheDriverModule();
        EXPECT_EQ(module.exports[0], nullptr);
        for (uint32_t ordinal = 1; ordinal <= host::kExportOrdinals; ++ordinal) {
            EXPECT_NE(module.exports[ordinal], nullptr) << ordinal;
        }
        EXPECT_EQ(module.exports[1], reinterpret_cast<void*>(module.driverInit));
    }
}

TEST_F(ImageTest, ItLiesAtItsBaseAndMovesWhereThatIsTaken) {
    uint32_t base;
    std::memcpy(&base, &bytes[Header() + 24 + 28], 4);
    host::loader::Image image(DllPath());
    image.Load();
    EXPECT_EQ(image.Base(), reinterpret_cast<uint8_t*>(base));

    // The first word that is to be relocated differs by as much as the image has moved.
    host::loader::Image moved(DllPath());
    moved.Load();
    ASSERT_NE(moved.Base(), image.Base());
    const auto* first = static_cast<const uint8_t*>(image.Export(1));
    const auto* second = static_cast<const uint8_t*>(moved.Export(1));
    EXPECT_EQ(second - first, moved.Base() - image.Base());
}

TEST_F(ImageTest, AMovedImageDoesTheSame) {
    uint32_t base;
    std::memcpy(&base, &bytes[Header() + 24 + 28], 4);
    host::DisplayConfig config;
    config.width = 320;
    config.height = 240;
    PowerOn(Driver::Library);
    void* taken = mmap(reinterpret_cast<void*>(base), 4096, PROT_NONE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    ASSERT_EQ(taken, reinterpret_cast<void*>(base));
    const Outcome library = Play(Driver::Library, config, 200);
    const Outcome dll = Play(Driver::Dll, config, 200);
    munmap(taken, 4096);
    EXPECT_EQ(Difference(library.events, dll.events), "");
}

TEST_F(ImageTest, ADllThatCannotMoveIsToldSo) {
    host::loader::Image image(DllPath());
    image.Load();
    bytes[Header() + 22] |= 1; // relocations stripped
    host::loader::Image fixed(Path());
    EXPECT_THAT([&] { fixed.Load(); },
                ThrowsMessage<std::runtime_error>(HasSubstr("its base is taken")));
}

TEST_F(ImageTest, LoadingAgainBringsTheGlobalsBack) {
    host::loader::Image image(DllPath());
    image.Load();
    const std::vector<uint8_t> fresh(image.Base(), image.Base() + image.Bytes());
    mprotect(image.Base(), image.Bytes(), PROT_READ | PROT_WRITE);
    std::memset(image.Base() + 0x1000, 0xCC, image.Bytes() - 0x1000);
    image.Load();
    EXPECT_TRUE(std::equal(fresh.begin(), fresh.end(), image.Base()));
}

// --- calls in both directions ---

TEST(Imports, AreFoundInAnyCaseAndNowhereElse) {
    using host::loader::FindImport;
    EXPECT_NE(FindImport("KERNEL32.dll", "HeapAlloc"), nullptr);
    EXPECT_EQ(FindImport("kernel32", "HeapAlloc"), FindImport("KERNEL32.DLL", "HeapAlloc"));
    EXPECT_NE(FindImport("DCIMAN32.dll", "DCIEndAccess"), nullptr);
    EXPECT_EQ(FindImport("KERNEL32.dll", "heapalloc"), nullptr);
    EXPECT_EQ(FindImport("WINMM.dll", "HeapAlloc"), nullptr);
}

// Calls with the stack pointer so many bytes further down than a call here has it.
__attribute__((noinline)) void CallOffAlignment(void(KORV_STDCALL* function)(SYSTEM_INFO*),
                                                SYSTEM_INFO* info, int bytes) {
    uint32_t called = reinterpret_cast<uintptr_t>(function), count = static_cast<uint32_t>(bytes);
    asm volatile("movl %%esp, %%esi\n\t"
                 "subl %1, %%esp\n\t"
                 "pushl %2\n\t"
                 "call *%0\n\t"
                 "movl %%esi, %%esp"
                 : "+a"(called), "+c"(count), "+d"(info)
                 :
                 : "esi", "memory", "cc");
}

TEST(Imports, AFunctionCanBeCalledOnAnyStackAndKeepsTheControlWord) {
    auto* getSystemInfo = reinterpret_cast<void(KORV_STDCALL*)(SYSTEM_INFO*)>(
        host::loader::FindImport("KERNEL32.dll", "GetSystemInfo"));
    SYSTEM_INFO info{};
    const uint16_t before = host::loader::ControlWord();
    host::loader::SetControlWord(0x007F);
    for (int shift = 0; shift < 4; ++shift) {
        info = {};
        CallOffAlignment(getSystemInfo, &info, 4 * shift);
        EXPECT_EQ(info.dwPageSize, 4096u);
    }
    const uint16_t after = host::loader::ControlWord();
    host::loader::SetControlWord(before);
    EXPECT_EQ(after, 0x007F);
}

TEST(DriverCall, RoundsToTwentyFourBitsInADllOnly) {
    // 1 + 2^-30 is 1 with 24 bits of precision.
    const auto sum = [] {
        volatile double one = 1, small = 1.0 / (1 << 30);
        long double result;
        asm volatile("fldl %1\n\tfaddl %2\n\tfstpt %0" : "=m"(result) : "m"(one), "m"(small));
        return result;
    };
    // A program built for single precision has that everywhere.
    const bool always = sum() == 1.0L;
    PowerOn(Driver::Dll);
    {
        const host::DriverCall call;
        EXPECT_TRUE(sum() == 1.0L);
        EXPECT_EQ(host::loader::ControlWord() & 0x0F3F, 0x003F);
    }
    EXPECT_EQ(sum() == 1.0L, always);
    PowerOn(Driver::Library);
    const host::DriverCall call;
    EXPECT_EQ(sum() == 1.0L, always);
}

} // namespace
