#pragma once
#include <array>
#include <streambuf>

namespace korv {

// What is written to an open file descriptor. The first failure is kept, and nothing is written
// after it.
class FdBuffer : public std::streambuf {
  public:
    // `descriptor` stays the caller's.
    explicit FdBuffer(int descriptor);

    int Descriptor() const { return descriptor_; }
    // 0, or the errno of the first failure.
    int Error() const { return error_; }

  protected:
    int_type overflow(int_type c) override;
    int sync() override;

  private:
    int descriptor_, error_ = 0;
    std::array<char, 1 << 16> bytes_;
};

} // namespace korv
