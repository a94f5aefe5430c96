// The cases of the conformance kit: what they are, what our board makes of them, and that wrong
// boards are found by them.
#include "board/breaks.h"
#include "stream/player.h"
#include "tools/korv/conform/generator.h"
#include "tools/korv/conform/kit.h"
#include "tools/korv/conform/own_board.h"
#include "tools/korv/conform/verdict.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <sstream>

namespace korv::conform {
namespace {

const std::vector<Case>& Kit() {
    static const std::vector<Case> cases = AllCases();
    return cases;
}

const Case& CaseOf(const std::string& id) {
    const auto found = std::ranges::find(Kit(), id, &Case::id);
    EXPECT_NE(found, Kit().end()) << id;
    return found == Kit().end() ? Kit().front() : *found;
}

Outcome Done(const Case& one) {
    OwnBoard board;
    return board.Run(one, one.steps.size());
}

// The memories as the case's fills leave them.
Outcome Filled(const Case& one) {
    Outcome filled;
    filled.frameBuffer.resize(one.config.frameBufferBytes);
    filled.localBuffer.resize(one.config.localBufferBytes);
    for (const Step& step : one.steps) {
        if (step.kind == stream::EventKind::Store && step.memory != stream::Memory::Host) {
            std::ranges::copy(step.bytes, filled.Of(step.memory).begin() + step.offset);
        }
    }
    return filled;
}

TEST(ConformanceKit, HasManyCasesOfEveryUnit) {
    std::map<std::string, int> units;
    for (const Case& one : Kit()) {
        ++units[one.unit];
        EXPECT_FALSE(one.known.empty() && one.deduced.empty()) << one.id;
    }
    EXPECT_GE(Kit().size(), 600u);
    for (const char* unit : {"rasteriser",    "edges",        "scissor-stipple",
                             "colour",        "fog",          "depth",
                             "alpha-test",    "blend",        "logic-op",
                             "dither",        "write-masks",  "block-fill",
                             "texel-formats", "texel-colour", "texel-address",
                             "filters",       "keys",         "copies",
                             "stretch",       "local-buffer", "setup",
                             "downloads",     "yuv",          "pick",
                             "sync",          "dma",          "beam"}) {
        EXPECT_GE(units[unit], 10) << unit;
    }
    EXPECT_EQ(units.size(), 27u);
}

// What may deviate was deduced: nothing is left open that is only known.
TEST(ConformanceKit, ToleratesOnlyWhatIsDeduced) {
    for (const Case& one : Kit()) {
        for (const PictureArea& picture : one.pictures) {
            EXPECT_TRUE((picture.limit == 0 && picture.pixels == 0) || !one.deduced.empty())
                << one.id;
        }
    }
}

// Captures and results are those of the list, which another run has made.
TEST(ConformanceKit, MakesTheSameBytesEachTime) {
    const auto list = GoldenList();
    EXPECT_EQ(list.size(), Kit().size());
    for (const Case& one : Kit()) {
        const auto found = list.find(one.id);
        ASSERT_NE(found, list.end()) << one.id;
        EXPECT_EQ(GoldenLine(one.id, GoldenOf(one)), GoldenLine(one.id, found->second));
    }
}

// A capture is the case, memories and all, for whoever plays captures.
TEST(ConformanceKit, CapturesPlayToTheSameMemories) {
    for (size_t i = 0; i < Kit().size(); i += 7) {
        const Case& one = Kit()[i];
        std::stringstream capture;
        const Outcome outcome = OwnBoard().Record(one, capture);
        const auto source = stream::OpenSource(capture);
        stream::Player player(*source);
        stream::Event event;
        while (player.Step(event)) {
        }
        EXPECT_EQ(player.DifferenceCount(), 0u) << one.id;
        EXPECT_TRUE(std::ranges::equal(player.Board().FrameBuffer(), outcome.frameBuffer))
            << one.id;
        EXPECT_TRUE(std::ranges::equal(player.Board().LocalBuffer(), outcome.localBuffer))
            << one.id;
    }
}

TEST(ConformanceKit, EachCaseDoesSomethingAndNothingIsWrongOnTheBoard) {
    for (const Case& one : Kit()) {
        const Outcome before = Filled(one), after = Done(one);
        EXPECT_TRUE(before.frameBuffer != after.frameBuffer ||
                    before.localBuffer != after.localBuffer ||
                    std::ranges::any_of(after.reads, [](uint32_t value) { return value != 0; }))
            << one.id;
        EXPECT_EQ(after.faults, one.name == "malformed" ? "1 malformed tag words\n" : "") << one.id;
    }
}

TEST(ConformanceKit, EachBreakIsSeenByItsUnitsAlone) {
    std::vector<Outcome> right;
    for (const Case& one : Kit()) {
        right.push_back(Done(one));
    }
    EXPECT_GE(board::Breaks().size(), 30u);
    for (const board::BreakRow& row : board::Breaks()) {
        OwnBoard wrong(row.what);
        std::set<std::string> seen;
        for (size_t i = 0; i < Kit().size(); ++i) {
            const Case& one = Kit()[i];
            if (Judge(one, right[i], wrong.Run(one, one.steps.size())).first) {
                seen.insert(one.unit);
            }
        }
        const std::vector<std::string> units = WordsOf(row.units);
        EXPECT_EQ(seen, std::set<std::string>(units.begin(), units.end())) << row.name;
    }
}

// --- Second computations ---

uint32_t Pixel(const Outcome& outcome, int x, int y) {
    uint32_t pixel = 0;
    std::memcpy(&pixel, outcome.frameBuffer.data() + (y * 32 + x) * 4, 4);
    return pixel;
}

const char* const kFiveChips[] = {"sx", "tx", "mx", "permedia", "permedia2"};

TEST(ConformanceKit, FillsAreTheRectanglesThatTheyName) {
    for (const std::string chip : kFiveChips) {
        const Outcome plain = Done(CaseOf("rasteriser/upright-inside@" + chip));
        const Outcome block = Done(CaseOf("block-fill/words-0x12345678-odd@" + chip));
        for (int y = 0; y < 32; ++y) {
            for (int x = 0; x < 32; ++x) {
                const bool inside = x >= 4 && x < 28 && y >= 5 && y < 25;
                const bool corner = x < 4 && y < 4;
                EXPECT_EQ(Pixel(plain, x, y), inside ? 0xFFFF8040 : corner ? 0xFFFFFFFF : 0);
                EXPECT_EQ(Pixel(block, x, y),
                          x >= 3 && x < 29 && y >= 4 && y < 28 ? 0x12345678u : 0u);
            }
        }
    }
}

TEST(ConformanceKit, CopiesMoveTheirSource) {
    for (const std::string chip : kFiveChips) {
        const Case& copy = CaseOf("copies/plain-32-odd@" + chip);
        const Outcome before = Filled(copy), after = Done(copy);
        const Case& overlap = CaseOf("copies/backward-left@" + chip);
        const Outcome whole = Filled(overlap), moved = Done(overlap);
        for (int y = 0; y < 32; ++y) {
            for (int x = 0; x < 32; ++x) {
                const bool inside = x >= 3 && x < 22 && y >= 5 && y < 25;
                EXPECT_EQ(Pixel(after, x, y), inside ? Pixel(before, x, y + 32) : 0);
                const bool shifted = x >= 6 && x < 30 && y >= 8 && y < 28;
                EXPECT_EQ(Pixel(moved, x, y),
                          shifted ? Pixel(whole, x - 5, y) : Pixel(whole, x, y));
            }
        }
    }
}

// The bits of the code are the operation's truth table: of source 1 and dest 1, 1 and 0, 0 and 1,
// 0 and 0.
TEST(ConformanceKit, LogicalOperationsAreTheirTruthTables) {
    const char* const names[] = {"clear",        "and",         "andreverse", "copy",
                                 "andinverted",  "nooperation", "xor",        "or",
                                 "nor",          "equivalent",  "invert",     "orreverse",
                                 "copyinverted", "orinverted",  "nand",       "set"};
    for (uint32_t code = 0; code < 16; ++code) {
        const Case& one = CaseOf(std::string("logic-op/operation-") + names[code] + "@tx");
        const Outcome before = Filled(one), after = Done(one);
        for (int y = 4; y < 28; ++y) {
            for (int x = 4; x < 28; ++x) {
                const uint32_t source = 0x99F0CCAA, dest = Pixel(before, x, y);
                uint32_t expected = 0;
                for (int bit = 0; bit < 32; ++bit) {
                    const uint32_t s = source >> bit & 1, d = dest >> bit & 1;
                    const uint32_t row = s != 0 ? (d != 0 ? 0 : 1) : (d != 0 ? 2 : 3);
                    expected |= (code >> row & 1) << bit;
                }
                ASSERT_EQ(Pixel(after, x, y), expected) << names[code];
            }
        }
    }
}

TEST(ConformanceKit, DepthsCompareAsTheirNamesSay) {
    struct Row {
        const char* name;
        bool nearer, same, farther;
    };
    for (const Row& row : {Row{"never", false, false, false},
                           {"less", true, false, false},
                           {"equal", false, true, false},
                           {"lessequal", true, true, false},
                           {"greater", false, false, true},
                           {"notequal", true, false, true},
                           {"greaterequal", false, true, true},
                           {"always", true, true, true}}) {
        for (const std::string chip : kFiveChips) {
            const Outcome after =
                Done(CaseOf(std::string("depth/compare-") + row.name + "@" + chip));
            EXPECT_EQ(Pixel(after, 5, 10) == 0xFFFF0000, row.nearer) << row.name << chip;
            EXPECT_EQ(Pixel(after, 15, 10) == 0xFF00FF00, row.same) << row.name << chip;
            EXPECT_EQ(Pixel(after, 25, 10) == 0xFF0000FF, row.farther) << row.name << chip;
            EXPECT_EQ(Pixel(after, 1, 1), 0xFF400000);
        }
    }
}

// Twice the area of a, b and p: positive inside, for corners that go clockwise on the screen.
double Side(double ax, double ay, double bx, double by, double px, double py) {
    return (bx - ax) * (py - ay) - (by - ay) * (px - ax);
}

TEST(ConformanceKit, FlatTrianglesCoverTheCentresInside) {
    const double corners[3][2] = {{4.25, 3.25}, {27.75, 9.5}, {11.5, 29.75}};
    for (const std::string chip :
         {"permedia2", "sx-delta", "tx-delta", "mx-delta", "permedia-delta"}) {
        for (const std::string order : {"abc", "bca", "cab", "acb"}) {
            const Outcome after = Done(CaseOf("setup/orders-" + order + "@" + chip));
            for (int y = 0; y < 32; ++y) {
                for (int x = 0; x < 32; ++x) {
                    bool inside = true;
                    for (int i = 0; i < 3; ++i) {
                        const auto& a = corners[i];
                        const auto& b = corners[(i + 1) % 3];
                        const double side = Side(a[0], a[1], b[0], b[1], x + 0.5, y + 0.5);
                        EXPECT_NE(side, 0) << "no centre lies on an edge here";
                        inside = inside && side > 0;
                    }
                    EXPECT_EQ(Pixel(after, x, y), inside ? 0xFF40C0FFu : 0u)
                        << chip << ' ' << order << ' ' << x << ", " << y;
                }
            }
        }
    }
}

// Both halves of a square together are the square.
TEST(ConformanceKit, HalvesOfASquareShareNoPixelAndLeaveNone) {
    for (const std::string chip : kFiveChips) {
        const Outcome after = Done(CaseOf("edges/diagonal-on-centres-left@" + chip));
        for (int y = 4; y < 28; ++y) {
            for (int x = 4; x < 28; ++x) {
                EXPECT_EQ(Pixel(after, x, y), x >= y ? 0xFFFFC000u : 0xFF00C0FFu);
            }
        }
    }
}

// --- Verdicts ---

Case WithPicture(uint32_t limit, uint32_t pixels) {
    Case one;
    one.pictures.push_back(
        {"colour", stream::Memory::FrameBuffer, 0, 16, 4, 2, PixelForm::Argb8888, limit, pixels});
    one.steps.push_back({stream::EventKind::Read, {}, 0x10, 0, {}});
    return one;
}

Outcome Zeroes() {
    Outcome outcome;
    outcome.frameBuffer.resize(64);
    outcome.reads = {7};
    return outcome;
}

TEST(ConformanceVerdict, AllowsWhatTheCaseAllows) {
    const Outcome expected = Zeroes();
    Outcome found = expected;
    found.frameBuffer[4] = 2; // blue of pixel 1, 0
    EXPECT_TRUE(Judge(WithPicture(0, 0), expected, found).first);
    EXPECT_TRUE(Judge(WithPicture(1, 0), expected, found).first);
    EXPECT_FALSE(Judge(WithPicture(2, 0), expected, found).first);
    EXPECT_FALSE(Judge(WithPicture(0, 1), expected, found).first);
    found.frameBuffer[16] = 200; // of pixel 0, 1
    EXPECT_TRUE(Judge(WithPicture(2, 0), expected, found).first);
    EXPECT_FALSE(Judge(WithPicture(2, 1), expected, found).first);
    EXPECT_TRUE(Judge(WithPicture(0, 1), expected, found).first);
}

TEST(ConformanceVerdict, NamesTheFirstThingThatIsWrong) {
    const Outcome expected = Zeroes();
    Outcome found = expected;
    found.frameBuffer[24] = 0x12;
    EXPECT_EQ(Judge(WithPicture(0, 0), expected, found).first->Text(),
              "pixel 2, 1 of colour is 00000012, expected 00000000");
    found = expected;
    found.frameBuffer[40] = 0x12; // behind the picture
    EXPECT_EQ(Judge(WithPicture(255, 8), expected, found).first->Text(),
              "byte 40 of the frame buffer is 12, expected 00");
    found = expected;
    found.reads = {8};
    EXPECT_EQ(Judge(WithPicture(0, 0), expected, found).first->Text(),
              "IntFlags reads 00000008, expected 00000007 (read 0)");
    found = expected;
    found.interrupts = 1;
    EXPECT_EQ(Judge(WithPicture(0, 0), expected, found).first->Text(),
              "the interrupt handler was called 1 times, expected 0");
}

// --- Descriptions ---

std::vector<Case> Made(const std::string& text) {
    const std::vector<Description> all{ParseDescription("a.txt", text)};
    return MakeCases(all);
}

std::string Problem(const std::string& text) {
    try {
        Made(text);
    } catch (const DescriptionError& error) {
        return error.what();
    }
    return "";
}

TEST(ConformanceDescriptions, MakeACaseForEachChipAndVariant) {
    const std::vector<Case> cases =
        Made("unit u ; a comment\n"
             "macro both $A $B\n  FBSourceOffset = $A\n  @glint Depth = $B\n"
             "end\n"
             "case c\n  chips tx permedias\n  known So.\n"
             "  for $X in 1, -2, three: 3\n"
             "  @tx for $Y $Z in one: 4 5, 6 7\n"
             "  both $X 9\n"
             "  @permedia2 Depth = 1\nend\n");
    std::vector<std::string> ids;
    for (const Case& one : cases) {
        ids.push_back(one.id);
    }
    EXPECT_THAT(ids, testing::ElementsAre(
                         "u/c-1-one@tx", "u/c-1-6-7@tx", "u/c-minus-2-one@tx", "u/c-minus-2-6-7@tx",
                         "u/c-three-one@tx", "u/c-three-6-7@tx", "u/c-1@permedia",
                         "u/c-minus-2@permedia", "u/c-three@permedia", "u/c-1@permedia2",
                         "u/c-minus-2@permedia2", "u/c-three@permedia2"));
}

TEST(ConformanceDescriptions, SayWhereTheyAreWrong) {
    const std::string head = "unit u\ncase c\n  chips tx\n  known So.\n";
    EXPECT_EQ(Problem("unit u\nfrog\n"),
              "a.txt:2: 'frog' stands outside: expected unit, about, macro or case");
    EXPECT_EQ(Problem("unit u\ncase c\n  chips tx\n"), "a.txt:2: what begins here has no 'end'");
    EXPECT_EQ(Problem("unit u\ncase c\n  chips tx\nend\n"),
              "a.txt:2: 'c' tells neither what is known nor what is deduced");
    EXPECT_EQ(Problem("unit u\ncase c\n  chips tz\n  known So.\nend\n"),
              "a.txt:2: 'tz' is no chip");
    EXPECT_EQ(Problem(head + "  FogColour = 1\nend\n").substr(0, 32),
              "a.txt:5: 'FogColour = 1': unknow");
    EXPECT_EQ(Problem(head + "  FogColor = $X\nend\n"),
              "a.txt:5: nothing is called '$X' here (in 'u/c@tx')");
    EXPECT_EQ(Problem(head + "  fill frame 0 noise 20000 1\nend\n"),
              "a.txt:2: a fill ends outside its memory (in 'u/c@tx')");
    EXPECT_EQ(Problem(head + "  within colour 1 1\nend\n"),
              "a.txt:5: there is no picture 'colour' yet (in 'u/c@tx')");
    EXPECT_EQ(Problem(head + "end\n" + head.substr(7) + "end\n"),
              "a.txt:6: there are two of 'u/c@tx'");
}

} // namespace
} // namespace korv::conform
