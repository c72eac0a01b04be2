// CZanDB4DeadLinkInfo: the getters of the counts.
#include "maintenance/dead_link_info.h"

#include <initializer_list>
#include <utility>

#include "frame/deliver.h"

using zandb4::Deliver;

namespace {

// Fills each out that is not null with its count; E_INVALIDARG when every
// out is null.
HRESULT DeliverSome(std::initializer_list<std::pair<uint32_t*, uint32_t>> outs) {
    bool any = false;
    for (const auto& [out, value] : outs) {
        if (out == nullptr) continue;
        *out = value;
        any = true;
    }
    return any ? S_OK : E_INVALIDARG;
}

}  // namespace

HRESULT CZanDB4DeadLinkInfo::GetDeadFileCount(uint32_t* outCount) {
    return Deliver(outCount, m_counts.deadFileCount);
}

HRESULT CZanDB4DeadLinkInfo::GetOrphanMetaCount(uint32_t* outCount) {
    return Deliver(outCount, m_counts.orphanMetaCount);
}

HRESULT CZanDB4DeadLinkInfo::GetOrphanLargeMetaCount(uint32_t* outCount) {
    return Deliver(outCount, m_counts.orphanLargeMetaCount);
}

HRESULT CZanDB4DeadLinkInfo::GetReservedCounts(uint32_t* outCount1, uint32_t* outCount2) {
    return DeliverSome({{outCount1, m_counts.reservedCount1}, {outCount2, m_counts.reservedCount2}});
}

HRESULT CZanDB4DeadLinkInfo::GetOrphanTagLinkCounts(uint32_t* outFileCount, uint32_t* outTagCount) {
    return DeliverSome(
        {{outFileCount, m_counts.orphanTagLinkFileCount}, {outTagCount, m_counts.orphanTagLinkTagCount}});
}

HRESULT CZanDB4DeadLinkInfo::GetOrphanThumbnailCount(uint32_t* outCount) {
    return Deliver(outCount, m_counts.orphanThumbnailCount);
}

HRESULT CZanDB4DeadLinkInfo::GetOrphanImageFileCount(uint32_t* outCount) {
    return Deliver(outCount, m_counts.orphanImageFileCount);
}

HRESULT CZanDB4DeadLinkInfo::GetOrphanAlbumThumbnailCount(uint32_t* outCount) {
    return Deliver(outCount, m_counts.orphanAlbumThumbnailCount);
}

HRESULT CZanDB4DeadLinkInfo::GetOrphanFaceCounts(uint32_t* outFileCount, uint32_t* outPersonCount,
                                                 uint32_t* outPetCount) {
    return DeliverSome({{outFileCount, m_counts.orphanFaceFileCount},
                        {outPersonCount, m_counts.orphanPersonFaceCount},
                        {outPetCount, m_counts.orphanPetFaceCount}});
}

HRESULT CZanDB4DeadLinkInfo::GetOrphanFaceImageCounts(uint32_t* outPersonCount, uint32_t* outPetCount) {
    return DeliverSome({{outPersonCount, m_counts.orphanPsnfCount}, {outPetCount, m_counts.orphanPtfCount}});
}

HRESULT CZanDB4DeadLinkInfo::GetOrphanIconCounts(uint32_t* outPersonCount, uint32_t* outPetCount) {
    return DeliverSome({{outPersonCount, m_counts.orphanPsniCount}, {outPetCount, m_counts.orphanPtiCount}});
}
