// Event text to events: raw lines, statements, and what is wrong with others.
#include "chip/words.h"
#include "stream/assemble.h"
#include "stream/events.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <sstream>

namespace stream {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// Events as they came, in the raw form of event text.
class Log : public board::BusRecorder {
  public:
    void OnRead(uint32_t offset, uint32_t value) override { Add("r", offset, value); }
    void OnWrite(uint32_t offset, uint32_t value) override { Add("w", offset, value); }
    void OnFifoWord(uint32_t word) override { Add("f", word); }
    void OnDmaWord(uint32_t word) override { Add("d", word); }
    std::vector<std::string> lines;

  private:
    template <typename... Numbers>
    void Add(const char* kind, Numbers... numbers) {
        std::ostringstream line;
        line << kind << std::hex << std::uppercase;
        ((line << ' ' << numbers), ...);
        lines.push_back(line.str());
    }
};

std::vector<std::string> Assembled(const std::string& text, std::optional<ChipModel> chip = {}) {
    Log log;
    Assembler assembler(log, chip);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        assembler.Line(line);
    }
    return log.lines;
}

// "LINE:COLUMN: problem" of the first line that is wrong, with what names would do.
std::string Problem(const std::string& text, size_t* candidates = nullptr) {
    try {
        Assembled(text);
    } catch (const AssembleError& error) {
        if (candidates != nullptr) {
            *candidates = error.candidates.size();
        }
        return std::to_string(error.line) + ":" + std::to_string(error.column) + ": " +
               error.what();
    }
    return "nothing";
}

TEST(Assemble, TakesRawLinesAsTheyAreRecorded) {
    EXPECT_THAT(Assembled("; a comment\n"
                          "\n"
                          "w 0028 00001000 DMAAddress ; 0x1000 bytes\n"
                          "d 000100FE ; Color x2\n"
                          "d 5\n"
                          "  d\t00000006 ; Color = 6\r\n"
                          "r 2004 00000000 FIFOWindow+4\n"
                          "w 5700 1 offset 5700\n"
                          "w 9D58 1 tag 3AB\n"
                          "f 00000400 ; malformed\n"),
                ElementsAre("w 28 1000", "d 100FE", "d 5", "d 6", "r 2004 0", "w 5700 1",
                            "w 9D58 1", "f 400"));
}

TEST(Assemble, NamesMakePairs) {
    EXPECT_THAT(Assembled("Render Primitive=Trapezoid SubPixelCorrection=1"),
                ElementsAre("f 7", "f 10040"));
    EXPECT_THAT(Assembled("Render Primitive=1 SubPixelCorrection=1"),
                ElementsAre("f 7", "f 10040"));
    EXPECT_THAT(Assembled("d dXDom = 0.5"), ElementsAre("d 1", "d 8000"));
    EXPECT_THAT(Assembled("dXDom=-0.5"), ElementsAre("f 1", "f FFFF8000"));
    EXPECT_THAT(Assembled("dXDom = 0x12345678"), ElementsAre("f 1", "f 12345678"));
    EXPECT_THAT(Assembled("V1Float+9 = 1"), ElementsAre("f 249", "f 3F800000"));
    EXPECT_THAT(Assembled("V1Fixed+10 = -1.5"), ElementsAre("f 21A", "f FFFE8000"));
    EXPECT_THAT(Assembled("tag 3AB = 0xFF"), ElementsAre("f 3AB", "f FF"));
    EXPECT_THAT(Assembled("FBWindowBase = 0x9600 pixels"), ElementsAre("f 156", "f 9600"));
    EXPECT_THAT(Assembled("FBWindowBase = 640"), ElementsAre("f 156", "f 280"));
    EXPECT_THAT(Assembled("DepthMode = 0"), ElementsAre("f 134", "f 0"));
    EXPECT_THAT(Assembled("DepthMode = 0x33 Compare=Never"), ElementsAre("f 134", "f 3"));
    EXPECT_THAT(Assembled("DepthMode rest=0x80000000 Enable=1"),
                ElementsAre("f 134", "f 80000001"));
    EXPECT_THAT(Assembled("ScissorMinXY X=-1 Y=2"), ElementsAre("f 31", "f 2FFFF"));
    EXPECT_THAT(Assembled("DrawTriangle Primitive=Trapezoid"), ElementsAre("f 261", "f 40"));
    EXPECT_THAT(Assembled("FBReadPixel = 24bit"), ElementsAre("f 15A", "f 4"));
}

