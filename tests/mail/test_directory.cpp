#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QHash>
#include <QTcpServer>
#include <chrono>
#include <csignal>
#include <mutex>
#include <thread>

#include "core/error_report.h"
#include "core/local_settings.h"
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

QString Base() {
    return LdapBaseDn();
}

// A server that answers StartTLS with a protocol error and keeps every byte the client sent.
class RefusesStartTls {
  public:
    RefusesStartTls() {
        listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof a;
        if (::bind(listener_, reinterpret_cast<sockaddr*>(&a), size) != 0 || ::listen(listener_, 1) != 0 ||
            ::getsockname(listener_, reinterpret_cast<sockaddr*>(&a), &size) != 0)
            ADD_FAILURE() << "no listening socket";
        port_ = ntohs(a.sin_port);
        thread_ = std::thread([this] { Serve(); });
    }
    ~RefusesStartTls() {
        if (thread_.joinable())
            thread_.join();
        ::close(listener_);
    }
    int port() const { return port_; }
    // Everything the client sent, once it closed the connection.
    QByteArray received() {
        if (thread_.joinable())
            thread_.join();
        return received_;
    }

  private:
    void Serve() {
        pollfd p{listener_, POLLIN, 0};
        if (::poll(&p, 1, 10000) <= 0)
            return;
        const int c = ::accept(listener_, nullptr, nullptr);
        bool answered = false;
        char buffer[4096];
        for (;;) {
            pollfd q{c, POLLIN, 0};
            if (::poll(&q, 1, 5000) <= 0)
                break;
            const ssize_t n = ::recv(c, buffer, sizeof buffer, 0);
            if (n <= 0)
                break;
            received_.append(buffer, n);
            // SEQUENCE, length, then the message ID as an INTEGER: the answer carries it back.
            if (!answered && received_.size() >= 5 && quint8(received_[1]) < 0x80 && received_[2] == 0x02) {
                const int idLength = received_[3];
                QByteArray answer = received_.mid(2, 2 + idLength);
                answer += QByteArray::fromHex("78070a010204000400");  // extendedResp, protocolError
                answer.prepend(char(answer.size()));
                answer.prepend('\x30');
                ::send(c, answer.constData(), size_t(answer.size()), MSG_NOSIGNAL);
                answered = true;
            }
        }
        ::close(c);
    }
    int listener_ = -1;
    int port_ = 0;
    std::thread thread_;
    QByteArray received_;
};

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
    // The whole directory in one search: people, groups, no role, nothing the reader may not see.
    const auto all = dir.Search(QString(), &error);
    ASSERT_TRUE(all) << error.toStdString();
    EXPECT_EQ(all->size(), 2000 + 3000 + 7 + 5);
    EXPECT_FALSE(Names(*all).contains(QStringLiteral("Hidden Person")));
    EXPECT_FALSE(Names(*all).contains(QStringLiteral("Head Office"))) << "a role is no person and no group";
}

