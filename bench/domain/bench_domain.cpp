// Timed run: load and save by comparison of a large member list, and placeholder substitution.
// Usage: bench_domain [sizes...]   (default 10000 100000); PostgreSQL too when TLM_TEST_PG is set.
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QUuid>
#include <cstdio>

#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "database/connection.h"
#include "database/recordset.h"
#include "reported/task_data.h"
#include "settings/global_settings.h"
#include "support/member_seed.h"

using namespace tlm;

namespace {

struct Result {
    double load = 0, save = 0;
    int rows = 0;
};

Result Run(int n, bool postgres, const QString& folder, cMySettings& local, ScriptedPrompter& prompter) {
    Result r;
    subCloseConnection();
    Process().blnNewDatabase = false;
    if (postgres) {
        const QString server = fncGetServerConnectionString(qEnvironmentVariable("TLM_TEST_PG"));
        local.DBChoice = 1;
        local.Database = QStringLiteral("TlmBench_") + QUuid::createUuid().toString(QUuid::Id128).left(8);
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
    bench::SeedMembers(n);

    cDBSettings global;
    SetDBSettings(&global);
    QElapsedTimer t;
    t.start();
    auto rs = GetDBRecordset(QStringLiteral("SELECT * FROM tMembers ORDER BY Name"), true, false, false);
    global.Members.FromRecordset(rs.get());
    rs.reset();
    r.load = t.nsecsElapsed() / 1e9;

    // 1 % changed: 60 % rate changes, 20 % removed, 20 % new.
    const int changes = n / 100;
    int done = 0;
    std::vector<QString> drop;
    for (auto& e : global.Members.Items) {
        if (done >= changes * 6 / 10)
            break;
        if (done % 3 == 0)
            e.item.Rate = Money::fromInt(11);
        ++done;
    }
    int k = 0;
    for (const auto& e : global.Members.Items)
        if (k++ % 97 == 5 && int(drop.size()) < changes / 5)
            drop.push_back(e.key);
    for (const QString& key : drop)
        global.Members.Items.Remove(key);
    for (int i = 0; i < changes / 5; ++i) {
        cMember m;
        m.Name = QStringLiteral("New member %1").arg(i);
        global.Members.Items.Add(m.Name.toLower(), m);
    }
    t.restart();
    global.SaveGlobalSettings(3);
    r.save = t.nsecsElapsed() / 1e9;
    rs = GetDBRecordset(QStringLiteral("SELECT COUNT(*) AS n FROM tMembers"), true, false, false);
    r.rows = rs ? rs->Fields(QStringLiteral("n")).Value().toInt() : -1;
    rs.reset();
    SetDBSettings(nullptr);
    if (ReportShown())
        std::fprintf(stderr, "a failure was reported during the run\n");
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

void Placeholders() {
    cDBSettings global;
    SetDBSettings(&global);
    global.Projects.Items.Add(QStringLiteral("Apollo"), cProject{});
    QStringList texts;
    for (const TemplateInfo& info : TemplateVocabulary()) {
        texts.append(global.MessageTemplates.GetValue(info.key).toString());
        if (!info.subjectKey.isEmpty())
            texts.append(global.MessageTemplates.GetValue(info.subjectKey).toString());
    }
    std::vector<cTaskData> records(10000);
    for (int i = 0; i < int(records.size()); ++i) {
        records[size_t(i)].ID = QString::number(i);
        records[size_t(i)].Subject = QStringLiteral("Subject %1").arg(i);
        records[size_t(i)].ProjectValue = QStringLiteral("Apollo");
        records[size_t(i)].ReportedBy = QStringLiteral("Robin");
    }
    QElapsedTimer t;
    t.start();
    qint64 chars = 0;
    for (const cTaskData& r : records)
        for (const QString& text : texts)
            chars += r.SubstituePlaceHolders(text).size();
    std::printf("placeholders: %d templates x %zu records: %.3f s (%lld chars)\n", int(texts.size()),
                records.size(), t.nsecsElapsed() / 1e9, chars);
    SetDBSettings(nullptr);
}

}  // namespace

int main(int argc, char** argv) {
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    QCoreApplication app(argc, argv);
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
    for (bool pg : engines) {
        std::vector<Result> results;
        for (int n : sizes) {
            const Result r = Run(n, pg, home.path(), local, prompter);
            std::printf(
                "%-10s members %7d: load %.3f s, save by comparison (1%% changed) %.3f s, rows after %d\n",
                pg ? "PostgreSQL" : "SQLite", n, r.load, r.save, r.rows);
            std::fflush(stdout);
            results.push_back(r);
        }
        if (results.size() >= 2 && results[0].load + results[0].save > 0)
            std::printf("%-10s ratio %d/%d (load+save): %.2f\n", pg ? "PostgreSQL" : "SQLite", sizes.back(),
                        sizes.front(),
                        (results.back().load + results.back().save) / (results[0].load + results[0].save));
    }
    subCloseConnection();
    Placeholders();
    return 0;
}
