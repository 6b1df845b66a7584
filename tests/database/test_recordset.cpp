#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QThread>

#include "core/codecs.h"
#include "core/money.h"
#include "core/process_state.h"
#include "database/db_fixture.h"
#include "support/test_env.h"

namespace tlm {
namespace {

using test::EngineTest;
using test::M;

QDateTime At(int y, int mo, int d, int h = 0, int mi = 0, int s = 0) {
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s));
}

class RecordsetTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        OpenFreshDatabase();
    }
    // Adds a project through a recordset, as the list saves do.
    QVariant AddProject(const QString& name, const QVariant& rate, const QVariant& start = QVariant()) {
        auto rs = Open(QStringLiteral("tProjects"));
        EXPECT_TRUE(rs->AddNew());
        rs->Fields("ProjectName") = name;
        rs->Fields("Rate") = rate;
        if (start.isValid())
            rs->Fields("StartDate") = start;
        EXPECT_TRUE(rs->Update()) << rs->LastError().description.toStdString();
        return rs->Fields("ID").Value();
    }
};

TEST_P(RecordsetTest, ValuesComeBackTypedAndExact) {
    const QVariant id =
        AddProject("Alpha", QVariant::fromValue(M("1234567.8912")), At(2026, 3, 7, 9, 30, 15));
    auto rs = Open("select * from tprojects where ID = " + id.toString(), LockMode::ReadOnly);
    ASSERT_EQ(rs->RecordCount(), 1);
    // Names in the schema's spelling on every engine, found without regard to case.
    EXPECT_EQ(rs->Fields(1).Name(), "ProjectName");
    EXPECT_EQ(rs->Fields("PROJECTNAME").Value().toString(), "Alpha");
    EXPECT_EQ(rs->Fields("Rate").Value().value<Money>(), M("1234567.8912"));
    EXPECT_EQ(rs->Fields("Rate").Type(), adotype::adCurrency);
    EXPECT_EQ(rs->Fields("StartDate").Value().toDateTime(), At(2026, 3, 7, 9, 30, 15));
    EXPECT_EQ(rs->Fields("StartDate").Type(), adotype::adDate);
    // A NULL is a null value of the column's type.
    const QVariant finish = rs->Fields("FinishDate").Value();
    EXPECT_TRUE(finish.isNull());
    EXPECT_EQ(finish.metaType(), QMetaType::fromType<QDateTime>());
    EXPECT_FALSE(rs->Fields("NoSuchColumn").IsValid());
    EXPECT_EQ(rs->LastError().number, dberr::kItemNotFound);
}

TEST_P(RecordsetTest, MoneyStaysExactThroughWritesSumsAndComparisons) {
    const char* amounts[] = {"0.1", "0.2", "0.3", "99999999.9999", "-5.5", "0.0001"};
    for (const char* a : amounts) {
        AddProject(QString::fromLatin1(a), QVariant::fromValue(M(a)));
    }
    auto rs = Open("SELECT * FROM tProjects ORDER BY ID", LockMode::ReadOnly);
    for (const char* a : amounts) {
        ASSERT_FALSE(rs->Eof());
        EXPECT_EQ(rs->Fields("Rate").Value().value<Money>(), M(a)) << a;
        rs->MoveNext();
    }
    auto sum = Open("SELECT SUM(Rate) AS total FROM tProjects WHERE Rate < 1", LockMode::ReadOnly);
    EXPECT_EQ(sum->Fields("total").Value().value<Money>(), M("-4.8999"));
    // Text and numbers as the grids hand them over, and the search's unquoted comparison.
    AddProject("text", "12.50");
    AddProject("int", 7);
    EXPECT_EQ(Open("SELECT * FROM tProjects WHERE Rate >= 7 AND Rate < 13 ORDER BY Rate", LockMode::ReadOnly)
                  ->RecordCount(),
              2);
    auto t = Open("SELECT * FROM tProjects WHERE ProjectName = 'text'", LockMode::ReadOnly);
    EXPECT_EQ(t->Fields("Rate").Value().value<Money>(), M("12.5"));
}