TEST(Assemble, NamesMakeAccesses) {
    EXPECT_THAT(Assembled("w IntEnable DMA=1 Retrace=1"), ElementsAre("w 8 11"));
    EXPECT_THAT(Assembled("r DMACount = 3 words"), ElementsAre("r 30 3"));
    EXPECT_THAT(Assembled("w DepthMode Enable=1"), ElementsAre("w 89A0 1"));
    EXPECT_THAT(Assembled("w offset 5700 = 0x1"), ElementsAre("w 5700 1"));
    EXPECT_THAT(Assembled("r FIFOWindow+4 = 0x188"), ElementsAre("r 2004 188"));
}

TEST(Assemble, NamesMakeTagWordsAndBursts) {
    EXPECT_THAT(Assembled("FogMode"), ElementsAre("f D2"));
    EXPECT_THAT(Assembled("Color x64"), ElementsAre("f 3F00FE"));
    EXPECT_THAT(Assembled("{StartXSub, dXSub}"), ElementsAre("f C8000"));
    EXPECT_THAT(Assembled("{ContinueNewSub}"), ElementsAre("f 4008000"));
    EXPECT_THAT(Assembled("Color = #000000FF, #FFFFFFFF"),
                ElementsAre("f 100FE", "f FF000000", "f FFFFFFFF"));
    EXPECT_THAT(Assembled("d {StartY, dY, Count} = 10, -1, 200"),
                ElementsAre("d 708000", "d A0000", "d FFFF0000", "d C8"));
    EXPECT_THAT(Assembled("Color x65536"), ElementsAre("f FFFF00FE"));
}

TEST(Assemble, NamedDataGoesIntoAnOpenBurst) {
    EXPECT_THAT(Assembled("d 000C8000\nd StartXSub = 1\nd dXSub = 2\nd dXSub = 3"),
                ElementsAre("d C8000", "d 10000", "d 20000", "d 3", "d 30000"));
    EXPECT_THAT(Assembled("Color x3\nColor = #000000FF, #000000FF\nf 7\nFogMode"),
                ElementsAre("f 200FE", "f FF000000", "f FF000000", "f 7", "f D2"));
}

TEST(Assemble, TextureCoordinatesFollowChipAndMode) {
    EXPECT_THAT(Assembled("SStart = 2", ChipModel::Permedia), ElementsAre("f 71", "f 200000"));
    EXPECT_THAT(Assembled("TextureAddressMode Perspective=1\nSStart = 0.5", ChipModel::TX),
                ElementsAre("f 70", "f 2", "f 71", "f 20000000"));
    EXPECT_THAT(Assembled("w TextureAddressMode Perspective=1\nSStart = 0.5", ChipModel::TX),
                ElementsAre("w 8380 2", "f 71", "f 20000000"));
}

