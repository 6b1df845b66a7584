#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include <QAnyStringView>
#include <QDateTime>
#include <QSet>
#include <QStringList>

#include "core/money.h"
#include "database/connection.h"
#include "database/db_fixture.h"
#include "database/recordset.h"
#include "reported/sample_data.h"
#include "support/test_env.h"

namespace tlm::test {
namespace {

// Every row of a table as text, in ID order, so two databases compare as one string.
QStringList Dump(const std::shared_ptr<Connection>& c, const QString& table) {
    Recordset rs(c, LockMode::ReadOnly);
    Failure f;
    EXPECT_TRUE(rs.Open(QStringLiteral("SELECT * FROM ") + table + QStringLiteral(" ORDER BY ID"), &f))
        << f.description.toStdString();
    QStringList rows;
    for (; !rs.Eof(); rs.MoveNext()) {
        QStringList cells;
        for (int i = 0; i < rs.FieldCount(); ++i) {
            const QVariant v = rs.Fields(i).Value();
            cells << rs.Fields(i).Name() + u'=' +
                         (v.metaType() == QMetaType::fromType<Money>() ? v.value<Money>().toString(4)
                          : v.typeId() == QMetaType::QDateTime         ? v.toDateTime().toString(Qt::ISODate)
                                                                       : v.toString());
        }
        cells.sort();  // the engines may order the columns differently
        rows << cells.join(u'|');
    }
    return rows;
}

std::shared_ptr<Connection> NewSqliteFile(const QString& path) {
    EXPECT_TRUE(DB::fncCopyNewMDBToFile(path));
    auto c = std::make_shared<Connection>();
    Failure f;
    EXPECT_TRUE(c->Open(SqliteConnectionString(path), &f)) << f.description.toStdString();
    return c;
}

using SampleDataTest = EngineTest;

TEST_P(SampleDataTest, SameSeedGivesTheSameRowsOnEveryEngineAndAnotherSeedDiffers) {
    OpenFreshDatabase();
    SampleSpec plan;
    plan.reportedItems = 400;
    SampleCounts counts;
    Failure f;
    ASSERT_TRUE(FillSampleData(*CurrentConnection(), plan, &counts, &f)) << f.description.toStdString();

    // The reference is always an SQLite file: on PostgreSQL this compares the engines as well.
    auto same = NewSqliteFile(dir + QStringLiteral("/same.db"));
    ASSERT_TRUE(FillSampleData(*same, plan, nullptr, &f)) << f.description.toStdString();
    for (const char* table :
         {"tReportedTasks", "tReportedAppointments", "tProjects", "tActivities", "tCustomList3"}) {
        const QStringList here = Dump(CurrentConnection(), QLatin1String(table));
        EXPECT_EQ(here, Dump(same, QLatin1String(table))) << table;
        EXPECT_FALSE(here.isEmpty()) << table;
    }

    // The items alone, over lists already there, are the items of the full fill.
    auto itemsOnly = NewSqliteFile(dir + QStringLiteral("/items.db"));
    SampleCounts itemCounts;
    ASSERT_TRUE(FillReportedItems(*itemsOnly, plan, &itemCounts, &f)) << f.description.toStdString();
    EXPECT_EQ(itemCounts.tasks, counts.tasks);
    EXPECT_EQ(itemCounts.projects, 0);
    EXPECT_EQ(Dump(itemsOnly, QStringLiteral("tReportedAppointments")),
              Dump(same, QStringLiteral("tReportedAppointments")));

    SampleSpec other = plan;
    other.seed = plan.seed + 1;
    auto differs = NewSqliteFile(dir + QStringLiteral("/other.db"));
    ASSERT_TRUE(FillSampleData(*differs, other, nullptr, &f)) << f.description.toStdString();
    EXPECT_NE(Dump(same, QStringLiteral("tReportedTasks")), Dump(differs, QStringLiteral("tReportedTasks")));
    EXPECT_NE(Dump(same, QStringLiteral("tMembers")), Dump(differs, QStringLiteral("tMembers")));
}

TEST_P(SampleDataTest, RowsHoldWhatTheScreensRelyOn) {
    OpenFreshDatabase();
    SampleSpec plan;
    plan.reportedItems = 1500;
    plan.approvedPercent = 20;
    SampleCounts counts;
    Failure f;
    std::vector<std::pair<qint64, qint64>> calls;
    ASSERT_TRUE(FillSampleData(*CurrentConnection(), plan, &counts, &f, [&](qint64 done, qint64 total) {
        calls.emplace_back(done, total);
        return true;
    })) << f.description.toStdString();
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.back(), std::make_pair(qint64(1500), qint64(1500)));

