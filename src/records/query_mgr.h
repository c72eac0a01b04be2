// CZanDB4DBQueryMgr: makes the nodes of a search on file_table, one operation
// per searchable column. It keeps no state: every node it hands out holds its
// own finished SQL text.
//
// Values go into the text as they are. Nothing is escaped, so a quote in a
// path or area text ends the literal early and the statement that receives
// the node fails to prepare; a '%' in a prefix works as a LIKE wildcard.
#pragma once

#include "frame/com_object.h"
#include "zandb4/identifiers.h"
#include "zandb4/records.h"

class CZanDB4DBQueryMgr : public zandb4::ComObject<IZanDB4QueryMgr, IID_IZanDB4QueryMgr> {
public:
    // Operator codes.
    static constexpr uint32_t kEqual = 0;
    static constexpr uint32_t kNotEqual = 1;
    static constexpr uint32_t kLess = 2;
    static constexpr uint32_t kLessOrEqual = 3;
    static constexpr uint32_t kGreater = 4;
    static constexpr uint32_t kGreaterOrEqual = 5;
    static constexpr uint32_t kPrefix = 6;
    static constexpr uint32_t kSuffix = 7;
    static constexpr uint32_t kSubstring = 8;
    static constexpr uint32_t kPattern = 9;
    static constexpr uint32_t kBitTest = 10;
    // Combination codes.
    static constexpr uint32_t kAnd = 0;
    static constexpr uint32_t kOr = 1;
    static constexpr uint32_t kNotOr = 2;

    CZanDB4DBQueryMgr() = default;

    // The common step of every column operation: "column op 'value'" for the
    // comparisons and the bit test, the LIKE forms with the value in double
    // quotes. E_INVALIDARG for a null out, an empty column or an operator
    // above 10.
    static HRESULT MakeLeaf(IZanDB4QueryNode** outNode, const WCHAR* column, uint32_t op, const CZanTString& value);

    HRESULT CombineNodes(IZanDB4QueryNode** outNode, IZanDB4QueryNode* left, IZanDB4QueryNode* right, uint32_t code,
                         BOOL parentheses) override;
    HRESULT CreateFileFormatNode(IZanDB4QueryNode** outNode, uint32_t format) override;
    HRESULT CreateShootingDateNode(IZanDB4QueryNode** outNode, uint32_t mode, const SYSTEMTIME* first,
                                   const SYSTEMTIME* second) override;
    HRESULT CreateLatitudeNode(IZanDB4QueryNode** outNode, float lower, float upper) override;
    HRESULT CreateLongitudeNode(IZanDB4QueryNode** outNode, float lower, float upper) override;
    HRESULT CreateAreaInfoNode(IZanDB4QueryNode** outNode, BOOL pattern, const WCHAR* text) override;
    HRESULT CreateDidEditNode(IZanDB4QueryNode** outNode, BOOL didEdit) override;
    HRESULT CreateIsFavoriteNode(IZanDB4QueryNode** outNode, BOOL isFavorite) override;
    HRESULT CreateDidDetectFaceNode(IZanDB4QueryNode** outNode, BOOL didDetectFace) override;
    HRESULT CreateManageNode(IZanDB4QueryNode** outNode, uint32_t op, uint32_t manage) override;
    HRESULT CreateParentIDNode(IZanDB4QueryNode** outNode, uint32_t op, uint64_t parentId) override;
    HRESULT CreateUploadFlagNode(IZanDB4QueryNode** outNode, BOOL uploadFlag) override;
    HRESULT CreateClassifyIDNode(IZanDB4QueryNode** outNode, uint16_t classifyId) override;
    HRESULT CreateFilePathNode(IZanDB4QueryNode** outNode, const WCHAR* path, BOOL prefix) override;
    HRESULT CreateFileAttributesNode(IZanDB4QueryNode** outNode, uint32_t unused, uint32_t attributes) override;
    HRESULT CreateHasGPSNode(IZanDB4QueryNode** outNode) override;
    HRESULT CreateDiskVsnNode(IZanDB4QueryNode** outNode, int32_t diskVsn) override;
    HRESULT CreateAlbumIDNode(IZanDB4QueryNode** outNode, uint64_t albumId) override;

protected:
    ~CZanDB4DBQueryMgr() override = default;

private:
    // Two leaves on one column, ">= lower" and "<= upper", joined by AND
    // without parentheses; E_INVALIDARG unless -bound <= lower <= upper <=
    // bound. The leaves are released whatever happens.
    HRESULT MakeBoundedRange(IZanDB4QueryNode** outNode, const WCHAR* column, float lower, float upper,
                             float bound);
};
