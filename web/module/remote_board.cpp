// A module cannot start programs, so nobody may ask for a board in one.
#include "host/remote/remote_board.h"

#include <stdexcept>

namespace host {

namespace {

[[noreturn]] void Refuse() {
    throw std::logic_error("a WebAssembly module has no boards in other programs");
}

} // namespace

class RemoteBoard::Link {};

RemoteBoard::RemoteBoard(const board::Config& config, const BoardProgram&) : Board(config) {
    Refuse();
}

RemoteBoard::~RemoteBoard() = default;

bool RemoteBoard::DoesDma() const {
    Refuse();
}
std::span<uint8_t> RemoteBoard::NewGuestMemory(size_t) {
    Refuse();
}
uint32_t RemoteBoard::Read(uint32_t) {
    Refuse();
}
void RemoteBoard::Write(uint32_t, uint32_t) {
    Refuse();
}
uint32_t RemoteBoard::Peek(uint32_t) const {
    Refuse();
}
bool RemoteBoard::InterruptLevel() const {
    Refuse();
}
void RemoteBoard::WriteFifo(const uint32_t*, size_t) {
    Refuse();
}
void RemoteBoard::Idle(uint32_t) {
    Refuse();
}
void RemoteBoard::MapMemory(uint32_t, const void*, size_t) {
    Refuse();
}
void RemoteBoard::SetMemoryReader(MemoryReader) {
    Refuse();
}
void RemoteBoard::SetInterruptHandler(std::function<void()>) {
    Refuse();
}
void RemoteBoard::SetRecorder(board::BusRecorder*) {
    Refuse();
}
void RemoteBoard::SetVideoSource(board::VideoSource*) {
    Refuse();
}
uint32_t RemoteBoard::ShownBase() const {
    Refuse();
}
uint64_t RemoteBoard::Microseconds() const {
    Refuse();
}
void RemoteBoard::Advance(uint64_t) {
    Refuse();
}
void RemoteBoard::Drain() {
    Refuse();
}
bool RemoteBoard::AtRest() const {
    Refuse();
}
void RemoteBoard::SetTiming(const board::Timing&) {
    Refuse();
}
board::Faults RemoteBoard::FaultReport() const {
    Refuse();
}
board::EntryCounts RemoteBoard::Entered() const {
    Refuse();
}
std::vector<uint8_t> RemoteBoard::Save(Contents) {
    Refuse();
}
std::optional<std::string> RemoteBoard::Restore(std::span<const uint8_t>) {
    Refuse();
}

} // namespace host
