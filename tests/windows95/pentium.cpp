#include "tests/windows95/pentium.h"

#include <cstdio>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>

namespace {

std::set<std::string> Words(const char* text) {
    std::istringstream in(text);
    std::set<std::string> words;
    for (std::string word; in >> word;) {
        words.insert(word);
    }
    return words;
}

// Exactly these.
const std::set<std::string>& Whole() {
    static const std::set<std::string> words =
        Words("call jmp ja jae jb jbe je jne jg jge jl jle jo jno jp jnp js jns jcxz jecxz loop "
              "loope loopne ret leave enter int3 cpuid rdtsc bswap cmpxchg8b cld std clc stc cmc "
              "cltd cwtl cwtd cbtw lahf sahf nop pushf popf pusha popa xlat "
              "seta setae setb setbe sete setne setg setge setl setle seto setno setp setnp sets "
              "setns movzbl movzbw movzwl movsbl movsbw movswl");
    return words;
}

// These, also with the size b, w or l behind them.
const std::set<std::string>& Integer() {
    static const std::set<std::string> words = Words(
        "mov movs lods stos scas cmps add adc sub sbb cmp inc dec neg not and or xor test mul "
        "imul div idiv shl shr sar rol ror rcl rcr shld shrd bt btc btr bts bsf bsr lea push "
        "pop xchg xadd cmpxchg");
    return words;
}

// These, also with the size s, l, t or ll behind them.
const std::set<std::string>& Float() {
    static const std::set<std::string> words =
        Words("fld fst fstp fild fist fistp fadd faddp fsub fsubp fsubr fsubrp fmul fmulp fdiv "
              "fdivp fdivr fdivrp fiadd fisub fisubr fimul fidiv fidivr fcom fcomp fcompp ficom "
              "ficomp fucom fucomp fucompp ftst fxam fchs fabs fsqrt frndint fscale fxch fld1 fldz "
              "fldpi fldl2e fldl2t fldlg2 fldln2 fnstsw fnstcw fldcw fwait fnclex fninit ffree");
    return words;
}

bool IsSized(const std::set<std::string>& names, const std::string& name,
             const std::set<std::string>& sizes) {
    for (const std::string& size : sizes) {
        if (name.size() > size.size() && name.ends_with(size) &&
            names.contains(name.substr(0, name.size() - size.size()))) {
            return true;
        }
    }
    return false;
}

} // namespace

bool ParseInstruction(const std::string& line, Instruction* out) {
    // "b0b01000:<tab>rep stos %eax,%es:(%edi)"
    const size_t colon = line.find(":\t");
    if (colon == std::string::npos) {
        return false;
    }
    std::istringstream in(line.substr(0, colon));
    if (!(in >> std::hex >> out->address)) {
        return false;
    }
    static const std::set<std::string> prefixes =
        Words("rep repz repnz lock data16 addr16 cs ds es fs gs ss");
    std::istringstream text(line.substr(colon + 2));
    do {
        out->name.clear();
        text >> out->name;
    } while (prefixes.contains(out->name));
    std::getline(text >> std::ws, out->operands);
    return true;
}

std::vector<Instruction> Disassemble(const std::string& path) {
    const std::string command = KORV_OBJDUMP " -d --no-show-raw-insn '" + path + "'";
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        throw std::runtime_error("can't run " + command);
    }
    std::vector<Instruction> instructions;
    char buffer[1024];
    while (std::fgets(buffer, sizeof(buffer), pipe) != nullptr) {
        std::string line = buffer;
        while (!line.empty() && (line.back() == '\n' || line.back() == ' ')) {
            line.pop_back();
        }
        Instruction instruction;
        if (ParseInstruction(line, &instruction)) {
            instructions.push_back(instruction);
        }
    }
    if (pclose(pipe) != 0) {
        throw std::runtime_error("failed: " + command);
    }
    return instructions;
}

bool PentiumHas(const Instruction& instruction) {
    const std::string& name = instruction.name;
    const std::string& operands = instruction.operands;
    if (operands.find("%mm") != std::string::npos || operands.find("%xmm") != std::string::npos) {
        return false;
    }
    return Whole().contains(name) || Integer().contains(name) || Float().contains(name) ||
           IsSized(Integer(), name, {"b", "w", "l"}) ||
           IsSized(Float(), name, {"s", "l", "t", "ll"});
}

std::set<std::string> BeyondThePentium(const std::vector<Instruction>& code) {
    std::set<std::string> beyond;
    for (const Instruction& instruction : code) {
        if (!PentiumHas(instruction)) {
            beyond.insert(instruction.name + " " + instruction.operands);
        }
    }
    return beyond;
}
