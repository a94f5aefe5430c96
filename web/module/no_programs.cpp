// A module cannot start programs, so nobody may ask for a board in one.
#include "host/remote/program_board.h"

#include <stdexcept>

namespace host {

std::unique_ptr<ProgramBoard> StartBoard(const board::Config&, const BoardProgram&) {
    throw std::logic_error("a WebAssembly module has no boards in other programs");
}

} // namespace host
