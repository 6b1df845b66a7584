#pragma once

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <initializer_list>
#include <utility>
#include <variant>

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
    void Read(const char* column, QString& out);
    void Read(const char* column, QDateTime& out);
    void Read(const char* column, Money& out, qint32 type = 5);
    void Read(const char* column, bool& out);    // type 131: always false
    void Read(const char* column, qint32& out);  // type 131: always 0
    void Raw(const char* column, QString& out);  // no conversion

  private:
    QVariant Fetch(const char* column, qint32 type, bool* found);
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

// A column that is read into and written from one field of the record, converted by the field's type.
template <class Record>
struct Column {
    const char* name;
    std::variant<QString Record::*, QDateTime Record::*, Money Record::*, bool Record::*, qint32 Record::*>
        field;
};

template <class Record, class Columns>
void ReadColumns(RowReader& in, Record& record, const Columns& columns) {
    for (const Column<Record>& c : columns)
        std::visit([&](auto member) { in.Read(c.name, record.*member); }, c.field);
}

template <class Record, class Columns>
void WriteColumns(RowWriter& out, const Record& record, const Columns& columns) {
    for (const Column<Record>& c : columns)
        std::visit([&](auto member) { out.Put(c.name, QVariant::fromValue(record.*member)); }, c.field);
}

// The columns both kinds share; a kind reads and writes these first, then its own. A task reads
// Field9Value and Field10Value from other columns than it writes them to, so the reader names the
// two columns.
void ReadSharedColumns(RowReader& in, cReportedRecord& r, const char* field9Column,
                       const char* field10Column);
void WriteSharedColumns(RowWriter& out, const cReportedRecord& r);

// What both kinds read from an item the same way; startProperty is the kind's name for its start.
void ReadSharedFromItem(const TlmItem& item, const ItemReader& in, const char* startProperty,
                        cReportedRecord& r);
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