// Both kinds of group, read one level deep: a group within a group stays an entry of its own.
TEST(LdapDirectory, GroupsOfBothKindsAreReadOneLevelDeep) {
    TLM_REQUIRE_LDAP();
    LdapDirectory dir(TestDirectory());
    QString error;
    const auto found = dir.Search(QStringLiteral("Ops Crew"), &error);
    ASSERT_TRUE(found && found->size() == 1) << error.toStdString();
    const GroupMembers read = dir.Members(found->at(0));
    ASSERT_EQ(read.outcome, JobOutcome::Done) << read.error.toStdString();
    const QList<DirectoryEntry>& crew = read.members;
    ASSERT_EQ(crew.size(), 2);
    EXPECT_EQ(crew[0].name, QStringLiteral("Eli Noor"));
    EXPECT_EQ(crew[0].department, QStringLiteral("Support"));

    const auto all = dir.Search(QStringLiteral("All Staff"), &error);
    ASSERT_TRUE(all && all->size() == 1) << error.toStdString();
    const QList<DirectoryEntry> staff = dir.Members(all->at(0)).members;
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

    // A cancel is heard while the silent server holds the StartTLS or the bind answer, long before
    // the timeout.
    for (const bool startTls : {false, true}) {
        DirectorySettings slow = down;
        slow.timeoutSeconds = 60;
        slow.startTls = startTls;
        DirectoryJob job;
        std::thread canceller([&job] {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            job.Cancel();
        });
        QElapsedTimer took;
        took.start();
        LdapDirectory dir(slow);
        const bool opened = dir.Open(&error, &job);
        canceller.join();
        EXPECT_FALSE(opened) << "StartTLS " << startTls;
        EXPECT_EQ(error, QStringLiteral("Cancelled by the user.")) << "StartTLS " << startTls;
        EXPECT_LT(took.elapsed(), 10000) << "StartTLS " << startTls;
    }

    // StartTLS refused by the server stops before the password is sent.
    RefusesStartTls refusing;
    DirectorySettings tls = TestDirectory();
    tls.url = QStringLiteral("ldap://127.0.0.1:%1").arg(refusing.port());
    tls.startTls = true;
    EXPECT_FALSE(LdapDirectory(tls).Open(&error));
    EXPECT_TRUE(error.startsWith(QStringLiteral("The directory server %1 did not start TLS").arg(tls.url)))
        << error.toStdString();
    const QByteArray sent = refusing.received();
    EXPECT_TRUE(sent.contains("1.3.6.1.4.1.1466.20037")) << "the StartTLS request";
    EXPECT_FALSE(sent.contains(LdapPassword().toUtf8()));
    EXPECT_FALSE(sent.contains(LdapBindDn().toUtf8())) << "no bind request at all";
}

// StartTLS is on when a password is stored, unless the settings turn it off; an anonymous
// directory sends no secret and is not asked for it. ldaps:// is TLS from the start. The server's
// certificate is checked against the CA the test servers made.
TEST(LdapDirectory, StartTlsLdapsAndPlainAllBindAndSearch) {
    TLM_REQUIRE_LDAP();
    FreshLocalSettings();
    EXPECT_FALSE(LoadDirectorySettings().startTls) << "anonymous, nothing stored";
    ASSERT_TRUE(SaveSetting(QStringLiteral("TLM"), kMailProfileSection, QStringLiteral("LdapPassword"),
                            QStringLiteral("secret")));
    EXPECT_TRUE(LoadDirectorySettings().startTls) << "a password is stored, no choice";
    DirectorySettings off = TestDirectory();
    off.startTls = false;
    ASSERT_TRUE(SaveDirectorySettings(off));
    EXPECT_FALSE(LoadDirectorySettings().startTls) << "off only when stored so";

    struct Case {
        const char* what;
        QString url;
        bool startTls;
    } const cases[] = {
        {"StartTLS", LdapUri(), true},
        {"ldaps", LdapsUri(), true},
        {"ldaps without StartTLS set", LdapsUri(), false},
        {"plain, turned off", LdapUri(), false},
    };
    for (const Case& c : cases) {
        DirectorySettings d = TestDirectory();
        d.url = c.url;
        d.startTls = c.startTls;
        LdapDirectory dir(d);
        QString error;
        const auto found = dir.Search(QStringLiteral("Dana"), &error);
        ASSERT_TRUE(found) << c.what << ": " << error.toStdString();
        EXPECT_EQ(Names(*found), QStringList{QStringLiteral("Dana Kim")}) << c.what;
    }
    // ldaps:// speaks TLS from the first byte: the plain port does not answer it.
    DirectorySettings wrongPort = TestDirectory();
    wrongPort.url = QString(LdapUri()).replace(QStringLiteral("ldap://"), QStringLiteral("ldaps://"));
    wrongPort.timeoutSeconds = 2;
    QString error;
    EXPECT_FALSE(LdapDirectory(wrongPort).Open(&error));
}

