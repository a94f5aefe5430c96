#pragma once
// KORV32.dll in the memory of this process, as a loader lays it out.
#include "tests/windows95/pe_image.h"

#include <cstdint>
#include <string>

class LoadedImage {
  public:
    // Lays the image out wherever there is room, corrects its addresses and fills its imports with
    // the hosted build's entries. Throws std::runtime_error if an import is not among them.
    explicit LoadedImage(const PEImage& image);
    ~LoadedImage();
    LoadedImage(const LoadedImage&) = delete;
    LoadedImage& operator=(const LoadedImage&) = delete;

    uint8_t* Base() const { return base_; }
    // The export or entry as a function of type T.
    template <class T>
    T* Entry() const {
        return reinterpret_cast<T*>(base_ + image_.entry);
    }
    template <class T>
    T* Export(const std::string& name) const {
        return reinterpret_cast<T*>(base_ + image_.exports.at(name).address);
    }

  private:
    const PEImage& image_;
    uint8_t* base_;
};