    EXPECT_EQ(counts.projects, 12);
    EXPECT_EQ(counts.activities, 48);
    EXPECT_EQ(counts.members, 30);
    EXPECT_EQ(counts.tasks + counts.appointments, 1500);
    EXPECT_GT(counts.tasks, 600);
    EXPECT_GT(counts.appointments, 600);
    EXPECT_EQ(Count(QStringLiteral("tReportedTasks")), counts.tasks);
    EXPECT_EQ(Count(QStringLiteral("tReportedAppointments")), counts.appointments);

    // The same ID in both tables: both start at 1.
    auto joined = Open(QStringLiteral("SELECT COUNT(*) AS n FROM tReportedTasks t INNER JOIN "
                                      "tReportedAppointments a ON t.ID = a.ID"),
                       LockMode::ReadOnly);
    EXPECT_EQ(joined->Fields(QStringLiteral("n")).Value().toLongLong(),
              qMin(counts.tasks, counts.appointments));

    QSet<QString> members;
    QSet<QString> pairs;
    QHash<QString, Money> projectRate;
    QHash<QString, QString> manager;
    for (auto rs = Open(QStringLiteral("SELECT * FROM tMembers"), LockMode::ReadOnly); !rs->Eof();
         rs->MoveNext())
        members.insert(rs->Fields(QStringLiteral("Name")).Value().toString());
    for (auto rs = Open(QStringLiteral("SELECT * FROM tProjects"), LockMode::ReadOnly); !rs->Eof();
         rs->MoveNext()) {
        const QString name = rs->Fields(QStringLiteral("ProjectName")).Value().toString();
        projectRate[name] = rs->Fields(QStringLiteral("Rate")).Value().value<Money>();
        manager[name] = rs->Fields(QStringLiteral("ProjectManager")).Value().toString();
        EXPECT_TRUE(members.contains(manager[name])) << manager[name].toStdString();
    }
    for (auto rs = Open(QStringLiteral("SELECT * FROM tActivities"), LockMode::ReadOnly); !rs->Eof();
         rs->MoveNext())
        pairs.insert(rs->Fields(QStringLiteral("Project")).Value().toString() + u'\n' +
                     rs->Fields(QStringLiteral("ActivityName")).Value().toString());
    std::array<QSet<QString>, 4> lists;
    for (int l = 0; l < 4; ++l)
        for (auto rs = Open(QStringLiteral("SELECT * FROM tCustomList%1").arg(l + 1), LockMode::ReadOnly);
             !rs->Eof(); rs->MoveNext())
            lists[size_t(l)].insert(rs->Fields(QStringLiteral("CustomFieldName")).Value().toString());

