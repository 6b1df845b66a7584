// The command-line tools against a real database: the report files match the reports window's exports
// for the same choices, the review tool lists and approves as the review window does, the demo fills
// once, and every refusal ends with its exit code and leaves no file.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QDateEdit>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QListWidget>
#include <QLocale>
#include <QProcess>
#include <QPushButton>
#include <QUuid>

#include "app/command_tools.h"
#include "core/process_state.h"
#include "core/startup.h"
#include "database/db_fixture.h"
#include "desktop/dialogs.h"
#include "desktop/grid_view.h"
#include "desktop/ui_settings.h"
#include "mail/mail_message.h"
#include "mail/mail_profile.h"
#include "mail/outbox.h"
#include "reported/sample_data.h"
#include "reports/reports_form.h"
#include "review/review_form.h"
#include "review/review_queue.h"
#include "settings/global_settings.h"
#include "support/mail_sink.h"
#include "support/smtp_sink.h"
#include "support/test_env.h"

namespace tlm {
namespace {

using test::ToolRun;

ToolRun Tool(const QStringList& args, const QProcessEnvironment& extra = {}) {
    return test::RunTool(args, extra);
}

const char* const kExtensions[] = {"xlsx", "txt", "xml", "htm"};

QByteArray Bytes(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
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
        for (const char* field : {"Subject", "Actual Work", "Total Cost", "Due Date", "Reported By"})
            Tick(form, QString::fromLatin1(field));
        form.periodCombo()->setCurrentText(QStringLiteral("Date Range.."));
        form.startPicker()->setDate(QDate(2026, 1, 10));
        form.endPicker()->setDate(QDate(2026, 2, 20));
        form.filterCombo()->setCurrentIndex(1);
        form.listCombo()->setCurrentText(project);
        form.cmdShow_Click();
        ASSERT_TRUE(form.hasReport()) << AllShownText().toStdString();
        ASSERT_GT(form.reportRows(), 0);
        for (int index : {1, 2, 3}) {  // text, XML, HTML
            DialogScript::queueFileName(folder + QStringLiteral("/screen.") + kExtensions[index]);
            form.mnuExportDoc_Click(index);
        }
        form.Exit();  // stores the ticks, the type and the period for the next start
    }
    // The same choices on the command line, the fields given in another order and letter case.
    const QStringList choices =
        QStringLiteral("report --type tasks --from 2026-01-10 --to 2026-02-20 --project").split(u' ') +
        QStringList{project.toUpper(), "--fields", "reported by,Total Cost,Subject,Due Date,Actual Work"};
    for (const QString ext : {"txt", "xml", "htm"}) {
        const QString out = folder + QStringLiteral("/tool.") + ext;
        const ToolRun r = Tool(choices + QStringList{"--out", out});
        ASSERT_EQ(r.code, kExitNormal) << r.err.toStdString();
        const QByteArray screen = Bytes(folder + QStringLiteral("/screen.") + ext);
        ASSERT_FALSE(screen.isEmpty()) << ext.toStdString();
        EXPECT_EQ(Bytes(out), screen) << ext.toStdString();
    }
    // Standard output carries the same bytes.
    const ToolRun piped = Tool(choices + QStringList{"--format", "txt", "--out", "-"});
    EXPECT_EQ(piped.out, Bytes(folder + QStringLiteral("/screen.txt"))) << piped.err.toStdString();
    EXPECT_TRUE(piped.err.isEmpty()) << "no progress line when standard error is no terminal";

    // Without choices the tool takes what the window stored: tasks, the ticked fields, the period.
    const QString stored = folder + QStringLiteral("/stored.txt");
    const ToolRun again =
        Tool({"report", "--from", "2026-01-10", "--to", "2026-02-20", "--project", project, "--out", stored});
    ASSERT_EQ(again.code, kExitNormal) << again.err.toStdString();
    EXPECT_EQ(Bytes(stored), Bytes(folder + QStringLiteral("/screen.txt")));

