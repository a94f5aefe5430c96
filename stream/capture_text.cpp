#include "stream/capture_text.h"

#include "board/values/register_names.h"
#include "chip/registers.h"
#include "stream/events.h"

#include <algorithm>
#include <array>

namespace stream {

namespace {

void AppendPair(std::string& text, std::string_view name, uint64_t number) {
    text += ' ';
    text += name;
    text += '=';
    text += std::to_string(number);
}

void AppendTiming(std::string& text, const board::Timing& timing) {
    for (const TimingNumber& row : kTimingNumbers) {
        AppendPair(text, row.name, timing.*row.number);
    }
}

void AppendHexByte(std::string& text, uint8_t byte) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
}

// In lines; equal ones behind each other are counted.
void AppendBytes(std::string& text, std::span<const uint8_t> bytes) {
    while (!bytes.empty()) {
        const auto line = bytes.first(std::min(kTextLineBytes, bytes.size()));
        text += line_word::kBytes;
        text += ' ';
        for (const uint8_t byte : line) {
            AppendHexByte(text, byte);
        }
        text += '\n';
        bytes = bytes.subspan(line.size());
        size_t repeats = 0;
        while (bytes.size() >= line.size() && std::ranges::equal(bytes.first(line.size()), line)) {
            bytes = bytes.subspan(line.size());
            ++repeats;
        }
        if (repeats != 0) {
            text += line_word::kRepeat;
            text += ' ';
            text += std::to_string(repeats);
            text += '\n';
        }
    }
}

bool IsPlain(std::string_view name) {
    return !name.empty() && std::ranges::all_of(name, [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    });
}

} // namespace

void BusAddress::Pass(const Event& event) {
    if (event.kind == EventKind::DmaWord) {
        next_ = event.offset + 4;
    } else if (event.kind == EventKind::Write && event.offset == reg::DMAAddress) {
        next_ = event.value;
    }
}

void AppendQuoted(std::string& text, std::string_view quoted) {
    text += '"';
    for (const char c : quoted) {
        if (c == '"' || c == '\\') {
            text += '\\';
            text += c;
        } else if (c < ' ' || c > '~') {
            text += "\\x";
            AppendHexByte(text, static_cast<uint8_t>(c));
        } else {
            text += c;
        }
    }
    text += '"';
}

std::string WordOf(MarkKind kind) {
    const char* name = NameOf(kind);
    std::string word = name != nullptr ? name : std::to_string(static_cast<uint32_t>(kind));
    std::ranges::replace(word, ' ', '-');
    return word;
}

void AppendMark(std::string& text, const Mark& mark) {
    text += WordOf(mark.kind);
    if (!mark.name.empty()) {
        text += ' ';
        AppendQuoted(text, mark.name);
    }
    for (const MarkField& field : mark.fields) {
        text += ' ';
        if (IsPlain(field.name)) {
            text += field.name;
        } else {
            AppendQuoted(text, field.name);
        }
        text += '=';
        if (const auto* number = std::get_if<int64_t>(&field.value)) {
            text += std::to_string(*number);
        } else {
            AppendQuoted(text, std::get<std::string>(field.value));
        }
    }
}

void CaptureText::AppendBoard(std::string& text, const board::Config& board,
                              const std::string& maker) {
    text += line_word::kBoard;
    text += " chip=";
    text += kChipWords[static_cast<size_t>(board.chip)];
    AppendPair(text, "setupUnit", board.setupUnit ? 1 : 0);
    for (const ConfigNumber& row : kConfigNumbers) {
        AppendPair(text, row.name, board.*row.number);
    }
    AppendTiming(text, board.timing);
    text += " maker=";
    AppendQuoted(text, maker);
    text += '\n';
}

void CaptureText::Skip(const Event& event) {
    if (event.IsWord()) {
        explainer_.Follow(event.value);
        skipped_ = skipped_ || event.kind == EventKind::DmaWord;
    } else if (event.kind == EventKind::Write) {
        explainer_.OnWrite(event.offset, event.value);
    }
    address_.Pass(event);
}

