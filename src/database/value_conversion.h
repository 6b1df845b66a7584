#pragma once

#include <QDateTime>
#include <QMetaType>
#include <QString>
#include <QVariant>

#include "database/schema.h"

namespace tlm {

class Dialect;

// How one column of a result reads: its name in the schema's spelling, its kind and its type number.
// A column the schema does not know (a computed one) goes by the type the driver reports.
struct StoredColumn {
    QString name;
    ColumnKind kind;
    qint32 adoType;
};
StoredColumn DescribeColumn(const QString& fieldName, const QMetaType& driverType);

// One stored value as a field gives it, the same for the recordsets and the cursor: money as
// tlm::Money (from the engine's decimal text, never through a double), dates as a local QDateTime,
// flags the integers 0 and 1, 16- and 32-bit numbers as int, a computed decimal as money. A NULL is
// a null QVariant of the column's type.
QVariant ConvertStoredValue(const QVariant& raw, const StoredColumn& column);

// One converted value without a QVariant, for reads that write text straight out (the cursor's
// Cell). It holds what ConvertStoredValue gives, in the cheapest form that says it exactly;
// StoredCellValue turns it back into that very QVariant.
struct StoredCell {
    enum class Form : quint8 {
        Null,      // the column's typed null
        Int,       // an int: number
        Money,     // tlm::Money: number holds its units
        DateTime,  // a local QDateTime: number holds PackDateTime's key
        Utf8,      // a QString whose UTF-8 is utf8[0, size); valid until the row moves on
        Variant,   // any other value, as ConvertStoredValue gave it
    };
    Form form = Form::Null;
    qint64 number = 0;
    const char* utf8 = nullptr;
    qsizetype size = 0;
    QVariant variant;
};
QVariant StoredCellValue(const StoredCell& cell, const StoredColumn& column);

// A date and time in one number, ordered as time runs; only for parts that make a valid date.
constexpr qint64 PackDateTime(int y, int mo, int d, int h, int mi, int s) {
    return (((((qint64(y) * 16 + mo) * 32 + d) * 32 + h) * 64 + mi) * 64) + s;
}
QDateTime UnpackDateTime(qint64 key);
// ParseStoredDate over ASCII bytes, giving PackDateTime's key; false where it gives an invalid date.
bool ParseStoredDateKey(const char* text, qsizetype size, qint64* key);

// The stored date text "YYYY-MM-DD HH:MM:SS" (also with 'T', fractions of a second, or the date
// alone) as a local date; an invalid one for any other text.
QDateTime ParseStoredDate(const QString& text);

// The value as the engine stores it for a column of that kind: dates as text, flags 0/1, money as
// decimal text, a null text as empty text. An invalid or null value is NULL.
QVariant StorageValue(const QVariant& value, ColumnKind kind, const Dialect& dialect);

namespace DB {
// Makes a field value safe by the caller's type number: numbers 0, dates ZeroDate(), texts "",
// any other type (flags among them) an empty (invalid) value. A date text that parses counts as a date.
QVariant NullSafeValue(const QVariant& value, qint32 fieldType);
}  // namespace DB

}  // namespace tlm
