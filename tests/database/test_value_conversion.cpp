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
    // The one value of a one-column read, by the cursor and by a recordset. The cursor's value
    // comes two ways, as a QVariant and as the cell the text export writes; both must agree.
    std::pair<QVariant, QVariant> ReadBoth(const QString& sql, const QString& column) {
        Cursor cursor(CurrentConnection());
        EXPECT_TRUE(cursor.Open(sql)) << cursor.LastError().description.toStdString();
        EXPECT_TRUE(cursor.Next()) << sql.toStdString();
        EXPECT_EQ(cursor.FieldName(0), column);
        const QVariant byCursor = cursor.Value(0);
        StoredColumn described{column, KindOfColumn(column), 0};
        EXPECT_EQ(Describe(StoredCellValue(cursor.Cell(0), described)), Describe(byCursor))
            << sql.toStdString();
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

// Values as the engine itself stores them, not as the program binds them: SQLite keeps a text in a
// number column and a number in a money column as they come. The cursor's QVariant, its cell and the
// recordset read each alike.
TEST_P(ValueConversion, CursorCellsMatchTheRecordsetForStoredForms) {
    struct Stored {
        const char* what;
        const char* table;
        const char* column;
        const char* literal;
        bool everyEngine;
    };
    const std::vector<Stored> cases = {
        {"empty text", "tReportedAppointments", "Subject", "''", true},
        {"text beyond ASCII", "tReportedAppointments", "Subject", "'Ærø – 北 ☃'", true},
        {"text with a tab and a line break", "tReportedAppointments", "Subject", "'a	b' || CHR(10) || 'c'",
         false},
        {"whole money", "tReportedAppointments", "TotalCost", "5", true},
        {"fractional money", "tReportedAppointments", "TotalCost", "0.1", true},
        {"money with four decimals", "tReportedAppointments", "TotalCost", "98765.4321", true},
        {"money as words", "tReportedAppointments", "TotalCost", "'n/a'", false},
        {"date and time text", "tReportedAppointments", "ReportedDate", "'2026-01-05 07:08:09'", true},
        {"date with fractions", "tReportedAppointments", "ReportedDate", "'2026-01-05 07:08:09.250'", true},
        {"date text that is no date", "tReportedTasks", "ReportedDate", "'soon'", false},
        {"impossible day", "tReportedAppointments", "ReportedDate", "'2026-02-30 07:08:09'", false},
        {"number past 32 bits", "tReportedAppointments", "Duration", "3000000000", false},
        {"fraction in a number column", "tReportedAppointments", "Duration", "12.5", false},
        {"words in a number column", "tReportedAppointments", "Duration", "'abc'", false},
        {"flag from a number", "tReportedAppointments", "Approved", "7", true},
        {"flag as a word", "tReportedAppointments", "Approved", "'True'", false},
    };
    // Money kept as an 8-byte number: its four decimals come from the shortest exact text, rounded
    // half to even, including values that lie exactly on a tie past the fourth or tenth decimal.
    std::vector<Stored> all = cases;
    for (const char* number : {"0.00048828125", "-0.00048828125", "1.00005", "-5.00005", "2.675", "0.1",
                               "99999.99995", "1234567.89125", "123456789012.34565", "0.0000000001",
                               "3.0000499999", "-7.25", "0.00015", "0.00025", "899999999999999.5"})
        all.push_back({number, "tReportedAppointments", "TotalCost", number, false});
    for (const Stored& c : all) {
        if (!c.everyEngine && !IsSqlite())
            continue;
        SCOPED_TRACE(c.what);
        QString literal = QString::fromUtf8(c.literal);
        if (IsSqlite())
            literal.replace(QStringLiteral("CHR(10)"), QStringLiteral("char(10)"));
        const QString table = QString::fromLatin1(c.table);
        const QString column = QString::fromLatin1(c.column);
        ASSERT_EQ(Exec(QStringLiteral("INSERT INTO %1 (%2) VALUES (%3)").arg(table, column, literal)), 1);
        const QString sql =
            QStringLiteral("SELECT %2 FROM %1 WHERE ID = (SELECT MAX(ID) FROM %1)").arg(table, column);
        auto rs = Open(sql, LockMode::ReadOnly);
        ASSERT_FALSE(rs->Eof());
        const QVariant reference = rs->Fields(0).Value();
        const auto [byCursor, byRecordset] = ReadBoth(sql, column);
        EXPECT_EQ(Describe(byCursor), Describe(reference));
        EXPECT_EQ(Describe(byRecordset), Describe(reference));
    }
    // Computed columns: the cursor's first row tells their types, as the driver's does.
    for (const char* computed : {"SELECT COUNT(*) AS n FROM tReportedAppointments",
                                 "SELECT MAX(Subject) AS n FROM tReportedAppointments",
                                 "SELECT SUM(TotalCost) AS n FROM tReportedAppointments"}) {
        SCOPED_TRACE(computed);
        auto rs = Open(QString::fromLatin1(computed), LockMode::ReadOnly);
        const auto [byCursor, byRecordset] = ReadBoth(QString::fromLatin1(computed), QStringLiteral("n"));
        EXPECT_EQ(Describe(byCursor), Describe(byRecordset));
    }
}

// A read of some columns of "SELECT * FROM t" gives those columns as the whole read gives them; a
// column the table lacks (in the schema or in an older database) is simply not found, never an error.
TEST_P(ValueConversion, ReadOfSomeColumnsGivesWhatTheWholeReadGives) {
    ASSERT_EQ(Exec(QStringLiteral("INSERT INTO tReportedAppointments (Subject, Body, TotalCost, Duration) "
                                  "VALUES (?, ?, ?, ?)"),
                   {QStringLiteral("Ærø"), QStringLiteral("notes"), QVariant::fromValue(M("12.5")), 90}),
              1);
    const SqlText sql(u"SELECT * FROM tReportedAppointments WHERE ID > 0 ORDER BY ID");
    const QStringList wanted{QStringLiteral("totalcost"), QStringLiteral("Subject"),
                             QStringLiteral("Duration")};
    // One statement at a time: PostgreSQL sends rows one by one on the connection.
    QStringList byWholeRead;
    {
        Cursor whole(CurrentConnection());
        ASSERT_TRUE(whole.Open(sql)) << whole.LastError().description.toStdString();
        ASSERT_TRUE(whole.Next());
        for (const QString& name : wanted)
            byWholeRead.append(whole.FieldName(whole.FieldIndex(name)) + u' ' +
                               QString::fromStdString(Describe(whole.Value(whole.FieldIndex(name)))));
    }
    Cursor some(CurrentConnection());
    ASSERT_TRUE(some.Open(sql, wanted + QStringList{QStringLiteral("NoSuchColumn")}))
        << some.LastError().description.toStdString();
    ASSERT_TRUE(some.Next());
    EXPECT_EQ(some.FieldIndex(QStringLiteral("Body")), -1);  // not read
    EXPECT_EQ(some.FieldIndex(QStringLiteral("NoSuchColumn")), -1);
    QStringList bySomeRead;
    for (const QString& name : wanted)
        bySomeRead.append(some.FieldName(some.FieldIndex(name)) + u' ' +
                          QString::fromStdString(Describe(some.Value(some.FieldIndex(name)))));
    EXPECT_EQ(bySomeRead, byWholeRead);
    EXPECT_FALSE(some.Next());
    EXPECT_FALSE(some.LastError().isSet());
    some.Close();
    // An older database without a column the schema names: everything is read, as before.
    ASSERT_GE(Exec(QStringLiteral("ALTER TABLE tReportedAppointments DROP COLUMN Body")), 0);
    Cursor older(CurrentConnection());
    ASSERT_TRUE(older.Open(sql, {QStringLiteral("Body"), QStringLiteral("Subject")}))
        << older.LastError().description.toStdString();
    ASSERT_TRUE(older.Next());
    EXPECT_EQ(older.FieldIndex(QStringLiteral("Body")), -1);
    EXPECT_EQ(Describe(older.Value(older.FieldIndex(QStringLiteral("Subject")))),
              Describe(QStringLiteral("Ærø")));
    EXPECT_GE(older.FieldIndex(QStringLiteral("Field1Value")), 0);  // the whole row
}

INSTANTIATE_TEST_SUITE_P(Engines, ValueConversion, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

}  // namespace
}  // namespace tlm
