// The dead link check on a catalogue of 200 000 files, whose id list makes
// statements of about 1.7 million characters: counted whole under the
// limit of the SQLite this library runs on, and in runs under a limit of a
// million bytes, as an SQLite built with that limit has it, where the whole
// statement is refused and every count on the file ids would read 0. The
// counts are the same either way.
#include "maintenance/dead_link_info.h"
#include "maintenance_fixture.h"
#include "shards/meta_data_db_factory.h"
#include "shards/shard_files.h"
#include "shards/thumb_db_mgr.h"

namespace maintenance_test {
namespace {

constexpr int kFiles = 200000;
// A limit on statement length that SQLite may be built with.
constexpr int kMillionBytes = 1000000;

class LengthLimit {
public:
    explicit LengthLimit(int bytes) { shard_files::SetStatementLengthLimitForTesting(bytes); }
    ~LengthLimit() { shard_files::SetStatementLengthLimitForTesting(0); }
    LengthLimit(const LengthLimit&) = delete;
    LengthLimit& operator=(const LengthLimit&) = delete;
};

class LargeCatalogue : public MaintenanceTest {
protected:
    void SetUp() override {
        MaintenanceTest::SetUp();
        Start();
        std::string files = std::to_string(kFiles);
        ExecOnCatalogue("BEGIN");
        ExecOnCatalogue(
            "INSERT INTO file_table (file_id, file_path, file_name, path_key) WITH RECURSIVE n(i) AS "
            "(SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<" +
            files +
            ") "
            "SELECT i, '/pictures', 'f' || i || '.jpg', 'K' || i FROM n");
        // A metadata row and a tag link for every file, and ten of each whose
        // files are gone, in the middle and beyond the last file.
        ExecOnCatalogue("INSERT INTO meta_table (file_id) SELECT file_id FROM file_table");
        ExecOnCatalogue("INSERT INTO tag_table VALUES (1, 'all', 0)");
        ExecOnCatalogue("INSERT INTO tag_file_table SELECT 1, file_id FROM file_table");
        ExecOnCatalogue("DELETE FROM file_table WHERE file_id BETWEEN 100001 AND 100005");
        for (int gone = kFiles + 1; gone <= kFiles + 5; ++gone) {
            std::string id = std::to_string(gone);
            ExecOnCatalogue("INSERT INTO meta_table (file_id) VALUES (" + id + ")");
            ExecOnCatalogue("INSERT INTO tag_file_table VALUES (1, " + id + ")");
            ExecOnCatalogue("INSERT INTO image_file_table (file_id) VALUES (" + id + ")");
            ExecOnCatalogue("INSERT INTO person_face_table VALUES (" + id + ", " + id + ", 0, 0)");
        }
        ExecOnCatalogue("INSERT INTO image_file_table (file_id) VALUES (1)");
        ExecOnCatalogue("INSERT INTO person_face_table VALUES (1, 1, 0, 0)");
        ExecOnCatalogue("COMMIT");
        // Thumbnails and large metadata of the first, a middle and the last
        // file, and of files that are gone.
        const char bytes[] = "thumbnail";
        for (uint64_t id : {1ull, 100000ull, 100003ull, 199999ull, 200000ull, 200001ull, 200002ull}) {
            ASSERT_EQ(DatabaseRegistry::thumbMgr->Factory(1)->AddThumbnail(id, bytes, sizeof(bytes)), S_OK);
            ASSERT_EQ(DatabaseRegistry::metaFactory->AddMetaData(id, 1, bytes, sizeof(bytes)), S_OK);
        }
    }

    void ExpectRightCounts() {
        ComPtr<IZanDB4DeadLinkInfo> info;
        ASSERT_EQ(m_utility->CheckDeadLinks(info.Receive(), 0), S_OK);
        const DeadLinkCounts& counts = static_cast<CZanDB4DeadLinkInfo*>(info.Get())->Counts();
        // Five files deleted in the middle and five ids beyond the last file.
        EXPECT_EQ(counts.orphanMetaCount, 10u);
        EXPECT_EQ(counts.orphanTagLinkFileCount, 10u);
        EXPECT_EQ(counts.orphanTagLinkTagCount, 0u);
        EXPECT_EQ(counts.orphanImageFileCount, 5u);
        EXPECT_EQ(counts.orphanFaceFileCount, 5u);
        // 100003, 200001 and 200002.
        EXPECT_EQ(counts.orphanThumbnailCount, 3u);
        EXPECT_EQ(counts.orphanLargeMetaCount, 3u);
    }
};

TEST_F(LargeCatalogue, UnderThisSQLitesLimitTheWholeStatementsCountRight) {
    ASSERT_GT(sqlite3_limit(DatabaseRegistry::fileBasicDB->m_db, SQLITE_LIMIT_SQL_LENGTH, -1), 2 * kMillionBytes);
    ExpectRightCounts();
}

TEST_F(LargeCatalogue, UnderAMillionBytesTheRunsCountTheSame) {
    LengthLimit lowered(kMillionBytes);
    ExpectRightCounts();
}

TEST_F(LargeCatalogue, AtAMillionBytesTheWholeStatementIsRefusedAndTheListIsCutIntoRuns) {
    CZanTArray<uint64_t> ids;
    for (uint64_t id = 1; id <= kFiles; ++id) ids.Add(id);
    shard_files::NotInList list(ids);
    CZanTString sql;
    sql.Format(u"SELECT COUNT(*) FROM meta_table WHERE file_id NOT IN (%s)", list.QuotedIds().GetString());
    EXPECT_GT(sql.GetLength(), static_cast<size_t>(kMillionBytes));
    sqlite3* db = DatabaseRegistry::fileBasicDB->m_db;
    int own = sqlite3_limit(db, SQLITE_LIMIT_SQL_LENGTH, kMillionBytes);
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare16_v2(db, sql.GetString(), -1, &statement, nullptr), SQLITE_TOOBIG);
    sqlite3_finalize(statement);
    sqlite3_limit(db, SQLITE_LIMIT_SQL_LENGTH, own);

    LengthLimit lowered(kMillionBytes);
    EXPECT_EQ(list.Count(db, u"SELECT COUNT(*) FROM meta_table WHERE file_id NOT IN (%s)",
                         u"SELECT COUNT(*) FROM meta_table WHERE file_id NOT IN (%s) AND (? OR file_id>?) AND "
                         u"(? OR file_id<=?)"),
              5u);
    EXPECT_EQ(list.RunCount(), 2u);
}

}  // namespace
}  // namespace maintenance_test
