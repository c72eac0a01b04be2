// Forward declarations of every ZanDB4 interface, so that the interface
// headers can name each other in any order.
#pragma once

class IZanDB4FileDBMgr;
class IZanDB4FileDBRecord;
class IZanDB4QueryMgr;
class IZanDB4QueryNode;
class IZanDB4AlbumDBRecord;
class IZanDB4AlbumDBMgr;
class IZanDB4TagDBMgr;
class IZanDB4TagDBRecord;
class IZanDB4FileMetaDBRecord;
class IZanDB4DBUtility;
class IZanDB4DeadLinkInfo;
class IZanDB4EditFileCache;
class IZanDB4FileLargeMetaData;
class IZanDB4FaceDBRecord;
class IZanDB4FaceFeaturePointData;
class IZanDB4FaceFeaturePointGroup;
class IZanDB4IndividualDBRecord;
class IZanDB4IndividualGroupDBRecord;
class IZanDB4FaceDBMgr;
class IZanDB4FileCache;
class IZanDB4ImportMgr;
class IZanDB4ImportDBRecord;
class IZanDB4MainImageCache;
class IZanDB4GPSLogDBRecord;
class IZanDB4GPSLogFileRecord;
class IZanDB4GPSLogDBMgr;
class IZanDB4MemoryDataMgr;
class IZanDB4AccessLogDBMgr;
class IZanDB4AppLogDBMgr;
class IZanDB4MemRecord;
class IZanDB4TethraImportFileMgr;
class IZanDB4TethraImportFileRecord;
