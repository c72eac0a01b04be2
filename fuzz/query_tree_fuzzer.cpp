// Fuzzes the query tree and the file store's statements that take its text.
//
// Each input is a small program: it makes leaves through every operation of
// the query manager with fuzzer-chosen values (quotes, NULs, lone
// surrogates, huge and negative numbers, NaN), combines them with any
// combination code, overwrites node texts with raw text, and then runs the
// nodes through the file manager's list, count and date reads on a small
// real catalogue made once at start-up.
//
// What must hold, checked after every input:
// - every answer is one of the library's result codes;
// - each operation accepts or refuses its arguments as it promises (an
//   operator above 10, a combination code above 2, a range out of bounds or
//   in the wrong order, an unknown date mode);
// - a leaf made from text renders that text unchanged in its place;
// - when no value in a node's tree holds a quote, the condition cannot break
//   out of its literals, so the count, the list and the "has files" answer
//   of the same condition agree with each other;
// - the catalogue's rows and schema are exactly as before: unescaped values
//   may make a statement fail or select other rows, never change data.
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <sqlite3.h>

#include "catalogue/file_basic_db.h"
#include "fuzz_support.h"
#include "library/database_registry.h"

using zandb4::ComPtr;
using zandb4::fuzz::ConsumeDate;
using zandb4::fuzz::ConsumeFloatBits;
using zandb4::fuzz::ConsumeText;
using zandb4::fuzz::Create;
using zandb4::fuzz::HexResult;
using zandb4::fuzz::IsLibraryResult;
using zandb4::fuzz::ScratchFolder;

