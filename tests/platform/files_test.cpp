// platform/files.h: attributes, existence, deleting files and folders,
// renaming, forcing files and folders to the disk, making a folder path,
// listing a folder in byte order of its names, and the folder that holds the
// library's own code.
#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/files.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;
namespace platform = zandb4::platform;
using zandb4::testing::TempFolder;
using zandb4::testing::WriteFile;

std::vector<std::string> Names(const std::vector<platform::FolderEntry>& entries) {
    std::vector<std::string> names;
    for (const platform::FolderEntry& entry : entries) names.push_back(entry.name);
    return names;
}

// ---- file status ----

// Seconds since 1970 by the real clock.
int64_t Now() { return static_cast<int64_t>(::time(nullptr)); }

TEST(PlatformFiles, StatusOfAFileGivesItsSizeAndWhenItWasMade) {
    TempFolder temp;
    const int64_t before = Now();
    WriteFile(temp / "made", std::string(1234, 'x'));
    const int64_t after = Now();

    platform::FileStatus status;
    ASSERT_TRUE(platform::GetFileStatus((temp / "made").string(), status));

    EXPECT_EQ(status.size, 1234u);
    EXPECT_GE(status.creationTime, before);
    EXPECT_LE(status.creationTime, after);
}

TEST(PlatformFiles, StatusOfAMissingFileIsNotGivenAndLeavesTheStatusAlone) {
    TempFolder temp;
    platform::FileStatus status;
    status.size = 77;
    status.creationTime = 88;

    EXPECT_FALSE(platform::GetFileStatus((temp / "missing").string(), status));
    EXPECT_FALSE(platform::GetFileStatus("", status));

    EXPECT_EQ(status.size, 77u);
    EXPECT_EQ(status.creationTime, 88);
}

TEST(PlatformFiles, StatusCountsTheSizeOfASparseFile) {
    TempFolder temp;
    WriteFile(temp / "sparse", "");
    ASSERT_EQ(::truncate((temp / "sparse").c_str(), 0x20000001), 0);

    platform::FileStatus status;
    ASSERT_TRUE(platform::GetFileStatus((temp / "sparse").string(), status));

    EXPECT_EQ(status.size, 0x20000001u);
}

TEST(PlatformFiles, CreationTimeIsTheBirthTimeOrElseTheModificationTime) {
    TempFolder temp;
    WriteFile(temp / "aged", "x");
    // Back-dates the modification time by a year: a birth time stays as it
    // was, the stand-in follows.
    const auto modified = fs::last_write_time(temp / "aged");
    fs::last_write_time(temp / "aged", modified - std::chrono::hours(24 * 365));
    const int64_t modifiedSeconds =
        std::chrono::duration_cast<std::chrono::seconds>(
            std::chrono::file_clock::to_sys(fs::last_write_time(temp / "aged")).time_since_epoch())
            .count();

    platform::FileStatus status;
    ASSERT_TRUE(platform::GetFileStatus((temp / "aged").string(), status));

    if (status.isBirthTime) {
        EXPECT_GT(status.creationTime, modifiedSeconds + 364 * 86400);
    } else {
        EXPECT_EQ(status.creationTime, modifiedSeconds);
    }
}

// ---- attributes and existence ----

TEST(PlatformFiles, AttributesOfAMissingPathAreAllOnesWithTheFolderBitSet) {
    TempFolder temp;

    uint32_t attributes = platform::GetFileAttributes((temp / "missing").string());

    EXPECT_EQ(attributes, 0xFFFFFFFFu);
    EXPECT_NE(attributes & 16u, 0u);
}

TEST(PlatformFiles, AttributesOfAFolderAreSixteen) {
    TempFolder temp;

    EXPECT_EQ(platform::GetFileAttributes(temp.Utf8()), 0x10u);
}

