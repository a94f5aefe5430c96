// What a recorder and a monitor are told.
#include "board/recorder.h"
#include "tests/board/rig.h"
#include "tests/support/bus_events.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(BusRecorder, IsToldOfEveryAccessAndEveryWord) {
    rig::Rig r;
    test::BusEvents kept;
    r.board.SetRecorder(&kept);
    const uint32_t words[] = {t::FogColor, 0x11};
    r.board.MapMemory(0x1000, words, sizeof words);
    r.board.Write(t::Mapped(t::Color), 0x22);
    r.board.Read(t::Mapped(t::Color));
    r.board.Write(t::FIFOWindow + 8, t::Color);
    r.board.Write(t::FIFOWindow, 0x33);
    r.board.WriteFifo(words, 2);
    r.board.Write(t::DMAAddress, 0x1000);
    r.board.Write(t::DMACount, 2);
    r.board.SetRecorder(nullptr);
    r.board.Read(t::Mapped(t::Color));
    EXPECT_EQ(kept.events, (std::vector<test::BusEvent>{{'w', t::Mapped(t::Color), 0x22},
                                                        {'r', t::Mapped(t::Color), 0x22},
                                                        {'f', 0, t::Color},
                                                        {'f', 0, 0x33},
                                                        {'f', 0, t::FogColor},
                                                        {'f', 0, 0x11},
                                                        {'w', t::DMAAddress, 0x1000},
                                                        {'w', t::DMACount, 2},
                                                        {'d', 0, t::FogColor},
                                                        {'d', 0, 0x11}}));
}

// Turns by letter: B before the board acts, A behind it, I and E an interrupt and its end, H the
// handler at work.
class KeptTurns final : public board::BusMonitor {
  public:
    void BeforeActing() override { turns += 'B'; }
    void AfterActing() override { turns += 'A'; }
    void OnInterrupt() override { turns += 'I'; }
    void OnInterruptEnd() override { turns += 'E'; }

    std::string turns;
};

TEST(BusMonitor, TheHandlersTurnEndsBeforeItsEndIsTold) {
    rig::Rig r;
    KeptTurns kept;
    r.board.SetInterruptHandler([&] { kept.turns += 'H'; });
    r.board.Write(t::IntEnable, 8);
    r.board.SetMonitor(&kept);
    r.board.Read(t::OutFIFOWord); // nothing there: an error
    EXPECT_EQ(kept.turns, "BIAHBEA");
}

} // namespace
