// Helpers shared by the storage tests: a store opened in a temporary folder,
// a recorder of the statements a connection runs, a scoped replacement of the
// volume serial source, and store files of a chosen version.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/volume.h"
#include "storage/sqlite_db_base.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"

namespace storage_test {

inline constexpr char kStoreName[] = "store.db";

// Rows as SqliteProbe::Rows answers them.
using Rows = std::vector<std::vector<std::string>>;

// Points store at folder/kStoreName (or another name) without opening it.
inline void PlaceStore(CSQLiteDBBase& store, const zandb4::testing::TempFolder& folder,
                       const char* name = kStoreName) {
    store.m_folder = folder.Wide();
    store.m_fileName = CZanTString::FromUtf8(name);
}

// While alive, every volume serial asked for is the number set here; the
// real source comes back when it goes.
class VolumeSerialOverride {
public:
    explicit VolumeSerialOverride(uint32_t serial) : m_state(std::make_shared<State>()) {
        m_state->serial = serial;
        std::shared_ptr<State> state = m_state;
        zandb4::platform::SetVolumeSerialSourceForTesting([state](const std::string&) {
            ++state->calls;
            return state->serial.load();
        });
    }
    ~VolumeSerialOverride() { zandb4::platform::SetVolumeSerialSourceForTesting({}); }
    VolumeSerialOverride(const VolumeSerialOverride&) = delete;
    VolumeSerialOverride& operator=(const VolumeSerialOverride&) = delete;

    void Set(uint32_t serial) { m_state->serial = serial; }
    int Calls() const { return m_state->calls.load(); }

private:
    struct State {
        std::atomic<uint32_t> serial{0};
        std::atomic<int> calls{0};
    };
    std::shared_ptr<State> m_state;
};

// Records the text of every statement the store's current connection starts,
// through SQLite's statement trace. Stops recording when it goes, unless the
// store has changed its connection in the meantime.
class StatementTrace {
public:
    explicit StatementTrace(CSQLiteDBBase& store) : m_store(store), m_db(store.m_db) {
        EXPECT_NE(m_db, nullptr);
        if (m_db != nullptr) sqlite3_trace_v2(m_db, SQLITE_TRACE_STMT, &StatementTrace::OnTrace, this);
    }
    ~StatementTrace() {
        if (m_db != nullptr && m_store.m_db == m_db) sqlite3_trace_v2(m_db, 0, nullptr, nullptr);
    }
    StatementTrace(const StatementTrace&) = delete;
    StatementTrace& operator=(const StatementTrace&) = delete;

    const std::vector<std::string>& Statements() const { return m_statements; }
    // How many times exactly this text ran.
    size_t Count(const std::string& text) const {
        return static_cast<size_t>(std::count(m_statements.begin(), m_statements.end(), text));
    }
    void Clear() { m_statements.clear(); }

private:
    static int OnTrace(unsigned type, void* context, void*, void* text) {
        if (type == SQLITE_TRACE_STMT && text != nullptr) {
            std::string statement(static_cast<const char*>(text));
            // Statements inside triggers arrive as comments; only top-level ones count.
            if (statement.rfind("--", 0) != 0) static_cast<StatementTrace*>(context)->m_statements.push_back(statement);
        }
        return 0;
    }

    CSQLiteDBBase& m_store;
    sqlite3* m_db;
    std::vector<std::string> m_statements;
};

// Makes folder/name as a fresh store would, then writes version into its
// version row directly.
inline void MakeStoreFileOfVersion(const zandb4::testing::TempFolder& folder, int64_t version,
                                   const char* name = kStoreName) {
    {
        CSQLiteDBBase maker;
        PlaceStore(maker, folder, name);
        ASSERT_EQ(maker.Open(), S_OK);
        ASSERT_EQ(maker.Close(), S_OK);
    }
    zandb4::testing::SqliteProbe probe(folder / name);
    ASSERT_TRUE(probe.IsOpen());
    ASSERT_EQ(probe.Exec("UPDATE version_info_table SET version=" + std::to_string(version)), SQLITE_OK);
}

// Runs sql on the store's own connection; the SQLite result code.
inline int ExecOn(CSQLiteDBBase& store, const std::string& sql) {
    return sqlite3_exec(store.m_db, sql.c_str(), nullptr, nullptr, nullptr);
}

// Whether SQLite has a transaction open on the connection.
inline bool SqliteTransactionOpen(sqlite3* db) { return db != nullptr && sqlite3_get_autocommit(db) == 0; }

}  // namespace storage_test
