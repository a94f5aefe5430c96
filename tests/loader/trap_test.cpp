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
    At(0x2FFC) = 3; // the rest of the window's page
    At(0x3000) = 4;
    EXPECT_EQ(At(0x2004), 0x2104u);
    EXPECT_THAT(log, ElementsAre("f 0 1", "f 0 2", "f 0 3", "w 3000 4", "r 2004 2104"));
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

TEST_F(TrapTest, StringInstructionsMoveBetweenAperturesAndBackwards) {
    auto other = std::make_unique<Registers>();
    std::vector<std::string> otherLog;
    const TrappedAperture second(&other->registers, BusOf(&otherLog));
    const void* from = memory->registers.bytes + 0x40;
    void* to = other->registers.bytes + 0x80;
    size_t count = 2;
    asm volatile("rep movsl" : "+D"(to), "+S"(from), "+c"(count) : : "memory");
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(from, memory->registers.bytes + 0x48);
    EXPECT_EQ(to, other->registers.bytes + 0x88);
    EXPECT_THAT(log, ElementsAre("r 40 140", "r 44 144"));
    EXPECT_THAT(otherLog, ElementsAre("w 80 140", "w 84 144"));

    log.clear();
    uint32_t words[2] = {};
    from = memory->registers.bytes + 0x14;
    to = words + 1;
    count = 2;
    asm volatile("std\n\trep movsl\n\tcld" : "+D"(to), "+S"(from), "+c"(count) : : "memory", "cc");
    EXPECT_THAT(log, ElementsAre("r 14 114", "r 10 110"));
    EXPECT_THAT(words, ElementsAre(0x110, 0x114));

    // Within one aperture, and without a count.
    log.clear();
    from = memory->registers.bytes + 0x18;
    to = memory->registers.bytes + 0x2000;
    asm volatile("movsl\n\tmovl $7, %%eax\n\tstosl" : "+D"(to), "+S"(from) : : "memory", "eax");
    EXPECT_THAT(log, ElementsAre("r 18 118", "f 0 118", "f 0 7"));
    EXPECT_EQ(to, memory->registers.bytes + 0x2008);
}

TEST_F(TrapTest, LoadsOfFewerBitsReadTheirWord) {
    uint32_t a, b, c, d;
    uint8_t byte;
    asm volatile("movzbl 0x101(%5), %0\n\tmovzwl 0x102(%5), %1\n\tmovsbl 0x100(%5), %2\n\t"
                 "movw 0x100(%5), %w3\n\tmovb 0x101(%5), %4"
                 : "=&r"(a), "=&r"(b), "=&r"(c), "=&r"(d), "=&q"(byte)
                 : "r"(memory->registers.bytes)
                 : "memory");
    // The register at 0x100 reads 0x200.
    EXPECT_EQ(a, 2u);
    EXPECT_EQ(b, 0u);
    EXPECT_EQ(c, 0u);
    EXPECT_EQ(d & 0xFFFF, 0x200u);
    EXPECT_EQ(byte, 2);
    bool set;
    asm volatile("testb $2, 0x101(%1)\n\tsetne %0"
                 : "=q"(set)
                 : "r"(memory->registers.bytes)
                 : "cc", "memory");
    EXPECT_TRUE(set);
    EXPECT_THAT(log, testing::AllOf(testing::SizeIs(6), testing::Each("r 100 200")));
}

TEST_F(TrapTest, AccessesOf64BitsAreTwoInOrder) {
    const uint64_t value = 0x1122334455667788;
    uint64_t back = 0;
    asm volatile("fildll %1\n\tfistpll 0x2010(%0)" : : "r"(memory->registers.bytes), "m"(value));
    asm volatile("fildll 0x40(%1)\n\tfistpll %0" : "=m"(back) : "r"(memory->registers.bytes));
    EXPECT_EQ(back, 0x0000014400000140u);
    asm volatile("fld1\n\tfstpl 0x30(%0)" : : "r"(memory->registers.bytes) : "memory");
    EXPECT_THAT(log, ElementsAre("f 0 55667788", "f 0 11223344", "r 40 140", "r 44 144", "w 30 0",
                                 "w 34 3ff00000"));
}

TEST_F(TrapTest, ArithmeticWithAWordReadsIt) {
    uint32_t product = 3, bit, old = 2;
    float sum = 0;
    asm volatile("imull 0x10(%1), %0" : "+r"(product) : "r"(memory->registers.bytes) : "cc");
    asm volatile("bsfl 0x100(%1), %0" : "=r"(bit) : "r"(memory->registers.bytes) : "cc");
    asm volatile("xaddl %0, 0x20(%1)" : "+r"(old) : "r"(memory->registers.bytes) : "memory", "cc");
    asm volatile("lock btsl $0, 0x28(%0)" : : "r"(memory->registers.bytes) : "memory", "cc");
    asm volatile("fildl 0x30(%1)\n\tfstps %0" : "=m"(sum) : "r"(memory->registers.bytes));
    EXPECT_EQ(product, 0x330u);
    EXPECT_EQ(bit, 9u);
    EXPECT_EQ(old, 0x120u);
    EXPECT_EQ(sum, 304.0f);
    EXPECT_THAT(log, ElementsAre("r 10 110", "r 100 200", "r 20 120", "w 20 122", "r 28 128",
                                 "w 28 129", "r 30 130"));
}

using TrapDeathTest = TrapTest;

