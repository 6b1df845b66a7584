#include "review/review_fixture.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include "mail/mail_profile.h"
#include "notifications/senders.h"
#include "notifications/templates.h"
#include "reported/sample_data.h"
#include "support/test_env.h"

namespace tlm::test {

void ReviewDbTest::SetUp() {
    DomainDbTest::SetUp();
    if (IsSkipped() || HasFatalFailure())
        return;
    SampleSpec spec;
    spec.projects = 6;
    spec.members = 10;
    spec.reportedItems = 300;
    SampleCounts counts;
    Failure f;
    ASSERT_TRUE(FillSampleData(*CurrentConnection(), spec, &counts, &f)) << f.description.toStdString();
    ASSERT_GT(counts.tasks, 0);
    ASSERT_GT(counts.appointments, 0);
    Reload();
    presenter.reports.clear();

    // Every notice switched on, so only what the review hands the senders decides about mail.
    for (const auto& info : TemplateVocabulary())
        global->MessageTemplates.SetNotificaionEnabledValue(info.key, true);
    InstallNotificationSenders(nullptr);
    outbox = NewTempDir(QStringLiteral("outbox"));
    SetOutboxFolder(outbox);
    const int port = SmtpPort().toInt();
    spool = SmtpSpoolDir();
    // Without the sink the mails stop at the recorder; under `make test` the sink must be there.
    if ((port <= 0 || spool.isEmpty()) && ServersRequired())
        FAIL() << MissingServerText("SMTP sink: TLM_TEST_SMTP_PORT / TLM_TEST_SMTP_SPOOL");
    if (port > 0 && !spool.isEmpty()) {
        MailProfile p;
        p.senderName = QStringLiteral("Tally Desk");
        p.senderAddress = QStringLiteral("desk@example.org");
        p.host = QStringLiteral("127.0.0.1");
        p.port = port;
        p.tls = MailTlsMode::None;
        smtp = std::make_unique<SmtpTransport>(p, outbox);
    }
    recorder = std::make_unique<RecordingTransport>(smtp.get());
    transport = recorder.get();
    SetNotificationTransport(transport);
}

void ReviewDbTest::TearDown() {
    SetNotificationTransport(nullptr);
    SetNotificationDisplay(nullptr);
    SetOutboxFolder(QString());
    recorder.reset();
    smtp.reset();
    DomainDbTest::TearDown();
}

int ReviewDbTest::CountWhere(const QString& table, const QString& where) {
    auto rs = Open(QStringLiteral("SELECT COUNT(*) AS n FROM ") + table + QStringLiteral(" WHERE ") + where,
                   LockMode::ReadOnly);
    return rs->Eof() ? -1 : rs->Fields(QStringLiteral("n")).Value().toInt();
}

QString ReviewDbTest::FirstUnapprovedId(const QString& table) {
    return Texts(QStringLiteral("SELECT MIN(ID) FROM ") + table + QStringLiteral(" WHERE Approved = 0"))
        .value(0);
}

QString ReviewDbTest::SharedUnapprovedId() {
    return Texts(QStringLiteral("SELECT MIN(t.ID) FROM tReportedTasks t, tReportedAppointments a "
                                "WHERE t.ID = a.ID AND t.Approved = 0 AND a.Approved = 0"))
        .value(0);
}

// Spool files of the sink: one JSON object per mail received.
QList<QJsonObject> ReviewDbTest::SpoolMails() const {
    QList<QJsonObject> out;
    if (spool.isEmpty())
        return out;
    for (const QString& f : QDir(spool).entryList({QStringLiteral("*.json")}, QDir::Files)) {
        QFile file(spool + QLatin1Char('/') + f);
        if (file.open(QIODevice::ReadOnly))
            out.append(QJsonDocument::fromJson(file.readAll()).object());
    }
    return out;
}

bool ReviewDbTest::ArrivedAtSink(const QString& messageId) const {
    const QString wanted = QLatin1Char('<') + messageId + QLatin1Char('>');
    for (const QJsonObject& o : SpoolMails())
        if (o.value(QStringLiteral("message_id")).toString() == wanted)
            return true;
    return false;
}

}  // namespace tlm::test
