#include <gtest/gtest.h>

#include "core/codecs.h"
#include "core/error_report.h"
#include "core/money.h"
#include "domain/item.h"
#include "domain/value_names.h"

using namespace tlm;

namespace {

TlmItem Task() {
    TlmItem item;
    item.MessageClass = QStringLiteral("IPM.Task");
    return item;
}

}  // namespace

TEST(ItemProperties, NamesMatchWithoutCaseAndUnknownNamesAreRefused) {
    TlmItem item = Task();
    EXPECT_TRUE(item.setProperty(QStringLiteral("actualwork"), 90));
    EXPECT_EQ(item.property(QStringLiteral("ActualWork")).toInt(), 90);
    EXPECT_EQ(item.minutes(QStringLiteral("ACTUALWORK")), 90);
    EXPECT_EQ(item.minutes(QStringLiteral("TotalWork")), 0) << "unset work is no work";
    EXPECT_FALSE(item.setProperty(QStringLiteral("NoSuchProperty"), 1));
    EXPECT_FALSE(item.hasProperty(QStringLiteral("NoSuchProperty")));

    item.setUserProperty(QStringLiteral("ProjectValue"), QStringLiteral("Alpha"));
    item.setUserProperty(QStringLiteral("projectvalue"), QStringLiteral("Beta"));
    ASSERT_EQ(item.userProperties().size(), 1) << "a second set with other case replaces the first";
    EXPECT_EQ(item.findUserProperty(QStringLiteral("PROJECTVALUE"))->value.toString(),
              QStringLiteral("Beta"));
    EXPECT_TRUE(item.removeUserProperty(QStringLiteral("ProjectValue")));
    EXPECT_EQ(item.findUserProperty(QStringLiteral("ProjectValue")), nullptr);
}

TEST(SafeItemAccess, MessageClassDecidesTheKindInOrder) {
    const auto kind = [](const char* c) { return SafeItemKindFromMessageClass(QString::fromLatin1(c)); };
    EXPECT_EQ(kind("IPM.Note"), SafeItemKind::Mail);
    EXPECT_EQ(kind("ipm.note.custom"), SafeItemKind::Mail);
    EXPECT_EQ(kind("IPM.Appointment"), SafeItemKind::Appointment);
    EXPECT_EQ(kind("IPM.OLE.CLASS.{00061055-0000-0000-C000-000000000046}"), SafeItemKind::Appointment);
    EXPECT_EQ(kind("IPM.Schedule.Meeting.Request"), SafeItemKind::Meeting);
    EXPECT_EQ(kind("IPM.TaskRequest"), SafeItemKind::Task);
    EXPECT_EQ(kind("IPM.Contact"), SafeItemKind::Contact);
    // "IPM.Note" comes first, whatever else the class holds.
    EXPECT_EQ(kind("IPM.Note.IPM.Task"), SafeItemKind::Mail);
    EXPECT_EQ(kind("IPM.StickyNote"), SafeItemKind::None);

    TlmItem unknown;
    unknown.MessageClass = QStringLiteral("IPM.Unknown");
    EXPECT_FALSE(GetSafeObject(unknown));
    QVariant v = 5;
    EXPECT_FALSE(GetSafeFieldValue(GetSafeObject(unknown), QStringLiteral("Body"), v));
    EXPECT_EQ(v, QVariant(QString()));
}

