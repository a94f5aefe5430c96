/* All that the 16-bit display driver and the mini VDD share with KORV32.dll. */
#ifndef KORV32_H
#define KORV32_H

#include "korvchip.h"
#include "korvctx.h"
#include "korvdata.h"
#include "korvheap.h"
#include "korvinfo.h"
#include "korvvdd.h"

/* What the display driver names to DirectDraw: szName and szEntryPoint of DD32BITDRIVERDATA.
   dwContext is the display's number. */
#define KORV_LIBRARY_NAME "KORV32.dll"
#define KORV_ENTRY_NAME "DriverInit"

#endif
