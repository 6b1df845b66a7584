// Report presets: what is kept survives the settings text, damaged entries drop out alone, names
// match without regard to case, and a command line replaces exactly the parts of a preset it names.
#include <gtest/gtest.h>

#include "reports/report_presets.h"
#include "reports/report_query.h"

namespace tlm {
namespace {

ReportPreset Weekly() {
    ReportPreset p;
    p.name = QStringLiteral("Weekly");
    p.typeIndex = 0;
    p.period = QStringLiteral("Last Week");
    p.filterIndex = 1;
    p.listText = QStringLiteral("Apollo \"North\"");
    p.ticked = {QStringLiteral("Subject"), QStringLiteral("Total Cost")};
    return p;
}

ReportPreset Range() {
    ReportPreset p;
    p.name = QStringLiteral("March");
    p.typeIndex = 1;
    p.period = kDateRangePeriod;
    p.rangeStart = QDate(2026, 3, 1);
    p.rangeEnd = QDate(2026, 3, 31);
    p.filterIndex = 2;
    p.listText = QStringLiteral("ann");
    p.ticked = {QStringLiteral("Duration")};
    return p;
}

void ExpectSame(const ReportPreset& a, const ReportPreset& b) {
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.typeIndex, b.typeIndex);
    EXPECT_EQ(a.period, b.period);
    EXPECT_EQ(a.rangeStart, b.rangeStart);
    EXPECT_EQ(a.rangeEnd, b.rangeEnd);
    EXPECT_EQ(a.filterIndex, b.filterIndex);
    EXPECT_EQ(a.listText, b.listText);
    EXPECT_EQ(a.ticked, b.ticked);
}

TEST(ReportPresets, KeptTextReadsBackAndDamageCostsOnlyItsEntry) {
    const std::vector<ReportPreset> both{Range(), Weekly()};
    const std::vector<ReportPreset> back = DecodeReportPresets(EncodeReportPresets(both));
    ASSERT_EQ(back.size(), 2u);
    ExpectSame(back[0], both[0]);
    ExpectSame(back[1], both[1]);

    const QString good = QStringLiteral(
        "{\"name\":\"Ok\",\"type\":0,\"period\":\"Today\",\"filter\":0,\"list\":\"\",\"fields\":[\"Subject\"]"
        "}");
    struct Case {
        const char* what;
        QString text;
        QStringList names;
    };
    const Case cases[] = {
        {"not JSON", QStringLiteral("[{"), {}},
        {"not a list", QStringLiteral("{}"), {}},
        {"no name", QStringLiteral("[{\"type\":0,\"period\":\"Today\"},") + good + u']', {"Ok"}},
        {"type out of range",
         QStringLiteral("[{\"name\":\"T\",\"type\":2,\"period\":\"Today\"},") + good + u']',
         {"Ok"}},
        {"unknown period",
         QStringLiteral("[{\"name\":\"P\",\"type\":0,\"period\":\"Someday\"},") + good + u']',
         {"Ok"}},
        {"range without dates",
         QStringLiteral("[{\"name\":\"R\",\"type\":0,\"period\":\"Date Range..\"},") + good + u']',
         {"Ok"}},
        {"filter out of range",
         QStringLiteral("[{\"name\":\"F\",\"type\":0,\"period\":\"Today\",\"filter\":3},") + good + u']',
         {"Ok"}},
        {"a second entry of one name", u'[' + good + u',' + good + u']', {"Ok"}},
    };
    for (const Case& c : cases) {
        QStringList names;
        for (const ReportPreset& p : DecodeReportPresets(c.text))
            names.append(p.name);
        EXPECT_EQ(names, c.names) << c.what;
    }
}

TEST(ReportPresets, NamesMatchWithoutCaseAndStayInOrder) {
    std::vector<ReportPreset> list;
    PutReportPreset(list, Weekly());
    PutReportPreset(list, Range());
    ReportPreset again = Weekly();
    again.name = QStringLiteral(" weekly ");
    again.period = QStringLiteral("This Week");
    PutReportPreset(list, again);  // replaces, does not add
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].name, QStringLiteral("March"));
    EXPECT_EQ(list[1].name, QStringLiteral("weekly"));
    ASSERT_NE(FindReportPreset(list, QStringLiteral("WEEKLY")), nullptr);
    EXPECT_EQ(FindReportPreset(list, QStringLiteral("WEEKLY"))->period, QStringLiteral("This Week"));
    EXPECT_EQ(FindReportPreset(list, QStringLiteral("Monthly")), nullptr);
    EXPECT_FALSE(RemoveReportPreset(list, QStringLiteral("Monthly")));
    EXPECT_TRUE(RemoveReportPreset(list, QStringLiteral("march")));
    ASSERT_EQ(list.size(), 1u);

    // A filter without a name is no filter, and a range is kept only for "Date Range..".
    ReportChoices c;
    c.typeIndex = 0;
    c.period = QStringLiteral("Today");
    c.rangeStart = QDate(2026, 1, 1);
    c.rangeEnd = QDate(2026, 1, 2);
    c.filterIndex = 1;
    c.ticked = {QStringLiteral("Subject")};
    const ReportPreset fromScreen = PresetOfChoices(QStringLiteral("  Mine "), c);
    EXPECT_EQ(fromScreen.name, QStringLiteral("Mine"));
    EXPECT_EQ(fromScreen.filterIndex, 0);
    EXPECT_FALSE(fromScreen.rangeStart.isValid());
}

