#pragma once
// Cuts a part out of a stream: a capture that plays alone, because it begins with what the board
// holds there.
#include "stream/capture_writer.h"
#include "stream/live_marks.h"
#include "stream/player.h"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace stream {

struct TrimmedPart {
    Position from, to; // in the stream
};

class Trimmer {
  public:
    // Plays the player's stream on from where it stands, its start. `player` and `out`, which is
    // open in binary mode, must outlive the trimmer; `maker` names the program.
    Trimmer(Player& player, std::ostream& out, std::string maker)
        : player_(player), out_(out), maker_(std::move(maker)) {}

    // A mark that holds from the start, of a stream that has none.
    void Hold(const Mark& mark) { live_.Follow(mark); }

    // Writes the part. A range of calls goes on until the words of the last one have gone to the
    // chip: the source is read twice and must be able to go back. StreamError if the stream has no
    // such part.
    TrimmedPart Write(const PlaceRange& range);

  private:
    uint64_t ItemsToEndOfCalls(const PlaceRange& range);
    bool Pass(Event& event);
    void CheckLast(const Place& to) const;
    void Begin();
    void Copy(const Event& event);
    void CopyMark(Mark mark);

    Player& player_;
    std::ostream& out_;
    const std::string maker_;
    LiveMarks live_;
    std::optional<CaptureWriter> writer_;
    Position from_;
    uint64_t items_ = 0;     // events and marks that have been played
    uint64_t openCalls_ = 0; // of the part
    // Lines of video that the board has yet to take, and what sends them.
    struct Line {
        uint64_t field;
        uint32_t line;
        std::vector<uint16_t> pixels;
    };
    std::vector<Line> lines_;
    std::optional<board::VideoSignal> signal_;
};

} // namespace stream
