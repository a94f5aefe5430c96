#pragma once

// For the pieces of renderers: a member is one straight run of code.
#define KORV_INLINE __attribute__((always_inline)) inline
