#include <gtest/gtest.h>

#include "admin/admin_test_support.h"
#include "admin/member_import.h"
#include "database/db_fixture.h"
#include "mail/ldap_directory.h"
#include "mail/ldap_test_support.h"

namespace tlm::test {
namespace {

// The address book as the dialog hands it over: the entries given, or a cancel.
class PickedEntries : public AddressBookSource {
  public:
    std::optional<QList<DirectoryEntry>> AddressBook(const QString& title, const QString& addLabel) override {
        titles.append(title + u'|' + addLabel);
        return answer;
    }
    std::optional<QList<DirectoryEntry>> answer;
    QStringList titles;
};

// Entries picked in the test directory by name, groups with their members read as the dialog does.
QList<DirectoryEntry> FromDirectory(const QStringList& names) {
    LdapDirectory dir(TestDirectory());
    QString error;
    QList<DirectoryEntry> out;
    for (const QString& name : names) {
        const auto found = dir.Search(name, &error);
        EXPECT_TRUE(found) << error.toStdString();
        if (!found)
            continue;
        for (DirectoryEntry e : *found) {
            if (e.name != name)
                continue;
            e.members = dir.Members(e).members;
            out.append(e);
        }
    }
    EXPECT_EQ(out.size(), names.size());
    return out;
}

QStringList RowTexts(const GridRows& rows) {
    QStringList out;
    for (const auto& r : rows) {
        QStringList cells;
        for (const QVariant& v : r)
            cells.append(v.metaType() == QMetaType::fromType<Money>() ? v.value<Money>().toString(2)
                                                                      : v.toString());
        out.append(cells.join(u'|'));
    }
    return out;
}

class MemberImportTest : public DomainMemoryTest {
  protected:
    PickedEntries book;
};

// A group adds its members; a member picked again adds no second row; a known name keeps its row
// and gets the saved values back, whatever the directory or the grid says.
TEST_F(MemberImportTest, GroupsAddTheirMembersOnceAndKnownNamesGetTheSavedValues) {
    TLM_REQUIRE_LDAP();
    book.answer = FromDirectory(
        {QStringLiteral("Project Team"), QStringLiteral("Bo Chen"), QStringLiteral("Eli Noor")});
    cMembers saved;
    saved.FromArray(Rows({{"Robin", "robin@x.org", "", "7", 1}, {"ANN LEE", "ann@old.org", "Old", "5", 0}}));
    const auto import = ImportMembers(&book, saved, {QStringLiteral("Robin"), QStringLiteral("ann lee")});
    ASSERT_TRUE(import);
    EXPECT_EQ(book.titles, QStringList{QStringLiteral("Pick Members|Add")});
    ASSERT_EQ(import->refresh.size(), 1);
    const auto& ann = import->refresh[0];
    EXPECT_EQ(QStringLiteral("%1|%2|%3|%4").arg(ann.row).arg(ann.email, ann.department, ann.rate.toString(2)),
              QStringLiteral("1|ann@old.org|Old|5.00"));
    // A person without an address is still a member.
    EXPECT_EQ(RowTexts(import->newRows),
              (QStringList{QStringLiteral("Bo Chen|bo.chen@example.org|Engineering|0.00|0"),
                           QStringLiteral("Chloé Dubois|chloe.dubois@example.org|Engineering|0.00|0"),
                           QStringLiteral("Eli Noor||Support|0.00|0")}));
}

TEST_F(MemberImportTest, CancelOrNothingPickedChangesNothingAndNoAddressBookEndsTheProgram) {
    book.answer = std::nullopt;
    EXPECT_FALSE(ImportMembers(&book, cMembers{}, {QStringLiteral("Robin")}));
    book.answer = QList<DirectoryEntry>{};
    EXPECT_FALSE(ImportMembers(&book, cMembers{}, {}));
    const int before = ExitCalls();
    EXPECT_FALSE(GetUsersFromGAL(nullptr));
    EXPECT_EQ(ExitCalls(), before + 1);
}

}  // namespace
}  // namespace tlm::test
