// The faces subsystem: the records of individuals (persons and pets), of
// user groups of individuals and of faces found in files; the face manager,
// the application's one door to all of them; and the feature points, the
// recognition data that the application's engine computes and the library
// keeps as opaque blobs, singly or merged into feature point groups.
//
// Persons and pets are one kind of record with an individual type: 1 for a
// person, 2 for a pet, 0 while unset. Records are detached from the
// database: changing one changes nothing until it is passed to the manager.
// Their reference counts are atomic; nothing else in a record is
// synchronised, so one thread at a time works on one record. The manager
// holds the catalogue's recursive lock around each operation, and records
// take it for their lazy reads.
#pragma once

#include "zandb4/caches.h"
#include "zandb4/forward.h"
#include "zandb4/foundation.h"

// A face rectangle in pixels of its file. The catalogue keeps it packed in
// 16-bit fields (left, top, width, height), so sides outside 0..65535, or a
// right below left, do not read back as they were written.
struct RECT {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
};

// One person or one pet, with the set of user groups it belongs to.
//
// Setters store the value, check nothing and answer S_OK; string setters
// copy. Getters write through their pointer and answer S_OK, or E_INVALIDARG
// for a null pointer. String getters assign the member to the caller's
// string and answer E_FAIL when it is empty (the empty string has been
// assigned by then).
class IZanDB4IndividualDBRecord : public IUnknown {
public:
    // person_id or pet_id; 0 until the manager has given one.
    virtual HRESULT SetID(uint64_t id) = 0;
    virtual HRESULT GetID(uint64_t* outId) = 0;
    // 1 person, 2 pet. Any value is kept; the manager rejects others.
    virtual HRESULT SetIndividualType(uint32_t type) = 0;
    virtual HRESULT GetIndividualType(uint32_t* outType) = 0;
    virtual HRESULT SetName(const CZanTString& name) = 0;
    virtual HRESULT GetName(CZanTString& outName) = 0;
    virtual HRESULT SetEmail(const CZanTString& email) = 0;
    virtual HRESULT GetEmail(CZanTString& outEmail) = 0;
    // Copy the birthday in and out. A null pointer is E_INVALIDARG and
    // leaves the member as it was.
    virtual HRESULT SetBirthday(const SYSTEMTIME* birthday) = 0;
    virtual HRESULT GetBirthday(SYSTEMTIME* outBirthday) = 0;
    // Opaque values of the application, stored and given back unread.
    virtual HRESULT SetAttributes(uint32_t attributes) = 0;
    virtual HRESULT GetAttributes(uint32_t* outAttributes) = 0;
    virtual HRESULT SetRecommend(uint32_t recommend) = 0;
    virtual HRESULT GetRecommend(uint32_t* outRecommend) = 0;

    // The group set. It is read from the catalogue on first use (under the
    // catalogue's lock, once, even if that read fails) and never written
    // back: the manager ignores it on update.
    //
    // Add or remove one group id (loading the set first if needed); marks
    // the set changed. Always S_OK; an id already there stays once.
    virtual HRESULT AddGroup(uint64_t groupId) = 0;
    virtual HRESULT RemoveGroup(uint64_t groupId) = 0;
    // Empties the set without reading it; marks it loaded and changed.
    virtual HRESULT ClearGroups() = 0;
    // The number of group ids, loading the set if needed.
    virtual uint32_t GetGroupCount() = 0;
    // Empties the caller's array and appends the ids in ascending order.
    // E_INVALIDARG for a null array, E_FAIL when the set is empty.
    virtual HRESULT GetGroups(CArray<uint64_t>* outGroupIds) = 0;
    // 1 once the set has been changed through this record, else 0.
    virtual BOOL IsGroupSetChanged() = 0;

    // The live number of distinct files holding a face of this individual,
    // counted in the catalogue under its lock, not the value read with the
    // row. E_INVALIDARG for a null out.
    virtual HRESULT GetFileCount(uint32_t* outFileCount) = 0;

protected:
    // Frees the strings and the group set. Records go by their last Release.
    virtual ~IZanDB4IndividualDBRecord() = default;

public:
    // Keeps the file count read with the row; nothing reads it back.
    virtual HRESULT SetFileCount(uint32_t fileCount) = 0;
};

