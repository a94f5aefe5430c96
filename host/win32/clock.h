#pragma once
// The clock behind timeGetTime. It stands still unless it is told to move or to follow a source.
#include <cstdint>
#include <functional>

namespace host::clock {

// Sets the time in milliseconds; a source is dropped.
void Set(uint32_t milliseconds);
// Moves the time on; a source is dropped.
void Advance(uint32_t milliseconds);
// Takes the time from `microseconds` (the board's clock, for instance) from now on. `owner` names
// who may take the source away again.
void Follow(const void* owner, std::function<uint64_t()> microseconds);
// Ends a Follow of this owner: the clock stops where it is.
void Unfollow(const void* owner);
uint32_t Now();
void Reset();

} // namespace host::clock
