// The three value objects that carry images between client and stores: the
// thumbnail in memory (IZanDB4FileCache), the edit cache row
// (IZanDB4EditFileCache) and the main image cache row
// (IZanDB4MainImageCache). First as the application gets them, from
// ZanDB4_CreateInstance: one reference, blank, QueryInterface answering the
// own identifier only, alive past the library's stop since they hold no
// store. Then every accessor on objects made directly, with the edge cases
// of each: the held pointer given back to SetData, the emptying SetData, the
// text getters that answer E_FAIL with an empty string, the filter data
// getter's choice of outs, and the null outs of the numeric getters.
// Under AddressSanitizer every buffer an object copies must be freed exactly
// once when it is replaced or the object goes.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "../records/file_meta_record_fixture.h"
#include "frame/com_ptr.h"
#include "library/database_registry.h"
#include "shards/edit_file_cache.h"
#include "shards/file_cache.h"
#include "shards/main_image_cache.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace {

using meta_record_test::FieldsOf;
using meta_record_test::MakeTime;
using zandb4::ComPtr;

// {00000000-0000-0000-C000-000000000046}
constexpr IID kIUnknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

// Bytes with a zero among them, so that a copy that stops at a zero shows.
const std::vector<unsigned char> kPicture = {0xFF, 0xD8, 0x00, 0x10, 'J', 'F', 'I', 'F', 0x00, 0x7F};
const std::vector<unsigned char> kOtherPicture = {1, 2, 3};

std::vector<unsigned char> BytesAt(const void* data, uint32_t size) {
    if (data == nullptr) return {};
    const auto* bytes = static_cast<const unsigned char*>(data);
    return std::vector<unsigned char>(bytes, bytes + size);
}

int32_t RefCountOf(IZanDB4FileCache* cache) { return static_cast<CZanDB4FileCache*>(cache)->RefCount(); }
int32_t RefCountOf(IZanDB4EditFileCache* cache) { return static_cast<CZanDB4EditFileCache*>(cache)->RefCount(); }
int32_t RefCountOf(IZanDB4MainImageCache* cache) { return static_cast<CZanDB4MainImageCache*>(cache)->RefCount(); }

// ---- through the factory ----

class CacheObjectsFromFactory : public meta_record_test::LibraryTest {};

// Makes, checks and lets go of one object of each interface; the checks are
// the same for all three.
template <class Interface>
void ExpectOneReferenceFromFactory(const IID& iid) {
    Interface* object = nullptr;
    ASSERT_EQ(ZanDB4_CreateInstance(&iid, reinterpret_cast<void**>(&object)), S_OK);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(RefCountOf(object), 1);
    EXPECT_EQ(object->AddRef(), 2u);
    EXPECT_EQ(RefCountOf(object), 2);
    EXPECT_EQ(object->Release(), 1u);
    EXPECT_EQ(object->Release(), 0u);
}

TEST_F(CacheObjectsFromFactory, EachComesWithOneReference) {
    ExpectOneReferenceFromFactory<IZanDB4FileCache>(IID_IZanDB4FileCache);
    ExpectOneReferenceFromFactory<IZanDB4EditFileCache>(IID_IZanDB4EditFileCache);
    ExpectOneReferenceFromFactory<IZanDB4MainImageCache>(IID_IZanDB4MainImageCache);
}

TEST_F(CacheObjectsFromFactory, FileCacheIsBlank) {
    ComPtr<IZanDB4FileCache> cache = ComPtr<IZanDB4FileCache>::Adopt(Create<IZanDB4FileCache>(IID_IZanDB4FileCache));
    ASSERT_TRUE(cache);
    EXPECT_EQ(cache->GetData(), nullptr);
    EXPECT_EQ(cache->GetSize(), 0u);
    SYSTEMTIME date = MakeTime(1999, 9, 9, 9, 9, 9, 9, 9);
    EXPECT_EQ(cache->GetUpdateDate(&date), S_OK);
    EXPECT_EQ(FieldsOf(date), FieldsOf(SYSTEMTIME{}));
    uint64_t source = 99;
    EXPECT_EQ(cache->GetSourceID(&source), S_OK);
    EXPECT_EQ(source, 0u);
}

