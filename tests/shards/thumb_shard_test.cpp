// One folder of thumbnail shards, row by row: which file an identifier lands
// in, what a shard file holds, adding, updating, reading and deleting one
// thumbnail, and the answers to bad input.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "shards/thumb_db_factory.h"
#include "shards/thumbnail_table.h"
#include "shards_fixture.h"
#include "support/temp_folder.h"
#include "support/unprivileged.h"

namespace {

using shards_test::CachePtr;
using shards_test::ClockPin;
using shards_test::kOtherPicture;
using shards_test::kOtherPictureHex;
using shards_test::kPicture;
using shards_test::kPictureHex;
using shards_test::Moment;
using shards_test::NamesIn;
using shards_test::NewCache;
using shards_test::Packed;
using shards_test::RefCountOf;
using shards_test::Rows;
using shards_test::ThumbRowsOnDisk;
using shards_test::Wide;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
namespace fs = std::filesystem;

constexpr uint64_t kLargestId = UINT64_MAX;

// A factory on a folder that does not exist yet.
class ThumbShard : public ::testing::Test {
protected:
    fs::path Folder() const { return m_root / "thumb_0s"; }
    fs::path ShardFile(const std::string& name) const { return Folder() / name; }

    TempFolder m_root;
    CSQLiteThumbDBFactory m_factory{Wide(m_root / "thumb_0s")};
};

TEST_F(ThumbShard, IdentifiersUpTo9999LieInTheFirstShardAnd10000InTheSecond) {
    ASSERT_EQ(m_factory.AddThumbnail(9999, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(m_factory.AddThumbnail(10000, kOtherPicture, sizeof kOtherPicture), S_OK);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);

    EXPECT_EQ(NamesIn(Folder()), (std::vector<std::string>{"00000000.db", "00000001.db"}));
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"9999", kPictureHex, "0"}}));
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000001.db")), (Rows{{"10000", kOtherPictureHex, "0"}}));
}

