// What the camera list tests share: a fixture that gives every test its own
// store folder and its own folder for the cross-process lock file, a handle
// that closes and releases a manager when the test ends, and helpers that
// make records and read the store file as it stands on disk.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "frame/com_ptr.h"
#include "platform/process_lock.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace zandb4::testing {

// The lock file the list is guarded by, named after the fixed lock name.
inline constexpr char kCameraLockFileName[] = "{DB9F83ED-CEFD-4DF9-AF69-3E7797E43CD1}ZanTethraDB.lock";
inline constexpr char kCameraStoreFileName[] = "TethraDB.db";

using RecordPtr = ComPtr<IZanDB4TethraImportFileRecord>;

// Points the cross-process lock at a folder of the test's own while it lives,
// so that tests never meet each other's locks or a real user's.
class LockFolderGuard {
public:
    explicit LockFolderGuard(const std::string& folder) { platform::ProcessLock::SetLockFolderForTesting(folder); }
    ~LockFolderGuard() { platform::ProcessLock::SetLockFolderForTesting(""); }
    LockFolderGuard(const LockFolderGuard&) = delete;
    LockFolderGuard& operator=(const LockFolderGuard&) = delete;
};

// Holds the caller's reference to a manager. At the end it closes the
// manager and releases it, as a careful application does.
class ManagerHandle {
public:
    ManagerHandle() = default;
    explicit ManagerHandle(IZanDB4TethraImportFileMgr* manager) : m_manager(manager) {}
    ManagerHandle(ManagerHandle&& other) noexcept : m_manager(std::exchange(other.m_manager, nullptr)) {}
    ManagerHandle& operator=(ManagerHandle&& other) noexcept {
        if (this != &other) {
            Reset();
            m_manager = std::exchange(other.m_manager, nullptr);
        }
        return *this;
    }
    ManagerHandle(const ManagerHandle&) = delete;
    ManagerHandle& operator=(const ManagerHandle&) = delete;
    ~ManagerHandle() { Reset(); }

    IZanDB4TethraImportFileMgr* Get() const { return m_manager; }
    IZanDB4TethraImportFileMgr* operator->() const { return m_manager; }
    explicit operator bool() const { return m_manager != nullptr; }

    void Reset() {
        if (IZanDB4TethraImportFileMgr* manager = std::exchange(m_manager, nullptr)) {
            manager->Close();
            manager->Release();
        }
    }
    // Hands the reference over without closing, e.g. to release it as a
    // careless caller would.
    IZanDB4TethraImportFileMgr* Detach() { return std::exchange(m_manager, nullptr); }

private:
    IZanDB4TethraImportFileMgr* m_manager = nullptr;
};

// The packed date the store keeps, worked out here on its own:
// year<<40 | month<<32 | day<<24 | hour<<16 | minute<<8 | second.
inline int64_t PackedDate(const SYSTEMTIME& time) {
    return (static_cast<int64_t>(time.wYear) << 40) | (static_cast<int64_t>(time.wMonth) << 32) |
           (static_cast<int64_t>(time.wDay) << 24) | (static_cast<int64_t>(time.wHour) << 16) |
           (static_cast<int64_t>(time.wMinute) << 8) | static_cast<int64_t>(time.wSecond);
}

inline SYSTEMTIME MakeDate(uint16_t year, uint16_t month, uint16_t day, uint16_t hour, uint16_t minute,
                           uint16_t second, uint16_t dayOfWeek = 0, uint16_t milliseconds = 0) {
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

inline std::string ToUtf8(const WCHAR* text) { return CZanTString(text).ToUtf8(); }

// Gives back every record of a list and empties it.
inline void ReleaseAll(CList<IZanDB4TethraImportFileRecord*>& list) {
    POSITION position = list.GetHeadPosition();
    while (position != nullptr) list.GetNext(position)->Release();
    list.RemoveAll();
}

class CameraListTest : public ::testing::Test {
protected:
    // Where the list lives, as the wide string the manager takes.
    const WCHAR* Folder() const { return m_folderWide.GetString(); }
    std::filesystem::path StoreFile() const { return m_storeFolder / kCameraStoreFileName; }
    std::filesystem::path LockFile() const { return m_lockFolder / kCameraLockFileName; }

    // A closed manager from the exported factory.
    ManagerHandle NewManager() {
        IZanDB4TethraImportFileMgr* manager = nullptr;
        EXPECT_EQ(ZanCamDB_CreateMgrInstance(&manager), S_OK);
        EXPECT_NE(manager, nullptr);
        return ManagerHandle(manager);
    }

    // A manager that has the list of Folder() open.
    ManagerHandle OpenManager() {
        ManagerHandle manager = NewManager();
        if (manager) {
            EXPECT_EQ(manager->Open(Folder(), false), S_OK);
        }
        return manager;
    }

    // A record from the manager, filled with path, date and attributes.
    static RecordPtr MakeRecord(IZanDB4TethraImportFileMgr* manager, const WCHAR* path, const SYSTEMTIME& date,
                                uint32_t attributes) {
        IZanDB4TethraImportFileRecord* record = nullptr;
        EXPECT_EQ(manager->CreateRecord(&record), S_OK);
        if (record == nullptr) return RecordPtr();
        EXPECT_EQ(record->SetPath(CZanTString(path)), S_OK);
        EXPECT_EQ(record->SetDate(&date), S_OK);
        EXPECT_EQ(record->SetAttributes(attributes), S_OK);
        return RecordPtr::Adopt(record);
    }

    // Adds a file with a fixed date and answers the id it was given.
    static uint64_t AddPath(IZanDB4TethraImportFileMgr* manager, const WCHAR* path, uint32_t attributes = 0) {
        RecordPtr record = MakeRecord(manager, path, MakeDate(2024, 3, 9, 14, 30, 5), attributes);
        uint64_t id = 0;
        EXPECT_EQ(manager->AddFile(record.Get(), &id), S_OK);
        return id;
    }

    // Rows of tethra_file on disk, in id order, each column as text.
    std::vector<std::vector<std::string>> RowsOnDisk() {
        SqliteProbe probe(StoreFile());
        EXPECT_TRUE(probe.IsOpen());
        return probe.Rows("SELECT file_id, file_path, import_date, atrributes FROM tethra_file ORDER BY file_id");
    }

    int64_t CountOnDisk(const std::string& sql) {
        SqliteProbe probe(StoreFile());
        EXPECT_TRUE(probe.IsOpen());
        return probe.Integer(sql);
    }

    TempFolder m_storeFolder;
    TempFolder m_lockFolder;
    CZanTString m_folderWide = m_storeFolder.Wide();
    LockFolderGuard m_lockGuard{m_lockFolder.Utf8()};
};

}  // namespace zandb4::testing
