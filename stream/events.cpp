#include "stream/events.h"

#include "board/values/register_names.h"

namespace stream {

void EventText::OnRead(uint32_t offset, uint32_t value) {
    OnAccess('r', offset, value);
}

void EventText::OnWrite(uint32_t offset, uint32_t value) {
    OnAccess('w', offset, value);
    explainer_.OnWrite(offset, value);
}

void EventText::OnAccess(char kind, uint32_t offset, uint32_t value) {
    line_ += kind;
    line_ += ' ';
    board::AppendHex(line_, offset, 4);
    line_ += ' ';
    board::AppendHex(line_, value, 8);
    line_ += ' ';
    board::AppendOffsetName(line_, offset);
    const size_t end = line_.size();
    explainer_.AppendAccess(line_, offset, value);
    if (line_.size() != end) {
        line_.insert(end, " ;");
    }
    EndLine();
}

void EventText::OnFifoWord(uint32_t word) {
    OnWord('f', word);
}

void EventText::OnDmaWord(uint32_t word) {
    OnWord('d', word);
}

void EventText::OnWord(char kind, uint32_t word) {
    line_ += kind;
    line_ += ' ';
    board::AppendHex(line_, word, 8);
    line_ += " ; ";
    explainer_.Append(line_, word);
    EndLine();
}

void EventText::EndLine() {
    line_ += '\n';
    out_.write(line_.data(), static_cast<std::streamsize>(line_.size()));
    line_.clear();
}

void RawWords::OnFifoWord(uint32_t word) {
    const char bytes[] = {static_cast<char>(word), static_cast<char>(word >> 8),
                          static_cast<char>(word >> 16), static_cast<char>(word >> 24)};
    out_.write(bytes, sizeof bytes);
}

void RawWords::OnDmaWord(uint32_t word) {
    OnFifoWord(word);
}

} // namespace stream
