// The setting of the face manager tests: the library started on a fresh
// root, a face manager and a file manager from the factory, files staged and
// moved through the file manager, faces and individuals made through the
// factory, and short ways to read what a separate SQLite connection finds
// on disk after a commit: the catalogue, the staging store, the thumbnail
// shards of the five face families and the feature point shards. Every
// action on the library goes through the public interface; a test may stop
// the library to arrange a store file with SQLite and start it again.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "catalogue/file_db_mgr_fixture.h"
#include "zandb4/faces.h"

namespace face_mgr_test {

namespace fs = std::filesystem;
using file_mgr_test::FilePtr;
using file_mgr_test::Ids;
using file_mgr_test::kFail;
using file_mgr_test::kFalse;
using file_mgr_test::kInvalidArg;
using file_mgr_test::kNoInterface;
using file_mgr_test::kTrue;
using file_mgr_test::Rows;
using file_mgr_test::Spec;
using file_mgr_test::W;
using zandb4::ComPtr;
using FacePtr = ComPtr<IZanDB4FaceDBRecord>;
using IndividualPtr = ComPtr<IZanDB4IndividualDBRecord>;
using GroupPtr = ComPtr<IZanDB4IndividualGroupDBRecord>;
using PointPtr = ComPtr<IZanDB4FaceFeaturePointData>;
using PointGroupPtr = ComPtr<IZanDB4FaceFeaturePointGroup>;
using CachePtr = ComPtr<IZanDB4FileCache>;
using Bytes = std::vector<uint8_t>;

inline constexpr uint32_t kPerson = 1;
inline constexpr uint32_t kPet = 2;
inline constexpr uint32_t kFileIdType = 1;
inline constexpr uint32_t kFaceGroupIdType = 3;
// The file manager's Commit flags: move the staged files, commit the catalogue.
inline constexpr uint32_t kMoveAndCommit = 2 | 1;

// Everything that differs between the person and the pet side of a test:
// tables, columns, shard folders and id types.
struct Twin {
    uint32_t type;
    const char* name;
    const char* faceTable;
    const char* faceIdColumn;
    const char* individualColumn;
    const char* individualTable;
    const char* stagedFaceTable;
    const char* stagedFaceIdColumn;
    const char* statusTable;
    const char* groupTable;
    const char* groupItemTable;
    const char* groupMemberTable;  // person_group_item_table or pet_group_item_table
    const char* faceThumbnails;    // psnf, ptf
    const char* icons;             // psni, pti
    const char* points;            // rfp, tfp
    uint32_t individualIdType;
    uint32_t faceIdType;
    uint32_t pointIdType;
    uint32_t groupIdType;
};

inline const Twin& TwinOf(uint32_t type) {
    static const Twin person{kPerson,
                             "Person",
                             "person_face_table",
                             "person_face_id",
                             "person_id",
                             "person_table",
                             "async_person_face_table",
                             "async_person_face_id",
                             "async_person_face_status_table",
                             "person_face_feature_point_group_table",
                             "person_face_feature_point_group_item_table",
                             "person_group_item_table",
                             "psnf",
                             "psni",
                             "rfp",
                             4,
                             5,
                             9,
                             11};
    static const Twin pet{kPet,
                          "Pet",
                          "pet_face_table",
                          "pet_face_id",
                          "pet_id",
                          "pet_table",
                          "async_pet_face_table",
                          "async_pet_face_id",
                          "async_pet_face_status_table",
                          "pet_face_feature_point_group_table",
                          "pet_face_feature_point_group_item_table",
                          "pet_group_item_table",
                          "ptf",
                          "pti",
                          "tfp",
                          6,
                          7,
                          10,
                          12};
    return type == kPet ? pet : person;
}

// Names the instances of a test run for persons and for pets.
inline std::string TypeName(const ::testing::TestParamInfo<uint32_t>& info) { return TwinOf(info.param).name; }

inline RECT Rect(int32_t left, int32_t top, int32_t right, int32_t bottom) {
    RECT rect;
    rect.left = left;
    rect.top = top;
    rect.right = right;
    rect.bottom = bottom;
    return rect;
}

inline bool SameRect(const RECT& a, const RECT& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

// The rect column of a face whose sides lie in 0..65535: left, top, width
// and height in 16-bit fields from the top.
inline int64_t PackedRect(const RECT& rect) {
    uint64_t packed = (static_cast<uint64_t>(rect.left) << 48) | (static_cast<uint64_t>(rect.top) << 32) |
                      (static_cast<uint64_t>(rect.right - rect.left) << 16) |
                      static_cast<uint64_t>(rect.bottom - rect.top);
    return static_cast<int64_t>(packed);
}

inline Bytes BytesOf(const std::string& text) { return Bytes(text.begin(), text.end()); }

// Upper-case hexadecimal, as SQLite's hex() writes it.
inline std::string Hex(const Bytes& bytes) {
    std::string text;
    char digits[3];
    for (uint8_t byte : bytes) {
        std::snprintf(digits, sizeof digits, "%02X", byte);
        text += digits;
    }
    return text;
}

// The packed form of several blocks (data format 1), hexadecimal: a 32-bit
// count, then each block's 32-bit length and bytes, little-endian.
inline std::string PackedHex(const std::vector<Bytes>& blocks) {
    auto word = [](uint32_t value) {
        return Hex(Bytes{static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8),
                         static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 24)});
    };
    std::string text = word(static_cast<uint32_t>(blocks.size()));
    for (const Bytes& block : blocks) text += word(static_cast<uint32_t>(block.size())) + Hex(block);
    return text;
}

