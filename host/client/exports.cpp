#include "host/client/exports.h"

#include "host/driver_module.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace host {

static_assert(sizeof(Exports) == kExportOrdinals * sizeof(void*));

Exports ExportsInForce() {
    const DriverModule& module = TheDriverModule();
    for (uint32_t ordinal = 1; ordinal <= kExportOrdinals; ++ordinal) {
        if (module.exports[ordinal] == nullptr) {
            throw std::runtime_error("the driver has no export " + std::to_string(ordinal));
        }
    }
    Exports exports;
    std::memcpy(&exports, &module.exports[1], sizeof exports);
    return exports;
}

} // namespace host