TEST(PlatformFiles, AttributesOfAFileAreNormal) {
    TempFolder temp;
    WriteFile(temp / "file.db", "x");

    EXPECT_EQ(platform::GetFileAttributes((temp / "file.db").string()), 0x80u);
}

TEST(PlatformFiles, AttributesFollowALinkToAFolder) {
    TempFolder temp;
    fs::create_directories(temp / "real");
    fs::create_directory_symlink(temp / "real", temp / "link");

    EXPECT_EQ(platform::GetFileAttributes((temp / "link").string()), 0x10u);
}

TEST(PlatformFiles, AttributesOfAnEmptyPathAreAllOnes) {
    EXPECT_EQ(platform::GetFileAttributes(""), 0xFFFFFFFFu);
}

TEST(PlatformFiles, PathFileExistsForFilesAndFoldersOnly) {
    TempFolder temp;
    WriteFile(temp / "file.db", "");

    EXPECT_TRUE(platform::PathFileExists(temp.Utf8()));
    EXPECT_TRUE(platform::PathFileExists((temp / "file.db").string()));
    EXPECT_FALSE(platform::PathFileExists((temp / "missing").string()));
    EXPECT_FALSE(platform::PathFileExists(""));
}

// ---- deleting ----

TEST(PlatformFiles, DeleteFileRemovesAFile) {
    TempFolder temp;
    WriteFile(temp / "file.db", "x");

    EXPECT_TRUE(platform::DeleteFile((temp / "file.db").string()));

    EXPECT_FALSE(fs::exists(temp / "file.db"));
}

TEST(PlatformFiles, DeleteFileFailsForAMissingFileAndForAFolder) {
    TempFolder temp;
    fs::create_directories(temp / "folder");

    EXPECT_FALSE(platform::DeleteFile((temp / "missing").string()));
    EXPECT_FALSE(platform::DeleteFile((temp / "folder").string()));
    EXPECT_TRUE(fs::is_directory(temp / "folder"));
}

TEST(PlatformFiles, RemoveDirectoryRemovesOnlyAnEmptyFolder) {
    TempFolder temp;
    fs::create_directories(temp / "empty");
    fs::create_directories(temp / "full");
    WriteFile(temp / "full" / "f", "");

    EXPECT_TRUE(platform::RemoveDirectory((temp / "empty").string()));
    EXPECT_FALSE(platform::RemoveDirectory((temp / "full").string()));
    EXPECT_FALSE(platform::RemoveDirectory((temp / "missing").string()));

    EXPECT_FALSE(fs::exists(temp / "empty"));
    EXPECT_TRUE(fs::exists(temp / "full" / "f"));
}

// ---- renaming ----

TEST(PlatformFiles, RenameFileMovesTheFileWithItsContents) {
    TempFolder temp;
    WriteFile(temp / "store.db.creating", "contents");

    EXPECT_TRUE(platform::RenameFile((temp / "store.db.creating").string(), (temp / "store.db").string()));

    EXPECT_FALSE(fs::exists(temp / "store.db.creating"));
    ASSERT_TRUE(fs::exists(temp / "store.db"));
    EXPECT_EQ(fs::file_size(temp / "store.db"), 8u);
}

TEST(PlatformFiles, RenameFileReplacesAFileAlreadyThere) {
    TempFolder temp;
    WriteFile(temp / "new", "new contents");
    WriteFile(temp / "old", "old");

    EXPECT_TRUE(platform::RenameFile((temp / "new").string(), (temp / "old").string()));

    EXPECT_FALSE(fs::exists(temp / "new"));
    EXPECT_EQ(fs::file_size(temp / "old"), 12u);
}

TEST(PlatformFiles, RenameFileOfAMissingFileFailsAndMakesNothing) {
    TempFolder temp;

    EXPECT_FALSE(platform::RenameFile((temp / "missing").string(), (temp / "target").string()));

    EXPECT_FALSE(fs::exists(temp / "target"));
}

