#include "host/loader/image.h"

#include "host/loader/imports.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <sys/mman.h>

namespace host::loader {

namespace {

constexpr uint32_t kPage = 4096;
constexpr uint32_t kMaxImageBytes = 64u << 20;
constexpr uint32_t kMaxOrdinals = 4096;

// DOS header.
constexpr uint16_t kDosMagic = 0x5A4D;
constexpr uint32_t kHeaderPointerAt = 0x3C;
// PE and COFF header, counted from the PE magic.
constexpr uint32_t kPeMagic = 0x4550;
constexpr uint32_t kMachineAt = 4, kSectionCountAt = 6, kOptionalBytesAt = 20, kFlagsAt = 22;
constexpr uint32_t kOptionalHeaderAt = 24;
constexpr uint16_t kMachineI386 = 0x14C;
constexpr uint16_t kFlagRelocationsStripped = 0x1, kFlagDll = 0x2000;
// Optional header of 32-bit images, counted from its start.
constexpr uint16_t kMagic32 = 0x10B;
constexpr uint32_t kEntryAt = 16, kImageBaseAt = 28, kImageBytesAt = 56, kHeaderBytesAt = 60;
constexpr uint32_t kDirectoryCountAt = 92, kDirectoriesAt = 96;
enum Directory : uint32_t {
    ExportDirectory = 0,
    ImportDirectory = 1,
    RelocationDirectory = 5,
    ThreadDirectory = 9,
};
// Section headers.
constexpr uint32_t kSectionHeaderBytes = 40;
constexpr uint32_t kVirtualBytesAt = 8, kVirtualAt = 12, kFileBytesAt = 16, kFileAt = 20,
                   kSectionFlagsAt = 36;
constexpr uint32_t kExecute = 0x20000000, kWrite = 0x80000000;
// Import descriptors.
constexpr uint32_t kDescriptorBytes = 20, kNamesAt = 0, kDllNameAt = 12, kThunksAt = 16;
constexpr uint32_t kByOrdinal = 0x80000000;
// Export directory.
constexpr uint32_t kOrdinalBaseAt = 16, kFunctionCountAt = 20, kFunctionsAt = 28;
// Relocation kinds.
constexpr uint32_t kRelocatePadding = 0, kRelocateWord = 3;

uint32_t PagesOf(uint32_t bytes) {
    return (bytes + kPage - 1) & ~(kPage - 1);
}

// In large pieces: who compares linked driver and DLL loads the file again and again.
std::vector<uint8_t> BytesOf(std::istream& in) {
    constexpr size_t kPiece = size_t{1} << 16;
    std::vector<uint8_t> bytes;
    for (size_t got = kPiece; got == kPiece;) {
        const size_t before = bytes.size();
        bytes.resize(before + kPiece);
        in.read(reinterpret_cast<char*>(bytes.data() + before), kPiece);
        got = static_cast<size_t>(in.gcount());
        bytes.resize(before + got);
    }
    return bytes;
}

} // namespace

Image::Image(const std::string& path) : path_(path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        Fail("cannot be opened");
    }
    ReadHeaders(BytesOf(in));
}

Image::~Image() {
    if (base_ != nullptr) {
        munmap(base_, PagesOf(Bytes()));
    }
}

void Image::Fail(const std::string& what) const {
    throw std::runtime_error(path_ + ": " + what);
}

template <class T>
T Image::Read(const std::vector<uint8_t>& from, uint32_t at) const {
    if (at > from.size() || from.size() - at < sizeof(T)) {
        Fail("a header or table leads out of the image");
    }
    T value;
    std::memcpy(&value, &from[at], sizeof(T));
    return value;
}

std::string Image::ReadName(uint32_t at) const {
    std::string name;
    while (const char c = Read<char>(contents_, at++)) {
        name += c;
    }
    return name;
}

