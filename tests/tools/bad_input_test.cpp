// Bad input of every kind to every command: exit code, the first line of standard error, and files
// as they were.
#include "tests/tools/run_tool.h"
#include "tests/tools/temporary_folder.h"
#include "tools/korv/base/files.h"
#include "tools/korv/images/png.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>

namespace korv {
namespace {

constexpr const char* kChipNames =
    "sx, tx, mx, permedia, sx-delta, tx-delta, mx-delta, permedia-delta, permedia2";
constexpr const char* kTexturing = "permedia, tx-delta, mx-delta, permedia-delta, permedia2";

struct Row {
    const char* line; // words behind "korv", with blanks between; @ is the test's folder
    int code;
    // Behind "korv: "; @ as above, CHIPS and TEXTURING for lists of chips. One that ends in ... is
    // the beginning.
    const char* message;
};

// "!" stands for: (try 'korv COMMAND --help').
const Row kUsage[] = {
    {"", 2,
     "no command given: expected one of demo, model, render, replay, texture, assemble, dump, "
     "info, inspect, play, state, stats, trace, trim, why, conform, diff, lint, board (try "
     "'korv --help')"},
    {"paint", 2, "unknown command 'paint': the nearest is..."},
    {"rendre", 2, "unknown command 'rendre': the nearest is 'render' (try 'korv --help')"},
    {"Render", 2, "unknown command 'Render': the nearest is 'render' (try 'korv --help')"},
    {"demos", 2, "unknown command 'demos': the nearest is 'demo' (try 'korv --help')"},
    {"modle", 2, "unknown command 'modle': the nearest is 'model' (try 'korv --help')"},
    {"ifno", 2, "unknown command 'ifno': the nearest is 'info' (try 'korv --help')"},
    {"--", 2, "unknown option '--'..."},
    {"-x", 2, "unknown option '-x': the nearest is '-h' (try 'korv --help')"},
    {"--vresion", 2, "unknown option '--vresion': the nearest is '--version' (try 'korv --help')"},
    {"--hepl", 2, "unknown option '--hepl': the nearest is '--help' (try 'korv --help')"},
    {"--chip tx", 2, "unknown option '--chip': the nearest is..."},
    {"demo --chpi tx", 2, "unknown option '--chpi' for 'demo': the nearest is '--chip' !"},
    {"demo --sizes=1x1", 2, "unknown option '--sizes' for 'demo': the nearest is '--size' !"},
    {"demo -q", 2, "unknown option '-q' for 'demo': the nearest is..."},
    {"demo extra", 2, "unexpected 'extra' for 'demo' !"},
    {"demo --depth", 2, "'--depth' needs a value !"},
    {"demo --depth 8 --depth 16", 2, "'--depth' is given twice !"},
    {"demo --depth 24", 2, "bad value '24' for '--depth': expected 8, 16 or 32 !"},
    {"demo --depth many", 2, "bad value 'many' for '--depth': expected 8, 16 or 32 !"},
    {"demo --depth=", 2, "'--depth' needs a value !"},
    {"demo --depth 0x10", 2, "bad value '0x10' for '--depth': expected 8, 16 or 32 !"},
    {"demo --fifo --subbuffers 4", 2, "'--fifo' and '--subbuffers' exclude each other !"},
    {"demo --fifo=1", 2, "'--fifo' takes no value !"},
    {"demo --fifo --fifo --bogus", 2, "unknown option '--bogus' for 'demo': the nearest is..."},
    {"demo --subbuffers 1", 2,
     "bad value '1' for '--subbuffers': expected a whole number from 2 to 32 !"},
    {"demo --subbuffers 33", 2,
     "bad value '33' for '--subbuffers': expected a whole number from 2 to 32 !"},
    {"demo --subbuffers 4.5", 2,
     "bad value '4.5' for '--subbuffers': expected a whole number from 2 to 32 !"},
    {"demo --subbuffers 99999999999", 2,
     "bad value '99999999999' for '--subbuffers': expected a whole number from 2 to 32 !"},
    {"info", 2, "'info' needs --chip CHIP !"},
    {"info --chip", 2, "'--chip' needs a value !"},
    {"info --chip tx --chip mx", 2, "'--chip' is given twice !"},
    {"info tx", 2, "unexpected 'tx' for 'info' !"},
    {"info --chip tx --events e", 2, "unknown option '--events' for 'info': the nearest is..."},
    {"model", 2, "'model' needs NAME !"},
    {"model cube", 2, "'model' needs --output FILE.obj !"},
    {"model -o @/new.obj", 2, "'model' needs NAME !"},
    {"model cube torus -o @/new.obj", 2, "unexpected 'torus' for 'model' !"},
    {"texture", 2, "'texture' needs NAME !"},
    {"texture bricks", 2, "'texture' needs --output FILE.png !"},
    {"texture bricks -o @/new.png --side 16", 2,
     "bad value '16' for '--side': expected a whole number from 32 to 1024 !"},
    {"texture bricks -o @/new.png --side -64", 2,
     "bad value '-64' for '--side': expected a whole number from 32 to 1024 !"},
    {"texture bricks -o @/new.png --side big", 2,
     "bad value 'big' for '--side': expected a whole number from 32 to 1024 !"},
    {"render", 2, "'render' needs MODEL !"},
    {"render @/good.obj", 2, "'render' needs --output OUT.png !"},
    {"render @/good.obj -o @/new.png", 2, "'render' needs --chip CHIP !"},
    {"render @/good.obj @/good.obj -o @/new.png --chip tx", 2,
     "unexpected '@/good.obj' for "
     "'render' !"},
    {"render @/good.obj --chip tx -o", 2, "'-o' needs a value !"},
    {"render @/good.obj --chip tx -o @/new.png --zbufer", 2,
     "unknown option '--zbufer' for 'render': the nearest is '--zbuffer' !"},
    {"render @/good.obj --chip tx -o @/new.png --shade phong", 2,
     "bad value 'phong' for '--shade': expected flat or gouraud !"},
    {"render @/good.obj --chip tx -o @/new.png --cull all", 2,
     "bad value 'all' for '--cull': expected none, cw or ccw !"},
    {"render @/good.obj --chip tx -o @/new.png --up x", 2,
     "bad value 'x' for '--up': expected y or z !"},
    {"render @/good.obj --chip tx -o @/new.png --yaw nan", 2,
     "bad value 'nan' for '--yaw': expected a number from -360 to 360 !"},
    {"render @/good.obj --chip tx -o @/new.png --yaw inf", 2,
     "bad value 'inf' for '--yaw': expected a number from -360 to 360 !"},
    {"render @/good.obj --chip tx -o @/new.png --yaw 1e9", 2,
     "bad value '1e9' for '--yaw': expected a number from -360 to 360 !"},
    {"render @/good.obj --chip tx -o @/new.png --yaw 10deg", 2,
     "bad value '10deg' for '--yaw': expected a number from -360 to 360 !"},
    {"render @/good.obj --chip tx -o @/new.png --pitch -nan", 2,
     "bad value '-nan' for '--pitch': expected a number from -90 to 90 !"},
    {"render @/good.obj --chip tx -o @/new.png --pitch 91", 2,
     "bad value '91' for '--pitch': expected a number from -90 to 90 !"},
    {"render @/good.obj --chip tx -o @/new.png --zoom 0", 2,
     "bad value '0' for '--zoom': expected a number from 0.1 to 100 !"},
    {"render @/good.obj --chip tx -o @/new.png --zoom infinity", 2,
     "bad value 'infinity' for '--zoom': expected a number from 0.1 to 100 !"},
    {"render @/good.obj --chip permedia -o @/new.png --filter cubic", 2,
     "bad value 'cubic' for '--filter': expected nearest, linear, mipnearest, miplinear, "
     "linearmipnearest or linearmiplinear !"},
    {"render @/good.obj --chip permedia -o @/new.png --wrap border", 2,
     "bad value 'border' for '--wrap': expected repeat, mirror or clamp !"},
    {"render @/good.obj --chip permedia -o @/new.png --perspective maybe", 2,
     "bad value 'maybe' for '--perspective': expected on or off !"},
    {"render @/good.obj --chip permedia -o @/new.png --blend add", 2,
     "bad value 'add' for '--blend': expected modulate, decal, copy, decalalpha or "
     "modulatealpha !"},
    {"assemble", 2, "'assemble' needs TEXT !"},
    {"assemble t", 2, "'assemble' needs --output FILE !"},
    {"assemble t -o w --form tape", 2,
     "bad value 'tape' for '--form': expected words, events or capture !"},
    {"replay", 2, "expected either a SCRIPT or '--random SEED' !"},
    {"replay a b", 2, "unexpected 'b' for 'replay' !"},
    {"replay a --dll", 2, "'--dll' needs a value !"},
    {"replay a --subbuffers 0", 2,
     "bad value '0' for '--subbuffers': expected a whole number from 2 to 32 !"},
    {"replay a --fifo --subbuffers 2", 2, "'--fifo' and '--subbuffers' exclude each other !"},
    {"trace", 2, "'trace' needs COMMAND !"},
    {"trace --limit 0 -- demo", 2,
     "bad value '0' for '--limit': expected a whole number from 1 to 1000000000 !"},
    {"trace --limit x -- demo", 2,
     "bad value 'x' for '--limit': expected a whole number from 1 to 1000000000 !"},
    {"trace --stp -- demo", 2, "unknown option '--stp' for 'trace': the nearest is '--step' !"},
    {"trace render @/good.obj --chip tx", 2, "unknown option '--chip' for 'trace': the nearest..."},
};

const Row kNames[] = {
    {"info --chip SX", 2, "unknown chip 'SX': expected one of CHIPS"},
    {"info --chip tx\x1B[2J", 2, "unknown chip 'tx\\x1B[2J': expected one of CHIPS"},
    {"demo -o @/new --chip rainbow", 2, "unknown chip 'rainbow': expected one of CHIPS"},
    {"demo -o @/new --scene teapot", 2, "unknown scene 'teapot': expected one of knot..."},
    {"demo -o @/new --chip sx --scene tiles", 2,
     "'tiles' needs a chip that draws textures: expected one of TEXTURING"},
    {"demo -o @/new --size big", 2,
     "bad size 'big': expected WIDTHxHEIGHT in pixels, as in 640x480"},
    {"demo -o @/new --size 0x480", 2, "impossible size 0x480: expected 1x1 to 8191x2048"},
    {"demo -o @/new --size 640x2049", 2, "impossible size 640x2049: expected 1x1 to 8191x2048"},
    {"demo -o @/good.obj --chip tx --scene knot", 2, "cannot make folder '@/good.obj'..."},
    {"demo -o @/good.obj/x --chip tx --scene knot", 2, "cannot make folder '@/good.obj/x'..."},
    {"model teapot -o @/new.obj", 2,
     "unknown model 'teapot': expected one of torus-knot, torus, icosphere, cube, ripples"},
    {"model cube -o @/none/new.obj", 2, "cannot write '@/none/new.obj': No such file or directory"},
    {"model cube -o @", 2, "cannot write '@': it is a folder, expected a file name"},
    {"model cube -o @/", 2, "cannot write '@/': it is a folder, expected a file name"},
    {"model cube -o @/good.obj/x", 2, "cannot write '@/good.obj/x': Not a directory"},
    {"model cube -o @/circle", 2, "cannot write '@/circle': Too many levels of symbolic links"},
    {"texture marble -o @/new.png", 2,
     "unknown texture 'marble': expected one of bricks, checker, letter, wheel, stripes, face, "
     "ground"},
    {"texture bricks -o @/new.png --side 100", 2,
     "bad side 100: expected a power of two from 32 to 1024"},
    {"texture bricks -o @/new.jpg", 2,
     "cannot write '@/new.jpg': pictures are PNG, expected a name that ends in .png"},
    {"texture bricks -o @/none/new.png", 2,
     "cannot write '@/none/new.png': No such file or directory"},
    {"texture bricks -o /dev/full", 2, "cannot write '/dev/full': No space left on device"},
};

const Row kRender[] = {
    {"render @/none.obj --chip tx -o @/new.png", 2,
     "cannot read '@/none.obj': No such file or directory"},
    {"render @/n\n\x07.obj --chip tx -o @/new.png", 2,
     "cannot read '@/n\\n\\x07.obj': No such file or directory"},
    {"render @ --chip tx -o @/new.png", 2,
     "cannot read '@': it is a folder, expected an OBJ model"},
    {"render @/good.obj/x --chip tx -o @/new.png", 2,
     "cannot read '@/good.obj/x': Not a directory"},
    {"render @/empty --chip tx -o @/new.png", 2, "@/empty:1: no face ('f') in the file"},
    {"render @/points.obj --chip tx -o @/new.png", 2, "@/points.obj:3: no face ('f') in the file"},
    {"render @/binary --chip tx -o @/new.png", 2,
     "@/binary:1: not text, expected a Wavefront OBJ model"},
    {"render @/short.obj --chip tx -o @/new.png", 2,
     "@/short.obj:2: 'v' has 2 numbers, expected 3"},
    {"render @/one.obj --chip tx -o @/new.png", 2, "@/one.obj:1: 'v' has 1 number, expected 3"},
    {"render @/word.obj --chip tx -o @/new.png", 2,
     "@/word.obj:1: 't\\x1Bo' after 'v', expected a number"},
    {"render @/nan.obj --chip tx -o @/new.png", 2,
     "@/nan.obj:1: 'nan' after 'v', expected a number"},
    {"render @/huge.obj --chip tx -o @/new.png", 2,
     "@/huge.obj:1: '1e99' after 'v', expected a number"},
    {"render @/index.obj --chip tx -o @/new.png", 2,
     "@/index.obj:4: face uses vertex 4, but only 3 came before it"},
    {"render @/line.obj --chip tx -o @/new.png", 2,
     "@/line.obj:3: face has 2 corners, expected 3 or more"},
    {"render @/good.obj --chip vga -o @/new.png", 2, "unknown chip 'vga': expected one of CHIPS"},
    {"render @/good.obj --chip tx -o @/new.png --size 1", 2,
     "bad size '1': expected WIDTHxHEIGHT in pixels, as in 640x480"},
    {"render @/good.obj --chip tx -o @/new.png --size 99999999999x1", 2,
     "bad size '99999999999x1': expected WIDTHxHEIGHT in pixels, as in 640x480"},
    {"render @/good.obj --chip tx -o @/new.jpg", 2,
     "cannot write '@/new.jpg': pictures are PNG, expected a name that ends in .png"},
    {"render @/good.obj --chip tx -o @/new.bmp", 2,
     "cannot write '@/new.bmp': pictures are PNG, expected a name that ends in .png"},
    {"render @/good.obj --chip tx -o @", 2,
     "cannot write '@': it is a folder, expected a file name"},
    {"render @/good.obj --chip tx -o @/none/new.png", 2,
     "cannot write '@/none/new.png': No such file or directory"},
    {"render @/good.obj --chip tx -o @/new.png --words @/none/w", 2,
     "cannot write '@/none/w': No such file or directory"},
    {"render @/good.obj --chip tx -o @/new.png --events @", 2,
     "cannot write '@': it is a folder, expected a file name"},
    {"render @/good.obj --chip tx -o @/new.png --events /dev/full", 2,
     "cannot write '/dev/full': No space left on device"},
    {"render @/good.obj --chip tx -o @/image.png --words /dev/full", 2,
     "cannot write '/dev/full': No space left on device"},
    {"render @/good.obj --chip tx -o @/new.png --words @/new.png", 2,
     "two outputs go to '@/new.png': expected a name for each"},
    {"render @/good.obj --chip tx -o @/new.png --words @/./new.png", 2,
     "'@/new.png' and '@/./new.png' are the same file: expected a name for each output"},
    {"render @/good.obj --chip tx -o @/image.png --events @/link.png", 2,
     "'@/image.png' and '@/link.png' are the same file: expected a name for each output"},
    {"render @/good.obj --chip tx -o - --words -", 2,
     "two outputs go to standard output: expected a file for one of them"},
    {"render @/good.obj --chip tx -o @/new.png --words @/good.obj", 2,
     "'@/good.obj' is also read: expected another name for the output"},
    {"render @/square.obj --chip permedia -o @/image.png --texture @/image.png", 2,
     "'@/image.png' is also read: expected another name for the output"},
    {"render @/square.obj --chip permedia -o @/link.png --texture @/image.png", 2,
     "'@/link.png' is also read as '@/image.png': expected another name for the output"},
    {"render @/square.obj --chip sx -o @/new.png --texture @/image.png", 2,
     "GLINT 300SX ('sx') draws no textures: expected one of TEXTURING"},
    {"render @/good.obj --chip permedia -o @/new.png --texture @/image.png", 2,
     "'@/good.obj' has no texture coordinates ('vt') for some of its faces"},
    {"render @/good.obj --chip permedia -o @/new.png --filter linear", 2,
     "'@/good.obj' names no image for its materials, expected --texture beside the options for "
     "textures"},
    {"render @/square.obj --chip permedia -o @/new.png --texture @/none.png", 2,
     "cannot read '@/none.png': No such file or directory"},
    {"render @/square.obj --chip permedia -o @/new.png --texture @", 2,
     "cannot read '@': it is a folder"},
    {"render @/square.obj --chip permedia -o @/new.png --texture @/empty", 2,
     "cannot read '@/empty': unknown image type, expected a PNG"},
    {"render @/square.obj --chip permedia -o @/new.png --texture @/good.obj", 2,
     "cannot read '@/good.obj': unknown image type, expected a PNG"},
    {"render @/square.obj --chip permedia -o @/new.png --texture @/cut.png", 2,
     "cannot read '@/cut.png': the PNG is damaged or cut short, expected a whole one"},
    {"render @/square.obj --chip permedia -o @/new.png --texture @/far.png", 2,
     "cannot read '@/far.png': the PNG is damaged or cut short, expected a whole one"},
    {"render @/square.obj --chip permedia -o @/new.png --texture @/vast.png", 2,
     "cannot read '@/vast.png': the image is too large, expected at most 67,108,864 pixels"},
    {"render @/square.obj --chip permedia -o @/new.png --texture @/odd.png", 2,
     "a texture of 6x4 texels: expected sides that are powers of two, up to 2048"},
    {"render @/square.obj --chip permedia -o @/new.png --texture @/image.png --colorkey pink", 2,
     "bad colour 'pink': expected six hexadecimal digits, as in FF00FF"},
    {"render @/square.obj --chip permedia -o @/new.png --texture @/image.png --texformat x", 2,
     "no 'x' textures on the permedia board: expected one of..."},
};

const Row kPlay[] = {
    {"replay @/none.json", 2, "cannot read '@/none.json': no such file"},
    {"replay @", 2, "cannot read '@': it is a folder"},
    {"replay @/empty", 2, "@/empty:1: no JSON: the file is empty, expected an object"},
    {"replay @/open.json", 2,
     "@/open.json:2: no JSON: the text ends too early, expected brackets and quotes that are "
     "closed"},
    {"replay @/comma.json", 2,
     "@/comma.json:2: no JSON: unexpected '}' in column 1, expected a value, ',', ':' or a "
     "bracket"},
    {"replay @/bytes.json", 2,
     "@/bytes.json:1: no JSON: unexpected '\\x1B' in column 1, expected a value, ',', ':' or a "
     "bracket"},
    {"replay @/list.json", 2, "@/list.json:1: ..."},
    {"replay @/escape.json", 2, "@/escape.json:1: ..."},
    {"replay @/steps.json --words @/steps.json", 2,
     "'@/steps.json' is also read: expected another name for the output"},
    {"replay @/steps.json --events @/steps.json", 2,
     "'@/steps.json' is also read: expected another name for the output"},
    {"replay @/steps.json --pictures @/good.obj", 2, "cannot make folder '@/good.obj'..."},
    {"replay @/steps.json --dll @/none.dll", 2, "@/none.dll: ..."},
    {"replay @/steps.json --dll @/good.obj", 2, "@/good.obj: ..."},
    {"trace -- trace -- demo", 2,
     "'trace' cannot be traced itself: expected another command of korv"},
    {"trace -- replay x --dll=y", 2,
     "a driver DLL cannot be traced: its contexts are not to be found"},
    {"trace -o @/none/t -- demo", 2, "cannot write '@/none/t': No such file or directory"},
    {"trace -o @ -- demo", 2, "cannot write '@': it is a folder, expected a file name"},
};

void Replace(std::string& text, const std::string& what, const std::string& by) {
    for (size_t at = text.find(what); at != text.npos; at = text.find(what, at + by.size())) {
        text.replace(at, what.size(), by);
    }
}

class BadInput : public testing::Test {
  protected:
    BadInput() {
        folder_.Write("good.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
        folder_.Write("square.obj",
                      "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 0 1\nf 1/1 2/2 3/3\n");
        folder_.Write("empty", "");
        folder_.Write("points.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\n");
        folder_.Write("binary", std::string("\x7F"
                                            "ELF\0\1",
                                            6));
        folder_.Write("short.obj", "v 0 0 0\nv 1 0\n");
        folder_.Write("one.obj", "v 0\n");
        folder_.Write("word.obj", "v 0 t\x1Bo 0\n");
        folder_.Write("nan.obj", "v 0 nan 0\n");
        folder_.Write("huge.obj", "v 0 1e99 0\n");
        folder_.Write("index.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 4\n");
        folder_.Write("line.obj", "v 0 0 0\nv 1 0 0\nf 1 2\n");
        folder_.Write("cut.png", "\x89PNG\r\n\x1A\ncut");
        WritePng(folder_ / "image.png", {8, 8, std::vector<uint8_t>(256, 200)});
        WritePng(folder_ / "odd.png", {6, 4, std::vector<uint8_t>(96, 255)});
        // Behind signature and header a chunk that goes on far behind the file.
        std::string far = ReadFile(folder_ / "image.png");
        far.insert(33, "\x7F\xFF\xFF\xF0tEXt", 8);
        folder_.Write("far.png", far);
        // A header of 8,193 by 8,192 pixels, one column above what is read.
        std::string vast = ReadFile(folder_ / "image.png");
        vast.replace(16, 8, std::string("\0\0\x20\x01\0\0\x20\0", 8));
        folder_.Write("vast.png", vast);
        folder_.Write("open.json", "{\n");
        folder_.Write("comma.json", "{\"a\": 1,\n}\n");
        folder_.Write("bytes.json", "\x1B");
        folder_.Write("list.json", "[1]");
        folder_.Write("escape.json", "{\"\\u001b[2J\\n\": 1}");
        folder_.Write("steps.json", R"({"version": 1, "title": "t", "steps": [
            {"do": "display", "name": "main", "chip": "tx", "width": 640, "height": 480, "bits": 16},
            {"do": "start"}]})");
        std::filesystem::create_symlink("image.png", folder_ / "link.png");
        std::filesystem::create_symlink("circle", folder_ / "circle");
    }

