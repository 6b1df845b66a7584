#include <gtest/gtest.h>

#include "database/connection.h"
#include "domain/domain_test_fixture.h"
#include "search/search_query.h"
#include "search/search_results.h"
#include "search/search_test_rows.h"

namespace tlm::test {
namespace {

const QString kStart = QStringLiteral("Select * from TABLENAME where ");

SearchCriteria Base(const QString& by) {
    SearchCriteria c;
    c.searchBy = by;
    c.on = QDate(2026, 3, 7);
    c.start = QDate(2026, 3, 1);
    c.end = QDate(2026, 11, 9);
    // "Keyword" as a custom title: the fixed entry must still win.
    c.customTitles = {QStringLiteral("Region"), QStringLiteral("Team"), QStringLiteral("Region"),
                      QStringLiteral("Keyword")};
    c.customValues = {QStringLiteral("North"), QStringLiteral("Blue"), QStringLiteral("Unused"),
                      QStringLiteral("Never")};
    return c;
}

QString Compose(const SearchCriteria& c, qint32 dbChoice) {
    const std::optional<SqlText> sql = ComposeSearchSQL(c, dbChoice);
    return sql ? sql->sql() : QStringLiteral("<no query>");
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
        SearchSQLForTable(*ComposeSearchSQL(Base(QStringLiteral("Due Between")), 0), true).sql(),
        QStringLiteral(
            "Select * from tReportedAppointments where EndDate >= #2026-3-1# and EndDate <= #2026-11-9#"));
    SearchCriteria kw = Base(QStringLiteral("Keyword"));
    kw.keyword = QStringLiteral("DueDate");
    EXPECT_TRUE(SearchSQLForTable(*ComposeSearchSQL(kw, 0), true)
                    .sql()
                    .contains(QStringLiteral("(Body Like '%EndDate%')")));
}

TEST(SearchQuery, ValueCriteriaAreTheSameInBothForms) {
    struct Case {
        const char* by;
        const char* costFunction;  // for "By Cost"
        const char* where;
    };
    // Custom 1 and 3 share the title "Region": the first wins. "About" is no known comparison.
    const Case cases[] = {
        {"Reported By", "", "ReportedBy ='Ann Lee' ORDER BY ReportedBy DESC"},
        {"By Cost", "Greater or Equal to", "TotalCost >= 100.5 ORDER BY TotalCost DESC"},
        {"By Cost", "Less or Equal to", "TotalCost <= 100.5 ORDER BY TotalCost DESC"},
        {"By Cost", "Equal To", "TotalCost = 100.5 ORDER BY TotalCost DESC"},
        {"By Cost", "About", "TotalCost  100.5 ORDER BY TotalCost DESC"},
        {"Region", "", "Field1Value ='North' ORDER BY Field1Value DESC"},
        {"Team", "", "Field2Value ='Blue' ORDER BY Field2Value DESC"},
    };
    for (const Case& k : cases) {
        SearchCriteria c = Base(QString::fromLatin1(k.by));
        c.member = QStringLiteral("Ann Lee");
        c.costFunction = QString::fromLatin1(k.costFunction);
        c.costValue = QStringLiteral("100.5");
        for (qint32 kind : {0, 1})
            EXPECT_EQ(Compose(c, kind), kStart + QString::fromLatin1(k.where)) << k.by << ' ' << kind;
    }
    // A quote in a name, or a cost that is no number, leaves no text to run.
    SearchCriteria c = Base(QStringLiteral("Reported By"));
    c.member = QStringLiteral("O'Brien");
    EXPECT_FALSE(ComposeSearchSQL(c, 0)->ok());
    c = Base(QStringLiteral("By Cost"));
    c.costFunction = QStringLiteral("Equal To");
    c.costValue = QStringLiteral("-1 UNION SELECT * FROM tMembers");
    EXPECT_FALSE(ComposeSearchSQL(c, 1)->ok());
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
    bool Run(const SearchCriteria& c, SearchResults& results) {
        return RunSearch(CurrentConnection(), c, IsSqlite() ? 0 : 1, results);
    }
    // Runs the search; the keys found, in order.
    QStringList Keys(const SearchCriteria& c, bool* ok = nullptr) {
        SearchResults results;
        const bool done = Run(c, results);
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

    c = For(QStringLiteral("Project/Task"), kBoth);
    c.project = QStringLiteral("Hermes");
    c.activity = QStringLiteral("Build");
    EXPECT_EQ(Keys(c), QStringList({"T8"}));
    EXPECT_TRUE(presenter.reports.isEmpty()) << AllShownText().toStdString();
}

TEST_P(SearchDbTest, RecordsCarryTheirOwnTableValuesAndPrintInListOrder) {
    SearchResults results;
    ASSERT_TRUE(Run(For(QStringLiteral("Region"), kBoth), results));
    ASSERT_EQ(results.Count(), 2);
    EXPECT_TRUE(results.IsAppointment(1));
    EXPECT_EQ(results.Find(QStringLiteral("A7")), 1);
    EXPECT_EQ(std::get<cTaskData>(results.At(0)).DueDate, QDateTime(QDate(2026, 3, 10), QTime(0, 0)));
    EXPECT_EQ(std::get<cAppointmentData>(results.At(1)).EndDate, QDateTime(QDate(2026, 3, 10), QTime(0, 0)));
    const auto row = SearchRowValues(results.Common(0));
    EXPECT_EQ(QStringList(row.begin(), row.end()).join(u'|'),
              QStringLiteral("Quarterly audit|7|Robin|Apollo|Design|125.50|") +
                  QLocale::system().toString(QDate(2026, 3, 7), QLocale::ShortFormat));

    const QString tmpl = global->MessageTemplates.GetValue(QStringLiteral("tpoPrintTemplate")).toString();
    // A third selected row past the results is skipped.
    const QStringList pages = PrintPages(results, {true, true, true}, tmpl);
    ASSERT_EQ(pages.size(), 2);
    EXPECT_TRUE(pages[0].contains(QStringLiteral("<td valign=\"top\">Quarterly audit</td>")));
    EXPECT_TRUE(pages[0].contains(QStringLiteral("<td valign=\"top\">Finance</td>")));
    EXPECT_TRUE(pages[1].contains(QStringLiteral("<td valign=\"top\">Audit meeting</td>")));
    EXPECT_FALSE(pages[1].contains(QStringLiteral("TLM_")));
    EXPECT_EQ(PrintPages(results, {false, true}, tmpl), QStringList({pages[1]}));
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
    EXPECT_EQ(TableForKey(QStringLiteral("A7")), QStringLiteral("tReportedAppointments"));
    ASSERT_TRUE(deleteReport(CurrentConnection(), TableForKey(QStringLiteral("T7")), 7));
    EXPECT_EQ(Column(QStringLiteral("SELECT ID FROM tReportedTasks")), QStringList({"8"}));
    EXPECT_EQ(Column(QStringLiteral("SELECT ID FROM tReportedAppointments ORDER BY ID")),
              QStringList({"7", "9"}));

    EXPECT_FALSE(deleteReport(CurrentConnection(), QStringLiteral("tNoSuchTable"), 1));
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(presenter.reports[0].contains(QStringLiteral("In Function: Search.deleteReport")));
}

// A list column orders the results by its kind of value: numbers and dates are not compared as
// text, equal values keep the load order, and a page is printed for the record of its key.
TEST_P(SearchDbTest, ColumnsSortByTheirKindOfValue) {
    // A fifth row whose texts sort against its values: reported in 2025, cost 1000, ID 10.
    Exec(
        QStringLiteral("INSERT INTO tReportedAppointments (ID, Subject, ReportedBy, ReportedDate, TotalCost, "
                       "ProjectValue) VALUES (10, 'annual close', 'kim', ?, 1000, 'apollo')"),
        {QDateTime(QDate(2025, 12, 20), QTime(8, 0))});
    SearchCriteria c = For(QStringLiteral("Reported Between"), kBoth);
    c.start = QDate(2025, 1, 1);
    c.end = QDate(2026, 12, 31);
    SearchResults results;
    ASSERT_TRUE(Run(c, results));
    ASSERT_EQ(results.Count(), 5);
    const auto keys = [&](int column, bool descending) {
        QStringList out;
        for (int position : SortedPositions(results, column, descending))
            out << results.Key(position);
        return out;
    };
    struct Case {
        int column;
        bool descending;
        QStringList keys;
    };
    const Case cases[] = {
        {-1, false, {"T7", "T8", "A7", "A9", "A10"}},  // load order
        {7, true, {"T7", "T8", "A7", "A9", "A10"}},
        {0, false, {"A10", "A7", "A9", "T8", "T7"}},  // subjects without regard to case
        {1, false, {"T7", "A7", "T8", "A9", "A10"}},  // 10 after 9; the two 7s in load order
        {1, true, {"A10", "A9", "T8", "T7", "A7"}},   // equal IDs keep load order going down too
        {2, false, {"A9", "A10", "T7", "A7", "T8"}},  // Kim and kim are equal
        {3, false, {"T7", "A7", "A10", "T8", "A9"}},  // Apollo, Apollo, apollo, Hermes, Hermes
        {5, false, {"T8", "A7", "T7", "A9", "A10"}},  // 40, 80, 125.5, 300, 1000
        {5, true, {"A10", "A9", "T7", "A7", "T8"}},
        {6, false, {"A10", "A9", "T7", "A7", "T8"}},  // December 2025 first, then by the hour
        {6, true, {"T8", "A7", "T7", "A9", "A10"}},
    };
    for (const Case& k : cases)
        EXPECT_EQ(keys(k.column, k.descending), k.keys)
            << "column " << k.column << (k.descending ? " down" : "");

    const QString tmpl = global->MessageTemplates.GetValue(QStringLiteral("tpoPrintTemplate")).toString();
    const QStringList pages = PrintPagesForKeys(results, {"A9", "X1", "T7"}, tmpl);
    ASSERT_EQ(pages.size(), 2);  // no record has X1
    EXPECT_TRUE(pages[0].contains(QStringLiteral("<td valign=\"top\">Budget review</td>")));
    EXPECT_TRUE(pages[1].contains(QStringLiteral("<td valign=\"top\">Quarterly audit</td>")));
}

INSTANTIATE_TEST_SUITE_P(Engines, SearchDbTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