// A group of the "group" class; its members read whole. A member whose entry is gone or may not be
// read is listed by name and DN, never made up as a member named after its DN.
TEST(LdapDirectory, GroupClassMembersAndUnreadableMembersListedNotInvented) {
    TLM_REQUIRE_LDAP();
    LdapDirectory dir(TestDirectory());
    QString error;
    const auto found = dir.Search(QStringLiteral("Support Desk"), &error);
    ASSERT_TRUE(found && found->size() == 1) << error.toStdString();
    EXPECT_EQ(found->at(0).type, AddressEntryType::DistributionList);
    const GroupMembers read = dir.Members(found->at(0));
    ASSERT_EQ(read.outcome, JobOutcome::Done) << read.error.toStdString();
    EXPECT_EQ(Names(read.members), (QStringList{QStringLiteral("Eli Noor"), QStringLiteral("Doe, John"),
                                                QStringLiteral("Ops Crew")}));
    ASSERT_EQ(read.members.size(), 3);
    EXPECT_EQ(read.members[1].mail, QStringLiteral("john.doe@example.org"));
    EXPECT_EQ(read.members[2].type, AddressEntryType::DistributionList);
    EXPECT_TRUE(read.members[2].members.isEmpty());
    ASSERT_EQ(read.unreadable.size(), 2);
    EXPECT_EQ(DnDisplayName(read.unreadable[0]), QStringLiteral("Gone, Former"));
    EXPECT_EQ(DnDisplayName(read.unreadable[1]), QStringLiteral("Hidden Person"));
    const QString message = UnreadableMembersMessage({{found->at(0).name, read.unreadable}});
    EXPECT_TRUE(message.contains(QStringLiteral("Support Desk: Gone, Former (cn=Gone")) &&
                message.contains(QStringLiteral("Support Desk: Hidden Person (cn=Hidden Person,ou=hidden,")))
        << message.toStdString();
    EXPECT_TRUE(UnreadableMembersMessage({{QStringLiteral("Empty"), {}}}).isEmpty());
}

// 3,000 members are read with their progress; a cancel stops the reading partway and gives nothing.
TEST(LdapDirectory, LargeGroupReportsProgressAndACancelStopsItWithNothingTaken) {
    TLM_REQUIRE_LDAP();
    LdapDirectory dir(TestDirectory());
    DirectoryEntry crowd{QStringLiteral("Crowd"), QString(), QString(), AddressEntryType::DistributionList,
                         QStringLiteral("cn=Crowd,ou=groups,") + Base()};
    struct Case {
        const char* what;
        qint64 cancelAt;  // -1: never; 0: before the start
    } const cases[] = {
        {"whole", -1}, {"cancelled partway", 1000}, {"cancelled before", 0}, {"again whole", -1}};
    for (const Case& c : cases) {
        QList<std::pair<qint64, qint64>> reports;
        DirectoryJob job;
        job.progress = [&](qint64 done, qint64 total) {
            reports.append({done, total});
            if (c.cancelAt > 0 && done >= c.cancelAt)
                job.Cancel();
        };
        if (c.cancelAt == 0)
            job.Cancel();
        const GroupMembers read = dir.Members(crowd, &job);
        qint64 highest = 0;
        bool ordered = true;
        for (const auto& [done, total] : reports) {
            ordered = ordered && done >= highest;
            highest = done;
        }
        EXPECT_TRUE(ordered) << c.what;
        if (c.cancelAt < 0) {
            ASSERT_EQ(read.outcome, JobOutcome::Done) << c.what << ": " << read.error.toStdString();
            ASSERT_EQ(read.members.size(), 3000) << c.what;
            EXPECT_EQ(read.members.first().name, QStringLiteral("Crowd Person 0001"));
            EXPECT_EQ(read.members.last().mail, QStringLiteral("crowd3000@example.org"));
            EXPECT_TRUE(read.unreadable.isEmpty());
            EXPECT_GT(reports.size(), 10) << c.what << ": progress along the way";
            ASSERT_FALSE(reports.isEmpty());
            EXPECT_EQ(reports.last(), std::make_pair(qint64(3000), qint64(3000)));
        } else {
            EXPECT_EQ(read.outcome, JobOutcome::Cancelled) << c.what;
            EXPECT_TRUE(read.members.isEmpty() && read.unreadable.isEmpty()) << c.what;
            EXPECT_LT(highest, 3000) << c.what << ": stopped partway";
            EXPECT_GE(highest, c.cancelAt) << c.what;
        }
    }
    // A search is cancelled the same way.
    qint64 seen = 0;
    DirectoryJob job;
    job.progress = [&](qint64 done, qint64) {
        seen = done;
        if (done >= 300)
            job.Cancel();
    };
    QString error;
    EXPECT_FALSE(dir.Search(QStringLiteral("Crowd Person"), &error, 100, &job));
    EXPECT_TRUE(job.Cancelled());
    EXPECT_GE(seen, 300);
    EXPECT_LT(seen, 3000);
    // The connection is still good after the cancels.
    const auto after = dir.Search(QStringLiteral("Crowd Person 2999"), &error);
    ASSERT_TRUE(after) << error.toStdString();
    EXPECT_EQ(Names(*after), QStringList{QStringLiteral("Crowd Person 2999")});
}

