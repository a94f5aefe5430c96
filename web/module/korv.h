#pragma once
// The module's interface, in C. One thread, one laboratory, one inspector, one tour.
//
// What takes text takes a pointer to UTF-8 that ends in a zero, which stays the caller's. What
// gives JSON gives a pointer to such a text, which is good until the next call of any function
// here; it is an object or a list, or
// {"error": "one line for people"} where something could not be done.
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// {"version", "chips": [{"name", "about", "setupUnit", "textures", "video"}], "scenes": [{"name",
// "about", "film", "chips": [names of those that draw it]}]}.
const char* korv_catalogue(void);

// Memory for what is handed in, and back.
void* korv_memory(size_t bytes);
void korv_release(void* memory);

// The module has a file of this name from now on. Its bytes are copied.
void korv_file(const char* name, const void* bytes, size_t count);
void korv_forget_files(void);

// --- The laboratory ---

// Takes the OBJ file of that name for the model: {"vertices", "triangles", "images", "warnings":
// [lines]}.
const char* korv_model(const char* name);

// Draws a frame on a board that has just got power. `request`: {"chip", "scene" (left out: the
// model), "width", "height", "depth" (bits a pixel), "fifo", "yaw", "pitch" (degrees), "zoom",
// "states": {"depth": "on|off", "fog": "on|off", "blend": "off|mix|add", "filter":
// "nearest|linear", "shade": "flat|gouraud", "fill": "solid|wireframe|points", "cull":
// "none|cw|ccw"}}; only the chip must be there, and states that are not there are the scene's own.
// Gives {"words" (since power came on), "frameStart" (the first that belongs to the frame), "calls"
// (of the frame), "faults"}.
const char* korv_draw(const char* request);

// Of the frame drawn last: its calls, [{"name", "fields", "word", "end", "frame"}]; words with
// their meaning,
// [{"word", "raw", "text", "data"}]; the number of the first word from `first` on that has `text`
// in its meaning or its eight digits, {"word"}, null for none.
const char* korv_calls(void);
const char* korv_words(uint32_t first, uint32_t most);
const char* korv_find(const char* text, uint32_t first);

// --- The inspector ---

// Opens a stream, in place of the one before; web/module/inspector.h tells what these give. `raw`:
// empty for a capture, for raw words {"chip", "width", "height", "bits", "base"}.
const char* korv_open(const void* bytes, size_t count, const char* raw);
const char* korv_timeline(void);
// Goes to a place, as `korv state --at` takes it, and gives what is there.
const char* korv_go(const char* place);
const char* korv_checkpoints(void);
const char* korv_state(void);
const char* korv_checksums(void);
const char* korv_text(const char* from, const char* to);
const char* korv_why(const char* surface, uint32_t x, uint32_t y);
// The list of events. `only` has names between commas, as `korv dump --only`.
const char* korv_list(const char* only, uint32_t changes);
const char* korv_rows(uint32_t first, uint32_t most);
const char* korv_row_here(void);
const char* korv_find_row(const char* text, uint32_t first, uint32_t backwards);
// {"width", "height"} of a picture, to be fetched below: of a surface (empty: what was drawn to),
// of the Z buffer, of writes and of outlines since a place, of a part of a memory ("frame",
// "local").
const char* korv_surface(const char* name);
const char* korv_depth(void);
const char* korv_overdraw(const char* surface, const char* from);
const char* korv_wires(const char* surface, const char* from);
const char* korv_part(const char* memory, uint32_t offset, int32_t pitch, uint32_t width,
                      uint32_t height, const char* format);

// --- The tour ---

// One triangle on its way; web/module/tour.h tells what is asked and what it gives.
const char* korv_tour(const char* request);

// --- Bytes, good until the next call ---

// The picture drawn or asked for last: four bytes a pixel, red first, top row first.
const uint8_t* korv_picture(void);
uint32_t korv_picture_width(void);
uint32_t korv_picture_height(void);
// The words of the laboratory's frame, from power on.
const uint32_t* korv_raw_words(void);
size_t korv_raw_word_count(void);

#ifdef __cplusplus
}
#endif
