// What the tests of the zandb4 tool share: running the built tool as a user
// runs it, catalogues, thumbnails and metadata blocks written through the
// library, and snapshots of a folder tree to show that a command changed
// nothing on disk.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace zandb4::testing {

struct ToolRun {
    int exitCode = -1;  // -1 when the tool did not exit normally
    std::string out;
    std::string err;
};

// Runs the built zandb4 with these arguments through the shell, in the
// folder workingFolder when one is given, with standard output and error
// captured through files in a folder of its own.
ToolRun RunZandb4(const std::vector<std::string>& arguments, const std::filesystem::path& workingFolder = {});

// A row of file_table as the tests write it.
struct CatalogueFileRow {
    uint64_t id = 0;
    std::string path;
    std::string name;
    uint32_t format = 0;
    int64_t shootingDate = 0;  // packed; 0 for none
    bool favorite = false;
    uint64_t album = 0;
};

// Starts the library on root (which makes the catalogue), writes the rows
// and stops it again, which commits them.
void MakeCatalogue(const std::filesystem::path& root, const std::vector<CatalogueFileRow>& rows);

int64_t PackedDate(uint16_t year, uint16_t month, uint16_t day, uint16_t hour);

// A tag, an album and a file in them, as the tests write them through the
// library's tag and album managers and file records.
struct CatalogueTag {
    std::string name;
    uint32_t type = 0;
};
struct CatalogueAlbum {
    std::string name;
    float latitude = 0;
    float longitude = 0;
    std::string areaInfo;
};
struct LabelledFile {
    CatalogueFileRow row;  // row.album is not used: see album
    size_t album = 0;      // 1 for the first album given, ...; 0 for none
    std::vector<size_t> tags;  // indexes into the tags given
    bool managed = true;
};
// The ids the library gave, in the order the tags and albums were given.
struct LabelIds {
    std::vector<uint64_t> tags;
    std::vector<uint64_t> albums;
};

// Starts the library on root (which makes the catalogue), adds the tags
// and albums through their managers and the files as file records with
// their album and tags, commits (which counts the albums' files and dates)
// and stops the library again.
LabelIds MakeLabelledCatalogue(const std::filesystem::path& root, const std::vector<CatalogueTag>& tags,
                               const std::vector<CatalogueAlbum>& albums, const std::vector<LabelledFile>& files);

// Makes an SQLite file at path with SQLite alone (not the library) and runs
// the statements in it: shard files as another program, an older build or
// damage might have left them.
void MakeSqliteFile(const std::filesystem::path& path, const std::string& statements);

// A thumbnail as the tests store it: family ("thumb", "albm", ...), kind (1
// or 2), identifier and bytes.
struct StoredThumbnail {
    std::string family;
    uint32_t kind = 1;
    uint64_t id = 0;
    std::string bytes;
};

// Writes the thumbnails into root/database through the library's own
// thumbnail families (which make the shard folders and files as the library
// does) and commits them.
void StoreThumbnails(const std::filesystem::path& root, const std::vector<StoredThumbnail>& thumbnails);

// Writes metadata blocks of the file ids through the library's
// large-metadata shards in root/database/meta and commits them.
void StoreMetaData(const std::filesystem::path& root, const std::vector<std::pair<uint64_t, std::string>>& blocks);

// One entry of a folder tree: its kind, size, modification time and, for a
// file, its bytes.
struct TreeEntry {
    bool isFolder = false;
    uintmax_t size = 0;
    int64_t modified = 0;  // nanoseconds of the file clock
    std::string bytes;
    bool operator==(const TreeEntry&) const = default;
};
using TreeSnapshot = std::map<std::string, TreeEntry>;

// The folder itself (as "") and everything below it, by relative path.
TreeSnapshot SnapshotTree(const std::filesystem::path& folder);
// The paths that differ between two snapshots, one per line; empty when
// they are the same.
std::string TreeDifference(const TreeSnapshot& before, const TreeSnapshot& after);

}  // namespace zandb4::testing