    // A PDF without a display: the offscreen platform is the tool's own choice.
    const QString pdf = folder + QStringLiteral("/tool.pdf");
    const ToolRun p = Tool(choices + QStringList{"--out", pdf});
    ASSERT_EQ(p.code, kExitNormal) << p.err.toStdString();
    EXPECT_TRUE(Bytes(pdf).startsWith("%PDF"));
    EXPECT_TRUE(Bytes(pdf).contains("/Subtype /Image")) << "the chart is missing";
}

TEST_P(CommandTools, RefusalsEndWithTheirCodeAndLeaveNoFile) {
    const QString folder = test::NewTempDir(QStringLiteral("refused"));
    const QString out = folder + QStringLiteral("/r.txt");
    const struct {
        QStringList args;
        int code;
        QByteArray says;
    } cases[] = {
        {{"--fields", "Subject,Colour"}, kExitUsage, "unknown field \"Colour\""},
        {{"--bogus"}, kExitUsage, "unknown option"},
        // Nothing in that year: nothing to export.
        {{"--fields", "Subject", "--from", "2001-01-01", "--to", "2001-12-31"},
         kExitNothingToDo,
         "There is no data to be exported!"},
    };
    for (const auto& c : cases) {
        const ToolRun r = Tool(QStringList{"report"} + c.args + QStringList{"--out", out});
        EXPECT_EQ(r.code, c.code) << c.args.join(' ').toStdString() << ": " << r.err.toStdString();
        EXPECT_TRUE(r.err.contains(c.says)) << r.err.toStdString();
        EXPECT_FALSE(QFile::exists(out)) << c.args.join(' ').toStdString();
    }

    // A folder that does not exist, and a target that is a folder: a write failure, nothing left.
    QDir().mkpath(folder + QStringLiteral("/dir.xlsx"));
    for (const QString& target :
         {folder + QStringLiteral("/missing/r.txt"), folder + QStringLiteral("/dir.xlsx")}) {
        const ToolRun r = Tool(
            {"report", "--from", "2026-01-01", "--to", "2026-12-31", "--fields", "Subject", "--out", target});
        EXPECT_EQ(r.code, kExitWriteFailed) << target.toStdString() << ": " << r.err.toStdString();
        EXPECT_TRUE(r.err.contains("could not be written")) << r.err.toStdString();
    }
    EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden), QStringList{})
        << "a temporary file was left";

    // A server that does not answer: said so, and the password is never shown.
    test::FreshLocalSettings();
    cMySettings server;
    server.DBChoice = 1;
    server.DBConnectionString = QStringLiteral(
        "Provider=PostgreSQL;Data Source=127.0.0.1,1;Initial Catalog=tlm;User ID=u;Password=s3cretPW");
    server.SaveSettings();
    const ToolRun unreachable = Tool({"review", "--list"});
    EXPECT_EQ(unreachable.code, kExitNoDatabase);
    EXPECT_TRUE(unreachable.err.contains("could not be reached")) << unreachable.err.toStdString();
    EXPECT_FALSE(unreachable.err.contains("s3cretPW")) << unreachable.err.toStdString();
    EXPECT_TRUE(unreachable.out.isEmpty());
}

TEST_P(CommandTools, ReviewListsAndApprovesAsTheWindow) {
    const ToolRun list = Tool({"review", "--list"});
    ASSERT_EQ(list.code, kExitNormal) << list.err.toStdString();
    QStringList lines = list.out.split(u'\n', Qt::SkipEmptyParts);
    ASSERT_FALSE(lines.isEmpty());
    EXPECT_TRUE(lines.takeFirst().startsWith(QStringLiteral("Type\tID\tSubject\t")));
    const auto approved = [this](const char* table) {
        return int(Open(QStringLiteral("SELECT ID FROM %1 WHERE Approved <> 0").arg(table))->RecordCount());
    };
    ASSERT_EQ(lines.size(), Count(QStringLiteral("tReportedTasks")) +
                                Count(QStringLiteral("tReportedAppointments")) - approved("tReportedTasks") -
                                approved("tReportedAppointments"));
    QString taskId;
    for (const QString& line : lines) {
        ASSERT_EQ(line.count(u'\t'), 7) << line.toStdString();
        if (taskId.isEmpty() && line.startsWith(QStringLiteral("task\t")))
            taskId = line.section(u'\t', 1, 1);
    }
    ASSERT_FALSE(taskId.isEmpty());
    const QStringList approve = {"review", "--approve", taskId, "--type", "task"};
    const ToolRun first = Tool(approve);
    ASSERT_EQ(first.code, kExitNormal) << first.err.toStdString();
    const auto row = Open(QStringLiteral("SELECT Approved FROM tReportedTasks WHERE ID = ") + taskId);
    EXPECT_EQ(row->Fields(0).Value().toInt(), 1);
    EXPECT_EQ(Tool(approve).code, kExitNothingToDo);  // once approved it has left the queue
    EXPECT_EQ(Tool({"review", "--approve", "1 or 1=1", "--type", "task"}).code, kExitUsage);
    EXPECT_EQ(Tool({"review", "--approve", taskId}).code, kExitUsage);
}

