// Log files through the manager: add, update, delete, read and the three
// searches, with the rows they leave in "Location.db" and the ids they take
// from and give to the pool of type 0.
#include "gps_fixture.h"

namespace gps_test {
namespace {

using GpsLogFiles = GpsTest;

TEST_F(GpsLogFiles, AddStoresEveryColumnAndSetsTheIdOnTheRecord) {
    ComPtr<IZanDB4GPSLogFileRecord> log = NewLogFile("/tracks/2024-05-01.gpx", "2024-05-01.gpx");
    const SYSTEMTIME start = Moment(2024, 5, 1, 9), end = Moment(2024, 5, 1, 11, 30);
    const SYSTEMTIME startUTC = Moment(2024, 5, 1, 0), endUTC = Moment(2024, 5, 1, 2, 30);
    log->SetDates(&start, &end);
    log->SetDatesUTC(&startUTC, &endUTC);
    log->SetAttributes(0x21);
    log->SetState(4);
    log->SetLocationName(u"Kyoto");
    uint64_t id = 99;
    ASSERT_EQ(m_gps->AddLogFile(log.Get(), &id), S_OK);
    EXPECT_EQ(id, 1u);
    uint64_t recordId = 0;
    EXPECT_EQ(log->GetID(&recordId), S_OK);
    EXPECT_EQ(recordId, 1u);
    ASSERT_EQ(m_gps->Commit(), S_OK);

    Rows rows = LocationRows("SELECT * FROM gps_log_file");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0],
              (std::vector<std::string>{"1", "/tracks/2024-05-01.gpx", "2024-05-01.gpx", std::to_string(Packed(start)),
                                        std::to_string(Packed(end)), "33", "4", std::to_string(Packed(startUTC)),
                                        std::to_string(Packed(endUTC)), "Kyoto"}));
    EXPECT_EQ(LocationInteger("SELECT last_id FROM last_id_table WHERE id_type=0"), 1);
}

TEST_F(GpsLogFiles, AddWithANullOutIdStillStores) {
    ComPtr<IZanDB4GPSLogFileRecord> log = NewLogFile("/tracks/a.gpx", "a.gpx");
    ASSERT_EQ(m_gps->AddLogFile(log.Get(), nullptr), S_OK);
    uint64_t id = 0;
    log->GetID(&id);
    EXPECT_EQ(id, 1u);
    uint32_t count = 0;
    ASSERT_EQ(m_gps->GetLogFileCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
}

TEST_F(GpsLogFiles, ASecondLogWithOnePathFailsAndTheNextAddGetsItsPooledId) {
    EXPECT_EQ(AddLog("/tracks/same.gpx"), 1u);
    ComPtr<IZanDB4GPSLogFileRecord> twin = NewLogFile("/tracks/same.gpx", "other name");
    uint64_t id = 99;
    EXPECT_EQ(m_gps->AddLogFile(twin.Get(), &id), E_FAIL);
    EXPECT_EQ(id, 0u);
    uint64_t recordId = 99;
    twin->GetID(&recordId);
    EXPECT_EQ(recordId, 0u);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    // The failed add drew 2 from the counter and gave it back.
    EXPECT_EQ(LocationRows("SELECT id_type, pooled_id FROM pooled_id_table"), (Rows{{"0", "2"}}));
    EXPECT_EQ(LocationInteger("SELECT COUNT(*) FROM gps_log_file"), 1);

    EXPECT_EQ(AddLog("/tracks/next.gpx"), 2u);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationInteger("SELECT COUNT(*) FROM pooled_id_table"), 0);
    EXPECT_EQ(LocationInteger("SELECT last_id FROM last_id_table WHERE id_type=0"), 2);
}

TEST_F(GpsLogFiles, AnEmptyNameOrPathIsInvalidAndDrawsNoId) {
    ComPtr<IZanDB4GPSLogFileRecord> noName = NewLogFile("/tracks/a.gpx", "");
    uint64_t id = 99;
    EXPECT_EQ(m_gps->AddLogFile(noName.Get(), &id), E_INVALIDARG);
    EXPECT_EQ(id, 0u);
    ComPtr<IZanDB4GPSLogFileRecord> noPath = NewLogFile("", "a.gpx");
    EXPECT_EQ(m_gps->AddLogFile(noPath.Get(), &id), E_INVALIDARG);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationInteger("SELECT COUNT(*) FROM gps_log_file"), 0);
    EXPECT_EQ(LocationInteger("SELECT COUNT(*) FROM last_id_table"), 0);
    EXPECT_EQ(AddLog("/tracks/a.gpx"), 1u);
}

