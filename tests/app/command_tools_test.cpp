// The command-line tools against a real database: the report files match the reports window's exports
// for the same choices, the review tool lists and approves as the review window does, the demo fills
// once, and every refusal ends with its exit code and leaves no file.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QDateEdit>
#include <QDir>
#include <QFile>
#include <QListWidget>
#include <QLocale>
#include <QProcess>
#include <QSettings>

#include "app/command_tools.h"
#include "app/demo_data.h"
#include "core/process_state.h"
#include "core/startup.h"
#include "database/db_fixture.h"
#include "desktop/gui_dialogs.h"
#include "desktop/ui_settings.h"
#include "reported/sample_data.h"
#include "reports/reports_form.h"
#include "settings/global_settings.h"
#include "support/test_env.h"

namespace tlm {
namespace {

struct ToolRun {
    int code = -1;
    QByteArray out, err;
};

// Runs the built program with this process's settings folder, so it finds the test's database.
ToolRun Tool(const QStringList& args, const QProcessEnvironment& extra = {}, bool withoutDisplay = true) {
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    if (withoutDisplay) {
        env.remove(QStringLiteral("DISPLAY"));
        env.remove(QStringLiteral("WAYLAND_DISPLAY"));
        env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    }
    for (const QString& key : extra.keys())
        env.insert(key, extra.value(key));
    p.setProcessEnvironment(env);
    p.start(test::BuiltProgram(QStringLiteral("tlm-manager")), args);
    ToolRun r;
    if (!p.waitForFinished(120000)) {
        p.kill();
        p.waitForFinished();
        return r;
    }
    r.code = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    r.out = p.readAllStandardOutput();
    r.err = p.readAllStandardError();
    return r;
}

QByteArray Bytes(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// The cells of every sheet as text lines, read by an independent reader.
QString SheetCells(const QString& path) {
    QProcess p;
    p.start(QStringLiteral("/usr/bin/python3"),  // the Debian python that python3-openpyxl serves
            {QStringLiteral("-c"),
             QStringLiteral("import openpyxl,sys\n"
                            "wb=openpyxl.load_workbook(sys.argv[1])\n"
                            "for ws in wb.worksheets:\n"
                            "  for row in ws.iter_rows(values_only=True):\n"
                            "    print('\\t'.join('' if v is None else str(v) for v in row))\n"),
             path});
    p.waitForFinished(60000);
    return p.exitCode() == 0 ? QString::fromUtf8(p.readAllStandardOutput()) : QString();
}

// The text of a PDF without the "Time :" line, read by pdftotext.
QString PdfText(const QString& path) {
    QProcess p;
    p.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), path, QStringLiteral("-")});
    p.waitForFinished(60000);
    QStringList lines = QString::fromUtf8(p.readAllStandardOutput()).split(u'\n');
    lines.removeIf([](const QString& l) { return l.contains(QStringLiteral("Time :")); });
    return lines.join(u'\n');
}

class CommandTools : public test::EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        if (IsSkipped())
            return;
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        OpenFreshDatabase();
        SampleSpec plan;
        plan.reportedItems = 400;
        plan.firstDay = QDate(2026, 1, 1);
        plan.days = 90;
        Failure failure;
        ASSERT_TRUE(FillSampleData(*CurrentConnection(), plan, &counts, &failure))
            << failure.description.toStdString();
        // The tools find this database through the settings file of the process.
        settings.SaveSettings();
        bool ok = false;
        db.LoadGlobalSettings(false, ok);
        ASSERT_TRUE(ok) << AllShownText().toStdString();
        SetDBSettings(&db);
        Process().blnManagerProcess = true;
        DialogScript::clear();
    }
    void TearDown() override {
        SetDBSettings(nullptr);
        DialogScript::clear();
        QLocale::setDefault(QLocale::c());
        EngineTest::TearDown();
    }
    static void Tick(frmReports& f, const QString& name) {
        const auto items = f.fieldList()->findItems(name, Qt::MatchExactly);
        ASSERT_EQ(items.size(), 1) << name.toStdString();
        items[0]->setCheckState(Qt::Checked);
    }
    QString FirstProject() const { return db.Projects.Items.begin()->item.ProjectName; }

    cDBSettings db;
    SampleCounts counts;
};

