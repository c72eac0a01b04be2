// The setting of the file store read tests: the file record fixture (library
// up on a fresh catalogue, raw rows, cache access, counts and masks) plus
// short ways to make rows with chosen dates, names and flags, to build query
// nodes, and to look at and release the lists the store fills.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "catalogue/file_rows.h"
#include "../records/file_db_record_fixture.h"
#include "zandb4/faces.h"

namespace file_store_read_test {

using file_record_test::Count;
using file_record_test::FileRow;
using file_record_test::Known;
using file_record_test::MetaRow;
using file_record_test::RecordPtr;
using file_record_test::SteppedRow;
using zandb4::ComPtr;

using FileList = CZanTList<IZanDB4FileDBRecord*>;
using FaceList = CZanTList<IZanDB4FaceDBRecord*>;
using NodePtr = ComPtr<IZanDB4QueryNode>;

// Every field a "SELECT *" row fills.
inline constexpr uint32_t kAllFieldsKnown = file_record_test::kEveryField;  // 0x3CFFF
// The reduced read: the short column list without classify_id.
inline constexpr uint32_t kReducedKnown = 0x1C6FB;

inline constexpr uint32_t kLoadAll = FileTableRows::kLoadAll;
inline constexpr uint32_t kLoadNothing = FileTableRows::kLoadNothing;
inline constexpr uint32_t kLoadShort = FileTableRows::kLoadShort;

// year<<40 + month<<32 + day<<24 + hour<<16 + minute<<8 + second.
constexpr int64_t Packed(int64_t year, int64_t month, int64_t day, int64_t hour = 0, int64_t minute = 0,
                      int64_t second = 0) {
    return (year << 40) + (month << 32) + (day << 24) + (hour << 16) + (minute << 8) + second;
}

// A row of its own for fileId: the default values of FileRow with the
// given shooting date and name.
inline FileRow RowOf(int64_t fileId, int64_t shootingDate, const std::string& fileName, int64_t manage = 1) {
    FileRow row;
    row.fileId = fileId;
    row.shootingDate = shootingDate;
    row.fileName = fileName;
    row.manage = manage;
    return row;
}

inline uint64_t IdOf(IZanDB4FileDBRecord* record) {
    uint64_t id = 0xDEADBEEF;
    EXPECT_EQ(record->GetFileID(&id), S_OK);
    return id;
}

// The entries of a list, in list order.
template <class T>
std::vector<T> Entries(CZanTList<T>& list) {
    std::vector<T> entries;
    for (POSITION position = list.GetHeadPosition(); position != nullptr;) entries.push_back(list.GetNext(position));
    return entries;
}

// The file ids of the records of a list, in list order.
inline std::vector<uint64_t> IdsOf(FileList& list) {
    std::vector<uint64_t> ids;
    for (IZanDB4FileDBRecord* record : Entries(list)) ids.push_back(IdOf(record));
    return ids;
}

inline std::vector<uint64_t> Sorted(std::vector<uint64_t> values) {
    std::sort(values.begin(), values.end());
    return values;
}

// Gives back the reference of every entry and empties the list.
template <class T>
void ReleaseAll(CZanTList<T>& list) {
    for (T entry : Entries(list)) entry->Release();
    list.RemoveAll();
}

// A list of records that gives its references back when it goes, so that a
// failed assertion leaves no record alive into the next test.
class OwnedFiles {
public:
    OwnedFiles() = default;
    OwnedFiles(const OwnedFiles&) = delete;
    OwnedFiles& operator=(const OwnedFiles&) = delete;
    ~OwnedFiles() { Release(); }
    FileList& List() { return m_list; }
    void Release() { ReleaseAll(m_list); }

private:
    FileList m_list;
};

class OwnedFaces {
public:
    OwnedFaces() = default;
    OwnedFaces(const OwnedFaces&) = delete;
    OwnedFaces& operator=(const OwnedFaces&) = delete;
    ~OwnedFaces() { ReleaseAll(m_list); }
    FaceList& List() { return m_list; }

private:
    FaceList m_list;
};

inline SYSTEMTIME TimeOfPacked(int64_t packed) { return CZanTDateTime(packed).m_time; }

class FileStoreReadTest : public file_record_test::FileRecordTest {
protected:
    void SetUp() override {
        FileRecordTest::SetUp();
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4QueryMgr, reinterpret_cast<void**>(m_queries.Receive())), S_OK);
        ASSERT_TRUE(m_queries);
    }
    void TearDown() override {
        m_queries.Reset();
        FileRecordTest::TearDown();
    }

    NodePtr FormatNode(uint32_t format) {
        NodePtr node;
        EXPECT_EQ(m_queries->CreateFileFormatNode(node.Receive(), format), S_OK);
        return node;
    }
    NodePtr ManageNode(uint32_t manage) {
        NodePtr node;
        EXPECT_EQ(m_queries->CreateManageNode(node.Receive(), 0, manage), S_OK);
        return node;
    }
    // A node holding the given text as its condition.
    NodePtr TextNode(const char16_t* text) {
        NodePtr node = FormatNode(1);
        if (node) {
            EXPECT_EQ(node->SetText(text), S_OK);
        }
        return node;
    }
    // A node on a column file_table does not have: a statement that takes it
    // does not prepare.
    NodePtr BrokenNode() {
        NodePtr node;
        EXPECT_EQ(m_queries->CreateAreaInfoNode(node.Receive(), 0, u"harbour"), S_OK);
        return node;
    }

    void InsertPersonFace(int64_t faceId, int64_t fileId, int64_t personId, int64_t rect) {
        Exec("INSERT INTO person_face_table (person_face_id, file_id, person_id, rect) VALUES (" +
             std::to_string(faceId) + "," + std::to_string(fileId) + "," + std::to_string(personId) + "," +
             std::to_string(rect) + ")");
    }
    void InsertPetFace(int64_t faceId, int64_t fileId, int64_t petId, int64_t rect) {
        Exec("INSERT INTO pet_face_table (pet_face_id, file_id, pet_id, rect) VALUES (" + std::to_string(faceId) +
             "," + std::to_string(fileId) + "," + std::to_string(petId) + "," + std::to_string(rect) + ")");
    }

    ComPtr<IZanDB4QueryMgr> m_queries;
};

}  // namespace file_store_read_test
