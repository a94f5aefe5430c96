#pragma once
// Which marks still hold at a point of a stream: what is there then.
#include "stream/event.h"

#include <map>
#include <optional>
#include <vector>

namespace stream {

class LiveMarks {
  public:
    void Follow(const Mark& mark);

    // Marks that tell a reader who begins here what there is: the display, its mode, surfaces under
    // their present names, contexts, and the latest picture without its checksums, because its
    // palette goes on to hold.
    std::vector<Mark> All() const;

  private:
    std::map<int64_t, Mark> displays_, surfaces_, contexts_; // by number, id, handle
    std::optional<Mark> mode_, picture_;
};

} // namespace stream
