#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "core/error_report.h"
#include "mail/directory.h"
#include "mail/ldap_directory.h"
#include "mail/ldap_test_support.h"

namespace tlm::test {
namespace {

const DirectoryEntry* Named(const QList<DirectoryEntry>& entries, const QString& name) {
    for (const DirectoryEntry& e : entries)
        if (e.name == name)
            return &e;
    return nullptr;
}

QStringList Names(const QList<DirectoryEntry>& entries) {
    QStringList out;
    for (const DirectoryEntry& e : entries)
        out.append(e.name);
    return out;
}

// A loopback socket: listening (it accepts into its backlog and never answers) or closed again.
class LoopbackPort {
  public:
    explicit LoopbackPort(bool listening) {
        fd_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t len = sizeof addr;
        if (::bind(fd_, reinterpret_cast<sockaddr*>(&addr), len) != 0 ||
            ::getsockname(fd_, reinterpret_cast<sockaddr*>(&addr), &len) != 0)
            ADD_FAILURE() << "no loopback port";
        port_ = ntohs(addr.sin_port);
        if (listening)
            ::listen(fd_, 4);
        else
            Close();
    }
    ~LoopbackPort() { Close(); }
    QString Url() const { return QStringLiteral("ldap://127.0.0.1:%1").arg(port_); }

