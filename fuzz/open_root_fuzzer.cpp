// Fuzzes starting the library on a root whose files are damaged.
//
// At start-up the library itself makes a valid root with some of everything
// (files with thumbnails and large metadata, faces with feature points,
// individuals with packed points, an album, a memo, log counters) and every
// file of it is kept in memory as a template. Each input then says how to
// damage the templates before they are written to a fresh root:
//
//   byte 0     what to do after start: bit 0 also writes and commits, bit 1
//              reads faces and feature points, bit 2 reads the other stores
//   then       chunks of: file selector (index into the templates, sorted
//              by path, modulo their number), mode, 16-bit little-endian
//              length, that many bytes of payload
//   mode % 4   0 the payload replaces the file; 1 the payload is a list of
//              patches, each a 32-bit little-endian offset (modulo the
//              file's size), a length byte and that many bytes; 2 the file
//              is cut to the payload's first 32-bit value modulo its size;
//              3 the file is removed
//
// The patch form lets the fuzzer change single bytes deep inside valid
// SQLite files, past the header checks that arbitrary bytes rarely pass.
//
// Then ZanDB4_Initialize, a round of reads through the managers (and writes,
// if asked), ZanDB4_Finalize. Any answer the library documents is fine; a
// crash, a sanitizer report, a leak (checked by LeakSanitizer) or an answer
// that is no result code of the library is a finding.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "fuzz_support.h"

using zandb4::ComPtr;
using zandb4::fuzz::Create;
using zandb4::fuzz::HexResult;
using zandb4::fuzz::IsLibraryResult;
using zandb4::fuzz::ScratchFolder;

