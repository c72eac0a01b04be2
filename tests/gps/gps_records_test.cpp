// The two GPS records on their own: values in and out, the pairs of dates
// with either half skipped, the text getters that fail on empty text, and
// the one interface each answers.
#include <gtest/gtest.h>

#include "frame/com_ptr.h"
#include "gps/gps_log_db_record.h"
#include "gps/gps_log_file_record.h"
#include "gps_fixture.h"

namespace gps_test {
namespace {

// {00000000-0000-0000-C000-000000000046}
constexpr IID kIUnknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

ComPtr<IZanDB4GPSLogFileRecord> NewFileRecord() {
    return ComPtr<IZanDB4GPSLogFileRecord>::Adopt(new CZanDB4GPSLogFileRecord());
}
ComPtr<IZanDB4GPSLogDBRecord> NewPointRecord() {
    return ComPtr<IZanDB4GPSLogDBRecord>::Adopt(new CZanDB4GPSLogDBRecord());
}

TEST(GpsLogFileRecord, ANewRecordIsEmptyAndItsTextsFail) {
    ComPtr<IZanDB4GPSLogFileRecord> record = NewFileRecord();
    uint64_t id = 99;
    EXPECT_EQ(record->GetID(&id), S_OK);
    EXPECT_EQ(id, 0u);
    CZanTString text(u"left over");
    EXPECT_EQ(record->GetPath(text), E_FAIL);
    EXPECT_TRUE(text.IsEmpty());
    text = u"left over";
    EXPECT_EQ(record->GetName(text), E_FAIL);
    EXPECT_TRUE(text.IsEmpty());
    text = u"left over";
    EXPECT_EQ(record->GetLocationName(text), E_FAIL);
    EXPECT_TRUE(text.IsEmpty());
    SYSTEMTIME start = Moment(1999, 1, 1), end = Moment(1999, 1, 1);
    EXPECT_EQ(record->GetDates(&start, &end), S_OK);
    EXPECT_EQ(Packed(start), 0);
    EXPECT_EQ(Packed(end), 0);
    uint32_t value = 7;
    EXPECT_EQ(record->GetAttributes(&value), S_OK);
    EXPECT_EQ(value, 0u);
    value = 7;
    EXPECT_EQ(record->GetState(&value), S_OK);
    EXPECT_EQ(value, 0u);
}

TEST(GpsLogFileRecord, ValuesGoInAndComeBack) {
    ComPtr<IZanDB4GPSLogFileRecord> record = NewFileRecord();
    EXPECT_EQ(record->SetPath(u"/tracks/a.gpx"), S_OK);
    EXPECT_EQ(record->SetName(u"a.gpx"), S_OK);
    EXPECT_EQ(record->SetLocationName(u"K\u00f6ln"), S_OK);
    EXPECT_EQ(record->SetAttributes(0xFFFFFFFFu), S_OK);
    EXPECT_EQ(record->SetState(3), S_OK);
    const SYSTEMTIME start = Moment(2024, 5, 1, 9), end = Moment(2024, 5, 1, 11);
    const SYSTEMTIME startUTC = Moment(2024, 5, 1, 0), endUTC = Moment(2024, 5, 1, 2);
    EXPECT_EQ(record->SetDates(&start, &end), S_OK);
    EXPECT_EQ(record->SetDatesUTC(&startUTC, &endUTC), S_OK);

    CZanTString text;
    EXPECT_EQ(record->GetPath(text), S_OK);
    EXPECT_EQ(text, CZanTString(u"/tracks/a.gpx"));
    EXPECT_EQ(record->GetName(text), S_OK);
    EXPECT_EQ(text, CZanTString(u"a.gpx"));
    EXPECT_EQ(record->GetLocationName(text), S_OK);
    EXPECT_EQ(text, CZanTString(u"K\u00f6ln"));
    uint32_t value = 0;
    EXPECT_EQ(record->GetAttributes(&value), S_OK);
    EXPECT_EQ(value, 0xFFFFFFFFu);
    EXPECT_EQ(record->GetState(&value), S_OK);
    EXPECT_EQ(value, 3u);
    SYSTEMTIME a{}, b{};
    EXPECT_EQ(record->GetDates(&a, &b), S_OK);
    EXPECT_TRUE(SameMoment(a, start));
    EXPECT_TRUE(SameMoment(b, end));
    EXPECT_EQ(record->GetDatesUTC(&a, &b), S_OK);
    EXPECT_TRUE(SameMoment(a, startUTC));
    EXPECT_TRUE(SameMoment(b, endUTC));
}

TEST(GpsLogFileRecord, SetDatesWithANullStartChangesOnlyTheEnd) {
    ComPtr<IZanDB4GPSLogFileRecord> record = NewFileRecord();
    const SYSTEMTIME start = Moment(2024, 5, 1, 9), end = Moment(2024, 5, 1, 11), later = Moment(2024, 5, 2, 8);
    ASSERT_EQ(record->SetDates(&start, &end), S_OK);
    EXPECT_EQ(record->SetDates(nullptr, &later), S_OK);
    SYSTEMTIME a{}, b{};
    ASSERT_EQ(record->GetDates(&a, &b), S_OK);
    EXPECT_TRUE(SameMoment(a, start));
    EXPECT_TRUE(SameMoment(b, later));
    // And the other way round, on the UTC pair.
    ASSERT_EQ(record->SetDatesUTC(&start, &end), S_OK);
    EXPECT_EQ(record->SetDatesUTC(&later, nullptr), S_OK);
    ASSERT_EQ(record->GetDatesUTC(&a, &b), S_OK);
    EXPECT_TRUE(SameMoment(a, later));
    EXPECT_TRUE(SameMoment(b, end));
}

TEST(GpsLogFileRecord, BothDatesNullIsInvalidAndChangesNothing) {
    ComPtr<IZanDB4GPSLogFileRecord> record = NewFileRecord();
    const SYSTEMTIME start = Moment(2024, 5, 1, 9), end = Moment(2024, 5, 1, 11);
    ASSERT_EQ(record->SetDates(&start, &end), S_OK);
    EXPECT_EQ(record->SetDates(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(record->SetDatesUTC(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(record->GetDates(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(record->GetDatesUTC(nullptr, nullptr), E_INVALIDARG);
    // One out alone is enough.
    SYSTEMTIME b{};
    EXPECT_EQ(record->GetDates(nullptr, &b), S_OK);
    EXPECT_TRUE(SameMoment(b, end));
}

TEST(GpsLogFileRecord, NullOutsOfNumbersAreInvalid) {
    ComPtr<IZanDB4GPSLogFileRecord> record = NewFileRecord();
    EXPECT_EQ(record->GetID(nullptr), E_INVALIDARG);
    EXPECT_EQ(record->GetAttributes(nullptr), E_INVALIDARG);
    EXPECT_EQ(record->GetState(nullptr), E_INVALIDARG);
}

TEST(GpsLogFileRecord, AnswersOnlyItsOwnIdentifier) {
    ComPtr<IZanDB4GPSLogFileRecord> record = NewFileRecord();
    void* out = &out;
    EXPECT_EQ(record->QueryInterface(kIUnknownId, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(record->QueryInterface(IID_IZanDB4GPSLogDBRecord, &out), E_NOINTERFACE);
    EXPECT_EQ(record->QueryInterface(IID_IZanDB4GPSLogFileRecord, nullptr), E_INVALIDARG);
    ASSERT_EQ(record->QueryInterface(IID_IZanDB4GPSLogFileRecord, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(record.Get()));
    EXPECT_EQ(record->Release(), 1u);
}

TEST(GpsLogDBRecord, ANewRecordIsEmpty) {
    ComPtr<IZanDB4GPSLogDBRecord> record = NewPointRecord();
    uint64_t id = 9, logFileId = 9;
    EXPECT_EQ(record->GetID(&id), S_OK);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(record->GetLogFileID(&logFileId), S_OK);
    EXPECT_EQ(logFileId, 0u);
    SYSTEMTIME date = Moment(1999, 1, 1);
    EXPECT_EQ(record->GetDate(&date), S_OK);
    EXPECT_EQ(Packed(date), 0);
    float latitude = 1.0f, longitude = 1.0f;
    EXPECT_EQ(record->GetLocation(&latitude, &longitude), S_OK);
    EXPECT_EQ(latitude, 0.0f);
    EXPECT_EQ(longitude, 0.0f);
}

TEST(GpsLogDBRecord, ValuesGoInAndComeBackWithoutARangeTest) {
    ComPtr<IZanDB4GPSLogDBRecord> record = NewPointRecord();
    EXPECT_EQ(record->SetLogFileID(42), S_OK);
    const SYSTEMTIME date = Moment(2024, 5, 1, 9, 30, 15), dateUTC = Moment(2024, 5, 1, 0, 30, 15);
    EXPECT_EQ(record->SetDate(&date), S_OK);
    EXPECT_EQ(record->SetDateUTC(&dateUTC), S_OK);
    // A position outside the globe goes in as it is, unlike an album's.
    EXPECT_EQ(record->SetLocation(91.5f, -200.25f), S_OK);
    uint64_t logFileId = 0;
    EXPECT_EQ(record->GetLogFileID(&logFileId), S_OK);
    EXPECT_EQ(logFileId, 42u);
    SYSTEMTIME out{};
    EXPECT_EQ(record->GetDate(&out), S_OK);
    EXPECT_TRUE(SameMoment(out, date));
    EXPECT_EQ(record->GetDateUTC(&out), S_OK);
    EXPECT_TRUE(SameMoment(out, dateUTC));
    float latitude = 0.0f, longitude = 0.0f;
    EXPECT_EQ(record->GetLocation(&latitude, &longitude), S_OK);
    EXPECT_EQ(latitude, 91.5f);
    EXPECT_EQ(longitude, -200.25f);
    // Either half alone.
    latitude = 0.0f;
    EXPECT_EQ(record->GetLocation(&latitude, nullptr), S_OK);
    EXPECT_EQ(latitude, 91.5f);
    longitude = 0.0f;
    EXPECT_EQ(record->GetLocation(nullptr, &longitude), S_OK);
    EXPECT_EQ(longitude, -200.25f);
}

TEST(GpsLogDBRecord, NullPointersAreInvalidAndChangeNothing) {
    ComPtr<IZanDB4GPSLogDBRecord> record = NewPointRecord();
    const SYSTEMTIME date = Moment(2024, 5, 1, 9);
    ASSERT_EQ(record->SetDate(&date), S_OK);
    ASSERT_EQ(record->SetDateUTC(&date), S_OK);
    EXPECT_EQ(record->SetDate(nullptr), E_INVALIDARG);
    EXPECT_EQ(record->SetDateUTC(nullptr), E_INVALIDARG);
    EXPECT_EQ(record->GetDate(nullptr), E_INVALIDARG);
    EXPECT_EQ(record->GetDateUTC(nullptr), E_INVALIDARG);
    EXPECT_EQ(record->GetID(nullptr), E_INVALIDARG);
    EXPECT_EQ(record->GetLogFileID(nullptr), E_INVALIDARG);
    EXPECT_EQ(record->GetLocation(nullptr, nullptr), E_INVALIDARG);
    SYSTEMTIME out{};
    ASSERT_EQ(record->GetDate(&out), S_OK);
    EXPECT_TRUE(SameMoment(out, date));
    ASSERT_EQ(record->GetDateUTC(&out), S_OK);
    EXPECT_TRUE(SameMoment(out, date));
}

TEST(GpsLogDBRecord, AnswersOnlyItsOwnIdentifier) {
    ComPtr<IZanDB4GPSLogDBRecord> record = NewPointRecord();
    void* out = &out;
    EXPECT_EQ(record->QueryInterface(kIUnknownId, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(record->QueryInterface(IID_IZanDB4GPSLogFileRecord, &out), E_NOINTERFACE);
    ASSERT_EQ(record->QueryInterface(IID_IZanDB4GPSLogDBRecord, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(record.Get()));
    EXPECT_EQ(record->Release(), 1u);
}

}  // namespace
}  // namespace gps_test
