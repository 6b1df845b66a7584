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

namespace {

// A name among the offered ones without regard to case, in the offered spelling; empty when none.
QString FindName(const QStringList& offered, const QString& wanted) {
    for (const QString& name : offered)
        if (name.compare(wanted, Qt::CaseInsensitive) == 0)
            return name;
    return QString();
}

ReportChoicesOutcome Unknown(ReportChoicesOutcome::Kind kind, const QString& name,
                             const QStringList& offered = {}) {
    ReportChoicesOutcome out;
    out.kind = kind;
    out.name = name;
    out.offered = offered;
    return out;
}

ReportOutcome Outcome(ReportOutcome::Kind kind, qint64 rows, const Failure& failure = Failure()) {
    ReportOutcome out;
    out.kind = kind;
    out.rows = rows;
    out.failure = failure;
    return out;
}

}  // namespace

ReportChoicesOutcome ChooseReport(const ReportRequest& request, const StoredReportChoices& stored,
                                  const cReportFields& fields, const cDBSettings& global,
                                  const QDate& today) {
    using Kind = ReportChoicesOutcome::Kind;
    ReportChoicesOutcome out;
    ReportChoices& c = out.choices;
    // As the window restores them: a stored index it does not have leaves its own default.
    c.typeIndex = request.typeIndex.value_or(stored.typeIndex == 0 ? 0 : 1);
    const QStringList periods = ReportPeriodNames();
    c.rangeStart = today.addDays(-7);
    c.rangeEnd = today;
    if (request.from.isValid() || request.to.isValid()) {
        c.period = kDateRangePeriod;
        if (request.from.isValid())
            c.rangeStart = request.from;
        if (request.to.isValid())
            c.rangeEnd = request.to;
    } else if (!request.period.isEmpty()) {
        c.period = FindName(periods, request.period);
        if (c.period.isEmpty() &&
            request.period.compare(QStringLiteral("Date Range"), Qt::CaseInsensitive) == 0)
            c.period = kDateRangePeriod;
        if (c.period.isEmpty())
            return Unknown(Kind::UnknownPeriod, request.period, periods);
    } else {
        const int index = stored.periodIndex;
        c.period = periods.value(index >= 0 && index < periods.size() ? index : 0);
    }
    if (!request.project.isEmpty() || !request.member.isEmpty()) {
        c.filterIndex = request.project.isEmpty() ? 2 : 1;
        const QString wanted = request.project.isEmpty() ? request.member : request.project;
        c.listText = FindName(ReportFilterNames(global, c.filterIndex), wanted);
        if (c.listText.isEmpty())
            return Unknown(c.filterIndex == 1 ? Kind::UnknownProject : Kind::UnknownMember, wanted);
    }
    const Dictionary<QString>& offered = *ReportFieldsOfType(fields, c.typeIndex);
    if (request.fields) {
        QStringList names;
        for (const auto& e : offered)
            names.append(e.item);
        QStringList wanted;
        for (const QString& f : *request.fields) {
            const QString name = FindName(names, f.trimmed());
            if (name.isEmpty())
                return Unknown(Kind::UnknownField, f.trimmed(), names);
            wanted.append(name);
        }
        // Ticks come in the list's order, as in the window.
        for (const QString& name : names)
            if (wanted.contains(name))
                c.ticked.append(name);
    } else {
        c.ticked =
            StoredTicks(offered, StoredTickList(c.typeIndex, stored.tasksTicks, stored.appointmentsTicks));
    }
    if (CountChosenFields(offered, c.ticked) == 0)
        return Unknown(Kind::NoFields, QString());
    return out;
}

ReportOutcome ReportOutcomeOf(const ExportOutcome& out) {
    using Kind = ReportOutcome::Kind;
    if (out.ok)
        return Outcome(Kind::Written, out.rows);
    if (out.empty)
        return Outcome(Kind::NothingToExport, 0);
    if (out.cancelled)
        return Outcome(Kind::Cancelled, out.rows);
    return Outcome(out.databaseFailed ? Kind::QueryFailed : Kind::WriteFailed, out.rows, out.failure);
}

ReportOutcome ReportOutcomeOf(const ReportRun& run) {
    using Kind = ReportOutcome::Kind;
    if (run.cancelled)
        return Outcome(Kind::Cancelled, run.rowCount);
    if (!run.ok)
        return Outcome(Kind::QueryFailed, run.rowCount, run.failure);
    return Outcome(run.rowCount == 0 ? Kind::NothingToExport : Kind::Written, run.rowCount);
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
