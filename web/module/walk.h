#pragma once
// A player that goes back as well as forth: from the nearest of the checkpoints that it leaves on
// its way. These are kept within an amount of memory.
#include "stream/board_state.h"
#include "stream/player.h"
#include "tools/korv/commands/cli/stream_pictures.h"
#include "web/module/stream_bytes.h"

#include <array>
#include <map>

namespace web {

class Walk {
  public:
    // Stands at the start of `stream`, which has about so many events. `stream` outlives it.
    Walk(const StreamBytes& stream, uint64_t events);

    // Goes to a place. StreamError if it is not there, or if the stream is damaged before it: then
    // this stands where it went as far as it could.
    void Go(const stream::Place& place);
    // Comes to where it stands anew, by way of `from`: the probe is told of all that is drawn
    // between. StreamError if `from` lies behind.
    void Watch(const stream::Place& from, board::PixelProbe& probe);

    const stream::Position& At() const { return opened_.source->At(); }
    stream::Player& Player() { return player_; }
    korv::StreamPictures& Pictures() { return pictures_; }
    stream::BoardState State() { return ReadState(player_, writers_); }
    // A thing of this kind begins here: nothing has happened since its mark.
    bool Begins(stream::MarkKind kind) const;

    // Checkpoints, and the bytes that their memories take.
    size_t Checkpoints() const { return kept_.size(); }
    size_t CheckpointBytes() const { return keptBytes_; }
    static constexpr size_t kMostBytes = 96u << 20;

  private:
    static constexpr size_t kCheckpoints = 32; // on the way from one end to the other

    struct Kept {
        stream::Checkpoint checkpoint;
        stream::Surfaces surfaces;
        stream::WriterLog writers;
        std::map<stream::MarkKind, uint64_t> begun;
    };
    // Plays up to a place, or to where it stood, if that is given.
    void Run(const stream::Place& place, const stream::Position* end = nullptr);
    void KeepHere();
    void Return(const Kept& kept);
    // The last one that lies before the place.
    const Kept& Before(const stream::Place& place) const;

    const StreamBytes& stream_;
    OpenedStream opened_;
    stream::Player player_;
    korv::StreamPictures pictures_;
    stream::WriterLog writers_;
    std::map<stream::MarkKind, uint64_t> begun_; // events before the latest mark of each kind
    std::map<uint64_t, Kept> kept_;              // by events before them
    uint64_t interval_;                          // events between two of them
    size_t keptBytes_ = 0;
    bool lost_ = false; // the stream is damaged here
    bool watching_ = false;
};

} // namespace web