TEST_F(CacheObjectsFromFactory, EditFileCacheIsBlank) {
    ComPtr<IZanDB4EditFileCache> cache =
        ComPtr<IZanDB4EditFileCache>::Adopt(Create<IZanDB4EditFileCache>(IID_IZanDB4EditFileCache));
    ASSERT_TRUE(cache);
    uint64_t fileId = 99;
    EXPECT_EQ(cache->GetFileID(&fileId), S_OK);
    EXPECT_EQ(fileId, 0u);
    uint32_t type = 99;
    EXPECT_EQ(cache->GetImageFileType(&type), S_OK);
    EXPECT_EQ(type, 0u);
    CZanTString path(u"stale");
    EXPECT_EQ(cache->GetImageFilePath(path), E_FAIL);
    EXPECT_TRUE(path.IsEmpty());
    const void* data = &fileId;
    uint32_t size = 99;
    EXPECT_EQ(cache->GetFilterData(&data, &size), E_FAIL);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);
    uint16_t orientation = 99;
    EXPECT_EQ(cache->GetFilterDataOrientation(&orientation), S_OK);
    EXPECT_EQ(orientation, 0u);
}

TEST_F(CacheObjectsFromFactory, MainImageCacheIsBlank) {
    ComPtr<IZanDB4MainImageCache> cache =
        ComPtr<IZanDB4MainImageCache>::Adopt(Create<IZanDB4MainImageCache>(IID_IZanDB4MainImageCache));
    ASSERT_TRUE(cache);
    uint64_t fileId = 99;
    EXPECT_EQ(cache->GetFileID(&fileId), S_OK);
    EXPECT_EQ(fileId, 0u);
    uint32_t type = 99;
    EXPECT_EQ(cache->GetFileType(&type), S_OK);
    EXPECT_EQ(type, 0u);
    CZanTString path(u"stale");
    EXPECT_EQ(cache->GetFilePath(path), E_FAIL);
    EXPECT_TRUE(path.IsEmpty());
}

// QueryInterface with the object's own identifier adds a reference and
// hands out the same object; IUnknown's identifier and those of the two
// other cache interfaces are refused with a null out.
template <class Interface>
void ExpectOwnIdentifierOnly(const IID& own, const IID& otherA, const IID& otherB) {
    Interface* object = nullptr;
    ASSERT_EQ(ZanDB4_CreateInstance(&own, reinterpret_cast<void**>(&object)), S_OK);
    ASSERT_NE(object, nullptr);

    void* out = nullptr;
    EXPECT_EQ(object->QueryInterface(own, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(object));
    EXPECT_EQ(RefCountOf(object), 2);
    EXPECT_EQ(object->Release(), 1u);

    for (const IID* refused : {&kIUnknownId, &otherA, &otherB}) {
        out = object;
        EXPECT_EQ(object->QueryInterface(*refused, &out), E_NOINTERFACE);
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(RefCountOf(object), 1);
    }
    EXPECT_EQ(object->QueryInterface(own, nullptr), E_INVALIDARG);
    EXPECT_EQ(RefCountOf(object), 1);
    EXPECT_EQ(object->Release(), 0u);
}

TEST_F(CacheObjectsFromFactory, QueryInterfaceAnswersTheOwnIdentifierOnly) {
    ExpectOwnIdentifierOnly<IZanDB4FileCache>(IID_IZanDB4FileCache, IID_IZanDB4EditFileCache,
                                              IID_IZanDB4MainImageCache);
    ExpectOwnIdentifierOnly<IZanDB4EditFileCache>(IID_IZanDB4EditFileCache, IID_IZanDB4FileCache,
                                                  IID_IZanDB4MainImageCache);
    ExpectOwnIdentifierOnly<IZanDB4MainImageCache>(IID_IZanDB4MainImageCache, IID_IZanDB4FileCache,
                                                   IID_IZanDB4EditFileCache);
}

TEST_F(CacheObjectsFromFactory, TwoObjectsOfOneInterfaceAreApart) {
    ComPtr<IZanDB4FileCache> first = ComPtr<IZanDB4FileCache>::Adopt(Create<IZanDB4FileCache>(IID_IZanDB4FileCache));
    ComPtr<IZanDB4FileCache> second =
        ComPtr<IZanDB4FileCache>::Adopt(Create<IZanDB4FileCache>(IID_IZanDB4FileCache));
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    EXPECT_NE(first.Get(), second.Get());
    ASSERT_EQ(first->SetData(kPicture.data(), static_cast<uint32_t>(kPicture.size())), S_OK);
    ASSERT_EQ(first->SetSourceID(5), S_OK);
    EXPECT_EQ(second->GetData(), nullptr);
    uint64_t source = 99;
    EXPECT_EQ(second->GetSourceID(&source), S_OK);
    EXPECT_EQ(source, 0u);
}

// The objects hold no store, so the library's stop leaves them working; the
// factory itself is closed by then.
TEST(CacheObjectsOverLibraryStop, ObjectsKeepTheirValuesAfterTheStopAndTheFactoryRefuses) {
    ASSERT_EQ(zandb4::DatabaseRegistry::initCount, 0);
    zandb4::testing::TempFolder root;
    ASSERT_EQ(ZanDB4_Initialize(root.Wide().GetString()), S_OK);
    IZanDB4FileCache* thumbnail = nullptr;
    IZanDB4EditFileCache* edit = nullptr;
    IZanDB4MainImageCache* main = nullptr;
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileCache, reinterpret_cast<void**>(&thumbnail)), S_OK);
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4EditFileCache, reinterpret_cast<void**>(&edit)), S_OK);
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4MainImageCache, reinterpret_cast<void**>(&main)), S_OK);
    ASSERT_NE(thumbnail, nullptr);
    ASSERT_NE(edit, nullptr);
    ASSERT_NE(main, nullptr);
    ASSERT_EQ(thumbnail->SetData(kPicture.data(), static_cast<uint32_t>(kPicture.size())), S_OK);
    ASSERT_EQ(edit->SetImageFilePath(u"/edits/a.jpg"), S_OK);
    ASSERT_EQ(main->SetFilePath(u"/cache/a.jpg"), S_OK);

    ASSERT_EQ(ZanDB4_Finalize(), S_OK);

    EXPECT_EQ(BytesAt(thumbnail->GetData(), thumbnail->GetSize()), kPicture);
    CZanTString path;
    EXPECT_EQ(edit->GetImageFilePath(path), S_OK);
    EXPECT_EQ(path, CZanTString(u"/edits/a.jpg"));
    EXPECT_EQ(main->GetFilePath(path), S_OK);
    EXPECT_EQ(path, CZanTString(u"/cache/a.jpg"));

    void* untouched = thumbnail;
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileCache, &untouched), E_FAIL);
    EXPECT_EQ(untouched, static_cast<void*>(thumbnail));

    EXPECT_EQ(thumbnail->Release(), 0u);
    EXPECT_EQ(edit->Release(), 0u);
    EXPECT_EQ(main->Release(), 0u);
}

