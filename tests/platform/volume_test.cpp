// platform/volume.h: the serial of the volume that holds a path (the 32-bit
// fold of st_dev of the path or its nearest existing parent, 0 when nothing
// can be asked) and the seam through which a test simulates another volume.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <string>
#include <vector>

#include "platform/volume.h"
#include "support/temp_folder.h"

namespace {

namespace platform = zandb4::platform;
using zandb4::testing::TempFolder;
using zandb4::testing::WriteFile;

// Puts the file system back as the serial source when a test ends.
class VolumeSeamGuard {
public:
    VolumeSeamGuard() = default;
    ~VolumeSeamGuard() { platform::SetVolumeSerialSourceForTesting(nullptr); }
    VolumeSeamGuard(const VolumeSeamGuard&) = delete;
    VolumeSeamGuard& operator=(const VolumeSeamGuard&) = delete;
};

uint32_t ExpectedSerial(const std::string& existing) {
    struct stat info;
    if (::stat(existing.c_str(), &info) != 0) {
        ADD_FAILURE() << "cannot stat " << existing;
        return 0;
    }
    const uint64_t device = static_cast<uint64_t>(info.st_dev);
    return static_cast<uint32_t>(device ^ (device >> 32));
}

TEST(PlatformVolume, SerialOfAFolderIsTheFoldOfItsDevice) {
    TempFolder temp;

    uint32_t serial = platform::GetVolumeSerial(temp.Utf8());

    EXPECT_EQ(serial, ExpectedSerial(temp.Utf8()));
}

TEST(PlatformVolume, SerialOfAFileIsThatOfItsVolume) {
    TempFolder temp;
    WriteFile(temp / "FileBasic.db", "x");

    EXPECT_EQ(platform::GetVolumeSerial((temp / "FileBasic.db").string()), ExpectedSerial(temp.Utf8()));
}

TEST(PlatformVolume, MissingPathTakesTheSerialOfItsNearestExistingParent) {
    TempFolder temp;

    uint32_t serial = platform::GetVolumeSerial((temp / "not" / "yet" / "made.db").string());

    EXPECT_EQ(serial, ExpectedSerial(temp.Utf8()));
}

TEST(PlatformVolume, PathsOnDifferentFileSystemsHaveTheirOwnSerials) {
    // /proc is a file system of its own on Linux.
    TempFolder temp;

    uint32_t procSerial = platform::GetVolumeSerial("/proc/self");
    uint32_t tempSerial = platform::GetVolumeSerial(temp.Utf8());

    EXPECT_EQ(procSerial, ExpectedSerial("/proc/self"));
    if (ExpectedSerial("/proc/self") != ExpectedSerial(temp.Utf8())) {
        EXPECT_NE(procSerial, tempSerial);
    }
}

TEST(PlatformVolume, EmptyPathGivesZero) {
    EXPECT_EQ(platform::GetVolumeSerial(""), 0u);
}

TEST(PlatformVolume, RelativePathWithNothingExistingGivesZero) {
    // Neither the path nor any parent of it exists in the working folder.
    const std::string path = "zandb4-no-such-folder-7c1e/inner/file.db";
    struct stat info;
    ASSERT_NE(::stat("zandb4-no-such-folder-7c1e", &info), 0);

    EXPECT_EQ(platform::GetVolumeSerial(path), 0u);
}

TEST(PlatformVolume, SeamAnswersInsteadOfTheFileSystemAndSeesThePath) {
    VolumeSeamGuard guard;
    TempFolder temp;
    std::vector<std::string> asked;
    platform::SetVolumeSerialSourceForTesting([&](const std::string& path) {
        asked.push_back(path);
        return 0x1234ABCDu;
    });

    uint32_t serial = platform::GetVolumeSerial((temp / "FileBasic.db").string());

    EXPECT_EQ(serial, 0x1234ABCDu);
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0], (temp / "FileBasic.db").string());
}

TEST(PlatformVolume, SeamCanSimulateASwappedDisk) {
    VolumeSeamGuard guard;
    TempFolder temp;
    uint32_t current = 111;
    platform::SetVolumeSerialSourceForTesting([&](const std::string&) { return current; });

    uint32_t before = platform::GetVolumeSerial(temp.Utf8());
    current = 222;
    uint32_t after = platform::GetVolumeSerial(temp.Utf8());

    EXPECT_EQ(before, 111u);
    EXPECT_EQ(after, 222u);
}

TEST(PlatformVolume, EmptySourceRestoresTheFileSystem) {
    VolumeSeamGuard guard;
    TempFolder temp;
    platform::SetVolumeSerialSourceForTesting([](const std::string&) { return 7u; });
    ASSERT_EQ(platform::GetVolumeSerial(temp.Utf8()), 7u);

    platform::SetVolumeSerialSourceForTesting(nullptr);

    EXPECT_EQ(platform::GetVolumeSerial(temp.Utf8()), ExpectedSerial(temp.Utf8()));
}

}  // namespace
