#include "reported/appointment_data.h"

#include "database/recordset.h"
#include "domain/item.h"
#include "domain/shared_lists.h"
#include "domain/value_names.h"

namespace tlm {

bool cAppointmentData::ReadDataFromItem(const TlmItem& item) {
    const detail::ItemReader in(item);
    if (!in.ok())
        return false;
    ID = GetFieldValueFromItem(item, QStringLiteral("ReportedID")).toString();
    if (ID.isEmpty())
        ID = QStringLiteral("0");
    OptionalAttendees = in.safeText("OptionalAttendees");
    Organizer = in.safeText("Organizer");
    RequiredAttendees = in.safeText("RequiredAttendees");
    Resources = in.safeText("Resources");
    NetMeetingOrganizerAlias = in.safeText("NetMeetingOrganizerAlias");
    Body = in.safeText("Body");
    HTMLBody = in.safeText("HTMLBody");
    RecurrenceState = in.named("RecurrenceState");
    AllDayEvent = in.flag("AllDayEvent");
    BillingInformation = in.plain("BillingInformation").toString();
    Categories = in.plain("Categories").toString();
    Companies = in.plain("Companies").toString();
    CreationTime = in.date("CreationTime");
    Duration = item.minutes(QStringLiteral("Duration"));
    EndDate = in.date("End");
    EntryID = in.plain("EntryID").toString();
    Importance = in.named("Importance");
    IsRecurring = in.flag("IsRecurring");
    LastModificationTime = in.date("LastModificationTime");
    Mileage = in.plain("Mileage").toString();
    NoAging = in.flag("NoAging");
    Location = in.plain("Location").toString();
    MeetingStatus = in.named("MeetingStatus");
    ResponseStatus = in.named("ResponseStatus");
    Sensitivity = in.named("Sensitivity");
    StartDate = in.date("Start");
    Subject = in.plain("Subject").toString();
    ReportedBy = sCurrentUser();
    detail::ReadCommonUserFields(item, *this);
    return true;
}

void cAppointmentData::ToRecordSet(Recordset& rs) const {
    detail::RowWriter w(rs, QStringLiteral("AppointmentData.ToRecordset"));
    w.Put("AllDayEvent", AllDayEvent);
    w.Put("BillingInformation", BillingInformation);
    w.Put("Categories", Categories);
    w.Put("Companies", Companies);
    w.Put("CreationTime", CreationTime);
    w.Put("Duration", Duration);
    w.Put("EndDate", EndDate);
    w.Put("EntryID", EntryID);
    w.Put("Importance", Importance);
    w.Put("IsRecurring", IsRecurring);
    w.Put("LastModificationTime", LastModificationTime);
    w.Put("Mileage", Mileage);
    w.Put("NoAging", NoAging);
    w.Put("Location", Location);
    w.Put("RecurrenceState", RecurrenceState);
    w.Put("MeetingStatus", MeetingStatus);
    w.Put("ResponseStatus", ResponseStatus);
    w.Put("Sensitivity", Sensitivity);
    w.Put("StartDate", StartDate);
    w.Put("Subject", Subject);
    w.Put("Body", Body);
    w.Put("HTMLBody", HTMLBody);
    w.Put("ReportedBy", ReportedBy);
    w.Put("OptionalAttendees", OptionalAttendees);
    w.Put("Organizer", Organizer);
    w.Put("RequiredAttendees", RequiredAttendees);
    w.Put("Resources", Resources);
    w.Put("NetMeetingOrganizerAlias", NetMeetingOrganizerAlias);
    w.Put("ReportedDate", detail::ReportedDateToWrite(ReportedDate));
    w.Put("ProjectValue", ProjectValue);
    w.Put("ActivityValue", ActivityValue);
    w.Put("Field1Value", Field1Value);
    w.Put("Field2Value", Field2Value);
    w.Put("Field3Value", Field3Value);
    w.Put("Field4Value", Field4Value);
    w.Put("Field5Value", Field5Value);
    w.Put("Field6Value", Field6Value);
    w.Put("Field7Value", Field7Value);
    w.Put("Field8Value", Field8Value);
    w.Put("Field9Value", QVariant::fromValue(Field9Value));
    w.Put("Field10Value", QVariant::fromValue(Field10Value));
    w.Put("TotalCost", QVariant::fromValue(TotalCost));
    w.Put("Approved", Approved);
    w.Put("ApprovedBy", QString());
}

void cAppointmentData::FromRecordset(Recordset& rs) {
    detail::RowReader r(rs, QStringLiteral("AppointmentData.FromRecordset"));
    r.Raw("ID", ID);
    r.Text("Subject", Subject);
    r.Text("Body", Body);
    r.Text("ReportedBy", ReportedBy);
    r.Date("ReportedDate", ReportedDate);
    r.Text("ProjectValue", ProjectValue);
    r.Text("ActivityValue", ActivityValue);
    r.Flag("Approved", Approved);
    r.Currency("TotalCost", TotalCost);
    r.Flag("AllDayEvent", AllDayEvent);
    r.Text("BillingInformation", BillingInformation);
    r.Text("Categories", Categories);
    r.Text("Companies", Companies);
    r.Date("CreationTime", CreationTime);
    r.Number("Duration", Duration);
    r.Date("EndDate", EndDate);
    r.Text("EntryID", EntryID);
    r.Text("Importance", Importance);
    r.Flag("IsRecurring", IsRecurring);
    r.Date("LastModificationTime", LastModificationTime);
    r.Text("Location", Location);
    r.Text("MeetingStatus", MeetingStatus);
    r.Text("NetMeetingOrganizerAlias", NetMeetingOrganizerAlias);
    r.Text("Mileage", Mileage);
    r.Flag("NoAging", NoAging);
    r.Text("OptionalAttendees", OptionalAttendees);
    r.Text("Organizer", Organizer);
    r.Text("RecurrenceState", RecurrenceState);
    r.Text("RequiredAttendees", RequiredAttendees);
    r.Text("Resources", Resources);
    r.Text("ResponseStatus", ResponseStatus);
    r.Text("Sensitivity", Sensitivity);
    r.Date("StartDate", StartDate);
    r.Text("HTMLBody", HTMLBody);
    r.Text("Field1Value", Field1Value);
    r.Text("Field2Value", Field2Value);
    r.Text("Field3Value", Field3Value);
    r.Text("Field4Value", Field4Value);
    r.Text("Field5Value", Field5Value);
    r.Text("Field6Value", Field6Value);
    r.Text("Field7Value", Field7Value);
    r.Text("Field8Value", Field8Value);
    r.Currency("Field9Value", Field9Value);
    r.Currency("Field10Value", Field10Value);
    r.Text("ApprovedBy", ApprovedBy);
}

QString cAppointmentData::SubstituePlaceHolders(const QString& sContent) const {
    // The steps from the duration to the total cost differ from a task's order.
    return detail::SubstituteTags(*this, sContent,
                                  {{"TLM_DURATION", QString::number(Duration)},
                                   {"TLM_START", DateTimeToText(StartDate)},
                                   {"TLM_DUE_OR_END", DateTimeToText(EndDate)},
                                   {"TLM_BODY", Body},
                                   {"TLM_REPORTED_DATE", DateTimeToText(ReportedDate)},
                                   {"TLM_TOTALCOST", TotalCost.toPlainString()},
                                   {"TLM_MEMBER", ReportedBy},
                                   {"TLM_REPORTED_BY", ReportedBy}});
}

}  // namespace tlm
