// Outbox files as the delivery worker finds them: written by this program, by an older one, cut
// short by a crash, or edited by hand.
#include <QFile>

#include "fuzz_support.h"
#include "mail/outbox.h"

using namespace tlm;

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray file(reinterpret_cast<const char*>(data), qsizetype(size));
    const QString path = fuzz::WriteFile(QStringLiteral("outbox/mail.eml"), file);
    OutboxMail mail;
    QString error;
    const bool read = ReadOutboxMail(path, &mail, &error);
    QFile::remove(path);
    if (!read) {
        FUZZ_CHECK(!error.isEmpty(), QString());
        return 0;
    }
    // What goes to the server is the end of the file, after the envelope lines, and names someone.
    FUZZ_CHECK(!mail.envelopeTo.isEmpty() && !mail.bytes.isEmpty(), QString::fromLatin1(file.left(200)));
    FUZZ_CHECK(file.endsWith(mail.bytes), QString::fromLatin1(mail.bytes.left(200)));
    // A blank first line would continue the envelope: it does not belong to the mail.
    FUZZ_CHECK(!mail.bytes.startsWith(' ') && !mail.bytes.startsWith('\t'),
               QString::fromLatin1(mail.bytes.left(200)));
    for (const QByteArray& address : mail.envelopeTo)
        FUZZ_CHECK(!address.isEmpty(), QString::fromLatin1(file.left(200)));
    return 0;
}
