#include "records/query_node.h"

// Nodes carry no state beyond their text, so there is nothing to reset.
HRESULT CZanDB4ElementNode::Reset() { return S_OK; }

HRESULT CZanDB4ElementNode::GetText(CZanTString& outText) {
    outText = m_text;
    return m_text.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT CZanDB4ElementNode::SetText(const WCHAR* text) {
    m_text = text;  // null empties it
    return S_OK;
}
