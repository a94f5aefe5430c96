#pragma once
#include <string>
#include <string_view>

namespace korv {

// The lines of an OBJ text without their comments: a byte-order mark is passed over, and lines that
// end in a backslash run on into the next.
class ObjLines {
  public:
    explicit ObjLines(std::string_view text);

    // False at the end. `line` holds until the next call.
    bool Next(std::string_view& line);
    // Number of the line that the latest one began with; at the end, of the last. From 1.
    size_t Number() const { return number_; }
    // Bytes passed.
    size_t Done() const { return at_; }

  private:
    std::string_view Physical();

    std::string_view text_;
    size_t at_ = 0, number_ = 0, passed_ = 0;
    std::string joined_;
};

} // namespace korv
