#include "tools/korv/random/heap_walk.h"

#include "driver/core/driverdata.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

namespace korv::random {

namespace {

constexpr size_t kMostNodes = 100000;

const HeapNode* NodeAt(const VideoHeap& heap, uint32_t group, uint32_t index) {
    const NodeGroup* at = &heap.FirstGroup;
    for (size_t i = 0; at != nullptr && i < kMostNodes; ++i) {
        if (at->GroupId == group) {
            return index < kNodesPerGroup ? &at->Nodes[index] : nullptr;
        }
        at = at->Next;
        if (at == &heap.FirstGroup) {
            break;
        }
    }
    return nullptr;
}

struct Ring {
    std::vector<const HeapNode*> nodes;
    std::optional<std::string> problem;
};

Ring Walk(const VideoHeap& heap, const NodeSetHead& head, uint32_t kind, const char* name) {
    Ring ring;
    if (head.Index == kNoNode) {
        return ring;
    }
    const HeapNode* const first = NodeAt(heap, head.Group, head.Index);
    const HeapNode* node = first;
    do {
        if (node == nullptr) {
            ring.problem = fmt::format("a link of the {} ring leads nowhere", name);
            return ring;
        }
        if (node->Kind != kind) {
            ring.problem = fmt::format("a node of kind {} is in the {} ring", node->Kind, name);
            return ring;
        }
        const HeapNode* const next = NodeAt(heap, node->NextGroup, node->NextIndex);
        if (next != nullptr && NodeAt(heap, next->PrevGroup, next->PrevIndex) != node) {
            ring.problem = fmt::format("a link back of the {} ring is wrong", name);
            return ring;
        }
        ring.nodes.push_back(node);
        if (ring.nodes.size() > kMostNodes) {
            ring.problem = fmt::format("the {} ring does not come back", name);
            return ring;
        }
        node = next;
    } while (node != first);
    return ring;
}

} // namespace

std::optional<std::string> HeapProblem(DriverData& driver) {
    const VideoHeap& heap = driver.Heap;
    const Ring free = Walk(heap, heap.FreeSet, NodeFree, "free"),
               taken = Walk(heap, heap.AllocatedSet, NodeAllocated, "allocated"),
               spare = Walk(heap, heap.SpareSet, NodeSpare, "spare");
    for (const Ring* one : {&free, &taken, &spare}) {
        if (one->problem) {
            return one->problem;
        }
    }
    std::vector<const HeapNode*> all = free.nodes;
    all.insert(all.end(), taken.nodes.begin(), taken.nodes.end());
    std::ranges::sort(all, {}, &HeapNode::Start);
    uint32_t from = heap.HeapStart;
    for (const HeapNode* node : all) {
        if (node->Start != from || node->End < node->Start) {
            return fmt::format("the stretch behind byte 0x{:X} begins at 0x{:X} and ends at 0x{:X}",
                               from - heap.HeapStart, node->Start - heap.HeapStart,
                               node->End - heap.HeapStart);
        }
        from = node->End + 1;
    }
    if (!all.empty() && from != heap.HeapEnd + 1) {
        return fmt::format("{} bytes at the end of the heap are in no ring",
                           heap.HeapEnd + 1 - from);
    }
    return {};
}

size_t AllocatedNodes(DriverData& driver) {
    return Walk(driver.Heap, driver.Heap.AllocatedSet, NodeAllocated, "allocated").nodes.size();
}

} // namespace korv::random