    // Every file's name and bytes; where links lead.
    std::map<std::string, std::string> Contents() const {
        std::map<std::string, std::string> contents;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.Path())) {
            contents[entry.path()] = entry.is_symlink()
                                         ? "-> " + std::filesystem::read_symlink(entry).string()
                                         : ReadAll(entry.path());
        }
        return contents;
    }

    void ExpectRefusals(std::span<const Row> rows) {
        const auto before = Contents();
        for (const Row& row : rows) {
            SCOPED_TRACE(row.line);
            std::vector<std::string> words;
            std::string line = row.line;
            Replace(line, "@", folder_.Path());
            for (size_t at = 0; at < line.size();) {
                const size_t end = std::min(line.find(' ', at), line.size());
                words.push_back(line.substr(at, end - at));
                at = end + 1;
            }
            std::string message = row.message;
            Replace(message, "@", folder_.Path());
            Replace(message, "CHIPS", kChipNames);
            Replace(message, "TEXTURING", kTexturing);
            if (message.ends_with(" !")) {
                message.replace(message.size() - 1, 1, "(try 'korv " + words[0] + " --help')");
            }
            const ToolResult result = RunTool(words);
            EXPECT_EQ(result.code, row.code);
            EXPECT_EQ(result.out, "");
            std::string first = result.err.substr(0, result.err.find('\n'));
            if (message.ends_with("...")) {
                message.resize(message.size() - 3);
                first.resize(std::min(first.size(), message.size() + 6));
            }
            EXPECT_EQ(first, "korv: " + message);
            EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
            EXPECT_TRUE(std::ranges::none_of(result.err, [](unsigned char c) {
                return (c < 0x20 && c != '\n') || c == 0x7F;
            })) << result.err;
        }
        EXPECT_EQ(Contents(), before);
    }

    TemporaryFolder folder_;
};

TEST_F(BadInput, OfCommandLinesIsRefused) {
    ExpectRefusals(kUsage);
}

TEST_F(BadInput, OfNamesIsRefused) {
    ExpectRefusals(kNames);
}

TEST_F(BadInput, OfModelsAndPicturesIsRefused) {
    ExpectRefusals(kRender);
}

TEST_F(BadInput, OfScriptsAndTracesIsRefused) {
    ExpectRefusals(kPlay);
}

} // namespace
} // namespace korv
