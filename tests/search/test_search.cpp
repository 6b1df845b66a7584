#include <gtest/gtest.h>

#include "database/connection.h"
#include "domain/domain_test_fixture.h"
#include "reported/sample_data.h"
#include "search/search_query.h"
#include "search/search_results.h"
#include "search/search_test_rows.h"

#include <QSet>
#include <algorithm>

namespace tlm::test {
namespace {

const QString kStart = QStringLiteral("Select * from TABLENAME where ");

SearchCriteria Base(const QString& by) {
    SearchCriteria c;
    c.searchBy = by;
    c.on = QDate(2026, 3, 7);
    c.start = QDate(2026, 3, 1);
    c.end = QDate(2026, 11, 9);
    c.customTitles = {QStringLiteral("Region"), QStringLiteral("Team"), QStringLiteral("Region"),
                      QStringLiteral("Keyword")};
    c.customValues = {QStringLiteral("North"), QStringLiteral("Blue"), QStringLiteral("Unused"),
                      QStringLiteral("Never")};
    return c;
}

QString Compose(const SearchCriteria& c, qint32 dbChoice) {
    return ComposeSearchSQL(c, dbChoice).value_or(QStringLiteral("<no query>"));
}

TEST(SearchQuery, DateCriteriaTakeTheFormOfTheDatabaseKind) {
    struct Case {
        const char* by;
        const char* access;
        const char* server;
    };
    const Case cases[] = {
        {"Reported On", "ReportedDate between #2026-3-7 00:00:00# and  #2026-3-7 23:59:00#",
         "cast(CONVERT(varchar(8), ReportedDate, 112) AS datetime) = '2026-3-7'"},
        {"Reported Between", "ReportedDate between #2026-3-1 00:00:00# and #2026-11-9 23:59:00#",
         "cast(CONVERT(varchar(8), ReportedDate, 112) AS datetime) >= '2026-3-1' and "
         "cast(CONVERT(varchar(8), ReportedDate, 112) AS datetime) <= '2026-11-9'"},
        {"Due On", "DueDate = #2026-3-7#",
         "cast(CONVERT(varchar(8), DueDate, 112) AS datetime) = '2026-3-7'"},
        {"Due Between", "DueDate >= #2026-3-1# and DueDate <= #2026-11-9#",
         "cast(CONVERT(varchar(8), DueDate, 112) AS datetime) >= '2026-3-1' and "
         "cast(CONVERT(varchar(8), DueDate, 112) AS datetime) <= '2026-11-9'"},
    };
    for (const Case& c : cases) {
        const SearchCriteria criteria = Base(QString::fromLatin1(c.by));
        EXPECT_EQ(Compose(criteria, 0), kStart + QString::fromLatin1(c.access)) << c.by;
        // Every kind but 0 takes the server form.
        EXPECT_EQ(Compose(criteria, 1), kStart + QString::fromLatin1(c.server)) << c.by;
        EXPECT_EQ(Compose(criteria, 2), kStart + QString::fromLatin1(c.server)) << c.by;
    }
    // Appointments have no DueDate: every DueDate of the text becomes EndDate, a value's too.
    EXPECT_EQ(
        SearchSQLForTable(Compose(Base(QStringLiteral("Due Between")), 0), true),
        QStringLiteral(
            "Select * from tReportedAppointments where EndDate >= #2026-3-1# and EndDate <= #2026-11-9#"));
    EXPECT_EQ(SearchSQLForTable(Compose(Base(QStringLiteral("Due On")), 1), false),
              QStringLiteral(
                  "Select * from tReportedTasks where cast(CONVERT(varchar(8), DueDate, 112) AS datetime) = "
                  "'2026-3-7'"));
    SearchCriteria kw = Base(QStringLiteral("Keyword"));
    kw.keyword = QStringLiteral("DueDate");
    EXPECT_TRUE(SearchSQLForTable(Compose(kw, 0), true).contains(QStringLiteral("(Body Like '%EndDate%')")));
}

TEST(SearchQuery, ValueCriteriaAreTheSameInBothFormsAndUnescaped) {
    struct Case {
        const char* by;
        const char* costFunction;  // for "By Cost"
        const char* where;
    };
    // Custom 1 and 3 share the title "Region": the first wins. "About" is no known comparison.
    const Case cases[] = {
        {"Reported By", "", "ReportedBy ='O'Brien' ORDER BY ReportedBy DESC"},
        {"By Cost", "Greater or Equal to", "TotalCost >= 100.5 ORDER BY TotalCost DESC"},
        {"By Cost", "Less or Equal to", "TotalCost <= 100.5 ORDER BY TotalCost DESC"},
        {"By Cost", "Equal To", "TotalCost = 100.5 ORDER BY TotalCost DESC"},
        {"By Cost", "About", "TotalCost  100.5 ORDER BY TotalCost DESC"},
        {"Region", "", "Field1Value ='North' ORDER BY Field1Value DESC"},
        {"Team", "", "Field2Value ='Blue' ORDER BY Field2Value DESC"},
    };
    for (const Case& k : cases) {
        SearchCriteria c = Base(QString::fromLatin1(k.by));
        c.member = QStringLiteral("O'Brien");
        c.costFunction = QString::fromLatin1(k.costFunction);
        c.costValue = QStringLiteral("100.5");
        for (qint32 kind : {0, 1})
            EXPECT_EQ(Compose(c, kind), kStart + QString::fromLatin1(k.where)) << k.by << ' ' << kind;
    }
    // A custom title never beats a fixed entry.
    SearchCriteria keywordTitle = Base(QStringLiteral("Keyword"));
    keywordTitle.keyword = QStringLiteral("x");
    EXPECT_TRUE(Compose(keywordTitle, 1).contains(QStringLiteral("(Body Like '%x%')")));
}

TEST(SearchQuery, KeywordSearchesFourteenColumnsOrStopsBeforeAnyQuery) {
    SearchCriteria c = Base(QStringLiteral("Keyword"));
    c.keyword = QStringLiteral("au*it");
    const QString expected =
        kStart + QStringLiteral(
                     " ((Body Like '%au*it%') or (Subject Like '%au*it%') or (ID Like '%au*it%') or "
                     "(ProjectValue Like '%au*it%') or (ActivityValue Like '%au*it%') or (ReportedBy Like "
                     "'%au*it%') or (Field1Value Like '%au*it%') or (Field2Value Like '%au*it%') or "
                     "(Field3Value Like '%au*it%') or (Field4Value Like '%au*it%') or (Field5Value Like "
                     "'%au*it%') or (Field6Value Like '%au*it%') or (Field7Value Like '%au*it%') or "
                     "(Field8Value Like '%au*it%'))");
    EXPECT_EQ(Compose(c, 0), expected);
    EXPECT_EQ(Compose(c, 1), expected);
    for (const char* stop : {"", "*"}) {
        c.keyword = QString::fromLatin1(stop);
        EXPECT_FALSE(ComposeSearchSQL(c, 0).has_value()) << stop;
    }
    c.keyword = QStringLiteral("**");
    EXPECT_TRUE(ComposeSearchSQL(c, 0).has_value());
}

TEST(SearchQuery, ProjectBranchIsReachedOnlyByTheLiteralEntry) {
    SearchCriteria c = Base(QStringLiteral("Project/Task"));
    c.project = QStringLiteral("Apollo");
    c.activity = QStringLiteral("Design");
    EXPECT_EQ(Compose(c, 1),
              kStart + QStringLiteral("ProjectValue = 'Apollo' and ActivityValue = 'Design' ORDER BY "
                                      "ProjectValue DESC"));
    c.activity.clear();
    EXPECT_EQ(Compose(c, 0), kStart + QStringLiteral("ProjectValue = 'Apollo' ORDER BY ProjectValue DESC"));
    c.project.clear();
    c.activity = QStringLiteral("Design");
    EXPECT_EQ(Compose(c, 0), kStart);
    // The entry as the default titles build it matches no branch.
    c = Base(FixedSearchEntries(QStringLiteral("Project"), QStringLiteral("Activity")).at(2));
    c.project = QStringLiteral("Apollo");
    EXPECT_EQ(Compose(c, 0), kStart);
    EXPECT_EQ(FixedSearchEntries(QStringLiteral("Project"), QStringLiteral("Task")).at(2),
              QStringLiteral("Project/Task"));
}

// ---- against the database -------------------------------------------------------------------

class SearchDbTest : public DomainDbTest {
  protected:
    void SetUp() override {
        DomainDbTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        InsertSearchRows([this](const QString& sql, const QVariantList& v) { Exec(sql, v); });
    }
    qint32 Kind() const { return IsSqlite() ? 0 : 1; }
    // Runs the search; the keys found, in order.
    QStringList Keys(const SearchCriteria& c, bool* ok = nullptr) {
        SearchResults results;
        const bool done = RunSearch(CurrentConnection(), c, Kind(), results);
        if (ok)
            *ok = done;
        QStringList keys;
        for (int i = 0; i < results.Count(); ++i)
            keys.append(results.Key(i));
        return keys;
    }
    SearchCriteria For(const QString& by, int types) {
        SearchCriteria c = Base(by);
        c.itemsTypeIndex = types;
        return c;
    }
    static constexpr int kTasks = 0, kAppointments = 1, kBoth = 2;
};

TEST_P(SearchDbTest, EachCriterionFindsItsRowsTasksBeforeAppointments) {
    SearchCriteria c = For(QStringLiteral("Keyword"), kBoth);
    c.keyword = QStringLiteral("AUDIT");  // any case
    EXPECT_EQ(Keys(c), QStringList({"T7", "A7"}));
    c.keyword = QStringLiteral("ngstr");  // in ReportedBy of a name with non-ASCII letters
    EXPECT_EQ(Keys(c), QStringList({"T8"}));
    c.itemsTypeIndex = kAppointments;
    c.keyword = QStringLiteral("9");  // the ID column is searched as text
    EXPECT_EQ(Keys(c), QStringList({"A9"}));

    c = For(QStringLiteral("Reported On"), kBoth);  // 2026-3-7, up to 23:59
    EXPECT_EQ(Keys(c), QStringList({"T7", "A7"}));
    c = For(QStringLiteral("Reported Between"), kBoth);
    c.start = QDate(2026, 3, 8);
    c.end = QDate(2026, 3, 8);
    EXPECT_EQ(Keys(c), QStringList({"T8"}));

    // Appointments are tested on their end date.
    c = For(QStringLiteral("Due On"), kAppointments);
    c.on = QDate(2026, 2, 3);
    EXPECT_EQ(Keys(c), QStringList({"A9"}));
    c = For(QStringLiteral("Due Between"), kBoth);
    c.start = QDate(2026, 3, 9);
    c.end = QDate(2026, 3, 10);
    EXPECT_EQ(Keys(c), QStringList({"T7", "A7"}));

    c = For(QStringLiteral("By Cost"), kBoth);
    c.costFunction = QStringLiteral("Greater or Equal to");
    c.costValue = QStringLiteral("80");
    EXPECT_EQ(Keys(c), QStringList({"T7", "A9", "A7"}));  // each table by cost, highest first
    c.costFunction = QStringLiteral("Less or Equal to");
    c.costValue = QStringLiteral("125.5");
    c.itemsTypeIndex = kTasks;
    EXPECT_EQ(Keys(c), QStringList({"T7", "T8"}));

    c = For(QStringLiteral("Reported By"), kBoth);
    c.member = QStringLiteral("Robin");
    EXPECT_EQ(Keys(c), QStringList({"T7", "A7"}));
    c = For(QStringLiteral("Region"), kAppointments);
    EXPECT_EQ(Keys(c), QStringList({"A7"}));
    c = For(QStringLiteral("Project/Task"), kBoth);
    c.project = QStringLiteral("Hermes");
    EXPECT_EQ(Keys(c), QStringList({"T8", "A9"}));
    c.activity = QStringLiteral("Build");
    EXPECT_EQ(Keys(c), QStringList({"T8"}));
    EXPECT_TRUE(presenter.reports.isEmpty()) << AllShownText().toStdString();
}

TEST_P(SearchDbTest, RecordsCarryTheirOwnTableValues) {
    SearchCriteria c = For(QStringLiteral("Region"), kBoth);
    SearchResults results;
    ASSERT_TRUE(RunSearch(CurrentConnection(), c, Kind(), results));
    ASSERT_EQ(results.Count(), 2);
    EXPECT_FALSE(results.IsAppointment(0));
    EXPECT_TRUE(results.IsAppointment(1));
    EXPECT_EQ(results.Find(QStringLiteral("A7")), 1);
    EXPECT_EQ(results.Find(QStringLiteral("T8")), -1);
    const auto& task = std::get<cTaskData>(results.At(0));
    const auto& appt = std::get<cAppointmentData>(results.At(1));
    EXPECT_EQ(task.DueDate, QDateTime(QDate(2026, 3, 10), QTime(0, 0)));
    EXPECT_EQ(appt.EndDate, QDateTime(QDate(2026, 3, 10), QTime(0, 0)));
    const auto row = SearchRowValues(results.Common(0));
    EXPECT_EQ(row[0], QStringLiteral("Quarterly audit"));
    EXPECT_EQ(row[1], QStringLiteral("7"));
    EXPECT_EQ(row[2], QStringLiteral("Robin"));
    EXPECT_EQ(row[3], QStringLiteral("Apollo"));
    EXPECT_EQ(row[4], QStringLiteral("Design"));
    EXPECT_EQ(row[5], QStringLiteral("125.5"));
    EXPECT_EQ(row[6], QLocale::system().toString(QDate(2026, 3, 7), QLocale::ShortFormat));
}

TEST_P(SearchDbTest, FailuresGoToTheSharedPathAndNeverRunASecondStatement) {
    SearchCriteria c = For(QStringLiteral("Keyword"), kBoth);
    c.keyword = QStringLiteral("O'Brien");
    bool ok = true;
    EXPECT_TRUE(Keys(c, &ok).isEmpty());
    EXPECT_FALSE(ok);
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(presenter.reports[0].contains(QStringLiteral("In Function: Search.cmdRetrieve.Click")))
        << presenter.reports[0].toStdString();

    // A value that closes the quote and adds a statement is refused as a whole.
    ResetErrorReportingForTests();
    c.keyword = QStringLiteral("x%'); delete from tReportedTasks; --");
    EXPECT_TRUE(Keys(c, &ok).isEmpty());
    EXPECT_FALSE(ok);
    EXPECT_EQ(presenter.reports.size(), 2);
    EXPECT_EQ(Count(QStringLiteral("tReportedTasks")), 2);

    // Titles other than "Project" and "Task" leave the dangling "where " for the database to refuse.
    ResetErrorReportingForTests();
    c = For(FixedSearchEntries(global->ProjectTitle, global->ActivityTitle).at(2), kTasks);
    c.project = QStringLiteral("Apollo");
    EXPECT_TRUE(Keys(c, &ok).isEmpty());
    EXPECT_FALSE(ok);
    EXPECT_EQ(presenter.reports.size(), 3);
}

TEST_P(SearchDbTest, DeleteRemovesOnlyTheRowOfItsTable) {
    EXPECT_EQ(TableForKey(QStringLiteral("T7")), QStringLiteral("tReportedTasks"));
    EXPECT_EQ(TableForKey(QStringLiteral("A7")), QStringLiteral("tReportedAppointments"));
    EXPECT_EQ(TableForKey(QStringLiteral("x7")), QStringLiteral("tReportedAppointments"));
    ASSERT_TRUE(deleteReport(CurrentConnection(), TableForKey(QStringLiteral("T7")), 7));
    EXPECT_EQ(Column(QStringLiteral("SELECT ID FROM tReportedTasks")), QStringList({"8"}));
    EXPECT_EQ(Column(QStringLiteral("SELECT ID FROM tReportedAppointments ORDER BY ID")),
              QStringList({"7", "9"}));
    SearchCriteria c = For(QStringLiteral("Keyword"), kBoth);
    c.keyword = QStringLiteral("audit");
    EXPECT_EQ(Keys(c), QStringList({"A7"}));

    EXPECT_FALSE(deleteReport(CurrentConnection(), QStringLiteral("tNoSuchTable"), 1));
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(presenter.reports[0].contains(QStringLiteral("In Function: Search.deleteReport")));
}

TEST_P(SearchDbTest, PrintPagesFollowTheListPositionsThroughThePrintTemplate) {
    SearchCriteria c = For(QStringLiteral("Region"), kBoth);
    SearchResults results;
    ASSERT_TRUE(RunSearch(CurrentConnection(), c, Kind(), results));
    ASSERT_EQ(results.Count(), 2);
    const QString tmpl = global->MessageTemplates.GetValue(QStringLiteral("tpoPrintTemplate")).toString();
    ASSERT_TRUE(tmpl.contains(QStringLiteral("Report ID #TLM_REPORT_ID")));
    // A third selected row past the results is skipped.
    const QStringList pages = PrintPages(results, {true, true, true}, tmpl);
    ASSERT_EQ(pages.size(), 2);
    EXPECT_TRUE(pages[0].contains(QStringLiteral("<b>Subject</b></td>")));
    EXPECT_TRUE(pages[0].contains(QStringLiteral("<td valign=\"top\">Quarterly audit</td>")));
    EXPECT_TRUE(pages[0].contains(QStringLiteral("<td valign=\"top\">Finance</td>")));
    EXPECT_TRUE(pages[1].contains(QStringLiteral("<td valign=\"top\">Audit meeting</td>")));
    EXPECT_TRUE(pages[1].contains(QStringLiteral("<td valign=\"top\">Meetings</td>")));
    EXPECT_FALSE(pages[1].contains(QStringLiteral("TLM_")));
    EXPECT_EQ(PrintPages(results, {false, true}, tmpl), QStringList({pages[1]}));
    EXPECT_TRUE(PrintPages(results, {false, false}, tmpl).isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Engines, SearchDbTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

// Generated items, searched, against a plain scan of every row in the test itself.
class SearchGeneratedTest : public EngineTest {
  protected:
    struct Item {
        QString key;
        QStringList texts;  // the fourteen columns the keyword looks in
        QDateTime reported;
    };
    QList<Item> ScanAll() {
        QList<Item> items;
        for (const char* table : {"tReportedTasks", "tReportedAppointments"}) {
            auto rs = Open(QStringLiteral("SELECT * FROM %1 ORDER BY ID").arg(QLatin1String(table)),
                           LockMode::ReadOnly);
            for (; !rs->Eof(); rs->MoveNext()) {
                Item item;
                item.key =
                    QString(QLatin1Char(table[9])) + rs->Fields(QStringLiteral("ID")).Value().toString();
                for (const char* col :
                     {"Body", "Subject", "ID", "ProjectValue", "ActivityValue", "ReportedBy", "Field1Value",
                      "Field2Value", "Field3Value", "Field4Value", "Field5Value", "Field6Value",
                      "Field7Value", "Field8Value"})
                    item.texts << rs->Fields(QLatin1String(col)).Value().toString();
                item.reported = rs->Fields(QStringLiteral("ReportedDate")).Value().toDateTime();
                items << item;
            }
        }
        return items;
    }
};

TEST_P(SearchGeneratedTest, KeywordAndPeriodFindWhatAScanOfEveryRowFinds) {
    OpenFreshDatabase();
    SampleSpec plan;
    plan.reportedItems = 400;
    SampleCounts counts;
    Failure failure;
    ASSERT_TRUE(FillSampleData(*CurrentConnection(), plan, &counts, &failure))
        << failure.description.toStdString();
    const QList<Item> all = ScanAll();
    ASSERT_EQ(all.size(), counts.tasks + counts.appointments);
    // "T" from tReportedTasks, "A" from tReportedAppointments; the generator lets their IDs overlap.
    ASSERT_TRUE(std::any_of(all.begin(), all.end(), [](const Item& i) { return i.key == u"T1"; }));
    ASSERT_TRUE(std::any_of(all.begin(), all.end(), [](const Item& i) { return i.key == u"A1"; }));

    const qint32 kind = IsSqlite() ? 0 : 1;
    // Keywords taken from the data: a plain word of a member name, upper-cased, and a project name part.
    QStringList keywords;
    for (const Item& i : all) {
        const QString name = i.texts[5];
        if (keywords.isEmpty() && name.size() >= 4 && !name.contains(u'\'') &&
            name.toLatin1() == name.toUtf8())
            keywords << name.left(4).toUpper();
    }
    keywords << all.first().texts[3].right(3);
    for (const QString& keyword : keywords) {
        SearchCriteria c;
        c.searchBy = QStringLiteral("Keyword");
        c.keyword = keyword;
        c.itemsTypeIndex = 2;
        SearchResults results;
        ASSERT_TRUE(RunSearch(CurrentConnection(), c, kind, results)) << AllShownText().toStdString();
        QStringList expected;
        for (const Item& i : all)
            if (std::any_of(i.texts.begin(), i.texts.end(),
                            [&](const QString& t) { return t.contains(keyword, Qt::CaseInsensitive); }))
                expected << i.key;
        QStringList found;
        for (int r = 0; r < results.Count(); ++r)
            found << results.Key(r);
        EXPECT_FALSE(expected.isEmpty()) << keyword.toStdString();
        EXPECT_EQ(found, expected) << keyword.toStdString();
    }

    // One month of reported dates; the file form's day ends at 23:59:00.
    SearchCriteria c;
    c.searchBy = QStringLiteral("Reported Between");
    c.start = plan.firstDay.addDays(30);
    c.end = plan.firstDay.addDays(60);
    c.itemsTypeIndex = 2;
    SearchResults results;
    ASSERT_TRUE(RunSearch(CurrentConnection(), c, kind, results)) << AllShownText().toStdString();
    QSet<QString> expected;
    for (const Item& i : all) {
        const QDate d = i.reported.date();
        if (d >= c.start && d <= c.end && (!IsSqlite() || d < c.end || i.reported.time() <= QTime(23, 59)))
            expected.insert(i.key);
    }
    QSet<QString> found;
    for (int r = 0; r < results.Count(); ++r)
        found.insert(results.Key(r));
    EXPECT_FALSE(expected.isEmpty());
    EXPECT_EQ(found, expected);
}

INSTANTIATE_TEST_SUITE_P(Engines, SearchGeneratedTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
