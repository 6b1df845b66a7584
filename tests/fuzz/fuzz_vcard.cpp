// Address files of the member import: vCard 2.1, 3.0 and 4.0 as other programs write them.
#include <QFile>

#include "fuzz_support.h"
#include "mail/directory.h"

using namespace tlm;

namespace {

QString Describe(const QList<DirectoryEntry>& entries) {
    QStringList out;
    for (const DirectoryEntry& e : entries)
        out << QStringLiteral("[%1|%2|%3|%4]").arg(e.name, e.mail, e.department, e.id);
    return out.join(u' ');
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray text(reinterpret_cast<const char*>(data), qsizetype(size));
    const QList<DirectoryEntry> plain = ParseVCards(text);
    QStringList problems;
    const QList<DirectoryEntry> named = ParseVCards(text, QStringLiteral("cards.vcf"), &problems);
    // Naming the problems changes nothing of what is offered.
    FUZZ_CHECK(plain == named, Describe(plain) + QStringLiteral(" / ") + Describe(named));
    for (const DirectoryEntry& e : plain) {
        FUZZ_CHECK(!e.name.isEmpty() || !e.mail.isEmpty(), Describe(plain));
        FUZZ_CHECK(e.members.isEmpty(), Describe(plain));
    }
    FUZZ_CHECK(UnreadableCardsMessage(problems).isEmpty() == problems.isEmpty(), problems.join(u'\n'));

    // Line ends do not matter: the same file with CR LF reads the same.
    if (!text.contains('\r')) {
        QByteArray crlf = text;
        crlf.replace("\n", "\r\n");
        QStringList crlfProblems;
        FUZZ_CHECK(ParseVCards(crlf, QStringLiteral("cards.vcf"), &crlfProblems) == named,
                   Describe(ParseVCards(crlf)) + QStringLiteral(" / ") + Describe(named));
        FUZZ_CHECK(crlfProblems == problems,
                   crlfProblems.join(u'\n') + QStringLiteral(" / ") + problems.join(u'\n'));
    }

    // Read as a file: groups get their members from the cards, one level deep.
    const QString path = fuzz::WriteFile(QStringLiteral("cards.vcf"), text);
    const VCardFiles files = ReadVCardFiles({path});
    FUZZ_CHECK(files.entries.size() == plain.size(), Describe(files.entries));
    for (qsizetype i = 0; i < files.entries.size(); ++i) {
        const DirectoryEntry& e = files.entries[i];
        DirectoryEntry withoutMembers = e;
        withoutMembers.members.clear();
        FUZZ_CHECK(withoutMembers == plain[i], Describe({e}));
        if (e.type != AddressEntryType::DistributionList)
            FUZZ_CHECK(e.members.isEmpty(), Describe({e}));
        FUZZ_CHECK(e.members.size() <= e.memberRefs.size(), Describe({e}));
        for (const DirectoryEntry& m : e.members)
            FUZZ_CHECK(m.members.isEmpty(), Describe({e}));
    }
    QFile::remove(path);
    return 0;
}
