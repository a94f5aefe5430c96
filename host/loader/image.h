#pragma once
// A 32-bit PE image in this process, mapped as the system's loader does it.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace host::loader {

class Image {
  public:
    // Reads and checks the file; nothing is mapped yet. Throws std::runtime_error with one line
    // that starts with the path: for a file that cannot be read or is no DLL of this kind, and for
    // an import that this host has no function for.
    explicit Image(const std::string& path);
    ~Image();
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    // Puts the image in memory as it is before its first instruction runs: sections as in the file,
    // relocated if the image base was taken, imports bound, pages protected as the sections say. A
    // second call starts afresh at the same place. Throws std::runtime_error if there is no room.
    void Load();

    bool HasEntry() const { return entry_ != 0; }
    bool HasExport(uint32_t ordinal) const {
        return ordinal < exports_.size() && exports_[ordinal] != 0;
    }

    // From here on only once loaded.
    uint8_t* Base() const { return base_; }
    uint32_t Bytes() const { return static_cast<uint32_t>(contents_.size()); }
    // The entry point, or null.
    void* Entry() const;
    // The function exported under this ordinal, or null.
    void* Export(uint32_t ordinal) const;

  private:
    struct Section {
        uint32_t start, bytes; // in the image
        uint32_t flags;
    };
    struct Binding {
        uint32_t slot; // place in the image that takes the address
        void* function;
    };

    [[noreturn]] void Fail(const std::string& what) const;
    template <class T>
    T Read(const std::vector<uint8_t>& from, uint32_t at) const;
    std::string ReadName(uint32_t at) const;
    void ReadHeaders(const std::vector<uint8_t>& file);
    void ReadImports(uint32_t directory);
    void ReadRelocations(uint32_t directory, uint32_t bytes);
    void ReadExports(uint32_t directory, uint32_t bytes);
    void Reserve();
    void Protect();

    std::string path_;
    std::vector<uint8_t> contents_; // the image as in the file, at its preferred base
    std::vector<Section> sections_;
    std::vector<Binding> bindings_;
    std::vector<uint32_t> relocations_; // places in the image that hold an address
    std::vector<uint32_t> exports_;     // by ordinal; places in the image, 0 for none
    bool relocatable_ = false;
    uint32_t preferredBase_ = 0;
    uint32_t entry_ = 0; // place in the image, 0 for none
    uint8_t* base_ = nullptr;
};

} // namespace host::loader
