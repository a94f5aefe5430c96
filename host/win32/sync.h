#pragma once
// Named semaphores and file mappings, in the form that is in force (named_objects.h): those of this
// process, or of a session, where what one process makes every other one can open for as long as
// its maker runs.
#include "driver/platform/win32.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace host {

// Makes a named semaphore; it lives until the reset or until this process ends. One that this
// process has made before gives way. Throws std::runtime_error when another process has made it.
void CreateNamedSemaphore(const std::string& name, int32_t count, int32_t maximum = 0x7FFFFFFF);
// Present count; -1 if there is no such semaphore.
int32_t SemaphoreCount(const std::string& name);
// The other program's side of a semaphore: adds one. False if that is over its maximum, or unknown.
bool SignalSemaphore(const std::string& name);
// The other program's side: waits up to `milliseconds`. False on a time-out.
bool AwaitSemaphore(const std::string& name, DWORD milliseconds);

// What is told of the driver's use of semaphores, on its own thread and by their names.
struct SemaphoreHooks {
    std::function<void(const std::string&)> idle;      // a wait finds the count at 0
    std::function<void(const std::string&)> release;   // one is about to be released
    std::function<void(const std::string&)> makerLost; // a wait fails, as the maker has ended
};
// Empty members are not called. A reset takes them away.
void SetSemaphoreHooks(SemaphoreHooks hooks);

// Makes a named mapping of zero bytes; the address of its memory. As CreateNamedSemaphore.
void* CreateNamedMapping(const std::string& name, size_t bytes);
// The memory of a mapping, for as long as the result lives; null if there is none.
std::shared_ptr<void> NamedMapping(const std::string& name);
void RemoveNamedObject(const std::string& name);
// Views that are mapped now.
size_t MappedViews();
// Handles of semaphores and mappings that are open now.
size_t OpenSyncHandles();
// The names of those whose handles have been closed since the reset, in that order.
std::vector<std::string> ClosedSyncHandles();

// What a program has asked for: an object by name, or a view of one that it has open.
struct SyncRequest {
    std::string name;
    DWORD access;
    BOOL inherit; // 0 of a view
    bool operator==(const SyncRequest&) const = default;
};
// All since the reset, in that order, granted or not.
std::vector<SyncRequest> SyncRequests();

void ResetSync();

} // namespace host
