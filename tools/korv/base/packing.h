#pragma once
// Values as bytes, from one process of this program to another.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace korv {

class Packer {
  public:
    void Put(uint32_t value) { bytes_.append(reinterpret_cast<const char*>(&value), sizeof value); }
    void Put(const std::string& text) { PutItems(text); }
    void Put(const std::vector<uint8_t>& bytes) { PutItems(bytes); }
    void Put(const std::vector<std::string>& texts) {
        Put(static_cast<uint32_t>(texts.size()));
        for (const std::string& text : texts) {
            Put(text);
        }
    }
    std::string Take() { return std::move(bytes_); }

  private:
    template <typename Items>
    void PutItems(const Items& items) {
        Put(static_cast<uint32_t>(items.size()));
        bytes_.append(items.begin(), items.end());
    }

    std::string bytes_;
};

// Reads what a Packer has put, in its order. `bytes` must outlive it.
class Unpacker {
  public:
    explicit Unpacker(const std::string& bytes) : next_(bytes.data()) {}

    void Get(uint32_t& value) {
        std::memcpy(&value, next_, sizeof value);
        next_ += sizeof value;
    }
    void Get(std::string& text) { GetItems(text); }
    void Get(std::vector<uint8_t>& bytes) { GetItems(bytes); }
    void Get(std::vector<std::string>& texts) {
        texts.resize(Count());
        for (std::string& text : texts) {
            Get(text);
        }
    }

  private:
    uint32_t Count() {
        uint32_t count = 0;
        Get(count);
        return count;
    }
    template <typename Items>
    void GetItems(Items& items) {
        const uint32_t count = Count();
        items.assign(next_, next_ + count);
        next_ += count;
    }

    const char* next_;
};

} // namespace korv
