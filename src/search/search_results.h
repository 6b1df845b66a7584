#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <array>
#include <memory>
#include <variant>
#include <vector>

#include "reported/appointment_data.h"
#include "reported/task_data.h"
#include "search/search_query.h"

namespace tlm {

class Connection;
class Recordset;

// The found records in load order, tasks and appointments mixed. A record's key is "T" or "A" and
// its ID, since a task and an appointment may share an ID.
class SearchResults {
  public:
    using Record = std::variant<cTaskData, cAppointmentData>;

    int Count() const { return int(records_.size()); }
    bool isEmpty() const { return records_.empty(); }
    void Clear();
    // 0-based position in load order.
    const Record& At(int position) const { return records_[size_t(position)]; }
    const cReportedRecord& Common(int position) const;
    bool IsAppointment(int position) const { return records_[size_t(position)].index() == 1; }
    QString Key(int position) const;
    // Position of the key, or -1.
    int Find(const QString& key) const { return keys_.value(key, -1); }

    // Adds every row from the current one to the end, then closes the recordset. Answers false when a
    // row could not be read; the rows before it stay.
    bool LoadRecordsetToCollection(Recordset& rs, bool blnAppointmentItem);
    QString SubstituePlaceHolders(int position, const QString& sContent) const;

  private:
    void Add(Record record);
    std::vector<Record> records_;
    QHash<QString, int> keys_;
};

// The seven list columns: "Subject", "ID", "Member", project title, activity title, "Cost",
// "Last Reported".
QStringList SearchColumnHeaders(const QString& projectTitle, const QString& activityTitle);
// One row of the list: the values of the seven columns, "Cost" with two decimals as the grids show
// it, "Last Reported" in the system's short date.
std::array<QString, 7> SearchRowValues(const cReportedRecord& record);

// Runs the query for the chosen item types on the connection, tasks first, into results (cleared
// first). A database failure is reported under "Search.cmdRetrieve.Click" and answers false;
// ran is false when the keyword search stopped before any query.
bool RunSearch(const std::shared_ptr<Connection>& connection, const SearchCriteria& criteria, qint32 dbChoice,
               SearchResults& results, bool* ran = nullptr);

// "tReportedTasks" for a key starting with "T", else "tReportedAppointments".
QString TableForKey(const QString& key);
// "delete from <table> where ID = <id>" on a fresh command; a failure is reported under
// "Search.deleteReport" and answers false.
bool deleteReport(const std::shared_ptr<Connection>& connection, const QString& table, qint32 id);

// "Are you sure you want to remove N reported item(s) ..." with its note.
QString DeleteQuestion(int count);
// "Are you sure you want to print N reported item(s)?"
QString PrintQuestion(int count);

// The positions of the results in the order of one list column (0 to 6): text columns without regard
// to case, "ID" and "Cost" as numbers, "Last Reported" as a date and time. Equal values keep the load
// order, in either direction. Any other column gives the load order.
std::vector<int> SortedPositions(const SearchResults& results, int column, bool descending);

// The pages to print for the records of these keys, in the keys' order (the list's rows as shown);
// a key no record has is skipped.
QStringList PrintPagesForKeys(const SearchResults& results, const QStringList& keys,
                              const QString& printTemplate);

// The pages to print: walking the list rows by position, each selected row's record at that
// position filled into the print template. The list must be in the results' order; a position past
// the results is skipped.
QStringList PrintPages(const SearchResults& results, const QList<bool>& selectedRows,
                       const QString& printTemplate);

}  // namespace tlm
