// Timed run: the review window's OK (query, records, grid, buttons, locks) over generated
// unapproved rows, offscreen, against the bare query of the same rows through the database layer.
// Usage: bench_review [rows...] (default 10000 100000); PostgreSQL too when TLM_TEST_PG is set.
#include <sys/resource.h>

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
#include "database/recordset.h"
#include "desktop/grid_view.h"
#include "reported/sample_data.h"
#include "review/review_form.h"
#include "review/review_queue.h"
#include "settings/global_settings.h"

using namespace tlm;

namespace {

constexpr int kRepeats = 3;

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

long PeakMegabytes() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return u.ru_maxrss / 1024;
}

struct Result {
    int rows = 0;
    double bare = 0;  // both review queries through the database layer, rows read into recordsets
    double fill = 0;  // the window's OK, through the last paint
    double fillOnly = 0;
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
    std::vector<double> bare, fill, fillOnly;
    for (int rep = 0; rep < kRepeats; ++rep) {
        QElapsedTimer t;
        t.start();
        int rows = 0;
        for (const char* table : {"tReportedTasks", "tReportedAppointments"}) {
            auto rs = GetDBRecordset(ReviewQueryFor(all, choice, QString::fromLatin1(table)));
            rows += rs ? rs->RecordCount() : 0;
        }
        bare.push_back(t.nsecsElapsed() / 1e9);

        frmReviewReports form;
        form.subSetUp();
        form.show();
        QApplication::processEvents();
        t.restart();
        form.cmdOK();
        QApplication::processEvents();  // the first paint of the filled grid is part of it
        fill.push_back(t.nsecsElapsed() / 1e9);
        fillOnly.push_back(fill.back() - bare.back());
        r.rows = form.grid()->rowCount();
        if (r.rows != rows)
            std::fprintf(stderr, "the grid holds %d rows, the queries gave %d\n", r.rows, rows);
        form.Exit();
    }
    r.bare = Median(bare);
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
    std::vector<int> sizes;
    for (int i = 1; i < argc; ++i)
        sizes.push_back(QString::fromLocal8Bit(argv[i]).toInt());
    if (sizes.empty())
        sizes = {10000, 100000};
    std::vector<bool> engines = {false};
    if (!qEnvironmentVariable("TLM_TEST_PG").isEmpty())
        engines.push_back(true);
    QStringList pgDatabases;
    int status = 0;
    for (bool pg : engines) {
        const char* name = pg ? "PostgreSQL" : "SQLite";
        std::vector<Result> results;
        for (int n : sizes) {
            if (!Prepare(n, pg, home.path(), local, prompter, pgDatabases)) {
                std::fprintf(stderr, "%s: no database for %d rows\n", name, n);
                status = 1;
                continue;
            }
            const Result r = Run();
            results.push_back(r);
            std::printf(
                "%-10s %6d rows: bare query %.3f s, query + fill %.3f s (fill alone %.3f s); "
                "ratio %.2fx (goal <= 3x); peak memory %ld MB\n",
                name, r.rows, r.bare, r.fill, r.fillOnly, r.bare > 0 ? r.fill / r.bare : 0.0,
                PeakMegabytes());
            std::fflush(stdout);
        }
        if (results.size() == 2 && results[0].fill > 0)
            std::printf("%-10s %d/%d rows: query + fill %.2fx (goal <= 12, linear)\n", name, results[1].rows,
                        results[0].rows, results[1].fill / results[0].fill);
        std::fflush(stdout);
    }
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
