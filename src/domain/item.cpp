#include "domain/item.h"

#include <QDateTime>
#include <QSet>
#include <cmath>

#include "core/codecs.h"
#include "core/error_report.h"
#include "core/money.h"

namespace tlm {

namespace {

QStringList MakeStandardNames() {
    QStringList names = {
        // Shared by every kind.
        "Subject", "Body", "HTMLBody", "Categories", "BillingInformation", "Companies", "Mileage",
        "CreationTime", "LastModificationTime", "EntryID", "Importance", "Sensitivity", "NoAging",
        "IsRecurring", "BodyFormat", "FlagStatus", "FlagIcon", "DownloadState", "ContactNames",
        // Task.
        "ActualWork", "TotalWork", "Complete", "DateCompleted", "DelegationState", "Delegator", "DueDate",
        "Ordinal", "Owner", "Ownership", "Role", "SchedulePlusPriority", "Status", "StartDate",
        "StatusOnCompletionRecipients", "StatusUpdateRecipients", "TeamTask", "PercentComplete",
        // Appointment and meeting.
        "AllDayEvent", "Duration", "Start", "End", "Location", "MeetingStatus", "NetMeetingOrganizerAlias",
        "NetMeetingType", "OptionalAttendees", "Organizer", "RecurrenceState", "RequiredAttendees",
        "Resources", "ResponseStatus", "BusyStatus", "ReplyTime", "ResponseRequested",
        // Mail.
        "ReceivedByName", "SenderEmailAddress", "SenderName", "To", "CC", "BCC", "SentOnBehalfOfName",
        "ReceivedOnBehalfOfName", "ReplyRecipientNames", "Recipients", "SentOn", "ReceivedTime",
        // Contact.
        "FullName", "CompanyName", "Department", "Gender", "SelectedMailingAddress", "IMAddress",
        "ReferredBy"};
    for (int i = 1; i <= 3; ++i) {
        const QString e = QStringLiteral("Email%1").arg(i);
        names << e + QStringLiteral("Address") << e + QStringLiteral("AddressType")
              << e + QStringLiteral("DisplayName") << e + QStringLiteral("EntryID");
    }
    return names;
}

const QSet<QString>& LowerStandardNames() {
    static const QSet<QString> set = [] {
        QSet<QString> s;
        for (const QString& n : TlmItem::StandardPropertyNames())
            s.insert(n.toLower());
        return s;
    }();
    return set;
}

bool IsNumericValue(const QVariant& v) {
    if (!v.isValid() || v.isNull())
        return false;
    if (HoldsNumber(v) || v.typeId() == QMetaType::Bool || v.typeId() == qMetaTypeId<Money>())
        return true;
    return IsNumericText(v.toString());
}

bool IsDateValue(const QVariant& v) {
    if (v.isNull())
        return false;
    if (v.typeId() == QMetaType::QDateTime)
        return v.toDateTime().isValid();
    if (v.typeId() == QMetaType::QDate)
        return v.toDate().isValid();
    return false;
}

QVariant ToDate(const QVariant& v) {
    if (v.typeId() == QMetaType::QDate)
        return QDateTime(v.toDate(), QTime(0, 0));
    return v.toDateTime();
}

// A boolean conversion: numbers are true unless 0, "True"/"False" in any case; anything else
// is a type mismatch.
bool ToBoolean(const QVariant& v, bool* ok) {
    *ok = true;
    if (v.typeId() == QMetaType::Bool)
        return v.toBool();
    const QString t = v.toString().trimmed();
    if (t.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0)
        return true;
    if (t.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0)
        return false;
    bool isNumber = false;
    const double d = t.toDouble(&isNumber);
    if (isNumber)
        return d != 0.0;
    if (IsNumericValue(v))
        return v.toDouble() != 0.0;
    *ok = false;
    return false;
}

QVariant TypeMismatch(const QString& name) {
    Failure f;
    f.number = errnum::kTypeMismatch;
    f.description = QStringLiteral("Type mismatch reading the property \"%1\"").arg(name);
    f.label = QStringLiteral("GetUserDefinedFieldValue");
    subReportError(f);
    return QVariant();
}

// Fields readable through the protected view, by kind; the last group serves every kind.
const QHash<SafeItemKind, QStringList>& SafeFields() {
    static const QHash<SafeItemKind, QStringList> fields = [] {
        QHash<SafeItemKind, QStringList> f;
        f.insert(SafeItemKind::Mail,
                 {"ReceivedByName", "SenderEmailAddress", "SenderName", "To", "SentOnBehalfOfName",
                  "ReceivedOnBehalfOfName", "ReplyRecipientNames", "BCC", "CC", "Recipients"});
        const QStringList appointment = {"OptionalAttendees", "Organizer", "RequiredAttendees", "Resources",
                                         "NetMeetingOrganizerAlias"};
        f.insert(SafeItemKind::Appointment, appointment);
        f.insert(SafeItemKind::Task, {"ContactNames", "Delegator", "Owner", "StatusOnCompletionRecipients",
                                      "StatusUpdateRecipients"});
        QStringList contact = {"IMAddress", "ReferredBy"};
        for (int i = 1; i <= 3; ++i) {
            const QString e = QStringLiteral("Email%1").arg(i);
            contact << e + QStringLiteral("Address") << e + QStringLiteral("AddressType")
                    << e + QStringLiteral("DisplayName") << e + QStringLiteral("EntryID");
        }
        f.insert(SafeItemKind::Contact, contact);
        return f;
    }();
    return fields;
}

bool ContainsName(const QStringList& list, const QString& name) {
    return list.contains(name, Qt::CaseInsensitive);
}

}  // namespace

const QStringList& TlmItem::StandardPropertyNames() {
    static const QStringList names = MakeStandardNames();
    return names;
}

bool TlmItem::IsStandardProperty(const QString& name) {
    return LowerStandardNames().contains(name.toLower());
}

bool TlmItem::setProperty(const QString& name, const QVariant& value) {
    if (!IsStandardProperty(name))
        return false;
    props_.insert(name.toLower(), value);
    return true;
}

QVariant TlmItem::property(const QString& name) const {
    return props_.value(name.toLower());
}

bool TlmItem::hasProperty(const QString& name) const {
    return props_.contains(name.toLower());
}

qint32 TlmItem::minutes(const QString& name) const {
    const QVariant v = property(name);
    if (!IsNumericValue(v))
        return 0;
    const double d = v.toString().toDouble();
    if (!std::isfinite(d) || d > 2147483647.0 || d < -2147483648.0)
        return 0;
    return qint32(std::lround(d));
}

void TlmItem::setUserProperty(const QString& name, const QVariant& value, int type) {
    for (UserProperty& p : user_) {
        if (p.name.compare(name, Qt::CaseInsensitive) == 0) {
            p.value = value;
            p.type = type;
            return;
        }
    }
    user_.append(UserProperty{name, type, value});
}

const UserProperty* TlmItem::findUserProperty(const QString& name) const {
    for (const UserProperty& p : user_) {
        if (p.name.compare(name, Qt::CaseInsensitive) == 0)
            return &p;
    }
    return nullptr;
}

bool TlmItem::removeUserProperty(const QString& name) {
    for (qsizetype i = 0; i < user_.size(); ++i) {
        if (user_[i].name.compare(name, Qt::CaseInsensitive) == 0) {
            user_.removeAt(i);
            return true;
        }
    }
    return false;
}

SafeItemKind SafeItemKindFromMessageClass(const QString& messageClass) {
    const QString c = messageClass.toUpper();
    // Tested in this order: a class can contain more than one of the words.
    if (c.contains(QLatin1String("IPM.NOTE")))
        return SafeItemKind::Mail;
    if (c.contains(QLatin1String("IPM.POST")))
        return SafeItemKind::Post;
    if (c.contains(QLatin1String("IPM.APPOINTMENT")) ||
        c.contains(QLatin1String("IPM.OLE.CLASS.{00061055-0000-0000-C000-000000000046}")))
        return SafeItemKind::Appointment;
    if (c.contains(QLatin1String("IPM.MEETING")))
        return SafeItemKind::Meeting;
    if (c.contains(QLatin1String("IPM.TASK")))
        return SafeItemKind::Task;
    if (c.contains(QLatin1String("IPM.SCHEDULE")))
        return SafeItemKind::Meeting;
    if (c.contains(QLatin1String("IPM.JOURNAL")))
        return SafeItemKind::Journal;
    if (c.contains(QLatin1String("IPM.CONTACT")))
        return SafeItemKind::Contact;
    return SafeItemKind::None;
}

SafeItem GetSafeObject(const TlmItem& item) {
    const SafeItemKind kind = SafeItemKindFromMessageClass(item.MessageClass);
    if (kind == SafeItemKind::None)
        return SafeItem{};
    return SafeItem{kind, &item};
}

bool GetSafeFieldValue(const SafeItem& safe, const QString& sName, QVariant& vValue) {
    vValue = QString();
    if (!safe)
        return false;
    if (sName.compare(QLatin1String("Recipients"), Qt::CaseInsensitive) == 0 &&
        safe.kind == SafeItemKind::Mail)
        return true;
    // A meeting request carries the appointment's fields.
    const SafeItemKind kind = safe.kind == SafeItemKind::Meeting ? SafeItemKind::Appointment : safe.kind;
    static const QStringList everyKind = {"ContactNames", "Body", "HTMLBody"};
    if (!ContainsName(SafeFields().value(kind), sName) && !ContainsName(everyKind, sName))
        return false;
    const QVariant v = safe.item->property(sName);
    if (v.isValid() && !v.isNull())
        vValue = v;
    return true;
}

QVariant GetUserDefinedFieldValue(const TlmItem& item, const QString& name, int type,
                                  const QVariant& defaultValue) {
    const UserProperty* p = name.isEmpty() ? nullptr : item.findUserProperty(name);
    if (!p) {
        switch (type) {
            case FieldType::kInteger: {
                bool ok = false;
                const qint16 n = IsNumericValue(defaultValue) ? ToInt16(defaultValue.toString(), &ok) : 0;
                return ok && n != 0 ? QVariant(n) : QVariant(qint16(0));
            }
            case FieldType::kCurrency:
                return QVariant(qint16(0));
            case FieldType::kDate:
                return ZeroDate();
            case FieldType::kText:
                return defaultValue.isValid() && !defaultValue.isNull() ? defaultValue.toString() : QString();
            case FieldType::kBoolean:
                if (IsNumericValue(defaultValue)) {
                    bool ok = false;
                    const bool b = ToBoolean(defaultValue, &ok);
                    return ok ? QVariant(b) : QVariant();
                }
                return QVariant();
            default:
                return QVariant();
        }
    }
    const QVariant& v = p->value;
    switch (type) {
        case FieldType::kInteger:
            return IsNumericValue(v) ? v : QVariant(qint16(0));
        case FieldType::kCurrency: {
            if (v.isNull() || !v.isValid())
                return QVariant(qint16(0));
            const std::optional<Money> m = Money::fromVariant(v);
            // Conversion errors are ignored: the result stays empty.
            return m ? QVariant::fromValue(*m) : QVariant();
        }
        case FieldType::kDate:
            return IsDateValue(v) ? ToDate(v) : QVariant(ZeroDate());
        case FieldType::kText: {
            const QString text = v.isNull() ? QString() : v.toString();
            const QString def = defaultValue.isNull() ? QString() : defaultValue.toString();
            return !def.isEmpty() && text.isEmpty() ? def : text;
        }
        case FieldType::kBoolean: {
            bool ok = false;
            const bool b = ToBoolean(v, &ok);
            return ok ? QVariant(b) : TypeMismatch(name);
        }
        default:
            return QVariant();
    }
}

QVariant GetFieldValueFromItem(const TlmItem& item, const QString& sName, int iType) {
    const UserProperty* p = sName.isEmpty() ? nullptr : item.findUserProperty(sName);
    if (!p)
        return GetUserDefinedFieldValue(item, sName, iType, QString());
    const QVariant& v = p->value;
    if (!v.isValid() || v.isNull()) {
        if (iType == FieldType::kText)
            return QString();
        if (iType == FieldType::kDate)
            return v;
        return QVariant(0);
    }
    if (iType == FieldType::kDate && v.typeId() == QMetaType::QDateTime) {
        const QDateTime d = v.toDateTime();
        // Stored dates are in Greenwich time; the screens show local time.
        if (d.timeSpec() == Qt::UTC || d.timeSpec() == Qt::OffsetFromUTC)
            return d.toLocalTime();
    }
    return v;
}

}  // namespace tlm
