#pragma once

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <initializer_list>
#include <utility>

#include "core/codecs.h"
#include "core/money.h"
#include "domain/item.h"

namespace tlm {

class Recordset;
class TlmItem;

// The columns a reported task and a reported appointment share.
struct cReportedRecord {
    QString ID;
    QString Subject;
    QString Body;
    QString ReportedBy;
    QDateTime ReportedDate = ZeroDate();
    QString ProjectValue;
    QString ActivityValue;
    bool Approved = false;
    Money TotalCost;
    QString BillingInformation;
    QString Categories;
    QString Companies;
    QDateTime CreationTime = ZeroDate();
    QString EntryID;
    QString Importance;
    bool IsRecurring = false;
    QDateTime LastModificationTime = ZeroDate();
    QString Mileage;
    bool NoAging = false;
    QString Sensitivity;
    QDateTime StartDate = ZeroDate();
    QString HTMLBody;
    QString Field1Value, Field2Value, Field3Value, Field4Value;
    QString Field5Value, Field6Value, Field7Value, Field8Value;
    Money Field9Value;
    Money Field10Value;
    QString ApprovedBy;
};

namespace detail {

// Reads columns in order through the null-safe conversion; after the first missing column it
// reports once and leaves every later field as it was.
class RowReader {
  public:
    RowReader(Recordset& rs, QString label) : rs_(rs), label_(std::move(label)) {}
    bool ok() const { return ok_; }
    void Text(const char* column, QString& out);
    void Date(const char* column, QDateTime& out);
    void Currency(const char* column, Money& out, qint32 type = 5);
    void Flag(const char* column, bool& out);      // type 131: always false
    void Number(const char* column, qint32& out);  // type 131: always 0
    void Raw(const char* column, QString& out);    // no conversion

  private:
    QVariant Read(const char* column, qint32 type, bool* found);
    Recordset& rs_;
    QString label_;
    bool ok_ = true;
};

// Writes fields into the current row; stops at the first failure and reports it.
class RowWriter {
  public:
    RowWriter(Recordset& rs, QString label) : rs_(rs), label_(std::move(label)) {}
    bool ok() const { return ok_; }
    void Put(const char* column, const QVariant& value);

  private:
    Recordset& rs_;
    QString label_;
    bool ok_ = true;
};

// An item's properties read the ways the records take them: through the safe access for the
// texts that may be refused, as value names, as dates (no date when the item has none) and flags.
class ItemReader {
  public:
    explicit ItemReader(const TlmItem& item);
    bool ok() const { return bool(safe_); }  // false when the item cannot be read at all
    QString safeText(const char* name) const;
    QVariant plain(const char* name) const;
    QDateTime date(const char* name) const;
    QString named(const char* name) const;
    bool flag(const char* name) const { return named(name) == u"True"; }

  private:
    const TlmItem& item_;
    SafeItem safe_;
};

// What both records read from an item the same way: IDs, project, activity, fields, cost.
void ReadCommonUserFields(const TlmItem& item, cReportedRecord& r);
// A reported date of no date (1899 or 4501) is written as now.
QDateTime ReportedDateToWrite(const QDateTime& date);
// The looked-up manager, coordinator and activity due date of a record's project and activity.
struct LookupValues {
    QString manager;
    QString coordinator;
    QDateTime activityDue = ZeroDate();
};
LookupValues LookUp(const cReportedRecord& r);
QString BoolText(bool value);

// Replaces a record's tags in the content, in order: the shared steps from the ID to the billing
// information, then the kind's own steps (duration to total cost, whose order differs between a
// task and an appointment), then the shared steps from the approval to now. The order is part of
// the behaviour: a shorter tag replaced first breaks a longer one.
using TagStep = std::pair<const char*, QString>;
QString SubstituteTags(const cReportedRecord& r, const QString& content,
                       std::initializer_list<TagStep> ownSteps);

}  // namespace detail
}  // namespace tlm
