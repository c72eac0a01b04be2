// The search of "zandb4 ls" through the library's read-only start, query
// tree and catalogue store. One of the two files of the tool that include
// the library's internal headers (with store_reader.cpp).
#include "catalogue/file_rows.h"
#include "catalogue_search.h"

#include "catalogue/file_basic_db.h"
#include "frame/com_ptr.h"
#include "frame/critical_section.h"
#include "library/database_registry.h"
#include "library/read_only_start.h"
#include "storage/statement.h"
#include "store_reader.h"
#include "zandb4.h"

namespace zandb4::tool {
namespace {

constexpr WCHAR kCountFiles[] = u"SELECT COUNT(*) FROM file_table";
constexpr WCHAR kBeginRead[] = u"BEGIN";
constexpr WCHAR kEndRead[] = u"COMMIT";

SYSTEMTIME TimeOf(const Day& day) {
    SYSTEMTIME time{};
    time.wYear = day.year;
    time.wMonth = day.month;
    time.wDay = day.day;
    return time;
}

// The library's prefix node matches with LIKE, where '%' and '_' are
// wildcards and case is ignored. The node is made as a path node and its
// text replaced by the literal comparison.
HRESULT MakePathPrefixNode(IZanDB4QueryMgr* queries, const std::string& prefix, IZanDB4QueryNode** node) {
    HRESULT result = queries->CreateFilePathNode(node, u"", 0);
    if (result != S_OK) return result;
    CZanTString text = CZanTString::FromUtf8(LiteralPathPrefixCondition(prefix).c_str());
    return (*node)->SetText(text.GetString());
}

// The node of one condition, made by the library's query manager.
HRESULT MakeNode(IZanDB4QueryMgr* queries, const Condition& condition, IZanDB4QueryNode** node) {
    switch (condition.kind) {
        case Condition::Kind::kFormat:
            return queries->CreateFileFormatNode(node, static_cast<uint32_t>(condition.number));
        case Condition::Kind::kDay: {
            SYSTEMTIME day = TimeOf(condition.from);
            return queries->CreateShootingDateNode(node, 3, &day, nullptr);
        }
        case Condition::Kind::kDayRange: {
            SYSTEMTIME from = TimeOf(condition.from), to = TimeOf(condition.to);
            return queries->CreateShootingDateNode(node, 1, &from, &to);
        }
        case Condition::Kind::kFavorite:
            return queries->CreateIsFavoriteNode(node, condition.number != 0 ? 1 : 0);
        case Condition::Kind::kPathPrefix:
            return MakePathPrefixNode(queries, condition.text, node);
        case Condition::Kind::kAlbum:
            return queries->CreateAlbumIDNode(node, condition.number);
    }
    return E_INVALIDARG;
}

// Every condition joined by AND; null when there is none.
HRESULT MakeQuery(IZanDB4QueryMgr* queries, const std::vector<Condition>& conditions, ComPtr<IZanDB4QueryNode>& query) {
    for (const Condition& condition : conditions) {
        ComPtr<IZanDB4QueryNode> node;
        HRESULT result = MakeNode(queries, condition, node.Receive());
        if (result != S_OK) return result;
        if (!query) {
            query = node;
            continue;
        }
        ComPtr<IZanDB4QueryNode> joined;
        result = queries->CombineNodes(joined.Receive(), query.Get(), node.Get(), 0, 0);
        if (result != S_OK) return result;
        query = joined;
    }
    return S_OK;
}

FileRow RowOf(IZanDB4FileDBRecord* record) {
    FileRow row;
    uint8_t favorite = 0;
    CZanTString path, name;
    record->GetFileID(&row.id);
    record->GetShootingDateValue(&row.shootingDate);
    record->GetFileFormat(&row.format);
    record->GetIsFavorite(&favorite);
    record->GetAlbumID(&row.album);
    record->GetFilePath(path, nullptr);
    record->GetFileName(name);
    row.favorite = favorite != 0;
    row.path = path.ToUtf8();
    row.name = name.ToUtf8();
    return row;
}

// The files of the query, with the count of the same selection read first
// inside one read transaction.
void ReadFiles(CSQLiteFileBasicDB* catalogue, IZanDB4QueryNode* query, int busyMilliseconds, SearchResult& search) {
    CriticalSectionGuard guard(catalogue->m_lock);
    CZanTString countSql = kCountFiles;
    CZanTString condition;
    if (query != nullptr && query->GetText(condition) == S_OK && !condition.IsEmpty()) {
        countSql += u" WHERE ";
        countSql += condition;
    }
    int code = Exec(catalogue->m_db, kBeginRead);
    int64_t expected = -1;
    if (code == SQLITE_OK) {
        Statement count(catalogue->m_db, countSql.GetString());
        int step = count.Step();
        if (step == SQLITE_ROW) expected = count.ColumnInt64(0);
        code = count.Finalize();
        if (code == SQLITE_OK && step != SQLITE_ROW) code = step;
    }
    CZanTList<IZanDB4FileDBRecord*> records;
    // An empty list answers E_FAIL as a failure does: the count tells them apart.
    if (code == SQLITE_OK) FileTableRows(*catalogue).ListFiles(query, 1, records, FileTableRows::kLoadAll);
    Exec(catalogue->m_db, kEndRead);
    for (POSITION position = records.GetHeadPosition(); position != nullptr;) {
        IZanDB4FileDBRecord* record = records.GetNext(position);
        search.files.push_back(RowOf(record));
        record->Release();
    }
    if (code != SQLITE_OK) {
        search.outcome = SearchResult::Outcome::kReadFailed;
        search.reason = ReasonOfCode(code, busyMilliseconds);
        search.files.clear();
    } else if (static_cast<int64_t>(search.files.size()) != expected) {
        search.outcome = SearchResult::Outcome::kReadFailed;
        search.reason = "cannot be read: " + std::to_string(expected) + " files match, " +
                        std::to_string(search.files.size()) + " could be read";
        search.files.clear();
    }
}

}  // namespace

std::string LiteralPathPrefixCondition(const std::string& prefix) {
    std::string literal = "'";
    for (char ch : prefix) literal += ch == '\'' ? std::string("''") : std::string(1, ch);
    literal += "'";
    return "substr(file_path,1,length(" + literal + "))=" + literal;
}

SearchResult SearchFiles(const std::string& root, const std::vector<Condition>& conditions, int busyMilliseconds) {
    SearchResult search;
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    search.result = StartReadOnly(wideRoot.GetString(), busyMilliseconds);
    if (search.result != S_OK) {
        search.outcome = SearchResult::Outcome::kStartFailed;
        return search;
    }
    {
        ComPtr<IZanDB4QueryMgr> queries;
        ComPtr<IZanDB4QueryNode> query;
        HRESULT made = ZanDB4_CreateInstance(&IID_IZanDB4QueryMgr, reinterpret_cast<void**>(queries.Receive()));
        if (made == S_OK) made = MakeQuery(queries.Get(), conditions, query);
        CSQLiteFileBasicDB* catalogue = DatabaseRegistry::fileBasicDB;
        if (made != S_OK || catalogue == nullptr) {
            search.outcome = SearchResult::Outcome::kQueryFailed;
            search.result = made != S_OK ? made : E_FAIL;
        } else {
            ReadFiles(catalogue, query.Get(), busyMilliseconds, search);
        }
    }
    ZanDB4_Finalize();
    return search;
}

}  // namespace zandb4::tool
