#pragma once

#include <QDate>
#include <QString>
#include <QStringList>
#include <array>
#include <optional>

#include "database/sql_compose.h"

namespace tlm {

class cGeneralSettings;

// What the criteria panel holds when Search is pressed. The query is chosen by the text of the
// "search by" entry, as the panel shows it, not by its index.
struct SearchCriteria {
    QString searchBy;
    int itemsTypeIndex = 2;  // "Task Items", "Appointment Items", anything else both
    QString keyword;
    QString member;
    QString project;
    QString activity;
    QString costFunction;
    QString costValue;  // placed as typed
    QDate on;
    QDate start;
    QDate end;
    std::array<QString, 4> customTitles;  // custom fields 1 to 4, active or not
    std::array<QString, 4> customValues;
};

// The entries of the "search by" list before the custom field titles, in their order.
QStringList FixedSearchEntries(const QString& projectTitle, const QString& activityTitle);
QStringList ItemTypeEntries();
QStringList CostFunctionEntries();

// Custom field n (1 to 4): active when its key is non-zero; its title, or "Custom Field n" when empty.
bool IsCustomFieldActive(const cGeneralSettings& settings, int n);
QString CustomFieldTitle(const cGeneralSettings& settings, int n);

// "=", ">=", "<=" for the three cost functions, empty text for anything else.
QString GetOperatorSymbol(const QString& costFunction);
// Appends one keyword term: " or " unless first, then "(field Like '%keyword%')".
void subAddFilter(SqlText& sql, const QString& field, const QString& keyword, bool blnFirst);

// The query with the token TABLENAME still in it; the file form when dbChoice is 0, else the server
// form. Nothing when the keyword search stops (keyword empty or "*"): no query runs then. A quote in
// a text, or a cost that is no number, refuses the statement.
std::optional<SqlText> ComposeSearchSQL(const SearchCriteria& criteria, qint32 dbChoice);

bool SearchesTasks(int itemsTypeIndex);
bool SearchesAppointments(int itemsTypeIndex);
// The query for one table: TABLENAME replaced, and for appointments every "DueDate" made "EndDate"
// (the whole text, values included).
SqlText SearchSQLForTable(const SqlText& sql, bool appointments);

}  // namespace tlm