// ---- CZanDB4FileCache ----

class FileCacheObject : public ::testing::Test {
protected:
    ~FileCacheObject() override { m_cache->Release(); }
    uint32_t PictureSize() const { return static_cast<uint32_t>(kPicture.size()); }
    std::vector<unsigned char> Held() { return BytesAt(m_cache->GetData(), m_cache->GetSize()); }

    IZanDB4FileCache* m_cache = new CZanDB4FileCache();
};

TEST_F(FileCacheObject, SetDataCopiesTheBytes) {
    std::vector<unsigned char> source = kPicture;
    ASSERT_EQ(m_cache->SetData(source.data(), static_cast<uint32_t>(source.size())), S_OK);
    EXPECT_NE(m_cache->GetData(), static_cast<const void*>(source.data()));
    EXPECT_EQ(m_cache->GetSize(), PictureSize());
    source.assign(source.size(), 0xAA);
    EXPECT_EQ(Held(), kPicture);
}

TEST_F(FileCacheObject, GetDataAnswersTheSameBufferEveryTime) {
    ASSERT_EQ(m_cache->SetData(kPicture.data(), PictureSize()), S_OK);
    const void* first = m_cache->GetData();
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(m_cache->GetData(), first);
}

TEST_F(FileCacheObject, SetDataWithTheHeldPointerKeepsTheBufferAndIgnoresTheSize) {
    ASSERT_EQ(m_cache->SetData(kPicture.data(), PictureSize()), S_OK);
    const void* held = m_cache->GetData();
    EXPECT_EQ(m_cache->SetData(held, 2), S_OK);
    EXPECT_EQ(m_cache->GetData(), held);
    EXPECT_EQ(m_cache->GetSize(), PictureSize());
    EXPECT_EQ(Held(), kPicture);
}

TEST_F(FileCacheObject, SetDataWithTheHeldPointerAndSizeZeroKeepsTheBuffer) {
    ASSERT_EQ(m_cache->SetData(kPicture.data(), PictureSize()), S_OK);
    const void* held = m_cache->GetData();
    EXPECT_EQ(m_cache->SetData(held, 0), S_OK);
    EXPECT_EQ(m_cache->GetData(), held);
    EXPECT_EQ(Held(), kPicture);
}

