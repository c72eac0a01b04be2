// memory_data, the one table of "Memory.db": opaque blobs of the application
// under a key of type and condition text, the key unique. Described once for
// the schema, the rows, the records and the tool.
#pragma once

#include "zandb4/foundation.h"

namespace memory_data_table {

// The blob's column is called mem_date. It holds data, not a date, but every
// existing file has the column under this name, so it must stay.
inline constexpr WCHAR kCreate[] =
    u"CREATE TABLE memory_data (mem_id INTEGER PRIMARY KEY,mem_type INTEGER, mem_condition TEXT, mem_date BLOB)";
inline constexpr WCHAR kCreateKeyIndex[] =
    u"CREATE UNIQUE INDEX memory_data_uidx ON memory_data (mem_type, mem_condition)";

// Positions in "SELECT * FROM memory_data".
enum Column : int { kMemId, kMemType, kMemCondition, kMemDate };

// The entries' ids come from this id type of the store's own counter; they
// are never given back to its pool.
inline constexpr uint32_t kIdType = 0;

inline constexpr WCHAR kInsert[] =
    u"INSERT INTO memory_data (mem_id,mem_type,mem_condition,mem_date) VALUES (?,?,?,?)";
inline constexpr WCHAR kSelectById[] = u"SELECT * FROM memory_data WHERE mem_id=? LIMIT 1";
inline constexpr WCHAR kSelectByKey[] = u"SELECT * FROM memory_data WHERE mem_type=? and mem_condition=? LIMIT 1";
inline constexpr WCHAR kSelectIdByKey[] =
    u"SELECT mem_id FROM memory_data WHERE mem_type=? and mem_condition=? LIMIT 1";
inline constexpr WCHAR kUpdateDataById[] = u"UPDATE memory_data SET mem_date=? WHERE mem_id=?";
inline constexpr WCHAR kUpdateDataByKey[] = u"UPDATE memory_data SET mem_date=? WHERE mem_type=? and mem_condition=?";
inline constexpr WCHAR kUpdateKeyById[] = u"UPDATE memory_data SET mem_type=?, mem_condition=? WHERE mem_id=?";
inline constexpr WCHAR kDeleteById[] = u"DELETE FROM memory_data WHERE mem_id=?";
inline constexpr WCHAR kDeleteByKey[] = u"DELETE FROM memory_data WHERE mem_type=? and mem_condition=?";
inline constexpr WCHAR kDeleteByType[] = u"DELETE FROM memory_data WHERE mem_type=?";
inline constexpr WCHAR kDeleteAll[] = u"DELETE FROM memory_data";

}  // namespace memory_data_table
