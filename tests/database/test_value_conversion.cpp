// Values read back through the cursor (every report and export) and through the recordsets (every
// list) come out with the same type and value, on every engine.
#include <gtest/gtest.h>

#include <QDateTime>
#include <string>
#include <vector>

#include "core/money.h"
#include "database/cursor.h"
#include "database/db_fixture.h"
#include "support/test_env.h"

namespace tlm {
namespace {

using test::M;

QDateTime At(int y, int mo, int d, int h = 0, int mi = 0, int s = 0) {
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s));
}

// Type and value in one text, so a wrong type shows as plainly as a wrong value.
std::string Describe(const QVariant& v) {
    const std::string type = v.metaType().isValid() ? v.metaType().name() : "invalid";
    if (!v.isValid() || v.isNull())
        return "null " + type;
    QString text;
    if (v.metaType() == QMetaType::fromType<Money>()) {
        text = v.value<Money>().toPlainString();
    } else if (v.typeId() == QMetaType::QDateTime) {
        const QDateTime dt = v.toDateTime();
        text = dt.toString(Qt::ISODate) +
               (dt.timeSpec() == Qt::LocalTime ? QStringLiteral(" local") : QStringLiteral(" zoned"));
    } else {
        text = v.toString();
    }
    return type + " " + text.toStdString();
}

QVariant NullOf(QMetaType type) {
    return QVariant(type);
}

struct ValueCase {
    const char* what;
    const char* table;
    const char* column;
    QVariant written;  // bound as the program binds values
    QVariant read;     // what every reader gives back
};

std::vector<ValueCase> Cases() {
    const QMetaType money = QMetaType::fromType<Money>();
    const QMetaType date = QMetaType::fromType<QDateTime>();
    const QMetaType number = QMetaType::fromType<int>();
    const QMetaType text = QMetaType::fromType<QString>();
    return {
        {"date and time", "tProjects", "StartDate", At(2026, 3, 7, 9, 30, 15), At(2026, 3, 7, 9, 30, 15)},
        {"date alone", "tProjects", "StartDate", QDate(2026, 2, 28), At(2026, 2, 28)},
        {"date alone as stored text", "tProjects", "FinishDate", QStringLiteral("2026-12-31"),
         At(2026, 12, 31)},
        {"date in a text column of the file form", "tReportedTasks", "ReportedDate",
         At(2026, 1, 2, 23, 59, 30), At(2026, 1, 2, 23, 59, 30)},
        {"null date", "tProjects", "FinishDate", QVariant(), NullOf(date)},
        {"money", "tProjects", "Rate", QVariant::fromValue(M("1234567.8912")),
         QVariant::fromValue(M("1234567.8912"))},
        {"negative money", "tReportedAppointments", "TotalCost", QVariant::fromValue(M("-5.5")),
         QVariant::fromValue(M("-5.5"))},
        {"large money", "tReportedAppointments", "TotalCost", QVariant::fromValue(M("12345678901.2345")),
         QVariant::fromValue(M("12345678901.2345"))},
        {"large negative money", "tReportedAppointments", "Field9Value",
         QVariant::fromValue(M("-99999999999.9999")), QVariant::fromValue(M("-99999999999.9999"))},
        {"smallest money", "tReportedAppointments", "Field10Value", QVariant::fromValue(M("0.0001")),
         QVariant::fromValue(M("0.0001"))},
        {"null money", "tReportedAppointments", "TotalCost", QVariant(), NullOf(money)},
        {"flag true", "tReportedAppointments", "Approved", true, 1},
        {"flag false", "tReportedAppointments", "AllDayEvent", false, 0},
        {"flag from a number", "tMembers", "AdminAccess", 5, 1},
        {"null flag", "tReportedAppointments", "Approved", QVariant(), NullOf(number)},
        {"16-bit number", "tProjects", "ColorCode", 32767, 32767},
        {"16-bit negative", "tProjects", "ColorCode", -1, -1},
        {"null 16-bit number", "tProjects", "ColorCode", QVariant(), NullOf(number)},
        {"32-bit number", "tReportedAppointments", "Duration", 2147483647, 2147483647},
        {"32-bit negative", "tReportedTasks", "ActualWork", -2147483647 - 1, -2147483647 - 1},
        {"null 32-bit number", "tReportedAppointments", "Duration", QVariant(), NullOf(number)},
        {"text", "tProjects", "ProjectName", QStringLiteral("Ærø – 北"), QStringLiteral("Ærø – 北")},
        {"null text", "tProjects", "ProjectCode", QVariant(), NullOf(text)},
    };
}

class ValueConversion : public test::EngineTest {
  protected:
    void SetUp() override {
        // These readers are the road of every report: the server case never passes unseen.
        if (GetParam() == Engine::PostgreSQL && test::PostgresConnectionString().isEmpty())
            GTEST_FAIL() << test::MissingServerText("PostgreSQL case: TLM_TEST_PG");
        EngineTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        OpenFreshDatabase();
    }
    // The one value of a one-column read, by the cursor and by a recordset.
    std::pair<QVariant, QVariant> ReadBoth(const QString& sql, const QString& column) {
        Cursor cursor(CurrentConnection());
        EXPECT_TRUE(cursor.Open(sql)) << cursor.LastError().description.toStdString();
        EXPECT_TRUE(cursor.Next()) << sql.toStdString();
        EXPECT_EQ(cursor.FieldName(0), column);
        const QVariant byCursor = cursor.Value(0);
        EXPECT_FALSE(cursor.Next());
        auto rs = Open(sql, LockMode::ReadOnly);
        EXPECT_EQ(rs->RecordCount(), 1) << sql.toStdString();
        EXPECT_EQ(rs->Fields(0).Name(), column);
        return {byCursor, rs->Eof() ? QVariant() : rs->Fields(0).Value()};
    }
};

TEST_P(ValueConversion, CursorAndRecordsetReadEveryKindAlike) {
    for (const ValueCase& c : Cases()) {
        SCOPED_TRACE(c.what);
        const QString table = QString::fromLatin1(c.table);
        const QString column = QString::fromLatin1(c.column);
        // Lower case in the statement: both readers give the schema's spelling back.
        ASSERT_EQ(
            Exec(QStringLiteral("INSERT INTO %1 (%2) VALUES (?)").arg(table, column.toLower()), {c.written}),
            1);
        const auto [byCursor, byRecordset] = ReadBoth(
            QStringLiteral("SELECT %2 FROM %1 WHERE ID = (SELECT MAX(ID) FROM %1)").arg(table, column),
            column);
        EXPECT_EQ(Describe(byCursor), Describe(c.read));
        EXPECT_EQ(Describe(byRecordset), Describe(c.read));
    }
    // A computed decimal reads as money, exact, by both readers: the sum of the money rows above.
    const auto [sumByCursor, sumByRecordset] = ReadBoth(
        QStringLiteral("SELECT SUM(TotalCost) AS total FROM tReportedAppointments"), QStringLiteral("total"));
    const QVariant sum = QVariant::fromValue(M("12345678895.7345"));
    EXPECT_EQ(Describe(sumByCursor), Describe(sum));
    EXPECT_EQ(Describe(sumByRecordset), Describe(sum));
}

INSTANTIATE_TEST_SUITE_P(Engines, ValueConversion, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

}  // namespace
}  // namespace tlm