TEST_F(ThumbShard, ShardNumber65536IsNamedInEightHexadecimalDigits) {
    ASSERT_EQ(m_factory.AddThumbnail(655360000, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);

    EXPECT_EQ(NamesIn(Folder()), std::vector<std::string>{"00010000.db"});
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00010000.db")), (Rows{{"655360000", kPictureHex, "0"}}));
}

TEST_F(ThumbShard, ShardNameIsUpperCaseHexadecimal) {
    ASSERT_EQ(m_factory.AddThumbnail(100000, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(m_factory.AddThumbnail(123456789, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);

    EXPECT_EQ(NamesIn(Folder()), (std::vector<std::string>{"0000000A.db", "00003039.db"}));
}

TEST_F(ThumbShard, RowKeyIsTheWholeIdentifierNotTheRemainder) {
    ASSERT_EQ(m_factory.AddThumbnail(123456789, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);

    SqliteProbe probe(ShardFile("00003039.db"));
    EXPECT_EQ(probe.Rows("SELECT file_id FROM thumbnail_table"), Rows{{"123456789"}});
    EXPECT_TRUE(m_factory.HasThumbnail(123456789));
    EXPECT_FALSE(m_factory.HasThumbnail(6789));
}

TEST_F(ThumbShard, IdentifierZeroIsAnOrdinaryKeyOfTheFirstShard) {
    ASSERT_EQ(m_factory.AddThumbnail(0, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);

    EXPECT_EQ(NamesIn(Folder()), std::vector<std::string>{"00000000.db"});
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"0", kPictureHex, "0"}}));
    EXPECT_TRUE(m_factory.HasThumbnail(0));
    IZanDB4FileCache* cache = nullptr;
    ASSERT_EQ(m_factory.GetThumbnail(0, &cache), S_OK);
    CachePtr held(cache);
    EXPECT_EQ(shards_test::HexOf(cache->GetData(), cache->GetSize()), kPictureHex);
}

TEST_F(ThumbShard, LargestIdentifierIsNamedFromTheLow32BitsOfItsShardNumber) {
    // 18446744073709551615 / 10000 = 1844674407370955, whose low 32 bits are
    // 0xBAC710CB.
    ASSERT_EQ(m_factory.AddThumbnail(kLargestId, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);

    EXPECT_EQ(NamesIn(Folder()), std::vector<std::string>{"BAC710CB.db"});
    ASSERT_EQ(m_factory.m_shards.size(), 1u);
    EXPECT_EQ(m_factory.m_shards.begin()->first, 1844674407370955u);
    // SQLite keeps the key as a signed 64-bit number; its bits are the
    // identifier's.
    SqliteProbe probe(ShardFile("BAC710CB.db"));
    EXPECT_EQ(static_cast<uint64_t>(probe.Integer("SELECT file_id FROM thumbnail_table")), kLargestId);
    EXPECT_TRUE(m_factory.HasThumbnail(kLargestId));
    EXPECT_FALSE(m_factory.HasThumbnail(kLargestId - 1));
    IZanDB4FileCache* cache = nullptr;
    ASSERT_EQ(m_factory.GetThumbnail(kLargestId, &cache), S_OK);
    CachePtr held(cache);
    EXPECT_EQ(cache->GetSize(), sizeof kPicture);
}

TEST_F(ThumbShard, ShardNumbersThatDifferAbove32BitsShareAFileName) {
    // Shard number 2^32: its low 32 bits are those of shard 0.
    const uint64_t id = (uint64_t{1} << 32) * 10000 + 5;
    ASSERT_EQ(m_factory.AddThumbnail(id, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);

    EXPECT_EQ(NamesIn(Folder()), std::vector<std::string>{"00000000.db"});
    ASSERT_EQ(m_factory.m_shards.size(), 1u);
    EXPECT_EQ(m_factory.m_shards.begin()->first, uint64_t{1} << 32);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{std::to_string(id), kPictureHex, "0"}}));
}

TEST_F(ThumbShard, ShardFileHoldsTheBaseTablesAndThumbnailTableAsDefined) {
    ASSERT_EQ(m_factory.AddThumbnail(1, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);

    fs::path file = ShardFile("00000000.db");
    EXPECT_EQ(shards_test::CreateTextOf(file, "thumbnail_table"),
              "CREATE TABLE thumbnail_table (file_id INTEGER PRIMARY KEY, thumbnail_update_date INTEGER, "
              "thumbnail_data BLOB, source_id INTEGER)");
    EXPECT_EQ(shards_test::TablesOf(file), (std::vector<std::string>{"last_id_table", "pooled_id_table",
                                                                     "thumbnail_table", "version_info_table"}));
    SqliteProbe probe(file);
    EXPECT_EQ(probe.Rows("SELECT version FROM version_info_table"), Rows{{"1201"}});
    EXPECT_EQ(probe.Integer("SELECT COUNT(*) FROM last_id_table"), 0);
    EXPECT_EQ(probe.Integer("SELECT COUNT(*) FROM pooled_id_table"), 0);
}

TEST_F(ThumbShard, FirstThumbnailMakesTheFolderWithItsParentsAndTheShardFile) {
    fs::path deep = m_root / "a" / "b" / "thumb_0s";
    CSQLiteThumbDBFactory factory(Wide(deep));
    ASSERT_FALSE(fs::exists(m_root / "a"));

    EXPECT_EQ(factory.AddThumbnail(42, kPicture, sizeof kPicture), S_OK);

    EXPECT_TRUE(fs::is_directory(deep));
    EXPECT_TRUE(fs::is_regular_file(deep / "00000000.db"));
    EXPECT_EQ(factory.OpenShardCount(), 1u);
}

TEST_F(ThumbShard, HasThumbnailOnAnUnusedRangeMakesFolderAndShardFile) {
    ASSERT_FALSE(fs::exists(Folder()));

    EXPECT_FALSE(m_factory.HasThumbnail(70000));

    EXPECT_TRUE(fs::is_directory(Folder()));
    EXPECT_EQ(NamesIn(Folder()), std::vector<std::string>{"00000007.db"});
    EXPECT_EQ(shards_test::RowCountOnDisk(ShardFile("00000007.db"), "thumbnail_table"), 0);
    EXPECT_EQ(m_factory.OpenShardCount(), 1u);
}

TEST_F(ThumbShard, NothingIsMadeBeforeTheFirstTouch) {
    EXPECT_FALSE(fs::exists(Folder()));
    EXPECT_EQ(m_factory.OpenShardCount(), 0u);
    EXPECT_EQ(m_factory.m_shardSpan, 10000u);
    EXPECT_EQ(m_factory.Folder(), Wide(Folder()));
}

TEST_F(ThumbShard, GetShardAnswersTheSameOpenShardForEveryIdentifierOfItsRange) {
    CSQLiteThumbDB* first = nullptr;
    CSQLiteThumbDB* last = nullptr;
    CSQLiteThumbDB* next = nullptr;

    ASSERT_EQ(m_factory.GetShard(&first, 10000), S_OK);
    ASSERT_EQ(m_factory.GetShard(&last, 19999), S_OK);
    ASSERT_EQ(m_factory.GetShard(&next, 20000), S_OK);

    EXPECT_NE(first, nullptr);
    EXPECT_EQ(first, last);
    EXPECT_NE(first, next);
    ASSERT_EQ(m_factory.m_shards.size(), 2u);
    EXPECT_EQ(m_factory.m_shards.at(1).get(), first);
    EXPECT_EQ(m_factory.m_shards.at(2).get(), next);
    EXPECT_EQ(first->m_folder, Wide(Folder()));
    EXPECT_EQ(first->m_fileName, CZanTString(u"00000001.db"));
}

TEST_F(ThumbShard, GetShardWithNullOutIsInvalidArgument) {
    EXPECT_EQ(m_factory.GetShard(nullptr, 5), E_INVALIDARG);
    EXPECT_EQ(m_factory.OpenShardCount(), 0u);
}

TEST_F(ThumbShard, EmptyFolderPathFailsEveryAccess) {
    CSQLiteThumbDBFactory factory{CZanTString()};
    CSQLiteThumbDB* shard = reinterpret_cast<CSQLiteThumbDB*>(0x1);

    EXPECT_EQ(factory.GetShard(&shard, 5), E_FAIL);
    EXPECT_EQ(shard, nullptr);
    EXPECT_EQ(factory.AddThumbnail(5, kPicture, sizeof kPicture), E_FAIL);
    EXPECT_EQ(factory.UpdateThumbnail(5, kPicture, sizeof kPicture), E_FAIL);
    EXPECT_EQ(factory.DeleteThumbnail(5), E_FAIL);
    IZanDB4FileCache* cache = nullptr;
    EXPECT_EQ(factory.GetThumbnail(5, &cache), E_FAIL);
    EXPECT_EQ(cache, nullptr);
    EXPECT_FALSE(factory.HasThumbnail(5));
    EXPECT_EQ(factory.OpenShardCount(), 0u);
}

TEST_F(ThumbShard, AddingTheSameIdentifierTwiceFailsTheSecondTime) {
    ASSERT_EQ(m_factory.AddThumbnail(7, kPicture, sizeof kPicture), S_OK);

    EXPECT_EQ(m_factory.AddThumbnail(7, kOtherPicture, sizeof kOtherPicture), E_FAIL);

    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"7", kPictureHex, "0"}}));
}

