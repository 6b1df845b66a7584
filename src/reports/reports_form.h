#pragma once

#include <QDateTime>
#include <QDialog>
#include <QImage>
#include <functional>
#include <optional>

#include "core/dictionary.h"
#include "reports/report_fields.h"
#include "reports/report_query.h"
#include "reports/report_render.h"
#include "reports/report_request.h"

class QCheckBox;
class QComboBox;
class QDateEdit;
class QGroupBox;
class QLabel;
class QListWidget;
class QMenu;
class QPushButton;
class QTextBrowser;
class QTextEdit;
class QToolButton;

namespace tlm {

class cUISettings;

// The summary reports window: one report at a time over tasks or appointments, shown as a page,
// printed, saved as PDF or exported.
class frmReports : public QDialog {
    Q_OBJECT
  public:
    explicit frmReports(cUISettings& ui, QWidget* parent = nullptr);
    ~frmReports() override;

    // The form's load: the selectors from the stored state, then the welcome page.
    void subSetCaption();
    void cmdShow_Click();
    // 0 Excel, 1 text, 2 XML, 3 HTML, 5 append to text, 6 append to HTML.
    void mnuExportDoc_Click(int index);
    void ExportToFile(const QString& format, bool append);
    void PrintReport();
    // Asks for the file; true when a PDF was written.
    bool SaveAsPdf();
    void SaveUISettings();
    void Exit();
    // Named presets of the current user: the selectors and ticks saved under a name, chosen again,
    // deleted. False when the name is empty or unknown, or the settings could not be written (told).
    bool SavePreset(const QString& name);
    bool ApplyPreset(const QString& name);
    bool DeletePreset(const QString& name);
    QComboBox* presetCombo() const { return cboPreset_; }

    // The clock of the periods; tests fix it.
    void setClock(std::function<QDateTime()> clock) { clock_ = std::move(clock); }

    bool blnFullView = true;
    bool blnShowingAppointments = false;
    Dictionary<QString> dicSelectedFields{CompareMode::Text};

    QComboBox* typesCombo() const { return cboTypes_; }
    QComboBox* periodCombo() const { return cboTimePeriod_; }
    QComboBox* filterCombo() const { return cboFilter_; }
    QComboBox* listCombo() const { return cboList_; }
    QListWidget* fieldList() const { return lvFields_; }
    QDateEdit* startPicker() const { return dtpStart_; }
    QDateEdit* endPicker() const { return dtpEnd_; }
    QGroupBox* dateRangeFrame() const { return FrameDateRange_; }
    QCheckBox* chartCheck() const { return chkChart_; }
    QMenu* exportMenu() const { return mnuExportAs_; }
    QTextBrowser* browserPane() const { return wwwReport_; }
    QTextEdit* editorPane() const { return wwwReportEditor_; }
    // The page last written to the panes.
    QString pageHtml() const { return page_; }
    // The whole report as one page, every row: what Print and Save as PDF take of a longer report.
    QString fullPageHtml() const;
    bool hasReport() const { return report_.has_value(); }
    qint64 reportRows() const { return report_ ? report_->run.rowCount : 0; }
    // The browser shows a long report a part at a time.
    static constexpr qint64 kViewRows = 1000;
    int viewPart() const { return part_; }
    int viewParts() const;
    void showPart(int part);
    QPushButton* previousButton() const { return cmdPrevious_; }
    QPushButton* nextButton() const { return cmdNext_; }
    const QImage& chartImage() const { return chart_; }

  protected:
    void done(int result) override;

  private:
    struct LastReport {
        PreparedReport prepared;
        ReportRun run;
        QString timeText;
    };

    void cboTypes_Click();
    void cboTimePeriod_Click();
    void cboFilter_Click();
    void GetSelectedFields();
    void SetSelectedFields(const QString& list);
    QString SelectedFields();
    QStringList TickedRows() const;
    ReportChoices Choices() const;
    ReportContext Context() const;
    bool ShowReport(const PreparedReport& prepared);
    void OutputHTML(const QString& page);
    QString DateText(const QDateTime& value) const;
    void FillPresets(const QString& current);

    cUISettings& ui_;
    cReportFields fields_;
    std::function<QDateTime()> clock_;
    QString projectTitle_;
    std::optional<LastReport> report_;
    QString page_;
    QImage chart_;
    bool editable_ = false;
    bool unloaded_ = false;
    int part_ = 0;

    QComboBox* cboTypes_ = nullptr;
    QComboBox* cboTimePeriod_ = nullptr;
    QComboBox* cboFilter_ = nullptr;
    QComboBox* cboList_ = nullptr;
    QComboBox* cboPreset_ = nullptr;
    QGroupBox* FrameDateRange_ = nullptr;
    QGroupBox* FrameFilter_ = nullptr;
    QDateEdit* dtpStart_ = nullptr;
    QDateEdit* dtpEnd_ = nullptr;
    QListWidget* lvFields_ = nullptr;
    QCheckBox* chkChart_ = nullptr;
    QPushButton* cmdShow_ = nullptr;
    QToolButton* cmdExport_ = nullptr;
    QMenu* mnuExportAs_ = nullptr;
    QTextBrowser* wwwReport_ = nullptr;
    QTextEdit* wwwReportEditor_ = nullptr;
    QPushButton* cmdPrevious_ = nullptr;
    QPushButton* cmdNext_ = nullptr;
    QLabel* lblPart_ = nullptr;
};

void OpenReports(qint32 section);
// Widget tests drive the window instead of a blocking modal loop: the driver gets the loaded,
// shown form; a form it leaves open is closed as by Exit. An empty driver restores exec().
void SetReportsDriver(std::function<void(frmReports&)> driver);

}  // namespace tlm
