// FeaturePointGroups: the compound operations on feature point groups that
// the face manager offers: making a group from faces (their points merged
// into one packed blob in the group set, item rows in the catalogue, the
// members leaving the working set softly), reading groups, removing a
// face's point (and the group with its last face), removing a group (its
// members keep their item rows with group 0), and writing a group's or an
// individual's reference points.
//
// Locks: the catalogue's m_lock for each whole operation, then the working
// set's lock, then the group set's, always in that order. Nothing here is
// undone when a later step fails: the catalogue and the shards commit
// separately, at the face manager's Commit.
#pragma once

#include <cstdint>

#include "zandb4/faces.h"

class CSQLiteFaceFeaturePointDBMgr;
class CSQLiteFileBasicDB;
class CSQLiteThumbDBMgr;

class FeaturePointGroups {
public:
    // All borrowed; any may be null (the operations then answer as a
    // missing family or store does).
    FeaturePointGroups(CSQLiteFileBasicDB* catalogue, CSQLiteFaceFeaturePointDBMgr* persons,
                       CSQLiteFaceFeaturePointDBMgr* pets, CSQLiteThumbDBMgr* groupThumbnails)
        : m_catalogue(catalogue), m_persons(persons), m_pets(pets), m_groupThumbnails(groupThumbnails) {}

    // Merges the points of the first mergeCount faces into a new group
    // point, makes the group with item rows for the first itemCount faces,
    // and softly removes their points from the working set. One face
    // without a point makes a group with feature point 0. E_INVALIDARG for
    // a null array, a zero count or a bad type; E_FAIL without the sets.
    HRESULT CreateFeaturePointGroup(uint32_t type, const uint64_t* faceIds, uint32_t itemCount, uint64_t* outGroupId,
                                    uint32_t mergeCount);
    // Removes the face's point from the working set (softly) and its item
    // row; a group left without items is removed.
    HRESULT RemoveFaceFeaturePoint(uint64_t faceId, uint32_t type);
    // Removes the group's blob, its row and its thumbnails; the members stay
    // with group 0. A group that is not there counts as removed (S_OK).
    HRESULT RemoveFeaturePointGroup(uint64_t groupId, uint32_t type);
    // The group record bound to the catalogue and to the family of type.
    HRESULT GetFeaturePointGroup(uint64_t groupId, uint32_t type, IZanDB4FaceFeaturePointGroup** outGroup);
    // Newest first.
    HRESULT GetFeaturePointGroupIDs(uint32_t type, CArray<uint64_t>* outGroupIds);
    HRESULT GetFeaturePointGroups(uint32_t type, CArray<IZanDB4FaceFeaturePointGroup*>* outGroups);
    // Rewrites a group's merged point in the group set.
    HRESULT UpdateGroupFeaturePoints(uint64_t featurePointId, uint32_t type, const void* const* data,
                                     const uint32_t* sizes, uint32_t count);
    // Rewrites an individual's reference points in the individual set.
    HRESULT UpdateIndividualFeaturePoints(uint64_t individualId, uint32_t type, const void* const* data,
                                          const uint32_t* sizes, uint32_t count);
    // One block through UpdateIndividualFeaturePoints: despite its name the
    // blob goes to the individual set, not the group set. Applications rely
    // on where it lands.
    HRESULT UpdateGroupFeaturePoint(uint64_t id, uint32_t type, const void* data, uint32_t size);
    // Deletes the group's thumbnail of kind 1 or 2 in the group family.
    HRESULT RemoveGroupThumbnail(uint64_t groupId, uint32_t kind);

private:
    CSQLiteFaceFeaturePointDBMgr* FamilyOf(uint32_t type) const;

    CSQLiteFileBasicDB* m_catalogue;
    CSQLiteFaceFeaturePointDBMgr* m_persons;
    CSQLiteFaceFeaturePointDBMgr* m_pets;
    CSQLiteThumbDBMgr* m_groupThumbnails;
};