namespace {

constexpr size_t kMaxSteps = 24;
constexpr size_t kMaxNodes = 12;
constexpr size_t kMaxTextUnits = 48;
// A combined node copies both texts; past this length the combination is
// skipped so that an input cannot grow texts without bound.
constexpr size_t kMaxCombinedUnits = 4096;

struct Catalogue {
    std::unique_ptr<ScratchFolder> root;
    ComPtr<IZanDB4FileDBMgr> files;
    ComPtr<IZanDB4QueryMgr> queries;
    std::string fingerprint;
};

Catalogue* g_catalogue = nullptr;

// A node with what is known of the values that went into it.
struct Node {
    ComPtr<IZanDB4QueryNode> node;
    // No value anywhere in the tree holds a quote of either kind, and no
    // text was set raw: the condition is well formed or fails to prepare,
    // but it selects what it says.
    bool literalsIntact = true;
};

bool HoldsQuote(const std::u16string& text) {
    return text.find(u'\'') != std::u16string::npos || text.find(u'"') != std::u16string::npos;
}

// The text up to the first NUL, as the library sees a WCHAR string.
std::u16string AsCString(const std::u16string& text) { return text.substr(0, text.find(u'\0')); }

std::u16string TextOf(IZanDB4QueryNode* node) {
    CZanTString text;
    HRESULT result = node->GetText(text);
    FUZZ_CHECK_MSG(result == (text.IsEmpty() ? E_FAIL : S_OK), "GetText answered " + HexResult(result));
    return text.Value();
}

void CheckResult(HRESULT result, const char* operation) {
    FUZZ_CHECK_MSG(IsLibraryResult(result), std::string(operation) + " answered " + HexResult(result));
}

// Every row of file_table and every schema entry, read through the
// catalogue's own connection so that an uncommitted change would show too.
std::string Fingerprint() {
    CSQLiteFileBasicDB* store = zandb4::DatabaseRegistry::fileBasicDB;
    FUZZ_CHECK(store != nullptr);
    std::string text;
    for (const char16_t* sql : {u"SELECT * FROM file_table ORDER BY file_id",
                                u"SELECT type, name, tbl_name, sql FROM sqlite_master ORDER BY name"}) {
        sqlite3_stmt* statement = nullptr;
        FUZZ_CHECK(sqlite3_prepare16_v2(store->m_db, sql, -1, &statement, nullptr) == SQLITE_OK);
        int rows = 0;
        while (sqlite3_step(statement) == SQLITE_ROW) {
            ++rows;
            for (int column = 0; column < sqlite3_column_count(statement); ++column) {
                const void* bytes = sqlite3_column_blob(statement, column);
                int size = sqlite3_column_bytes(statement, column);
                text += std::to_string(sqlite3_column_type(statement, column)) + ":" + std::to_string(size) + ":";
                if (bytes != nullptr) text.append(static_cast<const char*>(bytes), static_cast<size_t>(size));
                text += '|';
            }
            text += '\n';
        }
        FUZZ_CHECK(sqlite3_finalize(statement) == SQLITE_OK);
        FUZZ_CHECK(rows > 0);
    }
    return text;
}

SYSTEMTIME Date(uint16_t year, uint16_t month, uint16_t day, uint16_t hour) {
    SYSTEMTIME date{};
    date.wYear = year;
    date.wMonth = month;
    date.wDay = day;
    date.wHour = hour;
    return date;
}

// Files with values that the leaves can match: two formats, both manage
// flags, a parent, favourites, GPS and none, a '%' and an '_' in paths, a
// non-ASCII name.
void AddFiles(IZanDB4FileDBMgr* files) {
    struct Seed {
        const char16_t* path;
        const char16_t* name;
        uint32_t format;
        uint32_t manage;
        uint8_t flag;
        float latitude;
        float longitude;
        SYSTEMTIME date;
    };
    const Seed seeds[] = {
        {u"/photos/2024/IMG_0001.JPG", u"IMG_0001.JPG", 1, 1, 0, 0.0f, 0.0f, Date(2024, 1, 1, 8)},
        {u"/photos/2024/IMG_0002.JPG", u"IMG_0002.JPG", 1, 1, 1, 35.5f, 139.25f, Date(2024, 1, 2, 9)},
        {u"/photos/100%_done/MOV_0003.MOV", u"MOV_0003.MOV", 2, 1, 0, -33.75f, -70.5f, Date(2023, 12, 31, 23)},
        {u"/photos/under_score/IMG_0004.ORF", u"IMG_0004.ORF", 3, 0, 1, 0.0f, 0.0f, Date(2022, 6, 15, 12)},
        {u"/Fotos/\u00c4rger/\u5199\u771f.jpg", u"\u5199\u771f.jpg", 1, 2, 0, 89.0f, 179.0f, Date(1999, 2, 28, 0)},
        {u"/photos/2025/IMG_0006.JPG", u"IMG_0006.JPG", 1, 1, 1, 0.0f, 0.0f, Date(2025, 3, 3, 3)},
    };
    uint32_t diskVsn = 0x1234ABCD;
    for (const Seed& seed : seeds) {
        auto record = Create<IZanDB4FileDBRecord>(IID_IZanDB4FileDBRecord);
        FUZZ_CHECK(record->SetFilePath(seed.path, &diskVsn) == S_OK);
        FUZZ_CHECK(record->SetFileName(seed.name) == S_OK);
        FUZZ_CHECK(record->SetFileFormat(&seed.format) == S_OK);
        FUZZ_CHECK(record->SetManage(&seed.manage) == S_OK);
        FUZZ_CHECK(record->SetShootingDate(&seed.date) == S_OK);
        FUZZ_CHECK(record->SetIsFavorite(&seed.flag) == S_OK);
        FUZZ_CHECK(record->SetDidEdit(&seed.flag) == S_OK);
        FUZZ_CHECK(record->SetGPS(&seed.latitude, &seed.longitude) == S_OK);
        uint64_t id = 0;
        HRESULT result = files->AddFile(record.Get(), &id);
        FUZZ_CHECK_MSG(result == S_OK && id != 0, "AddFile answered " + HexResult(result));
    }
    // Staged rows into the catalogue, then the catalogue made durable.
    FUZZ_CHECK(files->Commit(2) == S_OK);
    FUZZ_CHECK(files->Commit(1) == S_OK);
    uint32_t count = 0;
    FUZZ_CHECK(files->CountFiles(nullptr, &count) == S_OK);
    FUZZ_CHECK_MSG(count == std::size(seeds), "catalogue holds " + std::to_string(count) + " files");
}

float ConsumeFloat(FuzzedDataProvider& data) {
    // Mostly plausible coordinates, sometimes any bit pattern (NaN, inf).
    if (data.ConsumeBool()) return data.ConsumeFloatingPointInRange<float>(-200.0f, 200.0f);
    return ConsumeFloatBits(data);
}

// Accepts result as the answer of a leaf operation: S_OK with a node when
// the arguments are valid, E_INVALIDARG without one when not.
void Expect(HRESULT result, bool valid, IZanDB4QueryNode* node, const char* operation) {
    CheckResult(result, operation);
    FUZZ_CHECK_MSG(result == (valid ? S_OK : E_INVALIDARG), std::string(operation) + " answered " + HexResult(result));
    FUZZ_CHECK_MSG((node != nullptr) == valid, std::string(operation) + ": node and answer disagree");
}

bool InRange(float lower, float upper, float bound) {
    return lower <= upper && lower >= -bound && upper <= bound;
}

// Makes one leaf through a fuzzer-chosen operation; false if none was made.
bool MakeLeaf(FuzzedDataProvider& data, IZanDB4QueryMgr* queries, Node& out) {
    ComPtr<IZanDB4QueryNode> node;
    bool literalsIntact = true;
    switch (data.ConsumeIntegralInRange<int>(0, 17)) {
        case 0:
            Expect(queries->CreateFileFormatNode(node.Receive(), data.ConsumeIntegral<uint32_t>()), true, node.Get(),
                   "CreateFileFormatNode");
            break;
        case 1: {
            uint32_t mode = data.ConsumeIntegralInRange<uint32_t>(0, 4);
            SYSTEMTIME first = ConsumeDate(data), second = ConsumeDate(data);
            bool passFirst = data.ConsumeBool(), passSecond = data.ConsumeBool();
            bool valid = (mode == 1 || mode == 2) ? passFirst && passSecond : mode == 3 && passFirst;
            Expect(queries->CreateShootingDateNode(node.Receive(), mode, passFirst ? &first : nullptr,
                                                   passSecond ? &second : nullptr),
                   valid, node.Get(), "CreateShootingDateNode");
            break;
        }
        case 2: {
            float lower = ConsumeFloat(data), upper = ConsumeFloat(data);
            Expect(queries->CreateLatitudeNode(node.Receive(), lower, upper), InRange(lower, upper, 90.0f), node.Get(),
                   "CreateLatitudeNode");
            break;
        }
        case 3: {
            float lower = ConsumeFloat(data), upper = ConsumeFloat(data);
            Expect(queries->CreateLongitudeNode(node.Receive(), lower, upper), InRange(lower, upper, 180.0f),
                   node.Get(), "CreateLongitudeNode");
            break;
        }
        case 4: {
            BOOL pattern = data.ConsumeIntegral<int32_t>();
            std::u16string text = ConsumeText(data, kMaxTextUnits);
            bool passNull = data.ConsumeIntegralInRange<int>(0, 15) == 0;
            Expect(queries->CreateAreaInfoNode(node.Receive(), pattern, passNull ? nullptr : text.c_str()), true,
                   node.Get(), "CreateAreaInfoNode");
            std::u16string value = passNull ? std::u16string() : AsCString(text);
            std::u16string expected = pattern ? u"gps_areainfo LIKE '" + value + u"'" : u"gps_areainfo='" + value + u"'";
            FUZZ_CHECK_MSG(TextOf(node.Get()) == expected, "area info text differs from its value");
            literalsIntact = !HoldsQuote(value);
            break;
        }
        case 5:
            Expect(queries->CreateDidEditNode(node.Receive(), data.ConsumeIntegral<int32_t>()), true, node.Get(),
                   "CreateDidEditNode");
            break;
        case 6:
            Expect(queries->CreateIsFavoriteNode(node.Receive(), data.ConsumeIntegral<int32_t>()), true, node.Get(),
                   "CreateIsFavoriteNode");
            break;
        case 7:
            Expect(queries->CreateDidDetectFaceNode(node.Receive(), data.ConsumeIntegral<int32_t>()), true,
                   node.Get(), "CreateDidDetectFaceNode");
            break;
        case 8: {
            uint32_t op = data.ConsumeIntegralInRange<uint32_t>(0, 12);
            if (data.ConsumeBool()) op = data.ConsumeIntegral<uint32_t>();
            Expect(queries->CreateManageNode(node.Receive(), op, data.ConsumeIntegral<uint32_t>()), op <= 10,
                   node.Get(), "CreateManageNode");
            break;
        }
        case 9: {
            uint32_t op = data.ConsumeIntegralInRange<uint32_t>(0, 12);
            if (data.ConsumeBool()) op = data.ConsumeIntegral<uint32_t>();
            Expect(queries->CreateParentIDNode(node.Receive(), op, data.ConsumeIntegral<uint64_t>()), op <= 10,
                   node.Get(), "CreateParentIDNode");
            break;
        }
        case 10:
            Expect(queries->CreateUploadFlagNode(node.Receive(), data.ConsumeIntegral<int32_t>()), true, node.Get(),
                   "CreateUploadFlagNode");
            break;
        case 11:
            Expect(queries->CreateClassifyIDNode(node.Receive(), data.ConsumeIntegral<uint16_t>()), true, node.Get(),
                   "CreateClassifyIDNode");
            break;
        case 12: {
            BOOL prefix = data.ConsumeIntegral<int32_t>();
            std::u16string text = ConsumeText(data, kMaxTextUnits);
            bool passNull = data.ConsumeIntegralInRange<int>(0, 15) == 0;
            Expect(queries->CreateFilePathNode(node.Receive(), passNull ? nullptr : text.c_str(), prefix), true,
                   node.Get(), "CreateFilePathNode");
            std::u16string value = passNull ? std::u16string() : AsCString(text);
            std::u16string expected = prefix ? u"file_path LIKE \"" + value + u"%\"" : u"file_path='" + value + u"'";
            FUZZ_CHECK_MSG(TextOf(node.Get()) == expected, "file path text differs from its value");
            literalsIntact = !HoldsQuote(value);
            break;
        }
        case 13:
            Expect(queries->CreateFileAttributesNode(node.Receive(), data.ConsumeIntegral<uint32_t>(),
                                                     data.ConsumeIntegral<uint32_t>()),
                   true, node.Get(), "CreateFileAttributesNode");
            break;
        case 14:
            Expect(queries->CreateHasGPSNode(node.Receive()), true, node.Get(), "CreateHasGPSNode");
            break;
        case 15:
            Expect(queries->CreateDiskVsnNode(node.Receive(), data.ConsumeIntegral<int32_t>()), true, node.Get(),
                   "CreateDiskVsnNode");
            break;
        case 16:
            Expect(queries->CreateAlbumIDNode(node.Receive(), data.ConsumeIntegral<uint64_t>()), true, node.Get(),
                   "CreateAlbumIDNode");
            break;
        default: {
            // Raw text, as a client could put into any node with SetText.
            ComPtr<IZanDB4QueryNode> blank;
            Expect(queries->CreateHasGPSNode(blank.Receive()), true, blank.Get(), "CreateHasGPSNode");
            std::u16string text = ConsumeText(data, kMaxTextUnits * 2);
            FUZZ_CHECK(blank->SetText(text.c_str()) == S_OK);
            FUZZ_CHECK(TextOf(blank.Get()) == AsCString(text));
            node = blank;
            literalsIntact = false;
            break;
        }
    }
    if (!node) return false;
    out.node = node;
    out.literalsIntact = literalsIntact;
    return true;
}

void Combine(FuzzedDataProvider& data, IZanDB4QueryMgr* queries, std::vector<Node>& nodes) {
    size_t leftIndex = data.ConsumeIntegralInRange<size_t>(0, nodes.size() - 1);
    size_t rightIndex = data.ConsumeIntegralInRange<size_t>(0, nodes.size() - 1);
    uint32_t code = data.ConsumeIntegralInRange<uint32_t>(0, 3);
    if (data.ConsumeIntegralInRange<int>(0, 7) == 0) code = data.ConsumeIntegral<uint32_t>();
    BOOL parentheses = data.ConsumeIntegral<int32_t>();
    std::u16string left = TextOf(nodes[leftIndex].node.Get()), right = TextOf(nodes[rightIndex].node.Get());
    if (left.size() + right.size() > kMaxCombinedUnits) return;

    ComPtr<IZanDB4QueryNode> combined;
    HRESULT result =
        queries->CombineNodes(combined.Receive(), nodes[leftIndex].node.Get(), nodes[rightIndex].node.Get(), code,
                              parentheses);
    CheckResult(result, "CombineNodes");
    if (left.empty() || right.empty()) {
        FUZZ_CHECK_MSG(result == E_FAIL && !combined, "combining an empty node answered " + HexResult(result));
        return;
    }
    if (code > 2) {
        FUZZ_CHECK_MSG(result == E_INVALIDARG && !combined, "code " + std::to_string(code) + " answered " + HexResult(result));
        return;
    }
    FUZZ_CHECK_MSG(result == S_OK && combined, "CombineNodes answered " + HexResult(result));
    std::u16string inner = left + (code == 0 ? u" AND " : u" OR ") + right;
    if (code == 2) inner = u"NOT(" + inner + u")";
    if (parentheses) inner = u"(" + inner + u")";
    FUZZ_CHECK_MSG(TextOf(combined.Get()) == inner, "combined text differs");

    Node node{combined, nodes[leftIndex].literalsIntact && nodes[rightIndex].literalsIntact};
    if (nodes.size() < kMaxNodes)
        nodes.push_back(node);
    else
        nodes[leftIndex] = node;
}

// Runs node through the file manager's reads that take a query.
void RunInStore(IZanDB4FileDBMgr* files, const Node& entry) {
    IZanDB4QueryNode* node = entry.node.Get();
    std::u16string text = TextOf(node);

    uint32_t count = 0xFFFFFFFF;
    HRESULT countResult = files->CountFiles(node, &count);
    CheckResult(countResult, "CountFiles");
    if (text.empty()) FUZZ_CHECK_MSG(countResult == E_FAIL, "CountFiles of an empty node answered " + HexResult(countResult));

    HRESULT hasResult = files->HasFiles(node);
    CheckResult(hasResult, "HasFiles");

    CList<IZanDB4FileDBRecord*> records;
    HRESULT listResult = files->ListFiles(node, 0, &records, 0);
    CheckResult(listResult, "ListFiles");
    uint32_t listed = 0;
    for (POSITION position = records.GetHeadPosition(); position != nullptr;) {
        IZanDB4FileDBRecord* record = records.GetNext(position);
        FUZZ_CHECK(record != nullptr);
        uint64_t id = 0;
        FUZZ_CHECK(record->GetFileID(&id) == S_OK && id != 0);
        record->Release();
        ++listed;
    }
    FUZZ_CHECK_MSG((listResult == S_OK) == (listed > 0), "ListFiles answered " + HexResult(listResult) + " with " +
                                                            std::to_string(listed) + " records");

    if (!text.empty() && entry.literalsIntact && countResult == S_OK) {
        // The same condition behind three statements selects the same rows.
        FUZZ_CHECK_MSG(listed == count, "ListFiles found " + std::to_string(listed) + ", CountFiles " +
                                            std::to_string(count));
        FUZZ_CHECK_MSG(hasResult == (count > 0 ? S_OK : E_FAIL), "HasFiles answered " + HexResult(hasResult) +
                                                                      " for a count of " + std::to_string(count));
    }

    CList<uint32_t> values;
    CheckResult(files->ListFileFormats(node, &values), "ListFileFormats");
    values.RemoveAll();
    CheckResult(files->ListManageFlags(node, &values), "ListManageFlags");

    SYSTEMTIME oldest{}, latest{};
    HRESULT rangeResult = files->GetShootingDateRange(node, &oldest, &latest);
    CheckResult(rangeResult, "GetShootingDateRange");
    CList<SYSTEMTIME> dates;
    HRESULT datesResult = files->ListShootingDates(node, &dates);
    CheckResult(datesResult, "ListShootingDates");
    if (rangeResult == S_OK && datesResult == S_OK && !dates.IsEmpty() && entry.literalsIntact) {
        // Both read the managed files under the condition: every listed date
        // lies within the range.
        int64_t low = CZanTDateTime(oldest).GetPacked(), high = CZanTDateTime(latest).GetPacked();
        for (POSITION position = dates.GetHeadPosition(); position != nullptr;) {
            int64_t date = CZanTDateTime(dates.GetNext(position)).GetPacked();
            FUZZ_CHECK_MSG(low <= date && date <= high, "a listed date lies outside the date range");
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    g_catalogue = new Catalogue();
    g_catalogue->root = std::make_unique<ScratchFolder>("zandb4-query-fuzz");
    CZanTString root = g_catalogue->root->Wide();
    FUZZ_CHECK(ZanDB4_Initialize(root.GetString()) == S_OK);
    g_catalogue->files = Create<IZanDB4FileDBMgr>(IID_IZanDB4FileDBMgr);
    g_catalogue->queries = Create<IZanDB4QueryMgr>(IID_IZanDB4QueryMgr);
    AddFiles(g_catalogue->files.Get());
    g_catalogue->fingerprint = Fingerprint();
    // The catalogue lives as long as the process: libFuzzer ends it with
    // exit(), and the scratch folder is removed by an exit handler.
    std::atexit([] {
        g_catalogue->files.Reset();
        g_catalogue->queries.Reset();
        ZanDB4_Finalize();
        delete g_catalogue;
        g_catalogue = nullptr;
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    FuzzedDataProvider data(bytes, size);
    IZanDB4QueryMgr* queries = g_catalogue->queries.Get();
    IZanDB4FileDBMgr* files = g_catalogue->files.Get();

    std::vector<Node> nodes;
    for (size_t step = 0; step < kMaxSteps && data.remaining_bytes() > 0; ++step) {
        int action = data.ConsumeIntegralInRange<int>(0, 9);
        if (nodes.empty() || action < 5) {
            Node node;
            if (MakeLeaf(data, queries, node)) {
                if (nodes.size() < kMaxNodes)
                    nodes.push_back(node);
                else
                    nodes[data.ConsumeIntegralInRange<size_t>(0, nodes.size() - 1)] = node;
            }
        } else if (action < 8) {
            Combine(data, queries, nodes);
        } else if (action == 8) {
            // Reset keeps the text: a node holds nothing else.
            Node& node = nodes[data.ConsumeIntegralInRange<size_t>(0, nodes.size() - 1)];
            std::u16string before = TextOf(node.node.Get());
            FUZZ_CHECK(node.node->Reset() == S_OK);
            FUZZ_CHECK(TextOf(node.node.Get()) == before);
        } else {
            RunInStore(files, nodes[data.ConsumeIntegralInRange<size_t>(0, nodes.size() - 1)]);
        }
    }
    // The last node made is always run.
    if (!nodes.empty()) RunInStore(files, nodes.back());

    FUZZ_CHECK_MSG(Fingerprint() == g_catalogue->fingerprint, "the catalogue's rows or schema changed");
    return 0;
}