TEST_P(CommandTools, ReportFilesEqualTheWindowsExports) {
    const QString project = FirstProject();
    const QString folder = test::NewTempDir(QStringLiteral("exports"));
    {
        cUISettings ui;
        frmReports form(ui);
        form.subSetCaption();
        form.typesCombo()->setCurrentIndex(0);
        Tick(form, QStringLiteral("Subject"));
        Tick(form, QStringLiteral("Actual Work"));
        Tick(form, QStringLiteral("Total Cost"));
        Tick(form, QStringLiteral("Due Date"));
        Tick(form, QStringLiteral("Reported By"));
        form.periodCombo()->setCurrentText(QStringLiteral("Date Range.."));
        form.startPicker()->setDate(QDate(2026, 1, 10));
        form.endPicker()->setDate(QDate(2026, 2, 20));
        form.filterCombo()->setCurrentIndex(1);
        form.listCombo()->setCurrentText(project);
        form.cmdShow_Click();
        ASSERT_TRUE(form.hasReport()) << AllShownText().toStdString();
        ASSERT_GT(form.reportRows(), 0);
        const QList<std::pair<int, QString>> exports = {{0, QStringLiteral("/screen.xlsx")},
                                                        {1, QStringLiteral("/screen.txt")},
                                                        {2, QStringLiteral("/screen.xml")},
                                                        {3, QStringLiteral("/screen.htm")}};
        for (const auto& [index, name] : exports) {
            DialogScript::queueFileName(folder + name);
            form.mnuExportDoc_Click(index);
        }
        DialogScript::queueFileName(folder + QStringLiteral("/screen.pdf"));
        ASSERT_TRUE(form.SaveAsPdf());
        form.Exit();  // stores the ticks, the type and the period for the next start
    }
    // The same choices on the command line, the fields given in another order and letter case.
    const QStringList choices = {
        QStringLiteral("--type"),    QStringLiteral("tasks"),
        QStringLiteral("--from"),    QStringLiteral("2026-01-10"),
        QStringLiteral("--to"),      QStringLiteral("2026-02-20"),
        QStringLiteral("--project"), project.toUpper(),
        QStringLiteral("--fields"),  QStringLiteral("reported by,Total Cost,Subject,Due Date,Actual Work")};
    for (const QString& ext : {QStringLiteral("txt"), QStringLiteral("xml"), QStringLiteral("htm")}) {
        const QString out = folder + QStringLiteral("/tool.") + ext;
        const ToolRun r =
            Tool(QStringList{QStringLiteral("report")} + choices + QStringList{QStringLiteral("--out"), out});
        ASSERT_EQ(r.code, kExitNormal) << r.err.toStdString();
        const QByteArray screen = Bytes(folder + QStringLiteral("/screen.") + ext);
        ASSERT_FALSE(screen.isEmpty()) << ext.toStdString();
        EXPECT_EQ(Bytes(out), screen) << ext.toStdString();
    }
    // Standard output carries the same bytes.
    const ToolRun piped = Tool(QStringList{QStringLiteral("report")} + choices +
                               QStringList{QStringLiteral("--format"), QStringLiteral("txt"),
                                           QStringLiteral("--out"), QStringLiteral("-")});
    ASSERT_EQ(piped.code, kExitNormal) << piped.err.toStdString();
    EXPECT_EQ(piped.out, Bytes(folder + QStringLiteral("/screen.txt")));
    EXPECT_TRUE(piped.err.isEmpty()) << "no progress line when standard error is no terminal";

    const QString xlsx = folder + QStringLiteral("/tool.xlsx");
    const ToolRun wb =
        Tool(QStringList{QStringLiteral("report")} + choices + QStringList{QStringLiteral("--out"), xlsx});
    ASSERT_EQ(wb.code, kExitNormal) << wb.err.toStdString();
    const QString screenCells = SheetCells(folder + QStringLiteral("/screen.xlsx"));
    ASSERT_FALSE(screenCells.isEmpty()) << "python3-openpyxl could not read the workbook";
    EXPECT_EQ(SheetCells(xlsx), screenCells);

    // Without choices the tool takes what the window stored: tasks, the ticked fields, the period.
    const QString stored = folder + QStringLiteral("/stored.txt");
    const ToolRun again =
        Tool({QStringLiteral("report"), QStringLiteral("--from"), QStringLiteral("2026-01-10"),
              QStringLiteral("--to"), QStringLiteral("2026-02-20"), QStringLiteral("--project"), project,
              QStringLiteral("--out"), stored});
    ASSERT_EQ(again.code, kExitNormal) << again.err.toStdString();
    EXPECT_EQ(Bytes(stored), Bytes(folder + QStringLiteral("/screen.txt")));

    // A PDF without a display: the offscreen platform is the tool's own choice.
    const QString pdf = folder + QStringLiteral("/tool.pdf");
    const ToolRun p =
        Tool(QStringList{QStringLiteral("report")} + choices + QStringList{QStringLiteral("--out"), pdf});
    ASSERT_EQ(p.code, kExitNormal) << p.err.toStdString();
    const QByteArray pdfBytes = Bytes(pdf);
    EXPECT_TRUE(pdfBytes.startsWith("%PDF"));
    EXPECT_TRUE(pdfBytes.contains("/Subtype /Image")) << "the chart is missing";
    // The same text as the window's PDF, but for the moment it was made.
    EXPECT_EQ(PdfText(pdf), PdfText(folder + QStringLiteral("/screen.pdf")));
    EXPECT_TRUE(PdfText(pdf).contains(QStringLiteral("Reported TimeSheets")));
}

