// Captures: what was changed is signed again, so that most of it gets past the checksums; its
// chunks are laid open first, so that changes fall on events.
#include "stream/checksum.h"
#include "stream/format.h"
#include "stream/zlib.h"
#include "tests/fuzz/mutators.h"

#include <algorithm>
#include <cstring>
#include <vector>

extern "C" size_t LLVMFuzzerMutate(uint8_t* bytes, size_t size, size_t most);

namespace fuzz {

namespace {

using namespace stream;

// In the header of a chunk, bytes.
constexpr size_t kFlags = 6, kStored = 8, kRaw = 12, kPayloadSum = 16, kHeadSum = 20;

uint32_t WordAt(const uint8_t* at) {
    uint32_t word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

void PutWord(uint8_t* at, uint32_t word) {
    std::memcpy(at, &word, sizeof word);
}

// Makes lengths and checksums fit. The last chunk goes on to the end of the file.
void Sign(uint8_t* bytes, size_t size) {
    size_t at = format::kFileHeaderBytes;
    while (at + format::kChunkHeaderBytes <= size) {
        uint8_t* const head = bytes + at;
        const size_t left = size - at - format::kChunkHeaderBytes;
        const auto stored = static_cast<uint32_t>(std::min<size_t>(WordAt(head + kStored), left));
        PutWord(head + kStored, stored);
        PutWord(head + kPayloadSum, Crc32({head + format::kChunkHeaderBytes, stored}));
        PutWord(head + kHeadSum, Crc32({head, kHeadSum}));
        at += format::kChunkHeaderBytes + stored;
    }
}

// The same in chunks that are not compressed; what is no capture stays as it is.
std::vector<uint8_t> LaidOpen(Bytes capture) {
    std::vector<uint8_t> open(capture.begin(), capture.begin() + format::kFileHeaderBytes);
    size_t at = format::kFileHeaderBytes;
    while (at + format::kChunkHeaderBytes <= capture.size()) {
        const uint8_t* const head = capture.data() + at;
        const uint32_t stored = WordAt(head + kStored), raw = WordAt(head + kRaw);
        if (stored > capture.size() - at - format::kChunkHeaderBytes ||
            raw > format::kMostChunkBytes) {
            break;
        }
        const Bytes payload = capture.subspan(at + format::kChunkHeaderBytes, stored);
        std::vector<uint8_t> inflated(raw);
        const bool deflated = (head[kFlags] & format::kDeflated) != 0;
        if (deflated && !Inflate(payload, inflated)) {
            break;
        }
        const size_t start = open.size();
        open.insert(open.end(), head, head + format::kChunkHeaderBytes);
        if (deflated) {
            open[start + kFlags] &= static_cast<uint8_t>(~format::kDeflated);
            PutWord(&open[start + kStored], raw);
            open.insert(open.end(), inflated.begin(), inflated.end());
        } else {
            open.insert(open.end(), payload.begin(), payload.end());
        }
        at += format::kChunkHeaderBytes + stored;
    }
    open.insert(open.end(), capture.begin() + static_cast<ptrdiff_t>(at), capture.end());
    return open;
}

// Bytes within the payload of one chunk: changed, put in or taken away, and its length follows.
size_t ChangePayload(uint8_t* bytes, size_t size, size_t most, unsigned int seed) {
    std::vector<size_t> heads;
    size_t at = format::kFileHeaderBytes;
    while (at + format::kChunkHeaderBytes <= size) {
        heads.push_back(at);
        at += format::kChunkHeaderBytes +
              std::min<size_t>(WordAt(bytes + at + kStored), size - at - format::kChunkHeaderBytes);
    }
    if (heads.empty()) {
        return LLVMFuzzerMutate(bytes, size, most);
    }
    uint8_t* const head = bytes + heads[seed % heads.size()];
    uint8_t* const payload = head + format::kChunkHeaderBytes;
    const auto behind = static_cast<size_t>(bytes + size - payload);
    const size_t stored = std::min<size_t>(WordAt(head + kStored), behind);
    std::vector<uint8_t> changed(payload, payload + stored);
    changed.resize(stored + std::min<size_t>(64, most - size));
    if (changed.empty()) {
        return size;
    }
    changed.resize(LLVMFuzzerMutate(changed.data(), stored, changed.size()));
    std::memmove(payload + changed.size(), payload + stored, behind - stored);
    std::copy(changed.begin(), changed.end(), payload);
    PutWord(head + kStored, static_cast<uint32_t>(changed.size()));
    return size - stored + changed.size();
}

} // namespace

size_t MutateCapture(uint8_t* bytes, size_t size, size_t most, unsigned int seed) {
    if (size < format::kFileHeaderBytes || seed % 16 == 0) {
        return LLVMFuzzerMutate(bytes, size, most);
    }
    const std::vector<uint8_t> open = LaidOpen({bytes, size});
    if (open.size() <= most) {
        size = open.size();
        std::copy(open.begin(), open.end(), bytes);
    }
    size = seed % 4 == 1 ? LLVMFuzzerMutate(bytes, size, most)
                         : ChangePayload(bytes, size, most, seed / 4);
    Sign(bytes, size);
    return size;
}

} // namespace fuzz
