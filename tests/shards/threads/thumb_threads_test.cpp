// Two threads writing and reading the thumbnails of one family at once,
// through the calling pattern of the file and face managers (the
// catalogue's lock, then the factory's), over identifiers that spread across
// five shards of each kind, so that both threads open shards, insert, update
// and read in the same files; a third thread commits the shards again and
// again meanwhile, under the catalogue's lock as the file manager's Commit
// does. Afterwards every row of every shard file is read back with SQLite
// alone. Lost or torn rows, a shard opened twice, or a commit that failed
// would show there; ThreadSanitizer runs this too (label "threads").
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "../../storage/store_test_helpers.h"
#include "frame/com_ptr.h"
#include "frame/critical_section.h"
#include "platform/clock.h"
#include "shards/file_cache.h"
#include "shards/thumb_db_mgr.h"
#include "shards/thumbnail_kind_call.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"

namespace {

using zandb4::ComPtr;
using zandb4::ThumbnailKindCall;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;

constexpr int kShards = 5;
// Identifiers per shard, taken in turn by the two writers.
constexpr int kIdsPerShard = 60;
// Every fourth identifier is rewritten after its first write.
constexpr int kUpdateEvery = 4;

// Spread over the shard's range: 1, 124, 247, ... and the same offsets in
// the shards after it.
uint64_t IdOf(int shard, int index) { return static_cast<uint64_t>(shard) * 10000 + 1 + static_cast<uint64_t>(index) * 123; }

bool IsUpdated(uint64_t id) { return id % kUpdateEvery == 0; }

// The bytes of one thumbnail: of a size and content of their own for each
// identifier, kind and version, so that a row holding another's bytes shows.
std::vector<unsigned char> Picture(uint64_t id, uint32_t kind, int version) {
    std::vector<unsigned char> bytes(200 + id % 97 + 13 * kind + 31 * version);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(id * 31 + i * 7 + kind * 3 + version);
    return bytes;
}

// The source identifier given with the data of kind 2: kind 1 is written by
// raw data and keeps 0.
uint64_t SourceOf(uint64_t id, int version) { return id * 10 + static_cast<uint64_t>(version); }

std::vector<unsigned char> BytesOf(IZanDB4FileCache* cache) {
    const auto* data = static_cast<const unsigned char*>(cache->GetData());
    if (data == nullptr) return {};
    return std::vector<unsigned char>(data, data + cache->GetSize());
}

std::string ShardFileName(int shard) {
    char name[16];
    std::snprintf(name, sizeof name, "%08X.db", static_cast<unsigned>(shard));
    return name;
}

// A fixed "now" for the whole test, so that the stamp of every row is known.
SYSTEMTIME FixedNow() {
    SYSTEMTIME now{};
    now.wYear = 2024;
    now.wMonth = 5;
    now.wDay = 17;
    now.wHour = 8;
    now.wMinute = 9;
    now.wSecond = 10;
    return now;
}

class ThumbThreads : public ::testing::Test {
protected:
    void SetUp() override {
        storage_test::PlaceStore(m_catalogue, m_folder, "FileBasic.db");
        ASSERT_EQ(m_catalogue.Open(), S_OK);
        ASSERT_EQ(m_family.Initialize(m_folder.Wide(), u"thumb_0s", u"thumb_0a", u"thumb_1s", u"thumb_1a"), S_OK);
        zandb4::platform::SetSystemTimeForTesting(FixedNow());
    }
    void TearDown() override { zandb4::platform::SetSystemTimeForTesting(std::nullopt); }

    // One operation of a kind as the managers run it.
    template <class Operation>
    HRESULT Call(uint32_t kind, Operation&& operation) {
        return ThumbnailKindCall(m_catalogue, &m_family, kind, E_INVALIDARG, operation);
    }

    // What a writer did wrong, counted; the test looks at the totals.
    struct WriterTally {
        int failedWrites = 0;
        int wrongReads = 0;
        int wrongCrossReads = 0;
        int crossReads = 0;
    };

