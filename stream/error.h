#pragma once
// What is wrong with a capture, or with what somebody asks of one.
#include <stdexcept>

namespace stream {

// `what()` is one line for people, without the file's name.
struct StreamError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace stream
