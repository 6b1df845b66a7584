#include <gtest/gtest.h>

#include "mail/directory.h"
#include "mail/ldap_test_support.h"

namespace tlm::test {
namespace {

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
