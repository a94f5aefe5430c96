// Streams of words: most changes keep to whole words, and know tags.
#include "chip/register_table.h"
#include "chip/words.h"
#include "tests/fuzz/mutators.h"

#include <cstring>
#include <random>
#include <vector>

extern "C" size_t LLVMFuzzerMutate(uint8_t* bytes, size_t size, size_t most);

namespace fuzz {

namespace {

constexpr size_t kHead = 2; // bytes before the words

class Words {
  public:
    Words(Bytes bytes, unsigned int seed) : random_(seed), words_(bytes.size() / 4) {
        if (!words_.empty()) {
            std::memcpy(words_.data(), bytes.data(), words_.size() * 4);
        }
    }
    const std::vector<uint32_t>& All() const { return words_; }

    void Change() {
        switch (Below(words_.empty() ? 1 : 7)) {
        case 0:
            Insert({TagOfSomeRegister(), Value()});
            break;
        case 1: {
            const uint32_t count = 1 + Below(8);
            std::vector<uint32_t> burst{HoldTag(TagOfSomeRegister(), count)};
            for (uint32_t i = 0; i < count; ++i) {
                burst.push_back(Value());
            }
            Insert(burst);
            break;
        }
        case 2:
            words_[Place()] = Value();
            break;
        case 3:
            words_[Place()] ^= 1u << Below(32);
            break;
        case 4:
            words_[Place()] = TagOfSomeRegister();
            break;
        case 5: {
            const size_t from = Place();
            const size_t count = std::min<size_t>(1 + Below(6), words_.size() - from);
            words_.erase(words_.begin() + static_cast<ptrdiff_t>(from),
                         words_.begin() + static_cast<ptrdiff_t>(from + count));
            break;
        }
        default: {
            // A part once more, elsewhere.
            const size_t from = Place();
            const size_t count = std::min<size_t>(2 + Below(16), words_.size() - from);
            const auto first = words_.begin() + static_cast<ptrdiff_t>(from);
            Insert(std::vector<uint32_t>(first, first + static_cast<ptrdiff_t>(count)));
            break;
        }
        }
    }

  private:
    uint32_t Below(size_t end) { return static_cast<uint32_t>(random_() % end); }
    size_t Place() { return Below(words_.size()); }
    void Insert(const std::vector<uint32_t>& words) {
        words_.insert(words_.begin() + static_cast<ptrdiff_t>(Below(words_.size() + 1)),
                      words.begin(), words.end());
    }
    uint32_t TagOfSomeRegister() {
        static constexpr uint32_t kDrawing[] = {tag::Render, tag::DrawTriangle, tag::Continue,
                                                tag::DrawLine01, tag::Color};
        if (Below(4) == 0) {
            return kDrawing[Below(std::size(kDrawing))];
        }
        size_t place = Below(std::size(kRegisters));
        while (!kRegisters[place].HasTag()) {
            place = (place + 1) % std::size(kRegisters);
        }
        const Register& entry = kRegisters[place];
        return entry.Tag() + (entry.use == Use::Vertex ? Below(16) : 0);
    }
    uint32_t Value() {
        switch (Below(6)) {
        case 0:
            return Below(16);
        case 1:
            return Below(64) << 16 | Below(0x10000);
        case 2:
            return 1u << Below(32);
        case 3:
            return Below(2) != 0 ? ~0u : 0x7FFFFFFF;
        default:
            return static_cast<uint32_t>(random_());
        }
    }

    std::mt19937 random_;
    std::vector<uint32_t> words_;
};

} // namespace

size_t MutateWords(uint8_t* bytes, size_t size, size_t most, unsigned int seed) {
    if (seed % 3 == 0 || size < kHead) {
        return LLVMFuzzerMutate(bytes, size, most);
    }
    Words words({bytes + kHead, size - kHead}, seed);
    for (unsigned int left = 1 + seed / 3 % 4; left != 0; --left) {
        words.Change();
    }
    const size_t changed = std::min(words.All().size() * 4, most - kHead);
    if (changed != 0) {
        std::memcpy(bytes + kHead, words.All().data(), changed);
    }
    return kHead + changed;
}

} // namespace fuzz
