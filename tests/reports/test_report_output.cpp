// The page, the summary row and every export, against a few rows typed in by hand, on every engine.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QLocale>
#include <QProcess>
#include <QRegularExpression>
#include <QXmlStreamReader>

#include "core/money.h"
#include "database/cursor.h"
#include "database/db_fixture.h"
#include "reported/sample_data.h"
#include "reports/report_export.h"
#include "reports/report_fields.h"
#include "reports/report_query.h"
#include "reports/report_render.h"
#include "settings/global_settings.h"

namespace tlm {
namespace {

using test::EngineTest;

QString DateText(const QDateTime& dt) {
    return dt.toString(QStringLiteral("M/d/yyyy h:mm"));
}

QByteArray ReadAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
}

class ReportOutput : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        OpenFreshDatabase();
        fields.LoadFieldsToDictionaries(gs, QString(), QString());
        Add(QStringLiteral("Design review"), QStringLiteral("ann"), QDateTime(QDate(2026, 3, 2), QTime(9, 0)),
            QStringLiteral("Apollo"), Money::fromUnits(1205000), 90);
        Add(QStringLiteral("Standup"), QStringLiteral("bob"), QDateTime(QDate(2026, 3, 4), QTime(10, 0)),
            QStringLiteral("Apollo"), Money::fromInt(10), 15);
        Add(QStringLiteral("Client call"), QStringLiteral("ann"),
            QDateTime(QDate(2026, 3, 4), QTime(23, 59, 30)), QStringLiteral("Zephyr"),
            Money::fromUnits(452500), 60);
        Add(QStringLiteral("Old"), QStringLiteral("bob"), QDateTime(QDate(2026, 2, 20), QTime(8, 0)),
            QStringLiteral("Apollo"), Money::fromInt(5), 5);
    }
    void TearDown() override {
        QLocale::setDefault(QLocale::c());
        EngineTest::TearDown();
    }
    void Add(const QString& subject, const QString& by, const QDateTime& when, const QString& project,
             Money cost, int minutes) {
        Exec(QStringLiteral("INSERT INTO tReportedAppointments (Subject, ReportedBy, ReportedDate, EndDate, "
                            "ProjectValue, TotalCost, Duration, Approved) VALUES (?, ?, ?, ?, ?, ?, ?, 0)"),
             {subject, by, when, when.addSecs(minutes * 60), project, QVariant::fromValue(cost), minutes});
    }
    ReportQueryInput Input(const QString& period) const {
        ReportQueryInput in;
        in.dbChoice = IsSqlite() ? 0 : 1;
        in.period = period;
        in.now = QDateTime(QDate(2026, 3, 4), QTime(12, 0));
        return in;
    }
    ReportDefinition Def(const QString& period, const QStringList& selected, int filter = 0,
                         const QString& list = QString()) {
        ReportQueryInput in = Input(period);
        in.filterIndex = filter;
        in.listText = list;
        QString sql = GetReportSQL(in);
        sql.replace(QStringLiteral("TABLENAME"), QStringLiteral("tReportedAppointments"));
        return MakeReportDefinition(sql, true, selected, fields, filter);
    }
    const QStringList kFields{QStringLiteral("Subject"), QStringLiteral("Reported By"),
                              QStringLiteral("Total Cost"), QStringLiteral("Duration")};

    cGeneralSettings gs;
    cReportFields fields;
};

