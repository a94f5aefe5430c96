#pragma once
// Lines of text for an owner to read: built in place, as nothing here allocates.
#include <cstdint>

namespace chk {

struct Hex {
    uint32_t value;
};

// Text with blanks behind it up to `width` characters.
struct Column {
    const char* text;
    uint32_t width;
};

// What is too long is cut.
class Line {
  public:
    Line& operator<<(const char* text);
    Line& operator<<(char c);
    Line& operator<<(uint32_t number); // decimal
    Line& operator<<(Hex number);
    Line& operator<<(Column column);
    const char* Text() const { return text_; }
    uint32_t Length() const { return length_; }

  private:
    static constexpr uint32_t kMost = 700;
    char text_[kMost + 1] = {};
    uint32_t length_ = 0;
};

// Counts what is wrong.
class Report {
  public:
    // A line, broken to the width of the screen below the second column.
    void Say(const Line& line);
    // Text as it is; without any, an empty line.
    void Say(const char* text = "");
    // A sentence of what is wrong and what to do, broken to the width of the screen.
    void Wrong(const Line& sentence);
    // The same of what is worth knowing and no fault.
    void Note(const Line& sentence);
    uint32_t Problems() const { return problems_; }

  private:
    uint32_t problems_ = 0;
};

} // namespace chk
