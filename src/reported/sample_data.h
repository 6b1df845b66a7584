#pragma once

#include <QDate>
#include <QtGlobal>
#include <functional>

#include "core/failure.h"

namespace tlm {

class Connection;

// What to generate. Every row follows from the seed alone: the same plan on an empty database gives
// the same rows on every engine and every standard library.
struct SampleSpec {
    quint32 seed = 20261123;  // same seed, same rows
    int projects = 12;        // each with a manager among the members
    int activitiesPerProject = 4;
    int members = 30;             // with mail addresses and rates
    int customItemsPerList = 6;   // the four custom lists
    qint64 reportedItems = 2000;  // tasks and appointments together, about half each
    QDate firstDay = QDate(2025, 12, 1);
    int days = 365;            // reported dates spread over [firstDay, firstDay + days)
    int approvedPercent = 20;  // the rest unapproved
};
struct SampleCounts {
    int projects = 0, activities = 0, members = 0;
    qint64 tasks = 0, appointments = 0;
};

// Fills the open connection (SQLite or PostgreSQL, provisioned with the shared schema) through the
// database layer, in batches inside transactions. Rows are appended; the reported items take the
// IDs the engine gives, so on empty tables both tables start at 1 and IDs overlap.
// Costs follow the default cost settings: the project's rate per hour times the worked minutes
// (a task's ActualWork, an appointment's Duration), exact to the unit.
// progress(done, total) is called after each committed batch and may return false to cancel: the
// committed batches stay, counts tell what was written, and the answer is false with no failure set.
bool FillSampleData(Connection& db, const SampleSpec& plan, SampleCounts* counts, Failure* failure,
                    const std::function<bool(qint64 done, qint64 total)>& progress = {});
// Only the reported items (tasks + appointments), for benchmarks that already have the lists: they
// refer to the lists FillSampleData writes for the same plan.
bool FillReportedItems(Connection& db, const SampleSpec& plan, SampleCounts* counts, Failure* failure,
                       const std::function<bool(qint64 done, qint64 total)>& progress = {});

}  // namespace tlm
