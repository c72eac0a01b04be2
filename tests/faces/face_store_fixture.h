// The setting of the face store tests: the library started on a fresh root
// (a copy of an empty catalogue, a new staging store), the catalogue's lock
// held by the test for its whole run as the face manager holds it around
// every store call, and short ways to make face, individual and group
// records through the factory, to put rows in with SQL, to read the rows
// back on the store's own connection (uncommitted state) or from the file
// on disk (committed state), to count the statements open on the
// catalogue's connection, and to collect the texts of the statements it
// runs.
//
// Persons and pets are run through the same tests by a Twin that names the
// tables and columns of each type.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "../records/file_db_record_fixture.h"
#include "catalogue/file_basic_db.h"
#include "faces/face_db_record.h"
#include "faces/face_rows.h"
#include "faces/individual_db_record.h"
#include "faces/individual_group_db_record.h"
#include "faces/individual_rows.h"
#include "frame/com_ptr.h"
#include "library/database_registry.h"
#include "platform/clock.h"
#include "staging/async_db.h"
#include "support/sqlite_probe.h"
#include "zandb4.h"

namespace face_store_test {

namespace DatabaseRegistry = zandb4::DatabaseRegistry;
using zandb4::ComPtr;
using FacePtr = ComPtr<IZanDB4FaceDBRecord>;
using IndividualPtr = ComPtr<IZanDB4IndividualDBRecord>;
using GroupPtr = ComPtr<IZanDB4IndividualGroupDBRecord>;
using Rows = std::vector<std::vector<std::string>>;
using Ids = std::vector<uint64_t>;

// Result codes spelt out, so that a wrong constant in the library shows.
inline constexpr HRESULT kOk = 0;
inline constexpr HRESULT kFalse = 1;
inline constexpr HRESULT kFail = static_cast<HRESULT>(0x80004005);
inline constexpr HRESULT kInvalidArg = static_cast<HRESULT>(0x80070057);

inline constexpr uint32_t kPerson = 1;
inline constexpr uint32_t kPet = 2;

// What differs between the person and the pet tables.
struct Twin {
    uint32_t type;
    const char* label;
    const char* individualTable;
    const char* individualColumn;
    const char* faceTable;
    const char* faceIdColumn;
    const char* groupItemTable;
    uint32_t individualIdType;
    uint32_t faceIdType;
};

inline const Twin kPersonTwin{
    kPerson, "person", "person_table", "person_id", "person_face_table", "person_face_id", "person_group_item_table",
    4,       5};
inline const Twin kPetTwin{kPet, "pet", "pet_table", "pet_id", "pet_face_table", "pet_face_id", "pet_group_item_table",
                           6,    7};

// Names the parameterised tests after the type they run for.
struct TwinName {
    std::string operator()(const ::testing::TestParamInfo<Twin>& info) const { return info.param.label; }
};

inline RECT MakeRect(int32_t left, int32_t top, int32_t right, int32_t bottom) {
    RECT rect;
    rect.left = left;
    rect.top = top;
    rect.right = right;
    rect.bottom = bottom;
    return rect;
}

inline bool SameRect(const RECT& a, const RECT& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

inline CZanTString W(const std::string& utf8) {
    return CZanTString::FromUtf8(utf8.c_str());
}

inline std::string S(uint64_t value) {
    return std::to_string(value);
}

inline int32_t RefCountOf(IZanDB4IndividualDBRecord* record) {
    return static_cast<CZanDB4IndividualDBRecord*>(record)->RefCount();
}
inline int32_t RefCountOf(IZanDB4IndividualGroupDBRecord* record) {
    return static_cast<CZanDB4IndividualGroupDBRecord*>(record)->RefCount();
}
inline int32_t RefCountOf(IZanDB4FaceDBRecord* record) {
    return static_cast<CZanDB4FaceDBRecord*>(record)->RefCount();
}

inline SYSTEMTIME Moment(uint16_t year, uint16_t month, uint16_t day, uint16_t hour = 0, uint16_t minute = 0,
                         uint16_t second = 0) {
    SYSTEMTIME time{};
    time.wYear = year;
    time.wMonth = month;
    time.wDay = day;
    time.wHour = hour;
    time.wMinute = minute;
    time.wSecond = second;
    return time;
}

inline int64_t Packed(const SYSTEMTIME& time) {
    return CZanTDateTime(time).GetPacked();
}

// Collects the text of every statement run on a connection while it lives.
class StatementTrace {
public:
    explicit StatementTrace(sqlite3* db) : m_db(db) { sqlite3_trace_v2(m_db, SQLITE_TRACE_STMT, &Collect, this); }
    ~StatementTrace() { sqlite3_trace_v2(m_db, 0, nullptr, nullptr); }
    StatementTrace(const StatementTrace&) = delete;
    StatementTrace& operator=(const StatementTrace&) = delete;

    const std::vector<std::string>& Texts() const { return m_texts; }

private:
    static int Collect(unsigned, void* context, void* statement, void*) {
        const char* sql = sqlite3_sql(static_cast<sqlite3_stmt*>(statement));
        static_cast<StatementTrace*>(context)->m_texts.push_back(sql != nullptr ? sql : "");
        return 0;
    }

    sqlite3* m_db;
    std::vector<std::string> m_texts;
};

class FaceStoreTest : public file_record_test::FileRecordTest {
protected:
    void SetUp() override {
        FileRecordTest::SetUp();
        if (HasFatalFailure()) return;
        ASSERT_NE(DatabaseRegistry::asyncDB, nullptr);
        m_held = std::unique_lock<CCriticalSection>(m_store->m_lock);
    }

    void TearDown() override {
        zandb4::platform::SetSystemTimeForTesting(std::nullopt);
        if (m_held.owns_lock()) m_held.unlock();
        FileRecordTest::TearDown();
    }

    // Gives the lock back and stops the library inside a test.
    void Stop() {
        if (m_held.owns_lock()) m_held.unlock();
        Finalize();
    }

    CSQLiteFileBasicDB& Catalogue() { return *m_store; }
    CSQLiteAsyncDB& Staging() { return *DatabaseRegistry::asyncDB; }
    FaceTableRows Faces() { return FaceTableRows(*m_store); }
    IndividualRows Individuals() { return IndividualRows(*m_store); }

    // ------------------------------------------------------------ records

    FacePtr NewFace() {
        FacePtr face;
        EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FaceDBRecord, reinterpret_cast<void**>(face.Receive())), kOk);
        return face;
    }

