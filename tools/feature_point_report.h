// The feature point part of the report of "info": for each family (rfp for
// persons, tfp for pets) and set (w working, g group, i individual), how
// many shard files the set's folder holds and how many points they hold,
// live and, in a working set, removed softly (a point leaves the working
// set by a mark; its row and blob stay until the whole shard is dropped).
// Only reads: files are opened read-only and a missing folder stays
// missing.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "json_writer.h"
#include "shard_report.h"

namespace zandb4::tool {

struct FeaturePointSetReport {
    std::string family;  // "rfp" or "tfp"
    std::string set;     // "working", "group" or "individual"
    std::string shown;   // "database/rfpw"
    bool present = false;
    std::string problem;  // why the folder cannot be listed; empty when it can
    int64_t shards = 0;   // shard files; in a working set the companions
                          // ("_00000000.db", holding the blobs) are not counted
    int64_t live = 0;     // points of the readable shards
    int64_t removed = 0;  // points removed softly (working sets only)
    std::vector<UnreadableShard> unreadable;
};

// The six sets under root/database: rfpw, rfpg, rfpi, tfpw, tfpg, tfpi.
std::vector<FeaturePointSetReport> ReadFeaturePointReports(const std::filesystem::path& root);

void PrintFeaturePointsText(const std::vector<FeaturePointSetReport>& sets, std::ostream& out);
// The value of the "feature_points" member: an array with an object per set.
void WriteFeaturePointsJson(const std::vector<FeaturePointSetReport>& sets, JsonWriter& json);

}  // namespace zandb4::tool
