#include "database/provisioning.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUuid>

#include "core/codecs.h"
#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "database/dialect.h"
#include "database/link.h"
#include "database/recordset.h"

namespace tlm {

namespace {

QString SqliteType(ColumnKind kind) {
    switch (kind) {
        case ColumnKind::Id:
            return QStringLiteral("INTEGER PRIMARY KEY AUTOINCREMENT");
        // Text compares without regard to case, as the shared databases always have.
        case ColumnKind::Text:
            return QStringLiteral("VARCHAR(255) COLLATE NOCASE");
        case ColumnKind::Memo:
            return QStringLiteral("TEXT COLLATE NOCASE");
        case ColumnKind::Int16:
            return QStringLiteral("SMALLINT");
        case ColumnKind::Int32:
            return QStringLiteral("INTEGER");
        case ColumnKind::Money:
            // Numeric affinity: sums and comparisons work on numbers; reads come back as decimal text.
            return QStringLiteral("MONEY");
        case ColumnKind::DateTime:
            // Stored as "YYYY-MM-DD HH:MM:SS" text, so text order is time order.
            return QStringLiteral("DATETIME");
        case ColumnKind::Bool:
            return QStringLiteral("BIT");
        case ColumnKind::Other:
            break;
    }
    return QStringLiteral("TEXT");
}

void RemoveSqliteFiles(const QString& path) {
    for (const QString& suffix :
         {QString(), QStringLiteral("-wal"), QStringLiteral("-shm"), QStringLiteral("-journal")})
        QFile::remove(path + suffix);
}

// Writes the blank rows of a new database, read from the resource "BLANK_ROWS.json"; template
// bodies are the texts of the template resources, so a fresh file and the template store agree.
bool InsertBlankRows(Connection& c, Failure* failure) {
    const QByteArray json =
        ExtractResourceTextContent(QStringLiteral("BLANK_ROWS.json"), QStringLiteral("db")).toUtf8();
    const QJsonDocument doc = QJsonDocument::fromJson(json);
    if (!doc.isObject()) {
        *failure = Failure{dberr::kUnspecified, QStringLiteral("The blank database rows cannot be read."), 0,
                           QString()};
        return false;
    }
    for (const QJsonValue& tv : doc.object().value(QStringLiteral("tables")).toArray()) {
        const QJsonObject table = tv.toObject();
        const QString name = table.value(QStringLiteral("name")).toString();
        for (const QJsonValue& rv : table.value(QStringLiteral("rows")).toArray()) {
            const QJsonObject row = rv.toObject();
            QStringList columns;
            QStringList marks;
            QVariantList values;
            for (auto it = row.begin(); it != row.end(); ++it) {
                QString column = it.key();
                QVariant value = it.value().toVariant();
                if (column == u"NotificationValueResource") {
                    column = QStringLiteral("NotificationValue");
                    value = ExtractResourceTextContent(it.value().toString(), QStringLiteral("templates"));
                }
                columns.append(column);
                marks.append(QStringLiteral("?"));
                values.append(c.ToStorage(value, KindOfColumn(column)));
            }
            const QString sql = QStringLiteral("INSERT INTO ") + name + QStringLiteral(" (") +
                                columns.join(QStringLiteral(", ")) + QStringLiteral(") VALUES (") +
                                marks.join(QStringLiteral(", ")) + u')';
            if (c.Execute(sql, values, false, failure) < 0)
                return false;
        }
    }
    return true;
}

// Builds the file beside its final place and renames it in, so the path never shows a half-built
// database and an existing file is never replaced. cannotCreate: the folder does not take the file.
bool BuildSqliteFile(const QString& path, bool withRows, Failure* failure, bool* cannotCreate) {
    *cannotCreate = false;
    const QFileInfo target(path);
    if (path.isEmpty() || !target.absoluteDir().exists()) {
        *cannotCreate = true;
        *failure = Failure{dberr::kUnspecified, QStringLiteral("The folder does not exist."), 0, QString()};
        return false;
    }
    if (target.exists()) {
        *failure = Failure{dberr::kUnspecified, QStringLiteral("The file exists already."), 0, QString()};
        return false;
    }
    const QString temp =
        target.absoluteDir().filePath(QStringLiteral(".") + target.fileName() + QStringLiteral(".new-") +
                                      QUuid::createUuid().toString(QUuid::Id128).left(12));
    bool ok = false;
    {
        Connection c;
        if (!c.OpenNewSqliteFile(temp, failure)) {
            *cannotCreate = true;
        } else {
            ok = c.Execute(QStringLiteral("BEGIN"), {}, false, failure) >= 0;
            for (const QString& statement : SqliteSchemaStatements()) {
                if (!ok)
                    break;
                ok = c.Execute(statement, {}, false, failure) >= 0;
            }
            if (ok && withRows)
                ok = InsertBlankRows(c, failure);
            if (ok)
                ok = c.Execute(QStringLiteral("COMMIT"), {}, false, failure) >= 0;
            c.Close();
        }
    }
    // rename() never overwrites: a file that appeared meanwhile stays as it is.
    if (ok && !QFile::rename(temp, path)) {
        *failure = Failure{dberr::kUnspecified, QStringLiteral("The file exists already."), 0, QString()};
        ok = false;
    }
    if (!ok)
        RemoveSqliteFiles(temp);
    return ok;
}

}  // namespace

QStringList SqliteSchemaStatements() {
    QStringList out;
    for (const TableDef& t : Schema()) {
        QStringList columns;
        for (const ColumnDef& c : t.columns)
            columns.append(c.name + u' ' + SqliteType(c.kind));
        out.append(QStringLiteral("CREATE TABLE ") + t.name + QStringLiteral(" (") +
                   columns.join(QStringLiteral(", ")) + u')');
    }
    return out;
}

bool DB::fncCopyNewMDBToFile(const QString& path) {
    Failure failure;
    bool cannotCreate = false;
    BuildSqliteFile(path, true, &failure, &cannotCreate);
    return QFileInfo::exists(path);
}

bool DB::CreateDB(const QString& path) {
    Failure failure;
    bool cannotCreate = false;
    if (BuildSqliteFile(path, false, &failure, &cannotCreate))
        return true;
    if (cannotCreate) {
        MsgBox(
            QStringLiteral("The database file could not be created in the specified path '") + path + u'\'',
            PromptIcon::Critical, PromptButtons::Ok, kMessageTitle);
    } else {
        failure.label = QStringLiteral("DB.CreateDB");
        subReportError(failure);
    }
    return false;
}

QString GetSQLScript(qint32 dbChoice, const QString& connectionString) {
    QString name;
    switch (dbChoice) {
        case 1:
            name = Dialect::ServerScriptName(ParseConnectionString(connectionString));
            break;
        case 2:
            name = QStringLiteral("ORACLE.SQL");
            break;
        case 3:
            name = QStringLiteral("MYSQL.SQL");
            break;
        default:
            return QString();
    }
    return ExtractResourceTextContent(name, QStringLiteral("db"));
}

bool SQLDBExists(const QString& connectionString) {
    Connection c;
    return c.Open(connectionString);
}

bool CheckIfTableExists(const QString& connectionString, const QString& tableName) {
    auto c = std::make_shared<Connection>();
    if (!c->Open(connectionString))
        return false;
    // An empty read answers the same question as reading the whole table.
    Recordset rs(c, LockMode::Optimistic);
    return rs.Open(SqlText(u"SELECT * FROM ").Identifier(tableName).Words(u" WHERE 1 = 0"));
}

QString fncGetServerConnectionString(const QString& connectionString) {
    QStringList kept;
    for (const QString& part : connectionString.split(u';')) {
        if (part.section(u'=', 0, 0).trimmed().compare(u"Initial Catalog", Qt::CaseInsensitive) == 0)
            continue;
        kept.append(part);
    }
    return kept.join(u';');
}

QString fncCreateSQLDB(bool& blnCreated) {
    cMySettings* s = Process().mySettings;
    if (!s)
        return QString();
    const QString full = s->DBConnectionString;
    const QString server = fncGetServerConnectionString(full);
    const QString name = s->Database;
    if (server.trimmed().isEmpty())
        return QString();
    if (SQLDBExists(full)) {
        blnCreated = false;
        if (!CheckIfTableExists(full, QStringLiteral("tReportedAppointments"))) {
            MsgBox(QStringLiteral("It appears the specified database '") + name +
                       QStringLiteral(
                           "' is not a compatible Tally Loom database!\nLeave the database name empty or "
                           "specify the correct database if it exists and try again!"),
                   PromptIcon::Critical, PromptButtons::Ok, kMessageTitle);
            return QString();
        }
    } else {
        blnCreated = true;
        QString script = GetSQLScript(s->DBChoice, full);
        // Without a script (the kinds that have none) nothing is run, and the string is answered all the
        // same.
        if (!script.trimmed().isEmpty()) {
            Connection c;
            Failure failure;
            const auto fail = [&](const QString& statement) {
                failure.label = QStringLiteral("fncCreateSQLDB");
                failure.description += QStringLiteral("\n\nSQL=") + statement;
                subReportError(failure);
                return QString();
            };
            if (!name.isEmpty()) {
                const SqlText placed = SqlText().Identifier(name);
                if (!placed.ok()) {
                    failure = *placed.refusal();
                    return fail(QString());
                }
                script.replace(kDefaultDatabaseName, placed.sql());
            }
            if (!c.Open(server, &failure))
                return fail(QString());
            // One connection for all pieces, so the "use" piece reaches those after it.
            for (const QString& piece : SplitSqlScript(script)) {
                subTraceAction(piece);
                if (piece.trimmed().isEmpty())
                    continue;
                if (c.Execute(piece, {}, false, &failure) < 0)
                    return fail(piece);
            }
        }
    }
    switch (s->DBChoice) {
        case 1:
            return server + QStringLiteral(";Initial Catalog=") + name;
        case 3: {
            QString r = server;
            return r.replace(QStringLiteral("DATABASE="), QStringLiteral("DATABASE=") + name);
        }
        default:
            return server;
    }
}

}  // namespace tlm
