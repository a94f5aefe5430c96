#pragma once
// Named objects that the processes of a session share (shared_object.h).
#include "host/win32/named_objects.h"

namespace host {

NamedObjects& SharedObjects();

} // namespace host
