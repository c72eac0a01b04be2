// One thread makes feature point groups and removes faces' points (which
// takes a group with its last face), persons and pets in turn, while
// another lists the working sets under the working set's lock and reads
// groups through their records (the catalogue's lock, then the group set's).
// The writer takes the catalogue's lock, then the working set's, then the
// group set's; the reader keeps that order, so neither waits on the other
// in reverse. The reader sees every listing shrink and every merged blob
// whole; afterwards the catalogue and the shard files are read back with
// SQLite alone. ThreadSanitizer runs this too (label "threads").
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <set>
#include <thread>
#include <vector>

#include "../../faces/feature_point_fixture.h"
#include "faces/face_rows.h"
#include "faces/feature_point_groups.h"
#include "frame/critical_section.h"

namespace feature_point_test {
namespace {

// Groups made per type; group k of a type is made of faces 3k+1 .. 3k+3.
constexpr uint64_t kGroups = 60;
// Faces past the grouped ones that stay in the working set throughout.
constexpr uint64_t kLoneFaces = 4;
constexpr uint64_t kFaces = 3 * kGroups + kLoneFaces;

Bytes PointOf(uint64_t faceId) { return Point(faceId, 6 + faceId % 11); }
uint64_t FirstFaceOf(uint64_t k) { return 3 * k + 1; }

// What the writer does to group k after making it.
enum class Fate { kKept, kLosesAFace, kLosesAllFaces, kRemoved };
Fate FateOf(uint64_t k) { return static_cast<Fate>(k % 4); }

class FeaturePointGroupThreads : public FeaturePointLibrary {
protected:
    void SetUp() override {
        FeaturePointLibrary::SetUp();
        for (uint32_t type : {kPerson, kPet}) {
            CSQLiteFaceFeaturePointDBFactory* working = Working(type);
            CriticalSectionGuard catalogueGuard(Catalogue()->m_lock);
            CriticalSectionGuard workingGuard(working->m_lock);
            for (uint64_t face = 1; face <= kFaces; ++face) {
                ComPtr<IZanDB4FaceDBRecord> record;
                ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FaceDBRecord, reinterpret_cast<void**>(record.Receive())),
                          S_OK);
                ASSERT_EQ(FaceTableRows(*Catalogue()).InsertFace(face, type, record.Get()), S_OK);
                Bytes bytes = PointOf(face);
                ASSERT_EQ(working->InsertFeaturePoint(face, bytes.data(), static_cast<uint32_t>(bytes.size()),
                                                      kRawFormat, 0),
                          S_OK);
            }
        }
    }

    static FeaturePointGroups Groups() {
        return FeaturePointGroups(DatabaseRegistry::fileBasicDB, DatabaseRegistry::rfpMgr, DatabaseRegistry::tfpMgr,
                                  DatabaseRegistry::grfThumbMgr);
    }

    // The live ids of the working set of type, listed as the face manager
    // does: under the catalogue's lock, then the set's.
    static std::vector<uint64_t> ListWorking(uint32_t type) {
        CSQLiteFaceFeaturePointDBFactory* working = Working(type);
        CriticalSectionGuard catalogueGuard(Catalogue()->m_lock);
        CriticalSectionGuard workingGuard(working->m_lock);
        CArray<uint64_t> ids;
        EXPECT_EQ(working->ListFeaturePoints(&ids, nullptr, 0), S_OK);
        return Ids(ids);
    }

    // Whether blob is the merged point of a whole group: the packed points
    // of faces f, f+1, f+2 for the f of some group.
    static bool IsWholeGroupBlob(IZanDB4FaceFeaturePointData* data) {
        if (data->GetBlockCount() != 3) return false;
        Bytes first = Block(data, 0);
        for (uint64_t k = 0; k < kGroups; ++k) {
            uint64_t f = FirstFaceOf(k);
            if (first != PointOf(f)) continue;
            return Block(data, 1) == PointOf(f + 1) && Block(data, 2) == PointOf(f + 2);
        }
        return false;
    }
};

