// Thumbnails written through the file manager (AddThumbnail of both kinds,
// Commit(4), then an UpdateThumbnail and Commit(1)) into shard files that
// the first write builds, with one read, write, sync or truncate failing.
// Every answer is one the call may give, every store passes the integrity
// check, the catalogued files stay, every thumbnail whose commit answered
// S_OK before the fault reads back with its bytes, and the library starts
// again and writes more.
#include "fault_fixture.h"

namespace faults_test {
namespace {

constexpr int kFiles = 3;

std::string BytesOf(IZanDB4FileCache* cache) {
    const char* data = static_cast<const char*>(cache->GetData());
    return data == nullptr ? std::string() : std::string(data, cache->GetSize());
}

// The bytes of the update of the first file's kind 1 thumbnail.
std::string UpdatedBytes() {
    return std::string(900, '\x5A');
}

class ThumbnailFaults : public FaultTest {
protected:
    // A root with kFiles committed files and no thumbnail shard file: the
    // shards the import made on the way are taken away, so that the
    // thumbnail writes build them.
    void MakeTemplate() {
        RunLog log;
        ASSERT_TRUE(Start(Template(), log));
        IZanDB4FileDBMgr* manager = nullptr;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(&manager)), S_OK);
        for (int64_t index = 0; index < kFiles; ++index) {
            IZanDB4FileDBRecord* record = MakeRecord(index);
            ASSERT_NE(record, nullptr);
            uint64_t id = 0;
            ASSERT_EQ(manager->AddFile(record, &id), S_OK);
            record->Release();
            m_files[index] = id;
        }
        ASSERT_EQ(manager->Commit(2 | 1), S_OK);
        manager->Release();
        ASSERT_EQ(ZanDB4_Finalize(), S_OK);
        for (const char* kind : {"thumb_0s", "thumb_1s"})
            for (const fs::path& shard : StoreFiles(Template() / "database" / kind)) fs::remove(shard);
        ASSERT_TRUE(StoreFiles(Template() / "database" / "thumb_0s").empty());
    }

    // The thumbnails whose commit answered S_OK before the fault fired:
    // (file id, kind) to the bytes it may hold. An update that answered S_OK
    // may be there even when its own commit failed, as stopping the library
    // commits what is open; so may the bytes from before it.
    using Thumbnails = std::map<std::pair<uint64_t, uint32_t>, std::vector<std::string>>;

    Thumbnails Write(const fs::path& root, const FaultPoint* point, RunLog& log, OpCounts* dry = nullptr,
                     OpCounts* end = nullptr) {
        Thumbnails committed;
        IZanDB4FileDBMgr* manager = StartWithFileManager(root, log);
        if (manager == nullptr) return committed;
        FaultVfs::Reset();
        if (point != nullptr) FaultVfs::Arm(point->kind, point->nth, point->code, point->sticky);
        for (const auto& [index, id] : m_files) {
            std::vector<std::pair<std::pair<uint64_t, uint32_t>, std::string>> pending;
            bool added = true;
            for (uint32_t kind : {1u, 2u}) {
                std::string bytes = ThumbnailBytes(id, kind);
                HRESULT result = manager->AddThumbnail(id, kind, bytes.data(), static_cast<uint32_t>(bytes.size()));
                log.Expect("AddThumbnail", result, {S_OK, E_FAIL});
                added = added && result == S_OK;
                pending.push_back({{id, kind}, bytes});
            }
            HRESULT result = manager->Commit(4);
            log.Expect("Commit(4)", result, {S_OK, S_FALSE, E_FAIL});
            if (added && result == S_OK && FaultVfs::Fired() == 0)
                for (const auto& [key, bytes] : pending) committed[key] = {bytes};
        }
        // The update and its commit are driven at every point.
        if (dry != nullptr) *dry = OpCounts::Now();
        uint64_t first = m_files.begin()->second;
        std::string update = UpdatedBytes();
        HRESULT updated = manager->UpdateThumbnail(first, 1, update.data(), static_cast<uint32_t>(update.size()));
        log.Expect("UpdateThumbnail", updated, {S_OK, E_FAIL});
        HRESULT result = manager->Commit(1);
        log.Expect("Commit(1)", result, {S_OK, S_FALSE, E_FAIL});
        if (updated == S_OK && result == S_OK && FaultVfs::Fired() == 0)
            committed[{first, 1}] = {update};
        else if (updated == S_OK && committed.count({first, 1}) != 0)
            committed[{first, 1}].push_back(update);
        EndFaultedRun(point, end, log);
        manager->Release();
        log.Expect("ZanDB4_Finalize", ZanDB4_Finalize(), {S_OK});
        return committed;
    }