// Several IDs go through the approval one at a time and the first that fails stops the run, saying
// how many were done; a decline takes its reason and does nothing while declining is switched off.
TEST_P(CommandTools, ReviewApprovesAListAndDeclinesWithAReason) {
    QStringList ids;
    for (auto rs = Open(QStringLiteral("SELECT ID FROM tReportedTasks WHERE Approved = 0 ORDER BY ID"));
         !rs->Eof() && ids.size() < 5; rs->MoveNext())
        ids.append(rs->Fields(0).Value().toString());
    ASSERT_EQ(ids.size(), 5);
    const auto setKey = [this](const char* key, const char* value) {
        const QVariantList args{QString::fromLatin1(value), QString::fromLatin1(key)};
        if (Exec(QStringLiteral("UPDATE tGeneralSettings SET KeyVal = ? WHERE KeyID = ?"), args) < 1)
            Exec(QStringLiteral("INSERT INTO tGeneralSettings (KeyVal, KeyID, KeyLocal) VALUES (?, ?, 0)"),
                 args);
    };
    const auto state = [this](const QString& id) {
        auto rs = Open(QStringLiteral("SELECT Approved FROM tReportedTasks WHERE ID = ") + id);
        return rs->Eof()                       ? QStringLiteral("gone")
               : rs->Fields(0).Value().toInt() ? QStringLiteral("approved")
                                               : QStringLiteral("queued");
    };
    const QString unknown = QStringLiteral("999999999");
    const struct {
        const char* what;
        const char* declining;  // tpoAuditRemoveDeclinedDataFromDB before the run
        QStringList args;
        int code;
        int lines;          // printed on standard output, one per item done
        QString err;        // part of the error output
        QStringList after;  // the five rows' states afterwards
    } cases[] = {
        {"two in one run",
         "0",
         {"review", "--approve", ids[0] + u',' + ids[1], "--type", "task"},
         kExitNormal,
         2,
         {},
         {"approved", "approved", "queued", "queued", "queued"}},
        {"stopped at an ID the queue does not hold",
         "0",
         {"review", "--approve", ids[2] + u',' + unknown + u',' + ids[3], "--type", "task"},
         kExitNothingToDo,
         1,
         QStringLiteral("1 of 3 approved; stopped at task ") + unknown,
         {"approved", "approved", "approved", "queued", "queued"}},
        {"an ID that is no number refuses the whole list",
         "0",
         {"review", "--approve", ids[3] + QStringLiteral(",4 or 1=1"), "--type", "task"},
         kExitUsage,
         0,
         QStringLiteral("numeric ID"),
         {"approved", "approved", "approved", "queued", "queued"}},
        {"an empty entry",
         "0",
         {"review", "--approve", ids[3] + u',', "--type", "task"},
         kExitUsage,
         0,
         QStringLiteral("numeric ID"),
         {"approved", "approved", "approved", "queued", "queued"}},
        {"a reason without a decline",
         "1",
         {"review", "--approve", ids[3], "--type", "task", "--reason", "x"},
         kExitUsage,
         0,
         QStringLiteral("--reason goes with --decline"),
         {"approved", "approved", "approved", "queued", "queued"}},
        {"a decline while declining is off",
         "0",
         {"review", "--decline", ids[4], "--type", "task", "--reason", "Wrong project"},
         kExitNothingToDo,
         0,
         QStringLiteral("switched off"),
         {"approved", "approved", "approved", "queued", "queued"}},
        {"a decline with its reason",
         "1",
         {"review", "--decline", ids[4], "--type", "task", "--reason", "Wrong project"},
         kExitNormal,
         1,
         {},
         {"approved", "approved", "approved", "queued", "gone"}},
        {"the same decline again",
         "1",
         {"review", "--decline", ids[4], "--type", "task"},
         kExitNothingToDo,
         0,
         QStringLiteral("no unapproved task with ID ") + ids[4],
         {"approved", "approved", "approved", "queued", "gone"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        setKey("tpoAuditRemoveDeclinedDataFromDB", c.declining);
        const ToolRun run = Tool(c.args);
        EXPECT_EQ(run.code, c.code) << run.err.toStdString();
        EXPECT_EQ(run.out.count(u'\n'), c.lines) << run.out.toStdString();
        EXPECT_TRUE(run.err.contains(c.err)) << run.err.toStdString();
        QStringList now;
        for (const QString& id : ids)
            now.append(state(id));
        EXPECT_EQ(now, c.after);
    }
    EXPECT_TRUE(ReviewUsageText().contains(QStringLiteral("--approve ID[,ID...]")));
    EXPECT_TRUE(ReviewUsageText().contains(QStringLiteral("--decline ID")));
}

// A member's client wrote the project of a reported task; with both review edits on, approving it from
// the command line is refused with the engine's message, and no row of the table changes.
TEST_P(CommandTools, ApprovingARowAMemberWroteTouchesNoOtherRow) {
    for (const char* key : {"tpoAuditEnableProjectActivityEdit", "tpoAuditEnableCostEdit"}) {
        const QVariantList name{QString::fromLatin1(key)};
        if (Exec(QStringLiteral("UPDATE tGeneralSettings SET KeyVal = '1' WHERE KeyID = ?"), name) < 1) {
            ASSERT_EQ(Exec(QStringLiteral(
                               "INSERT INTO tGeneralSettings (KeyID, KeyVal, KeyLocal) VALUES (?, '1', 0)"),
                           name),
                      1);
        }
    }
    ASSERT_EQ(
        Exec(
            QStringLiteral("INSERT INTO tReportedTasks (Subject, ProjectValue, ActivityValue, ReportedBy, "
                           "ReportedDate, Approved, TotalCost) VALUES (?, ?, ?, ?, ?, 0, 5)"),
            {QStringLiteral("Planted"), QStringLiteral("P', ActivityValue = 'Hacked' --"),
             QStringLiteral("Design"), QStringLiteral("mallory"), QDateTime(QDate(2026, 2, 1), QTime(9, 0))}),
        1);
    const QString id =
        Open(QStringLiteral("SELECT MAX(ID) FROM tReportedTasks"))->Fields(0).Value().toString();
    const auto table = [this] {
        QString out;
        auto rs = Open(QStringLiteral(
            "SELECT ID, Approved, ProjectValue, ActivityValue FROM tReportedTasks ORDER BY ID"));
        for (; rs && !rs->Eof(); rs->MoveNext())
            for (int i = 0; i < 4; ++i)
                out += rs->Fields(i).Value().toString() + (i == 3 ? u'\n' : u'|');
        return out;
    };
    const QString before = table();
    const ToolRun run = Tool({"review", "--approve", id, "--type", "task"});
    EXPECT_EQ(run.code, kExitStatementFailed) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(IsSqlite() ? "unrecognized token" : "unterminated quoted string"))
        << run.err.toStdString();
    EXPECT_EQ(table(), before);
}

// `review --approve`, the step it calls and the screen's Approve button change a row the same way and
// touch no other row: with both review edits on, each writes back the values the grid would hold, a
// cost with four decimals included.
TEST_P(CommandTools, ToolStepAndScreenApproveWithTheSameRowChanges) {
    for (const char* key : {"tpoAuditEnableProjectActivityEdit", "tpoAuditEnableCostEdit"}) {
        const QVariantList name{QString::fromLatin1(key)};
        if (Exec(QStringLiteral("UPDATE tGeneralSettings SET KeyVal = '1' WHERE KeyID = ?"), name) < 1) {
            ASSERT_EQ(Exec(QStringLiteral(
                               "INSERT INTO tGeneralSettings (KeyID, KeyVal, KeyLocal) VALUES (?, '1', 0)"),
                           name),
                      1);
        }
    }
    bool loaded = false;
    db.LoadGlobalSettings(false, loaded);
    ASSERT_TRUE(loaded);
    QStringList ids;
    for (auto rs = Open(QStringLiteral("SELECT ID FROM tReportedTasks WHERE Approved = 0 ORDER BY ID"));
         !rs->Eof() && ids.size() < 3; rs->MoveNext())
        ids.append(rs->Fields(0).Value().toString());
    ASSERT_EQ(ids.size(), 3);
    ASSERT_EQ(Exec(QStringLiteral("UPDATE tReportedTasks SET TotalCost = 12.3456 WHERE ID IN (%1)")
                       .arg(ids.join(u','))),
              3);
    const auto table = [this] {
        QMap<QString, QStringList> rows;
        for (auto rs = Open(QStringLiteral("SELECT * FROM tReportedTasks ORDER BY ID")); !rs->Eof();
             rs->MoveNext()) {
            QStringList cells;
            for (int i = 0; i < rs->FieldCount(); ++i)
                cells.append(rs->Fields(i).Name() + u'=' + rs->Fields(i).Value().toString());
            rows.insert(rs->Fields(QStringLiteral("ID")).Value().toString(), cells);
        }
        return rows;
    };
    const QMap<QString, QStringList> before = table();

    const ToolRun tool = Tool({"review", "--approve", ids[0], "--type", "task"});
    ASSERT_EQ(tool.code, kExitNormal) << tool.err.toStdString();
    const QueuedApproval step =
        ApproveQueuedItem(ids[1], QStringLiteral("task"), IsSqlite() ? 0 : 1, ReadReviewOptions(db));
    ASSERT_TRUE(step.outcome.done()) << step.outcome.failure.description.toStdString();
    bool clicked = false;
    SetReviewReportsDriver([&](frmReviewReports& form) {
        form.cboFilter()->setCurrentIndex(0);
        form.cboTypes()->setCurrentIndex(0);
        form.okButton()->click();
        ReviewGrid& grid = *form.grid();
        for (int r = 0; r < grid.rowCount(); ++r) {
            if (grid.text(r, review_col::kID) != ids[2])
                continue;
            prompter.queue(PromptAnswer::Yes);
            emit grid.buttonClicked(r, review_col::kApprove);
            clicked = true;
            break;
        }
    });
    OpenReviewReports(22);
    SetReviewReportsDriver(nullptr);
    ASSERT_TRUE(clicked);
    ASSERT_EQ(PromptTexts().size(), 1) << AllShownText().toStdString();
    EXPECT_TRUE(PromptTexts()[0].startsWith(QStringLiteral("Continue approval for timesheet #") + ids[2]))
        << PromptTexts()[0].toStdString();

    // Each row's changed cells, old and new.
    const QMap<QString, QStringList> after = table();
    ASSERT_EQ(after.keys(), before.keys());
    QMap<QString, QStringList> changes;
    for (auto it = before.cbegin(); it != before.cend(); ++it) {
        const QStringList& now = after[it.key()];
        for (int i = 0; i < it.value().size(); ++i)
            if (now.value(i) != it.value()[i])
                changes[it.key()].append(it.value()[i] + QStringLiteral(" -> ") + now.value(i));
    }
    EXPECT_EQ(changes.keys(), ids) << "no other row changes";
    for (const QString& id : ids)
        EXPECT_EQ(changes[id], QStringList{QStringLiteral("Approved=0 -> Approved=1")}) << id.toStdString();
}

// A preset saved in the screen runs on the command line as the screen runs it; options on the line
// replace the parts of it they name.
TEST_P(CommandTools, ReportPresetFromTheScreenOnTheCommandLine) {
    const QString project = FirstProject();
    const QString folder = test::NewTempDir(QStringLiteral("presets"));
    {
        cUISettings ui;
        frmReports form(ui);
        form.subSetCaption();
        form.typesCombo()->setCurrentIndex(0);
        for (const char* field : {"Subject", "Total Cost", "Reported By"})
            Tick(form, QString::fromLatin1(field));
        form.periodCombo()->setCurrentText(QStringLiteral("Date Range.."));
        form.startPicker()->setDate(QDate(2026, 1, 10));
        form.endPicker()->setDate(QDate(2026, 2, 20));
        form.filterCombo()->setCurrentIndex(1);
        form.listCombo()->setCurrentText(project);
        ASSERT_TRUE(form.SavePreset(QStringLiteral("Client Q1")));
        form.cmdShow_Click();
        ASSERT_GT(form.reportRows(), 0) << AllShownText().toStdString();
        DialogScript::queueFileName(folder + QStringLiteral("/screen.txt"));
        form.mnuExportDoc_Click(1);
        // What the window stores at close differs from the preset, so the tool must take the preset's.
        form.fieldList()->findItems(QStringLiteral("Total Cost"), Qt::MatchExactly)[0]->setCheckState(
            Qt::Unchecked);
        form.periodCombo()->setCurrentText(QStringLiteral("Today"));
        form.Exit();
    }
    const QByteArray screen = Bytes(folder + QStringLiteral("/screen.txt"));
    ASSERT_FALSE(screen.isEmpty());
    const QStringList full =
        QStringLiteral("--type tasks --from 2026-01-10 --to 2026-02-20 --project").split(u' ') +
        QStringList{project, "--fields", "Subject,Total Cost,Reported By"};
    struct Case {
        const char* what;
        QStringList withPreset;  // after "report --preset client q1"
        QStringList same;        // the same report without the preset; empty: the screen's export
    };
    const Case cases[] = {
        {"the preset alone", {}, {}},
        {"another range",
         {"--from", "2026-02-01", "--to", "2026-03-31"},
         {"--type", "tasks", "--from", "2026-02-01", "--to", "2026-03-31", "--project", project, "--fields",
          "Subject,Total Cost,Reported By"}},
        {"other fields",
         {"--fields", "Subject"},
         QStringList(full.mid(0, 8)) + QStringList{"--fields", "Subject"}},
        {"no filter but a member", {"--member", "nobody-at-all"}, {}},
    };
    int n = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const QString out = folder + QStringLiteral("/preset%1.txt").arg(++n);
        const ToolRun r =
            Tool(QStringList{"report", "--preset", "client q1"} + c.withPreset + QStringList{"--out", out});
        if (QString::fromLatin1(c.what).contains(u"member")) {
            // The member replaced the project, and no such member exists.
            EXPECT_EQ(r.code, kExitUsage) << r.err.toStdString();
            EXPECT_TRUE(r.err.contains("no member named \"nobody-at-all\"")) << r.err.toStdString();
            EXPECT_FALSE(QFile::exists(out));
            continue;
        }
        ASSERT_EQ(r.code, kExitNormal) << r.err.toStdString();
        if (c.same.isEmpty()) {
            EXPECT_EQ(Bytes(out), screen);
            continue;
        }
        const QString plain = folder + QStringLiteral("/plain%1.txt").arg(n);
        const ToolRun p = Tool(QStringList{"report"} + c.same + QStringList{"--out", plain});
        ASSERT_EQ(p.code, kExitNormal) << p.err.toStdString();
        EXPECT_EQ(Bytes(out), Bytes(plain));
        EXPECT_NE(Bytes(out), screen);
    }
    const ToolRun unknown =
        Tool({"report", "--preset", "Weekly", "--out", folder + QStringLiteral("/u.txt")});
    EXPECT_EQ(unknown.code, kExitUsage);
    EXPECT_TRUE(unknown.err.contains("no preset named \"Weekly\"; the presets are: Client Q1"))
        << unknown.err.toStdString();
}

