#include "database/schema.h"

#include <QHash>

namespace tlm {

const std::vector<TableDef>& Schema() {
    static const std::vector<TableDef> tables = [] {
        // Both reported tables end with the same columns, from the member who reported the item on.
        const auto withReportedTail = [](std::vector<ColumnDef> columns) {
            columns.insert(columns.end(), {{QStringLiteral("ReportedBy"), ColumnKind::Text},
                                           {QStringLiteral("ProjectValue"), ColumnKind::Text},
                                           {QStringLiteral("ActivityValue"), ColumnKind::Text}});
            for (int i = 1; i <= 8; ++i)
                columns.push_back({QStringLiteral("Field%1Value").arg(i), ColumnKind::Text});
            columns.insert(columns.end(), {{QStringLiteral("Field9Value"), ColumnKind::Money},
                                           {QStringLiteral("Field10Value"), ColumnKind::Money},
                                           {QStringLiteral("TotalCost"), ColumnKind::Money},
                                           {QStringLiteral("Approved"), ColumnKind::Bool},
                                           {QStringLiteral("ApprovedBy"), ColumnKind::Text}});
            return columns;
        };
        std::vector<TableDef> t = {
            {QStringLiteral("tProjects"),
             {{QStringLiteral("ID"), ColumnKind::Id},
              {QStringLiteral("ProjectName"), ColumnKind::Text},
              {QStringLiteral("ProjectManager"), ColumnKind::Text},
              {QStringLiteral("Rate"), ColumnKind::Money},
              {QStringLiteral("ColorCode"), ColumnKind::Int16},
              {QStringLiteral("StartDate"), ColumnKind::DateTime},
              {QStringLiteral("FinishDate"), ColumnKind::DateTime},
              {QStringLiteral("Description"), ColumnKind::Memo},
              {QStringLiteral("ProjectCode"), ColumnKind::Text}}},
            {QStringLiteral("tActivities"),
             {{QStringLiteral("ID"), ColumnKind::Id},
              {QStringLiteral("ActivityName"), ColumnKind::Text},
              {QStringLiteral("Project"), ColumnKind::Text},
              {QStringLiteral("Rate"), ColumnKind::Money},
              {QStringLiteral("Coordinator"), ColumnKind::Text},
              {QStringLiteral("DueDate"), ColumnKind::DateTime}}},
            {QStringLiteral("tMembers"),
             {{QStringLiteral("ID"), ColumnKind::Id},
              {QStringLiteral("Name"), ColumnKind::Text},
              {QStringLiteral("Email"), ColumnKind::Text},
              {QStringLiteral("Department"), ColumnKind::Text},
              {QStringLiteral("Rate"), ColumnKind::Money},
              {QStringLiteral("AdminAccess"), ColumnKind::Bool}}},
            {QStringLiteral("tNotificationTemplates"),
             {{QStringLiteral("ID"), ColumnKind::Id},
              {QStringLiteral("NotificationName"), ColumnKind::Text},
              {QStringLiteral("NotificationValue"), ColumnKind::Memo},
              {QStringLiteral("Enabled"), ColumnKind::Bool}}},
            {QStringLiteral("tGeneralSettings"),
             {{QStringLiteral("ID"), ColumnKind::Id},
              {QStringLiteral("KeyID"), ColumnKind::Text},
              {QStringLiteral("KeyVal"), ColumnKind::Memo},
              {QStringLiteral("KeyLocal"), ColumnKind::Bool}}},
        };
        for (int i = 1; i <= 4; ++i)
            t.push_back({QStringLiteral("tCustomList%1").arg(i),
                         {{QStringLiteral("ID"), ColumnKind::Id},
                          {QStringLiteral("CustomFieldName"), ColumnKind::Text}}});
        t.push_back({QStringLiteral("tReportedTasks"),
                     withReportedTail({
                         {QStringLiteral("ID"), ColumnKind::Id},
                         {QStringLiteral("ActualWork"), ColumnKind::Int32},
                         {QStringLiteral("BillingInformation"), ColumnKind::Text},
                         {QStringLiteral("Categories"), ColumnKind::Text},
                         {QStringLiteral("Companies"), ColumnKind::Text},
                         {QStringLiteral("Complete"), ColumnKind::Bool},
                         {QStringLiteral("ContactNames"), ColumnKind::Text},
                         {QStringLiteral("CreationTime"), ColumnKind::DateTime},
                         {QStringLiteral("DateCompleted"), ColumnKind::DateTime},
                         {QStringLiteral("DelegationState"), ColumnKind::Text},
                         {QStringLiteral("Delegator"), ColumnKind::Text},
                         {QStringLiteral("DueDate"), ColumnKind::DateTime},
                         {QStringLiteral("EntryID"), ColumnKind::Memo},
                         {QStringLiteral("Importance"), ColumnKind::Text},
                         {QStringLiteral("IsRecurring"), ColumnKind::Bool},
                         {QStringLiteral("LastModificationTime"), ColumnKind::DateTime},
                         {QStringLiteral("Mileage"), ColumnKind::Text},
                         {QStringLiteral("NoAging"), ColumnKind::Bool},
                         {QStringLiteral("Ordinal"), ColumnKind::Int32},
                         {QStringLiteral("Owner"), ColumnKind::Text},
                         {QStringLiteral("Ownership"), ColumnKind::Text},
                         {QStringLiteral("Role"), ColumnKind::Text},
                         {QStringLiteral("SchedulePlusPriority"), ColumnKind::Text},
                         {QStringLiteral("Sensitivity"), ColumnKind::Text},
                         {QStringLiteral("StartDate"), ColumnKind::DateTime},
                         {QStringLiteral("Status"), ColumnKind::Text},
                         {QStringLiteral("StatusOnCompletionRecipients"), ColumnKind::Text},
                         {QStringLiteral("StatusUpdateRecipients"), ColumnKind::Text},
                         {QStringLiteral("Subject"), ColumnKind::Text},
                         {QStringLiteral("TeamTask"), ColumnKind::Bool},
                         {QStringLiteral("TotalWork"), ColumnKind::Int32},
                         {QStringLiteral("Body"), ColumnKind::Memo},
                         {QStringLiteral("HTMLBody"), ColumnKind::Memo},
                         {QStringLiteral("ReportedDate"), ColumnKind::Text},
                     })});
        t.push_back({QStringLiteral("tReportedAppointments"),
                     withReportedTail({
                         {QStringLiteral("ID"), ColumnKind::Id},
                         {QStringLiteral("AllDayEvent"), ColumnKind::Bool},
                         {QStringLiteral("BillingInformation"), ColumnKind::Text},
                         {QStringLiteral("BusyStatus"), ColumnKind::Text},
                         {QStringLiteral("Categories"), ColumnKind::Text},
                         {QStringLiteral("Companies"), ColumnKind::Text},
                         {QStringLiteral("CreationTime"), ColumnKind::DateTime},
                         {QStringLiteral("Duration"), ColumnKind::Int32},
                         {QStringLiteral("EndDate"), ColumnKind::DateTime},
                         {QStringLiteral("EntryID"), ColumnKind::Memo},
                         {QStringLiteral("Importance"), ColumnKind::Text},
                         {QStringLiteral("IsRecurring"), ColumnKind::Bool},
                         {QStringLiteral("LastModificationTime"), ColumnKind::DateTime},
                         {QStringLiteral("Location"), ColumnKind::Text},
                         {QStringLiteral("MeetingStatus"), ColumnKind::Text},
                         {QStringLiteral("Mileage"), ColumnKind::Text},
                         {QStringLiteral("NoAging"), ColumnKind::Bool},
                         {QStringLiteral("OptionalAttendees"), ColumnKind::Text},
                         {QStringLiteral("Organizer"), ColumnKind::Text},
                         {QStringLiteral("RecurrenceState"), ColumnKind::Text},
                         {QStringLiteral("ReplyTime"), ColumnKind::DateTime},
                         {QStringLiteral("RequiredAttendees"), ColumnKind::Text},
                         {QStringLiteral("Resources"), ColumnKind::Text},
                         {QStringLiteral("ResponseRequested"), ColumnKind::Bool},
                         {QStringLiteral("ResponseStatus"), ColumnKind::Text},
                         {QStringLiteral("Sensitivity"), ColumnKind::Text},
                         {QStringLiteral("StartDate"), ColumnKind::DateTime},
                         {QStringLiteral("NetMeetingOrganizerAlias"), ColumnKind::Text},
                         {QStringLiteral("Body"), ColumnKind::Memo},
                         {QStringLiteral("HTMLBody"), ColumnKind::Memo},
                         {QStringLiteral("Subject"), ColumnKind::Text},
                         {QStringLiteral("ReportedDate"), ColumnKind::DateTime},
                     })});
        return t;
    }();
    return tables;
}

namespace {

const QHash<QString, ColumnKind>& KindsByName() {
    static const QHash<QString, ColumnKind> kinds = [] {
        QHash<QString, ColumnKind> k;
        for (const TableDef& t : Schema())
            for (const ColumnDef& c : t.columns) {
                const QString key = c.name.toCaseFolded();
                if (!k.contains(key) || c.kind == ColumnKind::DateTime)
                    k.insert(key, c.kind);
            }
        return k;
    }();
    return kinds;
}

const QHash<QString, QString>& CanonicalNames() {
    static const QHash<QString, QString> names = [] {
        QHash<QString, QString> n;
        for (const TableDef& t : Schema())
            for (const ColumnDef& c : t.columns)
                n.insert(c.name.toCaseFolded(), c.name);
        return n;
    }();
    return names;
}

}  // namespace

ColumnKind KindOfColumn(const QString& name) {
    return KindsByName().value(name.toCaseFolded(), ColumnKind::Other);
}

QString CanonicalColumnName(const QString& name) {
    return CanonicalNames().value(name.toCaseFolded(), name);
}

qint32 AdoTypeOf(ColumnKind kind) {
    switch (kind) {
        case ColumnKind::Id:
        case ColumnKind::Int32:
            return adotype::adInteger;
        case ColumnKind::Int16:
            return adotype::adSmallInt;
        case ColumnKind::Text:
            return adotype::adVarWChar;
        case ColumnKind::Memo:
            return adotype::adLongVarWChar;
        case ColumnKind::Money:
            return adotype::adCurrency;
        case ColumnKind::DateTime:
            return adotype::adDate;
        case ColumnKind::Bool:
            return adotype::adBoolean;
        case ColumnKind::Other:
            break;
    }
    return adotype::adVarWChar;
}

}  // namespace tlm
