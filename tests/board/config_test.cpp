#include "board/config.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using board::Config;
using board::Timing;

// The bounds of a field, and what is said of a value past the upper one.
void ExpectMost(const char* name, uint32_t Timing::*field, uint32_t least, uint32_t most) {
    Config config;
    for (const uint32_t value : {least, most}) {
        config.timing.*field = value;
        EXPECT_EQ(config.Problem(), std::nullopt) << name << ' ' << value;
    }
    config.timing.*field = most + 1;
    EXPECT_EQ(config.Problem(), std::string(name) + " is " + std::to_string(most + 1) + ", from " +
                                    std::to_string(least) + " to " + std::to_string(most) +
                                    " was expected");
}
void ExpectMost(const char* name, uint32_t Config::*field, uint32_t least, uint32_t most,
                uint32_t step = 1) {
    Config config;
    config.linesBlank = 0;
    for (const uint32_t value : {least, most}) {
        config.*field = value;
        EXPECT_EQ(config.Problem(), std::nullopt) << name << ' ' << value;
    }
    config.*field = most + step;
    EXPECT_EQ(config.Problem(), std::string(name) + " is " + std::to_string(most + step) +
                                    ", from " + std::to_string(least) + " to " +
                                    std::to_string(most) + " was expected");
}

TEST(Config, TimesAndCountsHaveAMost) {
    ExpectMost("fifoDepth", &Timing::fifoDepth, 1, 65536);
    ExpectMost("fifoTicksPerEntry", &Timing::fifoTicksPerEntry, 0, 65536);
    ExpectMost("fifoReportLag", &Timing::fifoReportLag, 0, 65536);
    ExpectMost("interruptLatency", &Timing::interruptLatency, 0, 65536);
    ExpectMost("strayOutputWords", &Timing::strayOutputWords, 0, 65536);
    ExpectMost("microsecondsPerTick", &Timing::microsecondsPerTick, 0, 65536);
}

TEST(Config, MemoriesAndFramesHaveBounds) {
    ExpectMost("frameBufferBytes", &Config::frameBufferBytes, 4096, 256u << 20, 4096);
    ExpectMost("localBufferBytes", &Config::localBufferBytes, 0, 256u << 20, 4096);
    ExpectMost("refreshRate", &Config::refreshRate, 1, 1000);
    ExpectMost("linesTotal", &Config::linesTotal, 1, 10000);
    ExpectMost("linesBlank", &Config::linesBlank, 0, 525);
}

TEST(Config, MemoriesAreWholePages) {
    for (uint32_t Config::*const field : {&Config::frameBufferBytes, &Config::localBufferBytes}) {
        Config config;
        config.*field = 8192 + 4095;
        EXPECT_EQ(config.Problem(), "a memory has 12287 bytes, whole pages of 4096 were expected");
    }
}

} // namespace
