#include "records/query_mgr.h"

#include <cstdarg>
#include <new>
#include <utility>

#include "frame/com_ptr.h"
#include "records/query_node.h"

using zandb4::ComPtr;

namespace {

constexpr WCHAR kShootingDate[] = u"shooting_date";
constexpr WCHAR kLatitude[] = u"gps_latitude";
constexpr WCHAR kLongitude[] = u"gps_longitude";

// The operator of codes 0 to 5 and 10, written between column and value.
const WCHAR* ComparisonFragment(uint32_t op) {
    switch (op) {
        case CZanDB4DBQueryMgr::kEqual: return u"=";
        case CZanDB4DBQueryMgr::kNotEqual: return u"!=";
        case CZanDB4DBQueryMgr::kLess: return u"<";
        case CZanDB4DBQueryMgr::kLessOrEqual: return u"<=";
        case CZanDB4DBQueryMgr::kGreater: return u">";
        case CZanDB4DBQueryMgr::kGreaterOrEqual: return u">=";
        case CZanDB4DBQueryMgr::kBitTest: return u"&";
        default: return nullptr;
    }
}

// The LIKE forms of codes 6 to 9: the value in double quotes, with the
// wildcards of the code around it.
const WCHAR* LikeFormat(uint32_t op) {
    switch (op) {
        case CZanDB4DBQueryMgr::kPrefix: return u"%s LIKE \"%s%%\"";
        case CZanDB4DBQueryMgr::kSuffix: return u"%s LIKE \"%%%s\"";
        case CZanDB4DBQueryMgr::kSubstring: return u"%s LIKE \"%%%s%%\"";
        case CZanDB4DBQueryMgr::kPattern: return u"%s LIKE \"%s\"";
        default: return nullptr;
    }
}

CZanTString Formatted(const WCHAR* format, ...) {
    CZanTString text;
    va_list args;
    va_start(args, format);
    text.FormatV(format, args);
    va_end(args);
    return text;
}

CZanTString FlagValue(BOOL flag) { return Formatted(u"%d", flag ? 1 : 0); }

// A new node holding text, or E_FAIL when it cannot be allocated. *outNode
// is null on failure.
HRESULT MakeNode(IZanDB4QueryNode** outNode, const CZanTString& text) {
    *outNode = nullptr;
    CZanDB4ElementNode* node = new (std::nothrow) CZanDB4ElementNode();
    if (node == nullptr) return E_FAIL;
    node->SetText(text.GetString());
    *outNode = node;
    return S_OK;
}

// Packed dates are ordered by their unsigned 32-bit halves, high half first.
bool PackedBefore(int64_t left, int64_t right) {
    uint64_t l = static_cast<uint64_t>(left), r = static_cast<uint64_t>(right);
    uint32_t leftHigh = static_cast<uint32_t>(l >> 32), rightHigh = static_cast<uint32_t>(r >> 32);
    if (leftHigh != rightHigh) return leftHigh < rightHigh;
    return static_cast<uint32_t>(l) < static_cast<uint32_t>(r);
}

SYSTEMTIME AtTimeOfDay(const SYSTEMTIME& date, uint16_t hour, uint16_t minute, uint16_t second) {
    SYSTEMTIME moment = date;
    moment.wHour = hour;
    moment.wMinute = minute;
    moment.wSecond = second;
    moment.wMilliseconds = 0;
    return moment;
}

int64_t Packed(const SYSTEMTIME& date) { return CZanTDateTime(date).GetPacked(); }

}  // namespace

HRESULT CZanDB4DBQueryMgr::MakeLeaf(IZanDB4QueryNode** outNode, const WCHAR* column, uint32_t op,
                                    const CZanTString& value) {
    if (outNode == nullptr) return E_INVALIDARG;
    *outNode = nullptr;
    if (column == nullptr || column[0] == 0) return E_INVALIDARG;
    if (op > kBitTest) return E_INVALIDARG;
    CZanTString text;
    if (const WCHAR* fragment = ComparisonFragment(op))
        text = Formatted(u"%s%s'%s'", column, fragment, value.GetString());
    else
        text = Formatted(LikeFormat(op), column, value.GetString());
    return MakeNode(outNode, text);
}

