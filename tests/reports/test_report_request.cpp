// The choices shared by the reports window and the command line: stored ticks, the chosen fields,
// the prepared query, and an export that must not be empty writing nothing at all.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <functional>

#include "database/db_fixture.h"
#include "reports/report_export.h"
#include "reports/report_fields.h"
#include "reports/report_query.h"
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

// The command line's names become the choices the screen would hold; what names nothing offered is
// said by kind, with the name as given.
TEST(ReportChoicesShared, RequestsBecomeTheScreensChoicesOrNameWhatIsUnknown) {
    using Kind = ReportChoicesOutcome::Kind;
    const cReportFields f = Fields();
    cDBSettings global;
    cProject apollo;
    apollo.ProjectName = QStringLiteral("Apollo");
    global.Projects.Items.Add(apollo.ProjectName, apollo);
    cMember ann;
    ann.Name = QStringLiteral("Ann Lee");
    global.Members.Items.Add(ann.Name, ann);
    const QDate today(2026, 4, 2);
    StoredReportChoices stored;
    stored.typeIndex = 0;
    stored.periodIndex = 5;
    stored.tasksTicks = QStringLiteral("Total Cost\r\nSubject");
    stored.appointmentsTicks = QStringLiteral("Room");
    const QStringList storedTicks{QStringLiteral("Subject"), QStringLiteral("Total Cost")};

    const auto with = [](std::function<void(ReportRequest&)> change) {
        ReportRequest r;
        change(r);
        return r;
    };
    const auto storedWith = [&](std::function<void(StoredReportChoices&)> change) {
        StoredReportChoices s = stored;
        change(s);
        return s;
    };
    const struct {
        const char* what;
        ReportRequest request;
        StoredReportChoices stored;
        Kind kind;
        int typeIndex;
        QString period;
        int filterIndex;
        QString listText;
        QStringList ticked;
        QString name;  // the unknown name
    } cases[] = {
        {"nothing given: all stored", {}, stored, Kind::Chosen, 0, "Last Month", 0, {}, storedTicks, {}},
        {"a stored type other than tasks",
         {},
         storedWith([](auto& s) { s.typeIndex = 7; }),
         Kind::Chosen,
         1,
         "Last Month",
         0,
         {},
         {"Room"},
         {}},
        {"a stored period past the list",
         {},
         storedWith([](auto& s) { s.periodIndex = 42; }),
         Kind::Chosen,
         0,
         "Today",
         0,
         {},
         storedTicks,
         {}},
        {"a period in other letters",
         with([](auto& r) { r.period = "last week"; }),
         stored,
         Kind::Chosen,
         0,
         "Last Week",
         0,
         {},
         storedTicks,
         {}},
        {"the range without its dots",
         with([](auto& r) { r.period = "date range"; }),
         stored,
         Kind::Chosen,
         0,
         kDateRangePeriod,
         0,
         {},
         storedTicks,
         {}},
        {"a period nobody offers",
         with([](auto& r) { r.period = "Fortnight"; }),
         stored,
         Kind::UnknownPeriod,
         0,
         {},
         0,
         {},
         {},
         "Fortnight"},
        {"a project in capitals",
         with([](auto& r) { r.project = "APOLLO"; }),
         stored,
         Kind::Chosen,
         0,
         "Last Month",
         1,
         "Apollo",
         storedTicks,
         {}},
        {"a member in small letters",
         with([](auto& r) { r.member = "ann lee"; }),
         stored,
         Kind::Chosen,
         0,
         "Last Month",
         2,
         "Ann Lee",
         storedTicks,
         {}},
        {"an unknown project",
         with([](auto& r) { r.project = "Zeus"; }),
         stored,
         Kind::UnknownProject,
         0,
         {},
         0,
         {},
         {},
         "Zeus"},
        {"an unknown member",
         with([](auto& r) { r.member = "Bob"; }),
         stored,
         Kind::UnknownMember,
         0,
         {},
         0,
         {},
         {},
         "Bob"},
        {"fields in another order and case",
         with([](auto& r) {
             r.fields = QStringList{" total cost", "SUBJECT"};
         }),
         stored,
         Kind::Chosen,
         0,
         "Last Month",
         0,
         {},
         storedTicks,
         {}},
        {"appointment fields",
         with([](auto& r) {
             r.typeIndex = 1;
             r.fields = QStringList{"room"};
         }),
         stored,
         Kind::Chosen,
         1,
         "Last Month",
         0,
         {},
         {"Room"},
         {}},
        {"a field of the other type",
         with([](auto& r) { r.fields = QStringList{"Location"}; }),
         stored,
         Kind::UnknownField,
         0,
         {},
         0,
         {},
         {},
         "Location"},
        {"the ID alone",
         with([](auto& r) { r.fields = QStringList{"id"}; }),
         stored,
         Kind::NoFields,
         0,
         {},
         0,
         {},
         {},
         {}},
        {"nothing ticked and none given",
         {},
         storedWith([](auto& s) { s.tasksTicks.clear(); }),
         Kind::NoFields,
         0,
         {},
         0,
         {},
         {},
         {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const ReportChoicesOutcome out = ChooseReport(c.request, c.stored, f, global, today);
        ASSERT_EQ(int(out.kind), int(c.kind));
        EXPECT_EQ(out.name, c.name);
        if (c.kind != Kind::Chosen)
            continue;
        EXPECT_EQ(out.choices.typeIndex, c.typeIndex);
        EXPECT_EQ(out.choices.period, c.period);
        EXPECT_EQ(out.choices.filterIndex, c.filterIndex);
        EXPECT_EQ(out.choices.listText, c.listText);
        EXPECT_EQ(out.choices.ticked, c.ticked);
        EXPECT_EQ(out.choices.rangeStart, QDate(2026, 3, 26));
        EXPECT_EQ(out.choices.rangeEnd, today);
    }
    // The unknown names come with what is offered instead.
    ReportRequest period;
    period.period = QStringLiteral("Fortnight");
    EXPECT_EQ(ChooseReport(period, stored, f, global, today).offered, ReportPeriodNames());
    ReportRequest field;
    field.fields = QStringList{QStringLiteral("Colour")};
    const QStringList offered = ChooseReport(field, stored, f, global, today).offered;
    EXPECT_TRUE(offered.contains(QStringLiteral("Subject")));
    EXPECT_FALSE(offered.contains(QStringLiteral("Location"))) << "a task has no location";
    // Either date makes a range; the other end stays as the screen proposes it.
    ReportRequest from;
    from.from = QDate(2026, 3, 1);
    const ReportChoices range = ChooseReport(from, stored, f, global, today).choices;
    EXPECT_EQ(range.period, kDateRangePeriod);
    EXPECT_EQ(range.rangeStart, QDate(2026, 3, 1));
    EXPECT_EQ(range.rangeEnd, today);
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

// Each way an export or a page run ends has its own kind; the command line's exit code comes from it.
TEST_P(RequiredRows, EveryEndOfAnExportOrAPageHasItsKind) {
    using Kind = ReportOutcome::Kind;
    OpenFreshDatabase();
    const cReportFields f = Fields();
    ReportChoices c;
    c.typeIndex = 0;
    c.period = QStringLiteral("Today");
    c.ticked = {QStringLiteral("Subject")};
    ReportContext x;
    x.dbChoice = IsSqlite() ? 0 : 1;
    x.now = QDateTime::currentDateTime();
    Exec(QStringLiteral("INSERT INTO tReportedTasks (Subject, ReportedBy, ReportedDate, Approved) "
                        "VALUES ('One', 'ann', ?, 0)"),
         {x.now});
    c.typeIndex = 1;  // no appointment was reported
    const ReportDefinition none = PrepareReport(f, c, x).def;
    c.typeIndex = 0;
    const ReportDefinition rows = PrepareReport(f, c, x).def;
    ReportDefinition broken = rows;
    broken.sql = SqlText(QStringLiteral("Select * from tNoSuchTable"));
    // A folder that cannot be: its name is taken by a file.
    const QString unwritable = dir + QStringLiteral("/plain");
    {
        QFile plain(unwritable);
        ASSERT_TRUE(plain.open(QIODevice::WriteOnly));
    }
    const QString missing = unwritable + QStringLiteral("/out.");
    const struct {
        const char* what;
        const ReportDefinition* def;
        ExportFormat format;
        QString path;
        Kind kind;
    } cases[] = {
        {"rows to a text file", &rows, ExportFormat::Text, dir + QStringLiteral("/out.txt"), Kind::Written},
        {"rows to a workbook", &rows, ExportFormat::Excel, dir + QStringLiteral("/out.xlsx"), Kind::Written},
        {"no rows", &none, ExportFormat::Html, dir + QStringLiteral("/none.htm"), Kind::NothingToExport},
        {"a folder that cannot be made", &rows, ExportFormat::Text, missing + QStringLiteral("txt"),
         Kind::WriteFailed},
        {"a workbook in a folder that cannot be made", &rows, ExportFormat::Excel,
         missing + QStringLiteral("xlsx"), Kind::WriteFailed},
        {"a query the database refuses", &broken, ExportFormat::Text, dir + QStringLiteral("/broken.txt"),
         Kind::QueryFailed},
        {"a refused query to a folder that cannot be made", &broken, ExportFormat::Text,
         missing + QStringLiteral("txt"), Kind::WriteFailed},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        const ReportOutcome out =
            ReportOutcomeOf(ExportReport(CurrentConnection(), *k.def, k.format, k.path, false, {}, {}, true));
        EXPECT_EQ(int(out.kind), int(k.kind)) << out.failure.description.toStdString();
        EXPECT_EQ(QFile::exists(k.path), k.kind == Kind::Written);
        EXPECT_EQ(out.failure.isSet(), k.kind == Kind::WriteFailed || k.kind == Kind::QueryFailed);
    }
    // The page: the same kinds from its run.
    EXPECT_EQ(int(ReportOutcomeOf(RunReport(CurrentConnection(), rows)).kind), int(Kind::Written));
    EXPECT_EQ(int(ReportOutcomeOf(RunReport(CurrentConnection(), none)).kind), int(Kind::NothingToExport));
    EXPECT_EQ(int(ReportOutcomeOf(RunReport(CurrentConnection(), broken)).kind), int(Kind::QueryFailed));
}

INSTANTIATE_TEST_SUITE_P(Engines, RequiredRows, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

}  // namespace
}  // namespace tlm