inline std::string Utf8(const CZanTString& text) { return text.ToUtf8(); }

class FaceMgrFixture : public file_mgr_test::FileMgrFixture {
protected:
    void SetUp() override {
        file_mgr_test::FileMgrFixture::SetUp();
        m_faces = NewFaceManager();
        ASSERT_TRUE(m_faces);
    }
    void TearDown() override {
        m_faces.Reset();
        file_mgr_test::FileMgrFixture::TearDown();
    }

    ComPtr<IZanDB4FaceDBMgr> NewFaceManager() { return Make<IZanDB4FaceDBMgr>(IID_IZanDB4FaceDBMgr); }

    // Stops the library (which commits and closes every store), lets the
    // test arrange the files under the database folder, and starts it again
    // with new managers.
    void Restart(const std::function<void()>& whileStopped = {}) {
        m_faces.Reset();
        m_mgr.Reset();
        while (zandb4::DatabaseRegistry::initCount > 0) ZanDB4_Finalize();
        if (whileStopped) whileStopped();
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        m_mgr = NewManager();
        m_faces = NewFaceManager();
        ASSERT_TRUE(m_mgr);
        ASSERT_TRUE(m_faces);
    }

    // Runs sql on a store file while the library is stopped.
    void ArrangeOnDisk(const std::string& file, const std::string& sql) {
        zandb4::testing::SqliteProbe probe(DatabaseFolder() / file);
        ASSERT_TRUE(probe.IsOpen()) << file;
        ASSERT_EQ(probe.Exec(sql), SQLITE_OK) << sql;
    }

    // A file staged through the file manager under a path of its own; its id.
    uint64_t StageFile(const std::string& name) { return AddStaged(Spec("/photos/" + name, name)); }

    // A file staged and moved into the catalogue with Commit(2|1); its id.
    uint64_t CatalogueFile(const std::string& name) {
        uint64_t id = StageFile(name);
        EXPECT_EQ(m_mgr->Commit(kMoveAndCommit), S_OK) << name;
        EXPECT_EQ(FileRows(id), 1) << name;
        return id;
    }

    FacePtr NewFace(uint32_t type, uint64_t fileId, const RECT& rect, uint64_t individualId = 0) {
        FacePtr face = Make<IZanDB4FaceDBRecord>(IID_IZanDB4FaceDBRecord);
        if (!face) return face;
        EXPECT_EQ(face->SetIndividualType(type), S_OK);
        EXPECT_EQ(face->SetFileID(fileId), S_OK);
        EXPECT_EQ(face->SetRect(&rect), S_OK);
        EXPECT_EQ(face->SetIndividualID(individualId), S_OK);
        return face;
    }