TEST_F(ThumbShard, AddThumbnailStampsTheRowWithTheCurrentUtcTime) {
    const SYSTEMTIME now = Moment(2023, 4, 5, 6, 7, 8);
    ClockPin clock(now);

    ASSERT_EQ(m_factory.AddThumbnail(11, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);

    SqliteProbe probe(ShardFile("00000000.db"));
    // 2023<<40 | 4<<32 | 5<<24 | 6<<16 | 7<<8 | 8
    EXPECT_EQ(probe.Integer("SELECT thumbnail_update_date FROM thumbnail_table WHERE file_id=11"),
              2224329287141128);
    EXPECT_EQ(Packed(now), 2224329287141128);
}

TEST_F(ThumbShard, AddThumbnailWithNullDataOrSizeZeroWritesNothing) {
    EXPECT_EQ(m_factory.AddThumbnail(3, nullptr, 10), E_INVALIDARG);
    EXPECT_EQ(m_factory.AddThumbnail(3, kPicture, 0), E_INVALIDARG);
    EXPECT_EQ(m_factory.AddThumbnail(3, nullptr, 0), E_INVALIDARG);

    EXPECT_FALSE(m_factory.HasThumbnail(3));
    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(shards_test::RowCountOnDisk(ShardFile("00000000.db"), "thumbnail_table"), 0);
}

TEST_F(ThumbShard, AddThumbnailFromCacheTakesDataSizeAndSourceOfTheCache) {
    CachePtr cache = NewCache(kOtherPicture, sizeof kOtherPicture, 77);

    EXPECT_EQ(m_factory.AddThumbnailFromCache(20001, cache.get()), S_OK);

    // The caller's reference is the only one.
    EXPECT_EQ(RefCountOf(cache.get()), 1);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000002.db")), (Rows{{"20001", kOtherPictureHex, "77"}}));
}

TEST_F(ThumbShard, AddThumbnailFromNullCacheIsInvalidArgument) {
    EXPECT_EQ(m_factory.AddThumbnailFromCache(5, nullptr), E_INVALIDARG);
    EXPECT_FALSE(m_factory.HasThumbnail(5));
}

TEST_F(ThumbShard, AddThumbnailFromCacheWithoutDataIsInvalidArgument) {
    CachePtr empty(new CZanDB4FileCache());
    ASSERT_EQ(empty->SetSourceID(9), S_OK);

    EXPECT_EQ(m_factory.AddThumbnailFromCache(5, empty.get()), E_INVALIDARG);

    EXPECT_FALSE(m_factory.HasThumbnail(5));
    EXPECT_EQ(RefCountOf(empty.get()), 1);
}

TEST_F(ThumbShard, UpdateThumbnailOfANewIdentifierFails) {
    EXPECT_EQ(m_factory.UpdateThumbnail(8, kPicture, sizeof kPicture), E_FAIL);

    EXPECT_FALSE(m_factory.HasThumbnail(8));
    CachePtr cache = NewCache(kPicture, sizeof kPicture, 3);
    EXPECT_EQ(m_factory.UpdateThumbnailFromCache(8, cache.get()), E_FAIL);
    EXPECT_FALSE(m_factory.HasThumbnail(8));
}

TEST_F(ThumbShard, UpdateThumbnailByRawDataKeepsTheEarlierSource) {
    CachePtr cache = NewCache(kPicture, sizeof kPicture, 555);
    ASSERT_EQ(m_factory.AddThumbnailFromCache(12, cache.get()), S_OK);

    EXPECT_EQ(m_factory.UpdateThumbnail(12, kOtherPicture, sizeof kOtherPicture), S_OK);

    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"12", kOtherPictureHex, "555"}}));
}