// `--mail-to` sends the written file through the outbox: it arrives at the sink with the file attached,
// byte for byte; an address that cannot be a recipient is refused before anything is written.
TEST_P(CommandTools, MailedReportArrivesWithItsAttachment) {
    const std::optional<MailProfile> sink = test::SinkProfile();
    TLM_NEED_SERVER(sink.has_value(), "the SMTP sink: TLM_TEST_SMTP_PORT / TLM_TEST_SMTP_SPOOL");
    ASSERT_TRUE(SaveMailProfile(*sink));
    const QString folder = test::NewTempDir(QStringLiteral("mailed"));
    const QString tag = QUuid::createUuid().toString(QUuid::Id128).left(10);
    const QString boss = QStringLiteral("boss-%1@example.org").arg(tag);
    const QString team = QStringLiteral("team-%1@example.org").arg(tag);
    const QStringList report =
        QStringLiteral("report --type tasks --from 2026-01-01 --to 2026-03-31 --fields").split(u' ') +
        QStringList{QStringLiteral("Subject,Total Cost")};
    for (const QString ext : {"txt", "xlsx"}) {
        SCOPED_TRACE(ext.toStdString());
        const QString out = folder + QStringLiteral("/weekly.") + ext;
        const ToolRun r = Tool(report + QStringList{"--out", out, "--mail-to", boss + u';' + team});
        ASSERT_EQ(r.code, kExitNormal) << r.err.toStdString();
        EXPECT_TRUE(r.out.contains("Mailed weekly." + ext.toLatin1())) << r.out.toStdString();
        const QByteArray file = Bytes(out);
        ASSERT_FALSE(file.isEmpty());
        // The sink's reading of the mail to these recipients with this file.
        QByteArray raw;
        QJsonObject seen;
        for (const QString& f : test::SpoolFiles(test::SmtpSpoolDir())) {
            const QJsonObject o = QJsonDocument::fromJson(test::ReadAll(f)).object();
            const QByteArray eml = test::ReadAll(f.chopped(5) + QStringLiteral(".eml"));
            if (test::JsonStrings(o.value(QStringLiteral("rcpt_tos"))) == QStringList{boss, team} &&
                eml.contains("weekly." + ext.toLatin1())) {
                raw = eml;
                seen = o;
            }
        }
        ASSERT_FALSE(raw.isEmpty()) << "no mail with the file reached the sink";
        EXPECT_EQ(seen.value(QStringLiteral("content_type")).toString(), QStringLiteral("multipart/mixed"));
        EXPECT_TRUE(seen.value(QStringLiteral("subject"))
                        .toString()
                        .startsWith(QStringLiteral("Reported TimeSheets : Date Range..")));
        // The attachment's part: its headers, a blank line, base64 up to the next boundary.
        const qsizetype named = raw.indexOf("filename=");
        ASSERT_GE(named, 0);
        const QByteArray head =
            raw.mid(raw.lastIndexOf("\r\n\r\n", named), named - raw.lastIndexOf("\r\n\r\n", named));
        EXPECT_TRUE(head.contains("Content-Disposition: attachment")) << head.toStdString();
        EXPECT_TRUE(head.contains("Content-Transfer-Encoding: base64")) << head.toStdString();
        const qsizetype body = raw.indexOf("\r\n\r\n", named) + 4;
        const qsizetype end = raw.indexOf("\r\n--", body);
        ASSERT_GT(end, body);
        EXPECT_EQ(QByteArray::fromBase64(raw.mid(body, end - body)), file);
    }

    const QString refused = folder + QStringLiteral("/refused.txt");
    for (const QStringList& bad : {QStringList{"--mail-to", "not an address"}, QStringList{"--mail-to", ";"},
                                   QStringList{"--mail-to", boss, "--out", "-"}}) {
        const ToolRun r = Tool(report + QStringList{"--out", refused} + bad);
        EXPECT_EQ(r.code, kExitUsage) << bad.join(u' ').toStdString() << ": " << r.err.toStdString();
        EXPECT_FALSE(QFile::exists(refused));
    }
}

