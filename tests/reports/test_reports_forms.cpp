// The reports window offscreen: start-up state, messages, the page, an export through an answered
// dialog, the PDF and the state kept at close.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QFile>
#include <QGroupBox>
#include <QListWidget>
#include <QLocale>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>

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

// 20,000 rows: the page shows them all, part by part, and the PDF and the export hold them all.
TEST_P(ReportsForm, EveryRowOnThePagePdfAndExport) {
    constexpr int kRows = 20000;
    Exec(QStringLiteral("DELETE FROM tReportedAppointments"));
    Exec(QStringLiteral("INSERT INTO tReportedAppointments (Subject, ReportedBy, ReportedDate, ProjectValue, "
                        "TotalCost, Duration, Approved) VALUES ('Bulk', 'bo', ?, 'Apollo', ?, 15, 0)"),
         {QDateTime(QDate(2026, 3, 4), QTime(10, 0)), QVariant::fromValue(Money::fromInt(1))});
    const QString copy = QStringLiteral(
        "INSERT INTO tReportedAppointments (Subject, ReportedBy, ReportedDate, ProjectValue, TotalCost, "
        "Duration, Approved) SELECT Subject, ReportedBy, ReportedDate, ProjectValue, TotalCost, Duration, "
        "Approved FROM tReportedAppointments");
    for (int n = 1; n * 2 <= kRows; n *= 2)
        Exec(copy);
    Exec(copy + QStringLiteral(" LIMIT %1").arg(kRows - Count(QStringLiteral("tReportedAppointments"))));
    ASSERT_EQ(Count(QStringLiteral("tReportedAppointments")), kRows);
    Exec(QStringLiteral("UPDATE tReportedAppointments SET Subject = 'Bulk ' || ID"));

    auto f = NewForm();
    Tick(*f, QStringLiteral("Subject"));
    Tick(*f, QStringLiteral("Total Cost"));
    f->cmdShow_Click();
    ASSERT_EQ(f->reportRows(), kRows) << AllShownText().toStdString();
    const QRegularExpression bulk(QStringLiteral("Bulk (\\d+)"));
    const auto subjects = [&](const QString& text) {
        QSet<QString> seen;
        for (auto it = bulk.globalMatch(text); it.hasNext();)
            seen.insert(it.next().captured(1));
        return seen;
    };

    // The page, a part at a time: every row once, the count and the totals of all on each part.
    ASSERT_EQ(f->viewParts(), kRows / frmReports::kViewRows);
    EXPECT_FALSE(f->previousButton()->isEnabled());
    QSet<QString> shown;
    qint64 rowsShown = 0;
    for (int part = 0; part < f->viewParts(); ++part) {
        if (part > 0)
            f->nextButton()->click();
        ASSERT_EQ(f->viewPart(), part);
        const QString page = f->pageHtml();
        EXPECT_TRUE(page.contains(QStringLiteral("<b> 20000 items</b>"))) << part;
        EXPECT_TRUE(page.contains(QStringLiteral("<td align=\"right\"><b>20,000.00</b></td>"))) << part;
        rowsShown += page.count(QStringLiteral("<td align=\"left\">Bulk "));
        shown.unite(subjects(page));
    }
    EXPECT_FALSE(f->nextButton()->isEnabled());
    EXPECT_EQ(rowsShown, kRows);
    EXPECT_EQ(shown.size(), kRows);
    f->previousButton()->click();
    EXPECT_EQ(f->viewPart(), f->viewParts() - 2);

    // The PDF takes every row, not the part on show.
    const QString pdftotext = QStandardPaths::findExecutable(QStringLiteral("pdftotext"));
    ASSERT_FALSE(pdftotext.isEmpty()) << "pdftotext (poppler-utils, scripts/install-deps.sh) is needed";
    const QString pdf = dir + QStringLiteral("/all.pdf");
    DialogScript::queueFileName(pdf);
    ASSERT_TRUE(f->SaveAsPdf()) << AllShownText().toStdString();
    QProcess extract;
    extract.start(pdftotext, {pdf, QStringLiteral("-")});
    ASSERT_TRUE(extract.waitForFinished(300000));
    ASSERT_EQ(extract.exitCode(), 0) << extract.readAllStandardError().toStdString();
    EXPECT_EQ(subjects(QString::fromUtf8(extract.readAllStandardOutput())), shown);

    // The export: heading, every row, totals.
    const QString txt = dir + QStringLiteral("/all.txt");
    DialogScript::queueFileName(txt);
    f->mnuExportDoc_Click(1);
    QFile file(txt);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QStringList lines =
        QString::fromUtf8(file.readAll()).split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), kRows + 2);
    EXPECT_EQ(lines.first(), QStringLiteral("Subject\tTotal Cost"));
    EXPECT_EQ(lines.last(), QStringLiteral("\t20,000.00"));
    EXPECT_EQ(subjects(lines.join(u'\n')), shown);
    EXPECT_TRUE(PromptTexts().isEmpty()) << AllShownText().toStdString();
}

