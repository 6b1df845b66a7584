#include "reported/task_data.h"

#include "database/recordset.h"
#include "domain/item.h"
#include "domain/shared_lists.h"
#include "domain/value_names.h"

namespace tlm {

bool cTaskData::ReadDataFromItem(const TlmItem& item) {
    const detail::ItemReader in(item);
    if (!in.ok())
        return false;
    ID = GetFieldValueFromItem(item, QStringLiteral("ReportedID")).toString();
    if (ID.isEmpty())
        ID = QStringLiteral("0");
    ActualWork = item.minutes(QStringLiteral("ActualWork"));
    ContactNames = in.safeText("ContactNames");
    Delegator = in.safeText("Delegator");
    Owner = in.safeText("Owner");
    StatusOnCompletionRecipients = in.safeText("StatusOnCompletionRecipients");
    StatusUpdateRecipients = in.safeText("StatusUpdateRecipients");
    Body = in.safeText("Body");
    HTMLBody = in.safeText("HTMLBody");
    Subject = in.plain("Subject").toString();
    BillingInformation = in.plain("BillingInformation").toString();
    Categories = in.plain("Categories").toString();
    Companies = in.plain("Companies").toString();
    Complete = in.plain("Complete").toBool();
    CreationTime = in.date("CreationTime");
    DateCompleted = in.date("DateCompleted");
    DelegationState = in.named("DelegationState");
    DueDate = in.date("DueDate");
    EntryID = in.plain("EntryID").toString();
    Importance = in.named("Importance");
    IsRecurring = in.flag("IsRecurring");
    LastModificationTime = in.date("LastModificationTime");
    Mileage = in.plain("Mileage").toString();
    NoAging = in.flag("NoAging");
    Ordinal = in.plain("Ordinal").toInt();
    Ownership = in.named("Ownership");
    Role = in.plain("Role").toString();
    SchedulePlusPriority = in.plain("SchedulePlusPriority").toString();
    Sensitivity = in.named("Sensitivity");
    StartDate = in.date("StartDate");
    Status = in.named("Status");
    TeamTask = in.flag("TeamTask");
    TotalWork = item.minutes(QStringLiteral("TotalWork"));
    ReportedBy = sCurrentUser();
    detail::ReadCommonUserFields(item, *this);
    return true;
}

void cTaskData::ToRecordSet(Recordset& rs) const {
    detail::RowWriter w(rs, QStringLiteral("TaskData.ToRecordset"));
    w.Put("ActualWork", ActualWork);
    w.Put("BillingInformation", BillingInformation);
    w.Put("Categories", Categories);
    w.Put("Companies", Companies);
    w.Put("Complete", Complete);
    w.Put("ContactNames", ContactNames);
    w.Put("CreationTime", CreationTime);
    w.Put("DateCompleted", DateCompleted);
    w.Put("DelegationState", DelegationState);
    w.Put("Delegator", Delegator);
    w.Put("DueDate", DueDate);
    w.Put("EntryID", EntryID);
    w.Put("Importance", Importance);
    w.Put("IsRecurring", IsRecurring);
    w.Put("LastModificationTime", LastModificationTime);
    w.Put("Mileage", Mileage);
    w.Put("NoAging", NoAging);
    w.Put("Ordinal", Ordinal);
    w.Put("Owner", Owner);
    w.Put("Ownership", Ownership);
    w.Put("Role", Role);
    w.Put("SchedulePlusPriority", SchedulePlusPriority);
    w.Put("Sensitivity", Sensitivity);
    w.Put("StartDate", StartDate);
    w.Put("Status", Status);
    w.Put("StatusOnCompletionRecipients", StatusOnCompletionRecipients);
    w.Put("StatusUpdateRecipients", StatusUpdateRecipients);
    w.Put("Subject", Subject);
    w.Put("TeamTask", TeamTask);
    w.Put("TotalWork", TotalWork);
    w.Put("Body", Body);
    w.Put("HTMLBody", HTMLBody);
    w.Put("ReportedDate", detail::ReportedDateToWrite(ReportedDate));
    w.Put("ReportedBy", ReportedBy);
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
    w.Put("ApprovedBy", QString());  // a written report is never approved by anybody
}

void cTaskData::FromRecordset(Recordset& rs) {
    detail::RowReader r(rs, QStringLiteral("TaskData.FromRecordset"));
    r.Raw("ID", ID);
    r.Text("Subject", Subject);
    r.Text("Body", Body);
    r.Text("ReportedBy", ReportedBy);
    r.Date("ReportedDate", ReportedDate);
    r.Text("ProjectValue", ProjectValue);
    r.Text("ActivityValue", ActivityValue);
    r.Flag("Approved", Approved);
    r.Currency("TotalCost", TotalCost);
    r.Number("ActualWork", ActualWork);
    r.Text("BillingInformation", BillingInformation);
    r.Text("Categories", Categories);
    r.Text("Companies", Companies);
    r.Flag("Complete", Complete);
    r.Text("ContactNames", ContactNames);
    r.Date("CreationTime", CreationTime);
    r.Date("DateCompleted", DateCompleted);
    r.Text("DelegationState", DelegationState);
    r.Text("Delegator", Delegator);
    r.Date("DueDate", DueDate);
    r.Text("EntryID", EntryID);
    r.Text("Importance", Importance);
    r.Flag("IsRecurring", IsRecurring);
    r.Date("LastModificationTime", LastModificationTime);
    r.Text("Mileage", Mileage);
    r.Flag("NoAging", NoAging);
    r.Number("Ordinal", Ordinal);
    r.Text("Owner", Owner);
    r.Text("Ownership", Ownership);
    r.Text("Role", Role);
    r.Text("SchedulePlusPriority", SchedulePlusPriority);
    r.Text("Sensitivity", Sensitivity);
    r.Date("StartDate", StartDate);
    r.Text("Status", Status);
    r.Text("StatusOnCompletionRecipients", StatusOnCompletionRecipients);
    r.Text("StatusUpdateRecipients", StatusUpdateRecipients);
    r.Flag("TeamTask", TeamTask);
    r.Number("TotalWork", TotalWork);
    r.Text("HTMLBody", HTMLBody);
    r.Text("Field1Value", Field1Value);
    r.Text("Field2Value", Field2Value);
    r.Text("Field3Value", Field3Value);
    r.Text("Field4Value", Field4Value);
    r.Text("Field5Value", Field5Value);
    r.Text("Field6Value", Field6Value);
    r.Text("Field7Value", Field7Value);
    r.Text("Field8Value", Field8Value);
    // Both read the Field8Value column: kept as the reporting client has always read them.
    r.Currency("Field8Value", Field9Value);
    r.Currency("Field8Value", Field10Value);
    r.Text("ApprovedBy", ApprovedBy);
}

QString cTaskData::SubstituePlaceHolders(const QString& sContent) const {
    const cSharedLists* g = SharedLists();
    const bool totalWork =
        g && g->GeneralSettings
                     .GetValue(QStringLiteral("tpoWorkFieldToUseForTaskItem"), cGeneralSettings::kInteger)
                     .toInt() != 0;
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
