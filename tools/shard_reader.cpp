// Shard names, shard listings and thumbnail reads: the names and the listing
// by the library's own rules (asked through tool_access), the thumbnail read
// with SQLite directly on a read-only connection, by the library's
// description of the table.
#include "shard_reader.h"

#include <sqlite3.h>

#include <algorithm>
#include <optional>
#include <system_error>

#include "library/tool_access.h"
#include "read_statement.h"
#include "shards/thumbnail_families.h"
#include "shards/thumbnail_table.h"
#include "store_reader.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

struct FamilyKey {
    std::string_view family;
    std::string_view key;
};

constexpr FamilyKey kFamilyKeys[] = {
    {"thumb", "file"},   {"psni", "person"}, {"pti", "pet"},        {"psnf", "person face"},
    {"ptf", "pet face"}, {"albm", "album"},  {"grf", "face group"},
};

constexpr WCHAR kHasThumbnailTable[] =
    u"SELECT COUNT(*) FROM sqlite_master WHERE type='table' AND name='thumbnail_table'";

// A failure of SQLite on the shard, with the reason in the words every store
// problem of the tool is told in.
ThumbnailRead Unreadable(int sqliteCode, int busyMilliseconds) {
    ThumbnailRead read;
    read.outcome = ThumbnailRead::Outcome::kUnreadable;
    read.reason = ReasonOfCode(sqliteCode, busyMilliseconds);
    return read;
}

}  // namespace

bool IsThumbnailFamily(std::string_view family) {
    return std::find(std::begin(kThumbnailFamilies), std::end(kThumbnailFamilies), family) !=
           std::end(kThumbnailFamilies);
}

std::string_view KeyOfFamily(std::string_view family) {
    for (const FamilyKey& entry : kFamilyKeys)
        if (entry.family == family) return entry.key;
    return "identifier";
}

std::string ThumbnailFolderName(std::string_view family, int kind) {
    const WCHAR* suffix = kind == 2 ? thumbnail_families::kKind2Suffix : thumbnail_families::kKind1Suffix;
    return std::string(family) + CZanTString(suffix).ToUtf8();
}

std::string ThumbnailShardName(uint64_t id) { return tool_access::ThumbnailShardFileName(id).ToUtf8(); }

std::vector<std::string> ShardFileNames(const fs::path& folder) {
    std::vector<std::string> names;
    for (const CZanTString& name : tool_access::ShardFileNamesIn(CZanTString::FromUtf8(folder.c_str())))
        names.push_back(name.ToUtf8());
    std::sort(names.begin(), names.end());
    return names;
}

ThumbnailRead ReadThumbnail(const fs::path& shardFile, uint64_t id, int busyMilliseconds) {
    ThumbnailRead read;
    std::error_code error;
    std::optional<ReadOnlyConnection> shard;
    if (fs::exists(shardFile, error)) shard.emplace(shardFile, busyMilliseconds);
    if (!shard || shard->OpenCode() != SQLITE_OK) {
        read.reason = "cannot be opened read-only";
        return read;
    }

    // Reading the schema first is what meets a file that is not a database
    // or another process's lock, and tells a file without the table apart
    // from a shard without the row.
    int64_t tables = 0;
    {
        ReadStatement probe(shard->Handle(), kHasThumbnailTable);
        int step = probe.IsPrepared() ? probe.Step() : SQLITE_OK;
        if (step == SQLITE_ROW) tables = probe.ColumnInt64(0);
        int finalized = probe.Finalize();
        if (finalized != SQLITE_OK) return Unreadable(finalized, busyMilliseconds);
        if (step != SQLITE_ROW) return Unreadable(step, busyMilliseconds);
    }
    if (tables == 0) {
        read.reason = "not a thumbnail shard (it has no thumbnail_table)";
        return read;
    }

    ReadStatement select(shard->Handle(), thumbnail_table::kSelectById);
    if (!select.IsPrepared()) return Unreadable(select.Finalize(), busyMilliseconds);
    // Identifiers above 2^63 - 1 are stored with the same 64 bits, as a
    // negative SQLite integer.
    select.BindInt64(1, static_cast<int64_t>(id));
    int step = select.Step();
    if (step == SQLITE_ROW) {
        int size = select.ColumnBytes(thumbnail_table::kThumbnailData);
        const void* data = select.ColumnBlob(thumbnail_table::kThumbnailData);
        if (size > 0 && data != nullptr) {
            read.bytes.assign(static_cast<const char*>(data), static_cast<size_t>(size));
            read.outcome = ThumbnailRead::Outcome::kFound;
        } else {
            read.outcome = ThumbnailRead::Outcome::kNoData;
        }
    } else if (step == SQLITE_DONE) {
        read.outcome = ThumbnailRead::Outcome::kNoRow;
    } else {
        return Unreadable(step, busyMilliseconds);
    }
    int finalized = select.Finalize();
    if (finalized != SQLITE_OK) return Unreadable(finalized, busyMilliseconds);
    return read;
}

}  // namespace zandb4::tool
