// The text export writes each cell straight from the cursor. Its lines must be the cells every other
// reader gives (a recordset's values through CellText), on every engine, whatever the stored form.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QLocale>

#include "core/money.h"
#include "database/db_fixture.h"
#include "database/recordset.h"
#include "reports/report_export.h"
#include "reports/report_fields.h"
#include "reports/report_render.h"
#include "settings/global_settings.h"
#include "support/test_env.h"

namespace tlm {
namespace {

QString DateText(const QDateTime& dt) {
    return dt.toString(QStringLiteral("d MMM yyyy HH:mm:ss"));
}

const QStringList kFields{QStringLiteral("Subject"),       QStringLiteral("Reported By"),
                          QStringLiteral("Reported Date"), QStringLiteral("Total Cost"),
                          QStringLiteral("Duration"),      QStringLiteral("All Day Event"),
                          QStringLiteral("End Date")};

// A cell as the text export writes it: between cell delimiters when it holds a tab or line break.
QString Qualified(const QString& cell) {
    const bool qualify = cell.contains(u'\t') || cell.contains(u'\r') || cell.contains(u'\n');
    return qualify ? QStringLiteral("\r\n") + cell + QStringLiteral("\r\n") : cell;
}

class TextExport : public test::EngineTest {
  protected:
    void SetUp() override {
        if (GetParam() == Engine::PostgreSQL && test::PostgresConnectionString().isEmpty())
            GTEST_FAIL() << test::MissingServerText("PostgreSQL case: TLM_TEST_PG");
        EngineTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        OpenFreshDatabase();
        fields.LoadFieldsToDictionaries(gs, QString(), QString());
    }
    void TearDown() override {
        QLocale::setDefault(QLocale::c());
        EngineTest::TearDown();
    }
    void Add(const QVariantList& values) {
        ASSERT_EQ(
            Exec(QStringLiteral("INSERT INTO tReportedAppointments (Subject, ReportedBy, ReportedDate, "
                                "TotalCost, Duration, AllDayEvent, EndDate) VALUES (?, ?, ?, ?, ?, ?, ?)"),
                 values),
            1);
    }
    ReportDefinition Definition() const {
        return MakeReportDefinition(SqlText(u"SELECT * FROM tReportedAppointments ORDER BY ID"), true,
                                    kFields, fields, 0);
    }
    // The lines every other reader gives: the heading, then a recordset's values through CellText.
    QStringList Expected(const ReportDefinition& def) {
        QStringList lines{kFields.join(u'\t')};
        auto rs = Open(QStringLiteral("SELECT * FROM tReportedAppointments ORDER BY ID"), LockMode::ReadOnly);
        for (; !rs->Eof(); rs->MoveNext()) {
            QStringList cells;
            for (const ReportColumn& c : def.exports)
                cells.append(Qualified(CellText(rs->Fields(c.column).Value(), DateText)));
            lines.append(cells.join(u'\t'));
        }
        return lines;
    }
    cGeneralSettings gs;
    cReportFields fields;
};

TEST_P(TextExport, CellsMatchEveryOtherReader) {
    const QDateTime at(QDate(2026, 3, 4), QTime(9, 30, 15));
    const QVariant null;
    Add({QStringLiteral("Plain"), QStringLiteral("ann"), at, QVariant::fromValue(test::M("1234.5")), 90, true,
         at.addSecs(5400)});
    Add({QString(""), QString(""), QDateTime(QDate(2026, 3, 5), QTime(0, 0)),
         QVariant::fromValue(test::M("0")), 0, false, null});
    Add({null, null, null, null, null, null, null});
    Add({QStringLiteral("Ærø – 北 ☃"), QStringLiteral("Zoë"), at, QVariant::fromValue(test::M("-0.0001")),
         -2147483647 - 1, false, at});
    Add({QStringLiteral("tab\there"), QStringLiteral("line\r\nbreak"), at,
         QVariant::fromValue(test::M("-99999999999.9999")), 2147483647, true, at});
    Add({QStringLiteral("money"), QStringLiteral("x"), at, QVariant::fromValue(test::M("12345678901.2345")),
         15, false, at});
    if (IsSqlite()) {
        // Forms only a file database keeps: text in number and money columns, a number past 32 bits,
        // a fraction in a number column, a date that is not one.
        ASSERT_EQ(
            Exec(QStringLiteral("INSERT INTO tReportedAppointments (Subject, ReportedDate, TotalCost, "
                                "Duration, AllDayEvent, EndDate) VALUES (42, 'soon', 'n/a', 3000000000, "
                                "'True', '2026-02-30 10:00:00')")),
            1);
        ASSERT_EQ(Exec(QStringLiteral("INSERT INTO tReportedAppointments (Subject, ReportedDate, TotalCost, "
                                      "Duration) VALUES ('x', '2026-1-5', 7, 12.5)")),
                  1);
    }
    const ReportDefinition def = Definition();
    QBuffer out;
    ASSERT_TRUE(out.open(QIODevice::WriteOnly));
    const ExportOutcome outcome =
        ExportReportTo(&out, CurrentConnection(), def, ExportFormat::Text, DateText, {}, true);
    ASSERT_TRUE(outcome.ok) << outcome.failure.description.toStdString();
    const QStringList expected = Expected(def);
    EXPECT_EQ(outcome.rows, expected.size() - 1);
    const QString text = QString::fromUtf8(out.data());
    ASSERT_TRUE(text.endsWith(QStringLiteral("\r\n")));
    // Every line as expected, then the summary: totals of cost and duration over the same values.
    const QString body = expected.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n");
    ASSERT_TRUE(text.startsWith(body)) << text.toStdString() << "\n---\n" << body.toStdString();
    const QStringList summary = text.mid(body.size()).chopped(2).split(u'\t');
    ASSERT_EQ(summary.size(), kFields.size());
    double cost = 0;
    double minutes = 0;
    auto rs = Open(QStringLiteral("SELECT * FROM tReportedAppointments"), LockMode::ReadOnly);
    for (; !rs->Eof(); rs->MoveNext()) {
        const QVariant c = rs->Fields("TotalCost").Value();
        if (c.metaType() == QMetaType::fromType<Money>())
            cost += c.value<Money>().toDouble();
        minutes += rs->Fields("Duration").Value().toDouble();
    }
    EXPECT_EQ(summary[3], QLocale().toString(cost, 'f', 2));
    EXPECT_EQ(summary[4], QLocale().toString(minutes, 'f', 0));
}

// Many rows go out in blocks: every row arrives, in order, with nothing lost at a block's edge.
TEST_P(TextExport, RowsPastOneBlockArriveWhole) {
    const int rows = 4000;  // of about 330 bytes: more than one block of 1 MB
    const QString filler(300, u'x');
    ASSERT_TRUE(CurrentConnection()->BeginTransaction());
    for (int i = 0; i < rows; ++i)
        Add({QStringLiteral("Meeting %1 ").arg(i) + filler, QStringLiteral("ann"),
             QDateTime(QDate(2026, 1 + i % 12, 1 + i % 28), QTime(8 + i % 10, i % 60)),
             QVariant::fromValue(Money::fromUnits(i * 12500LL)), i % 240, i % 2 == 0, QVariant()});
    ASSERT_TRUE(CurrentConnection()->CommitTransaction());
    const ReportDefinition def = Definition();
    QBuffer out;
    ASSERT_TRUE(out.open(QIODevice::WriteOnly));
    const ExportOutcome outcome =
        ExportReportTo(&out, CurrentConnection(), def, ExportFormat::Text, DateText, {}, true);
    ASSERT_TRUE(outcome.ok) << outcome.failure.description.toStdString();
    EXPECT_EQ(outcome.rows, rows);
    const QStringList expected = Expected(def);
    const QStringList lines = QString::fromUtf8(out.data()).split(QStringLiteral("\r\n"));
    ASSERT_EQ(lines.size(), rows + 3);  // heading, rows, summary, and the empty rest after the last CR LF
    EXPECT_EQ(lines.mid(0, rows + 1), expected);
}

INSTANTIATE_TEST_SUITE_P(Engines, TextExport, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

}  // namespace
}  // namespace tlm
