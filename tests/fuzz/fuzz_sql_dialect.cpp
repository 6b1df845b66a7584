// The statement reader of the database layer: the one-statement check and the translation into each
// engine's SQL. SQLite's own reading of a statement's end (sqlite3_complete) is the reference for
// the check on SQLite: a text the check passes as one statement must hold no second statement
// after any end SQLite sees. Inputs are kept short (-max_len=512): the cross-check is quadratic.
#include <sqlite3.h>

#include "database/dialect.h"
#include "fuzz_support.h"

using namespace tlm;

namespace {

constexpr Engine kEngines[] = {Engine::SQLite, Engine::PostgreSQL, Engine::SqlServer};

sqlite3* Db() {
    static sqlite3* db = [] {
        sqlite3* d = nullptr;
        if (sqlite3_open(":memory:", &d) != SQLITE_OK)
            fuzz::Fail("sqlite3_open", QString());
        return d;
    }();
    return db;
}

// Nothing but blanks and comments, by SQLite's reading: preparing it gives no statement and eats
// the whole text.
bool NoStatement(const QByteArray& rest) {
    sqlite3_stmt* stmt = nullptr;
    const char* tail = nullptr;
    const int rc = sqlite3_prepare_v2(Db(), rest.constData(), int(rest.size()), &stmt, &tail);
    const bool none = rc == SQLITE_OK && stmt == nullptr && tail == rest.constData() + rest.size();
    sqlite3_finalize(stmt);
    return none;
}

void CrossCheckSqlite(const QString& sql) {
    if (sql.contains(QChar(0)))
        return;  // SQLite's C strings end there; the driver never sees such a text whole either
    // The check and Qt's SQLite driver both take Unicode blanks for blanks; SQLite would read them
    // as a piece of a name, which can only fail, never run a statement.
    QString text = sql;
    for (QChar& c : text)
        if (c.unicode() > 0x7f && c.isSpace())
            c = u' ';
    const QByteArray bytes = text.toUtf8();
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        if (bytes[i] != ';')
            continue;
        const QByteArray prefix = bytes.left(i + 1);
        if (!sqlite3_complete(prefix.constData()))
            continue;
        const QByteArray rest = bytes.mid(i + 1);
        FUZZ_CHECK(NoStatement(rest),
                   QStringLiteral("one statement by the check, but SQLite ends one at byte %1 "
                                  "and reads on: [%2] | [%3]")
                       .arg(i)
                       .arg(QString::fromUtf8(prefix), QString::fromUtf8(rest)));
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString sql = fuzz::Utf8(data, size);
    for (const Engine engine : kEngines) {
        const Dialect dialect(engine);
        const bool many = dialect.HoldsMoreThanOneStatement(sql);
        // On PostgreSQL only a ';' ends a statement. (SQL Server needs none, and both other engines
        // refuse what the check cannot settle.)
        if (engine == Engine::PostgreSQL && !sql.contains(u';'))
            FUZZ_CHECK(!many, sql);
        const QString translated = dialect.Translate(sql);
        if (engine == Engine::SqlServer)
            FUZZ_CHECK(translated == sql, translated);
        dialect.HoldsMoreThanOneStatement(translated);
        if (engine == Engine::SQLite && !many)
            CrossCheckSqlite(sql);
    }
    Dialect::ExpandBareTableName(sql);
    Dialect::SourceTable(sql);
    return 0;
}