  private:
    void Close() {
        if (fd_ >= 0)
            ::close(fd_);
        fd_ = -1;
    }
    int fd_ = -1;
    int port_ = 0;
};

TEST(LdapDirectory, SearchFindsPeopleAndGroupsByNameOrAddress) {
    TLM_REQUIRE_LDAP();
    LdapDirectory dir(TestDirectory());
    QString error;
    const auto chen = dir.Search(QStringLiteral("chen"), &error);
    ASSERT_TRUE(chen) << error.toStdString();
    ASSERT_EQ(chen->size(), 1);
    EXPECT_EQ(chen->at(0).type, AddressEntryType::DirectoryUser);
    EXPECT_EQ(chen->at(0).mail, QStringLiteral("bo.chen@example.org"));
    EXPECT_EQ(chen->at(0).department, QStringLiteral("Engineering"));

    // By address, and non-ASCII names come back whole and are found as typed.
    const auto byMail = dir.Search(QStringLiteral("JUERGEN"), &error);
    ASSERT_TRUE(byMail);
    EXPECT_EQ(Names(*byMail), QStringList{QStringLiteral("Jürgen Groß")});
    const auto accented = dir.Search(QStringLiteral("Chloé"), &error);
    ASSERT_TRUE(accented);
    EXPECT_EQ(Names(*accented), QStringList{QStringLiteral("Chloé Dubois")});

    // Groups of both kinds keep their member DNs; a role is no person and no group.
    const auto groups = dir.Search(QStringLiteral("o"), &error);
    ASSERT_TRUE(groups);
    const DirectoryEntry* team = Named(*groups, QStringLiteral("Project Team"));
    ASSERT_NE(team, nullptr);
    EXPECT_EQ(team->type, AddressEntryType::DistributionList);
    EXPECT_EQ(team->memberRefs.size(), 3);
    const DirectoryEntry* crew = Named(*groups, QStringLiteral("Ops Crew"));
    ASSERT_NE(crew, nullptr);
    EXPECT_EQ(crew->memberRefs.size(), 2);
    EXPECT_EQ(Named(*groups, QStringLiteral("Head Office")), nullptr);

    // The filter's special characters are text: "*" matches no name rather than every entry.
    const auto star = dir.Search(QStringLiteral("*"), &error);
    ASSERT_TRUE(star) << error.toStdString();
    EXPECT_TRUE(star->isEmpty());
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
}

TEST(LdapDirectory, GroupMembersAreReadOneLevelDeep) {
    TLM_REQUIRE_LDAP();
    LdapDirectory dir(TestDirectory());
    QString error;
    const auto found = dir.Search(QString(), &error);
    ASSERT_TRUE(found) << error.toStdString();

    const QList<DirectoryEntry> team = dir.Members(*Named(*found, QStringLiteral("Project Team")), &error);
    EXPECT_EQ(Names(team), (QStringList{QStringLiteral("Ann Lee"), QStringLiteral("Bo Chen"),
                                        QStringLiteral("Chloé Dubois")}));
    for (const DirectoryEntry& m : team) {
        EXPECT_EQ(m.type, AddressEntryType::DirectoryUser);
        EXPECT_FALSE(m.mail.isEmpty());
    }

    // The group within the group comes as an entry of its own, unexpanded.
    const QList<DirectoryEntry> staff = dir.Members(*Named(*found, QStringLiteral("All Staff")), &error);
    ASSERT_EQ(staff.size(), 2);
    EXPECT_EQ(staff[0].name, QStringLiteral("Project Team"));
    EXPECT_EQ(staff[0].type, AddressEntryType::DistributionList);
    EXPECT_TRUE(staff[0].members.isEmpty());
    EXPECT_TRUE(staff[0].memberRefs.isEmpty());
    EXPECT_EQ(staff[1].name, QStringLiteral("Dana Kim"));

    const QList<DirectoryEntry> crew = dir.Members(*Named(*found, QStringLiteral("Ops Crew")), &error);
    ASSERT_EQ(crew.size(), 2);
    EXPECT_EQ(crew[0].name, QStringLiteral("Eli Noor"));
    EXPECT_TRUE(crew[0].mail.isEmpty());
    EXPECT_EQ(crew[0].department, QStringLiteral("Support"));

    // A member DN that is gone keeps the name of its DN, without an address.
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
    LdapDirectory refused(wrong);
    EXPECT_FALSE(refused.Search(QStringLiteral("Ann"), &error));
    EXPECT_TRUE(error.contains(QStringLiteral("refused the bind DN or the password"))) << error.toStdString();
    EXPECT_TRUE(error.contains(LdapBindDn()));
    EXPECT_FALSE(error.contains(QStringLiteral("not-the-Pa55word")));
    EXPECT_FALSE(MaskSecrets(QStringLiteral("x not-the-Pa55word")).contains(QStringLiteral("Pa55")));

    const LoopbackPort closed(false);
    DirectorySettings down = TestDirectory();
    down.url = closed.Url();
    LdapDirectory unreachable(down);
    error.clear();
    EXPECT_FALSE(unreachable.Open(&error));
    EXPECT_EQ(error, QStringLiteral("The directory server %1 cannot be reached.").arg(down.url));

    // A server that takes the connection and never answers: the bind gives up after the timeout.
    const LoopbackPort silent(true);
    DirectorySettings mute = TestDirectory();
    mute.url = silent.Url();
    mute.timeoutSeconds = 1;
    LdapDirectory slow(mute);
    error.clear();
    EXPECT_FALSE(slow.Open(&error));
    EXPECT_EQ(error,
              QStringLiteral("The directory server %1 did not answer within 1 seconds.").arg(mute.url));

    // StartTLS asked of a server without TLS stops before the password is sent.
    DirectorySettings tls = TestDirectory();
    tls.startTls = true;
    LdapDirectory noTls(tls);
    error.clear();
    EXPECT_FALSE(noTls.Open(&error));
    EXPECT_TRUE(error.startsWith(QStringLiteral("The directory server %1 did not start TLS").arg(tls.url)))
        << error.toStdString();

    DirectorySettings elsewhere = TestDirectory();
    elsewhere.baseDn = QStringLiteral("dc=nowhere,dc=test");
    LdapDirectory noBase(elsewhere);
    error.clear();
    EXPECT_FALSE(noBase.Search(QStringLiteral("Ann"), &error));
    EXPECT_EQ(error, QStringLiteral("The base DN dc=nowhere,dc=test is not in the directory."));

    LdapDirectory nothing(DirectorySettings{});
    EXPECT_FALSE(nothing.Open(&error));
    EXPECT_EQ(error, QStringLiteral("No directory server is set."));
}

// ---- vCard files ----

TEST(VCardFiles, SeveralFilesGiveKindsAndGroupsResolvedAcrossFiles) {
    const QString dir = NewTempDir(QStringLiteral("vcards"));
    const QString people = WriteFile(
        dir, QStringLiteral("people.vcf"),
        "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:ann-1\r\nFN:Ann Lee\r\nEMAIL:ann@x.org\r\nORG:Orrin;Finance\r\n"
        "END:VCARD\r\nBEGIN:VCARD\r\nVERSION:3.0\r\nFN:Bo Chen\r\nEMAIL:bo@x.org\r\nEND:VCARD\r\n");
    const QString groups =
        WriteFile(dir, QStringLiteral("groups.vcf"),
                  "BEGIN:VCARD\nVERSION:4.0\nKIND:group\nFN:Team\nUID:urn:uuid:team-1\n"
                  "MEMBER:urn:uuid:ann-1\nMEMBER:mailto:BO@x.org\nMEMBER:urn:uuid:inner-1\n"
                  "MEMBER:mailto:nobody@x.org\nMEMBER:urn:uuid:unknown\nEND:VCARD\n"
                  "BEGIN:VCARD\nVERSION:4.0\nKIND:group\nFN:Inner\nUID:inner-1\n"
                  "MEMBER:urn:uuid:ann-1\nEND:VCARD\n"
                  "BEGIN:VCARD\nVERSION:4.0\nKIND:org\nFN:Orrin Works\nEND:VCARD\n"
                  "BEGIN:VCARD\nVERSION:4.0\nKIND:individual\nFN:Cy\nEND:VCARD\n");
    const VCardFiles read = ReadVCardFiles({people, groups});
    EXPECT_TRUE(read.problems.isEmpty()) << read.problems.join(u'\n').toStdString();
    ASSERT_EQ(read.entries.size(), 6);
    EXPECT_EQ(read.entries[0].department, QStringLiteral("Finance"));
    EXPECT_EQ(read.entries[0].type, AddressEntryType::Contact);
    const DirectoryEntry& team = read.entries[2];
    EXPECT_EQ(team.type, AddressEntryType::DistributionList);
    ASSERT_EQ(team.members.size(), 4);
    EXPECT_EQ(team.members[0].name, QStringLiteral("Ann Lee"));
    EXPECT_EQ(team.members[1].name, QStringLiteral("Bo Chen"));  // by address, case ignored
    EXPECT_EQ(team.members[2].name, QStringLiteral("Inner"));
    EXPECT_EQ(team.members[2].type, AddressEntryType::DistributionList);
    EXPECT_TRUE(team.members[2].members.isEmpty());  // one level only
    EXPECT_TRUE(team.members[3].name.isEmpty());     // an address no card has
    EXPECT_EQ(team.members[3].mail, QStringLiteral("nobody@x.org"));
    EXPECT_EQ(read.entries[4].type, AddressEntryType::Other);
    EXPECT_EQ(read.entries[5].type, AddressEntryType::Contact);
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
    EXPECT_EQ(Names(read.entries), QStringList{QStringLiteral("Good One")});
    ASSERT_EQ(read.problems.size(), 6) << read.problems.join(u'\n').toStdString();
    EXPECT_EQ(read.problems[0], QStringLiteral("mixed.vcf, card 2: the text is not UTF-8"));
    EXPECT_EQ(read.problems[1],
              QStringLiteral("mixed.vcf, card 3 (No Colon): a line is not a vCard property"));
    EXPECT_EQ(read.problems[2], QStringLiteral("mixed.vcf, card 4: the text is not UTF-8"));
    EXPECT_EQ(read.problems[3], QStringLiteral("mixed.vcf, card 5 (Never Closed): the card has no END line"));
    EXPECT_EQ(read.problems[4], QStringLiteral("empty.vcf: the file holds no vCard"));
    EXPECT_TRUE(read.problems[5].startsWith(QStringLiteral("missing.vcf: ")));
    const QString message = UnreadableCardsMessage(read.problems);
    for (const QString& p : read.problems)
        EXPECT_TRUE(message.contains(p));
    EXPECT_TRUE(UnreadableCardsMessage({}).isEmpty());
}

}  // namespace
}  // namespace tlm::test
