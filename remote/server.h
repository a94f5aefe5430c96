#pragma once
// The board's side of the board protocol (docs/board-protocol.md), on a board of our own.
#include "board/board.h"
#include "remote/channel.h"

#include <functional>
#include <memory>
#include <string>

namespace remote {

struct ServerOptions {
    std::string name = "korv"; // who the board is
    uint32_t abilities =
        kAllAbilities; // Ability bits; without the others for people who try clients
    // Makes the boards, of configurations that have no problem. Null: a board as it is.
    std::function<std::unique_ptr<board::Board>(const board::Config&, const board::LentMemories&)>
        make;
};

// Serves one client until it says so or leaves. Returns an empty text, or in one line why nothing
// more could be understood. Throws std::system_error where the system refuses to send or receive.
std::string Serve(int in, int out, const ServerOptions& options = {});

} // namespace remote
