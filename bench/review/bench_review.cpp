// Timed run: the review window's OK (query, rows, grid, buttons, locks) over generated
// unapproved rows, offscreen, against the bare query of the same rows and the same seven shown
// columns, each cell read once through the database layer's cursor and dropped (goal <= 2x); the
// recordsets over every column are timed too, for scale only; with the peak memory of the window from its
// construction through the filled grid (goal <= 150 MB); medians of 5 runs. Usage: bench_review sqlite|pg
// [rows] (default 100000); each engine runs in its own process.
#include <malloc.h>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QUuid>
#include <algorithm>
#include <cstdio>
#include <vector>

#include "core/codecs.h"
#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "database/connection.h"
#include "database/cursor.h"
#include "database/recordset.h"
#include "reported/sample_data.h"
#include "review/review_form.h"
#include "review/review_queue.h"
#include "settings/global_settings.h"
#include "support/peak_rss.h"
#include "support/record.h"

using namespace tlm;

namespace {

constexpr int kRepeats = 5;
using bench::Median;

struct Result {
    int rows = 0;
    int queried = 0;        // rows the bare queries gave
    bool ok = true;         // every run's grid held the rows the queries gave
    double bare = 0;        // both review queries on the seven shown columns, every cell read, nothing kept
    double recordsets = 0;  // both review queries into recordsets over every column, for scale
    double fill = 0;        // the window's OK, through the last paint
    double fillOnly = 0;
    long peak = 0;   // MB, the window from its construction through the filled grid
    long start = 0;  // MB, resident when the window is constructed
};

// A new database of the engine with n generated reported items, all unapproved.
bool Prepare(int n, bool postgres, const QString& folder, cMySettings& local, ScriptedPrompter& prompter,
             QStringList& pgDatabases) {
    subCloseConnection();
    Process().blnNewDatabase = false;
    if (postgres) {
        const QString server = fncGetServerConnectionString(qEnvironmentVariable("TLM_TEST_PG"));
        local.DBChoice = 1;
        local.Database =
            QStringLiteral("TlmBenchReview_") + QUuid::createUuid().toString(QUuid::Id128).left(8);
        local.DBConnectionString = server + QStringLiteral(";Initial Catalog=") + local.Database;
        pgDatabases.append(local.Database);
        prompter.queue(PromptAnswer::Yes);
    } else {
        local.DBChoice = 0;
        local.DBConnectionString = folder + QStringLiteral("/n") + QString::number(n);
        QDir().mkpath(local.DBConnectionString);
    }
    bool show = false;
    DB::Initialize(show);
    if (!CurrentConnection())
        return false;
    SampleSpec plan;
    plan.projects = 25;
    plan.members = 60;
    plan.reportedItems = n;
    plan.approvedPercent = 0;
    SampleCounts counts;
    Failure f;
    if (!FillSampleData(*CurrentConnection(), plan, &counts, &f)) {
        std::fprintf(stderr, "generating rows failed: %s\n", qPrintable(f.description));
        return false;
    }
    return true;
}

Result Run() {
    Result r;
    cDBSettings global;
    SetDBSettings(&global);
    bool ok = false;
    global.LoadGlobalSettings(false, ok);
    // The heaviest grid: project and activity as combo cells, cost editable.
    global.GeneralSettings.SetValue(QStringLiteral("tpoAuditEnableProjectActivityEdit"), 1);
    global.GeneralSettings.SetValue(QStringLiteral("tpoAuditEnableCostEdit"), 1);
    const qint32 choice = Process().mySettings->DBChoice;
    const ReviewFilter all;
    // The columns the grid shows; the window reads these and no others.
    const QStringList shown{"ID",        "Subject",      "ProjectValue", "ActivityValue",
                            "TotalCost", "ReportedDate", "ReportedBy"};
    std::vector<double> bare, recordsets, fill, fillOnly;
    for (int rep = 0; rep < kRepeats; ++rep) {
        QElapsedTimer t;
        t.start();
        int rows = 0;
        for (const char* table : {"tReportedTasks", "tReportedAppointments"}) {
            Cursor cursor(CurrentConnection());
            if (!cursor.Open(ReviewQueryFor(all, choice, QString::fromLatin1(table)), shown)) {
                r.ok = false;
                continue;
            }
            std::vector<int> at;
            for (const QString& c : shown)
                at.push_back(cursor.FieldIndex(c));
            qint64 sink = 0;
            while (cursor.Next()) {
                ++rows;
                for (int i : at)
                    sink += qint64(cursor.Cell(i).form);
            }
            r.ok = r.ok && sink >= 0 && !cursor.LastError().isSet();
        }
        bare.push_back(t.nsecsElapsed() / 1e9);

        t.restart();
        int recordsetRows = 0;
        for (const char* table : {"tReportedTasks", "tReportedAppointments"}) {
            auto rs = GetDBRecordset(ReviewQueryFor(all, choice, QString::fromLatin1(table)));
            recordsetRows += rs ? rs->RecordCount() : 0;
        }
        recordsets.push_back(t.nsecsElapsed() / 1e9);
        if (recordsetRows != rows) {
            std::fprintf(stderr, "the cursor read %d rows, the recordsets %d\n", rows, recordsetRows);
            r.ok = false;
        }

        // The recordsets' freed rows stay in the heap, resident, unless handed back: without this
        // the window's peak would be theirs.
        malloc_trim(0);
        r.ok = bench::ResetPeakRss() && r.ok;
        r.start = std::max(r.start, bench::PeakRssMb());
        frmReviewReports form;
        form.subSetUp();
        form.show();
        QApplication::processEvents();
        t.restart();
        form.cmdOK();
        QApplication::processEvents();  // the first paint of the filled grid is part of it
        fill.push_back(t.nsecsElapsed() / 1e9);
        r.peak = std::max(r.peak, bench::PeakRssMb());
        fillOnly.push_back(fill.back() - bare.back());
        r.rows = form.grid()->rowCount();
        r.queried = rows;
        if (r.rows != rows) {
            std::fprintf(stderr, "the grid holds %d rows, the queries gave %d\n", r.rows, rows);
            r.ok = false;
        }
        form.Exit();
    }
    r.bare = Median(bare);
    r.recordsets = Median(recordsets);
    r.fill = Median(fill);
    r.fillOnly = Median(fillOnly);
    SetDBSettings(nullptr);
    return r;
}

}  // namespace

