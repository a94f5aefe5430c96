#include "stream/pixel_moment.h"

#include "board/values/fixed.h"
#include "board/values/register_names.h"
#include "stream/explain.h"

#include <nlohmann/json.hpp>

#include <iterator>

namespace stream {

namespace {

using Json = nlohmann::ordered_json;
using board::PixelStage;
using board::PixelTest;
using board::PixelWay;
using What = PixelMoment::What;

constexpr const char* kTestNames[] = {"limits", "scissor", "memory", "stipple", "source",
                                      "key",    "alpha",   "depth",  "pick"};
static_assert(std::size(kTestNames) == static_cast<size_t>(PixelTest::kCount));
constexpr const char* kWayNames[] = {"fragment",          "block fill",   "copy",
                                     "packed copy",       "download",     "local buffer fill",
                                     "local buffer copy", "texture data", "video"};
constexpr const char* kPrimitiveNames[] = {"trapezoid", "line", "point", "triangle",
                                           "line of the setup unit"};
constexpr const char* kCompareSigns[] = {"never", "<", "=", "<=", ">", "!=", ">=", "always"};
constexpr const char* kMemoryNames[] = {"frame buffer", "local buffer", "memory of the machine"};
constexpr const char* kMemoryWords[] = {"frame", "local", "host"};
constexpr const char* kStageNames[] = {"shaded", "texel", "textured", "fogged", "under", "blended"};
static_assert(std::size(kStageNames) == board::kPixelStages);
constexpr const char* kWhat[] = {"drawn", "cut", "stored", "moved"};

Json ColourToJson(const board::Colour& colour) {
    return {{"red", colour.red},
            {"green", colour.green},
            {"blue", colour.blue},
            {"alpha", colour.alpha}};
}

Json ElementToJson(const board::PixelElement& element) {
    if (element.bytes == 0) {
        return nullptr;
    }
    return {{"memory", kMemoryWords[element.local ? 1 : 0]},
            {"byte", element.place},
            {"bytes", element.bytes},
            {"before", element.before},
            {"after", element.after},
            {"written", element.written}};
}

template <class Number>
Json OrNull(const std::optional<Number>& value) {
    return value ? Json(*value) : Json();
}

Json MomentToJson(const PixelHistory& history, const PixelMoment& moment, const Reading& reading) {
    const Position from = moment.From();
    Json json{{"what", kWhat[static_cast<int>(moment.what)]}};
    json.update(ToJson(from, moment.AtWord()));
    json["event"] = moment.at.event;
    if (from.call != 0) {
        json["callName"] = history.CallName(from.call - 1);
    }
    if (moment.inPrimitive && moment.by.primitive) {
        json["primitive"] = *moment.by.primitive;
        if (const auto words = history.Entries().Words(*moment.by.primitive)) {
            json["firstWord"] = words->first;
            json["words"] = words->count;
        }
    }
    json["before"] = OrNull(moment.before);
    json["after"] = OrNull(moment.after);
    if (moment.what == What::Moved) {
        json["to"] = moment.place
                         ? Json{{"memory", kMemoryWords[static_cast<int>(moment.place->memory)]},
                                {"byte", moment.place->byte}}
                         : Json();
    }
    if (moment.what != What::Drawn && moment.what != What::Cut) {
        return json;
    }
    json.update(ToJson(moment.pixel));
    json["passed"] = moment.what == What::Drawn && moment.pixel.Passed();
    if (moment.inPrimitive) {
        json["primitiveKind"] = NameOf(moment.primitive);
    }
    if (moment.pixel.way != PixelWay::Video) {
        json["command"] = CommandOf(moment.by.write, reading);
    }
    return json;
}

} // namespace

const char* NameOf(PixelTest test) {
    return kTestNames[static_cast<int>(test)];
}
const char* NameOf(PixelWay way) {
    return kWayNames[static_cast<int>(way)];
}
const char* NameOf(board::PrimitiveKind kind) {
    return kPrimitiveNames[static_cast<int>(kind)];
}
const char* NameOf(Memory memory) {
    return kMemoryNames[static_cast<int>(memory)];
}
const char* SignOf(board::Compare compare) {
    return kCompareSigns[static_cast<int>(compare)];
}

std::string CommandOf(const board::RegisterWrite& write, const Reading& reading) {
    std::string text = board::TagName(write.tag);
    AppendMeaning(text, MappedOffset(write.tag), write.data, reading);
    return text;
}

Json ToJson(const board::PixelReport& pixel) {
    Json tests = Json::array();
    for (int i = 0; i < static_cast<int>(PixelTest::kCount); ++i) {
        const auto test = static_cast<PixelTest>(i);
        if (pixel.Met(test)) {
            tests.push_back({{"test", kTestNames[i]}, {"passed", !pixel.Failed(test)}});
        }
    }
    Json json{{"way", NameOf(pixel.way)}, {"passed", pixel.Passed()}, {"tests", tests}};
    if (pixel.placed) {
        json["x"] = pixel.x;
        json["y"] = pixel.y;
    }
    if (pixel.source >= 0) {
        json["sourceByte"] = pixel.source;
    }
    if (pixel.shaded) {
        json["fragment"] = ColourToJson(pixel.fragment);
    }
    if (pixel.stages != 0) {
        json["stages"] = Json::object();
        for (size_t i = 0; i < board::kPixelStages; ++i) {
            if (pixel.Went(static_cast<PixelStage>(i))) {
                json["stages"][kStageNames[i]] = ColourToJson(pixel.colours[i]);
            }
        }
    }
    if (pixel.Went(PixelStage::Fogged)) {
        json["fogFactor"] =
            static_cast<double>(pixel.fogFactor) / (int64_t{1} << board::kFogFractionBits);
    }
    if (pixel.Met(PixelTest::Depth)) {
        json["fragmentDepth"] = pixel.fragmentDepth;
        json["storedDepth"] = pixel.storedDepth;
        json["depthCompare"] = SignOf(pixel.depthCompare);
    }
    if (pixel.Met(PixelTest::Alpha)) {
        json["alphaReference"] = pixel.alphaReference;
        json["alphaCompare"] = SignOf(pixel.alphaCompare);
    }
    json["colour"] = ElementToJson(pixel.colour);
    json["depth"] = ElementToJson(pixel.depth);
    return json;
}

Json ToJson(const PixelHistory& history, const std::string& surface, const Reading& reading) {
    Json moments = Json::array();
    for (const PixelMoment& moment : history.Moments()) {
        moments.push_back(MomentToJson(history, moment, reading));
    }
    return {{"surface", surface},
            {"x", history.X()},
            {"y", history.Y()},
            {"bits", history.Surface()->bits},
            {"format", history.Surface()->format},
            {"moments", moments},
            {"value", OrNull(history.Value())}};
}

} // namespace stream
