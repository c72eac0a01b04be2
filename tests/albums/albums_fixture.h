// The setting of the album and tag manager tests: the library started on a
// fresh root, files put into the catalogue through the file store and into
// staging through the staging store, and short ways to read what a separate
// SQLite connection finds on disk after a commit.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "catalogue/file_basic_db.h"
#include "catalogue/file_rows.h"
#include "frame/com_ptr.h"
#include "library/database_registry.h"
#include "staging/async_db.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace albums_test {

namespace DatabaseRegistry = zandb4::DatabaseRegistry;
using zandb4::ComPtr;
using Rows = std::vector<std::vector<std::string>>;
using Ids = std::vector<uint64_t>;
using FilePtr = ComPtr<IZanDB4FileDBRecord>;

// Identifier pool types of albums and tags.
inline constexpr uint32_t kAlbumIdType = 2;
inline constexpr uint32_t kTagIdType = 8;

inline SYSTEMTIME Date(uint16_t year, uint16_t month, uint16_t day, uint16_t hour = 0, uint16_t minute = 0,
                       uint16_t second = 0) {
    SYSTEMTIME date{};
    date.wYear = year;
    date.wMonth = month;
    date.wDay = day;
    date.wHour = hour;
    date.wMinute = minute;
    date.wSecond = second;
    return date;
}

inline int64_t Packed(uint16_t year, uint16_t month, uint16_t day, uint16_t hour = 0) {
    return CZanTDateTime(Date(year, month, day, hour)).GetPacked();
}

inline int64_t Packed(const SYSTEMTIME& date) {
    return CZanTDateTime(date).GetPacked();
}

inline CZanTString W(const std::string& utf8) {
    return CZanTString::FromUtf8(utf8.c_str());
}

// Awkward names: an apostrophe (ends a quoted SQL literal), percent and
// underscore (LIKE wildcards), letters outside ASCII, one outside the basic
// plane, and a very long one.
inline std::vector<std::string> AwkwardNames() {
    return {"Grandma's garden", "it''s '; DROP TABLE tag_table; --", "100% done_%",
            "K\xC3\xB6ln \xC3\xA9t\xC3\xA9 \xE5\x86\x99\xE7\x9C\x9F \xF0\x9F\x93\xB7",
            std::string(10000, 'x') + "\xC3\xA9"};
}

// What a file is given when it is added, built up by chained calls:
// File(10).InAlbum(3).Unmanaged().ShotAt(date).Tagged({1, 2}).
struct FileSpec {
    uint64_t fileId = 0;
    uint64_t albumId = 0;
    uint32_t manage = 1;
    int64_t shootingDate = 0;
    std::string name;  // "IMG_<id>.JPG" when empty
    std::vector<uint64_t> tags;

    FileSpec& InAlbum(uint64_t id) {
        albumId = id;
        return *this;
    }
    FileSpec& Unmanaged() {
        manage = 0;
        return *this;
    }
    FileSpec& ShotAt(int64_t packedDate) {
        shootingDate = packedDate;
        return *this;
    }
    FileSpec& Named(const std::string& fileName) {
        name = fileName;
        return *this;
    }
    FileSpec& Tagged(std::vector<uint64_t> tagIds) {
        tags = std::move(tagIds);
        return *this;
    }
};

inline FileSpec File(uint64_t fileId) {
    FileSpec spec;
    spec.fileId = fileId;
    return spec;
}

