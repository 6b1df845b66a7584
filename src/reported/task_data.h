#pragma once

#include "reported/reported_record.h"

namespace tlm {

// One reported task: a row of tReportedTasks in memory.
class cTaskData : public cReportedRecord {
  public:
    qint32 ActualWork = 0;
    bool Complete = false;
    QString ContactNames;
    QDateTime DateCompleted = ZeroDate();
    QString DelegationState;
    QString Delegator;
    QDateTime DueDate = ZeroDate();
    qint32 Ordinal = 0;
    QString Owner;
    QString Ownership;
    QString Role;
    QString SchedulePlusPriority;
    QString Status;
    QString StatusOnCompletionRecipients;
    QString StatusUpdateRecipients;
    bool TeamTask = false;
    qint32 TotalWork = 0;

    static QString GetTableName() { return QStringLiteral("tReportedTasks"); }
    // Reads a task item the reporting way; false (and nothing touched) for an item of no known kind.
    bool ReadDataFromItem(const TlmItem& item);
    // Writes the columns into the current row; the caller positions the row and calls Update.
    void ToRecordSet(Recordset& rs) const;
    // Reads the current row. Flag and count columns read as false and 0 whatever is stored, and
    // Field9Value and Field10Value both come from the Field8Value column.
    void FromRecordset(Recordset& rs);
    // Replaces the TLM_ tags, each as a full pass, case-sensitive, in a fixed order.
    QString SubstituePlaceHolders(const QString& sContent) const;
};

}  // namespace tlm
