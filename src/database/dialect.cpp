#include "database/dialect.h"

#include <QDate>
#include <QRegularExpression>
#include <QTime>
#include <vector>

namespace tlm {

namespace {

enum class Tok { Code, String, Ident, Comment, DateLiteral };

struct Token {
    Tok type;
    QString text;
};

bool IsIdentChar(QChar c) {
    return c.isLetterOrNumber() || c == u'_' || c == u'$';
}

// Splits a statement by the engine's lexical rules, so that rewriting and the one-statement test
// only ever look at code. An unterminated quote or comment runs to the end, as the engine reads it.
std::vector<Token> Tokenize(const QString& s, Engine engine, bool accessDates) {
    std::vector<Token> out;
    QString code;
    auto flush = [&] {
        if (!code.isEmpty())
            out.push_back({Tok::Code, std::exchange(code, QString())});
    };
    const qsizetype n = s.size();
    qsizetype i = 0;
    static const QRegularExpression dollarTag(QStringLiteral("\\G\\$([A-Za-z_][A-Za-z0-9_]*)?\\$"));
    static const QRegularExpression accessDate(QStringLiteral("^[0-9/: .\\-AaPpMm]+$"));
    while (i < n) {
        const QChar c = s[i];
        const QChar next = i + 1 < n ? s[i + 1] : QChar();
        if (c == u'\'') {
            // E'..' takes backslash escapes on PostgreSQL.
            const bool escapes = engine == Engine::PostgreSQL && i > 0 &&
                                 (s[i - 1] == u'E' || s[i - 1] == u'e') && (i < 2 || !IsIdentChar(s[i - 2]));
            qsizetype j = i + 1;
            while (j < n) {
                if (escapes && s[j] == u'\\') {
                    j += 2;
                } else if (s[j] == u'\'') {
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
            j = std::min(j, n);
            flush();
            out.push_back({Tok::String, s.mid(i, j - i)});
            i = j;
            continue;
        }
        QChar close;
        if (c == u'"')
            close = u'"';
        if (c == u'[' && engine != Engine::PostgreSQL)
            close = u']';
        if (c == u'`' && engine == Engine::SQLite)
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
            const bool nests = engine != Engine::SQLite;
            int depth = 1;
            qsizetype j = i + 2;
            while (j < n && depth > 0) {
                if (s[j] == u'*' && j + 1 < n && s[j + 1] == u'/') {
                    --depth;
                    j += 2;
                } else if (nests && s[j] == u'/' && j + 1 < n && s[j + 1] == u'*') {
                    ++depth;
                    j += 2;
                } else {
                    ++j;
                }
            }
            flush();
            out.push_back({Tok::Comment, s.mid(i, j - i)});
            i = j;
            continue;
        }
        if (c == u'$' && engine == Engine::PostgreSQL && (i == 0 || !IsIdentChar(s[i - 1]))) {
            const auto m = dollarTag.match(s, i);
            if (m.hasMatch()) {
                const QString tag = m.captured(0);
                qsizetype end = s.indexOf(tag, i + tag.size());
                end = end < 0 ? n : end + tag.size();
                flush();
                out.push_back({Tok::String, s.mid(i, end - i)});
                i = end;
                continue;
            }
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
    std::vector<Token> tokens = Tokenize(sql, Engine::SQLite, true);
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
    std::vector<Token> raw = Tokenize(sql, Engine::SQLite, false);  // SQLite rules read [..] as names
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

bool Dialect::HoldsMoreThanOneStatement(const QString& sql) const {
    const std::vector<Token> tokens = Tokenize(sql, engine_, false);
    bool seenEnd = false;
    for (const Token& t : tokens) {
        if (seenEnd) {
            if (t.type != Tok::Code || !t.text.trimmed().isEmpty())
                return true;
            continue;
        }
        if (t.type != Tok::Code)
            continue;
        const qsizetype semi = t.text.indexOf(u';');
        if (semi < 0)
            continue;
        if (!t.text.mid(semi + 1).trimmed().isEmpty())
            return true;
        seenEnd = true;
    }
    return false;
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

QStringList SplitSqlScript(const QString& script) {
    return script.split(QStringLiteral("SPLIT"));
}

}  // namespace tlm
