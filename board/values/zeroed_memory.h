#pragma once
// Large memories that are zero at first. The system hands them out so, and gives a page only when
// something touches it: a board that draws little costs little.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <utility>
#include <vector>

namespace board {

template <typename Element>
struct ZeroedAllocator {
    using value_type = Element;

    ZeroedAllocator() = default;
    template <typename Other>
    ZeroedAllocator(const ZeroedAllocator<Other>&) {}

    Element* allocate(size_t count) {
        void* memory = std::calloc(count, sizeof(Element));
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        return static_cast<Element*>(memory);
    }
    void deallocate(Element* memory, size_t) { std::free(memory); }

    // Elements without a value are zero already.
    template <typename Other>
    void construct(Other*) {}
    template <typename Other, typename... Arguments>
    void construct(Other* place, Arguments&&... arguments) {
        ::new (place) Other(std::forward<Arguments>(arguments)...);
    }

    bool operator==(const ZeroedAllocator&) const { return true; }
};

// Its size is set once: what has been cut off and added again would not be zero.
using ZeroedBytes = std::vector<uint8_t, ZeroedAllocator<uint8_t>>;

} // namespace board