HRESULT CZanDB4DBQueryMgr::CombineNodes(IZanDB4QueryNode** outNode, IZanDB4QueryNode* left,
                                        IZanDB4QueryNode* right, uint32_t code, BOOL parentheses) {
    if (outNode != nullptr) *outNode = nullptr;
    if (outNode == nullptr || left == nullptr || right == nullptr) return E_INVALIDARG;
    CZanTString leftText, rightText;
    HRESULT result = left->GetText(leftText);
    if (result != S_OK) return result;
    result = right->GetText(rightText);
    if (result != S_OK) return result;
    if (code > kNotOr) return E_INVALIDARG;

    CZanTString text;
    if (parentheses) text += u"(";
    if (code == kNotOr) text += u"NOT(";
    text += leftText;
    text += code == kAnd ? u" AND " : u" OR ";
    text += rightText;
    if (code == kNotOr) text += u")";
    if (parentheses) text += u")";
    return MakeNode(outNode, text);
}

HRESULT CZanDB4DBQueryMgr::CreateFileFormatNode(IZanDB4QueryNode** outNode, uint32_t format) {
    return MakeLeaf(outNode, u"file_format", kEqual, Formatted(u"%d", format));
}

HRESULT CZanDB4DBQueryMgr::CreateShootingDateNode(IZanDB4QueryNode** outNode, uint32_t mode,
                                                  const SYSTEMTIME* first, const SYSTEMTIME* second) {
    if (outNode == nullptr) return E_INVALIDARG;
    *outNode = nullptr;
    SYSTEMTIME from{}, to{};
    switch (mode) {
        case 1:  // whole days, from the first to the second
            if (first == nullptr || second == nullptr) return E_INVALIDARG;
            from = AtTimeOfDay(*first, 0, 0, 0);
            to = AtTimeOfDay(*second, 23, 59, 59);
            break;
        case 2:  // exactly as given
            if (first == nullptr || second == nullptr) return E_INVALIDARG;
            from = *first;
            to = *second;
            break;
        case 3:  // the whole day of the first date
            if (first == nullptr) return E_INVALIDARG;
            from = AtTimeOfDay(*first, 0, 0, 0);
            to = AtTimeOfDay(*first, 23, 59, 59);
            break;
        default:
            return E_INVALIDARG;
    }
    int64_t lower = Packed(from), upper = Packed(to);
    // The caller may pass the two ends in either order.
    if (PackedBefore(upper, lower)) std::swap(lower, upper);
    CZanTString lowerText = Formatted(u"%lld", static_cast<long long>(lower));
    CZanTString upperText = Formatted(u"%lld", static_cast<long long>(upper));
    return MakeNode(outNode, Formatted(u"(%s>='%s' AND %s<='%s')", kShootingDate, lowerText.GetString(),
                                       kShootingDate, upperText.GetString()));
}

HRESULT CZanDB4DBQueryMgr::MakeBoundedRange(IZanDB4QueryNode** outNode, const WCHAR* column, float lower,
                                            float upper, float bound) {
    if (outNode != nullptr) *outNode = nullptr;
    // Written so that a NaN fails the test too.
    if (!(lower <= upper && lower >= -bound && lower <= bound && upper >= -bound && upper <= bound))
        return E_INVALIDARG;
    if (outNode == nullptr) return E_INVALIDARG;
    ComPtr<IZanDB4QueryNode> low, high;
    HRESULT result = MakeLeaf(low.Receive(), column, kGreaterOrEqual, Formatted(u"%f", static_cast<double>(lower)));
    if (result != S_OK) return result;
    result = MakeLeaf(high.Receive(), column, kLessOrEqual, Formatted(u"%f", static_cast<double>(upper)));
    if (result != S_OK) return result;
    return CombineNodes(outNode, low.Get(), high.Get(), kAnd, 0);
}

HRESULT CZanDB4DBQueryMgr::CreateLatitudeNode(IZanDB4QueryNode** outNode, float lower, float upper) {
    return MakeBoundedRange(outNode, kLatitude, lower, upper, 90.0f);
}

HRESULT CZanDB4DBQueryMgr::CreateLongitudeNode(IZanDB4QueryNode** outNode, float lower, float upper) {
    return MakeBoundedRange(outNode, kLongitude, lower, upper, 180.0f);
}

