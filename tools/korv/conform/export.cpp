#include "tools/korv/conform/export.h"

#include "board/values/register_names.h"
#include "stream/explain.h"
#include "tools/korv/base/files.h"
#include "tools/korv/conform/case_json.h"
#include "tools/korv/conform/kit.h"
#include "tools/korv/conform/own_board.h"
#include "tools/korv/conform/pictures.h"
#include "tools/korv/images/png.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <sstream>

namespace korv::conform {

namespace {

using stream::EventKind;
using stream::Memory;

constexpr const char* kReadMe =
    R"(# Conformance cases of KORV32's boards

Each folder UNIT/NAME@CHIP holds a case: what is done to a graphics board, as power leaves it, and what it must have
made of that. cases.json lists all of them. These files need no code of KORV32's. All numbers in binary files are
little-endian.

| file | |
|---|---|
| case.json | chip, sizes of the memories, pictures, what is read, and why: "known" is what a driver depends on, "deduced" what one board model made of it |
| program.txt | what is done, one step a line, below |
| words.bin | the words of the command stream alone, 32 bits each, in their order |
| frame-before.bin, local-before.bin | the frame buffer and the local buffer with all fills of the program, had they come first; left out where all is 0 |
| frame-after.bin, local-after.bin | the same at the end; local-after.bin is left out where there is no local buffer |
| PICTURE.png | a picture of the end, for people |
| case.korv | the same as a capture, for `korv play` and the like |

A line of program.txt, numbers in hex without prefix where nothing else is said:

| line | step |
|---|---|
| `w OFFSET VALUE ; ...` | the processor writes a register of the aperture |
| `r OFFSET VALUE ; ...` | it reads one, and must get this value |
| `f WORD ; ...` | a word of the command stream, written into the FIFO window |
| `ticks N` | so many accesses' worth of time passes (decimal) |
| `clock N` | so many microseconds pass (decimal) |
| `host ADDRESS N` | the board can read N bytes (decimal) of the machine's memory at this bus address, zeroes so far |
| `fill MEMORY OFFSET N` | N bytes (decimal) are stored into `frame`, `local` or `host` (then OFFSET is a bus address); they follow |
| `. HEX` | bytes of the fill before, at most 32 a line |

What stands behind `;` is a comment. When the last step is done the board is left alone until it is idle. A board passes if

- each read gave its value,
- the interrupt handler was called as often as `interrupts` in case.json says,
- every byte outside of the pictures is as in the files,
- in each picture no more than `pixelsMayDiffer` pixels differ by more than `channelsMayDifferBy` in a channel, counted in the
  steps of the picture's form. Both are 0 for most.

Forms of pictures: 8888 (alpha in the top byte, then red, green, blue), 888, 565, 1555, 4444, 332, 1232 likewise from the top;
index8; depth16 and depth32, one number.
)";

std::span<const std::byte> Bytes(std::string_view text) {
    return std::as_bytes(std::span(text.data(), text.size()));
}

class Program {
  public:
    explicit Program(const Case& one, const Outcome& outcome) : explainer_(one.config.chip) {
        size_t read = 0;
        for (const Step& step : one.steps) {
            Add(step, step.kind == EventKind::Read ? outcome.reads[read++] : step.value);
        }
    }

    const std::string& Text() const { return text_; }
    const std::vector<uint32_t>& Words() const { return words_; }

