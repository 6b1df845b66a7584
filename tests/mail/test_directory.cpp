#include <gtest/gtest.h>

#include <QTcpServer>

#include "core/error_report.h"
#include "mail/directory.h"
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

TEST(LdapDirectory, SearchFindsByNameOrAddressAndTakesFilterCharactersAsText) {
    TLM_REQUIRE_LDAP();
    LdapDirectory dir(TestDirectory());
    QString error;
    // Non-ASCII names come back whole and are found as typed; "*" matches no name rather than every
    // entry.
    const std::pair<const char*, QStringList> found[] = {{"chen", {QStringLiteral("Bo Chen")}},
                                                         {"JUERGEN", {QStringLiteral("Jürgen Groß")}},
                                                         {"Chloé", {QStringLiteral("Chloé Dubois")}},
                                                         {"*", {}}};
    for (const auto& [typed, names] : found) {
        const auto got = dir.Search(QString::fromUtf8(typed), &error);
        ASSERT_TRUE(got) << error.toStdString();
        EXPECT_EQ(Names(*got), names) << typed;
    }
    EXPECT_EQ(LdapFilterEscape(QStringLiteral("a*(b)\\")), QStringLiteral("a\\2a\\28b\\29\\5c"));
}

TEST(LdapDirectory, PagedSearchReadsPastTheServerSizeLimit) {
    TLM_REQUIRE_LDAP();
    LdapDirectory dir(TestDirectory());
    QString error;
    // The reader may have 500 entries per search; 2,000 come in pages of 300.
    const auto bulk = dir.Search(QStringLiteral("Bulk Person"), &error, 300);
    ASSERT_TRUE(bulk) << error.toStdString();
    ASSERT_EQ(bulk->size(), 2000);
    EXPECT_EQ(bulk->first().name, QStringLiteral("Bulk Person 0001"));
    EXPECT_EQ(bulk->last().name, QStringLiteral("Bulk Person 2000"));
    EXPECT_EQ(bulk->at(999).mail, QStringLiteral("bulk1000@example.org"));
    // The whole directory in one search: people, groups, no role.
    const auto all = dir.Search(QString(), &error);
    ASSERT_TRUE(all) << error.toStdString();
    EXPECT_EQ(all->size(), 2000 + 6 + 3);
    EXPECT_FALSE(Names(*all).contains(QStringLiteral("Head Office"))) << "a role is no person and no group";
}

// Both kinds of group, read one level deep: a group within a group stays an entry of its own.
TEST(LdapDirectory, GroupsOfBothKindsAreReadOneLevelDeep) {
    TLM_REQUIRE_LDAP();
    LdapDirectory dir(TestDirectory());
    QString error;
    const auto found = dir.Search(QStringLiteral("Ops Crew"), &error);
    ASSERT_TRUE(found && found->size() == 1) << error.toStdString();
    const QList<DirectoryEntry> crew = dir.Members(found->at(0), &error);
    ASSERT_EQ(crew.size(), 2);
    EXPECT_EQ(crew[0].name, QStringLiteral("Eli Noor"));
    EXPECT_EQ(crew[0].department, QStringLiteral("Support"));

    const auto all = dir.Search(QStringLiteral("All Staff"), &error);
    ASSERT_TRUE(all && all->size() == 1) << error.toStdString();
    const QList<DirectoryEntry> staff = dir.Members(all->at(0), &error);
    EXPECT_EQ(Names(staff), (QStringList{QStringLiteral("Project Team"), QStringLiteral("Dana Kim")}));
    ASSERT_FALSE(staff.isEmpty());
    EXPECT_EQ(staff[0].type, AddressEntryType::DistributionList);
    EXPECT_TRUE(staff[0].memberRefs.isEmpty()) << "a nested group is not read further";
}

