#include <gtest/gtest.h>

#include <QFile>

#include "core/error_report.h"
#include "core/money.h"
#include "domain/domain_test_fixture.h"
#include "mail/mail_profile.h"
#include "mail/outbox.h"
#include "notifications/notification_doubles.h"
#include "notifications/notification_engine.h"
#include "notifications/template_editor.h"
#include "notifications/templates.h"
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

// The first address is the visible one, the rest go as blind copies; nothing usable sends nothing.
// The decline's reason is offered on the editor only with the decline template; its other tags are
// those of every reported-item template.
TEST(TemplateTags, TheDeclineTemplateAloneOffersTheReason) {
    const QString reason = QStringLiteral("TLM_DECLINE_REASON");
    const QString itemTags = TagGroupTags(1);
    for (const TemplateInfo& info : TemplateVocabulary()) {
        SCOPED_TRACE(info.key.toStdString());
        const int group = TemplateEditor::TagGroupOf(info.index);
        const QStringList tags = TagGroupTags(group).split(u';');
        const QStringList texts = TagGroupDescriptions(group).split(QStringLiteral("\r\n"));
        EXPECT_EQ(tags.size(), texts.size());
        EXPECT_EQ(tags.contains(reason), info.kind == 13);
        if (info.kind == 13) {
            EXPECT_EQ(tags.mid(0, tags.size() - 1).join(u';'), itemTags);
            EXPECT_EQ(tags.last(), reason);
        }
    }
}

TEST_F(EngineFixture, RecipientsSplitIntoToAndBlindCopies) {
    struct Case {
        const char* list;
        const char* to;  // nullptr: refused
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
        {"", nullptr, nullptr},
        {" ; ", nullptr, nullptr},
        {"nobody", nullptr, nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.list);
        const qsizetype before = transport.mails.size();
        const NotificationOutcome out = Send(11, QString::fromLatin1(c.list));
        if (!c.to) {
            EXPECT_EQ(out.status, NotificationOutcome::Status::Refused);
            EXPECT_EQ(transport.mails.size(), before);
            continue;
        }
        EXPECT_EQ(out.status, NotificationOutcome::Status::Sent);
        ASSERT_EQ(transport.mails.size(), before + 1);
        EXPECT_EQ(transport.mails.last().to, QString::fromLatin1(c.to));
        EXPECT_EQ(transport.mails.last().bcc, QString::fromLatin1(c.bcc));
    }
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
    }
    EXPECT_TRUE(transport.mails.isEmpty());
    EXPECT_TRUE(OutboxFiles(outbox).isEmpty());
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

// A shown mail keeps what the sender built: a typo stays in view, and no valid address at all
// still opens the mail.
TEST_F(EngineFixture, ShownMailGoesToTheDisplayAndIsNotSent) {
    for (const char* list : {"ann@x.org;bo@y.org", "ann@x.org;not an address;cy@z.org", "nobody"}) {
        SCOPED_TRACE(list);
        const RecipientSplit split = SplitNotificationRecipients(QString::fromLatin1(list));
        EXPECT_EQ(Send(11, QString::fromLatin1(list), nullptr, false).status,
                  NotificationOutcome::Status::Displayed);
        ASSERT_FALSE(display.shown.isEmpty());
        EXPECT_EQ(display.shown.last().to, split.to);
        EXPECT_EQ(display.shown.last().bcc, split.bcc);
    }
    EXPECT_EQ(display.shown.size(), 3);
    EXPECT_TRUE(transport.mails.isEmpty());
}

