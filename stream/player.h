#pragma once
// Plays a stream on a bare board: no driver, no host.
#include "board/played_board.h"
#include "stream/checkpoint.h"
#include "stream/source.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace stream {

class Player {
  public:
    // The board is as it was when power came on; a state in the stream makes it another. `source`
    // stands at its start and must outlive the player.
    explicit Player(Source& source);
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    // The next event, which Play() has yet to play. False at the end.
    bool Next(Event& event);
    // StreamError for one that no board does here.
    void Play(const Event& event);
    // Both: the board has done what it tells. False at the end. StreamError for one
    // that no board does here.
    bool Step(Event& event);
    // Plays up to a place. False if the stream ends before.
    bool PlayTo(const Place& place);

    board::PlayedBoard& Board() { return *board_; }
    Source& From() { return source_; }
    // Memory of the machine that the chip can read, by bus address.
    const std::map<uint32_t, std::vector<uint8_t>>& HostMemory() const { return host_; }

    // All that it is here, behind an event, so that it can come back. Memory that `before` has too
    // is shared with it; null: none.
    Checkpoint Keep(const Checkpoint* before);
    // Comes back to a place of the same stream: what follows is played as it was the first time.
    // StreamError if the source cannot be brought there.
    void Return(const Checkpoint& checkpoint);

    // What the register read last gave here.
    uint32_t LatestRead() const { return latestRead_; }

    // A register read other than it did when the stream was recorded, or the like: the board here
    // is not the one there.
    using Difference = PlayedDifference;
    // The first ones, and how many there were in all.
    const std::vector<Difference>& Differences() const { return differences_; }
    uint64_t DifferenceCount() const { return differenceCount_; }
    static constexpr size_t kDifferencesKept = 100;

  private:
    class RecordedVideo;

    void PassTime(uint64_t microseconds);
    void PlayStore(const Event& event);
    void PlayDmaWord(const Event& event);
    void Differ(std::string what);
    Source& source_;
    std::unique_ptr<board::PlayedBoard> board_;
    std::unique_ptr<RecordedVideo> video_;
    std::map<uint32_t, std::vector<uint8_t>> host_; // memory of the machine, by bus address
    Position at_;                                   // of the event being played
    bool plugged_ = false;                          // into the video port
    uint64_t linesPerSecond_ = 0, videoLines_ = 0;  // of what is plugged in; that have passed
    uint32_t latestRead_ = 0;
    std::vector<Difference> differences_;
    uint64_t differenceCount_ = 0;
};

} // namespace stream
