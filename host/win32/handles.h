#pragma once
// Handles of system objects. A number is never used twice in the life of the process, so a handle
// that outlives a reset fails instead of naming something new.
#include "driver/platform/win32.h"

#include <cstddef>
#include <memory>

namespace host::handles {

struct Object {
    virtual ~Object() = default;
    // A handle to this object has been closed.
    virtual void HandleClosed() {}
};

// A new handle.
HANDLE Open(std::shared_ptr<Object> object);
// The object, or null for a dead handle.
std::shared_ptr<Object> Find(HANDLE handle);
bool Close(HANDLE handle);
// Closes all, without telling the objects.
void Reset();

// The object if it is of that kind, else null.
template <class T>
std::shared_ptr<T> FindAs(HANDLE handle) {
    return std::dynamic_pointer_cast<T>(Find(handle));
}

// How many open handles name an object that `matches` accepts.
size_t Count(bool (*matches)(const Object&));

} // namespace host::handles
