// The page, the summary row and every export, against a few rows typed in by hand, on every engine.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QLocale>
#include <QProcess>

#include "core/money.h"
#include "database/db_fixture.h"
#include "reports/report_export.h"
#include "reports/report_fields.h"
#include "reports/report_query.h"
#include "reports/report_render.h"
#include "settings/global_settings.h"

namespace tlm {
namespace {

QString DateText(const QDateTime& dt) {
    return dt.toString(QStringLiteral("M/d/yyyy h:mm"));
}

QByteArray ReadAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
}

class ReportOutput : public test::EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        OpenFreshDatabase();
        fields.LoadFieldsToDictionaries(gs, QString(), QString());
        Add("Design review", "ann", {QDate(2026, 3, 2), QTime(9, 0)}, "Apollo", 1205000, 90);
        Add("Standup", "bob", {QDate(2026, 3, 4), QTime(10, 0)}, "Apollo", 100000, 15);
        Add("Client call", "ann", {QDate(2026, 3, 4), QTime(23, 59, 30)}, "Zephyr", 452500, 60);
        Add("Old", "bob", {QDate(2026, 2, 20), QTime(8, 0)}, "Apollo", 50000, 5);
    }
    void TearDown() override {
        QLocale::setDefault(QLocale::c());
        EngineTest::TearDown();
    }
    // Cost in units of a ten-thousandth.
    void Add(const QString& subject, const char* by, const QDateTime& when, const char* project, qint64 cost,
             int minutes) {
        Exec(QStringLiteral("INSERT INTO tReportedAppointments (Subject, ReportedBy, ReportedDate, EndDate, "
                            "ProjectValue, TotalCost, Duration, Approved) VALUES (?, ?, ?, ?, ?, ?, ?, 0)"),
             {subject, QString::fromLatin1(by), when, when.addSecs(minutes * 60),
              QString::fromLatin1(project), QVariant::fromValue(Money::fromUnits(cost)), minutes});
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
        SqlText sql = GetReportSQL(in);
        sql.Replace(u"TABLENAME", u"tReportedAppointments");
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
    const ReportRun run = RunReport(CurrentConnection(), def);
    ASSERT_TRUE(run.ok) << run.failure.description.toStdString();
    const QString html = ReportSectionHtml(def, run, header, DateText);
    EXPECT_EQ(run.rowCount, 3);
    // Heading, the rows in date order with numbers to the right, and the summary row last.
    EXPECT_TRUE(html.contains(
        QStringLiteral("Reported TimeSheets : This Week[3/1/2026 to 3/7/2026] - <b> 3 items</b>")));
    EXPECT_TRUE(html.contains(QStringLiteral("<b>Subject</b>")));
    EXPECT_TRUE(
        html.contains(QStringLiteral("<tr><td align=\"left\">Design review</td><td align=\"left\">ann</td>"
                                     "<td align=\"right\">120.5</td><td align=\"right\">90</td></tr>")));
    EXPECT_LT(html.indexOf(QStringLiteral(">Standup<")), html.indexOf(QStringLiteral(">Client call<")));
    EXPECT_TRUE(
        html.endsWith(QStringLiteral("<td align=\"right\"><b>175.75</b></td><td align=\"right\">"
                                     "<b>165</b></td></tr></table></td></tr></table>")));
    EXPECT_EQ(html.count(QStringLiteral("<tr>")), 6);  // frame, heading, 3 rows, summary
    // The chart groups cost and minutes by project.
    ASSERT_EQ(run.chart.groups.size(), 2u);
    EXPECT_EQ(run.chart.groups[0].name, QStringLiteral("Apollo"));
    EXPECT_DOUBLE_EQ(run.chart.groups[0].cost, 130.5);
    EXPECT_DOUBLE_EQ(run.chart.groups[0].minutes, 105);
}

