#pragma once

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QVariant>
#include <functional>
#include <initializer_list>
#include <optional>
#include <utility>
#include <vector>

#include "core/dictionary.h"
#include "core/failure.h"
#include "database/recordset.h"

namespace tlm {

struct cProject;
struct cTask;

// The table through which a list meets the grid: one row per entry, columns from 0.
class Matrix {
  public:
    Matrix() = default;
    Matrix(int rows, int cols) : rows_(rows), cols_(cols), cells_(size_t(rows) * size_t(cols)) {}

    int Rows() const { return rows_; }
    int Cols() const { return cols_; }
    int UBound1() const { return rows_ - 1; }  // the last row, -1 when empty
    QVariant& operator()(int row, int col) { return cells_[size_t(row) * size_t(cols_) + size_t(col)]; }
    const QVariant& operator()(int row, int col) const {
        return cells_[size_t(row) * size_t(cols_) + size_t(col)];
    }
    // Out-of-range cells read as empty, as a short grid row does.
    QVariant Cell(int row, int col) const {
        return row >= 0 && row < rows_ && col >= 0 && col < cols_ ? (*this)(row, col) : QVariant();
    }

  private:
    int rows_ = 0;
    int cols_ = 0;
    std::vector<QVariant> cells_;
};

// What a list save tells people about. The notification layer installs the real senders;
// until then nothing is sent. Arguments are plain copies, so a sender can keep them.
class NotificationSink {
  public:
    virtual ~NotificationSink() = default;
    virtual void SendEmailNotificationToMembersWhenNewProjectsAdded(const QString& newProjects) = 0;
    virtual void SendEmailNotificationToMembersWhenNewTasksAdded(const QString& newActivities) = 0;
    virtual void SendEmailNotificationToManagerWhenAssignedProject(const cProject& project) = 0;
    virtual void SendEmailNotificationToCoordinatorWhenAssignedTask(const cTask& task) = 0;
};
NotificationSink& notificationSink();
void SetNotificationSink(NotificationSink* sink);  // nullptr restores the silent sink

namespace detail {

// A grid cell or a stored value as a date; nullopt for an empty cell or a text that is no date.
std::optional<QDateTime> VariantToDate(const QVariant& value);
// Reports the recordset's last failure under the label; always answers false.
bool ReportRecordset(const Recordset& rs, const QString& label);
void ReportFailure(qint32 number, const QString& description, const QString& label);
// The grid's row counter is 16 bits wide: a matrix with rows past 32767 overflows it. Reports the
// overflow under the label and answers true, after the rows up to the limit were taken.
constexpr int kMaxArrayRow = 32767;
bool ReportRowCounterOverflow(const Matrix& matrix, const QString& label);

// Positions a recordset on a row by its ID. The rows read at the start keep their place while a
// save adds rows at the end and updates in place, so a remembered place is reached by stepping
// instead of searching from the first row; every landing is checked against the ID, and a search
// from the first row ("ID = n") stays the fallback.
class RowSeeker {
  public:
    explicit RowSeeker(Recordset& rs) : rs_(rs) {}
    void Remember(qint32 id, int position) { places_.insert(id, position); }
    // False when the row is not there: the recordset is then at EOF, as a failed Find leaves it.
    bool SeekId(qint32 id);
    // Deletes the current row and keeps the remembered places true.
    bool DeleteCurrent();
    // The original place of a remembered ID, or -1.
    int PlaceOf(qint32 id) const { return places_.value(id, -1); }

  private:
    bool StepTo(int target);
    int CurrentOf(int original) const;

    Recordset& rs_;
    QHash<qint32, int> places_;
    std::vector<int> deleted_;  // original places of deleted rows, sorted
    bool afterDelete_ = false;
};

// Deletes the rows at these (place in the table, ID) pairs, in table order. A row that is no
// longer there is skipped. False after a failure, which is reported under the label.
bool DeleteRows(Recordset& rs, RowSeeker& seeker, std::vector<std::pair<int, qint32>> gone,
                const QString& label);

// Reads a table's rows into a list by key (Read(item, columns, rs), KeyOf(item)). For a save (with a
// seeker) each key's first row is remembered and the list keeps table order, since a save only looks
// rows up; otherwise it is sorted by key.
template <class T, class Columns, class Read, class KeyOf>
Dictionary<T> LoadRows(Recordset& rs, RowSeeker* seeker, Read read, KeyOf keyOf) {
    Dictionary<T> items(CompareMode::Text);
    Columns c(rs);
    while (!rs.Eof()) {
        T item;
        read(item, c, rs);
        const QString key = keyOf(item);
        if (seeker && !items.Exists(key))
            seeker->Remember(item.ID, rs.AbsolutePosition());
        items.Add(key, std::move(item));
        if (!rs.MoveNext())
            break;
    }
    if (seeker)
        return items;
    return Sort(items, 1);
}

// The row of one entry of a save by comparison: its old row found by ID, or a new row holding its
// name. False after a failure, which is reported under the label.
bool SeekOrAddRow(Recordset& rs, RowSeeker& seeker, std::optional<qint32> oldId, Recordset::Field& name,
                  const QString& nameValue, const QString& label);

// Writes each value whose column holds another, then updates the row when anything changed (a new row
// always is). written(field) follows each write. A column the table lacks is a failure unless
// missingColumnsPass. False after a failure, which is reported under the label.
using ColumnValue = std::pair<Recordset::Field*, QVariant>;
bool WriteRow(Recordset& rs, std::initializer_list<ColumnValue> columns, bool changed, const QString& label,
              const std::function<void(const Recordset::Field*)>& written = {},
              bool missingColumnsPass = false);

// Deletes the rows of the old list whose keys the new list no longer holds.
template <class Old, class Now>
bool DeleteRowsGoneFromList(Recordset& rs, RowSeeker& seeker, const Old& old, const Now& now,
                            const QString& label) {
    std::vector<std::pair<int, qint32>> gone;
    for (const auto& e : old)
        if (!now.Exists(e.key))
            gone.emplace_back(seeker.PlaceOf(e.item.ID), e.item.ID);
    return DeleteRows(rs, seeker, std::move(gone), label);
}

}  // namespace detail
}  // namespace tlm
