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

// One row of tProjects. The name is the project's identity everywhere; ID only finds the row again.
struct cProject {
    qint32 ID = 0;
    QString ProjectName;
    QString ProjectCode;
    Money Rate;
    QString ProjectManager;
    qint16 ColorCode = 0;
    QDateTime StartDate = ZeroDate();
    QDateTime FinishDate = ZeroDate();
    QString Description;

    // Fills the object from the current row.
    void FromRecordset(Recordset& rs);
    // Name, colour, start, finish and rate for the client side.
    QString ToStringValuesClient() const;
    // The project's activities from the global lists, the last first.
    QString ToStringTasks(const QString& separator) const;
};

// All rows of tProjects, keyed by name without regard to case.
class cProjects {
  public:
    Dictionary<cProject> Items{CompareMode::Text};

    // 1-based, in Items order; the trimmed name, empty past the end.
    QString GetProject(qint16 index) const;
    QString GetItem(qint16 index) const;
    // 1-based; the name untrimmed.
    QString GetCategory(qint16 index) const;
    // A project at random, nullopt on an empty list.
    std::optional<cProject> RandomCategory() const;
    // 0 on success, else the 1-based row whose start lies after its finish (rows below it are not read).
    qint16 FromArray(const Matrix& matrix);
    // Eight columns per project; nullopt (after a report) on an empty list.
    std::optional<Matrix> ToArray() const;
    QString ToStringTab() const;
    void FromRecordset(Recordset* rs);
    // Brings the table to this list: adds, changes, deletes; tells managers and members.
    void ToRecordSet(Recordset& rs);
    QString ToStringValuesClient() const;
};

}  // namespace tlm
