#pragma once
// Turns the command stream into register writes: plain pairs, hold bursts, indexed bursts.
#include "board/values/registers.h"
#include "board/values/state_visitor.h"

#include <bit>
#include <cstdint>

namespace board {

class StreamDecoder {
  public:
    enum class Kind { Tag, Data, Malformed };

    // True when the next word is data for a register.
    bool ExpectsData() const { return holdLeft_ != 0 || maskLeft_ != 0; }

    // Tag of the register that the next word is data for. ExpectsData() must be true.
    uint32_t NextRegister() const {
        return maskLeft_ != 0 ? base_ + static_cast<uint32_t>(std::countr_zero(maskLeft_)) : base_;
    }

    // Takes one word. For Data, `write` becomes the register write it makes. A malformed word is
    // skipped: the next word is taken for a tag word again.
    Kind Feed(uint32_t word, RegisterWrite& write) {
        if (ExpectsData()) {
            write = {NextRegister(), word};
            if (maskLeft_ != 0) {
                maskLeft_ &= maskLeft_ - 1;
            } else {
                --holdLeft_;
            }
            return Kind::Data;
        }
        return TakeTag(word);
    }
    void Visit(StateVisitor& visit);

  private:
    Kind TakeTag(uint32_t word);

    uint32_t base_ = 0; // tag of a hold burst, group of an indexed one
    uint32_t holdLeft_ = 0;
    uint32_t maskLeft_ = 0;
};

} // namespace board
