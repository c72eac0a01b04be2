// FeaturePointGroupRows: the rows of the feature point group tables of the
// catalogue, persons and pets as twins by the individual type: the group
// row with its items, the members, and the group record read from a row.
// Made on the stack for a call over the borrowed store; the caller holds
// the store's lock. Writers open the store's transaction; none commits.
#pragma once

#include <vector>

#include "catalogue/file_basic_db.h"
#include "zandb4/faces.h"

namespace zandb4 {
class Statement;
}

class FeaturePointGroupRows {
public:
    // Id types of the merged feature points and of the groups.
    static uint32_t FeaturePointIdType(uint32_t type) { return type == CSQLiteFileBasicDB::kPet ? 10 : 9; }
    static uint32_t GroupIdType(uint32_t type) { return type == CSQLiteFileBasicDB::kPet ? 12 : 11; }

    explicit FeaturePointGroupRows(CSQLiteFileBasicDB& store) : m_store(store) {}

    // A new group record from a group row, bound to the store, with no
    // family. Column 4 (face_count) is not read: GetFaceCount reads it live.
    HRESULT ReadFeaturePointGroupRow(IZanDB4FaceFeaturePointGroup** outGroup, const zandb4::Statement& row,
                                     uint32_t type);

    // The member face ids of the group (items with that group id), into a
    // vector emptied first. E_FAIL when it ends empty.
    HRESULT ListGroupFaceIDs(std::vector<uint64_t>& outFaceIds, uint64_t groupId, uint32_t type);
    // The member faces still in the face table, appended to the vector (not
    // emptied) with one reference each. E_FAIL when it ends empty.
    HRESULT ListGroupFaces(std::vector<IZanDB4FaceDBRecord*>& outFaces, uint64_t groupId, uint32_t type);
    // The number of item rows of the group; 0 on failure or a bad type.
    uint32_t CountGroupItems(uint64_t groupId, uint32_t type);
    // face_count of the group row: the faces it was made with; 0 when it
    // cannot be read.
    uint32_t GroupFaceCount(uint64_t groupId, uint32_t type);
    // Makes the group row (a new group id, the first face, the merged point,
    // now, the item count) and one item row per face. A failed group row
    // pools the id (E_FAIL); a failed item row ends with E_FAIL and undoes
    // nothing: the group and the earlier items stay, and *outGroupId is set.
    HRESULT InsertFeaturePointGroup(uint32_t type, const uint64_t* faceIds, uint32_t itemCount,
                                    uint64_t firstFaceId, uint64_t featurePointId, uint64_t* outGroupId);
    // E_INVALIDARG for a null out (nulled first otherwise); E_FAIL for no row.
    HRESULT LoadFeaturePointGroup(uint64_t groupId, uint32_t type, IZanDB4FaceFeaturePointGroup** outGroup);
    // Newest first. E_FAIL when the list ends empty; a failed row read
    // empties the list of groups (releasing what it held) and fails.
    HRESULT ListGroupIDs(uint32_t type, CArray<uint64_t>& outGroupIds);
    HRESULT ListGroups(uint32_t type, CArray<IZanDB4FaceFeaturePointGroup*>& outGroups);

    // The item row of a face: its group id, or false for no row.
    bool FindGroupOfFace(uint64_t faceId, uint32_t type, uint64_t& outGroupId);
    HRESULT DeleteItemOfFace(uint64_t faceId, uint32_t type);
    // Deletes the group row (no transaction is opened for it) and, if that
    // worked, sets group 0 on its items.
    HRESULT DeleteGroupKeepingItems(uint64_t groupId, uint32_t type);

private:
    CSQLiteFileBasicDB& m_store;
};
