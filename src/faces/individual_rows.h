// IndividualRows: the rows of person_table and pet_table, of their group
// item tables and of face_group_table, over the catalogue's connection:
// insert, update, the delete with its cascade, the reads and the ordered
// lists, the user's own order, and file_count. Made on the stack for a
// call: it borrows the store, and the caller holds the store's lock.
//
// Persons and pets are one code path: type 1 picks the person statement,
// type 2 the pet one, and another type is E_INVALIDARG. Where the two twins
// were written differently in files and code that the application relies
// on, the difference is kept; each such place says so.
//
// Writers open the store's transaction and none commits.
#pragma once

#include <set>

#include "catalogue/file_basic_db.h"
#include "zandb4/faces.h"

namespace zandb4 {
class Statement;
}

class IndividualRows {
public:
    // Orders of the lists of individuals.
    static constexpr uint32_t kTableOrder = 1;
    static constexpr uint32_t kByName = 2;
    static constexpr uint32_t kByRegistration = 3;
    // By the user's order, those without a place last.
    static constexpr uint32_t kByCustomIndex = 4;

    explicit IndividualRows(CSQLiteFileBasicDB& store) : m_store(store) {}

    // A new individual record bound to the open catalogue, filled from the
    // row: id, name, email, birthday, file_count, attributes, recommend.
    // register_date and custom_index stay in the table.
    static HRESULT ReadIndividualRow(IZanDB4IndividualDBRecord** outRecord, const zandb4::Statement& row,
                                     uint32_t type);
    // A new group record filled from a face_group_table row.
    static HRESULT ReadFaceGroupRow(IZanDB4IndividualGroupDBRecord** outRecord, const zandb4::Statement& row);

    // Inserts the record as individual id of the record's own type, with
    // the moment of the call as its register_date and no custom place.
    // E_INVALIDARG for a null record or a type other than 1 or 2.
    HRESULT InsertIndividual(uint64_t id, IZanDB4IndividualDBRecord* record);
    // Writes name, email, birthday, attributes and recommend of the record
    // into the row of id; type chooses the table, not the record. An id
    // without a row is S_OK. The record's group set is not looked at.
    HRESULT UpdateIndividual(uint64_t id, IZanDB4IndividualDBRecord* record, uint32_t type);
    // The cascade: the individual's faces go back to nobody (person_id 0),
    // its group items go, then its row; the id is pooled when the row went
    // and nothing failed, and it is taken out of the recount notes.
    HRESULT DeleteIndividual(uint64_t id, uint32_t type);
    // E_INVALIDARG for a null out (nulled first otherwise); E_FAIL for no row.
    HRESULT LoadIndividual(uint64_t id, uint32_t type, IZanDB4IndividualDBRecord** outRecord);

    // The lists. The array is emptied first (its records are the caller's,
    // not released here) and filled in the order asked for; E_FAIL when it
    // ends empty, as on a failed statement.
    HRESULT ListIndividuals(uint32_t type, CArray<IZanDB4IndividualDBRecord*>& outRecords, uint32_t order);
    HRESULT ListIndividualsInAlbum(uint64_t albumId, uint32_t type, CArray<IZanDB4IndividualDBRecord*>& outRecords,
                                   uint32_t order);
    HRESULT ListIndividualsInFaceGroup(uint64_t groupId, uint32_t type,
                                       CArray<IZanDB4IndividualDBRecord*>& outRecords, uint32_t order);
    HRESULT ListIndividualsInFile(uint64_t fileId, uint32_t type, CArray<IZanDB4IndividualDBRecord*>& outRecords,
                                  uint32_t order);
    // Every id of the table in table order; E_FAIL when there is none.
    HRESULT ListIndividualIDs(uint32_t type, CArray<uint64_t>& outIds);

    // The groups of the individual, into a set emptied first. Pets read
    // their group items; E_FAIL when none or a statement failed. For a
    // person the statement is prepared and left open on the connection, and
    // the answer is E_INVALIDARG with the set empty: the group set of a
    // person has always read as empty, and stays so.
    HRESULT LoadIndividualGroupIDs(std::set<uint64_t>& outGroupIds, uint64_t id, uint32_t type);

    // Writes file_count of the individual.
    HRESULT SetIndividualFileCount(uint64_t id, uint32_t type, uint32_t count);

    // Numbers the records' individuals 1, 2, 3... in array order after
    // clearing every place of the type; null entries take no number (a
    // record with id 0 takes one, and its update touches no row). An empty
    // array just clears. E_FAIL when an update failed (the others are
    // written).
    HRESULT SetCustomOrder(uint32_t type, const CArray<IZanDB4IndividualDBRecord*>& records);
    // Every individual of the type loses its place.
    HRESULT ClearCustomOrder(uint32_t type);

    // E_INVALIDARG for a null out (nulled first otherwise); E_FAIL for no row.
    HRESULT LoadFaceGroup(uint64_t groupId, IZanDB4IndividualGroupDBRecord** outRecord);

private:
    // Runs sql (with the order suffix) binding bound as its one parameter
    // unless it is null, and fills the array by the order rule.
    HRESULT List(const WCHAR* sql, const uint64_t* bound, uint32_t type,
                 CArray<IZanDB4IndividualDBRecord*>& outRecords, uint32_t order);

    CSQLiteFileBasicDB& m_store;
};
