#include <gtest/gtest.h>

#include "core/error_report.h"
#include "core/money.h"
#include "domain/domain_test_fixture.h"
#include "mail/mail_profile.h"
#include "notifications/notification_doubles.h"
#include "notifications/notification_engine.h"
#include "reported/task_data.h"
#include "support/mail_sink.h"
#include "support/test_env.h"

namespace tlm::test {
namespace {

// The engine over an in-memory store, a recording transport and a recording display.
class EngineFixture : public DomainMemoryTest {
  protected:
    void SetUp() override {
        DomainMemoryTest::SetUp();
        global->UserName = QStringLiteral("Robin");
        LoadDefaultTemplates(global->MessageTemplates);
        SetNotificationTransport(&transport);
        SetNotificationDisplay(&display);
        outbox = NewTempDir(QStringLiteral("outbox"));
        SetOutboxFolder(outbox);
    }
    void TearDown() override {
        SetNotificationTransport(nullptr);
        SetNotificationDisplay(nullptr);
        SetOutboxFolder(QString());
        DomainMemoryTest::TearDown();
    }
    void SetTexts(qint32 kind, const QString& subject, const QString& body) {
        const TemplateInfo* info = TemplateOfKind(kind);
        ASSERT_TRUE(info);
        global->MessageTemplates.SetValue(info->subjectKey, subject);
        global->MessageTemplates.SetValue(info->key, body);
    }
    NotificationOutcome Send(qint32 kind, const QString& recipients, const NotificationTags* tags = nullptr,
                             bool direct = true) {
        return EmailNotificationManager(kind, recipients, ReportedItemRef(), tags, QString(), direct);
    }
    static NotificationTags Tags(std::initializer_list<std::pair<const char*, QVariant>> pairs) {
        NotificationTags t(CompareMode::Text);
        for (const auto& [k, v] : pairs)
            t.Add(QString::fromLatin1(k), v);
        return t;
    }

