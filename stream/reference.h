#pragma once
// docs/registers.md, from the table of registers.
#include <ostream>

namespace stream {

// Writes the whole document, Markdown.
void WriteReference(std::ostream& out);

} // namespace stream
