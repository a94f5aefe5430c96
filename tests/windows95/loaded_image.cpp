#include "tests/windows95/loaded_image.h"

#include "driver/platform/win32.h"

#include <sys/mman.h>

#include <cstring>
#include <map>
#include <stdexcept>

namespace {

#define KORV_ENTRY(name)                                                                           \
    { #name, reinterpret_cast < const void*>(&name) }
const std::map<std::string, const void*> kEntries = {
    KORV_ENTRY(CreateFileA),
    KORV_ENTRY(DeviceIoControl),
    KORV_ENTRY(CloseHandle),
    KORV_ENTRY(GetSystemInfo),
    KORV_ENTRY(HeapCreate),
    KORV_ENTRY(HeapAlloc),
    KORV_ENTRY(HeapFree),
    KORV_ENTRY(GetModuleHandleA),
    KORV_ENTRY(lstrcpyA),
    KORV_ENTRY(DisableThreadLibraryCalls),
    KORV_ENTRY(lstrcatA),
    KORV_ENTRY(OpenSemaphoreA),
    KORV_ENTRY(WaitForSingleObject),
    KORV_ENTRY(ReleaseSemaphore),
    KORV_ENTRY(OpenFileMappingA),
    KORV_ENTRY(MapViewOfFile),
    KORV_ENTRY(UnmapViewOfFile),
    KORV_ENTRY(timeGetTime),
    KORV_ENTRY(RegOpenKeyExA),
    KORV_ENTRY(RegQueryValueExA),
    KORV_ENTRY(RegSetValueExA),
    KORV_ENTRY(DCIBeginAccess),
    KORV_ENTRY(DCIEndAccess),
};
#undef KORV_ENTRY

} // namespace

LoadedImage::LoadedImage(const PEImage& image) : image_(image) {
    void* memory = mmap(nullptr, image.imageBytes, PROT_READ | PROT_WRITE | PROT_EXEC,
                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::runtime_error("no room for the image");
    }
    base_ = static_cast<uint8_t*>(memory);
    std::memcpy(base_, image.Headers(), image.headerBytes);
    for (const PESection& section : image.sections) {
        std::memcpy(base_ + section.address, image.Raw(section), section.rawSize);
    }
    const uint32_t moved = reinterpret_cast<uint32_t>(base_) - image.imageBase;
    for (uint32_t at : image.relocations) {
        uint32_t word;
        std::memcpy(&word, base_ + at, sizeof(word));
        word += moved;
        std::memcpy(base_ + at, &word, sizeof(word));
    }
    for (const PEImport& import : image.imports) {
        const auto found = kEntries.find(import.name);
        if (found == kEntries.end()) {
            throw std::runtime_error("import of an unknown entry: " + import.name);
        }
        std::memcpy(base_ + import.slot, &found->second, sizeof(found->second));
    }
}

LoadedImage::~LoadedImage() {
    munmap(base_, image_.imageBytes);
}
