// FaceTableRows: the face rows of person_face_table and pet_face_table that
// the file store reads and deletes along with a file (CSQLiteFileBasicDB's
// LoadFace, DeleteFace, DeleteFacesOfFile, and the rectangle packing), over
// the catalogue's connection. Made on the stack for a call: it borrows the
// store. Persons and pets are one code path; type 1 picks the person
// statement, type 2 the pet one.
//
// Deletes open the store's transaction and note the face's individual for
// the recount at the next Commit. The caller holds the store's lock.
#pragma once

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

    HRESULT LoadFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord** outRecord);
    // Deletes one face and notes its individual for the recount; a missing
    // row is S_OK.
    HRESULT DeleteFace(uint64_t faceId, uint32_t type);
    // Deletes every person face, then every pet face of the file, in
    // ascending face id, stopping at the first failure.
    HRESULT DeleteFacesOfFile(uint64_t fileId);

private:
    CSQLiteFileBasicDB& m_store;
};
