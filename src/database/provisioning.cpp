#include "database/provisioning.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QUuid>

#include "core/codecs.h"
#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "database/connection.h"
#include "database/recordset.h"

namespace tlm {

const std::vector<TableDef>& Schema() {
    static const std::vector<TableDef> tables = [] {
        // Both reported tables end with the same columns, from the member who reported the item on.
        const auto withReportedTail = [](std::vector<ColumnDef> columns) {
            columns.insert(columns.end(), {{QStringLiteral("ReportedBy"), ColumnKind::Text},
                                           {QStringLiteral("ProjectValue"), ColumnKind::Text},
                                           {QStringLiteral("ActivityValue"), ColumnKind::Text}});
            for (int i = 1; i <= 8; ++i)
                columns.push_back({QStringLiteral("Field%1Value").arg(i), ColumnKind::Text});
            columns.insert(columns.end(), {{QStringLiteral("Field9Value"), ColumnKind::Money},
                                           {QStringLiteral("Field10Value"), ColumnKind::Money},
                                           {QStringLiteral("TotalCost"), ColumnKind::Money},
                                           {QStringLiteral("Approved"), ColumnKind::Bool},
                                           {QStringLiteral("ApprovedBy"), ColumnKind::Text}});
            return columns;
        };
        std::vector<TableDef> t = {
            {QStringLiteral("tProjects"),
             {{QStringLiteral("ID"), ColumnKind::Id},
              {QStringLiteral("ProjectName"), ColumnKind::Text},
              {QStringLiteral("ProjectManager"), ColumnKind::Text},
              {QStringLiteral("Rate"), ColumnKind::Money},
              {QStringLiteral("ColorCode"), ColumnKind::Int16},
              {QStringLiteral("StartDate"), ColumnKind::DateTime},
              {QStringLiteral("FinishDate"), ColumnKind::DateTime},
              {QStringLiteral("Description"), ColumnKind::Memo},
              {QStringLiteral("ProjectCode"), ColumnKind::Text}}},
            {QStringLiteral("tActivities"),
             {{QStringLiteral("ID"), ColumnKind::Id},
              {QStringLiteral("ActivityName"), ColumnKind::Text},
              {QStringLiteral("Project"), ColumnKind::Text},
              {QStringLiteral("Rate"), ColumnKind::Money},
              {QStringLiteral("Coordinator"), ColumnKind::Text},
              {QStringLiteral("DueDate"), ColumnKind::DateTime}}},
            {QStringLiteral("tMembers"),
             {{QStringLiteral("ID"), ColumnKind::Id},
              {QStringLiteral("Name"), ColumnKind::Text},
              {QStringLiteral("Email"), ColumnKind::Text},
              {QStringLiteral("Department"), ColumnKind::Text},
              {QStringLiteral("Rate"), ColumnKind::Money},
              {QStringLiteral("AdminAccess"), ColumnKind::Bool}}},
            {QStringLiteral("tNotificationTemplates"),
             {{QStringLiteral("ID"), ColumnKind::Id},
              {QStringLiteral("NotificationName"), ColumnKind::Text},
              {QStringLiteral("NotificationValue"), ColumnKind::Memo},
              {QStringLiteral("Enabled"), ColumnKind::Bool}}},
            {QStringLiteral("tGeneralSettings"),
             {{QStringLiteral("ID"), ColumnKind::Id},
              {QStringLiteral("KeyID"), ColumnKind::Text},
              {QStringLiteral("KeyVal"), ColumnKind::Memo},
              {QStringLiteral("KeyLocal"), ColumnKind::Bool}}},
        };
        for (int i = 1; i <= 4; ++i)
            t.push_back({QStringLiteral("tCustomList%1").arg(i),
                         {{QStringLiteral("ID"), ColumnKind::Id},
                          {QStringLiteral("CustomFieldName"), ColumnKind::Text}}});
        t.push_back({QStringLiteral("tReportedTasks"),
                     withReportedTail({
                         {QStringLiteral("ID"), ColumnKind::Id},
                         {QStringLiteral("ActualWork"), ColumnKind::Int32},
                         {QStringLiteral("BillingInformation"), ColumnKind::Text},
                         {QStringLiteral("Categories"), ColumnKind::Text},
                         {QStringLiteral("Companies"), ColumnKind::Text},
                         {QStringLiteral("Complete"), ColumnKind::Bool},
                         {QStringLiteral("ContactNames"), ColumnKind::Text},
                         {QStringLiteral("CreationTime"), ColumnKind::DateTime},
                         {QStringLiteral("DateCompleted"), ColumnKind::DateTime},
                         {QStringLiteral("DelegationState"), ColumnKind::Text},
                         {QStringLiteral("Delegator"), ColumnKind::Text},
                         {QStringLiteral("DueDate"), ColumnKind::DateTime},
                         {QStringLiteral("EntryID"), ColumnKind::Memo},
                         {QStringLiteral("Importance"), ColumnKind::Text},
                         {QStringLiteral("IsRecurring"), ColumnKind::Bool},
                         {QStringLiteral("LastModificationTime"), ColumnKind::DateTime},
                         {QStringLiteral("Mileage"), ColumnKind::Text},
                         {QStringLiteral("NoAging"), ColumnKind::Bool},
                         {QStringLiteral("Ordinal"), ColumnKind::Int32},
                         {QStringLiteral("Owner"), ColumnKind::Text},
                         {QStringLiteral("Ownership"), ColumnKind::Text},
                         {QStringLiteral("Role"), ColumnKind::Text},
                         {QStringLiteral("SchedulePlusPriority"), ColumnKind::Text},
                         {QStringLiteral("Sensitivity"), ColumnKind::Text},
                         {QStringLiteral("StartDate"), ColumnKind::DateTime},
                         {QStringLiteral("Status"), ColumnKind::Text},
                         {QStringLiteral("StatusOnCompletionRecipients"), ColumnKind::Text},
                         {QStringLiteral("StatusUpdateRecipients"), ColumnKind::Text},
                         {QStringLiteral("Subject"), ColumnKind::Text},
                         {QStringLiteral("TeamTask"), ColumnKind::Bool},
                         {QStringLiteral("TotalWork"), ColumnKind::Int32},
                         {QStringLiteral("Body"), ColumnKind::Memo},
                         {QStringLiteral("HTMLBody"), ColumnKind::Memo},
                         {QStringLiteral("ReportedDate"), ColumnKind::Text},
                     })});
        t.push_back({QStringLiteral("tReportedAppointments"),
                     withReportedTail({
                         {QStringLiteral("ID"), ColumnKind::Id},
                         {QStringLiteral("AllDayEvent"), ColumnKind::Bool},
                         {QStringLiteral("BillingInformation"), ColumnKind::Text},
                         {QStringLiteral("BusyStatus"), ColumnKind::Text},
                         {QStringLiteral("Categories"), ColumnKind::Text},
                         {QStringLiteral("Companies"), ColumnKind::Text},
                         {QStringLiteral("CreationTime"), ColumnKind::DateTime},
                         {QStringLiteral("Duration"), ColumnKind::Int32},
                         {QStringLiteral("EndDate"), ColumnKind::DateTime},
                         {QStringLiteral("EntryID"), ColumnKind::Memo},
                         {QStringLiteral("Importance"), ColumnKind::Text},
                         {QStringLiteral("IsRecurring"), ColumnKind::Bool},
                         {QStringLiteral("LastModificationTime"), ColumnKind::DateTime},
                         {QStringLiteral("Location"), ColumnKind::Text},
                         {QStringLiteral("MeetingStatus"), ColumnKind::Text},
                         {QStringLiteral("Mileage"), ColumnKind::Text},
                         {QStringLiteral("NoAging"), ColumnKind::Bool},
                         {QStringLiteral("OptionalAttendees"), ColumnKind::Text},
                         {QStringLiteral("Organizer"), ColumnKind::Text},
                         {QStringLiteral("RecurrenceState"), ColumnKind::Text},
                         {QStringLiteral("ReplyTime"), ColumnKind::DateTime},
                         {QStringLiteral("RequiredAttendees"), ColumnKind::Text},
                         {QStringLiteral("Resources"), ColumnKind::Text},
                         {QStringLiteral("ResponseRequested"), ColumnKind::Bool},
                         {QStringLiteral("ResponseStatus"), ColumnKind::Text},
                         {QStringLiteral("Sensitivity"), ColumnKind::Text},
                         {QStringLiteral("StartDate"), ColumnKind::DateTime},
                         {QStringLiteral("NetMeetingOrganizerAlias"), ColumnKind::Text},
                         {QStringLiteral("Body"), ColumnKind::Memo},
                         {QStringLiteral("HTMLBody"), ColumnKind::Memo},
                         {QStringLiteral("Subject"), ColumnKind::Text},
                         {QStringLiteral("ReportedDate"), ColumnKind::DateTime},
                     })});
        return t;
    }();
    return tables;
}

namespace {

const QHash<QString, ColumnKind>& KindsByName() {
    static const QHash<QString, ColumnKind> kinds = [] {
        QHash<QString, ColumnKind> k;
        for (const TableDef& t : Schema())
            for (const ColumnDef& c : t.columns) {
                const QString key = c.name.toCaseFolded();
                if (!k.contains(key) || c.kind == ColumnKind::DateTime)
                    k.insert(key, c.kind);
            }
        return k;
    }();
    return kinds;
}

const QHash<QString, QString>& CanonicalNames() {
    static const QHash<QString, QString> names = [] {
        QHash<QString, QString> n;
        for (const TableDef& t : Schema())
            for (const ColumnDef& c : t.columns)
                n.insert(c.name.toCaseFolded(), c.name);
        return n;
    }();
    return names;
}

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

ColumnKind KindOfColumn(const QString& name) {
    return KindsByName().value(name.toCaseFolded(), ColumnKind::Other);
}

QString CanonicalColumnName(const QString& name) {
    return CanonicalNames().value(name.toCaseFolded(), name);
}

qint32 AdoTypeOf(ColumnKind kind) {
    switch (kind) {
        case ColumnKind::Id:
        case ColumnKind::Int32:
            return adotype::adInteger;
        case ColumnKind::Int16:
            return adotype::adSmallInt;
        case ColumnKind::Text:
            return adotype::adVarWChar;
        case ColumnKind::Memo:
            return adotype::adLongVarWChar;
        case ColumnKind::Money:
            return adotype::adCurrency;
        case ColumnKind::DateTime:
            return adotype::adDate;
        case ColumnKind::Bool:
            return adotype::adBoolean;
        case ColumnKind::Other:
            break;
    }
    return adotype::adVarWChar;
}

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
        case 1: {
            const ConnectionTarget t = ParseConnectionString(connectionString);
            name = t.known && t.engine == Engine::PostgreSQL ? QStringLiteral("POSTGRESQL.SQL")
                                                             : QStringLiteral("MSSQL.SQL");
            break;
        }
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

namespace {

bool IsTextType(const QString& declared) {
    const QString t = declared.toUpper();
    return t.contains(QLatin1String("CHAR")) || t.contains(QLatin1String("TEXT")) ||
           t.contains(QLatin1String("CLOB")) || t.contains(QLatin1String("MEMO"));
}

bool Run(Connection& c, const QString& sql, Failure* failure) {
    return c.Execute(sql, {}, false, failure) >= 0;
}

// Reads every row of one statement, all columns as text; empty on failure.
QList<QStringList> Rows(Connection& c, const QString& sql, const QVariantList& values = {}) {
    QList<QStringList> out;
    QSqlQuery q = c.NewQuery();
    q.setForwardOnly(true);
    if (!q.prepare(sql))
        return out;
    for (const QVariant& v : values)
        q.addBindValue(v);
    if (!q.exec())
        return out;
    while (q.next()) {
        QStringList row;
        for (int i = 0; i < q.record().count(); ++i)
            row.append(q.value(i).toString());
        out.append(row);
    }
    return out;
}

// One table rebuilt with the same columns, types, defaults and key; its text columns case-blind.
bool RebuildSqliteTable(Connection& c, const QString& table, const QString& createSql, Failure* failure) {
    const QList<QStringList> info = Rows(c, QStringLiteral("PRAGMA table_info(\"%1\")").arg(table));
    if (info.isEmpty())
        return true;
    const bool autoIncrement = createSql.contains(QLatin1String("AUTOINCREMENT"), Qt::CaseInsensitive);
    QStringList defs;
    QStringList names;
    for (const QStringList& col : info) {  // cid, name, type, notnull, dflt_value, pk
        const QString quoted = u'"' + col[1] + u'"';
        QString def = quoted + u' ' + col[2];
        if (col[5].toInt() > 0)
            def +=
                autoIncrement ? QStringLiteral(" PRIMARY KEY AUTOINCREMENT") : QStringLiteral(" PRIMARY KEY");
        if (col[3].toInt() != 0)
            def += QStringLiteral(" NOT NULL");
        if (!col[4].isEmpty())
            def += QStringLiteral(" DEFAULT ") + col[4];
        if (IsTextType(col[2]))
            def += QStringLiteral(" COLLATE NOCASE");
        defs.append(def);
        names.append(quoted);
    }
    const QString old = table + QStringLiteral("_before_nocase");
    const QList<QStringList> seq =
        Rows(c, QStringLiteral("SELECT seq FROM sqlite_sequence WHERE name = ?"), {table});
    const QString columns = names.join(QStringLiteral(", "));
    if (!Run(c, QStringLiteral("ALTER TABLE \"%1\" RENAME TO \"%2\"").arg(table, old), failure) ||
        !Run(c, QStringLiteral("CREATE TABLE \"%1\" (%2)").arg(table, defs.join(QStringLiteral(", "))),
             failure) ||
        !Run(c, QStringLiteral("INSERT INTO \"%1\" (%2) SELECT %2 FROM \"%3\"").arg(table, columns, old),
             failure) ||
        !Run(c, QStringLiteral("DROP TABLE \"%1\"").arg(old), failure))
        return false;
    // Identities are never handed out twice, even those of rows deleted before the upgrade.
    if (!seq.isEmpty() &&
        c.Execute(QStringLiteral("UPDATE sqlite_sequence SET seq = MAX(seq, ?) WHERE name = ?"),
                  {seq.first().first().toLongLong(), table}, false, failure) < 0)
        return false;
    return true;
}

bool UpgradeSqlite(Connection& c, Failure* failure) {
    QList<std::pair<QString, QString>> pending;
    for (const TableDef& t : Schema()) {
        const QList<QStringList> row =
            Rows(c,
                 QStringLiteral(
                     "SELECT name, sql FROM sqlite_master WHERE type = 'table' AND name = ? COLLATE NOCASE"),
                 {t.name});
        if (row.isEmpty())
            continue;
        const QString sql = row.first().value(1);
        if (sql.contains(QLatin1String("COLLATE NOCASE"), Qt::CaseInsensitive))
            continue;
        bool hasText = false;
        for (const QStringList& col :
             Rows(c, QStringLiteral("PRAGMA table_info(\"%1\")").arg(row.first().first())))
            hasText = hasText || IsTextType(col.value(2));
        if (hasText)
            pending.append({row.first().first(), sql});
    }
    if (pending.isEmpty())
        return true;
    // All tables or none: a half-upgraded file would compare one table one way and the next another.
    if (!Run(c, QStringLiteral("BEGIN IMMEDIATE"), failure))
        return false;
    for (const auto& [table, sql] : pending) {
        if (!RebuildSqliteTable(c, table, sql, failure)) {
            Run(c, QStringLiteral("ROLLBACK"), nullptr);
            return false;
        }
    }
    if (Run(c, QStringLiteral("COMMIT"), failure))
        return true;
    Run(c, QStringLiteral("ROLLBACK"), nullptr);
    return false;
}

bool UpgradePostgres(Connection& c, Failure* failure) {
    QStringList tables;
    for (const TableDef& t : Schema())
        tables.append(u'\'' + t.name.toLower() + u'\'');
    const QList<QStringList> columns =
        Rows(c, QStringLiteral("SELECT table_name, column_name FROM information_schema.columns "
                               "WHERE table_schema = current_schema() AND table_name IN (%1) "
                               "AND data_type IN ('character varying', 'text', 'character') "
                               "ORDER BY table_name, ordinal_position")
                    .arg(tables.join(QStringLiteral(", "))));
    if (columns.isEmpty())
        return true;
    if (!Run(c, QStringLiteral("BEGIN"), failure))
        return false;
    bool ok = Run(c, QStringLiteral("CREATE EXTENSION IF NOT EXISTS citext"), failure);
    for (int i = 0; ok && i < columns.size(); ++i)
        ok = Run(c,
                 QStringLiteral("ALTER TABLE \"%1\" ALTER COLUMN \"%2\" TYPE citext")
                     .arg(columns[i][0], columns[i][1]),
                 failure);
    if (ok && Run(c, QStringLiteral("COMMIT"), failure))
        return true;
    Run(c, QStringLiteral("ROLLBACK"), nullptr);
    return false;
}

}  // namespace

bool UpgradeTextComparison(Connection& connection, Failure* failure) {
    switch (connection.engine()) {
        case Engine::SQLite:
            return UpgradeSqlite(connection, failure);
        case Engine::PostgreSQL:
            return UpgradePostgres(connection, failure);
        case Engine::SqlServer:
            break;  // its default collation already ignores case
    }
    return true;
}

}  // namespace tlm
