#pragma once
// Named semaphores and file mappings, as another program of the system would make them.
#include "driver/platform/win32.h"

#include <cstddef>
#include <functional>
#include <string>

namespace host {

// Makes a named semaphore; it lives until the reset.
void CreateNamedSemaphore(const std::string& name, int32_t count, int32_t maximum = 0x7FFFFFFF);
// Present count; -1 if there is no such semaphore.
int32_t SemaphoreCount(const std::string& name);
// The maker's side of a semaphore: adds one. False if that is over its maximum, or unknown.
bool SignalSemaphore(const std::string& name);
// The maker's side: waits up to `milliseconds` (INFINITE: for ever). False on a time-out.
bool AwaitSemaphore(const std::string& name, DWORD milliseconds);
// Called, on the waiting thread, when a wait of the driver finds the count at 0: the other program
// gets its turn. Null for none.
void SetSemaphoreIdle(std::function<void(const std::string& name)> idle);

// Makes a named mapping of zero bytes; the address of its memory.
void* CreateNamedMapping(const std::string& name, size_t bytes);
void RemoveNamedObject(const std::string& name);
// Views that are mapped now.
size_t MappedViews();
// Handles of semaphores and mappings that are open now.
size_t OpenSyncHandles();

void ResetSync();

} // namespace host
