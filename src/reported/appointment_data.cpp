#include "reported/appointment_data.h"

#include "database/recordset.h"
#include "domain/item.h"
#include "domain/shared_lists.h"
#include "domain/value_names.h"

namespace tlm {

namespace {

// The columns only an appointment has.
constexpr detail::Column<cAppointmentData> kAppointmentColumns[] = {
    {"AllDayEvent", &cAppointmentData::AllDayEvent},
    {"Duration", &cAppointmentData::Duration},
    {"EndDate", &cAppointmentData::EndDate},
    {"Location", &cAppointmentData::Location},
    {"MeetingStatus", &cAppointmentData::MeetingStatus},
    {"NetMeetingOrganizerAlias", &cAppointmentData::NetMeetingOrganizerAlias},
    {"OptionalAttendees", &cAppointmentData::OptionalAttendees},
    {"Organizer", &cAppointmentData::Organizer},
    {"RecurrenceState", &cAppointmentData::RecurrenceState},
    {"RequiredAttendees", &cAppointmentData::RequiredAttendees},
    {"Resources", &cAppointmentData::Resources},
    {"ResponseStatus", &cAppointmentData::ResponseStatus},
};

}  // namespace

bool cAppointmentData::ReadDataFromItem(const TlmItem& item) {
    const detail::ItemReader in(item);
    if (!in.ok())
        return false;
    detail::ReadSharedFromItem(item, in, "Start", *this);
    OptionalAttendees = in.safeText("OptionalAttendees");
    Organizer = in.safeText("Organizer");
    RequiredAttendees = in.safeText("RequiredAttendees");
    Resources = in.safeText("Resources");
    NetMeetingOrganizerAlias = in.safeText("NetMeetingOrganizerAlias");
    RecurrenceState = in.named("RecurrenceState");
    AllDayEvent = in.flag("AllDayEvent");
    Duration = item.minutes(QStringLiteral("Duration"));
    EndDate = in.date("End");
    Location = in.plain("Location").toString();
    MeetingStatus = in.named("MeetingStatus");
    ResponseStatus = in.named("ResponseStatus");
    return true;
}

void cAppointmentData::ToRecordSet(Recordset& rs) const {
    detail::RowWriter out(rs, QStringLiteral("AppointmentData.ToRecordset"));
    detail::WriteSharedColumns(out, *this);
    detail::WriteColumns(out, *this, kAppointmentColumns);
}

void cAppointmentData::FromRecordset(Recordset& rs) {
    detail::RowReader in(rs, QStringLiteral("AppointmentData.FromRecordset"));
    detail::ReadSharedColumns(in, *this, "Field9Value", "Field10Value");
    detail::ReadColumns(in, *this, kAppointmentColumns);
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
