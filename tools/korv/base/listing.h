#pragma once
// Where a command lists what may be long.
#include "tools/korv/base/fd_buffer.h"

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <sys/types.h>

namespace korv {

// On a terminal: through a pager, which begins with the first output and ends with this object, and
// in colours. The pager is what KORV_PAGER says, else PAGER, else less; `cat` or nothing is none.
// Without TERM or with a dumb one, or with NO_COLOR set to something, there are no colours.
// Elsewhere, in a file or a pipe, the listing is as it was written.
class Listing {
  public:
    // `out` is the command's standard output. `paged`: through a pager.
    explicit Listing(std::ostream& out, bool paged = true);
    ~Listing();
    Listing(const Listing&) = delete;
    Listing& operator=(const Listing&) = delete;

    // Fails once the reader has left the pager: whoever lists much stops then, without a complaint.
    std::ostream& Out();
    // The escapes that begin a colour and end it; empty where there are none.
    enum class Colour { Plain, Dim, Heading, Good, Bad, Number };
    const char* Escape(Colour colour) const;

  private:
    void StartPager();

    std::ostream& out_;
    bool paged_, colours_;
    pid_t pager_ = 0;
    int pipe_ = -1;
    std::optional<FdBuffer> buffer_;
    std::optional<std::ostream> paging_;
};

} // namespace korv
