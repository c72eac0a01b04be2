// DatabaseRegistry: the process-wide pointers to every open store, written
// only by ZanDB4_Initialize and ZanDB4_Finalize and read without a lock by
// the factory. The registry owns what they point to; managers borrow it.
//
// initCount is a plain integer on purpose: the three lifetime functions must
// not overlap any other call, and a Finalize on a library that is down takes
// the count below 0, which the next Initialize only brings back to 0.
#pragma once

#include <cstdint>

#include "frame/file_record_cache.h"

class CSQLiteAccessLogDB;
class CSQLiteAppLogDataDB;
class CSQLiteAsyncDB;
class CSQLiteFaceFeaturePointDBMgr;
class CSQLiteFileBasicDB;
class CSQLiteGPSLogDB;
class CSQLiteMemDB;
class CSQLiteMetaDataDBFactory;
class CSQLiteThumbDBMgr;

namespace zandb4::DatabaseRegistry {

inline int32_t initCount = 0;

// The catalogue, "FileBasic.db": made first, closed last.
inline CSQLiteFileBasicDB* fileBasicDB = nullptr;

// The staging store, "FileBasicAsync.db": new files and faces wait here
// until they move into the catalogue.
inline CSQLiteAsyncDB* asyncDB = nullptr;

// The GPS track logs and their points, "Location.db".
inline CSQLiteGPSLogDB* gpsLogDB = nullptr;

// The application's keyed memos, "Memory.db".
inline CSQLiteMemDB* memDB = nullptr;

// The application's usage statistics, "UserLog.db".
inline CSQLiteAccessLogDB* accessLogDB = nullptr;

// The application's own log, "information"/"appcahce.db": the one store
// outside the database folder, made after all others and closed ahead of
// the catalogue's commit.
inline CSQLiteAppLogDataDB* appLogDB = nullptr;

// The seven thumbnail families, each with a folder "<name>_0s" for kind 1
// and "<name>_1s" for kind 2: files, person and pet icons (individuals),
// person and pet faces, albums, face groups.
inline CSQLiteThumbDBMgr* thumbMgr = nullptr;
inline CSQLiteThumbDBMgr* psniThumbMgr = nullptr;
inline CSQLiteThumbDBMgr* ptiThumbMgr = nullptr;
inline CSQLiteThumbDBMgr* psnfThumbMgr = nullptr;
inline CSQLiteThumbDBMgr* ptfThumbMgr = nullptr;
inline CSQLiteThumbDBMgr* albmThumbMgr = nullptr;
inline CSQLiteThumbDBMgr* grfThumbMgr = nullptr;

// The two feature point families: persons ("rfpw", "rfpg", "rfpi") and
// pets ("tfpw", "tfpg", "tfpi").
inline CSQLiteFaceFeaturePointDBMgr* rfpMgr = nullptr;
inline CSQLiteFaceFeaturePointDBMgr* tfpMgr = nullptr;

// The large-metadata shards, folder "meta".
inline CSQLiteMetaDataDBFactory* metaFactory = nullptr;

// The live file records by file id; made once per start, reference counted.
// The pointer is the frame's slot, which records and stores use directly.
inline FileRecordCache*& fileRecordCache = g_fileRecordCache;

}  // namespace zandb4::DatabaseRegistry
