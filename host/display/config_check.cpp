#include "host/display/config_check.h"

#include "host/display/known_device.h"

#include <algorithm>
#include <cstdlib>

namespace host {

namespace {

constexpr uint32_t kMegabyte = 1u << 20;
constexpr uint32_t kMaxRegistryName = 34;
constexpr uint32_t kMaxDmaBufferBytes = 16 * kMegabyte; // the distance of two on the bus
// A context fills its sub-buffer up to this before it looks at the sub-buffer's own size: the limit
// at the start of a scene. No single reservation is larger.
constexpr uint32_t kFewestSubBufferBytes = 1024;
// The longest wait for FIFO space, in entries; a smaller FIFO would never have it.
constexpr uint32_t kFewestFifoEntries = 16;
constexpr uint32_t kMostFifoEntries = 1024;

std::string Range(uint32_t value, uint32_t low, uint32_t high) {
    return std::to_string(value) + " is out of range: expected " + std::to_string(low) + " to " +
           std::to_string(high);
}

void Check(const char* field, uint32_t value, uint32_t low, uint32_t high) {
    if (value < low || value > high) {
        throw ConfigError(field, Range(value, low, high));
    }
}

constexpr uint32_t kFewestSubBuffers = 2;
constexpr const char* kSubBuffersValue = "Direct3DHAL.SubBuffers";

// In how many pieces this display's registry has DMA buffers cut. What is no plain number counts as
// the most.
uint32_t SubBuffersByRegistry(const DisplayConfig& config) {
    constexpr long kDefault = 8, kMost = 32;
    const auto text = config.registry.find(kSubBuffersValue);
    const long count =
        text == config.registry.end() ? 0 : std::strtol(text->second.c_str(), nullptr, 10);
    if (count == 0) {
        return kDefault;
    }
    return count < 0 || count > kMost ? kMost : std::max<long>(count, kFewestSubBuffers);
}

// In how many pieces the driver cuts this display's, where the registry says `byRegistry`.
uint32_t SubBuffers(const DisplayConfig& config, uint32_t byRegistry) {
    return (config.chipFlags & TwoSubBuffers) != 0 ? kFewestSubBuffers : byRegistry;
}

uint32_t FewestBufferBytes(const DisplayConfig& config, uint32_t byRegistry) {
    return config.dmaBufferCount == 0 ? 0 : SubBuffers(config, byRegistry) * kFewestSubBufferBytes;
}

void CheckDmaBuffers(const DisplayConfig& config) {
    Check("dmaBuffers", config.dmaBufferCount, 0, 10);
    if (config.dmaBufferCount == 0) {
        return;
    }
    const uint32_t byRegistry = SubBuffersByRegistry(config), bytes = config.dmaBufferBytes;
    const uint32_t fewest = FewestBufferBytes(config, byRegistry);
    if (bytes < fewest || bytes > kMaxDmaBufferBytes) {
        throw ConfigError("dmaBufferBytes", Range(bytes, fewest, kMaxDmaBufferBytes) + ", with " +
                                                std::to_string(SubBuffers(config, byRegistry)) +
                                                " sub-buffers of at least " +
                                                std::to_string(kFewestSubBufferBytes) + " bytes");
    }
}

void CheckTiming(const board::Timing& timing) {
    Check("timing/fifoDepth", timing.fifoDepth, kFewestFifoEntries, kMostFifoEntries);
    Check("timing/fifoReportLag", timing.fifoReportLag, 0, 1'000'000);
    Check("timing/strayOutputWords", timing.strayOutputWords, 0, 1024);
    Check("timing/microsecondsPerTick", timing.microsecondsPerTick, 0, 1'000'000);
}

} // namespace

void CheckMode(const DisplayConfig& config) {
    if (config.bits != 8 && config.bits != 16 && config.bits != 32 &&
        !(config.bits == 24 && KnownDevice(config.deviceId).model == ChipModel::Permedia2)) {
        throw std::invalid_argument("no board has a mode of " + std::to_string(config.bits) +
                                    " bits per pixel here");
    }
    const uint32_t pitch = ScreenPitchPixels(config.deviceId, config.width);
    if (config.width == 0 || config.height == 0 || pitch < config.width || config.height > 0xFFFF) {
        throw std::invalid_argument("no mode of " + std::to_string(config.width) + " by " +
                                    std::to_string(config.height) + " pixels");
    }
    const uint64_t screen = uint64_t{pitch} * config.height * config.bits / 8;
    if (screen + 2 * kServiceHeapBytes > config.frameBufferBytes) {
        throw std::invalid_argument("the mode does not fit the frame buffer");
    }
}

void CheckConfig(const DisplayConfig& config) {
    Check("refreshRate", config.refreshRate, 1, 1000);
    Check("frameBufferBytes", config.frameBufferBytes, kMegabyte, 64 * kMegabyte);
    Check("localBufferBytes", config.localBufferBytes, kMegabyte, 64 * kMegabyte);
    CheckMode(config);
    CheckDmaBuffers(config);
    CheckTiming(config.timing);
    if (config.registryName.size() > kMaxRegistryName) {
        throw ConfigError("registryName", "too long: expected at most " +
                                              std::to_string(kMaxRegistryName) + " characters");
    }
}

void CheckBeside(const DisplayConfig& config, const DisplayConfig& other) {
    const uint32_t own = SubBuffersByRegistry(config), others = SubBuffersByRegistry(other);
    if (config.dmaBufferBytes < FewestBufferBytes(config, others)) {
        throw ConfigError("dmaBufferBytes",
                          std::to_string(config.dmaBufferBytes) +
                              " is too few for the sub-buffers of another display's registry, " +
                              std::to_string(others) + ", which count for all displays");
    }
    if (other.dmaBufferBytes < FewestBufferBytes(other, own)) {
        throw ConfigError(std::string("registry/") + kSubBuffersValue,
                          std::to_string(own) +
                              " sub-buffers, which count for all displays, are "
                              "too many for another display's dmaBufferBytes of " +
                              std::to_string(other.dmaBufferBytes));
    }
}

} // namespace host
