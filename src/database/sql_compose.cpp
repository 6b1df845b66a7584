#include "database/sql_compose.h"

#include <QLocale>
#include <QRegularExpression>

#include "core/codecs.h"
#include "database/link.h"

namespace tlm {

namespace {

// Whitespace may stand around a typed number; it is no grammar.
const QRegularExpression& InvariantNumber() {
    static const QRegularExpression re(
        QStringLiteral("^[ \\t]*[+-]?(?:[0-9]+(?:\\.[0-9]*)?|\\.[0-9]+)(?:[eE][+-]?[0-9]+)?[ \\t]*\\z"));
    return re;
}

const QRegularExpression& WholeNumber() {
    static const QRegularExpression re(QStringLiteral("^[ \\t]*[+-]?[0-9]+[ \\t]*\\z"));
    return re;
}

bool IsNameChar(QChar c) {
    // Letters and digits of any script: a database may be named in the user's language. Nothing else,
    // since the name also stands unquoted, where a blank, a '-' or a '$' is grammar.
    return c.isLetterOrNumber() || c == u'_';
}

// A short piece of the value for the message, as the engines quote the text near the error.
QString Near(QStringView fragment) {
    constexpr qsizetype kShown = 60;
    QString s = fragment.left(kShown).toString();
    s.replace(QChar(0), QStringLiteral("\\0"));
    return fragment.size() > kShown ? s + QStringLiteral("...") : s;
}

}  // namespace

namespace sqlcompose {

bool IsPlaceableText(QStringView value) {
    return !value.contains(u'\'') && !value.contains(QChar(0));
}

std::optional<QString> NumberText(QStringView typed) {
    const QString text = typed.toString();
    if (InvariantNumber().match(text).hasMatch())
        return text;
    // The locale's own form: its group separators dropped, its decimal sign made a point.
    const QLocale locale;
    bool ok = false;
    locale.toDouble(text, &ok);
    if (!ok)
        return std::nullopt;
    QString invariant = text.trimmed();
    invariant.remove(locale.groupSeparator());
    invariant.replace(locale.decimalPoint(), QStringLiteral("."));
    invariant.replace(locale.negativeSign(), QStringLiteral("-"));
    invariant.replace(locale.positiveSign(), QStringLiteral("+"));
    invariant.replace(locale.exponential(), QStringLiteral("e"), Qt::CaseInsensitive);
    if (!InvariantNumber().match(invariant).hasMatch())
        return std::nullopt;
    return invariant;
}

bool IsWholeNumber(QStringView typed) {
    return WholeNumber().match(typed.toString()).hasMatch();
}

bool IsIdentifier(QStringView name) {
    if (name.trimmed().isEmpty())
        return false;
    for (const QChar c : name)
        if (!IsNameChar(c))
            return false;
    return true;
}

}  // namespace sqlcompose

Failure UnbalancedQuoteFailure(QStringView fragment, Engine engine) {
    // The engines quote the token from the quote that was left open.
    const QString near = fragment.startsWith(u'\'') ? Near(fragment.mid(1)) : Near(fragment);
    return Failure{dberr::kCommandError, Dialect(engine).UnbalancedQuoteText(near), 0, QString()};
}

Failure UnbalancedQuoteFailure(QStringView fragment) {
    const std::shared_ptr<Connection> c = CurrentConnection();
    // Nothing open (a statement composed before connecting): the default database kind's words.
    return UnbalancedQuoteFailure(fragment, c && c->IsOpen() ? c->engine() : Engine::SQLite);
}

void SqlText::Refuse(QStringView value) {
    if (refusal_)
        return;
    refusal_ = UnbalancedQuoteFailure(value);
    sql_.clear();
}

SqlText& SqlText::Words(QStringView programWords) {
    if (ok())
        sql_ += programWords;
    return *this;
}

SqlText& SqlText::Text(QStringView value) {
    if (!sqlcompose::IsPlaceableText(value)) {
        const qsizetype quote = value.indexOf(u'\'');
        Refuse(quote >= 0 ? value.mid(quote) : value);
        return *this;
    }
    if (ok())
        sql_ += u'\'' + value.toString() + u'\'';
    return *this;
}

SqlText& SqlText::Number(QStringView typed) {
    const std::optional<QString> n = sqlcompose::NumberText(typed);
    if (!n) {
        Refuse(typed);
        return *this;
    }
    if (ok())
        sql_ += *n;
    return *this;
}

SqlText& SqlText::Integer(QStringView typed) {
    if (!sqlcompose::IsWholeNumber(typed)) {
        Refuse(typed);
        return *this;
    }
    if (ok())
        sql_ += typed;
    return *this;
}

SqlText& SqlText::Integer(qint64 value) {
    if (ok())
        sql_ += QString::number(value);
    return *this;
}

SqlText& SqlText::Date(const QDate& date) {
    if (ok())
        sql_ += ToTallyloomDateFormat(date);
    return *this;
}

SqlText& SqlText::Identifier(QStringView name) {
    if (!sqlcompose::IsIdentifier(name)) {
        Refuse(name);
        return *this;
    }
    if (ok())
        sql_ += name;
    return *this;
}

SqlText& SqlText::Append(const SqlText& other) {
    if (!other.ok()) {
        if (ok())
            refusal_ = other.refusal_;
        sql_.clear();
        return *this;
    }
    return Words(other.sql_);
}

SqlText& SqlText::Replace(QStringView token, QStringView words) {
    if (ok())
        sql_.replace(token.toString(), words.toString());
    return *this;
}

}  // namespace tlm