TEST_P(RecordsetTest, DatesKeepTimeOrderAndTheDialectDayTerms) {
    // The file form ends a day at 23:59:00; the server form compares whole days. That asymmetry stays.
    for (const QVariantList& row : {QVariantList{"morning", At(2026, 3, 7, 10)},
                                    {"late", At(2026, 3, 7, 23, 59, 30)},
                                    {"next", At(2026, 3, 8)},
                                    {"before", At(2025, 12, 31, 23)}})
        Exec("INSERT INTO tReportedAppointments (Subject, ReportedDate) VALUES (?, ?)", row);
    auto day = Open("Select * from tReportedAppointments where " + DayTerm("ReportedDate", "2026-3-7") +
                        " ORDER BY ReportedDate",
                    LockMode::ReadOnly);
    QStringList subjects;
    for (; !day->Eof(); day->MoveNext())
        subjects << day->Fields("Subject").Value().toString();
    EXPECT_EQ(subjects, IsSqlite() ? QStringList({"morning"}) : QStringList({"morning", "late"}));

    if (IsSqlite()) {
        auto raw =
            Open("SELECT CAST(ReportedDate AS TEXT) AS t FROM tReportedAppointments WHERE Subject = 'before'",
                 LockMode::ReadOnly);
        EXPECT_EQ(raw->Fields("t").Value().toString(), "2025-12-31 23:00:00");
    }
}

TEST_P(RecordsetTest, FlagsReadAsZeroOrOneWhateverWasWritten) {
    Exec("DELETE FROM tMembers");
    auto rs = Open("tMembers");
    const QVariant written[] = {true, -1, 0, "True", false};
    for (const QVariant& w : written) {
        rs->AddNew();
        rs->Fields("Name") = w.toString();
        rs->Fields("AdminAccess") = w;
        ASSERT_TRUE(rs->Update()) << rs->LastError().description.toStdString();
    }
    auto back = Open("SELECT * FROM tMembers WHERE AdminAccess = 1 ORDER BY ID", LockMode::ReadOnly);
    EXPECT_EQ(back->RecordCount(), 3);
    EXPECT_EQ(back->Fields("AdminAccess").Value(), QVariant(1));
    EXPECT_EQ(back->Fields("AdminAccess").Type(), adotype::adBoolean);
    EXPECT_EQ(Open("SELECT * FROM tMembers WHERE AdminAccess = 0", LockMode::ReadOnly)->RecordCount(), 2);
}

TEST_P(RecordsetTest, RowByRowUpdateDeleteAndMoveAway) {
    AddProject("Alpha", 1);
    AddProject("Beta", 2);
    AddProject("Gamma", 3);
    auto rs = Open("SELECT * FROM tProjects ORDER BY ProjectName");
    ASSERT_EQ(rs->RecordCount(), 3);
    rs->Fields("Description") = "first";
    EXPECT_TRUE(rs->Update());
    rs->MoveNext();
    EXPECT_TRUE(rs->Delete());
    EXPECT_EQ(rs->RecordCount(), 2);
    EXPECT_FALSE(rs->Fields("ProjectName").Value().isValid());  // the deleted row is current until a move
    rs->MoveNext();
    EXPECT_EQ(rs->Fields("ProjectName").Value().toString(), "Gamma");
    rs->MoveNext();  // a field read at EOF fails into the caller's error path
    EXPECT_FALSE(rs->Fields("ProjectName").Value().isValid());
    EXPECT_EQ(rs->LastError().number, dberr::kNoCurrentRecord);
    rs->MoveLast();
    // Moving away from an edited row writes it, as the optimistic cursor does.
    rs->Fields("ProjectCode") = "G-1";
    rs->MoveFirst();
    auto back = Open("SELECT * FROM tProjects ORDER BY ProjectName", LockMode::ReadOnly);
    ASSERT_EQ(back->RecordCount(), 2);
    EXPECT_EQ(back->Fields("Description").Value().toString(), "first");
    back->MoveNext();
    EXPECT_EQ(back->Fields("ProjectCode").Value().toString(), "G-1");
    // A read-only recordset refuses writes.
    EXPECT_FALSE(back->Fields("ProjectCode").SetValue("x"));
    EXPECT_EQ(back->LastError().number, dberr::kNotUpdatable);
    // A row deleted by someone else cannot be updated: the last writer does not resurrect it.
    auto stale = Open("SELECT * FROM tProjects ORDER BY ProjectName");
    Exec("DELETE FROM tProjects WHERE ProjectName = 'Alpha'");
    stale->Fields("Description") = "lost";
    EXPECT_FALSE(stale->Update());
    EXPECT_EQ(stale->LastError().number, dberr::kRowNotFound);
}