    // Stages a face through AddFace; its id.
    uint64_t AddFace(uint32_t type, uint64_t fileId, const RECT& rect = Rect(10, 20, 110, 140),
                     uint64_t individualId = 0) {
        FacePtr face = NewFace(type, fileId, rect, individualId);
        uint64_t id = 0;
        EXPECT_EQ(m_faces->AddFace(face.Get(), &id), S_OK);
        EXPECT_NE(id, 0u);
        return id;
    }

    // A face staged, made committable and moved into the catalogue by the
    // face manager's Commit; its id.
    uint64_t CatalogueFace(uint32_t type, uint64_t fileId, const RECT& rect = Rect(10, 20, 110, 140),
                           uint64_t individualId = 0) {
        uint64_t id = AddFace(type, fileId, rect, individualId);
        EXPECT_EQ(m_faces->SetFaceDetected(fileId), S_OK);
        EXPECT_EQ(m_faces->Commit(), S_OK);
        return id;
    }

    IndividualPtr NewIndividual(uint32_t type, const std::string& name) {
        IndividualPtr individual = Make<IZanDB4IndividualDBRecord>(IID_IZanDB4IndividualDBRecord);
        if (!individual) return individual;
        EXPECT_EQ(individual->SetIndividualType(type), S_OK);
        EXPECT_EQ(individual->SetName(W(name)), S_OK);
        return individual;
    }

    uint64_t AddIndividual(uint32_t type, const std::string& name) {
        IndividualPtr individual = NewIndividual(type, name);
        uint64_t id = 0;
        EXPECT_EQ(m_faces->AddIndividual(individual.Get(), &id), S_OK) << name;
        EXPECT_NE(id, 0u);
        return id;
    }

    // ---------------------------------------------------------- on disk

    // Committed rows of pooled_id_table for the id under idType.
    int64_t Pooled(uint32_t idType, uint64_t id) {
        return CountOnDisk("pooled_id_table",
                           "id_type=" + std::to_string(idType) + " AND pooled_id=" + std::to_string(id));
    }
    int64_t FaceRows(const Twin& twin, const std::string& where = "1") {
        return CountOnDisk(twin.faceTable, where);
    }
    int64_t StagedFaceRows(const Twin& twin) { return CountOnDisk(twin.stagedFaceTable, "1", "FileBasicAsync.db"); }
    int64_t StatusRows(const Twin& twin) { return CountOnDisk(twin.statusTable, "1", "FileBasicAsync.db"); }

    // The first shard file of a folder under the database folder; ids below
    // 1000 lie in it for feature points, below 10000 for thumbnails.
    static std::string FirstShard(const std::string& folder) { return folder + "/00000000.db"; }
    static std::string ThumbnailFolder(const std::string& family, uint32_t kind) {
        return family + (kind == 1 ? "_0s" : "_1s");
    }

    // Committed thumbnail rows of id in a family's folder of a kind; 0 when
    // the shard file does not exist.
    int64_t ThumbnailRows(const std::string& family, uint32_t kind, uint64_t id) {
        std::string shard = FirstShard(ThumbnailFolder(family, kind));
        if (!fs::exists(DatabaseFolder() / shard)) return 0;
        return CountOnDisk("thumbnail_table", "file_id=" + std::to_string(id), shard);
    }
    // The committed thumbnail bytes of id, hexadecimal; empty when none.
    std::string ThumbnailHex(const std::string& family, uint32_t kind, uint64_t id) {
        Rows rows = Disk("SELECT hex(thumbnail_data) FROM thumbnail_table WHERE file_id=" + std::to_string(id),
                         FirstShard(ThumbnailFolder(family, kind)));
        return rows.empty() ? std::string() : rows[0][0];
    }