TEST_P(CommandTools, RefusalsEndWithTheirCodeAndLeaveNoFile) {
    const QString folder = test::NewTempDir(QStringLiteral("refused"));
    const QString out = folder + QStringLiteral("/r.txt");
    const auto report = [&](QStringList args) {
        return Tool(QStringList{QStringLiteral("report")} + args + QStringList{QStringLiteral("--out"), out});
    };
    struct Case {
        QStringList args;
        int code;
        QByteArray says;
    };
    const QList<Case> cases = {
        {{QStringLiteral("--fields"), QStringLiteral("Subject,Colour")},
         kExitUsage,
         "unknown field \"Colour\""},
        {{QStringLiteral("--fields"), QStringLiteral("ID")}, kExitUsage, "no fields chosen"},
        {{QStringLiteral("--type"), QStringLiteral("notes")}, kExitUsage, "--type"},
        {{QStringLiteral("--period"), QStringLiteral("Next Week")}, kExitUsage, "unknown period"},
        {{QStringLiteral("--from"), QStringLiteral("2026-13-01")}, kExitUsage, "--from"},
        {{QStringLiteral("--member"), QStringLiteral("nobody here")}, kExitUsage, "no member named"},
        {{QStringLiteral("--fields"), QStringLiteral("Subject"), QStringLiteral("--format"),
          QStringLiteral("doc")},
         kExitUsage,
         "--format"},
        {{QStringLiteral("--bogus")}, kExitUsage, "unknown option"},
        // Nothing in that year: nothing to export.
        {{QStringLiteral("--fields"), QStringLiteral("Subject"), QStringLiteral("--from"),
          QStringLiteral("2001-01-01"), QStringLiteral("--to"), QStringLiteral("2001-12-31")},
         kExitNothingToDo,
         "There is no data to be exported!"},
    };
    for (const Case& c : cases) {
        const ToolRun r = report(c.args);
        EXPECT_EQ(r.code, c.code) << c.args.join(' ').toStdString() << ": " << r.err.toStdString();
        EXPECT_TRUE(r.err.contains(c.says)) << r.err.toStdString();
        EXPECT_FALSE(QFile::exists(out)) << c.args.join(' ').toStdString();
    }
    EXPECT_EQ(Tool({QStringLiteral("report"), QStringLiteral("--fields"), QStringLiteral("Subject")}).code,
              kExitUsage);  // no --out
    EXPECT_EQ(Tool({QStringLiteral("report"), QStringLiteral("--out"), QStringLiteral("-"),
                    QStringLiteral("--format"), QStringLiteral("xlsx")})
                  .code,
              kExitUsage);

    // A folder that does not exist, and a target that is a folder: a write failure, nothing left.
    for (const QString& target :
         {folder + QStringLiteral("/missing/r.txt"), folder + QStringLiteral("/dir.xlsx")}) {
        QDir().mkpath(folder + QStringLiteral("/dir.xlsx"));
        const ToolRun r =
            Tool(QStringList{QStringLiteral("report"), QStringLiteral("--from"), QStringLiteral("2026-01-01"),
                             QStringLiteral("--to"), QStringLiteral("2026-12-31"), QStringLiteral("--fields"),
                             QStringLiteral("Subject"), QStringLiteral("--out"), target});
        EXPECT_EQ(r.code, kExitWriteFailed) << target.toStdString() << ": " << r.err.toStdString();
        EXPECT_TRUE(r.err.contains("could not be written")) << r.err.toStdString();
    }
    EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden), QStringList{})
        << "a temporary file was left";

    // No database configured: a fresh settings folder.
    QProcessEnvironment bare;
    bare.insert(QStringLiteral("XDG_CONFIG_HOME"), test::NewTempDir(QStringLiteral("bare")));
    const ToolRun none = Tool({QStringLiteral("report"), QStringLiteral("--fields"),
                               QStringLiteral("Subject"), QStringLiteral("--out"), out},
                              bare);
    EXPECT_EQ(none.code, kExitNoDatabase);
    EXPECT_TRUE(none.err.contains("not configured")) << none.err.toStdString();
    EXPECT_FALSE(QFile::exists(out));

    // A server that does not answer: said so, and the password is never shown.
    test::FreshLocalSettings();
    cMySettings server;
    server.DBChoice = 1;
    server.DBConnectionString = QStringLiteral(
        "Provider=PostgreSQL;Data Source=127.0.0.1,1;Initial Catalog=tlm;User ID=u;Password=s3cretPW");
    server.SaveSettings();
    const ToolRun unreachable = Tool({QStringLiteral("review"), QStringLiteral("--list")});
    EXPECT_EQ(unreachable.code, kExitNoDatabase);
    EXPECT_TRUE(unreachable.err.contains("could not be reached")) << unreachable.err.toStdString();
    EXPECT_FALSE(unreachable.err.contains("s3cretPW")) << unreachable.err.toStdString();
    EXPECT_TRUE(unreachable.out.isEmpty());
}