TEST_F(GpsLogFiles, AnEmptyLocationNameIsStoredAsAnEmptyString) {
    EXPECT_EQ(AddLog("/tracks/a.gpx"), 1u);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationRows("SELECT typeof(log_location_name), length(log_location_name) FROM gps_log_file"),
              (Rows{{"text", "0"}}));
    ComPtr<IZanDB4GPSLogFileRecord> read;
    ASSERT_EQ(m_gps->GetLogFile(1, read.Receive()), S_OK);
    CZanTString name(u"left over");
    EXPECT_EQ(read->GetLocationName(name), E_FAIL);
    EXPECT_TRUE(name.IsEmpty());
}

TEST_F(GpsLogFiles, PathsWithApostrophesAreStoredAndFound) {
    const std::string path = "/tracks/O'Brien's walk.gpx";
    ComPtr<IZanDB4GPSLogFileRecord> log = NewLogFile(path, "O'Brien's walk.gpx");
    log->SetLocationName(u"Land's End");
    uint64_t id = 0;
    ASSERT_EQ(m_gps->AddLogFile(log.Get(), &id), S_OK);
    LogFiles found;
    ASSERT_EQ(m_gps->FindLogFilesByPath(W(path).GetString(), found.Out()), S_OK);
    EXPECT_EQ(found.Ids(), std::vector<uint64_t>{id});
    LogFiles byName;
    ASSERT_EQ(m_gps->FindLogFilesByName(u"O'Brien's walk.gpx", byName.Out()), S_OK);
    EXPECT_EQ(byName.Ids(), std::vector<uint64_t>{id});
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationRows("SELECT log_file_path, log_location_name FROM gps_log_file"), (Rows{{path, "Land's End"}}));
}

TEST_F(GpsLogFiles, GetLogFileReadsEveryValueIntoANewRecordWithOneReference) {
    ComPtr<IZanDB4GPSLogFileRecord> log = NewLogFile("/tracks/a.gpx", "a.gpx");
    const SYSTEMTIME start = Moment(2024, 5, 1, 9), end = Moment(2024, 5, 1, 11);
    const SYSTEMTIME startUTC = Moment(2024, 5, 1, 0), endUTC = Moment(2024, 5, 1, 2);
    log->SetDates(&start, &end);
    log->SetDatesUTC(&startUTC, &endUTC);
    log->SetAttributes(0x80000001u);
    log->SetState(1);
    log->SetLocationName(u"Osaka");
    uint64_t id = 0;
    ASSERT_EQ(m_gps->AddLogFile(log.Get(), &id), S_OK);

    ComPtr<IZanDB4GPSLogFileRecord> read;
    ASSERT_EQ(m_gps->GetLogFile(id, read.Receive()), S_OK);
    ASSERT_TRUE(read);
    EXPECT_NE(read.Get(), log.Get());
    EXPECT_EQ(read->AddRef(), 2u);
    EXPECT_EQ(read->Release(), 1u);
    uint64_t readId = 0;
    read->GetID(&readId);
    EXPECT_EQ(readId, id);
    CZanTString text;
    EXPECT_EQ(read->GetPath(text), S_OK);
    EXPECT_EQ(text, CZanTString(u"/tracks/a.gpx"));
    EXPECT_EQ(read->GetName(text), S_OK);
    EXPECT_EQ(text, CZanTString(u"a.gpx"));
    EXPECT_EQ(read->GetLocationName(text), S_OK);
    EXPECT_EQ(text, CZanTString(u"Osaka"));
    SYSTEMTIME a{}, b{};
    read->GetDates(&a, &b);
    EXPECT_TRUE(SameMoment(a, start));
    EXPECT_TRUE(SameMoment(b, end));
    read->GetDatesUTC(&a, &b);
    EXPECT_TRUE(SameMoment(a, startUTC));
    EXPECT_TRUE(SameMoment(b, endUTC));
    uint32_t value = 0;
    read->GetAttributes(&value);
    EXPECT_EQ(value, 0x80000001u);
    read->GetState(&value);
    EXPECT_EQ(value, 1u);
}

TEST_F(GpsLogFiles, GetLogFileOfAnUnknownIdFailsAndClearsTheOut) {
    ComPtr<IZanDB4GPSLogFileRecord> held = NewLogFile("/tracks/a.gpx", "a.gpx");
    IZanDB4GPSLogFileRecord* out = held.Get();
    EXPECT_EQ(m_gps->GetLogFile(7, &out), E_FAIL);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(m_gps->GetLogFile(7, nullptr), E_INVALIDARG);
}

