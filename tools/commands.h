// The entries of the zandb4 tool's command table, one function per command.
#pragma once

#include "command.h"

namespace zandb4::tool {

const Command& InitCommand();
const Command& InfoCommand();
const Command& ListCommand();
const Command& ThumbCommand();
const Command& CommitCommand();
const Command& TagsCommand();
const Command& AlbumsCommand();
const Command& ImportCommand();
const Command& FacesCommand();
const Command& StatsCommand();
const Command& AppLogCommand();
const Command& GpsImportCommand();
const Command& GpsGeotagCommand();
const Command& GpsListCommand();
const Command& UpgradeCommand();
const Command& CompactCommand();
const Command& BackupCommand();
const Command& CheckCommand();

}  // namespace zandb4::tool
