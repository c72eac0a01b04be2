// CZanDB4DeadLinkInfo: the counts of one dead link check, a snapshot. The
// utility makes it with one reference and every count 0, fills the counts
// and hands it to the caller; nothing changes them afterwards.
//
// Getters: one with a single out answers E_INVALIDARG for a null out; one
// with two or three fills those that are not null and answers E_INVALIDARG
// only when all of them are null.
#pragma once

#include <cstdint>

#include "frame/com_object.h"
#include "zandb4/identifiers.h"
#include "zandb4/maintenance.h"

// The counts in the order the object holds them.
struct DeadLinkCounts {
    uint32_t deadFileCount = 0;
    uint32_t orphanMetaCount = 0;
    uint32_t orphanLargeMetaCount = 0;
    // Kept for later use; always 0.
    uint32_t reservedCount1 = 0;
    uint32_t reservedCount2 = 0;
    uint32_t orphanTagLinkFileCount = 0;
    uint32_t orphanTagLinkTagCount = 0;
    uint32_t orphanThumbnailCount = 0;
    uint32_t orphanImageFileCount = 0;
    uint32_t orphanAlbumThumbnailCount = 0;
    uint32_t orphanFaceFileCount = 0;
    uint32_t orphanPersonFaceCount = 0;
    uint32_t orphanPetFaceCount = 0;
    uint32_t orphanPsnfCount = 0;
    uint32_t orphanPtfCount = 0;
    uint32_t orphanPsniCount = 0;
    // The slot of the pet icons; it holds the pet face thumbnail count again.
    uint32_t orphanPtiCount = 0;
};

class CZanDB4DeadLinkInfo : public zandb4::ComObject<IZanDB4DeadLinkInfo, IID_IZanDB4DeadLinkInfo> {
public:
    CZanDB4DeadLinkInfo() = default;

    HRESULT GetDeadFileCount(uint32_t* outCount) override;
    HRESULT GetOrphanMetaCount(uint32_t* outCount) override;
    HRESULT GetOrphanLargeMetaCount(uint32_t* outCount) override;
    HRESULT GetReservedCounts(uint32_t* outCount1, uint32_t* outCount2) override;
    HRESULT GetOrphanTagLinkCounts(uint32_t* outFileCount, uint32_t* outTagCount) override;
    HRESULT GetOrphanThumbnailCount(uint32_t* outCount) override;
    HRESULT GetOrphanImageFileCount(uint32_t* outCount) override;
    HRESULT GetOrphanAlbumThumbnailCount(uint32_t* outCount) override;
    HRESULT GetOrphanFaceCounts(uint32_t* outFileCount, uint32_t* outPersonCount, uint32_t* outPetCount) override;
    HRESULT GetOrphanFaceImageCounts(uint32_t* outPersonCount, uint32_t* outPetCount) override;
    HRESULT GetOrphanIconCounts(uint32_t* outPersonCount, uint32_t* outPetCount) override;

    // For the check that fills the object before handing it out.
    DeadLinkCounts& Counts() { return m_counts; }

private:
    DeadLinkCounts m_counts;
};
