#include <gtest/gtest.h>

#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>

#include "app/section_loader.h"
#include "domain/domain_test_fixture.h"
#include "mail/compose_form.h"
#include "notifications/notification_display_form.h"
#include "notifications/notification_doubles.h"
#include "notifications/senders.h"
#include "notifications/template_editor_form.h"

namespace tlm::test {
namespace {

constexpr int kNewProjects = 2;  // "Email Members when new projects are added"
constexpr int kMemberToReport = 10;

// The editor opened as section 4 over a fresh database, driven instead of exec().
class TemplateFormTest : public DomainDbTest {
  protected:
    void TearDown() override {
        SetTemplatesDriver(nullptr);
        frmCompose::SetDisplayHook(nullptr);
        SetNotificationDisplay(nullptr);
        SetNotificationTransport(nullptr);
        DomainDbTest::TearDown();
    }
    // Opens the screen through the section table and runs the steps on it.
    void Open(const std::function<void(frmTemplates&)>& steps) {
        bool ran = false;
        SetTemplatesDriver([&](frmTemplates& form) {
            ran = true;
            steps(form);
        });
        subLoadSection(4);
        EXPECT_TRUE(ran) << "section 4 did not open the template editor";
    }
    QString Stored(const QString& key) {
        return Column(QStringLiteral(
                          "SELECT NotificationValue FROM tNotificationTemplates WHERE NotificationName = '") +
                      key + QLatin1Char('\''))
            .value(0);
    }
};

TEST_P(TemplateFormTest, ExitDropsEveryEditSwitchingKeepsThemAndSaveWritesThem) {
    const QString before = Stored(QStringLiteral("tpoNotifyMemberToReport"));
    ASSERT_FALSE(before.trimmed().isEmpty());
    Open([](frmTemplates& form) {
        form.templateBox()->setCurrentIndex(kMemberToReport);
        form.htmlEditor()->setPlainText(QStringLiteral("changed"));
        form.templateBox()->setCurrentIndex(0);
        form.toolbarButton(QStringLiteral("Exit"))->trigger();
    });
    EXPECT_EQ(Stored(QStringLiteral("tpoNotifyMemberToReport")), before);
    EXPECT_EQ(global->MessageTemplates.GetValue(QStringLiteral("tpoNotifyMemberToReport")).toString(),
              before);

    Open([](frmTemplates& form) {
        form.templateBox()->setCurrentIndex(kNewProjects);
        form.subjectField()->setText(QStringLiteral("New work: TLM_NEW_PROJECTS"));
        form.htmlEditor()->setPlainText(QStringLiteral("<p>Hello TLM_ADMIN</p>"));
        form.templateBox()->setCurrentIndex(15);
        form.htmlEditor()->setPlainText(QStringLiteral("<table><tr><td>TLM_SUBJECT</td></tr></table>"));
        form.templateBox()->setCurrentIndex(kNewProjects);
        EXPECT_EQ(form.subjectField()->text(), QStringLiteral("New work: TLM_NEW_PROJECTS"));
        EXPECT_EQ(form.htmlEditor()->toPlainText(), QStringLiteral("<p>Hello TLM_ADMIN</p>"));
        form.toolbarButton(QStringLiteral("Save"))->trigger();
    });
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    EXPECT_EQ(Stored(QStringLiteral("tpoNotifyMembersWhenNewProjectsAddedSubject")),
              QStringLiteral("New work: TLM_NEW_PROJECTS"));
    EXPECT_EQ(Stored(QStringLiteral("tpoNotifyMembersWhenNewProjectsAdded")),
              QStringLiteral("<p>Hello TLM_ADMIN</p>"));
    EXPECT_EQ(Stored(QStringLiteral("tpoPrintTemplate")),
              QStringLiteral("<table><tr><td>TLM_SUBJECT</td></tr></table>"));
    // The process's own store took the form's copy.
    EXPECT_EQ(global->MessageTemplates.GetValue(QStringLiteral("tpoPrintTemplate")).toString(),
              QStringLiteral("<table><tr><td>TLM_SUBJECT</td></tr></table>"));
}

TEST_P(TemplateFormTest, UnreadableTableShowsDefaultsButCannotBeSavedOver) {
    Exec(QStringLiteral("DROP TABLE tNotificationTemplates"));
    Open([](frmTemplates& form) {
        EXPECT_EQ(form.htmlEditor()->toPlainText(),
                  DefaultTemplateBody(QStringLiteral("tpoNotifyManagerWhenMemberReports"))
                      .replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
        EXPECT_FALSE(form.toolbarButton(QStringLiteral("Save"))->isEnabled());
    });
    EXPECT_FALSE(AllShownText().isEmpty());
}

// A request to report with editing allowed opens the compose window instead of sending.
TEST_P(TemplateFormTest, ShownNotificationOpensTheComposeWindow) {
    RecordingTransport transport;
    InstallNotificationSenders(ComposeNotificationDisplay());
    SetNotificationTransport(&transport);
    global->Members.FromArray(Rows({{"Robin", "robin@example.org"}, {"Kim Lee", "kim@example.org"}}));
    global->GeneralSettings.SetValue(QStringLiteral("tpoAllowEditOfEmailToReport"), 1);
    MailMessage seen;
    frmCompose::SetDisplayHook([&](frmCompose* window) { seen = window->message(); });
    SendEmailToMemberToReport(QStringLiteral("Kim Lee"));
    EXPECT_EQ(seen.to, QStringLiteral("kim@example.org"));
    EXPECT_TRUE(seen.html.contains(QStringLiteral("Dear Kim Lee")));
    EXPECT_TRUE(transport.mails.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Engines, TemplateFormTest, ::testing::Values(Engine::SQLite), EngineName);

}  // namespace
}  // namespace tlm::test
