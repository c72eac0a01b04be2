// The part of the report of "init" and "info" about the application's own
// stores: the entries of the memory data store (database/Memory.db) and the
// rows of each table of the usage log (database/UserLog.db), from what the
// report read of every store file. A store that is not there is reported as
// missing; nothing is made.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

#include "json_writer.h"
#include "store_reader.h"

namespace zandb4::tool {

// Each count is absent when the store, or its table, cannot be read (an
// older usage log has no launch, history or edit parameter table).
struct MemoryDataSummary {
    bool present = false;
    std::string problem;  // plain words; empty when the store was read
    std::optional<int64_t> entries;
};

struct UsageLogSummary {
    bool present = false;
    std::string problem;
    std::optional<int64_t> dayValues;
    std::optional<int64_t> strings;
    std::optional<int64_t> launchDays;
    std::optional<int64_t> histories;
    std::optional<int64_t> editParameters;
};

// From the contents read of the store, or null when the folder has no such
// file.
MemoryDataSummary SummariseMemoryData(const StoreContents* store);
UsageLogSummary SummariseUsageLog(const StoreContents* store);

// "memos   3 entries" and "usage   12 day values, 2 strings, ...".
void PrintLogsText(const MemoryDataSummary& memory, const UsageLogSummary& usage, std::ostream& out);
// The values of the members "memory_data" and "usage_log".
void WriteMemoryDataJson(const MemoryDataSummary& memory, JsonWriter& json);
void WriteUsageLogJson(const UsageLogSummary& usage, JsonWriter& json);

}  // namespace zandb4::tool