TEST_P(CommandTools, ReviewListsAndApprovesAsTheWindow) {
    const ToolRun list = Tool({QStringLiteral("review"), QStringLiteral("--list")});
    ASSERT_EQ(list.code, kExitNormal) << list.err.toStdString();
    QStringList lines = QString::fromUtf8(list.out).split(u'\n', Qt::SkipEmptyParts);
    ASSERT_FALSE(lines.isEmpty());
    EXPECT_TRUE(lines.takeFirst().startsWith(QStringLiteral("Type\tID\tSubject\t")));
    const int unapproved =
        Count(QStringLiteral("tReportedTasks")) + Count(QStringLiteral("tReportedAppointments")) -
        int(Open(QStringLiteral("SELECT ID FROM tReportedTasks WHERE Approved <> 0"))->RecordCount()) -
        int(Open(QStringLiteral("SELECT ID FROM tReportedAppointments WHERE Approved <> 0"))->RecordCount());
    ASSERT_EQ(lines.size(), unapproved);
    for (const QString& line : lines)
        ASSERT_EQ(line.count(u'\t'), 7) << line.toStdString();

    QString taskId;
    for (const QString& line : lines)
        if (line.startsWith(QStringLiteral("task\t"))) {
            taskId = line.section(u'\t', 1, 1);
            break;
        }
    ASSERT_FALSE(taskId.isEmpty());
    const ToolRun approve = Tool({QStringLiteral("review"), QStringLiteral("--approve"), taskId,
                                  QStringLiteral("--type"), QStringLiteral("task")});
    ASSERT_EQ(approve.code, kExitNormal) << approve.err.toStdString();
    EXPECT_EQ(Open(QStringLiteral("SELECT Approved FROM tReportedTasks WHERE ID = ") + taskId)
                  ->Fields(0)
                  .Value()
                  .toInt(),
              1);
    // Once approved it has left the queue.
    const ToolRun twice = Tool({QStringLiteral("review"), QStringLiteral("--approve"), taskId,
                                QStringLiteral("--type"), QStringLiteral("task")});
    EXPECT_EQ(twice.code, kExitNothingToDo);
    const ToolRun after = Tool({QStringLiteral("review"), QStringLiteral("--list"), QStringLiteral("--type"),
                                QStringLiteral("tasks")});
    EXPECT_FALSE(after.out.contains(("task\t" + taskId + "\t").toUtf8()));
    EXPECT_EQ(Tool({QStringLiteral("review"), QStringLiteral("--approve"), QStringLiteral("1 or 1=1"),
                    QStringLiteral("--type"), QStringLiteral("task")})
                  .code,
              kExitUsage);
    EXPECT_EQ(Tool({QStringLiteral("review"), QStringLiteral("--approve"), taskId}).code, kExitUsage);
}

