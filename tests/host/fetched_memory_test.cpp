#include "host/remote/fetched_memory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace host {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr size_t kPage = 4096, kPages = 40, kBytes = kPages * kPage - 1000;

// The other program's side: a plain memory, and what was asked of it.
struct Owner {
    std::vector<uint8_t> bytes = std::vector<uint8_t>(kBytes);
    std::vector<std::pair<size_t, size_t>> fetched, stored; // first page, bytes

    FetchedMemory::Fetch Fetch() {
        return [this](uint32_t offset, std::span<uint8_t> to) {
            fetched.emplace_back(offset / kPage, to.size());
            std::memcpy(to.data(), bytes.data() + offset, to.size());
        };
    }
    FetchedMemory::Store Store() {
        return [this](uint32_t offset, std::span<const uint8_t> from) {
            stored.emplace_back(offset / kPage, from.size());
            std::ranges::copy(from, bytes.begin() + offset);
        };
    }
};

class FetchedMemoryTest : public testing::Test {
  protected:
    // The board acts: what has been stored is sent, and then it may write.
    template <class Action>
    void Act(const Action& action) {
        memory.Push(owner.Store());
        memory.Forget();
        action();
    }
    uint8_t Look(size_t offset) const {
        return *const_cast<const volatile uint8_t*>(file.Bytes().data() + offset);
    }
    void Put(size_t offset, uint8_t byte) { file.Bytes()[offset] = byte; }

    Owner owner;
    remote::MappedFile file = remote::MappedFile::Create(kBytes);
    FetchedMemory memory{file, owner.Fetch()};
};

TEST_F(FetchedMemoryTest, BeginsAsZeroesThatNobodyHasToFetch) {
    EXPECT_EQ(Look(5), 0);
    EXPECT_EQ(Look(kBytes - 1), 0);
    EXPECT_THAT(owner.fetched, IsEmpty());
    memory.Push(owner.Store());
    EXPECT_THAT(owner.stored, IsEmpty());
}

TEST_F(FetchedMemoryTest, SeesWhatTheOwnerHasWritten) {
    Act([&] { owner.bytes[3 * kPage + 7] = 0x5A; });
    EXPECT_EQ(Look(3 * kPage + 7), 0x5A);
    EXPECT_EQ(Look(4 * kPage), 0);
    EXPECT_THAT(owner.fetched, ElementsAre(Pair(3, 16 * kPage))) << "some pages at once, once";
    Act([&] { owner.bytes[3 * kPage + 7] = 0x5B; });
    EXPECT_EQ(Look(3 * kPage + 7), 0x5B);
    EXPECT_EQ(owner.fetched.size(), 2u);
}

TEST_F(FetchedMemoryTest, SendsThePagesThatWereStoredInto) {
    Act([&] { owner.bytes[kPage] = 1; });
    Put(kPage + 1, 2); // beside what the owner has written
    Put(2 * kPage, 3);
    Put(30 * kPage, 4);
    Put(kBytes - 1, 5);
    Act([&] {});
    EXPECT_THAT(owner.stored,
                ElementsAre(Pair(1, 2 * kPage), Pair(30, kPage), Pair(kPages - 1, kPage - 1000)));
    EXPECT_EQ(owner.bytes[kPage], 1);
    EXPECT_EQ(owner.bytes[kPage + 1], 2);
    EXPECT_EQ(owner.bytes[30 * kPage], 4);
    EXPECT_EQ(owner.bytes[kBytes - 1], 5);
    Act([&] {});
    EXPECT_EQ(owner.stored.size(), 3u) << "nothing new";
    Put(kPage + 1, 6);
    Act([&] {});
    EXPECT_EQ(owner.bytes[kPage + 1], 6);
}

TEST(FetchedMemory, OfWhoNeverWritesIsNeverFetched) {
    Owner owner;
    const remote::MappedFile file = remote::MappedFile::Create(kBytes);
    file.Bytes()[9 * kPage] = 1; // before it is watched
    FetchedMemory memory(file, {});
    for (uint8_t i = 0; i < 3; ++i) {
        file.Bytes()[5] = i;
        memory.Push(owner.Store());
        memory.Forget();
        EXPECT_EQ(owner.bytes[5], i);
    }
    EXPECT_EQ(owner.bytes[9 * kPage], 1);
    EXPECT_THAT(owner.stored,
                ElementsAre(Pair(0, kPage), Pair(9, kPage), Pair(0, kPage), Pair(0, kPage)));
}

} // namespace

} // namespace host
