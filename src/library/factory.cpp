// ZanDB4_CreateInstance: managers and blank records by interface identifier.
//
// The identifiers are compared in a fixed order. A row whose class is not
// part of this build answers like an identifier the factory does not know:
// E_NOINTERFACE with a null out. Each made object starts with one reference
// for the caller and the registry's store pointers as they stand now.
#include "frame/factory.h"

#include <new>

#include "albums/album_db_mgr.h"
#include "albums/album_db_record.h"
#include "albums/import_db_record.h"
#include "albums/import_mgr.h"
#include "albums/tag_db_mgr.h"
#include "albums/tag_db_record.h"
#include "catalogue/file_basic_db.h"
#include "catalogue/file_db_mgr.h"
#include "faces/face_db_mgr.h"
#include "faces/face_db_record.h"
#include "faces/individual_db_record.h"
#include "faces/individual_group_db_record.h"
#include "gps/gps_log_db_mgr.h"
#include "gps/gps_log_db_record.h"
#include "gps/gps_log_file_record.h"
#include "library/database_registry.h"
#include "logs/access_log_mgr.h"
#include "logs/app_log_mgr.h"
#include "logs/memory_data_mgr.h"
#include "records/file_db_record.h"
#include "records/file_large_meta_data.h"
#include "records/file_meta_db_record.h"
#include "records/query_mgr.h"
#include "shards/edit_file_cache.h"
#include "shards/file_cache.h"
#include "shards/main_image_cache.h"
#include "zandb4/exports.h"
#include "zandb4/identifiers.h"

namespace zandb4 {
namespace {

struct FactoryRow {
    const IID* iid;
    // Makes the object with its store pointers; null while the class is not
    // part of the library.
    IUnknown* (*make)();
};

// In the order the factory compares them.
const FactoryRow kFactoryRows[] = {
    {&IID_IZanDB4FileDBMgr,
     [] () -> IUnknown* {
         return new CZanDB4FileDBMgr(DatabaseRegistry::fileBasicDB, DatabaseRegistry::asyncDB,
                                     DatabaseRegistry::metaFactory, DatabaseRegistry::thumbMgr);
     }},
    {&IID_IZanDB4FileDBRecord, [] () -> IUnknown* { return new CZanDB4FileDBRecord(DatabaseRegistry::fileBasicDB); }},
    {&IID_IZanDB4QueryMgr, [] () -> IUnknown* { return new CZanDB4DBQueryMgr(); }},
    {&IID_IZanDB4AlbumDBRecord, [] () -> IUnknown* { return new CZanDB4AlbumDBRecord(DatabaseRegistry::fileBasicDB); }},
    {&IID_IZanDB4AlbumDBMgr,
     [] () -> IUnknown* {
         return new CZanDB4AlbumDBMgr(DatabaseRegistry::fileBasicDB, DatabaseRegistry::albmThumbMgr,
                                      DatabaseRegistry::asyncDB);
     }},
    {&IID_IZanDB4TagDBMgr, [] () -> IUnknown* { return new CZanDB4TagDBMgr(DatabaseRegistry::fileBasicDB); }},
    {&IID_IZanDB4TagDBRecord, [] () -> IUnknown* { return new CZanDB4TagDBRecord(); }},
    {&IID_IZanDB4FileMetaDBRecord, [] () -> IUnknown* { return new CZanDB4FileMetaDBRecord(); }},
    {&IID_IZanDB4DBUtility, nullptr},
    {&IID_IZanDB4EditFileCache, [] () -> IUnknown* { return new CZanDB4EditFileCache(); }},
    {&IID_IZanDB4FileLargeMetaData, [] () -> IUnknown* { return new CZanDB4FileLargeMetaData(); }},
    {&IID_IZanDB4FaceDBRecord, [] () -> IUnknown* { return new CZanDB4FaceDBRecord(); }},
    {&IID_IZanDB4IndividualDBRecord,
     [] () -> IUnknown* { return new CZanDB4IndividualDBRecord(DatabaseRegistry::fileBasicDB); }},
    {&IID_IZanDB4IndividualGroupDBRecord, [] () -> IUnknown* { return new CZanDB4IndividualGroupDBRecord(); }},
    {&IID_IZanDB4FaceDBMgr,
     [] () -> IUnknown* {
         FaceStores stores;
         stores.catalogue = DatabaseRegistry::fileBasicDB;
         stores.staging = DatabaseRegistry::asyncDB;
         stores.personIcons = DatabaseRegistry::psniThumbMgr;
         stores.petIcons = DatabaseRegistry::ptiThumbMgr;
         stores.personFaces = DatabaseRegistry::psnfThumbMgr;
         stores.petFaces = DatabaseRegistry::ptfThumbMgr;
         stores.personPoints = DatabaseRegistry::rfpMgr;
         stores.petPoints = DatabaseRegistry::tfpMgr;
         stores.groupThumbnails = DatabaseRegistry::grfThumbMgr;
         return new CZanDB4FaceDBMgr(stores);
     }},
    {&IID_IZanDB4FileCache, [] () -> IUnknown* { return new CZanDB4FileCache(); }},
    {&IID_IZanDB4ImportDBMgr, [] () -> IUnknown* { return new CZanDB4ImportMgr(DatabaseRegistry::fileBasicDB); }},
    {&IID_IZanDB4ImportDBRecord, [] () -> IUnknown* { return new CZanDB4ImportDBRecord(); }},
    {&IID_IZanDB4MainImageCache, [] () -> IUnknown* { return new CZanDB4MainImageCache(); }},
    {&IID_IZanDB4GPSLogDBRecord, [] () -> IUnknown* { return new CZanDB4GPSLogDBRecord(); }},
    {&IID_IZanDB4GPSLogFileRecord, [] () -> IUnknown* { return new CZanDB4GPSLogFileRecord(); }},
    {&IID_IZanDB4GPSLogDBMgr, [] () -> IUnknown* { return new CZanDB4GPSLogDBMgr(DatabaseRegistry::gpsLogDB); }},
    {&IID_IZanDB4MemoryDataMgr, [] () -> IUnknown* { return new CZanDB4MemoryDataMgr(DatabaseRegistry::memDB); }},
    {&IID_IZanDB4AccessLogDBMgr,
     [] () -> IUnknown* { return new CZanDB4AccessLogDBMgr(DatabaseRegistry::accessLogDB); }},
    {&IID_IZanDB4AppLogDBMgr, [] () -> IUnknown* { return new CZanDB4AppLogDBMgr(DatabaseRegistry::appLogDB); }},
};

}  // namespace

HRESULT CreateInstance(const IID& iid, void** out) {
    if (DatabaseRegistry::initCount <= 0) return E_FAIL;
    for (const FactoryRow& row : kFactoryRows) {
        if (*row.iid != iid) continue;
        if (row.make == nullptr) break;
        try {
            *out = row.make();
        } catch (const std::bad_alloc&) {
            *out = nullptr;
            return E_OUTOFMEMORY;
        }
        return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
}

}  // namespace zandb4

extern "C" HRESULT ZanDB4_CreateInstance(const IID* iid, void** out) { return zandb4::CreateInstance(*iid, out); }
