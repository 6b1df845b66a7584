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

// The kind of group the member import does not read through its other tests, and a member DN
// that is gone: it keeps the name of its DN, without an address.
TEST(LdapDirectory, MembersOfTheOtherGroupKindAndOfAMissingDn) {
    TLM_REQUIRE_LDAP();
    LdapDirectory dir(TestDirectory());
    QString error;
    const auto found = dir.Search(QStringLiteral("Ops Crew"), &error);
    ASSERT_TRUE(found && found->size() == 1) << error.toStdString();
    EXPECT_EQ(found->at(0).type, AddressEntryType::DistributionList);
    const QList<DirectoryEntry> crew = dir.Members(found->at(0), &error);
    ASSERT_EQ(crew.size(), 2);
    EXPECT_EQ(crew[0].name, QStringLiteral("Eli Noor"));
    EXPECT_EQ(crew[0].department, QStringLiteral("Support"));

    DirectoryEntry ghost;
    ghost.type = AddressEntryType::DistributionList;
    ghost.memberRefs = {QStringLiteral("cn=Gone Person,ou=people,") + LdapBaseDn()};
    const QList<DirectoryEntry> gone = dir.Members(ghost, &error);
    ASSERT_EQ(gone.size(), 1);
    EXPECT_EQ(gone[0].name, QStringLiteral("Gone Person"));
    EXPECT_TRUE(gone[0].mail.isEmpty());
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

    DirectorySettings elsewhere = TestDirectory();
    elsewhere.baseDn = QStringLiteral("dc=nowhere,dc=test");
    EXPECT_FALSE(LdapDirectory(elsewhere).Search(QStringLiteral("Ann"), &error));
    EXPECT_EQ(error, QStringLiteral("The base DN dc=nowhere,dc=test is not in the directory."));
}

}  // namespace
}  // namespace tlm::test