// One user-made group of individuals, a row of face_group_table, shared by
// persons and pets. Accessors follow the rules of IZanDB4IndividualDBRecord.
class IZanDB4IndividualGroupDBRecord : public IUnknown {
public:
    // face_group_id; set by the manager when the group is added.
    virtual HRESULT SetID(uint64_t id) = 0;
    virtual HRESULT GetID(uint64_t* outId) = 0;
    virtual HRESULT SetName(const CZanTString& name) = 0;
    virtual HRESULT GetName(CZanTString& outName) = 0;
    // An opaque value of the application, stored and given back unread.
    virtual HRESULT SetType(uint32_t type) = 0;
    virtual HRESULT GetType(uint32_t* outType) = 0;
    virtual HRESULT SetDescription(const CZanTString& description) = 0;
    virtual HRESULT GetDescription(CZanTString& outDescription) = 0;

protected:
    // Frees the strings. Records go by their last Release.
    virtual ~IZanDB4IndividualGroupDBRecord() = default;

public:
};

// One face found in one file: its rectangle, the file, and the individual
// it belongs to (0 while nobody has named it). Accessors follow the rules of
// IZanDB4IndividualDBRecord.
class IZanDB4FaceDBRecord : public IUnknown {
public:
    // person_face_id or pet_face_id; 0 until the manager has given one.
    virtual HRESULT SetFaceID(uint64_t faceId) = 0;
    virtual HRESULT GetFaceID(uint64_t* outFaceId) = 0;
    // person_id or pet_id of the face; 0 means not assigned.
    virtual HRESULT SetIndividualID(uint64_t individualId) = 0;
    virtual HRESULT GetIndividualID(uint64_t* outIndividualId) = 0;
    virtual HRESULT SetFileID(uint64_t fileId) = 0;
    virtual HRESULT GetFileID(uint64_t* outFileId) = 0;
    // Copy the rectangle in and out. A null pointer is E_INVALIDARG and
    // leaves the member as it was.
    virtual HRESULT SetRect(const RECT* rect) = 0;
    virtual HRESULT GetRect(RECT* outRect) = 0;
    // 1 person, 2 pet; decides which table the face lives in.
    virtual HRESULT SetIndividualType(uint32_t type) = 0;
    virtual HRESULT GetIndividualType(uint32_t* outType) = 0;

protected:
    // Records go by their last Release.
    virtual ~IZanDB4FaceDBRecord() = default;

public:
};

// A stored feature point: an opaque blob, either one raw block (format 0) or
// several blocks packed as a 32-bit count, the 32-bit length of each block,
// then the blocks (format 1). Only the library makes these objects. Plain
// accessors follow the rules of IZanDB4IndividualDBRecord.
class IZanDB4FaceFeaturePointData : public IUnknown {
public:
    // The key of the blob in its set: a face id, a group's feature point id
    // or an individual id.
    virtual HRESULT SetFeaturePointID(uint64_t featurePointId) = 0;
    virtual HRESULT GetFeaturePointID(uint64_t* outFeaturePointId) = 0;
    // The face the point belongs to; filled only when read by face.
    virtual HRESULT SetFaceID(uint64_t faceId) = 0;
    virtual HRESULT GetFaceID(uint64_t* outFaceId) = 0;
    // Takes a copy of size bytes from data. Passing the pointer the object
    // already holds only takes the size. Otherwise the old blob is freed, and
    // a null pointer or a size of 0 leaves no blob; the size is stored in
    // every case. E_OUTOFMEMORY if the copy cannot be allocated.
    virtual HRESULT SetFeaturePoint(const void* data, uint32_t size) = 0;
    // Gives the block of the given index (format 1) or the whole blob (any
    // other format, index ignored). *outData points into the object and lives
    // as long as it. Either out may be null, not both (E_INVALIDARG). E_FAIL
    // when there is no such block, the blob is malformed or there is no blob.
    virtual HRESULT GetFeaturePoint(const void** outData, uint32_t* outSize, uint32_t blockIndex) = 0;
    // The number of blocks: the stored count for format 1 (0 for a blob under
    // 4 bytes), else 1 when there is a blob and 0 when there is none.
    virtual uint32_t GetBlockCount() = 0;
    // 1 person, 2 pet; starts at 1.
    virtual HRESULT SetIndividualType(uint32_t type) = 0;
    virtual HRESULT GetIndividualType(uint32_t* outType) = 0;
    // The moment the blob was written. A null pointer is E_INVALIDARG.
    virtual HRESULT SetUpdateDate(const SYSTEMTIME* updateDate) = 0;
    virtual HRESULT GetUpdateDate(SYSTEMTIME* outUpdateDate) = 0;

protected:
    // Frees the blob. Objects go by their last Release.
    virtual ~IZanDB4FaceFeaturePointData() = default;

public:
    // 0 for one raw block, 1 for packed blocks.
    virtual HRESULT SetDataFormat(uint32_t dataFormat) = 0;
    virtual HRESULT GetDataFormat(uint32_t* outDataFormat) = 0;
};