TEST(PlatformFiles, RenameFileIntoAMissingFolderFailsAndKeepsTheFile) {
    TempFolder temp;
    WriteFile(temp / "file", "x");

    EXPECT_FALSE(platform::RenameFile((temp / "file").string(), (temp / "missing" / "file").string()));

    EXPECT_TRUE(fs::exists(temp / "file"));
}

// ---- forcing to the disk ----

TEST(PlatformFiles, SyncFileOfAFileSucceedsAndLeavesItAsItWas) {
    TempFolder temp;
    WriteFile(temp / "file", "contents");

    EXPECT_TRUE(platform::SyncFile((temp / "file").string()));

    EXPECT_EQ(fs::file_size(temp / "file"), 8u);
}

TEST(PlatformFiles, SyncFileOfAMissingFileFailsAndMakesNothing) {
    TempFolder temp;

    EXPECT_FALSE(platform::SyncFile((temp / "missing").string()));

    EXPECT_FALSE(fs::exists(temp / "missing"));
}

TEST(PlatformFiles, SyncFolderSucceedsWithOrWithoutATrailingSeparator) {
    TempFolder temp;

    EXPECT_TRUE(platform::SyncFolder(temp.Utf8()));
    EXPECT_TRUE(platform::SyncFolder(temp.Utf8() + "/"));
}

TEST(PlatformFiles, SyncFolderFailsForAMissingFolderAndForAFile) {
    TempFolder temp;
    WriteFile(temp / "file", "x");

    EXPECT_FALSE(platform::SyncFolder((temp / "missing").string()));
    EXPECT_FALSE(platform::SyncFolder((temp / "file").string()));
}

// ---- MakeSureDirectoryPathExists ----

TEST(PlatformFiles, MakesEveryFolderUpToTheLastSeparator) {
    TempFolder temp;

    bool made = platform::MakeSureDirectoryPathExists((temp / "a" / "b" / "c").string() + "/");

    EXPECT_TRUE(made);
    EXPECT_TRUE(fs::is_directory(temp / "a" / "b" / "c"));
}

TEST(PlatformFiles, PartAfterTheLastSeparatorIsNotMade) {
    TempFolder temp;

    bool made = platform::MakeSureDirectoryPathExists((temp / "a" / "b" / "file.db").string());

    EXPECT_TRUE(made);
    EXPECT_TRUE(fs::is_directory(temp / "a" / "b"));
    EXPECT_FALSE(fs::exists(temp / "a" / "b" / "file.db"));
}

TEST(PlatformFiles, ExistingFoldersAreFine) {
    TempFolder temp;
    fs::create_directories(temp / "a" / "b");

    EXPECT_TRUE(platform::MakeSureDirectoryPathExists((temp / "a" / "b").string() + "/"));
}

TEST(PlatformFiles, DoubledSeparatorsAreTolerated) {
    TempFolder temp;

    bool made = platform::MakeSureDirectoryPathExists(temp.Utf8() + "//x//y/");

    EXPECT_TRUE(made);
    EXPECT_TRUE(fs::is_directory(temp / "x" / "y"));
}

TEST(PlatformFiles, FileInTheWayFails) {
    TempFolder temp;
    WriteFile(temp / "blocker", "");

    EXPECT_FALSE(platform::MakeSureDirectoryPathExists((temp / "blocker" / "sub").string() + "/"));
    EXPECT_TRUE(fs::is_regular_file(temp / "blocker"));
}

TEST(PlatformFiles, FolderIsMadeWithModeSevenSevenSevenBeforeTheUmask) {
    TempFolder temp;
    const mode_t previous = ::umask(022);

    bool made = platform::MakeSureDirectoryPathExists((temp / "modes").string() + "/");
    ::umask(previous);

    EXPECT_TRUE(made);
    const fs::perms perms = fs::status(temp / "modes").permissions();
    EXPECT_EQ(perms & fs::perms::all, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                                          fs::perms::others_read | fs::perms::others_exec);
}

