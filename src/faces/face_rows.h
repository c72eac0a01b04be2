// FaceTableRows: the rows of person_face_table and pet_face_table over the
// catalogue's connection: insert, update, delete, the reads by face and by
// file, the dead-link counts, and the packing of the rectangle. Made on the
// stack for a call: it borrows the store. Persons and pets are one code
// path; type 1 picks the person statement, type 2 the pet one, and any
// other type is E_INVALIDARG (or false and 0 where the answer is a truth or
// a count).
//
// Writers open the store's transaction and note the individuals whose faces
// changed for the file_count recount at the next Commit; none commits. The
// caller holds the store's lock.
#pragma once

#include <vector>

#include "catalogue/file_basic_db.h"
#include "zandb4/faces.h"

namespace zandb4 {
class Statement;
}

class FaceTableRows {
public:
    explicit FaceTableRows(CSQLiteFileBasicDB& store) : m_store(store) {}

    // The rectangle as one 64-bit value: left, top, width, height in 16 bits
    // each from the top, ORed without masks.
    static int64_t PackRect(const RECT& rect);
    static RECT UnpackRect(int64_t packed);
    // A face record from the row, reading the face columns from firstColumn.
    static HRESULT ReadFaceRow(IZanDB4FaceDBRecord** outRecord, const zandb4::Statement& row, uint32_t type,
                               int firstColumn);

    // Inserts the face under faceId with the record's rectangle, individual
    // and file, and notes the individual for the recount even when the
    // insert failed (the row may be there from before). E_INVALIDARG for a
    // null record; E_FAIL when the step or its finalize failed.
    HRESULT InsertFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord* record);
    // InsertFace for every entry, with the entry's own id and type. Null
    // entries are skipped; a failure does not stop the loop, and makes the
    // answer E_FAIL. An empty list opens no transaction.
    HRESULT InsertFaces(const std::vector<IZanDB4FaceDBRecord*>& records);
    // Rewrites the face's rectangle, individual and file. E_FAIL at once for
    // a face that is not in the catalogue, so that the caller can try the
    // staging store. Notes both the old and the new individual.
    HRESULT UpdateFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord* record);
    // E_INVALIDARG for a null out (nulled first otherwise); E_FAIL for no row.
    HRESULT LoadFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord** outRecord);
    bool FaceExists(uint64_t faceId, uint32_t type);
    // Every face of the file, one new record each. The array is emptied
    // first (its records are not released: they are the caller's); E_FAIL
    // when it ends empty, as on a failed statement.
    HRESULT GetFacesInFile(uint64_t fileId, uint32_t type, CArray<IZanDB4FaceDBRecord*>& outRecords);
    // The number of faces whose file, or individual, is none of the ids; 0
    // on any failure. For the dead-link check.
    uint32_t CountFacesOutsideFiles(uint32_t type, const CZanTArray<uint64_t>& fileIds);
    uint32_t CountFacesOutsideIndividuals(uint32_t type, const CZanTArray<uint64_t>& individualIds);
    // Deletes one face and notes its individual for the recount; a missing
    // row is S_OK.
    HRESULT DeleteFace(uint64_t faceId, uint32_t type);
    // Deletes every person face, then every pet face of the file, in
    // ascending face id, stopping at the first failure.
    HRESULT DeleteFacesOfFile(uint64_t fileId);

private:
    CSQLiteFileBasicDB& m_store;
};