int main(int argc, char** argv) {
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    PinLocalTimeZone();  // as the program does at start
    QApplication app(argc, argv);
    ScriptedPrompter prompter;
    SetPrompter(&prompter);
    cMySettings local;
    Process().mySettings = &local;
    const QString engine = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("sqlite");
    const int n = argc > 2 ? QString::fromLocal8Bit(argv[2]).toInt() : 100000;
    const bool pg = engine == u"pg";
    const char* name = pg ? "PostgreSQL" : "SQLite";
    if (pg && qEnvironmentVariable("TLM_TEST_PG").isEmpty()) {
        std::printf("review %s: not run (no TLM_TEST_PG)\n", name);
        bench::Record("review", QStringLiteral("PostgreSQL not run (no TLM_TEST_PG)"), "not run");
        return 0;
    }
    QStringList pgDatabases;
    int status = 0;
    if (!Prepare(n, pg, home.path(), local, prompter, pgDatabases)) {
        std::fprintf(stderr, "%s: no database for %d rows\n", name, n);
        bench::Record("review", QString::fromLatin1(name) + QStringLiteral(" run failed"), "failed");
        status = 1;
    } else {
        const long afterFill = bench::PeakRssMb();
        const Result r = Run();
        const long peak = r.peak;
        const double ratio = r.bare > 0 ? r.fill / r.bare : 0.0;
        const bool ok = r.ok && !ReportShown() && r.rows == n;
        std::printf(
            "review %-10s %6d rows, median of %d: bare query (the 7 shown columns through the cursor) "
            "%.3f s, query + fill %.3f s (fill alone %.3f s); ratio %.2fx (goal <= 2x); recordsets over "
            "every column %.3f s, for scale; peak memory of the window's query and fill %ld MB (goal <= "
            "150 MB; %ld MB resident as the window opens, %ld MB while generating the rows)%s\n",
            name, r.rows, kRepeats, r.bare, r.fill, r.fillOnly, ratio, r.recordsets, peak, r.start, afterFill,
            ok ? "" : " FAILED: rows missing, a failure reported or the peak not reset");
        bench::Record("review",
                      QStringLiteral("%1 %2x (%3 s vs %4 s), peak %5 MB")
                          .arg(QString::fromLatin1(name))
                          .arg(ratio, 0, 'f', 2)
                          .arg(r.fill, 0, 'f', 3)
                          .arg(r.bare, 0, 'f', 3)
                          .arg(peak),
                      bench::Verdict(ok, ratio <= 2.0 && peak <= 150));
        status = ok ? 0 : 1;
    }
    std::fflush(stdout);
    if (ReportShown())
        std::fprintf(stderr, "a failure was reported during the run\n");
    subCloseConnection();
    if (!pgDatabases.isEmpty()) {
        Connection admin;
        Failure f;
        if (admin.Open(fncGetServerConnectionString(qEnvironmentVariable("TLM_TEST_PG"))))
            for (const QString& db : pgDatabases)
                admin.Execute(QStringLiteral("DROP DATABASE IF EXISTS \"%1\" WITH (FORCE)").arg(db), {},
                              false, &f);
    }
    return status;
}