TEST_F(TrapDeathTest, WhatARegisterCannotTakeEndsTheProgram) {
    EXPECT_DEATH(*reinterpret_cast<volatile uint8_t*>(memory->registers.bytes + 0x30) = 1,
                 "a store that is not of 32 bits at offset 0030");
    EXPECT_DEATH(*reinterpret_cast<volatile uint16_t*>(memory->registers.bytes + 0x30) = 1,
                 "a store that is not of 32 bits");
    EXPECT_DEATH(asm volatile("orb $1, 0x30(%0)"
                              :
                              : "r"(memory->registers.bytes)
                              : "memory"),
                 "a store that is not of 32 bits");
    EXPECT_DEATH(asm volatile("fnstcw 0x30(%0)"
                              :
                              : "r"(memory->registers.bytes)
                              : "memory"),
                 "a store that is not of 32 bits");
    // Not as C++, which a sanitizer would look at first.
    EXPECT_DEATH(asm volatile("movl $1, 0x32(%0)"
                              :
                              : "r"(memory->registers.bytes)
                              : "memory"),
                 "a store across words at offset 0032");
    EXPECT_DEATH(asm volatile("movl 0x31(%0), %%eax"
                              :
                              : "r"(memory->registers.bytes)
                              : "eax"),
                 "a load across words at offset 0031");
    EXPECT_DEATH(asm volatile("movzwl 0x33(%0), %%eax"
                              :
                              : "r"(memory->registers.bytes)
                              : "eax"),
                 "a load across words at offset 0033");
    EXPECT_DEATH(asm volatile("fld1\n\tfstpt 0x30(%0)"
                              :
                              : "r"(memory->registers.bytes)),
                 "an instruction that no register takes at offset 0030");
}

TEST_F(TrapDeathTest, AFaultElsewhereIsNotTheTraps) {
    const auto store = [] { asm volatile("movl $1, (%0)" : : "r"(0) : "memory"); };
#ifdef __SANITIZE_ADDRESS__
    EXPECT_DEATH(store(), "AddressSanitizer: SEGV"); // it was there before
#else
    EXPECT_EXIT(store(), testing::KilledBySignal(SIGSEGV), "");
#endif
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
        EXPECT_EQ(access.width, 4u);
        if (row.kind == Kind::StoreImmediate) {
            EXPECT_EQ(access.immediate, 0x04030201u);
        }
    }
}

TEST(DecodeAccess, TellsTheWidthOfEveryOtherForm) {
    using Kind = MemoryAccess::Kind;
    struct Row {
        std::vector<uint8_t> code;
        Kind kind;
        uint32_t width;
    };
    const Row rows[] = {
        {{0x88, 0x10}, Kind::Store, 1},             // mov %dl,(%eax)
        {{0x66, 0x89, 0x10}, Kind::Store, 2},       // mov %dx,(%eax)
        {{0x67, 0x89, 0x10}, Kind::Store, 4},       // mov %edx,(%bx,%si)
        {{0x8A, 0x10}, Kind::Other, 1},             // mov (%eax),%dl
        {{0x66, 0x8B, 0x10}, Kind::Other, 2},       // mov (%eax),%dx
        {{0xA0, 0, 0, 0, 0}, Kind::Other, 1},       // mov 0,%al
        {{0xC6, 0x00, 1}, Kind::Store, 1},          // movb $1,(%eax)
        {{0x66, 0xC7, 0x00, 1, 0}, Kind::Store, 2}, // movw $1,(%eax)
        {{0x8C, 0x18}, Kind::Store, 2},             // mov %ds,(%eax)
        {{0x8F, 0x00}, Kind::Store, 4},             // popl (%eax)
        {{0x83, 0x08, 1}, Kind::Other, 4},          // orl $1,(%eax)
        {{0x80, 0x08, 1}, Kind::Other, 1},          // orb $1,(%eax)
        {{0x0F, 0xB6, 0x10}, Kind::Other, 1},       // movzbl (%eax),%edx
        {{0x0F, 0xBF, 0x10}, Kind::Other, 2},       // movswl (%eax),%edx
        {{0x0F, 0xAF, 0x10}, Kind::Other, 4},       // imul (%eax),%edx
        {{0x0F, 0x94, 0x00}, Kind::Store, 1},       // sete (%eax)
        {{0x0F, 0xC7, 0x08}, Kind::Other, 8},       // cmpxchg8b (%eax)
        {{0xD8, 0x00}, Kind::Other, 4},             // fadds (%eax)
        {{0xDD, 0x18}, Kind::Store, 8},             // fstpl (%eax)
        {{0xDF, 0x38}, Kind::Store, 8},             // fistpll (%eax)
        {{0xDB, 0x38}, Kind::Other, 0},             // fstpt (%eax)
        {{0xD9, 0x38}, Kind::Store, 2},             // fnstcw (%eax)
        {{0xF3, 0xA7}, Kind::Other, 0},             // repz cmpsl
        {{0xFF, 0x30}, Kind::Other, 4},             // pushl (%eax)
        {{0xFF, 0x18}, Kind::Other, 0},             // lcall (%eax)
        {{0xD7}, Kind::Other, 1},                   // xlat
    };
    for (const Row& row : rows) {
        std::vector<uint8_t> code = row.code;
        code.resize(16);
        const MemoryAccess access = DecodeAccess(code.data());
        EXPECT_EQ(access.kind, row.kind) << testing::PrintToString(row.code);
        EXPECT_EQ(access.width, row.width) << testing::PrintToString(row.code);
    }
}

} // namespace