// Nothing to show it or send it with: the mail waits in the outbox, the password nowhere.
TEST_F(EngineFixture, WithoutAWindowOrAServerTheMailWaitsInTheOutbox) {
    SetNotificationDisplay(nullptr);
    const NotificationOutcome shown = Send(11, QStringLiteral("ann@x.org"), nullptr, false);
    EXPECT_EQ(shown.status, NotificationOutcome::Status::KeptInOutbox);
    ASSERT_EQ(OutboxFiles(outbox), QStringList{shown.outboxFile});
    EXPECT_TRUE(ReadAll(shown.outboxFile).contains("Subject: Notification: Report all Timesheets"));

    // The stored profile: a sender and a password, but no server.
    MailProfile p;
    p.senderAddress = QStringLiteral("desk@example.org");
    p.user = QStringLiteral("desk");
    p.password = QStringLiteral("s3cret-Pw");
    ASSERT_TRUE(SaveMailProfile(p));
    SetNotificationTransport(nullptr);
    const NotificationOutcome out = Send(11, QStringLiteral("ann@x.org;bo@y.org"));
    EXPECT_EQ(out.status, NotificationOutcome::Status::KeptInOutbox);
    EXPECT_TRUE(CurrentAction().contains(QStringLiteral("kept in the outbox")));
    // Handed over: the outbox's thread composes and keeps it.
    ASSERT_TRUE(MailDelivery().waitKept(20000));
    const QStringList files = OutboxFiles(outbox);
    ASSERT_EQ(files.size(), 2);
    const QString kept = files.last();
    const QByteArray eml = ReadAll(kept);
    EXPECT_TRUE(eml.contains("X-Tlm-Recipients: ann@x.org, bo@y.org"));
    EXPECT_TRUE(eml.contains("names no SMTP server"));
    EXPECT_FALSE(eml.contains("s3cret-Pw"));
    EXPECT_TRUE(CurrentAction().contains(kept)) << "the trace names the kept file";
    EXPECT_FALSE(CurrentAction().contains(QStringLiteral("s3cret-Pw")));
    EXPECT_TRUE(TakeUnkeptMailNotice().isEmpty());
    EXPECT_TRUE(presenter.reports.isEmpty());
    EXPECT_TRUE(prompter.shown().isEmpty());
    EXPECT_TRUE(transport.mails.isEmpty());
}

QString Resource(const char* name) {
    QFile f(QStringLiteral(":/templates/") + QString::fromLatin1(name));
    return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
}

TEST(TemplateStore, BlankTextsReturnToTheirDefaultAndNamesAreLookedUp) {
    cMessageTemplates t;
    t.SetValue(QStringLiteral("tpoNotifyMemberToReport"), QStringLiteral("   "));
    t.SetValue(QStringLiteral("tpoNotifyMemberWhenApproved"), QStringLiteral("x"));
    t.SetValue(QStringLiteral("tpoNotifyMemberWhenApprovedSubject"), QString());
    LoadDefaultTemplates(t);
    EXPECT_EQ(t.GetValue(QStringLiteral("tpoNotifyMemberToReport")).toString(),
              Resource("NOTIFY_MEMBER_TO_REPORT.TXT"));
    EXPECT_EQ(t.GetValue(QStringLiteral("tpoNotifyMemberWhenApproved")).toString(), QStringLiteral("x"));
    EXPECT_EQ(t.GetValue(QStringLiteral("tpoNotifyMemberWhenApprovedSubject")).toString(),
              QStringLiteral("Notification: Your Timesheet (#TLM_REPORTED_ID) is approved!"));
    EXPECT_FALSE(t.IsChecked(QStringLiteral("tpoNotifyMemberToReport")));
    EXPECT_EQ(TemplateOfKind(14), nullptr);

    // A display name is matched exactly, case included; a name the store lacks reads as a blank.
    t.SetNotificaionEnabledValue(QStringLiteral("Email Coordintator when assigned an activity"), true);
    EXPECT_TRUE(t.IsChecked(QStringLiteral("TPONOTIFYCOORDINTORWHENASSIGNEDACTIVITY")));
    EXPECT_EQ(t.GetValue(QStringLiteral("print")).toString(), QStringLiteral(" "));
}

using TemplateDbTest = DomainDbTest;

TEST_P(TemplateDbTest, StoredMinusOneIsSetAndChangesReachTheirRowsOnly) {
    Exec(QStringLiteral(
        "UPDATE tNotificationTemplates SET Enabled = -1 WHERE NotificationName = 'tpoPrintTemplate'"));
    cDBSettings& g = Reload();
    EXPECT_TRUE(g.MessageTemplates.IsChecked(QStringLiteral("Print")));
    const QStringList before = Column(QStringLiteral("SELECT ID FROM tNotificationTemplates ORDER BY ID"));
    g.MessageTemplates.SetValue(QStringLiteral("tpoNotifyMemberWhenDeclineSubject"), QStringLiteral("No!"));
    g.MessageTemplates.SetValue(QStringLiteral("tpoBrandNew"), QStringLiteral("new"));
    g.SaveGlobalSettings(4);
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    const QStringList after = Column(QStringLiteral("SELECT ID FROM tNotificationTemplates ORDER BY ID"));
    EXPECT_EQ(after.mid(0, before.size()), before);
    EXPECT_EQ(after.size(), before.size() + 1);
    const cDBSettings& again = Reload();
    EXPECT_EQ(again.MessageTemplates.GetValue(QStringLiteral("tpoNotifyMemberWhenDeclineSubject")).toString(),
              QStringLiteral("No!"));
    EXPECT_FALSE(again.MessageTemplates.IsChecked(QStringLiteral("tpoBrandNew")));
}

INSTANTIATE_TEST_SUITE_P(Engines, TemplateDbTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
