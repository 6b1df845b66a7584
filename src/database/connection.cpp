#include "database/connection.h"

#include <QAtomicInteger>
#include <QDate>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QUrl>

#include "core/codecs.h"
#include "core/error_report.h"
#include "core/file_services.h"
#include "core/local_settings.h"
#include "core/money.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "core/startup.h"
#include "database/recordset.h"

namespace tlm {

namespace {

QString DateStorageText(const QDateTime& dt, Engine engine) {
    // SQL Server reads "yyyy-MM-dd" by its language setting; "yyyyMMdd" is read one way only.
    return dt.toString(engine == Engine::SqlServer ? QStringLiteral("yyyyMMdd HH:mm:ss")
                                                   : QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

void SetFailure(Failure* out, qint32 number, const QString& description) {
    if (out)
        *out = Failure{number, MaskSecrets(description), 0, QString()};
}

bool IsNumberType(const QVariant& v) {
    switch (v.typeId()) {
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::Double:
        case QMetaType::Float:
            return true;
        default:
            return false;
    }
}

// A date from what a caller may hand over: QDateTime, QDate or date text.
QDateTime AsDateTime(const QVariant& v) {
    if (v.typeId() == QMetaType::QDateTime)
        return v.toDateTime();
    if (v.typeId() == QMetaType::QDate)
        return QDateTime(v.toDate(), QTime(0, 0));
    if (v.typeId() == QMetaType::QString) {
        const QString s = v.toString().trimmed();
        for (const QString& f : {QStringLiteral("yyyy-MM-dd HH:mm:ss"), QStringLiteral("yyyy-M-d H:mm:ss"),
                                 QStringLiteral("yyyy-M-d H:mm"), QStringLiteral("yyyy-M-d")}) {
            const QDateTime dt = QDateTime::fromString(s, f);
            if (dt.isValid())
                return dt;
        }
        const QDateTime iso = QDateTime::fromString(s, Qt::ISODate);
        if (iso.isValid())
            return QDateTime(iso.date(), iso.time());
    }
    return QDateTime();
}

QString NonNullText(const QString& s) {
    return s.isNull() ? QStringLiteral("") : s;
}

QString FlagText(const QVariant& v) {
    return v.toBool() ? QStringLiteral("True") : QStringLiteral("False");
}

}  // namespace

// ---- connection strings ----------------------------------------------------------------------

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
    if (t.provider.compare(u"SQLite", Qt::CaseInsensitive) == 0) {
        t.known = true;
        t.engine = Engine::SQLite;
        t.path = source;
        return t;
    }
    if (t.provider.startsWith(u"SQLOLEDB", Qt::CaseInsensitive)) {
        t.known = true;
        t.engine = Engine::SqlServer;
    } else if (t.provider.compare(u"PostgreSQL", Qt::CaseInsensitive) == 0) {
        t.known = true;
        t.engine = Engine::PostgreSQL;
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
    return QStringLiteral("Provider=SQLite;Data Source=") + filePath;
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

// ---- Connection ------------------------------------------------------------------------------

Connection::Connection() {
    static QAtomicInteger<quint64> counter;
    name_ = QStringLiteral("tlm-db-%1").arg(counter.fetchAndAddRelaxed(1) + 1);
}

Connection::~Connection() {
    Close();
    db_ = QSqlDatabase();
    if (QSqlDatabase::contains(name_))
        QSqlDatabase::removeDatabase(name_);
}

void Connection::Close() {
    if (db_.isValid() && db_.isOpen())
        db_.close();
    inTransaction_ = false;
    ++epoch_;
}

bool Connection::IsOpen() const {
    return db_.isValid() && db_.isOpen();
}

bool Connection::Open(const QString& connectionString, Failure* failure) {
    const ConnectionTarget target = ParseConnectionString(connectionString);
    if (!target.password.isEmpty())
        RegisterSecret(target.password);
    if (!target.known) {
        Close();
        SetFailure(failure, dberr::kProviderNotFound,
                   QStringLiteral("Provider cannot be found. It may not be properly installed."));
        return false;
    }
    if (target.engine == Engine::SQLite) {
        const QFileInfo fi(target.path);
        if (target.path.isEmpty() || !fi.isFile()) {
            Close();
            SetFailure(failure, dberr::kUnspecified,
                       QStringLiteral("Could not find file '%1'.").arg(target.path));
            return false;
        }
    }
    if (!OpenTarget(target, failure))
        return false;
    if (target.engine == Engine::SQLite) {
        // Only the shared schema is opened: a foreign file is refused here and never written to.
        QSqlQuery q(db_);
        if (!q.exec(QStringLiteral("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = "
                                   "'tReportedAppointments' COLLATE NOCASE")) ||
            !q.next()) {
            const QString why = q.lastError().isValid() && q.lastError().type() != QSqlError::NoError
                                    ? q.lastError().text()
                                    : QStringLiteral("The file is not a compatible Tally Loom database.");
            q = QSqlQuery();
            Close();
            SetFailure(failure, dberr::kUnspecified, why + QStringLiteral(" (") + target.path + u')');
            return false;
        }
    }
    // A database that cannot be upgraded (a read-only file, no right to add citext) still opens:
    // it works as before, only comparing text with regard to case.
    Failure upgrade;
    if (!UpgradeTextComparison(*this, &upgrade))
        subTraceAction(QStringLiteral("Text comparison upgrade not done: ") + upgrade.description);
    return true;
}

bool Connection::OpenNewSqliteFile(const QString& filePath, Failure* failure) {
    ConnectionTarget t;
    t.known = true;
    t.engine = Engine::SQLite;
    t.path = filePath;
    return OpenTarget(t, failure);
}

bool Connection::OpenTarget(const ConnectionTarget& target, Failure* failure) {
    inTransaction_ = false;
    if (db_.isValid()) {
        if (db_.isOpen())
            db_.close();
        db_ = QSqlDatabase();
        QSqlDatabase::removeDatabase(name_);
    }
    ++epoch_;
    const QString driver = target.engine == Engine::SQLite       ? QStringLiteral("QSQLITE")
                           : target.engine == Engine::PostgreSQL ? QStringLiteral("QPSQL")
                                                                 : QStringLiteral("QODBC");
    if (!QSqlDatabase::isDriverAvailable(driver)) {
        SetFailure(
            failure, dberr::kProviderNotFound,
            QStringLiteral("Provider cannot be found. It may not be properly installed. (%1)").arg(driver));
        return false;
    }
    db_ = QSqlDatabase::addDatabase(driver, name_);
    db_.setNumericalPrecisionPolicy(QSql::HighPrecision);
    switch (target.engine) {
        case Engine::SQLite: {
            // mode=rw: an existing file only (a missing one is an error, never an empty new file);
            // rwc when building a new one.
            const bool create = !QFileInfo::exists(target.path);
            QUrl url = QUrl::fromLocalFile(QFileInfo(target.path).absoluteFilePath());
            url.setQuery(create ? QStringLiteral("mode=rwc") : QStringLiteral("mode=rw"));
            db_.setDatabaseName(url.toString(QUrl::FullyEncoded));
            db_.setConnectOptions(QStringLiteral("QSQLITE_OPEN_URI;QSQLITE_BUSY_TIMEOUT=5000"));
            break;
        }
        case Engine::PostgreSQL:
            db_.setHostName(target.host.isEmpty() ? QStringLiteral("localhost") : target.host);
            if (target.port > 0)
                db_.setPort(target.port);
            db_.setDatabaseName(target.database.isEmpty() ? QStringLiteral("postgres") : target.database);
            if (!target.integratedSecurity) {
                db_.setUserName(target.user);
                db_.setPassword(target.password);
            }
            // The provider's own login time-out; a dead host must not hang the screen forever.
            db_.setConnectOptions(QStringLiteral("connect_timeout=15"));
            break;
        case Engine::SqlServer:
            db_.setDatabaseName(OdbcConnectionString(target));
            db_.setConnectOptions(QStringLiteral("SQL_ATTR_LOGIN_TIMEOUT=15;SQL_ATTR_CONNECTION_TIMEOUT=15"));
            break;
    }
    if (!db_.open()) {
        const QString why = db_.lastError().text();
        db_ = QSqlDatabase();
        QSqlDatabase::removeDatabase(name_);
        SetFailure(failure, dberr::kUnspecified, why);
        return false;
    }
    target_ = target;
    dialect_ = Dialect(target.engine);
    QStringList setup;
    if (target.engine == Engine::SQLite) {
        // The file lives in a shared network folder, where WAL's shared memory does not reach the
        // other machines: the rollback journal, always, and a file left in WAL mode is switched back.
        // The busy timeout makes a second writer wait instead of failing; with the rollback journal a
        // busy writer can hold the file through many short commits, so the wait is generous.
        setup = {QStringLiteral("PRAGMA busy_timeout = 30000"),
                 QStringLiteral("PRAGMA journal_mode = DELETE"), QStringLiteral("PRAGMA foreign_keys = OFF")};
    } else if (target.engine == Engine::PostgreSQL) {
        setup = {QStringLiteral("SET client_min_messages TO warning"),
                 QStringLiteral("SET standard_conforming_strings TO on"),
                 QStringLiteral("SET DateStyle TO ISO, YMD")};
    }
    for (const QString& s : setup) {
        QSqlQuery q(db_);
        if (!q.exec(s)) {
            const Failure f = FailureFrom(q.lastError());
            q = QSqlQuery();
            Close();
            // Whatever stops the setup (a file that is no database, a locked one) means no database.
            SetFailure(failure, dberr::kUnspecified, f.description);
            return false;
        }
    }
    return true;
}

QSqlQuery Connection::NewQuery() const {
    return QSqlQuery(db_);
}

bool Connection::PrepareQuery(QSqlQuery& query, const QString& finalSql, bool hasValues, bool* direct,
                              Failure* failure) const {
    if (!IsOpen()) {
        SetFailure(failure, dberr::kObjectClosed,
                   QStringLiteral("Operation is not allowed when the object is closed."));
        return false;
    }
    if (dialect_.HoldsMoreThanOneStatement(finalSql)) {
        SetFailure(
            failure, dberr::kCommandError,
            QStringLiteral("The statement text holds more than one statement and was refused: ") + finalSql);
        return false;
    }
    *direct = engine() == Engine::PostgreSQL && !hasValues;
    if (*direct)
        return true;
    if (!query.prepare(finalSql)) {
        if (failure)
            *failure = FailureFrom(query.lastError());
        return false;
    }
    return true;
}

bool Connection::RunQuery(QSqlQuery& query, const QString& finalSql, bool direct, const QVariantList& values,
                          Failure* failure) const {
    bool ok = false;
    if (direct) {
        ok = query.exec(finalSql);
    } else {
        for (int i = 0; i < values.size(); ++i)
            query.bindValue(i, ToStorage(values[i], ColumnKind::Other));
        ok = query.exec();
    }
    if (!ok && failure)
        *failure = FailureFrom(query.lastError());
    return ok;
}

bool Connection::BeginTransaction(Failure* failure) {
    if (!IsOpen()) {
        SetFailure(failure, dberr::kObjectClosed,
                   QStringLiteral("Operation is not allowed when the object is closed."));
        return false;
    }
    if (!db_.transaction()) {
        if (failure)
            *failure = FailureFrom(db_.lastError());
        return false;
    }
    inTransaction_ = true;
    return true;
}

bool Connection::CommitTransaction(Failure* failure) {
    if (!inTransaction_) {
        SetFailure(failure, dberr::kCommandError, QStringLiteral("No transaction is open."));
        return false;
    }
    inTransaction_ = false;
    if (db_.commit())
        return true;
    if (failure)
        *failure = FailureFrom(db_.lastError());
    db_.rollback();
    return false;
}

void Connection::RollbackTransaction() {
    if (inTransaction_ && IsOpen())
        db_.rollback();
    inTransaction_ = false;
}

qint64 Connection::Execute(const QString& sql, const QVariantList& values, bool translate, Failure* failure) {
    if (engine() == Engine::PostgreSQL && IsOpen()) {
        // The scripts switch databases with "use"; PostgreSQL switches by connecting anew.
        static const QRegularExpression use(
            QStringLiteral("^\\s*use\\s+(\\S.*?)\\s*$"),
            QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
        const auto m = use.match(sql);
        if (m.hasMatch()) {
            QString name = m.captured(1);
            if ((name.startsWith(u'[') && name.endsWith(u']')) ||
                (name.startsWith(u'"') && name.endsWith(u'"')))
                name = name.mid(1, name.size() - 2);
            ConnectionTarget t = target_;
            t.database = name;
            return OpenTarget(t, failure) ? 0 : -1;
        }
    }
    const QString finalSql = translate ? dialect_.Translate(sql) : sql;
    QSqlQuery q(db_);
    bool direct = false;
    if (!PrepareQuery(q, finalSql, !values.isEmpty(), &direct, failure))
        return -1;
    if (!RunQuery(q, finalSql, direct, values, failure))
        return -1;
    return q.numRowsAffected();
}

QVariant Connection::LastInsertId(const QSqlQuery& query) const {
    return query.lastInsertId();
}

QVariant Connection::ToStorage(const QVariant& value, ColumnKind kind) const {
    if (!value.isValid() || value.isNull())
        return QVariant();
    const Engine e = engine();
    const bool isMoney = value.metaType() == QMetaType::fromType<Money>();
    switch (kind) {
        case ColumnKind::DateTime: {
            const QDateTime dt = AsDateTime(value);
            if (dt.isValid())
                return DateStorageText(dt, e);
            // Text that is no date goes as it stands; the engine or a later read decides.
            return value.typeId() == QMetaType::QString ? value : QVariant();
        }
        case ColumnKind::Money: {
            if (isMoney)
                return value.value<Money>().toString(4);
            if (const auto m = Money::fromVariant(value))
                return m->toString(4);
            return value;
        }
        case ColumnKind::Bool: {
            if (value.typeId() == QMetaType::Bool || IsNumberType(value) || isMoney) {
                const auto m = Money::fromVariant(value);
                return (m && m->units != 0) || value.toBool() ? 1 : 0;
            }
            const QString t = value.toString().trimmed();
            if (t.compare(u"True", Qt::CaseInsensitive) == 0)
                return 1;
            if (t.compare(u"False", Qt::CaseInsensitive) == 0)
                return 0;
            bool ok = false;
            const double d = t.toDouble(&ok);
            return ok ? QVariant(d != 0 ? 1 : 0) : value;
        }
        case ColumnKind::Id:
        case ColumnKind::Int16:
        case ColumnKind::Int32:
            if (value.typeId() == QMetaType::Bool)
                return value.toBool() ? 1 : 0;
            if (isMoney)
                return value.value<Money>().toPlainString();
            return value;
        case ColumnKind::Text:
        case ColumnKind::Memo:
            if (isMoney)
                return value.value<Money>().toPlainString();
            if (value.typeId() == QMetaType::QDateTime || value.typeId() == QMetaType::QDate)
                return DateStorageText(AsDateTime(value), e);
            if (value.typeId() == QMetaType::Bool)
                return FlagText(value);
            return NonNullText(value.toString());
        case ColumnKind::Other:
            break;
    }
    if (isMoney)
        return value.value<Money>().toString(4);
    if (value.typeId() == QMetaType::QDateTime || value.typeId() == QMetaType::QDate)
        return DateStorageText(AsDateTime(value), e);
    if (value.typeId() == QMetaType::Bool)
        return value.toBool() ? 1 : 0;
    if (value.typeId() == QMetaType::QString)
        return NonNullText(value.toString());
    return value;
}

Failure Connection::FailureFrom(const QSqlError& error) const {
    Failure f;
    f.description = MaskSecrets(error.databaseText().isEmpty() ? error.text() : error.databaseText());
    if (f.description.trimmed().isEmpty())
        f.description = QStringLiteral("Unspecified error");
    const QString code = error.nativeErrorCode();
    bool lost = error.type() == QSqlError::ConnectionError || !IsOpen();
    switch (engine()) {
        case Engine::SQLite: {
            // Busy, locked, I/O, cannot open, read-only, not a database: the file, not the statement.
            const int rc = code.toInt() & 0xff;
            lost = lost || rc == 5 || rc == 6 || rc == 8 || rc == 10 || rc == 14 || rc == 26;
            break;
        }
        case Engine::PostgreSQL:
            lost = lost || code.startsWith(QStringLiteral("08")) || code.startsWith(QStringLiteral("57P"));
            break;
        case Engine::SqlServer:
            lost = lost || code.startsWith(QStringLiteral("08"));
            break;
    }
    f.number = lost ? dberr::kUnspecified : dberr::kCommandError;
    return f;
}

// ---- the connection flow ---------------------------------------------------------------------

namespace {

class SilentHost : public DatabaseDialogHost {
  public:
    bool ShowFirstRunDialog() override { return false; }
    void ShowDBDialog() override {}
};

SilentHost g_silentHost;
DatabaseDialogHost* g_host = &g_silentHost;
std::shared_ptr<Connection> g_connection;
// Set when the first-run dialog was refused: the process is ending, nothing more may run.
bool g_exitRequested = false;

cMySettings* Settings() {
    return Process().mySettings;
}

QString DatabaseNameForMessage(const cMySettings& s) {
    QString name = s.Database.trimmed();
    if (name.isEmpty())
        name = ParseConnectionString(s.DBConnectionString).database;
    return name.isEmpty() ? kDefaultDatabaseName : name;
}

}  // namespace

void SetDatabaseDialogHost(DatabaseDialogHost* host) {
    g_host = host ? host : &g_silentHost;
}

std::shared_ptr<Connection> CurrentConnection() {
    return g_connection;
}

QString DB::GetCONN(bool& blnShowDialog) {
    ProcessState& ps = Process();
    cMySettings* s = Settings();
    g_exitRequested = false;
    if (!s) {
        subReportError(Failure{dberr::kUnspecified, QStringLiteral("The local settings are not loaded."), 0,
                               QStringLiteral("DB.GetCONN")});
        return QString();
    }
    // A failed creation clears the configuration and runs the whole decision again.
    for (;;) {
        ps.blnNewDatabase = true;
        if (s->DBChoice != 0 && !s->DBConnectionString.trimmed().isEmpty())
            ps.blnNewDatabase = false;
        if (s->DBChoice == 0) {
            ps.strMDBPath = s->DBConnectionString;
            if (!ps.strMDBPath.isEmpty()) {
                ps.strMDBPath = fncStripTrailingSlash(ps.strMDBPath) + u'/' + kDatabaseFileName;
                if (QFileInfo::exists(ps.strMDBPath))
                    ps.blnNewDatabase = false;
            }
        }
        if (blnShowDialog && ps.blnNewDatabase) {
            ps.lngCurrentSection = 14;
            if (!g_host->ShowFirstRunDialog()) {
                // The user refused to name a database.
                g_exitRequested = true;
                subExitProgram(kExitNormal);
                return QString();
            }
        }
        if (s->DBChoice == 0) {
            if (QFileInfo::exists(ps.strMDBPath))
                return SqliteConnectionString(ps.strMDBPath);
            // No folder configured: there is nowhere to write a file, and nothing worth saving.
            if (ps.blnNewDatabase && !ps.strMDBPath.isEmpty()) {
                if (!DB::fncCopyNewMDBToFile(ps.strMDBPath))
                    DB::CreateDB(ps.strMDBPath);
                s->SaveSettings();
                return SqliteConnectionString(ps.strMDBPath);
            }
            return QString();
        }
        if (s->DBChoice < 0 || s->DBChoice > 3)
            return QString();
        if (!ps.blnNewDatabase && !SQLDBExists(s->DBConnectionString)) {
            const PromptAnswer answer =
                MsgBox(QStringLiteral("The specified database '") + DatabaseNameForMessage(*s) +
                           QStringLiteral("' does not exist!\nDo you want to continue with a new database?"),
                       PromptIcon::Question, PromptButtons::YesNo, kMessageTitle);
            if (answer != PromptAnswer::Yes)
                return QString();
            ps.blnNewDatabase = true;
        }
        if (ps.blnNewDatabase) {
            bool created = false;
            const QString connection = fncCreateSQLDB(created);
            if (!connection.isEmpty()) {
                s->SaveSettings();
                return connection;
            }
            s->DBConnectionString.clear();
            s->DBChoice = 0;
            s->Database.clear();
            s->UserName.clear();
            s->Password.clear();
            continue;
        }
        QString result = s->DBConnectionString;
        if (s->DBChoice == 3) {
            const QString name =
                s->Database.trimmed().isEmpty() ? kDefaultDatabaseName : s->Database.trimmed();
            result.replace(QStringLiteral("DATABASE="), QStringLiteral("DATABASE=") + name);
        }
        return result;
    }
}

void DB::Initialize(bool& blnShowDialog) {
    subTraceAction(QStringLiteral("Checking if the ADO connection is up or not"));
    if (g_connection)
        return;
    const QString connectionString = DB::GetCONN(blnShowDialog);
    if (g_exitRequested)
        return;
    if (connectionString.isEmpty()) {
        g_connection.reset();
        DB::ShowDBDialog();
        return;
    }
    auto connection = std::make_shared<Connection>();
    Failure failure;
    if (connection->Open(connectionString, &failure)) {
        g_connection = connection;
        return;
    }
    g_connection.reset();
    if (failure.number == dberr::kUnspecified) {
        MsgBox(QStringLiteral(
                   "Cannot open the project database!\nMake sure the database exists and that you are "
                   "connected to the network."),
               PromptIcon::Critical, PromptButtons::Ok, kMessageTitle);
        DB::ShowDBDialog();
        return;
    }
    if (blnShowDialog) {
        failure.label = QStringLiteral("DB.Initialize");
        failure.description += QStringLiteral("\n\nstrConn=") + MaskSecrets(connectionString);
        subReportError(failure);
    }
}

QVariant DB::NullSafeValue(const QVariant& value, qint32 fieldType) {
    using namespace adotype;
    const bool null = !value.isValid() || value.isNull();
    switch (fieldType) {
        case adInteger:
        case adSingle:
        case adDouble:
        case adCurrency:
        case adDecimal:
        case adBigInt: {
            if (null)
                return 0;
            if (IsNumberType(value) || value.metaType() == QMetaType::fromType<Money>())
                return value;
            if (value.typeId() == QMetaType::QString && IsNumericText(value.toString()))
                return value;
            return 0;
        }
        case adDate:
        case adDBTime: {
            if (!null) {
                const QDateTime dt = AsDateTime(value);
                if (dt.isValid())
                    return dt;
            }
            return ZeroDate();
        }
        case adChar:
        case adWChar:
        case adVarChar:
        case adLongVarChar:
        case adVarWChar:
        case adLongVarWChar: {
            if (null)
                return QStringLiteral("");
            if (value.metaType() == QMetaType::fromType<Money>())
                return value.value<Money>().toPlainString();
            if (value.typeId() == QMetaType::QDateTime)
                return value.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
            return NonNullText(value.toString());
        }
        default:
            return QVariant();
    }
}

void DB::ShowDBDialog() {
    ProcessState& ps = Process();
    ps.lngCurrentSection = 14;
    ps.blnDatabaseSetup = true;
    g_host->ShowDBDialog();
}

std::unique_ptr<Recordset> GetDBRecordset(const QString& strSQL, bool blnReadOnly, bool blnShowDialog,
                                          bool blnBatch) {
    bool showDialog = blnShowDialog;
    DB::Initialize(showDialog);
    subTraceAction(
        QStringLiteral("Creating a new ADOB.Recordset. If this fails, please try re-installing MDAC"));
    subTraceAction(QStringLiteral("Attempting to open a recordset from ") + strSQL);
    if (!g_connection || !g_connection->IsOpen())
        return nullptr;
    const LockMode lock = blnReadOnly ? LockMode::ReadOnly
                          : blnBatch  ? LockMode::BatchOptimistic
                                      : LockMode::Optimistic;
    auto rs = std::make_unique<Recordset>(g_connection, lock);
    Failure failure;
    if (rs->Open(strSQL, &failure))
        return rs;
    if (blnShowDialog) {
        if (failure.number == dberr::kUnspecified) {
            failure.label = QStringLiteral("DB.GetDBRecordset");
            QString text = QStringLiteral(
                "Connection to the database 'TLM_DATABASE' cannot be established! Make sure you are "
                "connected to the "
                "network and have access to the database.");
            text.replace(QStringLiteral("TLM_DATABASE"), fncGetDatabaseDisplayName());
            subShowFriendlyError(text + QStringLiteral("\n\nSQL=") + strSQL, failure);
        } else {
            failure.label = QStringLiteral("DB.GetRecordset");
            subReportError(failure);
        }
    }
    return nullptr;
}

std::unique_ptr<Recordset> GetDBRecordset(const SqlText& statement, bool blnReadOnly, bool blnShowDialog,
                                          bool blnBatch) {
    if (statement.ok())
        return GetDBRecordset(statement.sql(), blnReadOnly, blnShowDialog, blnBatch);
    if (blnShowDialog) {
        Failure failure = *statement.refusal();
        failure.label = QStringLiteral("DB.GetRecordset");
        subReportError(failure);
    }
    return nullptr;
}

std::unique_ptr<Command> GetCommand() {
    subTraceAction(QStringLiteral("Creating a new ADODB.Command object"));
    bool showDialog = true;
    DB::Initialize(showDialog);
    if (!g_connection)
        return nullptr;
    return std::make_unique<Command>(g_connection);
}

void subCloseConnection() {
    if (g_connection)
        g_connection->Close();
    g_connection.reset();
}

QString fncGetDatabaseDisplayName() {
    const cMySettings* s = Settings();
    if (!s)
        return QString();
    if (s->DBChoice == 0)
        return fncStripTrailingSlash(s->DBConnectionString) + u'/' + kDatabaseFileName;
    return s->Server;
}

}  // namespace tlm
