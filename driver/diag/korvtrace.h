#pragma once
// Two kinds of trace: a count of calls by function, which nothing feeds, and every DMA batch in
// lock-step with an outside tool.
#include "driver/core/stream.h"

#include <cstddef>
#include <cstdint>

// A traced function's record, the function's own.
struct TraceRecord {
    TraceRecord* Next;
    uint32_t unknown_04[4];
    uint32_t Count; // calls
};
static_assert(offsetof(TraceRecord, Count) == 20);

// Functions called so far, the newest first.
extern TraceRecord* functionList;

// The count of calls. Kept as outside names: nothing here calls them.

void initializeTrace();
// Counts a call; the first one lists the record. 1.
uint32_t traceFunction(TraceRecord* record);
void printTraceReport();

// The record shared with the tool.
struct DMATraceRecord {
    uint32_t Active; // nonzero: the tool is listening
    uint32_t unknown_04;
    uint32_t TraceFirst;
    uint32_t TraceLast;
};
static_assert(sizeof(DMATraceRecord) == 16);

// Opens the tool's two semaphores and its record. 1, or 0 with nothing left open.
// Kept as an outside name: nothing here calls it.
uint32_t InitTrace();
// Closes an open trace; does nothing without one.
void TermTrace();
// StartDMA, then waits for the chip after the batch. While the tool listens it first waits for the
// tool's leave, and tells it afterwards.
int32_t StartDMA_Trace(DriverData* driver, uint32_t context, uint32_t count, uint32_t physical,
                       uint32_t* linear, uint32_t reserved);
