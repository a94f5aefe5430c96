// A trace's two sides as two threads: the traced program, played by hand, and the tool's listing.
// Everything that goes from one to the other without an atomic goes under the semaphores. Both
// sides have the objects at the same addresses, by which the sanitizer knows them.
#include "host/win32/named_objects.h"
#include "host/win32/shared/shared_objects.h"
#include "tools/korv/capture/trace_listing.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <thread>

namespace {

using korv::trace::Listing;
using korv::trace::WordLog;

struct Form {
    const char* name;
    host::NamedObjects& (*objects)();
};

class Handover : public testing::TestWithParam<Form> {
  protected:
    static constexpr uint32_t kFogColor = 0xD3;

    static void Take(host::SemaphoreObject& semaphore) {
        ASSERT_TRUE(semaphore.Wait(60'000)) << semaphore.Name();
    }

    host::NamedObjects& objects_ = GetParam().objects();
    std::shared_ptr<host::SemaphoreObject> leave_ = objects_.CreateSemaphore("Leave", 0, 99);
    std::shared_ptr<host::SemaphoreObject> report_ = objects_.CreateSemaphore("Report", 0, 99);
    std::shared_ptr<host::MappingObject> memory_ = objects_.CreateMapping("Words", sizeof(WordLog));
};

INSTANTIATE_TEST_SUITE_P(Forms, Handover,
                         testing::Values(Form{"InProcess", host::InProcessObjects},
                                         Form{"Shared", host::SharedObjects}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(Handover, BatchesComeWhole) {
    constexpr uint32_t kBatches = 200;
    auto& log = *reinterpret_cast<WordLog*>(memory_->Memory());
    std::thread program([&] {
        for (uint32_t batch = 0; batch < kBatches; ++batch) {
            Take(*leave_);
            const uint32_t start = log.written;
            log.Put(kFogColor, WordLog::kByDma);
            log.Put(batch, WordLog::kByDma);
            log.batchStart = start;
            log.batchEnd = log.written;
            log.context = batch + 1;
            ++log.reports;
            ASSERT_TRUE(report_->Release(1, nullptr));
            // On its way to the next batch, while the tool lists this one.
            log.Put(kFogColor, 0);
            log.Put(batch + 1000, 0);
        }
    });
    std::ostringstream text;
    Listing listing(log, text);
    for (uint32_t batch = 0; batch < kBatches; ++batch) {
        ASSERT_TRUE(leave_->Release(1, nullptr));
        Take(*report_);
        listing.Batch();
        ASSERT_EQ(log.reports, batch + 1);
    }
    program.join();
    listing.Rest();
    EXPECT_EQ(listing.Batches(), kBatches);
    EXPECT_EQ(listing.Words(), kBatches * 4);
    const std::string listed = text.str();
    EXPECT_NE(listed.find("; before batch 2: 2 words\n"), std::string::npos);
    EXPECT_NE(listed.find("; batch 200: context 200, 2 words\n"), std::string::npos);
    EXPECT_NE(listed.find("; after the last batch: 2 words\n"), std::string::npos);
    EXPECT_EQ(listed.find("lost"), std::string::npos);
}

TEST_P(Handover, AFullLogLosesAndTellsIt) {
    auto& log = *reinterpret_cast<WordLog*>(memory_->Memory());
    constexpr uint32_t kMore = 1000;
    std::thread program([&] {
        for (uint32_t i = 0; i < WordLog::kCapacity + kMore; ++i) {
            log.Put(kFogColor, WordLog::kByDma);
        }
        report_->Release(1, nullptr);
    });
    // Positions may be looked at all the while.
    while (log.written == 0) {
        std::this_thread::yield();
    }
    Take(*report_);
    EXPECT_EQ(log.written, WordLog::kCapacity);
    EXPECT_EQ(log.lost, kMore);
    program.join();
}

} // namespace
