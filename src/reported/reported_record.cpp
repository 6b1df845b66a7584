#include "reported/reported_record.h"

#include "core/error_report.h"
#include "database/connection.h"
#include "database/recordset.h"
#include "domain/domain_services.h"
#include "domain/item.h"
#include "domain/list_common.h"
#include "domain/projects.h"
#include "domain/shared_lists.h"
#include "domain/tasks.h"
#include "domain/value_names.h"

namespace tlm::detail {

QVariant RowReader::Fetch(const char* column, qint32 type, bool* found) {
    *found = false;
    if (!ok_)
        return QVariant();
    Recordset::Field f = rs_.Fields(column);
    if (!f.IsValid()) {
        ok_ = false;
        ReportRecordset(rs_, label_);
        return QVariant();
    }
    *found = true;
    return type < 0 ? f.Value() : DB::NullSafeValue(f.Value(), type);
}

void RowReader::Read(const char* column, QString& out) {
    bool found = false;
    const QVariant v = Fetch(column, adotype::adVarChar, &found);
    if (found)
        out = v.toString();
}

void RowReader::Read(const char* column, QDateTime& out) {
    bool found = false;
    const QVariant v = Fetch(column, adotype::adDate, &found);
    if (found)
        out = v.toDateTime();
}

void RowReader::Read(const char* column, Money& out, qint32 type) {
    bool found = false;
    const QVariant v = Fetch(column, type, &found);
    if (found)
        out = Money::fromVariant(v).value_or(Money{});
}

void RowReader::Read(const char* column, bool& out) {
    bool found = false;
    const QVariant v = Fetch(column, adotype::adNumeric, &found);
    if (found)
        out = v.isValid() && v.toBool();
}

void RowReader::Read(const char* column, qint32& out) {
    bool found = false;
    const QVariant v = Fetch(column, adotype::adNumeric, &found);
    if (found)
        out = v.isValid() ? v.toInt() : 0;
}

void RowReader::Raw(const char* column, QString& out) {
    bool found = false;
    const QVariant v = Fetch(column, -1, &found);
    if (found)
        out = v.isNull() ? QString() : v.toString();
}

void RowWriter::Put(const char* column, const QVariant& value) {
    if (!ok_)
        return;
    Recordset::Field f = rs_.Fields(column);
    if (!f.IsValid() || !f.SetValue(value)) {
        ok_ = false;
        ReportRecordset(rs_, label_);
    }
}

ItemReader::ItemReader(const TlmItem& item) : item_(item), safe_(GetSafeObject(item)) {}

QString ItemReader::safeText(const char* name) const {
    QVariant v;
    GetSafeFieldValue(safe_, QString::fromLatin1(name), v);
    return v.toString();
}

QVariant ItemReader::plain(const char* name) const {
    return item_.property(QString::fromLatin1(name));
}

QDateTime ItemReader::date(const char* name) const {
    const QVariant v = plain(name);
    return v.typeId() == QMetaType::QDateTime ? v.toDateTime() : ZeroDate();
}

QString ItemReader::named(const char* name) const {
    return fncGetItemValueName(QString::fromLatin1(name), plain(name));
}

namespace {

// The shared columns that are read and written as they are; the ID, the reported date, the two
// currency fields and the approver each have a way of their own.
constexpr Column<cReportedRecord> kSharedColumns[] = {
    {"Subject", &cReportedRecord::Subject},
    {"Body", &cReportedRecord::Body},
    {"ReportedBy", &cReportedRecord::ReportedBy},
    {"ProjectValue", &cReportedRecord::ProjectValue},
    {"ActivityValue", &cReportedRecord::ActivityValue},
    {"Approved", &cReportedRecord::Approved},
    {"TotalCost", &cReportedRecord::TotalCost},
    {"BillingInformation", &cReportedRecord::BillingInformation},
    {"Categories", &cReportedRecord::Categories},
    {"Companies", &cReportedRecord::Companies},
    {"CreationTime", &cReportedRecord::CreationTime},
    {"EntryID", &cReportedRecord::EntryID},
    {"Importance", &cReportedRecord::Importance},
    {"IsRecurring", &cReportedRecord::IsRecurring},
    {"LastModificationTime", &cReportedRecord::LastModificationTime},
    {"Mileage", &cReportedRecord::Mileage},
    {"NoAging", &cReportedRecord::NoAging},
    {"Sensitivity", &cReportedRecord::Sensitivity},
    {"StartDate", &cReportedRecord::StartDate},
    {"HTMLBody", &cReportedRecord::HTMLBody},
    {"Field1Value", &cReportedRecord::Field1Value},
    {"Field2Value", &cReportedRecord::Field2Value},
    {"Field3Value", &cReportedRecord::Field3Value},
    {"Field4Value", &cReportedRecord::Field4Value},
    {"Field5Value", &cReportedRecord::Field5Value},
    {"Field6Value", &cReportedRecord::Field6Value},
    {"Field7Value", &cReportedRecord::Field7Value},
    {"Field8Value", &cReportedRecord::Field8Value},
};

}  // namespace

void ReadSharedColumns(RowReader& in, cReportedRecord& r, const char* field9Column,
                       const char* field10Column) {
    in.Raw("ID", r.ID);
    ReadColumns(in, r, kSharedColumns);
    in.Read("ReportedDate", r.ReportedDate);
    in.Read(field9Column, r.Field9Value);
    in.Read(field10Column, r.Field10Value);
    in.Read("ApprovedBy", r.ApprovedBy);
}

void WriteSharedColumns(RowWriter& out, const cReportedRecord& r) {
    WriteColumns(out, r, kSharedColumns);
    out.Put("ReportedDate", ReportedDateToWrite(r.ReportedDate));
    out.Put("Field9Value", QVariant::fromValue(r.Field9Value));
    out.Put("Field10Value", QVariant::fromValue(r.Field10Value));
    out.Put("ApprovedBy", QString());  // a written report is never approved by anybody
}

void ReadSharedFromItem(const TlmItem& item, const ItemReader& in, const char* startProperty,
                        cReportedRecord& r) {
    r.ID = GetFieldValueFromItem(item, QStringLiteral("ReportedID")).toString();
    if (r.ID.isEmpty())
        r.ID = QStringLiteral("0");
    r.Body = in.safeText("Body");
    r.HTMLBody = in.safeText("HTMLBody");
    r.Subject = in.plain("Subject").toString();
    r.BillingInformation = in.plain("BillingInformation").toString();
    r.Categories = in.plain("Categories").toString();
    r.Companies = in.plain("Companies").toString();
    r.CreationTime = in.date("CreationTime");
    r.EntryID = in.plain("EntryID").toString();
    r.Importance = in.named("Importance");
    r.IsRecurring = in.flag("IsRecurring");
    r.LastModificationTime = in.date("LastModificationTime");
    r.Mileage = in.plain("Mileage").toString();
    r.NoAging = in.flag("NoAging");
    r.Sensitivity = in.named("Sensitivity");
    r.StartDate = in.date(startProperty);
    r.ReportedBy = sCurrentUser();

    const auto user = [&](const char* name) {
        return GetFieldValueFromItem(item, QString::fromLatin1(name)).toString().trimmed();
    };
    r.ReportedDate =
        GetFieldValueFromItem(item, QStringLiteral("ReportedDate"), FieldType::kDate).toDateTime();
    const int year = r.ReportedDate.date().year();
    if (!r.ReportedDate.isValid() || year == 1899 || year == 4501)
        r.ReportedDate = QDateTime::currentDateTime();
    r.ProjectValue = user("ProjectValue");
    r.ActivityValue = user("ActivityValue");
    r.Field1Value = user("Field1Value");
    r.Field2Value = user("Field2Value");
    r.Field3Value = user("Field3Value");
    r.Field4Value = user("Field4Value");
    r.Field5Value = user("Field5Value");
    r.Field6Value = user("Field6Value");
    r.Field7Value = user("Field7Value");
    r.Field8Value = user("Field8Value");
    if (r.ProjectValue.isEmpty())
        r.ProjectValue = GetDefaultProjectValue();
    if (r.ActivityValue.isEmpty())
        r.ActivityValue = GetDefaultActivityValue();
    if (r.Field1Value.isEmpty())
        r.Field1Value = GetDefaultField1Value();
    if (r.Field2Value.isEmpty())
        r.Field2Value = GetDefaultField2Value();
    if (r.Field3Value.isEmpty())
        r.Field3Value = GetDefaultField3Value();
    if (r.Field4Value.isEmpty())
        r.Field4Value = GetDefaultField4Value();
    // An item without these properties gets 0.
    r.Field9Value =
        Money::fromVariant(GetFieldValueFromItem(item, QStringLiteral("Field9Value"), FieldType::kCurrency))
            .value_or(Money{});
    r.Field10Value =
        Money::fromVariant(GetFieldValueFromItem(item, QStringLiteral("Field10Value"), FieldType::kCurrency))
            .value_or(Money{});
    r.TotalCost = GetTotalCost(item);
}

QDateTime ReportedDateToWrite(const QDateTime& date) {
    const int year = date.date().year();
    return year == 1899 || year == 4501 ? QDateTime::currentDateTime() : date;
}

LookupValues LookUp(const cReportedRecord& r) {
    LookupValues out;
    if (!r.ProjectValue.isEmpty())
        if (const cProject* p = GetProjectObjectFromName(r.ProjectValue))
            out.manager = p->ProjectManager;
    if (!r.ActivityValue.isEmpty())
        if (const cTask* t = GetTaskObjectFromName(r.ProjectValue, r.ActivityValue)) {
            out.coordinator = t->Coordinator;
            out.activityDue = t->DueDate;
        }
    return out;
}

QString BoolText(bool value) {
    return value ? QStringLiteral("True") : QStringLiteral("False");
}

QString SubstituteTags(const cReportedRecord& r, const QString& content,
                       std::initializer_list<TagStep> ownSteps) {
    const LookupValues found = LookUp(r);
    const TagStep before[] = {
        {"TLM_REPORTED_ID", r.ID},
        {"TLM_REPORT_ID", r.ID},
        {"TLM_PROJECT", r.ProjectValue},
        {"TLM_ACTIVITY", r.ActivityValue},
        {"TLM_FIELD1", r.Field1Value},
        {"TLM_FIELD2", r.Field2Value},
        {"TLM_FIELD3", r.Field3Value},
        {"TLM_FIELD4", r.Field4Value},
        {"TLM_FIELD5", r.Field5Value},
        {"TLM_FIELD6", r.Field6Value},
        {"TLM_FIELD7", r.Field7Value},
        {"TLM_FIELD8", r.Field8Value},
        {"TLM_FIELD9", r.Field9Value.toPlainString()},
        {"TLM_FIELD10", r.Field10Value.toPlainString()},
        {"TLM_CREATION_TIME", DateTimeToText(r.CreationTime)},
        {"TLM_SUBJECT", r.Subject},
        {"TLM_COMPANIES", r.Companies},
        {"TLM_CATEGORIES", r.Categories},
        {"TLM_BILLINGINFORMATION", r.BillingInformation},
    };
    const TagStep after[] = {
        {"TLM_APPROVED", BoolText(r.Approved)},
        {"TLM_APPROVEDBY", r.ApprovedBy},
        {"TLM_MANAGER", found.manager},
        {"TLM_COORDINATOR", found.coordinator},
        {"TLM_ACTIVITY_DUE_DATE", DateTimeToText(found.activityDue)},
        {"TLM_NOW", DateTimeToText(QDateTime::currentDateTime())},
    };
    QString text = content;
    const auto apply = [&text](const TagStep& step) {
        text.replace(QLatin1String(step.first), step.second, Qt::CaseSensitive);
    };
    for (const TagStep& step : before)
        apply(step);
    for (const TagStep& step : ownSteps)
        apply(step);
    for (const TagStep& step : after)
        apply(step);
    return text;
}

}  // namespace tlm::detail