// file_table has no gps_areainfo column (meta_table, album_table and the
// staging table have): a file search on this node alone fails to prepare.
// The pattern form keeps its own single quotes and adds no wildcard.
HRESULT CZanDB4DBQueryMgr::CreateAreaInfoNode(IZanDB4QueryNode** outNode, BOOL pattern, const WCHAR* text) {
    if (outNode == nullptr) return E_INVALIDARG;
    *outNode = nullptr;
    const WCHAR* value = text != nullptr ? text : u"";
    return MakeNode(outNode, Formatted(pattern ? u"%s LIKE '%s'" : u"%s='%s'", u"gps_areainfo", value));
}

HRESULT CZanDB4DBQueryMgr::CreateDidEditNode(IZanDB4QueryNode** outNode, BOOL didEdit) {
    return MakeLeaf(outNode, u"did_edit", kEqual, FlagValue(didEdit));
}

HRESULT CZanDB4DBQueryMgr::CreateIsFavoriteNode(IZanDB4QueryNode** outNode, BOOL isFavorite) {
    return MakeLeaf(outNode, u"is_favorite", kEqual, FlagValue(isFavorite));
}

HRESULT CZanDB4DBQueryMgr::CreateDidDetectFaceNode(IZanDB4QueryNode** outNode, BOOL didDetectFace) {
    return MakeLeaf(outNode, u"did_detect_face", kEqual, FlagValue(didDetectFace));
}

HRESULT CZanDB4DBQueryMgr::CreateManageNode(IZanDB4QueryNode** outNode, uint32_t op, uint32_t manage) {
    return MakeLeaf(outNode, u"manage", op, Formatted(u"%d", manage));
}

HRESULT CZanDB4DBQueryMgr::CreateParentIDNode(IZanDB4QueryNode** outNode, uint32_t op, uint64_t parentId) {
    return MakeLeaf(outNode, u"parent_id", op, Formatted(u"%lld", static_cast<long long>(parentId)));
}

HRESULT CZanDB4DBQueryMgr::CreateUploadFlagNode(IZanDB4QueryNode** outNode, BOOL uploadFlag) {
    return MakeLeaf(outNode, u"upload_flag", kEqual, FlagValue(uploadFlag));
}

HRESULT CZanDB4DBQueryMgr::CreateClassifyIDNode(IZanDB4QueryNode** outNode, uint16_t classifyId) {
    return MakeLeaf(outNode, u"classify_id", kEqual, Formatted(u"%d", static_cast<int>(classifyId)));
}

HRESULT CZanDB4DBQueryMgr::CreateFilePathNode(IZanDB4QueryNode** outNode, const WCHAR* path, BOOL prefix) {
    CZanTString value;
    value = path;  // a null path is the empty text
    return MakeLeaf(outNode, u"file_path", prefix ? kPrefix : kEqual, value);
}

// The first value stays in the signature and plays no part; the operator is
// always the bit test, true for any bit in common.
HRESULT CZanDB4DBQueryMgr::CreateFileAttributesNode(IZanDB4QueryNode** outNode, uint32_t, uint32_t attributes) {
    return MakeLeaf(outNode, u"file_attributes", kBitTest, Formatted(u"%d", attributes));
}

// The position 0.0, 0.0 stands for "no position".
HRESULT CZanDB4DBQueryMgr::CreateHasGPSNode(IZanDB4QueryNode** outNode) {
    if (outNode == nullptr) return E_INVALIDARG;
    *outNode = nullptr;
    ComPtr<IZanDB4QueryNode> latitude, longitude;
    CZanTString zero = Formatted(u"%f", 0.0);
    HRESULT result = MakeLeaf(latitude.Receive(), kLatitude, kNotEqual, zero);
    if (result != S_OK) return result;
    result = MakeLeaf(longitude.Receive(), kLongitude, kNotEqual, zero);
    if (result != S_OK) return result;
    return CombineNodes(outNode, latitude.Get(), longitude.Get(), kOr, 0);
}

// disk_vsn is bound as a signed 32-bit value, so the search writes it signed.
HRESULT CZanDB4DBQueryMgr::CreateDiskVsnNode(IZanDB4QueryNode** outNode, int32_t diskVsn) {
    return MakeLeaf(outNode, u"disk_vsn", kEqual, Formatted(u"%d", diskVsn));
}

HRESULT CZanDB4DBQueryMgr::CreateAlbumIDNode(IZanDB4QueryNode** outNode, uint64_t albumId) {
    return MakeLeaf(outNode, u"album_id", kEqual, Formatted(u"%lld", static_cast<long long>(albumId)));
}
