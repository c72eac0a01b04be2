// Value objects that carry images, or the names of image files, between the
// application and the stores: a thumbnail held in memory, the file kept on
// disk for an edited image with its filter data, and the path of a cached
// main image. None of them is linked to a store; they are filled by the
// caller or by a store's row reader and handed back and forth by reference.
// They hold no lock: one thread at a time works on one object.
#pragma once

#include "zandb4/forward.h"
#include "zandb4/foundation.h"

// A thumbnail in memory: its bytes, its update date and a source identifier.
// The thumbnail shards take their bytes from it and fill a new one on a read.
class IZanDB4FileCache : public IUnknown {
public:
    // Copies size bytes from data into a buffer of the object's own. Passing
    // the pointer the object already holds changes nothing (the size is then
    // ignored); otherwise the old buffer is freed first, and a null pointer
    // or a size of 0 leaves the object empty. E_OUTOFMEMORY if the copy
    // cannot be allocated.
    virtual HRESULT SetData(const void* data, uint32_t size) = 0;
    // The object's own buffer, null when empty. It stays the object's and
    // lives as long as the object or until the next SetData.
    virtual const void* GetData() = 0;
    // The number of bytes in the buffer.
    virtual uint32_t GetSize() = 0;
    // Copies the update date out. E_INVALIDARG for a null out.
    virtual HRESULT GetUpdateDate(SYSTEMTIME* outDate) = 0;
    // Stores the source identifier.
    virtual HRESULT SetSourceID(uint64_t sourceId) = 0;
    // E_INVALIDARG for a null out.
    virtual HRESULT GetSourceID(uint64_t* outSourceId) = 0;

protected:
    // Frees the buffer. Objects go by their last Release only.
    virtual ~IZanDB4FileCache() = default;

public:
    // Copies the date in.
    virtual void SetUpdateDate(const CZanTDateTime& date) = 0;
};

// One row of image_file_table: the file kept on disk for an edited image,
// its type, and the filter data that goes with it.
class IZanDB4EditFileCache : public IUnknown {
public:
    // Store and give back the file id; the getter answers E_INVALIDARG for
    // a null out.
    virtual HRESULT SetFileID(uint64_t fileId) = 0;
    virtual HRESULT GetFileID(uint64_t* outFileId) = 0;
    // Store and give back the image file type, an opaque value of the
    // application; the getter writes through its pointer.
    virtual HRESULT SetImageFileType(uint32_t imageFileType) = 0;
    virtual HRESULT GetImageFileType(uint32_t* outImageFileType) = 0;
    // Copies the path in.
    virtual HRESULT SetImageFilePath(const WCHAR* imageFilePath) = 0;
    // Copies the path out. E_FAIL when it is empty; the empty string has
    // been written by then.
    virtual HRESULT GetImageFilePath(CZanTString& outImageFilePath) = 0;
    // Frees the old filter data and copies size bytes from data. Always S_OK:
    // if the copy cannot be allocated the object holds a null buffer while
    // the size stays set.
    virtual HRESULT SetFilterData(const void* data, uint32_t size) = 0;
    // Points *outData at the object's own buffer (valid while the object
    // lives and its data is not replaced) and writes the size. Either out may
    // be null, not both (E_INVALIDARG). E_FAIL when the pointer is asked for
    // and there is no data.
    virtual HRESULT GetFilterData(const void** outData, uint32_t* outSize) = 0;
    // Store and give back the orientation of the filter data, kept as 16
    // bits; the getter writes through its pointer.
    virtual HRESULT SetFilterDataOrientation(uint16_t orientation) = 0;
    virtual HRESULT GetFilterDataOrientation(uint16_t* outOrientation) = 0;

protected:
    // Frees the filter data. Objects go by their last Release only.
    virtual ~IZanDB4EditFileCache() = default;

public:
};

// One row of main_image_cache_file_table: the path of a cached main image
// of a file, with its type.
class IZanDB4MainImageCache : public IUnknown {
public:
    // Store and give back the file id and the file type, an opaque value of
    // the application; the getters write through their pointers.
    virtual HRESULT SetFileID(uint64_t fileId) = 0;
    virtual HRESULT GetFileID(uint64_t* outFileId) = 0;
    virtual HRESULT SetFileType(uint32_t fileType) = 0;
    virtual HRESULT GetFileType(uint32_t* outFileType) = 0;
    // Copies the path in.
    virtual HRESULT SetFilePath(const WCHAR* filePath) = 0;
    // Copies the path out. E_FAIL when it is empty; the empty string has
    // been written by then.
    virtual HRESULT GetFilePath(CZanTString& outFilePath) = 0;

protected:
    // Objects go by their last Release only.
    virtual ~IZanDB4MainImageCache() = default;

public:
};
