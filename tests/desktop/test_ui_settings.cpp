#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "core/local_settings.h"
#include "desktop/ui_settings.h"
#include "support/test_env.h"

using namespace tlm;

TEST(UISettings, DefaultsRoundTripPerSectionAndTheAuditDateQuirk) {
    test::FreshLocalSettings();
    cUISettings out;
    out.ReadReportsUIValues();
    out.ReadSearchUIValues();
    out.ReadAuditUIValues();
    EXPECT_EQ(out.Reports_Height, 8000);
    EXPECT_EQ(out.Search_ItemsTypeIndex, 2);
    EXPECT_EQ(out.Audit_ReportTypeIndex, 2);

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

// A settings file damaged by hand or by a crash of another program: what still reads as a 16-bit
// number is taken, everything else leaves its property as it was, and the next save writes a
// clean file.
TEST(UISettings, DamagedSettingsFile) {
    const QString path = test::FreshLocalSettings();
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    static const char kDamaged[] =
        "[AuditUI]\n"
        "FilterByIndex=2\n"
        "ReportTypeIndex=99999\n"
        "Width=wide\n"
        "Height=\x01\x02\xff\xfe\n"
        "this line has no equals sign\n"
        "=7\n"
        "[ReportsUI]\n"
        "SelectedFieldsListTasks=\"Subject;Cost\"\n"
        "ReportTypeIndex=1e9\n"
        "Width=9000.4\n"
        "[SearchUI\n"
        "IDWidth=\"12\n"
        "\x00\x00\x00trailing binary";
    file.write(kDamaged, sizeof kDamaged - 1);
    file.close();

    cUISettings ui;
    ui.Audit_ReportTypeIndex = 1;
    ui.Audit_Height = 700;
    ui.Reports_ReportTypeIndex = 0;
    ui.Search_Width = 5;
    ui.ReadAuditUIValues();
    ui.ReadSearchUIValues();
    ui.ReadReportsUIValues();
    EXPECT_EQ(ui.Audit_Filterindex, 2);
    EXPECT_EQ(ui.Audit_ReportTypeIndex, 1);  // too large for 16 bits
    EXPECT_EQ(ui.Audit_Width, 12000);        // not a number
    EXPECT_EQ(ui.Audit_Height, 700);
    // Past the broken section header nothing reads: the search keys are absent and take their defaults.
    EXPECT_EQ(ui.Search_Width, 12000);
    EXPECT_EQ(ui.Reports_ReportTypeIndex, 0);
    EXPECT_EQ(ui.Reports_Width, 9000);
    EXPECT_EQ(ui.Reports_SelectedFieldsList_Tasks, QStringLiteral("Subject;Cost"));

    ui.Audit_Width = 9999;
    ui.SaveAuditUIValues();
    cUISettings back;
    back.ReadAuditUIValues();
    EXPECT_EQ(back.Audit_Width, 9999);
    EXPECT_EQ(back.Audit_Height, 700);
}