void Image::ReadHeaders(const std::vector<uint8_t>& file) {
    if (file.size() < kHeaderPointerAt + 4 || Read<uint16_t>(file, 0) != kDosMagic) {
        Fail("not a Windows program");
    }
    const auto header = Read<uint32_t>(file, kHeaderPointerAt);
    if (Read<uint32_t>(file, header) != kPeMagic ||
        Read<uint16_t>(file, header + kMachineAt) != kMachineI386) {
        Fail("not a program for 32-bit x86");
    }
    const auto flags = Read<uint16_t>(file, header + kFlagsAt);
    const uint32_t optional = header + kOptionalHeaderAt;
    if ((flags & kFlagDll) == 0 || Read<uint16_t>(file, optional) != kMagic32) {
        Fail("not a 32-bit DLL");
    }
    relocatable_ = (flags & kFlagRelocationsStripped) == 0;
    entry_ = Read<uint32_t>(file, optional + kEntryAt);
    preferredBase_ = Read<uint32_t>(file, optional + kImageBaseAt);
    const auto bytes = Read<uint32_t>(file, optional + kImageBytesAt);
    const auto headerBytes = Read<uint32_t>(file, optional + kHeaderBytesAt);
    if (bytes > kMaxImageBytes || headerBytes > bytes || headerBytes > file.size() ||
        preferredBase_ % kPage != 0 || entry_ >= bytes) {
        Fail("sizes in its header cannot be");
    }
    contents_.resize(bytes);
    std::copy_n(file.begin(), headerBytes, contents_.begin());

    const uint32_t table = optional + Read<uint16_t>(file, header + kOptionalBytesAt);
    for (uint32_t i = 0; i < Read<uint16_t>(file, header + kSectionCountAt); ++i) {
        const uint32_t at = table + i * kSectionHeaderBytes;
        const auto start = Read<uint32_t>(file, at + kVirtualAt);
        const auto inFile = Read<uint32_t>(file, at + kFileAt);
        const auto fileBytes = Read<uint32_t>(file, at + kFileBytesAt);
        const uint32_t size = std::max(Read<uint32_t>(file, at + kVirtualBytesAt), 1u);
        const uint32_t copied = std::min(size, fileBytes);
        if (start % kPage != 0 || start > bytes || size > bytes - start || inFile > file.size() ||
            copied > file.size() - inFile) {
            Fail("a section leads out of the image");
        }
        std::copy_n(file.begin() + inFile, copied, contents_.begin() + start);
        sections_.push_back({start, size, Read<uint32_t>(file, at + kSectionFlagsAt)});
    }

    const auto directory = [&](Directory index) {
        const uint32_t at = optional + kDirectoriesAt + index * 8;
        const bool there = index < Read<uint32_t>(file, optional + kDirectoryCountAt);
        return there ? std::pair(Read<uint32_t>(file, at), Read<uint32_t>(file, at + 4))
                     : std::pair(0u, 0u);
    };
    if (const auto [at, size] = directory(ExportDirectory); at != 0) {
        ReadExports(at, size);
    }
    if (directory(ThreadDirectory).first != 0) {
        Fail("wants storage of its own for each thread, which this host does not give");
    }
    if (const auto [at, size] = directory(ImportDirectory); at != 0) {
        ReadImports(at);
    }
    if (const auto [at, size] = directory(RelocationDirectory); at != 0) {
        if (size > bytes || at > bytes - size) {
            Fail("its relocations lead out of the image");
        }
        ReadRelocations(at, size);
    } else {
        relocatable_ = false;
    }
}

void Image::ReadExports(uint32_t directory, uint32_t bytes) {
    const auto first = Read<uint32_t>(contents_, directory + kOrdinalBaseAt);
    const auto count = Read<uint32_t>(contents_, directory + kFunctionCountAt);
    const auto functions = Read<uint32_t>(contents_, directory + kFunctionsAt);
    if (first > kMaxOrdinals || count > kMaxOrdinals) {
        Fail("too many exports");
    }
    exports_.assign(first + count, 0);
    for (uint32_t i = 0; i < count; ++i) {
        const auto function = Read<uint32_t>(contents_, functions + 4 * i);
        if (function >= Bytes()) {
            Fail("an export leads out of the image");
        }
        if (function - directory < bytes) {
            Fail("an export is another library's");
        }
        exports_[first + i] = function;
    }
}