    // Writes kind 1 by raw data and kind 2 from a cache object for every
    // identifier whose index has the writer's parity, reads each back at
    // once, rewrites every fourth, and looks at the other writer's last
    // identifier, which may or may not be there yet.
    void Write(int parity, WriterTally& tally) {
        for (int index = parity; index < kIdsPerShard; index += 2) {
            for (int shard = 0; shard < kShards; ++shard) {
                uint64_t id = IdOf(shard, index);
                std::vector<unsigned char> first = Picture(id, 1, 1);
                if (Call(1, [&](CSQLiteThumbDBFactory& factory) {
                        return factory.AddThumbnail(id, first.data(), static_cast<uint32_t>(first.size()));
                    }) != S_OK)
                    ++tally.failedWrites;
                ComPtr<IZanDB4FileCache> given = ComPtr<IZanDB4FileCache>::Adopt(new CZanDB4FileCache());
                std::vector<unsigned char> second = Picture(id, 2, 1);
                given->SetData(second.data(), static_cast<uint32_t>(second.size()));
                given->SetSourceID(SourceOf(id, 1));
                if (Call(2, [&](CSQLiteThumbDBFactory& factory) {
                        return factory.AddThumbnailFromCache(id, given.Get());
                    }) != S_OK)
                    ++tally.failedWrites;

                ExpectReadBack(id, 1, 1, tally);
                ExpectReadBack(id, 2, 1, tally);

                if (IsUpdated(id)) {
                    std::vector<unsigned char> rewritten = Picture(id, 1, 2);
                    if (Call(1, [&](CSQLiteThumbDBFactory& factory) {
                            return factory.UpdateThumbnail(id, rewritten.data(), static_cast<uint32_t>(rewritten.size()));
                        }) != S_OK)
                        ++tally.failedWrites;
                    std::vector<unsigned char> rewritten2 = Picture(id, 2, 2);
                    given->SetData(rewritten2.data(), static_cast<uint32_t>(rewritten2.size()));
                    given->SetSourceID(SourceOf(id, 2));
                    if (Call(2, [&](CSQLiteThumbDBFactory& factory) {
                            return factory.UpdateThumbnailFromCache(id, given.Get());
                        }) != S_OK)
                        ++tally.failedWrites;
                    ExpectReadBack(id, 1, 2, tally);
                    ExpectReadBack(id, 2, 2, tally);
                }

                if (index > 0) CrossRead(IdOf(shard, index - 1), tally);
            }
        }
    }

    // The row just written must read back with exactly its bytes.
    void ExpectReadBack(uint64_t id, uint32_t kind, int version, WriterTally& tally) {
        ComPtr<IZanDB4FileCache> read;
        HRESULT result = Call(kind, [&](CSQLiteThumbDBFactory& factory) { return factory.GetThumbnail(id, read.Receive()); });
        uint64_t source = 99;
        if (result != S_OK || !read || read->GetSourceID(&source) != S_OK || BytesOf(read.Get()) != Picture(id, kind, version) ||
            source != (kind == 1 ? 0 : SourceOf(id, version)))
            ++tally.wrongReads;
    }

    // The other writer's identifier: either not written yet, or whole in its
    // first or second version. Existence and read run under one holding of
    // the locks, so nothing can come between them.
    void CrossRead(uint64_t id, WriterTally& tally) {
        ComPtr<IZanDB4FileCache> read;
        HRESULT result = Call(1, [&](CSQLiteThumbDBFactory& factory) -> HRESULT {
            if (!factory.HasThumbnail(id)) return S_FALSE;
            return factory.GetThumbnail(id, read.Receive());
        });
        if (result == S_FALSE) return;
        ++tally.crossReads;
        if (result != S_OK || !read) {
            ++tally.wrongCrossReads;
            return;
        }
        std::vector<unsigned char> bytes = BytesOf(read.Get());
        if (bytes != Picture(id, 1, 1) && bytes != Picture(id, 1, 2)) ++tally.wrongCrossReads;
    }

    // Every row of one shard file, read with SQLite alone: identifier to
    // bytes, stamp and source.
    struct DiskRow {
        std::vector<unsigned char> data;
        int64_t date = 0;
        uint64_t source = 0;
    };
    std::map<uint64_t, DiskRow> RowsOnDisk(const std::filesystem::path& file) {
        std::map<uint64_t, DiskRow> rows;
        SqliteProbe probe(file);
        EXPECT_TRUE(probe.IsOpen()) << file;
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(probe.Handle(),
                               "SELECT file_id, thumbnail_update_date, thumbnail_data, source_id FROM thumbnail_table",
                               -1, &statement, nullptr) != SQLITE_OK) {
            ADD_FAILURE() << "no thumbnail_table in " << file;
            return rows;
        }
        while (sqlite3_step(statement) == SQLITE_ROW) {
            DiskRow row;
            row.date = sqlite3_column_int64(statement, 1);
            const auto* blob = static_cast<const unsigned char*>(sqlite3_column_blob(statement, 2));
            row.data.assign(blob, blob + sqlite3_column_bytes(statement, 2));
            row.source = static_cast<uint64_t>(sqlite3_column_int64(statement, 3));
            rows[static_cast<uint64_t>(sqlite3_column_int64(statement, 0))] = std::move(row);
        }
        sqlite3_finalize(statement);
        return rows;
    }

