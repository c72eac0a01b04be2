// Running the tool, writing catalogues, thumbnails and metadata blocks
// through the library, and tree snapshots. The one test file of the tool
// that reaches the library's internal classes.
#include "catalogue/file_rows.h"
#include "tool_test_support.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>

#include "catalogue/file_basic_db.h"
#include "frame/com_ptr.h"
#include "frame/critical_section.h"
#include "library/database_registry.h"
#include "shards/meta_data_db_factory.h"
#include "shards/thumb_db_mgr.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace fs = std::filesystem;

namespace zandb4::testing {
namespace {

std::string ReadBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// One shell word: single quotes around it, each single quote inside closed,
// escaped and reopened.
std::string Quoted(const std::string& argument) {
    std::string word = "'";
    for (char ch : argument) word += ch == '\'' ? std::string("'\\''") : std::string(1, ch);
    return word + "'";
}

TreeEntry EntryOf(const fs::path& path) {
    TreeEntry entry;
    entry.isFolder = fs::is_directory(path);
    entry.modified = fs::last_write_time(path).time_since_epoch().count();
    if (!entry.isFolder) {
        entry.size = fs::file_size(path);
        entry.bytes = ReadBytes(path);
    }
    return entry;
}

}  // namespace

ToolRun RunZandb4(const std::vector<std::string>& arguments, const fs::path& workingFolder) {
    TempFolder capture;
    std::string command;
    if (!workingFolder.empty()) command = "cd " + Quoted(workingFolder.string()) + " && ";
    command += Quoted(ZANDB4_TOOL_PATH);
    for (const std::string& argument : arguments) command += " " + Quoted(argument);
    fs::path out = capture / "out.txt", err = capture / "err.txt";
    command += " >" + Quoted(out.string()) + " 2>" + Quoted(err.string()) + " </dev/null";
    ToolRun run;
    int status = std::system(command.c_str());
    run.exitCode = status != -1 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.out = ReadBytes(out);
    run.err = ReadBytes(err);
    return run;
}

void MakeCatalogue(const fs::path& root, const std::vector<CatalogueFileRow>& rows) {
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    ASSERT_EQ(ZanDB4_Initialize(wideRoot.GetString()), S_OK);
    CSQLiteFileBasicDB* store = DatabaseRegistry::fileBasicDB;
    ASSERT_NE(store, nullptr);
    for (const CatalogueFileRow& file : rows) {
        FileRowValues row;
        row.fileId = file.id;
        row.filePath = CZanTString::FromUtf8(file.path.c_str());
        row.fileName = CZanTString::FromUtf8(file.name.c_str());
        row.diskVsn = 0x2A;
        row.fileFormat = file.format;
        row.shootingDate = file.shootingDate;
        row.isFavorite = file.favorite;
        row.albumId = file.album;
        row.manage = 1;
        EXPECT_EQ(FileTableRows(*store).InsertFileRow(row), S_OK) << file.path;
    }
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
}

namespace {

template <class Interface>
ComPtr<Interface> MakeInstance(const IID& iid) {
    ComPtr<Interface> made;
    EXPECT_EQ(ZanDB4_CreateInstance(&iid, reinterpret_cast<void**>(made.Receive())), S_OK);
    return made;
}

void AddTags(const std::vector<CatalogueTag>& tags, LabelIds& ids) {
    ComPtr<IZanDB4TagDBMgr> manager = MakeInstance<IZanDB4TagDBMgr>(IID_IZanDB4TagDBMgr);
    ASSERT_TRUE(manager);
    for (const CatalogueTag& tag : tags) {
        ComPtr<IZanDB4TagDBRecord> record = MakeInstance<IZanDB4TagDBRecord>(IID_IZanDB4TagDBRecord);
        ASSERT_TRUE(record);
        record->SetName(CZanTString::FromUtf8(tag.name.c_str()));
        record->SetType(tag.type);
        uint64_t id = 0;
        EXPECT_EQ(manager->AddTag(record.Get(), &id), S_OK) << tag.name;
        ids.tags.push_back(id);
    }
}

void AddAlbums(const std::vector<CatalogueAlbum>& albums, LabelIds& ids) {
    ComPtr<IZanDB4AlbumDBMgr> manager = MakeInstance<IZanDB4AlbumDBMgr>(IID_IZanDB4AlbumDBMgr);
    ASSERT_TRUE(manager);
    for (const CatalogueAlbum& album : albums) {
        ComPtr<IZanDB4AlbumDBRecord> record = MakeInstance<IZanDB4AlbumDBRecord>(IID_IZanDB4AlbumDBRecord);
        ASSERT_TRUE(record);
        record->SetName(CZanTString::FromUtf8(album.name.c_str()));
        EXPECT_EQ(record->SetGPS(&album.latitude, &album.longitude), S_OK) << album.name;
        record->SetAreaInfo(CZanTString::FromUtf8(album.areaInfo.c_str()));
        uint64_t id = 0;
        EXPECT_EQ(manager->AddAlbum(record.Get(), &id), S_OK) << album.name;
        ids.albums.push_back(id);
    }
}

void AddFile(CSQLiteFileBasicDB* store, const LabelledFile& file, const LabelIds& ids) {
    ComPtr<IZanDB4FileDBRecord> record = MakeInstance<IZanDB4FileDBRecord>(IID_IZanDB4FileDBRecord);
    ASSERT_TRUE(record);
    const CatalogueFileRow& row = file.row;
    CZanTString path = CZanTString::FromUtf8(row.path.c_str()), name = CZanTString::FromUtf8(row.name.c_str());
    uint32_t diskVsn = 0x2A, manage = file.managed ? 1 : 0, format = row.format;
    uint8_t favorite = row.favorite ? 1 : 0;
    uint64_t album = file.album == 0 ? 0 : ids.albums.at(file.album - 1);
    int64_t date = row.shootingDate;
    record->SetFileID(row.id);
    record->SetFilePath(path.GetString(), &diskVsn);
    record->SetFileName(name.GetString());
    record->SetManage(&manage);
    record->SetFileFormat(&format);
    record->SetShootingDateValue(&date);
    record->SetIsFavorite(&favorite);
    record->SetAlbumID(&album);
    for (size_t tag : file.tags) record->AddTag(&ids.tags.at(tag));
    CriticalSectionGuard guard(store->m_lock);
    EXPECT_EQ(FileTableRows(*store).InsertFileRecord(record.Get()), S_OK) << row.path;
}

}  // namespace

LabelIds MakeLabelledCatalogue(const fs::path& root, const std::vector<CatalogueTag>& tags,
                               const std::vector<CatalogueAlbum>& albums, const std::vector<LabelledFile>& files) {
    LabelIds ids;
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    EXPECT_EQ(ZanDB4_Initialize(wideRoot.GetString()), S_OK);
    CSQLiteFileBasicDB* store = DatabaseRegistry::fileBasicDB;
    if (store != nullptr) {
        AddTags(tags, ids);
        AddAlbums(albums, ids);
        if (ids.tags.size() == tags.size() && ids.albums.size() == albums.size())
            for (const LabelledFile& file : files) AddFile(store, file, ids);
        ComPtr<IZanDB4AlbumDBMgr> manager = MakeInstance<IZanDB4AlbumDBMgr>(IID_IZanDB4AlbumDBMgr);
        if (manager) {
            EXPECT_EQ(manager->Commit(), S_OK);
        }
    } else {
        ADD_FAILURE() << "the library holds no catalogue store";
    }
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    return ids;
}

int64_t PackedDate(uint16_t year, uint16_t month, uint16_t day, uint16_t hour) {
    SYSTEMTIME time{};
    time.wYear = year;
    time.wMonth = month;
    time.wDay = day;
    time.wHour = hour;
    return CZanTDateTime(time).GetPacked();
}

void MakeSqliteFile(const fs::path& path, const std::string& statements) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr), SQLITE_OK)
        << path;
    char* message = nullptr;
    int code = sqlite3_exec(db, statements.c_str(), nullptr, nullptr, &message);
    EXPECT_EQ(code, SQLITE_OK) << path << ": " << (message != nullptr ? message : "");
    sqlite3_free(message);
    EXPECT_EQ(sqlite3_close(db), SQLITE_OK) << path;
}

