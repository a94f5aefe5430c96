// Captures: read, played, told in every way, and written again. An input: such a file.
#include "stream/board_state.h"
#include "stream/capture_assembler.h"
#include "stream/capture_writer.h"
#include "stream/dump.h"
#include "stream/error.h"
#include "stream/lint.h"
#include "stream/pixel_history.h"
#include "stream/player.h"
#include "stream/statistics.h"
#include "stream/trim.h"
#include "tests/fuzz/target.h"
#include "tests/fuzz/work_limit.h"

#include <optional>
#include <set>
#include <sstream>

namespace fuzz {

namespace {

constexpr uint32_t kMostBoardMemory = 128u << 10;
constexpr size_t kMostText = 1u << 20;

// What the text of a capture makes.
class Again final : public stream::EventSink {
  public:
    void OnBoard(const board::Config& board, const std::string& maker) override {
        writer_.emplace(out_, board, maker);
    }
    void OnEvent(const stream::Event& event) override { writer_->Put(event); }
    std::string Finish() {
        writer_->Finish();
        return out_.str();
    }

  private:
    std::ostringstream out_;
    std::optional<stream::CaptureWriter> writer_;
};

std::string TextOf(const std::string& capture) {
    std::istringstream in(capture);
    std::ostringstream out;
    stream::Dump(*stream::OpenSource(in), {}, out);
    return out.str();
}

// What its text makes has the same text.
void ThereAndBack(const std::string& capture) {
    const std::string text = TextOf(capture);
    if (text.size() > kMostText) {
        return;
    }
    Again again;
    std::string made;
    try {
        stream::CaptureAssembler assembler(again);
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            assembler.Line(line);
        }
        assembler.End();
        made = again.Finish();
    } catch (const stream::AssembleError& error) {
        Fail("line " + std::to_string(error.line) + " of its text: " + error.what());
    }
    Expect(TextOf(made) == text, "its text makes another capture");
}

// Plays it, and tells whether that was little work.
bool PlayAll(const std::string& capture) {
    std::istringstream in(capture);
    const auto source = stream::OpenSource(in);
    const board::Config& config = source->Board();
    if (config.frameBufferBytes > kMostBoardMemory || config.localBufferBytes > kMostBoardMemory) {
        return false;
    }
    stream::Player player(*source);
    DrawingLimit drawing(1u << 17);
    TickLimit ticks(1u << 18);
    player.Board().SetProbe(&drawing);
    player.Board().SetMonitor(&ticks);
    stream::Event event;
    while (player.Step(event)) {
    }
    return !drawing.Spent();
}

void LookAround(const std::string& capture) {
    const auto open = [&](auto look) {
        std::istringstream in(capture);
        const auto source = stream::OpenSource(in);
        look(*source);
    };
    open([](stream::Source& source) {
        std::ostringstream out;
        stream::DumpOptions options;
        options.summary = true;
        options.json = true;
        stream::Dump(source, options, out);
    });
    open([](stream::Source& source) {
        stream::Player player(source);
        stream::CountStream(player);
    });
    open([](stream::Source& source) {
        std::set<stream::Rule> rules;
        for (const stream::RuleRow& row : stream::Rules()) {
            rules.insert(row.rule);
        }
        stream::Player player(source);
        stream::Lint(player, rules);
    });
    open([](stream::Source& source) {
        stream::StateReader reader(source);
        reader.PlayTo({stream::Place::Kind::Word, 20, {}});
        reader.Read();
    });
    open([](stream::Source& source) {
        stream::Player player(source);
        stream::PixelHistory(player, "front", 3, 20).Run({}, {stream::Place::Kind::End, 0, {}});
    });
    // What is cut out plays. It takes as long as all else to pack what the part begins with.
    if (capture.size() % 8 != 0) {
        return;
    }
    std::string part;
    open([&](stream::Source& source) {
        stream::Player player(source);
        std::ostringstream out;
        stream::Trimmer(player, out, "fuzzer")
            .Write({{stream::Place::Kind::Event, 5, {}}, {stream::Place::Kind::End, 0, {}}});
        part = out.str();
    });
    PlayAll(part);
}

} // namespace

void RunCapture(Bytes bytes) {
    const std::string capture(bytes.begin(), bytes.end());
    try {
        ThereAndBack(capture);
        if (PlayAll(capture)) {
            LookAround(capture);
        }
    } catch (const stream::StreamError& error) {
        Expect(std::string_view(error.what()).find('\n') == std::string_view::npos,
               "a complaint of several lines");
    } catch (const OutOfWork&) {
    }
}

} // namespace fuzz