// The export writes the report as generated, and tells when the database gives other rows since.
TEST_P(ReportsForm, ExportTellsWhenTheDataChangedSinceTheReport) {
    struct Case {
        const char* what;
        QString change;  // run between the report and the export
        bool told;
        const char* now;  // the rows the database gives now, as the message says
    };
    const Case cases[] = {
        {"nothing changed", QString(), false, ""},
        {"a column not on the report", QStringLiteral("UPDATE tReportedAppointments SET Location = 'Hall'"),
         false, ""},
        {"a shown value",
         QStringLiteral("UPDATE tReportedAppointments SET Subject = 'Renamed' WHERE Subject = 'Item 1'"),
         true, "now gives 3"},
        {"a cost that is summed",
         QStringLiteral("UPDATE tReportedAppointments SET TotalCost = 99 WHERE Subject = 'Item 2'"), true,
         "now gives 3"},
        {"a row added",
         QStringLiteral(
             "INSERT INTO tReportedAppointments (Subject, ReportedBy, ReportedDate, ProjectValue, "
             "TotalCost, Duration, Approved) SELECT 'Late', ReportedBy, ReportedDate, ProjectValue, "
             "TotalCost, Duration, Approved FROM tReportedAppointments WHERE Subject = 'Item 0'"),
         true, "now gives 4"},
        {"every row gone", QStringLiteral("DELETE FROM tReportedAppointments"), true, "now gives 0"},
    };
    int n = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        auto f = NewForm();
        Tick(*f, QStringLiteral("Subject"));
        Tick(*f, QStringLiteral("Total Cost"));
        f->cmdShow_Click();
        ASSERT_EQ(f->reportRows(), 3) << AllShownText().toStdString();
        if (!c.change.isEmpty())
            Exec(c.change);
        prompter.clear();
        const QString path = dir + QStringLiteral("/changed%1.txt").arg(++n);
        DialogScript::queueFileName(path);
        f->mnuExportDoc_Click(1);
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << "the generated rows are written in any case";
        EXPECT_EQ(
            QString::fromUtf8(file.readAll()),
            QStringLiteral("Subject\tTotal Cost\r\nItem 0\t10\r\nItem 1\t11\r\nItem 2\t12\r\n\t33.00\r\n"));
        const QStringList told = PromptTexts();
        if (c.told) {
            ASSERT_EQ(told.size(), 1);
            EXPECT_TRUE(
                told[0].startsWith(QStringLiteral("The data changed since the report was generated")));
            EXPECT_TRUE(told[0].contains(QString::fromLatin1(c.now))) << told[0].toStdString();
            EXPECT_TRUE(told[0].contains(QStringLiteral("the report has 3 rows")));
        } else {
            EXPECT_TRUE(told.isEmpty()) << told.join(u'|').toStdString();
        }
        f->close();
        // The next case starts from the three rows again.
        Exec(QStringLiteral("DELETE FROM tReportedAppointments"));
        for (int i = 0; i < 3; ++i)
            Exec(QStringLiteral("INSERT INTO tReportedAppointments (Subject, ReportedBy, ReportedDate, "
                                "ProjectValue, TotalCost, Duration, Approved) VALUES (?, ?, ?, ?, ?, ?, 0)"),
                 {QStringLiteral("Item %1").arg(i), QStringLiteral("ann"),
                  QDateTime(QDate(2026, 3, 4), QTime(9 + i, 0)), QStringLiteral("Apollo"),
                  QVariant::fromValue(Money::fromInt(10 + i)), 30});
    }
}

