#pragma once

#include <gtest/gtest.h>

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/prompt.h"
#include "database/connection.h"
#include "database/recordset.h"
#include "support/test_env.h"

namespace tlm::test {

class FakeDialogHost : public DatabaseDialogHost {
  public:
    bool ShowFirstRunDialog() override {  // refused: the flows that go on are the settings screen's
        ++firstRunCalls;
        return false;
    }
    void ShowDBDialog() override {
        ++dbDialogCalls;
        if (onDBDialog)
            onDBDialog();
    }
    int firstRunCalls = 0;
    int dbDialogCalls = 0;
    std::function<void()> onDBDialog;
};

// Calls of subExitProgram since the last reset.
int ExitCalls();

// Settings, prompter, reporter, dialog host and exit handler of one test, all fresh.
class DatabaseEnv {
  protected:
    void SetUpEnv();
    void TearDownEnv();
    // Every text the user could have seen: boxes, reports, friendly messages.
    QString AllShownText() const;
    QStringList PromptTexts() const;
    // The server part of TLM_TEST_PG and a new database name on it (dropped at tear-down).
    QString PostgresServer() const;
    QString NewPostgresDatabaseName();
    // Runs one statement on the test server's maintenance database.
    bool PostgresAdmin(const QString& sql);

    cMySettings settings;
    ScriptedPrompter prompter;
    RecordingPresenter presenter;
    FakeDialogHost host;
    QString dir;
    QStringList pgDatabases;
};

// One body, every engine: SQLite always, PostgreSQL when TLM_TEST_PG is set.
class EngineTest : public ::testing::TestWithParam<Engine>, public DatabaseEnv {
  protected:
    void SetUp() override;
    void TearDown() override { TearDownEnv(); }
    bool IsSqlite() const { return GetParam() == Engine::SQLite; }
    // Configures a new database of the engine (the creation flow) and opens the connection to it.
    void OpenFreshDatabase();
    // The connection string of the fresh database.
    QString ConnectionString() const;
    std::unique_ptr<Recordset> Open(const QString& sql, LockMode lock = LockMode::Optimistic);
    qint64 Exec(const QString& sql, const QVariantList& values = {});
    int Count(const QString& table);
    // The same date and money terms in the form query code composes for this engine.
    QString DayTerm(const QString& column, const QString& day) const;
};

std::string EngineName(const ::testing::TestParamInfo<Engine>& info);

}  // namespace tlm::test
