// The part of {fmt} that Debian has as a 64-bit library only, compiled once here: in the
// header-only form each file that formats a text would compile all of it.
#include <fmt/format-inl.h>

namespace fmt::detail {

// The templates that the headers declare for others to use and leave to the library.
template FMT_API thousands_sep_result<char> thousands_sep_impl(locale_ref);
template FMT_API char decimal_point_impl(locale_ref);

} // namespace fmt::detail
