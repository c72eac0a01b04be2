// Fuzzes the value records: the file record, the metadata record, the large
// metadata holder, individual and face records, albums, and the feature
// point blob with its packed blocks.
//
// Each input is a list of steps; each step picks a record kind, calls a
// setter with fuzzer-chosen values (strings with NULs, quotes and lone
// surrogates; any size; any blob) and reads the value back at once through
// its getter. Where the record promises that a value set is the value got,
// the target checks it, along with the answer codes the interfaces give for
// empty strings. A feature point blob of format 1 is built from
// fuzzer-chosen blocks and every block must read back as it went in; an
// arbitrary blob of format 1 must give either E_FAIL or a block that lies
// wholly inside the blob.
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "faces/feature_point_data.h"
#include "fuzz_support.h"

using zandb4::ComPtr;
using zandb4::fuzz::ConsumeDate;
using zandb4::fuzz::ConsumeFloatBits;
using zandb4::fuzz::ConsumeText;
using zandb4::fuzz::Create;
using zandb4::fuzz::HexResult;
using zandb4::fuzz::ScratchFolder;

namespace {

constexpr size_t kMaxSteps = 32;
constexpr size_t kMaxTextUnits = 64;
constexpr size_t kMaxBlob = 512;

ScratchFolder* g_root = nullptr;

std::u16string AsCString(const std::u16string& text) { return text.substr(0, text.find(u'\0')); }

// A text getter's promise: the text itself, and E_FAIL exactly when empty.
void ExpectText(HRESULT result, const CZanTString& got, const std::u16string& expected, const char* what) {
    FUZZ_CHECK_MSG(got.Value() == expected, std::string(what) + " did not read back as set");
    FUZZ_CHECK_MSG(result == (expected.empty() ? E_FAIL : S_OK), std::string(what) + " answered " + HexResult(result));
}

bool SameFloat(float a, float b) { return (std::isnan(a) && std::isnan(b)) || a == b; }

// A date whose fields fit the packed form (one byte each below the year)
// reads back whole but for milliseconds and day of the week.
bool FitsPacked(const SYSTEMTIME& date) {
    return date.wMonth < 256 && date.wDay < 256 && date.wHour < 256 && date.wMinute < 256 && date.wSecond < 256 &&
           date.wYear < 0x8000;
}

bool SameDay(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    return a.wYear == b.wYear && a.wMonth == b.wMonth && a.wDay == b.wDay && a.wHour == b.wHour &&
           a.wMinute == b.wMinute && a.wSecond == b.wSecond;
}

bool SameWhole(const SYSTEMTIME& a, const SYSTEMTIME& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

void FileRecordStep(FuzzedDataProvider& data, IZanDB4FileDBRecord* record) {
    switch (data.ConsumeIntegralInRange<int>(0, 14)) {
        case 0: {
            std::u16string path = ConsumeText(data, kMaxTextUnits);
            uint32_t diskVsn = data.ConsumeIntegral<uint32_t>();
            FUZZ_CHECK(record->SetFilePath(path.c_str(), &diskVsn) == S_OK);
            CZanTString got;
            uint32_t gotVsn = 0;
            ExpectText(record->GetFilePath(got, &gotVsn), got, AsCString(path), "file path");
            FUZZ_CHECK(gotVsn == diskVsn);
            // A null serial leaves the stored one alone.
            FUZZ_CHECK(record->SetFilePath(path.c_str(), nullptr) == S_OK);
            record->GetFilePath(got, &gotVsn);
            FUZZ_CHECK(gotVsn == diskVsn);
            break;
        }
        case 1: {
            std::u16string name = ConsumeText(data, kMaxTextUnits);
            FUZZ_CHECK(record->SetFileName(name.c_str()) == S_OK);
            CZanTString got;
            ExpectText(record->GetFileName(got), got, AsCString(name), "file name");
            break;
        }
        case 2: {
            uint32_t format = data.ConsumeIntegral<uint32_t>(), manage = data.ConsumeIntegral<uint32_t>();
            uint32_t attributes = data.ConsumeIntegral<uint32_t>();
            FUZZ_CHECK(record->SetFileFormat(&format) == S_OK);
            FUZZ_CHECK(record->SetManage(&manage) == S_OK);
            FUZZ_CHECK(record->SetFileAttributes(&attributes) == S_OK);
            uint32_t got = 0;
            FUZZ_CHECK(record->GetFileFormat(&got) == S_OK && got == format);
            FUZZ_CHECK(record->GetManage(&got) == S_OK && got == manage);
            FUZZ_CHECK(record->GetFileAttributes(&got) == S_OK && got == attributes);
            break;
        }
        case 3: {
            int64_t packed = data.ConsumeIntegral<int64_t>();
            FUZZ_CHECK(record->SetShootingDateValue(&packed) == S_OK);
            int64_t got = 0;
            FUZZ_CHECK(record->GetShootingDateValue(&got) == S_OK);
            FUZZ_CHECK_MSG(got == packed, "packed shooting date did not read back as set");
            SYSTEMTIME date{};
            HRESULT result = record->GetShootingDate(&date);
            FUZZ_CHECK(result == S_OK || result == E_INVALIDARG);
            break;
        }
        case 4: {
            SYSTEMTIME date = ConsumeDate(data);
            FUZZ_CHECK(record->SetShootingDate(&date) == S_OK);
            SYSTEMTIME got{};
            HRESULT result = record->GetShootingDate(&got);
            FUZZ_CHECK(result == S_OK || result == E_INVALIDARG);
            if (FitsPacked(date)) FUZZ_CHECK_MSG(result == S_OK && SameDay(got, date), "shooting date did not read back");
            break;
        }
        case 5: {
            uint16_t width = data.ConsumeIntegral<uint16_t>(), height = data.ConsumeIntegral<uint16_t>();
            uint16_t orientation = data.ConsumeIntegral<uint16_t>();
            FUZZ_CHECK(record->SetThumbnailSize(&width, &height) == S_OK);
            FUZZ_CHECK(record->SetThumbnailOrientation(&orientation) == S_OK);
            uint32_t gotWidth = 0, gotHeight = 0;
            FUZZ_CHECK(record->GetThumbnailSize(&gotWidth, &gotHeight) == S_OK);
            FUZZ_CHECK(gotWidth == width && gotHeight == height);
            uint16_t gotOrientation = 0;
            FUZZ_CHECK(record->GetThumbnailOrientation(&gotOrientation) == S_OK && gotOrientation == orientation);
            // One side left out keeps its value.
            uint16_t newWidth = data.ConsumeIntegral<uint16_t>();
            FUZZ_CHECK(record->SetThumbnailSize(&newWidth, nullptr) == S_OK);
            FUZZ_CHECK(record->GetThumbnailSize(&gotWidth, &gotHeight) == S_OK);
            FUZZ_CHECK(gotWidth == newWidth && gotHeight == height);
            break;
        }
        case 6: {
            // Mostly plausible positions, sometimes any bit pattern.
            bool plausible = data.ConsumeBool();
            float latitude = plausible ? data.ConsumeFloatingPointInRange<float>(-100.0f, 100.0f) : ConsumeFloatBits(data);
            float longitude = plausible ? data.ConsumeFloatingPointInRange<float>(-200.0f, 200.0f) : ConsumeFloatBits(data);
            float beforeLatitude = 0, beforeLongitude = 0;
            FUZZ_CHECK(record->GetGPS(&beforeLatitude, &beforeLongitude) == S_OK);
            bool valid = latitude >= -90.0f && latitude <= 90.0f && longitude >= -180.0f && longitude <= 180.0f;
            HRESULT result = record->SetGPS(&latitude, &longitude);
            FUZZ_CHECK_MSG(result == (valid ? S_OK : E_INVALIDARG), "SetGPS answered " + HexResult(result));
            float gotLatitude = 0, gotLongitude = 0;
            FUZZ_CHECK(record->GetGPS(&gotLatitude, &gotLongitude) == S_OK);
            if (valid)
                FUZZ_CHECK_MSG(SameFloat(gotLatitude, latitude) && SameFloat(gotLongitude, longitude),
                               "position did not read back as set");
            else
                FUZZ_CHECK_MSG(SameFloat(gotLatitude, beforeLatitude) && SameFloat(gotLongitude, beforeLongitude),
                               "a refused position changed the record");
            break;
        }
        case 7: {
            uint8_t didEdit = data.ConsumeIntegral<uint8_t>(), favorite = data.ConsumeIntegral<uint8_t>();
            uint8_t face = data.ConsumeIntegral<uint8_t>(), upload = data.ConsumeIntegral<uint8_t>();
            uint8_t classify = data.ConsumeIntegral<uint8_t>();
            FUZZ_CHECK(record->SetDidEdit(&didEdit) == S_OK);
            FUZZ_CHECK(record->SetIsFavorite(&favorite) == S_OK);
            FUZZ_CHECK(record->SetDidDetectFace(&face) == S_OK);
            FUZZ_CHECK(record->SetUploadFlag(&upload) == S_OK);
            FUZZ_CHECK(record->SetClassifyID(&classify) == S_OK);
            uint8_t got = 0;
            FUZZ_CHECK(record->GetDidEdit(&got) == S_OK && got == didEdit);
            FUZZ_CHECK(record->GetIsFavorite(&got) == S_OK && got == favorite);
            FUZZ_CHECK(record->GetDidDetectFace(&got) == S_OK && got == face);
            FUZZ_CHECK(record->GetUploadFlag(&got) == S_OK && got == upload);
            FUZZ_CHECK(record->GetClassifyID(&got) == S_OK && got == classify);
            break;
        }
        case 8: {
            uint64_t parent = data.ConsumeIntegral<uint64_t>();
            SYSTEMTIME date = ConsumeDate(data);
            FUZZ_CHECK(record->SetParent(&parent, &date) == S_OK);
            uint64_t gotParent = 0;
            SYSTEMTIME gotDate{};
            FUZZ_CHECK(record->GetParent(&gotParent, &gotDate) == S_OK);
            FUZZ_CHECK(gotParent == parent);
            if (FitsPacked(date)) FUZZ_CHECK_MSG(SameDay(gotDate, date), "parent date did not read back");
            break;
        }
        case 9: {
            uint64_t album = data.ConsumeIntegral<uint64_t>();
            FUZZ_CHECK(record->SetAlbumID(&album) == S_OK);
            uint64_t got = 0;
            FUZZ_CHECK(record->GetAlbumID(&got) == S_OK && got == album);
            break;
        }
        case 10: {
            uint64_t tag = data.ConsumeIntegralInRange<uint64_t>(0, 8);
            int action = data.ConsumeIntegralInRange<int>(0, 2);
            HRESULT result = action == 0 ? record->AddTag(&tag) : action == 1 ? record->RemoveTag(&tag) : record->ClearTags();
            FUZZ_CHECK(zandb4::fuzz::IsLibraryResult(result));
            uint32_t count = 0;
            FUZZ_CHECK(record->GetTagCount(&count) == S_OK);
            CArray<uint64_t> tags;
            FUZZ_CHECK(zandb4::fuzz::IsLibraryResult(record->GetTagList(&tags)));
            FUZZ_CHECK_MSG(static_cast<uint32_t>(tags.GetSize()) == count, "tag list and tag count differ");
            if (action == 2) FUZZ_CHECK(count == 0);
            if (action == 0 && result == S_OK) {
                bool found = false;
                for (ptrdiff_t i = 0; i < tags.GetSize(); ++i) found = found || tags[i] == tag;
                FUZZ_CHECK_MSG(found, "an added tag is not in the list");
            }
            break;
        }
        case 11: {
            // A clone carries the columns over.
            ComPtr<IZanDB4FileDBRecord> clone;
            FUZZ_CHECK(record->Clone(clone.Receive()) == S_OK && clone);
            CZanTString path, clonePath;
            uint32_t vsn = 0, cloneVsn = 0;
            record->GetFilePath(path, &vsn);
            clone->GetFilePath(clonePath, &cloneVsn);
            FUZZ_CHECK_MSG(path == clonePath && vsn == cloneVsn, "a clone has another path");
            uint64_t id = 1;
            FUZZ_CHECK(clone->GetFileID(&id) == S_OK && id == 0);
            break;
        }
        case 12: {
            uint32_t mask = data.ConsumeIntegral<uint32_t>();
            record->ClearFields(mask);
            record->IsChanged(data.ConsumeIntegral<uint32_t>());
            uint32_t changed = 0;
            record->GetChangedMask(&changed);
            record->MarkColumnsChanged(data.ConsumeIntegral<int32_t>());
            break;
        }
        case 13: {
            auto meta = Create<IZanDB4FileMetaDBRecord>(IID_IZanDB4FileMetaDBRecord);
            FUZZ_CHECK(record->SetMetaRecordRaw(meta.Get()) == S_OK);
            ComPtr<IZanDB4FileMetaDBRecord> got;
            HRESULT result = record->GetMetaRecord(got.Receive());
            FUZZ_CHECK(zandb4::fuzz::IsLibraryResult(result));
            if (result == S_OK) FUZZ_CHECK_MSG(got.Get() == meta.Get(), "the metadata record held is another");
            if (data.ConsumeBool()) FUZZ_CHECK(record->SetMetaRecordRaw(nullptr) == S_OK);
            break;
        }
        default:
            FUZZ_CHECK(record->ClearAll() == S_OK);
            break;
    }
}

void MetaRecordStep(FuzzedDataProvider& data, IZanDB4FileMetaDBRecord* record) {
    switch (data.ConsumeIntegralInRange<int>(0, 7)) {
        case 0: {
            std::vector<uint8_t> bytes = data.ConsumeBytes<uint8_t>(data.ConsumeIntegralInRange<size_t>(0, kMaxBlob));
            bool passNull = data.ConsumeBool() && bytes.empty();
            FUZZ_CHECK(record->SetFilterData(passNull ? nullptr : bytes.data(), static_cast<uint32_t>(bytes.size())) ==
                       S_OK);
            const void* got = nullptr;
            uint32_t size = 0;
            HRESULT result = record->GetFilterData(&got, &size);
            if (bytes.empty()) {
                FUZZ_CHECK_MSG(result == E_FAIL, "empty filter data answered " + HexResult(result));
            } else {
                FUZZ_CHECK(result == S_OK && got != nullptr && size == bytes.size());
                FUZZ_CHECK_MSG(std::memcmp(got, bytes.data(), size) == 0, "filter data did not read back");
            }
            break;
        }
        case 1: {
            uint64_t size = data.ConsumeIntegral<uint64_t>(), duration = data.ConsumeIntegral<uint64_t>();
            uint32_t width = data.ConsumeIntegral<uint32_t>(), height = data.ConsumeIntegral<uint32_t>();
            uint32_t panorama = data.ConsumeIntegral<uint32_t>(), drive = data.ConsumeIntegral<uint32_t>();
            uint32_t frameRate = data.ConsumeIntegral<uint32_t>();
            FUZZ_CHECK(record->SetFileSize(size) == S_OK);
            FUZZ_CHECK(record->SetDuration(duration) == S_OK);
            FUZZ_CHECK(record->SetPixelSize(width, height) == S_OK);
            FUZZ_CHECK(record->SetPanoramaNumber(panorama) == S_OK);
            FUZZ_CHECK(record->SetDriveNumber(drive) == S_OK);
            FUZZ_CHECK(record->SetFrameRate(frameRate) == S_OK);
            uint64_t got64 = 0;
            uint32_t got = 0, got2 = 0;
            FUZZ_CHECK(record->GetFileSize(&got64) == S_OK && got64 == size);
            FUZZ_CHECK(record->GetDuration(&got64) == S_OK && got64 == duration);
            FUZZ_CHECK(record->GetPixelSize(&got, &got2) == S_OK && got == width && got2 == height);
            FUZZ_CHECK(record->GetPanoramaNumber(&got) == S_OK && got == panorama);
            FUZZ_CHECK(record->GetDriveNumber(&got) == S_OK && got == drive);
            FUZZ_CHECK(record->GetFrameRate(&got) == S_OK && got == frameRate);
            uint32_t changed = 0;
            FUZZ_CHECK(record->GetChanged(&changed) == S_OK && changed != 0);
            break;
        }
        case 2: {
            SYSTEMTIME update = ConsumeDate(data), import = ConsumeDate(data);
            uint32_t importClass = data.ConsumeIntegral<uint32_t>();
            FUZZ_CHECK(record->SetFileUpdateDate(&update) == S_OK);
            FUZZ_CHECK(record->SetImportDate(&import, importClass) == S_OK);
            SYSTEMTIME got{};
            uint32_t gotClass = 0;
            FUZZ_CHECK(record->GetFileUpdateDate(&got) == S_OK);
            if (FitsPacked(update)) FUZZ_CHECK_MSG(SameDay(got, update), "update date did not read back");
            FUZZ_CHECK(record->GetImportDate(&got, &gotClass) == S_OK && gotClass == importClass);
            if (FitsPacked(import)) FUZZ_CHECK_MSG(SameDay(got, import), "import date did not read back");
            break;
        }
        case 3: {
            int32_t first = data.ConsumeIntegral<int32_t>(), second = data.ConsumeIntegral<int32_t>();
            FUZZ_CHECK(record->SetGPSAltitude(first, second) == S_OK);
            int32_t a = 0, b = 0;
            FUZZ_CHECK(record->GetGPSAltitude(&a, &b) == S_OK);
            uint32_t direction = data.ConsumeIntegral<uint32_t>(), low = data.ConsumeIntegral<uint32_t>();
            FUZZ_CHECK(record->SetGPSDirection(direction, low) == S_OK);
            uint32_t gotHigh = 0, gotLow = 0;
            FUZZ_CHECK(record->GetGPSDirection(&gotHigh, &gotLow) == S_OK);
            FUZZ_CHECK_MSG(gotHigh == direction && gotLow == low, "direction did not read back");
            break;
        }
        case 4: {
            std::u16string area = ConsumeText(data, kMaxTextUnits);
            FUZZ_CHECK(record->SetAreaInfo(area.c_str()) == S_OK);
            // Unlike most text getters, this one answers S_OK also when empty.
            CZanTString got;
            FUZZ_CHECK(record->GetAreaInfo(got) == S_OK);
            FUZZ_CHECK_MSG(got.Value() == AsCString(area), "area info did not read back");
            break;
        }
        case 5: {
            std::u16string model = ConsumeText(data, kMaxTextUnits);
            uint32_t values[5];
            for (uint32_t& value : values) value = data.ConsumeIntegral<uint32_t>();
            FUZZ_CHECK(record->SetModelInfo(model.c_str(), values[0], values[1], values[2], values[3], values[4]) ==
                       S_OK);
            CZanTString got;
            uint32_t out[5] = {};
            HRESULT result = record->GetModelInfo(got, &out[0], &out[1], &out[2], &out[3], &out[4]);
            FUZZ_CHECK_MSG(got.Value() == AsCString(model), "model name did not read back");
            FUZZ_CHECK(zandb4::fuzz::IsLibraryResult(result));
            FUZZ_CHECK_MSG(std::memcmp(out, values, sizeof out) == 0, "model settings did not read back");
            break;
        }
        case 6: {
            uint32_t changed = data.ConsumeIntegral<uint32_t>();
            FUZZ_CHECK(record->SetChanged(changed) == S_OK);
            uint32_t got = 0;
            FUZZ_CHECK(record->GetChanged(&got) == S_OK && got == changed);
            break;
        }
        default: {
            FUZZ_CHECK(record->ClearAll() == S_OK);
            uint32_t changed = 0;
            FUZZ_CHECK(record->GetChanged(&changed) == S_OK && changed == 1);
            const void* got = nullptr;
            uint32_t size = 0;
            FUZZ_CHECK(record->GetFilterData(&got, &size) == E_FAIL);
            break;
        }
    }
}

void LargeMetaStep(FuzzedDataProvider& data, IZanDB4FileLargeMetaData* holder) {
    uint32_t type = data.ConsumeIntegral<uint32_t>();
    uint64_t fileId = data.ConsumeIntegral<uint64_t>();
    std::vector<uint8_t> bytes = data.ConsumeBytes<uint8_t>(data.ConsumeIntegralInRange<size_t>(0, kMaxBlob));
    FUZZ_CHECK(holder->SetType(type) == S_OK);
    FUZZ_CHECK(holder->SetFileID(fileId) == S_OK);
    HRESULT result = holder->SetData(bytes.empty() ? nullptr : bytes.data(), static_cast<uint32_t>(bytes.size()));
    FUZZ_CHECK(result == S_OK);
    uint32_t gotType = 0;
    uint64_t gotId = 0;
    FUZZ_CHECK(holder->GetType(&gotType) == S_OK && gotType == type);
    FUZZ_CHECK(holder->GetFileID(&gotId) == S_OK && gotId == fileId);
    const void* got = nullptr;
    uint32_t size = 0;
    result = holder->GetData(&got, &size);
    FUZZ_CHECK(zandb4::fuzz::IsLibraryResult(result));
    if (!bytes.empty()) {
        FUZZ_CHECK_MSG(result == S_OK && size == bytes.size() && std::memcmp(got, bytes.data(), size) == 0,
                       "large metadata did not read back");
    }
}

void IndividualStep(FuzzedDataProvider& data, IZanDB4IndividualDBRecord* individual,
                    IZanDB4IndividualGroupDBRecord* group) {
    std::u16string name = ConsumeText(data, kMaxTextUnits), email = ConsumeText(data, kMaxTextUnits);
    // CZanTString keeps NULs inside a string made from a std::u16string.
    FUZZ_CHECK(individual->SetName(CZanTString(name)) == S_OK);
    FUZZ_CHECK(individual->SetEmail(CZanTString(email)) == S_OK);
    CZanTString got;
    ExpectText(individual->GetName(got), got, name, "individual name");
    ExpectText(individual->GetEmail(got), got, email, "individual email");
    SYSTEMTIME birthday = ConsumeDate(data), gotBirthday{};
    FUZZ_CHECK(individual->SetBirthday(&birthday) == S_OK);
    FUZZ_CHECK(individual->GetBirthday(&gotBirthday) == S_OK);
    FUZZ_CHECK_MSG(SameWhole(gotBirthday, birthday) || (FitsPacked(birthday) && SameDay(gotBirthday, birthday)),
                   "birthday did not read back");
    uint32_t type = data.ConsumeIntegral<uint32_t>(), attributes = data.ConsumeIntegral<uint32_t>();
    uint32_t recommend = data.ConsumeIntegral<uint32_t>(), value = 0;
    FUZZ_CHECK(individual->SetIndividualType(type) == S_OK);
    FUZZ_CHECK(individual->SetAttributes(attributes) == S_OK);
    FUZZ_CHECK(individual->SetRecommend(recommend) == S_OK);
    FUZZ_CHECK(individual->GetIndividualType(&value) == S_OK && value == type);
    FUZZ_CHECK(individual->GetAttributes(&value) == S_OK && value == attributes);
    FUZZ_CHECK(individual->GetRecommend(&value) == S_OK && value == recommend);

    std::u16string groupName = ConsumeText(data, kMaxTextUnits), description = ConsumeText(data, kMaxTextUnits);
    uint32_t groupType = data.ConsumeIntegral<uint32_t>();
    FUZZ_CHECK(group->SetName(CZanTString(groupName)) == S_OK);
    FUZZ_CHECK(group->SetDescription(CZanTString(description)) == S_OK);
    FUZZ_CHECK(group->SetType(groupType) == S_OK);
    ExpectText(group->GetName(got), got, groupName, "group name");
    ExpectText(group->GetDescription(got), got, description, "group description");
    FUZZ_CHECK(group->GetType(&value) == S_OK && value == groupType);
}

void FaceStep(FuzzedDataProvider& data, IZanDB4FaceDBRecord* face) {
    uint64_t faceId = data.ConsumeIntegral<uint64_t>(), individualId = data.ConsumeIntegral<uint64_t>();
    uint64_t fileId = data.ConsumeIntegral<uint64_t>();
    uint32_t type = data.ConsumeIntegral<uint32_t>();
    FUZZ_CHECK(face->SetFaceID(faceId) == S_OK);
    FUZZ_CHECK(face->SetIndividualID(individualId) == S_OK);
    FUZZ_CHECK(face->SetFileID(fileId) == S_OK);
    FUZZ_CHECK(face->SetIndividualType(type) == S_OK);
    uint64_t got = 0;
    uint32_t gotType = 0;
    FUZZ_CHECK(face->GetFaceID(&got) == S_OK && got == faceId);
    FUZZ_CHECK(face->GetIndividualID(&got) == S_OK && got == individualId);
    FUZZ_CHECK(face->GetFileID(&got) == S_OK && got == fileId);
    FUZZ_CHECK(face->GetIndividualType(&gotType) == S_OK && gotType == type);
    RECT rect{data.ConsumeIntegral<int32_t>(), data.ConsumeIntegral<int32_t>(), data.ConsumeIntegral<int32_t>(),
              data.ConsumeIntegral<int32_t>()};
    HRESULT result = face->SetRect(&rect);
    FUZZ_CHECK(zandb4::fuzz::IsLibraryResult(result));
    RECT gotRect{};
    FUZZ_CHECK(zandb4::fuzz::IsLibraryResult(face->GetRect(&gotRect)));
}

void AlbumStep(FuzzedDataProvider& data, IZanDB4AlbumDBRecord* album) {
    std::u16string name = ConsumeText(data, kMaxTextUnits);
    FUZZ_CHECK(album->SetName(CZanTString(name)) == S_OK);
    CZanTString got;
    ExpectText(album->GetName(got), got, name, "album name");
}

// A blob of format 1: the count, then each block's little-endian length and
// bytes.
std::vector<uint8_t> Packed(const std::vector<std::vector<uint8_t>>& blocks, uint32_t count) {
    std::vector<uint8_t> blob;
    auto put = [&](uint32_t value) {
        for (int shift = 0; shift < 32; shift += 8) blob.push_back(static_cast<uint8_t>(value >> shift));
    };
    put(count);
    for (const auto& block : blocks) {
        put(static_cast<uint32_t>(block.size()));
        blob.insert(blob.end(), block.begin(), block.end());
    }
    return blob;
}

void FeaturePointStep(FuzzedDataProvider& data) {
    ComPtr<CZanDB4FaceFeaturePointData> point = ComPtr<CZanDB4FaceFeaturePointData>::Adopt(new CZanDB4FaceFeaturePointData());
    uint64_t pointId = data.ConsumeIntegral<uint64_t>(), faceId = data.ConsumeIntegral<uint64_t>();
    uint32_t type = data.ConsumeIntegral<uint32_t>();
    SYSTEMTIME date = ConsumeDate(data), gotDate{};
    FUZZ_CHECK(point->SetFeaturePointID(pointId) == S_OK);
    FUZZ_CHECK(point->SetFaceID(faceId) == S_OK);
    FUZZ_CHECK(point->SetIndividualType(type) == S_OK);
    FUZZ_CHECK(point->SetUpdateDate(&date) == S_OK);
    uint64_t got = 0;
    uint32_t gotType = 0;
    FUZZ_CHECK(point->GetFeaturePointID(&got) == S_OK && got == pointId);
    FUZZ_CHECK(point->GetFaceID(&got) == S_OK && got == faceId);
    FUZZ_CHECK(point->GetIndividualType(&gotType) == S_OK && gotType == type);
    FUZZ_CHECK(point->GetUpdateDate(&gotDate) == S_OK);
    FUZZ_CHECK_MSG(SameWhole(gotDate, date) || (FitsPacked(date) && SameDay(gotDate, date)),
                   "update date did not read back");

    std::vector<uint8_t> blob;
    std::vector<std::vector<uint8_t>> blocks;
    bool wellFormed = data.ConsumeBool();
    if (wellFormed) {
        size_t count = data.ConsumeIntegralInRange<size_t>(1, 8);
        for (size_t i = 0; i < count; ++i)
            blocks.push_back(data.ConsumeBytes<uint8_t>(data.ConsumeIntegralInRange<size_t>(0, 64)));
        blob = Packed(blocks, static_cast<uint32_t>(blocks.size()));
    } else {
        blob = data.ConsumeBytes<uint8_t>(data.ConsumeIntegralInRange<size_t>(0, kMaxBlob));
    }
    FUZZ_CHECK(point->SetDataFormat(1) == S_OK);
    FUZZ_CHECK(point->SetFeaturePoint(blob.empty() ? nullptr : blob.data(), static_cast<uint32_t>(blob.size())) ==
               S_OK);
    uint32_t format = 0;
    FUZZ_CHECK(point->GetDataFormat(&format) == S_OK && format == 1);

    // The blob as the object holds it: block 0 of format 0 is the whole blob.
    const void* whole = nullptr;
    uint32_t wholeSize = 0;
    FUZZ_CHECK(point->SetDataFormat(0) == S_OK);
    HRESULT result = point->GetFeaturePoint(&whole, &wholeSize, data.ConsumeIntegral<uint32_t>());
    FUZZ_CHECK(result == (blob.empty() ? E_FAIL : S_OK));
    FUZZ_CHECK(wholeSize == blob.size());
    if (!blob.empty()) FUZZ_CHECK_MSG(std::memcmp(whole, blob.data(), blob.size()) == 0, "blob did not read back");
    FUZZ_CHECK(point->SetDataFormat(1) == S_OK);

    const uint8_t* begin = static_cast<const uint8_t*>(whole);
    if (wellFormed) {
        FUZZ_CHECK_MSG(point->GetBlockCount() == blocks.size(), "block count differs");
        for (uint32_t i = 0; i < blocks.size(); ++i) {
            const void* block = nullptr;
            uint32_t size = 0;
            FUZZ_CHECK_MSG(point->GetFeaturePoint(&block, &size, i) == S_OK, "block " + std::to_string(i) + " unread");
            FUZZ_CHECK(size == blocks[i].size());
            FUZZ_CHECK_MSG(size == 0 || std::memcmp(block, blocks[i].data(), size) == 0, "block did not read back");
            // Either out alone is enough.
            uint32_t sizeOnly = 0;
            FUZZ_CHECK(point->GetFeaturePoint(nullptr, &sizeOnly, i) == S_OK && sizeOnly == size);
        }
        const void* past = nullptr;
        uint32_t pastSize = 0;
        FUZZ_CHECK(point->GetFeaturePoint(&past, &pastSize, static_cast<uint32_t>(blocks.size())) == E_FAIL);
        FUZZ_CHECK(past == nullptr && pastSize == 0);
    } else {
        point->GetBlockCount();
        for (uint32_t i = 0; i < 16; ++i) {
            const void* block = nullptr;
            uint32_t size = 0;
            HRESULT blockResult = point->GetFeaturePoint(&block, &size, i);
            FUZZ_CHECK(blockResult == S_OK || blockResult == E_FAIL);
            if (blockResult != S_OK) {
                FUZZ_CHECK(block == nullptr && size == 0);
                break;
            }
            const uint8_t* at = static_cast<const uint8_t*>(block);
            FUZZ_CHECK_MSG(at >= begin && at + size <= begin + blob.size(), "a block lies outside the blob");
        }
    }
    FUZZ_CHECK(point->GetFeaturePoint(nullptr, nullptr, 0) == E_INVALIDARG);

    // Trimming the blob through the pointer the object holds keeps the bytes
    // and takes the shorter size.
    if (!blob.empty()) {
        uint32_t trimmed = data.ConsumeIntegralInRange<uint32_t>(1, static_cast<uint32_t>(blob.size()));
        FUZZ_CHECK(point->SetDataFormat(0) == S_OK);
        FUZZ_CHECK(point->SetFeaturePoint(whole, trimmed) == S_OK);
        const void* after = nullptr;
        uint32_t afterSize = 0;
        FUZZ_CHECK(point->GetFeaturePoint(&after, &afterSize, 0) == S_OK);
        FUZZ_CHECK(after == whole && afterSize == trimmed);
        FUZZ_CHECK(point->SetDataFormat(1) == S_OK);
        for (uint32_t i = 0; i < 4; ++i) {
            const void* block = nullptr;
            uint32_t size = 0;
            if (point->GetFeaturePoint(&block, &size, i) != S_OK) break;
            const uint8_t* at = static_cast<const uint8_t*>(block);
            FUZZ_CHECK_MSG(at >= begin && at + size <= begin + trimmed, "a block lies outside the trimmed blob");
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // File and individual records reach the catalogue for lazy reads, so
    // the library runs on an empty root of its own.
    g_root = new ScratchFolder("zandb4-record-fuzz");
    CZanTString root = g_root->Wide();
    FUZZ_CHECK(ZanDB4_Initialize(root.GetString()) == S_OK);
    std::atexit([] {
        ZanDB4_Finalize();
        delete g_root;
        g_root = nullptr;
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    FuzzedDataProvider data(bytes, size);
    auto file = Create<IZanDB4FileDBRecord>(IID_IZanDB4FileDBRecord);
    auto meta = Create<IZanDB4FileMetaDBRecord>(IID_IZanDB4FileMetaDBRecord);
    auto large = Create<IZanDB4FileLargeMetaData>(IID_IZanDB4FileLargeMetaData);
    auto individual = Create<IZanDB4IndividualDBRecord>(IID_IZanDB4IndividualDBRecord);
    auto group = Create<IZanDB4IndividualGroupDBRecord>(IID_IZanDB4IndividualGroupDBRecord);
    auto face = Create<IZanDB4FaceDBRecord>(IID_IZanDB4FaceDBRecord);
    auto album = Create<IZanDB4AlbumDBRecord>(IID_IZanDB4AlbumDBRecord);
    for (size_t step = 0; step < kMaxSteps && data.remaining_bytes() > 0; ++step) {
        switch (data.ConsumeIntegralInRange<int>(0, 6)) {
            case 0: FileRecordStep(data, file.Get()); break;
            case 1: MetaRecordStep(data, meta.Get()); break;
            case 2: LargeMetaStep(data, large.Get()); break;
            case 3: IndividualStep(data, individual.Get(), group.Get()); break;
            case 4: FaceStep(data, face.Get()); break;
            case 5: AlbumStep(data, album.Get()); break;
            default: FeaturePointStep(data); break;
        }
    }
    return 0;
}
