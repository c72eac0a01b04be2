// ThumbnailKindCall: how the file and face managers run one thumbnail
// operation of a family by kind. A kind other than 1 or 2, or a family
// without that factory, answers E_INVALIDARG. Otherwise the catalogue's lock
// is taken, then the factory's, the operation runs, and both are left in
// reverse order, also on an exception. This is the library's lock order:
// catalogue, then factory, then the record cache innermost.
#pragma once

#include "frame/critical_section.h"
#include "shards/thumb_db_mgr.h"
#include "storage/sqlite_db_base.h"

namespace zandb4 {

template <class Result, class Operation>
Result ThumbnailKindCall(CSQLiteDBBase& catalogue, CSQLiteThumbDBMgr* family, uint32_t kind, Result invalidKind,
                         Operation&& operation) {
    CSQLiteThumbDBFactory* factory = family == nullptr ? nullptr : family->Factory(kind);
    if (factory == nullptr) return invalidKind;
    CriticalSectionGuard catalogueGuard(catalogue.m_lock);
    CriticalSectionGuard factoryGuard(factory->m_lock);
    return operation(*factory);
}

}  // namespace zandb4
