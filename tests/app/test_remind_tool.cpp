// `tlm-manager remind` as a user runs it: against a real database, mailing through the outbox to the
// SMTP sink; who is reminded follows the hours reported last week, a dry run sends nothing, and bad
// input ends with its exit code.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QProcess>
#include <QUuid>

#include "core/startup.h"
#include "database/db_fixture.h"
#include "mail/mail_profile.h"
#include "mail/outbox.h"
#include "support/mail_sink.h"
#include "support/smtp_sink.h"
#include "support/test_env.h"

namespace tlm {
namespace {

using test::ToolRun;

ToolRun Tool(const QStringList& args, const QProcessEnvironment& extra = {}) {
    return test::RunTool(QStringList{QStringLiteral("remind")} + args, extra);
}

// The Sunday that starts last week, as the reports count weeks.
QDate LastWeekStart() {
    const QDate today = QDate::currentDate();
    return today.addDays(-(today.dayOfWeek() % 7) - 7);
}

class RemindTool : public test::EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        if (IsSkipped())
            return;
        OpenFreshDatabase();
        tag = QUuid::createUuid().toString(QUuid::Id128).left(10);
        Exec(QStringLiteral("DELETE FROM tMembers"));
        const QString members[][2] = {
            {"Ann", Address("ann")}, {"Bo", Address("bo")}, {"Cy", Address("cy")}, {"Dee", QString()}};
        for (const auto& m : members)
            Exec(QStringLiteral("INSERT INTO tMembers (Name, Email, Department, Rate, AdminAccess) "
                                "VALUES (?, ?, '', 0, 0)"),
                 {m[0], m[1]});
        const QDateTime monday(LastWeekStart().addDays(1), QTime(10, 0));
        // Ann 8 h, Bo 2 h last week; Cy only this week; Dee (no address) nothing.
        Exec(QStringLiteral("INSERT INTO tReportedTasks (Subject, ReportedBy, ActualWork, ReportedDate, "
                            "Approved, TotalCost) VALUES ('t', 'Ann', 480, ?, 0, 0)"),
             {monday});
        Exec(QStringLiteral("INSERT INTO tReportedAppointments (Subject, ReportedBy, Duration, ReportedDate, "
                            "Approved, TotalCost) VALUES ('a', 'Bo', 120, ?, 0, 0)"),
             {monday});
        Exec(QStringLiteral("INSERT INTO tReportedAppointments (Subject, ReportedBy, Duration, ReportedDate, "
                            "Approved, TotalCost) VALUES ('a', 'Cy', 600, ?, 0, 0)"),
             {QDateTime(QDate::currentDate(), QTime(0, 5))});
        settings.SaveSettings();
        data = test::NewTempDir(QStringLiteral("remind-data"));
        env.insert(QStringLiteral("XDG_DATA_HOME"), data);
    }
    QString Address(const char* who) const {
        return QStringLiteral("%1-%2@example.org").arg(QString::fromLatin1(who), tag);
    }
    QString Outbox() const { return data + QStringLiteral("/Orrinwell/TLM/outbox"); }
    // The reminders of this test that reached the sink: recipient and subject of each.
    QStringList Arrived() const {
        QStringList out;
        for (const QString& f : test::SpoolFiles(test::SmtpSpoolDir())) {
            const QJsonObject o = QJsonDocument::fromJson(test::ReadAll(f)).object();
            const QStringList to = test::JsonStrings(o.value(QStringLiteral("rcpt_tos")));
            if (to.size() == 1 && to[0].contains(tag))
                out << to[0] + u'|' + o.value(QStringLiteral("subject")).toString();
        }
        out.sort();
        return out;
    }

    QString tag, data;
    QProcessEnvironment env;
};

TEST_P(RemindTool, DryRunListsWhoIsUnderTheThresholdAndSendsNothing) {
    ASSERT_TRUE(SaveMailProfile(test::LocalProfile(1)));  // never reached
    struct Case {
        QStringList args;
        QStringList lines;  // name and hours found of each listed member
        bool deeNamed;      // the member without an address is said to be skipped
    };
    const Case cases[] = {
        {{"--period", "Last Week", "--dry-run"}, {"Cy\tnothing reported"}, true},
        {{"--period=last week", "--below-hours", "4", "--dry-run"},
         {"Bo\t2.00 h in 1 item", "Cy\tnothing reported"},
         true},
        {{"--dry-run", "--period", "LAST WEEK", "--below-hours=8.5"},
         {"Ann\t8.00 h in 1 item", "Bo\t2.00 h in 1 item", "Cy\tnothing reported"},
         true},
        {{"--period", "Last Week", "--below-hours", "0", "--dry-run"}, {}, false},
        {{"--period", "This Week", "--dry-run"}, {"Ann\tnothing reported", "Bo\tnothing reported"}, true},
    };
    for (const Case& c : cases) {
        const ToolRun r = Tool(c.args, env);
        const std::string what = c.args.join(u' ').toStdString();
        ASSERT_EQ(r.code, kExitNormal) << what << ": " << r.err.toStdString();
        QStringList lines;
        for (const QString& line : r.out.split(u'\n', Qt::SkipEmptyParts)) {
            const QStringList cells = line.split(u'\t');
            if (cells.size() == 4) {
                lines << cells[0] + u'\t' + cells[2];
                EXPECT_EQ(cells[1], Address(qPrintable(cells[0].toLower()))) << what;
            }
        }
        EXPECT_EQ(lines, c.lines) << what << "\n" << r.out.toStdString();
        if (c.lines.isEmpty()) {
            EXPECT_TRUE(r.out.contains(QStringLiteral("Nobody to remind"))) << what;
        }
        EXPECT_EQ(r.err.contains(QStringLiteral("Dee has no e-mail address")), c.deeNamed)
            << what << ": " << r.err.toStdString();
    }
    EXPECT_TRUE(OutboxFiles(Outbox()).isEmpty()) << "a dry run keeps no mail";
}

