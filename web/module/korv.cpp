#include "stream/events.h"
#include "tools/korv/painting/canvas.h"
#include "tools/korv/scenes/scene.h"

#include <emscripten/emscripten.h>
#include <sstream>
using namespace korv;
static std::string words;
static host::Picture picture;
static std::string error;
struct Words : board::BusRecorder {
    void Add(uint32_t w) { words.append(reinterpret_cast<char*>(&w), 4); }
    void OnRead(uint32_t, uint32_t) override {}
    void OnWrite(uint32_t, uint32_t) override {}
    void OnFifoWord(uint32_t w) override { Add(w); }
    void OnDmaWord(uint32_t w) override { Add(w); }
};
extern "C" EMSCRIPTEN_KEEPALIVE int t_draw(int chip, int scene) {
    words.clear();
    error.clear();
    try {
        Words r;
        Canvas c(Chips()[chip], Settings{}, &r);
        Scenes()[scene].draw(c);
        picture = c.Finish();
        return 0;
    } catch (const std::exception& e) {
        error = e.what();
        return 1;
    }
}
extern "C" EMSCRIPTEN_KEEPALIVE const char* t_words() {
    return words.data();
}
extern "C" EMSCRIPTEN_KEEPALIVE int t_size() {
    return words.size();
}
extern "C" EMSCRIPTEN_KEEPALIVE const uint8_t* t_picture() {
    return picture.rgba.data();
}
extern "C" EMSCRIPTEN_KEEPALIVE int t_picture_size() {
    return picture.rgba.size();
}
extern "C" EMSCRIPTEN_KEEPALIVE const char* t_error() {
    return error.c_str();
}
