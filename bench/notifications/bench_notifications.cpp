// Fills the body and subject of every notification kind for N generated records and prints fills
// per second; then sends M notifications through the engine to the SMTP sink and prints mails per
// second. Usage: bench_notifications [records] [mails]   (the mail part needs TLM_TEST_SMTP_PORT)
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTextStream>
#include <cstdio>
#include <iterator>

#include "core/money.h"
#include "domain/projects.h"
#include "domain/tasks.h"
#include "mail/mail_transport.h"
#include "notifications/notification_engine.h"
#include "notifications/senders.h"
#include "notifications/templates.h"
#include "reported/task_data.h"
#include "settings/global_settings.h"

using namespace tlm;

namespace {

double Seconds(const QElapsedTimer& timer) {
    return double(timer.nsecsElapsed()) / 1e9;
}

cTaskData Record(int i) {
    cTaskData t;
    t.ID = QString::number(100000 + i);
    t.Subject = QStringLiteral("Design review %1 – Grüße").arg(i);
    t.Body = QStringLiteral("Notes for item %1").arg(i);
    t.ReportedBy = QStringLiteral("Member %1").arg(i % 50);
    t.ProjectValue = QStringLiteral("Project %1").arg(i % 40);
    t.ActivityValue = QStringLiteral("Activity %1").arg(i % 12);
    t.TotalCost = Money::fromUnits(qint64(i) * 12345);
    t.ReportedDate = QDateTime(QDate(2026, 1 + i % 12, 1 + i % 28), QTime(9, i % 60));
    t.StartDate = t.ReportedDate;
    t.Field1Value = QStringLiteral("F1-%1").arg(i);
    return t;
}

cProject ProjectOf(int i) {
    cProject p;
    p.ProjectName = QStringLiteral("Project %1").arg(i);
    p.ProjectManager = QStringLiteral("Manager %1").arg(i % 7);
    p.Rate = Money::fromUnits(qint64(i) * 2500);
    return p;
}

cTask TaskOf(int i) {
    cTask t;
    t.ActivityName = QStringLiteral("Activity %1").arg(i);
    t.Project = QStringLiteral("Project %1").arg(i % 40);
    t.Coordinator = QStringLiteral("Coordinator %1").arg(i % 9);
    t.Rate = Money::fromUnits(qint64(i) * 1000);
    t.DueDate = QDateTime(QDate(2026, 6, 30), QTime(0, 0));
    return t;
}

NotificationTags DictionaryFor(qint32 kind, int i) {
    switch (kind) {
        case 5:
        case 9:
            return ProjectTags(ProjectOf(i));
        case 6:
            return TaskTags(TaskOf(i), false);
        case 10:
            return TaskTags(TaskOf(i), true);
        default:
            break;
    }
    NotificationTags tags(CompareMode::Text);
    tags.Add(QStringLiteral("TLM_ADMIN"), sCurrentUser());
    tags.Add(kind == 11 ? QStringLiteral("TLM_MEMBER") : QStringLiteral("TLM_NEW_PROJECTS"),
             QStringLiteral("Line %1 (Manager: Kim)<BR>Line %2 (Manager: Ann)").arg(i).arg(i + 1));
    tags.Add(QStringLiteral("TLM_NOW"), QDateTime::currentDateTime());
    return tags;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const int records = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 10000;
    const int mails = argc > 2 ? QString::fromLocal8Bit(argv[2]).toInt() : 200;
    if (records <= 0 || mails < 0) {
        std::fprintf(stderr, "bench_notifications: records > 0, mails >= 0\n");
        return 2;
    }
    cDBSettings global;  // built-in templates only
    global.UserName = QStringLiteral("Robin");
    for (int p = 0; p < 40; ++p)
        global.Projects.Items.Add(ProjectOf(p).ProjectName, ProjectOf(p));
    SetDBSettings(&global);
    QTextStream out(stdout);

    const qint32 kinds[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 15, 16};
    qint64 filled = 0;
    qint64 chars = 0;
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < records; ++i) {
        const cTaskData record = Record(i);
        for (qint32 kind : kinds) {
            const NotificationTags tags = DictionaryFor(kind, i);
            const QString body =
                ReplacePlaceHolderVariables(kind, GetEmailTemplate(kind), record, &tags, QString());
            const QString subject = ReplacePlaceHolderVariables(kind, GetEmailNotificationSubject(kind),
                                                                record, &tags, QString());
            chars += body.size() + subject.size();
            ++filled;
        }
    }
    double seconds = Seconds(timer);
    out << "fill_templates: " << filled << " body+subject fills (" << records << " records x "
        << int(std::size(kinds)) << " kinds) in " << QString::number(seconds, 'f', 3) << " s, "
        << QString::number(double(filled) / seconds, 'f', 0) << " fills/s, " << chars / filled
        << " chars per mail\n";
    out.flush();

    if (mails == 0)
        return 0;
    const int port = qEnvironmentVariableIntValue("TLM_TEST_SMTP_PORT");
    if (port <= 0) {
        std::fprintf(stderr,
                     "bench_notifications: set TLM_TEST_SMTP_PORT (scripts/test-servers.sh) to send\n");
        return 2;
    }
    MailProfile profile;
    profile.senderName = QStringLiteral("Bench");
    profile.senderAddress = QStringLiteral("bench@example.org");
    profile.host = QStringLiteral("127.0.0.1");
    profile.port = port;
    profile.tls = MailTlsMode::None;
    SmtpTransport transport(profile, QDir::tempPath() + QStringLiteral("/tlm-bench-outbox"));
    SetNotificationTransport(&transport);

    int sent = 0;
    timer.restart();
    for (int i = 0; i < mails; ++i) {
        const NotificationTags tags = ProjectTags(ProjectOf(i));
        if (EmailNotificationManager(9, QStringLiteral("ann@x.org;bo@y.org;cy@z.org"), ReportedItemRef(),
                                     &tags, QString(), true)
                .status == NotificationOutcome::Status::Sent)
            ++sent;
    }
    seconds = Seconds(timer);
    out << "notification_send: " << sent << "/" << mails << " mails in " << QString::number(seconds, 'f', 3)
        << " s, " << QString::number(sent / seconds, 'f', 1) << " mails/s\n";
    SetNotificationTransport(nullptr);
    SetDBSettings(nullptr);
    return sent == mails ? 0 : 1;
}
