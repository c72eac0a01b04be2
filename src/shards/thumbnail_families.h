// The names under which the thumbnail families and the large-metadata shards
// lie in the database folder. Each family has the folder "<name>_0s" for
// kind 1 and "<name>_1s" for kind 2; it is also given "<name>_0a" and
// "<name>_1a", which must not be empty and are never made.
#pragma once

#include "zandb4/foundation.h"

namespace thumbnail_families {

// Files, person icons, pet icons, person faces, pet faces, albums, face
// groups: in the order the library makes them.
inline constexpr const WCHAR* kNames[] = {u"thumb", u"psni", u"pti", u"psnf", u"ptf", u"albm", u"grf"};

inline constexpr WCHAR kKind1Suffix[] = u"_0s";
inline constexpr WCHAR kKind1UnusedSuffix[] = u"_0a";
inline constexpr WCHAR kKind2Suffix[] = u"_1s";
inline constexpr WCHAR kKind2UnusedSuffix[] = u"_1a";

// The folder of the large-metadata shards.
inline constexpr WCHAR kMetaDataFolder[] = u"meta";

}  // namespace thumbnail_families