    const QDateTime from(QDate(2025, 12, 1), QTime(0, 0));
    const QDateTime to(QDate(2026, 12, 1), QTime(0, 0));  // 365 days on
    qint64 approved = 0;
    bool apostrophe = false;
    bool beyondAscii = false;
    for (const auto& [table, work] :
         {std::pair{QStringLiteral("tReportedTasks"), QStringLiteral("ActualWork")},
          std::pair{QStringLiteral("tReportedAppointments"), QStringLiteral("Duration")}}) {
        for (auto rs = Open(QStringLiteral("SELECT * FROM ") + table, LockMode::ReadOnly); !rs->Eof();
             rs->MoveNext()) {
            auto field = [&](QAnyStringView name) { return rs->Fields(name.toString()).Value(); };
            const QString by = field("ReportedBy").toString();
            const QString project = field("ProjectValue").toString();
            EXPECT_TRUE(members.contains(by)) << by.toStdString();
            EXPECT_TRUE(pairs.contains(project + u'\n' + field("ActivityValue").toString()));
            apostrophe = apostrophe || by.contains(u'\'');
            beyondAscii =
                beyondAscii || std::any_of(by.begin(), by.end(), [](QChar c) { return c.unicode() > 127; });
            const QDateTime reported = field("ReportedDate").toDateTime();
            EXPECT_TRUE(reported >= from && reported < to) << reported.toString(Qt::ISODate).toStdString();
            for (int l = 0; l < 4; ++l)
                EXPECT_TRUE(
                    lists[size_t(l)].contains(field(QStringLiteral("Field%1Value").arg(l + 1)).toString()));
            // Cost per hour of the project's rate: cost x 60 = rate x minutes, to the unit.
            const Money cost = field("TotalCost").value<Money>();
            const qint64 minutes = rs->Fields(work).Value().toLongLong();
            EXPECT_GT(minutes, 0);
            EXPECT_EQ(cost.units * 60, projectRate.value(project).units * minutes) << table.toStdString();
            const bool isApproved = field("Approved").toInt() == 1;
            approved += isApproved;
            EXPECT_EQ(field("ApprovedBy").toString(), isApproved ? manager.value(project) : QString());
            EXPECT_TRUE(field("HTMLBody").toString().startsWith(QStringLiteral("<html>")));
            EXPECT_FALSE(field("EntryID").toString().isEmpty());
        }
    }
    EXPECT_TRUE(apostrophe);
    EXPECT_TRUE(beyondAscii);
    // 20 % of 1500 is 300; four standard deviations either way.
    EXPECT_GT(approved, 240);
    EXPECT_LT(approved, 360);
}

TEST_P(SampleDataTest, CancelKeepsTheCommittedBatchesAndAFailureRollsBackItsBatch) {
    OpenFreshDatabase();
    SampleSpec plan;
    plan.reportedItems = 6000;
    SampleCounts counts;
    Failure f;
    int calls = 0;
    EXPECT_FALSE(FillSampleData(*CurrentConnection(), plan, &counts, &f, [&](qint64 done, qint64 total) {
        ++calls;
        EXPECT_LT(done, total);
        return false;
    }));
    EXPECT_FALSE(f.isSet());
    EXPECT_EQ(calls, 1);
    const qint64 written = counts.tasks + counts.appointments;
    EXPECT_GT(written, 0);
    EXPECT_LT(written, 6000);
    EXPECT_EQ(Count(QStringLiteral("tReportedTasks")) + Count(QStringLiteral("tReportedAppointments")),
              written);
    EXPECT_FALSE(CurrentConnection()->InTransaction());

    // Without the appointments table the first batch fails: its tasks are not left behind either.
    Exec(QStringLiteral("DELETE FROM tReportedTasks"));
    Exec(QStringLiteral("DROP TABLE tReportedAppointments"));
    plan.reportedItems = 200;
    EXPECT_FALSE(FillReportedItems(*CurrentConnection(), plan, &counts, &f));
    EXPECT_TRUE(f.isSet());
    EXPECT_EQ(counts.tasks, 0);
    EXPECT_EQ(Count(QStringLiteral("tReportedTasks")), 0);
    EXPECT_FALSE(CurrentConnection()->InTransaction());
}

INSTANTIATE_TEST_SUITE_P(Engines, SampleDataTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