TEST_P(ReportOutput, PageSectionWithSummaryRow) {
    const ReportDefinition def = Def(QStringLiteral("This Week"), kFields);
    const QString header = GetReportHeader(1, Input(QStringLiteral("This Week")), QStringLiteral("M/d/yyyy"));
    const ReportRun run = RunReport(CurrentConnection(), def, header, 5000, DateText);
    ASSERT_TRUE(run.ok) << run.failure.description.toStdString();
    EXPECT_EQ(run.rowCount, 3);
    EXPECT_EQ(
        run.html.toStdString(),
        "<table border=\"0\" width=\"100%\"><tr><td colspan=\"2\"><font size='3'>Reported TimeSheets : This "
        "Week[3/1/2026 to 3/7/2026] - <b> 3 items</b></font><hr></td></tr><td width=\"2%\"></td><td "
        "width=\"98%\"><table border=\"1\" width=\"100%\" cellspacing=\"0\" cellpadding=\"3\" "
        "bordercolor=\"#C0C0C0\"><tr><td bgcolor=\"#FFFFCC\" align=\"left\"><b>Subject</b></td><td "
        "bgcolor=\"#FFFFCC\" align=\"left\"><b>Reported By</b></td><td bgcolor=\"#FFFFCC\" "
        "align=\"left\"><b>Total Cost</b></td><td bgcolor=\"#FFFFCC\" "
        "align=\"left\"><b>Duration</b></td></tr>"
        "<tr><td align=\"left\">Design review</td><td align=\"left\">ann</td><td "
        "align=\"right\">120.5</td><td "
        "align=\"right\">90</td></tr>"
        "<tr><td align=\"left\">Standup</td><td align=\"left\">bob</td><td align=\"right\">10</td><td "
        "align=\"right\">15</td></tr>"
        "<tr><td align=\"left\">Client call</td><td align=\"left\">ann</td><td align=\"right\">45.25</td><td "
        "align=\"right\">60</td></tr>"
        "<tr><td align=\"right\"><b></b></td><td align=\"right\"><b></b></td><td "
        "align=\"right\"><b>175.75</b></td><td "
        "align=\"right\"><b>165</b></td></tr></table></td></tr></table>");
    // The chart groups cost and minutes by project.
    ASSERT_EQ(run.chart.groups.size(), 2u);
    EXPECT_EQ(run.chart.groups[0].name, QStringLiteral("Apollo"));
    EXPECT_DOUBLE_EQ(run.chart.groups[0].cost, 130.5);
    EXPECT_DOUBLE_EQ(run.chart.groups[0].minutes, 105);

    // Only the first rows go on the page; count and totals still cover all of them.
    const ReportRun cut = RunReport(CurrentConnection(), def, header, 2, DateText);
    ASSERT_TRUE(cut.ok);
    EXPECT_EQ(cut.html.count(QStringLiteral("<tr>")), 1 + 1 + 2 + 1);  // frame, heading, 2 rows, summary
    EXPECT_TRUE(cut.html.contains(QStringLiteral("<b>175.75</b>")));
    EXPECT_TRUE(cut.html.contains(QStringLiteral("first 2 of 3 items")));
}

TEST_P(ReportOutput, EmptyDayQuirksAndFailures) {
    const ReportRun none = RunReport(CurrentConnection(), Def(QStringLiteral("Last Year"), kFields),
                                     QStringLiteral("H"), 5000, DateText);
    ASSERT_TRUE(none.ok);
    EXPECT_EQ(none.html,
              QStringLiteral("<table border=\"0\" width=\"100%\"><tr><td colspan=\"2\"><font size='3'>H - "
                             "<b> No items</b></font><hr></td></tr><td width=\"2%\"></td><td "
                             "width=\"98%\"></td></tr></table>"));
    // The file form's day ends at 23:59:00, so the call at 23:59:30 stays out there only.
    const ReportRun today =
        RunReport(CurrentConnection(), Def(QStringLiteral("Today"), kFields), QString(), 5000, DateText);
    ASSERT_TRUE(today.ok);
    EXPECT_EQ(today.rowCount, IsSqlite() ? 1 : 2);
    // Without a header there is no heading row; one row still says "items", and a field without a
    // number still gets its bold summary cell.
    const ReportRun one =
        RunReport(CurrentConnection(), Def(QStringLiteral("Yesterday"), {QStringLiteral("Subject")}),
                  QString(), 5000, DateText);
    EXPECT_EQ(one.rowCount, 0);
    const ReportRun filtered =
        RunReport(CurrentConnection(),
                  Def(QStringLiteral("This Week"), {QStringLiteral("Subject")}, 1, QStringLiteral("Zephyr")),
                  QString(), 5000, DateText);
    ASSERT_TRUE(filtered.ok);
    EXPECT_EQ(
        filtered.html,
        QStringLiteral("<table border=\"0\" width=\"100%\"><tr><td colspan=\"2\"><font size='3'> - <b> 1 "
                       "items</b></font><hr></td></tr><td width=\"2%\"></td><td width=\"98%\"><table "
                       "border=\"1\" width=\"100%\" cellspacing=\"0\" cellpadding=\"3\" "
                       "bordercolor=\"#C0C0C0\"><tr><td align=\"left\">Client call</td></tr><tr><td "
                       "align=\"right\"><b></b></td></tr></table></td></tr></table>"));
    // Under a project filter the chart goes by member.
    ASSERT_EQ(filtered.chart.groups.size(), 1u);
    EXPECT_EQ(filtered.chart.groups[0].name, QStringLiteral("ann"));
    // An apostrophe in the chosen name breaks the statement, and the run says so.
    const ReportRun broken = RunReport(
        CurrentConnection(), Def(QStringLiteral("This Week"), kFields, 1, QStringLiteral("O'Brien")),
        QString(), 5000, DateText);
    EXPECT_FALSE(broken.ok);
    EXPECT_TRUE(broken.failure.isSet());
}

