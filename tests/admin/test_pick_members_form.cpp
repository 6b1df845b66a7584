#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QLocale>
#include <QProgressDialog>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>
#include <algorithm>
#include <atomic>

#include "admin/pick_members_form.h"
#include "admin/pick_members_test_support.h"
#include "core/prompt.h"
#include "desktop/dialogs.h"
#include "mail/ldap_directory.h"
#include "mail/ldap_test_support.h"

namespace tlm::test {
namespace {

QStringList Names(const QList<DirectoryEntry>& entries) {
    QStringList out;
    for (const DirectoryEntry& e : entries)
        out.append(e.name);
    return out;
}

class PickMembersFormTest : public ::testing::Test {
  protected:
    void SetUp() override {
        FreshLocalSettings();
        SetPrompter(&prompter);
        DialogScript::clear();
    }
    void TearDown() override {
        SetPickMembersDriver({});
        SetPickMembersDirectory({});
        SetPrompter(nullptr);
        DialogScript::clear();
    }
    // Searches for `text` and picks the rows named `names`.
    static void Pick(PickMembersDialog& d, const QString& text, const QStringList& names) {
        d.searchBox()->setText(text);
        d.Refresh();
        ASSERT_TRUE(WaitForSearch(d));
        d.results()->clearSelection();
        for (int i = 0; i < d.results()->topLevelItemCount(); ++i) {
            QTreeWidgetItem* item = d.results()->topLevelItem(i);
            if (names.contains(item->text(0)))
                item->setSelected(true);
        }
        d.AddSelected();
    }
    ScriptedPrompter prompter;
};

TEST_F(PickMembersFormTest, DirectorySearchRunsInTheBackgroundShowsItsCountAndCanStop) {
    TLM_REQUIRE_LDAP();
    PickMembersDialog d(nullptr, TestDirectory());
    d.show();
    d.searchBox()->setText(QStringLiteral("Crowd Person"));
    d.Refresh();
    // Refresh came back at once; the screen keeps answering while the 3,000 people come in.
    EXPECT_TRUE(d.isSearching());
    EXPECT_FALSE(d.stopButton()->isHidden());
    QStringList statuses;
    ASSERT_TRUE(WaitUntil([&] {
        statuses.append(d.status()->text());
        return !d.isSearching();
    }));
    EXPECT_EQ(d.results()->topLevelItemCount(), 3000);
    EXPECT_TRUE(d.status()->text().isEmpty()) << d.status()->text().toStdString();
    EXPECT_TRUE(d.stopButton()->isHidden());
    const bool counted = std::any_of(statuses.cbegin(), statuses.cend(), [](const QString& s) {
        return s.startsWith(QStringLiteral("Searching the directory... ")) &&
               !s.endsWith(QStringLiteral(" 0 found")) && s.endsWith(QStringLiteral(" found"));
    });
    EXPECT_TRUE(counted) << statuses.join(u'|').toStdString();

    // A new text while a search runs: the old search stops and the new one answers.
    d.searchBox()->setText(QStringLiteral("Bulk Person"));
    d.Refresh();
    d.searchBox()->setText(QStringLiteral("Dana"));
    d.Refresh();
    ASSERT_TRUE(WaitForSearch(d));
    EXPECT_EQ(ResultNames(d), QStringList{QStringLiteral("Dana Kim")});

    // Stop: the search ends without an answer, and the rows shown stay.
    d.searchBox()->setText(QString());
    d.Refresh();
    d.StopSearch();
    ASSERT_TRUE(WaitForSearch(d));
    EXPECT_EQ(d.status()->text(), QStringLiteral("The search was stopped."));
    EXPECT_EQ(ResultNames(d), QStringList{QStringLiteral("Dana Kim")});
}

// A directory whose group reading reports its progress and, while `hold` is set, waits at 400 of
// 1,000 for a cancel.
class SlowDirectory : public MemberDirectory {
  public:
    explicit SlowDirectory(std::atomic<bool>* hold) : hold_(hold) {}
    std::optional<QList<DirectoryEntry>> Search(const QString&, QString*, int, DirectoryJob*) override {
        return QList<DirectoryEntry>{{QStringLiteral("Big Group"), QString(), QString(),
                                      AddressEntryType::DistributionList,
                                      QStringLiteral("cn=Big Group,dc=x")}};
    }
    GroupMembers Members(const DirectoryEntry&, DirectoryJob* job) override {
        for (int i = 0; i <= 1000; ++i) {
            job->Report(i, 1000);
            for (int waited = 0; i == 400 && hold_->load() && !job->Cancelled() && waited < 30000;
                 waited += 5)
                QThread::msleep(5);
            if (job->Cancelled())
                return GroupMembers{JobOutcome::Cancelled, {}, {}, QStringLiteral("cancelled")};
        }
        GroupMembers read;
        for (const char* name : {"One", "Two"}) {
            DirectoryEntry member;
            member.name = QString::fromLatin1(name);
            member.type = AddressEntryType::DirectoryUser;
            read.members.append(member);
        }
        return read;
    }

