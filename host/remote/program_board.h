#pragma once
// What the host asks of a board in another program beside what it asks of every board.
#include "board/board.h"
#include "host/remote/board_program.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace host {

class ProgramBoard : public board::Board {
  public:
    using Board::Board;

    // If not, the driver has to feed the FIFO.
    virtual bool DoesDma() const = 0;
    // Zeroes that MapMemory can make known to the board; they live as long as this one.
    virtual std::span<uint8_t> NewGuestMemory(size_t bytes) = 0;
};

// Starts the program. Throws remote::Error if it cannot be this board.
std::unique_ptr<ProgramBoard> StartBoard(const board::Config& config, const BoardProgram& program);

} // namespace host