namespace {

struct TemplateFile {
    std::filesystem::path relative;
    std::vector<uint8_t> bytes;
};

std::vector<TemplateFile>* g_templates = nullptr;

void Check(HRESULT result, const char* operation) {
    FUZZ_CHECK_MSG(IsLibraryResult(result), std::string(operation) + " answered " + HexResult(result));
}

// Releases every record of a list and empties it.
template <class T>
void ReleaseAll(CList<T*>& list) {
    for (POSITION position = list.GetHeadPosition(); position != nullptr;) {
        T* item = list.GetNext(position);
        FUZZ_CHECK(item != nullptr);
        item->Release();
    }
    list.RemoveAll();
}

template <class T>
void ReleaseAll(CArray<T*>& array) {
    for (ptrdiff_t i = 0; i < array.GetSize(); ++i) {
        FUZZ_CHECK(array[i] != nullptr);
        array[i]->Release();
    }
    array.RemoveAll();
}

SYSTEMTIME Date(uint16_t year, uint16_t month, uint16_t day) {
    SYSTEMTIME date{};
    date.wYear = year;
    date.wMonth = month;
    date.wDay = day;
    date.wHour = 12;
    return date;
}

// Fills the started library with a little of everything, through the same
// calls the application makes, and commits it.
void Populate() {
    auto files = Create<IZanDB4FileDBMgr>(IID_IZanDB4FileDBMgr);
    std::vector<uint64_t> fileIds;
    for (int i = 0; i < 3; ++i) {
        auto record = Create<IZanDB4FileDBRecord>(IID_IZanDB4FileDBRecord);
        std::u16string path = u"/photos/IMG_000" + std::u16string(1, static_cast<char16_t>(u'1' + i)) + u".JPG";
        uint32_t diskVsn = 0xCAFE, format = 1 + static_cast<uint32_t>(i), manage = 1;
        SYSTEMTIME date = Date(2024, 5, static_cast<uint16_t>(1 + i));
        FUZZ_CHECK(record->SetFilePath(path.c_str(), &diskVsn) == S_OK);
        FUZZ_CHECK(record->SetFileName(path.c_str() + 8) == S_OK);
        FUZZ_CHECK(record->SetFileFormat(&format) == S_OK);
        FUZZ_CHECK(record->SetManage(&manage) == S_OK);
        FUZZ_CHECK(record->SetShootingDate(&date) == S_OK);
        uint64_t id = 0;
        FUZZ_CHECK(files->AddFile(record.Get(), &id) == S_OK);
        fileIds.push_back(id);
    }
    FUZZ_CHECK(files->Commit(2) == S_OK);
    const uint8_t thumbnail[] = {0xFF, 0xD8, 0xFF, 0xE0, 1, 2, 3, 4, 5, 6, 7, 8, 0xFF, 0xD9};
    for (uint64_t id : fileIds) {
        FUZZ_CHECK(files->AddThumbnail(id, 1, thumbnail, sizeof thumbnail) == S_OK);
        FUZZ_CHECK(files->AddThumbnail(id, 2, thumbnail, sizeof thumbnail) == S_OK);
    }
    auto large = Create<IZanDB4FileLargeMetaData>(IID_IZanDB4FileLargeMetaData);
    const char makerNote[] = "maker note bytes";
    FUZZ_CHECK(large->SetType(1) == S_OK);
    FUZZ_CHECK(large->SetData(makerNote, sizeof makerNote) == S_OK);
    FUZZ_CHECK(files->AddLargeMetaData(fileIds[0], large.Get()) == S_OK);
    FUZZ_CHECK(files->Commit(1) == S_OK);

    auto faces = Create<IZanDB4FaceDBMgr>(IID_IZanDB4FaceDBMgr);
    auto individual = Create<IZanDB4IndividualDBRecord>(IID_IZanDB4IndividualDBRecord);
    FUZZ_CHECK(individual->SetIndividualType(1) == S_OK);
    FUZZ_CHECK(individual->SetName(CZanTString(u"Person")) == S_OK);
    uint64_t individualId = 0;
    FUZZ_CHECK(faces->AddIndividual(individual.Get(), &individualId) == S_OK);
    const uint8_t point[] = {10, 20, 30, 40, 50, 60, 70, 80};
    const void* blocks[] = {point, point + 4};
    const uint32_t sizes[] = {4, 4};
    FUZZ_CHECK(faces->AddIndividualFeaturePoints(individualId, 1, blocks, sizes, 2) == S_OK);
    for (uint64_t fileId : fileIds) {
        auto face = Create<IZanDB4FaceDBRecord>(IID_IZanDB4FaceDBRecord);
        RECT rect{10, 20, 110, 220};
        FUZZ_CHECK(face->SetFileID(fileId) == S_OK);
        FUZZ_CHECK(face->SetRect(&rect) == S_OK);
        FUZZ_CHECK(face->SetIndividualType(1) == S_OK);
        uint64_t faceId = 0;
        FUZZ_CHECK(faces->AddFace(face.Get(), &faceId) == S_OK);
        FUZZ_CHECK(faces->SetFaceFeaturePoint(faceId, 1, point, sizeof point, nullptr) == S_OK);
        FUZZ_CHECK(faces->SetFaceDetected(fileId) == S_OK);
    }
    FUZZ_CHECK(faces->Commit() == S_OK);

    auto albums = Create<IZanDB4AlbumDBMgr>(IID_IZanDB4AlbumDBMgr);
    auto album = Create<IZanDB4AlbumDBRecord>(IID_IZanDB4AlbumDBRecord);
    FUZZ_CHECK(album->SetName(CZanTString(u"Holiday")) == S_OK);
    uint64_t albumId = 0;
    FUZZ_CHECK(albums->AddAlbum(album.Get(), &albumId) == S_OK);
    FUZZ_CHECK(albums->AddThumbnail(albumId, 1, thumbnail, sizeof thumbnail) == S_OK);
    FUZZ_CHECK(albums->Commit() == S_OK);

    auto memory = Create<IZanDB4MemoryDataMgr>(IID_IZanDB4MemoryDataMgr);
    FUZZ_CHECK(memory->AddData(7, u"last folder", makerNote, sizeof makerNote, nullptr) == S_OK);
    FUZZ_CHECK(memory->Commit() == S_OK);

    auto appLog = Create<IZanDB4AppLogDBMgr>(IID_IZanDB4AppLogDBMgr);
    FUZZ_CHECK(appLog->AddCount(3, 1, 5) == S_OK);
    FUZZ_CHECK(appLog->Commit() == S_OK);

    auto accessLog = Create<IZanDB4AccessLogDBMgr>(IID_IZanDB4AccessLogDBMgr);
    CZanTDateTime today(Date(2024, 6, 1));
    FUZZ_CHECK(accessLog->AddDailyCount(2, 4, &today) == S_OK);
    FUZZ_CHECK(accessLog->Commit() == S_OK);
}

void LoadTemplates(const std::filesystem::path& root) {
    g_templates = new std::vector<TemplateFile>();
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        if (!entry.is_regular_file()) continue;
        std::ifstream in(entry.path(), std::ios::binary);
        TemplateFile file{std::filesystem::relative(entry.path(), root),
                          std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {})};
        g_templates->push_back(std::move(file));
    }
    std::sort(g_templates->begin(), g_templates->end(),
              [](const TemplateFile& a, const TemplateFile& b) { return a.relative < b.relative; });
    FUZZ_CHECK(g_templates->size() >= 5);
    // The selector of each file, for whoever writes seed inputs by hand.
    if (std::getenv("ZANDB4_FUZZ_LIST_FILES") != nullptr) {
        for (size_t i = 0; i < g_templates->size(); ++i)
            std::fprintf(stderr, "%zu %s %zu bytes\n", i, (*g_templates)[i].relative.c_str(),
                         (*g_templates)[i].bytes.size());
    }
}

