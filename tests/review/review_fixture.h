#pragma once

#include <QStringList>
#include <memory>

#include "database/connection.h"
#include "domain/domain_test_fixture.h"
#include "mail/mail_profile.h"
#include "mail/mail_transport.h"
#include "notifications/notification_doubles.h"
#include "notifications/senders.h"
#include "notifications/templates.h"
#include "reported/appointment_data.h"
#include "reported/sample_data.h"
#include "reported/task_data.h"
#include "review/review_queue.h"
#include "support/smtp_sink.h"
#include "support/test_env.h"

namespace tlm::test {

// A fresh database of the engine filled with generated lists and reported items, a loaded global
// store, notifications switched on and mail going to a recording transport (in front of the SMTP
// sink when `make test` runs one).
class ReviewDbTest : public DomainDbTest {
  protected:
    void SetUp() override {
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
        const QString outbox = NewTempDir(QStringLiteral("outbox"));
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
    void TearDown() override {
        SetNotificationTransport(nullptr);
        SetNotificationDisplay(nullptr);
        SetOutboxFolder(QString());
        recorder.reset();
        smtp.reset();
        DomainDbTest::TearDown();
    }

    int CountWhere(const QString& table, const QString& where) {
        return Column(QStringLiteral("SELECT COUNT(*) FROM ") + table + QStringLiteral(" WHERE ") + where)
            .value(0, QStringLiteral("-1"))
            .toInt();
    }
    // An ID that has an unapproved row in both tables.
    QString SharedUnapprovedId() {
        return Column(QStringLiteral("SELECT MIN(t.ID) FROM tReportedTasks t, tReportedAppointments a "
                                     "WHERE t.ID = a.ID AND t.Approved = 0 AND a.Approved = 0"))
            .value(0);
    }

    // The rows of a filter as the full records read them (every column, through a recordset), for
    // comparing the review's own narrower read with.
    QVector<ReviewItem> RecordRows(const ReviewFilter& f) {
        QVector<ReviewItem> items;
        const qint32 choice = IsSqlite() ? 0 : 1;
        for (const bool appointments : {false, true}) {
            if (appointments ? !WantsAppointments(f.typesIndex) : !WantsTasks(f.typesIndex))
                continue;
            const QString table =
                appointments ? QStringLiteral("tReportedAppointments") : QStringLiteral("tReportedTasks");
            auto rs = GetDBRecordset(ReviewQueryFor(f, choice, table), true, false);
            if (!rs) {
                ADD_FAILURE() << "no recordset of " << table.toStdString();
                return items;
            }
            for (; !rs->Eof(); rs->MoveNext()) {
                cTaskData task;
                cAppointmentData appointment;
                cReportedRecord& r = appointments ? static_cast<cReportedRecord&>(appointment) : task;
                if (appointments)
                    appointment.FromRecordset(*rs);
                else
                    task.FromRecordset(*rs);
                ReviewItem it;
                it.appointment = appointments;
                it.ID = r.ID;
                it.Subject = r.Subject;
                it.ProjectValue = r.ProjectValue;
                it.ActivityValue = r.ActivityValue;
                it.TotalCost = r.TotalCost;
                it.ReportedDate = r.ReportedDate;
                it.ReportedBy = r.ReportedBy;
                items.append(it);
            }
        }
        return items;
    }
    // Every value of every row, in order.
    static void ExpectSameRows(const QVector<ReviewItem>& got, const QVector<ReviewItem>& want) {
        ASSERT_EQ(got.size(), want.size());
        for (int i = 0; i < got.size(); ++i) {
            SCOPED_TRACE(want[i].Key().toStdString());
            EXPECT_EQ(got[i].appointment, want[i].appointment);
            EXPECT_EQ(got[i].ID, want[i].ID);
            EXPECT_EQ(got[i].Subject, want[i].Subject);
            EXPECT_EQ(got[i].ProjectValue, want[i].ProjectValue);
            EXPECT_EQ(got[i].ActivityValue, want[i].ActivityValue);
            EXPECT_EQ(got[i].TotalCost, want[i].TotalCost);
            EXPECT_EQ(got[i].ReportedDate, want[i].ReportedDate);
            EXPECT_EQ(got[i].ReportedBy, want[i].ReportedBy);
        }
    }

    RecordingTransport* transport = nullptr;  // what the senders handed on

  private:
    std::unique_ptr<SmtpTransport> smtp;
    std::unique_ptr<RecordingTransport> recorder;
};

// ReviewDbTest with one ID that has an unapproved row in both tables, and its rows' texts as the
// grid holds them.
class ReviewRowsTest : public ReviewDbTest {
  protected:
    void SetUp() override {
        ReviewDbTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        id = SharedUnapprovedId();
        ASSERT_FALSE(id.isEmpty());
    }
    ReviewRowTexts Row(const QString& type) {
        auto rs = Open(QStringLiteral("SELECT Subject, ProjectValue, ActivityValue FROM ") +
                       ReviewTableFor(type) + QStringLiteral(" WHERE ID = ") + id);
        return {type,
                id,
                rs->Fields(QStringLiteral("Subject")).Value().toString(),
                {rs->Fields(QStringLiteral("ProjectValue")).Value().toString(),
                 rs->Fields(QStringLiteral("ActivityValue")).Value().toString(), QStringLiteral("12.5")}};
    }
    int Rows(const QString& table, const QString& where) {
        return CountWhere(table, where + QStringLiteral(" AND ID = ") + id);
    }
    QString id;  // a row in both tables, unapproved in both
};

}  // namespace tlm::test