class AlbumsFixture : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        ASSERT_NE(DatabaseRegistry::fileBasicDB, nullptr);
        ASSERT_NE(DatabaseRegistry::asyncDB, nullptr);
    }
    void TearDown() override {
        while (DatabaseRegistry::initCount > 0) ZanDB4_Finalize();
    }

    CSQLiteFileBasicDB& Catalogue() { return *DatabaseRegistry::fileBasicDB; }
    CSQLiteAsyncDB& Staging() { return *DatabaseRegistry::asyncDB; }

    // A file record from the factory carrying spec's values.
    FilePtr MakeFile(const FileSpec& spec) {
        FilePtr record;
        EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileDBRecord, reinterpret_cast<void**>(record.Receive())), S_OK);
        if (!record) return record;
        EXPECT_EQ(record->SetFileID(spec.fileId), S_OK);
        uint32_t diskVsn = 1;
        CZanTString path = W("/photos/" + std::to_string(spec.fileId));
        EXPECT_EQ(record->SetFilePath(path.GetString(), &diskVsn), S_OK);
        CZanTString name = W(spec.name.empty() ? "IMG_" + std::to_string(spec.fileId) + ".JPG" : spec.name);
        EXPECT_EQ(record->SetFileName(name.GetString()), S_OK);
        EXPECT_EQ(record->SetShootingDateValue(&spec.shootingDate), S_OK);
        EXPECT_EQ(record->SetManage(&spec.manage), S_OK);
        EXPECT_EQ(record->SetAlbumID(&spec.albumId), S_OK);
        for (uint64_t tag : spec.tags) EXPECT_EQ(record->AddTag(&tag), S_OK);
        return record;
    }

    // Adds a file to the catalogue's open transaction, tags included.
    void AddFile(const FileSpec& spec) {
        FilePtr record = MakeFile(spec);
        ASSERT_TRUE(record);
        ASSERT_EQ(FileTableRows(Catalogue()).InsertFileRecord(record.Get()), S_OK);
    }

    // Stages a file, as a new file waits before it moves to the catalogue.
    void StageFile(const FileSpec& spec) {
        FilePtr record = MakeFile(spec);
        ASSERT_TRUE(record);
        ASSERT_EQ(Staging().AddFile(spec.fileId, record.Get(), nullptr, 0), S_OK);
    }

    // The catalogue's live record of fileId.
    FilePtr LoadFile(uint64_t fileId) {
        FilePtr record;
        EXPECT_EQ(FileTableRows(Catalogue()).GetFileRecord(fileId, record.Receive()), S_OK);
        return record;
    }

    // Moves a catalogued file to another album through the file store.
    void MoveFile(uint64_t fileId, uint64_t albumId) {
        FilePtr record = LoadFile(fileId);
        ASSERT_TRUE(record);
        ASSERT_EQ(record->SetAlbumID(&albumId), S_OK);
        ASSERT_EQ(FileTableRows(Catalogue()).UpdateFileRecord(fileId, record.Get()), S_OK);
    }

    // Runs SQL on the catalogue's own connection, inside what it has open.
    void ExecOnCatalogue(const std::string& sql) {
        char* message = nullptr;
        int code = sqlite3_exec(Catalogue().m_db, sql.c_str(), nullptr, nullptr, &message);
        EXPECT_EQ(code, SQLITE_OK) << sql << ": " << (message != nullptr ? message : "");
        sqlite3_free(message);
    }

    // The first column of the first row of sql as the catalogue's own
    // connection sees it, open transaction included; -1 without a row.
    int64_t CatalogueInteger(const std::string& sql) {
        sqlite3_stmt* statement = nullptr;
        int64_t value = -1;
        if (sqlite3_prepare_v2(Catalogue().m_db, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
            sqlite3_step(statement) == SQLITE_ROW)
            value = sqlite3_column_int64(statement, 0);
        sqlite3_finalize(statement);
        return value;
    }

    // Takes a table away inside the catalogue's open transaction, so that
    // the statements on it fail until a rollback brings it back.
    void DropInsideTransaction(const std::string& table) {
        Catalogue().BeginTransaction();
        ExecOnCatalogue("DROP TABLE " + table);
    }

    // What a separate connection reads from a store file of the database
    // folder: committed state only.
    Rows Disk(const std::string& sql, const std::string& file = "FileBasic.db") {
        zandb4::testing::SqliteProbe probe(m_root / "database" / file);
        EXPECT_TRUE(probe.IsOpen());
        return probe.Rows(sql);
    }
    int64_t DiskInteger(const std::string& sql, const std::string& file = "FileBasic.db") {
        zandb4::testing::SqliteProbe probe(m_root / "database" / file);
        EXPECT_TRUE(probe.IsOpen());
        return probe.Integer(sql);
    }
    // Every value of the first column of sql, as 64-bit unsigned numbers.
    Ids DiskIds(const std::string& sql, const std::string& file = "FileBasic.db") {
        Ids ids;
        for (const auto& row : Disk(sql, file)) ids.push_back(std::stoull(row.at(0)));
        return ids;
    }
    // The text of the first column of the first row, exactly as stored.
    std::string DiskText(const std::string& sql) {
        Rows rows = Disk(sql);
        return rows.empty() ? std::string("<no row>") : rows[0].at(0);
    }

    // How many times id stands in the identifier pool of idType, committed.
    int64_t PooledOnDisk(uint32_t idType, uint64_t id) {
        return DiskInteger("SELECT COUNT(*) FROM pooled_id_table WHERE id_type=" + std::to_string(idType) +
                           " AND pooled_id=" + std::to_string(id));
    }

    // The file ids of a list of records in its order. The list's reference
    // of each record is released and the list emptied.
    static Ids IdsOf(CZanTList<IZanDB4FileDBRecord*>& records) {
        Ids ids;
        for (POSITION at = records.GetHeadPosition(); at != nullptr;) {
            IZanDB4FileDBRecord* record = records.GetNext(at);
            uint64_t id = 0;
            EXPECT_EQ(record->GetFileID(&id), S_OK);
            ids.push_back(id);
            record->Release();
        }
        records.RemoveAll();
        return ids;
    }

    zandb4::testing::TempFolder m_root;
};

}  // namespace albums_test
