// Values from users and from members' clients in every place a statement takes one, on each engine:
// a value with a quote, or a number place holding more than a number, is refused with the engine's
// own message for an unbalanced quote and nothing runs; any other value stays inside its literal.
// Either way no other row of any table changes, and the victim table is still there.
#include <gtest/gtest.h>

#include <QLocale>

#include "core/error_report.h"
#include "database/db_fixture.h"
#include "reported/sample_data.h"
#include "reports/report_fields.h"
#include "reports/report_query.h"
#include "reports/report_render.h"
#include "review/review_queue.h"
#include "search/search_query.h"
#include "search/search_results.h"
#include "support/test_env.h"

namespace tlm {
namespace {

const char* const kValues[] = {
    "P', ActivityValue = 'Hacked' --",
    "0 OR EXISTS(SELECT 1 AS \xe2\x82\xac$x$); DROP TABLE victim; --$x$",
    "') OR EXISTS(SELECT 1 AS \xe2\x82\xac$x$)); DROP TABLE victim; --$x$",
    "0 DELETE FROM tMembers --",
    "-1 UNION SELECT ID, KeyID, KeyVal FROM tGeneralSettings",
    "O'Brien",  // an ordinary apostrophe: the database error users have always seen
};

const char* const kTables[] = {"tReportedTasks", "tReportedAppointments", "tMembers",
                               "tProjects",      "tGeneralSettings",      "victim"};

class ValuePlaces : public test::EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        if (IsSkipped())
            return;
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        OpenFreshDatabase();
        SampleSpec plan;
        plan.projects = 3;
        plan.members = 4;
        plan.reportedItems = 40;
        plan.approvedPercent = 0;
        Failure failure;
        ASSERT_TRUE(FillSampleData(*CurrentConnection(), plan, nullptr, &failure))
            << failure.description.toStdString();
        ASSERT_GE(Exec(QStringLiteral("CREATE TABLE victim (ID integer)")), 0);
        ASSERT_EQ(Exec(QStringLiteral("INSERT INTO victim (ID) VALUES (1)")), 1);
        target = Open(QStringLiteral("SELECT MIN(ID) FROM tReportedTasks"))->Fields(0).Value().toString();
        ASSERT_FALSE(target.isEmpty());
        presenter.reports.clear();
    }
    void TearDown() override {
        QLocale::setDefault(QLocale::c());
        EngineTest::TearDown();
    }
    qint32 Choice() const { return IsSqlite() ? 0 : 1; }

    // Every row of every table, the approved row aside when `skipTarget`.
    QString Snapshot(bool skipTarget = false) {
        QString out;
        for (const char* table : kTables) {
            auto rs = Open(QStringLiteral("SELECT * FROM %1 ORDER BY ID").arg(QLatin1String(table)));
            if (!rs) {
                out += QStringLiteral("<%1 gone>").arg(QLatin1String(table));
                continue;
            }
            for (; !rs->Eof(); rs->MoveNext()) {
                const QString id = rs->Fields(QStringLiteral("ID")).Value().toString();
                if (skipTarget && id == target && table == std::string_view("tReportedTasks"))
                    continue;
                for (int i = 0; i < rs->FieldCount(); ++i)
                    out += rs->Fields(i).Value().toString() + u'|';
                out += u'\n';
            }
        }
        presenter.reports.clear();
        ResetErrorReportingForTests();
        return out;
    }

    // The refusal reached the shared failure path with the engine's own words, or nothing was reported.
    void ExpectOutcome(bool refused, bool ran, const QString& value) {
        const QString shown = presenter.reports.join(u'\n');
        if (refused) {
            EXPECT_FALSE(ran);
            EXPECT_TRUE(shown.contains(IsSqlite() ? QStringLiteral("unrecognized token")
                                                  : QStringLiteral("unterminated quoted string")))
                << value.toStdString() << "\n"
                << shown.toStdString();
        } else {
            EXPECT_TRUE(ran) << value.toStdString() << "\n" << shown.toStdString();
            EXPECT_TRUE(shown.isEmpty()) << shown.toStdString();
        }
        // The reporter tells one failure per run of a screen; each place here is a run of its own.
        presenter.reports.clear();
        ResetErrorReportingForTests();
    }

    // A review step tells nobody itself; its refusal is what the screen would report. Answers
    // whether the step was done.
    bool Told(const ReviewOutcome& out) {
        EXPECT_TRUE(presenter.reports.isEmpty()) << presenter.reports.join(u'\n').toStdString();
        if (out.kind == ReviewOutcome::Kind::Refused)
            presenter.reports.append(out.failure.description);
        return out.done();
    }

    QString target;  // an unapproved task
};

