#pragma once

#include <QStringList>
#include <memory>

#include "database/db_fixture.h"
#include "domain/list_common.h"
#include "domain/projects.h"
#include "domain/tasks.h"
#include "settings/global_settings.h"

namespace tlm::test {

// Records which sender a save called, with what, in order.
class RecordingSink : public NotificationSink {
  public:
    void SendEmailNotificationToMembersWhenNewProjectsAdded(const QString& text) override {
        calls.append(QStringLiteral("NewProjects|") + text);
    }
    void SendEmailNotificationToMembersWhenNewTasksAdded(const QString& text) override {
        calls.append(QStringLiteral("NewTasks|") + text);
    }
    void SendEmailNotificationToManagerWhenAssignedProject(const cProject& p) override {
        calls.append(QStringLiteral("Manager|") + p.ProjectName + u'|' + p.ProjectManager);
    }
    void SendEmailNotificationToCoordinatorWhenAssignedTask(const cTask& t) override {
        calls.append(QStringLiteral("Coordinator|") + t.Key() + u'|' + t.Coordinator);
    }
    QStringList calls;
};

// A fresh database of the engine, a registered global store and a recording sink per test.
class DomainDbTest : public EngineTest {
  protected:
    void SetUp() override;
    void TearDown() override;
    // A new store, loaded from the database, registered as the process's one.
    cDBSettings& Reload();
    // The first report the user saw, or empty.
    QString FirstReport() const { return presenter.reports.value(0); }
    QStringList Column(const QString& sql);

    std::unique_ptr<cDBSettings> global;
    RecordingSink sink;
};

// No database: a registered store with built-in defaults only.
class DomainMemoryTest : public ::testing::Test, public DatabaseEnv {
  protected:
    void SetUp() override;
    void TearDown() override;
    std::unique_ptr<cDBSettings> global;
};

Matrix Rows(const std::vector<QVariantList>& rows);

inline QDateTime Day(int y, int m, int d) {
    return QDateTime(QDate(y, m, d), QTime(0, 0));
}

}  // namespace tlm::test
