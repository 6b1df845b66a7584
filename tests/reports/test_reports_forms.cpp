// The reports window offscreen: start-up state, messages, the page, an export through an answered
// dialog, the PDF and the state kept at close.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QFile>
#include <QListWidget>
#include <QLocale>

#include "core/money.h"
#include "core/process_state.h"
#include "database/db_fixture.h"
#include "desktop/dialogs.h"
#include "desktop/ui_settings.h"
#include "reports/reports_form.h"
#include "settings/global_settings.h"

namespace tlm {
namespace {

class ReportsForm : public test::EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        OpenFreshDatabase();
        DialogScript::clear();
        Process().blnManagerProcess = true;
        db.ProjectTitle = QStringLiteral("Client");
        db.GeneralSettings.SetValue(QStringLiteral("tpoProjectTitle"), QStringLiteral("Client"));
        Matrix one(1, 1);
        one(0, 0) = QStringLiteral("Apollo");
        db.Projects.FromArray(one);
        one(0, 0) = QStringLiteral("ann");
        db.Members.FromArray(one);
        SetDBSettings(&db);
        for (int i = 0; i < 3; ++i)
            Exec(QStringLiteral(
                     "INSERT INTO tReportedAppointments (Subject, ReportedBy, ReportedDate, ProjectValue, "
                     "TotalCost, Duration, Approved) VALUES (?, ?, ?, ?, ?, ?, 0)"),
                 {QStringLiteral("Item %1").arg(i), QStringLiteral("ann"),
                  QDateTime(QDate(2026, 3, 4), QTime(9 + i, 0)), QStringLiteral("Apollo"),
                  QVariant::fromValue(Money::fromInt(10 + i)), 30});
    }
    void TearDown() override {
        SetDBSettings(nullptr);
        DialogScript::clear();
        QLocale::setDefault(QLocale::c());
        EngineTest::TearDown();
    }
    std::unique_ptr<frmReports> NewForm() {
        auto form = std::make_unique<frmReports>(ui);
        form->setClock([] { return QDateTime(QDate(2026, 3, 4), QTime(12, 0)); });
        form->subSetCaption();
        form->show();
        return form;
    }
    static void Tick(frmReports& f, const QString& name) {
        const auto items = f.fieldList()->findItems(name, Qt::MatchExactly);
        ASSERT_EQ(items.size(), 1) << name.toStdString();
        items[0]->setCheckState(Qt::Checked);
    }

    cDBSettings db;
    cUISettings ui;
};

TEST_P(ReportsForm, FirstStartAndStoredState) {
    {
        auto f = NewForm();
        // The stored type index 2 does not exist, so the start stays on Appointments.
        EXPECT_EQ(f->typesCombo()->currentText(), QStringLiteral("Appointments"));
        EXPECT_EQ(f->periodCombo()->currentText(), QStringLiteral("Today"));
        EXPECT_EQ(f->filterCombo()->currentText(), QStringLiteral("None"));
        EXPECT_EQ(f->filterCombo()->itemText(1), QStringLiteral("Client"));
        EXPECT_EQ(f->fieldList()->count(), 31);
        EXPECT_EQ(f->startPicker()->date(), QDate(2026, 2, 25));

        // Only ID ticked: refused, and nothing is stored for it.
        f->fieldList()->item(0)->setCheckState(Qt::Checked);
        f->cmdShow_Click();
        EXPECT_EQ(
            PromptTexts(),
            QStringList{QStringLiteral("Please select at least one field to be included into the report!")});
        EXPECT_EQ(ui.Reports_SelectedFieldsList_Appointments, QString());
        Tick(*f, QStringLiteral("Subject"));
        Tick(*f, QStringLiteral("Duration"));
        EXPECT_EQ(ui.Reports_SelectedFieldsList_Appointments, QStringLiteral("Duration\r\nSubject"));
        f->periodCombo()->setCurrentIndex(8);
        f->filterCombo()->setCurrentIndex(1);
        EXPECT_EQ(f->listCombo()->currentText(), QStringLiteral("Apollo"));
        f->typesCombo()->setCurrentIndex(0);
        EXPECT_EQ(f->fieldList()->count(), 33);
        f->close();
    }
    // What the close stored is what the next start takes: ticks and selectors.
    cUISettings back;
    back.ReadReportsUIValues();
    ui = back;
    auto again = NewForm();
    EXPECT_EQ(again->typesCombo()->currentText(), QStringLiteral("Tasks"));
    again->typesCombo()->setCurrentIndex(1);
    EXPECT_EQ(again->fieldList()->findItems(QStringLiteral("Duration"), Qt::MatchExactly)[0]->checkState(),
              Qt::Checked);
    EXPECT_EQ(again->fieldList()->item(0)->checkState(), Qt::Unchecked);
}

TEST_P(ReportsForm, ReportChartExportsAndPdf) {
    auto f = NewForm();
    // Before any report an export does nothing and shows nothing.
    f->mnuExportDoc_Click(1);
    EXPECT_TRUE(PromptTexts().isEmpty());

    Tick(*f, QStringLiteral("Subject"));
    Tick(*f, QStringLiteral("Total Cost"));
    f->cmdShow_Click();
    ASSERT_TRUE(f->hasReport()) << AllShownText().toStdString();
    EXPECT_TRUE(f->pageHtml().contains(QStringLiteral("<b> 3 items</b>")));
    EXPECT_TRUE(f->pageHtml().contains(QStringLiteral("<td align=\"right\"><b>33.00</b></td>")));
    EXPECT_TRUE(f->pageHtml().contains(QStringLiteral("<img src=\"report-chart.png\">")));
    EXPECT_FALSE(f->chartImage().isNull());

    // A cancelled dialog drops the export.
    DialogScript::queueFileName(QString());
    f->mnuExportDoc_Click(0);
    const QString xlsx = dir + QStringLiteral("/r.");
    DialogScript::queueFileName(xlsx);
    f->mnuExportDoc_Click(0);
    EXPECT_TRUE(QFile::exists(dir + QStringLiteral("/r..xlsx")));

    const QString pdf = dir + QStringLiteral("/r.pdf");
    DialogScript::queueFileName(pdf);
    ASSERT_TRUE(f->SaveAsPdf());
    QFile p(pdf);
    ASSERT_TRUE(p.open(QIODevice::ReadOnly));
    const QByteArray pdfBytes = p.readAll();
    EXPECT_TRUE(pdfBytes.startsWith("%PDF"));
    EXPECT_TRUE(pdfBytes.contains("/Subtype /Image")) << "the chart is missing from the PDF";

    // Without the chart the page has no image; an empty report refuses to export.
    f->chartCheck()->setChecked(false);
    f->periodCombo()->setCurrentIndex(7);
    f->cmdShow_Click();
    EXPECT_FALSE(f->pageHtml().contains(QStringLiteral("<img")));
    EXPECT_TRUE(f->pageHtml().contains(QStringLiteral("<b> No items</b>")));
    f->mnuExportDoc_Click(2);
    EXPECT_EQ(PromptTexts(), QStringList{QStringLiteral("There is no data to be exported!")});
}

INSTANTIATE_TEST_SUITE_P(Engines, ReportsForm, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

}  // namespace
}  // namespace tlm
