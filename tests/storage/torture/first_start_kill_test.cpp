// A first start killed part-way: a child process starts the library on an
// empty root and is killed with SIGKILL after a delay spread over the whole
// length of a first start, from at once to after it has finished. Whatever
// the moment, the catalogue file must be absent or whole, and a following
// start in a fresh process must leave a whole catalogue and nothing else
// beside it.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Rows = std::vector<std::vector<std::string>>;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;

constexpr char kCatalogueName[] = "FileBasic.db";
// The name a new catalogue is built under before it is renamed into place.
constexpr char kBuildingName[] = "FileBasic.db.creating";
constexpr int kSpreadKills = 24;
constexpr int kRandomKills = 6;
// Delays run up to this share of a first start's length, so the last ones
// land after the start has finished.
constexpr double kSpreadBeyondEnd = 1.25;
// A fixed seed: a failure can be run again with the same delays.
constexpr unsigned kRandomSeed = 20240611;

// Starts and stops the library on root in a child process. With a delay, the
// child is killed with SIGKILL that long after it was forked; without one it
// runs to its end. Answers whether the child ended as expected: killed or
// finished (with a delay), started and stopped with S_OK (without).
bool StartInChild(const fs::path& root, const Clock::duration* killAfter) {
    pid_t child = ::fork();
    if (child < 0) return false;
    if (child == 0) {
        CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
        HRESULT started = ZanDB4_Initialize(wideRoot.GetString());
        ZanDB4_Finalize();
        ::_exit(started == S_OK ? 0 : 1);
    }
    if (killAfter != nullptr) {
        auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(*killAfter).count();
        struct timespec wait {
            static_cast<time_t>(nanoseconds / 1000000000), static_cast<long>(nanoseconds % 1000000000)
        };
        while (::nanosleep(&wait, &wait) != 0) {
        }
        ::kill(child, SIGKILL);
    }
    int status = 0;
    if (::waitpid(child, &status, 0) != child) return false;
    if (killAfter != nullptr) return WIFSIGNALED(status) || (WIFEXITED(status) && WEXITSTATUS(status) == 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// What a catalogue file holds that shows it is whole: every table and index
// with its text, the version row, the page size and SQLite's own check.
struct CatalogueShape {
    Rows schema;
    Rows versions;
    int64_t pageSize = 0;
    Rows integrity;

    bool operator==(const CatalogueShape&) const = default;
};

CatalogueShape ShapeOf(const fs::path& file) {
    SqliteProbe probe(file);
    CatalogueShape shape;
    if (!probe.IsOpen()) return shape;
    shape.schema = probe.Rows("SELECT type, name, tbl_name, sql FROM sqlite_master ORDER BY type, name");
    shape.versions = probe.Rows("SELECT version FROM version_info_table");
    shape.pageSize = probe.Integer("PRAGMA page_size");
    shape.integrity = probe.Rows("PRAGMA integrity_check");
    return shape;
}

std::set<std::string> NamesIn(const fs::path& folder) {
    std::set<std::string> names;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error))
        names.insert(entry.path().filename().string());
    return names;
}

std::string Describe(const std::set<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return "{" + text + "}";
}

// The length of an uninterrupted first start, the middle of three.
Clock::duration FirstStartLength(const fs::path& parent) {
    std::vector<Clock::duration> lengths;
    for (int run = 0; run < 3; ++run) {
        fs::path root = parent / ("timing-" + std::to_string(run));
        fs::create_directory(root);
        Clock::time_point begin = Clock::now();
        EXPECT_TRUE(StartInChild(root, nullptr));
        lengths.push_back(Clock::now() - begin);
        fs::remove_all(root);
    }
    std::sort(lengths.begin(), lengths.end());
    return lengths[1];
}

// Kill delays: an even spread from 0 to beyond the end of a start, then a
// few drawn with a fixed seed over the same span.
std::vector<Clock::duration> KillDelays(Clock::duration startLength) {
    auto span = std::chrono::duration_cast<Clock::duration>(startLength * kSpreadBeyondEnd);
    std::vector<Clock::duration> delays;
    for (int kill = 0; kill < kSpreadKills; ++kill) delays.push_back(span * kill / (kSpreadKills - 1));
    std::mt19937 random(kRandomSeed);
    std::uniform_int_distribution<Clock::rep> within(0, span.count());
    for (int kill = 0; kill < kRandomKills; ++kill) delays.push_back(Clock::duration(within(random)));
    return delays;
}

TEST(FirstStartKill, CatalogueIsAbsentOrWholeAndTheNextStartMakesItWhole) {
    TempFolder folder;
    fs::path referenceRoot = folder / "reference";
    fs::create_directory(referenceRoot);
    ASSERT_TRUE(StartInChild(referenceRoot, nullptr));
    CatalogueShape reference = ShapeOf(referenceRoot / "database" / kCatalogueName);
    ASSERT_FALSE(reference.schema.empty());
    ASSERT_EQ(reference.versions, (Rows{{"1201"}}));
    ASSERT_EQ(reference.integrity, (Rows{{"ok"}}));
    std::set<std::string> referenceNames = NamesIn(referenceRoot / "database");

    Clock::duration startLength = FirstStartLength(folder.Path());
    std::vector<Clock::duration> delays = KillDelays(startLength);

    std::vector<std::string> broken;
    int absentAfterKill = 0;
    int buildingLeftByKill = 0;
    for (size_t kill = 0; kill < delays.size(); ++kill) {
        fs::path root = folder / ("kill-" + std::to_string(kill));
        fs::create_directory(root);
        fs::path database = root / "database";
        fs::path catalogue = database / kCatalogueName;
        std::string which =
            "kill " + std::to_string(kill) + " after " +
            std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(delays[kill]).count()) + " us: ";

        ASSERT_TRUE(StartInChild(root, &delays[kill])) << which << "the child ended some other way";
        if (fs::exists(database / kBuildingName)) ++buildingLeftByKill;
        if (!fs::exists(catalogue)) {
            ++absentAfterKill;
        } else if (ShapeOf(catalogue) != reference) {
            broken.push_back(which + "the catalogue left by the killed start is not whole");
        }

        ASSERT_TRUE(StartInChild(root, nullptr)) << which << "the following start failed";
        if (ShapeOf(catalogue) != reference)
            broken.push_back(which + "the catalogue after the following start is not whole");
        std::set<std::string> names = NamesIn(database);
        if (names != referenceNames)
            broken.push_back(which + "the database folder holds " + Describe(names) + " instead of " +
                             Describe(referenceNames));
        fs::remove_all(root);
    }

    std::string report;
    for (const std::string& line : broken) report += line + "\n";
    std::printf(
        "%zu kills over %lld us (a first start takes %lld us): catalogue absent after %d, temporary file "
        "left by %d, %zu findings\n",
        delays.size(),
        static_cast<long long>(
            std::chrono::duration_cast<std::chrono::microseconds>(startLength * kSpreadBeyondEnd).count()),
        static_cast<long long>(std::chrono::duration_cast<std::chrono::microseconds>(startLength).count()),
        absentAfterKill, buildingLeftByKill, broken.size());
    EXPECT_TRUE(broken.empty()) << report;
}

}  // namespace
