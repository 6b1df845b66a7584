#include "domain/domain_services.h"

#include <QDate>

#include "core/codecs.h"
#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "domain/item.h"
#include "domain/option_keys.h"
#include "domain/shared_lists.h"
#include "mail/mail_profile.h"

namespace tlm {

namespace {

qint16 Setting(const cSharedLists& g, const QString& key) {
    return qint16(g.GeneralSettings.GetValue(key, 2).toInt());
}

}  // namespace

Money GetTotalCost(const TlmItem& item) {
    const QString label = QStringLiteral("Settings.GetTotalCost");
    const cSharedLists* g = SharedLists();
    if (!g)
        return Money{};

    Money rate;
    switch (Setting(*g, tpo::kUseRateFrom)) {
        case 0: {
            QString project = GetFieldValueFromItem(item, QStringLiteral("ProjectValue")).toString();
            if (project.isEmpty())
                project = GetDefaultProjectValue();
            if (const cProject* p = project.isEmpty() ? nullptr : g->Projects.Items.Find(project))
                rate = p->Rate;
            break;
        }
        case 1: {
            QString project = GetFieldValueFromItem(item, QStringLiteral("ProjectValue")).toString();
            if (project.isEmpty())
                project = GetDefaultProjectValue();
            QString activity = GetFieldValueFromItem(item, QStringLiteral("ActivityValue")).toString();
            if (activity.isEmpty())
                activity = GetDefaultActivityValue();
            const QString key = project + activity;
            if (const cTask* t = key.isEmpty() ? nullptr : g->Tasks.Items.Find(key))
                rate = t->Rate;
            break;
        }
        case 2: {
            // The member running this program, not the item's owner.
            const QString key = g->CurrentMember.Name.toLower();
            if (const cMember* m = key.isEmpty() ? nullptr : g->Members.Items.Find(key))
                rate = m->Rate;
            break;
        }
        default:
            break;
    }

    qint64 work = 0;
    const QString messageClass = item.MessageClass.toUpper();
    if (messageClass.contains(QStringLiteral("IPM.TASK"))) {
        work = Setting(*g, tpo::kWorkFieldToUseForTaskItem) != 0 ? item.minutes(QStringLiteral("TotalWork"))
                                                                 : item.minutes(QStringLiteral("ActualWork"));
    } else if (messageClass.contains(QStringLiteral("IPM.APPOINTMENT")) ||
               messageClass.contains(
                   QStringLiteral("IPM.OLE.CLASS.{00061055-0000-0000-C000-000000000046}"))) {
        work = item.minutes(QStringLiteral("Duration"));
    }

    qint64 interval = 60;
    if (Setting(*g, tpo::kRateIntervalMode) != 0) {
        // The custom value is in hours; an empty value counts as 0 hours.
        const QString text = g->GeneralSettings.GetValue(tpo::kRateIntervalCustomValue, 8).toString();
        bool ok = true, overflow = false;
        const qint32 hours = text.trimmed().isEmpty() ? 0 : ToInt32(text, &ok, &overflow);
        if (!ok) {
            detail::ReportFailure(overflow ? errnum::kOverflow : errnum::kTypeMismatch,
                                  overflow ? QStringLiteral("Overflow") : QStringLiteral("Type mismatch"),
                                  label);
            return Money{};
        }
        interval = qint64(hours) * 60;
        if (interval > 2147483647LL || interval < -2147483648LL) {
            detail::ReportFailure(errnum::kOverflow, QStringLiteral("Overflow"), label);
            return Money{};
        }
    }
    if (interval == 0) {
        detail::ReportFailure(11, QStringLiteral("Division by zero"), label);
        return Money{};
    }
    return rate.mulDiv(work, interval);
}

const cProject* GetProjectObjectFromName(const QString& name) {
    const cSharedLists* g = SharedLists();
    return g ? g->Projects.Items.Find(name) : nullptr;
}

const cTask* GetTaskObjectFromName(const QString& project, const QString& activity) {
    const cSharedLists* g = SharedLists();
    return g ? g->Tasks.Items.Find(project + activity) : nullptr;
}

namespace {
bool Expired(const QDateTime& date) {
    if (IsEmptyDate(date))
        return false;
    return date.date().daysTo(QDate::currentDate()) > 0;
}
}  // namespace

bool HideExpiredProject(const QString& name) {
    const cSharedLists* g = SharedLists();
    if (!g || Setting(*g, tpo::kHideExpiredProjectsFromMembers) == 0)
        return false;
    const cProject* p = g->Projects.Items.Find(name);
    return p && Expired(p->FinishDate);
}

bool HideExpiredTask(const QString& project, const QString& activity) {
    const cSharedLists* g = SharedLists();
    if (!g || Setting(*g, tpo::kHideExpiredTasksFromMembers) == 0)
        return false;
    const cTask* t = g->Tasks.Items.Find(project + activity);
    return t && Expired(t->DueDate);
}

QString GetMatchingMemberNameFromRawName(const QString& raw) {
    const cSharedLists* g = SharedLists();
    if (raw.isEmpty() || !g)
        return QString();
    if (const cMember* m = g->Members.Items.Find(raw))
        return m->Name;
    const QString byMail = g->Members.GetMemberFullNameFromEmail(raw);
    if (!byMail.isEmpty())
        return byMail;
    return g->Members.GetMatchingMemberFullName(raw);
}

QString GetCurrentMemberName() {
    const QString mailbox = GetUserNameFromMailbox();
    QString matched = mailbox.isEmpty() ? QString() : GetMatchingMemberNameFromRawName(mailbox);
    if (!matched.isEmpty())
        return matched;
    const QString login = fncGetUserNameFromEnvironment();
    matched = GetMatchingMemberNameFromRawName(login);
    if (!matched.isEmpty())
        return matched;
    return mailbox.isEmpty() ? login : mailbox;
}

namespace {
const cMySettings* Local() {
    return Process().mySettings;
}
}  // namespace

QString GetDefaultProjectValue() {
    const cMySettings* s = Local();
    return s && s->flag(QStringLiteral("EnableDefaultValueForProjectTask")) != 0 ? s->DefaultValueForProject
                                                                                 : QString();
}

QString GetDefaultActivityValue() {
    const cMySettings* s = Local();
    return s && s->flag(QStringLiteral("EnableDefaultValueForProjectTask")) != 0 ? s->DefaultValueForTask
                                                                                 : QString();
}

QString GetDefaultFieldValue(int field) {
    const cMySettings* s = Local();
    if (!s || field < 1 || field > 4)
        return QString();
    if (s->flag(QStringLiteral("CustomList%1Active").arg(field)) == 0)
        return QString();
    if (s->flag(QStringLiteral("EnableDefaultValueForCustomField%1").arg(field)) == 0)
        return QString();
    return s->DefaultValueCustomField[field - 1];
}

QString GetDefaultField1Value() {
    return GetDefaultFieldValue(1);
}
QString GetDefaultField2Value() {
    return GetDefaultFieldValue(2);
}
QString GetDefaultField3Value() {
    return GetDefaultFieldValue(3);
}
QString GetDefaultField4Value() {
    return GetDefaultFieldValue(4);
}

}  // namespace tlm
