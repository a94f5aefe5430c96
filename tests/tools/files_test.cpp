#include "tests/tools/temporary_folder.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/base/files.h"
#include "tools/korv/capture/recording.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace korv {
namespace {

TEST(OutputFile, IsThereOnlyAfterCommit) {
    TemporaryFolder folder;
    OutputFile file(folder / "a.bin");
    file.Stream() << "text";
    EXPECT_FALSE(std::filesystem::exists(folder / "a.bin"));
    file.Commit();
    EXPECT_EQ(ReadAll(folder / "a.bin"), "text");
    EXPECT_EQ(folder.Files(), 1u);
}

TEST(OutputFile, LeavesTheOldFileAloneWithoutCommit) {
    TemporaryFolder folder;
    folder.Write("a.bin", "old");
    {
        OutputFile file(folder / "a.bin");
        file.Stream() << "new";
    }
    EXPECT_EQ(ReadAll(folder / "a.bin"), "old");
    EXPECT_EQ(folder.Files(), 1u);
}

TEST(OutputFile, FolderThatIsNotThereIsAUserError) {
    TemporaryFolder folder;
    try {
        OutputFile file(folder / "none/a.bin");
        FAIL();
    } catch (const UserError& error) {
        EXPECT_EQ(std::string(error.what()),
                  "cannot write '" + (folder / "none/a.bin") + "': No such file or directory");
    }
}

TEST(OutputFile, FolderInsteadOfFileIsAUserError) {
    TemporaryFolder folder;
    EXPECT_THROW(OutputFile file(folder.Path()), UserError);
}

TEST(Files, MakeFolderMakesThoseAboveToo) {
    TemporaryFolder folder;
    MakeFolder(folder / "a/b/c");
    EXPECT_TRUE(std::filesystem::is_directory(folder / "a/b/c"));
    MakeFolder(folder / "a/b/c");
}

TEST(Files, MakeFolderWhereAFileIsIsAUserError) {
    TemporaryFolder folder;
    folder.Write("a", "");
    EXPECT_THROW(MakeFolder(folder / "a"), UserError);
    EXPECT_THROW(MakeFolder(folder / "a/b"), UserError);
}

TEST(RecordPaths, SuffixGoesBeforeTheExtension) {
    const RecordPaths paths = RecordPaths{"out/words.bin", "events"}.With("tx-knot");
    EXPECT_EQ(paths.words, "out/words-tx-knot.bin");
    EXPECT_EQ(paths.events, "events-tx-knot");
    EXPECT_TRUE(RecordPaths{}.With("x").words.empty());
}

TEST(Recording, WritesWordsLittleEndianAndEventsAsText) {
    TemporaryFolder folder;
    Recording recording({folder / "w", folder / "e"});
    EXPECT_TRUE(recording.Wanted());
    recording.OnFifoWord(0x00010203);
    recording.OnDmaWord(0xA0B0C0D0);
    recording.OnWrite(0x10, 5);
    recording.Commit();
    EXPECT_EQ(ReadAll(folder / "w"), std::string("\x03\x02\x01\x00\xD0\xC0\xB0\xA0", 8));
    const std::string events = ReadAll(folder / "e");
    EXPECT_EQ(std::ranges::count(events, '\n'), 3);
    EXPECT_NE(events.find("f 00010203"), std::string::npos);
    EXPECT_NE(events.find("\nw 0010 00000005"), std::string::npos);
}

TEST(Recording, WithoutPathsWantsNothing) {
    EXPECT_FALSE(Recording({}).Wanted());
}

} // namespace
} // namespace korv