uint32_t ReadLittle32(const uint8_t* at) {
    return static_cast<uint32_t>(at[0]) | (static_cast<uint32_t>(at[1]) << 8) | (static_cast<uint32_t>(at[2]) << 16) |
           (static_cast<uint32_t>(at[3]) << 24);
}

void ApplyPatches(std::vector<uint8_t>& file, const uint8_t* payload, size_t size) {
    size_t at = 0;
    while (at + 5 <= size && !file.empty()) {
        uint32_t offset = ReadLittle32(payload + at) % file.size();
        size_t length = std::min<size_t>(payload[at + 4], size - at - 5);
        at += 5;
        for (size_t i = 0; i < length && offset + i < file.size(); ++i) file[offset + i] = payload[at + i];
        at += length;
    }
}

// The files of the root after the input's damage; a removed file has no
// entry.
std::vector<std::pair<std::filesystem::path, std::vector<uint8_t>>> DamagedFiles(const uint8_t* data, size_t size) {
    std::vector<std::vector<uint8_t>> contents;
    std::vector<bool> present(g_templates->size(), true);
    for (const TemplateFile& file : *g_templates) contents.push_back(file.bytes);
    size_t at = 0;
    while (at + 4 <= size) {
        size_t index = data[at] % g_templates->size();
        uint8_t mode = data[at + 1] % 4;
        size_t length = std::min<size_t>(static_cast<size_t>(data[at + 2]) | (static_cast<size_t>(data[at + 3]) << 8),
                                         size - at - 4);
        const uint8_t* payload = data + at + 4;
        at += 4 + length;
        std::vector<uint8_t>& file = contents[index];
        switch (mode) {
            case 0:
                file.assign(payload, payload + length);
                present[index] = true;
                break;
            case 1:
                ApplyPatches(file, payload, length);
                break;
            case 2:
                if (length >= 4 && !file.empty()) file.resize(ReadLittle32(payload) % file.size());
                break;
            default:
                present[index] = false;
                break;
        }
    }
    std::vector<std::pair<std::filesystem::path, std::vector<uint8_t>>> files;
    for (size_t i = 0; i < contents.size(); ++i)
        if (present[i]) files.emplace_back((*g_templates)[i].relative, std::move(contents[i]));
    return files;
}

