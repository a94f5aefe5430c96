#pragma once
// The state with which a new context starts: every unit quiet, then the mode words of the chip at
// hand, each with its copy in the context.
#include "driver/core/records/d3d_context.h"

// Brings the chip and the copies of a new context to the starting state. Always 1.
uint32_t SetupContext(D3DContext* ctx);

// Its steps.

// Turns every unit off.
void __GlintDisableUnits(D3DContext* ctx);
// What all chips share.
void SetupCommonContext(D3DContext* ctx);
// What belongs to a family, with its routines for states and dirty state.
void SetupPermediaContext(D3DContext* ctx);
void SetupGlintContext(D3DContext* ctx);
