// The rules every shard family shares: which shard an identifier lies in,
// what the shard's file is called, which files of a folder are shards, and
// the identifier list that the orphan counts put into their statements.
// Thumbnails and large metadata use runs of 10 000 identifiers; the feature
// point shards use their own run length with the same rules.
#pragma once

#include <sqlite3.h>

#include <cstdint>
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

// The file names (not paths) of the shards in folder, in listing order: every
// entry that is not a folder and whose extension, the part from the last '.'
// of the name, is exactly ".db". A folder that cannot be listed has none.
std::vector<CZanTString> ShardFileNamesIn(const CZanTString& folder);

// The identifiers as the orphan counts put them into "NOT IN (%s)": each as
// "'%llu'," with the last comma cut. An empty array gives an empty text, which
// leaves the parentheses empty and so counts every row.
CZanTString QuotedIdList(const CZanTArray<uint64_t>& ids);

// Runs "SELECT COUNT(*) FROM ... NOT IN (%s)" with the list in place of %s;
// column 0 of the first row. A statement that fails, or gives no row, counts 0.
uint32_t CountNotIn(sqlite3* db, const WCHAR* statementFormat, const CZanTString& quotedIds);

}  // namespace shard_files
