// The GPS log store's date migration from local time to UTC.
#include "maintenance/gps_date_migration.h"

#include "gps/gps_log_db.h"
#include "platform/clock.h"
#include "zandb4/foundation.h"

namespace platform = zandb4::platform;

namespace {

// Releases every record of the list and empties it.
template <class Record>
void ReleaseAll(CList<Record*>& list) {
    for (POSITION position = list.GetHeadPosition(); position != nullptr;) list.GetNext(position)->Release();
    list.RemoveAll();
}

void Report(ZanDB4UpgradeProgressCallback callback, uint32_t current, uint32_t total, void* context) {
    if (callback != nullptr) callback(current, total, context);
}

int64_t Packed(const SYSTEMTIME& time) {
    return CZanTDateTime(time).GetPacked();
}

// Every log gets state 1; a log that cannot be written is passed over.
void MarkEveryLog(CSQLiteGPSLogDB& store) {
    CList<IZanDB4GPSLogFileRecord*> logs;
    store.GetAllLogFiles(&logs);
    for (POSITION position = logs.GetHeadPosition(); position != nullptr;) {
        IZanDB4GPSLogFileRecord* log = logs.GetNext(position);
        log->SetState(gps_date_migration::kMigratedState);
        uint64_t id = 0;
        log->GetID(&id);
        if (id != 0) store.UpdateLogFile(id, log);
    }
    ReleaseAll(logs);
}

// Each point's local date converted to UTC by the zone's offset now. A date
// that is no valid moment (the empty date among them) gets the empty UTC
// date.
void ConvertEveryPoint(CSQLiteGPSLogDB& store, CList<IZanDB4GPSLogDBRecord*>& points,
                       ZanDB4UpgradeProgressCallback callback, uint32_t total, void* context) {
    uint32_t count = static_cast<uint32_t>(points.GetCount());
    uint32_t lastReported = 0;
    uint32_t index = 0;
    for (POSITION position = points.GetHeadPosition(); position != nullptr;) {
        IZanDB4GPSLogDBRecord* point = points.GetNext(position);
        ++index;
        SYSTEMTIME local{};
        point->GetDate(&local);
        SYSTEMTIME utc{};
        if (!platform::LocalTimeToUtc(local, &utc)) utc = SYSTEMTIME{};
        point->SetDateUTC(&utc);
        uint64_t id = 0;
        point->GetID(&id);
        // A point that cannot be written is passed over.
        store.UpdateLogData(id, point);
        uint32_t progress = gps_date_migration::kPointsDone * index / count;
        if (progress != lastReported) {
            lastReported = progress;
            Report(callback, progress, total, context);
        }
    }
}

// The first and last moment of each log with points, local and UTC. The
// points come by local date; the UTC moments go with the local ones of the
// same point, and are not compared for themselves.
void DateEveryLog(CSQLiteGPSLogDB& store) {
    CList<IZanDB4GPSLogFileRecord*> logs;
    store.GetAllLogFiles(&logs);
    for (POSITION position = logs.GetHeadPosition(); position != nullptr;) {
        IZanDB4GPSLogFileRecord* log = logs.GetNext(position);
        uint64_t id = 0;
        log->GetID(&id);
        CList<IZanDB4GPSLogDBRecord*> points;
        if (store.GetLogDataOfFile(id, &points) == S_OK) {
            SYSTEMTIME start{}, end{}, startUtc{}, endUtc{};
            for (POSITION at = points.GetHeadPosition(); at != nullptr;) {
                IZanDB4GPSLogDBRecord* point = points.GetNext(at);
                SYSTEMTIME date{}, dateUtc{};
                point->GetDate(&date);
                point->GetDateUTC(&dateUtc);
                // A start with year 0 means no point was taken yet.
                if (start.wYear == 0) {
                    start = end = date;
                    startUtc = endUtc = dateUtc;
                } else if (Packed(date) < Packed(start)) {
                    start = date;
                    startUtc = dateUtc;
                } else if (Packed(date) > Packed(end)) {
                    end = date;
                    endUtc = dateUtc;
                }
            }
            log->SetDates(&start, &end);
            log->SetDatesUTC(&startUtc, &endUtc);
            store.UpdateLogFile(id, log);
        }
        // A log without points keeps its local dates and gets no UTC ones.
        ReleaseAll(points);
    }
    ReleaseAll(logs);
}

}  // namespace

namespace gps_date_migration {

void Run(CSQLiteGPSLogDB& store, bool tablesUpgraded, ZanDB4UpgradeProgressCallback callback, uint32_t total,
         void* context) {
    MarkEveryLog(store);
    if (!tablesUpgraded) return;
    CList<IZanDB4GPSLogDBRecord*> points;
    if (store.GetAllLogData(&points, 1) != S_OK) {
        ReleaseAll(points);
        return;
    }
    ConvertEveryPoint(store, points, callback, total, context);
    ReleaseAll(points);
    DateEveryLog(store);
    Report(callback, kLogsDone, total, context);
}

}  // namespace gps_date_migration
