#include <gtest/gtest.h>

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

#include "admin/list_form_fixture.h"
#include "admin/pick_members_form.h"
#include "admin/pick_members_test_support.h"
#include "desktop/dialogs.h"
#include "mail/ldap_test_support.h"
#include "settings/global_settings.h"

namespace tlm::test {
namespace {

class MemberImportFormTest : public ListFormTest {
  protected:
    void SetUp() override {
        ListFormTest::SetUp();
        if (IsSkipped())
            return;
        ASSERT_TRUE(SaveListFromGrid(3,
                                     {{"Robin", "robin@x.org", "Ops", Cash("7"), 1},
                                      {"Ann Lee", "ann@old.org", "Old", Cash("5"), 0}},
                                     *global)
                        .saved);
        Reload();
        ASSERT_TRUE(SaveDirectorySettings(DirectorySettings{}));
        DialogScript::clear();
        prompter.clear();
    }
    void TearDown() override {
        SetPickMembersDriver({});
        DialogScript::clear();
        ListFormTest::TearDown();
    }
    // Picks every result the search gives with the dialog's add button.
    static void AddAll(PickMembersDialog& d, const QString& search) {
        d.searchBox()->setText(search);
        d.Refresh();
        EXPECT_TRUE(WaitForSearch(d));
        d.results()->selectAll();
        QTest::mouseClick(d.addButton(), Qt::LeftButton);
    }
};

TEST_P(MemberImportFormTest, ImportOpensThePickerAndSaveWritesTheAddedMembers) {
    Open(3);
    // An unsaved address of a known member is replaced by the saved one.
    ASSERT_EQ(G().text(0, 0), QStringLiteral("Ann Lee"));  // loaded sorted by name
    G().setValue(0, 1, QStringLiteral("typed@x.org"));
    const QString dir = NewTempDir(QStringLiteral("vcards"));
    const QString files =
        WriteFile(dir, QStringLiteral("people.vcf"),
                  "BEGIN:VCARD\nVERSION:3.0\nFN:Ann Lee\nEMAIL:ann@new.org\nEND:VCARD\n"
                  "BEGIN:VCARD\nVERSION:3.0\nFN:Bo Chen\nEMAIL:bo@x.org\nORG:O;Lab\nEND:VCARD\n") +
        u'\n' +
        WriteFile(dir, QStringLiteral("more.vcf"),
                  "BEGIN:VCARD\nVERSION:4.0\nFN:Cy\nEMAIL:cy@x.org\nEND:VCARD\n"
                  "BEGIN:VCARD\nVERSION:4.0\nFN:Bad \xff\nEND:VCARD\n");
    SetPickMembersDriver([&](PickMembersDialog& d) {
        DialogScript::queueFileName(files);
        d.OpenFiles();
        AddAll(d, QString());
        AddAll(d, QStringLiteral("bo"));  // picked twice, listed once
        EXPECT_EQ(d.picked()->count(), 3);
        d.accept();
    });
    form->toolbarButton(QStringLiteral("Import"))->trigger();
    ASSERT_EQ(prompter.shown().size(), 1);
    EXPECT_TRUE(prompter.shown()[0].text.contains(QStringLiteral("more.vcf, card 2: the text is not UTF-8")));
    form->toolbarButton(QStringLiteral("Save"))->trigger();
    EXPECT_EQ(Table(QStringLiteral(
                  "SELECT Name, Email, Department, Rate, AdminAccess FROM tMembers ORDER BY Name")),
              (QStringList{"Ann Lee|ann@old.org|Old|5.00|0", "Bo Chen|bo@x.org|Lab|0.00|0",
                           "Cy|cy@x.org||0.00|0", "Robin|robin@x.org|Ops|7.00|1"}));
}

TEST_P(MemberImportFormTest, DirectoryTypedInThePickerIsKeptAndAWrongPasswordIsNotShown) {
    TLM_REQUIRE_LDAP();
    Open(3);
    QString refused;
    SetPickMembersDriver([&](PickMembersDialog& d) {
        // The server is typed in the picker; a wrong password first.
        d.serverUrl()->setText(LdapUri());
        d.baseDn()->setText(LdapBaseDn());
        d.bindDn()->setText(LdapBindDn());
        d.password()->setText(QStringLiteral("Wr0ng-pass"));
        d.Connect();
        EXPECT_TRUE(WaitForSearch(d));
        refused = d.status()->text();
        d.password()->setText(LdapPassword());
        d.Connect();
        EXPECT_TRUE(WaitForSearch(d));
        AddAll(d, QStringLiteral("Project"));
        d.accept();
    });
    form->toolbarButton(QStringLiteral("Import"))->trigger();
    EXPECT_TRUE(refused.contains(QStringLiteral("refused the bind DN or the password")))
        << refused.toStdString();
    EXPECT_FALSE(refused.contains(QStringLiteral("Wr0ng-pass")));
    // The server typed in the picker is kept for the next import.
    const DirectorySettings kept = LoadDirectorySettings();
    EXPECT_EQ(kept.url + u'|' + kept.bindDn + u'|' + kept.password,
              LdapUri() + u'|' + LdapBindDn() + u'|' + LdapPassword());
    EXPECT_EQ(G().dataRowCount(), 4);  // the group's two new members; which rows is the import's test
}

INSTANTIATE_TEST_SUITE_P(Engines, MemberImportFormTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
