#include "domain/domain_test_fixture.h"

#include "core/process_state.h"

namespace tlm::test {

void DomainDbTest::SetUp() {
    EngineTest::SetUp();
    if (IsSkipped())
        return;
    OpenFreshDatabase();
    // The blank file holds one member; a new server database holds no rows: give it the same one.
    if (Count(QStringLiteral("tMembers")) == 0)
        Exec(
            QStringLiteral("INSERT INTO tMembers (Name, Email, Department, Rate, AdminAccess) "
                           "VALUES ('Robin', '', '', 0, 0)"));
    qputenv("USER", "robin");
    SetNotificationSink(&sink);
    Reload();
    // The first load has put the defaults into the new database; later loads are ordinary starts.
    Process().blnNewDatabase = false;
    presenter.reports.clear();
    ResetErrorReportingForTests();
}

void DomainDbTest::TearDown() {
    SetNotificationSink(nullptr);
    SetDBSettings(nullptr);
    global.reset();
    EngineTest::TearDown();
}

cDBSettings& DomainDbTest::Reload() {
    SetDBSettings(nullptr);
    global = std::make_unique<cDBSettings>();
    SetDBSettings(global.get());
    bool ok = false;
    global->LoadGlobalSettings(false, ok);
    EXPECT_TRUE(ok) << AllShownText().toStdString();
    return *global;
}

QStringList DomainDbTest::Column(const QString& sql) {
    QStringList out;
    auto rs = Open(sql, LockMode::ReadOnly);
    while (!rs->Eof()) {
        out.append(rs->Fields(0).Value().toString());
        rs->MoveNext();
    }
    return out;
}

void DomainMemoryTest::SetUp() {
    SetUpEnv();
    global = std::make_unique<cDBSettings>();
    SetDBSettings(global.get());
}

void DomainMemoryTest::TearDown() {
    SetDBSettings(nullptr);
    global.reset();
    TearDownEnv();
}

Matrix Rows(const std::vector<QVariantList>& rows) {
    int cols = 0;
    for (const auto& r : rows)
        cols = std::max(cols, int(r.size()));
    Matrix m(int(rows.size()), cols);
    for (int i = 0; i < int(rows.size()); ++i)
        for (int j = 0; j < int(rows[size_t(i)].size()); ++j)
            m(i, j) = rows[size_t(i)][j];
    return m;
}

}  // namespace tlm::test
