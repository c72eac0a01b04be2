// Tags and albums through the library's managers on the read-only start,
// with their rows counted beside them on the catalogue's connection
// (tool_access) by the statements of the library's table descriptions.
#include "album_tag_reader.h"

#include <sqlite3.h>

#include "albums/album_table.h"
#include "albums/tag_tables.h"
#include "frame/com_ptr.h"
#include "library/tool_access.h"
#include "store_reader.h"
#include "zandb4.h"

namespace zandb4::tool {
namespace {

constexpr char kNoCatalogue[] = "the library holds no catalogue store";

// The list read through a manager against the rows counted beside it.
int CompareWithCount(size_t read, int64_t expected, const char* what, std::string& reason) {
    if (static_cast<int64_t>(read) == expected) return SQLITE_OK;
    reason = "cannot be read: " + std::to_string(expected) + " " + what + " stored, " + std::to_string(read) +
             " could be read";
    return SQLITE_ERROR;
}

int64_t PackedOf(const SYSTEMTIME& date) {
    return CZanTDateTime(date).GetPacked();
}

AlbumRow RowOf(IZanDB4AlbumDBRecord* album) {
    AlbumRow row;
    CZanTString name, area;
    SYSTEMTIME oldest{}, latest{};
    album->GetID(&row.id);
    // An empty name or area answers E_FAIL and delivers the empty string,
    // which is what the row then shows.
    album->GetName(name);
    album->GetAreaInfo(area);
    album->GetFileCount(&row.files);
    album->GetOldestDate(&oldest);
    album->GetLatestDate(&latest);
    album->GetGPS(&row.latitude, &row.longitude);
    row.name = name.ToUtf8();
    row.areaInfo = area.ToUtf8();
    row.oldest = PackedOf(oldest);
    row.latest = PackedOf(latest);
    return row;
}

// Starts read-only, runs read inside one read transaction, stops again.
template <class Read>
LabelsResult ReadStarted(const std::string& root, int busyMilliseconds, Read&& read) {
    LabelsResult labels;
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    labels.result = tool_access::StartReadOnly(wideRoot.GetString(), busyMilliseconds);
    if (labels.result != S_OK) {
        labels.outcome = LabelsResult::Outcome::kStartFailed;
        return labels;
    }
    int code = SQLITE_ERROR;
    {
        tool_access::CatalogueRead transaction;
        if (!transaction.HasCatalogue()) {
            labels.reason = kNoCatalogue;
        } else if ((code = transaction.BeginCode()) == SQLITE_OK) {
            code = read(labels);
        } else {
            labels.reason = ReasonOfCode(code, busyMilliseconds);
        }
    }
    ZanDB4_Finalize();
    if (code != SQLITE_OK) {
        labels.outcome = LabelsResult::Outcome::kReadFailed;
        labels.tags.clear();
        labels.albums.clear();
    }
    return labels;
}

}  // namespace

int ReadTagsOfStartedLibrary(bool countFiles, std::vector<TagRow>& tags, std::string& reason, int busyMilliseconds) {
    int64_t expected = 0;
    int code = tool_access::CountCatalogueRows(tag_tables::kCountTags, nullptr, expected);
    if (code != SQLITE_OK) {
        reason = ReasonOfCode(code, busyMilliseconds);
        return code;
    }
    ComPtr<IZanDB4TagDBMgr> manager;
    HRESULT made = ZanDB4_CreateInstance(&IID_IZanDB4TagDBMgr, reinterpret_cast<void**>(manager.Receive()));
    if (made != S_OK) {
        reason = "the library has no tag manager";
        return SQLITE_ERROR;
    }
    CArray<IZanDB4TagDBRecord*> records;
    // No tags answers E_FAIL as a failure does: the count tells them apart.
    manager->GetTags(&records);
    for (ptrdiff_t index = 0; index < records.GetSize(); ++index) {
        IZanDB4TagDBRecord* record = records.GetAt(index);
        TagRow row;
        CZanTString name;
        record->GetID(&row.id);
        record->GetName(name);
        record->GetType(&row.type);
        row.name = name.ToUtf8();
        tags.push_back(row);
        record->Release();
    }
    code = CompareWithCount(tags.size(), expected, "tags are", reason);
    for (size_t index = 0; code == SQLITE_OK && countFiles && index < tags.size(); ++index) {
        code = tool_access::CountCatalogueRows(tag_tables::kCountLinksOfTag, &tags[index].id, tags[index].files);
        if (code != SQLITE_OK) reason = ReasonOfCode(code, busyMilliseconds);
    }
    return code;
}

int ReadAlbumsOfStartedLibrary(std::vector<AlbumRow>& albums, std::string& reason, int busyMilliseconds) {
    int64_t expected = 0;
    int code = tool_access::CountCatalogueRows(album_table::kCount, nullptr, expected);
    if (code != SQLITE_OK) {
        reason = ReasonOfCode(code, busyMilliseconds);
        return code;
    }
    ComPtr<IZanDB4AlbumDBMgr> manager;
    HRESULT made = ZanDB4_CreateInstance(&IID_IZanDB4AlbumDBMgr, reinterpret_cast<void**>(manager.Receive()));
    if (made != S_OK) {
        reason = "the library has no album manager";
        return SQLITE_ERROR;
    }
    CArray<IZanDB4AlbumDBRecord*> records;
    // No albums answers E_FAIL as a failure does: the count tells them apart.
    manager->GetAlbums(&records);
    for (ptrdiff_t index = 0; index < records.GetSize(); ++index) {
        IZanDB4AlbumDBRecord* record = records.GetAt(index);
        albums.push_back(RowOf(record));
        record->Release();
    }
    return CompareWithCount(albums.size(), expected, "albums are", reason);
}

LabelsResult ReadTags(const std::string& root, int busyMilliseconds) {
    return ReadStarted(root, busyMilliseconds, [&](LabelsResult& labels) {
        return ReadTagsOfStartedLibrary(true, labels.tags, labels.reason, busyMilliseconds);
    });
}

LabelsResult ReadAlbums(const std::string& root, int busyMilliseconds) {
    return ReadStarted(root, busyMilliseconds, [&](LabelsResult& labels) {
        return ReadAlbumsOfStartedLibrary(labels.albums, labels.reason, busyMilliseconds);
    });
}

}  // namespace zandb4::tool