// A mail that cannot be kept is said, with its own exit code, after the file was written.
TEST_P(CommandTools, ReportMailThatCannotBeKeptEndsWithItsCode) {
    ASSERT_TRUE(SaveMailProfile(test::LocalProfile(1)));
    const QString folder = test::NewTempDir(QStringLiteral("unkept"));
    const QString data = test::NewTempDir(QStringLiteral("unkept-data"));
    // The outbox's place is a file, so no mail can be kept there.
    QDir().mkpath(data + QStringLiteral("/Orrinwell/TLM"));
    QFile blocker(data + QStringLiteral("/Orrinwell/TLM/outbox"));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    QProcessEnvironment env;
    env.insert(QStringLiteral("XDG_DATA_HOME"), data);
    const QString out = folder + QStringLiteral("/r.txt");
    const ToolRun r = Tool(
        QStringLiteral("report --type tasks --from 2026-01-01 --to 2026-03-31 --fields Subject").split(u' ') +
            QStringList{"--out", out, "--mail-to", "boss@example.org"},
        env);
    EXPECT_EQ(r.code, kExitMailNotKept) << r.err.toStdString();
    EXPECT_TRUE(r.err.contains("could not be kept")) << r.err.toStdString();
    EXPECT_TRUE(QFile::exists(out)) << "the file itself was written";
}

