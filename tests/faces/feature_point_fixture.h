// The setting of the feature point tests: the library started on a fresh
// root, the two feature point families reached through the registry
// (rfpMgr for persons, tfpMgr for pets), a fixed "now" so that every date
// written is known, and short ways to read what a separate SQLite
// connection finds in a shard file, with blobs compared as the exact bytes
// SQLite's hex() shows.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "catalogue/file_basic_db.h"
#include "faces/feature_point_data.h"
#include "faces/feature_point_factory.h"
#include "faces/feature_point_mgr.h"
#include "frame/com_ptr.h"
#include "library/database_registry.h"
#include "platform/clock.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace feature_point_test {

namespace fs = std::filesystem;
namespace DatabaseRegistry = zandb4::DatabaseRegistry;
using zandb4::ComPtr;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
using Bytes = std::vector<uint8_t>;
using Rows = std::vector<std::vector<std::string>>;
using DataPtr = ComPtr<IZanDB4FaceFeaturePointData>;

inline constexpr HRESULT kFalse = static_cast<HRESULT>(1);
inline constexpr HRESULT kFail = static_cast<HRESULT>(0x80004005);
inline constexpr HRESULT kInvalidArg = static_cast<HRESULT>(0x80070057);
inline constexpr HRESULT kOutOfMemory = static_cast<HRESULT>(0x8007000E);

inline constexpr uint32_t kPerson = 1;
inline constexpr uint32_t kPet = 2;
inline constexpr uint32_t kRawFormat = 0;
inline constexpr uint32_t kPackedFormat = 1;

// Bytes of one feature point, of a length and content of their own for each
// seed, so that a blob holding another point's bytes shows.
inline Bytes Point(uint64_t seed, size_t size = 24) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(seed * 37 + i * 11 + 5);
    return bytes;
}

inline void AppendLittleEndian(Bytes& bytes, uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<uint8_t>(value >> shift));
}

// A packed blob (format 1) built by hand: the count, then each block's
// length and bytes, all lengths little-endian.
inline Bytes Packed(const std::vector<Bytes>& blocks) {
    Bytes blob;
    AppendLittleEndian(blob, static_cast<uint32_t>(blocks.size()));
    for (const Bytes& block : blocks) {
        AppendLittleEndian(blob, static_cast<uint32_t>(block.size()));
        blob.insert(blob.end(), block.begin(), block.end());
    }
    return blob;
}

// As SQLite's hex() writes a blob: upper-case, two digits a byte.
inline std::string Hex(const Bytes& bytes) {
    std::string text;
    char digits[3];
    for (uint8_t byte : bytes) {
        std::snprintf(digits, sizeof digits, "%02X", byte);
        text += digits;
    }
    return text;
}

inline Bytes BytesAt(const void* data, uint32_t size) {
    if (data == nullptr) return {};
    const auto* begin = static_cast<const uint8_t*>(data);
    return Bytes(begin, begin + size);
}

// Block index of the data object as bytes; empty when the object answers
// anything but S_OK.
inline Bytes Block(IZanDB4FaceFeaturePointData* data, uint32_t index) {
    const void* bytes = nullptr;
    uint32_t size = 0;
    if (data->GetFeaturePoint(&bytes, &size, index) != S_OK) return {};
    return BytesAt(bytes, size);
}

inline int32_t RefCount(IZanDB4FaceFeaturePointData* data) {
    return static_cast<CZanDB4FaceFeaturePointData*>(data)->RefCount();
}

inline std::string ShardName(uint64_t key) {
    char name[16];
    std::snprintf(name, sizeof name, "%08X.db", static_cast<unsigned>(key));
    return name;
}

inline std::vector<uint64_t> Ids(const CArray<uint64_t>& array) {
    std::vector<uint64_t> ids;
    for (ptrdiff_t i = 0; i < array.GetSize(); ++i) ids.push_back(array.GetAt(i));
    return ids;
}

inline SYSTEMTIME Moment(uint16_t year, uint16_t month, uint16_t day, uint16_t hour, uint16_t minute,
                         uint16_t second) {
    SYSTEMTIME time{};
    time.wYear = year;
    time.wMonth = month;
    time.wDay = day;
    time.wHour = hour;
    time.wMinute = minute;
    time.wSecond = second;
    return time;
}

inline int64_t PackedDate(const SYSTEMTIME& time) { return CZanTDateTime(time).GetPacked(); }

// The three sets of a family.
enum class Set { kWorking, kGroup, kIndividual };