  private:
    std::atomic<bool>* hold_;
};

TEST_F(PickMembersFormTest, ReadingMembersShowsProgressAndACancelTakesNothingAndKeepsTheDialogOpen) {
    std::atomic<bool> hold{true};
    SetPickMembersDirectory([&](const DirectorySettings&) -> std::unique_ptr<MemberDirectory> {
        return std::make_unique<SlowDirectory>(&hold);
    });
    DirectorySettings settings;
    settings.url = QStringLiteral("ldap://directory.invalid");
    PickMembersDialog dialog(nullptr, settings);
    QString label;
    int value = -1;
    bool openAfterCancel = false;
    QString statusAfterCancel;
    SetPickMembersDriver([&](PickMembersDialog& d) {
        Pick(d, QStringLiteral("Big"), {QStringLiteral("Big Group")});
        ASSERT_EQ(d.picked()->count(), 1);
        QTimer watch;
        watch.setInterval(10);
        QObject::connect(&watch, &QTimer::timeout, [&] {
            auto* progress = d.findChild<QProgressDialog*>(QStringLiteral("ReadingMembers"));
            if (!progress || !label.isEmpty() || !progress->labelText().contains(QLocale().toString(400)))
                return;
            label = progress->labelText();
            value = progress->value();
            progress->findChild<QPushButton*>()->click();
        });
        watch.start();
        d.accept();
        watch.stop();
        openAfterCancel = d.isVisible() && d.result() != QDialog::Accepted;
        statusAfterCancel = d.status()->text();
        // Again, to the end.
        hold = false;
        d.accept();
    });
    const std::optional<QList<DirectoryEntry>> got =
        dialog.AddressBook(QStringLiteral("Pick Members"), QStringLiteral("Add"));
    EXPECT_EQ(label, QStringLiteral("Reading the members of Big Group: %1 of %2")
                         .arg(QLocale().toString(400), QLocale().toString(1000)));
    EXPECT_EQ(value, 400) << "the bar counts in thousandths";
    EXPECT_TRUE(openAfterCancel);
    EXPECT_EQ(statusAfterCancel,
              QStringLiteral("Reading the members of Big Group was cancelled; nothing was taken."));
    ASSERT_TRUE(got);
    ASSERT_EQ(got->size(), 1);
    EXPECT_EQ(Names(got->at(0).members), (QStringList{QStringLiteral("One"), QStringLiteral("Two")}));
    EXPECT_TRUE(prompter.shown().isEmpty());
}

// Two groups read one after the other; the members that cannot be read are named in one message
// at the end, and none is made up.
TEST_F(PickMembersFormTest, GroupsAreReadWholeAndUnreadableMembersNamedOnce) {
    TLM_REQUIRE_LDAP();
    PickMembersDialog dialog(nullptr, TestDirectory());
    SetPickMembersDriver([&](PickMembersDialog& d) {
        Pick(d, QStringLiteral("Support Desk"), {QStringLiteral("Support Desk")});
        Pick(d, QStringLiteral("Crowd"), {QStringLiteral("Crowd")});
        Pick(d, QStringLiteral("Ann"), {QStringLiteral("Ann Lee")});
        d.accept();
    });
    const auto got = dialog.AddressBook(QStringLiteral("Pick Members"), QStringLiteral("Add"));
    ASSERT_TRUE(got);
    ASSERT_EQ(Names(*got), (QStringList{QStringLiteral("Support Desk"), QStringLiteral("Crowd"),
                                        QStringLiteral("Ann Lee")}));
    EXPECT_EQ(Names(got->at(0).members), (QStringList{QStringLiteral("Eli Noor"), QStringLiteral("Doe, John"),
                                                      QStringLiteral("Ops Crew")}));
    EXPECT_EQ(got->at(1).members.size(), 3000);
    EXPECT_TRUE(got->at(2).members.isEmpty());
    ASSERT_EQ(prompter.shown().size(), 1);
    const QString message = prompter.shown()[0].text;
    EXPECT_TRUE(message.contains(QStringLiteral("Support Desk: Gone, Former (cn=Gone\\2C Former,ou=people,")))
        << message.toStdString();
    EXPECT_TRUE(message.contains(QStringLiteral("Support Desk: Hidden Person (cn=Hidden Person,ou=hidden,")))
        << message.toStdString();
}

TEST_F(PickMembersFormTest, TheStoredPasswordIsNeverInAFieldAndTurningStartTlsOffWarns) {
    TLM_REQUIRE_LDAP();
    ASSERT_TRUE(SaveDirectorySettings(TestDirectory()));
    PickMembersDialog d(nullptr, LoadDirectorySettings());
    d.show();
    for (const QLineEdit* field : d.findChildren<QLineEdit*>())
        EXPECT_FALSE(field->text().contains(LdapPassword())) << field->objectName().toStdString();
    EXPECT_TRUE(d.password()->text().isEmpty());
    EXPECT_EQ(d.password()->placeholderText(),
              QStringLiteral("A password is stored; type one to replace it"));

    // StartTLS is on; turned off, the dialog warns; ldaps:// has nothing to turn off.
    EXPECT_TRUE(d.startTls()->isChecked());
    EXPECT_TRUE(d.startTlsWarning()->isHidden());
    d.startTls()->setChecked(false);
    EXPECT_FALSE(d.startTlsWarning()->isHidden());
    d.serverUrl()->setText(LdapsUri());
    EXPECT_FALSE(d.startTls()->isEnabled());
    EXPECT_TRUE(d.startTlsWarning()->isHidden());
    d.serverUrl()->setText(LdapUri());
    EXPECT_FALSE(d.startTlsWarning()->isHidden());

    // Nothing typed: the stored password binds and stays stored; StartTLS is kept off as chosen.
    d.searchBox()->setText(QStringLiteral("Dana"));
    d.Connect();
    ASSERT_TRUE(WaitForSearch(d));
    EXPECT_TRUE(d.status()->text().isEmpty()) << d.status()->text().toStdString();
    EXPECT_EQ(ResultNames(d), QStringList{QStringLiteral("Dana Kim")});
    const DirectorySettings kept = LoadDirectorySettings();
    EXPECT_EQ(kept.password, LdapPassword());
    EXPECT_FALSE(kept.startTls);

    // Another bind DN: the stored password is not sent to it and no longer stored.
    d.bindDn()->setText(QStringLiteral("cn=admin,") + LdapBaseDn());
    d.Connect();
    ASSERT_TRUE(WaitForSearch(d));
    EXPECT_FALSE(d.status()->text().isEmpty());
    EXPECT_TRUE(LoadDirectorySettings().password.isEmpty());
    EXPECT_EQ(d.password()->placeholderText(), QStringLiteral("No password is stored"));
}

}  // namespace
}  // namespace tlm::test