INSTANTIATE_TEST_SUITE_P(Engines, CommandTools, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

class DemoOffer : public test::EngineTest {};

// After the first run created a database, make run's question fills it and the lists are reloaded.
TEST_P(DemoOffer, TheFirstRunOffersTheDemoDataOnlyWhenAsked) {
    OpenFreshDatabase();
    ASSERT_TRUE(Process().blnNewDatabase);
    cDBSettings global;
    SetDBSettings(&global);
    qunsetenv("TLM_OFFER_DEMO");
    OfferDemoData(global);
    EXPECT_TRUE(PromptTexts().isEmpty());  // not under make run: no question
    qputenv("TLM_OFFER_DEMO", "1");
    prompter.queue(PromptAnswer::No);
    OfferDemoData(global);
    EXPECT_EQ(PromptTexts().size(), 1);
    EXPECT_EQ(Count(QStringLiteral("tProjects")), 0);
    prompter.queue(PromptAnswer::Yes);
    OfferDemoData(global);
    EXPECT_EQ(Count(QStringLiteral("tProjects")), 12);
    EXPECT_EQ(global.Projects.Items.Count(), 12) << "the lists were not loaded again";
    EXPECT_GT(Count(QStringLiteral("tReportedTasks")), 0);
    // A second fill adds nothing.
    const DemoOutcome again = FillDemoData(*CurrentConnection(), DemoSpec(QDate(2026, 11, 24)));
    EXPECT_TRUE(again.ok && again.alreadyFilled);
    EXPECT_EQ(Count(QStringLiteral("tProjects")), 12);
    qunsetenv("TLM_OFFER_DEMO");
    SetDBSettings(nullptr);
}

INSTANTIATE_TEST_SUITE_P(Engines, DemoOffer, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

TEST(CommandToolsDemo, FillsOnceAndCreatesTheDatabaseWhereMakeRunWould) {
    const QString home = test::NewTempDir(QStringLiteral("demo"));
    QProcessEnvironment env;
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    QDir().mkpath(home + QStringLiteral("/data"));
    env.insert(QStringLiteral("TLM_DEFAULT_DATA_DIR"), home + QStringLiteral("/data"));
    const ToolRun first = Tool({QStringLiteral("demo")}, env);
    ASSERT_EQ(first.code, kExitNormal) << first.err.toStdString();
    EXPECT_TRUE(first.out.contains("Added 12 projects")) << first.out.toStdString();
    EXPECT_TRUE(QFile::exists(home + QStringLiteral("/data/Tallyloom.db")));
    const ToolRun second = Tool({QStringLiteral("demo")}, env);
    ASSERT_EQ(second.code, kExitNormal) << second.err.toStdString();
    EXPECT_TRUE(second.out.contains("nothing was added")) << second.out.toStdString();
    // The list shows the same rows after the second run: nothing doubled.
    const ToolRun list = Tool({QStringLiteral("review"), QStringLiteral("--list")}, env);
    ASSERT_EQ(list.code, kExitNormal) << list.err.toStdString();
    const qsizetype rows = list.out.count('\n') - 1;
    EXPECT_GT(rows, 1000);
    EXPECT_EQ(Tool({QStringLiteral("demo")}, env).code, kExitNormal);
    EXPECT_EQ(Tool({QStringLiteral("review"), QStringLiteral("--list")}, env).out.count('\n') - 1, rows);
    // Without a configured database or a default folder the demo refuses.
    QProcessEnvironment bare;
    bare.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/other"));
    bare.insert(QStringLiteral("TLM_DEFAULT_DATA_DIR"), QString());
    EXPECT_EQ(Tool({QStringLiteral("demo")}, bare).code, kExitNoDatabase);
}

TEST(CommandToolsParse, SubCommandsAreSeparateFromTheSectionNumber) {
    EXPECT_EQ(ParseCommandLine({QStringLiteral("report"), QStringLiteral("--out"), QStringLiteral("x")}).kind,
              CommandLine::Tool);
    EXPECT_EQ(ParseCommandLine({QStringLiteral("review")}).kind, CommandLine::Tool);
    // Only the first word names a tool; anything else keeps the silent end.
    EXPECT_EQ(ParseCommandLine({QStringLiteral("3"), QStringLiteral("report")}).kind, CommandLine::Silent);
    EXPECT_EQ(ParseCommandLine({QStringLiteral("Report")}).kind, CommandLine::Silent);
    EXPECT_EQ(ParseCommandLine({QStringLiteral("report ")}).kind, CommandLine::Silent);

    ReportOptions o;
    QString error;
    ASSERT_TRUE(ParseReportOptions(
        {QStringLiteral("--out=a.HTM"), QStringLiteral("--fields"), QStringLiteral(" A, ,B ")}, &o, &error))
        << error.toStdString();
    EXPECT_EQ(o.format, QStringLiteral("html"));  // from the extension
    EXPECT_EQ(o.fields.value(), (QStringList{QStringLiteral("A"), QStringLiteral("B")}));
    const QList<QStringList> refused = {
        {QStringLiteral("--out")},
        {QStringLiteral("--out"), QStringLiteral("a.txt"), QStringLiteral("--project"), QStringLiteral("p"),
         QStringLiteral("--member"), QStringLiteral("m")},
        {QStringLiteral("--out"), QStringLiteral("a.txt"), QStringLiteral("--period"),
         QStringLiteral("Today"), QStringLiteral("--from"), QStringLiteral("2026-1-1")},
        {QStringLiteral("--out"), QStringLiteral("a.txt"), QStringLiteral("--from"),
         QStringLiteral("2026-2-1"), QStringLiteral("--to"), QStringLiteral("2026-1-1")},
        {QStringLiteral("--out"), QStringLiteral("a.xml"), QStringLiteral("--append")},
        {QStringLiteral("--out"), QStringLiteral("-"), QStringLiteral("--format"), QStringLiteral("pdf")},
        {QStringLiteral("--out"), QStringLiteral("noextension")},
        {QStringLiteral("--out"), QStringLiteral("a.txt"), QStringLiteral("--fields"), QStringLiteral(",")},
    };
    for (const QStringList& args : refused) {
        ReportOptions r;
        EXPECT_FALSE(ParseReportOptions(args, &r, &error)) << args.join(' ').toStdString();
    }

    ReviewOptionsLine v;
    EXPECT_TRUE(ParseReviewOptions({QStringLiteral("--list")}, &v, &error));
    EXPECT_EQ(v.type, QStringLiteral("both"));
    for (const QStringList& args :
         QList<QStringList>{{},
                            {QStringLiteral("--list"), QStringLiteral("--approve"), QStringLiteral("3")},
                            {QStringLiteral("--approve"), QStringLiteral("3;DELETE"),
                             QStringLiteral("--type"), QStringLiteral("task")},
                            {QStringLiteral("--approve"), QStringLiteral("-3"), QStringLiteral("--type"),
                             QStringLiteral("task")},
                            {QStringLiteral("--approve"), QStringLiteral("3"), QStringLiteral("--type"),
                             QStringLiteral("tasks")},
                            {QStringLiteral("--list"), QStringLiteral("--type"), QStringLiteral("task")}}) {
        ReviewOptionsLine r;
        EXPECT_FALSE(ParseReviewOptions(args, &r, &error)) << args.join(' ').toStdString();
    }
}

}  // namespace
}  // namespace tlm
