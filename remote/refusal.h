#pragma once
// Why a request of the board protocol cannot be met.
#include "remote/protocol.h"

#include <string>

namespace remote {

// Thrown while a request is served, which its client is told as ERROR.
struct Refusal {
    ErrorCode code;
    std::string text;
};

} // namespace remote
