/* What the checks share among themselves. */
#ifndef FINDING_H
#define FINDING_H

#include "korvkit.h"

/* Notes what is wrong. 0. */
int KorvFail(KorvFinding* finding, const char* field, const char* expected, KORV_U32 found);

/* The data of a slot of the context table's first block, or 0 if it is no live slot within it. */
const void* KorvSlotData(const KorvContextBlock* block, int slot);

#endif