    // The committed "remove" flag of a face's point in the working index;
    // -1 when it has no row.
    int64_t WorkingRemoveFlag(const Twin& twin, uint64_t faceId) {
        return DiskInteger("SELECT remove FROM face_feature_table WHERE feature_point_id=" + std::to_string(faceId),
                           FirstShard(std::string(twin.points) + "w"));
    }
    // Committed rows of the working index, live or removed.
    int64_t WorkingIndexRows(const Twin& twin, const std::string& where = "1") {
        std::string shard = FirstShard(std::string(twin.points) + "w");
        if (!fs::exists(DatabaseFolder() / shard)) return 0;
        return CountOnDisk("face_feature_table", where, shard);
    }
    // The committed blob of id in a plain feature point shard (the working
    // set's companion "_00000000.db", or the group or individual set),
    // hexadecimal; empty when there is no row.
    std::string PointHex(const std::string& shard, uint64_t id) {
        Rows rows = Disk("SELECT hex(feature_point) FROM face_feature_point_table WHERE feature_point_id=" +
                             std::to_string(id),
                         shard);
        return rows.empty() ? std::string() : rows[0][0];
    }
    std::string WorkingBlobHex(const Twin& twin, uint64_t faceId) {
        return PointHex(std::string(twin.points) + "w/_00000000.db", faceId);
    }
    std::string GroupSetShard(const Twin& twin) { return FirstShard(std::string(twin.points) + "g"); }
    std::string IndividualSetShard(const Twin& twin) { return FirstShard(std::string(twin.points) + "i"); }

    // ---------------------------------------------------------- lists

    // The face ids of an array, in its order. Each record must carry exactly
    // the caller's reference; all are released and the array emptied.
    static Ids FaceIdsOf(CArray<IZanDB4FaceDBRecord*>& faces) {
        Ids ids;
        for (ptrdiff_t index = 0; index < faces.GetSize(); ++index) {
            uint64_t id = 0;
            EXPECT_EQ(faces[index]->GetFaceID(&id), S_OK);
            ids.push_back(id);
            EXPECT_EQ(faces[index]->Release(), 0u) << "one reference for the caller";
        }
        faces.RemoveAll();
        return ids;
    }
    static Ids IndividualIdsOf(CArray<IZanDB4IndividualDBRecord*>& individuals) {
        Ids ids;
        for (ptrdiff_t index = 0; index < individuals.GetSize(); ++index) {
            uint64_t id = 0;
            EXPECT_EQ(individuals[index]->GetID(&id), S_OK);
            ids.push_back(id);
            EXPECT_EQ(individuals[index]->Release(), 0u) << "one reference for the caller";
        }
        individuals.RemoveAll();
        return ids;
    }
    // The file ids of a list of file records (releasing them), and the ids of
    // an array of ids.
    using file_mgr_test::FileMgrFixture::IdsOf;
    static Ids IdsOf(const CArray<uint64_t>& array) {
        Ids ids;
        for (ptrdiff_t index = 0; index < array.GetSize(); ++index) ids.push_back(array[index]);
        return ids;
    }
    // The face ids of a list of face records from the file manager; releases
    // every record and empties the list.
    static Ids FaceIdsOf(CList<IZanDB4FaceDBRecord*>& faces) {
        Ids ids;
        for (POSITION at = faces.GetHeadPosition(); at != nullptr;) {
            IZanDB4FaceDBRecord* face = faces.GetNext(at);
            uint64_t id = 0;
            EXPECT_EQ(face->GetFaceID(&id), S_OK);
            ids.push_back(id);
            face->Release();
        }
        faces.RemoveAll();
        return ids;
    }

    // The bytes a data object gives for a block.
    static Bytes BlockOf(IZanDB4FaceFeaturePointData* data, uint32_t block) {
        const void* bytes = nullptr;
        uint32_t size = 0;
        EXPECT_EQ(data->GetFeaturePoint(&bytes, &size, block), S_OK);
        if (bytes == nullptr) return {};
        const auto* first = static_cast<const uint8_t*>(bytes);
        return Bytes(first, first + size);
    }

    ComPtr<IZanDB4FaceDBMgr> m_faces;
};

// The same, for tests that run once for persons and once for pets.
class FaceMgrTwinFixture : public FaceMgrFixture, public ::testing::WithParamInterface<uint32_t> {
protected:
    uint32_t Type() const { return GetParam(); }
    const Twin& Names() const { return TwinOf(GetParam()); }
};

}  // namespace face_mgr_test
