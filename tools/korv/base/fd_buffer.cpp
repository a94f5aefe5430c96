#include "tools/korv/base/fd_buffer.h"

#include <cerrno>
#include <unistd.h>

namespace korv {

FdBuffer::FdBuffer(int descriptor) : descriptor_(descriptor) {
    setp(bytes_.data(), bytes_.data() + bytes_.size());
}

FdBuffer::int_type FdBuffer::overflow(int_type c) {
    if (sync() != 0) {
        return traits_type::eof();
    }
    if (!traits_type::eq_int_type(c, traits_type::eof())) {
        *pptr() = traits_type::to_char_type(c);
        pbump(1);
    }
    return traits_type::not_eof(c);
}

int FdBuffer::sync() {
    for (const char* at = pbase(); at != pptr() && error_ == 0;) {
        const ssize_t written = write(descriptor_, at, static_cast<size_t>(pptr() - at));
        if (written >= 0) {
            at += written;
        } else if (errno != EINTR) {
            error_ = errno;
        }
    }
    setp(bytes_.data(), bytes_.data() + bytes_.size());
    return error_ == 0 ? 0 : -1;
}

} // namespace korv