void ReadFiles(bool write) {
    auto files = Create<IZanDB4FileDBMgr>(IID_IZanDB4FileDBMgr);
    uint32_t count = 0;
    Check(files->CountFiles(nullptr, &count), "CountFiles");
    CList<IZanDB4FileDBRecord*> records;
    Check(files->ListFiles(nullptr, 1, &records, 0), "ListFiles");
    for (POSITION position = records.GetHeadPosition(); position != nullptr;) {
        IZanDB4FileDBRecord* record = records.GetNext(position);
        CZanTString path;
        uint32_t diskVsn = 0;
        Check(record->GetFilePath(path, &diskVsn), "GetFilePath");
        SYSTEMTIME date{};
        Check(record->GetShootingDate(&date), "GetShootingDate");
        ComPtr<IZanDB4FileMetaDBRecord> meta;
        Check(record->GetMetaRecord(meta.Receive()), "GetMetaRecord");
    }
    ReleaseAll(records);
    for (uint64_t id = 1; id <= 4; ++id) {
        ComPtr<IZanDB4FileDBRecord> record;
        Check(files->GetFile(id, record.Receive()), "GetFile");
        if (record) {
            uint32_t format = 0;
            Check(record->GetFileFormat(&format), "GetFileFormat");
        }
        ComPtr<IZanDB4FileCache> thumbnail;
        Check(files->GetThumbnail(id, 1, thumbnail.Receive()), "GetThumbnail");
        if (thumbnail) {
            const uint8_t* bytes = static_cast<const uint8_t*>(thumbnail->GetData());
            uint32_t size = thumbnail->GetSize();
            // Touch every byte, so that a size beyond the buffer shows.
            uint32_t sum = 0;
            for (uint32_t i = 0; bytes != nullptr && i < size; ++i) sum += bytes[i];
            (void)sum;
        }
        files->HasThumbnail(id, 2);
        ComPtr<IZanDB4FileLargeMetaData> large;
        Check(files->GetLargeMetaData(id, large.Receive()), "GetLargeMetaData");
        if (large) {
            const void* bytes = nullptr;
            uint32_t size = 0;
            Check(large->GetData(&bytes, &size), "GetData");
            if (bytes != nullptr && size > 0) {
                std::vector<uint8_t> copy(size);
                std::memcpy(copy.data(), bytes, size);
            }
        }
    }
    CList<IZanDB4FileMetaDBRecord*> metas;
    Check(files->ListMetaRecords(&metas), "ListMetaRecords");
    ReleaseAll(metas);
    if (write) {
        auto record = Create<IZanDB4FileDBRecord>(IID_IZanDB4FileDBRecord);
        uint32_t diskVsn = 1;
        Check(record->SetFilePath(u"/new/IMG_9999.JPG", &diskVsn), "SetFilePath");
        uint64_t id = 0;
        Check(files->AddFile(record.Get(), &id), "AddFile");
        if (id != 0) Check(files->AddThumbnail(id, 1, "abc", 3), "AddThumbnail");
        Check(files->Commit(4), "Commit(4)");
        Check(files->Commit(2), "Commit(2)");
        Check(files->Commit(1), "Commit(1)");
    }
}

void ReadFaces(bool write) {
    auto faces = Create<IZanDB4FaceDBMgr>(IID_IZanDB4FaceDBMgr);
    for (uint32_t type = 1; type <= 2; ++type) {
        faces->GetFaceCount(type);
        CArray<IZanDB4FaceDBRecord*> list;
        Check(faces->GetFaces(type, &list), "GetFaces");
        for (ptrdiff_t i = 0; i < list.GetSize(); ++i) {
            uint64_t faceId = 0;
            Check(list[i]->GetFaceID(&faceId), "GetFaceID");
            ComPtr<IZanDB4FaceFeaturePointData> point;
            Check(faces->GetFaceFeaturePoint(faceId, type, point.Receive()), "GetFaceFeaturePoint");
            if (point) {
                uint32_t blocks = point->GetBlockCount();
                for (uint32_t block = 0; block < std::min<uint32_t>(blocks, 8); ++block) {
                    const void* bytes = nullptr;
                    uint32_t size = 0;
                    if (point->GetFeaturePoint(&bytes, &size, block) == S_OK && size > 0) {
                        std::vector<uint8_t> copy(size);
                        std::memcpy(copy.data(), bytes, size);
                    }
                }
            }
        }
        ReleaseAll(list);
        faces->GetIndividualCount(type);
        CArray<IZanDB4IndividualDBRecord*> individuals;
        Check(faces->GetIndividuals(type, &individuals, 2), "GetIndividuals");
        for (ptrdiff_t i = 0; i < individuals.GetSize(); ++i) {
            uint64_t id = 0;
            Check(individuals[i]->GetID(&id), "GetID");
            CZanTString name;
            Check(individuals[i]->GetName(name), "GetName");
            ComPtr<IZanDB4FaceFeaturePointData> point;
            Check(faces->GetIndividualFeaturePoint(id, type, point.Receive()), "GetIndividualFeaturePoint");
        }
        ReleaseAll(individuals);
        CArray<uint64_t> ids;
        Check(faces->GetFaceFeaturePointIDs(type, &ids, nullptr, 0, 0), "GetFaceFeaturePointIDs");
        CArray<IZanDB4FaceFeaturePointGroup*> groups;
        Check(faces->GetFeaturePointGroups(type, &groups), "GetFeaturePointGroups");
        ReleaseAll(groups);
    }
    if (write) {
        uint64_t faceIds[] = {1, 2};
        uint64_t groupId = 0;
        Check(faces->CreateFeaturePointGroup(1, faceIds, 2, &groupId, 2), "CreateFeaturePointGroup");
        Check(faces->Commit(), "Commit");
    }
}

