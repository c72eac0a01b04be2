// tag_table, one row per tag with a unique, case-sensitive name, and
// tag_file_table, the links between tags and files (no key: a pair may
// repeat). Described once for the schema, NewID and the tag links.
#pragma once

#include "zandb4/foundation.h"

namespace tag_tables {

inline constexpr WCHAR kCreateTagTable[] =
    u"CREATE TABLE tag_table (tag_id INTEGER PRIMARY KEY, tag_name TEXT, tag_type INTEGER)";
inline constexpr WCHAR kCreateTagNameIndex[] = u"CREATE UNIQUE INDEX tag_tag_name_idx ON tag_table(tag_name)";
// Positions in "SELECT * FROM tag_table".
enum TagColumn : int { kTagId, kTagName, kTagType };
inline constexpr WCHAR kSelectTagById[] = u"SELECT * FROM tag_table WHERE tag_id=? LIMIT 1";
inline constexpr WCHAR kSelectTags[] = u"SELECT * FROM tag_table";
inline constexpr WCHAR kCountTags[] = u"SELECT COUNT(*) FROM tag_table";
inline constexpr WCHAR kInsertTag[] = u"INSERT INTO tag_table (tag_id,tag_name,tag_type) VALUES(?,?,?)";
inline constexpr WCHAR kUpdateTag[] = u"UPDATE tag_table SET tag_name=?, tag_type=? WHERE tag_id=?";
inline constexpr WCHAR kDeleteTag[] = u"DELETE FROM tag_table WHERE tag_id=?";

inline constexpr WCHAR kCreateLinkTable[] = u"CREATE TABLE tag_file_table (tag_id INTEGER, file_id INTEGER)";
inline constexpr WCHAR kCreateLinkIndex[] = u"CREATE INDEX tag_file_idx ON tag_file_table(tag_id, file_id)";
// Positions in "SELECT * FROM tag_file_table".
enum LinkColumn : int { kLinkTagId, kLinkFileId };
inline constexpr WCHAR kInsertLink[] = u"INSERT INTO tag_file_table (tag_id, file_id) VALUES (?,?)";
inline constexpr WCHAR kDeleteLinksOfFile[] = u"DELETE FROM tag_file_table WHERE file_id=?";
inline constexpr WCHAR kSelectLinksOfFile[] = u"SELECT * FROM tag_file_table WHERE file_id=?";
inline constexpr WCHAR kDeleteLinksOfTag[] = u"DELETE FROM tag_file_table WHERE tag_id=?";
// Links, not files: a file linked twice counts twice.
inline constexpr WCHAR kCountLinksOfTag[] = u"SELECT COUNT(*) FROM tag_file_table WHERE tag_id=?";
inline constexpr WCHAR kSelectFilesOfTag[] =
    u"SELECT * FROM file_table WHERE file_id IN (SELECT file_id FROM tag_file_table WHERE tag_id=?)";

}  // namespace tag_tables