TEST(SafeItemAccess, FieldsByKind) {
    TlmItem task = Task();
    task.setProperty(QStringLiteral("Owner"), QStringLiteral("Ann"));
    task.setProperty(QStringLiteral("Body"), QStringLiteral("text"));
    task.setProperty(QStringLiteral("Organizer"), QStringLiteral("Bo"));
    const SafeItem safe = GetSafeObject(task);
    ASSERT_TRUE(safe);
    QVariant v;
    EXPECT_TRUE(GetSafeFieldValue(safe, QStringLiteral("owner"), v));
    EXPECT_EQ(v.toString(), QStringLiteral("Ann"));
    EXPECT_TRUE(GetSafeFieldValue(safe, QStringLiteral("Body"), v));
    EXPECT_EQ(v.toString(), QStringLiteral("text"));
    EXPECT_TRUE(GetSafeFieldValue(safe, QStringLiteral("Delegator"), v)) << "a known field without value";
    EXPECT_EQ(v, QVariant(QString()));
    EXPECT_FALSE(GetSafeFieldValue(safe, QStringLiteral("Organizer"), v)) << "an appointment field on a task";
    EXPECT_EQ(v, QVariant(QString()));

    TlmItem mail;
    mail.MessageClass = QStringLiteral("IPM.Note");
    mail.setProperty(QStringLiteral("Recipients"), QStringLiteral("someone"));
    EXPECT_TRUE(GetSafeFieldValue(GetSafeObject(mail), QStringLiteral("Recipients"), v));
    EXPECT_EQ(v, QVariant(QString())) << "Recipients always reads empty";
}

TEST(UserDefinedFields, MissingPropertyDefaultsByType) {
    const TlmItem item = Task();
    const QString name = QStringLiteral("Field9Value");
    EXPECT_EQ(GetUserDefinedFieldValue(item, name, FieldType::kInteger, QStringLiteral("7")),
              QVariant(qint16(7)));
    EXPECT_EQ(GetUserDefinedFieldValue(item, name, FieldType::kInteger, QStringLiteral("x")),
              QVariant(qint16(0)));
    EXPECT_EQ(GetUserDefinedFieldValue(item, name, FieldType::kCurrency, QStringLiteral("5")),
              QVariant(qint16(0)));
    EXPECT_EQ(GetUserDefinedFieldValue(item, name, FieldType::kDate, {}).toDateTime(), ZeroDate());
    EXPECT_EQ(GetUserDefinedFieldValue(item, name, FieldType::kText, QStringLiteral("dflt")),
              QVariant(QStringLiteral("dflt")));
    EXPECT_EQ(GetUserDefinedFieldValue(item, name, FieldType::kText, {}), QVariant(QString()));
    EXPECT_EQ(GetUserDefinedFieldValue(item, name, FieldType::kBoolean, QStringLiteral("1")), QVariant(true));
    EXPECT_FALSE(GetUserDefinedFieldValue(item, name, FieldType::kBoolean, QStringLiteral("yes")).isValid());
    EXPECT_FALSE(GetUserDefinedFieldValue(item, name, 99, QStringLiteral("1")).isValid());
}

TEST(UserDefinedFields, ExistingPropertyConversions) {
    ResetErrorReportingForTests();
    TlmItem item = Task();
    item.setUserProperty(QStringLiteral("N"), QStringLiteral("12"));
    item.setUserProperty(QStringLiteral("Bad"), QStringLiteral("twelve"));
    item.setUserProperty(QStringLiteral("Cost"), QStringLiteral("12.345"));
    item.setUserProperty(QStringLiteral("When"), QDateTime(QDate(2026, 3, 7), QTime(9, 0)));
    item.setUserProperty(QStringLiteral("Empty"), QString());

    EXPECT_EQ(GetUserDefinedFieldValue(item, QStringLiteral("N"), FieldType::kInteger, {}).toString(),
              QStringLiteral("12"));
    EXPECT_EQ(GetUserDefinedFieldValue(item, QStringLiteral("Bad"), FieldType::kInteger, {}),
              QVariant(qint16(0)));
    const QVariant cost = GetUserDefinedFieldValue(item, QStringLiteral("Cost"), FieldType::kCurrency, {});
    ASSERT_EQ(cost.typeId(), qMetaTypeId<Money>());
    EXPECT_EQ(cost.value<Money>(), Money::fromUnits(123450));
    EXPECT_FALSE(GetUserDefinedFieldValue(item, QStringLiteral("Bad"), FieldType::kCurrency, {}).isValid());
    EXPECT_EQ(GetUserDefinedFieldValue(item, QStringLiteral("When"), FieldType::kDate, {}).toDateTime(),
              QDateTime(QDate(2026, 3, 7), QTime(9, 0)));
    EXPECT_EQ(GetUserDefinedFieldValue(item, QStringLiteral("Empty"), FieldType::kText, QStringLiteral("d")),
              QVariant(QStringLiteral("d")));
    EXPECT_EQ(GetUserDefinedFieldValue(item, QStringLiteral("N"), FieldType::kText, QStringLiteral("d")),
              QVariant(QStringLiteral("12")));
    EXPECT_EQ(GetUserDefinedFieldValue(item, QStringLiteral("N"), FieldType::kBoolean, {}), QVariant(true));
    EXPECT_FALSE(ReportShown());
    // A text that is no boolean is a type mismatch for the shared failure path.
    EXPECT_FALSE(GetUserDefinedFieldValue(item, QStringLiteral("Bad"), FieldType::kBoolean, {}).isValid());
    EXPECT_TRUE(ReportShown());
    ResetErrorReportingForTests();
}