TEST_P(RemindTool, RemindersReachTheSinkForExactlyTheMembersUnderTheThreshold) {
    const std::optional<MailProfile> sink = test::SinkProfile();
    TLM_NEED_SERVER(sink.has_value(), "the SMTP sink: TLM_TEST_SMTP_PORT / TLM_TEST_SMTP_SPOOL");
    ASSERT_TRUE(SaveMailProfile(*sink));
    const ToolRun r = Tool({"--period", "Last Week", "--below-hours", "4"}, env);
    ASSERT_EQ(r.code, kExitNormal) << r.err.toStdString();
    EXPECT_TRUE(r.out.contains(QStringLiteral("Reminded 2 of 2 member(s)"))) << r.out.toStdString();
    EXPECT_TRUE(OutboxFiles(Outbox()).isEmpty()) << "delivered, none waits";
    const QString subject = QStringLiteral("|Notification: Report all Timesheets");
    EXPECT_EQ(Arrived(), QStringList({Address("bo") + subject, Address("cy") + subject}));

    // The default: only who reported nothing; a second run mails Cy once more.
    ASSERT_EQ(Tool({"--period", "Last Week"}, env).code, kExitNormal);
    EXPECT_EQ(Arrived(),
              QStringList({Address("bo") + subject, Address("cy") + subject, Address("cy") + subject}));
}

TEST_P(RemindTool, AServerDownKeepsTheRemindersAndAnOutboxThatCannotBeWrittenIsTold) {
    ASSERT_TRUE(SaveMailProfile(test::LocalProfile(1)));  // nothing listens on port 1
    const ToolRun down = Tool({"--period", "Last Week", "--below-hours", "4"}, env);
    ASSERT_EQ(down.code, kExitNormal) << down.err.toStdString();
    EXPECT_TRUE(down.out.contains(QStringLiteral("2 mail(s) wait in the outbox"))) << down.out.toStdString();
    EXPECT_EQ(OutboxFiles(Outbox()).size(), 2);

    QProcessEnvironment blocked = env;
    const QString file = data + QStringLiteral("/not-a-folder");
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.close();
    blocked.insert(QStringLiteral("XDG_DATA_HOME"), file);
    const ToolRun lost = Tool({"--period", "Last Week", "--below-hours", "4"}, blocked);
    EXPECT_EQ(lost.code, kExitWriteFailed) << lost.out.toStdString();
    EXPECT_TRUE(lost.err.contains(QStringLiteral("could not be kept"))) << lost.err.toStdString();
}

TEST_P(RemindTool, BadInputEndsWithItsCodeAndSendsNothing) {
    ASSERT_TRUE(SaveMailProfile(test::LocalProfile(1)));
    struct Bad {
        QStringList args;
        int code;
        const char* says;
    };
    const Bad cases[] = {
        {{}, kExitUsage, "--period is required"},
        {{"--period"}, kExitUsage, "--period needs a value"},
        {{"--period", "Fortnight"}, kExitUsage, "unknown period \"Fortnight\""},
        {{"--period", "Date Range.."}, kExitUsage, "unknown period"},
        {{"--period", "Last Week", "--below-hours", "many"}, kExitUsage, "--below-hours takes a number"},
        {{"--period", "Last Week", "--below-hours", "-1"}, kExitUsage, "--below-hours takes a number"},
        {{"--period", "Last Week", "--below-hours", "nan"}, kExitUsage, "--below-hours takes a number"},
        {{"--period", "Last Week", "--below-hours"}, kExitUsage, "--below-hours needs a value"},
        {{"--period", "Last Week", "--now"}, kExitUsage, "unknown option \"--now\""},
    };
    for (const Bad& b : cases) {
        const ToolRun r = Tool(b.args, env);
        EXPECT_EQ(r.code, b.code) << b.args.join(u' ').toStdString() << ": " << r.err.toStdString();
        EXPECT_TRUE(r.err.contains(QString::fromLatin1(b.says))) << r.err.toStdString();
        EXPECT_TRUE(r.out.isEmpty()) << r.out.toStdString();
    }
    const ToolRun help = Tool({"--help"}, env);
    EXPECT_EQ(help.code, kExitNormal);
    EXPECT_TRUE(help.out.startsWith(QStringLiteral("Usage: tlm-manager remind"))) << help.out.toStdString();
    // No database configured.
    QProcessEnvironment bare = env;
    bare.insert(QStringLiteral("XDG_CONFIG_HOME"), test::NewTempDir(QStringLiteral("no-config")));
    const ToolRun none = Tool({"--period", "Last Week"}, bare);
    EXPECT_EQ(none.code, kExitNoDatabase) << none.err.toStdString();
    EXPECT_TRUE(OutboxFiles(Outbox()).isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Engines, RemindTool, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

}  // namespace
}  // namespace tlm
