#include "review/review_fixture.h"

#include "mail/mail_profile.h"
#include "notifications/senders.h"
#include "notifications/templates.h"
#include "reported/sample_data.h"
#include "support/smtp_sink.h"
#include "support/test_env.h"

namespace tlm::test {

void ReviewDbTest::SetUp() {
    DomainDbTest::SetUp();
    if (IsSkipped() || HasFatalFailure())
        return;
    SampleSpec plan;
    plan.projects = 6;
    plan.members = 10;
    plan.reportedItems = 300;
    SampleCounts counts;
    Failure f;
    ASSERT_TRUE(FillSampleData(*CurrentConnection(), plan, &counts, &f)) << f.description.toStdString();
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
    // Without the sink the mails stop at the recorder; under `make test` the sink must be there.
    const std::optional<MailProfile> sink = SinkProfile();
    if (!sink && ServersRequired())
        FAIL() << MissingServerText("SMTP sink: TLM_TEST_SMTP_PORT / TLM_TEST_SMTP_SPOOL");
    if (sink)
        smtp = std::make_unique<SmtpTransport>(*sink, outbox);
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

}  // namespace tlm::test
