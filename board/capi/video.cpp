// A video source of C functions.
#include "board/capi/handle.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr uint32_t kMostOfLine = 4096; // of a line
constexpr uint32_t kMostFields = 200, kMostLines = 2000;

bool Valid(const korv_board_video& video) {
    return video.fields_per_second >= 1 && video.fields_per_second <= kMostFields &&
           video.lines_per_field >= 1 && video.lines_per_field <= kMostLines &&
           (video.port_width == 8 || video.port_width == 16) && video.line != nullptr;
}

} // namespace

namespace board::capi {

VideoSignal Camera::Signal() const {
    return {video_.fields_per_second, video_.lines_per_field, video_.port_width,
            video_.line_reference_high != 0, video_.field_reference_high != 0};
}

void Camera::Line(uint64_t field, uint32_t line, std::vector<uint16_t>& pixels) {
    const InsideScope scope(inside_, Inside::Callback);
    pixels.resize(kMostOfLine);
    const uint32_t sent = video_.line(video_.user, field, line, pixels.data(), kMostOfLine);
    pixels.resize(std::min(sent, kMostOfLine));
}

} // namespace board::capi

korv_board_status korv_board_set_video(korv_board* board, const korv_board_video* video) {
    return board::capi::Call(board, [&] {
        // Every field of the first version is needed.
        if (video != nullptr && (video->size < sizeof *video || !Valid(*video))) {
            return board->Fail(KORV_BOARD_BAD_ARGUMENT,
                               "a field of the video source is out of range");
        }
        board->board.SetVideoSource(nullptr);
        if (video != nullptr) {
            board->camera.emplace(*video, board->inside);
            board->board.SetVideoSource(&*board->camera);
        }
        return KORV_BOARD_OK;
    });
}