INSTANTIATE_TEST_SUITE_P(Engines, CommandTools, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

TEST(CommandToolsDemo, FillsOnceAndCreatesTheDatabaseWhereMakeRunWould) {
    const QString home = test::NewTempDir(QStringLiteral("demo"));
    QProcessEnvironment env;
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    QDir().mkpath(home + QStringLiteral("/data"));
    env.insert(QStringLiteral("TLM_DEFAULT_DATA_DIR"), home + QStringLiteral("/data"));
    const ToolRun first = Tool({"demo"}, env);
    ASSERT_EQ(first.code, kExitNormal) << first.err.toStdString();
    EXPECT_TRUE(first.out.contains("Added 12 projects")) << first.out.toStdString();
    EXPECT_TRUE(QFile::exists(home + QStringLiteral("/data/Tallyloom.db")));
    const ToolRun second = Tool({"demo"}, env);
    ASSERT_EQ(second.code, kExitNormal) << second.err.toStdString();
    EXPECT_TRUE(second.out.contains("nothing was added")) << second.out.toStdString();
    // Without a configured database or a default folder the demo refuses.
    QProcessEnvironment bare;
    bare.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/other"));
    bare.insert(QStringLiteral("TLM_DEFAULT_DATA_DIR"), QString());
    EXPECT_EQ(Tool({"demo"}, bare).code, kExitNoDatabase);
}

// `tlm-manager outbox` over an outbox of its own: a failed mail is listed with its reason, shown,
// retried back to the waiting ones and discarded; bad input ends with its code and touches nothing.
TEST(CommandToolsOutbox, ListsShowsRetriesAndDiscardsWithTheirExitCodes) {
    const QString home = test::NewTempDir(QStringLiteral("outbox-tool"));
    QProcessEnvironment env;
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    env.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
    const QString outbox = home + QStringLiteral("/data/Orrinwell/TLM/outbox");
    const MailAddress from{QString(), QStringLiteral("desk@example.org")};
    const ComposedMail waiting =
        ComposeMail(from, {QStringLiteral("ann@x.org"), {}, QStringLiteral("Waits"), {}});
    const ComposedMail big =
        ComposeMail(from, {QStringLiteral("bo@y.org"), {}, QStringLiteral("Too big"), {}});
    const QString waitingFile = KeepInOutbox(waiting, QStringLiteral("no server"), outbox);
    const QString failedFile =
        KeepInOutbox(big, QStringLiteral("552 5.3.4 Message too big"), FailedFolder(outbox));
    ASSERT_FALSE(waitingFile.isEmpty());
    ASSERT_FALSE(failedFile.isEmpty());
    const QString failedId = QFileInfo(failedFile).completeBaseName();
    const QString waitingId = QFileInfo(waitingFile).completeBaseName();

    const ToolRun list = Tool({"outbox", "list"}, env);
    ASSERT_EQ(list.code, kExitNormal) << list.err.toStdString();
    const QStringList lines = list.out.split(u'\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 2) << list.out.toStdString();
    const QStringList failedLine = lines[1].split(u'\t');
    ASSERT_EQ(failedLine.size(), 6) << lines[1].toStdString();
    EXPECT_EQ(failedLine[0], failedId);
    EXPECT_EQ(failedLine[1], QStringLiteral("failed"));
    EXPECT_EQ(failedLine[3], QStringLiteral("Too big"));
    EXPECT_EQ(failedLine[4], QStringLiteral("bo@y.org"));
    EXPECT_EQ(failedLine[5], QStringLiteral("552 5.3.4 Message too big"));
    EXPECT_TRUE(lines[0].startsWith(waitingId + QStringLiteral("\twaiting\t"))) << lines[0].toStdString();

    const ToolRun show = Tool({"outbox", "show", failedId}, env);
    ASSERT_EQ(show.code, kExitNormal) << show.err.toStdString();
    EXPECT_TRUE(show.out.contains("Subject: Too big")) << show.out.toStdString();
    EXPECT_TRUE(show.out.contains("552 5.3.4")) << show.out.toStdString();

    // Bad input: nothing moves.
    struct Bad {
        QStringList args;
        int code;
    };
    const Bad bad[] = {
        {{"outbox", "bogus"}, kExitUsage},
        {{"outbox", "list", "extra"}, kExitUsage},
        {{"outbox", "show"}, kExitUsage},
        {{"outbox", "retry"}, kExitUsage},
        {{"outbox", "retry", "--bogus"}, kExitUsage},
        {{"outbox", "discard", "--all"}, kExitUsage},
        {{"outbox", "show", "no-such-mail"}, kExitNothingToDo},
        {{"outbox", "discard", "../outbox/" + waitingId}, kExitNothingToDo},
        {{"outbox", "retry", "no-such-mail"}, kExitNothingToDo},
    };
    for (const Bad& b : bad) {
        const ToolRun r = Tool(b.args, env);
        EXPECT_EQ(r.code, b.code) << b.args.join(u' ').toStdString() << ": " << r.err.toStdString();
        EXPECT_FALSE(r.err.isEmpty()) << b.args.join(u' ').toStdString();
    }
    EXPECT_EQ(OutboxFiles(outbox), QStringList{waitingFile});
    EXPECT_EQ(OutboxFiles(FailedFolder(outbox)), QStringList{failedFile});

    // Retry puts the failed mail back with the waiting ones; with no server it waits there.
    const ToolRun retry = Tool({"outbox", "retry", failedId}, env);
    ASSERT_EQ(retry.code, kExitNormal) << retry.err.toStdString();
    EXPECT_TRUE(OutboxFiles(FailedFolder(outbox)).isEmpty());
    EXPECT_EQ(OutboxFiles(outbox).size(), 2);
    const ToolRun again = Tool({"outbox", "retry", "--all"}, env);
    EXPECT_EQ(again.code, kExitNormal) << again.err.toStdString();

    const ToolRun discard = Tool({"outbox", "discard", failedId}, env);
    ASSERT_EQ(discard.code, kExitNormal) << discard.err.toStdString();
    EXPECT_EQ(OutboxFiles(outbox), QStringList{waitingFile});
    EXPECT_EQ(Tool({"outbox", "discard", failedId}, env).code, kExitNothingToDo) << "gone for good";

    // An empty outbox says so, on standard error only.
    ASSERT_EQ(Tool({"outbox", "discard", waitingId}, env).code, kExitNormal);
    const ToolRun empty = Tool({"outbox", "list"}, env);
    EXPECT_EQ(empty.code, kExitNormal);
    EXPECT_TRUE(empty.out.isEmpty()) << empty.out.toStdString();
    EXPECT_TRUE(empty.err.contains("The outbox is empty.")) << empty.err.toStdString();
}

}  // namespace
}  // namespace tlm