TEST(UserDefinedFields, LibraryReadKeepsValuesAndFallsBack) {
    TlmItem item = Task();
    item.setUserProperty(QStringLiteral("ProjectValue"), QStringLiteral("  Alpha "));
    item.setUserProperty(QStringLiteral("ReportedID"), QVariant());
    const QDateTime utc(QDate(2026, 3, 7), QTime(12, 0), Qt::UTC);
    item.setUserProperty(QStringLiteral("ReportedDate"), utc, FieldType::kDate);

    EXPECT_EQ(GetFieldValueFromItem(item, QStringLiteral("projectvalue")),
              QVariant(QStringLiteral("  Alpha ")))
        << "the stored value comes back untouched; callers trim";
    EXPECT_EQ(GetFieldValueFromItem(item, QStringLiteral("ReportedID"), FieldType::kText),
              QVariant(QString()));
    const QDateTime local =
        GetFieldValueFromItem(item, QStringLiteral("ReportedDate"), FieldType::kDate).toDateTime();
    EXPECT_EQ(local.timeSpec(), Qt::LocalTime);
    EXPECT_EQ(local, utc) << "same instant, shown in local time";
    // Missing or unnameable: the typed defaults with an empty default value.
    EXPECT_EQ(GetFieldValueFromItem(item, QString(), FieldType::kDate).toDateTime(), ZeroDate());
    EXPECT_EQ(GetFieldValueFromItem(item, QStringLiteral("Field9Value"), FieldType::kCurrency),
              QVariant(qint16(0)));
}

TEST(ValueNames, TablesFallbacksAndPassThrough) {
    EXPECT_EQ(fncGetItemValueName(QStringLiteral("importance"), 0), QStringLiteral("Low"));
    EXPECT_EQ(fncGetItemValueName(QStringLiteral("MeetingStatus"), 5), QStringLiteral("Canceled"));
    EXPECT_EQ(fncGetItemValueName(QStringLiteral("RecurrenceState"), 1),
              QStringLiteral("Appointment Master "));
    EXPECT_EQ(fncGetItemValueName(QStringLiteral("RecurrenceState"), 9), QStringLiteral("None"));
    EXPECT_EQ(fncGetItemValueName(QStringLiteral("Status"), QStringLiteral("2")),
              QStringLiteral("Completed"));
    EXPECT_EQ(fncGetItemValueName(QStringLiteral("Sensitivity"), QStringLiteral("x")),
              QStringLiteral("Normal"));
    EXPECT_EQ(fncGetItemValueName(QStringLiteral("Location"), QStringLiteral("Room 4")),
              QStringLiteral("Room 4"));
    EXPECT_EQ(fncGetItemValueName(QStringLiteral("Mileage"), 42), QStringLiteral("42"));
    EXPECT_EQ(fncGetItemValueName(QStringLiteral("TeamTask"), -1), QStringLiteral("True"));
    EXPECT_EQ(fncGetItemValueName(QStringLiteral("NoAging"), true), QStringLiteral("True"));
    EXPECT_EQ(fncGetItemValueName(QStringLiteral("AllDayEvent"), false), QStringLiteral("False"));
}
