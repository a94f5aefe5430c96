#pragma once
// What is fuzzed: functions that hand any bytes to a part of this project as its users would.
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace fuzz {

using Bytes = std::span<const uint8_t>;

struct Target {
    std::string_view name; // of its folder in corpus/, too
    // Comes back whatever the bytes are, after a bounded number of steps, and does the same for the
    // same bytes. A fault ends the process.
    void (*run)(Bytes bytes);
};

std::span<const Target> Targets();
// Null for a name that no target has.
const Target* FindTarget(std::string_view name);

// Ends the process with a line: what must hold does not.
[[noreturn]] void Fail(const std::string& what);
inline void Expect(bool holds, const char* what) {
    if (!holds) {
        Fail(what);
    }
}

// A file in memory that is written anew for each input; its path lives as long as the process.
class MemoryFile {
  public:
    MemoryFile();
    // It holds these bytes and stands at their beginning.
    void Set(Bytes bytes);
    int Descriptor() const { return file_; }
    const std::string& Path() const { return path_; }

  private:
    int file_;
    std::string path_;
};

void RunBoardClient(Bytes bytes);
void RunBoardServer(Bytes bytes);
void RunCapture(Bytes bytes);
void RunDll(Bytes bytes);
void RunExecute(Bytes bytes);
void RunInterface(Bytes bytes);
void RunObj(Bytes bytes);
void RunPng(Bytes bytes);
void RunScript(Bytes bytes);
void RunSnapshot(Bytes bytes);
void RunText(Bytes bytes);
void RunWords(Bytes bytes);

} // namespace fuzz
