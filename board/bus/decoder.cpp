#include "board/bus/decoder.h"

namespace board {

namespace {
constexpr uint32_t kUnusedTagBits = 0xFFFF & ~(kIndexedForm | kTagMask);
constexpr uint32_t kGroupIndexBits = 0xF;
} // namespace

StreamDecoder::Kind StreamDecoder::TakeTag(uint32_t word) {
    if ((word & kUnusedTagBits) != 0) {
        return Kind::Malformed;
    }
    base_ = word & kTagMask;
    if ((word & kIndexedForm) == 0) {
        holdLeft_ = (word >> 16) + 1;
        return Kind::Tag;
    }
    maskLeft_ = word >> 16;
    if (maskLeft_ == 0 || (base_ & kGroupIndexBits) != 0) {
        maskLeft_ = 0;
        return Kind::Malformed;
    }
    return Kind::Tag;
}

void StreamDecoder::Visit(StateVisitor& visit) {
    auto& [base, holdLeft, maskLeft] = *this;
    visit.Value("base", base, 0u, kTagMask);
    visit.Value("holdLeft", holdLeft, 0u, 0x10000u);
    visit.Value("maskLeft", maskLeft, 0u, 0xFFFFu);
}

} // namespace board
