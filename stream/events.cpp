#include "stream/events.h"

#include "board/values/register_names.h"

namespace stream {

void AppendWordLine(std::string& text, char letter, uint32_t word, Explainer& explainer) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    char head[] = "f 00000000 ; ";
    head[0] = letter;
    for (uint32_t i = 0; i < 8; ++i) {
        head[9 - i] = kDigits[word >> i * 4 & 0xF];
    }
    text.append(head, sizeof head - 1);
    explainer.Append(text, word);
    text += '\n';
}

void AppendAccessLine(std::string& text, char letter, uint32_t offset, uint32_t value,
                      const Explainer& explainer) {
    text += letter;
    text += ' ';
    board::AppendHex(text, offset, 4);
    text += ' ';
    board::AppendHex(text, value, 8);
    text += ' ';
    board::AppendOffsetName(text, offset);
    const size_t end = text.size();
    explainer.AppendAccess(text, offset, value);
    if (text.size() != end) {
        text.insert(end, " ;");
    }
    text += '\n';
}

void EventText::OnRead(uint32_t offset, uint32_t value) {
    OnAccess('r', offset, value);
}

void EventText::OnWrite(uint32_t offset, uint32_t value) {
    OnAccess('w', offset, value);
    explainer_.OnWrite(offset, value);
}

void EventText::OnAccess(char letter, uint32_t offset, uint32_t value) {
    AppendAccessLine(line_, letter, offset, value, explainer_);
    WriteLine();
}

void EventText::OnFifoWord(uint32_t word) {
    OnWord('f', word);
}

void EventText::OnDmaWord(uint32_t word) {
    OnWord('d', word);
}

void EventText::OnWord(char letter, uint32_t word) {
    AppendWordLine(line_, letter, word, explainer_);
    WriteLine();
}

void EventText::WriteLine() {
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
