#pragma once
// The driver's door to the chip's vocabulary: registers by tag, mode fields, word forms.
#include "chip/registers.h" // IWYU pragma: export
#include "chip/words.h"     // IWYU pragma: export