TEST(PlatformFiles, RootFolderAlreadyExists) {
    EXPECT_TRUE(platform::MakeSureDirectoryPathExists("/"));
}

// ---- ListFolder ----

TEST(PlatformFiles, ListsEveryEntryButDotAndDotDotInByteOrder) {
    TempFolder temp;
    WriteFile(temp / "b", "");
    WriteFile(temp / "a", "");
    WriteFile(temp / "B", "");
    WriteFile(temp / "a0", "");
    WriteFile(temp / ".dot", "");
    WriteFile(temp / "\xC3\xA9", "");
    fs::create_directories(temp / "_folder");
    std::vector<platform::FolderEntry> entries;

    bool listed = platform::ListFolder(temp.Utf8(), entries);

    EXPECT_TRUE(listed);
    EXPECT_EQ(Names(entries), (std::vector<std::string>{".dot", "B", "_folder", "a", "a0", "b", "\xC3\xA9"}));
}

TEST(PlatformFiles, ListMarksRealFoldersOnly) {
    TempFolder temp;
    fs::create_directories(temp / "folder");
    WriteFile(temp / "file", "");
    fs::create_directory_symlink(temp / "folder", temp / "link");
    std::vector<platform::FolderEntry> entries;

    ASSERT_TRUE(platform::ListFolder(temp.Utf8(), entries));

    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].name, "file");
    EXPECT_FALSE(entries[0].isFolder);
    EXPECT_EQ(entries[1].name, "folder");
    EXPECT_TRUE(entries[1].isFolder);
    EXPECT_EQ(entries[2].name, "link");
    EXPECT_FALSE(entries[2].isFolder);  // a link to a folder counts as a file
}

TEST(PlatformFiles, ListOfAFolderGivenWithATrailingSeparatorSeesItsFolders) {
    TempFolder temp;
    fs::create_directories(temp / "sub");
    std::vector<platform::FolderEntry> entries;

    ASSERT_TRUE(platform::ListFolder(temp.Utf8() + "/", entries));

    ASSERT_EQ(entries.size(), 1u);
    EXPECT_TRUE(entries[0].isFolder);
}

TEST(PlatformFiles, ListOfAMissingFolderFailsAndEmptiesTheEntries) {
    TempFolder temp;
    std::vector<platform::FolderEntry> entries = {{"stale", false}};

    bool listed = platform::ListFolder((temp / "missing").string(), entries);

    EXPECT_FALSE(listed);
    EXPECT_TRUE(entries.empty());
}

TEST(PlatformFiles, ListOfAFileFails) {
    TempFolder temp;
    WriteFile(temp / "file", "");
    std::vector<platform::FolderEntry> entries;

    EXPECT_FALSE(platform::ListFolder((temp / "file").string(), entries));
}

TEST(PlatformFiles, ListOfAnEmptyFolderSucceedsWithNoEntries) {
    TempFolder temp;
    std::vector<platform::FolderEntry> entries = {{"stale", true}};

    EXPECT_TRUE(platform::ListFolder(temp.Utf8(), entries));

    EXPECT_TRUE(entries.empty());
}

// ---- LibraryFolder ----

TEST(PlatformFiles, LibraryFolderIsTheAbsoluteFolderOfTheFileHoldingTheCode) {
    // The tests link the library's code into the test program itself. The
    // answer must be a full path, whatever the working folder is and however
    // the program was started (a relative command line included).
    const fs::path program = fs::read_symlink("/proc/self/exe");

    const std::string folder = platform::LibraryFolder();

    ASSERT_FALSE(folder.empty());
    EXPECT_TRUE(fs::path(folder).is_absolute()) << folder;
    std::error_code error;
    EXPECT_TRUE(fs::equivalent(folder, program.parent_path(), error)) << folder;
    EXPECT_NE(folder.back(), '/');
}

}  // namespace
