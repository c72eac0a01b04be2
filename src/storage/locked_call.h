// LockedCall: how a manager runs one operation on the store it borrows. A
// manager made while its store was missing answers closedAnswer; otherwise
// the operation runs under the store's lock, held as a scoped guard so that
// an exception or early return leaves it.
#pragma once

#include "frame/critical_section.h"

namespace zandb4 {

template <class Store, class Result, class Operation>
Result LockedCall(Store* store, Result closedAnswer, Operation&& operation) {
    if (store == nullptr) return closedAnswer;
    CriticalSectionGuard guard(store->m_lock);
    return operation(*store);
}

}  // namespace zandb4