TEST_P(RecordsetTest, BatchChangesReachTheTableOnlyAtUpdateBatch) {
    AddProject("Keep", 1);
    AddProject("Drop", 2);
    auto rs = Open("SELECT * FROM tProjects ORDER BY ProjectName", LockMode::BatchOptimistic);
    ASSERT_TRUE(rs->Find("ProjectName = 'Drop'"));
    ASSERT_TRUE(rs->Delete());
    rs->MoveFirst();
    rs->Fields("Rate") = QVariant::fromValue(M("10.25"));
    ASSERT_TRUE(rs->Update());
    for (const char* n : {"New1", "New2"}) {
        rs->AddNew();
        rs->Fields("ProjectName") = n;
        rs->Update();
    }
    EXPECT_EQ(Count("tProjects"), 2) << "nothing written before UpdateBatch";
    ASSERT_TRUE(rs->UpdateBatch()) << rs->LastError().description.toStdString();
    auto back = Open("SELECT * FROM tProjects ORDER BY ProjectName", LockMode::ReadOnly);
    QStringList names;
    for (; !back->Eof(); back->MoveNext())
        names << back->Fields("ProjectName").Value().toString();
    EXPECT_EQ(names, (QStringList{"Keep", "New1", "New2"}));
    back->MoveFirst();
    EXPECT_EQ(back->Fields("Rate").Value().value<Money>(), M("10.25"));
}

TEST_P(RecordsetTest, CommandsCountRowsAndKeepDatabaseErrors) {
    auto cmd = GetCommand();
    ASSERT_TRUE(cmd);
    cmd->CommandText = "INSERT INTO tCustomList1 (CustomFieldName) VALUES (?)";
    for (const char* v : {"a", "b", "c"})
        EXPECT_EQ(cmd->Execute({QString::fromLatin1(v)}), 1);
    cmd->CommandText = "UPDATE tCustomList1 SET CustomFieldName = 'z' WHERE CustomFieldName <> 'a'";
    EXPECT_EQ(cmd->Execute(), 2);
    // A value with an apostrophe, concatenated as the callers do, stays the database's error.
    cmd->CommandText = "UPDATE tProjects SET ProjectManager = 'O'Brien' WHERE ID = 1";
    EXPECT_EQ(cmd->Execute(), -1);
    EXPECT_EQ(cmd->LastError().number, dberr::kCommandError);
    EXPECT_EQ(Count("tCustomList1"), 3);
}

TEST_P(RecordsetTest, StackedStatementIsRefusedAndTheTableStays) {
    AddProject("Alpha", 1);
    const QString value = "x'; DROP TABLE tProjects; --";
    const QString sql = "SELECT * FROM tProjects WHERE ProjectName = '" + value + "'";
    EXPECT_EQ(GetDBRecordset(sql, true, true, false), nullptr);
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(presenter.reports[0].contains("In Function: DB.GetRecordset"));
    EXPECT_TRUE(presenter.reports[0].contains("more than one statement"));

    auto cmd = GetCommand();
    cmd->CommandText = "DELETE FROM tCustomList1 WHERE CustomFieldName = '" + value + "'";
    EXPECT_EQ(cmd->Execute(), -1);
    EXPECT_EQ(cmd->LastError().number, dberr::kCommandError);
    EXPECT_EQ(Count("tProjects"), 1);
}

