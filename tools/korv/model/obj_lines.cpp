#include "tools/korv/model/obj_lines.h"

#include <algorithm>

namespace korv {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

} // namespace

ObjLines::ObjLines(std::string_view text) : text_(text) {
    if (text.starts_with(kByteOrderMark)) {
        at_ = kByteOrderMark.size();
    }
}

std::string_view ObjLines::Physical() {
    // A line ends with a line feed, a carriage return, or both.
    const size_t end = std::min(text_.find_first_of("\r\n", at_), text_.size());
    const std::string_view line = text_.substr(at_, end - at_);
    at_ = std::min(end + (text_.substr(end).starts_with("\r\n") ? 2 : 1), text_.size());
    ++passed_;
    return line;
}

bool ObjLines::Next(std::string_view& line) {
    if (at_ == text_.size()) {
        number_ = std::max<size_t>(passed_, 1);
        return false;
    }
    line = Physical();
    number_ = passed_;
    if (line.ends_with('\\')) {
        joined_.clear();
        while (line.ends_with('\\')) {
            joined_ += line.substr(0, line.size() - 1);
            joined_ += ' ';
            line = at_ == text_.size() ? std::string_view() : Physical();
        }
        joined_ += line;
        line = joined_;
    }
    line = line.substr(0, line.find('#'));
    return true;
}

} // namespace korv
