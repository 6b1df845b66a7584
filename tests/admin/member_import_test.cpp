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
            e.members = dir.Members(e, &error);
            out.append(e);
        }
    }
    EXPECT_EQ(out.size(), names.size());
    return out;
}

DirectoryEntry Card(const QString& name, const QString& mail,
                    AddressEntryType type = AddressEntryType::Contact) {
    DirectoryEntry e;
    e.name = name;
    e.mail = mail;
    e.type = type;
    return e;
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

cMembers Saved(const std::vector<QVariantList>& rows) {
    cMembers m;
    m.FromArray(Rows(rows));
    return m;
}

class MemberImportTest : public DomainMemoryTest {
  protected:
    PickedEntries book;
};

TEST_F(MemberImportTest, GroupOfThreeAddsThreeRowsAndItsMemberPickedAgainNoFourth) {
    TLM_REQUIRE_LDAP();
    book.answer = FromDirectory({QStringLiteral("Project Team"), QStringLiteral("Bo Chen")});
    const cMembers saved = Saved({{"Robin", "robin@x.org", "", "7", 1}});
    const auto import = ImportMembers(&book, saved, {QStringLiteral("Robin")});
    ASSERT_TRUE(import);
    EXPECT_EQ(book.titles, QStringList{QStringLiteral("Pick Members|Add")});
    EXPECT_TRUE(import->refresh.isEmpty());
    EXPECT_EQ(RowTexts(import->newRows),
              (QStringList{QStringLiteral("Ann Lee|ann.lee@example.org|Finance|0.00|0"),
                           QStringLiteral("Bo Chen|bo.chen@example.org|Engineering|0.00|0"),
                           QStringLiteral("Chloé Dubois|chloe.dubois@example.org|Engineering|0.00|0")}));
}

TEST_F(MemberImportTest, KnownNameKeepsItsRowAndGetsTheSavedValuesBack) {
    TLM_REQUIRE_LDAP();
    // The grid has an unsaved address for Ann; the directory has yet another one.
    book.answer = FromDirectory({QStringLiteral("Ann Lee"), QStringLiteral("Eli Noor")});
    const cMembers saved =
        Saved({{"Robin", "robin@x.org", "", "7", 1}, {"ANN LEE", "ann@old.org", "Old", "5", 0}});
    const auto import = ImportMembers(&book, saved, {QStringLiteral("Robin"), QStringLiteral("ann lee")});
    ASSERT_TRUE(import);
    ASSERT_EQ(import->refresh.size(), 1);
    EXPECT_EQ(import->refresh[0].row, 1);
    EXPECT_EQ(import->refresh[0].email, QStringLiteral("ann@old.org"));
    EXPECT_EQ(import->refresh[0].department, QStringLiteral("Old"));
    EXPECT_EQ(import->refresh[0].rate.toString(2), QStringLiteral("5.00"));
    // A person without an address is still a member.
    EXPECT_EQ(RowTexts(import->newRows), QStringList{QStringLiteral("Eli Noor||Support|0.00|0")});
}

TEST_F(MemberImportTest, NestedGroupsOtherKindsNamelessAndDuplicateEntriesAddNothingMore) {
    TLM_REQUIRE_LDAP();
    // All Staff holds Project Team, which comes unexpanded and adds no one, and Dana Kim.
    QList<DirectoryEntry> picked = FromDirectory({QStringLiteral("All Staff")});
    picked.append(Card(QStringLiteral("Orrin Works"), QStringLiteral("info@x.org"), AddressEntryType::Other));
    picked.append(Card(QString(), QStringLiteral("nobody@x.org")));
    picked.append(Card(QStringLiteral("dana KIM"), QStringLiteral("other@x.org")));
    DirectoryEntry group = Card(QStringLiteral("Mixed"), QString(), AddressEntryType::DistributionList);
    group.members = {Card(QStringLiteral("Org"), QString(), AddressEntryType::Other),
                     Card(QStringLiteral("Zoe"), QString())};
    picked.append(group);
    book.answer = picked;
    const auto import = ImportMembers(&book, cMembers{}, {});
    ASSERT_TRUE(import);
    EXPECT_EQ(RowTexts(import->newRows),
              (QStringList{QStringLiteral("Dana Kim|dana.kim@example.org|Sales|0.00|0"),
                           QStringLiteral("Zoe|||0.00|0")}));
}

TEST_F(MemberImportTest, CancelOrNothingPickedChangesNothingAndNoAddressBookEndsTheProgram) {
    book.answer = std::nullopt;
    EXPECT_FALSE(ImportMembers(&book, Saved({{"Robin", "", "", "1", 0}}), {QStringLiteral("Robin")}));
    book.answer = QList<DirectoryEntry>{};
    EXPECT_FALSE(ImportMembers(&book, cMembers{}, {}));
    // Only entries without a name: a list is never made.
    book.answer = QList<DirectoryEntry>{Card(QString(), QStringLiteral("a@x.org"))};
    EXPECT_FALSE(GetUsersFromGAL(&book));

    const int before = ExitCalls();
    EXPECT_FALSE(GetUsersFromGAL(nullptr));
    EXPECT_EQ(ExitCalls(), before + 1);
}

TEST_F(MemberImportTest, KnownMembersFollowTheSavedListAndLeaveTheImported) {
    cMembers imported;
    for (const char* n : {"kim", "New One", "LEE"}) {
        cMember m;
        m.Name = QString::fromLatin1(n);
        m.Email = QStringLiteral("dir@x.org");
        imported.Items.Add(m.Name, m);
    }
    const cMembers saved =
        Saved({{"Lee", "lee@x.org", "", "3", 0}, {"Robin", "", "", "1", 0}, {"Kim", "", "Ops", "2", 1}});
    const auto known = GetNewUsersToBeAdded(imported, saved);
    ASSERT_TRUE(known);
    EXPECT_EQ(known->Items.Keys(), (QStringList{QStringLiteral("lee"), QStringLiteral("kim")}));
    EXPECT_EQ(known->Items.Find(QStringLiteral("lee"))->Email, QStringLiteral("lee@x.org"));
    EXPECT_EQ(imported.Items.Keys(), QStringList{QStringLiteral("New One")});
    cMembers none;
    EXPECT_FALSE(GetNewUsersToBeAdded(none, cMembers{}));

    // Whole names only, the first matching row, rows without a known name untouched.
    const auto rows = UpdateUserInfoInGrid(*known, {QStringLiteral("Leeds"), QString(), QStringLiteral("KIM"),
                                                    QStringLiteral("lee"), QStringLiteral("Lee")});
    ASSERT_EQ(rows.size(), 2);
    EXPECT_EQ(rows[0].row, 3);
    EXPECT_EQ(rows[1].row, 2);
    EXPECT_EQ(rows[1].department, QStringLiteral("Ops"));
}

}  // namespace
}  // namespace tlm::test
