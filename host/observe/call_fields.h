#pragma once
// What people want to know of a call of the driver: the main fields of its record.
#include "driver/platform/d3dhal.h"
#include "driver/platform/ddhal.h"

#include <cstdint>
#include <variant>
#include <vector>

namespace host {

struct CallField {
    const char* name;
    std::variant<int64_t, const DDRAWI_DDRAWSURFACE_LCL*> value;
};
using CallFields = std::vector<CallField>;

// The name of the callback that takes the record of this name: "DDHAL_BLTDATA" gives "Blt". Other
// names stay.
const char* CallName(const char* record);

// Records without an overload have none.
template <class Record>
CallFields FieldsOf(const Record&) {
    return {};
}
CallFields FieldsOf(const DDHAL_BLTDATA& data);
CallFields FieldsOf(const DDHAL_FLIPDATA& data);
CallFields FieldsOf(const DDHAL_LOCKDATA& data);
CallFields FieldsOf(const DDHAL_CREATESURFACEDATA& data);
CallFields FieldsOf(const DDHAL_DESTROYSURFACEDATA& data);
CallFields FieldsOf(const D3DHAL_CONTEXTCREATEDATA& data);
CallFields FieldsOf(const D3DHAL_CONTEXTDESTROYDATA& data);
CallFields FieldsOf(const D3DHAL_RENDERSTATEDATA& data);
CallFields FieldsOf(const D3DHAL_RENDERPRIMITIVEDATA& data);
CallFields FieldsOf(const D3DHAL_SCENECAPTUREDATA& data);
CallFields FieldsOf(const D3DHAL_TEXTURECREATEDATA& data);
CallFields FieldsOf(const D3DHAL_TEXTUREDESTROYDATA& data);

} // namespace host
