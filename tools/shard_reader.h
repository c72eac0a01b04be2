// Read-only looks into the shard folders under ROOT/database for the zandb4
// tool: where a thumbnail's shard file lies, which files of a folder are
// shards, and one thumbnail's bytes. Shard files are opened read-only and
// never made, so nothing here changes the disk, unlike the library's own way
// to a shard, which makes the folder and the file when they are missing.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace zandb4::tool {

// The thumbnail families, in the order the library makes them.
inline constexpr std::string_view kThumbnailFamilies[] = {"thumb", "psni", "pti", "psnf", "ptf", "albm", "grf"};
// The folder of the large-metadata shards.
inline constexpr std::string_view kMetaDataFolder = "meta";
// The one table of a thumbnail shard and of a large-metadata shard.
inline constexpr std::string_view kThumbnailTable = "thumbnail_table";
inline constexpr std::string_view kMetaDataTable = "meta_data_table";

bool IsThumbnailFamily(std::string_view family);
// What the identifiers of a family stand for, in words: "file", "album", ...
std::string_view KeyOfFamily(std::string_view family);

// The folder of a family's kind (1 or 2): "thumb_0s" for kind 1, "thumb_1s"
// for kind 2.
std::string ThumbnailFolderName(std::string_view family, int kind);
// The name of the thumbnail shard file that holds the identifier, by the
// library's rule: "00000000.db" for 0 to 9999.
std::string ThumbnailShardName(uint64_t id);

// The shard files of a folder by the library's rule (every entry that is not
// a folder and whose extension is exactly ".db"), sorted by name.
std::vector<std::string> ShardFileNames(const std::filesystem::path& folder);

struct ThumbnailRead {
    enum class Outcome {
        kFound,
        kNoRow,       // the shard file holds no row for the identifier
        kNoData,      // the row is there, its thumbnail_data empty or null
        kUnreadable,  // the shard cannot be read: reason says why
    };
    Outcome outcome = Outcome::kUnreadable;
    std::string bytes;   // the thumbnail, for kFound
    std::string reason;  // plain words, for kUnreadable
};

// The row of the identifier in the thumbnail shard file shardFile, which
// must be there. A lock held by another process is waited for up to
// busyMilliseconds.
ThumbnailRead ReadThumbnail(const std::filesystem::path& shardFile, uint64_t id, int busyMilliseconds);

}  // namespace zandb4::tool
