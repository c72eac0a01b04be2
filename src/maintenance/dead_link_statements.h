// The counts of the dead link check that run on the catalogue's own tables:
// metadata rows, tag links and edit file entries whose file or tag is gone.
// (Faces, thumbnails and large metadata have their counts in their own
// subsystems.) Each %s takes the quoted id list, "'1','2'"; with an empty
// list the parentheses stay empty and every row counts.
//
// Each count has a twin over one span of ids, for a list too long for one
// statement, cut into runs (shard_files::NotInList): 1 for no lower bound,
// the bound, 1 for no upper bound, the bound.
#pragma once

#include "zandb4/foundation.h"

namespace dead_link_statements {

inline constexpr WCHAR kCountOrphanMeta[] = u"SELECT COUNT(*) FROM meta_table WHERE file_id NOT IN (%s)";
inline constexpr WCHAR kCountOrphanMetaInRange[] =
    u"SELECT COUNT(*) FROM meta_table WHERE file_id NOT IN (%s) AND (? OR file_id>?) AND (? OR file_id<=?)";

inline constexpr WCHAR kCountTagLinksWithoutFile[] = u"SELECT COUNT(*) FROM tag_file_table WHERE file_id NOT IN (%s)";
inline constexpr WCHAR kCountTagLinksWithoutFileInRange[] =
    u"SELECT COUNT(*) FROM tag_file_table WHERE file_id NOT IN (%s) AND (? OR file_id>?) AND (? OR file_id<=?)";

inline constexpr WCHAR kCountTagLinksWithoutTag[] = u"SELECT COUNT(*) FROM tag_file_table WHERE tag_id NOT IN (%s)";
inline constexpr WCHAR kCountTagLinksWithoutTagInRange[] =
    u"SELECT COUNT(*) FROM tag_file_table WHERE tag_id NOT IN (%s) AND (? OR tag_id>?) AND (? OR tag_id<=?)";

inline constexpr WCHAR kCountOrphanImageFiles[] = u"SELECT COUNT(*) FROM image_file_table WHERE file_id NOT IN (%s)";
inline constexpr WCHAR kCountOrphanImageFilesInRange[] =
    u"SELECT COUNT(*) FROM image_file_table WHERE file_id NOT IN (%s) AND (? OR file_id>?) AND (? OR file_id<=?)";

}  // namespace dead_link_statements
