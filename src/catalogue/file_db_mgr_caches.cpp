// CZanDB4FileDBMgr: thumbnails of both kinds, the edit and main image
// caches, large metadata, and the lock a client may hold across calls.
#include <cstdlib>

#include "catalogue/file_basic_db.h"
#include "catalogue/file_db_mgr.h"
#include "frame/com_ptr.h"
#include "frame/critical_section.h"
#include "frame/factory.h"
#include "platform/files.h"
#include "shards/edit_file_cache_rows.h"
#include "shards/main_image_cache_rows.h"
#include "shards/meta_data_db_factory.h"
#include "shards/thumb_db_mgr.h"
#include "shards/thumbnail_kind_call.h"

using zandb4::ComPtr;

namespace {

// Runs operation by the kind rule: a kind other than 1 or 2, or a family
// without that factory, answers invalidKind; otherwise the catalogue's lock,
// then the factory's, are held around it.
template <class Result, class Operation>
Result KindCall(CSQLiteFileBasicDB* catalogue, CSQLiteThumbDBMgr* family, uint32_t kind, Result invalidKind,
                Result closedAnswer, Operation&& operation) {
    if (catalogue == nullptr) return closedAnswer;
    return zandb4::ThumbnailKindCall(*catalogue, family, kind, invalidKind, operation);
}

}  // namespace

HRESULT CZanDB4FileDBMgr::AddThumbnailFromCache(uint64_t fileId, uint32_t kind, IZanDB4FileCache* cache) {
    return KindCall(m_fileBasicDB, m_thumbMgr, kind, E_INVALIDARG, E_FAIL, [&](CSQLiteThumbDBFactory& factory) {
        return factory.AddThumbnailFromCache(fileId, cache);
    });
}

HRESULT CZanDB4FileDBMgr::AddThumbnail(uint64_t fileId, uint32_t kind, const void* data, uint32_t size) {
    return KindCall(m_fileBasicDB, m_thumbMgr, kind, E_INVALIDARG, E_FAIL, [&](CSQLiteThumbDBFactory& factory) {
        return factory.AddThumbnail(fileId, data, size);
    });
}

HRESULT CZanDB4FileDBMgr::UpdateThumbnailFromCache(uint64_t fileId, uint32_t kind, IZanDB4FileCache* cache) {
    return KindCall(m_fileBasicDB, m_thumbMgr, kind, E_INVALIDARG, E_FAIL, [&](CSQLiteThumbDBFactory& factory) {
        return factory.UpdateThumbnailFromCache(fileId, cache);
    });
}

HRESULT CZanDB4FileDBMgr::UpdateThumbnail(uint64_t fileId, uint32_t kind, const void* data, uint32_t size) {
    return KindCall(m_fileBasicDB, m_thumbMgr, kind, E_INVALIDARG, E_FAIL, [&](CSQLiteThumbDBFactory& factory) {
        return factory.UpdateThumbnail(fileId, data, size);
    });
}

HRESULT CZanDB4FileDBMgr::DeleteThumbnail(uint64_t fileId, uint32_t kind) {
    return KindCall(m_fileBasicDB, m_thumbMgr, kind, E_INVALIDARG, E_FAIL,
                    [&](CSQLiteThumbDBFactory& factory) { return factory.DeleteThumbnail(fileId); });
}

HRESULT CZanDB4FileDBMgr::GetThumbnail(uint64_t fileId, uint32_t kind, IZanDB4FileCache** outCache) {
    return KindCall(m_fileBasicDB, m_thumbMgr, kind, E_INVALIDARG, E_FAIL, [&](CSQLiteThumbDBFactory& factory) {
        return factory.GetThumbnail(fileId, outCache);
    });
}

BOOL CZanDB4FileDBMgr::HasThumbnail(uint64_t fileId, uint32_t kind) {
    return KindCall(m_fileBasicDB, m_thumbMgr, kind, static_cast<BOOL>(0), static_cast<BOOL>(0),
                    [&](CSQLiteThumbDBFactory& factory) { return factory.HasThumbnail(fileId); });
}

void CZanDB4FileDBMgr::DeleteFactoryFolder(CSQLiteThumbDBFactory* factory) {
    if (factory == nullptr) return;
    CriticalSectionGuard guard(factory->m_lock);
    factory->CloseShards();
    CZanTString folder = factory->Folder();
    if (folder.IsEmpty()) return;
    // A path that is not there reads as all bits set, folder bit included.
    if (zandb4::platform::GetFileAttributes(folder.ToUtf8()) & zandb4::platform::kAttributeDirectory)
        folder.DeleteFolder();
    else
        zandb4::platform::DeleteFile(folder.ToUtf8());
}

HRESULT CZanDB4FileDBMgr::DeleteThumbnailFolders() {
    Locked(S_OK, [&](CSQLiteFileBasicDB&) {
        // Each factory twice, as the family's four folder names come in two
        // pairs; the second pass finds nothing left.
        for (uint32_t kind : {1u, 1u, 2u, 2u}) DeleteFactoryFolder(ThumbnailFactory(kind));
        return S_OK;
    });
    return S_OK;
}

