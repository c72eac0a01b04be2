#include "catalogue/file_rows.h"
#include "file_listing.h"

#include <cstdio>
#include <filesystem>
#include <utility>

#include "catalogue/file_basic_db.h"
#include "catalogue_report.h"
#include "frame/com_ptr.h"
#include "frame/critical_section.h"
#include "library/database_registry.h"
#include "zandb4.h"

namespace zandb4::tool {
namespace {

constexpr int kExitOk = 0;
constexpr int kExitUsage = 1;
constexpr int kExitNoCatalogue = 2;
constexpr int kExitLibraryFailed = 3;

bool ParseNumber(const std::string& text, uint64_t maximum, uint64_t& value) {
    if (text.empty() || text.size() > 20) return false;
    value = 0;
    for (char ch : text) {
        if (ch < '0' || ch > '9') return false;
        uint64_t digit = static_cast<uint64_t>(ch - '0');
        if (value > (maximum - digit) / 10) return false;
        value = value * 10 + digit;
    }
    return true;
}

// YYYY-MM-DD with a month of 1 to 12 and a day of 1 to 31.
bool ParseDay(const std::string& text, uint16_t day[3]) {
    if (text.size() != 10 || text[4] != '-' || text[7] != '-') return false;
    uint64_t year = 0, month = 0, date = 0;
    if (!ParseNumber(text.substr(0, 4), 9999, year) || !ParseNumber(text.substr(5, 2), 12, month) ||
        !ParseNumber(text.substr(8, 2), 31, date))
        return false;
    if (year == 0 || month == 0 || date == 0) return false;
    day[0] = static_cast<uint16_t>(year);
    day[1] = static_cast<uint16_t>(month);
    day[2] = static_cast<uint16_t>(date);
    return true;
}

SYSTEMTIME DayOf(const uint16_t day[3]) {
    SYSTEMTIME time{};
    time.wYear = day[0];
    time.wMonth = day[1];
    time.wDay = day[2];
    return time;
}

// The node of one condition, made by the library's query manager.
HRESULT MakeNode(IZanDB4QueryMgr* queries, const Condition& condition, IZanDB4QueryNode** node) {
    switch (condition.kind) {
        case Condition::Kind::kFormat:
            return queries->CreateFileFormatNode(node, static_cast<uint32_t>(condition.number));
        case Condition::Kind::kDay: {
            SYSTEMTIME day = DayOf(condition.from);
            return queries->CreateShootingDateNode(node, 3, &day, nullptr);
        }
        case Condition::Kind::kDayRange: {
            // The whole days from the earlier to the later, in whichever order
            // they were given.
            SYSTEMTIME from = DayOf(condition.from), to = DayOf(condition.to);
            if (CZanTDateTime(to).GetPacked() < CZanTDateTime(from).GetPacked()) std::swap(from, to);
            return queries->CreateShootingDateNode(node, 1, &from, &to);
        }
        case Condition::Kind::kFavorite:
            return queries->CreateIsFavoriteNode(node, condition.number != 0 ? 1 : 0);
        case Condition::Kind::kPathPrefix: {
            CZanTString prefix = CZanTString::FromUtf8(condition.text.c_str());
            return queries->CreateFilePathNode(node, prefix.GetString(), 1);
        }
        case Condition::Kind::kAlbum:
            return queries->CreateAlbumIDNode(node, condition.number);
    }
    return E_INVALIDARG;
}

// Every condition joined by AND; null when there is none.
HRESULT MakeQuery(IZanDB4QueryMgr* queries, const std::vector<Condition>& conditions,
                  zandb4::ComPtr<IZanDB4QueryNode>& query) {
    for (const Condition& condition : conditions) {
        zandb4::ComPtr<IZanDB4QueryNode> node;
        HRESULT result = MakeNode(queries, condition, node.Receive());
        if (result != S_OK) return result;
        if (!query) {
            query = node;
            continue;
        }
        zandb4::ComPtr<IZanDB4QueryNode> joined;
        result = queries->CombineNodes(joined.Receive(), query.Get(), node.Get(), 0, 0);
        if (result != S_OK) return result;
        query = joined;
    }
    return S_OK;
}

std::string DateText(IZanDB4FileDBRecord* record) {
    int64_t packed = 0;
    record->GetShootingDateValue(&packed);
    if (packed == 0) return "-";
    SYSTEMTIME date = CZanTDateTime(packed).m_time;
    char text[64];
    std::snprintf(text, sizeof(text), "%04u-%02u-%02u %02u:%02u:%02u", date.wYear, date.wMonth, date.wDay,
                  date.wHour, date.wMinute, date.wSecond);
    return text;
}

void PrintFile(IZanDB4FileDBRecord* record, std::ostream& out) {
    uint64_t id = 0, album = 0;
    uint32_t format = 0;
    uint8_t favorite = 0;
    CZanTString path, name;
    record->GetFileID(&id);
    record->GetFileFormat(&format);
    record->GetIsFavorite(&favorite);
    record->GetAlbumID(&album);
    record->GetFilePath(path, nullptr);
    record->GetFileName(name);
    out << id << '\t' << DateText(record) << '\t' << format << '\t' << static_cast<int>(favorite) << '\t' << album
        << '\t' << path.ToUtf8() << '\t' << name.ToUtf8() << '\n';
}

}  // namespace

bool ParseCondition(const std::string& text, Condition& condition, std::string& error) {
    size_t equals = text.find('=');
    if (equals == std::string::npos) {
        error = "expected KEY=VALUE";
        return false;
    }
    std::string key = text.substr(0, equals), value = text.substr(equals + 1);
    condition = Condition{};
    if (key == "format") {
        condition.kind = Condition::Kind::kFormat;
        if (ParseNumber(value, 0xFFFFFFFFu, condition.number)) return true;
        error = "format takes a number from 0 to 4294967295";
    } else if (key == "date") {
        size_t dots = value.find("..");
        if (dots == std::string::npos) {
            condition.kind = Condition::Kind::kDay;
            if (ParseDay(value, condition.from)) return true;
        } else {
            condition.kind = Condition::Kind::kDayRange;
            if (ParseDay(value.substr(0, dots), condition.from) && ParseDay(value.substr(dots + 2), condition.to))
                return true;
        }
        error = "date takes YYYY-MM-DD or YYYY-MM-DD..YYYY-MM-DD";
    } else if (key == "favorite") {
        condition.kind = Condition::Kind::kFavorite;
        if (value == "yes" || value == "no") {
            condition.number = value == "yes" ? 1 : 0;
            return true;
        }
        error = "favorite takes yes or no";
    } else if (key == "path") {
        condition.kind = Condition::Kind::kPathPrefix;
        condition.text = value;
        // The library puts the prefix between double quotes as it is, so a
        // double quote would end it early.
        if (!value.empty() && value.find('"') == std::string::npos) return true;
        error = "path takes a non-empty prefix without double quotes";
    } else if (key == "album") {
        condition.kind = Condition::Kind::kAlbum;
        if (ParseNumber(value, UINT64_MAX, condition.number)) return true;
        error = "album takes a number";
    } else {
        error = "unknown key '" + key + "' (use format, date, favorite, path or album)";
    }
    return false;
}

int ListFiles(const std::string& root, const std::vector<Condition>& conditions, std::ostream& out,
              std::ostream& err) {
    std::error_code missing;
    if (!std::filesystem::is_directory(root, missing)) {
        err << "zandb4: " << root << " does not exist or is not a folder\n";
        return kExitNoCatalogue;
    }
    if (!IsCatalogueRoot(root)) {
        err << "zandb4: " << root << " holds no catalogue (no \"database\" folder)\n";
        return kExitNoCatalogue;
    }
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    if (ZanDB4_Initialize(wideRoot.GetString()) != S_OK) {
        ZanDB4_Finalize();
        err << "zandb4: the library could not start on " << root << "\n";
        return kExitLibraryFailed;
    }

    int exitCode = kExitOk;
    {
        zandb4::ComPtr<IZanDB4QueryMgr> queries;
        zandb4::ComPtr<IZanDB4QueryNode> query;
        HRESULT made = ZanDB4_CreateInstance(&IID_IZanDB4QueryMgr, reinterpret_cast<void**>(queries.Receive()));
        if (made == S_OK) made = MakeQuery(queries.Get(), conditions, query);
        CSQLiteFileBasicDB* catalogue = zandb4::DatabaseRegistry::fileBasicDB;
        if (made != S_OK || catalogue == nullptr) {
            err << "zandb4: the search could not be built\n";
            exitCode = kExitUsage;
        } else {
            CZanTList<IZanDB4FileDBRecord*> files;
            {
                CriticalSectionGuard guard(catalogue->m_lock);
                // An empty result answers E_FAIL too; either way the list
                // holds what was found.
                FileTableRows(*catalogue).ListFiles(query.Get(), 1, files, FileTableRows::kLoadAll);
            }
            for (POSITION position = files.GetHeadPosition(); position != nullptr;) {
                IZanDB4FileDBRecord* record = files.GetNext(position);
                PrintFile(record, out);
                record->Release();
            }
        }
    }
    ZanDB4_Finalize();
    return exitCode;
}

}  // namespace zandb4::tool
