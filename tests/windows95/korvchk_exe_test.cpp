// korvchk.exe as the first Windows 95 on a plain Pentium needs it, read from the file.
#include "tests/support_host/program_path.h"
#include "tests/windows95/pe_image.h"
#include "tests/windows95/pentium.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

namespace {

using test::ProgramPath;

class KorvchkExe : public testing::Test {
  protected:
    const PEImage image{ProgramPath()};
};

TEST_F(KorvchkExe, IsAConsoleProgramForWindows95) {
    EXPECT_EQ(image.machine, 0x14C);
    EXPECT_EQ(image.magic, 0x10B);
    constexpr uint16_t kExecutableImage = 0x2, k32Bit = 0x100, kLibrary = 0x2000;
    EXPECT_EQ(image.characteristics & (kExecutableImage | k32Bit | kLibrary),
              kExecutableImage | k32Bit);
    EXPECT_EQ(image.osMajor, 4);
    EXPECT_EQ(image.osMinor, 0);
    EXPECT_EQ(image.subsystemMajor, 4);
    EXPECT_EQ(image.subsystemMinor, 0);
    constexpr uint16_t kConsole = 3;
    EXPECT_EQ(image.subsystem, kConsole);
    EXPECT_EQ(image.dllCharacteristics, 0);
    EXPECT_EQ(image.imageBase, 0x400000u);
    EXPECT_EQ(image.timeStamp, 0u);
    EXPECT_EQ(image.symbolCount, 0u);
}

TEST_F(KorvchkExe, IsEnteredInItsCode) {
    const PESection* section = image.SectionAt(image.entry);
    ASSERT_NE(section, nullptr);
    EXPECT_EQ(section->name, ".text");
}

// Nothing of a runtime library, and nothing that came with DirectX or with a later Windows.
TEST_F(KorvchkExe, ImportsOnlyWhatTheFirstWindows95Has) {
    const std::map<std::string, std::set<std::string>> listed = {
        {"KERNEL32.dll",
         {"CloseHandle", "CreateFileA", "DeviceIoControl", "ExitProcess", "GetCommandLineA",
          "GetFileSize", "GetModuleFileNameA", "GetModuleHandleA", "GetProcAddress", "GetStdHandle",
          "GetSystemDirectoryA", "GetTickCount", "IsBadReadPtr", "LoadLibraryA", "ReadFile",
          "Sleep", "VirtualAlloc", "VirtualFree", "WriteFile"}},
        {"USER32.dll",
         {"CreateWindowExA", "DefWindowProcA", "DestroyWindow", "DispatchMessageA",
          "GetSystemMetrics", "PeekMessageA", "RegisterClassA"}},
        {"ADVAPI32.dll", {"RegOpenKeyExA", "RegQueryValueExA"}},
    };
    EXPECT_EQ(image.importsByOrdinal, 0u);
    EXPECT_GT(image.imports.size(), 10u);
    EXPECT_THAT(image.ImportsBeyond(listed), testing::IsEmpty());
}

TEST_F(KorvchkExe, HasNoInstructionThatAPlainPentiumLacks) {
    const std::vector<Instruction> code = Disassemble(ProgramPath());
    EXPECT_GT(code.size(), 2000u);
    EXPECT_THAT(BeyondThePentium(code), testing::IsEmpty());
}

} // namespace
