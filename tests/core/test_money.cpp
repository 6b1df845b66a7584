#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include "core/error_report.h"
#include "core/money.h"
#include "support/test_env.h"

using namespace tlm;

TEST(Money, ParsesExactlyAndRoundsHalfToEven) {
    EXPECT_EQ(Money::parse(QStringLiteral("67.5"))->units, 675000);
    EXPECT_EQ(Money::parse(QStringLiteral("-3.25"))->units, -32500);
    EXPECT_EQ(Money::parse(QStringLiteral("1,234.5678"))->units, 12345678);
    EXPECT_EQ(Money::parse(QStringLiteral("0.00005"))->units, 0);   // tie to even (0)
    EXPECT_EQ(Money::parse(QStringLiteral("0.00015"))->units, 2);   // tie to even (2)
    EXPECT_EQ(Money::parse(QStringLiteral("0.000051"))->units, 1);  // above the tie
    EXPECT_EQ(Money::parse(QStringLiteral(".5"))->units, 5000);
    for (const char* bad : {"", "-", "1.2.3", "abc", "1e5", "99999999999999999999"})
        EXPECT_FALSE(Money::parse(QString::fromLatin1(bad)).has_value()) << bad;
}

TEST(Money, FormatsWithoutFloatingPoint) {
    EXPECT_EQ(Money::fromUnits(84375).toString(2), QStringLiteral("8.44"));
    EXPECT_EQ(Money::fromUnits(84250).toString(2), QStringLiteral("8.42"));  // 8.425 -> even
    EXPECT_EQ(Money::fromUnits(-5).toString(4), QStringLiteral("-0.0005"));
    EXPECT_EQ(Money::fromUnits(675000).toPlainString(), QStringLiteral("67.5"));
    EXPECT_EQ(Money::fromUnits(INT64_MAX).toString(), QStringLiteral("922337203685477.5807"));
}

TEST(Money, ConvertsWhatDriversHandBack) {
    EXPECT_EQ(Money::fromVariant(QVariant(0.1))->units, 1000);
    EXPECT_EQ(Money::fromVariant(QVariant(qlonglong(7)))->units, 70000);
    EXPECT_EQ(Money::fromVariant(QStringLiteral("12.3400"))->units, 123400);
    EXPECT_EQ(Money::fromVariant(QVariant())->units, 0);
    EXPECT_FALSE(Money::fromVariant(QStringLiteral("n/a")).has_value());
}

TEST(Money, MulDivRoundsOnceAtTheEnd) {
    // 45.00 an hour for 90 minutes.
    EXPECT_EQ(Money::fromInt(45).mulDiv(90, 60).toString(2), QStringLiteral("67.50"));
    // 4.50 an hour for 112.5 minutes: 8.4375 exactly.
    EXPECT_EQ(Money::parse(QStringLiteral("4.5"))->mulDiv(1125, 600).toString(), QStringLiteral("8.4375"));
    EXPECT_EQ(Money::fromUnits(1).mulDiv(1, 2).units, 0);
    EXPECT_EQ(Money::fromUnits(3).mulDiv(1, 2).units, 2);
    EXPECT_EQ(Money::fromUnits(-3).mulDiv(1, 2).units, -2);
    EXPECT_EQ(Money::fromInt(5).mulDiv(1, 0).units, 0);
    EXPECT_EQ(DivRoundHalfEven(-7, 2), -4);
    EXPECT_EQ(DivRoundHalfEven(7, -2), -4);
}

// Past the range a conversion never wraps or truncates: it reports "Overflow" through the failure
// path, names its routine, and gives 0; the largest value that fits passes untouched.
TEST(Money, ConversionsPastTheRangeReportOverflow) {
    test::RecordingPresenter presenter;
    ResetErrorReportingForTests();
    SetErrorPresenter(&presenter);
    const std::int64_t maxWhole = INT64_MAX / Money::kScale;
    struct Case {
        const char* routine;
        std::function<Money()> convert;
        bool overflows;
    };
    const std::vector<Case> cases = {
        {"fromInt", [&] { return Money::fromInt(maxWhole); }, false},
        {"fromInt", [&] { return Money::fromInt(maxWhole + 1); }, true},
        {"fromInt", [&] { return Money::fromInt(INT64_MIN / Money::kScale - 1); }, true},
        {"fromDouble", [] { return Money::fromDouble(9.2e14); }, false},
        {"fromDouble", [] { return Money::fromDouble(1e15); }, true},
        {"fromDouble", [] { return Money::fromDouble(-1e300); }, true},
        {"fromDouble", [] { return Money::fromDouble(std::nan("")); }, true},
        {"fromVariant", [] { return *Money::fromVariant(QVariant(qulonglong(UINT64_MAX))); }, true},
        {"fromInt", [] { return *Money::fromVariant(QVariant(qlonglong(1) << 60)); }, true},
        {"mulDiv", [] { return Money::fromUnits(INT64_MAX / 2).mulDiv(3, 1); }, true},
        {"mulDiv", [] { return Money::fromUnits(INT64_MAX).mulDiv(60, 61); }, false},
    };
    for (const Case& c : cases) {
        // The failure path shows one report per process; each case starts afresh.
        ResetErrorReportingForTests();
        SetErrorPresenter(&presenter);
        const qsizetype before = presenter.reports.size() + presenter.friendly.size();
        const Money m = c.convert();
        const QStringList all = presenter.reports + presenter.friendlyReports;
        const bool reported = presenter.reports.size() + presenter.friendly.size() > before;
        EXPECT_EQ(reported, c.overflows) << c.routine;
        if (c.overflows) {
            EXPECT_EQ(m.units, 0) << c.routine;
            EXPECT_TRUE(all.last().contains(QStringLiteral("Overflow"))) << all.last().toStdString();
            EXPECT_TRUE(all.last().contains(QStringLiteral("Money.") + QLatin1String(c.routine)))
                << all.last().toStdString();
        } else {
            EXPECT_NE(m.units, 0) << c.routine;
        }
    }
    SetErrorPresenter(nullptr);
    ResetErrorReportingForTests();
}
