// Maintenance across all stores: reading the catalogue's schema version,
// bringing the stores of an older installation up to the current schema,
// compacting them, copying the database folder aside as a backup, and
// counting references that point at rows or files that are gone.
//
// The utility owns no store and keeps no state between calls. Compacting and
// backing up hold the catalogue's lock; upgrading and checking take no lock
// of their own, so the application runs no other database work beside them.
#pragma once

#include "zandb4/forward.h"
#include "zandb4/foundation.h"

// Called during UpgradeDatabases with the progress so far, the value that
// stands for done, and the caller's context. The scale is not continuous: up
// to 50 while log points are migrated, then 100, and 200 when an older log
// store had to be rebuilt first.
typedef void (*ZanDB4UpgradeProgressCallback)(uint32_t current, uint32_t total, void* context);

// The counts of one check for dead links, a snapshot that never changes. A
// getter with one out answers E_INVALIDARG for a null out; a getter with two
// or three fills those that are not null and answers E_INVALIDARG only when
// all are null.
class IZanDB4DeadLinkInfo : public IUnknown {
public:
    // Catalogued files whose path no longer exists; 0 unless files were
    // checked.
    virtual HRESULT GetDeadFileCount(uint32_t* outCount) = 0;
    // Metadata rows without their file.
    virtual HRESULT GetOrphanMetaCount(uint32_t* outCount) = 0;
    // Large metadata rows without their file, over all shards.
    virtual HRESULT GetOrphanLargeMetaCount(uint32_t* outCount) = 0;
    // Two counts kept for later use; always 0.
    virtual HRESULT GetReservedCounts(uint32_t* outCount1, uint32_t* outCount2) = 0;
    // Tag links without their file, and without their tag.
    virtual HRESULT GetOrphanTagLinkCounts(uint32_t* outFileCount, uint32_t* outTagCount) = 0;
    // File thumbnails without their file.
    virtual HRESULT GetOrphanThumbnailCount(uint32_t* outCount) = 0;
    // Edit file entries (files kept for edited images) without their file.
    virtual HRESULT GetOrphanImageFileCount(uint32_t* outCount) = 0;
    // Album thumbnails without their album.
    virtual HRESULT GetOrphanAlbumThumbnailCount(uint32_t* outCount) = 0;
    // Faces without their file (persons' and pets' together), person faces
    // without their person, pet faces without their pet.
    virtual HRESULT GetOrphanFaceCounts(uint32_t* outFileCount, uint32_t* outPersonCount,
                                        uint32_t* outPetCount) = 0;
    // Face thumbnails of persons whose person is gone, and of pets whose pet
    // is gone.
    virtual HRESULT GetOrphanFaceImageCounts(uint32_t* outPersonCount, uint32_t* outPetCount) = 0;
    // Individual thumbnails of persons whose person is gone. The pet count
    // repeats the pet face thumbnail count: individual thumbnails of pets are
    // not examined, and the slot keeps that value.
    virtual HRESULT GetOrphanIconCounts(uint32_t* outPersonCount, uint32_t* outPetCount) = 0;
};

// Maintenance of all stores at once.
class IZanDB4DBUtility : public IUnknown {
public:
    // The catalogue's stored schema version and the version this library
    // writes; both are cleared first and either out may be null. E_FAIL
    // without a catalogue or when both are null.
    virtual HRESULT GetDBVersion(uint32_t* outStoredVersion, uint32_t* outCurrentVersion) = 0;
    // Upgrades every store that is behind, migrating the dates of the GPS
    // logs on the way, the catalogue last. Reports progress to callback (may
    // be null) with context. Failures of single stores are not reported:
    // always S_OK.
    virtual HRESULT UpgradeDatabases(ZanDB4UpgradeProgressCallback callback, void* context) = 0;
    // Compacts the catalogue, and with all set also its thumbnail, metadata
    // and feature point shards. E_FAIL without a catalogue; otherwise the
    // first failure, which ends the run, or S_OK.
    virtual HRESULT CompactDatabases(BOOL all) = 0;
    // Copies the files of the database folder, and its subfolders when
    // includeFolders is set, into folder, or into "database-backup" beside
    // the database folder when folder is null. An existing backup first moves
    // to the same path with "2" appended, replacing the one there. Nothing is
    // committed first. S_OK, E_FAIL, E_OUTOFMEMORY, or the non-zero code of a
    // failed copy, which leaves the backup partial.
    virtual HRESULT BackupDatabases(const WCHAR* folder, BOOL includeFolders) = 0;
    // Counts the dead links into a new info object with one reference for the
    // caller; checkFiles also tests every catalogued file on disk.
    // E_INVALIDARG for a null out, which is cleared first.
    virtual HRESULT CheckDeadLinks(IZanDB4DeadLinkInfo** outInfo, BOOL checkFiles) = 0;
    // Not implemented: answers E_NOTIMPL whatever it is given.
    virtual HRESULT RepairDeadLinks(IZanDB4DeadLinkInfo* info) = 0;
};