TEST_P(ReportOutput, EmptyDayQuirksAndFailures) {
    const ReportDefinition lastYear = Def(QStringLiteral("Last Year"), kFields);
    const ReportRun none = RunReport(CurrentConnection(), lastYear);
    ASSERT_TRUE(none.ok);
    const QString noneHtml = ReportSectionHtml(lastYear, none, QStringLiteral("H"), DateText);
    EXPECT_TRUE(noneHtml.contains(QStringLiteral("H - <b> No items</b>")));
    EXPECT_FALSE(noneHtml.contains(QStringLiteral("<table border=\"1\"")));
    // The file form's day ends at 23:59:00, so the call at 23:59:30 stays out there only.
    const ReportRun today = RunReport(CurrentConnection(), Def(QStringLiteral("Today"), kFields));
    ASSERT_TRUE(today.ok);
    EXPECT_EQ(today.rowCount, IsSqlite() ? 1 : 2);
    // Without a header there is no heading row; one row still says "items", and a field without a
    // number still gets its bold summary cell.
    const ReportDefinition zephyr =
        Def(QStringLiteral("This Week"), {QStringLiteral("Subject")}, 1, QStringLiteral("Zephyr"));
    const ReportRun filtered = RunReport(CurrentConnection(), zephyr);
    ASSERT_TRUE(filtered.ok);
    const QString filteredHtml = ReportSectionHtml(zephyr, filtered, QString(), DateText);
    EXPECT_TRUE(filteredHtml.contains(QStringLiteral(" - <b> 1 items</b>")));
    EXPECT_TRUE(filteredHtml.contains(QStringLiteral(
        "<tr><td align=\"left\">Client call</td></tr><tr><td align=\"right\"><b></b></td></tr>")));
    EXPECT_EQ(filteredHtml.count(QStringLiteral("<tr>")), 3);  // no heading row without a header
    // Under a project filter the chart goes by member.
    ASSERT_EQ(filtered.chart.groups.size(), 1u);
    EXPECT_EQ(filtered.chart.groups[0].name, QStringLiteral("ann"));
    // An apostrophe in the chosen name breaks the statement, and the run says so.
    const ReportRun broken = RunReport(
        CurrentConnection(), Def(QStringLiteral("This Week"), kFields, 1, QStringLiteral("O'Brien")));
    EXPECT_FALSE(broken.ok);
    EXPECT_TRUE(broken.failure.isSet());
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

TEST_P(ReportOutput, XmlAndXlsxExports) {
    const ReportDefinition def = Def(QStringLiteral("This Week"), kFields);
    const QString xml = dir + QStringLiteral("/week.xml");
    ASSERT_TRUE(ExportReport(CurrentConnection(), def, ExportFormat::Xml, xml, false, DateText).ok);
    // One sheet per row and one for the summary, named after the headings.
    const QString doc =
        QString::fromUtf8(ReadAll(xml)).simplified().replace(QStringLiteral("> <"), QStringLiteral("><"));
    EXPECT_TRUE(doc.contains(
        QStringLiteral("<Reports><TimeSheet><Subject>Design review</Subject><ReportedBy>ann</ReportedBy>"
                       "<TotalCost>120.5</TotalCost><Duration>90</Duration></TimeSheet>")))
        << doc.toStdString();
    EXPECT_TRUE(doc.endsWith(
        QStringLiteral("<TimeSheet><Subject></Subject><ReportedBy></ReportedBy><TotalCost>175.75</TotalCost>"
                       "<Duration>165</Duration></TimeSheet></Reports>")))
        << doc.toStdString();
    EXPECT_EQ(doc.count(QStringLiteral("<TimeSheet>")), 4);

    const QString path = dir + QStringLiteral("/week.xlsx");
    ASSERT_TRUE(ExportReport(CurrentConnection(), def, ExportFormat::Excel, path, false, DateText).ok);
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
        Add(QStringLiteral("Bulk %1").arg(i), "cara", {QDate(2026, 3, 3), QTime(8, 0)}, "Bulk", 10000, 1);
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
    QFile k(kept);
    ASSERT_TRUE(k.open(QIODevice::WriteOnly) && k.write("before\r\n") == 8);
    k.close();
    EXPECT_TRUE(
        ExportReport(CurrentConnection(), def, ExportFormat::Text, kept, true, DateText, stop).cancelled);
    EXPECT_EQ(ReadAll(kept), QByteArray("before\r\n"));
    // A query that fails writes nothing either.
    ReportDefinition bad = def;
    bad.sql = SqlText(u"Select * from tNoSuchTable");
    EXPECT_FALSE(ExportReport(CurrentConnection(), bad, ExportFormat::Text,
                              folder + QStringLiteral("/bad.txt"), false, DateText)
                     .ok);
    EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("kept.txt")});
    // The page run stops as well.
    EXPECT_TRUE(RunReport(CurrentConnection(), def, stop).cancelled);
    // Without a stop every row is kept. A part of the page shows its rows under the whole count,
    // with the totals over all of them; the whole page shows every row.
    const ReportRun all = RunReport(CurrentConnection(), def);
    EXPECT_EQ(all.rowCount, 1503);
    struct Part {
        qint64 first, count, rows;
    };
    for (const Part& p : {Part{0, 10, 10}, Part{1500, 10, 3}, Part{0, -1, 1503}, Part{1503, 10, 0}}) {
        const QString html = ReportSectionHtml(def, all, QString(), DateText, p.first, p.count);
        EXPECT_EQ(html.count(QStringLiteral("<tr>")), 1 + p.rows + 1) << p.first;  // frame, rows, summary
        EXPECT_TRUE(html.contains(QStringLiteral(" - <b> 1503 items</b>"))) << p.first;
        EXPECT_TRUE(html.contains(QStringLiteral("<b>1,675.75</b>"))) << html.right(300).toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(Engines, ReportOutput, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

TEST(ReportExport, EnsureExtensionKeepsAllButATrailingDot) {
    const char* const cases[][3] = {{"/tmp/a.txt", "xls", "/tmp/a.txt"},
                                    {"/tmp/report", "xls", "/tmp/report"},
                                    {"/tmp/report.", "htm", "/tmp/report..htm"},
                                    {"   ", "xml", ""}};
    for (const auto& c : cases)
        EXPECT_EQ(EnsureExtension(QString::fromLatin1(c[0]), QString::fromLatin1(c[1])),
                  QString::fromLatin1(c[2]))
            << c[0];
    EXPECT_EQ(XmlElementName(QStringLiteral("3 Rate/h")), QStringLiteral("_3Rate_h"));
}

}  // namespace
}  // namespace tlm
