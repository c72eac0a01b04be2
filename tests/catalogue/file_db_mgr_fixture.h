// The setting of the file manager tests: the library started on a fresh
// root, a file manager from the factory, records and value objects made
// through the factory, and short ways to read what a separate SQLite
// connection finds on disk after a commit. Everything a test does to the
// library goes through the public interface.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "frame/com_ptr.h"
#include "library/database_registry.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace file_mgr_test {

namespace fs = std::filesystem;
using zandb4::ComPtr;
using Rows = std::vector<std::vector<std::string>>;
using Ids = std::vector<uint64_t>;
using FilePtr = ComPtr<IZanDB4FileDBRecord>;

inline constexpr BOOL kTrue = 1;
inline constexpr BOOL kFalse = 0;
inline constexpr HRESULT kInvalidArg = static_cast<HRESULT>(0x80070057);
inline constexpr HRESULT kFail = static_cast<HRESULT>(0x80004005);
inline constexpr HRESULT kNotImpl = static_cast<HRESULT>(0x80004001);
inline constexpr HRESULT kNoInterface = static_cast<HRESULT>(0x80004002);
inline constexpr HRESULT kAccessDenied = static_cast<HRESULT>(0x80070005);

inline SYSTEMTIME Date(uint16_t year, uint16_t month, uint16_t day, uint16_t hour = 0, uint16_t minute = 0,
                       uint16_t second = 0) {
    SYSTEMTIME date{};
    date.wYear = year;
    date.wMonth = month;
    date.wDay = day;
    date.wHour = hour;
    date.wMinute = minute;
    date.wSecond = second;
    return date;
}

inline int64_t Packed(const SYSTEMTIME& date) { return CZanTDateTime(date).GetPacked(); }

inline CZanTString W(const std::string& utf8) { return CZanTString::FromUtf8(utf8.c_str()); }

inline bool SameDay(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    return a.wYear == b.wYear && a.wMonth == b.wMonth && a.wDay == b.wDay && a.wHour == b.wHour &&
           a.wMinute == b.wMinute && a.wSecond == b.wSecond;
}

// What a new file is given. Defaults: volume 1, managed, format 1, no date.
struct FileSpec {
    std::string path;
    std::string name;
    uint32_t diskVsn = 1;
    uint32_t manage = 1;
    uint32_t format = 1;
    SYSTEMTIME shot{};
    uint64_t albumId = 0;
    std::vector<uint64_t> tags;
    // Metadata record: attached when any of these is set.
    bool withMeta = false;
    uint64_t fileSize = 0;
    SYSTEMTIME importDate{};
    uint32_t importClass = 0;
    std::string model;
};

inline FileSpec Spec(const std::string& path, const std::string& name) {
    FileSpec spec;
    spec.path = path;
    spec.name = name;
    return spec;
}

