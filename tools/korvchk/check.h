#pragma once
// The program: its command line, and what it does in which order.

namespace chk {

// `arguments` is what stands behind the program's name. 0: all is good; 1: something is wrong; 2:
// the command line is.
int Run(const char* arguments);

} // namespace chk