TEST(ReportPresets, TheLineReplacesThePartsItNames) {
    struct Case {
        const char* what;
        ReportPreset preset;
        ReportRequest line;
        int type;
        QString period;
        QDate from, to;
        QString project, member;
        std::optional<QStringList> fields;
    };
    ReportRequest none;
    ReportRequest period;
    period.period = QStringLiteral("this month");
    ReportRequest from;
    from.from = QDate(2026, 2, 1);
    ReportRequest member;
    member.member = QStringLiteral("bo");
    ReportRequest type;
    type.typeIndex = 1;
    ReportRequest typeAndFields;
    typeAndFields.typeIndex = 1;
    typeAndFields.fields = QStringList{QStringLiteral("Location")};
    ReportRequest sameType;
    sameType.typeIndex = 0;
    const QStringList weeklyFields = Weekly().ticked;
    const Case cases[] = {
        {"the preset alone", Weekly(), none, 0, "Last Week", {}, {}, "Apollo \"North\"", "", weeklyFields},
        {"a range preset", Range(), none, 1, "", QDate(2026, 3, 1), QDate(2026, 3, 31), "", "ann",
         QStringList{QStringLiteral("Duration")}},
        {"a period replaces the range",
         Range(),
         period,
         1,
         "this month",
         {},
         {},
         "",
         "ann",
         QStringList{QStringLiteral("Duration")}},
        {"one end of a range replaces the period",
         Weekly(),
         from,
         0,
         "",
         QDate(2026, 2, 1),
         {},
         "Apollo \"North\"",
         "",
         weeklyFields},
        {"a member replaces the project", Weekly(), member, 0, "Last Week", {}, {}, "", "bo", weeklyFields},
        {"another type drops the fields",
         Weekly(),
         type,
         1,
         "Last Week",
         {},
         {},
         "Apollo \"North\"",
         "",
         std::nullopt},
        {"the same type keeps them",
         Weekly(),
         sameType,
         0,
         "Last Week",
         {},
         {},
         "Apollo \"North\"",
         "",
         weeklyFields},
        {"fields given are taken",
         Weekly(),
         typeAndFields,
         1,
         "Last Week",
         {},
         {},
         "Apollo \"North\"",
         "",
         QStringList{QStringLiteral("Location")}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const ReportRequest r = RequestWithPreset(c.preset, c.line);
        ASSERT_TRUE(r.typeIndex.has_value());
        EXPECT_EQ(*r.typeIndex, c.type);
        EXPECT_EQ(r.period, c.period);
        EXPECT_EQ(r.from, c.from);
        EXPECT_EQ(r.to, c.to);
        EXPECT_EQ(r.project, c.project);
        EXPECT_EQ(r.member, c.member);
        EXPECT_EQ(r.fields, c.fields);
    }
}

}  // namespace
}  // namespace tlm
