#include "search/search_query.h"

#include "core/codecs.h"
#include "domain/option_keys.h"
#include "settings/global_settings.h"

namespace tlm {

namespace {

const QString kDayTermServer = QStringLiteral("cast(CONVERT(varchar(8), %1, 112) AS datetime)");

QString DayTerm(const QString& column) {
    return kDayTermServer.arg(column);
}

// The two range criteria: the server compares whole days, the file form stops at 23:59:00 for
// reported dates and compares due dates as they stand.
void AddRange(SqlText& sql, bool server, const QString& column, const QDate& start, const QDate& end) {
    if (server) {
        sql.Words(DayTerm(column) + QStringLiteral(" >= '"))
            .Date(start)
            .Words(QStringLiteral("' and ") + DayTerm(column) + QStringLiteral(" <= '"))
            .Date(end)
            .Words(u"'");
    } else if (column == u"ReportedDate") {
        sql.Words(u"ReportedDate between #")
            .Date(start)
            .Words(u" 00:00:00# and #")
            .Date(end)
            .Words(u" 23:59:00#");
    } else {
        sql.Words(u"DueDate >= #").Date(start).Words(u"# and DueDate <= #").Date(end).Words(u"#");
    }
}

}  // namespace

QStringList FixedSearchEntries(const QString& projectTitle, const QString& activityTitle) {
    return {QStringLiteral("Keyword"), QStringLiteral("Reported By"), projectTitle + u'/' + activityTitle,
            QStringLiteral("By Cost"), QStringLiteral("Reported On"), QStringLiteral("Reported Between"),
            QStringLiteral("Due On"),  QStringLiteral("Due Between")};
}

QStringList ItemTypeEntries() {
    return {QStringLiteral("Task Items"), QStringLiteral("Appointment Items"), QStringLiteral("Both")};
}

QStringList CostFunctionEntries() {
    return {QStringLiteral("Equal To"), QStringLiteral("Greater or Equal to"),
            QStringLiteral("Less or Equal to")};
}

bool IsCustomFieldActive(const cGeneralSettings& settings, int n) {
    return settings.GetValue(tpo::CustomFieldKey(tpo::kActiveCustomField, n), cGeneralSettings::kInteger)
               .toInt() != 0;
}

QString CustomFieldTitle(const cGeneralSettings& settings, int n) {
    const QString title =
        settings.GetValue(tpo::CustomFieldKey(tpo::kTitleCustomField, n), cGeneralSettings::kText).toString();
    return title.isEmpty() ? QStringLiteral("Custom Field %1").arg(n) : title;
}

QString GetOperatorSymbol(const QString& costFunction) {
    if (costFunction == u"Equal To")
        return QStringLiteral("=");
    if (costFunction == u"Greater or Equal to")
        return QStringLiteral(">=");
    if (costFunction == u"Less or Equal to")
        return QStringLiteral("<=");
    return QString();
}

void subAddFilter(SqlText& sql, const QString& field, const QString& keyword, bool blnFirst) {
    if (!blnFirst)
        sql.Words(u" or ");
    sql.Words(u'(' + field + QStringLiteral(" Like ")).Text(u'%' + keyword + u'%').Words(u")");
}

std::optional<SqlText> ComposeSearchSQL(const SearchCriteria& c, qint32 dbChoice) {
    const bool server = dbChoice != 0;
    SqlText sql(u"Select * from TABLENAME where ");
    const QString& by = c.searchBy;

    if (by == u"Keyword") {
        if (c.keyword.isEmpty() || c.keyword == u"*")
            return std::nullopt;
        static const char* const kFields[] = {"Body",          "Subject",     "ID",          "ProjectValue",
                                              "ActivityValue", "ReportedBy",  "Field1Value", "Field2Value",
                                              "Field3Value",   "Field4Value", "Field5Value", "Field6Value",
                                              "Field7Value",   "Field8Value"};
        sql.Words(u" (");
        bool first = true;
        for (const char* field : kFields) {
            subAddFilter(sql, QLatin1String(field), c.keyword, first);
            first = false;
        }
        sql.Words(u")");
    } else if (by == u"Reported By") {
        sql.Words(u"ReportedBy =").Text(c.member).Words(u" ORDER BY ReportedBy DESC");
    } else if (by == u"Project/Task") {
        // Compared with the literal, so only titles "Project" and "Task" reach this branch; any other
        // titles leave the dangling "where " for the database to refuse. Kept as the client has it.
        if (!c.project.isEmpty()) {
            sql.Words(u"ProjectValue = ").Text(c.project);
            if (!c.activity.isEmpty())
                sql.Words(u" and ActivityValue = ").Text(c.activity);
            sql.Words(u" ORDER BY ProjectValue DESC");
        }
    } else if (by == u"By Cost") {
        sql.Words(QStringLiteral("TotalCost ") + GetOperatorSymbol(c.costFunction) + u' ')
            .Number(c.costValue)
            .Words(u" ORDER BY TotalCost DESC");
    } else if (by == u"Reported On") {
        if (server)
            sql.Words(DayTerm(QStringLiteral("ReportedDate")) + QStringLiteral(" = '"))
                .Date(c.on)
                .Words(u"'");
        else
            sql.Words(u"ReportedDate between #")
                .Date(c.on)
                .Words(u" 00:00:00# and  #")
                .Date(c.on)
                .Words(u" 23:59:00#");
    } else if (by == u"Reported Between") {
        AddRange(sql, server, QStringLiteral("ReportedDate"), c.start, c.end);
    } else if (by == u"Due On") {
        if (server)
            sql.Words(DayTerm(QStringLiteral("DueDate")) + QStringLiteral(" = '")).Date(c.on).Words(u"'");
        else
            sql.Words(u"DueDate = #").Date(c.on).Words(u"#");
    } else if (by == u"Due Between") {
        AddRange(sql, server, QStringLiteral("DueDate"), c.start, c.end);
    } else {
        // Custom titles after every fixed entry, field 1 first: of two equal titles the lower wins.
        for (int n = 1; n <= 4; ++n) {
            if (by == c.customTitles[size_t(n - 1)]) {
                const QString field = QStringLiteral("Field%1Value").arg(n);
                sql.Words(field + QStringLiteral(" ="))
                    .Text(c.customValues[size_t(n - 1)])
                    .Words(QStringLiteral(" ORDER BY ") + field + QStringLiteral(" DESC"));
                break;
            }
        }
    }
    return sql;
}

bool SearchesTasks(int itemsTypeIndex) {
    return itemsTypeIndex != 1;
}

bool SearchesAppointments(int itemsTypeIndex) {
    return itemsTypeIndex != 0;
}

SqlText SearchSQLForTable(const SqlText& sql, bool appointments) {
    SqlText out = sql;
    if (!appointments)
        return out.Replace(u"TABLENAME", u"tReportedTasks");
    out.Replace(u"TABLENAME", u"tReportedAppointments");
    return out.Replace(u"DueDate", u"EndDate");
}

}  // namespace tlm
