// The shared rules of shard families: names, the listing of a folder's
// shards and the orphan counts' identifier list.
#include "shards/shard_files.h"

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

uint32_t CountNotIn(sqlite3* db, const WCHAR* statementFormat, const CZanTString& quotedIds) {
    CZanTString sql;
    sql.Format(statementFormat, quotedIds.GetString());
    zandb4::Statement count(db, sql.GetString());
    if (!count.IsPrepared() || count.Step() != SQLITE_ROW) return 0;
    return static_cast<uint32_t>(count.ColumnInt64(0));
}

}  // namespace shard_files