    // Whether the shard file of a kind has its thumbnail table. A build
    // that broke off on SQL's side leaves a sound file without it, and that
    // file stays in place: the store's next Open does not build tables into
    // a file that is there.
    static bool ShardHasTable(const fs::path& root, const char* folder) {
        fs::path shard = root / "database" / folder / "00000000.db";
        if (!fs::exists(shard)) return true;
        return SqliteProbe(shard).Integer(
                   "SELECT COUNT(*) FROM sqlite_master WHERE type='table' AND name='thumbnail_table'") == 1;
    }

    void CheckAfter(const fs::path& root, const Thumbnails& committed, RunLog& log, int& halfMadeShards) {
        CheckIntegrity(root / "database", log);
        CheckCommitted(root / "database" / "FileBasic.db", m_files, log);
        bool whole[3] = {true, ShardHasTable(root, "thumb_0s"), ShardHasTable(root, "thumb_1s")};
        if (!whole[1] || !whole[2]) ++halfMadeShards;
        if (!Start(root, log)) return;
        IZanDB4FileDBMgr* manager = nullptr;
        if (ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(&manager)) != S_OK) {
            log.Problem("no file manager after the restart");
            ZanDB4_Finalize();
            return;
        }
        for (const auto& [key, allowed] : committed) {
            IZanDB4FileCache* cache = nullptr;
            HRESULT got = manager->GetThumbnail(key.first, key.second, &cache);
            if (got != S_OK || cache == nullptr)
                log.Problem("committed thumbnail " + std::to_string(key.first) + "/" + std::to_string(key.second) +
                            " is gone: " + Hex(got));
            else if (std::find(allowed.begin(), allowed.end(), BytesOf(cache)) == allowed.end())
                log.Problem("committed thumbnail " + std::to_string(key.first) + "/" + std::to_string(key.second) +
                            " has other bytes");
            ReleaseIfSet(cache);
        }
        // Thumbnails can be written again: a new file gets both kinds, into
        // shards built anew if the run left none. A shard left without its
        // table refuses, as it does for good.
        IZanDB4FileDBRecord* record = MakeRecord(500);
        uint64_t id = 0;
        if (record == nullptr || manager->AddFile(record, &id) != S_OK) log.Problem("AddFile after the restart fails");
        ReleaseIfSet(record);
        for (uint32_t kind : {1u, 2u}) {
            std::string bytes = ThumbnailBytes(id, kind);
            HRESULT added = manager->AddThumbnail(id, kind, bytes.data(), static_cast<uint32_t>(bytes.size()));
            HRESULT expected = whole[kind] ? S_OK : E_FAIL;
            if (added != expected)
                log.Problem("AddThumbnail of kind " + std::to_string(kind) + " after the restart answered " +
                            Hex(added) + " instead of " + Hex(expected));
        }
        HRESULT committedAgain = manager->Commit(2 | 1);
        if (committedAgain != S_OK) log.Problem("Commit(2|1) after the restart answered " + Hex(committedAgain));
        manager->Release();
        log.Expect("ZanDB4_Finalize", ZanDB4_Finalize(), {S_OK});
    }

    std::map<int64_t, uint64_t> m_files;
};

TEST_F(ThumbnailFaults, EveryFaultLeavesSoundShardsAndTheThumbnailsCommittedBeforeIt) {
    MakeTemplate();

    CopyRoot(Template(), RunRoot());
    RunLog dryLog;
    OpCounts beforeUpdate;
    OpCounts dry;
    Thumbnails all = Write(RunRoot(), nullptr, dryLog, &beforeUpdate, &dry);
    ASSERT_TRUE(dryLog.problems.empty()) << dryLog.problems.front();
    ASSERT_EQ(all.size(), static_cast<size_t>(2 * kFiles));
    ASSERT_EQ(all[std::make_pair(m_files.begin()->second, 1u)], std::vector<std::string>{UpdatedBytes()});
    int halfMade = 0;
    CheckAfter(RunRoot(), all, dryLog, halfMade);
    ASSERT_TRUE(dryLog.problems.empty()) << dryLog.problems.front();
    ASSERT_EQ(halfMade, 0);
    for (int kind = 0; kind < FaultVfs::kKinds; ++kind) dry.denseFrom[kind] = beforeUpdate.counts[kind] + 1;

    std::vector<FaultPoint> points = PlanPoints(dry, Sampled(60));
    std::printf("thumbnails: %s; %zu fault points\n", dry.Describe().c_str(), points.size());
    std::vector<std::string> problems;
    for (const FaultPoint& point : points) {
        CopyRoot(Template(), RunRoot());
        RunLog log;
        Thumbnails committed = Write(RunRoot(), &point, log);
        CheckAfter(RunRoot(), committed, log, halfMade);
        for (const std::string& problem : log.problems) problems.push_back(point.Describe() + ": " + problem);
    }
    std::printf("thumbnails: %d runs left a shard file without its table\n", halfMade);
    ExpectNoProblems(problems);
}

}  // namespace
}  // namespace faults_test
