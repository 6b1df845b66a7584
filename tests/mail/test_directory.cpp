#include <gtest/gtest.h>

#include <QFile>

#include "mail/directory.h"
#include "support/test_env.h"

using namespace tlm;

TEST(VCardDirectory, ReadsNamesPreferredMailAndDepartmentAcrossVersions) {
    const QByteArray text =
        "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann Lee\r\nN:Lee;Ann;;;\r\n"
        "EMAIL;TYPE=INTERNET:ann.home@x.org\r\nitem1.EMAIL;TYPE=INTERNET,PREF:ann@x.org\r\n"
        "ORG:Orrin Works;Finance\\, Planning;Team 2\r\nEND:VCARD\r\n"
        // 2.1: no FN, a folded-by-soft-break quoted-printable name part, Latin-1.
        "begin:vcard\nVERSION:2.1\nN;ENCODING=QUOTED-PRINTABLE;CHARSET=ISO-8859-1:M=FC=\nller;J=FCrgen\n"
        "EMAIL;PREF;INTERNET:jm@y.org\nORG:Solo Org\nend:vcard\n"
        // 4.0: a folded FN and a preference number.
        "BEGIN:VCARD\nVERSION:4.0\nFN:Bo\n  Chen\nEMAIL:bo1@z.org\nEMAIL;PREF=1:bo@z.org\nEND:VCARD\n"
        // Nothing usable, and a card left open at the end: both skipped.
        "BEGIN:VCARD\nVERSION:3.0\nNOTE:empty\nEND:VCARD\nBEGIN:VCARD\nFN:Cut Off\n";
    const QList<DirectoryEntry> entries = ParseVCards(text);
    ASSERT_EQ(entries.size(), 3);
    EXPECT_EQ(entries[0], (DirectoryEntry{QStringLiteral("Ann Lee"), QStringLiteral("ann@x.org"),
                                          QStringLiteral("Finance, Planning")}));
    EXPECT_EQ(entries[1],
              (DirectoryEntry{QStringLiteral("Jürgen Müller"), QStringLiteral("jm@y.org"), QString()}));
    EXPECT_EQ(entries[2], (DirectoryEntry{QStringLiteral("Bo Chen"), QStringLiteral("bo@z.org"), QString()}));
}

TEST(VCardDirectory, FileErrorsAreReported) {
    QString error;
    EXPECT_TRUE(ReadVCardFile(test::TestRoot() + QStringLiteral("/missing.vcf"), &error).isEmpty());
    EXPECT_TRUE(error.contains(QStringLiteral("missing.vcf"))) << error.toStdString();

    const QString path = test::NewTempDir(QStringLiteral("vcf")) + QStringLiteral("/people.vcf");
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("BEGIN:VCARD\nFN:Dee\nEMAIL:dee@x.org\nEND:VCARD\n");
    f.close();
    error.clear();
    const QList<DirectoryEntry> entries = ReadVCardFile(path, &error);
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(entries[0].mail, QStringLiteral("dee@x.org"));
    EXPECT_TRUE(error.isEmpty());
}
