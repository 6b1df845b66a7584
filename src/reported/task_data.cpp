#include "reported/task_data.h"

#include "database/recordset.h"
#include "domain/item.h"
#include "domain/option_keys.h"
#include "domain/shared_lists.h"
#include "domain/value_names.h"

namespace tlm {

namespace {

// The columns only a task has.
constexpr detail::Column<cTaskData> kTaskColumns[] = {
    {"ActualWork", &cTaskData::ActualWork},
    {"Complete", &cTaskData::Complete},
    {"ContactNames", &cTaskData::ContactNames},
    {"DateCompleted", &cTaskData::DateCompleted},
    {"DelegationState", &cTaskData::DelegationState},
    {"Delegator", &cTaskData::Delegator},
    {"DueDate", &cTaskData::DueDate},
    {"Ordinal", &cTaskData::Ordinal},
    {"Owner", &cTaskData::Owner},
    {"Ownership", &cTaskData::Ownership},
    {"Role", &cTaskData::Role},
    {"SchedulePlusPriority", &cTaskData::SchedulePlusPriority},
    {"Status", &cTaskData::Status},
    {"StatusOnCompletionRecipients", &cTaskData::StatusOnCompletionRecipients},
    {"StatusUpdateRecipients", &cTaskData::StatusUpdateRecipients},
    {"TeamTask", &cTaskData::TeamTask},
    {"TotalWork", &cTaskData::TotalWork},
};

}  // namespace

bool cTaskData::ReadDataFromItem(const TlmItem& item) {
    const detail::ItemReader in(item);
    if (!in.ok())
        return false;
    detail::ReadSharedFromItem(item, in, "StartDate", *this);
    ActualWork = item.minutes(QStringLiteral("ActualWork"));
    ContactNames = in.safeText("ContactNames");
    Delegator = in.safeText("Delegator");
    Owner = in.safeText("Owner");
    StatusOnCompletionRecipients = in.safeText("StatusOnCompletionRecipients");
    StatusUpdateRecipients = in.safeText("StatusUpdateRecipients");
    Complete = in.plain("Complete").toBool();
    DateCompleted = in.date("DateCompleted");
    DelegationState = in.named("DelegationState");
    DueDate = in.date("DueDate");
    Ordinal = in.plain("Ordinal").toInt();
    Ownership = in.named("Ownership");
    Role = in.plain("Role").toString();
    SchedulePlusPriority = in.plain("SchedulePlusPriority").toString();
    Status = in.named("Status");
    TeamTask = in.flag("TeamTask");
    TotalWork = item.minutes(QStringLiteral("TotalWork"));
    return true;
}

void cTaskData::ToRecordSet(Recordset& rs) const {
    detail::RowWriter out(rs, QStringLiteral("TaskData.ToRecordset"));
    detail::WriteSharedColumns(out, *this);
    detail::WriteColumns(out, *this, kTaskColumns);
}

void cTaskData::FromRecordset(Recordset& rs) {
    detail::RowReader in(rs, QStringLiteral("TaskData.FromRecordset"));
    // Both read the Field8Value column: kept as the reporting client has always read them.
    detail::ReadSharedColumns(in, *this, "Field8Value", "Field8Value");
    detail::ReadColumns(in, *this, kTaskColumns);
}

QString cTaskData::SubstituePlaceHolders(const QString& sContent) const {
    const cSharedLists* g = SharedLists();
    const bool totalWork =
        g &&
        g->GeneralSettings.GetValue(tpo::kWorkFieldToUseForTaskItem, cGeneralSettings::kInteger).toInt() != 0;
    const qint32 duration = totalWork ? TotalWork : ActualWork;
    return detail::SubstituteTags(*this, sContent,
                                  {{"TLM_DURATION", QString::number(duration)},
                                   {"TLM_BODY", Body},
                                   {"TLM_START", DateTimeToText(StartDate)},
                                   {"TLM_DUE_OR_END", DateTimeToText(DueDate)},
                                   {"TLM_REPORTED_DATE", DateTimeToText(ReportedDate)},
                                   {"TLM_MEMBER", ReportedBy},
                                   {"TLM_TOTALCOST", TotalCost.toPlainString()},
                                   {"TLM_REPORTED_BY", ReportedBy}});
}

}  // namespace tlm