TEST_F(ThumbShard, UpdateThumbnailFromCacheTakesTheSourceOfTheCache) {
    CachePtr first = NewCache(kPicture, sizeof kPicture, 555);
    ASSERT_EQ(m_factory.AddThumbnailFromCache(12, first.get()), S_OK);
    CachePtr second = NewCache(kOtherPicture, sizeof kOtherPicture, 0);

    EXPECT_EQ(m_factory.UpdateThumbnailFromCache(12, second.get()), S_OK);

    EXPECT_EQ(RefCountOf(second.get()), 1);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"12", kOtherPictureHex, "0"}}));
}

TEST_F(ThumbShard, UpdateThumbnailStampsTheRowAgain) {
    ClockPin clock(Moment(2020, 1, 2, 3, 4, 5));
    ASSERT_EQ(m_factory.AddThumbnail(13, kPicture, sizeof kPicture), S_OK);
    const SYSTEMTIME later = Moment(2024, 12, 31, 23, 59, 58);
    clock.Set(later);

    ASSERT_EQ(m_factory.UpdateThumbnail(13, kOtherPicture, sizeof kOtherPicture), S_OK);

    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    SqliteProbe probe(ShardFile("00000000.db"));
    EXPECT_EQ(probe.Integer("SELECT thumbnail_update_date FROM thumbnail_table WHERE file_id=13"), Packed(later));
}

