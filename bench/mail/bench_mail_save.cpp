// Timed run: a save of new projects with managers while the mail server cannot be reached, as a
// ratio to the same save with notifications switched off. Usage: bench_mail_save [projects] [rounds]
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <vector>

#include "core/codecs.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "database/connection.h"
#include "mail/mail_profile.h"
#include "mail/outbox.h"
#include "notifications/senders.h"
#include "notifications/templates.h"
#include "settings/global_settings.h"
#include "support/member_seed.h"

using namespace tlm;

namespace {

constexpr int kManagers = 20;

// Seconds for one save of `projects` new projects into a fresh database; mails waiting after it.
double SaveOnce(const QString& folder, cMySettings& local, int projects, bool mail, int* waiting) {
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
    delivery.shutdown();
    SetMailDelivery(nullptr);
    SetDBSettings(nullptr);
    subCloseConnection();
    return ok ? seconds : -1;
}

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
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

    // A documentation address nobody answers: the connection attempt hangs until its timeout.
    MailProfile unreachable;
    unreachable.senderAddress = QStringLiteral("desk@example.org");
    unreachable.host = QStringLiteral("192.0.2.1");
    unreachable.port = 25;
    unreachable.tls = MailTlsMode::None;
    SaveMailProfile(unreachable);

    std::vector<double> off, on;
    int waitingOff = 0, waitingOn = 0;
    for (int r = 0; r < rounds; ++r) {
        const QString base = home.path() + QStringLiteral("/round%1").arg(r);
        off.push_back(SaveOnce(base + QStringLiteral("-off"), local, projects, false, &waitingOff));
        on.push_back(SaveOnce(base + QStringLiteral("-on"), local, projects, true, &waitingOn));
    }
    if (*std::min_element(off.begin(), off.end()) < 0 || *std::min_element(on.begin(), on.end()) < 0) {
        std::fprintf(stderr, "bench_mail_save: the database could not be set up\n");
        return 1;
    }
    const double a = Median(off), b = Median(on);
    std::printf(
        "mail_save: %d new projects with managers, median of %d: mail off %.3f s, server unreachable "
        "%.3f s (%d mails in the outbox, %d without mail), ratio %.2f, %.3f ms per mail\n",
        projects, rounds, a, b, waitingOn, waitingOff, b / a,
        waitingOn > 0 ? (b - a) * 1000.0 / waitingOn : 0.0);
    return 0;
}
