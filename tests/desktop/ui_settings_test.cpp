#include <gtest/gtest.h>

#include "core/local_settings.h"
#include "desktop/ui_settings.h"
#include "support/test_env.h"

using namespace tlm;

TEST(UISettings, DefaultsWhenNothingIsStored) {
    test::FreshLocalSettings();
    cUISettings ui;
    ui.ReadReportsUIValues();
    ui.ReadSearchUIValues();
    ui.ReadAuditUIValues();
    EXPECT_EQ(ui.Reports_Width, 12000);
    EXPECT_EQ(ui.Reports_Height, 8000);
    EXPECT_EQ(ui.Search_Width, 12000);
    EXPECT_EQ(ui.Search_ItemsTypeIndex, 2);
    EXPECT_EQ(ui.Audit_ReportTypeIndex, 2);
    EXPECT_TRUE(ui.Reports_SelectedFieldsList_Tasks.isEmpty());
}

TEST(UISettings, RoundTripPerSectionAndTheAuditDateQuirk) {
    test::FreshLocalSettings();
    cUISettings out;
    out.Search_SubjectWidth = 321;
    out.Reports_SelectedFieldsList_Common = QStringLiteral("Subject;Cost");
    out.Reports_ReportTypeIndex = 1;
    out.Audit_QueryByDate = 3;  // written under "TimePeriodIndex", read from "QueryByDate"
    out.Audit_Width = 9000;
    out.SaveSearchUIValues();
    out.SaveReportsUIValues();
    out.SaveAuditUIValues();
    cUISettings in;
    in.ReadSearchUIValues();
    in.ReadReportsUIValues();
    in.ReadAuditUIValues();
    EXPECT_EQ(in.Search_SubjectWidth, 321);
    EXPECT_EQ(in.Reports_SelectedFieldsList_Common, QStringLiteral("Subject;Cost"));
    EXPECT_EQ(in.Reports_ReportTypeIndex, 1);
    EXPECT_EQ(in.Audit_Width, 9000);
    EXPECT_EQ(in.Audit_QueryByDate, 0);
    EXPECT_EQ(
        GetSetting(kSettingsApplication, QStringLiteral("AuditUI"), QStringLiteral("TimePeriodIndex"), {}),
        QStringLiteral("3"));
}

TEST(UISettings, ValueThatIsNoSmallNumberLeavesThePropertyAsItWas) {
    test::FreshLocalSettings();
    SaveSetting(kSettingsApplication, QStringLiteral("SearchUI"), QStringLiteral("Width"),
                QStringLiteral("70000"));
    SaveSetting(kSettingsApplication, QStringLiteral("SearchUI"), QStringLiteral("Height"),
                QStringLiteral("tall"));
    SaveSetting(kSettingsApplication, QStringLiteral("SearchUI"), QStringLiteral("IDWidth"),
                QStringLiteral("77"));
    cUISettings ui;
    ui.Search_Width = 5;
    ui.ReadSearchUIValues();
    EXPECT_EQ(ui.Search_Width, 5);
    EXPECT_EQ(ui.Search_Height, 8000);
    EXPECT_EQ(ui.Search_IDWidth, 77);
}