class FileMgrFixture : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        m_mgr = NewManager();
        ASSERT_TRUE(m_mgr);
    }
    void TearDown() override {
        m_mgr.Reset();
        while (zandb4::DatabaseRegistry::initCount > 0) ZanDB4_Finalize();
    }

    template <class T>
    ComPtr<T> Make(const IID& iid) {
        ComPtr<T> object;
        EXPECT_EQ(ZanDB4_CreateInstance(&iid, reinterpret_cast<void**>(object.Receive())), S_OK);
        return object;
    }

    ComPtr<IZanDB4FileDBMgr> NewManager() { return Make<IZanDB4FileDBMgr>(IID_IZanDB4FileDBMgr); }

    FilePtr MakeFile(const FileSpec& spec) {
        FilePtr record = Make<IZanDB4FileDBRecord>(IID_IZanDB4FileDBRecord);
        if (!record) return record;
        CZanTString path = W(spec.path);
        EXPECT_EQ(record->SetFilePath(path.GetString(), &spec.diskVsn), S_OK);
        CZanTString name = W(spec.name);
        EXPECT_EQ(record->SetFileName(name.GetString()), S_OK);
        EXPECT_EQ(record->SetManage(&spec.manage), S_OK);
        EXPECT_EQ(record->SetFileFormat(&spec.format), S_OK);
        int64_t packed = spec.shot.wYear == 0 ? 0 : Packed(spec.shot);
        EXPECT_EQ(record->SetShootingDateValue(&packed), S_OK);
        if (spec.albumId != 0) {
            EXPECT_EQ(record->SetAlbumID(&spec.albumId), S_OK);
        }
        for (uint64_t tag : spec.tags) EXPECT_EQ(record->AddTag(&tag), S_OK);
        if (spec.withMeta) {
            auto meta = Make<IZanDB4FileMetaDBRecord>(IID_IZanDB4FileMetaDBRecord);
            EXPECT_EQ(meta->SetFileSize(spec.fileSize), S_OK);
            if (spec.importDate.wYear != 0) {
                EXPECT_EQ(meta->SetImportDate(&spec.importDate, spec.importClass), S_OK);
            }
            if (!spec.model.empty()) {
                CZanTString model = W(spec.model);
                EXPECT_EQ(meta->SetModelInfo(model.GetString(), 1, 2, 3, 4, 5), S_OK);
            }
            EXPECT_EQ(record->AttachMetaRecord(meta.Get()), S_OK);
        }
        return record;
    }

    // Adds a file straight to the catalogue's open transaction; its id.
    uint64_t AddDirect(const FileSpec& spec) {
        FilePtr record = MakeFile(spec);
        uint64_t id = 0;
        EXPECT_EQ(m_mgr->AddFileDirect(record.Get(), &id, nullptr, nullptr, 0, nullptr), S_OK) << spec.path;
        return id;
    }

    // Stages a file through AddFile; its id.
    uint64_t AddStaged(const FileSpec& spec) {
        FilePtr record = MakeFile(spec);
        uint64_t id = 0;
        EXPECT_EQ(m_mgr->AddFile(record.Get(), &id), S_OK) << spec.path;
        return id;
    }

    ComPtr<IZanDB4FileCache> Thumb(const std::vector<uint8_t>& bytes, uint64_t source = 0) {
        auto cache = Make<IZanDB4FileCache>(IID_IZanDB4FileCache);
        EXPECT_EQ(cache->SetData(bytes.data(), static_cast<uint32_t>(bytes.size())), S_OK);
        cache->SetSourceID(source);
        return cache;
    }

    ComPtr<IZanDB4EditFileCache> EditCache(uint32_t type, const std::string& path, const std::vector<uint8_t>& filter,
                                           uint16_t orientation) {
        auto cache = Make<IZanDB4EditFileCache>(IID_IZanDB4EditFileCache);
        cache->SetImageFileType(type);
        CZanTString wide = W(path);
        cache->SetImageFilePath(wide.GetString());
        cache->SetFilterData(filter.data(), static_cast<uint32_t>(filter.size()));
        cache->SetFilterDataOrientation(orientation);
        return cache;
    }

    ComPtr<IZanDB4MainImageCache> MainCache(uint32_t type, const std::string& path) {
        auto cache = Make<IZanDB4MainImageCache>(IID_IZanDB4MainImageCache);
        cache->SetFileType(type);
        CZanTString wide = W(path);
        cache->SetFilePath(wide.GetString());
        return cache;
    }

    ComPtr<IZanDB4FileLargeMetaData> LargeMeta(uint32_t type, const std::vector<uint8_t>& bytes) {
        auto data = Make<IZanDB4FileLargeMetaData>(IID_IZanDB4FileLargeMetaData);
        EXPECT_EQ(data->SetType(type), S_OK);
        EXPECT_EQ(data->SetData(bytes.data(), static_cast<uint32_t>(bytes.size())), S_OK);
        return data;
    }

    fs::path DatabaseFolder() const { return m_root / "database"; }

    // What a separate connection reads from a file under the database
    // folder: committed state only. A missing file reads as no rows.
    Rows Disk(const std::string& sql, const std::string& file = "FileBasic.db") {
        fs::path path = DatabaseFolder() / file;
        if (!fs::exists(path)) return {};
        zandb4::testing::SqliteProbe probe(path);
        EXPECT_TRUE(probe.IsOpen());
        return probe.Rows(sql);
    }
    int64_t DiskInteger(const std::string& sql, const std::string& file = "FileBasic.db") {
        fs::path path = DatabaseFolder() / file;
        if (!fs::exists(path)) return -1;
        zandb4::testing::SqliteProbe probe(path);
        EXPECT_TRUE(probe.IsOpen());
        return probe.Integer(sql);
    }
    int64_t CountOnDisk(const std::string& table, const std::string& where, const std::string& file = "FileBasic.db") {
        return DiskInteger("SELECT COUNT(*) FROM " + table + " WHERE " + where, file);
    }
    int64_t FileRows(uint64_t id) { return CountOnDisk("file_table", "file_id=" + std::to_string(id)); }
    int64_t PooledFileIds(uint64_t id) {
        return CountOnDisk("pooled_id_table", "id_type=1 AND pooled_id=" + std::to_string(id));
    }
    // Thumbnail rows of id in the first shard of a kind's folder, committed.
    int64_t ThumbRows(uint32_t kind, uint64_t id) {
        std::string shard = std::string(kind == 1 ? "thumb_0s" : "thumb_1s") + "/00000000.db";
        if (!fs::exists(DatabaseFolder() / shard)) return 0;
        return CountOnDisk("thumbnail_table", "file_id=" + std::to_string(id), shard);
    }
    int64_t LargeMetaRows(uint64_t id) {
        if (!fs::exists(DatabaseFolder() / "meta" / "0.db")) return 0;
        return CountOnDisk("meta_data_table", "file_id=" + std::to_string(id), "meta/0.db");
    }

    // The file ids of a list, in its order; releases every record and
    // empties the list.
    static Ids IdsOf(CList<IZanDB4FileDBRecord*>& list) {
        Ids ids;
        for (POSITION at = list.GetHeadPosition(); at != nullptr;) {
            IZanDB4FileDBRecord* record = list.GetNext(at);
            uint64_t id = 0;
            EXPECT_EQ(record->GetFileID(&id), S_OK);
            ids.push_back(id);
            record->Release();
        }
        list.RemoveAll();
        return ids;
    }
    template <class T>
    static std::vector<T> ValuesOf(CList<T>& list) {
        std::vector<T> values;
        for (POSITION at = list.GetHeadPosition(); at != nullptr;) values.push_back(list.GetNext(at));
        return values;
    }

    static std::string Text(IZanDB4FileDBRecord* record, bool path) {
        CZanTString text;
        if (path)
            record->GetFilePath(text, nullptr);
        else
            record->GetFileName(text);
        return text.ToUtf8();
    }

    zandb4::testing::TempFolder m_root;
    ComPtr<IZanDB4FileDBMgr> m_mgr;
};

}  // namespace file_mgr_test
