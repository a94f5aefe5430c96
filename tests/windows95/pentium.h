#pragma once
// Which machine instructions a plain Pentium has, by their names in a disassembly.
#include <cstdint>
#include <set>
#include <string>
#include <vector>

struct Instruction {
    uint32_t address; // in memory, at the preferred base
    std::string name; // with prefixes taken off
    std::string operands;
};

// The code of a file, in order. Throws std::runtime_error if it can't be disassembled.
std::vector<Instruction> Disassemble(const std::string& path);

// One line of a disassembly; false if it holds no instruction.
bool ParseInstruction(const std::string& line, Instruction* out);

// False for anything that came with a later processor or with MMX.
bool PentiumHas(const Instruction& instruction);

// What a plain Pentium lacks of these, as "name operands".
std::set<std::string> BeyondThePentium(const std::vector<Instruction>& code);
