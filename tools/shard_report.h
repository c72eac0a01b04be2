// The shard part of the report of "init" and "info": for each thumbnail
// family and kind, and for the large-metadata folder, how many shard files
// the folder holds and how many rows they hold together, with every shard
// file that cannot be read and why. Only reads: files are opened read-only
// and a missing folder stays missing.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "json_writer.h"

namespace zandb4::tool {

struct UnreadableShard {
    std::string shown;   // "database/thumb_0s/00000003.db"
    std::string reason;  // plain words
};

struct ShardFolderReport {
    std::string family;  // "thumb", ..., or "meta" for the large metadata
    int kind = 0;        // 1 or 2; 0 for the large metadata
    std::string shown;   // "database/thumb_0s"
    std::string table;   // the table whose rows are counted
    bool present = false;
    std::string problem;  // why the folder cannot be listed; empty when it can
    int64_t files = 0;    // the shard files, readable or not
    int64_t rows = 0;     // the rows of the readable ones
    std::vector<UnreadableShard> unreadable;
};

// The fifteen folders under root/database: each thumbnail family's kind 1
// and kind 2 in the library's order, then meta.
std::vector<ShardFolderReport> ReadShardReports(const std::filesystem::path& root);

// The lines under a folder's line that name each shard file that cannot be
// read and why.
void PrintUnreadableShardsText(const std::vector<UnreadableShard>& unreadable, std::ostream& out);
// The value of an "unreadable" member: an array of {name, problem}.
void WriteUnreadableShardsJson(const std::vector<UnreadableShard>& unreadable, JsonWriter& json);
// A count of a folder that could be listed, or null for one that could not
// (its counts are unknown, not 0).
void WriteCountOrNull(bool counted, int64_t count, JsonWriter& json);

void PrintShardsText(const std::vector<ShardFolderReport>& shards, std::ostream& out);
// The value of the "shards" member: an array with an object per folder.
void WriteShardsJson(const std::vector<ShardFolderReport>& shards, JsonWriter& json);

}  // namespace zandb4::tool