  private:
    void Add(const Step& step, uint32_t value) {
        switch (step.kind) {
        case EventKind::FifoWord:
            words_.push_back(value);
            text_ += fmt::format("f {:08X} ; {}\n", value, explainer_.Explain(value));
            break;
        case EventKind::Write:
        case EventKind::Read: {
            const bool write = step.kind == EventKind::Write;
            if (write) {
                explainer_.OnWrite(step.offset, value);
            }
            std::string meaning;
            explainer_.AppendAccess(meaning, step.offset, value);
            text_ += fmt::format("{} {:04X} {:08X} ; {}{}{}\n", write ? 'w' : 'r', step.offset,
                                 value, board::OffsetName(step.offset),
                                 meaning.empty() || meaning.starts_with(' ') ? "" : " ", meaning);
            break;
        }
        case EventKind::Ticks:
            text_ += fmt::format("ticks {}\n", value);
            break;
        case EventKind::Clock:
            text_ += fmt::format("clock {}\n", value);
            break;
        case EventKind::HostMemory:
            text_ += fmt::format("host {:08X} {}\n", step.offset, value);
            break;
        default:
            AddFill(step);
            break;
        }
    }

    void AddFill(const Step& step) {
        constexpr size_t kLine = 32;
        const char* memory = step.memory == Memory::FrameBuffer   ? "frame"
                             : step.memory == Memory::LocalBuffer ? "local"
                                                                  : "host";
        text_ += fmt::format("fill {} {:X} {}\n", memory, step.offset, step.bytes.size());
        for (size_t at = 0; at < step.bytes.size(); at += kLine) {
            const auto line =
                std::span(step.bytes).subspan(at, std::min(kLine, step.bytes.size() - at));
            text_ += fmt::format(". {:02X}\n", fmt::join(line, ""));
        }
    }

    stream::Explainer explainer_;
    std::string text_;
    std::vector<uint32_t> words_;
};

// The memories behind the fills that stand before everything else has begun.
Outcome Before(const Case& one) {
    Outcome before;
    before.frameBuffer.resize(one.config.frameBufferBytes);
    before.localBuffer.resize(one.config.localBufferBytes);
    for (const Step& step : one.steps) {
        if (step.kind == EventKind::Store && step.memory != Memory::Host) {
            std::ranges::copy(step.bytes, before.Of(step.memory).begin() + step.offset);
        }
    }
    return before;
}

void WriteMemory(const std::filesystem::path& path, const std::vector<uint8_t>& memory,
                 bool evenZero) {
    if (!memory.empty() &&
        (evenZero || std::ranges::any_of(memory, [](uint8_t byte) { return byte != 0; }))) {
        WriteFile(path, std::as_bytes(std::span(memory)));
    }
}

void WriteCase(const Case& one, const std::filesystem::path& folder) {
    std::ostringstream capture;
    const Outcome outcome = OwnBoard().Record(one, capture);
    const Outcome before = Before(one);
    const Program program(one, outcome);
    MakeFolder(folder);
    nlohmann::ordered_json json = CaseJson(one);
    json["interrupts"] = outcome.interrupts;
    WriteFile(folder / "case.json", Bytes(json.dump(2) + "\n"));
    WriteFile(folder / "program.txt", Bytes(program.Text()));
    WriteFile(folder / "words.bin", std::as_bytes(std::span(program.Words())));
    WriteMemory(folder / "frame-before.bin", before.frameBuffer, false);
    WriteMemory(folder / "local-before.bin", before.localBuffer, false);
    WriteMemory(folder / "frame-after.bin", outcome.frameBuffer, true);
    WriteMemory(folder / "local-after.bin", outcome.localBuffer, true);
    for (const PictureArea& area : one.pictures) {
        WritePng(folder / (area.name + ".png"), PictureOf(area, outcome));
    }
    WriteFile(folder / "case.korv", Bytes(capture.str()));
}

} // namespace

void Export(std::span<const Case> cases, const std::filesystem::path& folder) {
    MakeFolder(folder);
    nlohmann::ordered_json list{{"kit", kKitVersion}, {"cases", nlohmann::ordered_json::array()}};
    for (const Case& one : cases) {
        WriteCase(one, folder / one.unit / (one.name + "@" + one.chip));
        list["cases"].push_back(BriefJson(one));
    }
    WriteFile(folder / "cases.json", Bytes(list.dump(2) + "\n"));
    WriteFile(folder / "README.md", Bytes(kReadMe));
}

} // namespace korv::conform
