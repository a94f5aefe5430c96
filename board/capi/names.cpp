// Registers by name.
#include "board/capi/handle.h"
#include "chip/register_table.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

namespace {

constexpr uint32_t kGroup = 16; // registers of the vertex store under one name

// "+5" behind the name of a group: 5. None: no such text.
std::optional<uint32_t> PlaceInGroup(std::string_view text) {
    if (text.size() < 2 || text.size() > 3 || text[0] != '+') {
        return std::nullopt;
    }
    uint32_t number = 0;
    for (const char digit : text.substr(1)) {
        if (digit < '0' || digit > '9') {
            return std::nullopt;
        }
        number = 10 * number + static_cast<uint32_t>(digit - '0');
    }
    return number;
}

bool IsGroup(const Register& entry) {
    return entry.HasTag() && entry.Tag() >= kVertexStoreFirst && entry.Tag() < kVertexStoreEnd;
}

const Register* FindName(std::string_view name) {
    for (const Register& entry : kRegisters) {
        if (name == entry.name) {
            return &entry;
        }
    }
    return nullptr;
}

std::optional<uint32_t> FindOffset(std::string_view name) {
    const size_t length = std::min(name.find('+'), name.size());
    const Register* entry = FindName(name.substr(0, length));
    if (entry == nullptr) {
        return std::nullopt;
    }
    if (length == name.size()) {
        return entry->offset;
    }
    const std::optional<uint32_t> place = PlaceInGroup(name.substr(length));
    if (!place || *place >= kGroup || !IsGroup(*entry)) {
        return std::nullopt;
    }
    return entry->offset + 8 * *place;
}

} // namespace

korv_board_status korv_board_find_register(const char* name, uint32_t* offset) {
    if (name == nullptr || offset == nullptr) {
        return KORV_BOARD_BAD_ARGUMENT;
    }
    const std::optional<uint32_t> found = FindOffset(name);
    if (!found) {
        return KORV_BOARD_UNKNOWN_NAME;
    }
    *offset = *found;
    return KORV_BOARD_OK;
}

const char* korv_board_register_name(uint32_t index, uint32_t* offset) {
    if (index >= std::size(kRegisters)) {
        return nullptr;
    }
    if (offset != nullptr) {
        *offset = kRegisters[index].offset;
    }
    return kRegisters[index].name;
}

korv_board_status korv_board_peek(korv_board* board, const char* name, uint32_t* value) {
    return board::capi::Call(board, [&] {
        if (name == nullptr || value == nullptr) {
            return board->Fail(KORV_BOARD_BAD_ARGUMENT);
        }
        const std::optional<uint32_t> offset = FindOffset(name);
        if (!offset) {
            return board->Fail(KORV_BOARD_UNKNOWN_NAME,
                               "no register has the name '" + std::string(name) + "'");
        }
        *value = board->board.Peek(*offset);
        return KORV_BOARD_OK;
    });
}
