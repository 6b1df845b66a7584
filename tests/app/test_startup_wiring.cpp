#include <gtest/gtest.h>

#include <QApplication>
#include <QLineEdit>
#include <QSet>
#include <QTimer>

#include "admin/manager_list_form.h"
#include "app/program.h"
#include "app/section_loader.h"
#include "core/process_state.h"
#include "database/db_fixture.h"
#include "desktop/error_report_form.h"
#include "mail/compose_form.h"
#include "mail/mail_profile.h"
#include "notifications/notification_display_form.h"
#include "notifications/notification_engine.h"
#include "settings/manager_settings_form.h"

namespace tlm::test {
namespace {

QStringList g_shown;  // error reports and boxes nobody scripted

// The real program object and Main on a settings folder of their own: what the process installs
// is what the screens find.
class StartupWiring : public ::testing::Test, public DatabaseEnv {
  protected:
    void SetUp() override {
        SetUpEnv();
        // Back to the built-in wiring, so only what the program installs counts.
        SetDatabaseDialogHost(nullptr);
        SetNotificationSink(nullptr);
        SetNotificationDisplay(nullptr);
        SetErrorReportMailer(nullptr);
        silentSink = &notificationSink();
        g_shown.clear();
        GuiErrorPresenter::SetDialogHook([](QDialog* report) { g_shown.append(report->windowTitle()); });
        // A box nobody scripted would wait for a click: close it and remember its title.
        watchdog.setInterval(100);
        QObject::connect(&watchdog, &QTimer::timeout, [this] {
            if (QWidget* w = QApplication::activeModalWidget()) {
                g_shown.append(w->windowTitle() + QLatin1Char('/') + w->objectName());
                w->close();
            }
        });
        watchdog.start();
    }
    void TearDown() override {
        watchdog.stop();
        SetManagerListDriver(nullptr);
        SetManagerSettingsDriver(nullptr);
        frmCompose::SetDisplayHook(nullptr);
        GuiErrorPresenter::SetDialogHook(nullptr);
        SetNotificationSink(nullptr);
        SetNotificationDisplay(nullptr);
        SetErrorReportMailer(nullptr);
        TearDownEnv();
    }
    int Run(const QString& section) {
        Process().mySettings = nullptr;
        ResetProcessStateForTests();
        Program program;
        return RunMain(ParseCommandLine({section}), program);
    }

    NotificationSink* silentSink = nullptr;
    QTimer watchdog;
};

TEST_F(StartupWiring, ConfiguredDatabaseOpensTheScreenWithTheMailWiringInPlace) {
    ASSERT_TRUE(DB::fncCopyNewMDBToFile(dir + QLatin1Char('/') + kDatabaseFileName));
    settings.DBChoice = 0;
    settings.DBConnectionString = dir;
    settings.SaveSettings();
    MailProfile profile;
    profile.errorReportMailbox = QStringLiteral("errors@example.org");
    ASSERT_TRUE(SaveMailProfile(profile));

    QString screen;
    bool sinkInstalled = false;
    bool composeDisplay = false;
    QString reportMailTo;
    SetManagerListDriver([&](frmManagerList& form) {
        screen = form.isVisible() ? form.objectName() : QString();
        sinkInstalled = &notificationSink() != silentSink;
        composeDisplay = &notificationDisplay() == ComposeNotificationDisplay();
        // "Open Email" of an error report goes to the compose window.
        frmCompose::SetDisplayHook([&](frmCompose* w) { reportMailTo = w->toField()->text(); });
        subSendErrorReport(QStringLiteral("report body"), false);
    });
    EXPECT_EQ(Run(QStringLiteral("1")), kExitNormal);
    EXPECT_EQ(screen, QStringLiteral("frmManagerList"));
    EXPECT_TRUE(sinkInstalled) << "list saves would send no notification";
    EXPECT_TRUE(composeDisplay) << "mails to show would go to the outbox";
    EXPECT_EQ(reportMailTo.toStdString(), "errors@example.org");
    EXPECT_TRUE(g_shown.isEmpty()) << g_shown.join(u'|').toStdString();
    EXPECT_FALSE(CurrentConnection()) << "the connection is closed on the way out";
}

TEST_F(StartupWiring, FirstRunShowsTheSettingsPanelAndARefusalEndsTheStart) {
    int panels = 0;
    qint32 panelSection = -1;
    SetManagerSettingsDriver([&](frmManagerSettings& form) {
        panels += form.isVisible() ? 1 : 0;
        panelSection = Process().lngCurrentSection;
    });
    EXPECT_EQ(Run(QStringLiteral("1")), kExitStartFailed);
    EXPECT_EQ(panels, 1);
    EXPECT_EQ(panelSection, 14);
    EXPECT_TRUE(g_shown.isEmpty()) << g_shown.join(u'|').toStdString();
}

// Every number the command line accepts lands on a window that has a screen: a missing row in the
// loader's table would end the process on a null opener, and a copied row would open one window's
// screen for another.
TEST(SectionLoader, EverySectionNumberOpensAScreenOfItsOwn) {
    for (qint32 s = -3; s <= 40; ++s)
        EXPECT_NE(OpenerFor(WindowForSection(s)), nullptr) << "section " << s;
    QSet<ScreenOpener> openers;
    for (SectionWindow w :
         {SectionWindow::ManagerList, SectionWindow::Templates, SectionWindow::ManagerSettings,
          SectionWindow::Search, SectionWindow::Reports, SectionWindow::ReviewReports})
        openers.insert(OpenerFor(w));
    EXPECT_EQ(openers.size(), 6);
}

}  // namespace
}  // namespace tlm::test
