// The records of the C headers against the driver's own: same size, and every field at the same
// offset with the same size. Compiling is the test.
#include "driver/core/driverdata.h"
#include "driver/core/records/context_block.h"
#include "driver/platform/minivdd.h"
#include "packaging/windows95/include/korv32.h"

#include <cstddef>

namespace {

template <class Record>
struct InC;

#define RECORD(ours, inC)                                                                          \
    template <>                                                                                    \
    struct InC<ours> {                                                                             \
        using Type = inC;                                                                          \
    };                                                                                             \
    static_assert(sizeof(ours) == sizeof(inC));
#define FIELD(ours, field)                                                                         \
    static_assert(offsetof(ours, field) == offsetof(InC<ours>::Type, field));                      \
    static_assert(sizeof(ours::field) == sizeof(InC<ours>::Type::field));
#include "tests/windows95/layout/neighbours.def"

} // namespace
