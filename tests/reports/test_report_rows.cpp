// The packed rows of a report give back every cell as it went in, in any order of reading, and a
// large report is kept in a fraction of its plain size.
#include <gtest/gtest.h>

#include <QDate>
#include <QDateTime>
#include <QTime>
#include <random>

#include "core/money.h"
#include "reports/report_rows.h"

namespace tlm {
namespace {

// Every kind of value a cursor hands over, the awkward ones included.
std::vector<QVariant> Samples() {
    static const char kOdd[] = "Ünïcödé ✓ 日本 \U0001F600 and a\0nul";
    return {
        QVariant(),
        QVariant(QMetaType::fromType<QString>()),
        QVariant(QMetaType::fromType<QDateTime>()),
        QVariant(QMetaType::fromType<double>()),
        QVariant(QString()),
        QVariant(QStringLiteral("")),
        QVariant(QStringLiteral("Design review")),
        QVariant(QString::fromUtf8(kOdd, sizeof kOdd - 1)),
        QVariant(0),
        QVariant(-1),
        QVariant(std::numeric_limits<int>::min()),
        QVariant(qlonglong(std::numeric_limits<qint64>::max())),
        QVariant(qlonglong(std::numeric_limits<qint64>::min())),
        QVariant(942.5),
        QVariant(-0.0),
        QVariant(1e300),
        QVariant(true),
        QVariant(false),
        QVariant(QDateTime(QDate(2026, 3, 29), QTime(2, 30), Qt::UTC)),
        QVariant(QDateTime(QDate(1899, 12, 30), QTime(0, 0, 0, 1), Qt::LocalTime)),
        QVariant(QDate(2026, 11, 25)),
        QVariant(QTime(23, 59, 59)),
        QVariant(QByteArray("\x00\xff\x80", 3)),
        QVariant::fromValue(Money::fromUnits(-12345678)),
        QVariant(quint32(4000000000u)),
    };
}

void ExpectSame(const QVariant& got, const QVariant& want, qint64 row, int column) {
    SCOPED_TRACE(testing::Message() << "row " << row << " column " << column << " want " << want.typeName()
                                    << " " << want.toString().toStdString());
    ASSERT_EQ(got.isValid(), want.isValid());
    ASSERT_EQ(got.typeId(), want.typeId());
    ASSERT_EQ(got.isNull(), want.isNull());
    if (want.metaType() == QMetaType::fromType<Money>()) {
        EXPECT_EQ(got.value<Money>().units, want.value<Money>().units);
    } else if (want.typeId() == QMetaType::Double) {
        EXPECT_EQ(std::signbit(got.toDouble()), std::signbit(want.toDouble()));
        EXPECT_EQ(got.toDouble(), want.toDouble());
    } else if (want.typeId() == QMetaType::QString) {
        EXPECT_EQ(got.toString().isNull(), want.toString().isNull());
        EXPECT_EQ(got.toString(), want.toString());
    } else if (want.typeId() == QMetaType::QDateTime && !want.isNull()) {
        EXPECT_EQ(got.toDateTime().timeSpec(), want.toDateTime().timeSpec());
        EXPECT_EQ(got.toDateTime().toMSecsSinceEpoch(), want.toDateTime().toMSecsSinceEpoch());
    } else {
        EXPECT_EQ(got, want);
    }
}

// Rows where each cell is a sample picked by position, so any row's contents are known.
const QVariant& Expected(const std::vector<QVariant>& samples, qint64 row, int column) {
    return samples[size_t((row * 7 + column * 3) % qint64(samples.size()))];
}

TEST(ReportRows, EveryCellComesBackInAnyOrderCompressedOrNot) {
    const std::vector<QVariant> samples = Samples();
    const int columns = 5;
    // Rows past a few blocks and into an unfinished last one.
    const qint64 count = ReportRows::kRowsPerBlock * 3 + 17;
    for (const qsizetype rawLimit : {qsizetype(0), qsizetype(20000), ReportRows::kDefaultRawLimit}) {
        SCOPED_TRACE(testing::Message() << "raw limit " << rawLimit);
        ReportRows rows({"a", "b", "c", "d", "e"}, rawLimit);
        for (qint64 r = 0; r < count; ++r) {
            for (int c = 0; c < columns; ++c)
                rows.Append(Expected(samples, r, c));
            rows.CountRow();
        }
        ASSERT_EQ(rows.Count(), count);
        EXPECT_EQ(rows.ColumnOf("d"), 3);
        EXPECT_EQ(rows.ColumnOf("z"), -1);

        ReportRows::Reader forward(rows);
        for (qint64 r = 0; r < count; ++r)
            for (int c = 0; c < columns; ++c)
                ExpectSame(forward.At(r, c), Expected(samples, r, c), r, c);

        // Backwards, jumping between blocks, and two readers taking turns.
        ReportRows::Reader a(rows);
        ReportRows::Reader b(rows);
        std::mt19937 random(int(rawLimit) + 7);
        std::uniform_int_distribution<qint64> anyRow(0, count - 1);
        for (int i = 0; i < 400; ++i) {
            const qint64 r = i < 50 ? count - 1 - i * 3 : anyRow(random);
            const int c = i % columns;
            ExpectSame((i % 2 ? a : b).At(r, c), Expected(samples, r, c), r, c);
            if (HasFatalFailure())
                return;
        }
    }
}

TEST(ReportRows, ALargeReportIsKeptSmall) {
    // Typical report rows: repeated names, projects and dates, varied subjects and costs.
    const auto fill = [](ReportRows& rows, qint64 count) {
        for (qint64 r = 0; r < count; ++r) {
            rows.Append(QStringLiteral("Weekly sync with the delivery team #%1").arg(r % 5000));
            rows.Append(QStringLiteral("member%1@example.org").arg(r % 40));
            rows.Append(QDateTime(QDate(2026, 1, 1).addDays(r % 300), QTime(9, 0), Qt::LocalTime));
            rows.Append(QStringLiteral("Project %1").arg(r % 25));
            rows.Append(double(r % 1000) * 2.5);
            rows.CountRow();
        }
    };
    const qint64 count = 60000;
    ReportRows plain({"s", "m", "d", "p", "c"}, std::numeric_limits<qsizetype>::max());
    fill(plain, count);
    ReportRows packed({"s", "m", "d", "p", "c"}, qsizetype(1) << 18);
    fill(packed, count);

    // Far below a QVariant per cell (70 bytes or more each for these), and compression halves it again.
    EXPECT_LT(plain.HeldBytes(), count * 5 * 25);
    EXPECT_LT(packed.HeldBytes(), plain.HeldBytes() / 2);

    ReportRows::Reader reader(packed);
    EXPECT_EQ(reader.At(count - 1, 0).toString(),
              QStringLiteral("Weekly sync with the delivery team #%1").arg((count - 1) % 5000));
    EXPECT_EQ(reader.At(43210, 4).toDouble(), double(43210 % 1000) * 2.5);
}

}  // namespace
}  // namespace tlm
