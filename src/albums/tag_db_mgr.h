// CZanDB4TagDBMgr: the application's door to the catalogue's tags. It
// borrows the catalogue store from the registry and holds the store's lock
// for each operation but Commit and Rollback, which hand straight to the
// store. Which files carry a tag is written by the file store from the file
// record's tag set, not here.
#pragma once

#include "frame/com_object.h"
#include "zandb4/albums.h"
#include "zandb4/identifiers.h"

class CSQLiteFileBasicDB;

class CZanDB4TagDBMgr : public zandb4::ComObject<IZanDB4TagDBMgr, IID_IZanDB4TagDBMgr> {
public:
    explicit CZanDB4TagDBMgr(CSQLiteFileBasicDB* fileBasicDB) : m_fileBasicDB(fileBasicDB) {}

    HRESULT AddTag(IZanDB4TagDBRecord* record, uint64_t* outId) override;
    HRESULT UpdateTag(uint64_t tagId, IZanDB4TagDBRecord* record) override;
    HRESULT DeleteTag(uint64_t tagId) override;
    HRESULT GetTag(uint64_t tagId, IZanDB4TagDBRecord** outRecord) override;
    uint32_t GetTagCount() override;
    HRESULT GetTagIDs(CArray<uint64_t>* outIds) override;
    HRESULT GetTags(CArray<IZanDB4TagDBRecord*>* outTags) override;
    HRESULT Commit() override;
    HRESULT Rollback() override;

private:
    CSQLiteFileBasicDB* m_fileBasicDB;
};