void StoreThumbnails(const fs::path& root, const std::vector<StoredThumbnail>& thumbnails) {
    CZanTString database = CZanTString::FromUtf8((root / "database").c_str());
    // One family object per family named, each on the library's four names.
    std::map<std::string, std::unique_ptr<CSQLiteThumbDBMgr>> families;
    for (const StoredThumbnail& thumbnail : thumbnails) {
        std::unique_ptr<CSQLiteThumbDBMgr>& family = families[thumbnail.family];
        if (!family) {
            family = std::make_unique<CSQLiteThumbDBMgr>();
            CZanTString base = CZanTString::FromUtf8(thumbnail.family.c_str());
            ASSERT_EQ(family->Initialize(database, base + u"_0s", base + u"_0a", base + u"_1s", base + u"_1a"), S_OK);
        }
        CSQLiteThumbDBFactory* factory = family->Factory(thumbnail.kind);
        ASSERT_NE(factory, nullptr) << thumbnail.family << " kind " << thumbnail.kind;
        EXPECT_EQ(
            factory->AddThumbnail(thumbnail.id, thumbnail.bytes.data(), static_cast<uint32_t>(thumbnail.bytes.size())),
            S_OK)
            << thumbnail.family << " " << thumbnail.id;
    }
    for (auto& [name, family] : families) {
        EXPECT_EQ(family->CommitAll(1, nullptr), S_OK) << name;
        family->CloseShards();
    }
}

void StoreMetaData(const fs::path& root, const std::vector<std::pair<uint64_t, std::string>>& blocks) {
    CSQLiteMetaDataDBFactory factory(CZanTString::FromUtf8((root / "database" / "meta").c_str()));
    for (const auto& [fileId, bytes] : blocks)
        EXPECT_EQ(factory.AddMetaData(fileId, 7, bytes.data(), static_cast<uint32_t>(bytes.size())), S_OK) << fileId;
    EXPECT_EQ(factory.CommitShards(), S_OK);
    factory.CloseShards();
}

TreeSnapshot SnapshotTree(const fs::path& folder) {
    TreeSnapshot snapshot;
    snapshot[""] = EntryOf(folder);
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder))
        snapshot[fs::relative(entry.path(), folder).string()] = EntryOf(entry.path());
    return snapshot;
}

std::string TreeDifference(const TreeSnapshot& before, const TreeSnapshot& after) {
    std::string difference;
    for (const auto& [path, entry] : before) {
        auto found = after.find(path);
        if (found == after.end())
            difference += "gone: " + path + "\n";
        else if (!(found->second == entry))
            difference += "changed: " + path + "\n";
    }
    for (const auto& [path, entry] : after) {
        if (before.find(path) == before.end()) difference += "new: " + path + "\n";
    }
    return difference;
}

}  // namespace zandb4::testing
