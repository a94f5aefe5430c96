#pragma once
// What is said of a pixel's history, to people and to programs.
#include "stream/pixel_history.h"
#include "stream/value_text.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace stream {

// "scissor", "trapezoid", "block fill", "frame buffer", "<=".
const char* NameOf(board::PixelTest test);
const char* NameOf(board::PixelWay way);
const char* NameOf(board::PrimitiveKind kind);
const char* NameOf(Memory memory);
const char* SignOf(board::Compare compare);
// "Render Primitive=Trapezoid".
std::string CommandOf(const board::RegisterWrite& write, const Reading& reading);

// The object of `korv why --json`, without "file"; docs/captures.md defines it. `surface` is what
// people call it.
nlohmann::ordered_json ToJson(const PixelHistory& history, const std::string& surface,
                              const Reading& reading);
// What a pixel met on its way, and what it left: of a moment, the part that Drawn and Cut have.
nlohmann::ordered_json ToJson(const board::PixelReport& pixel);

} // namespace stream