TEST_F(FileCacheObject, SetDataReplacesTheBytesAndTheSize) {
    ASSERT_EQ(m_cache->SetData(kPicture.data(), PictureSize()), S_OK);
    ASSERT_EQ(m_cache->SetData(kOtherPicture.data(), static_cast<uint32_t>(kOtherPicture.size())), S_OK);
    EXPECT_EQ(m_cache->GetSize(), kOtherPicture.size());
    EXPECT_EQ(Held(), kOtherPicture);
}

TEST_F(FileCacheObject, SetDataNullAndZeroEmptiesTheObject) {
    ASSERT_EQ(m_cache->SetData(kPicture.data(), PictureSize()), S_OK);
    EXPECT_EQ(m_cache->SetData(nullptr, 0), S_OK);
    EXPECT_EQ(m_cache->GetData(), nullptr);
    EXPECT_EQ(m_cache->GetSize(), 0u);
}

TEST_F(FileCacheObject, SetDataWithSizeZeroEmptiesTheObject) {
    ASSERT_EQ(m_cache->SetData(kPicture.data(), PictureSize()), S_OK);
    EXPECT_EQ(m_cache->SetData(kOtherPicture.data(), 0), S_OK);
    EXPECT_EQ(m_cache->GetData(), nullptr);
    EXPECT_EQ(m_cache->GetSize(), 0u);
}

TEST_F(FileCacheObject, SetDataNullOnAnEmptyObjectLeavesItEmpty) {
    EXPECT_EQ(m_cache->SetData(nullptr, 0), S_OK);
    EXPECT_EQ(m_cache->GetData(), nullptr);
    EXPECT_EQ(m_cache->GetSize(), 0u);
}

TEST_F(FileCacheObject, UpdateDateIsCopiedWhole) {
    // Milliseconds and day of the week too: the object copies the date, it
    // does not pack it.
    SYSTEMTIME given = MakeTime(2024, 2, 29, 23, 59, 58, 999, 4);
    m_cache->SetUpdateDate(CZanTDateTime(given));
    SYSTEMTIME out = MakeTime(1, 1, 1, 1, 1, 1, 1, 1);
    EXPECT_EQ(m_cache->GetUpdateDate(&out), S_OK);
    EXPECT_EQ(FieldsOf(out), FieldsOf(given));
}

TEST_F(FileCacheObject, UpdateDateIntoNullIsInvalidArg) {
    EXPECT_EQ(m_cache->GetUpdateDate(nullptr), E_INVALIDARG);
}

TEST_F(FileCacheObject, SourceIdKeepsAllSixtyFourBits) {
    EXPECT_EQ(m_cache->SetSourceID(0xFEDCBA9876543210ull), S_OK);
    uint64_t source = 0;
    EXPECT_EQ(m_cache->GetSourceID(&source), S_OK);
    EXPECT_EQ(source, 0xFEDCBA9876543210ull);
}

TEST_F(FileCacheObject, SourceIdIntoNullIsInvalidArg) {
    EXPECT_EQ(m_cache->GetSourceID(nullptr), E_INVALIDARG);
}

TEST_F(FileCacheObject, ReferenceCountsUpAndDown) {
    EXPECT_EQ(RefCountOf(m_cache), 1);
    EXPECT_EQ(m_cache->AddRef(), 2u);
    EXPECT_EQ(m_cache->AddRef(), 3u);
    EXPECT_EQ(m_cache->Release(), 2u);
    EXPECT_EQ(m_cache->Release(), 1u);
    EXPECT_EQ(RefCountOf(m_cache), 1);
}

// ---- CZanDB4EditFileCache ----

class EditFileCacheObject : public ::testing::Test {
protected:
    ~EditFileCacheObject() override { m_cache->Release(); }
    uint32_t PictureSize() const { return static_cast<uint32_t>(kPicture.size()); }

    IZanDB4EditFileCache* m_cache = new CZanDB4EditFileCache();
};

TEST_F(EditFileCacheObject, FileIdKeepsAllSixtyFourBits) {
    EXPECT_EQ(m_cache->SetFileID(0x8000000000000001ull), S_OK);
    uint64_t fileId = 0;
    EXPECT_EQ(m_cache->GetFileID(&fileId), S_OK);
    EXPECT_EQ(fileId, 0x8000000000000001ull);
}