TEST(LdapDirectory, ConnectionFailuresGiveClearMessagesWithoutThePassword) {
    TLM_REQUIRE_LDAP();
    QString error;
    DirectorySettings wrong = TestDirectory();
    wrong.password = QStringLiteral("not-the-Pa55word");
    EXPECT_FALSE(LdapDirectory(wrong).Search(QStringLiteral("Ann"), &error));
    EXPECT_TRUE(error.contains(QStringLiteral("refused the bind DN or the password"))) << error.toStdString();
    EXPECT_TRUE(error.contains(LdapBindDn()));
    EXPECT_FALSE(error.contains(QStringLiteral("not-the-Pa55word")));
    EXPECT_FALSE(MaskSecrets(QStringLiteral("x not-the-Pa55word")).contains(QStringLiteral("Pa55")));

    // A closed port, and a server that takes the connection and never answers.
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost, 0));
    DirectorySettings down = TestDirectory();
    down.url = QStringLiteral("ldap://127.0.0.1:%1").arg(ClosedPort());
    EXPECT_FALSE(LdapDirectory(down).Open(&error));
    EXPECT_EQ(error, QStringLiteral("The directory server %1 cannot be reached.").arg(down.url));
    down.url = QStringLiteral("ldap://127.0.0.1:%1").arg(silent.serverPort());
    down.timeoutSeconds = 1;
    EXPECT_FALSE(LdapDirectory(down).Open(&error));
    EXPECT_EQ(error,
              QStringLiteral("The directory server %1 did not answer within 1 seconds.").arg(down.url));

    // StartTLS asked of a server without TLS stops before the password is sent.
    DirectorySettings tls = TestDirectory();
    tls.startTls = true;
    EXPECT_FALSE(LdapDirectory(tls).Open(&error));
    EXPECT_TRUE(error.startsWith(QStringLiteral("The directory server %1 did not start TLS").arg(tls.url)))
        << error.toStdString();
}

TEST(VCardFiles, VersionsKindsAndGroupsResolvedAcrossFiles) {
    const QString dir = NewTempDir(QStringLiteral("vcards"));
    const QString people = WriteFile(
        dir, QStringLiteral("people.vcf"),
        "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:ann-1\r\nFN:Ann Lee\r\nN:Lee;Ann;;;\r\n"
        "EMAIL;TYPE=INTERNET:ann.home@x.org\r\nitem1.EMAIL;TYPE=INTERNET,PREF:ann@x.org\r\n"
        "ORG:Orrin Works;Finance\\, Planning;Team 2\r\nEND:VCARD\r\n"
        // 2.1: no FN, a quoted-printable Latin-1 name part with a soft break.
        "begin:vcard\nVERSION:2.1\nN;ENCODING=QUOTED-PRINTABLE;CHARSET=ISO-8859-1:M=FC=\nller;J=FCrgen\n"
        "EMAIL;PREF;INTERNET:jm@y.org\nORG:Solo Org\nend:vcard\n"
        // 4.0: a folded FN and a preference number.
        "BEGIN:VCARD\nVERSION:4.0\nFN:Bo\n  Chen\nEMAIL:bo1@z.org\nEMAIL;PREF=1:bo@z.org\nEND:VCARD\n"
        // Nothing usable: skipped.
        "BEGIN:VCARD\nVERSION:3.0\nNOTE:empty\nEND:VCARD\n");
    const QString groups =
        WriteFile(dir, QStringLiteral("groups.vcf"),
                  "BEGIN:VCARD\nVERSION:4.0\nKIND:group\nFN:Team\nUID:urn:uuid:team-1\n"
                  "MEMBER:urn:uuid:ann-1\nMEMBER:mailto:BO@z.org\nMEMBER:urn:uuid:inner-1\n"
                  "MEMBER:mailto:nobody@x.org\nMEMBER:urn:uuid:unknown\nEND:VCARD\n"
                  "BEGIN:VCARD\nVERSION:4.0\nKIND:group\nFN:Inner\nUID:inner-1\n"
                  "MEMBER:urn:uuid:ann-1\nEND:VCARD\n"
                  "BEGIN:VCARD\nVERSION:4.0\nKIND:org\nFN:Orrin Works\nEND:VCARD\n"
                  "BEGIN:VCARD\nVERSION:4.0\nKIND:individual\nFN:Cy\nEND:VCARD\n");
    const VCardFiles read = ReadVCardFiles({people, groups});
    EXPECT_TRUE(read.problems.isEmpty()) << read.problems.join(u'\n').toStdString();
    ASSERT_EQ(read.entries.size(), 7);
    const auto expect = [&](int i, const char* name, const char* mail, const QString& department = {}) {
        EXPECT_EQ(read.entries[i].name, QString::fromUtf8(name));
        EXPECT_EQ(read.entries[i].mail, QString::fromLatin1(mail));
        EXPECT_EQ(read.entries[i].department, department);
    };
    expect(0, "Ann Lee", "ann@x.org", QStringLiteral("Finance, Planning"));
    expect(1, "Jürgen Müller", "jm@y.org");
    expect(2, "Bo Chen", "bo@z.org");
    EXPECT_EQ(read.entries[0].type, AddressEntryType::Contact);
    const DirectoryEntry& team = read.entries[3];
    EXPECT_EQ(team.type, AddressEntryType::DistributionList);
    ASSERT_EQ(team.members.size(), 4);
    EXPECT_EQ(team.members[0].name, QStringLiteral("Ann Lee"));
    EXPECT_EQ(team.members[1].name, QStringLiteral("Bo Chen"));  // by address, case ignored
    EXPECT_EQ(team.members[2].name, QStringLiteral("Inner"));
    EXPECT_EQ(team.members[2].type, AddressEntryType::DistributionList);
    EXPECT_TRUE(team.members[2].members.isEmpty());  // one level only
    EXPECT_TRUE(team.members[3].name.isEmpty());     // an address no card has
    EXPECT_EQ(team.members[3].mail, QStringLiteral("nobody@x.org"));
    EXPECT_EQ(read.entries[5].type, AddressEntryType::Other);
    EXPECT_EQ(read.entries[6].type, AddressEntryType::Contact);
}

