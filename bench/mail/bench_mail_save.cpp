// Timed run: a save of new projects with managers, each a notifying row, while the mail server is
// down, as a ratio to the same save with notifications switched off (goal <= 1.5x). Down two ways:
// nothing listens on the port (the connection is refused at once), and an address nobody answers
// (the connection attempt hangs until its timeout); the figure is the worse. A run counts only when
// every project was saved, and mails wait in the outbox with mail on and none with mail off.
// Usage: bench_mail_save [projects] [rounds]
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QHostAddress>
#include <QTcpServer>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <vector>

#include "core/codecs.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "database/connection.h"
#include "database/recordset.h"
#include "mail/mail_profile.h"
#include "mail/outbox.h"
#include "notifications/senders.h"
#include "notifications/templates.h"
#include "settings/global_settings.h"
#include "support/member_seed.h"
#include "support/record.h"

using namespace tlm;

namespace {

constexpr int kManagers = 20;

// Seconds for one save of `projects` new projects into a fresh database; mails waiting after it and
// projects stored.
double SaveOnce(const QString& folder, cMySettings& local, int projects, bool mail, int* waiting,
                int* stored) {
    subCloseConnection();
    Process().blnNewDatabase = false;
    local.DBChoice = 0;
    local.DBConnectionString = folder;
    QDir().mkpath(folder);
    bool show = false;
    DB::Initialize(show);
    if (!CurrentConnection())
        return -1;
    bench::Exec(QStringLiteral("DELETE FROM tMembers"));
    for (int i = 0; i < kManagers; ++i)
        bench::Exec(QStringLiteral("INSERT INTO tMembers (Name, Email, Department, Rate, AdminAccess) "
                                   "VALUES (?, ?, 'Dept', 10, 0)"),
                    {QStringLiteral("Manager %1").arg(i), QStringLiteral("m%1@example.org").arg(i)});

    OutboxSender delivery(folder + QStringLiteral("/outbox"));
    SetMailDelivery(&delivery);
    cDBSettings global;
    SetDBSettings(&global);
    bool ok = false;
    global.LoadGlobalSettings(false, ok);
    for (const TemplateInfo& info : TemplateVocabulary())
        global.MessageTemplates.SetNotificaionEnabledValue(info.key, mail);
    Matrix rows(projects, 3);
    for (int i = 0; i < projects; ++i) {
        rows(i, 0) = QStringLiteral("Project %1").arg(i);
        rows(i, 1) = QStringLiteral("Manager %1").arg(i % kManagers);
        rows(i, 2) = QStringLiteral("10");
    }
    global.Projects.FromArray(rows);

    QElapsedTimer t;
    t.start();
    global.SaveGlobalSettings(1);
    const double seconds = t.nsecsElapsed() / 1e9;
    *waiting = delivery.status().waiting;
    auto count = GetDBRecordset(QStringLiteral("SELECT COUNT(*) AS n FROM tProjects"));
    *stored = count ? count->Fields(QStringLiteral("n")).Value().toInt() : -1;
    delivery.shutdown();
    SetMailDelivery(nullptr);
    SetDBSettings(nullptr);
    subCloseConnection();
    return ok ? seconds : -1;
}

using bench::Median;

MailProfile DownProfile(const QString& host, int port) {
    MailProfile p;
    p.senderAddress = QStringLiteral("desk@example.org");
    p.host = host;
    p.port = port;
    p.tls = MailTlsMode::None;
    return p;
}

// A loopback port nothing listens on: taken from the system, then let go.
int ClosedPort() {
    QTcpServer s;
    if (!s.listen(QHostAddress::LocalHost))
        return 1;
    const int port = s.serverPort();
    s.close();
    return port;
}

}  // namespace

int main(int argc, char** argv) {
    // As main does: without it every local time (file names, Date headers) re-reads the zone file.
    tlm::PinLocalTimeZone();
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    QCoreApplication app(argc, argv);
    const int projects = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 200;
    const int rounds = argc > 2 ? QString::fromLocal8Bit(argv[2]).toInt() : 3;
    ScriptedPrompter prompter;
    SetPrompter(&prompter);
    cMySettings local;
    Process().mySettings = &local;
    qputenv("USER", "bench");
    InstallNotificationSenders();

    struct Case {
        const char* name;
        MailProfile profile;
    };
    const Case cases[] = {
        {"refused (nothing listens on the port)", DownProfile(QStringLiteral("127.0.0.1"), ClosedPort())},
        // A documentation address nobody answers: the connection attempt hangs until its timeout.
        {"unreachable (192.0.2.1, no answer)", DownProfile(QStringLiteral("192.0.2.1"), 25)},
    };
    bool ok = true;
    double worst = 0;
    QStringList measured;
    for (const Case& c : cases) {
        SaveMailProfile(c.profile);
        std::vector<double> off, on;
        int mails = 0;
        for (int r = 0; r < rounds; ++r) {
            const QString base = home.path() + QStringLiteral("/%1-round%2").arg(&c - cases).arg(r);
            int waitingOff = 0, waitingOn = 0, storedOff = 0, storedOn = 0;
            off.push_back(
                SaveOnce(base + QStringLiteral("-off"), local, projects, false, &waitingOff, &storedOff));
            on.push_back(
                SaveOnce(base + QStringLiteral("-on"), local, projects, true, &waitingOn, &storedOn));
            mails = waitingOn;
            if (off.back() < 0 || on.back() < 0 || storedOff < projects || storedOn < projects ||
                waitingOff != 0 || waitingOn <= 0) {
                std::printf(
                    "mail_save %s: FAILED in round %d: %d and %d projects stored, %d mails waiting "
                    "with mail on, %d with mail off\n",
                    c.name, r, storedOff, storedOn, waitingOn, waitingOff);
                ok = false;
            }
        }
        const double a = Median(off), b = Median(on);
        std::printf(
            "mail_save %s: %d new projects with managers, median of %d: mail off %.3f s, server down "
            "%.3f s (%d mails waiting in the outbox after it), ratio %.2f (goal <= 1.5), %.3f ms more per "
            "notifying row\n",
            c.name, projects, rounds, a, b, mails, b / a, (b - a) * 1000.0 / projects);
        worst = std::max(worst, b / a);
        measured << QStringLiteral("%1x %2 (%3 s vs %4 s)")
                        .arg(b / a, 0, 'f', 2)
                        .arg(QString::fromLatin1(c.name).section(u' ', 0, 0))
                        .arg(b, 0, 'f', 3)
                        .arg(a, 0, 'f', 3);
    }
    bench::Record("mail-save", measured.join(QStringLiteral("; ")), bench::Verdict(ok, worst <= 1.5));
    return ok ? 0 : 1;
}