TEST_P(ReportOutput, DueDateMapsToEndDateOnlyInExports) {
    const ReportDefinition def =
        Def(QStringLiteral("Today"), {QStringLiteral("Subject"), QStringLiteral("Due Date")});
    const ReportRun run = RunReport(CurrentConnection(), def, QString(), 5000, DateText);
    ASSERT_TRUE(run.ok);
    EXPECT_TRUE(run.html.contains(QStringLiteral("<td align=\"left\">Standup</td><td align=\"left\"></td>")));
    const QString path = dir + QStringLiteral("/due.txt");
    ASSERT_TRUE(ExportReport(CurrentConnection(), def, ExportFormat::Text, path, false, DateText).ok);
    EXPECT_TRUE(ReadAll(path).startsWith("Subject\tDue Date\r\nStandup\t3/4/2026 10:15\r\n"));
}

TEST_P(ReportOutput, TextAndHtmlExportsAndAppend) {
    const ReportDefinition def = Def(QStringLiteral("This Week"), kFields);
    const QByteArray block =
        "Subject\tReported By\tTotal Cost\tDuration\r\n"
        "Design review\tann\t120.5\t90\r\n"
        "Standup\tbob\t10\t15\r\n"
        "Client call\tann\t45.25\t60\r\n"
        "\t\t175.75\t165\r\n";
    const QString txt = dir + QStringLiteral("/week.txt");
    ExportOutcome out = ExportReport(CurrentConnection(), def, ExportFormat::Text, txt, false, DateText);
    ASSERT_TRUE(out.ok) << out.failure.description.toStdString();
    EXPECT_EQ(out.rows, 3);
    EXPECT_EQ(ReadAll(txt), block);
    ASSERT_TRUE(ExportReport(CurrentConnection(), def, ExportFormat::Text, txt, true, DateText).ok);
    EXPECT_EQ(ReadAll(txt), block + block);

    const QString html = dir + QStringLiteral("/week.htm");
    ASSERT_TRUE(ExportReport(CurrentConnection(), def, ExportFormat::Html, html, false, DateText).ok);
    const QByteArray page = ReadAll(html);
    EXPECT_TRUE(page.startsWith("<html>"));
    EXPECT_TRUE(page.endsWith("</table>\r\n</body>\r\n</html>\r\n"));
    EXPECT_TRUE(
        page.contains("<tr><td>Subject</td><td>Reported By</td><td>Total Cost</td><td>Duration</td></tr>\r\n"
                      "<tr><td>Design review</td><td>ann</td><td>120.5</td><td>90</td></tr>\r\n"));
    EXPECT_TRUE(page.contains("<tr><td></td><td></td><td>175.75</td><td>165</td></tr>\r\n</table>"));
    EXPECT_EQ(page.count("<tr>"), 5);
    ASSERT_TRUE(ExportReport(CurrentConnection(), def, ExportFormat::Html, html, true, DateText).ok);
    const QByteArray twice = ReadAll(html);
    EXPECT_TRUE(twice.startsWith(page));
    EXPECT_EQ(twice.count("<tr><td>Subject</td>"), 2);
    EXPECT_EQ(twice.count("<html>"), 1);
    EXPECT_EQ(QDir(dir).entryList(QDir::Files).filter(QStringLiteral("week")).size(), 2);
}

