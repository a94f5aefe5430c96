#pragma once
// A board behind the C interface that ends with its owner.
#include "board/capi/korv_board.h"

#include <memory>
#include <string>

namespace capi_rig {

struct End {
    void operator()(korv_board* board) const { korv_board_destroy(board); }
};
using Handle = std::unique_ptr<korv_board, End>;

inline std::string FaultText(const korv_board* board) {
    std::string text(korv_board_fault_text(board, nullptr, 0) + 1, '\0');
    korv_board_fault_text(board, text.data(), text.size());
    text.pop_back();
    return text;
}

} // namespace capi_rig