TEST_F(FeaturePointGroupThreads, GroupsAreMadeAndRemovedWhileAnotherThreadListsAndReadsThem) {
    std::atomic<bool> writing{true};
    std::atomic<bool> reading{false};
    std::map<uint32_t, std::vector<uint64_t>> groupIds;
    int writerFailures = 0;

    std::thread writer([&] {
        FeaturePointGroups groups = Groups();
        // Start together with the reader, so that the two overlap.
        while (!reading) std::this_thread::yield();
        for (uint64_t k = 0; k < kGroups; ++k) {
            for (uint32_t type : {kPerson, kPet}) {
                const uint64_t f = FirstFaceOf(k);
                const uint64_t faces[] = {f, f + 1, f + 2};
                uint64_t groupId = 0;
                if (groups.CreateFeaturePointGroup(type, faces, 3, &groupId, 3) != S_OK) ++writerFailures;
                groupIds[type].push_back(groupId);
                switch (FateOf(k)) {
                    case Fate::kKept: break;
                    case Fate::kLosesAFace:
                        if (groups.RemoveFaceFeaturePoint(f + 1, type) != S_OK) ++writerFailures;
                        break;
                    case Fate::kLosesAllFaces:
                        for (uint64_t face : faces)
                            if (groups.RemoveFaceFeaturePoint(face, type) != S_OK) ++writerFailures;
                        break;
                    case Fate::kRemoved:
                        if (groups.RemoveFeaturePointGroup(groupId, type) != S_OK) ++writerFailures;
                        break;
                }
            }
        }
        writing = false;
    });

    int rounds = 0;
    int blobsRead = 0;
    int brokenBlobs = 0;
    int growingListings = 0;
    std::map<uint32_t, std::set<uint64_t>> lastListing;
    for (uint32_t type : {kPerson, kPet}) {
        std::vector<uint64_t> all = ListWorking(type);
        lastListing[type] = std::set<uint64_t>(all.begin(), all.end());
    }
    FeaturePointGroups groups = Groups();
    reading = true;
    do {
        ++rounds;
        for (uint32_t type : {kPerson, kPet}) {
            // The working set only ever loses points while the writer runs.
            std::vector<uint64_t> listed = ListWorking(type);
            std::set<uint64_t> now(listed.begin(), listed.end());
            for (uint64_t id : now)
                if (lastListing[type].count(id) == 0) ++growingListings;
            lastListing[type] = now;

            CArray<uint64_t> ids;
            if (groups.GetFeaturePointGroupIDs(type, &ids) != S_OK) continue;
            // Two groups a round, a different pair each round, so that
            // rounds stay short and many of them overlap the writer.
            for (ptrdiff_t n = 0; n < 2 && n < ids.GetSize(); ++n) {
                const ptrdiff_t i = (2 * rounds + n) % ids.GetSize();
                ComPtr<IZanDB4FaceFeaturePointGroup> group;
                // A group may go between the listing and the read.
                if (groups.GetFeaturePointGroup(ids.GetAt(i), type, group.Receive()) != S_OK) continue;
                DataPtr data;
                // And its blob between the read of the row and of the blob.
                if (group->GetFeaturePoint(data.Receive()) != S_OK) continue;
                ++blobsRead;
                if (!IsWholeGroupBlob(data.Get())) ++brokenBlobs;
                CArray<uint64_t> faceIds;
                group->GetFaceIDs(&faceIds, 1);
            }
        }
    } while (writing);
    writer.join();

    EXPECT_EQ(writerFailures, 0);
    EXPECT_GT(rounds, 1);
    EXPECT_EQ(growingListings, 0) << "a softly removed point came back into a listing";
    EXPECT_EQ(brokenBlobs, 0) << "a merged blob was read half written or mixed";
    RecordProperty("reader_rounds", rounds);
    RecordProperty("blobs_read", blobsRead);

    // The end state, as another connection finds it.
    ASSERT_EQ(Catalogue()->Commit(false), S_OK);
    CommitShards();
    for (uint32_t type : {kPerson, kPet}) {
        const std::string prefix = type == kPet ? "pet" : "person";
        const std::string which = type == kPet ? "Pet" : "Person";
        // Only the lone faces are left in the working set.
        std::vector<uint64_t> lone;
        for (uint64_t face = 3 * kGroups + 1; face <= kFaces; ++face) lone.push_back(face);
        EXPECT_EQ(ListWorking(type), lone) << which;

        std::set<std::string> expectedGroups;
        std::set<std::string> expectedItems;
        for (uint64_t k = 0; k < kGroups; ++k) {
            const uint64_t f = FirstFaceOf(k);
            const std::string g = std::to_string(groupIds[type][k]);
            switch (FateOf(k)) {
                case Fate::kKept:
                    expectedGroups.insert(g + " " + std::to_string(f));
                    for (uint64_t face : {f, f + 1, f + 2}) expectedItems.insert(std::to_string(face) + " " + g);
                    break;
                case Fate::kLosesAFace:
                    expectedGroups.insert(g + " " + std::to_string(f));
                    for (uint64_t face : {f, f + 2}) expectedItems.insert(std::to_string(face) + " " + g);
                    break;
                case Fate::kLosesAllFaces: break;
                case Fate::kRemoved:
                    for (uint64_t face : {f, f + 1, f + 2}) expectedItems.insert(std::to_string(face) + " 0");
                    break;
            }
        }
        std::set<std::string> groupsOnDisk;
        Rows rows = Disk(CatalogueFile(), "SELECT group_id, face_id, feature_point_id, face_count FROM " + prefix +
                                              "_face_feature_point_group_table");
        for (const auto& row : rows) {
            groupsOnDisk.insert(row[0] + " " + row[1]);
            EXPECT_EQ(row[3], "3") << which;
            // The merged blob of each group on disk is whole, its faces'.
            const uint64_t pointId = std::stoull(row[2]);
            const uint64_t f = std::stoull(row[1]);
            EXPECT_EQ(DiskBlob(ShardFile(type, Set::kGroup, pointId / 1000), pointId),
                      Hex(Packed({PointOf(f), PointOf(f + 1), PointOf(f + 2)})))
                << which << " group " << row[0];
        }
        EXPECT_EQ(groupsOnDisk, expectedGroups) << which;
        std::set<std::string> itemsOnDisk;
        for (const auto& row :
             Disk(CatalogueFile(), "SELECT face_id, group_id FROM " + prefix + "_face_feature_point_group_item_table"))
            itemsOnDisk.insert(row[0] + " " + row[1]);
        EXPECT_EQ(itemsOnDisk, expectedItems) << which;
    }
}

}  // namespace
}  // namespace feature_point_test