    RecordingTransport transport;
    RecordingDisplay display;
    QString outbox;
};

TEST_F(EngineFixture, RecipientsSplitIntoToAndBlindCopies) {
    struct Case {
        const char* list;
        const char* to;
        const char* bcc;
    };
    const Case cases[] = {
        {"ann@x.org;bo@y.org;cy@z.org", "ann@x.org", "bo@y.org;cy@z.org"},
        {"ann@x.org", "ann@x.org", ""},
        {";bo@y.org;cy@z.org", "", "bo@y.org;cy@z.org"},
        // What AllEmails leaves for skipped members, blanks and doubled separators.
        {" ann@x.org ;; bo@y.org;;", "ann@x.org", "bo@y.org"},
        // A typo is left out, the others still hear of it.
        {"ann@x.org;not an address;cy@z.org", "ann@x.org", "cy@z.org"},
        {"Ann Lee <ann@x.org>;bo@", "Ann Lee <ann@x.org>", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.list);
        const NotificationOutcome out = Send(11, QString::fromLatin1(c.list));
        EXPECT_EQ(out.status, NotificationOutcome::Status::Sent);
        ASSERT_FALSE(transport.mails.isEmpty());
        EXPECT_EQ(transport.mails.last().to, QString::fromLatin1(c.to));
        EXPECT_EQ(transport.mails.last().bcc, QString::fromLatin1(c.bcc));
    }
    EXPECT_EQ(GetBCCEmailsPortion(QStringLiteral("a@x.org")), QString());
    EXPECT_EQ(GetBCCEmailsPortion(QStringLiteral("a@x.org;b@x.org;c@x.org")),
              QStringLiteral("b@x.org;c@x.org"));
}

TEST_F(EngineFixture, NoUsableRecipientSendsNothing) {
    for (const char* list : {"", ";;", " ; ", "nobody"}) {
        SCOPED_TRACE(list);
        const NotificationOutcome out = Send(11, QString::fromLatin1(list));
        EXPECT_EQ(out.status, NotificationOutcome::Status::Refused);
    }
    EXPECT_TRUE(transport.mails.isEmpty());
    EXPECT_TRUE(CurrentAction().contains(QStringLiteral("no valid recipient")));
}

TEST_F(EngineFixture, LineBreakInSubjectOrAddressIsRefusedNotSentAsHeader) {
    // A project name carrying a header into the subject through its tag.
    SetTexts(5, QStringLiteral("Project 'TLM_PROJECT'"), QStringLiteral("<p>TLM_PROJECT</p>"));
    const NotificationTags evil = Tags({{"TLM_PROJECT", QStringLiteral("Apollo\r\nBcc: spy@evil.org")}});
    NotificationOutcome out = Send(5, QStringLiteral("ann@x.org"), &evil);
    EXPECT_EQ(out.status, NotificationOutcome::Status::Refused);

    const NotificationTags plain = Tags({{"TLM_PROJECT", QStringLiteral("Apollo")}});
    for (const char* list :
         {"ann@x.org\r\nBcc: spy@evil.org", "ann@x.org;bo@y.org\nX-Evil: 1", "\rann@x.org"}) {
        SCOPED_TRACE(list);
        out = Send(5, QString::fromLatin1(list), &plain);
        EXPECT_EQ(out.status, NotificationOutcome::Status::Refused);
        EXPECT_TRUE(out.message.to.isEmpty() && out.message.bcc.isEmpty());
    }
    EXPECT_TRUE(transport.mails.isEmpty());
    EXPECT_TRUE(display.shown.isEmpty());
    EXPECT_TRUE(EmlFiles(outbox).isEmpty());
    // The same tag with a line break in the body only is harmless and goes out.
    SetTexts(5, QStringLiteral("Assignment"), QStringLiteral("<p>TLM_PROJECT</p>"));
    EXPECT_EQ(Send(5, QStringLiteral("ann@x.org"), &evil).status, NotificationOutcome::Status::Sent);
}

TEST_F(EngineFixture, TagsReplaceInOrderOfAddingAndPrefixesBreakLongerTags) {
    SetTexts(5, QStringLiteral("TLM_PROJECT for TLM_MEMBER"),
             QStringLiteral("TLM_PROJECT_RATE|TLM_MANAGER|TLM_NOW|TLM_ADMIN"));
    const QDateTime when(QDate(2026, 3, 7), QTime(10, 15));
    // The manager's value holds a later tag: it is replaced in turn.
    const NotificationTags tags = Tags({{"TLM_MANAGER", QStringLiteral("Kim (TLM_ADMIN)")},
                                        {"TLM_PROJECT", QStringLiteral("Apollo")},
                                        {"TLM_PROJECT_RATE", QVariant::fromValue(*Money::parse("12.5"))},
                                        {"TLM_ADMIN", QStringLiteral("Robin")},
                                        {"TLM_NOW", when}});
    const NotificationOutcome out = Send(5, QStringLiteral("kim@x.org"), &tags);
    ASSERT_EQ(out.status, NotificationOutcome::Status::Sent);
    EXPECT_EQ(transport.mails[0].html,
              QStringLiteral("Apollo_RATE|Kim (Robin)|") + DateTimeToText(when) + QStringLiteral("|Robin"));
    // A tag the dictionary does not supply stays as typed.
    EXPECT_EQ(transport.mails[0].subject, QStringLiteral("Apollo for TLM_MEMBER"));
    // Case counts in the text, not in the key.
    EXPECT_EQ(ReplaceContentWithDictionary(QStringLiteral("tlm_project TLM_PROJECT"), &tags),
              QStringLiteral("tlm_project Apollo"));
    // Every place a tag stands, however long the text.
    const QString row = QStringLiteral("<td>TLM_PROJECT</td>\n");
    EXPECT_EQ(ReplaceContentWithDictionary(row.repeated(100000), &tags),
              QStringLiteral("<td>Apollo</td>\n").repeated(100000));
    EXPECT_EQ(TagValueText(QVariant::fromValue(*Money::parse("90"))), QStringLiteral("90"));
}

TEST_F(EngineFixture, DefaultTextsOfEveryDictionaryKindLoseTheirSuppliedTags) {
    const NotificationTags tags = Tags({{"TLM_ADMIN", QStringLiteral("Robin")},
                                        {"TLM_NEW_PROJECTS", QStringLiteral("Apollo (Manager: Kim)")},
                                        {"TLM_NOW", QDateTime::currentDateTime()}});
    ASSERT_EQ(Send(3, QStringLiteral("ann@x.org"), &tags).status, NotificationOutcome::Status::Sent);
    const MailMessage& m = transport.mails[0];
    EXPECT_EQ(m.subject, QStringLiteral("Notification: New Projects Available"));
    EXPECT_TRUE(m.html.contains(QStringLiteral("Apollo (Manager: Kim)")));
    EXPECT_TRUE(m.html.contains(QStringLiteral("<p>Robin</p>")));
    EXPECT_FALSE(m.html.contains(QStringLiteral("TLM_")));
}

TEST_F(EngineFixture, RecordKindsSubstituteFromTheRecord) {
    cTaskData item;
    item.ID = QStringLiteral("42");
    item.Subject = QStringLiteral("Design review");
    item.ReportedBy = QStringLiteral("Ann");
    const NotificationOutcome out = EmailNotificationManager(12, QStringLiteral("ann@x.org"), item, nullptr,
                                                             QStringLiteral("Task"), true);
    ASSERT_EQ(out.status, NotificationOutcome::Status::Sent);
    EXPECT_EQ(transport.mails[0].subject, QStringLiteral("Notification: Your Timesheet (#42) is approved!"));
    EXPECT_TRUE(transport.mails[0].html.contains(QStringLiteral("'Design review' ID# 42")));
    // A record kind reads no dictionary.
    const NotificationTags tags = Tags({{"TLM_REPORTED_ID", QStringLiteral("99")}});
    EmailNotificationManager(13, QStringLiteral("ann@x.org"), item, &tags, QString(), true);
    EXPECT_TRUE(transport.mails[1].subject.contains(QStringLiteral("#42")));
}

TEST_F(EngineFixture, UnknownKindSaysNotTrappedTwiceAndSendsEmptyTexts) {
    const NotificationOutcome out = Send(14, QStringLiteral("ann@x.org"));
    ASSERT_EQ(prompter.shown().size(), 2);
    EXPECT_EQ(prompter.shown()[0].text, QStringLiteral("NOT TRAPPED 14"));
    EXPECT_EQ(prompter.shown()[1].text, QStringLiteral("NOT TRAPPED 14"));
    EXPECT_EQ(out.status, NotificationOutcome::Status::Sent);
    EXPECT_TRUE(transport.mails[0].subject.isEmpty());
    EXPECT_TRUE(transport.mails[0].html.isEmpty());
    EXPECT_EQ(GetEmailTemplate(0), QString());
    EXPECT_EQ(GetEmailNotificationSubject(17), QString());
}

TEST_F(EngineFixture, ShownMailGoesToTheDisplayAndIsNotSent) {
    const NotificationOutcome out = Send(11, QStringLiteral("ann@x.org;bo@y.org"), nullptr, false);
    EXPECT_EQ(out.status, NotificationOutcome::Status::Displayed);
    EXPECT_TRUE(transport.mails.isEmpty());
    ASSERT_EQ(display.shown.size(), 1);
    EXPECT_EQ(display.shown[0].to, QStringLiteral("ann@x.org"));
    EXPECT_EQ(display.shown[0].bcc, QStringLiteral("bo@y.org"));

    // A shown mail keeps what the sender built: a typo stays in view, and no valid address at
    // all still opens the mail.
    for (const char* list : {"ann@x.org;not an address;cy@z.org", "nobody"}) {
        SCOPED_TRACE(list);
        const RecipientSplit split = SplitNotificationRecipients(QString::fromLatin1(list));
        EXPECT_EQ(Send(11, QString::fromLatin1(list), nullptr, false).status,
                  NotificationOutcome::Status::Displayed);
        EXPECT_EQ(display.shown.last().to, split.to);
        EXPECT_EQ(display.shown.last().bcc, split.bcc);
    }
    EXPECT_EQ(display.shown.size(), 3);
    EXPECT_TRUE(transport.mails.isEmpty());
}

TEST_F(EngineFixture, WithoutAWindowAShownMailWaitsInTheOutbox) {
    SetNotificationDisplay(nullptr);
    const NotificationOutcome out = Send(11, QStringLiteral("ann@x.org"), nullptr, false);
    EXPECT_EQ(out.status, NotificationOutcome::Status::KeptInOutbox);
    EXPECT_TRUE(transport.mails.isEmpty());
    const QStringList files = EmlFiles(outbox);
    ASSERT_EQ(files.size(), 1);
    EXPECT_EQ(out.outboxFile, files[0]);
    const QByteArray eml = ReadAll(files[0]);
    EXPECT_TRUE(eml.contains("X-Tlm-Recipients: ann@x.org"));
    EXPECT_TRUE(eml.contains("Subject: Notification: Report all Timesheets"));
}

TEST_F(EngineFixture, ProfileWithoutServerKeepsTheMailAndTheCallerGoesOn) {
    // The stored profile: a sender and a password, but no server.
    MailProfile p;
    p.senderAddress = QStringLiteral("desk@example.org");
    p.user = QStringLiteral("desk");
    p.password = QStringLiteral("s3cret-Pw");
    ASSERT_TRUE(SaveMailProfile(p));
    SetNotificationTransport(nullptr);
    const NotificationOutcome out = Send(11, QStringLiteral("ann@x.org;bo@y.org"));
    EXPECT_EQ(out.status, NotificationOutcome::Status::KeptInOutbox);
    const QStringList files = EmlFiles(outbox);
    ASSERT_EQ(files.size(), 1);
    const QByteArray eml = ReadAll(files[0]);
    EXPECT_TRUE(eml.contains("X-Tlm-Recipients: ann@x.org, bo@y.org"));
    EXPECT_TRUE(eml.contains("names no SMTP server"));
    EXPECT_FALSE(eml.contains("s3cret-Pw"));
    EXPECT_TRUE(CurrentAction().contains(QStringLiteral("kept in the outbox")));
    EXPECT_FALSE(CurrentAction().contains(QStringLiteral("s3cret-Pw")));
    EXPECT_TRUE(presenter.reports.isEmpty());
    EXPECT_TRUE(prompter.shown().isEmpty());
}

}  // namespace
}  // namespace tlm::test
