// Timed run: the members section with a large list, opened and saved (1 % changed) through the window
// offscreen, at two sizes ten times apart; the figure is the ratio of load+save at the larger size to
// load+save at the smaller (goal <= 12.5). The window refuses to save more than 32,767 rows, so the
// sizes are 30,000 and 3,000 by default: both saves happen, and a refused save fails the run. The
// same save by the engine alone is printed beside it. Medians of 5 runs.
// Usage: bench_admin [small large]; PostgreSQL too when TLM_TEST_PG is set.
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QUuid>
#include <algorithm>
#include <cstdio>
#include <vector>

#include "admin/manager_list.h"
#include "admin/manager_list_form.h"
#include "core/codecs.h"
#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "database/connection.h"
#include "database/provisioning.h"
#include "database/recordset.h"
#include "desktop/grid_view.h"
#include "settings/global_settings.h"
#include "support/member_seed.h"
#include "support/record.h"

using namespace tlm;

namespace {

// Runs per size; TLM_LIST_RUNS overrides (the save at 30,000 rows takes long on a busy disk).
const int kRepeats =
    qEnvironmentVariableIsSet("TLM_LIST_RUNS") ? qEnvironmentVariableIntValue("TLM_LIST_RUNS") : 5;

struct Result {
    double open = 0, formSave = 0, loadSave = 0, engineSave = 0, gridRead = 0;
    int rowsAfterForm = 0, rowsAfterEngine = 0, expected = 0;
    bool saved = true;  // every save through the window happened and left the expected rows
};

using bench::Median;

int CountMembers() {
    auto rs = GetDBRecordset(QStringLiteral("SELECT COUNT(*) AS n FROM tMembers"), true, false, false);
    return rs ? rs->Fields(QStringLiteral("n")).Value().toInt() : -1;
}

void LoadMembers(cDBSettings& global) {
    auto rs = GetDBRecordset(QStringLiteral("SELECT * FROM tMembers ORDER BY Name"), true, false, false);
    global.Members.FromRecordset(rs.get());
}

// 1 % changed: 60 % of it rate changes, 20 % rows removed, 20 % rows added. The same edits go to
// the engine's rows and to the window's grid.
struct Edits {
    std::vector<int> rateRows;
    std::vector<int> dropRows;  // descending, so that each deletion leaves the others in place
    int added = 0;
};

Edits PlanEdits(int n) {
    Edits e;
    const int changes = n / 100;
    for (int i = 0; i < changes * 6 / 10; ++i)
        e.rateRows.push_back(i * 3);
    for (int i = changes / 5; i >= 1; --i)
        e.dropRows.push_back(i * 97 + 5);
    e.added = changes / 5;
    return e;
}

QString NewName(int i) {
    return QStringLiteral("New member %1").arg(i);
}

Result Run(int n, bool postgres, const QString& folder, cMySettings& local, ScriptedPrompter& prompter) {
    Result r;
    subCloseConnection();
    Process().blnNewDatabase = false;
    if (postgres) {
        const QString server = fncGetServerConnectionString(qEnvironmentVariable("TLM_TEST_PG"));
        local.DBChoice = 1;
        local.Database =
            QStringLiteral("TlmBenchAdmin_") + QUuid::createUuid().toString(QUuid::Id128).left(8);
        local.DBConnectionString = server + QStringLiteral(";Initial Catalog=") + local.Database;
        prompter.queue(PromptAnswer::Yes);
    } else {
        local.DBChoice = 0;
        local.DBConnectionString = folder + QStringLiteral("/n") + QString::number(n);
        QDir().mkpath(local.DBConnectionString);
    }
    bool show = false;
    DB::Initialize(show);
    if (!CurrentConnection())
        return r;
    const Edits edits = PlanEdits(n);

    r.expected = n - int(edits.dropRows.size()) + edits.added;
    // Each side runs on a fresh table each time; the medians are compared.
    std::vector<double> engineSaves, opens, formSaves, loadSaves, gridReads;
    for (int rep = 0; rep < kRepeats; ++rep) {
        // The engine alone: grid rows from the list, the edits, the save.
        bench::SeedMembers(n);
        {
            cDBSettings global;
            SetDBSettings(&global);
            LoadMembers(global);
            GridRows rows = ListToGridRows(3, global);
            for (int row : edits.rateRows)
                rows[row][3] = QVariant::fromValue(Money::fromInt(11));
            for (int row : edits.dropRows)
                rows.remove(row);
            for (int i = 0; i < edits.added; ++i)
                rows.append({NewName(i), QString(), QString(), QVariant(), 0});
            QElapsedTimer t;
            t.start();
            SaveListFromGrid(3, rows, global);
            engineSaves.push_back(t.nsecsElapsed() / 1e9);
            r.rowsAfterEngine = CountMembers();
            SetDBSettings(nullptr);
        }

        // The window: open the section, make the same edits in its grid, save.
        bench::SeedMembers(n);
        {
            cDBSettings global;
            SetDBSettings(&global);
            LoadMembers(global);
            Process().lngCurrentSection = 3;
            QElapsedTimer t;
            t.start();
            frmManagerList form;
            form.Load();
            form.show();
            QApplication::processEvents();
            opens.push_back(t.nsecsElapsed() / 1e9);
            GridWidget& grid = *form.grid();
            for (int row : edits.rateRows)
                grid.setValue(row, 3, QVariant::fromValue(Money::fromInt(11)));
            for (int row : edits.dropRows)
                grid.deleteRows(row, 1);
            for (int i = 0; i < edits.added; ++i)
                grid.appendRow({NewName(i), QString(), QString(), QVariant(), 0});
            t.restart();
            (void)grid.matrix(0, 0, grid.dataRowCount(), 5);
            gridReads.push_back(t.nsecsElapsed() / 1e9);
            t.restart();
            const bool saved = form.subSaveSettings();
            QApplication::processEvents();
            formSaves.push_back(t.nsecsElapsed() / 1e9);
            loadSaves.push_back(opens.back() + formSaves.back());
            if (!saved)
                std::fprintf(stderr, "the window's save was refused\n");
            r.rowsAfterForm = CountMembers();
            r.saved = r.saved && saved && r.rowsAfterForm == r.expected;
            form.Exit();
            SetDBSettings(nullptr);
        }
    }
    r.engineSave = Median(engineSaves);
    r.open = Median(opens);
    r.formSave = Median(formSaves);
    r.loadSave = Median(loadSaves);
    r.gridRead = Median(gridReads);
    if (ReportShown()) {
        std::fprintf(stderr, "a failure was reported during the run\n");
        r.saved = false;
    }
    if (postgres) {
        subCloseConnection();
        Connection admin;
        Failure f;
        if (admin.Open(fncGetServerConnectionString(qEnvironmentVariable("TLM_TEST_PG"))))
            admin.Execute(QStringLiteral("DROP DATABASE IF EXISTS \"%1\" WITH (FORCE)").arg(local.Database),
                          {}, false, &f);
    }
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
    const int small = argc > 2 ? QString::fromLocal8Bit(argv[1]).toInt() : 3000;
    const int large = argc > 2 ? QString::fromLocal8Bit(argv[2]).toInt() : 30000;
    std::vector<bool> engines = {false};
    if (!qEnvironmentVariable("TLM_TEST_PG").isEmpty())
        engines.push_back(true);
    QStringList measured;
    bool ok = true, met = true;
    for (bool pg : engines) {
        const char* name = pg ? "PostgreSQL" : "SQLite";
        Result rs[2];
        for (int i = 0; i < 2; ++i) {
            const int n = i == 0 ? small : large;
            const Result& r = rs[i] = Run(n, pg, home.path(), local, prompter);
            std::printf(
                "list %-10s members %d, median of %d: open %.3f s, save through the window (1%% changed) "
                "%.3f s, "
                "load+save %.3f s, rows after %d of %d%s\n",
                name, n, kRepeats, r.open, r.formSave, r.loadSave, r.rowsAfterForm, r.expected,
                r.saved ? "" : " FAILED: the save was refused or left other rows");
            std::printf(
                "list %-10s members %d: of that, reading the grid %.3f s; engine-only save %.3f s, rows "
                "after %d; window/engine %.2f\n",
                name, n, r.gridRead, r.engineSave, r.rowsAfterEngine,
                r.engineSave > 0 ? r.formSave / r.engineSave : 0.0);
            std::fflush(stdout);
        }
        const bool saved = rs[0].saved && rs[1].saved && rs[0].loadSave > 0;
        const double ratio = saved ? rs[1].loadSave / rs[0].loadSave : 0.0;
        std::printf("list %-10s load+save %d/%d members: %.2f (goal <= 12.5)\n", name, large, small, ratio);
        measured << QStringLiteral("%1 %2 (%3/%4 rows: %5 s vs %6 s)")
                        .arg(QString::fromLatin1(name))
                        .arg(ratio, 0, 'f', 2)
                        .arg(large)
                        .arg(small)
                        .arg(rs[1].loadSave, 0, 'f', 3)
                        .arg(rs[0].loadSave, 0, 'f', 3);
        ok = ok && saved;
        met = met && ratio <= 12.5;
    }
    bench::Record("list", measured.join(QStringLiteral("; ")), bench::Verdict(ok, met));
    subCloseConnection();
    return ok ? 0 : 1;
}
