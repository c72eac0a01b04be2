// The feature point shards. A feature point is the recognition data of a
// face, a blob the application's engine makes and compares; the library
// never looks inside. Blobs live in shards of 1 000 ids, "%08X.db", in three
// sets per family (working, group, individual; see feature_point_mgr.h).
//
// CSQLiteFaceFeaturePointDB is a plain shard: face_feature_point_table with
// the blobs. CSQLiteFaceFeaturePointDBWorking is a shard of the working set:
// its own file holds only the index face_feature_table, and it owns a plain
// companion store "_" + its file name that holds the blobs. Points leave the
// working set softly (remove=1): row and blob stay until the whole shard is
// dropped, and a softly removed point can still be read and copied.
//
// Blob formats: 0 is one raw block; 1 is packed blocks, a 4-byte count, then
// each block's 4-byte length, then the blocks, little-endian.
//
// Threading: nothing here locks; the factory's lock is held by the callers.
#pragma once

#include <cstdint>
#include <memory>

#include "storage/sqlite_db_base.h"
#include "zandb4/faces.h"

class CSQLiteFaceFeaturePointDBFactory;
namespace zandb4 {
class Statement;
}

class CSQLiteFaceFeaturePointDB : public CSQLiteDBBase {
public:
    // The base's tables, then face_feature_point_table.
    HRESULT CreateTables() override;

    // The blocks as one point under id: a single block as format 0, more
    // packed as format 1; stamped with the moment of the call. Replaces a
    // point of that id. E_INVALIDARG for null arrays or a count of 0.
    HRESULT InsertFeaturePoints(uint64_t id, const void* const* data, const uint32_t* sizes, uint32_t count);
    // Writes the point, replacing one of that id. packedDate 0 stamps the
    // moment of the call. E_INVALIDARG for null data or size 0.
    virtual HRESULT InsertFeaturePoint(uint64_t id, const void* data, uint32_t size, uint32_t format,
                                       int64_t packedDate);
    // As InsertFeaturePoints, into an existing point.
    HRESULT UpdateFeaturePoints(uint64_t id, const void* const* data, const uint32_t* sizes, uint32_t count);
    // Rewrites an existing point's blob and format and stamps it now.
    // E_INVALIDARG for null data, size 0, or a point that is not there.
    virtual HRESULT UpdateFeaturePoint(uint64_t id, const void* data, uint32_t size, uint32_t format);
    // Deletes the point. purge means nothing here (see the working class).
    virtual HRESULT DeleteFeaturePoint(uint64_t id, BOOL purge);
    virtual HRESULT DeleteAllFeaturePoints();
    // A new data object (one reference) from the point's row. E_INVALIDARG
    // for a null out, nulled first; E_FAIL for no row.
    virtual HRESULT GetFeaturePoint(uint64_t id, IZanDB4FaceFeaturePointData** outData);
    // Appends the ids (and the dates, if dates is not null) of the points,
    // in table order, at most limit of them (0: all); a row with id 0 ends
    // the scan. The arrays are not emptied. E_INVALIDARG for null ids;
    // E_FAIL when a statement failed, S_OK otherwise, also with no rows.
    virtual HRESULT ListFeaturePoints(CArray<uint64_t>* ids, CArray<int64_t>* dates, uint32_t limit);
    virtual BOOL HasFeaturePoint(uint64_t id);
    // The number of points; 0 on failure.
    virtual uint32_t GetFeaturePointCount();
    // Copies the point's blob under a new id drawn from idSource into the
    // target factory's set, as format 0. On a failed write the new id goes
    // back to this store's own pool, not to idSource's. Not used by any
    // operation of the library; kept for the application.
    virtual HRESULT CopyFeaturePoint(CSQLiteFaceFeaturePointDBFactory* target, uint64_t id, uint64_t* outNewId,
                                     CSQLiteDBBase* idSource, uint32_t idType);
    // Appends data as one more block of the packed blob at *blob (null to
    // start one). Nothing to append is S_OK. E_OUTOFMEMORY when it cannot
    // grow; the blob is then left as it was.
    static HRESULT AppendBlock(uint8_t** blob, uint32_t* size, const void* data, uint32_t length);
    // Appends the point's blob as one block. E_FAIL for no row; a statement
    // that does not prepare is S_OK with nothing appended.
    virtual HRESULT AppendFeaturePoint(uint8_t** blob, uint32_t* size, uint64_t id);
    // Deletes the store's file (or folder) from the disk. E_FAIL while the
    // store is open; nothing for a store in memory.
    virtual HRESULT DeleteFiles();
    // A new data object from a row of face_feature_point_table.
    static HRESULT ReadFeaturePointRow(IZanDB4FaceFeaturePointData** outData, const zandb4::Statement& row);
    // One malloc'd packed blob of the blocks; the caller frees it with free.
    // A null block with a non-zero size leaves its room uninitialised.
    static HRESULT PackBlocks(const void* const* data, const uint32_t* sizes, uint32_t count, uint8_t** outBlob,
                              uint32_t* outSize);

};

class CSQLiteFaceFeaturePointDBWorking : public CSQLiteFaceFeaturePointDB {
public:
    ~CSQLiteFaceFeaturePointDBWorking() override;

    // Opens the index file, then makes and opens the companion beside it.
    HRESULT Open() override;
    // The base's tables, then face_feature_table in place of the blob table.
    HRESULT CreateTables() override;
    // Commits the index and the companion. Always S_OK.
    HRESULT Commit(bool force) override;
    HRESULT Close() override;

    HRESULT InsertFeaturePoint(uint64_t id, const void* data, uint32_t size, uint32_t format,
                               int64_t packedDate) override;
    HRESULT UpdateFeaturePoint(uint64_t id, const void* data, uint32_t size, uint32_t format) override;
    // With purge, deletes the index row and then the blob; without, marks
    // the point removed and keeps both.
    HRESULT DeleteFeaturePoint(uint64_t id, BOOL purge) override;
    HRESULT DeleteAllFeaturePoints() override;
    HRESULT GetFeaturePoint(uint64_t id, IZanDB4FaceFeaturePointData** outData) override;
    // Live points only.
    HRESULT ListFeaturePoints(CArray<uint64_t>* ids, CArray<int64_t>* dates, uint32_t limit) override;
    BOOL HasFeaturePoint(uint64_t id) override;
    uint32_t GetFeaturePointCount() override;
    HRESULT CopyFeaturePoint(CSQLiteFaceFeaturePointDBFactory* target, uint64_t id, uint64_t* outNewId,
                             CSQLiteDBBase* idSource, uint32_t idType) override;
    HRESULT AppendFeaturePoint(uint8_t** blob, uint32_t* size, uint64_t id) override;
    HRESULT DeleteFiles() override;

    // The blob store; null until Open made it.
    CSQLiteFaceFeaturePointDB* Companion() { return m_companion.get(); }

private:
    std::unique_ptr<CSQLiteFaceFeaturePointDB> m_companion;
};
