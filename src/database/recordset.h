#pragma once

#include <QHash>
#include <QString>
#include <QVariant>
#include <QVector>
#include <memory>
#include <optional>
#include <vector>

#include "core/failure.h"
#include "database/schema.h"
#include "database/sql_compose.h"
#include "database/value_conversion.h"

namespace tlm {

class Connection;

enum class LockMode { ReadOnly, Optimistic, BatchOptimistic };

// A client-side recordset: the whole result is read into memory at Open and the statement is done
// with before the first row is handed out, so no read keeps the database busy.
//
// Values: money columns hold tlm::Money (read from the engine's decimal text, never through a
// double), dates a local QDateTime, flags the integers 0 and 1, on every engine. A NULL is a null
// QVariant of the column's type. Field names match without regard to case and come back in the
// schema's spelling on every engine.
//
// Writes go back by the table's ID column: Update writes the current row (non-batch) or marks it
// for UpdateBatch (batch). Moving away from an edited row in non-batch mode updates it first.
// An operation that fails answers false (or an invalid value) and keeps the failure in LastError(),
// for the caller to report under its own label; a later success does not clear it.
//
// (EOF is a macro of the C library, hence Eof()/Bof().)
class Recordset {
  public:
    class Field {
      public:
        QString Name() const;
        qint32 Type() const;  // the adotype number of the column
        QVariant Value() const;
        bool SetValue(const QVariant& value);
        Field& operator=(const QVariant& value) {
            SetValue(value);
            return *this;
        }
        bool IsValid() const { return index_ >= 0; }

      private:
        friend class Recordset;
        Field(Recordset* rs, int index) : rs_(rs), index_(index) {}
        Recordset* rs_;
        int index_;
    };

    Recordset(std::shared_ptr<Connection> connection, LockMode lock);
    ~Recordset();
    Recordset(const Recordset&) = delete;
    Recordset& operator=(const Recordset&) = delete;

    // Runs the statement (or "SELECT * FROM <name>" for a bare table name) through the dialect.
    bool Open(const QString& source, Failure* failure = nullptr);
    // A composed statement; a refused one fails with its refusal and runs nothing.
    bool Open(const SqlText& statement, Failure* failure = nullptr);

    QString Source() const { return source_; }
    QString Table() const { return table_; }  // the table written back to, or empty
    LockMode lockMode() const { return lock_; }

    Field Fields(const QString& name);
    // The same for a name given as a literal: readers ask for the same columns row after row, so
    // each literal is resolved to its position once per result.
    Field Fields(const char* name);
    Field Fields(int index);
    int FieldCount() const { return int(columns_.size()); }

    bool Eof() const;
    bool Bof() const;
    int RecordCount() const { return int(rows_.size()); }
    int AbsolutePosition() const { return int(pos_); }  // 0-based; RecordCount() at EOF

    bool MoveFirst();
    bool MoveNext();
    bool MoveLast();
    bool MovePrevious();
    // ADO's criterion "Column op value" from the current row forward: op one of = <> < > <= >= LIKE,
    // value 'text' (no quote inside), a number or #date#. Texts compare without regard to case.
    // Not found leaves the recordset at EOF. A criterion it cannot read fails with kBadArguments.
    bool Find(const QString& criteria);

    bool AddNew();
    bool Update();
    bool Delete();
    bool UpdateBatch();

    const Failure& LastError() const { return error_; }
    void ClearError() { error_ = Failure(); }

  private:
    using Column = StoredColumn;
    enum class RowState { Unchanged, New, Modified };
    struct Row {
        QVector<QVariant> values;
        RowState state = RowState::Unchanged;
        QVector<bool> dirty;  // empty until a field is written
    };

    bool Fail(qint32 number, const QString& description);
    bool CheckCurrent();
    bool CheckWritable();
    bool FlushPending();
    bool WriteRow(Row& row);
    bool DeleteById(const QVariant& id);
    int IdColumn() const;

    std::shared_ptr<Connection> connection_;
    LockMode lock_;
    QString source_;
    QString table_;
    std::vector<Column> columns_;
    QHash<QString, int> index_;
    QHash<const char*, int> literalIndex_;
    std::vector<Row> rows_;
    qsizetype pos_ = 0;
    bool bof_ = false;
    bool currentDeleted_ = false;
    QVector<QVariant> pendingDeletes_;
    Failure error_;
};

// A statement with positional values ("?"), prepared once per CommandText.
class Command {
  public:
    explicit Command(std::shared_ptr<Connection> connection);
    ~Command();
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    QString CommandText;
    // CommandText from a composed statement; a refused one makes Execute fail with its refusal.
    void SetStatement(const SqlText& statement);

    // Answers the rows affected, or -1 with LastError() set; the caller reports it under its label.
    qint64 Execute(const QVariantList& values = {});
    const Failure& LastError() const { return error_; }

  private:
    struct Prepared;
    std::shared_ptr<Connection> connection_;
    std::unique_ptr<Prepared> prepared_;
    Failure error_;
    std::optional<Failure> refusal_;
};

}  // namespace tlm