void Image::ReadImports(uint32_t directory) {
    for (uint32_t at = directory; Read<uint32_t>(contents_, at + kDllNameAt) != 0;
         at += kDescriptorBytes) {
        const std::string dll = ReadName(Read<uint32_t>(contents_, at + kDllNameAt));
        uint32_t slot = Read<uint32_t>(contents_, at + kThunksAt);
        // The slots may hold addresses of another system already; the other table keeps the names.
        const auto names = Read<uint32_t>(contents_, at + kNamesAt);
        uint32_t look = names != 0 ? names : slot;
        for (; const auto name = Read<uint32_t>(contents_, look); look += 4, slot += 4) {
            if ((name & kByOrdinal) != 0) {
                Fail("imports " + dll + " by ordinal, which differs between systems");
            }
            const std::string function = ReadName(name + 2); // behind the hint
            void* address = FindImport(dll, function);
            if (address == nullptr) {
                Fail("needs " + function + " of " + dll + ", which this host does not have");
            }
            Read<uint32_t>(contents_, slot);
            bindings_.push_back({slot, address});
        }
    }
}

void Image::ReadRelocations(uint32_t directory, uint32_t bytes) {
    for (uint32_t at = directory; at + 8 <= directory + bytes;) {
        const auto page = Read<uint32_t>(contents_, at);
        const auto blockBytes = Read<uint32_t>(contents_, at + 4);
        if (blockBytes < 8 || blockBytes > directory + bytes - at) {
            Fail("a relocation block has an impossible size");
        }
        for (uint32_t i = 8; i + 2 <= blockBytes; i += 2) {
            const auto entry = Read<uint16_t>(contents_, at + i);
            const uint32_t kind = entry >> 12;
            if (kind == kRelocateWord) {
                relocations_.push_back(page + (entry & 0xFFF));
                Read<uint32_t>(contents_, relocations_.back());
            } else if (kind != kRelocatePadding) {
                Fail("a relocation of kind " + std::to_string(kind));
            }
        }
        at += blockBytes;
    }
}

// Address space for the image, at its preferred base if that is free.
void Image::Reserve() {
    const auto map = [this](uint32_t address, int flags) {
        void* at = mmap(reinterpret_cast<void*>(address), PagesOf(Bytes()), PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | flags, -1, 0);
        return at == MAP_FAILED ? nullptr : static_cast<uint8_t*>(at);
    };
    base_ = map(preferredBase_, MAP_FIXED_NOREPLACE);
    if (base_ == nullptr) {
        if (!relocatable_) {
            Fail("its base is taken and it cannot be moved");
        }
        base_ = map(0, 0);
    }
    if (base_ == nullptr) {
        Fail("no address space for it");
    }
}

void Image::Load() {
    if (base_ == nullptr) {
        Reserve();
    }
    mprotect(base_, PagesOf(Bytes()), PROT_READ | PROT_WRITE);
    std::copy(contents_.begin(), contents_.end(), base_);
    const uint32_t moved = reinterpret_cast<uintptr_t>(base_) - preferredBase_;
    const auto patch = [this](uint32_t at, auto change) {
        uint32_t value;
        std::memcpy(&value, base_ + at, 4);
        value = change(value);
        std::memcpy(base_ + at, &value, 4);
    };
    for (const uint32_t at : relocations_) {
        patch(at, [moved](uint32_t value) { return value + moved; });
    }
    for (const Binding& binding : bindings_) {
        patch(binding.slot, [&](uint32_t) {
            return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(binding.function));
        });
    }
    Protect();
}

void Image::Protect() {
    mprotect(base_, PagesOf(Bytes()), PROT_READ); // headers and gaps
    for (const Section& section : sections_) {
        const int protection = PROT_READ | ((section.flags & kWrite) != 0 ? PROT_WRITE : 0) |
                               ((section.flags & kExecute) != 0 ? PROT_EXEC : 0);
        mprotect(base_ + section.start, PagesOf(section.bytes), protection);
    }
}

void* Image::Entry() const {
    return HasEntry() ? base_ + entry_ : nullptr;
}

void* Image::Export(uint32_t ordinal) const {
    return HasExport(ordinal) ? base_ + exports_[ordinal] : nullptr;
}

} // namespace host::loader
