#include "database/db_fixture.h"

#include <QUuid>

#include "core/process_state.h"
#include "core/startup.h"
#include "database/provisioning.h"
#include "support/test_env.h"

namespace tlm::test {

namespace {
int g_exitCalls = 0;
void RecordExit(int) {
    ++g_exitCalls;
}
}  // namespace

int ExitCalls() {
    return g_exitCalls;
}

void DatabaseEnv::SetUpEnv() {
    FreshLocalSettings();
    subCloseConnection();
    ResetProcessStateForTests();
    ResetErrorReportingForTests();
    settings = cMySettings();
    Process().mySettings = &settings;
    SetPrompter(&prompter);
    SetErrorPresenter(&presenter);
    SetDatabaseDialogHost(&host);
    g_exitCalls = 0;
    SetExitHandler(&RecordExit);
    dir = NewTempDir(QStringLiteral("db"));
}

void DatabaseEnv::TearDownEnv() {
    subCloseConnection();
    for (const QString& name : std::as_const(pgDatabases))
        PostgresAdmin(QStringLiteral("DROP DATABASE IF EXISTS \"%1\" WITH (FORCE)").arg(name));
    SetDatabaseDialogHost(nullptr);
    SetErrorPresenter(nullptr);
    SetPrompter(nullptr);
    SetExitHandler(nullptr);
    Process().mySettings = nullptr;
}

QStringList DatabaseEnv::PromptTexts() const {
    QStringList out;
    for (const auto& s : prompter.shown())
        out.append(s.text);
    return out;
}

QString DatabaseEnv::AllShownText() const {
    return (PromptTexts() + presenter.reports + presenter.friendly + presenter.friendlyReports)
        .join(QStringLiteral("\n---\n"));
}

QString DatabaseEnv::PostgresServer() const {
    return fncGetServerConnectionString(PostgresConnectionString());
}

QString DatabaseEnv::NewPostgresDatabaseName() {
    const QString name = QStringLiteral("TlmTest_") + QUuid::createUuid().toString(QUuid::Id128).left(10);
    pgDatabases.append(name);
    return name;
}

bool DatabaseEnv::PostgresAdmin(const QString& sql) {
    Connection c;
    if (PostgresConnectionString().isEmpty() || !c.Open(PostgresServer()))
        return false;
    Failure f;
    return c.Execute(sql, {}, false, &f) >= 0;
}

void EngineTest::SetUp() {
    if (GetParam() == Engine::PostgreSQL)
        TLM_NEED_SERVER(!PostgresConnectionString().isEmpty(), "PostgreSQL case: TLM_TEST_PG");
    SetUpEnv();
}

void EngineTest::OpenFreshDatabase() {
    if (IsSqlite()) {
        settings.DBChoice = 0;
        settings.DBConnectionString = dir;
    } else {
        const QString name = NewPostgresDatabaseName();
        settings.DBChoice = 1;
        settings.Database = name;
        settings.DBConnectionString = PostgresServer() + QStringLiteral(";Initial Catalog=") + name;
        prompter.queue(PromptAnswer::Yes);  // "does not exist ... continue with a new database?"
    }
    bool showDialog = false;
    DB::Initialize(showDialog);
    ASSERT_TRUE(CurrentConnection()) << AllShownText().toStdString();
    ASSERT_TRUE(presenter.reports.isEmpty()) << AllShownText().toStdString();
    prompter.clear();
}

QString EngineTest::ConnectionString() const {
    return IsSqlite() ? SqliteConnectionString(dir + QStringLiteral("/") + kDatabaseFileName)
                      : settings.DBConnectionString;
}

std::unique_ptr<Recordset> EngineTest::Open(const QString& sql, LockMode lock) {
    auto rs = std::make_unique<Recordset>(CurrentConnection(), lock);
    Failure f;
    EXPECT_TRUE(rs->Open(sql, &f)) << sql.toStdString() << ": " << f.description.toStdString();
    return rs;
}

qint64 EngineTest::Exec(const QString& sql, const QVariantList& values) {
    Command c(CurrentConnection());
    c.CommandText = sql;
    const qint64 n = c.Execute(values);
    EXPECT_GE(n, 0) << sql.toStdString() << ": " << c.LastError().description.toStdString();
    return n;
}

int EngineTest::Count(const QString& table) {
    auto rs = Open(QStringLiteral("SELECT COUNT(*) AS n FROM ") + table, LockMode::ReadOnly);
    return rs->Eof() ? -1 : rs->Fields(QStringLiteral("n")).Value().toInt();
}

QString EngineTest::DayTerm(const QString& column, const QString& day) const {
    if (IsSqlite())
        return column + QStringLiteral(" between #") + day + QStringLiteral(" 00:00:00# and  #") + day +
               QStringLiteral(" 23:59:00#");
    return QStringLiteral("cast(CONVERT(varchar(8), ") + column + QStringLiteral(", 112) AS datetime) = '") +
           day + u'\'';
}

std::string EngineName(const ::testing::TestParamInfo<Engine>& info) {
    return info.param == Engine::SQLite ? "SQLite" : "PostgreSQL";
}

}  // namespace tlm::test
