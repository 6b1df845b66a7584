#include "reports/report_request.h"

#include "domain/single_list.h"
#include "reports/report_fields.h"
#include "settings/global_settings.h"

namespace tlm {

const Dictionary<QString>* ReportFieldsOfType(const cReportFields& fields, int typeIndex) {
    if (typeIndex == 0)
        return &fields.dicTaskFields;
    if (typeIndex == 1)
        return &fields.dicAppointmentFields;
    return nullptr;
}

QStringList StoredTicks(const Dictionary<QString>& fields, const QString& storedList) {
    cSingleList names;
    names.FromString(storedList, QStringLiteral("\r\n"));
    QStringList ticked;
    if (names.Items.isEmpty())
        return ticked;
    for (const auto& e : fields)
        if (names.Items.Exists(e.item))
            ticked.append(e.item);
    return ticked;
}

QString StoredTickList(int typeIndex, const QString& tasksList, const QString& appointmentsList) {
    if (typeIndex == 0)
        return tasksList;
    if (typeIndex == 1)
        return appointmentsList;
    return QString();
}

int CountChosenFields(const Dictionary<QString>& fields, const QStringList& ticked) {
    // Row 0 is the ID field; a tick on it alone makes no report.
    const QString first = fields.isEmpty() ? QString() : fields.begin()->item;
    int count = 0;
    bool firstSeen = false;
    for (const QString& name : ticked) {
        if (!firstSeen && name == first) {
            firstSeen = true;
            continue;
        }
        ++count;
    }
    return count;
}

QStringList SelectedFieldNames(const QStringList& ticked) {
    Dictionary<QString> selected(CompareMode::Text);
    for (const QString& t : ticked) {
        const QString name = t.trimmed();
        if (!selected.Exists(name))
            selected.Add(name, name);
    }
    QStringList names;
    for (const auto& e : selected)
        names.append(e.item);
    return names;
}

QString ReportProjectTitle(const QString& loadedTitle) {
    const QString title = loadedTitle.trimmed();
    return title.isEmpty() ? QStringLiteral("Project") : title;
}

QStringList ReportFilterNames(const cDBSettings& global, int filterIndex) {
    QStringList names;
    if (filterIndex == 1)
        for (const auto& e : global.Projects.Items)
            names.append(e.item.ProjectName);
    else if (filterIndex == 2)
        for (const auto& e : global.Members.Items)
            names.append(e.item.Name);
    return names;
}

QString ReportFilterTag(const ReportChoices& choices) {
    return choices.filterIndex != 0 && !choices.listText.isEmpty() ? choices.listText + QStringLiteral(": ")
                                                                   : QString();
}

PreparedReport PrepareReport(const cReportFields& fields, const ReportChoices& choices,
                             const ReportContext& context) {
    PreparedReport r;
    ReportQueryInput& in = r.input;
    in.dbChoice = context.dbChoice;
    in.fullView = context.fullView;
    in.userName = context.userName;
    in.period = choices.period;
    in.now = context.now;
    in.rangeStart = choices.rangeStart;
    in.rangeEnd = choices.rangeEnd;
    in.filterIndex = choices.filterIndex;
    in.listText = choices.filterIndex > 0 ? choices.listText : QString();
    r.tag = ReportFilterTag(choices);
    r.header = GetReportHeader(choices.typeIndex, in, context.shortDateFormat);
    SqlText sql = GetReportSQL(in);
    sql.Replace(u"TABLENAME", ReportTableName(choices.typeIndex));
    r.def = MakeReportDefinition(sql, choices.typeIndex == 1, SelectedFieldNames(choices.ticked), fields,
                                 in.filterIndex);
    return r;
}

QString ComposeReportPage(const PreparedReport& report, const QString& userName, const QString& timeText,
                          bool withChart, const QString& section) {
    return PageHead(report.tag, userName, timeText) + (withChart ? ChartImageHtml() : QString()) + section +
           PageTail();
}

}  // namespace tlm
