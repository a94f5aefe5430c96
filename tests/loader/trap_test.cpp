// Loads and stores of every form that compilers make, against a bus that writes down what it gets.
#include "host/loader/instruction.h"
#include "host/loader/trap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using host::loader::DecodeAccess;
using host::loader::MemoryAccess;
using host::loader::TrappedAperture;
using testing::ElementsAre;

struct alignas(64 * 1024) Registers {
    ChipRegisters registers;
};

class TrapTest : public testing::Test {
  protected:
    // Reads give 0x100 + offset.
    static ChipBus BusOf(std::vector<std::string>* log) {
        ChipBus bus{};
        bus.self = log;
        bus.Read = [](void* self, uint32_t offset) {
            Note(self, "r", offset, 0x100 + offset);
            return 0x100 + offset;
        };
        bus.Write = [](void* self, uint32_t offset, uint32_t value) {
            Note(self, "w", offset, value);
        };
        bus.Words = [](void* self, const uint32_t* words, uint32_t count) {
            for (uint32_t i = 0; i < count; ++i) {
                Note(self, "f", 0, words[i]);
            }
        };
        bus.Idle = [](void*, uint32_t) {};
        return bus;
    }
    static void Note(void* self, const char* kind, uint32_t offset, uint32_t value) {
        char text[32];
        std::snprintf(text, sizeof text, "%s %x %x", kind, offset, value);
        static_cast<std::vector<std::string>*>(self)->push_back(text);
    }
    volatile uint32_t& At(uint32_t offset) {
        return *reinterpret_cast<volatile uint32_t*>(memory->registers.bytes + offset);
    }

    std::unique_ptr<Registers> memory = std::make_unique<Registers>();
    std::vector<std::string> log;
    TrappedAperture trap{&memory->registers, BusOf(&log)};
};

TEST_F(TrapTest, PlainLoadsAndStoresGoToTheBusInOrder) {
    At(0x30) = 7;
    EXPECT_EQ(At(0x18), 0x118u);
    At(0x8010) = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(this));
    At(0x9FF8) = 1;
    char value[16];
    std::snprintf(value, sizeof value, "%x",
                  static_cast<unsigned>(reinterpret_cast<uintptr_t>(this)));
    EXPECT_THAT(log, ElementsAre("w 30 7", "r 18 118", std::string("w 8010 ") + value, "w 9ff8 1"));
}

TEST_F(TrapTest, StoresInTheWindowAreWordsAndLoadsThereAreReads) {
    At(0x2000) = 1;
    At(0x2F9C) = 2;
    At(0x2FA0) = 3; // behind the window
    EXPECT_EQ(At(0x2004), 0x2104u);
    EXPECT_THAT(log, ElementsAre("f 0 1", "f 0 2", "w 2fa0 3", "r 2004 2104"));
}

TEST_F(TrapTest, EveryRegisterCanBeStoredAndLoaded) {
    uint32_t results[6] = {};
    asm volatile("pushl %%ebp\n\t"
                 "movl %0, %%edi\n\t"
                 "movl $0xA, %%eax\n\tmovl %%eax, 0x40(%%edi)\n\t"
                 "movl $0xC, %%ecx\n\tmovl %%ecx, 0x44(%%edi)\n\t"
                 "movl $0xD, %%edx\n\tmovl %%edx, 0x400(%%edi)\n\t"
                 "movl $0xB, %%ebx\n\tmovl %%ebx, (%%edi,%%edx,8)\n\t"
                 "movl $0xE, %%ebp\n\tmovl %%ebp, 4(%%edi,%%edx,8)\n\t"
                 "movl 0x50(%%edi), %%eax\n\tmovl 0x54(%%edi), %%ecx\n\t"
                 "movl 0x58(%%edi), %%edx\n\tmovl 0x5C(%%edi), %%ebx\n\t"
                 "movl 0x400(%%edi), %%ebp\n\tmovl %%edi, %%esi\n\tmovl 0x64(%%edi), %%edi\n\t"
                 "movl %%ebp, %%esi\n\tpopl %%ebp"
                 : "=a"(results[0]), "=c"(results[1]), "=d"(results[2]), "=b"(results[3]),
                   "=S"(results[4]), "=D"(results[5])
                 : "0"(memory->registers.bytes)
                 : "memory");
    EXPECT_THAT(log, ElementsAre("w 40 a", "w 44 c", "w 400 d", "w 68 b", "w 6c e", "r 50 150",
                                 "r 54 154", "r 58 158", "r 5c 15c", "r 400 500", "r 64 164"));
    EXPECT_THAT(results, ElementsAre(0x150, 0x154, 0x158, 0x15C, 0x500, 0x164));
}

