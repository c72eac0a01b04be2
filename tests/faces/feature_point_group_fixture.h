// The setting of the feature point group tests: on top of the library of
// feature_point_fixture.h, the group operations over the registry's
// catalogue, both feature point families and the group thumbnail family
// (as the face manager holds them), faces written into the catalogue's face
// table, their feature points in the working set, and the group rows as
// another connection reads them from the catalogue.
#pragma once

#include "faces/face_rows.h"
#include "faces/feature_point_group.h"
#include "faces/feature_point_group_rows.h"
#include "faces/feature_point_groups.h"
#include "feature_point_fixture.h"
#include "frame/critical_section.h"
#include "shards/thumb_db_mgr.h"

namespace feature_point_test {

using GroupPtr = ComPtr<IZanDB4FaceFeaturePointGroup>;
using FacePtr = ComPtr<IZanDB4FaceDBRecord>;

class FeaturePointGroupTest : public FeaturePointTypes {
protected:
    static FeaturePointGroups Groups() {
        return FeaturePointGroups(DatabaseRegistry::fileBasicDB, DatabaseRegistry::rfpMgr, DatabaseRegistry::tfpMgr,
                                  DatabaseRegistry::grfThumbMgr);
    }

    // A face of this test's type in the catalogue's face table.
    void AddFace(uint64_t faceId) {
        FacePtr face;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FaceDBRecord, reinterpret_cast<void**>(face.Receive())), S_OK);
        ASSERT_EQ(face->SetIndividualType(Type()), S_OK);
        ASSERT_EQ(face->SetFileID(100 + faceId), S_OK);
        CriticalSectionGuard guard(Catalogue()->m_lock);
        ASSERT_EQ(FaceTableRows(*Catalogue()).InsertFace(faceId, Type(), face.Get()), S_OK);
    }
    // The face's feature point in the working set, as the face manager
    // stores it: format 0, under the set's lock.
    void AddPoint(uint64_t faceId, const Bytes& bytes) {
        CSQLiteFaceFeaturePointDBFactory* working = Working(Type());
        CriticalSectionGuard guard(working->m_lock);
        ASSERT_EQ(working->InsertFeaturePoint(faceId, bytes.data(), static_cast<uint32_t>(bytes.size()), kRawFormat,
                                              0),
                  S_OK);
    }
    void AddFaceWithPoint(uint64_t faceId) {
        AddFace(faceId);
        AddPoint(faceId, Point(faceId, 8 + faceId % 13));
    }
    static Bytes PointOf(uint64_t faceId) { return Point(faceId, 8 + faceId % 13); }

    // Makes a group of the faces, every face merged; its id.
    uint64_t MakeGroup(const std::vector<uint64_t>& faces) {
        uint64_t groupId = 0;
        const auto count = static_cast<uint32_t>(faces.size());
        EXPECT_EQ(Groups().CreateFeaturePointGroup(Type(), faces.data(), count, &groupId, count), S_OK);
        EXPECT_NE(groupId, 0u);
        return groupId;
    }
    GroupPtr LoadGroup(uint64_t groupId) {
        GroupPtr group;
        EXPECT_EQ(Groups().GetFeaturePointGroup(groupId, Type(), group.Receive()), S_OK);
        return group;
    }
    static uint64_t FeaturePointIdOf(IZanDB4FaceFeaturePointGroup* group) {
        uint64_t id = 0;
        EXPECT_EQ(group->GetFeaturePointID(&id), S_OK);
        return id;
    }

    // The id types of merged points and of groups.
    uint32_t PointIdType() const { return Type() == kPet ? 10 : 9; }
    uint32_t GroupIdType() const { return Type() == kPet ? 12 : 11; }
    // The other individual type.
    uint32_t OtherType() const { return Type() == kPet ? kPerson : kPet; }

    std::string GroupTable() const {
        return std::string(Type() == kPet ? "pet" : "person") + "_face_feature_point_group_table";
    }
    std::string ItemTable() const {
        return std::string(Type() == kPet ? "pet" : "person") + "_face_feature_point_group_item_table";
    }
    // Committed rows of the catalogue, in key order.
    Rows GroupRows() const {
        return Disk(CatalogueFile(), "SELECT group_id, feature_point_id, face_id, create_date, face_count FROM " +
                                         GroupTable() + " ORDER BY group_id");
    }
    Rows ItemRows() const {
        return Disk(CatalogueFile(),
                    "SELECT face_id, feature_point_id, group_id FROM " + ItemTable() + " ORDER BY face_id");
    }
    // The item row of a face read with the statement the face removal uses.
    Rows ItemOfFace(uint64_t faceId) const {
        return Disk(CatalogueFile(), "SELECT * FROM " + ItemTable() + " WHERE face_id=" + std::to_string(faceId) +
                                         " LIMIT 1");
    }
    int64_t LastId(uint32_t idType) const {
        return DiskInteger(CatalogueFile(),
                           "SELECT last_id FROM last_id_table WHERE id_type=" + std::to_string(idType));
    }
    // The ids the working set lists now.
    std::vector<uint64_t> WorkingList() {
        CSQLiteFaceFeaturePointDBFactory* working = Working(Type());
        CriticalSectionGuard guard(working->m_lock);
        CArray<uint64_t> ids;
        working->ListFeaturePoints(&ids, nullptr, 0);
        return Ids(ids);
    }
    // Commits the catalogue and every shard, so that the disk shows all.
    void CommitAll() {
        CommitCatalogue();
        CommitShards();
        ASSERT_EQ(DatabaseRegistry::grfThumbMgr->CommitAll(1, nullptr), S_OK);
    }
};

}  // namespace feature_point_test
