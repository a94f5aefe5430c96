#pragma once
// The records that scripts see into: names, places and kinds of their fields.
#include "driver/d3d/dcontext.h"
#include "driver/heap/surface.h"
#include "driver/platform/d3dhal.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace korv {

// What a field holds, hence how a script writes it.
enum class FieldKind {
    Word8,
    Word16,
    Word,    // 32 bits
    Signed,  // 32 bits
    Float,   // single
    Flag,    // true or false
    Result,  // an HRESULT
    Present, // an address of no interest: true or false, there or not
    // Addresses, given as names of what is there.
    Address,          // memory
    Global,           // the DirectDraw global object of a display
    Local,            // its local object
    Driver,           // the DriverData of a display
    SurfaceLocal,     // a surface
    SurfaceInterface, // a surface
    SurfaceList,      // list of surfaces
    InterfaceList,    // list of surfaces
    Description,      // a DDSURFACEDESC
    // Numbers that the driver gives out, given as names or as numbers.
    Context,
    Texture,
};

struct RecordType;

struct RecordField {
    const char* name;
    uint32_t offset; // bytes
    FieldKind kind;
    const RecordType& (*record)(); // of a field that is a record itself; else null
    uint32_t count;                // elements of an array; 0 for a single field
    uint32_t stride;               // bytes from one to the next
};

struct RecordType {
    const char* name;
    uint32_t size; // bytes
    std::span<const RecordField> fields;
};

// The type of record T.
template <class T>
const RecordType& RecordOf();

// The record of that name as a `check` or `set` step knows it, or null.
const RecordType* FindRecord(std::string_view name);

struct FieldPlace {
    uint32_t offset; // bytes
    FieldKind kind;
};
// The field at a path such as "hwCaps.dpcTriCaps.dwMiscCaps" or "Stream.SubBuffers[1].Physical".
// None if there is no such field or it is a record itself.
std::optional<FieldPlace> FindField(const RecordType& type, std::string_view path);
// The field's bits, zero-extended.
uint32_t ReadField(const void* record, const FieldPlace& place);
// Writes as many of the bits as the field has.
void WriteField(void* record, const FieldPlace& place, uint32_t bits);

// A callback of the driver and the record that it takes.
struct CallbackType {
    std::string_view name; // of the member in its table
    const RecordType& (*record)();
    // The entry in the driver's tables, or null.
    void* (*entry)(DriverData* driver);
};
const CallbackType* FindCallback(std::string_view name);

} // namespace korv
