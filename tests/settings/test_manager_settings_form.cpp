#include <QAction>
#include <QLocalServer>
#include <QLocalSocket>
#include <QtEndian>

#include "desktop/client_notify.h"
#include "settings_forms_fixture.h"

using namespace tlm;
using namespace tlm::test;

namespace {

using ShellTest = SettingsFormsTest;

const QString kPrefix = QStringLiteral("Administration Panel : ");

}  // namespace

// Which panel each section shows is proven by the panels' own tests finding their controls; here the
// captions at both ends of the list, and a number without a panel.
TEST_F(ShellTest, SectionsGetTheirTitleAndAnUnknownOneTheBareNumber) {
    const struct {
        qint32 section;
        const char* title;
    } rows[] = {{0, "Access Control"}, {14, "Database Settings"}, {25, "Reporting Options"}};
    for (const auto& row : rows) {
        frmManagerSettings form;
        Open(form, row.section);
        EXPECT_EQ(form.windowTitle(), kPrefix + QString::fromLatin1(row.title));
        ASSERT_TRUE(form.currentItem());
        EXPECT_EQ(form.currentItem()->objectName(), QStringLiteral("currentItem"));
        form.Exit();
    }
    EXPECT_TRUE(PromptTexts().isEmpty());

    prompter.queue(PromptAnswer::Ok);
    frmManagerSettings form;
    Open(form, 7);
    EXPECT_EQ(PromptTexts(), QStringList{QStringLiteral("7")});
    EXPECT_TRUE(form.isVisible());
    EXPECT_FALSE(form.currentItem());
    EXPECT_EQ(form.windowTitle(), kPrefix);
    EXPECT_FALSE(form.Save());
    form.Exit();
    EXPECT_FALSE(form.saved());
    EXPECT_TRUE(presenter.reports.isEmpty());
}

// A folder taken from the browse, then Exit: nothing is saved.
TEST_F(ShellTest, ExitLeavesTheSavedFlagFalseAndWritesNothing) {
    Process().blnDatabaseSetup = true;
    {
        frmManagerSettings form;
        Open(form, 14);
        DialogScript::queueFolder(dir);
        Child<QPushButton>(form.currentItem(), "cmdBrowseMDBpath")->click();
        EXPECT_EQ(Child<QLineEdit>(form.currentItem(), "txtMDBPath")->text(), dir);
        form.toolbarButton(QStringLiteral("Exit"))->trigger();
        EXPECT_FALSE(form.isVisible());
        EXPECT_FALSE(form.saved());
        EXPECT_EQ(form.result(), QDialog::Rejected);
    }
    EXPECT_FALSE(SettingsWritten());
    EXPECT_TRUE(Process().blnDatabaseSetup);
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
    if (oldTmp.isNull())
        qunsetenv("TMPDIR");
    else
        qputenv("TMPDIR", oldTmp);
}
