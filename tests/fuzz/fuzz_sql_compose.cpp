// The value composers of statement texts. Whatever the value, the composer refuses it (no text at
// all) or the value stays inside its place: the statement keeps its shape on every engine, and SQLite
// itself, running the text, finds exactly the value. Numbers are composed under the locale the first
// input byte picks, as a user's typing would be.
//
// Input: byte 0 the locale, byte 1 the composer, the rest the value (UTF-8).
#include <sqlite3.h>

#include <QLocale>

#include "database/sql_compose.h"
#include "fuzz_support.h"

using namespace tlm;

namespace {

constexpr Engine kEngines[] = {Engine::SQLite, Engine::PostgreSQL, Engine::SqlServer};

sqlite3* Db() {
    static sqlite3* db = [] {
        sqlite3* d = nullptr;
        if (sqlite3_open(":memory:", &d) != SQLITE_OK ||
            sqlite3_exec(d, "create table t(a, b)", nullptr, nullptr, nullptr) != SQLITE_OK)
            fuzz::Fail("sqlite3 setup", QString());
        return d;
    }();
    return db;
}

struct Prepared {
    sqlite3_stmt* stmt = nullptr;
    bool whole = false;  // prepared, and nothing left after the statement
    explicit Prepared(const QByteArray& sql) {
        const char* tail = nullptr;
        whole = sqlite3_prepare_v2(Db(), sql.constData(), int(sql.size()), &stmt, &tail) == SQLITE_OK &&
                stmt != nullptr && tail == sql.constData() + sql.size();
    }
    ~Prepared() { sqlite3_finalize(stmt); }
};

// The statement as the program would run it: one statement on every engine before and after
// translation, and a statement ended after the value is two statements on every engine.
void CheckShape(const SqlText& statement, const SqlText& followed) {
    for (const Engine engine : kEngines) {
        const Dialect d(engine);
        FUZZ_CHECK(!d.HoldsMoreThanOneStatement(statement.sql()), statement.sql());
        FUZZ_CHECK(!d.HoldsMoreThanOneStatement(d.Translate(statement.sql())), d.Translate(statement.sql()));
        FUZZ_CHECK(d.HoldsMoreThanOneStatement(followed.sql()), followed.sql());
    }
}

void CheckRefusal(const SqlText& s) {
    FUZZ_CHECK(s.sql().isEmpty() && s.refusal().has_value(), s.sql());
}

// Rows of t where the composed text finds them; the one row holds the value, bound as a parameter.
int CountMatches(const QString& value, const QString& sql) {
    sqlite3_exec(Db(), "delete from t", nullptr, nullptr, nullptr);
    {
        Prepared insert("insert into t values (?, 1)");
        const QByteArray v = value.toUtf8();
        sqlite3_bind_text(insert.stmt, 1, v.constData(), int(v.size()), SQLITE_TRANSIENT);
        if (sqlite3_step(insert.stmt) != SQLITE_DONE)
            fuzz::Fail("insert", value);
    }
    Prepared select(Dialect(Engine::SQLite).Translate(sql).toUtf8());
    FUZZ_CHECK(select.whole, sql);
    int rows = 0;
    while (sqlite3_step(select.stmt) == SQLITE_ROW)
        ++rows;
    return rows;
}

void CheckText(const QString& value) {
    const auto compose = [](const QString& v, const char* after) {
        return SqlText(u"Select * from t where a = ").Text(v).Words(QString::fromLatin1(after));
    };
    const SqlText s = compose(value, " and b = 1");
    FUZZ_CHECK(s.ok() == sqlcompose::IsPlaceableText(value), value);
    if (!s.ok())
        return CheckRefusal(s);
    CheckShape(s, compose(value, "; select 2"));
    // The value is one literal: it finds its own row, and a plain 'x' in its place does not.
    FUZZ_CHECK(CountMatches(value, s.sql()) == 1, s.sql());
    if (value != u"x")
        FUZZ_CHECK(CountMatches(value, compose(QStringLiteral("x"), " and b = 1").sql()) == 0, value);
}

// [ \t]* [+-]? (digits [. digits?] | . digits) ([eE] [+-]? digits)? [ \t]*, in ASCII digits.
bool StrictNumber(const QString& s, bool whole) {
    qsizetype i = 0;
    const qsizetype n = s.size();
    const auto blanks = [&] {
        while (i < n && (s[i] == u' ' || s[i] == u'\t'))
            ++i;
    };
    const auto digits = [&] {
        const qsizetype from = i;
        while (i < n && s[i] >= u'0' && s[i] <= u'9')
            ++i;
        return i - from;
    };
    blanks();
    if (i < n && (s[i] == u'+' || s[i] == u'-'))
        ++i;
    qsizetype count = digits();
    if (!whole && i < n && s[i] == u'.') {
        ++i;
        count += digits();
    }
    if (count == 0)
        return false;
    if (!whole && i < n && (s[i] == u'e' || s[i] == u'E')) {
        ++i;
        if (i < n && (s[i] == u'+' || s[i] == u'-'))
            ++i;
        if (digits() == 0)
            return false;
    }
    blanks();
    return i == n;
}

void CheckNumber(const QString& typed, bool whole) {
    static const QString before = QStringLiteral("Select * from t where b = ");
    static const QString after = QStringLiteral(" and a = 'q'");
    const auto compose = [whole](const QString& v, const QString& then) {
        SqlText s(before);
        if (whole)
            s.Integer(v);
        else
            s.Number(v);
        return s.Words(then);
    };
    const SqlText s = compose(typed, after);
    if (!s.ok())
        return CheckRefusal(s);
    const QString number = s.sql().mid(before.size(), s.sql().size() - before.size() - after.size());
    FUZZ_CHECK(StrictNumber(number, whole), number);
    CheckShape(s, compose(typed, QStringLiteral("; select 2")));
    FUZZ_CHECK(Prepared(s.sql().toUtf8()).whole, s.sql());
    if (whole || StrictNumber(typed, false)) {
        // Already in the invariant form: placed as typed.
        FUZZ_CHECK(number == typed, number);
    } else {
        // The locale's form: the same value as the locale reads it.
        bool typedOk = false, placedOk = false;
        const double expected = QLocale().toDouble(typed, &typedOk);
        const double placed = QLocale::c().toDouble(number.trimmed(), &placedOk);
        FUZZ_CHECK(typedOk && placedOk && expected == placed,
                   typed + QStringLiteral(" -> ") + number + QStringLiteral(" in ") + QLocale().name());
    }
}

void CheckIdentifier(const QString& name) {
    const auto compose = [&](const char* open, const char* close, const char* after) {
        return SqlText(QString::fromLatin1(QByteArray("select 1 as ") + open))
            .Identifier(name)
            .Words(QString::fromLatin1(QByteArray(close) + after));
    };
    for (const auto& [open, close] : {std::pair{"[", "]"}, std::pair{"\"", "\""}, std::pair{"'", "'"}}) {
        const SqlText s = compose(open, close, "");
        FUZZ_CHECK(s.ok() == sqlcompose::IsIdentifier(name), name);
        if (!s.ok())
            return CheckRefusal(s);
        CheckShape(s, compose(open, close, "; select 2"));
        Prepared p(s.sql().toUtf8());
        FUZZ_CHECK(p.whole, s.sql());
        FUZZ_CHECK(QString::fromUtf8(sqlite3_column_name(p.stmt, 0)) == name, s.sql());
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2)
        return 0;
    static const QLocale locales[] = {QLocale::c(), QLocale(QLocale::German, QLocale::Germany),
                                      QLocale(QLocale::French, QLocale::France)};
    QLocale::setDefault(locales[data[0] % 3]);
    const QString value = fuzz::Utf8(data + 2, size - 2);
    switch (data[1] % 4) {
        case 0:
            CheckText(value);
            break;
        case 1:
            CheckNumber(value, false);
            break;
        case 2:
            CheckNumber(value, true);
            break;
        default:
            CheckIdentifier(value);
            break;
    }
    return 0;
}
