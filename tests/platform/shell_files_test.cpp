// platform/files.h: the shell's silent copy and rename as the backup uses
// them, and the last component of a path and the path without it.
#include <errno.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/files.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;
namespace platform = zandb4::platform;
using zandb4::testing::TempFolder;
using zandb4::testing::WriteFile;

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// ---- ShellCopy ----

TEST(PlatformShellCopy, AFileGoesIntoTheFolderUnderItsOwnName) {
    TempFolder temp;
    WriteFile(temp / "a.db", "one");
    fs::create_directory(temp / "to");
    EXPECT_EQ(platform::ShellCopy((temp / "a.db").string(), (temp / "to").string()), 0);
    EXPECT_EQ(ReadFile(temp / "to" / "a.db"), "one");
    EXPECT_EQ(ReadFile(temp / "a.db"), "one");
}

TEST(PlatformShellCopy, AFileOfTheSameNameIsReplaced) {
    TempFolder temp;
    WriteFile(temp / "a.db", "new");
    fs::create_directory(temp / "to");
    WriteFile(temp / "to" / "a.db", "old and longer");
    EXPECT_EQ(platform::ShellCopy((temp / "a.db").string(), (temp / "to").string()), 0);
    EXPECT_EQ(ReadFile(temp / "to" / "a.db"), "new");
}

TEST(PlatformShellCopy, AFolderComesWithAllItsContent) {
    TempFolder temp;
    fs::create_directories(temp / "shards" / "inner");
    WriteFile(temp / "shards" / "00000000.db", "zero");
    WriteFile(temp / "shards" / "inner" / "deep.db", "deep");
    fs::create_directory(temp / "to");
    EXPECT_EQ(platform::ShellCopy((temp / "shards").string(), (temp / "to").string()), 0);
    EXPECT_EQ(ReadFile(temp / "to" / "shards" / "00000000.db"), "zero");
    EXPECT_EQ(ReadFile(temp / "to" / "shards" / "inner" / "deep.db"), "deep");
}

TEST(PlatformShellCopy, AMissingTargetFolderIsMade) {
    TempFolder temp;
    WriteFile(temp / "a.db", "one");
    EXPECT_EQ(platform::ShellCopy((temp / "a.db").string(), (temp / "x" / "y").string()), 0);
    EXPECT_EQ(ReadFile(temp / "x" / "y" / "a.db"), "one");
}

TEST(PlatformShellCopy, AMissingSourceAnswersItsErrorNumber) {
    TempFolder temp;
    fs::create_directory(temp / "to");
    EXPECT_EQ(platform::ShellCopy((temp / "missing.db").string(), (temp / "to").string()), ENOENT);
    EXPECT_TRUE(fs::is_empty(temp / "to"));
}

TEST(PlatformShellCopy, ATargetBelowAFileAnswersItsErrorNumber) {
    TempFolder temp;
    WriteFile(temp / "a.db", "one");
    WriteFile(temp / "file", "in the way");
    EXPECT_EQ(platform::ShellCopy((temp / "a.db").string(), (temp / "file" / "to").string()), ENOTDIR);
}

// ---- ShellRename ----

TEST(PlatformShellRename, AFolderMovesWithItsContent) {
    TempFolder temp;
    fs::create_directory(temp / "backup");
    WriteFile(temp / "backup" / "a.db", "one");
    EXPECT_EQ(platform::ShellRename((temp / "backup").string(), (temp / "backup2").string()), 0);
    EXPECT_FALSE(fs::exists(temp / "backup"));
    EXPECT_EQ(ReadFile(temp / "backup2" / "a.db"), "one");
}

TEST(PlatformShellRename, AMissingSourceAnswersItsErrorNumber) {
    TempFolder temp;
    EXPECT_EQ(platform::ShellRename((temp / "missing").string(), (temp / "other").string()), ENOENT);
}

TEST(PlatformShellRename, AFolderDoesNotReplaceAFolderWithContent) {
    TempFolder temp;
    fs::create_directories(temp / "a");
    fs::create_directories(temp / "b");
    WriteFile(temp / "b" / "kept", "kept");
    EXPECT_NE(platform::ShellRename((temp / "a").string(), (temp / "b").string()), 0);
    EXPECT_EQ(ReadFile(temp / "b" / "kept"), "kept");
}

// ---- RemoveFileSpec and FindFileName ----

TEST(PlatformPathParts, RemoveFileSpecCutsTheLastComponent) {
    EXPECT_EQ(platform::RemoveFileSpec("/a/b"), "/a");
    EXPECT_EQ(platform::RemoveFileSpec("/a/b/"), "/a/b");
    EXPECT_EQ(platform::RemoveFileSpec("/a"), "/");
    EXPECT_EQ(platform::RemoveFileSpec("/"), "/");
    EXPECT_EQ(platform::RemoveFileSpec("a/b"), "a");
    EXPECT_EQ(platform::RemoveFileSpec("a"), "");
    EXPECT_EQ(platform::RemoveFileSpec(""), "");
}

TEST(PlatformPathParts, FindFileNameGivesTheLastComponent) {
    EXPECT_EQ(platform::FindFileName("/a/b"), "b");
    EXPECT_EQ(platform::FindFileName("/a/b.db"), "b.db");
    EXPECT_EQ(platform::FindFileName("/a/b/"), "b/");
    EXPECT_EQ(platform::FindFileName("b"), "b");
    EXPECT_EQ(platform::FindFileName(""), "");
}

}  // namespace
