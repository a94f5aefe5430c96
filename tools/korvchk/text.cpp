#include "tools/korvchk/text.h"

#include "tools/korvchk/system.h"

namespace chk {

namespace {

constexpr uint32_t kScreenColumns = 79;

// Breaks at blanks. The first row starts with `mark`, the others with `next`.
void Wrap(const char* mark, const char* next, const char* text) {
    do {
        Line row;
        row << mark;
        const uint32_t room = kScreenColumns - row.Length();
        uint32_t length = 0, end = 0;
        while (text[length] != 0 && length < room) {
            ++length;
            if (text[length] == ' ' || text[length] == 0) {
                end = length;
            }
        }
        if (end == 0) {
            end = length; // a word longer than a row
        }
        for (uint32_t i = 0; i < end; ++i) {
            row << text[i];
        }
        text += end;
        while (*text == ' ') {
            ++text;
        }
        system::Print(row.Text());
        system::Print("\n");
        mark = next;
    } while (*text != 0);
}

} // namespace

Line& Line::operator<<(char c) {
    if (length_ < kMost) {
        text_[length_++] = c;
    }
    return *this;
}

Line& Line::operator<<(const char* text) {
    while (*text != 0) {
        *this << *text++;
    }
    return *this;
}

Line& Line::operator<<(uint32_t number) {
    char digits[10];
    uint32_t count = 0;
    do {
        digits[count++] = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number != 0);
    while (count != 0) {
        *this << digits[--count];
    }
    return *this;
}

Line& Line::operator<<(Hex number) {
    for (int shift = 28; shift >= 0; shift -= 4) {
        *this << "0123456789ABCDEF"[number.value >> shift & 0xF];
    }
    return *this;
}

Line& Line::operator<<(Column column) {
    const uint32_t end = length_ + column.width;
    *this << column.text;
    while (length_ < end) {
        *this << ' ';
    }
    return *this;
}

void Report::Say(const Line& line) {
    Wrap("", "             ", line.Text());
}

void Report::Say(const char* text) {
    system::Print(text);
    system::Print("\n");
}

void Report::Wrong(const Line& sentence) {
    ++problems_;
    Wrap("  !! ", "     ", sentence.Text());
}

void Report::Note(const Line& sentence) {
    Wrap("     ", "     ", sentence.Text());
}

} // namespace chk
