#pragma once

#include <QHash>
#include <QSqlQuery>
#include <QString>
#include <QVariant>
#include <memory>
#include <vector>

#include "core/failure.h"
#include "database/sql_compose.h"
#include "database/value_conversion.h"

namespace tlm {

class Connection;

// A forward-only, read-only cursor for reads too large to hold: each Next() fetches one row from
// the engine (PostgreSQL in single-row mode), so memory stays flat however many rows there are.
// Values are converted as the recordsets convert them (ConvertStoredValue, value_conversion.h):
// money as tlm::Money, dates as a local QDateTime, flags 0/1, a NULL as a null QVariant of the
// column's type. Field names match without regard to case. The statement stays open until Close()
// or the end of the rows, so a long read holds the engine's read lock that long.
class Cursor {
  public:
    explicit Cursor(std::shared_ptr<Connection> connection);
    ~Cursor();
    Cursor(const Cursor&) = delete;
    Cursor& operator=(const Cursor&) = delete;

    // Runs the statement through the dialect. False with LastError() set on failure.
    bool Open(const QString& sql);
    // A composed statement; a refused one fails with its refusal and runs nothing.
    bool Open(const SqlText& statement);
    // The same rows, reading only the named columns where that shows the same: a "SELECT * FROM t"
    // of one table of the schema reads those of the names that are columns of t (the others would not
    // be found by FieldIndex either). Any other statement, or one the engine refuses so narrowed,
    // runs as it stands.
    bool Open(const SqlText& statement, const QStringList& readColumns);
    // Moves to the next row; false at the end or on a failure (LastError() then set).
    bool Next();
    void Close();

    int FieldCount() const { return int(columns_.size()); }
    QString FieldName(int index) const;
    // The position of a field by name, or -1.
    int FieldIndex(const QString& name) const;
    QVariant Value(int index) const;
    // The same value as Value(index), without a QVariant where the engine allows (StoredCell): for
    // loops that write every cell of a large read. Text it points to is valid until Next().
    StoredCell Cell(int index) const;

    const Failure& LastError() const { return error_; }

  private:
    struct SqliteRows;
    bool OpenText(const QString& sql);
    bool OpenNative(const QString& finalSql);
    void Describe(int index, const QString& name, const QMetaType& driverType);

    std::shared_ptr<Connection> connection_;
    std::unique_ptr<QSqlQuery> query_;
    std::unique_ptr<SqliteRows> native_;
    std::vector<StoredColumn> columns_;
    QHash<QString, int> index_;
    bool open_ = false;
    Failure error_;
};

}  // namespace tlm