TEST_P(ReportOutput, XmlExportShape) {
    const QString path = dir + QStringLiteral("/week.xml");
    ASSERT_TRUE(ExportReport(CurrentConnection(), Def(QStringLiteral("This Week"), kFields),
                             ExportFormat::Xml, path, false, DateText)
                    .ok);
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    QXmlStreamReader xml(&f);
    ASSERT_TRUE(xml.readNextStartElement());
    EXPECT_EQ(xml.name(), QStringLiteral("Reports"));
    QList<QMap<QString, QString>> sheets;
    while (xml.readNextStartElement()) {
        EXPECT_EQ(xml.name(), QStringLiteral("TimeSheet"));
        QMap<QString, QString> values;
        while (xml.readNextStartElement())
            values.insert(xml.name().toString(), xml.readElementText());
        sheets.append(values);
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    ASSERT_EQ(sheets.size(), 4);
    EXPECT_EQ(sheets[0].keys(), (QStringList{QStringLiteral("Duration"), QStringLiteral("ReportedBy"),
                                             QStringLiteral("Subject"), QStringLiteral("TotalCost")}));
    EXPECT_EQ(sheets[1].value(QStringLiteral("Subject")), QStringLiteral("Standup"));
    EXPECT_EQ(sheets[3].value(QStringLiteral("Subject")), QString());
    EXPECT_EQ(sheets[3].value(QStringLiteral("TotalCost")), QStringLiteral("175.75"));
    EXPECT_EQ(sheets[3].value(QStringLiteral("Duration")), QStringLiteral("165"));
}

TEST_P(ReportOutput, XlsxExportReadsBack) {
    const QString path = dir + QStringLiteral("/week.xlsx");
    ASSERT_TRUE(ExportReport(CurrentConnection(), Def(QStringLiteral("This Week"), kFields),
                             ExportFormat::Excel, path, false, DateText)
                    .ok);
    QProcess py;
    py.start(QStringLiteral("/usr/bin/python3"),
             {QStringLiteral("-c"),
              QStringLiteral("import sys, openpyxl\n"
                             "ws = openpyxl.load_workbook(sys.argv[1]).active\n"
                             "for r in ws.iter_rows(values_only=True):\n"
                             "    print('|'.join('' if v is None else str(v) for v in r))\n"),
              path});
    ASSERT_TRUE(py.waitForFinished(60000));
    ASSERT_EQ(py.exitCode(), 0) << py.readAllStandardError().toStdString();
    EXPECT_EQ(py.readAllStandardOutput().toStdString(),
              "Subject|Reported By|Total Cost|Duration\n"
              "Design review|ann|120.5|90\n"
              "Standup|bob|10|15\n"
              "Client call|ann|45.25|60\n"
              "||175.75|165\n");
    EXPECT_EQ(QDir(dir).entryList({QStringLiteral("*.xlsx")}, QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("week.xlsx")});
}

TEST_P(ReportOutput, CancelAndFailureLeaveNoFile) {
    Failure f;
    ASSERT_GE(CurrentConnection()->Execute(QStringLiteral("BEGIN"), {}, false, &f), 0);
    for (int i = 0; i < 1500; ++i)
        Add(QStringLiteral("Bulk %1").arg(i), QStringLiteral("cara"),
            QDateTime(QDate(2026, 3, 3), QTime(8, 0)), QStringLiteral("Bulk"), Money::fromInt(1), 1);
    ASSERT_GE(CurrentConnection()->Execute(QStringLiteral("COMMIT"), {}, false, &f), 0);
    const ReportDefinition def = Def(QStringLiteral("This Week"), kFields);
    const auto stop = [](qint64) { return false; };
    const QString folder = dir + QStringLiteral("/out");
    ASSERT_TRUE(QDir().mkpath(folder));
    for (ExportFormat format :
         {ExportFormat::Excel, ExportFormat::Text, ExportFormat::Xml, ExportFormat::Html}) {
        const ExportOutcome out = ExportReport(CurrentConnection(), def, format,
                                               folder + QStringLiteral("/r.out"), false, DateText, stop);
        EXPECT_TRUE(out.cancelled);
        EXPECT_FALSE(out.ok);
    }
    EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden), QStringList());
    // A cancelled append keeps the original as it was.
    const QString kept = folder + QStringLiteral("/kept.txt");
    {
        QFile k(kept);
        ASSERT_TRUE(k.open(QIODevice::WriteOnly));
        k.write("before\r\n");
    }
    EXPECT_TRUE(
        ExportReport(CurrentConnection(), def, ExportFormat::Text, kept, true, DateText, stop).cancelled);
    EXPECT_EQ(ReadAll(kept), QByteArray("before\r\n"));
    // A query that fails writes nothing either.
    ReportDefinition bad = def;
    bad.sql = QStringLiteral("Select * from tNoSuchTable");
    EXPECT_FALSE(ExportReport(CurrentConnection(), bad, ExportFormat::Text,
                              folder + QStringLiteral("/bad.txt"), false, DateText)
                     .ok);
    EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("kept.txt")});
    // The page run stops as well.
    EXPECT_TRUE(RunReport(CurrentConnection(), def, QString(), 10, DateText, stop).cancelled);
    // The cursor streamed every row it was asked for.
    Cursor cursor(CurrentConnection());
    ASSERT_TRUE(cursor.Open(def.sql));
    int n = 0;
    while (cursor.Next())
        ++n;
    EXPECT_EQ(n, 1503);
    EXPECT_FALSE(cursor.LastError().isSet());
}

