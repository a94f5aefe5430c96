// Event text, statements and the text of captures. An input: such a text.
#include "stream/capture_assembler.h"
#include "stream/error.h"
#include "stream/place.h"
#include "tests/fuzz/target.h"

#include <sstream>

namespace fuzz {

namespace {

class Counter final : public stream::EventSink {
  public:
    void OnBoard(const board::Config&, const std::string&) override { ++events; }
    void OnEvent(const stream::Event&) override { ++events; }
    uint64_t events = 0;
};

} // namespace

void RunText(Bytes bytes) {
    const std::string text(bytes.begin(), bytes.end());
    Counter counter;
    stream::CaptureAssembler assembler(counter, static_cast<ChipModel>(bytes.size() % 5));
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        try {
            assembler.Line(line);
        } catch (const stream::AssembleError& error) {
            Expect(error.line != 0 && error.column != 0 && error.column <= line.size() + 1,
                   "a complaint about no place");
            Expect(std::string_view(error.what()).find('\n') == std::string_view::npos,
                   "a complaint of several lines");
        }
        try {
            stream::ParsePlace(line);
        } catch (const stream::StreamError&) {
        }
    }
    try {
        assembler.End();
    } catch (const stream::AssembleError&) {
    }
}

} // namespace fuzz
