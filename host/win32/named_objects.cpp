#include "host/win32/named_objects.h"

namespace host {

namespace {

NamedObjects*& Choice() {
    static NamedObjects* objects = &InProcessObjects();
    return objects;
}

} // namespace

NamedObjects& TheNamedObjects() {
    return *Choice();
}

void UseNamedObjects(NamedObjects& objects) {
    Choice() = &objects;
}

} // namespace host