// Generated tasks: the count and the totals of a month agree with the database's own sums.
TEST_P(ReportOutput, GeneratedMonthAgreesWithTheDatabase) {
    SampleSpec plan;
    plan.reportedItems = 600;
    plan.firstDay = QDate(2026, 1, 20);
    plan.days = 60;
    SampleCounts counts;
    Failure f;
    ASSERT_TRUE(FillSampleData(*CurrentConnection(), plan, &counts, &f)) << f.description.toStdString();
    ReportQueryInput in = Input(QStringLiteral("Last Month"));
    QString sql = GetReportSQL(in);
    sql.replace(QStringLiteral("TABLENAME"), QStringLiteral("tReportedTasks"));
    const ReportDefinition def = MakeReportDefinition(
        sql, false, {QStringLiteral("Subject"), QStringLiteral("Actual Work"), QStringLiteral("Total Cost")},
        fields, 0);
    const ReportRun run = RunReport(CurrentConnection(), def, QStringLiteral("H"), 50, DateText);
    ASSERT_TRUE(run.ok) << run.failure.description.toStdString();

    const QString where =
        IsSqlite() ? QStringLiteral("ReportedDate BETWEEN '2026-02-01 00:00:00' AND '2026-02-28 23:59:00'")
                   : QStringLiteral("CAST(ReportedDate AS DATE) BETWEEN '2026-02-01' AND '2026-02-28'");
    auto rs = Open(
        QStringLiteral("SELECT COUNT(*) AS n, SUM(ActualWork) AS work, SUM(CAST(TotalCost AS NUMERIC)) AS "
                       "cost FROM tReportedTasks WHERE ") +
            where,
        LockMode::ReadOnly);
    ASSERT_FALSE(rs->Eof());
    const qint64 n = rs->Fields(QStringLiteral("n")).Value().toLongLong();
    ASSERT_GT(n, 50);
    EXPECT_EQ(run.rowCount, n);
    EXPECT_EQ(run.shownRows, 50);
    // The summary row is the last row of the table.
    const qsizetype last = run.html.lastIndexOf(QStringLiteral("<tr><td align=\"right\"><b>"));
    ASSERT_GT(last, 0);
    QStringList cells;
    static const QRegularExpression bold(QStringLiteral("<b>([^<]*)</b>"));
    for (auto it = bold.globalMatch(run.html.mid(last)); it.hasNext();)
        cells.append(it.next().captured(1));
    ASSERT_EQ(cells.size(), 3);
    EXPECT_EQ(cells[0], QString());
    EXPECT_EQ(cells[1].toLongLong(), rs->Fields(QStringLiteral("work")).Value().toLongLong());
    const double cost =
        Money::fromVariant(rs->Fields(QStringLiteral("cost")).Value()).value_or(Money()).toDouble();
    EXPECT_NEAR(QString(cells[2]).remove(u',').toDouble(), cost, 0.005);
    EXPECT_EQ(cells[2].section(u'.', 1).size(), 2);
}

INSTANTIATE_TEST_SUITE_P(Engines, ReportOutput, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

TEST(ReportExport, EnsureExtensionKeepsAllButATrailingDot) {
    EXPECT_EQ(EnsureExtension(QStringLiteral("/tmp/a.txt"), QStringLiteral("xls")),
              QStringLiteral("/tmp/a.txt"));
    EXPECT_EQ(EnsureExtension(QStringLiteral("/tmp/report"), QStringLiteral("xls")),
              QStringLiteral("/tmp/report"));
    EXPECT_EQ(EnsureExtension(QStringLiteral("/tmp/report."), QStringLiteral("htm")),
              QStringLiteral("/tmp/report..htm"));
    EXPECT_EQ(EnsureExtension(QStringLiteral("   "), QStringLiteral("xml")), QString());
    EXPECT_EQ(XmlElementName(QStringLiteral("3 Rate/h")), QStringLiteral("_3Rate_h"));
}

}  // namespace
}  // namespace tlm
