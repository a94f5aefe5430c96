#pragma once
// What every reference of a renderer leaves behind: words, and waits for FIFO entries.
#include "tests/support/recording_bus.h"

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace reference {

// One thing a renderer does: a word, or a wait for entries.
struct Step {
    bool wait;
    uint32_t value;
};

class StreamReference {
  public:
    std::vector<Step> steps;

    std::vector<uint32_t> Words() const {
        std::vector<uint32_t> words;
        for (const Step& step : steps) {
            if (!step.wait) {
                words.push_back(step.value);
            }
        }
        return words;
    }
    uint32_t Waits() const {
        uint32_t entries = 0;
        for (const Step& step : steps) {
            entries += step.wait ? step.value : 0;
        }
        return entries;
    }

    // What a recording bus sees in FIFO mode whose space is always the same: a look at the space
    // when the credit runs out, and the words.
    std::vector<test::BusEvent> Events(uint32_t space) const {
        std::vector<test::BusEvent> events;
        int32_t credit = 0;
        for (const Step& step : steps) {
            if (!step.wait) {
                events.push_back({'f', 0, step.value});
                continue;
            }
            credit -= static_cast<int32_t>(step.value);
            if (credit < 0) {
                events.push_back({'r', reg::InFIFOSpace, space});
                credit = static_cast<int32_t>(space - step.value);
            }
        }
        return events;
    }

  protected:
    void Wait(uint32_t entries) { steps.push_back({true, entries}); }
    void Put(std::initializer_list<uint32_t> words) {
        for (const uint32_t word : words) {
            steps.push_back({false, word});
        }
    }

    // The eight rows of a screen door, unless it is the one that is loaded.
    void StippleRows(uint32_t& loaded, uint32_t index) {
        // Rows 0 to 3 of each pattern; rows 4 to 7 repeat them.
        static const uint32_t rows[16] = {0x00000000, 0x88002200, 0xAA002200, 0xAA00AA00,
                                          0xAA44AA00, 0xAA44AA11, 0xAA55AA11, 0xAA55AA55,
                                          0xEE55AA55, 0xEE55BB55, 0xFF55BB55, 0xFF55FF55,
                                          0xFFDDFF55, 0xFFDDFF77, 0xFFFFFF77, 0xFFFFFFFF};
        if (index == loaded) {
            return;
        }
        loaded = index;
        Wait(9);
        Put({0x00FF8040});
        for (int row = 0; row < 8; ++row) {
            Put({(rows[index] >> (24 - 8 * (row % 4))) & 0xFF});
        }
    }
};

} // namespace reference