// What the server sends for each attribute description asked for.
class FakeReader {
  public:
    QHash<QString, std::optional<LdapRecord>> answers;
    QStringList asked;
    LdapRecordReader reader() {
        return [this](const QString& dn, const QStringList& attributes, QString* error) {
            asked.append(attributes.join(u','));
            std::optional<LdapRecord> r = answers.value(attributes.join(u','));
            if (!r && error)
                *error = QStringLiteral("cannot read ") + dn;
            return r;
        };
    }
};

LdapRecord Record(std::initializer_list<std::pair<QString, QStringList>> attributes) {
    LdapRecord r;
    r.dn = QStringLiteral("cn=G,dc=x");
    r.attributes = attributes;
    return r;
}

// A server that sends long attributes in ranges: the next range is asked for until one ends in "*".
TEST(LdapRanges, FollowsRangesUntilTheLastAndRefusesGapsAndEndsWithoutOne) {
    const QStringList ab{QStringLiteral("a"), QStringLiteral("b")};
    const QStringList cd{QStringLiteral("c"), QStringLiteral("d")};
    const QStringList e{QStringLiteral("e")};
    struct Case {
        const char* what;
        LdapRecord first;
        QHash<QString, std::optional<LdapRecord>> answers;
        bool cancelAfterFirst;
        std::optional<QStringList> expected;
        QStringList asked;
    };
    const QString more2 = QStringLiteral("member;range=2-*");
    const QString more4 = QStringLiteral("member;range=4-*");
    const Case cases[] = {
        {"not ranged",
         Record({{QStringLiteral("member"), ab}, {QStringLiteral("uniqueMember"), e}}),
         {},
         false,
         ab,
         {}},
        {"three ranges",
         Record({{QStringLiteral("member;range=0-1"), ab}}),
         {{more2, Record({{QStringLiteral("member;range=2-3"), cd}})},
          {more4, Record({{QStringLiteral("member;range=4-*"), e}})}},
         false,
         ab + cd + e,
         {more2, more4}},
        {"names and options in any case",
         Record({{QStringLiteral("Member;Range=0-1"), ab}}),
         {{more2, Record({{QStringLiteral("MEMBER;range=2-*"), cd}})}},
         false,
         ab + cd,
         {more2}},
        {"a last range with nothing in it",
         Record({{QStringLiteral("member;range=0-1"), ab}}),
         {{more2, Record({{QStringLiteral("member;range=2-*"), {}}})}},
         false,
         ab,
         {more2}},
        {"all in one range", Record({{QStringLiteral("member;range=0-*"), ab}}), {}, false, ab, {}},
        {"a gap",
         Record({{QStringLiteral("member;range=0-1"), ab}}),
         {{more2, Record({{QStringLiteral("member;range=3-*"), cd}})}},
         false,
         std::nullopt,
         {more2}},
        {"no range in the next answer",
         Record({{QStringLiteral("member;range=0-1"), ab}}),
         {{more2, Record({{QStringLiteral("cn"), e}})}},
         false,
         std::nullopt,
         {more2}},
        {"the next read fails",
         Record({{QStringLiteral("member;range=0-1"), ab}}),
         {},
         false,
         std::nullopt,
         {more2}},
        {"cancelled",
         Record({{QStringLiteral("member;range=0-1"), ab}}),
         {{more2, Record({{QStringLiteral("member;range=2-*"), cd}})}},
         true,
         std::nullopt,
         {}},
    };
    for (const Case& c : cases) {
        FakeReader fake;
        fake.answers = c.answers;
        DirectoryJob job;
        if (c.cancelAfterFirst)
            job.progress = [&](qint64, qint64) { job.Cancel(); };
        QString error;
        const std::optional<QStringList> got =
            ReadRangedValues(c.first, QStringLiteral("member"), fake.reader(), &job, &error);
        EXPECT_EQ(got, c.expected) << c.what;
        EXPECT_EQ(fake.asked, c.asked) << c.what;
        EXPECT_EQ(error.isEmpty(), c.expected.has_value()) << c.what << ": " << error.toStdString();
    }
}

