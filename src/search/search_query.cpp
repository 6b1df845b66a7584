#include "search/search_query.h"

#include "core/codecs.h"
#include "settings/global_settings.h"

namespace tlm {

namespace {

const QString kDayTermServer = QStringLiteral("cast(CONVERT(varchar(8), %1, 112) AS datetime)");

QString DayTerm(const QString& column) {
    return kDayTermServer.arg(column);
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
    return settings.GetValue(QStringLiteral("tpoActiveCustomField%1").arg(n), cGeneralSettings::kInteger)
               .toInt() != 0;
}

QString CustomFieldTitle(const cGeneralSettings& settings, int n) {
    const QString title =
        settings.GetValue(QStringLiteral("tpoTitleCustomField%1").arg(n), cGeneralSettings::kText).toString();
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

void subAddFilter(QString& sql, const QString& field, const QString& keyword, bool blnFirst) {
    if (!blnFirst)
        sql += QStringLiteral(" or ");
    sql += u'(' + field + QStringLiteral(" Like '%") + keyword + QStringLiteral("%')");
}

std::optional<QString> ComposeSearchSQL(const SearchCriteria& c, qint32 dbChoice) {
    const bool server = dbChoice != 0;
    const QString S = ToTallyloomDateFormat(c.start);
    const QString E = ToTallyloomDateFormat(c.end);
    const QString O = ToTallyloomDateFormat(c.on);
    QString sql = QStringLiteral("Select * from TABLENAME where ");
    const QString& by = c.searchBy;

    if (by == u"Keyword") {
        if (c.keyword.isEmpty() || c.keyword == u"*")
            return std::nullopt;
        static const char* const kFields[] = {"Body",          "Subject",     "ID",          "ProjectValue",
                                              "ActivityValue", "ReportedBy",  "Field1Value", "Field2Value",
                                              "Field3Value",   "Field4Value", "Field5Value", "Field6Value",
                                              "Field7Value",   "Field8Value"};
        sql += QStringLiteral(" (");
        bool first = true;
        for (const char* field : kFields) {
            subAddFilter(sql, QLatin1String(field), c.keyword, first);
            first = false;
        }
        sql += u')';
    } else if (by == u"Reported By") {
        sql += QStringLiteral("ReportedBy ='") + c.member + QStringLiteral("' ORDER BY ReportedBy DESC");
    } else if (by == u"Project/Task") {
        // Compared with the literal, so only titles "Project" and "Task" reach this branch; any other
        // titles leave the dangling "where " for the database to refuse. Kept as the client has it.
        if (!c.project.isEmpty()) {
            if (!c.activity.isEmpty())
                sql += QStringLiteral("ProjectValue = '") + c.project + QStringLiteral("' and ") +
                       QStringLiteral("ActivityValue = '") + c.activity + u'\'';
            else
                sql += QStringLiteral("ProjectValue = '") + c.project + u'\'';
            sql += QStringLiteral(" ORDER BY ProjectValue DESC");
        }
    } else if (by == u"By Cost") {
        sql += QStringLiteral("TotalCost ") + GetOperatorSymbol(c.costFunction) + u' ' + c.costValue +
               QStringLiteral(" ORDER BY TotalCost DESC");
    } else if (by == u"Reported On") {
        sql += server ? DayTerm(QStringLiteral("ReportedDate")) + QStringLiteral(" = '") + O + u'\''
                      : QStringLiteral("ReportedDate between #") + O + QStringLiteral(" 00:00:00# and  #") +
                            O + QStringLiteral(" 23:59:00#");
    } else if (by == u"Reported Between") {
        sql += server ? DayTerm(QStringLiteral("ReportedDate")) + QStringLiteral(" >= '") + S +
                            QStringLiteral("' and ") + DayTerm(QStringLiteral("ReportedDate")) +
                            QStringLiteral(" <= '") + E + u'\''
                      : QStringLiteral("ReportedDate between #") + S + QStringLiteral(" 00:00:00# and #") +
                            E + QStringLiteral(" 23:59:00#");
    } else if (by == u"Due On") {
        sql += server ? DayTerm(QStringLiteral("DueDate")) + QStringLiteral(" = '") + O + u'\''
                      : QStringLiteral("DueDate = #") + O + u'#';
    } else if (by == u"Due Between") {
        sql += server ? DayTerm(QStringLiteral("DueDate")) + QStringLiteral(" >= '") + S +
                            QStringLiteral("' and ") + DayTerm(QStringLiteral("DueDate")) +
                            QStringLiteral(" <= '") + E + u'\''
                      : QStringLiteral("DueDate >= #") + S + QStringLiteral("# and DueDate <= #") + E + u'#';
    } else {
        // Custom titles after every fixed entry, field 1 first: of two equal titles the lower wins.
        for (int n = 1; n <= 4; ++n) {
            if (by == c.customTitles[size_t(n - 1)]) {
                const QString field = QStringLiteral("Field%1Value").arg(n);
                sql += field + QStringLiteral(" ='") + c.customValues[size_t(n - 1)] +
                       QStringLiteral("' ORDER BY ") + field + QStringLiteral(" DESC");
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

QString SearchSQLForTable(const QString& sql, bool appointments) {
    QString out = sql;
    if (!appointments)
        return out.replace(QStringLiteral("TABLENAME"), QStringLiteral("tReportedTasks"));
    out.replace(QStringLiteral("TABLENAME"), QStringLiteral("tReportedAppointments"));
    return out.replace(QStringLiteral("DueDate"), QStringLiteral("EndDate"));
}

}  // namespace tlm
