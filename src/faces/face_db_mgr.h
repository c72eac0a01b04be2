// CZanDB4FaceDBMgr: the face manager, the application's door to faces,
// persons and pets, user groups, their thumbnails, feature points and
// feature point groups. It detects and recognises nothing itself; it gives
// the application's engine a home. It borrows the catalogue, the staging
// store, five thumbnail families and the two feature point families from
// the registry and owns no data.
//
// The road of a face: AddFace stages it (with its thumbnail and feature
// point under its face id); SetFaceDetected makes its file's faces
// committable; Commit moves them into the catalogue and writes every store;
// CreateFeaturePointGroup clusters faces; UpdateFace with an individual id
// names them.
//
// The operations live in three files:
//   face_db_mgr_faces.cpp        faces, Commit, Reopen, Lock and Unlock
//   face_db_mgr_individuals.cpp  persons and pets, user groups
//   face_db_mgr_points.cpp       thumbnails, feature points and groups
//
// Threading: every operation holds the catalogue's lock from entry to exit
// (the null tests come first); thumbnail and feature point factories are
// locked inside it, the working set before the group set.
#pragma once

#include <cstdint>
#include <set>

#include "faces/feature_point_groups.h"
#include "frame/com_object.h"
#include "zandb4/faces.h"
#include "zandb4/identifiers.h"

class CSQLiteAsyncDB;
class CSQLiteFaceFeaturePointDBFactory;
class CSQLiteFaceFeaturePointDBMgr;
class CSQLiteFileBasicDB;
class CSQLiteThumbDBFactory;
class CSQLiteThumbDBMgr;

// The registry's stores as the face manager borrows them.
struct FaceStores {
    CSQLiteFileBasicDB* catalogue = nullptr;
    CSQLiteAsyncDB* staging = nullptr;
    CSQLiteThumbDBMgr* personIcons = nullptr;  // psni
    CSQLiteThumbDBMgr* petIcons = nullptr;     // pti
    CSQLiteThumbDBMgr* personFaces = nullptr;  // psnf
    CSQLiteThumbDBMgr* petFaces = nullptr;     // ptf
    CSQLiteFaceFeaturePointDBMgr* personPoints = nullptr;  // rfp
    CSQLiteFaceFeaturePointDBMgr* petPoints = nullptr;     // tfp
    CSQLiteThumbDBMgr* groupThumbnails = nullptr;          // grf
};

class CZanDB4FaceDBMgr : public zandb4::ComObject<IZanDB4FaceDBMgr, IID_IZanDB4FaceDBMgr> {
public:
    explicit CZanDB4FaceDBMgr(const FaceStores& stores);

