#pragma once

#include <QDateTime>
#include <QString>
#include <optional>

#include "core/codecs.h"
#include "core/dictionary.h"
#include "core/money.h"
#include "domain/list_common.h"

namespace tlm {

class Recordset;
class cSingleList;

// One row of tActivities: an activity inside a project, the project named by plain text.
struct cTask {
    qint32 ID = 0;
    QString ActivityName;
    QString Project;
    Money Rate;
    QString Coordinator;
    QDateTime DueDate = ZeroDate();

    void FromRecordset(Recordset& rs);
    // The list key: the project followed directly by the activity, no separator.
    QString Key() const { return Project + ActivityName; }
};

// All rows of tActivities, keyed by project + activity without regard to case.
class cTasks {
  public:
    Dictionary<cTask> Items{CompareMode::Text};

    void FromArray(const Matrix& matrix);
    // Five columns per activity; nullopt (after a report) on an empty list.
    std::optional<Matrix> ToArray() const;
    void FromRecordset(Recordset* rs);
    // Brings the table to this list: adds, changes, deletes; tells coordinators and members.
    void ToRecordSet(Recordset& rs);
    // The client's list: one line per project, its fields, ":" and its activities.
    QString ToString() const;
    QString ToStringTab() const;
    // The distinct projects that own activities, in first-seen order.
    cSingleList GetProjectsList() const;
};

// The activity names of a project (project compared without case), joined by CR LF; from the
// global list, or from the one given.
QString GetTasksForAProject(const QString& project);
QString GetTasksForAProject(const cTasks& tasks, const QString& project);

}  // namespace tlm
