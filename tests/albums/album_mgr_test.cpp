// Albums through IZanDB4AlbumDBMgr and IZanDB4AlbumDBRecord: the rows on
// disk, the recount of dates and file count at commit, the read-through of a
// stored record, deleting an album with its files in catalogue and staging,
// the identifier pool, thumbnails in their own family, and the files of an
// album found through the file store.
#include <algorithm>
#include <cstring>
#include <limits>

#include "albums_fixture.h"
#include "catalogue/file_db_mgr.h"
#include "records/query_mgr.h"

namespace albums_test {
namespace {

using AlbumPtr = ComPtr<IZanDB4AlbumDBRecord>;
namespace fs = std::filesystem;

const unsigned char kPicture[] = {0x89, 'P', 'N', 'G', 0, 1, 2, 3};
const unsigned char kOtherPicture[] = {0xFF, 0xD8, 0xFF, 0xE0, 9};

class AlbumManager : public AlbumsFixture {
protected:
    void SetUp() override {
        AlbumsFixture::SetUp();
        if (HasFatalFailure()) return;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4AlbumDBMgr, reinterpret_cast<void**>(m_manager.Receive())), S_OK);
        ASSERT_TRUE(m_manager);
    }
    void TearDown() override {
        if (m_manager) {
            EXPECT_EQ(m_manager.Detach()->Release(), 0u);
        }
        AlbumsFixture::TearDown();
    }

    AlbumPtr NewRecord() {
        AlbumPtr album;
        EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4AlbumDBRecord, reinterpret_cast<void**>(album.Receive())), S_OK);
        return album;
    }

    AlbumPtr MakeAlbum(const std::string& name) {
        AlbumPtr album = NewRecord();
        if (album) {
            EXPECT_EQ(album->SetName(W(name)), S_OK);
        }
        return album;
    }

    // Adds an album of that name and answers its id; 0 if refused.
    uint64_t Add(const std::string& name) {
        AlbumPtr album = MakeAlbum(name);
        uint64_t id = 0;
        EXPECT_EQ(m_manager->AddAlbum(album.Get(), &id), S_OK) << name.substr(0, 40);
        return id;
    }

    void Commit() { ASSERT_EQ(m_manager->Commit(), S_OK); }

    // The committed row of an album: name, latitude, longitude, area info,
    // oldest, latest, count; empty without one.
    std::vector<std::string> RowOnDisk(uint64_t albumId) {
        Rows rows = Disk(
            "SELECT album_name, gps_latitude, gps_longitude, gps_areainfo, shooting_date_oldest, "
            "shooting_date_latest, album_file_count FROM album_table WHERE album_id=" +
            std::to_string(albumId));
        return rows.empty() ? std::vector<std::string>{} : rows[0];
    }
    // Oldest, latest and count of the committed row.
    std::vector<std::string> DerivedOnDisk(uint64_t albumId) {
        Rows rows = Disk(
            "SELECT shooting_date_oldest, shooting_date_latest, album_file_count FROM album_table WHERE album_id=" +
            std::to_string(albumId));
        return rows.empty() ? std::vector<std::string>{} : rows[0];
    }
    static std::vector<std::string> Derived(int64_t oldest, int64_t latest, int64_t count) {
        return {std::to_string(oldest), std::to_string(latest), std::to_string(count)};
    }

    // The committed album_id of a file in the catalogue or in staging; -1
    // without the row.
    int64_t CatalogueAlbumOf(uint64_t fileId) {
        return DiskInteger("SELECT album_id FROM file_table WHERE file_id=" + std::to_string(fileId));
    }
    int64_t StagedAlbumOf(uint64_t fileId) {
        return DiskInteger("SELECT album_id FROM async_file_table WHERE file_id=" + std::to_string(fileId),
                           "FileBasicAsync.db");
    }

    // The shard of a small album id in the albm family, kind 1 or 2.
    fs::path ThumbnailShard(uint32_t kind) {
        return m_root / "database" / (kind == 1 ? "albm_0s" : "albm_1s") / "00000000.db";
    }
    // Committed thumbnail rows of an id in that shard; -1 when the shard
    // file is not there.
    int64_t ThumbnailRows(uint32_t kind, uint64_t id) {
        if (!fs::exists(ThumbnailShard(kind))) return -1;
        zandb4::testing::SqliteProbe probe(ThumbnailShard(kind));
        return probe.Integer("SELECT COUNT(*) FROM thumbnail_table WHERE file_id=" + std::to_string(id));
    }
    std::string ThumbnailHex(uint32_t kind, uint64_t id) {
        zandb4::testing::SqliteProbe probe(ThumbnailShard(kind));
        Rows rows = probe.Rows("SELECT hex(thumbnail_data) FROM thumbnail_table WHERE file_id=" + std::to_string(id));
        return rows.empty() ? std::string("<no row>") : rows[0][0];
    }

    static uint32_t FileCountOf(IZanDB4AlbumDBRecord* album) {
        uint32_t count = 0xDEAD;
        EXPECT_EQ(album->GetFileCount(&count), S_OK);
        return count;
    }
    static int64_t OldestOf(IZanDB4AlbumDBRecord* album) {
        SYSTEMTIME date{};
        EXPECT_EQ(album->GetOldestDate(&date), S_OK);
        return Packed(date);
    }
    static int64_t LatestOf(IZanDB4AlbumDBRecord* album) {
        SYSTEMTIME date{};
        EXPECT_EQ(album->GetLatestDate(&date), S_OK);
        return Packed(date);
    }

    ComPtr<IZanDB4AlbumDBMgr> m_manager;
};

// ---- the record ----

TEST_F(AlbumManager, NewRecordIsBlankWithOneReference) {
    IZanDB4AlbumDBRecord* album = nullptr;
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4AlbumDBRecord, reinterpret_cast<void**>(&album)), S_OK);
    ASSERT_NE(album, nullptr);
    uint64_t id = 5;
    EXPECT_EQ(album->GetID(&id), S_OK);
    EXPECT_EQ(id, 0u);
    CZanTString text = W("left over");
    EXPECT_EQ(album->GetName(text), E_FAIL);
    EXPECT_TRUE(text.IsEmpty());
    text = W("left over");
    EXPECT_EQ(album->GetAreaInfo(text), E_FAIL);
    EXPECT_TRUE(text.IsEmpty());
    float latitude = 1.0f, longitude = 1.0f;
    EXPECT_EQ(album->GetGPS(&latitude, &longitude), S_OK);
    EXPECT_EQ(latitude, 0.0f);
    EXPECT_EQ(longitude, 0.0f);
    EXPECT_EQ(OldestOf(album), 0);
    EXPECT_EQ(LatestOf(album), 0);
    EXPECT_EQ(FileCountOf(album), 0u);
    EXPECT_EQ(album->AddRef(), 2u);
    EXPECT_EQ(album->Release(), 1u);
    EXPECT_EQ(album->Release(), 0u);
}

