#include <QAction>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QtEndian>

#include "app/section_loader.h"
#include "desktop/client_notify.h"
#include "settings/option_panels.h"
#include "settings_forms_fixture.h"

using namespace tlm;
using namespace tlm::test;

namespace {

// A panel standing in for the option panels still to come, to drive the shell's side of the contract.
class RecordingPanel : public SettingsPanel {
  public:
    using SettingsPanel::SettingsPanel;
    void subGetSettings() override { ++loads; }
    bool SaveGlobalSettings() override {
        ++saves;
        return accept;
    }
    int loads = 0;
    int saves = 0;
    bool accept = false;
};

using ShellTest = SettingsFormsTest;

const QString kPrefix = QStringLiteral("Administration Panel : ");

}  // namespace

TEST_F(ShellTest, EachSectionGetsItsTitleAndItsPanel) {
    struct Row {
        qint32 section;
        QString panel;
        QString title;
    };
    const Row rows[] = {
        {0, QStringLiteral("ucAccessControl"), QStringLiteral("Access Control")},
        {8, QStringLiteral("ucNotificationOptions"), QStringLiteral("Notification Options")},
        {9, QStringLiteral("ucFieldsOption"), QStringLiteral("Fields Option")},
        {14, QStringLiteral("ucDatabaseSettings"), QStringLiteral("Database Settings")},
        {18, QStringLiteral("ucAdvancedOptions"), QStringLiteral("Advanced Options")},
        {19, QStringLiteral("ucAutomaticUpgrade"), QStringLiteral("Upgrade Options")},
        {24, QStringLiteral("ucAuditOptions"), QStringLiteral("Audit Options")},
        {25, QStringLiteral("ucReportingOptions"), QStringLiteral("Reporting Options")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.section);
        frmManagerSettings form;
        Open(form, row.section);
        EXPECT_EQ(form.windowTitle(), kPrefix + row.title);
        ASSERT_TRUE(form.currentItem());
        EXPECT_EQ(form.currentItem()->objectName(), QStringLiteral("currentItem"));
        EXPECT_TRUE(form.currentItem()->inherits(("tlm::" + row.panel).toLatin1().constData()));
        EXPECT_TRUE(form.currentItem()->isVisible());
        EXPECT_TRUE(form.toolbarButton(QStringLiteral("Save"))->isEnabled());
        form.Exit();
    }
    EXPECT_TRUE(PromptTexts().isEmpty());
    EXPECT_TRUE(presenter.reports.isEmpty());
}

TEST_F(ShellTest, UnknownSectionShowsTheBareNumberThenAnEmptyWindow) {
    for (qint32 section : {5, 7, 99, -3}) {
        SCOPED_TRACE(section);
        prompter.clear();
        prompter.queue(PromptAnswer::Ok);
        frmManagerSettings form;
        Open(form, section);
        EXPECT_EQ(PromptTexts(), QStringList{QString::number(section)});
        EXPECT_TRUE(form.isVisible());
        EXPECT_FALSE(form.currentItem());
        EXPECT_EQ(form.windowTitle(), kPrefix);
        EXPECT_FALSE(form.Save());
        form.Exit();
        EXPECT_FALSE(form.saved());
    }
    EXPECT_TRUE(presenter.reports.isEmpty());
}

TEST_F(ShellTest, PanelsThisProgramDoesNotHoldFailThroughTheSharedPath) {
    settings.ProjectTitle = QStringLiteral("Job");
    settings.ActivityTitle = QStringLiteral("Step");
    const struct {
        qint32 section;
        QString panel;
        QString title;
    } rows[] = {{6, QStringLiteral("ucMyProjects"), QStringLiteral("My Job\\Step Lists")},
                {15, QStringLiteral("ucMySettings"), QStringLiteral("Local Settings")}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.section);
        ResetErrorReportingForTests();
        presenter.reports.clear();
        frmManagerSettings form;
        Open(form, row.section);
        ASSERT_EQ(presenter.reports.size(), 1);
        EXPECT_TRUE(presenter.reports[0].contains(QStringLiteral("fManagerSettings.subSetSetupControl")));
        EXPECT_TRUE(presenter.reports[0].contains(row.panel));
        EXPECT_EQ(form.windowTitle(), kPrefix + row.title);
        EXPECT_FALSE(form.currentItem());
        EXPECT_TRUE(form.isVisible());
        form.Exit();
    }
    EXPECT_TRUE(PromptTexts().isEmpty());
}