TEST(LdapEntries, ObjectClassesGiveTheKindAndDisplayNameComesFirst) {
    struct Case {
        QStringList classes;
        AddressEntryType type;
    } const cases[] = {
        {{QStringLiteral("top"), QStringLiteral("group")}, AddressEntryType::DistributionList},
        {{QStringLiteral("groupOfNames")}, AddressEntryType::DistributionList},
        {{QStringLiteral("GROUPOFUNIQUENAMES")}, AddressEntryType::DistributionList},
        {{QStringLiteral("inetOrgPerson")}, AddressEntryType::DirectoryUser},
        {{QStringLiteral("top"), QStringLiteral("person"), QStringLiteral("user")},
         AddressEntryType::DirectoryUser},
        {{QStringLiteral("organizationalRole")}, AddressEntryType::Other},
    };
    for (const Case& c : cases) {
        LdapRecord r;
        r.dn = QStringLiteral("cn=Ann,dc=x");
        r.attributes = {{QStringLiteral("objectClass"), c.classes},
                        {QStringLiteral("cn"), {QStringLiteral("Ann")}},
                        {QStringLiteral("displayName"), {QStringLiteral("Ann Lee")}},
                        {QStringLiteral("mail"), {QStringLiteral("ann@x.org")}}};
        const DirectoryEntry e = EntryFromRecord(r);
        EXPECT_EQ(e.type, c.type) << c.classes.join(u',').toStdString();
        EXPECT_EQ(e.name + u'|' + e.mail + u'|' + e.id, QStringLiteral("Ann Lee|ann@x.org|cn=Ann,dc=x"));
    }
}

// Names from DNs as RFC 4514 writes them.
TEST(LdapNames, TheFirstRdnValueWithItsEscapesResolved) {
    const std::pair<const char*, const char*> cases[] = {
        {"cn=Doe\\, John,ou=People,dc=x", "Doe, John"},
        {"cn=Doe\\2C John,ou=People,dc=x", "Doe, John"},
        {"cn=Doe\\2c John,ou=People,dc=x", "Doe, John"},
        {"cn=\"Doe, John\",ou=People,dc=x", "Doe, John"},
        {"uid=jd+cn=John Doe,ou=People,dc=x", "John Doe"},
        {"uid=jd+mail=jd@x.org,ou=People", "jd"},
        {"CN = Spaced Out ,OU=People", "Spaced Out"},
        {"cn=J\\C3\\BCrgen Gro\\C3\\9F,ou=x", "Jürgen Groß"},
        {"cn=Jürgen Groß,ou=x", "Jürgen Groß"},
        {"cn=\\#1 fan\\ ,ou=x", "#1 fan "},
        {"cn=a\\+b\\;c\\<d\\>e\\=f\\\\g\\\"h,ou=x", "a+b;c<d>e=f\\g\"h"},
        {"uid=solo", "solo"},
        {"cn=#04024869,ou=x", "cn=#04024869,ou=x"},  // BER, no text: the DN itself
        {"cn=Doe, John,ou=x", "cn=Doe, John,ou=x"},  // no DN: given back whole
        {"not a dn", "not a dn"},
    };
    for (const auto& [dn, name] : cases)
        EXPECT_EQ(DnDisplayName(QString::fromUtf8(dn)), QString::fromUtf8(name)) << dn;
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

// The time this thread ran: tests running beside it do not count.
qint64 ThreadCpuMs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return qint64(t.tv_sec) * 1000 + t.tv_nsec / 1000000;
}