TEST_F(TrapTest, AnInstructionThatReadsAndWritesMakesBothAccesses) {
    uint32_t exchanged = 5;
    asm volatile("orl $9, 0x8(%0)" : : "r"(memory->registers.bytes) : "memory");
    asm volatile("addl %1, 0x8(%0)" : : "r"(memory->registers.bytes), "r"(3) : "memory");
    asm volatile("incl 0x10(%0)" : : "r"(memory->registers.bytes) : "memory");
    asm volatile("xchgl %1, 0x20(%0)" : : "r"(memory->registers.bytes), "r"(exchanged) : "memory");
    EXPECT_THAT(log, ElementsAre("r 8 108", "w 8 109", "r 8 108", "w 8 10b", "r 10 110", "w 10 111",
                                 "r 20 120", "w 20 5"));
}

TEST_F(TrapTest, ComparingAndPushingOnlyRead) {
    uint32_t pushed;
    bool equal;
    asm volatile("cmpl $0x118, 0x18(%1)\n\tsete %0"
                 : "=q"(equal)
                 : "r"(memory->registers.bytes)
                 : "cc", "memory");
    asm volatile("pushl 0x20(%1)\n\tpopl %0" : "=r"(pushed) : "r"(memory->registers.bytes));
    EXPECT_TRUE(equal);
    EXPECT_EQ(pushed, 0x120u);
    EXPECT_THAT(log, ElementsAre("r 18 118", "r 20 120"));
}

TEST_F(TrapTest, StringStoresAndFloatStoresDoNotRead) {
    const uint32_t words[3] = {1, 2, 3};
    const void* from = words;
    void* to = memory->registers.bytes + 0x2000;
    size_t count = 3;
    asm volatile("rep movsl" : "+D"(to), "+S"(from), "+c"(count) : : "memory");
    count = 2;
    asm volatile("rep stosl" : "+D"(to), "+c"(count) : "a"(9) : "memory");
    asm volatile("fld1\n\tfstps 0x2010(%0)" : : "r"(memory->registers.bytes) : "memory");
    asm volatile("fld1\n\tfistpl 0x40(%0)" : : "r"(memory->registers.bytes) : "memory");
    asm volatile("pushl $4\n\tpopl 0x44(%0)" : : "r"(memory->registers.bytes) : "memory");
    EXPECT_THAT(log, ElementsAre("f 0 1", "f 0 2", "f 0 3", "f 0 9", "f 0 9", "f 0 3f800000",
                                 "w 40 1", "w 44 4"));
}

TEST_F(TrapTest, TwoAperturesHaveABusEach) {
    auto other = std::make_unique<Registers>();
    std::vector<std::string> otherLog;
    {
        TrappedAperture second(&other->registers, BusOf(&otherLog));
        At(0x30) = 1;
        *reinterpret_cast<volatile uint32_t*>(other->registers.bytes + 0x28) = 2;
        At(0x38) = 3;
    }
    At(0x40) = 4;
    *reinterpret_cast<volatile uint32_t*>(other->registers.bytes + 0x28) = 5; // memory again
    EXPECT_THAT(log, ElementsAre("w 30 1", "w 38 3", "w 40 4"));
    EXPECT_THAT(otherLog, ElementsAre("w 28 2"));
}

