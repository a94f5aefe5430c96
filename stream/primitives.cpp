#include "stream/primitives.h"

#include "chip/registers.h"

namespace stream {

bool BeginsPrimitive(uint32_t tagNumber) {
    switch (tagNumber) {
    case tag::Render:
    case tag::DrawTriangle:
    case tag::RepeatTriangle:
    case tag::DrawLine01:
    case tag::DrawLine10:
        return true;
    default:
        return false;
    }
}

std::optional<PrimitiveWords> PrimitiveWalker::Take(uint64_t number, uint32_t word) {
    board::RegisterWrite write{};
    if (decoder_.Feed(word, write) != board::StreamDecoder::Kind::Data) {
        return std::nullopt;
    }
    if (BeginsPrimitive(write.tag)) {
        std::optional<PrimitiveWords> before;
        if (drawn_) {
            before = PrimitiveWords{first_, end_ - first_};
            first_ = end_;
        }
        drawn_ = true;
        fromHost_ = write.tag == tag::Render && field::Render_SyncOnHostData.Get(write.data) != 0;
        end_ = number + 1;
        return before;
    }
    switch (write.tag) {
    case tag::ContinueNewLine:
    case tag::ContinueNewDom:
    case tag::ContinueNewSub:
    case tag::Continue:
        end_ = drawn_ ? number + 1 : end_;
        break;
    case tag::Color:
        end_ = drawn_ && fromHost_ ? number + 1 : end_;
        break;
    default:
        break;
    }
    return std::nullopt;
}

std::optional<PrimitiveWords> PrimitiveWalker::Cut(uint64_t number) {
    std::optional<PrimitiveWords> last;
    if (drawn_) {
        last = PrimitiveWords{first_, end_ - first_};
    }
    first_ = end_ = number;
    drawn_ = false;
    return last;
}

} // namespace stream
