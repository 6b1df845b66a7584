#include "database/dialect.h"

#include <QDate>
#include <QDateTime>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTime>
#include <QUrl>
#include <algorithm>
#include <vector>

namespace tlm {

namespace {

enum class Tok { Code, String, Ident, Comment, DateLiteral };

struct Token {
    Tok type;
    QString text;
};

// Splits a statement of the file form (and the server form before its PostgreSQL rewriting) by
// SQLite's reading, so that rewriting only ever looks at code. An unterminated quote or comment runs
// to the end, as SQLite reads it. The one-statement check reads by each engine's own lexer instead.
std::vector<Token> Tokenize(const QString& s, bool accessDates) {
    std::vector<Token> out;
    QString code;
    auto flush = [&] {
        if (!code.isEmpty())
            out.push_back({Tok::Code, std::exchange(code, QString())});
    };
    const qsizetype n = s.size();
    qsizetype i = 0;
    static const QRegularExpression accessDate(QStringLiteral("^[0-9/: .\\-AaPpMm]+$"));
    while (i < n) {
        const QChar c = s[i];
        const QChar next = i + 1 < n ? s[i + 1] : QChar();
        if (c == u'\'') {
            qsizetype j = i + 1;
            while (j < n) {
                if (s[j] == u'\'') {
                    if (j + 1 < n && s[j + 1] == u'\'') {
                        j += 2;
                    } else {
                        ++j;
                        break;
                    }
                } else {
                    ++j;
                }
            }
            flush();
            out.push_back({Tok::String, s.mid(i, j - i)});
            i = j;
            continue;
        }
        QChar close;
        if (c == u'"')
            close = u'"';
        if (c == u'[')
            close = u']';
        if (c == u'`')
            close = u'`';
        if (!close.isNull()) {
            qsizetype j = i + 1;
            while (j < n) {
                if (s[j] == close) {
                    if (j + 1 < n && s[j + 1] == close) {
                        j += 2;
                        continue;
                    }
                    ++j;
                    break;
                }
                ++j;
            }
            flush();
            out.push_back({Tok::Ident, s.mid(i, j - i)});
            i = j;
            continue;
        }
        if (c == u'-' && next == u'-') {
            qsizetype j = s.indexOf(u'\n', i);
            if (j < 0)
                j = n;
            flush();
            out.push_back({Tok::Comment, s.mid(i, j - i)});
            i = j;
            continue;
        }
        if (c == u'/' && next == u'*') {
            qsizetype j = s.indexOf(QStringLiteral("*/"), i + 2);
            j = j < 0 ? n : j + 2;
            flush();
            out.push_back({Tok::Comment, s.mid(i, j - i)});
            i = j;
            continue;
        }
        if (c == u'#' && accessDates) {
            const qsizetype j = s.indexOf(u'#', i + 1);
            if (j > i + 1 && j - i < 40 && accessDate.match(s.mid(i + 1, j - i - 1)).hasMatch()) {
                flush();
                out.push_back({Tok::DateLiteral, s.mid(i, j - i + 1)});
                i = j + 1;
                continue;
            }
        }
        code.append(c);
        ++i;
    }
    flush();
    return out;
}

// "#2026-3-7 00:00:00#", "#2026-3-7#", "#3/7/2026 1:05 PM#" -> '2026-03-07 00:00:00'; empty if not a date.
QString AccessDateToText(const QString& literal) {
    static const QRegularExpression ymd(
        QStringLiteral("^\\s*(\\d{1,4})-(\\d{1,2})-(\\d{1,2})(?:\\s+(\\d{1,2}):(\\d{1,2})(?::(\\d{1,2}))?\\s*"
                       "([AaPp][Mm])?)?\\s*$"));
    static const QRegularExpression mdy(
        QStringLiteral("^\\s*(\\d{1,2})/(\\d{1,2})/"
                       "(\\d{1,4})(?:\\s+(\\d{1,2}):(\\d{1,2})(?::(\\d{1,2}))?\\s*([AaPp][Mm])?)?\\s*$"));
    const QString body = literal.mid(1, literal.size() - 2);
    int y = 0, mo = 0, d = 0;
    QRegularExpressionMatch m = ymd.match(body);
    if (m.hasMatch()) {
        y = m.captured(1).toInt();
        mo = m.captured(2).toInt();
        d = m.captured(3).toInt();
    } else {
        m = mdy.match(body);
        if (!m.hasMatch())
            return QString();
        mo = m.captured(1).toInt();
        d = m.captured(2).toInt();
        y = m.captured(3).toInt();
    }
    int h = m.captured(4).toInt(), mi = m.captured(5).toInt(), sec = m.captured(6).toInt();
    const QString ampm = m.captured(7).toUpper();
    if (ampm == u"PM" && h < 12)
        h += 12;
    if (ampm == u"AM" && h == 12)
        h = 0;
    const QDate date(y, mo, d);
    const QTime time(h, mi, sec);
    if (!date.isValid() || !time.isValid())
        return QString();
    return u'\'' + date.toString(QStringLiteral("yyyy-MM-dd")) + u' ' +
           time.toString(QStringLiteral("HH:mm:ss")) + u'\'';
}

QString ReplaceFlags(QString code) {
    static const QRegularExpression t(QStringLiteral("\\btrue\\b"),
                                      QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression f(QStringLiteral("\\bfalse\\b"),
                                      QRegularExpression::CaseInsensitiveOption);
    code.replace(t, QStringLiteral("1"));
    code.replace(f, QStringLiteral("0"));
    return code;
}

QString Join(const std::vector<Token>& tokens) {
    QString out;
    for (const Token& t : tokens)
        out += t.text;
    return out;
}

QString TranslateSqlite(const QString& sql) {
    std::vector<Token> tokens = Tokenize(sql, true);
    static const QRegularExpression endsWithLike(QStringLiteral("\\blike\\s*$"),
                                                 QRegularExpression::CaseInsensitiveOption);
    for (size_t k = 0; k < tokens.size(); ++k) {
        Token& t = tokens[k];
        if (t.type == Tok::DateLiteral) {
            const QString text = AccessDateToText(t.text);
            if (!text.isEmpty())
                t.text = text;
        } else if (t.type == Tok::Code) {
            t.text = ReplaceFlags(t.text);
            // The file form's wildcards: any run and one character.
            if (k + 1 < tokens.size() && tokens[k + 1].type == Tok::String &&
                endsWithLike.match(t.text).hasMatch())
                tokens[k + 1].text.replace(u'*', u'%').replace(u'?', u'_');
        }
    }
    return Join(tokens);
}

QString TranslatePostgres(const QString& sql) {
    std::vector<Token> raw = Tokenize(sql, false);  // SQLite rules read [..] as names
    // Bracketed names become plain code so the rewrites below see "CONVERT(varchar(8), [X], 112)" whole.
    static const QRegularExpression plainName(QStringLiteral("^[A-Za-z_][A-Za-z0-9_]*$"));
    std::vector<Token> tokens;
    for (size_t k = 0; k < raw.size(); ++k) {
        Token t = raw[k];
        if (t.type == Tok::Ident && t.text.startsWith(u'[')) {
            QString name =
                t.text.mid(1, t.text.size() - 2).replace(QStringLiteral("]]"), QStringLiteral("]"));
            if (name.compare(u"dbo", Qt::CaseInsensitive) == 0 && k + 1 < raw.size() &&
                raw[k + 1].type == Tok::Code && raw[k + 1].text.startsWith(u'.')) {
                raw[k + 1].text.remove(0, 1);
                continue;
            }
            t = {Tok::Code, plainName.match(name).hasMatch()
                                ? name
                                : u'"' + name.replace(u'"', QStringLiteral("\"\"")) + u'"'};
        } else if (t.type == Tok::Ident && t.text.startsWith(u'`')) {
            t.type = Tok::Code;
        }
        if (t.type == Tok::Code && !tokens.empty() && tokens.back().type == Tok::Code)
            tokens.back().text += t.text;
        else
            tokens.push_back(t);
    }

    using RE = QRegularExpression;
    const auto ci = RE::CaseInsensitiveOption;
    static const RE castConvert(QStringLiteral("\\bcast\\s*\\(\\s*convert\\s*\\(\\s*varchar\\s*\\(\\s*8\\s*"
                                               "\\)\\s*,\\s*([\\w.\"]+)\\s*,\\s*112\\s*\\)"
                                               "\\s*as\\s+datetime\\s*\\)"),
                                ci);
    static const RE convert(
        QStringLiteral(
            "\\bconvert\\s*\\(\\s*varchar\\s*\\(\\s*8\\s*\\)\\s*,\\s*([\\w.\"]+)\\s*,\\s*112\\s*\\)"),
        ci);
    static const RE like(QStringLiteral("([A-Za-z_][\\w.]*|\"[^\"]*\")(\\s+)(not\\s+)?like\\b"), ci);
    static const RE identity(QStringLiteral("\\bint(?:eger)?\\s+identity\\s*\\(\\s*\\d+\\s*,\\s*\\d+\\s*\\)"),
                             ci);
    static const RE top(QStringLiteral("\\bselect\\s+top\\s+(\\d+)\\s+"), ci);
    static const RE nPrefix(QStringLiteral("(^|[^A-Za-z0-9_$])[Nn]$"));
    static const RE plusBefore(QStringLiteral("\\+(\\s*)$"));
    static const RE plusAfter(QStringLiteral("^(\\s*)\\+"));
    struct Word {
        RE re;
        QString to;
    };
    static const std::vector<Word> words = {
        {RE(QStringLiteral("\\bbit\\b"), ci), QStringLiteral("smallint")},
        {RE(QStringLiteral("\\btinyint\\b"), ci), QStringLiteral("smallint")},
        {RE(QStringLiteral("\\bsmallmoney\\b"), ci), QStringLiteral("numeric(10,4)")},
        {RE(QStringLiteral("\\bmoney\\b"), ci), QStringLiteral("numeric(19,4)")},
        {RE(QStringLiteral("\\bntext\\b"), ci), QStringLiteral("text")},
        {RE(QStringLiteral("\\bnvarchar\\b"), ci), QStringLiteral("varchar")},
        {RE(QStringLiteral("\\bnchar\\b"), ci), QStringLiteral("char")},
        {RE(QStringLiteral("\\b(small)?datetime\\b"), ci), QStringLiteral("timestamp")},
        {RE(QStringLiteral("\\bgetdate\\s*\\(\\s*\\)"), ci), QStringLiteral("LOCALTIMESTAMP")},
        {RE(QStringLiteral("\\bisnull\\s*\\("), ci), QStringLiteral("COALESCE(")},
        {RE(QStringLiteral("\\blen\\s*\\("), ci), QStringLiteral("LENGTH(")},
    };

    QString limit;
    for (size_t k = 0; k < tokens.size(); ++k) {
        Token& t = tokens[k];
        if (t.type != Tok::Code)
            continue;
        QString c = t.text;
        c.replace(castConvert, QStringLiteral("CAST(\\1 AS DATE)"));
        c.replace(convert, QStringLiteral("TO_CHAR(\\1, 'YYYYMMDD')"));
        c.replace(like, QStringLiteral("CAST(\\1 AS TEXT)\\2\\3ILIKE"));
        c.replace(identity, QStringLiteral("integer GENERATED BY DEFAULT AS IDENTITY"));
        for (const Word& w : words)
            c.replace(w.re, w.to);
        const auto m = top.match(c);
        if (m.hasMatch() && limit.isEmpty()) {
            limit = m.captured(1);
            c.replace(m.capturedStart(), m.capturedLength(), QStringLiteral("SELECT "));
        }
        c = ReplaceFlags(c);
        const bool stringNext = k + 1 < tokens.size() && tokens[k + 1].type == Tok::String;
        const bool stringBefore = k > 0 && tokens[k - 1].type == Tok::String;
        if (stringNext) {
            c.replace(nPrefix, QStringLiteral("\\1"));
            c.replace(plusBefore, QStringLiteral("||\\1"));
        }
        if (stringBefore)
            c.replace(plusAfter, QStringLiteral("\\1||"));
        t.text = c;
    }
    // The server takes a backslash in a pattern as itself; ILIKE would read it as an escape.
    static const RE endsWithIlike(QStringLiteral("\\bilike\\s*$"), ci);
    static const RE escapeNext(QStringLiteral("^\\s*escape\\b"), ci);
    for (size_t k = 0; k + 1 < tokens.size(); ++k) {
        Token& pattern = tokens[k + 1];
        if (tokens[k].type != Tok::Code || pattern.type != Tok::String || !pattern.text.contains(u'\\') ||
            !endsWithIlike.match(tokens[k].text).hasMatch())
            continue;
        if (k + 2 < tokens.size() && escapeNext.match(tokens[k + 2].text).hasMatch())
            continue;
        pattern.text += QStringLiteral(" ESCAPE ''");
    }
    QString out = Join(tokens);
    if (!limit.isEmpty()) {
        qsizetype end = out.size();
        while (end > 0 && (out[end - 1].isSpace() || out[end - 1] == u';'))
            --end;
        out.insert(end, QStringLiteral(" LIMIT ") + limit);
    }
    return out;
}

// ---- The one-statement check ----
// Each engine's lexer is mirrored as far as it decides what is code: blanks, comments, quotes and, on
// SQL Server, words. Statements are then found in the code alone.

enum class Lex { Blank, Comment, Quoted, Word, Number, Punct, Unsure };

struct Lexeme {
    Lex kind;
    qsizetype begin;
    qsizetype end;
};

// The text by UTF-16 code units, -1 past the end, so that look-ahead needs no bounds checks.
class Text {
  public:
    explicit Text(const QString& s) : s_(s) {}
    qsizetype size() const { return s_.size(); }
    int operator[](qsizetype i) const { return i < s_.size() ? s_[i].unicode() : -1; }
    QStringView mid(qsizetype i, qsizetype n) const { return QStringView(s_).mid(i, n); }

  private:
    const QString& s_;
};

bool IsAsciiLetter(int c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsDigit(int c) {
    return c >= '0' && c <= '9';
}

// Past a "--" comment at i: to the line end, which a lone CR also makes where `crEnds`.
qsizetype LineCommentEnd(const Text& t, qsizetype i, bool crEnds) {
    i += 2;
    while (i < t.size() && t[i] != '\n' && !(crEnds && t[i] == '\r'))
        ++i;
    return i;
}

// Past the "*/" closing a "/*" at i, counting inner "/*" where the engine nests comments.
qsizetype BlockCommentEnd(const Text& t, qsizetype i, bool nests) {
    int depth = 1;
    i += 2;
    while (i < t.size()) {
        if (t[i] == '*' && t[i + 1] == '/') {
            i += 2;
            if (--depth == 0)
                return i;
        } else if (nests && t[i] == '/' && t[i + 1] == '*') {
            i += 2;
            ++depth;
        } else {
            ++i;
        }
    }
    return t.size();
}

// Past the `close` ending a quote opened at i; with `doubled`, two of them stand for one.
qsizetype QuoteEnd(const Text& t, qsizetype i, int close, bool doubled) {
    ++i;
    while (i < t.size()) {
        if (t[i] != close) {
            ++i;
        } else if (doubled && t[i + 1] == close) {
            i += 2;
        } else {
            return i + 1;
        }
    }
    return t.size();
}

// PostgreSQL 15 (scan.l). Every byte from 0x80 up is an identifier character there, so every code
// unit beyond ASCII is one here; '$' goes on with an identifier or a number but starts neither.
bool PgSpace(int c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

bool PgIdentStart(int c) {
    return IsAsciiLetter(c) || c == '_' || c >= 0x80;
}

bool PgIdentCont(int c) {
    return PgIdentStart(c) || IsDigit(c) || c == '$';
}

// Past the letters that PostgreSQL 15 runs into a number ("trailing junk", refused there).
qsizetype PgJunkEnd(const Text& t, qsizetype i) {
    if (PgIdentStart(t[i]))
        while (PgIdentCont(t[i]))
            ++i;
    return i;
}

qsizetype PgNumberEnd(const Text& t, qsizetype i) {
    while (IsDigit(t[i]))
        ++i;
    if (t[i] == '.' && t[i + 1] != '.') {
        ++i;
        while (IsDigit(t[i]))
            ++i;
    }
    if ((t[i] == 'e' || t[i] == 'E') &&
        (IsDigit(t[i + 1]) || ((t[i + 1] == '+' || t[i + 1] == '-') && IsDigit(t[i + 2])))) {
        i += 2;
        while (IsDigit(t[i]))
            ++i;
    }
    return PgJunkEnd(t, i);
}

// Past a "$tag$" delimiter at i, or -1 when the '$' is none.
qsizetype PgDollarDelimiterEnd(const Text& t, qsizetype i) {
    qsizetype j = i + 1;
    if (PgIdentStart(t[j])) {
        ++j;
        while (PgIdentStart(t[j]) || IsDigit(t[j]))
            ++j;
    }
    return t[j] == '$' ? j + 1 : -1;
}

// Past the delimiter equal to the one from `open` to `from`. As the server scans, a delimiter that
// differs gives its last '$' back, which may start the right one ("$a$ ... $b$a$").
qsizetype PgDollarQuoteEnd(const Text& t, qsizetype open, qsizetype from) {
    const QStringView tag = t.mid(open, from - open);
    qsizetype i = from;
    while (i < t.size()) {
        const qsizetype end = t[i] == '$' ? PgDollarDelimiterEnd(t, i) : -1;
        if (end < 0) {
            ++i;
        } else if (t.mid(i, end - i) == tag) {
            return end;
        } else {
            i = end - 1;
        }
    }
    return t.size();
}

// Past a string whose quote is at i; `escapes` for E'..', where a backslash takes the next character.
// A closing quote, blanks and "--" comments holding a line break, and another quote go on with the
// same string: the server joins 'a'<newline>'b', keeping E'..' escapes in the second part.
qsizetype PgStringEnd(const Text& t, qsizetype i, bool escapes) {
    ++i;
    while (i < t.size()) {
        if (escapes && t[i] == '\\') {
            i += 2;
            continue;
        }
        if (t[i] != '\'') {
            ++i;
            continue;
        }
        if (t[i + 1] == '\'') {
            i += 2;
            continue;
        }
        const qsizetype close = i + 1;
        qsizetype j = close;
        bool lineBreak = false;
        while (true) {
            if (PgSpace(t[j])) {
                lineBreak = lineBreak || t[j] == '\n' || t[j] == '\r';
                ++j;
            } else if (t[j] == '-' && t[j + 1] == '-') {
                j = LineCommentEnd(t, j, true);
            } else {
                break;
            }
        }
        if (!lineBreak || t[j] != '\'')
            return close;
        i = j + 1;
    }
    return t.size();
}

std::vector<Lexeme> LexPostgres(const QString& sql) {
    const Text t(sql);
    std::vector<Lexeme> out;
    qsizetype i = 0;
    while (i < t.size()) {
        const qsizetype begin = i;
        const int c = t[i];
        const bool uAmp = (c == 'u' || c == 'U') && t[i + 1] == '&';
        const qsizetype delimiter = c == '$' ? PgDollarDelimiterEnd(t, i) : -1;
        Lex kind = Lex::Quoted;
        if (PgSpace(c)) {
            kind = Lex::Blank;
            while (PgSpace(t[i]))
                ++i;
        } else if (c == '-' && t[i + 1] == '-') {
            kind = Lex::Comment;
            i = LineCommentEnd(t, i, true);
        } else if (c == '/' && t[i + 1] == '*') {
            // Also inside an operator: "+/*" and "*--" are cut before the comment.
            kind = Lex::Comment;
            i = BlockCommentEnd(t, i, true);
        } else if (c == '\'') {
            i = PgStringEnd(t, i, false);
        } else if ((c == 'e' || c == 'E') && t[i + 1] == '\'') {
            i = PgStringEnd(t, i + 1, true);
        } else if (uAmp && t[i + 2] == '\'') {
            i = PgStringEnd(t, i + 2, false);
        } else if (uAmp && t[i + 2] == '"') {
            i = QuoteEnd(t, i + 2, '"', true);
        } else if (c == '"') {
            i = QuoteEnd(t, i, '"', true);
        } else if (delimiter > 0) {
            i = PgDollarQuoteEnd(t, i, delimiter);
        } else if (c == '$' && IsDigit(t[i + 1])) {
            kind = Lex::Number;  // a parameter, "$1"
            ++i;
            while (IsDigit(t[i]))
                ++i;
            i = PgJunkEnd(t, i);
        } else if (IsDigit(c) || (c == '.' && IsDigit(t[i + 1]))) {
            kind = Lex::Number;
            i = PgNumberEnd(t, i);
        } else if (PgIdentStart(c)) {
            // Whole, so that a prefix letter inside a name ("xE'..'") or a '$' after one starts nothing.
            // B'..', X'..' and N'..' read as plain strings after their letter.
            kind = Lex::Word;
            while (PgIdentCont(t[i]))
                ++i;
        } else {
            kind = Lex::Punct;
            ++i;
        }
        out.push_back({kind, begin, i});
    }
    return out;
}

// SQLite, as sqlite3_complete() reads it.
bool SqliteSpace(int c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

bool SqliteIdChar(int c) {
    return IsAsciiLetter(c) || IsDigit(c) || c == '_' || c == '$' || c >= 0x80;
}

// SQLite's tokenizer, unlike sqlite3_complete(), reads "$a(...)", "@a(...)", ":a(...)" and "#a(...)"
// as one variable up to the ')', quotes and ';' inside it included (Tcl array names). True when the
// variable at i takes such a suffix; `end` is where SQLite's reading of it ends otherwise.
bool SqliteVariableWithSuffix(const Text& t, qsizetype i, qsizetype* end) {
    qsizetype j = i + 1;
    int letters = 0;
    while (true) {
        if (SqliteIdChar(t[j])) {
            ++letters;
            ++j;
        } else if (t[j] == '(' && letters > 0) {
            return true;
        } else if (t[j] == ':' && t[j + 1] == ':') {
            j += 2;
        } else {
            *end = j;
            return false;
        }
    }
}

std::vector<Lexeme> LexSqlite(const QString& sql) {
    const Text t(sql);
    std::vector<Lexeme> out;
    qsizetype i = 0;
    qsizetype variableEnd = 0;  // inside one of SQLite's variables: no new token starts there
    while (i < t.size()) {
        const qsizetype begin = i;
        const int c = t[i];
        Lex kind = Lex::Quoted;
        if ((c == '$' || c == '@' || c == ':' || c == '#') && i >= variableEnd &&
            SqliteVariableWithSuffix(t, i, &variableEnd)) {
            kind = Lex::Unsure;
            ++i;
        } else if (SqliteSpace(c)) {
            kind = Lex::Blank;
            while (SqliteSpace(t[i]))
                ++i;
        } else if (c == '-' && t[i + 1] == '-') {
            kind = Lex::Comment;
            i = LineCommentEnd(t, i, false);
        } else if (c == '/' && t[i + 1] == '*') {
            kind = Lex::Comment;
            i = BlockCommentEnd(t, i, false);
        } else if (c == '\'' || c == '"' || c == '`') {
            i = QuoteEnd(t, i, c, true);  // a doubled quote closes and reopens: the same span
        } else if (c == '[') {
            i = QuoteEnd(t, i, ']', false);
        } else if (SqliteIdChar(c)) {
            kind = Lex::Word;  // x'..' blobs read as a name and a string: the same span
            while (SqliteIdChar(t[i]))
                ++i;
        } else {
            kind = Lex::Punct;
            ++i;
        }
        out.push_back({kind, begin, i});
    }
    return out;
}

// SQL Server (T-SQL). Words are ASCII letters, digits, '_', '@', '#' and '$'. Which characters
// beyond ASCII the server takes for letters, and where it ends a number run into letters ("0x1F",
// "1e5", "0DELETE" is 0 and DELETE), is left unsettled: the program writes neither in code.
bool TsqlBlank(int c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool TsqlWordStart(int c) {
    return IsAsciiLetter(c) || c == '_' || c == '@' || c == '#';
}

bool TsqlWordChar(int c) {
    return TsqlWordStart(c) || IsDigit(c) || c == '$';
}

qsizetype TsqlNumberEnd(const Text& t, qsizetype i) {
    while (IsDigit(t[i]) || t[i] == '.')
        ++i;
    if ((t[i] == 'e' || t[i] == 'E') &&
        (IsDigit(t[i + 1]) || ((t[i + 1] == '+' || t[i + 1] == '-') && IsDigit(t[i + 2])))) {
        i += 2;
        while (IsDigit(t[i]))
            ++i;
    }
    return i;
}

std::vector<Lexeme> LexTsql(const QString& sql) {
    const Text t(sql);
    std::vector<Lexeme> out;
    qsizetype i = 0;
    while (i < t.size()) {
        const qsizetype begin = i;
        const int c = t[i];
        Lex kind = Lex::Quoted;
        if (TsqlBlank(c)) {
            kind = Lex::Blank;
            while (TsqlBlank(t[i]))
                ++i;
        } else if (c == '-' && t[i + 1] == '-') {
            kind = Lex::Comment;
            i = LineCommentEnd(t, i, true);
        } else if (c == '/' && t[i + 1] == '*') {
            kind = Lex::Comment;
            i = BlockCommentEnd(t, i, true);
        } else if (c == '\'' || c == '"') {
            i = QuoteEnd(t, i, c, true);
        } else if (c == '[') {
            i = QuoteEnd(t, i, ']', true);
        } else if (TsqlWordStart(c)) {
            kind = Lex::Word;
            while (TsqlWordChar(t[i]))
                ++i;
        } else if (IsDigit(c) || (c == '.' && IsDigit(t[i + 1]))) {
            i = TsqlNumberEnd(t, i);
            kind = TsqlWordChar(t[i]) ? Lex::Unsure : Lex::Number;
        } else {
            // Printable ASCII only, and none of '$' and '\\' (money constants may start with them),
            // '`' or braces (ODBC escapes such as "{call p}", rewritten by the driver first).
            const bool plain =
                c > 0x20 && c < 0x7F && c != '$' && c != '\\' && c != '`' && c != '{' && c != '}';
            kind = plain ? Lex::Punct : Lex::Unsure;
            ++i;
        }
        out.push_back({kind, begin, i});
    }
    return out;
}

// The words that begin a T-SQL statement.
bool IsTsqlStatementWord(const QString& upper) {
    static const QSet<QString> words = [] {
        QSet<QString> set;
        for (const char* w :
             {"ADD",       "ALTER",    "BACKUP",   "BEGIN",       "BREAK",      "BULK",       "CHECKPOINT",
              "CLOSE",     "COMMIT",   "CONTINUE", "CREATE",      "DBCC",       "DEALLOCATE", "DECLARE",
              "DELETE",    "DENY",     "DISABLE",  "DROP",        "ELSE",       "ENABLE",     "END",
              "EXEC",      "EXECUTE",  "FETCH",    "GET",         "GOTO",       "GRANT",      "IF",
              "INSERT",    "KILL",     "LINENO",   "MERGE",       "MOVE",       "OPEN",       "PRINT",
              "RAISERROR", "READTEXT", "RECEIVE",  "RECONFIGURE", "RESTORE",    "RETURN",     "REVERT",
              "REVOKE",    "ROLLBACK", "SAVE",     "SELECT",      "SEND",       "SET",        "SETUSER",
              "SHUTDOWN",  "THROW",    "TRUNCATE", "UPDATE",      "UPDATETEXT", "USE",        "WAITFOR",
              "WHILE",     "WITH",     "WRITETEXT"})
            set.insert(QLatin1String(w));
        return set;
    }();
    return words.contains(upper);
}

// Words after which a parenthesised query is an operand ("IN (SELECT ..)"), not a statement.
bool IsTsqlOperandWord(const QString& upper) {
    static const QSet<QString> words = [] {
        QSet<QString> set;
        for (const char* w :
             {"ALL",    "AND",    "ANY",  "APPLY",  "AS",  "BETWEEN",   "BY",     "CASE", "DISTINCT",
              "EXCEPT", "EXISTS", "FROM", "HAVING", "IN",  "INTERSECT", "JOIN",   "LIKE", "NOT",
              "ON",     "OR",     "SOME", "THEN",   "TOP", "UNION",     "VALUES", "WHEN", "WHERE"})
            set.insert(QLatin1String(w));
        return set;
    }();
    return words.contains(upper) || IsTsqlStatementWord(upper);
}

// The code of a T-SQL text at parenthesis depth 0: words, whole parenthesised groups, ';' and the
// rest. Only these can begin a statement.
struct TsqlItem {
    enum Kind { Word, Group, Semicolon, Operand, Operator } kind;
    qsizetype begin;
    QString word;  // a word upper-cased; for a group, its first word inside any further '('
};

std::vector<TsqlItem> TsqlItems(const QString& sql, const std::vector<Lexeme>& lexemes, bool* unbalanced) {
    std::vector<TsqlItem> items;
    int depth = 0;
    bool groupOpened = false;  // the group's first word is yet to come
    const auto upper = [&](const Lexeme& l) { return sql.mid(l.begin, l.end - l.begin).toUpper(); };
    for (const Lexeme& l : lexemes) {
        if (l.kind == Lex::Blank || l.kind == Lex::Comment)
            continue;
        const QChar c = l.kind == Lex::Punct ? sql[l.begin] : QChar();
        if (c == u'(') {
            if (depth++ == 0) {
                items.push_back({TsqlItem::Group, l.begin, QString()});
                groupOpened = true;
            }
            continue;
        }
        if (groupOpened) {
            groupOpened = false;
            if (l.kind == Lex::Word)
                items.back().word = upper(l);
        }
        if (c == u')') {
            *unbalanced = *unbalanced || depth == 0;
            depth = std::max(depth - 1, 0);
        } else if (c == u';') {
            *unbalanced = *unbalanced || depth != 0;
            depth = 0;
            items.push_back({TsqlItem::Semicolon, l.begin, QString()});
        } else if (depth == 0) {
            if (l.kind == Lex::Word)
                items.push_back({TsqlItem::Word, l.begin, upper(l)});
            else
                items.push_back(
                    {l.kind == Lex::Punct ? TsqlItem::Operator : TsqlItem::Operand, l.begin, QString()});
        }
    }
    *unbalanced = *unbalanced || depth != 0;
    return items;
}

// What may go on with the current T-SQL statement.
struct TsqlStatement {
    QString head;              // its first word ("SELECT" for a parenthesised query)
    bool selectNext = false;   // right after UNION, EXCEPT or INTERSECT [ALL]
    bool selectLater = false;  // INSERT before VALUES: INSERT ... SELECT
    bool setLater = false;     // UPDATE before its SET
    bool bodyLater = false;    // IF before its body, the first statement word after the condition
    bool bodyNext = false;     // right after an IF's ELSE
    bool elseLater = false;    // an IF's body, which ELSE may follow
    int caseDepth = 0;         // CASE .. END, whose ELSE and END are no statements

    static TsqlStatement Begin(const QString& head) {
        TsqlStatement s;
        s.head = head;
        s.selectLater = head == u"INSERT";
        s.setLater = head == u"UPDATE";
        s.bodyLater = head == u"IF";
        return s;
    }
};

// Adds where T-SQL statements begin without a ';' (a batch needs none): a statement word that cannot
// go on with the statement before it, and a parenthesised query right after an operand. Every
// statement the program sends on SQL Server goes on as one: SELECT .. UNION SELECT, INSERT .. SELECT,
// UPDATE .. SET, and its creation script's "IF EXISTS (SELECT ..) DROP DATABASE [..]", whose IF and
// one body statement (and one ELSE statement) are one statement.
void AddTsqlStarts(const std::vector<TsqlItem>& items, QList<qsizetype>* starts, bool* unsure) {
    TsqlStatement st;
    const TsqlItem* prev = nullptr;  // the item before, in this statement
    for (const TsqlItem& it : items) {
        if (it.kind == TsqlItem::Semicolon) {
            prev = nullptr;  // the ';' pass has the next start
            continue;
        }
        if (!prev) {
            st = TsqlStatement::Begin(it.kind == TsqlItem::Group ? QStringLiteral("SELECT") : it.word);
            prev = &it;
            continue;
        }
        const bool afterSetOperator = std::exchange(st.selectNext, false);
        const bool bodyNext = std::exchange(st.bodyNext, false);
        // CASE .. END ends an operand too; an END of its own began a statement already.
        const bool afterOperand =
            prev->kind == TsqlItem::Operand || prev->kind == TsqlItem::Group ||
            (prev->kind == TsqlItem::Word && (prev->word == u"END" || !IsTsqlOperandWord(prev->word)));
        prev = &it;
        if (bodyNext && !(it.kind == TsqlItem::Word && IsTsqlStatementWord(it.word))) {
            *unsure = true;  // "ELSE (SELECT ..)" and the like: never sent
            continue;
        }
        if (it.kind == TsqlItem::Group) {
            if (afterOperand && IsTsqlStatementWord(it.word)) {
                starts->append(it.begin);  // "0 (SELECT ..)"
                st = TsqlStatement::Begin(QStringLiteral("SELECT"));
            }
            continue;
        }
        if (it.kind != TsqlItem::Word)
            continue;
        const QString& w = it.word;
        if (w == u"ALL" && afterSetOperator) {
            st.selectNext = true;
        } else if (w == u"CASE") {
            ++st.caseDepth;
        } else if (w == u"END" && st.caseDepth > 0) {
            --st.caseDepth;
        } else if (w == u"ELSE" && st.caseDepth > 0) {
            continue;
        } else if (w == u"ELSE" && st.elseLater) {
            st.elseLater = false;
            st.bodyNext = true;
        } else if ((w == u"UNION" || w == u"EXCEPT" || w == u"INTERSECT") && st.head == u"SELECT") {
            st.selectNext = true;
        } else if (w == u"VALUES" || w == u"DEFAULT") {
            st.selectLater = false;
        } else if (!IsTsqlStatementWord(w)) {
            continue;
        } else if (st.bodyLater || bodyNext) {
            const bool afterCondition = st.bodyLater;
            st = TsqlStatement::Begin(w);
            st.elseLater = afterCondition;
        } else if (w == u"SELECT" && (afterSetOperator || st.selectLater)) {
            st.selectLater = false;
            st.head = w;
        } else if (w == u"SET" && st.setLater) {
            st.setLater = false;
        } else {
            starts->append(it.begin);
            st = TsqlStatement::Begin(w);
        }
    }
}

struct StatementSplit {
    QList<qsizetype> starts;
    bool unsure = false;  // something whose reading by the engine is not settled here
    bool tail = false;    // anything but blanks after a ';'
};

StatementSplit SplitStatements(const QString& sql, Engine engine) {
    const std::vector<Lexeme> lexemes = engine == Engine::PostgreSQL ? LexPostgres(sql)
                                        : engine == Engine::SQLite   ? LexSqlite(sql)
                                                                     : LexTsql(sql);
    StatementSplit out;
    bool between = true;  // the next code begins a statement
    bool closed = false;
    for (const Lexeme& l : lexemes) {
        if (l.kind == Lex::Blank)
            continue;
        out.tail = out.tail || closed;
        if (l.kind == Lex::Comment)
            continue;
        out.unsure = out.unsure || l.kind == Lex::Unsure;
        if (std::exchange(between, false))
            out.starts.append(l.begin);
        if (l.kind == Lex::Punct && sql[l.begin] == u';')
            between = closed = true;
    }
    if (engine == Engine::SqlServer) {
        bool unbalanced = false;
        const std::vector<TsqlItem> items = TsqlItems(sql, lexemes, &unbalanced);
        AddTsqlStarts(items, &out.starts, &out.unsure);
        out.unsure = out.unsure || unbalanced;
        std::sort(out.starts.begin(), out.starts.end());
    }
    return out;
}

}  // namespace

QString Dialect::Translate(const QString& sql) const {
    switch (engine_) {
        case Engine::SQLite:
            return TranslateSqlite(sql);
        case Engine::PostgreSQL:
            return TranslatePostgres(sql);
        case Engine::SqlServer:
            break;
    }
    return sql;
}

QList<qsizetype> Dialect::StatementStarts(const QString& sql) const {
    return SplitStatements(sql, engine_).starts;
}

bool Dialect::HoldsMoreThanOneStatement(const QString& sql) const {
    const StatementSplit split = SplitStatements(sql, engine_);
    return split.starts.size() > 1 || split.tail || split.unsure;
}

QString Dialect::ExpandBareTableName(const QString& sqlOrTable) {
    static const QRegularExpression bare(QStringLiteral("^\\s*([A-Za-z_][\\w.]*|\\[[^\\]]+\\])\\s*$"));
    static const QRegularExpression keyword(
        QStringLiteral("^(select|update|delete|insert|with|values|create|drop)$"),
        QRegularExpression::CaseInsensitiveOption);
    const auto m = bare.match(sqlOrTable);
    if (!m.hasMatch() || keyword.match(m.captured(1)).hasMatch())
        return sqlOrTable;
    return QStringLiteral("SELECT * FROM ") + m.captured(1);
}

QString Dialect::SourceTable(const QString& sql) {
    static const QRegularExpression re(
        QStringLiteral(
            "^\\s*select\\s.*?\\bfrom\\s+((?:\\[?dbo\\]?\\.)?(?:\\[[^\\]]+\\]|\"[^\"]+\"|[A-Za-z_]\\w*))\\s*"
            "(?:$|where\\b|order\\b|group\\b|having\\b|;)"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    const auto m = re.match(sql);
    if (!m.hasMatch())
        return QString();
    QString name = m.captured(1);
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot >= 0)
        name = name.mid(dot + 1);
    if (name.startsWith(u'[') || name.startsWith(u'"'))
        name = name.mid(1, name.size() - 2);
    return name;
}

// ---- what else differs per engine ------------------------------------------------------------

namespace {

// One row an engine; what takes code rather than a value is a switch in the method below.
struct EngineTraits {
    Engine engine;
    const char* provider;  // the provider word of the connection string
    bool providerPrefix;   // SQL Server's word carries a version ("SQLOLEDB.1")
    const char* driver;
    bool opensFile;
    const char* script;        // the creation script of a server database
    const char* dateFormat;    // how a date is stored and bound
    const char* insertOutput;  // between the column list and VALUES, to hand back the new ID
    const char* insertReturning;
    bool idFromDriver;  // the new ID comes from the driver's last insert id, not from a result row
    bool runsUnboundTextDirectly;
    bool handsOverWholeResult;
    bool reconnectsOnUse;
    bool bracketsNames;
    CaseBlindText caseBlindText;
};

constexpr EngineTraits kEngines[] = {
    {Engine::SQLite, "SQLite", false, "QSQLITE", true, "", "yyyy-MM-dd HH:mm:ss", "", "", true, false, false,
     false, false, CaseBlindText::NocaseCollation},
    {Engine::PostgreSQL, "PostgreSQL", false, "QPSQL", false, "POSTGRESQL.SQL", "yyyy-MM-dd HH:mm:ss", "",
     " RETURNING ID", false, true, true, true, false, CaseBlindText::CitextType},
    {Engine::SqlServer, "SQLOLEDB", true, "QODBC", false, "MSSQL.SQL", "yyyyMMdd HH:mm:ss",
     " OUTPUT INSERTED.ID", "", false, false, false, false, true, CaseBlindText::ByDefault},
};

const EngineTraits& Traits(Engine engine) {
    for (const EngineTraits& t : kEngines)
        if (t.engine == engine)
            return t;
    return kEngines[0];
}

}  // namespace

ConnectionTarget ParseConnectionString(const QString& connectionString) {
    QHash<QString, QString> kv;
    for (const QString& part : connectionString.split(u';')) {
        const qsizetype eq = part.indexOf(u'=');
        if (eq < 0)
            continue;
        const QString key = part.left(eq).trimmed().toLower();
        if (!kv.contains(key))
            kv.insert(key, part.mid(eq + 1).trimmed());
    }
    ConnectionTarget t;
    t.provider = kv.value(QStringLiteral("provider"));
    const QString source = kv.value(QStringLiteral("data source"));
    if (const std::optional<Engine> engine = Dialect::EngineOfProvider(t.provider)) {
        t.known = true;
        t.engine = *engine;
        if (Dialect(t.engine).OpensFile()) {
            t.path = source;
            return t;
        }
    }
    QString host = source;
    const qsizetype comma = host.indexOf(u',');
    if (comma >= 0) {
        t.port = host.mid(comma + 1).trimmed().toInt();
        host = host.left(comma).trimmed();
    }
    const qsizetype slash = host.indexOf(u'\\');
    if (slash >= 0) {
        t.instance = host.mid(slash + 1);
        host = host.left(slash);
    }
    t.host = host;
    t.database = kv.value(QStringLiteral("initial catalog"));
    t.user = kv.value(QStringLiteral("user id"), kv.value(QStringLiteral("uid")));
    t.password = kv.value(QStringLiteral("password"), kv.value(QStringLiteral("pwd")));
    const QString integrated = kv.value(QStringLiteral("integrated security")).toLower();
    t.integratedSecurity = integrated == u"sspi" || integrated == u"true" || integrated == u"yes";
    return t;
}

QString SqliteConnectionString(const QString& filePath) {
    return QStringLiteral("Provider=") + QLatin1StringView(Traits(Engine::SQLite).provider) +
           QStringLiteral(";Data Source=") + filePath;
}

QString OdbcConnectionString(const ConnectionTarget& t) {
    // A value with ';' or braces must be braced, with '}' doubled, or the driver splits it.
    auto value = [](const QString& v) {
        if (!v.contains(u';') && !v.contains(u'{') && !v.contains(u'}') && v.trimmed() == v)
            return v;
        return u'{' + QString(v).replace(u'}', QStringLiteral("}}")) + u'}';
    };
    QString s = QStringLiteral("DRIVER={FreeTDS};SERVER=") + value(t.host);
    if (!t.instance.isEmpty())
        s += u'\\' + t.instance;
    s += QStringLiteral(";PORT=") + QString::number(t.port > 0 ? t.port : 1433);
    s += QStringLiteral(";DATABASE=") + value(t.database);
    if (t.integratedSecurity)
        s += QStringLiteral(";Trusted_Connection=Yes");
    else
        s += QStringLiteral(";UID=") + value(t.user) + QStringLiteral(";PWD=") + value(t.password);
    s += QStringLiteral(";TDS_Version=7.4;ClientCharset=UTF-8");
    return s;
}

std::optional<Engine> Dialect::EngineOfProvider(const QString& provider) {
    for (const EngineTraits& t : kEngines) {
        const QLatin1StringView word(t.provider);
        if (t.providerPrefix ? provider.startsWith(word, Qt::CaseInsensitive)
                             : provider.compare(word, Qt::CaseInsensitive) == 0)
            return t.engine;
    }
    return std::nullopt;
}

QString Dialect::ServerScriptName(const ConnectionTarget& target) {
    const char* script = target.known ? Traits(target.engine).script : "";
    // The file engine has no script: any provider but a server's reads SQL Server's.
    return QString::fromLatin1(*script ? script : Traits(Engine::SqlServer).script);
}

bool Dialect::OpensFile() const {
    return Traits(engine_).opensFile;
}

QString Dialect::DriverName() const {
    return QString::fromLatin1(Traits(engine_).driver);
}

void Dialect::ConfigureDatabase(QSqlDatabase& db, const ConnectionTarget& target) const {
    switch (engine_) {
        case Engine::SQLite: {
            // mode=rw: an existing file only (a missing one is an error, never an empty new file);
            // rwc when building a new one.
            const bool create = !QFileInfo::exists(target.path);
            QUrl url = QUrl::fromLocalFile(QFileInfo(target.path).absoluteFilePath());
            url.setQuery(create ? QStringLiteral("mode=rwc") : QStringLiteral("mode=rw"));
            db.setDatabaseName(url.toString(QUrl::FullyEncoded));
            db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_URI;QSQLITE_BUSY_TIMEOUT=5000"));
            break;
        }
        case Engine::PostgreSQL:
            db.setHostName(target.host.isEmpty() ? QStringLiteral("localhost") : target.host);
            if (target.port > 0)
                db.setPort(target.port);
            db.setDatabaseName(target.database.isEmpty() ? QStringLiteral("postgres") : target.database);
            if (!target.integratedSecurity) {
                db.setUserName(target.user);
                db.setPassword(target.password);
            }
            // The provider's own login time-out; a dead host must not hang the screen forever.
            db.setConnectOptions(QStringLiteral("connect_timeout=15"));
            break;
        case Engine::SqlServer:
            db.setDatabaseName(OdbcConnectionString(target));
            db.setConnectOptions(QStringLiteral("SQL_ATTR_LOGIN_TIMEOUT=15;SQL_ATTR_CONNECTION_TIMEOUT=15"));
            break;
    }
}

QStringList Dialect::SessionSetup() const {
    switch (engine_) {
        case Engine::SQLite:
            // The file lives in a shared network folder, where WAL's shared memory does not reach the
            // other machines: the rollback journal, always, and a file left in WAL mode is switched
            // back. The busy timeout makes a second writer wait instead of failing; with the rollback
            // journal a busy writer can hold the file through many short commits, so the wait is
            // generous.
            return {QStringLiteral("PRAGMA busy_timeout = 30000"),
                    QStringLiteral("PRAGMA journal_mode = DELETE"),
                    QStringLiteral("PRAGMA foreign_keys = OFF")};
        case Engine::PostgreSQL:
            return {QStringLiteral("SET client_min_messages TO warning"),
                    QStringLiteral("SET standard_conforming_strings TO on"),
                    QStringLiteral("SET DateStyle TO ISO, YMD")};
        case Engine::SqlServer:
            break;
    }
    return {};
}

QString Dialect::SharedSchemaProbe() const {
    if (!OpensFile())
        return QString();
    return QStringLiteral(
        "SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = 'tReportedAppointments' COLLATE NOCASE");
}

bool Dialect::RunsUnboundTextDirectly() const {
    return Traits(engine_).runsUnboundTextDirectly;
}

std::optional<QString> Dialect::DatabaseOfUse(const QString& sql) const {
    if (!Traits(engine_).reconnectsOnUse)
        return std::nullopt;
    static const QRegularExpression use(
        QStringLiteral("^\\s*use\\s+(\\S.*?)\\s*$"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    const auto m = use.match(sql);
    if (!m.hasMatch())
        return std::nullopt;
    QString name = m.captured(1);
    if ((name.startsWith(u'[') && name.endsWith(u']')) || (name.startsWith(u'"') && name.endsWith(u'"')))
        name = name.mid(1, name.size() - 2);
    return name;
}

bool Dialect::MeansLostConnection(const QString& nativeErrorCode) const {
    switch (engine_) {
        case Engine::SQLite: {
            // Busy, locked, I/O, cannot open, read-only, not a database: the file, not the statement.
            const int rc = nativeErrorCode.toInt() & 0xff;
            return rc == 5 || rc == 6 || rc == 8 || rc == 10 || rc == 14 || rc == 26;
        }
        case Engine::PostgreSQL:
            return nativeErrorCode.startsWith(QStringLiteral("08")) ||
                   nativeErrorCode.startsWith(QStringLiteral("57P"));
        case Engine::SqlServer:
            return nativeErrorCode.startsWith(QStringLiteral("08"));
    }
    return false;
}

bool Dialect::MeansBusy(const QString& nativeErrorCode) const {
    switch (engine_) {
        case Engine::SQLite: {
            const int rc = nativeErrorCode.toInt() & 0xff;
            return rc == 5 || rc == 6;  // busy, locked
        }
        case Engine::PostgreSQL:
            return nativeErrorCode == QLatin1String("55P03");  // lock not available
        case Engine::SqlServer:
            return nativeErrorCode == QLatin1String("1222");  // lock request time out
    }
    return false;
}

QString Dialect::BusyText(const QString& databaseName) const {
    const QString what = engine_ == Engine::SQLite ? QStringLiteral("The database file \"%1\"")
                                                   : QStringLiteral("The database \"%1\"");
    return what.arg(databaseName) +
           QStringLiteral(" is busy: someone else is saving. Try again in a moment.");
}

bool Dialect::HandsOverWholeResult() const {
    return Traits(engine_).handsOverWholeResult;
}

Dialect::NativeRows Dialect::NativeReader() const {
    // The SQLite driver hands over its sqlite3*, and links the same library as this program.
    return engine_ == Engine::SQLite ? NativeRows::Sqlite : NativeRows::None;
}

QString Dialect::DateStorageText(const QDateTime& dt) const {
    return dt.toString(QString::fromLatin1(Traits(engine_).dateFormat));
}

QString Dialect::QuoteName(const QString& name) const {
    return Traits(engine_).bracketsNames ? u'[' + name + u']' : name;
}

QString Dialect::InsertStatement(const QString& table, const QStringList& quotedNames) const {
    const EngineTraits& t = Traits(engine_);
    const QLatin1StringView output(t.insertOutput);
    QString sql = QStringLiteral("INSERT INTO ") + table;
    if (quotedNames.isEmpty()) {
        sql += output + QStringLiteral(" DEFAULT VALUES");
    } else {
        QString placeholders;
        for (qsizetype i = 0; i < quotedNames.size(); ++i)
            placeholders += i ? QStringLiteral(", ?") : QStringLiteral("?");
        sql += QStringLiteral(" (") + quotedNames.join(QStringLiteral(", ")) + u')' + output +
               QStringLiteral(" VALUES (") + placeholders + u')';
    }
    return sql + QLatin1StringView(t.insertReturning);
}

QVariant Dialect::InsertedId(QSqlQuery& query) const {
    if (Traits(engine_).idFromDriver)
        return query.lastInsertId();
    return query.next() ? query.value(0) : QVariant();
}

QString Dialect::UnbalancedQuoteText(const QString& near) const {
    switch (engine_) {
        case Engine::SQLite:
            return QStringLiteral("unrecognized token: \"'") + near +
                   QStringLiteral("\" Unable to execute statement");
        case Engine::PostgreSQL:
            return QStringLiteral("ERROR:  unterminated quoted string at or near \"'") + near +
                   QStringLiteral("\"\n(42601) QPSQL: Unable to create query");
        case Engine::SqlServer:
            break;
    }
    return QStringLiteral("[FreeTDS][SQL Server]Unclosed quotation mark after the character string '") +
           near + QStringLiteral("'. (105)");
}

CaseBlindText Dialect::CaseBlindTextBy() const {
    return Traits(engine_).caseBlindText;
}

QStringList SplitSqlScript(const QString& script) {
    return script.split(QStringLiteral("SPLIT"));
}

}  // namespace tlm