TEST_P(ValuePlaces, QueriesOfReviewSearchAndReportsRefuseOrKeepTheValueInItsLiteral) {
    const QString before = Snapshot();
    for (const char* raw : kValues) {
        const QString v = QString::fromUtf8(raw);
        SCOPED_TRACE(raw);
        const bool quote = v.contains(u'\'');

        for (int filterIndex : {1, 2, 3}) {
            ReviewFilter f;
            f.filterIndex = filterIndex;
            f.value = v;
            auto rs = GetDBRecordset(ReviewQueryFor(f, Choice(), QStringLiteral("tReportedTasks")));
            ExpectOutcome(quote, rs && rs->RecordCount() == 0, v);
        }

        SearchCriteria base;
        base.itemsTypeIndex = 2;
        base.costFunction = QStringLiteral("Equal To");
        base.customTitles = {QStringLiteral("Region"), QString(), QString(), QString()};
        struct Place {
            const char* by;
            QString SearchCriteria::*field;
            bool number;
        };
        const Place places[] = {{"Keyword", &SearchCriteria::keyword, false},
                                {"Reported By", &SearchCriteria::member, false},
                                {"Project/Task", &SearchCriteria::project, false},
                                {"Project/Task", &SearchCriteria::activity, false},
                                {"By Cost", &SearchCriteria::costValue, true}};
        for (const Place& p : places) {
            SearchCriteria c = base;
            c.searchBy = QString::fromLatin1(p.by);
            c.project = QStringLiteral("Apollo");
            c.*(p.field) = v;
            SearchResults results;
            const bool ran = RunSearch(CurrentConnection(), c, Choice(), results);
            ExpectOutcome(quote || p.number, ran && results.Count() == 0, v);
        }
        SearchCriteria custom = base;
        custom.searchBy = QStringLiteral("Region");
        custom.customValues[0] = v;
        SearchResults results;
        ExpectOutcome(quote,
                      RunSearch(CurrentConnection(), custom, Choice(), results) && results.Count() == 0, v);

        for (int filterIndex : {0, 1, 2}) {
            ReportQueryInput in;
            in.dbChoice = Choice();
            in.fullView = filterIndex != 0;
            in.userName = v;
            in.period = QStringLiteral("This Year");
            in.now = QDateTime(QDate(2026, 6, 1), QTime(12, 0));
            in.filterIndex = filterIndex;
            in.listText = filterIndex ? v : QString();
            SqlText sql = GetReportSQL(in);
            sql.Replace(u"TABLENAME", u"tReportedTasks");
            const ReportDefinition def =
                MakeReportDefinition(sql, false, {QStringLiteral("Subject")}, cReportFields(), filterIndex);
            const ReportRun run = RunReport(CurrentConnection(), def);
            if (!run.ok)
                presenter.reports.append(run.failure.description);
            ExpectOutcome(quote, run.ok && run.rowCount == 0, v);
        }
    }
    EXPECT_EQ(Snapshot(), before);
}

TEST_P(ValuePlaces, ApprovalChangesOnlyItsOwnRowAndDeclineOnlyANumberedOne) {
    const ReviewOptions edits{true, true};
    for (const char* raw : kValues) {
        const QString v = QString::fromUtf8(raw);
        SCOPED_TRACE(raw);
        const bool quote = v.contains(u'\'');
        struct Place {
            ApproveCells cells;
            QString id;
            bool refused;
            const char* column;  // what the row holds afterwards, when approved
        };
        const Place places[] = {
            {{v, QStringLiteral("Design"), QStringLiteral("1")}, target, quote, "ProjectValue"},
            {{QStringLiteral("Apollo"), v, QStringLiteral("1")}, target, quote, "ActivityValue"},
            {{QStringLiteral("Apollo"), QStringLiteral("Design"), v}, target, true, nullptr},
            {{QStringLiteral("Apollo"), QStringLiteral("Design"), QStringLiteral("1")}, v, true, nullptr},
        };
        for (const Place& p : places) {
            Exec(QStringLiteral("UPDATE tReportedTasks SET Approved = 0 WHERE ID = ") + target);
            const QString others = Snapshot(true);
            const QString all = Snapshot();
            const ReviewOutcome out = ApproveDBItem(p.id, QStringLiteral("task"), p.cells, edits);
            ExpectOutcome(p.refused, Told(out), v);
            EXPECT_EQ(Snapshot(true), others);
            if (p.refused) {
                EXPECT_EQ(Snapshot(), all);
            } else {
                auto row = Open(QStringLiteral("SELECT * FROM tReportedTasks WHERE ID = ") + target);
                EXPECT_EQ(row->Fields(QStringLiteral("Approved")).Value().toInt(), 1);
                EXPECT_EQ(row->Fields(QString::fromLatin1(p.column)).Value().toString(), v);
            }
        }
        // The decline's ID place: refused before the notice, the read and the delete.
        const QString all = Snapshot();
        ExpectOutcome(true, Told(DeleteDBItem(v, QStringLiteral("task"))), v);
        EXPECT_EQ(Snapshot(), all);
    }
}

INSTANTIATE_TEST_SUITE_P(Engines, ValuePlaces, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

}  // namespace
}  // namespace tlm