TEST_F(AlbumManager, RecordWithoutIdDeliversWhatItWasGiven) {
    AlbumPtr album = MakeAlbum("Trip");
    SYSTEMTIME oldest = Date(2020, 1, 2, 3, 4, 5), latest = Date(2021, 6, 7, 8, 9, 10);
    EXPECT_EQ(album->SetOldestDate(&oldest), S_OK);
    EXPECT_EQ(album->SetLatestDate(&latest), S_OK);
    EXPECT_EQ(album->SetFileCount(42), S_OK);
    EXPECT_EQ(album->SetAreaInfo(W("Harbour")), S_OK);
    EXPECT_EQ(OldestOf(album.Get()), Packed(oldest));
    EXPECT_EQ(LatestOf(album.Get()), Packed(latest));
    EXPECT_EQ(FileCountOf(album.Get()), 42u);
    CZanTString text;
    EXPECT_EQ(album->GetName(text), S_OK);
    EXPECT_EQ(text.ToUtf8(), "Trip");
    EXPECT_EQ(album->GetAreaInfo(text), S_OK);
    EXPECT_EQ(text.ToUtf8(), "Harbour");
    EXPECT_EQ(album->SetID(0xFFFFFFFFFFFFFFFFu), S_OK);
    uint64_t id = 0;
    EXPECT_EQ(album->GetID(&id), S_OK);
    EXPECT_EQ(id, 0xFFFFFFFFFFFFFFFFu);
}

TEST_F(AlbumManager, RecordRefusesNullPointers) {
    AlbumPtr album = MakeAlbum("Trip");
    float value = 1.0f;
    EXPECT_EQ(album->GetID(nullptr), E_INVALIDARG);
    EXPECT_EQ(album->SetGPS(nullptr, &value), E_INVALIDARG);
    EXPECT_EQ(album->SetGPS(&value, nullptr), E_INVALIDARG);
    EXPECT_EQ(album->GetGPS(nullptr, &value), E_INVALIDARG);
    EXPECT_EQ(album->GetGPS(&value, nullptr), E_INVALIDARG);
    EXPECT_EQ(album->SetOldestDate(nullptr), E_INVALIDARG);
    EXPECT_EQ(album->SetLatestDate(nullptr), E_INVALIDARG);
    EXPECT_EQ(album->GetOldestDate(nullptr), E_INVALIDARG);
    EXPECT_EQ(album->GetLatestDate(nullptr), E_INVALIDARG);
    EXPECT_EQ(album->GetFileCount(nullptr), E_INVALIDARG);
    // Nothing moved.
    float latitude = 9.0f, longitude = 9.0f;
    EXPECT_EQ(album->GetGPS(&latitude, &longitude), S_OK);
    EXPECT_EQ(latitude, 0.0f);
    EXPECT_EQ(longitude, 0.0f);
}

TEST_F(AlbumManager, BoundsOfLatitudeAndLongitudeAreAccepted) {
    AlbumPtr album = MakeAlbum("Edges");
    const float pairs[][2] = {{90.0f, -180.0f}, {-90.0f, 180.0f}, {0.0f, 0.0f}};
    for (const auto& pair : pairs) {
        EXPECT_EQ(album->SetGPS(&pair[0], &pair[1]), S_OK);
        float latitude = 1.0f, longitude = 1.0f;
        EXPECT_EQ(album->GetGPS(&latitude, &longitude), S_OK);
        EXPECT_EQ(latitude, pair[0]);
        EXPECT_EQ(longitude, pair[1]);
    }
}

TEST_F(AlbumManager, CoordinatesOutsideTheirRangeAreRefusedAndTheRecordStaysAsItWas) {
    AlbumPtr album = MakeAlbum("Edges");
    const float startLatitude = 90.0f, startLongitude = -180.0f;
    ASSERT_EQ(album->SetGPS(&startLatitude, &startLongitude), S_OK);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    const float bad[][2] = {{90.5f, 0.0f}, {-90.5f, 0.0f}, {0.0f, -180.5f}, {0.0f, 180.5f},
                            {nan, 0.0f},   {0.0f, nan},    {inf, 0.0f},     {-inf, 0.0f},
                            {0.0f, inf},   {0.0f, -inf},   {90.5f, 10.0f},  {10.0f, -180.5f}};
    for (const auto& pair : bad) {
        SCOPED_TRACE(testing::Message() << pair[0] << ", " << pair[1]);
        EXPECT_EQ(album->SetGPS(&pair[0], &pair[1]), E_INVALIDARG);
        float latitude = 0.0f, longitude = 0.0f;
        EXPECT_EQ(album->GetGPS(&latitude, &longitude), S_OK);
        EXPECT_EQ(latitude, startLatitude);
        EXPECT_EQ(longitude, startLongitude);
    }
}