// "Date Range.." brings the pickers back each time it is chosen, also when it is chosen again after
// a report hid them; another period hides them.
TEST_P(ReportsForm, DatePickersComeBackWhenDateRangeIsChosen) {
    auto f = NewForm();
    Tick(*f, QStringLiteral("Subject"));
    QComboBox* period = f->periodCombo();
    const int range = period->findText(QStringLiteral("Date Range.."));
    ASSERT_GE(range, 0);
    struct Step {
        const char* what;
        int choose;    // -1: generate a report
        bool visible;  // the date frame afterwards
    };
    const Step steps[] = {
        {"chosen", range, true},       {"a report", -1, false},      {"chosen again", range, true},
        {"a report again", -1, false}, {"another period", 0, false}, {"back to the range", range, true},
    };
    for (const Step& s : steps) {
        if (s.choose < 0) {
            f->cmdShow_Click();
        } else {
            // As the user picks from the list: the index changes only when it differs.
            period->setCurrentIndex(s.choose);
            emit period->activated(s.choose);
        }
        EXPECT_EQ(f->dateRangeFrame()->isVisible(), s.visible) << s.what;
    }
}

// A preset saved in the screen is offered under its name, restores every choice, and is deleted.
TEST_P(ReportsForm, PresetSavedChosenAndDeleted) {
    auto f = NewForm();
    f->typesCombo()->setCurrentIndex(1);
    Tick(*f, QStringLiteral("Subject"));
    Tick(*f, QStringLiteral("Duration"));
    f->periodCombo()->setCurrentIndex(f->periodCombo()->findText(QStringLiteral("Date Range..")));
    f->startPicker()->setDate(QDate(2026, 3, 1));
    f->endPicker()->setDate(QDate(2026, 3, 31));
    f->filterCombo()->setCurrentIndex(1);
    EXPECT_FALSE(f->SavePreset(QStringLiteral("  ")));
    EXPECT_EQ(PromptTexts(), QStringList{QStringLiteral("Please type a name for the preset!")});
    ASSERT_TRUE(f->SavePreset(QStringLiteral("March by client")));
    EXPECT_EQ(f->presetCombo()->count(), 1);
    EXPECT_EQ(f->presetCombo()->itemText(0), QStringLiteral("March by client"));

    // Everything changed, then the preset chosen from the list.
    f->typesCombo()->setCurrentIndex(0);
    f->periodCombo()->setCurrentIndex(0);
    f->filterCombo()->setCurrentIndex(0);
    f->typesCombo()->setCurrentIndex(1);
    for (int i = 0; i < f->fieldList()->count(); ++i)
        f->fieldList()->item(i)->setCheckState(i == 1 ? Qt::Checked : Qt::Unchecked);
    emit f->presetCombo()->activated(0);
    EXPECT_EQ(f->typesCombo()->currentText(), QStringLiteral("Appointments"));
    EXPECT_EQ(f->periodCombo()->currentText(), QStringLiteral("Date Range.."));
    EXPECT_TRUE(f->dateRangeFrame()->isVisible());
    EXPECT_EQ(f->startPicker()->date(), QDate(2026, 3, 1));
    EXPECT_EQ(f->endPicker()->date(), QDate(2026, 3, 31));
    EXPECT_EQ(f->filterCombo()->currentIndex(), 1);
    EXPECT_EQ(f->listCombo()->currentText(), QStringLiteral("Apollo"));
    QStringList ticked;
    for (int i = 0; i < f->fieldList()->count(); ++i)
        if (f->fieldList()->item(i)->checkState() == Qt::Checked)
            ticked.append(f->fieldList()->item(i)->text());
    EXPECT_EQ(ticked, (QStringList{QStringLiteral("Duration"), QStringLiteral("Subject")}));
    f->cmdShow_Click();
    EXPECT_TRUE(f->pageHtml().contains(QStringLiteral("<b> 3 items</b>"))) << f->pageHtml().toStdString();

    // A second window finds it; deleted there, it is gone for both.
    auto other = NewForm();
    EXPECT_EQ(other->presetCombo()->count(), 1);
    EXPECT_FALSE(other->DeletePreset(QStringLiteral("No such preset")));
    EXPECT_TRUE(other->DeletePreset(QStringLiteral("MARCH BY CLIENT")));
    EXPECT_EQ(other->presetCombo()->count(), 0);
    EXPECT_FALSE(f->ApplyPreset(QStringLiteral("March by client")));
}

INSTANTIATE_TEST_SUITE_P(Engines, ReportsForm, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

}  // namespace
}  // namespace tlm
