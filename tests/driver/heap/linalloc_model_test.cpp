// Long random runs of the heap against a plain map of intervals that does the same by its own
// means.
#include "tests/driver/heap/heap_rig.h"

#include <algorithm>
#include <map>
#include <random>

namespace {

using test::HeapRig;

struct Block {
    uint64_t end; // inclusive
    uint64_t aligned;
    uint32_t flags;
    int clients;
};

// Addresses as 64-bit numbers, nothing ever wraps.
class HeapModel {
  public:
    HeapModel(uint64_t base, uint64_t start, uint64_t end, uint64_t lineBytes)
        : base_(base), lineBytes_(lineBytes) {
        free[start] = end;
    }

    std::map<uint64_t, uint64_t> free; // start: end
    std::map<uint64_t, Block> allocated;

    // 0 for no room.
    uint64_t Allocate(uint32_t flags, uint64_t bytes, uint64_t alignment) {
        if ((flags & 0x100) != 0) {
            for (auto& [start, block] : allocated) {
                if (block.flags == flags) {
                    ++block.clients;
                    return block.aligned;
                }
            }
        }
        bytes = RoundUp(bytes, 4);
        alignment = RoundUp(std::max<uint64_t>(alignment, 1), 4);
        if ((flags & 0x200) != 0) {
            bytes = RoundUp(bytes + lineBytes_, 4);
        }
        std::vector<std::pair<uint64_t, uint64_t>> walk(free.begin(), free.end());
        if ((flags & 1) == 0) {
            std::reverse(walk.begin(), walk.end());
        }
        auto spareBytes = [&](const std::pair<uint64_t, uint64_t>& hole) {
            const uint64_t first = base_ + RoundUp(hole.first - base_, alignment);
            return static_cast<int64_t>(hole.second + 1 - first) - static_cast<int64_t>(bytes);
        };
        std::erase_if(walk, [&](const auto& hole) { return spareBytes(hole) < 0; });
        if (walk.empty()) {
            return 0;
        }
        auto chosen = walk.front();
        if ((flags & 8) == 0) {
            chosen = *std::min_element(walk.begin(), walk.end(), [&](const auto& a, const auto& b) {
                return spareBytes(a) < spareBytes(b);
            });
        }
        const uint64_t left = spareBytes(chosen);
        const uint64_t taken = chosen.second + 1 - chosen.first - left;
        free.erase(chosen.first);
        uint64_t start = chosen.first;
        if ((flags & 1) == 0) {
            start += left;
        }
        if (left != 0) {
            const uint64_t hole = (flags & 1) == 0 ? chosen.first : chosen.first + taken;
            free[hole] = hole + left - 1;
        }
        uint64_t address = start - base_;
        if ((flags & 0x200) != 0) {
            address = (address / lineBytes_ + 1) * lineBytes_;
        }
        address = base_ + RoundUp(address, alignment);
        allocated[start] = {start + taken - 1, address, flags, 1};
        return address;
    }

    // The result code.
    uint32_t Free(uint64_t address) {
        auto found = allocated.upper_bound(address);
        if (found == allocated.begin() || (--found)->second.end < address) {
            return 1;
        }
        if (--found->second.clients > 0) {
            return 3;
        }
        auto [start, end] = std::pair(found->first, found->second.end);
        allocated.erase(found);
        auto above = free.find(end + 1);
        if (above != free.end()) {
            end = above->second;
            free.erase(above);
        }
        auto below = free.lower_bound(start);
        if (below != free.begin() && (--below)->second + 1 == start) {
            below->second = end;
        } else {
            free[start] = end;
        }
        return 0;
    }

  private:
    static uint64_t RoundUp(uint64_t value, uint64_t step) {
        return (value + step - 1) / step * step;
    }

    uint64_t base_;
    uint64_t lineBytes_;
};

void ExpectSame(const HeapRig& rig, const HeapModel& model) {
    const std::vector<HeapNode*> free = rig.Free();
    ASSERT_EQ(free.size(), model.free.size());
    size_t i = 0;
    for (const auto& [start, end] : model.free) {
        ASSERT_EQ(free[i]->Start, start);
        ASSERT_EQ(free[i]->End, end);
        ++i;
    }
    const std::vector<HeapNode*> allocated = rig.Allocated();
    ASSERT_EQ(allocated.size(), model.allocated.size());
    i = 0;
    for (const auto& [start, block] : model.allocated) {
        ASSERT_EQ(allocated[i]->Start, start);
        ASSERT_EQ(allocated[i]->End, block.end);
        ASSERT_EQ(allocated[i]->Aligned, block.aligned);
        ASSERT_EQ(allocated[i]->Flags, block.flags);
        ++i;
    }
}

class HeapRun : public testing::TestWithParam<uint32_t> {};

// Growth and decline in turns, so that node groups come and go.
TEST_P(HeapRun, AgreesWithAMapOfIntervals) {
    std::mt19937 random(GetParam());
    auto below = [&](uint32_t limit) { return static_cast<uint32_t>(random() % limit); };
    HeapRig rig(0x80000);
    HeapModel model(rig.Base(), rig.Start(), rig.driver->Heap.HeapEnd, 1280);
    const uint32_t alignments[] = {0, 1, 4, 6, 8, 12, 16, 64, 256};
    size_t mostGroups = 0;

    for (int step = 0; step < 6000; ++step) {
        const bool growing = step / 1000 % 2 == 0;
        if (below(10) < (growing ? 7u : 3u)) {
            uint32_t flags = below(2) | below(2) * 8 | below(4) * 0x10000;
            const uint32_t kind = below(16);
            if (kind == 0) {
                flags |= ScanlineAligned;
            } else if (kind == 1) {
                // Only a first fit gives a block a client count of its own.
                flags |= SharedAllocation | FirstFit;
            }
            const uint32_t bytes = 1 + below(below(8) == 0 ? 0x4000 : 0x200);
            const uint32_t step4 = alignments[below(9)];
            const HeapRequest request = rig.Allocate(flags, bytes, step4);
            const uint64_t expected = model.Allocate(flags, bytes, step4);
            ASSERT_EQ(request.Address, expected);
            ASSERT_EQ(rig.result, expected == 0 ? 1u : 0u);
        } else {
            uint32_t address = rig.Start() - 16 + below(0x80020);
            if (below(20) != 0 && !model.allocated.empty()) {
                auto victim = model.allocated.begin();
                std::advance(victim, below(model.allocated.size()));
                address = victim->first + below(victim->second.end - victim->first + 1);
            }
            ASSERT_EQ(FreeVideoMemory(rig.driver, address), model.Free(address));
        }
        // Whatever has gone apart stays apart: the whole is compared now and then.
        if (step % 16 == 0) {
            ASSERT_NO_FATAL_FAILURE(ExpectSame(rig, model)) << "step " << step;
            ASSERT_NO_FATAL_FAILURE(rig.CheckSets()) << "step " << step;
        }
        mostGroups = std::max(mostGroups, rig.Groups().size());
    }
    EXPECT_GE(mostGroups, 3u);
    ASSERT_NO_FATAL_FAILURE(ExpectSame(rig, model));

    FreeAllVideoMemory(rig.driver);
    ASSERT_NO_FATAL_FAILURE(rig.CheckSets());
    ASSERT_EQ(rig.Free().size(), 1u);
    EXPECT_LE(rig.Groups().size(), 2u);
    EXPECT_EQ(rig.LiveServiceBlocks(), rig.Groups().size() - 1);
}

INSTANTIATE_TEST_SUITE_P(Seeds, HeapRun, testing::Values(1, 2, 3, 4));

} // namespace