TEST_F(GpsLogFiles, UpdateRewritesEveryColumn) {
    uint64_t id = AddLog("/tracks/a.gpx", Moment(2024, 5, 1), Moment(2024, 5, 2));
    ComPtr<IZanDB4GPSLogFileRecord> changed = NewLogFile("/tracks/b.gpx", "b.gpx");
    const SYSTEMTIME start = Moment(2023, 1, 2, 3, 4, 5), end = Moment(2023, 1, 2, 6, 7, 8);
    changed->SetDates(&start, &end);
    changed->SetAttributes(5);
    changed->SetState(1);
    changed->SetLocationName(u"there");
    ASSERT_EQ(m_gps->UpdateLogFile(id, changed.Get()), S_OK);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    // The record's UTC dates were never set, so the stored ones become 0.
    EXPECT_EQ(LocationRows("SELECT * FROM gps_log_file"),
              (Rows{{std::to_string(id), "/tracks/b.gpx", "b.gpx", std::to_string(Packed(start)),
                     std::to_string(Packed(end)), "5", "1", "0", "0", "there"}}));
    // The record that was written keeps the id it had: none.
    uint64_t recordId = 9;
    changed->GetID(&recordId);
    EXPECT_EQ(recordId, 0u);
}

TEST_F(GpsLogFiles, UpdateOfAnUnknownIdFailsAndChangesNothing) {
    AddLog("/tracks/a.gpx");
    ComPtr<IZanDB4GPSLogFileRecord> changed = NewLogFile("/tracks/b.gpx", "b.gpx");
    EXPECT_EQ(m_gps->UpdateLogFile(2, changed.Get()), E_FAIL);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationRows("SELECT log_file_id, log_file_path FROM gps_log_file"), (Rows{{"1", "/tracks/a.gpx"}}));
}

TEST_F(GpsLogFiles, UpdateToAPathAnotherLogHasFails) {
    AddLog("/tracks/a.gpx");
    uint64_t second = AddLog("/tracks/b.gpx");
    ComPtr<IZanDB4GPSLogFileRecord> changed = NewLogFile("/tracks/a.gpx", "b.gpx");
    EXPECT_EQ(m_gps->UpdateLogFile(second, changed.Get()), E_FAIL);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationInteger("SELECT COUNT(*) FROM gps_log_file WHERE log_file_path='/tracks/b.gpx'"), 1);
}

TEST_F(GpsLogFiles, UpdateWithAnEmptyNameOrPathIsInvalid) {
    uint64_t id = AddLog("/tracks/a.gpx");
    ComPtr<IZanDB4GPSLogFileRecord> noName = NewLogFile("/tracks/b.gpx", "");
    EXPECT_EQ(m_gps->UpdateLogFile(id, noName.Get()), E_INVALIDARG);
    ComPtr<IZanDB4GPSLogFileRecord> noPath = NewLogFile("", "b.gpx");
    EXPECT_EQ(m_gps->UpdateLogFile(id, noPath.Get()), E_INVALIDARG);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationRows("SELECT log_file_path FROM gps_log_file"), (Rows{{"/tracks/a.gpx"}}));
}

TEST_F(GpsLogFiles, DeleteOfAnUnknownLogStillPoolsItsId) {
    AddLog("/tracks/a.gpx");
    EXPECT_EQ(m_gps->DeleteLogFile(9), S_OK);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationRows("SELECT id_type, pooled_id FROM pooled_id_table"), (Rows{{"0", "9"}}));
    EXPECT_EQ(AddLog("/tracks/b.gpx"), 9u);
}

TEST_F(GpsLogFiles, FindByNameListsEarliestStartFirst) {
    ComPtr<IZanDB4GPSLogFileRecord> late = NewLogFile("/2/track.gpx", "track.gpx");
    const SYSTEMTIME lateStart = Moment(2024, 6, 1);
    late->SetDates(&lateStart, nullptr);
    ComPtr<IZanDB4GPSLogFileRecord> early = NewLogFile("/1/track.gpx", "track.gpx");
    const SYSTEMTIME earlyStart = Moment(2024, 5, 1);
    early->SetDates(&earlyStart, nullptr);
    uint64_t lateId = 0, earlyId = 0;
    ASSERT_EQ(m_gps->AddLogFile(late.Get(), &lateId), S_OK);
    ASSERT_EQ(m_gps->AddLogFile(early.Get(), &earlyId), S_OK);
    ComPtr<IZanDB4GPSLogFileRecord> other = NewLogFile("/3/other.gpx", "other.gpx");
    ASSERT_EQ(m_gps->AddLogFile(other.Get(), nullptr), S_OK);
    LogFiles found;
    ASSERT_EQ(m_gps->FindLogFilesByName(u"track.gpx", found.Out()), S_OK);
    EXPECT_EQ(found.Ids(), (std::vector<uint64_t>{earlyId, lateId}));
    for (IZanDB4GPSLogFileRecord* record : found.Items()) {
        EXPECT_EQ(record->AddRef(), 2u);
        EXPECT_EQ(record->Release(), 1u);
    }
}

