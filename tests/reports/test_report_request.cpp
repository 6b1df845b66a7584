// The choices shared by the reports window and the command line: stored ticks, the chosen fields,
// the prepared query, and an export that must not be empty writing nothing at all.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QDir>
#include <QFile>

#include "database/db_fixture.h"
#include "reports/report_export.h"
#include "reports/report_fields.h"
#include "reports/report_request.h"
#include "settings/global_settings.h"

namespace tlm {
namespace {

cReportFields Fields() {
    cGeneralSettings gs;
    gs.SetValue(QStringLiteral("tpoActiveCustomField2"), 1);
    gs.SetValue(QStringLiteral("tpoTitleCustomField2"), QStringLiteral("Room"));
    cReportFields f;
    f.LoadFieldsToDictionaries(gs, QStringLiteral("Client"), QStringLiteral("Task"));
    return f;
}

TEST(ReportChoicesShared, StoredTicksComeInListOrderAndIdAloneIsNoChoice) {
    const cReportFields f = Fields();
    // Stored in any order, with a name no longer offered and a differently cased one.
    const QStringList ticked = StoredTicks(
        f.dicAppointmentFields, QStringLiteral("Total Cost\r\nGone Field\r\nsubject\r\nID\r\nRoom"));
    EXPECT_EQ(ticked, (QStringList{QStringLiteral("ID"), QStringLiteral("Subject"), QStringLiteral("Room"),
                                   QStringLiteral("Total Cost")}));
    EXPECT_EQ(CountChosenFields(f.dicTaskFields, {QStringLiteral("ID")}), 0);
    EXPECT_EQ(CountChosenFields(f.dicTaskFields, {QStringLiteral("ID"), QStringLiteral("Subject")}), 1);
    EXPECT_EQ(
        SelectedFieldNames({QStringLiteral(" Subject "), QStringLiteral("subject"), QStringLiteral("Room")}),
        (QStringList{QStringLiteral("Subject"), QStringLiteral("Room")}));
    EXPECT_EQ(StoredTickList(0, QStringLiteral("t"), QStringLiteral("a")), QStringLiteral("t"));
    EXPECT_EQ(StoredTickList(2, QStringLiteral("t"), QStringLiteral("a")), QString());
    EXPECT_EQ(ReportProjectTitle(QStringLiteral("  ")), QStringLiteral("Project"));
}

TEST(ReportChoicesShared, PreparedReportCarriesTableFilterAndColumns) {
    const cReportFields f = Fields();
    ReportChoices c;
    c.typeIndex = 1;
    c.period = kDateRangePeriod;
    c.rangeStart = QDate(2026, 3, 1);
    c.rangeEnd = QDate(2026, 3, 31);
    c.filterIndex = 1;
    c.listText = QStringLiteral("Apollo");
    c.ticked = {QStringLiteral("Subject"), QStringLiteral("Due Date"), QStringLiteral("Room")};
    ReportContext x;
    x.now = QDateTime(QDate(2026, 4, 2), QTime(8, 0));
    const PreparedReport r = PrepareReport(f, c, x);
    EXPECT_EQ(r.def.sql.sql(),
              QStringLiteral("Select * from tReportedAppointments where ReportedDate between "
                             "#2026-3-1 00:00:00# and #2026-3-31 23:59:00# and ProjectValue = "
                             "'Apollo' ORDER BY ProjectValue DESC"));
    EXPECT_EQ(r.tag, QStringLiteral("Apollo: "));
    ASSERT_EQ(r.def.exports.size(), 3u);
    EXPECT_EQ(r.def.exports[1].column, QStringLiteral("EndDate"));  // Due Date of an appointment
    EXPECT_EQ(r.def.page[1].column, QStringLiteral("DueDate"));
    EXPECT_EQ(r.def.exports[2].column, QStringLiteral("Field2Value"));
    // A filter kind chosen without a name adds no filter and no tag.
    c.listText.clear();
    const PreparedReport none = PrepareReport(f, c, x);
    EXPECT_FALSE(none.def.sql.sql().contains(QStringLiteral("ORDER BY")));
    EXPECT_TRUE(none.tag.isEmpty());
    const QString page =
        ComposeReportPage(r, QStringLiteral("ann"), QStringLiteral("now"), true, QStringLiteral("S"));
    EXPECT_TRUE(page.contains(QStringLiteral("<title>Reports SummaryApollo: </title>")));
    EXPECT_TRUE(page.contains(ChartImageHtml() + QStringLiteral("S</body></html>")));
}

class RequiredRows : public test::EngineTest {};

TEST_P(RequiredRows, AnEmptyReportWritesNothingWhenRowsAreRequired) {
    OpenFreshDatabase();
    const cReportFields f = Fields();
    ReportChoices c;
    c.typeIndex = 0;
    c.period = QStringLiteral("Today");
    c.ticked = {QStringLiteral("Subject")};
    ReportContext x;
    x.dbChoice = IsSqlite() ? 0 : 1;
    x.now = QDateTime::currentDateTime();
    const ReportDefinition def = PrepareReport(f, c, x).def;
    for (const ExportFormat format : {ExportFormat::Excel, ExportFormat::Text, ExportFormat::Html}) {
        const QString path = dir + QStringLiteral("/empty.out");
        const ExportOutcome refused =
            ExportReport(CurrentConnection(), def, format, path, false, {}, {}, true);
        EXPECT_TRUE(refused.empty);
        EXPECT_FALSE(refused.ok);
        EXPECT_FALSE(QFile::exists(path));
    }
    EXPECT_EQ(QDir(dir).entryList({QStringLiteral(".*export*")}, QDir::Files | QDir::Hidden), QStringList{});
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    EXPECT_TRUE(ExportReportTo(&buffer, CurrentConnection(), def, ExportFormat::Xml, {}, {}, true).empty);
    EXPECT_TRUE(buffer.data().isEmpty());
    // Without the demand the heading and the summary row are written as before.
    EXPECT_TRUE(ExportReportTo(&buffer, CurrentConnection(), def, ExportFormat::Text, {}, {}, false).ok);
    EXPECT_EQ(buffer.data(), QByteArray("Subject\r\n\r\n"));
    EXPECT_FALSE(ExportReportTo(&buffer, CurrentConnection(), def, ExportFormat::Excel, {}, {}, false).ok);
}

INSTANTIATE_TEST_SUITE_P(Engines, RequiredRows, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

}  // namespace
}  // namespace tlm
