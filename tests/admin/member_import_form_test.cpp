#include <gtest/gtest.h>

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

#include "admin/list_form_fixture.h"
#include "admin/pick_members_dialog.h"
#include "desktop/gui_dialogs.h"
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
    QStringList GridTexts() {
        QStringList out;
        for (int r = 0; r < G().dataRowCount(); ++r) {
            QStringList cells;
            for (int c = 0; c < 5; ++c)
                cells.append(G().text(r, c));
            out.append(cells.join(u'|'));
        }
        return out;
    }
    // Picks every result the search gives with the dialog's add button.
    static void AddAll(PickMembersDialog& d, const QString& search) {
        d.searchBox()->setText(search);
        d.Refresh();
        d.results()->selectAll();
        QTest::mouseClick(d.addButton(), Qt::LeftButton);
    }
    QString VCardFiles() {
        const QString dir = NewTempDir(QStringLiteral("vcards"));
        const QString good =
            WriteFile(dir, QStringLiteral("people.vcf"),
                      "BEGIN:VCARD\nVERSION:3.0\nFN:Ann Lee\nEMAIL:ann@new.org\nEND:VCARD\n"
                      "BEGIN:VCARD\nVERSION:3.0\nFN:Bo Chen\nEMAIL:bo@x.org\nORG:O;Lab\nEND:VCARD\n");
        const QString bad = WriteFile(dir, QStringLiteral("more.vcf"),
                                      "BEGIN:VCARD\nVERSION:4.0\nFN:Cy\nEMAIL:cy@x.org\nEND:VCARD\n"
                                      "BEGIN:VCARD\nVERSION:4.0\nFN:Bad \xff\nEND:VCARD\n");
        return good + u'\n' + bad;
    }
};

TEST_P(MemberImportFormTest, ImportOpensThePickerAndAddFillsTheGrid) {
    Open(3);
    QAction* import = form->toolbarButton(QStringLiteral("Import"));
    ASSERT_TRUE(import->isVisible());
    // An unsaved address of a known member is replaced by the saved one.
    const int ann = G().text(0, 0) == QStringLiteral("Ann Lee") ? 0 : 1;
    ASSERT_EQ(G().text(ann, 0), QStringLiteral("Ann Lee"));
    G().setValue(ann, 1, QStringLiteral("typed@x.org"));
    const QString files = VCardFiles();
    SetPickMembersDriver([&](PickMembersDialog& d) {
        EXPECT_EQ(d.windowTitle() + u'|' + d.addButton()->text(), QStringLiteral("Pick Members|Add"));
        DialogScript::queueFileName(files);
        d.OpenFiles();
        AddAll(d, QString());
        AddAll(d, QStringLiteral("bo"));  // picked twice, listed once
        EXPECT_EQ(d.picked()->count(), 3);
        d.accept();
    });
    import->trigger();
    ASSERT_EQ(prompter.shown().size(), 1);
    EXPECT_TRUE(prompter.shown()[0].text.contains(QStringLiteral("more.vcf, card 2: the text is not UTF-8")));
    EXPECT_EQ(GridTexts(), (QStringList{QStringLiteral("Ann Lee|ann@old.org|Old|5.00|0"),
                                        QStringLiteral("Robin|robin@x.org|Ops|7.00|1"),
                                        QStringLiteral("Bo Chen|bo@x.org|Lab|0.00|0"),
                                        QStringLiteral("Cy|cy@x.org||0.00|0")}))
        << GridTexts().join(u'\n').toStdString();
    EXPECT_TRUE(form->hasUnsavedChanges());
    // Exit drops the new rows: the table never saw them.
    form->toolbarButton(QStringLiteral("Exit"))->trigger();
    EXPECT_EQ(Table(QStringLiteral("SELECT Name FROM tMembers ORDER BY Name")),
              (QStringList{QStringLiteral("Ann Lee"), QStringLiteral("Robin")}));
}