TEST_F(ThumbShard, UpdateWithNullDataOrSizeZeroIsInvalidArgumentAndLeavesTheRow) {
    CachePtr cache = NewCache(kPicture, sizeof kPicture, 4);
    ASSERT_EQ(m_factory.AddThumbnailFromCache(14, cache.get()), S_OK);
    CachePtr empty(new CZanDB4FileCache());

    EXPECT_EQ(m_factory.UpdateThumbnail(14, nullptr, 5), E_INVALIDARG);
    EXPECT_EQ(m_factory.UpdateThumbnail(14, kOtherPicture, 0), E_INVALIDARG);
    EXPECT_EQ(m_factory.UpdateThumbnailFromCache(14, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_factory.UpdateThumbnailFromCache(14, empty.get()), E_INVALIDARG);

    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"14", kPictureHex, "4"}}));
}

TEST_F(ThumbShard, GetThumbnailFillsANewCacheFromTheRow) {
    const SYSTEMTIME now = Moment(2022, 2, 28, 13, 14, 15);
    ClockPin clock(now);
    CachePtr written = NewCache(kPicture, sizeof kPicture, 987654321);
    ASSERT_EQ(m_factory.AddThumbnailFromCache(30303, written.get()), S_OK);

    IZanDB4FileCache* cache = nullptr;
    ASSERT_EQ(m_factory.GetThumbnail(30303, &cache), S_OK);
    ASSERT_NE(cache, nullptr);
    CachePtr held(cache);

    EXPECT_EQ(RefCountOf(cache), 1);
    EXPECT_NE(cache, written.get());
    ASSERT_EQ(cache->GetSize(), sizeof kPicture);
    EXPECT_EQ(std::memcmp(cache->GetData(), kPicture, sizeof kPicture), 0);
    // The object carries the row's source_id, not the key.
    uint64_t source = 0;
    ASSERT_EQ(cache->GetSourceID(&source), S_OK);
    EXPECT_EQ(source, 987654321u);
    SYSTEMTIME date{};
    ASSERT_EQ(cache->GetUpdateDate(&date), S_OK);
    EXPECT_EQ(date.wYear, 2022);
    EXPECT_EQ(date.wMonth, 2);
    EXPECT_EQ(date.wDay, 28);
    EXPECT_EQ(date.wHour, 13);
    EXPECT_EQ(date.wMinute, 14);
    EXPECT_EQ(date.wSecond, 15);
}

TEST_F(ThumbShard, GetThumbnailOfARowWithoutSourceGivesSourceZeroNotTheKey) {
    ASSERT_EQ(m_factory.AddThumbnail(4242, kPicture, sizeof kPicture), S_OK);

    IZanDB4FileCache* cache = nullptr;
    ASSERT_EQ(m_factory.GetThumbnail(4242, &cache), S_OK);
    CachePtr held(cache);

    uint64_t source = 1;
    ASSERT_EQ(cache->GetSourceID(&source), S_OK);
    EXPECT_EQ(source, 0u);
}

TEST_F(ThumbShard, GetThumbnailCopiesTheBytesOutOfTheShard) {
    ASSERT_EQ(m_factory.AddThumbnail(15, kPicture, sizeof kPicture), S_OK);
    IZanDB4FileCache* cache = nullptr;
    ASSERT_EQ(m_factory.GetThumbnail(15, &cache), S_OK);
    CachePtr held(cache);

    // The bytes stay the object's when the row changes and the shard goes.
    ASSERT_EQ(m_factory.UpdateThumbnail(15, kOtherPicture, sizeof kOtherPicture), S_OK);
    m_factory.CloseShards();

    ASSERT_EQ(cache->GetSize(), sizeof kPicture);
    EXPECT_EQ(shards_test::HexOf(cache->GetData(), cache->GetSize()), kPictureHex);
}

TEST_F(ThumbShard, GetThumbnailWithoutARowFailsAndGivesNoObject) {
    ASSERT_EQ(m_factory.AddThumbnail(16, kPicture, sizeof kPicture), S_OK);
    IZanDB4FileCache* cache = nullptr;

    EXPECT_EQ(m_factory.GetThumbnail(17, &cache), E_FAIL);

    EXPECT_EQ(cache, nullptr);
}

TEST_F(ThumbShard, GetThumbnailWithNullOutIsInvalidArgument) {
    ASSERT_EQ(m_factory.AddThumbnail(18, kPicture, sizeof kPicture), S_OK);

    EXPECT_EQ(m_factory.GetThumbnail(18, nullptr), E_INVALIDARG);
}