TEST_F(AlbumManager, ObjectsAnswerOnlyToTheirOwnInterface) {
    void* same = nullptr;
    EXPECT_EQ(m_manager->QueryInterface(IID_IZanDB4AlbumDBMgr, &same), S_OK);
    EXPECT_EQ(same, static_cast<void*>(m_manager.Get()));
    static_cast<IUnknown*>(same)->Release();
    void* other = reinterpret_cast<void*>(1);
    EXPECT_EQ(m_manager->QueryInterface(IID_IZanDB4TagDBMgr, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
    other = reinterpret_cast<void*>(1);
    EXPECT_EQ(m_manager->QueryInterface(IID_IZanDB4AlbumDBRecord, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
}

// ---- AddAlbum ----

TEST_F(AlbumManager, AddedAlbumHasEveryColumnOnDiskAfterCommitAndItsIdOnTheRecord) {
    AlbumPtr album = MakeAlbum("Summer");
    const float latitude = 35.5f, longitude = -120.25f;
    ASSERT_EQ(album->SetGPS(&latitude, &longitude), S_OK);
    ASSERT_EQ(album->SetAreaInfo(W("Bay")), S_OK);
    SYSTEMTIME oldest = Date(2020, 1, 2), latest = Date(2020, 3, 4);
    ASSERT_EQ(album->SetOldestDate(&oldest), S_OK);
    ASSERT_EQ(album->SetLatestDate(&latest), S_OK);
    ASSERT_EQ(album->SetFileCount(3), S_OK);
    uint64_t id = 0;
    ASSERT_EQ(m_manager->AddAlbum(album.Get(), &id), S_OK);
    EXPECT_EQ(id, 1u);
    uint64_t recordId = 0;
    EXPECT_EQ(album->GetID(&recordId), S_OK);
    EXPECT_EQ(recordId, id);
    EXPECT_TRUE(RowOnDisk(id).empty());
    Commit();
    EXPECT_EQ(RowOnDisk(id),
              (std::vector<std::string>{"Summer", "35.5", "-120.25", "Bay", std::to_string(Packed(oldest)),
                                        std::to_string(Packed(latest)), "3"}));
    EXPECT_EQ(m_manager->GetAlbumCount(), 1u);
}

TEST_F(AlbumManager, AlbumWithoutAreaOrDatesWritesEmptyTextAndZeros) {
    uint64_t id = Add("Bare");
    Commit();
    EXPECT_EQ(RowOnDisk(id), (std::vector<std::string>{"Bare", "0.0", "0.0", "", "0", "0", "0"}));
    EXPECT_EQ(Disk("SELECT typeof(gps_areainfo) FROM album_table"), (Rows{{"text"}}));
}

TEST_F(AlbumManager, CoordinatesGoThroughFloatPrecision) {
    AlbumPtr album = MakeAlbum("Precise");
    const float latitude = 35.6812f, longitude = 139.7671f;
    ASSERT_EQ(album->SetGPS(&latitude, &longitude), S_OK);
    uint64_t id = 0;
    ASSERT_EQ(m_manager->AddAlbum(album.Get(), &id), S_OK);
    Commit();
    zandb4::testing::SqliteProbe probe(m_root / "database" / "FileBasic.db");
    sqlite3_stmt* statement = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(probe.Handle(), "SELECT gps_latitude, gps_longitude FROM album_table", -1, &statement,
                                 nullptr),
              SQLITE_OK);
    ASSERT_EQ(sqlite3_step(statement), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_double(statement, 0), static_cast<double>(latitude));
    EXPECT_EQ(sqlite3_column_double(statement, 1), static_cast<double>(longitude));
    sqlite3_finalize(statement);

    AlbumPtr read;
    ASSERT_EQ(m_manager->GetAlbum(id, read.Receive()), S_OK);
    float readLatitude = 0.0f, readLongitude = 0.0f;
    EXPECT_EQ(read->GetGPS(&readLatitude, &readLongitude), S_OK);
    EXPECT_EQ(readLatitude, latitude);
    EXPECT_EQ(readLongitude, longitude);
}

TEST_F(AlbumManager, AddRefusesANullRecordAndAnEmptyNameWithTheOutIdCleared) {
    uint64_t id = 77;
    EXPECT_EQ(m_manager->AddAlbum(nullptr, &id), E_INVALIDARG);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(m_manager->AddAlbum(nullptr, nullptr), E_INVALIDARG);
    AlbumPtr unnamed = NewRecord();
    id = 77;
    EXPECT_EQ(m_manager->AddAlbum(unnamed.Get(), &id), E_INVALIDARG);
    EXPECT_EQ(id, 0u);
    uint64_t recordId = 9;
    EXPECT_EQ(unnamed->GetID(&recordId), S_OK);
    EXPECT_EQ(recordId, 0u);
    // No id was drawn for the refused calls.
    EXPECT_EQ(Add("First"), 1u);
    Commit();
    EXPECT_EQ(DiskIds("SELECT album_id FROM album_table"), (Ids{1}));
}

TEST_F(AlbumManager, AddWithoutAnOutIdStillSetsTheRecordsId) {
    AlbumPtr album = MakeAlbum("No out");
    ASSERT_EQ(m_manager->AddAlbum(album.Get(), nullptr), S_OK);
    uint64_t id = 0;
    EXPECT_EQ(album->GetID(&id), S_OK);
    EXPECT_EQ(id, 1u);
}

TEST_F(AlbumManager, AddedAlbumsLeaveNothingInTheIdentifierPool) {
    Add("One");
    Add("Two");
    Commit();
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM pooled_id_table WHERE id_type=2"), 0);
    EXPECT_EQ(DiskInteger("SELECT last_id FROM last_id_table WHERE id_type=2"), 2);
}

TEST_F(AlbumManager, AwkwardNamesAndAreasRoundTripExactly) {
    std::vector<std::pair<uint64_t, std::string>> added;
    for (const std::string& name : AwkwardNames()) {
        AlbumPtr album = MakeAlbum(name);
        ASSERT_EQ(album->SetAreaInfo(W(name + " area")), S_OK);
        uint64_t id = 0;
        ASSERT_EQ(m_manager->AddAlbum(album.Get(), &id), S_OK);
        added.emplace_back(id, name);
    }
    Commit();
    for (const auto& [id, name] : added) {
        SCOPED_TRACE(name.substr(0, 40));
        EXPECT_EQ(DiskText("SELECT album_name FROM album_table WHERE album_id=" + std::to_string(id)), name);
        EXPECT_EQ(DiskText("SELECT gps_areainfo FROM album_table WHERE album_id=" + std::to_string(id)),
                  name + " area");
        AlbumPtr read;
        ASSERT_EQ(m_manager->GetAlbum(id, read.Receive()), S_OK);
        CZanTString text;
        EXPECT_EQ(read->GetName(text), S_OK);
        EXPECT_EQ(text.ToUtf8(), name);
        EXPECT_EQ(read->GetAreaInfo(text), S_OK);
        EXPECT_EQ(text.ToUtf8(), name + " area");
    }
    EXPECT_EQ(m_manager->GetAlbumCount(), AwkwardNames().size());
}

TEST_F(AlbumManager, FailedInsertGivesItsIdBackAndLeavesTheRecordAsItWas) {
    uint64_t kept = Add("Kept");
    Commit();
    DropInsideTransaction("album_table");
    AlbumPtr album = MakeAlbum("Lost");
    uint64_t id = 77;
    EXPECT_EQ(m_manager->AddAlbum(album.Get(), &id), E_FAIL);
    EXPECT_EQ(id, 0u);
    uint64_t recordId = 5;
    EXPECT_EQ(album->GetID(&recordId), S_OK);
    EXPECT_EQ(recordId, 0u);
    EXPECT_EQ(CatalogueInteger("SELECT COUNT(*) FROM pooled_id_table WHERE id_type=2 AND pooled_id=" +
                               std::to_string(kept + 1)),
              1);
    ASSERT_EQ(m_manager->Rollback(), S_OK);
    Commit();
    EXPECT_EQ(DiskIds("SELECT album_id FROM album_table"), (Ids{kept}));
    EXPECT_EQ(DiskText("SELECT album_name FROM album_table"), "Kept");
}

TEST_F(AlbumManager, AlbumWhoseRowCannotBeDeletedKeepsItsFiles) {
    uint64_t id = Add("Stuck");
    AddFile(File(10).InAlbum(id));
    Commit();
    DropInsideTransaction("album_table");
    EXPECT_EQ(m_manager->DeleteAlbum(id), E_FAIL);
    // The files were not taken out of the album, and the id is not pooled.
    EXPECT_EQ(CatalogueInteger("SELECT album_id FROM file_table WHERE file_id=10"), static_cast<int64_t>(id));
    EXPECT_EQ(CatalogueInteger("SELECT COUNT(*) FROM pooled_id_table WHERE id_type=2"), 0);
    ASSERT_EQ(m_manager->Rollback(), S_OK);
    Commit();
    EXPECT_EQ(DiskIds("SELECT album_id FROM album_table"), (Ids{id}));
    EXPECT_EQ(CatalogueAlbumOf(10), static_cast<int64_t>(id));
}

// ---- GetAlbum and the lists ----

TEST_F(AlbumManager, GetAlbumRefusesANullOutAndClearsTheOutForAnUnknownId) {
    uint64_t id = Add("Known");
    EXPECT_EQ(m_manager->GetAlbum(id, nullptr), E_INVALIDARG);
    AlbumPtr mine = MakeAlbum("mine");
    IZanDB4AlbumDBRecord* out = mine.Get();
    EXPECT_EQ(m_manager->GetAlbum(id + 100, &out), E_FAIL);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(mine->AddRef(), 2u);
    EXPECT_EQ(mine->Release(), 1u);
}

TEST_F(AlbumManager, GetAlbumDeliversANewRecordWithOneReference) {
    AlbumPtr album = MakeAlbum("Known");
    ASSERT_EQ(album->SetAreaInfo(W("Hill")), S_OK);
    ASSERT_EQ(album->SetFileCount(4), S_OK);
    uint64_t id = 0;
    ASSERT_EQ(m_manager->AddAlbum(album.Get(), &id), S_OK);
    IZanDB4AlbumDBRecord* read = nullptr;
    ASSERT_EQ(m_manager->GetAlbum(id, &read), S_OK);
    ASSERT_NE(read, nullptr);
    EXPECT_NE(read, album.Get());
    uint64_t readId = 0;
    EXPECT_EQ(read->GetID(&readId), S_OK);
    EXPECT_EQ(readId, id);
    CZanTString text;
    EXPECT_EQ(read->GetName(text), S_OK);
    EXPECT_EQ(text.ToUtf8(), "Known");
    EXPECT_EQ(read->GetAreaInfo(text), S_OK);
    EXPECT_EQ(text.ToUtf8(), "Hill");
    EXPECT_EQ(FileCountOf(read), 4u);
    EXPECT_EQ(read->Release(), 0u);
}

TEST_F(AlbumManager, EmptyTableHasNoAlbumsAndCountZero) {
    EXPECT_EQ(m_manager->GetAlbumCount(), 0u);
    AlbumPtr mine = MakeAlbum("mine");
    CArray<IZanDB4AlbumDBRecord*> albums;
    albums.Add(mine.Get());
    EXPECT_EQ(m_manager->GetAlbums(&albums), E_FAIL);
    EXPECT_EQ(albums.GetSize(), 0);
    CArray<uint64_t> ids;
    ids.Add(1234);
    EXPECT_EQ(m_manager->GetAlbumIDs(&ids), E_FAIL);
    EXPECT_EQ(ids.GetSize(), 0);
    // The caller's record was dropped from the array, not released.
    EXPECT_EQ(mine->AddRef(), 2u);
    EXPECT_EQ(mine->Release(), 1u);
}

TEST_F(AlbumManager, ListsRefuseNullArrays) {
    Add("Any");
    EXPECT_EQ(m_manager->GetAlbums(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_manager->GetAlbumIDs(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_manager->GetAlbumsByPerson(1, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_manager->GetAlbumsByPet(1, nullptr), E_INVALIDARG);
}

TEST_F(AlbumManager, AlbumsComeOldestFirstByTheirOldestDate) {
    // Ids 1, 2, 3 with oldest dates that put them 2, 3, 1.
    const int64_t dates[] = {Packed(2022, 1, 1), Packed(2010, 5, 5), Packed(2015, 7, 7)};
    Ids ids;
    for (int i = 0; i < 3; ++i) {
        AlbumPtr album = MakeAlbum("Album " + std::to_string(i));
        SYSTEMTIME oldest = CZanTDateTime(dates[i]).m_time;
        ASSERT_EQ(album->SetOldestDate(&oldest), S_OK);
        uint64_t id = 0;
        ASSERT_EQ(m_manager->AddAlbum(album.Get(), &id), S_OK);
        ids.push_back(id);
    }
    CArray<uint64_t> ordered;
    ASSERT_EQ(m_manager->GetAlbumIDs(&ordered), S_OK);
    ASSERT_EQ(ordered.GetSize(), 3);
    EXPECT_EQ((Ids{ordered[0], ordered[1], ordered[2]}), (Ids{ids[1], ids[2], ids[0]}));

    CArray<IZanDB4AlbumDBRecord*> albums;
    ASSERT_EQ(m_manager->GetAlbums(&albums), S_OK);
    ASSERT_EQ(albums.GetSize(), 3);
    for (ptrdiff_t i = 0; i < 3; ++i) {
        uint64_t id = 0;
        EXPECT_EQ(albums[i]->GetID(&id), S_OK);
        EXPECT_EQ(id, ordered[i]);
        EXPECT_EQ(albums[i]->Release(), 0u);
    }
}

TEST_F(AlbumManager, RecountedDatesDecideTheOrderOfTheIds) {
    uint64_t a = Add("A");
    uint64_t b = Add("B");
    AddFile(File(10).InAlbum(a).ShotAt(Packed(2024, 1, 1)));
    AddFile(File(11).InAlbum(b).ShotAt(Packed(2001, 1, 1)));
    Commit();
    CArray<uint64_t> ordered;
    ASSERT_EQ(m_manager->GetAlbumIDs(&ordered), S_OK);
    ASSERT_EQ(ordered.GetSize(), 2);
    EXPECT_EQ((Ids{ordered[0], ordered[1]}), (Ids{b, a}));
}

// ---- the recount at commit ----

TEST_F(AlbumManager, CommitRecountsManagedFilesAndTheDateRangeOfEveryFile) {
    uint64_t id = Add("Mixed");
    AddFile(File(10).InAlbum(id).ShotAt(Packed(2021, 5, 1)));
    AddFile(File(11).InAlbum(id).ShotAt(Packed(2019, 2, 1)).Unmanaged());
    AddFile(File(12).InAlbum(id).ShotAt(Packed(2023, 8, 1)).Unmanaged());
    AddFile(File(13).ShotAt(Packed(1990, 1, 1)));
    Commit();
    EXPECT_EQ(DerivedOnDisk(id), Derived(Packed(2019, 2, 1), Packed(2023, 8, 1), 1));
}

TEST_F(AlbumManager, AlbumOfOnlyUnmanagedFilesCountsZeroYetHasARealDateRange) {
    uint64_t id = Add("Hidden");
    AddFile(File(10).InAlbum(id).ShotAt(Packed(2018, 4, 4)).Unmanaged());
    AddFile(File(11).InAlbum(id).ShotAt(Packed(2018, 9, 9)).Unmanaged());
    Commit();
    EXPECT_EQ(DerivedOnDisk(id), Derived(Packed(2018, 4, 4), Packed(2018, 9, 9), 0));
}

TEST_F(AlbumManager, UndatedFileAtTheHeadIsPassedOverByTheDateRange) {
    uint64_t id = Add("Undated");
    AddFile(File(10).InAlbum(id).ShotAt(0));
    AddFile(File(11).InAlbum(id).ShotAt(Packed(2012, 2, 2)));
    AddFile(File(12).InAlbum(id).ShotAt(Packed(2014, 4, 4)));
    Commit();
    EXPECT_EQ(DerivedOnDisk(id), Derived(Packed(2012, 2, 2), Packed(2014, 4, 4), 3));
}

TEST_F(AlbumManager, MovingAFileToAnotherAlbumRefreshesBothAtCommit) {
    uint64_t a = Add("A");
    uint64_t b = Add("B");
    AddFile(File(10).InAlbum(a).ShotAt(Packed(2020, 1, 1)));
    AddFile(File(11).InAlbum(a).ShotAt(Packed(2020, 6, 1)));
    Commit();
    ASSERT_EQ(DerivedOnDisk(a), Derived(Packed(2020, 1, 1), Packed(2020, 6, 1), 2));
    ASSERT_EQ(DerivedOnDisk(b), Derived(0, 0, 0));

    MoveFile(11, b);
    Commit();
    EXPECT_EQ(DerivedOnDisk(a), Derived(Packed(2020, 1, 1), Packed(2020, 1, 1), 1));
    EXPECT_EQ(DerivedOnDisk(b), Derived(Packed(2020, 6, 1), Packed(2020, 6, 1), 1));
    EXPECT_EQ(CatalogueAlbumOf(11), static_cast<int64_t>(b));
}

TEST_F(AlbumManager, StagedFileMovedToAnotherAlbumCountsInTheNewOneWhenItReachesTheCatalogue) {
    uint64_t a = Add("A");
    uint64_t b = Add("B");
    AddFile(File(10).InAlbum(a).ShotAt(Packed(2021, 3, 1)));
    StageFile(File(20).InAlbum(a).ShotAt(Packed(2021, 5, 1)));
    Commit();
    ASSERT_EQ(StagedAlbumOf(20), static_cast<int64_t>(a));

    // The staged row is rewritten with the new album before it moves.
    FilePtr staged = MakeFile(File(20).InAlbum(b).ShotAt(Packed(2021, 5, 1)));
    ASSERT_TRUE(staged);
    ASSERT_EQ(Staging().UpdateFile(20, staged.Get()), S_OK);
    CZanDB4FileDBMgr files(DatabaseRegistry::fileBasicDB, DatabaseRegistry::asyncDB, DatabaseRegistry::metaFactory,
                           DatabaseRegistry::thumbMgr);
    ASSERT_EQ(files.Commit(CZanDB4FileDBMgr::kMoveStaged | CZanDB4FileDBMgr::kCommitCatalogue), S_OK);

    EXPECT_EQ(CatalogueAlbumOf(20), static_cast<int64_t>(b));
    EXPECT_EQ(DerivedOnDisk(a), Derived(Packed(2021, 3, 1), Packed(2021, 3, 1), 1));
    EXPECT_EQ(DerivedOnDisk(b), Derived(Packed(2021, 5, 1), Packed(2021, 5, 1), 1));
}

TEST_F(AlbumManager, MovingTheLastFileOutEmptiesTheAlbumToZeros) {
    uint64_t a = Add("A");
    AddFile(File(10).InAlbum(a).ShotAt(Packed(2020, 1, 1)));
    Commit();
    MoveFile(10, 0);
    Commit();
    EXPECT_EQ(DerivedOnDisk(a), Derived(0, 0, 0));
}

TEST_F(AlbumManager, StoredRecordReadsItsDerivedValuesThroughAfterACommit) {
    AlbumPtr album = MakeAlbum("Live");
    uint64_t id = 0;
    ASSERT_EQ(m_manager->AddAlbum(album.Get(), &id), S_OK);
    EXPECT_EQ(FileCountOf(album.Get()), 0u);
    AddFile(File(10).InAlbum(id).ShotAt(Packed(2016, 1, 1)));
    AddFile(File(11).InAlbum(id).ShotAt(Packed(2017, 1, 1)));
    // Nothing is recounted before the commit.
    EXPECT_EQ(FileCountOf(album.Get()), 0u);
    Commit();
    // The same object, not read again through the manager.
    EXPECT_EQ(FileCountOf(album.Get()), 2u);
    EXPECT_EQ(OldestOf(album.Get()), Packed(2016, 1, 1));
    EXPECT_EQ(LatestOf(album.Get()), Packed(2017, 1, 1));

    // A record read earlier follows the row too.
    AlbumPtr read;
    ASSERT_EQ(m_manager->GetAlbum(id, read.Receive()), S_OK);
    MoveFile(11, 0);
    Commit();
    EXPECT_EQ(FileCountOf(read.Get()), 1u);
    EXPECT_EQ(LatestOf(read.Get()), Packed(2016, 1, 1));
}

TEST_F(AlbumManager, StoredRecordIgnoresItsOwnSettersForDerivedValues) {
    AlbumPtr album = MakeAlbum("Live");
    uint64_t id = 0;
    ASSERT_EQ(m_manager->AddAlbum(album.Get(), &id), S_OK);
    SYSTEMTIME date = Date(1999, 9, 9);
    ASSERT_EQ(album->SetFileCount(50), S_OK);
    ASSERT_EQ(album->SetOldestDate(&date), S_OK);
    EXPECT_EQ(FileCountOf(album.Get()), 0u);
    EXPECT_EQ(OldestOf(album.Get()), 0);
}

TEST_F(AlbumManager, RecordWhoseRowIsGoneKeepsItsLastValues) {
    AlbumPtr album = MakeAlbum("Gone");
    uint64_t id = 0;
    ASSERT_EQ(m_manager->AddAlbum(album.Get(), &id), S_OK);
    AddFile(File(10).InAlbum(id).ShotAt(Packed(2016, 1, 1)));
    Commit();
    // Each getter keeps what it last read from the row.
    ASSERT_EQ(FileCountOf(album.Get()), 1u);
    ASSERT_EQ(OldestOf(album.Get()), Packed(2016, 1, 1));
    ASSERT_EQ(m_manager->DeleteAlbum(id), S_OK);
    Commit();
    EXPECT_EQ(FileCountOf(album.Get()), 1u);
    EXPECT_EQ(OldestOf(album.Get()), Packed(2016, 1, 1));
}

// ---- UpdateAlbum ----

TEST_F(AlbumManager, UpdateOfAStoredRecordCannotMoveDatesOrCount) {
    uint64_t id = Add("Before");
    AddFile(File(10).InAlbum(id).ShotAt(Packed(2011, 1, 1)));
    Commit();
    AlbumPtr read;
    ASSERT_EQ(m_manager->GetAlbum(id, read.Receive()), S_OK);
    SYSTEMTIME faked = Date(1980, 1, 1);
    ASSERT_EQ(read->SetOldestDate(&faked), S_OK);
    ASSERT_EQ(read->SetLatestDate(&faked), S_OK);
    ASSERT_EQ(read->SetFileCount(99), S_OK);
    ASSERT_EQ(read->SetName(W("After")), S_OK);
    ASSERT_EQ(read->SetAreaInfo(W("Shore")), S_OK);
    EXPECT_EQ(m_manager->UpdateAlbum(id, read.Get()), S_OK);
    Commit();
    EXPECT_EQ(RowOnDisk(id),
              (std::vector<std::string>{"After", "0.0", "0.0", "Shore", std::to_string(Packed(2011, 1, 1)),
                                        std::to_string(Packed(2011, 1, 1)), "1"}));
}

TEST_F(AlbumManager, UpdateFromARecordWithoutIdWritesItsDerivedValues) {
    uint64_t id = Add("Before");
    AlbumPtr change = MakeAlbum("After");
    SYSTEMTIME oldest = Date(2001, 1, 1), latest = Date(2002, 2, 2);
    ASSERT_EQ(change->SetOldestDate(&oldest), S_OK);
    ASSERT_EQ(change->SetLatestDate(&latest), S_OK);
    ASSERT_EQ(change->SetFileCount(7), S_OK);
    EXPECT_EQ(m_manager->UpdateAlbum(id, change.Get()), S_OK);
    Commit();
    EXPECT_EQ(DerivedOnDisk(id), Derived(Packed(oldest), Packed(latest), 7));
    // The record did not take the id it was written under.
    uint64_t recordId = 5;
    EXPECT_EQ(change->GetID(&recordId), S_OK);
    EXPECT_EQ(recordId, 0u);
}

TEST_F(AlbumManager, UpdateWritesTheRowOfTheArgumentsIdNotTheRecords) {
    uint64_t a = Add("A");
    uint64_t b = Add("B");
    AlbumPtr change = MakeAlbum("Renamed");
    change->SetID(b);
    // The record's id decides what its read-through reads: B's derived values
    // (zeros here), written into A's row.
    EXPECT_EQ(m_manager->UpdateAlbum(a, change.Get()), S_OK);
    Commit();
    EXPECT_EQ(DiskText("SELECT album_name FROM album_table WHERE album_id=" + std::to_string(a)), "Renamed");
    EXPECT_EQ(DiskText("SELECT album_name FROM album_table WHERE album_id=" + std::to_string(b)), "B");
}

TEST_F(AlbumManager, UpdateRefusesANullRecordAndAnEmptyNameAndTheRowStays) {
    uint64_t id = Add("Kept");
    Commit();
    EXPECT_EQ(m_manager->UpdateAlbum(id, nullptr), E_INVALIDARG);
    AlbumPtr unnamed = NewRecord();
    ASSERT_EQ(unnamed->SetAreaInfo(W("somewhere")), S_OK);
    EXPECT_EQ(m_manager->UpdateAlbum(id, unnamed.Get()), E_INVALIDARG);
    Commit();
    EXPECT_EQ(RowOnDisk(id), (std::vector<std::string>{"Kept", "0.0", "0.0", "", "0", "0", "0"}));
}

TEST_F(AlbumManager, UpdateOfAnUnknownIdChangesNothingAndIsOk) {
    uint64_t id = Add("Only");
    AlbumPtr change = MakeAlbum("Nobody");
    EXPECT_EQ(m_manager->UpdateAlbum(id + 100, change.Get()), S_OK);
    Commit();
    EXPECT_EQ(DiskIds("SELECT album_id FROM album_table"), (Ids{id}));
    EXPECT_EQ(DiskText("SELECT album_name FROM album_table"), "Only");
}

// ---- DeleteAlbum ----

TEST_F(AlbumManager, DeleteLeavesTheFilesInCatalogueAndStagingOutOfAnyAlbum) {
    uint64_t id = Add("Doomed");
    uint64_t other = Add("Other");
    AddFile(File(10).InAlbum(id).ShotAt(Packed(2020, 1, 1)));
    AddFile(File(11).InAlbum(other).ShotAt(Packed(2020, 1, 1)));
    StageFile(File(20).InAlbum(id));
    StageFile(File(21).InAlbum(other));
    Commit();
    ASSERT_EQ(StagedAlbumOf(20), static_cast<int64_t>(id));

    EXPECT_EQ(m_manager->DeleteAlbum(id), S_OK);
    Commit();
    EXPECT_TRUE(RowOnDisk(id).empty());
    EXPECT_EQ(CatalogueAlbumOf(10), 0);
    EXPECT_EQ(StagedAlbumOf(20), 0);
    // The other album and its files are untouched.
    EXPECT_EQ(CatalogueAlbumOf(11), static_cast<int64_t>(other));
    EXPECT_EQ(StagedAlbumOf(21), static_cast<int64_t>(other));
    EXPECT_EQ(DerivedOnDisk(other), Derived(Packed(2020, 1, 1), Packed(2020, 1, 1), 1));
    EXPECT_EQ(DiskIds("SELECT file_id FROM file_table ORDER BY file_id"), (Ids{10, 11}));
    EXPECT_EQ(DiskIds("SELECT file_id FROM async_file_table ORDER BY file_id", "FileBasicAsync.db"), (Ids{20, 21}));
    EXPECT_EQ(m_manager->GetAlbumCount(), 1u);
}

TEST_F(AlbumManager, DeletedIdGoesToThePoolAndTheNextAlbumGetsIt) {
    uint64_t a = Add("A");
    uint64_t b = Add("B");
    Commit();
    ASSERT_EQ(m_manager->DeleteAlbum(a), S_OK);
    Commit();
    EXPECT_EQ(PooledOnDisk(kAlbumIdType, a), 1);
    EXPECT_EQ(Add("C"), a);
    Commit();
    EXPECT_EQ(Disk("SELECT album_id, album_name FROM album_table ORDER BY album_id"),
              (Rows{{std::to_string(a), "C"}, {std::to_string(b), "B"}}));
    EXPECT_EQ(PooledOnDisk(kAlbumIdType, a), 0);
}

TEST_F(AlbumManager, SecondDeleteOfOneIdIsOkAndPoolsItAgainWithoutHandingItOutTwice) {
    uint64_t a = Add("A");
    Commit();
    EXPECT_EQ(m_manager->DeleteAlbum(a), S_OK);
    EXPECT_EQ(m_manager->DeleteAlbum(a), S_OK);
    Commit();
    EXPECT_EQ(PooledOnDisk(kAlbumIdType, a), 2);
    uint64_t first = Add("First");
    uint64_t second = Add("Second");
    EXPECT_EQ(first, a);
    // The second pooled copy names an album that exists again: it is dropped
    // and a new id drawn.
    EXPECT_NE(second, a);
    EXPECT_NE(second, 0u);
    Commit();
    EXPECT_EQ(PooledOnDisk(kAlbumIdType, a), 0);
    EXPECT_EQ(m_manager->GetAlbumCount(), 2u);
}

TEST_F(AlbumManager, DeleteOfAnIdThatNeverExistedIsOkAndTouchesNoOtherAlbum) {
    uint64_t a = Add("A");
    AddFile(File(10).InAlbum(a));
    EXPECT_EQ(m_manager->DeleteAlbum(a + 100), S_OK);
    Commit();
    EXPECT_EQ(DiskIds("SELECT album_id FROM album_table"), (Ids{a}));
    EXPECT_EQ(CatalogueAlbumOf(10), static_cast<int64_t>(a));
}

TEST_F(AlbumManager, RollbackLeavesNoStaleAlbumForTheNextCommit) {
    // The stored count of 5 stays as long as nothing recounts the album.
    AlbumPtr album = MakeAlbum("Counted");
    ASSERT_EQ(album->SetFileCount(5), S_OK);
    SYSTEMTIME date = Date(2005, 5, 5);
    ASSERT_EQ(album->SetOldestDate(&date), S_OK);
    ASSERT_EQ(album->SetLatestDate(&date), S_OK);
    uint64_t id = 0;
    ASSERT_EQ(m_manager->AddAlbum(album.Get(), &id), S_OK);
    Commit();
    ASSERT_EQ(DerivedOnDisk(id), Derived(Packed(date), Packed(date), 5));

    // A file joins the album and the work is dropped again.
    AddFile(File(10).InAlbum(id).ShotAt(Packed(2020, 1, 1)));
    ASSERT_FALSE(Catalogue().AlbumRecounts().empty());
    EXPECT_EQ(m_manager->Rollback(), S_OK);
    EXPECT_TRUE(Catalogue().AlbumRecounts().empty());
    Commit();
    EXPECT_EQ(DerivedOnDisk(id), Derived(Packed(date), Packed(date), 5));
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM file_table"), 0);
}

TEST_F(AlbumManager, RollbackBringsADeletedAlbumBackButNotItsStagedFiles) {
    uint64_t id = Add("Back");
    AddFile(File(10).InAlbum(id));
    StageFile(File(20).InAlbum(id));
    Commit();
    ASSERT_EQ(m_manager->DeleteAlbum(id), S_OK);
    EXPECT_EQ(m_manager->Rollback(), S_OK);
    EXPECT_EQ(m_manager->GetAlbumCount(), 1u);
    Commit();
    EXPECT_EQ(DiskIds("SELECT album_id FROM album_table"), (Ids{id}));
    EXPECT_EQ(CatalogueAlbumOf(10), static_cast<int64_t>(id));
    EXPECT_EQ(PooledOnDisk(kAlbumIdType, id), 0);
    // Staging is not rolled back: its files left the album for good.
    EXPECT_EQ(StagedAlbumOf(20), 0);
}

TEST_F(AlbumManager, RollbackDropsAnUncommittedAlbumAndItsId) {
    uint64_t kept = Add("Kept");
    Commit();
    uint64_t dropped = Add("Dropped");
    EXPECT_EQ(m_manager->Rollback(), S_OK);
    Commit();
    EXPECT_EQ(DiskIds("SELECT album_id FROM album_table"), (Ids{kept}));
    EXPECT_EQ(Add("Again"), dropped);
}

// ---- persons and pets ----

TEST_F(AlbumManager, PersonWithoutFacesHasNoAlbums) {
    uint64_t id = Add("A");
    AddFile(File(10).InAlbum(id));
    EXPECT_EQ(m_manager->GetAlbumCountByPerson(7), 0u);
    AlbumPtr mine = MakeAlbum("mine");
    CArray<IZanDB4AlbumDBRecord*> albums;
    albums.Add(mine.Get());
    EXPECT_EQ(m_manager->GetAlbumsByPerson(7, &albums), E_FAIL);
    EXPECT_EQ(albums.GetSize(), 0);
    EXPECT_EQ(m_manager->GetAlbumCountByPet(7), 0u);
    albums.Add(mine.Get());
    EXPECT_EQ(m_manager->GetAlbumsByPet(7, &albums), E_FAIL);
    EXPECT_EQ(albums.GetSize(), 0);
}

TEST_F(AlbumManager, AlbumsOfAPersonOrPetAreThoseHoldingTheirFaces) {
    uint64_t a = Add("A");
    uint64_t b = Add("B");
    Add("C");
    AddFile(File(10).InAlbum(a));
    AddFile(File(11).InAlbum(a));
    AddFile(File(12).InAlbum(b));
    ExecOnCatalogue(
        "INSERT INTO person_face_table (person_face_id, file_id, person_id, rect) VALUES (1, 10, 7, 0), "
        "(2, 11, 7, 0), (3, 12, 7, 0), (4, 12, 8, 0)");
    ExecOnCatalogue("INSERT INTO pet_face_table (pet_face_id, file_id, pet_id, rect) VALUES (1, 11, 9, 0)");
    EXPECT_EQ(m_manager->GetAlbumCountByPerson(7), 2u);
    EXPECT_EQ(m_manager->GetAlbumCountByPerson(8), 1u);
    EXPECT_EQ(m_manager->GetAlbumCountByPet(9), 1u);
    CArray<IZanDB4AlbumDBRecord*> albums;
    ASSERT_EQ(m_manager->GetAlbumsByPerson(8, &albums), S_OK);
    ASSERT_EQ(albums.GetSize(), 1);
    uint64_t found = 0;
    EXPECT_EQ(albums[0]->GetID(&found), S_OK);
    EXPECT_EQ(found, b);
    EXPECT_EQ(albums[0]->Release(), 0u);
    ASSERT_EQ(m_manager->GetAlbumsByPet(9, &albums), S_OK);
    ASSERT_EQ(albums.GetSize(), 1);
    EXPECT_EQ(albums[0]->GetID(&found), S_OK);
    EXPECT_EQ(found, a);
    EXPECT_EQ(albums[0]->Release(), 0u);
}

// ---- thumbnails ----

TEST_F(AlbumManager, ThumbnailKindsOtherThanOneAndTwoAreRefused) {
    uint64_t id = Add("Pictured");
    IZanDB4FileCache* cache = nullptr;
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileCache, reinterpret_cast<void**>(&cache)), S_OK);
    ASSERT_EQ(cache->SetData(kPicture, sizeof kPicture), S_OK);
    for (uint32_t kind : {0u, 3u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(kind);
        EXPECT_EQ(m_manager->AddThumbnail(id, kind, kPicture, sizeof kPicture), E_INVALIDARG);
        EXPECT_EQ(m_manager->AddThumbnailFromCache(id, kind, cache), E_INVALIDARG);
        EXPECT_EQ(m_manager->UpdateThumbnail(id, kind, kPicture, sizeof kPicture), E_INVALIDARG);
        EXPECT_EQ(m_manager->UpdateThumbnailFromCache(id, kind, cache), E_INVALIDARG);
        EXPECT_EQ(m_manager->DeleteThumbnail(id, kind), E_INVALIDARG);
        IZanDB4FileCache* out = cache;
        EXPECT_EQ(m_manager->GetThumbnail(id, kind, &out), E_INVALIDARG);
        EXPECT_EQ(out, nullptr);
    }
    Commit();
    // Nothing was written anywhere.
    EXPECT_FALSE(fs::exists(ThumbnailShard(1)));
    EXPECT_FALSE(fs::exists(ThumbnailShard(2)));
    EXPECT_EQ(cache->Release(), 0u);
}

TEST_F(AlbumManager, ThumbnailsAreStoredUnderTheAlbumIdInTheAlbumFamily) {
    uint64_t id = Add("Pictured");
    ASSERT_EQ(m_manager->AddThumbnail(id, 1, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(m_manager->AddThumbnail(id, 2, kOtherPicture, sizeof kOtherPicture), S_OK);
    Commit();
    EXPECT_EQ(ThumbnailRows(1, id), 1);
    EXPECT_EQ(ThumbnailRows(2, id), 1);
    EXPECT_EQ(ThumbnailHex(1, id), "89504E4700010203");
    EXPECT_EQ(ThumbnailHex(2, id), "FFD8FFE009");
    // Not in the family of file thumbnails.
    EXPECT_FALSE(fs::exists(m_root / "database" / "thumb_0s" / "00000000.db"));

    IZanDB4FileCache* cache = nullptr;
    ASSERT_EQ(m_manager->GetThumbnail(id, 2, &cache), S_OK);
    ASSERT_NE(cache, nullptr);
    ASSERT_EQ(cache->GetSize(), sizeof kOtherPicture);
    EXPECT_EQ(std::memcmp(cache->GetData(), kOtherPicture, sizeof kOtherPicture), 0);
    EXPECT_EQ(cache->Release(), 0u);
}

TEST_F(AlbumManager, ThumbnailIsReplacedFromACacheAndDeletedByKind) {
    uint64_t id = Add("Pictured");
    ASSERT_EQ(m_manager->AddThumbnail(id, 1, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(m_manager->AddThumbnail(id, 2, kPicture, sizeof kPicture), S_OK);
    ComPtr<IZanDB4FileCache> cache;
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileCache, reinterpret_cast<void**>(cache.Receive())), S_OK);
    ASSERT_EQ(cache->SetData(kOtherPicture, sizeof kOtherPicture), S_OK);
    EXPECT_EQ(m_manager->UpdateThumbnailFromCache(id, 1, cache.Get()), S_OK);
    EXPECT_EQ(m_manager->DeleteThumbnail(id, 2), S_OK);
    Commit();
    EXPECT_EQ(ThumbnailHex(1, id), "FFD8FFE009");
    EXPECT_EQ(ThumbnailRows(2, id), 0);
    IZanDB4FileCache* out = cache.Get();
    EXPECT_EQ(m_manager->GetThumbnail(id, 2, &out), E_FAIL);
    EXPECT_EQ(out, nullptr);
}

TEST_F(AlbumManager, DeleteAlbumRemovesItsThumbnailsOfBothKinds) {
    uint64_t id = Add("Pictured");
    uint64_t other = Add("Other");
    for (uint32_t kind : {1u, 2u}) {
        ASSERT_EQ(m_manager->AddThumbnail(id, kind, kPicture, sizeof kPicture), S_OK);
        ASSERT_EQ(m_manager->AddThumbnail(other, kind, kPicture, sizeof kPicture), S_OK);
    }
    Commit();
    ASSERT_EQ(ThumbnailRows(1, id), 1);
    EXPECT_EQ(m_manager->DeleteAlbum(id), S_OK);
    Commit();
    EXPECT_EQ(ThumbnailRows(1, id), 0);
    EXPECT_EQ(ThumbnailRows(2, id), 0);
    EXPECT_EQ(ThumbnailRows(1, other), 1);
    EXPECT_EQ(ThumbnailRows(2, other), 1);
}

TEST_F(AlbumManager, DeleteAllThumbnailsEmptiesBothKinds) {
    uint64_t a = Add("A");
    uint64_t b = Add("B");
    for (uint32_t kind : {1u, 2u}) {
        ASSERT_EQ(m_manager->AddThumbnail(a, kind, kPicture, sizeof kPicture), S_OK);
        ASSERT_EQ(m_manager->AddThumbnail(b, kind, kPicture, sizeof kPicture), S_OK);
    }
    Commit();
    EXPECT_EQ(m_manager->DeleteAllThumbnails(), S_OK);
    Commit();
    for (uint32_t kind : {1u, 2u}) {
        EXPECT_EQ(ThumbnailRows(kind, a), 0);
        EXPECT_EQ(ThumbnailRows(kind, b), 0);
    }
    EXPECT_EQ(m_manager->GetAlbumCount(), 2u);
}

TEST_F(AlbumManager, RollbackDropsUncommittedThumbnails) {
    uint64_t id = Add("Pictured");
    Commit();
    ASSERT_EQ(m_manager->AddThumbnail(id, 1, kPicture, sizeof kPicture), S_OK);
    EXPECT_EQ(m_manager->Rollback(), S_OK);
    Commit();
    EXPECT_NE(ThumbnailRows(1, id), 1);
    IZanDB4FileCache* out = nullptr;
    EXPECT_EQ(m_manager->GetThumbnail(id, 1, &out), E_FAIL);
    EXPECT_EQ(out, nullptr);
}

// ---- the files of an album through the file store ----

class AlbumFiles : public AlbumManager {
protected:
    // Files of an album in a known shuffle: ids 10..14 with dates and names
    // that order them 12, 14, 13, 10, 11 (13 and 14 share a date, told apart
    // by name); 15 is in no album, 16 in another one.
    void SetUpAlbum() {
        m_album = Add("Files");
        m_other = Add("Other");
        AddFile(File(10).InAlbum(m_album).ShotAt(Packed(2020, 3, 1)).Named("D.JPG"));
        AddFile(File(11).InAlbum(m_album).ShotAt(Packed(2020, 4, 1)).Named("E.JPG").Unmanaged());
        AddFile(File(12).InAlbum(m_album).ShotAt(Packed(2020, 1, 1)).Named("Z.JPG"));
        AddFile(File(13).InAlbum(m_album).ShotAt(Packed(2020, 2, 1)).Named("C.JPG"));
        AddFile(File(14).InAlbum(m_album).ShotAt(Packed(2020, 2, 1)).Named("B.JPG"));
        AddFile(File(15).ShotAt(Packed(2020, 2, 1)));
        AddFile(File(16).InAlbum(m_other).ShotAt(Packed(2020, 2, 1)));
    }
    Ids Listed(uint64_t albumId, uint32_t order, HRESULT expected = S_OK) {
        CZanTList<IZanDB4FileDBRecord*> files;
        EXPECT_EQ(FileTableRows(Catalogue()).ListFilesInAlbum(albumId, order, files, FileTableRows::kLoadAll),
                  expected);
        return IdsOf(files);
    }

    uint64_t m_album = 0;
    uint64_t m_other = 0;
};

TEST_F(AlbumFiles, QueryOnTheAlbumIdFindsTheFilesOfTheAlbum) {
    SetUpAlbum();
    ComPtr<IZanDB4QueryMgr> queries;
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4QueryMgr, reinterpret_cast<void**>(queries.Receive())), S_OK);
    ComPtr<IZanDB4QueryNode> node;
    ASSERT_EQ(queries->CreateAlbumIDNode(node.Receive(), m_album), S_OK);
    CZanTList<IZanDB4FileDBRecord*> files;
    ASSERT_EQ(FileTableRows(Catalogue()).ListFiles(node.Get(), 1, files, FileTableRows::kLoadAll), S_OK);
    EXPECT_EQ(IdsOf(files), (Ids{12, 14, 13, 10, 11}));

    ASSERT_EQ(queries->CreateAlbumIDNode(node.Receive(), m_other), S_OK);
    ASSERT_EQ(FileTableRows(Catalogue()).ListFiles(node.Get(), 1, files, FileTableRows::kLoadAll), S_OK);
    EXPECT_EQ(IdsOf(files), (Ids{16}));

    // After the album is deleted its files are found as files of no album.
    ASSERT_EQ(m_manager->DeleteAlbum(m_album), S_OK);
    ASSERT_EQ(queries->CreateAlbumIDNode(node.Receive(), m_album), S_OK);
    EXPECT_EQ(FileTableRows(Catalogue()).ListFiles(node.Get(), 1, files, FileTableRows::kLoadAll), E_FAIL);
    ASSERT_EQ(queries->CreateAlbumIDNode(node.Receive(), 0), S_OK);
    ASSERT_EQ(FileTableRows(Catalogue()).ListFiles(node.Get(), 1, files, FileTableRows::kLoadAll), S_OK);
    Ids none = IdsOf(files);
    std::sort(none.begin(), none.end());
    EXPECT_EQ(none, (Ids{10, 11, 12, 13, 14, 15}));
}

TEST_F(AlbumFiles, OrderOneListsOldestFirstThenByName) {
    SetUpAlbum();
    EXPECT_EQ(Listed(m_album, 1), (Ids{12, 14, 13, 10, 11}));
}

TEST_F(AlbumFiles, OrderTwoListsNewestFirstThenByName) {
    SetUpAlbum();
    EXPECT_EQ(Listed(m_album, 2), (Ids{11, 10, 14, 13, 12}));
}

TEST_F(AlbumFiles, AnyOtherOrderListsOldestFirst) {
    SetUpAlbum();
    EXPECT_EQ(Listed(m_album, 0), (Ids{12, 14, 13, 10, 11}));
    EXPECT_EQ(Listed(m_album, 3), (Ids{12, 14, 13, 10, 11}));
}

TEST_F(AlbumFiles, AlbumWithoutFilesListsNothing) {
    SetUpAlbum();
    uint64_t empty = Add("Empty");
    EXPECT_TRUE(Listed(empty, 1, E_FAIL).empty());
    EXPECT_TRUE(Listed(empty + 100, 2, E_FAIL).empty());
    // The list is emptied first, also when nothing is found.
    FilePtr stranger = MakeFile(File(99));
    CZanTList<IZanDB4FileDBRecord*> files;
    files.AddTail(stranger.Get());
    EXPECT_EQ(FileTableRows(Catalogue()).ListFilesInAlbum(empty, 1, files, FileTableRows::kLoadAll), E_FAIL);
    EXPECT_TRUE(files.IsEmpty());
}

TEST_F(AlbumFiles, CountTakesManagedFilesOnly) {
    SetUpAlbum();
    uint32_t count = 99;
    EXPECT_EQ(FileTableRows(Catalogue()).CountFilesInAlbum(m_album, &count), S_OK);
    EXPECT_EQ(count, 4u);
    count = 99;
    EXPECT_EQ(FileTableRows(Catalogue()).CountFilesInAlbum(m_album + 100, &count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(FileTableRows(Catalogue()).CountFilesInAlbum(m_album, nullptr), E_INVALIDARG);
    // The same number the commit writes into the album row.
    Commit();
    EXPECT_EQ(DiskInteger("SELECT album_file_count FROM album_table WHERE album_id=" + std::to_string(m_album)), 4);
}

TEST_F(AlbumFiles, ListedRecordsAreTheLiveRecordsOfTheirFiles) {
    SetUpAlbum();
    CZanTList<IZanDB4FileDBRecord*> files;
    ASSERT_EQ(FileTableRows(Catalogue()).ListFilesInAlbum(m_other, 1, files, FileTableRows::kLoadAll), S_OK);
    ASSERT_EQ(files.GetCount(), 1);
    FilePtr live = LoadFile(16);
    EXPECT_EQ(files.Container().GetHead(), live.Get());
    uint64_t album = 0;
    EXPECT_EQ(files.Container().GetHead()->GetAlbumID(&album), S_OK);
    EXPECT_EQ(album, m_other);
    IdsOf(files);
}

}  // namespace
}  // namespace albums_test
