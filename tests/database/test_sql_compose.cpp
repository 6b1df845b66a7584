// The value composers: what each kind of place takes, what it refuses, and that a refusal leaves
// nothing that could run.
#include <gtest/gtest.h>

#include <QLocale>

#include "database/dialect.h"
#include "database/sql_compose.h"

namespace tlm {
namespace {

// The inputs members' clients and users have been seen to write, and plain values.
const char* const kHostile[] = {
    "P', ActivityValue = 'Hacked' --",
    "0 OR EXISTS(SELECT 1 AS \xe2\x82\xac$x$); DROP TABLE victim; --$x$",
    "') OR EXISTS(SELECT 1 AS \xe2\x82\xac$x$)); DROP TABLE victim; --$x$",
    "0 DELETE FROM tMembers --",
    "-1 UNION SELECT ID, KeyID FROM tGeneralSettings",
    "X] DROP DATABASE [Prod",
    "1; DROP TABLE victim",
    "1 --",
    "--1",
    "",
};

TEST(SqlCompose, EachPlaceTakesOnlyItsKind) {
    struct Case {
        const char* value;
        bool text, number, integer, identifier;
    };
    const Case cases[] = {
        {"Apollo", true, false, false, true},
        {"kim lee", true, false, false, false},
        {"O'Brien", false, false, false, false},
        {"12.5", true, true, false, false},
        {"-7", true, true, true, false},
        {" 42 ", true, true, true, false},
        {".5", true, true, false, false},
        {"1e3", true, true, false, true},
        {"Caf\xc3\xa9_2", true, false, false, true},
        {"a\\b", true, false, false, false},
        {"0x10", true, false, false, true},
        {"1e3e3", true, false, false, true},
    };
    for (const Case& c : cases) {
        const QString v = QString::fromUtf8(c.value);
        SCOPED_TRACE(c.value);
        EXPECT_EQ(SqlText().Text(v).ok(), c.text);
        EXPECT_EQ(SqlText().Number(v).ok(), c.number);
        EXPECT_EQ(SqlText().Integer(v).ok(), c.integer);
        EXPECT_EQ(SqlText().Identifier(v).ok(), c.identifier);
    }
    // A NUL would end the text where a driver reads it as a C string.
    EXPECT_FALSE(SqlText().Text(QStringLiteral("nul") + QChar(0) + QStringLiteral("x")).ok());
    for (const char* raw : kHostile) {
        const QString v = QString::fromUtf8(raw);
        SCOPED_TRACE(raw);
        EXPECT_FALSE(SqlText().Number(v).ok());
        EXPECT_FALSE(SqlText().Integer(v).ok());
        EXPECT_FALSE(SqlText().Identifier(v).ok());
        // Between quotes only the quote itself is dangerous.
        EXPECT_EQ(SqlText().Text(v).ok(), !v.contains(u'\''));
    }
}

TEST(SqlCompose, OrdinaryValuesComposeTheConcatenatedTextAndRefusalsLeaveNone) {
    SqlText ok(u"UPDATE t SET Approved = ");
    ok.Integer(1).Words(u", ProjectValue = ").Text(u"Apollo").Words(u", TotalCost = ").Number(u"12.5");
    ok.Words(u" WHERE ID = ").Integer(u"7").Words(u" and d = #").Date(QDate(2026, 3, 7)).Words(u"#");
    EXPECT_TRUE(ok.ok());
    EXPECT_EQ(
        ok.sql(),
        QStringLiteral("UPDATE t SET Approved = 1, ProjectValue = 'Apollo', TotalCost = 12.5 WHERE ID = 7 "
                       "and d = #2026-3-7#"));

    // A refusal anywhere empties the whole text and keeps the first refusal, whatever follows.
    SqlText bad(u"Select * from TABLENAME where ProjectValue = ");
    bad.Text(u"O'Brien").Words(u" and TotalCost = ").Number(u"x").Replace(u"TABLENAME", u"tReportedTasks");
    EXPECT_FALSE(bad.ok());
    EXPECT_TRUE(bad.sql().isEmpty());
    ASSERT_TRUE(bad.refusal().has_value());
    EXPECT_TRUE(bad.refusal()->description.contains(QStringLiteral("'Brien")))
        << bad.refusal()->description.toStdString();
    SqlText joined(u"a = 1");
    joined.Append(bad).Words(u" and b = 2");
    EXPECT_FALSE(joined.ok());
    EXPECT_TRUE(joined.sql().isEmpty());
}

TEST(SqlCompose, RefusalsReadAsTheEnginesOwnUnbalancedQuote) {
    const QString v = QStringLiteral("'Brien");
    EXPECT_TRUE(UnbalancedQuoteFailure(v, Engine::SQLite)
                    .description.startsWith(QStringLiteral("unrecognized token: \"'")));
    EXPECT_TRUE(UnbalancedQuoteFailure(v, Engine::PostgreSQL)
                    .description.contains(QStringLiteral("unterminated quoted string")));
    EXPECT_TRUE(UnbalancedQuoteFailure(v, Engine::SqlServer)
                    .description.contains(QStringLiteral("Unclosed quotation mark")));
    // A long value is cut in the message, as the engines cut theirs.
    EXPECT_LT(UnbalancedQuoteFailure(QString(5000, u'x'), Engine::SQLite).description.size(), 200);
}

TEST(SqlCompose, ANumberInTheUsersLocaleIsPlacedInTheInvariantForm) {
    struct Case {
        QLocale locale;
        const char* typed;
        const char* placed;  // nullptr: refused
    };
    const Case cases[] = {
        {QLocale(QLocale::German, QLocale::Germany), "1.234,5", "1234.5"},
        {QLocale(QLocale::German, QLocale::Germany), "12,50", "12.50"},
        {QLocale(QLocale::German, QLocale::Germany), "12.5", "12.5"},  // the invariant form is taken as typed
        {QLocale(QLocale::French, QLocale::France),
         "1\xe2\x80\xaf"
         "234,5",
         "1234.5"},
        {QLocale(QLocale::English, QLocale::UnitedStates), "1,234.50", "1234.50"},
        {QLocale(QLocale::German, QLocale::Germany), "12,5); DROP TABLE t", nullptr},
    };
    for (const Case& c : cases) {
        QLocale::setDefault(c.locale);
        SCOPED_TRACE(c.typed);
        const SqlText s = SqlText().Number(QString::fromUtf8(c.typed));
        if (c.placed)
            EXPECT_EQ(s.sql(), QString::fromUtf8(c.placed));
        else
            EXPECT_FALSE(s.ok());
    }
    QLocale::setDefault(QLocale::c());
}

}  // namespace
}  // namespace tlm
