// The rules every shard family shares: which shard an identifier lies in,
// what the shard's file is called, which files of a folder are shards, and
// the identifier list that the orphan counts put into their statements.
// Thumbnails and large metadata use runs of 10 000 identifiers; the feature
// point shards use their own run length with the same rules.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <map>
#include <memory>
#include <new>
#include <vector>

#include "zandb4/foundation.h"

namespace shard_files {

// Identifiers per thumbnail or large-metadata shard.
inline constexpr uint32_t kIdsPerShard = 10000;

// "%08X.db": eight upper-case hexadecimal digits, zero-filled (thumbnails,
// feature points). "%X.db": no zero-fill (large metadata).
inline constexpr WCHAR kPaddedNameFormat[] = u"%08X.db";
inline constexpr WCHAR kShortNameFormat[] = u"%X.db";

// The identifier divided by the run length, rounding down, in unsigned 64-bit
// arithmetic.
inline uint64_t ShardNumberOf(uint64_t id, uint32_t idsPerShard) { return id / idsPerShard; }

// The file name of a shard: nameFormat applied to the low 32 bits of the
// shard number. Shard numbers that differ only above bit 31 share a name.
CZanTString FileNameOf(uint64_t shardNumber, const WCHAR* nameFormat);

// The shard of id from the map of open shards, opened first if it is not in
// it: the folder is made if missing, then a new Shard is given the folder
// and its file name and opened, which makes the file with its tables if
// missing. On success the shard enters the map, which owns it; on failure it
// is destroyed and the failure answered, and the map stays as it was. An
// exception on the way is E_FAIL. E_INVALIDARG for a null out, E_FAIL for an
// empty folder path.
template <class Shard>
HRESULT GetShardOf(std::map<uint64_t, std::unique_ptr<Shard>>& shards, const CZanTString& folder,
                   uint32_t idsPerShard, const WCHAR* nameFormat, uint64_t id, Shard** outShard) {
    if (outShard == nullptr) return E_INVALIDARG;
    *outShard = nullptr;
    uint64_t number = ShardNumberOf(id, idsPerShard);
    auto open = shards.find(number);
    if (open != shards.end()) {
        *outShard = open->second.get();
        return S_OK;
    }
    if (folder.IsEmpty()) return E_FAIL;
    try {
        // The outcome is not looked at: opening the shard tells.
        folder.MakeFolder();
        auto shard = std::make_unique<Shard>();
        shard->m_folder = folder;
        shard->m_fileName = FileNameOf(number, nameFormat);
        HRESULT opened = shard->Open();
        if (opened != S_OK) return opened;
        *outShard = shard.get();
        shards.emplace(number, std::move(shard));
        return S_OK;
    } catch (...) {
        *outShard = nullptr;
        return E_FAIL;
    }
}

// The file names (not paths) of the shards in folder, in listing order: every
// entry that is not a folder and whose extension, the part from the last '.'
// of the name, is exactly ".db". A folder that cannot be listed has none.
std::vector<CZanTString> ShardFileNamesIn(const CZanTString& folder);

// Visits every shard file of the folder (ShardFileNamesIn) through a Shard
// of its own, apart from any the factory has open: the shard is opened, a
// file that does not open is passed over, visit(shard) runs, and the shard
// is closed and destroyed. The first answer of visit other than S_OK ends the
// walk and is answered.
template <class Shard, class Visit>
HRESULT WalkShardFiles(const CZanTString& folder, Visit&& visit) {
    for (const CZanTString& name : ShardFileNamesIn(folder)) {
        Shard shard;
        shard.m_folder = folder;
        shard.m_fileName = name;
        HRESULT visited = S_OK;
        if (shard.Open() == S_OK) visited = visit(shard);
        shard.Close();
        if (visited != S_OK) return visited;
    }
    return S_OK;
}

// The identifiers as the orphan counts put them into "NOT IN (%s)": each as
// "'%llu'," with the last comma cut. An empty array gives an empty text, which
// leaves the parentheses empty and so counts every row.
CZanTString QuotedIdList(const CZanTArray<uint64_t>& ids);

// The identifier list of one orphan count, made once and put into as many
// statements as the count needs (one per shard file, say).
//
// Count runs "SELECT COUNT(*) FROM ... NOT IN (%s)" with the whole list in
// place of %s, and answers column 0 of the first row; a statement that fails,
// or gives no row, counts 0. SQLite refuses a statement longer than the
// connection's length limit, and a long enough list would make every count 0.
// So when the whole statement would be longer than that limit, the count is
// made in runs instead: the list is sorted and cut into runs whose statements
// fit, and each run counts, with rangeFormat, the rows whose value lies in
// the run's span and is not in the run. The spans (up to and including the
// run's highest id, above the previous run's highest) cover every value once,
// so the runs add up to the count of the whole list. Below the limit the
// whole statement runs as it always did, and its count stands. A run that
// fails makes the whole count 0, as the single statement would have.
class NotInList {
public:
    explicit NotInList(const CZanTArray<uint64_t>& ids);

    // statementFormat has one %s; rangeFormat is the same statement followed
    // by "AND (? OR column>?) AND (? OR column<=?)": 1 for no lower bound,
    // the lower bound, 1 for no upper bound, the upper bound.
    uint32_t Count(sqlite3* db, const WCHAR* statementFormat, const WCHAR* rangeFormat);

    const CZanTString& QuotedIds() const { return m_quotedIds; }
    // How many runs the last count that needed them was cut into; 0 while
    // every count ran whole.
    size_t RunCount() const { return m_runs.size(); }

private:
    struct Run {
        CZanTString quotedIds;
        bool hasLower;
        int64_t lower;
        bool hasUpper;
        int64_t upper;
    };
    // Cuts the sorted list into runs whose text is at most budget characters.
    void MakeRuns(size_t budget);
    uint32_t CountInRuns(sqlite3* db, const WCHAR* rangeFormat);

    CZanTString m_quotedIds;
    // The ids that SQLite holds as integers, sorted as it compares them.
    std::vector<int64_t> m_sorted;
    // Ids above the largest 64-bit signed integer: as text in the statement
    // SQLite reads them as reals, which no span of integers holds, so every
    // run carries them.
    std::vector<uint64_t> m_beyondIntegers;
    std::vector<Run> m_runs;
    size_t m_runBudget = 0;
};

// Test seam: while above 0, each count lowers SQLite's statement length limit
// on its connection to this many bytes for the time it runs (and puts the
// connection's own limit back afterwards), as an SQLite built with a smaller
// limit would have it. 0 takes it away. Not exported.
void SetStatementLengthLimitForTesting(int bytes);

// The orphan count over every shard file of the folder: the rows whose
// identifier is not in ids, by countFormat ("SELECT COUNT(*) ... NOT IN
// (%s)") or, for a list too long for one statement, rangeFormat (see
// NotInList), summed. The factory commits and closes its shards first.
template <class Shard>
uint32_t CountOrphansInFolder(const CZanTString& folder, const CZanTArray<uint64_t>& ids, const WCHAR* countFormat,
                              const WCHAR* rangeFormat) {
    NotInList list(ids);
    uint32_t total = 0;
    WalkShardFiles<Shard>(folder, [&](Shard& shard) {
        total += list.Count(shard.m_db, countFormat, rangeFormat);
        return S_OK;
    });
    return total;
}

}  // namespace shard_files