// A card folded over many lines, a head folded before its colon, a quoted-printable value of many
// soft breaks: each of megabytes, read in time linear in its size.
TEST(VCardFiles, FoldedLinesOfMegabytesAreReadQuickly) {
    constexpr int kPieces = 4 * 1024 * 1024 / 64;
    QByteArray folded = "BEGIN:VCARD\r\nVERSION:3.0\r\nEMAIL:f@x.org\r\nFN:F";
    QByteArray head = "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Head\r\nX-LONG;X-P=";
    QByteArray qp = "BEGIN:VCARD\r\nVERSION:2.1\r\nFN;ENCODING=QUOTED-PRINTABLE:Q";
    for (int i = 0; i < kPieces; ++i) {
        folded += "\r\n " + QByteArray(62, 'f');
        head += "\r\n " + QByteArray(62, 'h');
        qp += QByteArray(20, 'q') + "=C3=BC=\r\n";
    }
    folded += "\r\nEND:VCARD\r\n";
    head += ":x\r\nEND:VCARD\r\n";
    qp += "\r\nEND:VCARD\r\n";
    struct Case {
        const char* what;
        const QByteArray& text;
        qsizetype nameSize;
    } const cases[] = {
        {"folded name", folded, 1 + qsizetype(kPieces) * 62},
        {"folded head", head, 4},
        {"quoted-printable soft breaks", qp, 1 + qsizetype(kPieces) * 21},
    };
    for (const Case& c : cases) {
        QStringList problems;
        const qint64 before = ThreadCpuMs();
        const QList<DirectoryEntry> read = ParseVCards(c.text, QStringLiteral("big.vcf"), &problems);
        const qint64 ms = ThreadCpuMs() - before;
        EXPECT_TRUE(problems.isEmpty()) << c.what << ": " << problems.join(u'\n').toStdString();
        ASSERT_EQ(read.size(), 1) << c.what;
        EXPECT_EQ(read[0].name.size(), c.nameSize) << c.what;
        // Joined line by line, as before, the folded head alone took seconds.
        EXPECT_LT(ms, 1000) << c.what << " of " << c.text.size() << " bytes";
    }
}