    // Faces (faces/face_db_mgr_faces.cpp).
    HRESULT AddFace(IZanDB4FaceDBRecord* face, uint64_t* outFaceId) override;
    HRESULT UpdateFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord* face) override;
    HRESULT RemoveFace(uint64_t faceId, uint32_t type) override;
    HRESULT GetFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord** outFace) override;
    uint32_t GetFaceCount(uint32_t type) override;
    HRESULT GetFaces(uint32_t type, CArray<IZanDB4FaceDBRecord*>* outFaces) override;
    HRESULT GetFaceIDs(uint32_t type, CArray<uint64_t>* outFaceIds) override;
    HRESULT GetFacesInFile(uint64_t fileId, uint32_t type, CArray<IZanDB4FaceDBRecord*>* outFaces) override;
    HRESULT GetUnassignedFaces(uint32_t type, CArray<IZanDB4FaceDBRecord*>* outFaces) override;
    HRESULT RemoveFacesInFile(uint64_t fileId) override;
    HRESULT SetFaceDetected(uint64_t fileId) override;

    // Individuals and user groups (faces/face_db_mgr_individuals.cpp).
    HRESULT AddIndividual(IZanDB4IndividualDBRecord* individual, uint64_t* outId) override;
    HRESULT UpdateIndividual(uint64_t id, IZanDB4IndividualDBRecord* individual, uint32_t type) override;
    HRESULT RemoveIndividual(uint64_t id, uint32_t type) override;
    uint32_t GetIndividualCount(uint32_t type) override;
    HRESULT GetIndividual(uint64_t id, uint32_t type, IZanDB4IndividualDBRecord** outIndividual) override;
    HRESULT GetIndividuals(uint32_t type, CArray<IZanDB4IndividualDBRecord*>* outIndividuals,
                           uint32_t order) override;
    HRESULT GetIndividualIDs(uint32_t type, CArray<uint64_t>* outIds) override;
    HRESULT GetIndividualsInFile(uint64_t fileId, uint32_t type, CArray<IZanDB4IndividualDBRecord*>* outIndividuals,
                                 uint32_t order) override;
    HRESULT GetIndividualsInAlbum(uint64_t albumId, uint32_t type,
                                  CArray<IZanDB4IndividualDBRecord*>* outIndividuals, uint32_t order) override;
    HRESULT GetIndividualIDsInAlbum(uint64_t albumId, uint32_t type, CArray<uint64_t>* outIds) override;
    HRESULT GetIndividualsInFaceGroup(uint64_t groupId, uint32_t type,
                                      CArray<IZanDB4IndividualDBRecord*>* outIndividuals, uint32_t order) override;
    HRESULT GetIndividualIDsInFaceGroup(uint64_t groupId, uint32_t type, CArray<uint64_t>* outIds) override;
    HRESULT SetCustomOrder(uint32_t type, CArray<IZanDB4IndividualDBRecord*>* individuals) override;
    HRESULT ClearCustomOrder(uint32_t type) override;
    HRESULT AddFaceGroup(IZanDB4IndividualGroupDBRecord* group, uint64_t* outGroupId) override;
    HRESULT UpdateFaceGroup(uint64_t groupId, IZanDB4IndividualGroupDBRecord* group) override;
    HRESULT RemoveFaceGroup(uint64_t groupId) override;
    HRESULT GetFaceGroup(uint64_t groupId, IZanDB4IndividualGroupDBRecord** outGroup) override;
    uint32_t GetFaceGroupCount() override;
    HRESULT GetFaceGroups(CArray<IZanDB4IndividualGroupDBRecord*>* outGroups) override;
    HRESULT GetFaceGroupIDs(CArray<uint64_t>* outGroupIds) override;

    // Thumbnails, commit, feature points and groups
    // (faces/face_db_mgr_points.cpp; Commit and Reopen in _faces.cpp).
    HRESULT AddThumbnailFromCache(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual,
                                  IZanDB4FileCache* cache) override;
    HRESULT AddThumbnail(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual, const void* data,
                         uint32_t size) override;
    HRESULT UpdateThumbnailFromCache(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual,
                                     IZanDB4FileCache* cache) override;
    HRESULT UpdateThumbnail(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual, const void* data,
                            uint32_t size) override;
    HRESULT RemoveThumbnail(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual) override;
    HRESULT GetThumbnail(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual,
                         IZanDB4FileCache** outCache) override;
    HRESULT RemoveAllThumbnails(uint32_t type, BOOL forIndividual) override;
    HRESULT Commit() override;
    HRESULT Reopen() override;
    HRESULT SetFaceFeaturePoint(uint64_t faceId, uint32_t type, const void* data, uint32_t size,
                                const SYSTEMTIME* date) override;
    HRESULT RemoveFaceFeaturePoint(uint64_t faceId, uint32_t type) override;
    HRESULT GetFaceFeaturePoint(uint64_t faceId, uint32_t type, IZanDB4FaceFeaturePointData** outData) override;
    HRESULT GetFaceFeaturePointIDs(uint32_t type, CArray<uint64_t>* outIds, CArray<uint64_t>* outDates,
                                   uint32_t reserved, uint32_t limit) override;
    HRESULT ReservedFaceOperation() override;
    HRESULT RemoveAllFaceFeaturePoints() override;
    HRESULT CreateFeaturePointGroup(uint32_t type, const uint64_t* faceIds, uint32_t itemCount, uint64_t* outGroupId,
                                    uint32_t mergeCount) override;
    HRESULT UpdateGroupFeaturePoints(uint64_t featurePointId, uint32_t type, const void* const* data,
                                     const uint32_t* sizes, uint32_t count) override;
    HRESULT UpdateGroupFeaturePoint(uint64_t id, uint32_t type, const void* data, uint32_t size) override;
    HRESULT RemoveFeaturePointGroup(uint64_t groupId, uint32_t type) override;
    HRESULT AddGroupThumbnail(uint64_t groupId, uint32_t kind, const void* data, uint32_t size) override;
    HRESULT UpdateGroupThumbnail(uint64_t groupId, uint32_t kind, const void* data, uint32_t size) override;
    HRESULT RemoveGroupThumbnail(uint64_t groupId, uint32_t kind) override;
    HRESULT GetGroupThumbnail(uint64_t groupId, uint32_t kind, IZanDB4FileCache** outCache) override;
    HRESULT GetFeaturePointGroup(uint64_t groupId, uint32_t type, IZanDB4FaceFeaturePointGroup** outGroup,
                                 uint32_t reserved) override;
    HRESULT GetFeaturePointGroupIDs(uint32_t type, CArray<uint64_t>* outGroupIds) override;
    HRESULT GetFeaturePointGroups(uint32_t type, CArray<IZanDB4FaceFeaturePointGroup*>* outGroups) override;
    HRESULT AddIndividualFeaturePoints(uint64_t id, uint32_t type, const void* const* data, const uint32_t* sizes,
                                       uint32_t count) override;
    HRESULT AddIndividualFeaturePoint(uint64_t id, uint32_t type, const void* data, uint32_t size) override;
    HRESULT UpdateIndividualFeaturePoints(uint64_t id, uint32_t type, const void* const* data,
                                          const uint32_t* sizes, uint32_t count) override;
    HRESULT UpdateIndividualFeaturePoint(uint64_t id, uint32_t type, const void* data, uint32_t size) override;
    HRESULT RemoveIndividualFeaturePoint(uint64_t id, uint32_t type) override;
    HRESULT GetIndividualFeaturePoint(uint64_t id, uint32_t type, IZanDB4FaceFeaturePointData** outData) override;
    HRESULT Lock() override;
    HRESULT Unlock() override;

    // Moves the ready staged faces into the catalogue and commits both; the
    // ids moved end in faceIds. Commit runs it.
    HRESULT CommitFaces(std::set<uint64_t>& faceIds);

private:
    // The thumbnail factory of an id: individual icons or face thumbnails
    // by forIndividual, person or pet by type, kind 1 or 2; null otherwise.
    CSQLiteThumbDBFactory* ThumbnailFactory(uint32_t kind, uint32_t type, BOOL forIndividual) const;
    // Runs operation on the factory under the catalogue's lock and the
    // factory's; E_INVALIDARG without such a factory.
    template <class Operation>
    HRESULT ThumbnailCall(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual, Operation&& operation);
    // The feature point family of type 1 or 2; null otherwise.
    CSQLiteFaceFeaturePointDBMgr* FamilyOf(uint32_t type) const;
    // The individual set of the family, with the answers of the individual
    // feature point operations: a bad type or no family is E_FAIL.
    CSQLiteFaceFeaturePointDBFactory* IndividualSetOf(uint32_t type) const;

    FaceStores m_stores;
    FeaturePointGroups m_groups;
};
