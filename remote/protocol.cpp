#include "remote/protocol.h"

#include <bit>

namespace remote {

static_assert(std::endian::native == std::endian::little, "numbers go as they lie in memory");

namespace {

// By number, from HELLO and from ERROR on.
constexpr std::string_view kRequests[] = {
    "HELLO", "MAKE",   "READ",  "WRITE", "WORDS",  "SYNC",  "STORE",  "FETCH", "IDLE", "ADVANCE",
    "DRAIN", "STATUS", "GUEST", "VIDEO", "TIMING", "STATE", "RESUME", "LINE",  "END"};
constexpr std::string_view kNotices[] = {"ERROR", "INTERRUPT", "MOVED", "FIELD"};

static_assert(std::size(kRequests) == static_cast<size_t>(kLastRequest));

} // namespace

std::string_view NameOf(Kind kind) {
    const auto number = static_cast<uint32_t>(kind);
    if (const uint32_t request = number - 1; request < std::size(kRequests)) {
        return kRequests[request];
    }
    const uint32_t notice = number - static_cast<uint32_t>(Kind::Error);
    return notice < std::size(kNotices) ? kNotices[notice] : std::string_view();
}

} // namespace remote
