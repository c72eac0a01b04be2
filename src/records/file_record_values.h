// What the stores take from a file record when they write it: its column
// values read through the public getters (so any implementation of the
// interface can be written), and the generated UPDATE of its changed
// columns. The catalogue and the staging store write the same fields; they
// differ only in their table and in the catalogue's path rules, which it
// passes in.
#pragma once

#include <cstdint>

#include "records/file_row.h"
#include "zandb4/records.h"

namespace file_record_values {

// Every column value of a record, read through its getters.
FileRowValues ValuesOf(IZanDB4FileDBRecord* record);

// The values a file row takes over from a record, whether the row is the
// record's own or an item group's made from it: shooting date, position,
// attributes, thumbnail size and orientation, flags, album and class.
void ReadDescriptiveValues(IZanDB4FileDBRecord* record, FileRowValues& row);

// The SET list of a generated UPDATE: the first item bare, every later one
// behind a comma. Values stand in the text unescaped, so an apostrophe in a
// text makes the statement fail; that stays so.
class SetList {
public:
    explicit SetList(const WCHAR* table);
    void Unsigned(const WCHAR* column, uint32_t value);
    void Text(const WCHAR* column, const CZanTString& value);
    void Wide(const WCHAR* column, uint64_t value);
    void Real(const WCHAR* column, float value);
    // Appends the tail " WHERE file_id='<id>'" and gives the statement.
    CZanTString Finish(uint64_t fileId);

private:
    void Add(const WCHAR* format, ...);

    CZanTString m_sql;
    bool m_first = true;
};

// How a store writes the path and name columns and the parent's date.
struct UpdateRules {
    // The table named after "UPDATE".
    const WCHAR* table;
    // Appends the assignments of a changed path: file_path and disk_vsn,
    // and whatever the store derives from them.
    void (*pathColumns)(SetList& set, const CZanTString& path, uint32_t diskVsn);
    // The file name as the store keeps it.
    CZanTString (*storedName)(const CZanTString& name);
    // Whether a file without a parent gets its own shooting date as
    // parent_shooting_date.
    bool parentlessTakesOwnDate;
};

// The UPDATE of the columns that mask names, in the fixed order of the mask
// bits: manage; path; name; format; shooting date; thumbnail size and
// orientation; position; attributes; the three flags; album; parent and its
// date; upload flag; class. A mask naming no column leaves the SET list
// empty, and the statement then fails when it is run.
CZanTString ColumnUpdateOf(IZanDB4FileDBRecord* record, uint32_t mask, uint64_t fileId, const UpdateRules& rules);

}  // namespace file_record_values