TEST_F(EditFileCacheObject, ImageFileTypeKeepsAllThirtyTwoBits) {
    EXPECT_EQ(m_cache->SetImageFileType(0xFFFFFFFEu), S_OK);
    uint32_t type = 0;
    EXPECT_EQ(m_cache->GetImageFileType(&type), S_OK);
    EXPECT_EQ(type, 0xFFFFFFFEu);
}

TEST_F(EditFileCacheObject, OrientationKeepsAllSixteenBits) {
    EXPECT_EQ(m_cache->SetFilterDataOrientation(0xFFFF), S_OK);
    uint16_t orientation = 0;
    EXPECT_EQ(m_cache->GetFilterDataOrientation(&orientation), S_OK);
    EXPECT_EQ(orientation, 0xFFFF);
}

TEST_F(EditFileCacheObject, NumericGettersIntoNullAreInvalidArg) {
    EXPECT_EQ(m_cache->GetFileID(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_cache->GetImageFileType(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_cache->GetFilterDataOrientation(nullptr), E_INVALIDARG);
}

TEST_F(EditFileCacheObject, ImageFilePathIsCopiedInAndOut) {
    CZanTString given(u"/edits/Caf\u00e9 O'Brien/IMG_0001.jpg");
    EXPECT_EQ(m_cache->SetImageFilePath(given.GetString()), S_OK);
    given = u"changed";
    CZanTString path;
    EXPECT_EQ(m_cache->GetImageFilePath(path), S_OK);
    EXPECT_EQ(path, CZanTString(u"/edits/Caf\u00e9 O'Brien/IMG_0001.jpg"));
}

TEST_F(EditFileCacheObject, EmptyImageFilePathIsFailAndAnEmptyString) {
    CZanTString path(u"stale");
    EXPECT_EQ(m_cache->GetImageFilePath(path), E_FAIL);
    EXPECT_TRUE(path.IsEmpty());
}

TEST_F(EditFileCacheObject, ImageFilePathSetEmptyAgainIsFail) {
    ASSERT_EQ(m_cache->SetImageFilePath(u"/edits/a.jpg"), S_OK);
    EXPECT_EQ(m_cache->SetImageFilePath(u""), S_OK);
    CZanTString path(u"stale");
    EXPECT_EQ(m_cache->GetImageFilePath(path), E_FAIL);
    EXPECT_TRUE(path.IsEmpty());
}

TEST_F(EditFileCacheObject, SetFilterDataCopiesTheBytes) {
    std::vector<unsigned char> source = kPicture;
    EXPECT_EQ(m_cache->SetFilterData(source.data(), static_cast<uint32_t>(source.size())), S_OK);
    source.assign(source.size(), 0xAA);
    const void* data = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(m_cache->GetFilterData(&data, &size), S_OK);
    EXPECT_NE(data, static_cast<const void*>(source.data()));
    EXPECT_EQ(size, PictureSize());
    EXPECT_EQ(BytesAt(data, size), kPicture);
}

TEST_F(EditFileCacheObject, SetFilterDataReplacesTheBytes) {
    ASSERT_EQ(m_cache->SetFilterData(kPicture.data(), PictureSize()), S_OK);
    EXPECT_EQ(m_cache->SetFilterData(kOtherPicture.data(), static_cast<uint32_t>(kOtherPicture.size())), S_OK);
    const void* data = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(m_cache->GetFilterData(&data, &size), S_OK);
    EXPECT_EQ(BytesAt(data, size), kOtherPicture);
}

TEST_F(EditFileCacheObject, FilterDataPointerAloneIsEnough) {
    ASSERT_EQ(m_cache->SetFilterData(kPicture.data(), PictureSize()), S_OK);
    const void* data = nullptr;
    EXPECT_EQ(m_cache->GetFilterData(&data, nullptr), S_OK);
    EXPECT_EQ(BytesAt(data, PictureSize()), kPicture);
}

TEST_F(EditFileCacheObject, FilterDataSizeAloneIsEnough) {
    ASSERT_EQ(m_cache->SetFilterData(kPicture.data(), PictureSize()), S_OK);
    uint32_t size = 0;
    EXPECT_EQ(m_cache->GetFilterData(nullptr, &size), S_OK);
    EXPECT_EQ(size, PictureSize());
}

TEST_F(EditFileCacheObject, FilterDataWithBothOutsNullIsInvalidArg) {
    ASSERT_EQ(m_cache->SetFilterData(kPicture.data(), PictureSize()), S_OK);
    EXPECT_EQ(m_cache->GetFilterData(nullptr, nullptr), E_INVALIDARG);
}

TEST_F(EditFileCacheObject, FilterDataPointerAskedWithoutDataIsFail) {
    const void* data = &data;
    EXPECT_EQ(m_cache->GetFilterData(&data, nullptr), E_FAIL);
    EXPECT_EQ(data, nullptr);
}

TEST_F(EditFileCacheObject, FilterDataSizeAskedWithoutDataIsZero) {
    uint32_t size = 99;
    EXPECT_EQ(m_cache->GetFilterData(nullptr, &size), S_OK);
    EXPECT_EQ(size, 0u);
}

TEST_F(EditFileCacheObject, SetFilterDataNullAndZeroEmptiesIt) {
    ASSERT_EQ(m_cache->SetFilterData(kPicture.data(), PictureSize()), S_OK);
    EXPECT_EQ(m_cache->SetFilterData(nullptr, 0), S_OK);
    const void* data = &data;
    uint32_t size = 99;
    EXPECT_EQ(m_cache->GetFilterData(&data, &size), E_FAIL);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST_F(EditFileCacheObject, ReferenceCountsUpAndDown) {
    EXPECT_EQ(RefCountOf(m_cache), 1);
    EXPECT_EQ(m_cache->AddRef(), 2u);
    EXPECT_EQ(m_cache->Release(), 1u);
    EXPECT_EQ(RefCountOf(m_cache), 1);
}

// ---- CZanDB4MainImageCache ----

class MainImageCacheObject : public ::testing::Test {
protected:
    ~MainImageCacheObject() override { m_cache->Release(); }

    IZanDB4MainImageCache* m_cache = new CZanDB4MainImageCache();
};

TEST_F(MainImageCacheObject, FileIdKeepsAllSixtyFourBits) {
    EXPECT_EQ(m_cache->SetFileID(0xFFFFFFFFFFFFFFFFull), S_OK);
    uint64_t fileId = 0;
    EXPECT_EQ(m_cache->GetFileID(&fileId), S_OK);
    EXPECT_EQ(fileId, 0xFFFFFFFFFFFFFFFFull);
}

TEST_F(MainImageCacheObject, FileTypeKeepsAllThirtyTwoBits) {
    EXPECT_EQ(m_cache->SetFileType(0x80000001u), S_OK);
    uint32_t type = 0;
    EXPECT_EQ(m_cache->GetFileType(&type), S_OK);
    EXPECT_EQ(type, 0x80000001u);
}

TEST_F(MainImageCacheObject, NumericGettersIntoNullAreInvalidArg) {
    EXPECT_EQ(m_cache->GetFileID(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_cache->GetFileType(nullptr), E_INVALIDARG);
}

TEST_F(MainImageCacheObject, FilePathIsCopiedInAndOut) {
    CZanTString given(u"/cache/main/O'Brien \u65e5\u672c.jpg");
    EXPECT_EQ(m_cache->SetFilePath(given.GetString()), S_OK);
    given = u"changed";
    CZanTString path;
    EXPECT_EQ(m_cache->GetFilePath(path), S_OK);
    EXPECT_EQ(path, CZanTString(u"/cache/main/O'Brien \u65e5\u672c.jpg"));
}

TEST_F(MainImageCacheObject, EmptyFilePathIsFailAndAnEmptyString) {
    CZanTString path(u"stale");
    EXPECT_EQ(m_cache->GetFilePath(path), E_FAIL);
    EXPECT_TRUE(path.IsEmpty());
}

TEST_F(MainImageCacheObject, FilePathSetEmptyAgainIsFail) {
    ASSERT_EQ(m_cache->SetFilePath(u"/cache/a.jpg"), S_OK);
    EXPECT_EQ(m_cache->SetFilePath(u""), S_OK);
    CZanTString path(u"stale");
    EXPECT_EQ(m_cache->GetFilePath(path), E_FAIL);
    EXPECT_TRUE(path.IsEmpty());
}

TEST_F(MainImageCacheObject, ReferenceCountsUpAndDown) {
    EXPECT_EQ(RefCountOf(m_cache), 1);
    EXPECT_EQ(m_cache->AddRef(), 2u);
    EXPECT_EQ(m_cache->Release(), 1u);
    EXPECT_EQ(RefCountOf(m_cache), 1);
}

}  // namespace
