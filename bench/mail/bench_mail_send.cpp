// Sends N notification-sized mails to the SMTP sink and prints mails per second.
// Usage: bench_mail_send [count]   (needs TLM_TEST_SMTP_PORT)
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTextStream>
#include <cstdio>

#include "mail/mail_transport.h"

int main(int argc, char** argv) {
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
    QTextStream(stdout) << "mail_send: " << sent << "/" << count << " mails in "
                        << QString::number(seconds, 'f', 3) << " s, "
                        << QString::number(sent / seconds, 'f', 1) << " mails/s\n";
    return sent == count ? 0 : 1;
}
