#include "board/events.h"

#include <fmt/format.h>

namespace board {

void EventText::OnRead(uint32_t offset, uint32_t value) {
    OnAccess('r', offset, value);
}

void EventText::OnWrite(uint32_t offset, uint32_t value) {
    OnAccess('w', offset, value);
}

void EventText::OnAccess(char kind, uint32_t offset, uint32_t value) {
    const std::string fields = FieldsText(offset, value);
    out_ << fmt::format("{} {:04X} {:08X} {}{}{}\n", kind, offset, value, OffsetText(offset),
                        fields.empty() ? "" : " ;", fields);
}

void EventText::OnFifoWord(uint32_t word) {
    out_ << fmt::format("f {:08X} ; {}\n", word, explainer_.Explain(word));
}

void EventText::OnDmaWord(uint32_t word) {
    out_ << fmt::format("d {:08X} ; {}\n", word, explainer_.Explain(word));
}

void RawWords::OnFifoWord(uint32_t word) {
    const char bytes[] = {static_cast<char>(word), static_cast<char>(word >> 8),
                          static_cast<char>(word >> 16), static_cast<char>(word >> 24)};
    out_.write(bytes, sizeof bytes);
}

void RawWords::OnDmaWord(uint32_t word) {
    OnFifoWord(word);
}

} // namespace board
