#include "tools/korv/conform/verdict.h"

#include "board/values/register_names.h"
#include "tools/korv/conform/pixel_form.h"

#include <fmt/format.h>

#include <algorithm>

namespace korv::conform {

namespace {

using stream::Memory;

const char* MemoryName(Memory memory) {
    return memory == Memory::FrameBuffer ? "the frame buffer" : "the local buffer";
}

uint32_t PixelAt(const std::vector<uint8_t>& memory, uint32_t place, uint32_t bytes) {
    uint32_t pixel = 0;
    for (uint32_t i = 0; i < bytes; ++i) {
        pixel |= uint32_t{memory[place + i]} << (8 * i);
    }
    return pixel;
}

bool Within(PixelForm form, uint32_t a, uint32_t b, uint32_t limit) {
    const Channels left = Fields(form, a), right = Fields(form, b);
    for (size_t i = 0; i < left.size(); ++i) {
        if (std::max(left[i], right[i]) - std::min(left[i], right[i]) > limit) {
            return false;
        }
    }
    return true;
}

class Judgement {
  public:
    Judgement(const Case& one, const Outcome& expected, const Outcome& found)
        : case_(one), expected_(expected), found_(found) {}

    Verdict Give() {
        for (const PictureArea& picture : case_.pictures) {
            if (expected_.Of(picture.memory) != found_.Of(picture.memory)) {
                Compare(picture);
            }
        }
        Compare(Memory::FrameBuffer);
        Compare(Memory::LocalBuffer);
        CompareReads();
        if (expected_.interrupts != found_.interrupts) {
            Fault fault{Fault::Kind::Interrupts};
            fault.expected = expected_.interrupts;
            fault.found = found_.interrupts;
            Note(fault);
        }
        return verdict_;
    }

  private:
    void Note(const Fault& fault) {
        if (!verdict_.first) {
            verdict_.first = fault;
        }
    }

    void Compare(const PictureArea& picture) {
        const auto& expected = expected_.Of(picture.memory);
        const auto& found = found_.Of(picture.memory);
        const uint32_t bytes = BytesOf(picture.form);
        size_t wrong = 0;
        std::optional<Fault> first;
        for (uint32_t y = 0; y < picture.height; ++y) {
            for (uint32_t x = 0; x < picture.width; ++x) {
                const uint32_t place = picture.offset + y * picture.pitch + x * bytes;
                const uint32_t a = PixelAt(expected, place, bytes);
                const uint32_t b = PixelAt(found, place, bytes);
                if (a != b && !Within(picture.form, a, b, picture.limit) && wrong++ == 0) {
                    first =
                        Fault{Fault::Kind::Pixel, &picture, x, y, picture.memory, place, 0, a, b};
                }
            }
        }
        if (wrong > picture.pixels) {
            verdict_.pixels += wrong;
            Note(*first);
        }
    }

    bool InPicture(Memory memory, uint32_t place) const {
        return std::ranges::any_of(case_.pictures, [&](const PictureArea& picture) {
            if (picture.memory != memory || place < picture.offset) {
                return false;
            }
            const uint32_t inside = place - picture.offset;
            return inside / picture.pitch < picture.height &&
                   inside % picture.pitch < picture.width * BytesOf(picture.form);
        });
    }

    void Compare(Memory memory) {
        const auto& expected = expected_.Of(memory);
        const auto& found = found_.Of(memory);
        if (expected == found) {
            return;
        }
        for (uint32_t place = 0; place < expected.size(); ++place) {
            if (expected[place] != found[place] && !InPicture(memory, place)) {
                ++verdict_.bytes;
                Note({Fault::Kind::Memory, nullptr, 0, 0, memory, place, 0, expected[place],
                      found[place]});
            }
        }
    }

    void CompareReads() {
        size_t number = 0;
        for (const Step& step : case_.steps) {
            if (step.kind != stream::EventKind::Read || number >= expected_.reads.size()) {
                continue;
            }
            const uint32_t a = expected_.reads[number], b = found_.reads[number];
            if (a != b) {
                ++verdict_.reads;
                Note({Fault::Kind::Read, nullptr, 0, 0, {}, step.offset, number, a, b});
            }
            ++number;
        }
    }

    const Case& case_;
    const Outcome& expected_;
    const Outcome& found_;
    Verdict verdict_;
};

} // namespace

std::string Fault::Text() const {
    switch (kind) {
    case Kind::Pixel: {
        const uint32_t digits = BytesOf(picture->form) * 2;
        return fmt::format("pixel {}, {} of {} is {:0{}X}, expected {:0{}X}", x, y, picture->name,
                           found, digits, expected, digits);
    }
    case Kind::Memory:
        return fmt::format("byte {} of {} is {:02X}, expected {:02X}", offset, MemoryName(memory),
                           found, expected);
    case Kind::Read:
        return fmt::format("{} reads {:08X}, expected {:08X} (read {})", board::OffsetName(offset),
                           found, expected, read);
    case Kind::Interrupts:
        return fmt::format("the interrupt handler was called {} times, expected {}", found,
                           expected);
    }
    return {};
}

Verdict Judge(const Case& one, const Outcome& expected, const Outcome& found) {
    return Judgement(one, expected, found).Give();
}

} // namespace korv::conform
