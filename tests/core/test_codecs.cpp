#include <gtest/gtest.h>

#include "core/codecs.h"
#include "core/money.h"

using namespace tlm;

TEST(Escape, RoundTripsTheThreeSeparatorsAndHasNoEscapeOfItsOwn) {
    EXPECT_EQ(EncodeValue(QStringLiteral("a:b;c,d")), QStringLiteral("a_COLON_b_SCOLON_c_COMMA_d"));
    EXPECT_EQ(DecodeValue(EncodeValue(QStringLiteral("::;;,,x"))), QStringLiteral("::;;,,x"));
    // A literal marker in the text cannot survive the round trip; the stored format depends on it.
    EXPECT_EQ(DecodeValue(EncodeValue(QStringLiteral("x_COMMA_y"))), QStringLiteral("x,y"));
    EXPECT_EQ(EncodeValue(QVariant(12)), QStringLiteral("12"));
}

TEST(DateText, IsUnpaddedAndTheThreeNoDateYearsAreEmpty) {
    EXPECT_EQ(ToTallyloomDateFormat(QDate(2026, 3, 7)), QStringLiteral("2026-3-7"));
    EXPECT_EQ(ToTallyloomDateFormat(QDateTime(QDate(4501, 1, 1), QTime())), QStringLiteral("4501-1-1"));
    for (const QDate& none : {ZeroDate().date(), QDate(4501, 1, 1), QDate(1, 1, 1)})
        EXPECT_EQ(fncGetDateTextOrEmpty(QDateTime(none, QTime())), QString()) << none.year();
    EXPECT_EQ(fncGetDateTextOrEmpty(QDateTime(QDate(2026, 11, 23), QTime(8, 0))),
              QStringLiteral("2026-11-23"));
    EXPECT_FALSE(IsEmptyDate(QDate(1900, 1, 1)));
}

TEST(DateText, ParsesWithCarryAndFallsBackToZero) {
    EXPECT_EQ(FromTallyloomDateFormat(QStringLiteral("2026-3-7")).date(), QDate(2026, 3, 7));
    EXPECT_EQ(FromTallyloomDateFormat(QStringLiteral("2026-13-1")).date(), QDate(2027, 1, 1));
    EXPECT_EQ(FromTallyloomDateFormat(QStringLiteral("2026-2-30")).date(), QDate(2026, 3, 2));
    EXPECT_EQ(FromTallyloomDateFormat(QStringLiteral("2026-3-0")).date(), QDate(2026, 2, 28));
    EXPECT_EQ(FromTallyloomDateFormat(QStringLiteral("2026-0-15")).date(), QDate(2025, 12, 15));
    EXPECT_EQ(FromTallyloomDateFormat(QStringLiteral(" 2026-03-07 ")).date(), QDate(2026, 3, 7));
    for (const char* bad : {"", "2026-3", "x-1-1", "2026-1-1e9", "99999-1-1", "2026--1"})
        EXPECT_EQ(FromTallyloomDateFormat(QString::fromLatin1(bad)), ZeroDate()) << bad;
    // Two-digit years follow the date builder.
    EXPECT_EQ(DateSerial(5, 1, 1), QDate(2005, 1, 1));
    EXPECT_EQ(DateSerial(45, 1, 1), QDate(1945, 1, 1));
    EXPECT_FALSE(DateSerial(10000, 1, 1).isValid());
}

TEST(FieldChange, NullEmptyAndFlagRules) {
    const QVariant nullText(QMetaType::fromType<QString>());
    EXPECT_TRUE(IsFieldChanged(nullText, QString()));        // empty text against NULL: changed
    EXPECT_FALSE(IsFieldChanged(QString(""), QString("")));  // empty against empty: same
    EXPECT_FALSE(IsFieldChanged(QString("abc"), nullText));  // a NULL new value is never a change
    EXPECT_TRUE(IsFieldChanged(nullText, QVariant()));       // empty variant is not NULL
    EXPECT_FALSE(IsFieldChanged(QString(""), QVariant()));   // empty variant equals empty text
    // Older files hold a set flag as -1, newer ones as 1: a save with no change must write nothing.
    EXPECT_FALSE(IsFieldChanged(QVariant(-1), QVariant(true)));
    EXPECT_FALSE(IsFieldChanged(QVariant(qint16(1)), QVariant(true)));
    EXPECT_FALSE(IsFieldChanged(QVariant(0), QVariant(false)));
    EXPECT_TRUE(IsFieldChanged(QVariant(-1), QVariant(false)));
    EXPECT_TRUE(IsFieldChanged(QVariant(QMetaType::fromType<int>()), QVariant(false)));  // NULL column
}

TEST(FieldChange, TextsExactNumbersAndDatesByValue) {
    EXPECT_TRUE(IsFieldChanged(QString("Alpha"), QString("alpha")));
    EXPECT_FALSE(IsFieldChanged(QVariant(5), QVariant(5.0)));
    EXPECT_FALSE(IsFieldChanged(QVariant(5), QString("5")));
    EXPECT_TRUE(IsFieldChanged(QVariant(5), QString("5.5")));
    EXPECT_TRUE(IsFieldChanged(QVariant(5), QString("five")));
    EXPECT_FALSE(IsFieldChanged(QVariant::fromValue(Money::fromUnits(675000)), QString("67.5")));
    EXPECT_TRUE(IsFieldChanged(QVariant::fromValue(Money::fromUnits(675000)), QString("67.51")));
    const QDateTime d(QDate(2026, 3, 7), QTime(0, 0));
    EXPECT_FALSE(IsFieldChanged(d, QVariant(QDate(2026, 3, 7))));
    EXPECT_TRUE(IsFieldChanged(d, QVariant(QDate(2026, 3, 8))));
}

TEST(Numbers, IntegerConversionRoundsHalfToEvenAndChecksRange) {
    bool ok = false, overflow = false;
    EXPECT_EQ(ToInt16(QStringLiteral(" 14 "), &ok), 14);
    EXPECT_TRUE(ok);
    EXPECT_EQ(ToInt16(QStringLiteral("2.5"), &ok), 2);
    EXPECT_EQ(ToInt16(QStringLiteral("3.5"), &ok), 4);
    EXPECT_EQ(ToInt16(QStringLiteral("-32768"), &ok), -32768);
    EXPECT_TRUE(ok);
    ToInt16(QStringLiteral("32768"), &ok, &overflow);
    EXPECT_FALSE(ok);
    EXPECT_TRUE(overflow);
    EXPECT_TRUE(IsNumericText(QStringLiteral("1e3")));
    EXPECT_FALSE(IsNumericText(QStringLiteral("0x10")));
}