    FacePtr MakeFace(uint32_t type, uint64_t faceId, uint64_t fileId, uint64_t individualId,
                     const RECT& rect = MakeRect(10, 20, 30, 40)) {
        FacePtr face = NewFace();
        if (!face) return face;
        EXPECT_EQ(face->SetIndividualType(type), kOk);
        EXPECT_EQ(face->SetFaceID(faceId), kOk);
        EXPECT_EQ(face->SetFileID(fileId), kOk);
        EXPECT_EQ(face->SetIndividualID(individualId), kOk);
        EXPECT_EQ(face->SetRect(&rect), kOk);
        return face;
    }

    IndividualPtr NewIndividual() {
        IndividualPtr individual;
        EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4IndividualDBRecord, reinterpret_cast<void**>(individual.Receive())),
                  kOk);
        return individual;
    }

    IndividualPtr MakeIndividual(uint32_t type, uint64_t id, const std::string& name = "") {
        IndividualPtr individual = NewIndividual();
        if (!individual) return individual;
        EXPECT_EQ(individual->SetIndividualType(type), kOk);
        EXPECT_EQ(individual->SetID(id), kOk);
        EXPECT_EQ(individual->SetName(W(name)), kOk);
        return individual;
    }

    GroupPtr NewGroup() {
        GroupPtr group;
        EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4IndividualGroupDBRecord, reinterpret_cast<void**>(group.Receive())),
                  kOk);
        return group;
    }

    // ------------------------------------------------- rows through the store

    void InsertIndividual(uint32_t type, uint64_t id, const std::string& name = "") {
        IndividualPtr individual = MakeIndividual(type, id, name);
        ASSERT_TRUE(individual);
        ASSERT_EQ(Individuals().InsertIndividual(id, individual.Get()), kOk) << name;
    }

    // Inserts with a register date of its own, the clock set to when.
    void InsertIndividualAt(uint32_t type, uint64_t id, const std::string& name, const SYSTEMTIME& when) {
        zandb4::platform::SetSystemTimeForTesting(when);
        InsertIndividual(type, id, name);
        zandb4::platform::SetSystemTimeForTesting(std::nullopt);
    }

    void InsertFace(uint32_t type, uint64_t faceId, uint64_t fileId, uint64_t individualId,
                    const RECT& rect = MakeRect(10, 20, 30, 40)) {
        FacePtr face = MakeFace(type, faceId, fileId, individualId, rect);
        ASSERT_TRUE(face);
        ASSERT_EQ(Faces().InsertFace(faceId, type, face.Get()), kOk);
    }

    // A file row of the catalogue, in an album (0 for none).
    void InsertFile(uint64_t fileId, uint64_t albumId) {
        file_record_test::FileRow row;
        row.fileId = static_cast<int64_t>(fileId);
        row.filePath = "/photos/" + S(fileId);
        row.fileName = "IMG_" + S(fileId) + ".JPG";
        row.albumId = static_cast<int64_t>(albumId);
        InsertFileRow(row);
    }

    // ------------------------------------------------------ reading rows

    // Rows as the catalogue's own connection sees them, open transaction
    // included.
    Rows Live(const std::string& sql) {
        Rows rows;
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(m_store->m_db, sql.c_str(), -1, &statement, nullptr), SQLITE_OK) << sql;
        while (statement != nullptr && sqlite3_step(statement) == SQLITE_ROW) {
            std::vector<std::string> row;
            for (int i = 0; i < sqlite3_column_count(statement); ++i) {
                const unsigned char* text = sqlite3_column_text(statement, i);
                row.push_back(text == nullptr ? "NULL" : reinterpret_cast<const char*>(text));
            }
            rows.push_back(std::move(row));
        }
        sqlite3_finalize(statement);
        return rows;
    }
    int64_t LiveInteger(const std::string& sql) {
        Rows rows = Live(sql);
        if (rows.empty() || rows[0].empty() || rows[0][0] == "NULL") return -1;
        return std::stoll(rows[0][0]);
    }
    // The same on the staging store's connection.
    Rows StagingLive(const std::string& sql) {
        Rows rows;
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(Staging().m_db, sql.c_str(), -1, &statement, nullptr), SQLITE_OK) << sql;
        while (statement != nullptr && sqlite3_step(statement) == SQLITE_ROW) {
            std::vector<std::string> row;
            for (int i = 0; i < sqlite3_column_count(statement); ++i) {
                const unsigned char* text = sqlite3_column_text(statement, i);
                row.push_back(text == nullptr ? "NULL" : reinterpret_cast<const char*>(text));
            }
            rows.push_back(std::move(row));
        }
        sqlite3_finalize(statement);
        return rows;
    }
    void StagingExec(const std::string& sql) {
        char* message = nullptr;
        int code = sqlite3_exec(Staging().m_db, sql.c_str(), nullptr, nullptr, &message);
        EXPECT_EQ(code, SQLITE_OK) << sql << ": " << (message != nullptr ? message : "");
        sqlite3_free(message);
    }

    // Rows of a database file as a separate connection reads them: what has
    // been committed. No commit is made here.
    Rows Disk(const std::string& sql, const std::string& file = "FileBasic.db") {
        zandb4::testing::SqliteProbe probe(m_root / "database" / file);
        EXPECT_TRUE(probe.IsOpen()) << file;
        return probe.Rows(sql);
    }
    int64_t DiskInteger(const std::string& sql, const std::string& file = "FileBasic.db") {
        zandb4::testing::SqliteProbe probe(m_root / "database" / file);
        EXPECT_TRUE(probe.IsOpen()) << file;
        return probe.Integer(sql);
    }
    // Commits the catalogue, recounts included, and reads the file.
    Rows CommitThenDisk(const std::string& sql) {
        EXPECT_EQ(m_store->Commit(false), kOk);
        return Disk(sql);
    }

    // The file_count column of an individual on disk: "NULL" while no
    // recount has written it, "missing" without a row.
    std::string DiskFileCount(const Twin& twin, uint64_t id) {
        Rows rows = Disk(std::string("SELECT file_count FROM ") + twin.individualTable + " WHERE " +
                         twin.individualColumn + "=" + S(id));
        return rows.empty() ? "missing" : rows[0][0];
    }

    // Statements that stand prepared on the catalogue's connection.
    int OpenStatements() {
        int count = 0;
        for (sqlite3_stmt* statement = sqlite3_next_stmt(m_store->m_db, nullptr); statement != nullptr;
             statement = sqlite3_next_stmt(m_store->m_db, statement))
            ++count;
        return count;
    }

    // ---------------------------------------------------- reading lists

    // The ids of a list of individuals in its order; releases every record
    // (checking that each came with exactly one reference) and empties it.
    static Ids IdsOf(CArray<IZanDB4IndividualDBRecord*>& list) {
        Ids ids;
        for (ptrdiff_t i = 0; i < list.GetSize(); ++i) {
            IZanDB4IndividualDBRecord* record = list.GetAt(i);
            EXPECT_NE(record, nullptr);
            if (record == nullptr) continue;
            EXPECT_EQ(RefCountOf(record), 1);
            uint64_t id = 0;
            EXPECT_EQ(record->GetID(&id), kOk);
            ids.push_back(id);
            record->Release();
        }
        list.RemoveAll();
        return ids;
    }
    static Ids IdsOf(CArray<IZanDB4FaceDBRecord*>& list) {
        Ids ids;
        for (ptrdiff_t i = 0; i < list.GetSize(); ++i) {
            IZanDB4FaceDBRecord* record = list.GetAt(i);
            EXPECT_NE(record, nullptr);
            if (record == nullptr) continue;
            EXPECT_EQ(RefCountOf(record), 1);
            uint64_t id = 0;
            EXPECT_EQ(record->GetFaceID(&id), kOk);
            ids.push_back(id);
            record->Release();
        }
        list.RemoveAll();
        return ids;
    }
    static Ids ValuesOf(const CArray<uint64_t>& list) {
        Ids values;
        for (ptrdiff_t i = 0; i < list.GetSize(); ++i) values.push_back(list.GetAt(i));
        return values;
    }

    std::unique_lock<CCriticalSection> m_held;
};

// The same setting, run once for persons and once for pets.
class FaceTwinTest : public FaceStoreTest, public ::testing::WithParamInterface<Twin> {
protected:
    const Twin& T() const { return GetParam(); }
    uint32_t Type() const { return GetParam().type; }
    std::string Table() const { return GetParam().individualTable; }
    std::string Column() const { return GetParam().individualColumn; }
    std::string FaceTable() const { return GetParam().faceTable; }
    std::string FaceIdColumn() const { return GetParam().faceIdColumn; }
    std::string GroupItems() const { return GetParam().groupItemTable; }
    // The individual column of the face table: person_id or pet_id.
    std::string FaceOwnerColumn() const { return GetParam().individualColumn; }
    const std::set<uint64_t>& Recounts() const {
        return Type() == kPerson ? m_store->PersonRecounts() : m_store->PetRecounts();
    }
};

}  // namespace face_store_test
