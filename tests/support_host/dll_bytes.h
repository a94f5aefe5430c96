#pragma once
// The bytes of KORV32.dll, for tests that change a few before they load it.
#include "tests/support_host/dll_path.h"

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace test {

// Places are in the file, in bytes, but where said otherwise.
struct DllBytes {
    DllBytes() {
        std::ifstream in(DllPath(), std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(in), {});
    }

    uint32_t Word(uint32_t at) const {
        uint32_t value;
        std::memcpy(&value, &bytes.at(at), 4);
        return value;
    }
    void SetWord(uint32_t at, uint32_t value) { std::memcpy(&bytes.at(at), &value, 4); }
    uint32_t Header() const { return Word(0x3C); }
    // Of a directory's address; its size follows.
    uint32_t Directory(uint32_t index) const { return Header() + 24 + 96 + 8 * index; }
    // Of a place in the image.
    uint32_t InFile(uint32_t address) const {
        const uint32_t table = Header() + 24 + (Word(Header() + 20) & 0xFFFF);
        for (uint32_t i = 0; i < (Word(Header() + 4) >> 16); ++i) {
            const uint32_t section = table + 40 * i, start = Word(section + 12);
            if (address - start < Word(section + 16)) {
                return Word(section + 20) + address - start;
            }
        }
        throw std::out_of_range("no section holds this place");
    }
    // Puts `code` where DllMain starts.
    void SetDllMain(const std::string& code) {
        bytes.replace(InFile(Word(Header() + 24 + 16)), code.size(), code);
    }

    std::string bytes;
};

} // namespace test
