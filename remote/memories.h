#pragma once
// The memories of a board that is served, by the protocol's numbers: its own, and those of the
// client's machine that its DMA reads. Each lies in a file of the client's where it could be
// mapped.
#include "board/board.h"
#include "remote/mapped_file.h"
#include "remote/protocol.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace remote {

class Memories {
  public:
    // Lets go of all memories, whose board must be gone, and maps those of the next one: files of
    // the client's, empty for none.
    void Begin(const board::Config& config, const std::string& frameFile,
               const std::string& localFile);
    // For the next board: what was mapped.
    board::LentMemories Lent() const { return {frameBuffer_.Bytes(), localBuffer_.Bytes()}; }

    // The bytes of memory `memory` of `board` from `offset` on. Throws Refusal unless they all lie
    // in one that is not a mapped one of the client's machine.
    std::span<uint8_t> Part(board::Board& board, uint32_t memory, uint32_t offset, size_t bytes);

    // Gives `board` memory of the client's machine: `bytes` at `busAddress`, in place of what
    // `memory` was before; 0: only takes that away. True: the client's file is mapped, and nothing
    // has to be stored. Throws Refusal if there is no such number or too much memory.
    bool SetGuest(board::Board& board, uint32_t memory, uint32_t busAddress, uint32_t bytes,
                  const std::string& file);

  private:
    struct Guest {
        uint32_t busAddress = 0;
        MappedFile file;
        std::vector<uint8_t> copy; // where there is no file
        std::span<uint8_t> Bytes() { return file.IsThere() ? file.Bytes() : std::span(copy); }
    };

    MappedFile frameBuffer_, localBuffer_;
    std::array<std::optional<Guest>, kMemories> guests_;
};

} // namespace remote
