#include "driver/core/records/d3d_context.h"

D3DContext* ContextSlots[kContextSlots];