TEST(Assemble, SaysWhatIsWrongAndWhere) {
    EXPECT_EQ(Problem("f 12\nRendr Primitive=1"), "2:1: unknown register 'Rendr'");
    EXPECT_EQ(Problem("Render Primitve=1"), "1:8: unknown field 'Primitve' of Render");
    EXPECT_EQ(
        Problem("Render Primitive=Trapez"),
        "1:18: bad value 'Trapez' of Render Primitive: expected a name or a number from 0 to 3");
    EXPECT_EQ(Problem("Render Primitive=4"),
              "1:18: bad value '4' of Render Primitive: expected a name or a number from 0 to 3");
    EXPECT_EQ(Problem("Render Fog=1 Fog=0"), "1:14: Render Fog is given twice");
    EXPECT_EQ(Problem("Render Fog 1"), "1:12: '1': expected '=' and a value of Render Fog");
    EXPECT_EQ(Problem("Render Fog="), "1:12: the line ends here: expected a value of Render Fog");
    EXPECT_EQ(Problem("dXDom Fog=1"),
              "1:7: 'Fog': expected '=' and a value, as dXDom has no fields");
    EXPECT_EQ(Problem("dXDom = 40000"),
              "1:9: bad value '40000' of dXDom: expected a decimal from -32768 to below 32768");
    EXPECT_EQ(Problem("dXDom = 1 pixels"),
              "1:11: 'pixels': expected the end of the line, dXDom has no unit");
    EXPECT_EQ(Problem("FBWindowBase = 1 bytes"), "1:18: 'bytes': FBWindowBase counts in pixels");
    EXPECT_EQ(Problem("IntEnable DMA=1"),
              "1:1: IntEnable is no register of the stream: 'w IntEnable = ...' writes it");
    EXPECT_EQ(Problem("w DepthMode"),
              "1:12: the line ends here: expected '=' and a value, or fields of DepthMode");
    EXPECT_EQ(Problem("w"), "1:2: the line ends here: expected a register");
    EXPECT_EQ(Problem("f 123456789"), "1:3: unknown register '123456789'");
    EXPECT_EQ(Problem("f 12 13"), "1:6: '13': expected the end of the line");
    EXPECT_EQ(Problem("w 0028"),
              "1:7: the line ends here: expected a value of up to eight hex digits");
    EXPECT_EQ(Problem("w 0028 0 DMACount"),
              "1:10: 'DMACount': expected DMAAddress, which is at offset 0028");
    EXPECT_EQ(Problem("DepthMode rest=0x33"),
              "1:11: rest=0x33 has bits of fields: expected some of 0xFFFFFF80");
    EXPECT_EQ(Problem("Color x0"), "1:7: 'x0': expected x1 to x65536");
    EXPECT_EQ(Problem("Color x65537"), "1:7: 'x65537': expected x1 to x65536");
    EXPECT_EQ(Problem("{dXDom, StartXDom}"),
              "1:9: StartXDom stands behind dXDom: expected ascending tags");
    EXPECT_EQ(Problem("{dXDom, FogMode}"),
              "1:9: FogMode and dXDom are not in one group of 16 tags");
    EXPECT_EQ(Problem("{dXDom"), "1:7: the line ends here: expected ',' or '}'");
    EXPECT_EQ(Problem("{"), "1:2: the line ends here: expected a register of the stream");
    EXPECT_EQ(Problem("{StartY, dY} = 1"),
              "1:17: the line ends here: expected ',' and a value of dY");
    EXPECT_EQ(Problem("Color x2\nFogMode"),
              "2:1: a tag word, but the burst before waits for data of Color: expected 'Color ...' "
              "or a word in hex");
    EXPECT_EQ(Problem("Color x2\nFogMode = 0"),
              "2:1: data of FogMode, but the burst before waits for Color");
    EXPECT_EQ(Problem("Color x2\nColor = #000000, #000000, #000000"),
              "2:1: more data of Color than the burst before has");
    EXPECT_EQ(Problem("tag 400 = 0x1"), "1:5: '400': expected a tag from 0 to 3FF in hex");
    EXPECT_EQ(Problem("V0Fixed+16 = 1"), "1:1: 'V0Fixed+16': expected a register from +0 to +15");
    EXPECT_EQ(Problem("Render+1 = 1"), "1:1: 'Render+1': expected Render alone, which is no group");
    EXPECT_EQ(Problem("V0Fixed+4 = 0.5"),
              "1:13: bad value '0.5' of V0Fixed+4: expected a whole number from 0 to 4294967295");
    EXPECT_EQ(Problem("SStart = 0.5"),
              "1:10: bad value '0.5' of SStart: expected 0x and bits, as no chip is given");
    EXPECT_EQ(Problem("= 5"), "1:1: unknown register '='");
}

TEST(Assemble, OffersTheNamesThatWouldDo) {
    size_t count = 0;
    Problem("Rendr = 1", &count);
    EXPECT_EQ(count, 187u); // those of the stream alone
    Problem("DepthMode Enabl=1", &count);
    EXPECT_EQ(count, 5u); // four fields and the rest
    Problem("DepthMode Compare=Les", &count);
    EXPECT_EQ(count, 8u);
}

