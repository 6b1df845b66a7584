#include "search/search_results.h"

#include <QLocale>
#include <algorithm>

#include "core/error_report.h"
#include "database/connection.h"
#include "database/recordset.h"
#include "desktop/grid_model.h"

namespace tlm {

void SearchResults::Clear() {
    records_.clear();
    keys_.clear();
}

const cReportedRecord& SearchResults::Common(int position) const {
    return std::visit([](const auto& r) -> const cReportedRecord& { return r; }, At(position));
}

QString SearchResults::Key(int position) const {
    return (IsAppointment(position) ? QStringLiteral("A") : QStringLiteral("T")) + Common(position).ID;
}

void SearchResults::Add(Record record) {
    records_.push_back(std::move(record));
    keys_.insert(Key(Count() - 1), Count() - 1);
}

bool SearchResults::LoadRecordsetToCollection(Recordset& rs, bool blnAppointmentItem) {
    records_.reserve(records_.size() + size_t(rs.RecordCount()));
    for (; !rs.Eof(); rs.MoveNext()) {
        if (blnAppointmentItem) {
            cAppointmentData a;
            a.FromRecordset(rs);
            Add(std::move(a));
        } else {
            cTaskData t;
            t.FromRecordset(rs);
            Add(std::move(t));
        }
    }
    return true;
}

QString SearchResults::SubstituePlaceHolders(int position, const QString& sContent) const {
    return std::visit([&](const auto& r) { return r.SubstituePlaceHolders(sContent); }, At(position));
}

QStringList SearchColumnHeaders(const QString& projectTitle, const QString& activityTitle) {
    return {QStringLiteral("Subject"),
            QStringLiteral("ID"),
            QStringLiteral("Member"),
            projectTitle,
            activityTitle,
            QStringLiteral("Cost"),
            QStringLiteral("Last Reported")};
}

std::array<QString, 7> SearchRowValues(const cReportedRecord& r) {
    // The cost as the review grid shows it, through the grid's own currency cell.
    static const GridColumn cost = [] {
        GridColumn c;
        c.type = GridCellType::Currency;
        return c;
    }();
    return {r.Subject,
            r.ID,
            r.ReportedBy,
            r.ProjectValue,
            r.ActivityValue,
            FormatCellValue(cost, QVariant::fromValue(r.TotalCost)),
            QLocale::system().toString(r.ReportedDate.date(), QLocale::ShortFormat)};
}

bool RunSearch(const std::shared_ptr<Connection>& connection, const SearchCriteria& criteria, qint32 dbChoice,
               SearchResults& results, bool* ran) {
    if (ran)
        *ran = false;
    const std::optional<SqlText> sql = ComposeSearchSQL(criteria, dbChoice);
    if (!sql)
        return true;
    if (ran)
        *ran = true;
    results.Clear();
    const auto load = [&](bool appointments) {
        const SqlText text = SearchSQLForTable(*sql, appointments);
        subTraceAction(QStringLiteral("Attempting to open a recordset from ") + text.sql());
        Recordset rs(connection, LockMode::ReadOnly);
        Failure failure;
        if (!connection || !rs.Open(text, &failure)) {
            if (!connection)
                failure = Failure{dberr::kObjectClosed, QStringLiteral("The connection is closed."), 0, {}};
            failure.label = QStringLiteral("Search.cmdRetrieve.Click");
            subReportError(failure);
            return false;
        }
        return results.LoadRecordsetToCollection(rs, appointments);
    };
    if (SearchesTasks(criteria.itemsTypeIndex) && !load(false))
        return false;
    if (SearchesAppointments(criteria.itemsTypeIndex) && !load(true))
        return false;
    return true;
}

QString TableForKey(const QString& key) {
    return key.startsWith(u'T') ? cTaskData::GetTableName() : cAppointmentData::GetTableName();
}

bool deleteReport(const std::shared_ptr<Connection>& connection, const QString& table, qint32 id) {
    Failure failure;
    if (connection) {
        Command command(connection);
        command.SetStatement(SqlText(QStringLiteral("delete from ") + table + QStringLiteral(" where ID = "))
                                 .Integer(qint64(id)));
        if (command.Execute() >= 0)
            return true;
        failure = command.LastError();
    } else {
        failure = Failure{dberr::kObjectClosed, QStringLiteral("The connection is closed."), 0, {}};
    }
    failure.label = QStringLiteral("Search.deleteReport");
    subReportError(failure);
    return false;
}

QString DeleteQuestion(int count) {
    return QStringLiteral("Are you sure you want to remove ") + QString::number(count) +
           QStringLiteral(" reported item(s) from the database permanently?") + QStringLiteral("\r\n\r\n") +
           QStringLiteral("Note: This action cannot be rolled back!");
}

QString PrintQuestion(int count) {
    return QStringLiteral("Are you sure you want to print ") + QString::number(count) +
           QStringLiteral(" reported item(s)?");
}

QStringList PrintPages(const SearchResults& results, const QList<bool>& selectedRows,
                       const QString& printTemplate) {
    QStringList pages;
    for (int position = 1; position <= int(selectedRows.size()); ++position) {
        if (!selectedRows[position - 1])
            continue;
        // By position, not by key: the list is built from the results in their order.
        if (position > results.Count())
            continue;
        pages.append(results.SubstituePlaceHolders(position - 1, printTemplate));
    }
    return pages;
}

namespace {

// <0, 0, >0 as a sorts before, with or after b in the column, ascending.
int CompareInColumn(const cReportedRecord& a, const cReportedRecord& b, int column) {
    const auto three = [](const auto& x, const auto& y) { return x < y ? -1 : y < x ? 1 : 0; };
    switch (column) {
        case 0:
            return QString::compare(a.Subject, b.Subject, Qt::CaseInsensitive);
        case 1: {
            // IDs are whole numbers; anything else sorts after them, as text.
            bool okA = false, okB = false;
            const qint64 x = a.ID.trimmed().toLongLong(&okA), y = b.ID.trimmed().toLongLong(&okB);
            if (okA && okB)
                return three(x, y);
            if (okA != okB)
                return okA ? -1 : 1;
            return QString::compare(a.ID, b.ID, Qt::CaseInsensitive);
        }
        case 2:
            return QString::compare(a.ReportedBy, b.ReportedBy, Qt::CaseInsensitive);
        case 3:
            return QString::compare(a.ProjectValue, b.ProjectValue, Qt::CaseInsensitive);
        case 4:
            return QString::compare(a.ActivityValue, b.ActivityValue, Qt::CaseInsensitive);
        case 5:
            return three(a.TotalCost, b.TotalCost);
        case 6:
            return three(a.ReportedDate, b.ReportedDate);
        default:
            return 0;
    }
}

}  // namespace

std::vector<int> SortedPositions(const SearchResults& results, int column, bool descending) {
    std::vector<int> order(size_t(results.Count()));
    for (int i = 0; i < results.Count(); ++i)
        order[size_t(i)] = i;
    if (column < 0 || column > 6)
        return order;
    std::stable_sort(order.begin(), order.end(), [&](int x, int y) {
        const int c = CompareInColumn(results.Common(x), results.Common(y), column);
        return descending ? c > 0 : c < 0;
    });
    return order;
}

QStringList PrintPagesForKeys(const SearchResults& results, const QStringList& keys,
                              const QString& printTemplate) {
    QStringList pages;
    for (const QString& key : keys) {
        const int position = results.Find(key);
        if (position >= 0)
            pages.append(results.SubstituePlaceHolders(position, printTemplate));
    }
    return pages;
}

}  // namespace tlm