TEST_P(RecordsetTest, ClosedConnectionMakesRecordsetsFailNotDangle) {
    AddProject("Alpha", 1);
    auto rs = GetDBRecordset("tProjects", false, true, false);
    ASSERT_TRUE(rs);
    auto cmd = GetCommand();
    subCloseConnection();
    rs->Fields("ProjectCode") = "late";
    EXPECT_FALSE(rs->Update());
    EXPECT_EQ(rs->LastError().number, dberr::kObjectClosed);
    cmd->CommandText = "DELETE FROM tProjects";
    EXPECT_EQ(cmd->Execute(), -1);
}

// The other half of the concurrent-writers test, run as a second process of this binary.
TEST(DatabaseChild, WritesRows) {
    const QString connection = qEnvironmentVariable("TLM_DB_CHILD_CONN");
    if (connection.isEmpty())
        GTEST_SKIP() << "helper process of ConcurrentWritersNeverSeeALockedDatabase";
    auto c = std::make_shared<Connection>();
    Failure f;
    ASSERT_TRUE(c->Open(connection, &f)) << f.description.toStdString();
    QFile marker(qEnvironmentVariable("TLM_DB_CHILD_MARKER"));
    ASSERT_TRUE(marker.open(QIODevice::WriteOnly));
    marker.close();
    Command cmd(c);
    cmd.CommandText = "INSERT INTO tReportedTasks (Subject, ReportedBy, TotalCost) VALUES (?, 'child', ?)";
    const int rows = qEnvironmentVariableIntValue("TLM_DB_CHILD_ROWS");
    for (int i = 0; i < rows; ++i)
        ASSERT_EQ(cmd.Execute({QString::number(i), i}), 1) << cmd.LastError().description.toStdString();
}

TEST_P(RecordsetTest, ConcurrentWritersNeverSeeALockedDatabase) {
    const int rows = 1500;
    const QString marker = dir + "/child-started";
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("TLM_DB_CHILD_CONN", ConnectionString());
    env.insert("TLM_DB_CHILD_MARKER", marker);
    env.insert("TLM_DB_CHILD_ROWS", QString::number(rows));
    child.setProcessEnvironment(env);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(QCoreApplication::applicationFilePath(), {"--gtest_filter=DatabaseChild.WritesRows"});
    ASSERT_TRUE(child.waitForStarted());
    for (int i = 0; i < 600 && !QFile::exists(marker) && child.state() == QProcess::Running; ++i)
        QThread::msleep(50);
    ASSERT_TRUE(QFile::exists(marker)) << child.readAll().toStdString();

    // Meanwhile this process saves row by row and in batches, as a list save does.
    auto cmd = GetCommand();
    cmd->CommandText = "INSERT INTO tReportedTasks (Subject, ReportedBy, TotalCost) VALUES (?, 'parent', ?)";
    for (int i = 0; i < rows; ++i) {
        ASSERT_EQ(cmd->Execute({QString::number(i), i}), 1) << cmd->LastError().description.toStdString();
        if (i % 300 == 0) {
            auto rs =
                Open("SELECT * FROM tReportedTasks WHERE ReportedBy = 'parent'", LockMode::BatchOptimistic);
            for (; !rs->Eof(); rs->MoveNext())
                rs->Fields("Approved") = 1;
            ASSERT_TRUE(rs->UpdateBatch()) << rs->LastError().description.toStdString();
        }
    }
    ASSERT_TRUE(child.waitForFinished(120000));
    const QString out = QString::fromUtf8(child.readAll());
    EXPECT_EQ(child.exitCode(), 0) << out.toStdString();
    EXPECT_TRUE(out.contains("[  PASSED  ] 1 test")) << out.toStdString();
    EXPECT_FALSE(out.contains("locked")) << out.toStdString();
    EXPECT_EQ(Count("tReportedTasks"), 2 * rows);
}

