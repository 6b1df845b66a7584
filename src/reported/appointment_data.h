#pragma once

#include "reported/reported_record.h"

namespace tlm {

// One reported appointment: a row of tReportedAppointments in memory.
class cAppointmentData : public cReportedRecord {
  public:
    bool AllDayEvent = false;
    qint32 Duration = 0;
    QDateTime EndDate = ZeroDate();
    QString Location;
    QString MeetingStatus;
    QString NetMeetingOrganizerAlias;
    QString OptionalAttendees;
    QString Organizer;
    QString RecurrenceState;
    QString RequiredAttendees;
    QString Resources;
    QString ResponseStatus;

    static QString GetTableName() { return QStringLiteral("tReportedAppointments"); }
    bool ReadDataFromItem(const TlmItem& item);
    void ToRecordSet(Recordset& rs) const;
    // Flag and count columns read as false and 0; Field9Value and Field10Value from their own columns.
    void FromRecordset(Recordset& rs);
    QString SubstituePlaceHolders(const QString& sContent) const;
};

}  // namespace tlm
