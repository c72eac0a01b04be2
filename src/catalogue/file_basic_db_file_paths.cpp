// The separator rules of file_table and its unique key, path_key.
#include "catalogue/file_basic_db.h"

namespace {

constexpr WCHAR kSeparator = u'/';

}  // namespace

CZanTString CSQLiteFileBasicDB::StoredFilePath(const CZanTString& path) {
    std::u16string value = path.Value();
    if (!value.empty() && value.back() == kSeparator) value.pop_back();
    CZanTString stored;
    stored = value.c_str();
    return stored;
}

CZanTString CSQLiteFileBasicDB::StoredFileName(const CZanTString& name) {
    const std::u16string& value = name.Value();
    CZanTString stored;
    stored = (!value.empty() && value.front() == kSeparator) ? value.c_str() + 1 : value.c_str();
    return stored;
}

// Upper-casing does not depend on the process locale, so a key written under
// one locale is found under any other. Two paths that differ only in case are
// one file; the same path on two volumes is two.
CZanTString CSQLiteFileBasicDB::PathKeyOf(const CZanTString& path, uint32_t diskVsn) {
    CZanTString upper = StoredFilePath(path);
    upper.MakeUpper();
    CZanTString key;
    key.Format(u"%s_%X", upper.GetString(), diskVsn);
    return key;
}