// A writer that meets another one holding the database past the wait is told which database is
// busy and why, not the driver's bare "database is locked".
TEST_P(RecordsetTest, ASaveThatMeetsABusyDatabaseNamesItAndSaysWhy) {
    auto holder = std::make_shared<Connection>();
    Failure f;
    ASSERT_TRUE(holder->Open(ConnectionString(), &f)) << f.description.toStdString();
    ASSERT_GE(holder->Execute(IsSqlite() ? "BEGIN EXCLUSIVE" : "BEGIN", {}, false, &f), 0)
        << f.description.toStdString();
    if (!IsSqlite()) {
        ASSERT_GE(holder->Execute("LOCK TABLE tReportedTasks IN ACCESS EXCLUSIVE MODE", {}, false, &f), 0)
            << f.description.toStdString();
    }

    auto cmd = GetCommand();
    cmd->CommandText = IsSqlite() ? "PRAGMA busy_timeout = 200" : "SET lock_timeout = '200ms'";
    cmd->Execute({});
    cmd->CommandText = "INSERT INTO tReportedTasks (Subject, ReportedBy, TotalCost) VALUES ('x', 'me', 1)";
    EXPECT_EQ(cmd->Execute({}), -1);
    const QString text = cmd->LastError().description;
    EXPECT_TRUE(text.contains("someone else is saving")) << text.toStdString();
    const QString name = IsSqlite() ? QStringLiteral("Tallyloom.db") : QString();
    EXPECT_TRUE(text.contains(name)) << text.toStdString();
    holder->Execute("ROLLBACK", {}, false, &f);
    EXPECT_EQ(Count("tReportedTasks"), 0);
}

INSTANTIATE_TEST_SUITE_P(Engines, RecordsetTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

TEST(NullSafeValue, MakesEachTypeSafe) {
    using namespace adotype;
    for (qint32 t : {adInteger, adDouble, adCurrency, adBigInt}) {
        EXPECT_EQ(DB::NullSafeValue(QVariant(QMetaType::fromType<int>()), t), QVariant(0)) << t;
        EXPECT_EQ(DB::NullSafeValue("abc", t), QVariant(0)) << t;  // non-numeric text gives 0, no error
        EXPECT_EQ(DB::NullSafeValue("3.5", t), QVariant("3.5")) << t;
    }
    for (qint32 t : {adDate, adDBTime}) {
        EXPECT_EQ(DB::NullSafeValue(QVariant(QMetaType::fromType<QDateTime>()), t).toDateTime(), ZeroDate());
        EXPECT_EQ(DB::NullSafeValue("no date", t).toDateTime(), ZeroDate());
        EXPECT_EQ(DB::NullSafeValue("2026-3-7", t).toDateTime(), At(2026, 3, 7));
    }
    for (qint32 t : {adChar, adVarWChar, adLongVarWChar}) {
        const QVariant empty = DB::NullSafeValue(QVariant(QMetaType::fromType<QString>()), t);
        EXPECT_EQ(empty.typeId(), QMetaType::QString);
        EXPECT_FALSE(empty.isNull());
        EXPECT_EQ(DB::NullSafeValue(QVariant::fromValue(*Money::parse("12.50")), t), QVariant("12.5"));
    }
    // Flags, and the type 131 the task records pass: an empty value, not False or 0.
    for (qint32 t : {adBoolean, adNumeric, 0})
        EXPECT_FALSE(DB::NullSafeValue(true, t).isValid()) << t;
}

}  // namespace
}  // namespace tlm
