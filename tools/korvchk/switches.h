#pragma once
// The driver's switches: values in the registry, as the driver reads them.
#include "tools/korvchk/platform.h"

#include <cstdint>

namespace chk {

class Report;

struct Switch {
    const char* name;
    uint32_t usual; // what counts without the value
    const char* meaning;
};
extern const Switch kSwitches[];
extern const uint32_t kSwitchCount;

enum class Source {
    Missing,  // no such value, or no such key
    Registry, // read
    TooLong,  // there, but of ten characters or more: the driver takes it for missing
    NoText,   // there, but no text: the driver reads its bytes as digits
};

struct SwitchValue {
    Source source;
    uint32_t number; // in force
    bool isNumber;   // the text is digits alone
};

// The value as the driver would read it from this key.
SwitchValue ReadSwitch(HKEY key, const Switch& entry);

// Tells the switches that are set; with `all` those at their defaults, too. `registryName` is
// ChipInfo's; null if it is unknown.
void CheckSwitches(Report& report, const char* registryName, bool all);

} // namespace chk