TEST_F(GpsLogFiles, FindByAttributesComparesTheWholeWord) {
    ComPtr<IZanDB4GPSLogFileRecord> a = NewLogFile("/a.gpx", "a.gpx");
    a->SetAttributes(0xFFFFFFFFu);
    ComPtr<IZanDB4GPSLogFileRecord> b = NewLogFile("/b.gpx", "b.gpx");
    b->SetAttributes(1);
    uint64_t aId = 0, bId = 0;
    ASSERT_EQ(m_gps->AddLogFile(a.Get(), &aId), S_OK);
    ASSERT_EQ(m_gps->AddLogFile(b.Get(), &bId), S_OK);
    LogFiles all;
    ASSERT_EQ(m_gps->FindLogFilesByAttributes(0xFFFFFFFFu, all.Out()), S_OK);
    EXPECT_EQ(all.Ids(), std::vector<uint64_t>{aId});
    LogFiles one;
    ASSERT_EQ(m_gps->FindLogFilesByAttributes(1, one.Out()), S_OK);
    EXPECT_EQ(one.Ids(), std::vector<uint64_t>{bId});
    LogFiles none;
    EXPECT_EQ(m_gps->FindLogFilesByAttributes(3, none.Out()), E_FAIL);
    EXPECT_EQ(none.Count(), 0);
}

TEST_F(GpsLogFiles, AListThatHoldsItemsAlreadyGivesSOkFromASearchThatFindsNothing) {
    uint64_t id = AddLog("/tracks/a.gpx");
    LogFiles list;
    ASSERT_EQ(m_gps->FindLogFilesByPath(u"/tracks/a.gpx", list.Out()), S_OK);
    ASSERT_EQ(list.Count(), 1);
    EXPECT_EQ(m_gps->FindLogFilesByName(u"nothing.gpx", list.Out()), S_OK);
    EXPECT_EQ(m_gps->FindLogFilesByPath(u"/nothing.gpx", list.Out()), S_OK);
    EXPECT_EQ(m_gps->FindLogFilesByAttributes(77, list.Out()), S_OK);
    EXPECT_EQ(list.Ids(), std::vector<uint64_t>{id});
    // The searches append: a second find adds a second record.
    EXPECT_EQ(m_gps->FindLogFilesByPath(u"/tracks/a.gpx", list.Out()), S_OK);
    EXPECT_EQ(list.Ids(), (std::vector<uint64_t>{id, id}));
    std::vector<IZanDB4GPSLogFileRecord*> items = list.Items();
    EXPECT_NE(items[0], items[1]);
}

TEST_F(GpsLogFiles, ASearchThatFindsNothingInAnEmptyListFails) {
    LogFiles list;
    EXPECT_EQ(m_gps->FindLogFilesByName(u"a.gpx", list.Out()), E_FAIL);
    EXPECT_EQ(list.Count(), 0);
}

TEST_F(GpsLogFiles, NullArgumentsAreInvalid) {
    ComPtr<IZanDB4GPSLogFileRecord> log = NewLogFile("/tracks/a.gpx", "a.gpx");
    uint64_t id = 5;
    EXPECT_EQ(m_gps->AddLogFile(nullptr, &id), E_INVALIDARG);
    EXPECT_EQ(m_gps->UpdateLogFile(1, nullptr), E_INVALIDARG);
    LogFiles list;
    EXPECT_EQ(m_gps->FindLogFilesByName(nullptr, list.Out()), E_INVALIDARG);
    EXPECT_EQ(m_gps->FindLogFilesByPath(nullptr, list.Out()), E_INVALIDARG);
    EXPECT_EQ(m_gps->FindLogFilesByName(u"a.gpx", nullptr), E_INVALIDARG);
    EXPECT_EQ(m_gps->FindLogFilesByPath(u"/tracks/a.gpx", nullptr), E_INVALIDARG);
    EXPECT_EQ(m_gps->FindLogFilesByAttributes(0, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_gps->GetLogFileCount(nullptr), E_INVALIDARG);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationInteger("SELECT COUNT(*) FROM gps_log_file"), 0);
}

TEST_F(GpsLogFiles, CountsFollowAddsAndDeletes) {
    uint32_t count = 99;
    ASSERT_EQ(m_gps->GetLogFileCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
    uint64_t a = AddLog("/a.gpx");
    AddLog("/b.gpx");
    ASSERT_EQ(m_gps->GetLogFileCount(&count), S_OK);
    EXPECT_EQ(count, 2u);
    ASSERT_EQ(m_gps->DeleteLogFile(a), S_OK);
    ASSERT_EQ(m_gps->GetLogFileCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
}

}  // namespace
}  // namespace gps_test