class FeaturePointLibrary : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(DatabaseRegistry::initCount, 0);
        zandb4::platform::SetSystemTimeForTesting(Now());
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        ASSERT_NE(DatabaseRegistry::rfpMgr, nullptr);
        ASSERT_NE(DatabaseRegistry::tfpMgr, nullptr);
    }
    void TearDown() override {
        while (DatabaseRegistry::initCount > 0) ZanDB4_Finalize();
        DatabaseRegistry::initCount = 0;
        zandb4::platform::SetSystemTimeForTesting(std::nullopt);
    }

    // The "now" every write of these tests is stamped with.
    static SYSTEMTIME Now() { return Moment(2024, 3, 9, 14, 30, 5); }
    static int64_t NowPacked() { return PackedDate(Now()); }

    // Stops the library and starts it again on the same root.
    void Restart() {
        ASSERT_EQ(ZanDB4_Finalize(), S_OK);
        ASSERT_EQ(DatabaseRegistry::initCount, 0);
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    }

    static CSQLiteFaceFeaturePointDBMgr* Family(uint32_t type) {
        return type == kPet ? DatabaseRegistry::tfpMgr : DatabaseRegistry::rfpMgr;
    }
    static CSQLiteFaceFeaturePointDBFactory* Factory(uint32_t type, Set set) {
        CSQLiteFaceFeaturePointDBMgr* family = Family(type);
        if (family == nullptr) return nullptr;
        switch (set) {
            case Set::kWorking: return family->Working();
            case Set::kGroup: return family->Group();
            case Set::kIndividual: return family->Individual();
        }
        return nullptr;
    }
    static CSQLiteFaceFeaturePointDBFactory* Working(uint32_t type) { return Factory(type, Set::kWorking); }
    static CSQLiteFaceFeaturePointDBFactory* Group(uint32_t type) { return Factory(type, Set::kGroup); }
    static CSQLiteFaceFeaturePointDBFactory* Individual(uint32_t type) { return Factory(type, Set::kIndividual); }
    static CSQLiteFileBasicDB* Catalogue() { return DatabaseRegistry::fileBasicDB; }

    fs::path Database() const { return m_root / "database"; }
    // The folder of a set: "rfpw", "rfpg", "rfpi" for persons, "tfp..." for
    // pets.
    fs::path Folder(uint32_t type, Set set) const {
        std::string name = type == kPet ? "tfp" : "rfp";
        name += set == Set::kWorking ? "w" : set == Set::kGroup ? "g" : "i";
        return Database() / name;
    }
    fs::path ShardFile(uint32_t type, Set set, uint64_t key) const { return Folder(type, set) / ShardName(key); }
    // The companion of a working shard, "_" + its name.
    fs::path CompanionFile(uint32_t type, uint64_t key) const {
        return Folder(type, Set::kWorking) / ("_" + ShardName(key));
    }

    // Commits the shards of both families, so that another connection sees
    // them.
    static void CommitShards() {
        ASSERT_EQ(DatabaseRegistry::rfpMgr->CommitAllShards(), S_OK);
        ASSERT_EQ(DatabaseRegistry::tfpMgr->CommitAllShards(), S_OK);
    }
    static void CommitCatalogue() { ASSERT_EQ(Catalogue()->Commit(false), S_OK); }

    // What a separate connection reads from a file: committed state only. A
    // missing file reads as no rows.
    static Rows Disk(const fs::path& file, const std::string& sql) {
        if (!fs::exists(file)) return {};
        SqliteProbe probe(file);
        EXPECT_TRUE(probe.IsOpen()) << file;
        return probe.Rows(sql);
    }
    static int64_t DiskInteger(const fs::path& file, const std::string& sql) {
        if (!fs::exists(file)) return -1;
        SqliteProbe probe(file);
        EXPECT_TRUE(probe.IsOpen()) << file;
        return probe.Integer(sql);
    }
    // The blob of id in a plain file (a group or individual shard, or a
    // working shard's companion) as hex, "" when there is no row.
    static std::string DiskBlob(const fs::path& file, uint64_t id) {
        Rows rows = Disk(file, "SELECT hex(feature_point) FROM face_feature_point_table WHERE feature_point_id=" +
                                   std::to_string(id));
        return rows.empty() ? std::string() : rows[0][0];
    }
    static int64_t DiskFormat(const fs::path& file, uint64_t id) {
        return DiskInteger(file, "SELECT data_format FROM face_feature_point_table WHERE feature_point_id=" +
                                     std::to_string(id));
    }
    // The remove flag of id in a working shard's index file; -1 for no row.
    static int64_t DiskRemoveFlag(const fs::path& file, uint64_t id) {
        return DiskInteger(file, "SELECT remove FROM face_feature_table WHERE feature_point_id=" + std::to_string(id));
    }
    // The names of the tables of a file, in name order.
    static std::vector<std::string> Tables(const fs::path& file) {
        std::vector<std::string> names;
        for (const auto& row : Disk(file, "SELECT name FROM sqlite_master WHERE type='table' ORDER BY name"))
            names.push_back(row[0]);
        return names;
    }
    static int64_t Pooled(const fs::path& file, uint32_t idType, uint64_t id) {
        return DiskInteger(file, "SELECT COUNT(*) FROM pooled_id_table WHERE id_type=" + std::to_string(idType) +
                                     " AND pooled_id=" + std::to_string(id));
    }
    fs::path CatalogueFile() const { return Database() / "FileBasic.db"; }

    TempFolder m_root;
};

// The same tests for persons and for pets.
class FeaturePointTypes : public FeaturePointLibrary, public ::testing::WithParamInterface<uint32_t> {
protected:
    uint32_t Type() const { return GetParam(); }
};

inline std::string TypeName(const ::testing::TestParamInfo<uint32_t>& info) {
    return info.param == kPet ? "Pet" : "Person";
}

}  // namespace feature_point_test
