// Interface identifiers. 29 are exported data symbols of the library; the
// last three belong to interfaces that only the library itself hands out and
// are not exported, so they stand here as constants.
#pragma once

#include "zandb4/types.h"

extern "C" {
ZANDB4_API extern const IID IID_IZanDB4FileDBMgr;
ZANDB4_API extern const IID IID_IZanDB4FileDBRecord;
ZANDB4_API extern const IID IID_IZanDB4QueryMgr;
ZANDB4_API extern const IID IID_IZanDB4QueryNode;
ZANDB4_API extern const IID IID_IZanDB4AlbumDBRecord;
ZANDB4_API extern const IID IID_IZanDB4AlbumDBMgr;
ZANDB4_API extern const IID IID_IZanDB4TagDBMgr;
ZANDB4_API extern const IID IID_IZanDB4TagDBRecord;
ZANDB4_API extern const IID IID_IZanDB4FileMetaDBRecord;
ZANDB4_API extern const IID IID_IZanDB4DBUtility;
ZANDB4_API extern const IID IID_IZanDB4DeadLinkInfo;
ZANDB4_API extern const IID IID_IZanDB4EditFileCache;
ZANDB4_API extern const IID IID_IZanDB4FileLargeMetaData;
ZANDB4_API extern const IID IID_IZanDB4FaceDBRecord;
ZANDB4_API extern const IID IID_IZanDB4FaceFeaturePointData;
ZANDB4_API extern const IID IID_IZanDB4FaceFeaturePointGroup;
ZANDB4_API extern const IID IID_IZanDB4IndividualDBRecord;
ZANDB4_API extern const IID IID_IZanDB4IndividualGroupDBRecord;
ZANDB4_API extern const IID IID_IZanDB4FaceDBMgr;
ZANDB4_API extern const IID IID_IZanDB4FileCache;
// The identifier of IZanDB4ImportMgr, exported under this name.
ZANDB4_API extern const IID IID_IZanDB4ImportDBMgr;
ZANDB4_API extern const IID IID_IZanDB4ImportDBRecord;
ZANDB4_API extern const IID IID_IZanDB4MainImageCache;
ZANDB4_API extern const IID IID_IZanDB4GPSLogDBRecord;
ZANDB4_API extern const IID IID_IZanDB4GPSLogFileRecord;
ZANDB4_API extern const IID IID_IZanDB4GPSLogDBMgr;
ZANDB4_API extern const IID IID_IZanDB4MemoryDataMgr;
ZANDB4_API extern const IID IID_IZanDB4AccessLogDBMgr;
ZANDB4_API extern const IID IID_IZanDB4AppLogDBMgr;
}  // extern "C"


inline constexpr IID IID_IZanDB4MemRecord = {0x0DE3AEEE, 0x5F9F, 0x4205, {0xA5, 0x8D, 0xCD, 0xCB, 0xBB, 0x12, 0xAE, 0xDC}};
inline constexpr IID IID_IZanDB4TethraImportFileMgr = {0x56390D8E, 0xE42A, 0x4831, {0xB6, 0x81, 0x3A, 0x99, 0xCF, 0x4B, 0x3B, 0x11}};
inline constexpr IID IID_IZanDB4TethraImportFileRecord = {0xE6ED0597, 0xC1B4, 0x458C, {0xB8, 0x9A, 0x77, 0x3A, 0xDD, 0xD6, 0x74, 0x0E}};