TEST(VCardFiles, UnreadableCardsAreNamedInOneMessageAndTheRestOffered) {
    const QString dir = NewTempDir(QStringLiteral("vcards"));
    const QString mixed =
        WriteFile(dir, QStringLiteral("mixed.vcf"),
                  "BEGIN:VCARD\nVERSION:3.0\nFN:Good One\nEMAIL:good@x.org\nEND:VCARD\n"
                  "BEGIN:VCARD\nVERSION:3.0\nFN:Bad \xff\xfe Bytes\nEND:VCARD\n"
                  "BEGIN:VCARD\nVERSION:3.0\nFN:No Colon\nthis is not a property\nEND:VCARD\n"
                  "BEGIN:VCARD\nVERSION:3.0\nFN:Latin \xe9\nEMAIL;CHARSET=ISO-8859-1:l@x.org\n"
                  "END:VCARD\n"
                  "BEGIN:VCARD\nVERSION:4.0\nFN:Never Closed\n");
    const QString empty = WriteFile(dir, QStringLiteral("empty.vcf"), "just text\n");
    const VCardFiles read = ReadVCardFiles({mixed, empty, dir + QStringLiteral("/missing.vcf")});
    ASSERT_EQ(read.entries.size(), 1);
    EXPECT_EQ(read.entries[0].name, QStringLiteral("Good One"));
    const QStringList expected = {
        QStringLiteral("mixed.vcf, card 2: the text is not UTF-8"),
        QStringLiteral("mixed.vcf, card 3 (No Colon): a line is not a vCard property"),
        QStringLiteral("mixed.vcf, card 4: the text is not UTF-8"),
        QStringLiteral("mixed.vcf, card 5 (Never Closed): the card has no END line"),
        QStringLiteral("empty.vcf: the file holds no vCard"),
    };
    ASSERT_EQ(read.problems.size(), 6) << read.problems.join(u'\n').toStdString();
    EXPECT_EQ(read.problems.mid(0, 5), expected);
    EXPECT_TRUE(read.problems[5].startsWith(QStringLiteral("missing.vcf: ")));
    const QString message = UnreadableCardsMessage(read.problems);
    for (const QString& p : read.problems)
        EXPECT_TRUE(message.contains(p));
    EXPECT_TRUE(UnreadableCardsMessage({}).isEmpty());
}

}  // namespace
}  // namespace tlm::test