TEST_F(ShellTest, ExitAndClosingLeaveTheSavedFlagFalseAndWriteNothing) {
    Process().blnDatabaseSetup = true;
    {
        frmManagerSettings form;
        Open(form, 14);
        Child<QLineEdit>(form.currentItem(), "txtMDBPath")->setText(dir);
        form.toolbarButton(QStringLiteral("Exit"))->trigger();
        EXPECT_FALSE(form.isVisible());
        EXPECT_FALSE(form.saved());
        EXPECT_EQ(form.result(), QDialog::Rejected);
    }
    {
        frmManagerSettings form;
        Open(form, 14);
        Child<QLineEdit>(form.currentItem(), "txtMDBPath")->setText(dir);
        form.close();
        EXPECT_FALSE(form.saved());
    }
    EXPECT_FALSE(SettingsWritten());
    EXPECT_TRUE(Process().blnDatabaseSetup);
}

TEST_F(ShellTest, PluggedPanelLoadsSavesAndKeepsTheWindowOnRefusal) {
    RecordingPanel* made = nullptr;
    OverrideSettingsPanel(QStringLiteral("ucAuditOptions"), [&](QWidget* parent) {
        made = new RecordingPanel(parent);
        return made;
    });
    frmManagerSettings form;
    Open(form, 24);
    OverrideSettingsPanel(QStringLiteral("ucAuditOptions"), nullptr);
    ASSERT_TRUE(made);
    EXPECT_EQ(form.currentItem(), made);
    EXPECT_EQ(made->loads, 1);
    EXPECT_EQ(form.windowTitle(), kPrefix + QStringLiteral("Audit Options"));

    // A refused save leaves the window open: the panel has told the user why.
    form.toolbarButton(QStringLiteral("Save"))->trigger();
    EXPECT_EQ(made->saves, 1);
    EXPECT_TRUE(form.isVisible());
    EXPECT_FALSE(form.saved());

    // The panel's own save request takes the same road.
    made->accept = true;
    emit made->saveRequested();
    EXPECT_EQ(made->saves, 2);
    EXPECT_FALSE(form.isVisible());
    EXPECT_TRUE(form.saved());
    EXPECT_EQ(form.result(), QDialog::Accepted);
    // The program's own panel is back.
    frmManagerSettings again;
    Open(again, 24);
    EXPECT_TRUE(qobject_cast<ucAuditOptions*>(again.currentItem()));
    again.Exit();
}

TEST_F(ShellTest, SuccessfulSaveTellsTheClientAndTheManagerListener) {
    // Private socket folder, so no other process's listener answers.
    const QByteArray oldTmp = qgetenv("TMPDIR");
    qputenv("TMPDIR", NewTempDir(QStringLiteral("sockets")).toLocal8Bit());
    QLocalServer client;
    QLocalServer manager;
    ASSERT_TRUE(client.listen(kClientServerName));
    ASSERT_TRUE(manager.listen(kManagerServerName));

    Process().blnDatabaseSetup = true;
    SetDatabaseReloadHook([] {});
    frmManagerSettings form;
    Open(form, 14);
    Child<QLineEdit>(form.currentItem(), "txtMDBPath")->setText(dir);
    EXPECT_TRUE(form.Save());
    EXPECT_TRUE(form.saved());
    EXPECT_FALSE(form.isVisible());

    auto received = [](QLocalServer& server) -> qint32 {
        if (!server.waitForNewConnection(2000))
            return -1;
        QLocalSocket* socket = server.nextPendingConnection();
        while (socket->bytesAvailable() < 4 && socket->waitForReadyRead(2000)) {
        }
        qint32 value = -1;
        if (socket->read(reinterpret_cast<char*>(&value), 4) != 4)
            return -1;
        return qFromLittleEndian(value);
    };
    EXPECT_EQ(received(client), 1);
    EXPECT_EQ(received(manager), 0);
    client.close();
    manager.close();
    if (oldTmp.isNull())
        qunsetenv("TMPDIR");
    else
        qputenv("TMPDIR", oldTmp);
}

TEST_F(ShellTest, SectionLoaderOpensTheShellModalForSettingsSections) {
    ASSERT_EQ(OpenerFor(SectionWindow::ManagerSettings), &OpenManagerSettings);
    QStringList titles;
    bool setupSeen = false;
    SetManagerSettingsDriver([&](frmManagerSettings& form) {
        titles.append(form.windowTitle());
        setupSeen = Process().blnDatabaseSetup;
        // Left open on purpose: the runner must close it unsaved rather than wait.
    });
    subLoadSection(14);
    subLoadSection(9);
    EXPECT_EQ(titles, (QStringList{kPrefix + QStringLiteral("Database Settings"),
                                   kPrefix + QStringLiteral("Fields Option")}));
    EXPECT_TRUE(setupSeen);
    EXPECT_FALSE(SettingsWritten());
}
