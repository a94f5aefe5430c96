#pragma once
// What stands behind a korv_board pointer.
#include "board/board.h"
#include "board/capi/korv_board.h"
#include "board/video/video_source.h"

#include <exception>
#include <new>
#include <optional>
#include <string>
#include <utility>

// Where this is compiled without exceptions nothing can be caught, and a lack of memory ends the
// program as the C++ library has it.
#if defined(__cpp_exceptions)
#define KORV_TRY try
#define KORV_CATCH(exception, action) catch (exception) action
#else
#define KORV_TRY if (true)
#define KORV_CATCH(exception, action)
#endif

namespace board::capi {

// Who is being called back, and so what may be called.
enum class Inside { Nobody, Interrupt, Callback };

class InsideScope {
  public:
    InsideScope(Inside& place, Inside now) : place_(place), before_(std::exchange(place, now)) {}
    ~InsideScope() { place_ = before_; }
    InsideScope(const InsideScope&) = delete;
    InsideScope& operator=(const InsideScope&) = delete;

  private:
    Inside& place_;
    const Inside before_;
};

// A video source of C functions.
class Camera final : public VideoSource {
  public:
    Camera(const korv_board_video& video, Inside& inside) : video_(video), inside_(inside) {}
    VideoSignal Signal() const override;
    void Line(uint64_t field, uint32_t line, std::vector<uint16_t>& pixels) override;

  private:
    const korv_board_video video_;
    Inside& inside_;
};

} // namespace board::capi

struct korv_board {
    explicit korv_board(const board::Config& config) : board(config) {}

    // Remembers what went wrong.
    korv_board_status Fail(korv_board_status status, std::string text) {
        error = std::move(text);
        return status;
    }
    korv_board_status Fail(korv_board_status status) {
        return Fail(status, korv_board_status_text(status));
    }

    board::Board board;
    board::capi::Inside inside = board::capi::Inside::Nobody;
    std::optional<board::capi::Camera> camera;
    std::string error;
};

namespace board::capi {

// Does `work` with a board that may be used: not null, and not by a callback that must not.
// `deepest` is the callback that may.
template <typename Work>
korv_board_status Call(korv_board* handle, Work&& work, Inside deepest = Inside::Interrupt) {
    if (handle == nullptr) {
        return KORV_BOARD_BAD_ARGUMENT;
    }
    KORV_TRY {
        if (handle->inside > deepest) {
            return handle->Fail(KORV_BOARD_REENTERED);
        }
        return work();
    }
    KORV_CATCH(const std::bad_alloc&, { return KORV_BOARD_NO_MEMORY; })
    KORV_CATCH(..., { return KORV_BOARD_INTERNAL; })
}

} // namespace board::capi
