#pragma once

#include <QString>
#include <vector>

namespace tlm {

// Column types of the shared schema, in the neutral terms of the file form.
enum class ColumnKind { Id, Text, Memo, Int16, Int32, Money, DateTime, Bool, Other };

// Type numbers a field reports, by the numbering the callers pass to DB::NullSafeValue.
namespace adotype {
inline constexpr qint32 adSmallInt = 2;
inline constexpr qint32 adInteger = 3;
inline constexpr qint32 adSingle = 4;
inline constexpr qint32 adDouble = 5;
inline constexpr qint32 adCurrency = 6;
inline constexpr qint32 adDate = 7;
inline constexpr qint32 adBoolean = 11;
inline constexpr qint32 adDecimal = 14;
inline constexpr qint32 adBigInt = 20;
inline constexpr qint32 adChar = 129;
inline constexpr qint32 adWChar = 130;
inline constexpr qint32 adNumeric = 131;
inline constexpr qint32 adDBTime = 134;
inline constexpr qint32 adVarChar = 200;
inline constexpr qint32 adLongVarChar = 201;
inline constexpr qint32 adVarWChar = 202;
inline constexpr qint32 adLongVarWChar = 203;
}  // namespace adotype

struct ColumnDef {
    QString name;
    ColumnKind kind;
};
struct TableDef {
    QString name;
    std::vector<ColumnDef> columns;
};

// The eleven tables in creation order, columns in the file form's order and types. The server
// scripts (resources "MSSQL.SQL", "POSTGRESQL.SQL") hold the same columns with server types.
const std::vector<TableDef>& Schema();
// How a column of that name reads in any table: money, date, flag (0/1) or plain. A name that is a
// date anywhere (tReportedTasks keeps ReportedDate as text in the file form) reads as a date.
ColumnKind KindOfColumn(const QString& name);
qint32 AdoTypeOf(ColumnKind kind);
// The schema's spelling of a column name ("projectname" -> "ProjectName"), or the name itself.
QString CanonicalColumnName(const QString& name);

}  // namespace tlm