// Counts the history records and reads every byte of each.
HRESULT CountCallback(uint64_t, uint32_t, uint32_t, uint32_t, uint32_t size, const void* data, void* context) {
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    uint32_t sum = 0;
    for (uint32_t i = 0; bytes != nullptr && i < size; ++i) sum += bytes[i];
    (void)sum;
    ++*static_cast<int*>(context);
    return 0;
}

void ReadOtherStores() {
    auto albums = Create<IZanDB4AlbumDBMgr>(IID_IZanDB4AlbumDBMgr);
    albums->GetAlbumCount();
    ComPtr<IZanDB4AlbumDBRecord> album;
    Check(albums->GetAlbum(1, album.Receive()), "GetAlbum");
    if (album) {
        CZanTString name;
        Check(album->GetName(name), "GetName");
    }

    auto memory = Create<IZanDB4MemoryDataMgr>(IID_IZanDB4MemoryDataMgr);
    ComPtr<IZanDB4MemRecord> memo;
    Check(memory->GetRecord(7, u"last folder", memo.Receive()), "GetRecord");
    if (memo) {
        const uint8_t* bytes = static_cast<const uint8_t*>(memo->GetData());
        uint32_t size = memo->GetDataSize();
        if (bytes != nullptr && size > 0) {
            std::vector<uint8_t> copy(bytes, bytes + size);
        }
    }

    auto appLog = Create<IZanDB4AppLogDBMgr>(IID_IZanDB4AppLogDBMgr);
    uint32_t count = 0;
    Check(appLog->GetCount(0, 0, &count), "GetCount");
    int seen = 0;
    Check(appLog->EnumHistory(CountCallback, &seen, 0, 0, 0), "EnumHistory");

    auto gps = Create<IZanDB4GPSLogDBMgr>(IID_IZanDB4GPSLogDBMgr);
    Check(gps->GetLogDataCount(&count), "GetLogDataCount");
    CList<IZanDB4GPSLogDBRecord*> points;
    Check(gps->GetAllLogData(&points, true), "GetAllLogData");
    ReleaseAll(points);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    ScratchFolder root("zandb4-root-template");
    CZanTString wide = root.Wide();
    FUZZ_CHECK(ZanDB4_Initialize(wide.GetString()) == S_OK);
    Populate();
    FUZZ_CHECK(ZanDB4_Finalize() == S_OK);
    LoadTemplates(root.Path());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    uint8_t actions = data[0];
    ScratchFolder root("zandb4-root-fuzz");
    for (const auto& [relative, bytes] : DamagedFiles(data + 1, size - 1)) {
        std::filesystem::path path = root.Path() / relative;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream out(path, std::ios::binary);
        out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        FUZZ_CHECK(out.good());
    }

    CZanTString wide = root.Wide();
    HRESULT started = ZanDB4_Initialize(wide.GetString());
    Check(started, "ZanDB4_Initialize");
    if (started == S_OK) {
        ReadFiles((actions & 1) != 0);
        if (actions & 2) ReadFaces((actions & 1) != 0);
        if (actions & 4) ReadOtherStores();
    }
    // Finalize follows every Initialize, whatever it answered: the start
    // count was raised either way.
    Check(ZanDB4_Finalize(), "ZanDB4_Finalize");
    return 0;
}
