// Shared by the record tests: the library started on a temporary root, so
// that records come from ZanDB4_CreateInstance as the application gets them,
// and a comparison of SYSTEMTIME values field by field.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include "library/database_registry.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace meta_record_test {

// Every field of a SYSTEMTIME in declaration order, so that two dates
// compare with one EXPECT_EQ and a failure prints all of them.
inline std::array<uint16_t, 8> FieldsOf(const SYSTEMTIME& time) {
    return {time.wYear, time.wMonth, time.wDayOfWeek, time.wDay,
            time.wHour, time.wMinute, time.wSecond, time.wMilliseconds};
}

inline SYSTEMTIME MakeTime(uint16_t year, uint16_t month, uint16_t day, uint16_t hour, uint16_t minute,
                           uint16_t second, uint16_t milliseconds = 0, uint16_t dayOfWeek = 0) {
    SYSTEMTIME time{};
    time.wYear = year;
    time.wMonth = month;
    time.wDayOfWeek = dayOfWeek;
    time.wDay = day;
    time.wHour = hour;
    time.wMinute = minute;
    time.wSecond = second;
    time.wMilliseconds = milliseconds;
    return time;
}

// The library up on a fresh root, started once for a whole suite: records
// of these classes hold no store and leave nothing behind in one, and
// starting the library for every test would cost most of the run. Objects a
// test makes must be released before the suite ends.
class LibraryTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_root = new zandb4::testing::TempFolder();
        s_started = zandb4::DatabaseRegistry::initCount == 0 &&
                    ZanDB4_Initialize(s_root->Wide().GetString()) == S_OK;
    }
    static void TearDownTestSuite() {
        if (s_started) ZanDB4_Finalize();
        s_started = false;
        delete s_root;
        s_root = nullptr;
    }
    void SetUp() override {
        ASSERT_TRUE(s_started) << "the library did not start on a fresh root";
        ASSERT_EQ(zandb4::DatabaseRegistry::initCount, 1);
    }
    void TearDown() override {}

    // A new object of the interface through the factory, with the one
    // reference the factory gives; null (and a test failure) otherwise.
    template <class Interface>
    Interface* Create(const IID& iid) {
        Interface* object = nullptr;
        EXPECT_EQ(ZanDB4_CreateInstance(&iid, reinterpret_cast<void**>(&object)), S_OK);
        EXPECT_NE(object, nullptr);
        return object;
    }

private:
    static inline zandb4::testing::TempFolder* s_root = nullptr;
    static inline bool s_started = false;
};

}  // namespace meta_record_test
