// The search of "zandb4 ls" through the library's read-only start, query
// tree and file manager, with tag and album names looked up through their
// managers, all inside one read transaction on the catalogue (tool_access).
#include "catalogue_search.h"

#include <sqlite3.h>

#include "album_tag_reader.h"
#include "frame/com_ptr.h"
#include "library/tool_access.h"
#include "store_reader.h"
#include "text_output.h"
#include "zandb4.h"

namespace zandb4::tool {
namespace {

constexpr WCHAR kCountFiles[] = u"SELECT COUNT(*) FROM file_table";

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

// The query tree has no node for a tag. The node is made as a path node and
// its text replaced by the membership test on the tag's links.
HRESULT MakeTagNode(IZanDB4QueryMgr* queries, uint64_t tagId, IZanDB4QueryNode** node) {
    HRESULT result = queries->CreateFilePathNode(node, u"", 0);
    if (result != S_OK) return result;
    CZanTString text = CZanTString::FromUtf8(TagCondition(tagId).c_str());
    return (*node)->SetText(text.GetString());
}

// The node of one condition, made by the library's query manager. id is the
// tag or album that a name condition was resolved to.
HRESULT MakeNode(IZanDB4QueryMgr* queries, const Condition& condition, uint64_t id, IZanDB4QueryNode** node) {
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
        case Condition::Kind::kAlbumName:
            return queries->CreateAlbumIDNode(node, id);
        case Condition::Kind::kTagName:
            return MakeTagNode(queries, id, node);
    }
    return E_INVALIDARG;
}

// Every condition joined by AND; null when there is none. ids holds the
// resolved id of each name condition.
HRESULT MakeQuery(IZanDB4QueryMgr* queries, const std::vector<Condition>& conditions,
                  const std::vector<uint64_t>& ids, ComPtr<IZanDB4QueryNode>& query) {
    for (size_t index = 0; index < conditions.size(); ++index) {
        ComPtr<IZanDB4QueryNode> node;
        HRESULT result = MakeNode(queries, conditions[index], ids[index], node.Receive());
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


// The id each name condition stands for, read through the tag and album
// managers; 0 for the other conditions. SQLITE_OK, or the code of a failed
// read with search's reason set; a name that resolves to no single tag or
// album makes search a kUnknownName.
int ResolveNames(const std::vector<Condition>& conditions, int busyMilliseconds, std::vector<uint64_t>& ids,
                 SearchResult& search) {
    bool wantTags = false, wantAlbums = false;
    for (const Condition& condition : conditions) {
        wantTags = wantTags || condition.kind == Condition::Kind::kTagName;
        wantAlbums = wantAlbums || condition.kind == Condition::Kind::kAlbumName;
    }
    std::vector<TagRow> tags;
    std::vector<AlbumRow> albums;
    int code = SQLITE_OK;
    if (wantTags) code = ReadTagsOfStartedLibrary(false, tags, search.reason, busyMilliseconds);
    if (code == SQLITE_OK && wantAlbums) code = ReadAlbumsOfStartedLibrary(albums, search.reason, busyMilliseconds);
    if (code != SQLITE_OK) return code;

    ids.assign(conditions.size(), 0);
    for (size_t index = 0; index < conditions.size(); ++index) {
        const Condition& condition = conditions[index];
        std::string shown = EscapeField(condition.text);
        if (condition.kind == Condition::Kind::kTagName) {
            // Tag names are unique, compared byte for byte: case counts.
            bool found = false;
            for (const TagRow& tag : tags) {
                if (tag.name != condition.text) continue;
                ids[index] = tag.id;
                found = true;
            }
            if (found) continue;
            search.outcome = SearchResult::Outcome::kUnknownName;
            search.reason = "bad condition 'tag=" + shown + "': no tag is named '" + shown + "'";
            return SQLITE_OK;
        }
        if (condition.kind != Condition::Kind::kAlbumName) continue;
        std::vector<uint64_t> named;
        for (const AlbumRow& album : albums)
            if (album.name == condition.text) named.push_back(album.id);
        if (named.size() == 1) {
            ids[index] = named[0];
            continue;
        }
        search.outcome = SearchResult::Outcome::kUnknownName;
        search.reason = "bad condition 'album=" + shown + "': ";
        if (named.empty()) {
            search.reason += "no album is named '" + shown + "'";
            return SQLITE_OK;
        }
        search.reason += std::to_string(named.size()) + " albums are named '" + shown + "' (ids";
        for (size_t at = 0; at < named.size(); ++at) search.reason += (at == 0 ? " " : ", ") + std::to_string(named[at]);
        search.reason += "); give one as album=ID";
        return SQLITE_OK;
    }
    return SQLITE_OK;
}

// The files of the query, with the count of the same selection read first,
// inside the caller's read transaction.
void ReadFiles(IZanDB4QueryNode* query, int busyMilliseconds, SearchResult& search) {
    CZanTString countSql = kCountFiles;
    CZanTString condition;
    if (query != nullptr && query->GetText(condition) == S_OK && !condition.IsEmpty()) {
        countSql += u" WHERE ";
        countSql += condition;
    }
    int64_t expected = -1;
    int code = tool_access::CountCatalogueRows(countSql.GetString(), nullptr, expected);
    // The files come through the public file manager, as an application
    // lists them: every column, oldest first, then by name.
    CList<IZanDB4FileDBRecord*> records;
    ComPtr<IZanDB4FileDBMgr> files;
    if (code == SQLITE_OK &&
        ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(files.Receive())) != S_OK)
        code = SQLITE_ERROR;
    // An empty list answers E_FAIL as a failure does: the count tells them apart.
    if (code == SQLITE_OK) files->ListFiles(query, 1, &records, 0);
    for (POSITION position = records.GetHeadPosition(); position != nullptr;) {
        IZanDB4FileDBRecord* record = records.GetNext(position);
        search.files.push_back(FileRowOf(record));
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

FileRow FileRowOf(IZanDB4FileDBRecord* record) {
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

std::string TagCondition(uint64_t tagId) {
    return "file_id IN (SELECT file_id FROM tag_file_table WHERE tag_id=" + std::to_string(tagId) + ")";
}

std::string LiteralPathPrefixCondition(const std::string& prefix) {
    std::string literal = "'";
    for (char ch : prefix) literal += ch == '\'' ? std::string("''") : std::string(1, ch);
    literal += "'";
    return "substr(file_path,1,length(" + literal + "))=" + literal;
}

SearchResult SearchFiles(const std::string& root, const std::vector<Condition>& conditions, int busyMilliseconds) {
    SearchResult search;
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    search.result = tool_access::StartReadOnly(wideRoot.GetString(), busyMilliseconds);
    if (search.result != S_OK) {
        search.outcome = SearchResult::Outcome::kStartFailed;
        return search;
    }
    {
        // Names, count and files are read in one read transaction.
        tool_access::CatalogueRead read;
        int code = read.BeginCode();
        std::vector<uint64_t> ids(conditions.size(), 0);
        if (!read.HasCatalogue()) {
            search.outcome = SearchResult::Outcome::kQueryFailed;
            search.result = E_FAIL;
        } else if (code != SQLITE_OK) {
            search.outcome = SearchResult::Outcome::kReadFailed;
            search.reason = ReasonOfCode(code, busyMilliseconds);
        } else if ((code = ResolveNames(conditions, busyMilliseconds, ids, search)) != SQLITE_OK) {
            search.outcome = SearchResult::Outcome::kReadFailed;
        } else if (search.outcome == SearchResult::Outcome::kFound) {
            ComPtr<IZanDB4QueryMgr> queries;
            ComPtr<IZanDB4QueryNode> query;
            HRESULT made = ZanDB4_CreateInstance(&IID_IZanDB4QueryMgr, reinterpret_cast<void**>(queries.Receive()));
            if (made == S_OK) made = MakeQuery(queries.Get(), conditions, ids, query);
            if (made != S_OK) {
                search.outcome = SearchResult::Outcome::kQueryFailed;
                search.result = made;
            } else {
                ReadFiles(query.Get(), busyMilliseconds, search);
            }
        }
    }
    ZanDB4_Finalize();
    return search;
}

}  // namespace zandb4::tool
