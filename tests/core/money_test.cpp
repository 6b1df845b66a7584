#include <gtest/gtest.h>

#include "core/money.h"

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