TEST_P(MemberImportFormTest, CancelLeavesTheGridAsItWas) {
    Open(3);
    const QStringList before = GridTexts();
    const QString files = VCardFiles();
    bool shown = false;
    SetPickMembersDriver([&](PickMembersDialog& d) {
        shown = d.isVisible();
        DialogScript::queueFileName(files);
        d.OpenFiles();
        AddAll(d, QString());
        d.reject();
    });
    form->toolbarButton(QStringLiteral("Import"))->trigger();
    EXPECT_TRUE(shown);
    EXPECT_EQ(GridTexts(), before);
    EXPECT_FALSE(form->hasUnsavedChanges());
}

TEST_P(MemberImportFormTest, AGridOfAnotherLengthIsSavedBeforeTheImport) {
    Open(3);
    G().setMatrix({{"Bo Chen", "bo@typed.org", "", Cash("3"), 0}}, 2, 0);
    const QString files = VCardFiles();
    SetPickMembersDriver([&](PickMembersDialog& d) {
        DialogScript::queueFileName(files);
        d.OpenFiles();
        AddAll(d, QStringLiteral("Bo"));
        d.accept();
    });
    form->toolbarButton(QStringLiteral("Import"))->trigger();
    // Bo was saved by the import and is a known member now: his row stays, with the saved values.
    EXPECT_EQ(Table(QStringLiteral("SELECT Name, Email FROM tMembers ORDER BY Name")),
              (QStringList{QStringLiteral("Ann Lee|ann@old.org"), QStringLiteral("Bo Chen|bo@typed.org"),
                           QStringLiteral("Robin|robin@x.org")}));
    EXPECT_EQ(G().dataRowCount(), 3);
    EXPECT_EQ(G().text(2, 1), QStringLiteral("bo@typed.org"));
}

TEST_P(MemberImportFormTest, DirectoryGroupImportsAndSaveWritesTheNewMembers) {
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
        refused = d.status()->text();
        EXPECT_EQ(d.results()->topLevelItemCount(), 0);
        d.password()->setText(LdapPassword());
        d.Connect();
        AddAll(d, QStringLiteral("Project"));
        EXPECT_TRUE(d.status()->text().isEmpty()) << d.status()->text().toStdString();
        EXPECT_EQ(d.picked()->count(), 1);
        d.accept();
    });
    form->toolbarButton(QStringLiteral("Import"))->trigger();
    EXPECT_EQ(G().dataRowCount(), 4);
    EXPECT_TRUE(refused.contains(QStringLiteral("refused the bind DN or the password")))
        << refused.toStdString();
    EXPECT_FALSE(refused.contains(QStringLiteral("Wr0ng-pass")));
    const DirectorySettings kept = LoadDirectorySettings();
    EXPECT_EQ(kept.url, LdapUri());
    EXPECT_EQ(kept.bindDn, LdapBindDn());
    EXPECT_EQ(kept.password, LdapPassword());
    EXPECT_FALSE(kept.startTls);
    form->toolbarButton(QStringLiteral("Save"))->trigger();
    EXPECT_TRUE(form->saved());
    EXPECT_EQ(Table(QStringLiteral(
                  "SELECT Name, Email, Department, Rate, AdminAccess FROM tMembers ORDER BY Name")),
              (QStringList{QStringLiteral("Ann Lee|ann@old.org|Old|5.00|0"),
                           QStringLiteral("Bo Chen|bo.chen@example.org|Engineering|0.00|0"),
                           QStringLiteral("Chloé Dubois|chloe.dubois@example.org|Engineering|0.00|0"),
                           QStringLiteral("Robin|robin@x.org|Ops|7.00|1")}));
}

TEST_P(MemberImportFormTest, AnUnreachableDirectoryIsSaidInThePicker) {
    DirectorySettings down;
    down.url = QStringLiteral("ldap://127.0.0.1:1");
    down.bindDn = QStringLiteral("cn=reader");
    down.password = QStringLiteral("S3cret-pw");
    ASSERT_TRUE(SaveDirectorySettings(down));
    Open(3);
    QString status;
    SetPickMembersDriver([&](PickMembersDialog& d) {
        status = d.status()->text();
        d.reject();
    });
    form->toolbarButton(QStringLiteral("Import"))->trigger();
    EXPECT_EQ(status, QStringLiteral("The directory server ldap://127.0.0.1:1 cannot be reached."));
}

INSTANTIATE_TEST_SUITE_P(Engines, MemberImportFormTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