TEST_F(ThumbShard, DeleteThumbnailRemovesTheRowAndAMissingRowIsNoFailure) {
    ASSERT_EQ(m_factory.AddThumbnail(19, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(m_factory.AddThumbnail(20, kPicture, sizeof kPicture), S_OK);

    EXPECT_EQ(m_factory.DeleteThumbnail(19), S_OK);
    EXPECT_EQ(m_factory.DeleteThumbnail(19), S_OK);
    EXPECT_EQ(m_factory.DeleteThumbnail(90000), S_OK);

    EXPECT_FALSE(m_factory.HasThumbnail(19));
    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"20", kPictureHex, "0"}}));
    // Deleting in an untouched range opened (and made) that shard.
    EXPECT_TRUE(fs::is_regular_file(ShardFile("00000009.db")));
}

TEST_F(ThumbShard, ShardFileThatIsNotADatabaseFailsItsOperationsAndLeavesTheOthersWorking) {
    fs::create_directories(Folder());
    const std::string garbage = "this is not an SQLite database, only some text in its place";
    zandb4::testing::WriteFile(ShardFile("00000000.db"), garbage);

    EXPECT_FALSE(m_factory.HasThumbnail(5));
    EXPECT_EQ(m_factory.AddThumbnail(5, kPicture, sizeof kPicture), E_FAIL);
    EXPECT_EQ(m_factory.UpdateThumbnail(5, kPicture, sizeof kPicture), E_FAIL);
    EXPECT_EQ(m_factory.DeleteThumbnail(5), E_FAIL);
    IZanDB4FileCache* cache = nullptr;
    EXPECT_EQ(m_factory.GetThumbnail(5, &cache), E_FAIL);
    EXPECT_EQ(cache, nullptr);

    // Another shard of the folder works all the same.
    EXPECT_EQ(m_factory.AddThumbnail(10005, kOtherPicture, sizeof kOtherPicture), S_OK);
    EXPECT_TRUE(m_factory.HasThumbnail(10005));
    EXPECT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000001.db")), (Rows{{"10005", kOtherPictureHex, "0"}}));
    // The file that is no database is left as it was.
    m_factory.CloseShards();
    EXPECT_EQ(shards_test::ReadWholeFile(ShardFile("00000000.db")), garbage);
}

TEST_F(ThumbShard, FolderThatCannotBeWrittenFailsGetShardAndKeepsTheMapEmpty) {
    fs::path locked = m_root / "locked";
    fs::path open = m_root / "open";
    fs::create_directory(locked);
    fs::create_directory(open);
    zandb4::testing::OpenToEveryone(open, m_root.Path());
    fs::permissions(locked, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::group_read |
                                fs::perms::group_exec | fs::perms::others_read | fs::perms::others_exec);
    CZanTString lockedFolder = Wide(locked);
    CZanTString openFolder = Wide(open);

    bool held = zandb4::testing::RunUnprivileged([&] {
        CSQLiteThumbDBFactory refused(lockedFolder);
        CSQLiteThumbDBFactory other(openFolder);
        CSQLiteThumbDB* shard = reinterpret_cast<CSQLiteThumbDB*>(0x1);
        bool failed = refused.GetShard(&shard, 5) == E_FAIL && shard == nullptr;
        bool addFailed = refused.AddThumbnail(5, kPicture, sizeof kPicture) == E_FAIL;
        bool notThere = !refused.HasThumbnail(5);
        bool mapEmpty = refused.OpenShardCount() == 0;
        bool otherWorks = other.AddThumbnail(5, kPicture, sizeof kPicture) == S_OK && other.HasThumbnail(5) &&
                          other.CommitShards() == S_OK && other.OpenShardCount() == 1;
        return failed && addFailed && notThere && mapEmpty && otherWorks;
    });

    EXPECT_TRUE(held);
    EXPECT_TRUE(NamesIn(locked).empty());
    EXPECT_EQ(ThumbRowsOnDisk(open / "00000000.db"), (Rows{{"5", kPictureHex, "0"}}));
}

}  // namespace