    // The shard files of a kind's folder hold exactly the identifiers of
    // their range that the writers wrote, each in its last version.
    void ExpectShardsOnDisk(uint32_t kind, const std::string& folderName) {
        std::filesystem::path folder = m_folder / folderName;
        std::set<std::string> files;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) files.insert(entry.path().filename());
        std::set<std::string> expectedFiles;
        for (int shard = 0; shard < kShards; ++shard) expectedFiles.insert(ShardFileName(shard));
        EXPECT_EQ(files, expectedFiles) << folderName;

        const int64_t stamp = CZanTDateTime(FixedNow()).GetPacked();
        for (int shard = 0; shard < kShards; ++shard) {
            std::map<uint64_t, DiskRow> rows = RowsOnDisk(folder / ShardFileName(shard));
            EXPECT_EQ(rows.size(), static_cast<size_t>(kIdsPerShard)) << folderName << " shard " << shard;
            for (int index = 0; index < kIdsPerShard; ++index) {
                uint64_t id = IdOf(shard, index);
                auto found = rows.find(id);
                if (found == rows.end()) {
                    ADD_FAILURE() << folderName << ": no row for " << id;
                    continue;
                }
                int version = IsUpdated(id) ? 2 : 1;
                EXPECT_EQ(found->second.data, Picture(id, kind, version)) << folderName << " " << id;
                EXPECT_EQ(found->second.date, stamp) << folderName << " " << id;
                EXPECT_EQ(found->second.source, kind == 1 ? 0 : SourceOf(id, version)) << folderName << " " << id;
            }
        }
    }

    TempFolder m_folder;
    CSQLiteDBBase m_catalogue;
    CSQLiteThumbDBMgr m_family;
};

TEST_F(ThumbThreads, TwoWritersAndACommitterLeaveEveryRowWhole) {
    CSQLiteThumbDBFactory* kind1 = m_family.Factory(1);
    CSQLiteThumbDBFactory* kind2 = m_family.Factory(2);
    ASSERT_NE(kind1, nullptr);
    ASSERT_NE(kind2, nullptr);

    std::atomic<int> writersRunning{2};
    int commits = 0;
    int failedCommits = 0;
    std::thread committer([&] {
        do {
            {
                CriticalSectionGuard catalogueGuard(m_catalogue.m_lock);
                if (kind1->CommitShards() != S_OK) ++failedCommits;
                if (kind2->CommitShards() != S_OK) ++failedCommits;
            }
            ++commits;
            std::this_thread::sleep_for(std::chrono::milliseconds(3));
        } while (writersRunning.load() > 0);
    });

    WriterTally even;
    WriterTally odd;
    std::thread evenWriter([&] {
        Write(0, even);
        --writersRunning;
    });
    std::thread oddWriter([&] {
        Write(1, odd);
        --writersRunning;
    });
    evenWriter.join();
    oddWriter.join();
    committer.join();

    EXPECT_EQ(even.failedWrites, 0);
    EXPECT_EQ(odd.failedWrites, 0);
    EXPECT_EQ(even.wrongReads, 0);
    EXPECT_EQ(odd.wrongReads, 0);
    EXPECT_EQ(even.wrongCrossReads, 0) << "of " << even.crossReads;
    EXPECT_EQ(odd.wrongCrossReads, 0) << "of " << odd.crossReads;
    RecordProperty("commits", commits);
    RecordProperty("cross_reads", even.crossReads + odd.crossReads);
    EXPECT_GE(commits, 1);
    EXPECT_EQ(failedCommits, 0);

    // One shard object per shard number, whichever thread opened it.
    EXPECT_EQ(kind1->OpenShardCount(), static_cast<size_t>(kShards));
    EXPECT_EQ(kind2->OpenShardCount(), static_cast<size_t>(kShards));

    // The last writes are made durable by a commit, not by closing: the
    // files are read while the shards are still open.
    ASSERT_EQ(kind1->CommitShards(), S_OK);
    ASSERT_EQ(kind2->CommitShards(), S_OK);
    ExpectShardsOnDisk(1, "thumb_0s");
    ExpectShardsOnDisk(2, "thumb_1s");
    EXPECT_FALSE(std::filesystem::exists(m_folder / "thumb_0a"));
    EXPECT_FALSE(std::filesystem::exists(m_folder / "thumb_1a"));
}

}  // namespace