// A feature point group: faces the application judged to be one individual
// before anyone named it, with their merged feature point. A snapshot of its
// row with lazy caches of its members; only the library makes these
// objects. Plain accessors follow the rules of IZanDB4IndividualDBRecord.
// Reads take the catalogue's lock, then the lock of the feature point store.
class IZanDB4FaceFeaturePointGroup : public IUnknown {
public:
    // Stores the group id and drops the member caches, releasing the cached
    // face records.
    virtual HRESULT SetID(uint64_t groupId) = 0;
    virtual HRESULT GetID(uint64_t* outGroupId) = 0;
    // The first face of the group, the one that stands for it.
    virtual HRESULT SetFaceID(uint64_t faceId) = 0;
    virtual HRESULT GetFaceID(uint64_t* outFaceId) = 0;
    // 1 person, 2 pet; starts at 1.
    virtual HRESULT SetIndividualType(uint32_t type) = 0;
    virtual HRESULT GetIndividualType(uint32_t* outType) = 0;
    // The key of the merged blob. Setting it releases the cached blob.
    virtual HRESULT SetFeaturePointID(uint64_t featurePointId) = 0;
    virtual HRESULT GetFeaturePointID(uint64_t* outFeaturePointId) = 0;
    // The merged blob, read once and cached; the caller gets its own
    // reference. E_INVALIDARG for a null out, E_FAIL if it cannot be read
    // (for instance when the row has outlived its blob).
    virtual HRESULT GetFeaturePoint(IZanDB4FaceFeaturePointData** outData) = 0;
    // Drops the cached blob. S_OK.
    virtual HRESULT ReleaseFeaturePoint() = 0;
    // Empty the caller's array and fill it with the member face ids, or the
    // member face records (one reference each), read now or, with useCache,
    // from a cache loaded once. GetFaces leaves out faces that have gone from
    // the catalogue. E_INVALIDARG for a null array, E_FAIL when it ends
    // empty.
    virtual HRESULT GetFaceIDs(CArray<uint64_t>* outFaceIds, BOOL useCache) = 0;
    virtual HRESULT GetFaces(CArray<IZanDB4FaceDBRecord*>* outFaces, BOOL useCache) = 0;
    // The number of faces the group was made with; it does not follow later
    // removals. S_OK with 0 when it cannot be read; E_INVALIDARG for a null
    // out.
    virtual HRESULT GetFaceCount(uint32_t* outFaceCount) = 0;
    // The moment the group was made. A null pointer is E_INVALIDARG.
    virtual HRESULT SetCreateDate(const SYSTEMTIME* createDate) = 0;
    virtual HRESULT GetCreateDate(SYSTEMTIME* outCreateDate) = 0;

protected:
    // Releases the cached blob and face records. Objects go by their last
    // Release.
    virtual ~IZanDB4FaceFeaturePointGroup() = default;

public:
};

