// CZanDB4ImportMgr: the application's door to the import journal of the
// catalogue. It borrows the catalogue store from the registry and holds the
// store's lock for the whole of each operation; changes stay in the
// catalogue's open transaction until Commit or Rollback.
#pragma once

#include "frame/com_object.h"
#include "zandb4/albums.h"
#include "zandb4/identifiers.h"

class CSQLiteFileBasicDB;

class CZanDB4ImportMgr : public zandb4::ComObject<IZanDB4ImportMgr, IID_IZanDB4ImportDBMgr> {
public:
    explicit CZanDB4ImportMgr(CSQLiteFileBasicDB* fileBasicDB) : m_fileBasicDB(fileBasicDB) {}

    HRESULT AddImportHistory(IZanDB4ImportDBRecord* record) override;
    HRESULT UpdateImportHistory(IZanDB4ImportDBRecord* record) override;
    HRESULT GetLatestImportHistory(IZanDB4ImportDBRecord** outRecord) override;
    HRESULT GetImportHistories(CArray<IZanDB4ImportDBRecord*>* outRecords) override;
    HRESULT DeleteImportHistory(IZanDB4ImportDBRecord* record) override;
    HRESULT ClearImportHistory() override;
    HRESULT Commit() override;
    HRESULT Rollback() override;

private:
    // Runs operation under the catalogue's lock; E_FAIL when the manager was
    // made while the library had no catalogue.
    template <class Operation>
    HRESULT Locked(Operation&& operation);

    CSQLiteFileBasicDB* m_fileBasicDB;
};