// Upper-case letters stand for accesses without a tick of their own.
void CaptureText::AppendAccess(std::string& text, const Event& event) {
    const char letter = event.kind == EventKind::Read ? 'r' : 'w';
    AppendAccessLine(text, event.ticked ? static_cast<char>(letter - 'a' + 'A') : letter,
                     event.offset, event.value, explainer_);
    if (event.kind == EventKind::Write) {
        explainer_.OnWrite(event.offset, event.value);
    }
}

void CaptureText::AppendWord(std::string& text, const Event& event) {
    if (event.kind == EventKind::FifoWord) {
        AppendWordLine(text, event.ticked ? 'F' : 'f', event.value, explainer_);
        return;
    }
    if (!excerpt_ && (event.offset != address_.Next() || skipped_)) [[unlikely]] {
        text += line_word::kDma;
        text += ' ';
        board::AppendHex(text, event.offset, 8);
        text += '\n';
        skipped_ = false;
    }
    AppendWordLine(text, 'd', event.value, explainer_);
}

void CaptureText::Append(std::string& text, const Event& event) {
    const auto add = [&](std::string_view word) { text += word; };
    switch (event.kind) {
    case EventKind::FifoWord:
    case EventKind::DmaWord:
        AppendWord(text, event);
        address_.Pass(event);
        return;
    case EventKind::Read:
    case EventKind::Write:
        AppendAccess(text, event);
        address_.Pass(event);
        return;
    case EventKind::DmaFault:
        add(line_word::kDmaFault);
        break;
    case EventKind::Ticks:
    case EventKind::Clock:
        add(event.kind == EventKind::Ticks ? line_word::kTicks : line_word::kClock);
        text += ' ';
        text += std::to_string(event.value);
        break;
    case EventKind::Units:
        add(line_word::kUnits);
        break;
    case EventKind::Interrupt:
        add(line_word::kInterrupt);
        break;
    case EventKind::InterruptEnd:
        add(line_word::kInterruptEnd);
        break;
    case EventKind::Timing:
        add(line_word::kTiming);
        AppendTiming(text, *event.timing);
        break;
    case EventKind::VideoSource:
        add(line_word::kVideoSource);
        if (event.signal != nullptr) {
            for (const SignalNumber& row : kSignalNumbers) {
                AppendPair(text, row.name, event.signal->*row.number);
            }
            AppendPair(text, "lineReferenceHigh", event.signal->lineReferenceHigh ? 1 : 0);
            AppendPair(text, "fieldReferenceHigh", event.signal->fieldReferenceHigh ? 1 : 0);
        }
        break;
    case EventKind::VideoLine: {
        add(line_word::kVideoLine);
        AppendPair(text, "field", event.field);
        AppendPair(text, "line", event.offset);
        AppendPair(text, "pixels", event.pixels.size());
        text += '\n';
        std::vector<uint8_t> bytes;
        for (const uint16_t pixel : event.pixels) {
            bytes.push_back(static_cast<uint8_t>(pixel));
            bytes.push_back(static_cast<uint8_t>(pixel >> 8));
        }
        AppendBytes(text, bytes);
        return;
    }
    case EventKind::HostMemory:
        add(line_word::kHostMemory);
        AppendPair(text, "address", event.offset);
        AppendPair(text, "bytes", event.value);
        break;
    case EventKind::Store:
        add(line_word::kStore);
        text += ' ';
        add(kMemoryWords[static_cast<size_t>(event.memory)]);
        AppendPair(text, "offset", event.offset);
        AppendPair(text, "bytes", event.bytes.size());
        text += '\n';
        AppendBytes(text, event.bytes);
        return;
    case EventKind::State:
        add(line_word::kState);
        AppendPair(text, "bytes", event.bytes.size());
        text += '\n';
        AppendBytes(text, event.bytes);
        return;
    case EventKind::Mark:
        add(line_word::kMark);
        text += ' ';
        AppendMark(text, *event.mark);
        break;
    }
    text += '\n';
}

} // namespace stream