TEST(VCardFiles, AFileOverTheSizeLimitIsNamedAndNotRead) {
    const QString dir = NewTempDir(QStringLiteral("vcards"));
    const QByteArray card = "BEGIN:VCARD\nVERSION:3.0\nFN:Edge\nEMAIL:edge@x.org\nNOTE:";
    const QByteArray end = "\nEND:VCARD\n";
    const auto sized = [&](qint64 size) {
        return card + QByteArray(size - card.size() - end.size(), 'n') + end;
    };
    const QString atLimit = WriteFile(dir, QStringLiteral("at-limit.vcf"), sized(kVCardFileLimit));
    const QString over = WriteFile(dir, QStringLiteral("over.vcf"), sized(kVCardFileLimit + 1));
    const VCardFiles read = ReadVCardFiles({over, atLimit});
    EXPECT_EQ(Names(read.entries), QStringList{QStringLiteral("Edge")});
    EXPECT_EQ(read.problems,
              QStringList{QStringLiteral("over.vcf: the file is larger than 16 MB and is not read")});
    QString error;
    EXPECT_TRUE(ReadVCardFile(over, &error).isEmpty());
    EXPECT_EQ(error, QStringLiteral("The address file %1 is larger than 16 MB and is not read.").arg(over));
    EXPECT_EQ(ReadVCardFile(atLimit, &error).size(), 1);

    // A pipe has no size to check first: it is read whole when within the limit, refused just past it.
    std::signal(SIGPIPE, SIG_IGN);
    for (const qint64 size : {qint64(4096), kVCardFileLimit + 1}) {
        const QString fifo = dir + QStringLiteral("/pipe-%1.vcf").arg(size);
        ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        std::thread writer([&] {
            const int fd = ::open(QFile::encodeName(fifo).constData(), O_WRONLY);
            const QByteArray bytes = sized(size);
            for (qsizetype at = 0; fd >= 0 && at < bytes.size();) {
                const ssize_t n = ::write(fd, bytes.constData() + at, size_t(bytes.size() - at));
                if (n <= 0)
                    break;  // the reader stopped
                at += n;
            }
            if (fd >= 0)
                ::close(fd);
        });
        const VCardFiles piped = ReadVCardFiles({fifo});
        writer.join();
        if (size <= kVCardFileLimit) {
            EXPECT_EQ(Names(piped.entries), QStringList{QStringLiteral("Edge")});
            EXPECT_TRUE(piped.problems.isEmpty());
        } else {
            EXPECT_TRUE(piped.entries.isEmpty());
            EXPECT_EQ(piped.problems,
                      QStringList{QStringLiteral("pipe-%1.vcf: the file is larger than 16 MB and is "
                                                 "not read")
                                      .arg(size)});
        }
    }
}

// A message names at most 20 entries that could not be read and counts the rest.
TEST(VCardFiles, MessagesNameTwentyUnreadableEntriesAndCountTheRest) {
    QByteArray cards;
    for (int i = 1; i <= 25; ++i)
        cards +=
            "BEGIN:VCARD\nVERSION:3.0\nFN:Bad " + QByteArray::number(i) + "\nnot a property\nEND:VCARD\n";
    cards += "BEGIN:VCARD\nVERSION:3.0\nFN:Good\nEND:VCARD\n";
    const QString path = WriteFile(NewTempDir(QStringLiteral("vcards")), QStringLiteral("many.vcf"), cards);
    const VCardFiles read = ReadVCardFiles({path});
    EXPECT_EQ(Names(read.entries), QStringList{QStringLiteral("Good")});
    ASSERT_EQ(read.problems.size(), 25);
    QStringList dns;
    for (int i = 1; i <= 25; ++i)
        dns.append(QStringLiteral("cn=Gone %1,ou=people,dc=x").arg(i));
    struct Case {
        const char* what;
        QString message;
        QString twentieth;
        QString twentyFirst;
    } const cases[] = {
        {"cards", UnreadableCardsMessage(read.problems),
         QStringLiteral("many.vcf, card 20 (Bad 20): a line is not a vCard property"),
         QStringLiteral("card 21")},
        {"members", UnreadableMembersMessage({{QStringLiteral("Team"), dns}}),
         QStringLiteral("Team: Gone 20 (cn=Gone 20,ou=people,dc=x)"), QStringLiteral("Gone 21")},
    };
    for (const Case& c : cases) {
        const QStringList lines = c.message.split(u'\n');
        ASSERT_EQ(lines.size(), 1 + 20 + 1) << c.what << ": " << c.message.toStdString();
        EXPECT_EQ(lines[20], c.twentieth) << c.what;
        EXPECT_EQ(lines.last(), QStringLiteral("... and 5 more")) << c.what;
        EXPECT_FALSE(c.message.contains(c.twentyFirst)) << c.what;
    }
    // Twenty are all named.
    EXPECT_FALSE(UnreadableCardsMessage(read.problems.mid(0, 20)).contains(QStringLiteral("more")));
}

}  // namespace
}  // namespace tlm::test