using TrapDeathTest = TrapTest;

TEST_F(TrapDeathTest, AnAccessOfAnotherSizeEndsTheProgram) {
    EXPECT_DEATH(*reinterpret_cast<volatile uint8_t*>(memory->registers.bytes + 0x30) = 1,
                 "not of 32 bits at offset 0030");
    EXPECT_DEATH(*reinterpret_cast<volatile uint16_t*>(memory->registers.bytes + 0x30) = 1,
                 "not of 32 bits");
    EXPECT_DEATH(*reinterpret_cast<volatile uint32_t*>(memory->registers.bytes + 0x32) = 1,
                 "not of 32 bits");
    EXPECT_DEATH(asm volatile("fldz\n\tfstpl 0x30(%0)"
                              :
                              : "r"(memory->registers.bytes)),
                 "not of 32 bits");
}

TEST_F(TrapDeathTest, AFaultElsewhereIsNotTheTraps) {
    volatile uint32_t* outside = nullptr;
    asm("" : "+r"(outside)); // so that the compiler does not know
    EXPECT_EXIT(*outside = 1, testing::KilledBySignal(SIGSEGV), "");
}

TEST(DecodeAccess, TellsTheLengthOfPlainMoves) {
    using Kind = MemoryAccess::Kind;
    struct Row {
        std::vector<uint8_t> code;
        Kind kind;
        uint32_t bytes;
    };
    const Row rows[] = {
        {{0x89, 0x10}, Kind::StoreRegister, 2},                          // mov %edx,(%eax)
        {{0x89, 0x50, 0x04}, Kind::StoreRegister, 3},                    // mov %edx,4(%eax)
        {{0x89, 0x90, 0, 4, 0, 0}, Kind::StoreRegister, 6},              // mov %edx,0x400(%eax)
        {{0x89, 0x15, 0, 0, 0, 0x80}, Kind::StoreRegister, 6},           // mov %edx,0x80000000
        {{0x89, 0x14, 0x88}, Kind::StoreRegister, 3},                    // mov %edx,(%eax,%ecx,4)
        {{0x89, 0x14, 0x8D, 0, 0, 0, 0}, Kind::StoreRegister, 7},        // mov %edx,0(,%ecx,4)
        {{0x89, 0x54, 0x88, 0x04}, Kind::StoreRegister, 4},              // mov %edx,4(%eax,%ecx,4)
        {{0x8B, 0x5D, 0x08}, Kind::LoadRegister, 3},                     // mov 8(%ebp),%ebx
        {{0xA1, 0, 0, 0, 0x80}, Kind::LoadRegister, 5},                  // mov 0x80000000,%eax
        {{0xA3, 0, 0, 0, 0x80}, Kind::StoreRegister, 5},                 // mov %eax,0x80000000
        {{0xC7, 0x00, 1, 2, 3, 4}, Kind::StoreImmediate, 6},             // movl $x,(%eax)
        {{0xC7, 0x44, 0x24, 0x08, 1, 2, 3, 4}, Kind::StoreImmediate, 8}, // movl $x,8(%esp)
        {{0x3E, 0x89, 0x10}, Kind::StoreRegister, 3},                    // with a segment prefix
    };
    for (const Row& row : rows) {
        std::vector<uint8_t> code = row.code;
        code.resize(16);
        const MemoryAccess access = DecodeAccess(code.data());
        EXPECT_EQ(access.kind, row.kind);
        EXPECT_EQ(access.bytes, row.bytes);
        EXPECT_TRUE(access.is32Bit);
        if (row.kind == Kind::StoreImmediate) {
            EXPECT_EQ(access.immediate, 0x04030201u);
        }
    }
}

} // namespace
