#include "driver/core/k32exp.h"
#include "host/win32/system.h"
#include "tests/support/rig.h"

#include <gtest/gtest.h>

namespace {

using test::Rig;

TEST(HiddenEntries, OrdinalZeroWrapsAndGivesNull) {
    Rig rig;
    EXPECT_EQ(GetK32ProcAddress(0), nullptr);
}

TEST(HiddenEntries, OrdinalsUpToTheNumberOfFunctionsAreFoundAndNoMore) {
    Rig rig;
    EXPECT_NE(GetK32ProcAddress(93), nullptr);
    EXPECT_NE(GetK32ProcAddress(97), nullptr);
    EXPECT_NE(GetK32ProcAddress(98), nullptr);
    EXPECT_NE(GetK32ProcAddress(97), GetK32ProcAddress(98));
    EXPECT_EQ(GetK32ProcAddress(99), nullptr);
    EXPECT_EQ(GetK32ProcAddress(0xFFFFFFFF), nullptr);
    host::SetSystemImage({.exports = 97});
    EXPECT_NE(GetK32ProcAddress(97), nullptr);
    EXPECT_EQ(GetK32ProcAddress(98), nullptr);
}

TEST(HiddenEntries, AnImageWithoutItsMarksGivesNull) {
    Rig rig;
    host::SetSystemImage({.mzMark = false});
    EXPECT_EQ(GetK32ProcAddress(93), nullptr);
    host::SetSystemImage({.peMark = false});
    EXPECT_EQ(GetK32ProcAddress(93), nullptr);
    host::SetSystemImage({});
    EXPECT_NE(GetK32ProcAddress(93), nullptr);
}

TEST(HiddenEntries, WithoutTheImageThereAreNone) {
    Rig rig;
    hmod = nullptr;
    host::SetSystemImage({.present = false});
    EXPECT_EQ(GetK32ProcAddress(93), nullptr);
    EXPECT_EQ(hmod, nullptr);
    host::SetSystemImage({});
    EXPECT_NE(GetK32ProcAddress(93), nullptr); // looked for again
}

TEST(HiddenEntries, TheLockEntriesTakeAndLeaveTheSystemsLock) {
    Rig rig;
    uint32_t lock = 0;
    reinterpret_cast<void(KORV_STDCALL*)(uint32_t*)>(GetK32ProcAddress(93))(&lock);
    EXPECT_EQ(lock, host::Win16LockAddress());
    reinterpret_cast<void(KORV_STDCALL*)(uint32_t)>(GetK32ProcAddress(97))(lock);
    EXPECT_EQ(host::Win16Lock().depth, 1u);
    reinterpret_cast<void(KORV_STDCALL*)(uint32_t)>(GetK32ProcAddress(98))(lock);
    EXPECT_EQ(host::Win16Lock().depth, 0u);
    EXPECT_EQ(host::Win16Lock().unbalanced, 0u);
}

} // namespace
