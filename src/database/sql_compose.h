#pragma once

#include <QDate>
#include <QString>
#include <QStringView>
#include <optional>

#include "core/failure.h"
#include "database/dialect.h"

namespace tlm {

// A statement text made of the program's own words and of values, each value placed by the composer
// of its kind. Values come from users and from members' clients, so none may reach the grammar:
//   Text        'value'        refused when it holds a quote or a NUL (the quote would end the literal)
//   Number      1.5, -2, 1e3   as typed in the invariant form; a locale form ("1.234,5") is placed in
//                              the invariant form ("1234.5"); anything else is refused
//   Integer     42             whole numbers only (row IDs)
//   Date        2026-3-7       only a date the program formats (the shared Y-M-D text)
//   Identifier  TallyloomDB    letters, digits and '_' (fits bare and between [], "" and '')
// A refused value leaves the whole statement refused: its text is empty and it carries the failure
// the engine gives for an unbalanced quote, so a caller reports it through the shared failure path
// and nothing runs. Ordinary values compose exactly the text concatenation would.
class SqlText {
  public:
    SqlText() = default;
    explicit SqlText(QStringView words) { Words(words); }

    SqlText& Words(QStringView programWords);
    SqlText& Text(QStringView value);
    SqlText& Number(QStringView typed);
    SqlText& Integer(QStringView typed);
    SqlText& Integer(qint64 value);
    SqlText& Date(const QDate& date);
    SqlText& Identifier(QStringView name);
    SqlText& Append(const SqlText& other);

    // Every occurrence of a token of the program's own (TABLENAME) made into program words.
    SqlText& Replace(QStringView token, QStringView words);

    bool ok() const { return !refusal_.has_value(); }
    // Empty when refused.
    const QString& sql() const { return sql_; }
    const std::optional<Failure>& refusal() const { return refusal_; }

  private:
    void Refuse(QStringView value);

    QString sql_;
    std::optional<Failure> refusal_;
};

namespace sqlcompose {
// What each composer accepts, for the screens that check before composing and for tests.
bool IsPlaceableText(QStringView value);
// The invariant form of a typed number (locale or invariant), or nothing.
std::optional<QString> NumberText(QStringView typed);
bool IsWholeNumber(QStringView typed);
bool IsIdentifier(QStringView name);
}  // namespace sqlcompose

// The failure an engine gives for a quote left open at `fragment` (the value from its quote on):
// SQLite's "unrecognized token", PostgreSQL's "unterminated quoted string", SQL Server's "Unclosed
// quotation mark". The engine is the open connection's, or SQLite when none is open.
Failure UnbalancedQuoteFailure(QStringView fragment);
Failure UnbalancedQuoteFailure(QStringView fragment, Engine engine);

}  // namespace tlm
