// Placeholder substitution of the notification templates: the template text a user edits, the
// values (names, dates, money) that come from the lists and from members' reports.
//
// Input: the template text, then NUL-separated values. Each value: a byte choosing the tag, a byte
// choosing the kind (text, date, money), the text. Without values every tag gets a short text.
#include <QSet>

#include "core/codecs.h"
#include "core/money.h"
#include "fuzz_support.h"
#include "notifications/notification_engine.h"
#include "notifications/template_editor.h"
#include "reported/appointment_data.h"
#include "reported/task_data.h"

using namespace tlm;

namespace {

// Every tag the template editor offers, once.
const QStringList& Vocabulary() {
    static const QStringList tags = [] {
        QStringList all;
        for (int group = 1; group <= 8; ++group)
            for (const QString& tag : TagGroupTags(group).split(u';', Qt::SkipEmptyParts))
                if (!all.contains(tag))
                    all.append(tag);
        return all;
    }();
    return tags;
}

NotificationTags TagsFrom(const QList<QByteArray>& values) {
    NotificationTags tags(CompareMode::Text);
    const QStringList& vocabulary = Vocabulary();
    if (values.isEmpty()) {
        for (int i = 0; i < vocabulary.size(); ++i)
            tags.Add(vocabulary[i], QStringLiteral("[%1]").arg(QChar(u'a' + i % 26)));
        return tags;
    }
    for (const QByteArray& v : values) {
        if (v.size() < 2)
            continue;
        const QString key = vocabulary[uchar(v[0]) % vocabulary.size()];
        const QString text = fuzz::Utf8(v.mid(2));
        switch (uchar(v[1]) % 3) {
            case 0:
                tags.Add(key, text);
                break;
            case 1:
                tags.Add(key, FromTallyloomDateFormat(text));
                break;
            default:
                tags.Add(key, QVariant::fromValue(Money::parse(text).value_or(Money{})));
                break;
        }
    }
    return tags;
}

void CheckDictionary(const QString& text, const NotificationTags& tags) {
    const QString out = ReplaceContentWithDictionary(text, &tags);
    FUZZ_CHECK(ReplaceContentWithDictionary(text, nullptr) == text, text);
    bool anyKey = false;
    QSet<QChar> keyChars;
    for (const auto& e : tags) {
        anyKey = anyKey || text.contains(e.key);
        for (QChar c : e.key)
            keyChars.insert(c);
    }
    if (!anyKey)
        FUZZ_CHECK(out == text, text);
    // A value that is not empty and shares no character with any tag cannot form a tag again, so
    // every tag is gone once all passes are done.
    for (const auto& e : tags) {
        const QString value = TagValueText(e.item);
        if (value.isEmpty())
            return;
        for (QChar c : value)
            if (keyChars.contains(c))
                return;
    }
    for (const auto& e : tags)
        FUZZ_CHECK(!out.contains(e.key), e.key + QStringLiteral(" left in ") + out);
}

// The record route: a reported task and appointment whose fields are the values as texts.
void CheckRecords(const QString& text, const QList<QByteArray>& values) {
    cTaskData task;
    cAppointmentData appointment;
    QString* taskFields[] = {&task.ID,           &task.Subject,       &task.Body,        &task.ReportedBy,
                             &task.ProjectValue, &task.ActivityValue, &task.Field1Value, &task.Field2Value,
                             &task.Field8Value,  &task.ApprovedBy,    &task.Companies,   &task.Categories};
    QString* apptFields[] = {&appointment.ID,          &appointment.Subject,      &appointment.Body,
                             &appointment.ReportedBy,  &appointment.ProjectValue, &appointment.ActivityValue,
                             &appointment.Field1Value, &appointment.Field2Value,  &appointment.Field8Value,
                             &appointment.ApprovedBy,  &appointment.Companies,    &appointment.Categories};
    for (int i = 0; i < values.size() && i < int(std::size(taskFields)); ++i) {
        *taskFields[i] = fuzz::Utf8(values[i]);
        *apptFields[i] = *taskFields[i];
    }
    if (!values.isEmpty()) {
        const QString first = fuzz::Utf8(values[0]);
        task.TotalCost = appointment.TotalCost = Money::parse(first).value_or(Money{});
        task.StartDate = appointment.StartDate = FromTallyloomDateFormat(first);
    }
    const QString fromTask = ReplacePlaceHolderVariables(1, text, ReportedItemRef(task), nullptr, QString());
    const QString fromAppt =
        ReplacePlaceHolderVariables(2, text, ReportedItemRef(appointment), nullptr, QString());
    // Every tag of the record route starts with TLM_: a text without it is left alone.
    if (!text.contains(QLatin1String("TLM_"))) {
        FUZZ_CHECK(fromTask == text, text);
        FUZZ_CHECK(fromAppt == text, text);
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    QList<QByteArray> parts = fuzz::Split(data, size, '\0', 25);
    const QString text = fuzz::Utf8(parts.takeFirst());
    CheckDictionary(text, TagsFrom(parts));
    CheckRecords(text, parts);
    return 0;
}