// The face manager: adds, changes and lists faces, individuals and user
// groups; keeps their thumbnails; holds the feature points and makes the
// feature point groups. It does no detection or recognition.
//
// Every operation holds the catalogue's recursive lock from entry to exit.
// "type" is the individual type (1 person, 2 pet). Unless said otherwise, a
// null out or a bad type is E_INVALIDARG, out arrays are the caller's and are
// emptied first, records in them carry one reference each, and a list that
// ends empty is E_FAIL, as is a failed read. "kind" picks one of the two
// thumbnail sizes, 1 or 2. Nothing is durable until Commit.
class IZanDB4FaceDBMgr : public IUnknown {
public:
    // Faces. Reads see the catalogue only: a face that is still staged is
    // not listed.
    //
    // Stages a new face from the record (whose type must be 1 or 2), gives
    // it an id, sets it on the record and writes it to outId (may be null).
    virtual HRESULT AddFace(IZanDB4FaceDBRecord* face, uint64_t* outFaceId) = 0;
    // Rewrites rectangle, individual and file of the face, in the catalogue
    // or, failing that, in staging. E_FAIL when neither holds the face.
    virtual HRESULT UpdateFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord* face) = 0;
    // Deletes the face from both stores with its feature point and its
    // thumbnails. S_OK if either store's delete ran, which includes an
    // unknown id.
    virtual HRESULT RemoveFace(uint64_t faceId, uint32_t type) = 0;
    // A new record of the face. E_FAIL when the catalogue has no such face.
    virtual HRESULT GetFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord** outFace) = 0;
    // The number of faces of the type; 0 for a bad type or a failed read.
    virtual uint32_t GetFaceCount(uint32_t type) = 0;
    virtual HRESULT GetFaces(uint32_t type, CArray<IZanDB4FaceDBRecord*>* outFaces) = 0;
    // For pets this always answers E_FAIL with an empty array: its statement
    // names a column the table does not have, which is kept so.
    virtual HRESULT GetFaceIDs(uint32_t type, CArray<uint64_t>* outFaceIds) = 0;
    virtual HRESULT GetFacesInFile(uint64_t fileId, uint32_t type, CArray<IZanDB4FaceDBRecord*>* outFaces) = 0;
    // Faces whose individual is 0.
    virtual HRESULT GetUnassignedFaces(uint32_t type, CArray<IZanDB4FaceDBRecord*>* outFaces) = 0;
    // RemoveFace for every catalogued face of the file, persons then pets;
    // the first failure ends it. S_OK for a file without faces.
    virtual HRESULT RemoveFacesInFile(uint64_t fileId) = 0;
    // Marks the file's faces as done, which lets the next Commit move them
    // into the catalogue. S_OK if either store had the file, else E_FAIL.
    virtual HRESULT SetFaceDetected(uint64_t fileId) = 0;

    // Individuals.
    //
    // Inserts the individual under a new id (checked free), sets it on the
    // record and writes it to outId (may be null).
    virtual HRESULT AddIndividual(IZanDB4IndividualDBRecord* individual, uint64_t* outId) = 0;
    // Rewrites name, email, birthday, attributes and recommend. The type
    // argument decides the table, not the record's; the group set is not
    // written. S_OK for an id without a row.
    virtual HRESULT UpdateIndividual(uint64_t id, IZanDB4IndividualDBRecord* individual, uint32_t type) = 0;
    // Deletes the individual with its feature point and thumbnails. Its
    // faces stay, unassigned.
    virtual HRESULT RemoveIndividual(uint64_t id, uint32_t type) = 0;
    // The number of individuals of the type. A bad type gives the value of
    // E_INVALIDARG (0x80070057) in place of a count.
    virtual uint32_t GetIndividualCount(uint32_t type) = 0;
    virtual HRESULT GetIndividual(uint64_t id, uint32_t type, IZanDB4IndividualDBRecord** outIndividual) = 0;
    // order: 2 by name, 3 by registration, 4 by the custom order (unplaced
    // individuals last); any other value leaves table order.
    virtual HRESULT GetIndividuals(uint32_t type, CArray<IZanDB4IndividualDBRecord*>* outIndividuals,
                                   uint32_t order) = 0;
    virtual HRESULT GetIndividualIDs(uint32_t type, CArray<uint64_t>* outIds) = 0;
    // Individuals with a face in the file, in the album, or in the user group.
    virtual HRESULT GetIndividualsInFile(uint64_t fileId, uint32_t type,
                                         CArray<IZanDB4IndividualDBRecord*>* outIndividuals, uint32_t order) = 0;
    virtual HRESULT GetIndividualsInAlbum(uint64_t albumId, uint32_t type,
                                          CArray<IZanDB4IndividualDBRecord*>* outIndividuals, uint32_t order) = 0;
    virtual HRESULT GetIndividualIDsInAlbum(uint64_t albumId, uint32_t type, CArray<uint64_t>* outIds) = 0;
    virtual HRESULT GetIndividualsInFaceGroup(uint64_t groupId, uint32_t type,
                                              CArray<IZanDB4IndividualDBRecord*>* outIndividuals,
                                              uint32_t order) = 0;
    // Always E_FAIL: its statement does not compile, which is kept so.
    virtual HRESULT GetIndividualIDsInFaceGroup(uint64_t groupId, uint32_t type, CArray<uint64_t>* outIds) = 0;
    // Clears the custom order of the type, then numbers the individuals of
    // the array 1, 2, ... in array order, skipping null entries (a record
    // with id 0 still takes a number). The array is not emptied.
    // E_INVALIDARG for a null array.
    virtual HRESULT SetCustomOrder(uint32_t type, CArray<IZanDB4IndividualDBRecord*>* individuals) = 0;
    // Sets every custom index of the type to 0 (unplaced).
    virtual HRESULT ClearCustomOrder(uint32_t type) = 0;

    // User groups of individuals, shared by persons and pets.
    //
    // Inserts the group under a new id, sets it on the record and writes it
    // to outId (may be null). E_INVALIDARG for a null record.
    virtual HRESULT AddFaceGroup(IZanDB4IndividualGroupDBRecord* group, uint64_t* outGroupId) = 0;
    // Rewrites type, name and description. E_INVALIDARG for a null record.
    virtual HRESULT UpdateFaceGroup(uint64_t groupId, IZanDB4IndividualGroupDBRecord* group) = 0;
    // Deletes the group row; membership rows that name it stay.
    virtual HRESULT RemoveFaceGroup(uint64_t groupId) = 0;
    virtual HRESULT GetFaceGroup(uint64_t groupId, IZanDB4IndividualGroupDBRecord** outGroup) = 0;
    // The number of user groups; 0 on failure.
    virtual uint32_t GetFaceGroupCount() = 0;
    virtual HRESULT GetFaceGroups(CArray<IZanDB4IndividualGroupDBRecord*>* outGroups) = 0;
    virtual HRESULT GetFaceGroupIDs(CArray<uint64_t>* outGroupIds) = 0;

    // Thumbnails of faces (forIndividual false, id is a face id) and of
    // individuals (forIndividual true, id is an individual id). A bad type or
    // kind is E_INVALIDARG; otherwise the thumbnail store's own result.
    //
    // Add a thumbnail from a cache object or from raw bytes; E_FAIL if one is
    // there already.
    virtual HRESULT AddThumbnailFromCache(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual,
                                          IZanDB4FileCache* cache) = 0;
    virtual HRESULT AddThumbnail(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual, const void* data,
                                 uint32_t size) = 0;
    // Replace an existing thumbnail; E_FAIL if there is none. The raw form
    // keeps the stored source identifier.
    virtual HRESULT UpdateThumbnailFromCache(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual,
                                             IZanDB4FileCache* cache) = 0;
    virtual HRESULT UpdateThumbnail(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual,
                                    const void* data, uint32_t size) = 0;
    // S_OK also when there was none.
    virtual HRESULT RemoveThumbnail(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual) = 0;
    // A new cache object holding the thumbnail. E_FAIL when there is none.
    virtual HRESULT GetThumbnail(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual,
                                 IZanDB4FileCache** outCache) = 0;
    // Deletes every thumbnail of both kinds of the family; E_FAIL if either
    // kind failed.
    virtual HRESULT RemoveAllThumbnails(uint32_t type, BOOL forIndividual) = 0;

    // Moves the faces that may commit from staging into the catalogue, then
    // makes the catalogue, the thumbnails and the feature points durable.
    virtual HRESULT Commit() = 0;
    // Throws away what no commit has written, except feature points, by
    // reopening the stores. Answers the catalogue's result.
    virtual HRESULT Reopen() = 0;

    // Feature points of faces, keyed by face id in the working set.
    //
    // Stores the face's feature point as one raw block, replacing any. date
    // may be null for the moment of the call. E_INVALIDARG when the face is
    // in neither the catalogue nor staging, or for a bad type.
    virtual HRESULT SetFaceFeaturePoint(uint64_t faceId, uint32_t type, const void* data, uint32_t size,
                                        const SYSTEMTIME* date) = 0;
    // Takes the face's point out of the working set (it is kept on disk,
    // marked removed) and its membership out of its feature point group; a
    // group that loses its last face is removed with it.
    virtual HRESULT RemoveFaceFeaturePoint(uint64_t faceId, uint32_t type) = 0;
    // A new data object of the face's point, also readable after removal.
    // *outData is nulled first.
    virtual HRESULT GetFaceFeaturePoint(uint64_t faceId, uint32_t type, IZanDB4FaceFeaturePointData** outData) = 0;
    // Appends the ids of the live points of the working set, and their update
    // dates in the packed form if outDates is not null; limit 0 means all.
    // reserved is ignored. Answers the result of the last shard read, E_FAIL
    // when no working shard is open.
    virtual HRESULT GetFaceFeaturePointIDs(uint32_t type, CArray<uint64_t>* outIds, CArray<uint64_t>* outDates,
                                           uint32_t reserved, uint32_t limit) = 0;
    // Does nothing; S_OK.
    virtual HRESULT ReservedFaceOperation() = 0;
    // Deletes the whole working set of persons and of pets, files included.
    virtual HRESULT RemoveAllFaceFeaturePoints() = 0;

    // Feature point groups.
    //
    // Merges the feature points of the first mergeCount faces into one blob
    // of the group set, writes the group row and a membership row for each
    // of the first itemCount faces, and takes those faces out of the working
    // set. Callers pass the same number for both counts. outGroupId may be
    // null. A face without a feature point in the working set stops the
    // merge. A face that already has a membership row makes it fail there,
    // with the rows written so far left in place.
    virtual HRESULT CreateFeaturePointGroup(uint32_t type, const uint64_t* faceIds, uint32_t itemCount,
                                            uint64_t* outGroupId, uint32_t mergeCount) = 0;
    // Replaces the group blob of featurePointId with count blocks, packed
    // when more than one. E_INVALIDARG for a null array or a count of 0;
    // E_FAIL for a bad type.
    virtual HRESULT UpdateGroupFeaturePoints(uint64_t featurePointId, uint32_t type, const void* const* data,
                                             const uint32_t* sizes, uint32_t count) = 0;
    // Replaces the blob of id in the individual set, not the group set: this
    // is the very operation UpdateIndividualFeaturePoint.
    virtual HRESULT UpdateGroupFeaturePoint(uint64_t id, uint32_t type, const void* data, uint32_t size) = 0;
    // Deletes the group row, its blob and its thumbnails. Membership rows
    // stay, with group 0. S_OK for a group that is not there.
    virtual HRESULT RemoveFeaturePointGroup(uint64_t groupId, uint32_t type) = 0;
    // Thumbnails of feature point groups, as for faces. E_INVALIDARG for a
    // kind other than 1 or 2.
    virtual HRESULT AddGroupThumbnail(uint64_t groupId, uint32_t kind, const void* data, uint32_t size) = 0;
    virtual HRESULT UpdateGroupThumbnail(uint64_t groupId, uint32_t kind, const void* data, uint32_t size) = 0;
    virtual HRESULT RemoveGroupThumbnail(uint64_t groupId, uint32_t kind) = 0;
    virtual HRESULT GetGroupThumbnail(uint64_t groupId, uint32_t kind, IZanDB4FileCache** outCache) = 0;
    // A new group object. reserved is not used. E_FAIL when there is no such
    // group.
    virtual HRESULT GetFeaturePointGroup(uint64_t groupId, uint32_t type, IZanDB4FaceFeaturePointGroup** outGroup,
                                         uint32_t reserved) = 0;
    // The groups of the type, newest first.
    virtual HRESULT GetFeaturePointGroupIDs(uint32_t type, CArray<uint64_t>* outGroupIds) = 0;
    virtual HRESULT GetFeaturePointGroups(uint32_t type, CArray<IZanDB4FaceFeaturePointGroup*>* outGroups) = 0;

    // Reference feature points of individuals, keyed by individual id in the
    // individual set. A bad type is E_FAIL here.
    //
    // Store count blocks (packed when more than one), replacing any point of
    // the id. E_INVALIDARG for a null array or a count of 0.
    virtual HRESULT AddIndividualFeaturePoints(uint64_t id, uint32_t type, const void* const* data,
                                               const uint32_t* sizes, uint32_t count) = 0;
    // One raw block. E_INVALIDARG for null data or a size of 0.
    virtual HRESULT AddIndividualFeaturePoint(uint64_t id, uint32_t type, const void* data, uint32_t size) = 0;
    // As the Add forms, for a point that exists.
    virtual HRESULT UpdateIndividualFeaturePoints(uint64_t id, uint32_t type, const void* const* data,
                                                  const uint32_t* sizes, uint32_t count) = 0;
    virtual HRESULT UpdateIndividualFeaturePoint(uint64_t id, uint32_t type, const void* data, uint32_t size) = 0;
    virtual HRESULT RemoveIndividualFeaturePoint(uint64_t id, uint32_t type) = 0;
    // A new data object. *outData is nulled first.
    virtual HRESULT GetIndividualFeaturePoint(uint64_t id, uint32_t type, IZanDB4FaceFeaturePointData** outData) = 0;

    // Enter and leave the catalogue's lock, so that the caller can hold it
    // across several calls. Every Lock needs its Unlock; until then all other
    // threads wait. Lock answers S_OK.
    virtual HRESULT Lock() = 0;
    virtual HRESULT Unlock() = 0;

protected:
    // Managers go by their last Release.
    virtual ~IZanDB4FaceDBMgr() = default;

public:
};
