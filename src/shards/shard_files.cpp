// The shared rules of shard families: names, the listing of a folder's
// shards and the orphan counts' identifier list.
#include "shards/shard_files.h"

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "platform/files.h"
#include "storage/statement.h"

namespace platform = zandb4::platform;

namespace shard_files {
namespace {

constexpr char kShardExtension[] = ".db";

// The extension of a file name: from its last '.' to the end, or empty
// without one.
std::string ExtensionOf(const std::string& fileName) {
    size_t dot = fileName.rfind('.');
    return dot == std::string::npos ? std::string() : fileName.substr(dot);
}

}  // namespace

CZanTString FileNameOf(uint64_t shardNumber, const WCHAR* nameFormat) {
    CZanTString name;
    name.Format(nameFormat, static_cast<uint32_t>(shardNumber));
    return name;
}

std::vector<CZanTString> ShardFileNamesIn(const CZanTString& folder) {
    std::vector<CZanTString> names;
    std::vector<platform::FolderEntry> entries;
    if (!platform::ListFolder(folder.ToUtf8(), entries)) return names;
    for (const platform::FolderEntry& entry : entries) {
        // A folder named like a shard is not one; the compare is exact, so
        // ".DB" or ".db-journal" is no shard either.
        if (entry.isFolder || ExtensionOf(entry.name) != kShardExtension) continue;
        names.push_back(CZanTString::FromUtf8(entry.name.c_str()));
    }
    return names;
}

CZanTString QuotedIdList(const CZanTArray<uint64_t>& ids) {
    CZanTString list;
    for (ptrdiff_t index = 0; index < ids.GetSize(); ++index)
        list.AppendFormat(u"'%llu',", static_cast<unsigned long long>(ids.GetAt(index)));
    // The last comma is cut.
    if (!list.IsEmpty()) list = CZanTString(list.GetString(), list.GetLength() - 1);
    return list;
}

namespace {

std::atomic<int> g_statementLengthLimitForTesting{0};

// Lowers the connection's statement length limit while the test seam is set,
// and puts the connection's own limit back when it goes.
class TestLengthLimit {
public:
    explicit TestLengthLimit(sqlite3* db) : m_db(db) {
        int bytes = g_statementLengthLimitForTesting.load();
        if (bytes > 0) m_previous = sqlite3_limit(m_db, SQLITE_LIMIT_SQL_LENGTH, bytes);
    }
    ~TestLengthLimit() {
        if (m_previous >= 0) sqlite3_limit(m_db, SQLITE_LIMIT_SQL_LENGTH, m_previous);
    }
    TestLengthLimit(const TestLengthLimit&) = delete;
    TestLengthLimit& operator=(const TestLengthLimit&) = delete;

private:
    sqlite3* m_db;
    int m_previous = -1;
};

// Column 0 of the first row of a prepared count, or 0.
uint32_t FirstCount(zandb4::Statement& count) {
    if (!count.IsPrepared() || count.Step() != SQLITE_ROW) return 0;
    return static_cast<uint32_t>(count.ColumnInt64(0));
}

// The length of the statement that format makes with a text of
// insertedLength characters in place of its %s, in the UTF-8 bytes that
// SQLite measures.
size_t StatementLength(const WCHAR* format, size_t insertedLength) {
    size_t formatLength = CZanTString(format).ToUtf8().size();
    return formatLength - 2 + insertedLength;
}

// The longest statement, in characters, that SQLite takes on the
// connection: its limit on statement text, measured in UTF-8 bytes, and its
// limit on any string, which the UTF-16 text (two bytes a character) meets
// first when it is the smaller.
size_t LongestStatement(sqlite3* db) {
    size_t sqlLength = static_cast<size_t>(sqlite3_limit(db, SQLITE_LIMIT_SQL_LENGTH, -1));
    size_t stringLength = static_cast<size_t>(sqlite3_limit(db, SQLITE_LIMIT_LENGTH, -1)) / 2;
    return std::min(sqlLength, stringLength);
}

}  // namespace

NotInList::NotInList(const CZanTArray<uint64_t>& ids) : m_quotedIds(QuotedIdList(ids)) {
    constexpr uint64_t kLargestInteger = static_cast<uint64_t>(INT64_MAX);
    m_sorted.reserve(static_cast<size_t>(ids.GetSize()));
    for (ptrdiff_t index = 0; index < ids.GetSize(); ++index) {
        uint64_t id = ids.GetAt(index);
        if (id > kLargestInteger)
            m_beyondIntegers.push_back(id);
        else
            m_sorted.push_back(static_cast<int64_t>(id));
    }
    std::sort(m_sorted.begin(), m_sorted.end());
}

uint32_t NotInList::Count(sqlite3* db, const WCHAR* statementFormat, const WCHAR* rangeFormat) {
    if (db == nullptr) return 0;
    TestLengthLimit testLimit(db);
    size_t limit = LongestStatement(db);
    // The ids and the statements are plain ASCII: a character is a byte.
    if (StatementLength(statementFormat, m_quotedIds.GetLength()) <= limit) {
        CZanTString sql;
        sql.Format(statementFormat, m_quotedIds.GetString());
        zandb4::Statement count(db, sql.GetString());
        // Only a statement that SQLite refused for its length goes on to the
        // runs; any other failure counts 0.
        if (count.IsPrepared() || count.Finalize() != SQLITE_TOOBIG) return FirstCount(count);
        limit = StatementLength(statementFormat, m_quotedIds.GetLength()) - 1;
    }
    size_t rangeStatementLength = StatementLength(rangeFormat, 0);
    // A run's text leaves room for the rest of its statement.
    size_t budget = limit > rangeStatementLength ? limit - rangeStatementLength : 0;
    if (m_runs.empty() || budget != m_runBudget) MakeRuns(budget);
    return CountInRuns(db, rangeFormat);
}

void NotInList::MakeRuns(size_t budget) {
    m_runs.clear();
    m_runBudget = budget;
    CZanTString beyond;
    for (uint64_t id : m_beyondIntegers) beyond.AppendFormat(u"'%llu',", static_cast<unsigned long long>(id));

    Run run{beyond, false, 0, false, 0};
    bool runHasIds = false;
    CZanTString item;
    for (size_t index = 0; index < m_sorted.size(); ++index) {
        item.Format(u"'%llu',", static_cast<unsigned long long>(m_sorted[index]));
        // Each run takes at least one id, whatever the budget.
        if (runHasIds && run.quotedIds.GetLength() + item.GetLength() > budget + 1) {
            run.hasUpper = true;
            run.upper = m_sorted[index - 1];
            m_runs.push_back(run);
            run = Run{beyond, true, m_sorted[index - 1], false, 0};
            runHasIds = false;
        }
        run.quotedIds += item;
        runHasIds = true;
    }
    m_runs.push_back(run);
    // The last comma of each run is cut.
    for (Run& each : m_runs)
        if (!each.quotedIds.IsEmpty())
            each.quotedIds = CZanTString(each.quotedIds.GetString(), each.quotedIds.GetLength() - 1);
}

uint32_t NotInList::CountInRuns(sqlite3* db, const WCHAR* rangeFormat) {
    uint64_t total = 0;
    for (const Run& run : m_runs) {
        CZanTString sql;
        sql.Format(rangeFormat, run.quotedIds.GetString());
        zandb4::Statement count(db, sql.GetString());
        if (!count.IsPrepared()) return 0;
        count.BindInt(1, run.hasLower ? 0 : 1);
        count.BindInt64(2, run.lower);
        count.BindInt(3, run.hasUpper ? 0 : 1);
        count.BindInt64(4, run.upper);
        if (count.Step() != SQLITE_ROW) return 0;
        total += static_cast<uint64_t>(count.ColumnInt64(0));
    }
    return static_cast<uint32_t>(total);
}

void SetStatementLengthLimitForTesting(int bytes) {
    g_statementLengthLimitForTesting.store(bytes);
}

}  // namespace shard_files
