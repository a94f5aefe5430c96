#include "board/version.h"

namespace board {

const char* Version() {
    return KORV_VERSION;
}

} // namespace board
