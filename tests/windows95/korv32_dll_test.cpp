// KORV32.dll as Windows 95 on a plain Pentium needs it, read from the file.
#include "driver/platform/win32.h"
#include "host/loader/image.h"
#include "host/win32/win32.h"
#include "tests/support_host/dll_path.h"
#include "tests/windows95/pe_image.h"
#include "tests/windows95/pentium.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

namespace {

using test::DllPath;

class Korv32Dll : public testing::Test {
  protected:
    const PEImage image{DllPath()};
};

constexpr uint32_t kCode = 0x20, kUninitialised = 0x80, kShared = 0x10000000,
                   kExecutable = 0x20000000, kWritable = 0x80000000;

// Name and bytes of arguments, by ordinal from 1.
struct Export {
    const char* name;
    uint32_t argumentBytes;
};
constexpr Export kExports[] = {
    {"DriverInit", 4},           {"KORV_AllocateVideoMemory", 8}, {"KORV_CopyBlt", 16},
    {"KORV_CreateContext", 8},   {"KORV_DebugHelp", 4},           {"KORV_DeleteContext", 8},
    {"KORV_DriverIsLocked", 4},  {"KORV_FreeDMABuffer", 8},       {"KORV_FreeDriverLock", 8},
    {"KORV_FreeVideoMemory", 8}, {"KORV_GetDMABuffer", 8},        {"KORV_GetDriverLock", 16},
    {"KORV_GetInfo", 8},         {"KORV_Initialize", 4},          {"KORV_Service", 12},
    {"KORV_StartDMA", 24},       {"KORV_StartSoftwareCursor", 4}, {"KORV_StopSoftwareCursor", 4},
    {"KORV_SwitchContext", 8},   {"KORV_WaitForDMA", 4},
};

TEST_F(Korv32Dll, IsA32BitLibraryForI386) {
    EXPECT_EQ(image.machine, 0x14C);
    EXPECT_EQ(image.magic, 0x10B);
    constexpr uint16_t kExecutableImage = 0x2, k32Bit = 0x100, kLibrary = 0x2000;
    EXPECT_EQ(image.characteristics & (kExecutableImage | k32Bit | kLibrary),
              kExecutableImage | k32Bit | kLibrary);
}

TEST_F(Korv32Dll, WantsToLieInTheRangeSharedByAllProcesses) {
    EXPECT_GE(image.imageBase, 0x80000000u);
    EXPECT_LE(image.imageBase + image.imageBytes - 1, 0xBFFFFFFFu);
    EXPECT_EQ(image.imageBase % 0x10000, 0u);
}

TEST_F(Korv32Dll, KeepsItsRelocations) {
    constexpr uint16_t kRelocationsStripped = 0x1;
    EXPECT_EQ(image.characteristics & kRelocationsStripped, 0);
    EXPECT_GT(image.relocations.size(), 100u);
    EXPECT_THAT(image.relocationKinds, testing::Each(PEImage::kRelocationWord));
    for (uint32_t at : image.relocations) {
        EXPECT_LT(image.Word(at) - image.imageBase, image.imageBytes) << std::hex << at;
    }
}

TEST_F(Korv32Dll, AsksForNoMoreThanWindows95) {
    EXPECT_EQ(image.osMajor, 4);
    EXPECT_EQ(image.osMinor, 0);
    EXPECT_EQ(image.subsystemMajor, 4);
    EXPECT_EQ(image.subsystemMinor, 0);
    constexpr uint16_t kGraphical = 2;
    EXPECT_EQ(image.subsystem, kGraphical);
    EXPECT_EQ(image.dllCharacteristics, 0);
}

TEST_F(Korv32Dll, SharesEverySectionThatCanBeWritten) {
    std::set<std::string> writable;
    for (const PESection& section : image.sections) {
        if ((section.characteristics & (kWritable | kUninitialised)) != 0) {
            writable.insert(section.name);
            EXPECT_NE(section.characteristics & kShared, 0u) << section.name;
            EXPECT_EQ(section.characteristics & (kCode | kExecutable), 0u) << section.name;
        }
    }
    EXPECT_THAT(writable, testing::UnorderedElementsAre(".data", ".idata", ".rsrc"));
}

TEST_F(Korv32Dll, HoldsCodeConstantsGlobalsResourcesAndLoaderTablesOnly) {
    std::vector<std::string> names;
    for (const PESection& section : image.sections) {
        names.push_back(section.name);
    }
    EXPECT_THAT(names, testing::UnorderedElementsAre(".text", ".rdata", ".data", ".edata", ".idata",
                                                     ".rsrc", ".reloc"));
}

TEST_F(Korv32Dll, HasNoThreadStorageDebugRecordsOrSymbols) {
    constexpr uint32_t kAddressTable = 12;
    const std::set<uint32_t> expected = {PEImage::kExports, PEImage::kImports, PEImage::kResources,
                                         PEImage::kRelocations, kAddressTable};
    for (uint32_t i = 0; i < PEImage::kDirectories; ++i) {
        EXPECT_EQ(image.directories[i].address != 0, expected.contains(i)) << "directory " << i;
    }
    EXPECT_EQ(image.symbolTable, 0u);
    EXPECT_EQ(image.symbolCount, 0u);
}

TEST_F(Korv32Dll, ExportsTheTwentyNamesUndecoratedInOrdinalOrder) {
    EXPECT_EQ(image.dllName, "KORV32.dll");
    EXPECT_EQ(image.ordinalBase, 1u);
    EXPECT_EQ(image.exportCount, 20u);
    std::map<std::string, uint32_t> expected, found;
    uint32_t ordinal = 0;
    for (const Export& entry : kExports) {
        expected[entry.name] = ++ordinal;
    }
    for (const auto& [name, entry] : image.exports) {
        found[name] = entry.ordinal;
        const PESection* section = image.SectionAt(entry.address);
        ASSERT_NE(section, nullptr) << name;
        EXPECT_EQ(section->name, ".text") << name;
    }
    EXPECT_EQ(found, expected);
}

// Bytes that the first return at or behind `address` takes off the stack: as all of a function's
// returns do. -1 if there is none.
int64_t PoppedBytes(const std::vector<Instruction>& code, uint32_t address) {
    for (const Instruction& instruction : code) {
        if (instruction.address >= address && instruction.name == "ret") {
            return instruction.operands.empty()
                       ? 0
                       : std::stoll(instruction.operands.substr(1), nullptr, 16);
        }
    }
    return -1;
}

TEST_F(Korv32Dll, EachExportTakesItsArgumentsOffTheStack) {
    const std::vector<Instruction> code = Disassemble(DllPath());
    for (const Export& entry : kExports) {
        const uint32_t address = image.imageBase + image.exports.at(entry.name).address;
        EXPECT_EQ(PoppedBytes(code, address), entry.argumentBytes) << entry.name;
    }
}

TEST_F(Korv32Dll, IsEnteredAtDllMain) {
    EXPECT_EQ(PoppedBytes(Disassemble(DllPath()), image.imageBase + image.entry), 12);
}

TEST_F(Korv32Dll, ImportsOnlyWhatIsListed) {
    const std::map<std::string, std::set<std::string>> listed = {
        {"KERNEL32.dll",
         {"CreateFileA", "DeviceIoControl", "CloseHandle", "GetSystemInfo", "HeapCreate",
          "HeapAlloc", "HeapFree", "GetModuleHandleA", "DisableThreadLibraryCalls", "lstrcpyA",
          "lstrcatA", "OpenSemaphoreA", "WaitForSingleObject", "ReleaseSemaphore",
          "OpenFileMappingA", "MapViewOfFile", "UnmapViewOfFile"}},
        {"WINMM.DLL", {"timeGetTime"}},
        {"ADVAPI32.dll", {"RegOpenKeyExA", "RegQueryValueExA", "RegSetValueExA"}},
        {"DCIMAN32.dll", {"DCIBeginAccess", "DCIEndAccess"}},
    };
    EXPECT_EQ(image.importsByOrdinal, 0u);
    EXPECT_GT(image.imports.size(), 10u);
    EXPECT_THAT(image.ImportsBeyond(listed), testing::IsEmpty());
}

TEST_F(Korv32Dll, HasNoInstructionThatAPlainPentiumLacks) {
    const std::vector<Instruction> code = Disassemble(DllPath());
    EXPECT_GT(code.size(), 10000u);
    EXPECT_THAT(BeyondThePentium(code), testing::IsEmpty());
}

TEST(InstructionCheck, RefusesWhatCameAfterThePentium) {
    for (const char* line :
         {"b0b01000:\tcmovne %eax,%ebx", "b0b01000:\tfcmovbe %st(1),%st",
          "b0b01000:\tfcomi  %st(1),%st", "b0b01000:\tfucomip %st(1),%st",
          "b0b01000:\tmovd   %eax,%mm0", "b0b01000:\tmovq   %mm0,(%eax)", "b0b01000:\temms",
          "b0b01000:\tmovss  (%eax),%xmm0", "b0b01000:\tpxor   %xmm0,%xmm0",
          "b0b01000:\tnopw   0x0(%eax,%eax,1)", "b0b01000:\tnopl   (%eax)",
          "b0b01000:\tfisttpl (%eax)", "b0b01000:\trep popcnt %eax,%eax", "b0b01000:\tsysenter",
          "b0b01000:\tud2", "b0b01000:\t(bad)"}) {
        Instruction instruction;
        ASSERT_TRUE(ParseInstruction(line, &instruction)) << line;
        EXPECT_FALSE(PentiumHas(instruction)) << line;
    }
}

TEST(InstructionCheck, PassesWhatThePentiumHas) {
    for (const char* line :
         {"b0b01000:\tcpuid", "b0b01000:\trep stos %eax,%es:(%edi)",
          "b0b01000:\tmovl   $0x0,(%eax)", "b0b01000:\tfstps  0x4(%esp)",
          "b0b01000:\tfildll (%esp)", "b0b01000:\tfxch   %st(1)", "b0b01000:\tmovsbl (%eax),%eax",
          "b0b01000:\tnop", "b0b01000:\txchg   %ax,%ax"}) {
        Instruction instruction;
        ASSERT_TRUE(ParseInstruction(line, &instruction)) << line;
        EXPECT_TRUE(PentiumHas(instruction)) << line;
    }
}

TEST_F(Korv32Dll, CarriesNoTimeStamp) {
    EXPECT_EQ(image.timeStamp, 0u);
    EXPECT_EQ(image.exportTimeStamp, 0u);
}

// Loaded where it wants to lie, and again while that is taken.
TEST_F(Korv32Dll, AnswersAtItsBaseAndAtAnother) {
    host::loader::Image first(DllPath()), second(DllPath());
    for (host::loader::Image* loaded : {&first, &second}) {
        host::ResetWin32();
        loaded->Load();
        auto* dllMain =
            reinterpret_cast<BOOL(KORV_STDCALL*)(HINSTANCE, DWORD, void*)>(loaded->Entry());
        EXPECT_EQ(dllMain(reinterpret_cast<HINSTANCE>(loaded->Base()), DLL_PROCESS_ATTACH, nullptr),
                  1);
        // No mini VDD, hence no display; and no client without one.
        auto* driverInit = reinterpret_cast<void*(KORV_STDCALL*)(uint32_t)>(loaded->Export(1));
        EXPECT_EQ(driverInit(0), nullptr);
        auto* initialize = reinterpret_cast<int32_t(KORV_STDCALL*)(void*)>(loaded->Export(14));
        EXPECT_EQ(initialize(nullptr), -1);
    }
    EXPECT_EQ(reinterpret_cast<uintptr_t>(first.Base()), image.imageBase);
    EXPECT_NE(second.Base(), first.Base());
}

} // namespace
