// Sends N notification-sized mails to the SMTP sink and prints mails per second: one connection per
// mail (SmtpTransport), then the same mails as one batch from the outbox (OutboxSender).
// Usage: bench_mail_send [count]   (needs TLM_TEST_SMTP_PORT)
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTextStream>
#include <cstdio>

#include "core/codecs.h"
#include "mail/mail_transport.h"
#include "mail/outbox.h"

int main(int argc, char** argv) {
    // As main does: without it every local time (file names, Date headers) re-reads the zone file.
    tlm::PinLocalTimeZone();
    QCoreApplication app(argc, argv);
    const int count = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 200;
    const int port = qEnvironmentVariableIntValue("TLM_TEST_SMTP_PORT");
    if (port <= 0 || count <= 0) {
        std::fprintf(stderr,
                     "bench_mail_send: set TLM_TEST_SMTP_PORT (scripts/test-servers.sh) and a count > 0\n");
        return 2;
    }
    tlm::MailProfile profile;
    profile.senderName = QStringLiteral("Bench");
    profile.senderAddress = QStringLiteral("bench@example.org");
    profile.host = QStringLiteral("127.0.0.1");
    profile.port = port;
    profile.tls = tlm::MailTlsMode::None;
    const QString outbox = QDir::tempPath() + QStringLiteral("/tlm-bench-outbox");
    tlm::SmtpTransport transport(profile, outbox);

    // A typical notification: a table of a dozen rows, some non-ASCII text.
    QString html = QStringLiteral("<html><body><p>Grüße – the timesheet was approved.</p><table>");
    for (int i = 0; i < 12; ++i)
        html += QStringLiteral("<tr><td>Project %1</td><td>Activity Ä%1</td><td>%2.50</td></tr>")
                    .arg(i)
                    .arg(i * 7);
    html += QStringLiteral("</table></body></html>");

    int sent = 0;
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < count; ++i) {
        const tlm::MailMessage msg = tlm::MakeNotificationMail(QStringLiteral("ann@x.org;bo@y.org;cy@z.org"),
                                                               QStringLiteral("Approved № %1").arg(i), html);
        if (transport.send(msg).sent())
            ++sent;
    }
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    QTextStream(stdout) << "mail_send: one connection per mail: " << sent << "/" << count << " mails in "
                        << QString::number(seconds, 'f', 3) << " s, "
                        << QString::number(sent / seconds, 'f', 1) << " mails/s\n";

    // The batch: written to the outbox while no server is set, then delivered in one run.
    const QString batchFolder = QDir::tempPath() + QStringLiteral("/tlm-bench-batch-outbox");
    QDir(batchFolder).removeRecursively();
    tlm::OutboxSender sender(batchFolder);
    tlm::MailProfile none = profile;
    none.host.clear();
    for (int i = 0; i < count; ++i)
        sender.queue(tlm::MakeNotificationMail(QStringLiteral("ann@x.org;bo@y.org;cy@z.org"),
                                               QStringLiteral("Approved № %1").arg(i), html),
                     none);
    timer.restart();
    sender.kick(profile);
    sender.waitIdle(600000);
    const double batchSeconds = double(timer.nsecsElapsed()) / 1e9;
    const tlm::OutboxStatus st = sender.status();
    QTextStream(stdout) << "mail_send: batch from the outbox: " << st.delivered << "/" << count
                        << " mails in " << QString::number(batchSeconds, 'f', 3) << " s, "
                        << QString::number(st.delivered / batchSeconds, 'f', 1) << " mails/s over "
                        << st.connections << " connection(s)\n";
    QDir(batchFolder).removeRecursively();
    return sent == count && st.delivered == count ? 0 : 1;
}
