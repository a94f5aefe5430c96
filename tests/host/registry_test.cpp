#include "host/win32/registry.h"
#include "host/win32/win32.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

constexpr char kPath[] = "SOFTWARE\\Board\\DirectX";

class RegistryTest : public ::testing::Test {
  protected:
    RegistryTest() { host::ResetWin32(); }

    HKEY Open(const char* path = kPath) {
        HKEY key = nullptr;
        EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, path, 0, 0x2001B, &key), ERROR_SUCCESS);
        return key;
    }
};

TEST_F(RegistryTest, AKeyThatIsNotThereLeavesTheHandleAlone) {
    HKEY key = reinterpret_cast<HKEY>(0x1234);
    EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kPath, 0, 0x2001B, &key), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(key, reinterpret_cast<HKEY>(0x1234));
}

TEST_F(RegistryTest, TextIsStoredWithItsTerminatorAndReadBack) {
    host::TheRegistry().SetText(kPath, "Direct3DHAL.ZPatch", "12");
    uint8_t buffer[10] = {};
    DWORD bytes = sizeof(buffer), type = 0;
    EXPECT_EQ(RegQueryValueExA(Open(), "Direct3DHAL.ZPatch", nullptr, &type, buffer, &bytes),
              ERROR_SUCCESS);
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(bytes, 3u);
    EXPECT_STREQ(reinterpret_cast<char*>(buffer), "12");
    EXPECT_EQ(host::TheRegistry().LastAccess(), 0x2001Bu);
}

TEST_F(RegistryTest, ATooSmallBufferIsRefusedAndTheSizeTold) {
    host::TheRegistry().SetText(kPath, "Long", "0123456789");
    uint8_t buffer[10] = {0x77};
    DWORD bytes = sizeof(buffer);
    EXPECT_EQ(RegQueryValueExA(Open(), "Long", nullptr, nullptr, buffer, &bytes), ERROR_MORE_DATA);
    EXPECT_EQ(bytes, 11u);
    EXPECT_EQ(buffer[0], 0x77);
}

TEST_F(RegistryTest, NamesAreComparedWithoutCase) {
    host::TheRegistry().SetText("software\\BOARD\\directx", "direct3dhal.NODMA", "1");
    EXPECT_EQ(host::TheRegistry().Text(kPath, "Direct3DHAL.NoDMA"), "1");
}

TEST_F(RegistryTest, AWrittenValueKeepsItsBytesAndKind) {
    host::TheRegistry().CreateKey(kPath);
    const BYTE data[4] = {'1', 0, 0xAA, 0xBB};
    EXPECT_EQ(RegSetValueExA(Open(), "Value", 0, REG_SZ, data, 4), ERROR_SUCCESS);
    const host::RegistryValue* value = host::TheRegistry().Find(kPath, "Value");
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(*value, (host::RegistryValue{REG_SZ, {'1', 0, 0xAA, 0xBB}}));
    EXPECT_EQ(host::TheRegistry().Text(kPath, "Value"), "1");
}

TEST_F(RegistryTest, ManyValuesAreLoadedFromText) {
    host::TheRegistry().SetText(kPath, {{"A", "1"}, {"B", "two"}});
    EXPECT_EQ(host::TheRegistry().Text(kPath, "A"), "1");
    EXPECT_EQ(host::TheRegistry().Text(kPath, "B"), "two");
}

TEST_F(RegistryTest, ARemovedKeyFailsThroughItsOldHandle) {
    host::TheRegistry().SetText(kPath, "A", "1");
    const HKEY key = Open();
    EXPECT_TRUE(host::TheRegistry().ClearKey(kPath));
    DWORD bytes = 0;
    EXPECT_NE(RegQueryValueExA(key, "A", nullptr, nullptr, nullptr, &bytes), ERROR_SUCCESS);
}

TEST_F(RegistryTest, AClearedValueIsGone) {
    host::TheRegistry().SetText(kPath, "A", "1");
    const HKEY key = Open();
    EXPECT_TRUE(host::TheRegistry().Clear(kPath, "a"));
    EXPECT_FALSE(host::TheRegistry().Clear(kPath, "a"));
    DWORD bytes = 0;
    EXPECT_EQ(RegQueryValueExA(key, "A", nullptr, nullptr, nullptr, &bytes), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryTest, AHandleFromBeforeAResetIsDead) {
    host::TheRegistry().SetText(kPath, "A", "1");
    const HKEY old = Open();
    host::ResetWin32();
    host::TheRegistry().SetText(kPath, "A", "1");
    Open();
    DWORD bytes = 0;
    EXPECT_NE(RegQueryValueExA(old, "A", nullptr, nullptr, nullptr, &bytes), ERROR_SUCCESS);
}

} // namespace
