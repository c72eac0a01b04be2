// Two threads on the shared-record path at once: one turns rows into records
// (finding live ones in the record cache or adding new ones), the other
// releases them, which makes a record whose last client lets go leave the
// cache. A record removed too early would show as a client holding a record
// whose id has been zeroed, or as two objects for one file. Run under
// ThreadSanitizer too (label "threads").
#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "catalogue/file_rows.h"
#include "../../records/file_db_record_fixture.h"
#include "frame/critical_section.h"

namespace file_record_test {
namespace {

// More files than a search turns into records under one hold of the
// cache's lock, so that the other thread gets in between the holds.
constexpr int kFiles = 150;
constexpr int kRounds = 60;

class SharedRecordThreads : public FileRecordTest {
protected:
    void SetUp() override {
        FileRecordTest::SetUp();
        for (int id = 1; id <= kFiles; ++id) {
            FileRow row;
            row.fileId = id;
            row.filePath = "/photos/" + std::to_string(id);
            row.shootingDate = kShootingPacked + id;
            InsertFileRow(row);
        }
    }

    // One search under the store's lock, as a manager runs it. The load mode
    // cycles through all three, so cached records are refreshed, skipped and
    // made anew.
    std::vector<IZanDB4FileDBRecord*> Search(int round) {
        CZanTList<IZanDB4FileDBRecord*> list;
        HRESULT result;
        {
            CriticalSectionGuard guard(m_store->m_lock);
            result = FileTableRows(*m_store).ListFiles(nullptr, 1, list, static_cast<uint32_t>(round % 3));
        }
        EXPECT_EQ(result, S_OK);
        std::vector<IZanDB4FileDBRecord*> records;
        for (POSITION position = list.GetHeadPosition(); position != nullptr;)
            records.push_back(list.GetNext(position));
        return records;
    }
};

// A hand-over queue between the two threads.
class RecordQueue {
public:
    void Push(std::vector<IZanDB4FileDBRecord*> records) {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (IZanDB4FileDBRecord* record : records) m_records.push_back(record);
        m_ready.notify_one();
    }
    void Close() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_closed = true;
        m_ready.notify_one();
    }
    // Null once the queue is closed and empty.
    IZanDB4FileDBRecord* Pop() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_ready.wait(lock, [this] { return m_closed || !m_records.empty(); });
        if (m_records.empty()) return nullptr;
        IZanDB4FileDBRecord* record = m_records.front();
        m_records.pop_front();
        return record;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_ready;
    std::deque<IZanDB4FileDBRecord*> m_records;
    bool m_closed = false;
};

TEST_F(SharedRecordThreads, OneThreadLoadsWhileTheOtherReleases) {
    // A record held throughout: every search must hand out this very object.
    RecordPtr pinned;
    {
        // Store operations run under the store's lock, which comes before the
        // cache's.
        CriticalSectionGuard guard(m_store->m_lock);
        ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(1, pinned.Receive()), S_OK);
    }

    RecordQueue queue;
    int zeroedIds = 0;
    int released = 0;
    std::thread releaser([&] {
        while (IZanDB4FileDBRecord* record = queue.Pop()) {
            uint64_t id = 0;
            record->GetFileID(&id);
            if (id == 0) ++zeroedIds;
            record->Release();
            ++released;
        }
    });

    int loaded = 0;
    int strangers = 0;
    for (int round = 0; round < kRounds; ++round) {
        std::vector<IZanDB4FileDBRecord*> records = Search(round);
        EXPECT_EQ(records.size(), static_cast<size_t>(kFiles));
        for (IZanDB4FileDBRecord* record : records) {
            uint64_t id = 0;
            record->GetFileID(&id);
            if (id == 1 && record != pinned.Get()) ++strangers;
        }
        loaded += static_cast<int>(records.size());
        queue.Push(std::move(records));
    }
    queue.Close();
    releaser.join();

    EXPECT_EQ(released, loaded);
    EXPECT_EQ(zeroedIds, 0) << "a record left the cache while a client held it";
    EXPECT_EQ(strangers, 0) << "file 1 was handed out as a second object";
    // Only the pinned record is left, held by the test and by the cache.
    EXPECT_EQ(CacheSize(), 1u);
    EXPECT_EQ(Count(pinned.Get()), 2);
    pinned.Reset();
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(SharedRecordThreads, TwoThreadsSearchAndReleaseTheSameFiles) {
    auto worker = [&](int offset, int& zeroed, int& handled) {
        for (int round = 0; round < kRounds; ++round) {
            std::vector<IZanDB4FileDBRecord*> records = Search(round + offset);
            for (IZanDB4FileDBRecord* record : records) {
                uint64_t id = 0;
                record->GetFileID(&id);
                if (id == 0) ++zeroed;
                // Released outside the store's lock, as a client does.
                record->Release();
                ++handled;
            }
        }
    };
    int zeroedA = 0, zeroedB = 0, handledA = 0, handledB = 0;
    std::thread a(worker, 0, std::ref(zeroedA), std::ref(handledA));
    std::thread b(worker, 1, std::ref(zeroedB), std::ref(handledB));
    a.join();
    b.join();

    EXPECT_EQ(handledA, kRounds * kFiles);
    EXPECT_EQ(handledB, kRounds * kFiles);
    EXPECT_EQ(zeroedA + zeroedB, 0);
    EXPECT_EQ(CacheSize(), 0u);
}

}  // namespace
}  // namespace file_record_test