TEST(Assemble, ALineThatIsWrongSendsNothing) {
    Log log;
    Assembler assembler(log);
    EXPECT_THROW(assembler.Line("Color = #000000, red"), AssembleError);
    EXPECT_TRUE(log.lines.empty());
    EXPECT_FALSE(assembler.Unfinished());
}

// Any words at all, malformed ones and bursts that are cut off too: recorded, then assembled, from
// the words and from their comments alone.
TEST(Assemble, RandomStreamsComeBackFromTheirTextAndFromTheirComments) {
    std::mt19937 random(99);
    for (int run = 0; run < 50; ++run) {
        const auto chip = static_cast<ChipModel>(random() % 5);
        std::ostringstream text, comments, words;
        EventText recorder(text, chip);
        Explainer explainer(chip);
        RawWords raw(words);
        for (int i = 0; i < 400; ++i) {
            uint32_t word = random() >> (random() % 32);
            if (!explainer.ExpectsData() && random() % 4 != 0) {
                const Register& entry = kRegisters[random() % std::size(kRegisters)];
                const uint32_t number = entry.HasTag() ? entry.Tag() : random() % 0x400;
                word = random() % 3 == 0 ? IndexedTag(number & ~0xFu, 1 + random() % 0xFFFF)
                                         : HoldTag(number, 1 + random() % 4);
            }
            const bool dma = random() % 2 != 0;
            dma ? recorder.OnDmaWord(word) : recorder.OnFifoWord(word);
            raw.OnFifoWord(word);
            const std::string meaning = explainer.Explain(word);
            std::ostringstream hex;
            hex << std::hex << word;
            comments << (dma ? "d " : "f ") << (meaning == "malformed" ? hex.str() : meaning)
                     << '\n';
        }
        for (const std::string& source : {text.str(), comments.str()}) {
            std::ostringstream again, wordsAgain;
            EventText events(again, chip);
            RawWords rawAgain(wordsAgain);
            for (board::BusRecorder* out : {static_cast<board::BusRecorder*>(&events),
                                            static_cast<board::BusRecorder*>(&rawAgain)}) {
                Assembler assembler(*out, chip);
                std::istringstream lines(source);
                for (std::string line; std::getline(lines, line);) {
                    ASSERT_NO_THROW(assembler.Line(line)) << line;
                }
            }
            ASSERT_EQ(again.str(), text.str());
            ASSERT_EQ(wordsAgain.str(), words.str());
        }
    }
}

// Whatever stands in a line, it is taken or refused.
TEST(Assemble, SurvivesLinesOfAnything) {
    const std::vector<std::string> pieces = {"f",
                                             "w",
                                             "r",
                                             "d",
                                             "Render",
                                             "Fog",
                                             "=",
                                             "{",
                                             "}",
                                             ",",
                                             "x3",
                                             "1",
                                             "0x1",
                                             "-1",
                                             "2^3",
                                             ";",
                                             "tag",
                                             "3AB",
                                             "offset",
                                             "V0Fixed+5",
                                             "FIFOWindow+4",
                                             "#00",
                                             "rest",
                                             "1e400",
                                             "\x80",
                                             "+",
                                             "pixels",
                                             "0.5",
                                             "DepthMode",
                                             "Compare",
                                             "Less",
                                             "99999999999999999999",
                                             ""};
    std::mt19937 random(5);
    Log log;
    Assembler assembler(log);
    int refused = 0, taken = 0;
    for (int i = 0; i < 20000; ++i) {
        std::string line;
        for (uint32_t count = random() % 8; count > 0; --count) {
            line += pieces[random() % pieces.size()] + (random() % 3 != 0 ? " " : "");
        }
        try {
            assembler.Line(line);
            ++taken;
        } catch (const AssembleError& error) {
            ++refused;
            ASSERT_GE(error.column, 1u);
            ASSERT_LE(error.column, line.size() + 1) << line;
        }
        if (log.lines.size() > 1000) {
            log.lines.clear();
        }
    }
    EXPECT_GT(refused, 1000);
    EXPECT_GT(taken, 1000);
}

} // namespace
} // namespace stream