HRESULT CZanDB4FileDBMgr::DeleteThumbnailFolder(uint32_t kind) {
    if (kind != 1 && kind != 2) return S_OK;
    Locked(S_OK, [&](CSQLiteFileBasicDB&) {
        DeleteFactoryFolder(ThumbnailFactory(kind));
        DeleteFactoryFolder(ThumbnailFactory(kind));
        return S_OK;
    });
    return S_OK;
}

HRESULT CZanDB4FileDBMgr::GetThumbnailFolder(uint32_t kind, CZanTString& outFolder) {
    // No lock: the folder is fixed when the family is made.
    CSQLiteThumbDBFactory* factory = ThumbnailFactory(kind);
    if (factory == nullptr) return E_FAIL;
    outFolder = factory->Folder();
    return outFolder.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT CZanDB4FileDBMgr::AddEditFileCache(uint64_t fileId, IZanDB4EditFileCache* cache) {
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return EditFileCacheRows(catalogue).AddEditFileCache(fileId, cache);
    });
}

HRESULT CZanDB4FileDBMgr::GetEditFileCache(uint64_t fileId, IZanDB4EditFileCache** outCache) {
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return EditFileCacheRows(catalogue).GetEditFileCache(fileId, outCache);
    });
}

HRESULT CZanDB4FileDBMgr::UpdateEditFileCache(uint64_t fileId, IZanDB4EditFileCache* cache) {
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return EditFileCacheRows(catalogue).UpdateEditFileCache(fileId, cache);
    });
}

HRESULT CZanDB4FileDBMgr::DeleteEditFileCache(uint64_t fileId) {
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return EditFileCacheRows(catalogue).DeleteEditFileCache(fileId);
    });
}

HRESULT CZanDB4FileDBMgr::WriteLargeMetaData(uint64_t fileId, IZanDB4FileLargeMetaData* data, bool replace) {
    if (data == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB&) {
        if (m_metaFactory == nullptr) return E_FAIL;
        const void* bytes = nullptr;
        uint32_t size = 0, type = 0;
        data->GetData(&bytes, &size);
        data->GetType(&type);
        return replace ? m_metaFactory->UpdateMetaData(fileId, type, bytes, size)
                       : m_metaFactory->AddMetaData(fileId, type, bytes, size);
    });
}

HRESULT CZanDB4FileDBMgr::AddLargeMetaData(uint64_t fileId, IZanDB4FileLargeMetaData* data) {
    return WriteLargeMetaData(fileId, data, false);
}

HRESULT CZanDB4FileDBMgr::GetLargeMetaData(uint64_t fileId, IZanDB4FileLargeMetaData** outData) {
    if (outData == nullptr) return E_INVALIDARG;
    *outData = nullptr;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB&) {
        if (m_metaFactory == nullptr) return E_FAIL;
        uint32_t type = 0, size = 0;
        void* bytes = nullptr;
        HRESULT read = m_metaFactory->GetMetaData(&type, &bytes, &size, fileId);
        if (read != S_OK) return read;
        ComPtr<IZanDB4FileLargeMetaData> object;
        HRESULT made = zandb4::CreateInstance(IID_IZanDB4FileLargeMetaData, reinterpret_cast<void**>(object.Receive()));
        if (made != S_OK) {
            std::free(bytes);
            return made;
        }
        // The object takes the buffer over; nothing is copied.
        object->AttachData(bytes, size);
        object->SetType(type);
        *outData = object.Detach();
        return S_OK;
    });
}

HRESULT CZanDB4FileDBMgr::UpdateLargeMetaData(uint64_t fileId, IZanDB4FileLargeMetaData* data) {
    return WriteLargeMetaData(fileId, data, true);
}

HRESULT CZanDB4FileDBMgr::DeleteLargeMetaData(uint64_t fileId) {
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB&) {
        return m_metaFactory == nullptr ? E_FAIL : m_metaFactory->DeleteMetaData(fileId);
    });
}

HRESULT CZanDB4FileDBMgr::AddMainImageCache(uint64_t fileId, IZanDB4MainImageCache* cache) {
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return MainImageCacheRows(catalogue).AddMainImageCache(fileId, cache);
    });
}

HRESULT CZanDB4FileDBMgr::GetMainImageCache(uint64_t fileId, IZanDB4MainImageCache** outCache) {
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return MainImageCacheRows(catalogue).GetMainImageCache(fileId, outCache);
    });
}

HRESULT CZanDB4FileDBMgr::UpdateMainImageCache(uint64_t fileId, IZanDB4MainImageCache* cache) {
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return MainImageCacheRows(catalogue).UpdateMainImageCache(fileId, cache);
    });
}

HRESULT CZanDB4FileDBMgr::DeleteMainImageCache(uint64_t fileId) {
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return MainImageCacheRows(catalogue).DeleteMainImageCache(fileId);
    });
}

HRESULT CZanDB4FileDBMgr::Lock() {
    // Held until Unlock; the lock is recursive, so this thread's own calls
    // still go through.
    if (m_fileBasicDB != nullptr) m_fileBasicDB->m_lock.Lock();
    return S_OK;
}

HRESULT CZanDB4FileDBMgr::Unlock() {
    if (m_fileBasicDB != nullptr) m_fileBasicDB->m_lock.Unlock();
    return S_OK;
}
