// CZanDB4ElementNode: one node of a search on file_table. It holds finished
// WHERE-clause text and nothing else: a combined node copies the texts of its
// children and keeps no pointer to them, so it can outlive them.
#pragma once

#include "frame/com_object.h"
#include "zandb4/identifiers.h"
#include "zandb4/records.h"

class CZanDB4ElementNode : public zandb4::ComObject<IZanDB4QueryNode, IID_IZanDB4QueryNode> {
public:
    CZanDB4ElementNode() = default;

    HRESULT Reset() override;
    HRESULT GetText(CZanTString& outText) override;
    HRESULT SetText(const WCHAR* text) override;

protected:
    ~CZanDB4ElementNode() override = default;

private:
    CZanTString m_text;
};
