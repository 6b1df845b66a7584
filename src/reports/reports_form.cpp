#include "reports/reports_form.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPrintDialog>
#include <QPrinter>
#include <QProgressDialog>
#include <QPushButton>
#include <QSplitter>
#include <QTextBrowser>
#include <QTextDocument>
#include <QTextEdit>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "database/connection.h"
#include "desktop/dialogs.h"
#include "desktop/look.h"
#include "desktop/ui_settings.h"
#include "desktop/window_services.h"
#include "domain/option_keys.h"
#include "domain/single_list.h"
#include "reports/report_chart_form.h"
#include "reports/report_export.h"
#include "reports/report_pdf.h"
#include "reports/report_presets.h"
#include "reports/report_request.h"
#include "settings/global_settings.h"

namespace tlm {

namespace {

std::function<void(frmReports&)> g_driver;

// Window sizes are stored in the original units, 15 to a pixel.
constexpr int kUnitsPerPixel = 15;
const QString kTitle = QStringLiteral("Tally Loom Manager Process");

// Both panes find the chart image by its name on the page.
template <class Base>
class ChartAwarePane : public Base {
  public:
    explicit ChartAwarePane(const QImage* chart) : chart_(chart) {}
    QVariant loadResource(int type, const QUrl& name) override {
        if (type == QTextDocument::ImageResource && name.toString() == kChartImageName)
            return *chart_;
        return Base::loadResource(type, name);
    }

  private:
    const QImage* chart_;
};

// The progress box with Cancel that runs while the query, the page or an export works.
class Progress {
  public:
    Progress(QWidget* owner, qint64 total)
        : dialog_(QStringLiteral("Please wait a moment...processing your request"), QStringLiteral("Cancel"),
                  0, 100, owner) {
        total_ = total;
        dialog_.setWindowTitle(kTitle);
        dialog_.setWindowModality(Qt::WindowModal);
        dialog_.setMinimumDuration(400);
        dialog_.setValue(10);
        QApplication::setOverrideCursor(Qt::WaitCursor);
    }
    ~Progress() { QApplication::restoreOverrideCursor(); }
    // False once the user has pressed Cancel.
    bool Tick(qint64 rows) {
        dialog_.setLabelText(QStringLiteral("Please wait a moment...processing your request\n%1 rows")
                                 .arg(QLocale().toString(rows)));
        const int value =
            total_ > 0 ? int(10 + 85 * std::min<qint64>(rows, total_) / total_) : 10 + int(rows / 1000 % 80);
        dialog_.setValue(value);
        QApplication::processEvents();
        return !dialog_.wasCanceled();
    }

  private:
    QProgressDialog dialog_;
    qint64 total_ = 0;
};

void SetIndexQuietlyFailing(QComboBox* combo, int index) {
    // An index the combo does not have is refused, and the current entry stays.
    if (index >= 0 && index < combo->count())
        combo->setCurrentIndex(index);
}

}  // namespace

frmReports::frmReports(cUISettings& ui, QWidget* parent) : QDialog(parent), ui_(ui) {
    setWindowTitle(QStringLiteral("TimeSheet Summary Reports"));
    setWindowFlag(Qt::WindowMaximizeButtonHint, true);
    setWindowFlag(Qt::WindowMinimizeButtonHint, true);
    clock_ = [] { return QDateTime::currentDateTime(); };

    auto* side = new QWidget;
    auto* sideLayout = new QVBoxLayout(side);
    sideLayout->setContentsMargins(0, 0, 0, 0);  // the window's margins are around it already
    auto* framePreset = new QGroupBox(QStringLiteral("Presets"));
    auto* presetLayout = new QHBoxLayout(framePreset);
    cboPreset_ = new QComboBox;
    cboPreset_->setEditable(true);
    cboPreset_->setInsertPolicy(QComboBox::NoInsert);
    cboPreset_->lineEdit()->setPlaceholderText(QStringLiteral("Preset name"));
    cboPreset_->setMinimumContentsLength(11);  // the placeholder whole
    auto* cmdSavePreset = new QPushButton(QStringLiteral("Save"));
    auto* cmdDeletePreset = new QPushButton(QStringLiteral("Delete"));
    presetLayout->addWidget(cboPreset_, 1);
    presetLayout->addWidget(cmdSavePreset);
    presetLayout->addWidget(cmdDeletePreset);
    sideLayout->addWidget(framePreset);
    connect(cboPreset_, &QComboBox::activated, this,
            [this](int index) { ApplyPreset(cboPreset_->itemText(index)); });
    connect(cmdSavePreset, &QPushButton::clicked, this, [this] { SavePreset(cboPreset_->currentText()); });
    connect(cmdDeletePreset, &QPushButton::clicked, this,
            [this] { DeletePreset(cboPreset_->currentText()); });

    sideLayout->addWidget(new QLabel(QStringLiteral("Select reported items type")));
    cboTypes_ = new QComboBox;
    sideLayout->addWidget(cboTypes_);

    auto* framePeriod = new QGroupBox(QStringLiteral("Select a time period"));
    auto* periodLayout = new QVBoxLayout(framePeriod);
    cboTimePeriod_ = new QComboBox;
    periodLayout->addWidget(cboTimePeriod_);
    sideLayout->addWidget(framePeriod);

    FrameDateRange_ = new QGroupBox(QStringLiteral("Date Range"));
    auto* rangeLayout = new QVBoxLayout(FrameDateRange_);
    dtpStart_ = new QDateEdit;
    dtpEnd_ = new QDateEdit;
    for (QDateEdit* d : {dtpStart_, dtpEnd_}) {
        d->setCalendarPopup(true);
        rangeLayout->addWidget(d);
    }
    sideLayout->addWidget(FrameDateRange_);

    FrameFilter_ = new QGroupBox(QStringLiteral("Filter by (Optional)"));
    auto* filterLayout = new QVBoxLayout(FrameFilter_);
    cboFilter_ = new QComboBox;
    cboList_ = new QComboBox;
    filterLayout->addWidget(cboFilter_);
    filterLayout->addWidget(cboList_);
    sideLayout->addWidget(FrameFilter_);

    sideLayout->addWidget(new QLabel(QStringLiteral("Select fields to be included")));
    lvFields_ = new QListWidget;
    sideLayout->addWidget(lvFields_, 1);
    chkChart_ = new QCheckBox(QStringLiteral("Show a chart of the summary"));
    chkChart_->setChecked(true);
    sideLayout->addWidget(chkChart_);
    cmdShow_ = new QPushButton(QStringLiteral("Generate Report"));
    sideLayout->addWidget(cmdShow_);

    auto* buttons = new QHBoxLayout;
    cmdExport_ = new QToolButton;
    cmdExport_->setText(QStringLiteral("Export Report As"));
    cmdExport_->setPopupMode(QToolButton::InstantPopup);
    mnuExportAs_ = new QMenu(QStringLiteral("Export Report As"), this);
    const QStringList captions = {QStringLiteral("Excel Document"),
                                  QStringLiteral("Text Document"),
                                  QStringLiteral("XML Document"),
                                  QStringLiteral("HTML Document"),
                                  QString(),
                                  QStringLiteral("Append to Existing Text File"),
                                  QStringLiteral("Append to Existing HTML file")};
    for (int i = 0; i < captions.size(); ++i) {
        if (captions[i].isEmpty()) {
            mnuExportAs_->addSeparator();
            continue;
        }
        mnuExportAs_->addAction(captions[i], this, [this, i] { mnuExportDoc_Click(i); });
    }
    cmdExport_->setMenu(mnuExportAs_);
    auto* cmdPrint = new QPushButton(QStringLiteral("Print"));
    auto* cmdPdf = new QPushButton(QStringLiteral("Save as PDF"));
    // Close where the desktop puts a dialog's buttons.
    auto* closeBox = NewDialogButtons(QDialogButtonBox::Close, nullptr);
    cmdPrevious_ = new QPushButton(QStringLiteral("Previous"));
    cmdNext_ = new QPushButton(QStringLiteral("Next"));
    lblPart_ = new QLabel;
    // The pager has a row of its own above the page, so the buttons below fit the first size.
    auto* pager = new QHBoxLayout;
    pager->addWidget(cmdPrevious_);
    pager->addWidget(lblPart_);
    pager->addWidget(cmdNext_);
    pager->addStretch(1);
    buttons->addWidget(cmdExport_);
    buttons->addWidget(cmdPrint);
    buttons->addWidget(cmdPdf);
    buttons->addStretch(1);
    buttons->addWidget(closeBox);

    wwwReport_ = new ChartAwarePane<QTextBrowser>(&chart_);
    wwwReport_->setOpenLinks(false);
    wwwReportEditor_ = new ChartAwarePane<QTextEdit>(&chart_);
    wwwReportEditor_->setAcceptRichText(true);
    // The page is paper: its HTML brings colours of its own and prints as it shows.
    wwwReport_->setPalette(PaperPalette(wwwReport_->palette()));
    wwwReportEditor_->setPalette(PaperPalette(wwwReportEditor_->palette()));
    auto* panes = new QWidget;
    auto* paneLayout = new QVBoxLayout(panes);
    paneLayout->setContentsMargins(0, 0, 0, 0);
    paneLayout->addLayout(pager);
    paneLayout->addWidget(wwwReport_);
    paneLayout->addWidget(wwwReportEditor_);
    paneLayout->addLayout(buttons);

    auto* splitter = new QSplitter;
    splitter->addWidget(side);
    splitter->addWidget(panes);
    splitter->setStretchFactor(1, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(splitter);

    connect(cboTypes_, &QComboBox::currentIndexChanged, this, [this] { cboTypes_Click(); });
    connect(cboTimePeriod_, &QComboBox::currentIndexChanged, this, [this] { cboTimePeriod_Click(); });
    // Choosing the entry already shown changes no index, yet the date frame hidden by a report must
    // come back.
    connect(cboTimePeriod_, &QComboBox::activated, this, [this] { cboTimePeriod_Click(); });
    connect(cboFilter_, &QComboBox::currentIndexChanged, this, [this] { cboFilter_Click(); });
    connect(lvFields_, &QListWidget::itemChanged, this, [this] { GetSelectedFields(); });
    connect(cmdShow_, &QPushButton::clicked, this, [this] { cmdShow_Click(); });
    connect(cmdPrint, &QPushButton::clicked, this, [this] { PrintReport(); });
    connect(cmdPdf, &QPushButton::clicked, this, [this] { SaveAsPdf(); });
    connect(closeBox, &QDialogButtonBox::rejected, this, [this] { Exit(); });
    connect(cmdPrevious_, &QPushButton::clicked, this, [this] { showPart(part_ - 1); });
    connect(cmdNext_, &QPushButton::clicked, this, [this] { showPart(part_ + 1); });
    ApplyLook(this);
}

frmReports::~frmReports() = default;

void frmReports::subSetCaption() {
    cDBSettings* db = DBSettings();
    ui_.ReadReportsUIValues();
    // The manager flag is always on in this program; the member-only path stays as designed.
    blnFullView = Process().blnManagerProcess;
    if (!blnFullView && db)
        blnFullView =
            db->GeneralSettings.GetValue(tpo::kAllowMemberViewAllSummaryReports, cGeneralSettings::kInteger)
                    .toInt() != 0 &&
            db->CurrentMember.AdminAccess;
    editable_ =
        db && db->GeneralSettings.GetValue(tpo::kReportEditable, cGeneralSettings::kInteger).toInt() != 0;
    wwwReportEditor_->setVisible(editable_);
    wwwReport_->setVisible(!editable_);

    projectTitle_ = ReportProjectTitle(db ? db->ProjectTitle : QString());
    if (db)
        fields_.LoadFieldsToDictionaries(db->GeneralSettings, db->ProjectTitle, db->ActivityTitle);
    else
        fields_.LoadFieldsToDictionaries(cGeneralSettings(), QString(), QString());

    // Filling a list selects its first entry without a click; the clicks come from the steps below.
    {
        const QSignalBlocker blockTypes(cboTypes_), blockPeriods(cboTimePeriod_), blockFilter(cboFilter_);
        cboTypes_->addItems(ReportTypeNames());
        cboTimePeriod_->addItems(ReportPeriodNames());
        cboFilter_->addItem(QStringLiteral("None"));
        cboFilter_->addItem(projectTitle_);
        if (blnFullView)
            cboFilter_->addItem(QStringLiteral("Member"));
    }
    cboTypes_->setCurrentIndex(1);

    SetIndexQuietlyFailing(cboTimePeriod_, ui_.Reports_TimePeriodIndex);
    SetIndexQuietlyFailing(cboTypes_, ui_.Reports_ReportTypeIndex);
    SetIndexQuietlyFailing(cboFilter_, ui_.Reports_FilterByIndex);
    if (ui_.Reports_WindowState == 2)
        setWindowState(Qt::WindowMaximized);
    else if (ui_.Reports_WindowState == 1)
        setWindowState(Qt::WindowMinimized);
    resize(std::max(200, ui_.Reports_Width / kUnitsPerPixel),
           std::max(150, ui_.Reports_Height / kUnitsPerPixel));

    const QDateTime now = clock_();
    dtpStart_->setDate(now.date().addDays(-7));
    dtpEnd_->setDate(now.date());
    cboFilter_Click();
    cboTimePeriod_Click();
    FillPresets(QString());
    OutputHTML(DefaultHTML());
    showPart(0);
}

void frmReports::FillPresets(const QString& current) {
    const QSignalBlocker block(cboPreset_);
    cboPreset_->clear();
    for (const ReportPreset& p : LoadReportPresets())
        cboPreset_->addItem(p.name);
    cboPreset_->setCurrentIndex(-1);
    cboPreset_->setEditText(current);
}

bool frmReports::SavePreset(const QString& name) {
    if (name.trimmed().isEmpty()) {
        MsgBox(QStringLiteral("Please type a name for the preset!"), PromptIcon::Information,
               PromptButtons::Ok, kTitle);
        return false;
    }
    Failure failure;
    std::vector<ReportPreset> presets = LoadReportPresets(&failure);
    PutReportPreset(presets, PresetOfChoices(name, Choices()));
    if (failure.isSet() || !SaveReportPresets(presets, &failure)) {
        failure.label = QStringLiteral("fReports.SavePreset");
        subReportError(failure);
        return false;
    }
    FillPresets(name.trimmed());
    return true;
}

bool frmReports::ApplyPreset(const QString& name) {
    const std::vector<ReportPreset> presets = LoadReportPresets();
    const ReportPreset* p = FindReportPreset(presets, name);
    if (!p)
        return false;
    cboTypes_->setCurrentIndex(p->typeIndex);
    const int period = cboTimePeriod_->findText(p->period);
    if (period >= 0)
        cboTimePeriod_->setCurrentIndex(period);
    if (p->period == kDateRangePeriod) {
        dtpStart_->setDate(p->rangeStart);
        dtpEnd_->setDate(p->rangeEnd);
    }
    cboTimePeriod_Click();
    if (p->filterIndex < cboFilter_->count())
        cboFilter_->setCurrentIndex(p->filterIndex);
    cboFilter_Click();
    const int listed = cboList_->findText(p->listText);
    if (listed >= 0)
        cboList_->setCurrentIndex(listed);
    // The preset's ticks replace the current ones; each change is stored as a tick by hand is.
    for (int i = 0; i < lvFields_->count(); ++i)
        lvFields_->item(i)->setCheckState(p->ticked.contains(lvFields_->item(i)->text()) ? Qt::Checked
                                                                                         : Qt::Unchecked);
    cboPreset_->setEditText(p->name);
    return true;
}

bool frmReports::DeletePreset(const QString& name) {
    Failure failure;
    std::vector<ReportPreset> presets = LoadReportPresets(&failure);
    if (!RemoveReportPreset(presets, name))
        return false;
    if (failure.isSet() || !SaveReportPresets(presets, &failure)) {
        failure.label = QStringLiteral("fReports.DeletePreset");
        subReportError(failure);
        return false;
    }
    FillPresets(QString());
    return true;
}

void frmReports::cboTypes_Click() {
    const int index = cboTypes_->currentIndex();
    if (index != 0 && index != 1)
        return;
    const Dictionary<QString>& dic = *ReportFieldsOfType(fields_, index);
    {
        const QSignalBlocker block(lvFields_);
        lvFields_->clear();
        for (const auto& e : dic) {
            auto* item = new QListWidgetItem(e.item, lvFields_);
            item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
            item->setCheckState(Qt::Unchecked);
        }
    }
    SetSelectedFields(StoredTickList(index, ui_.Reports_SelectedFieldsList_Tasks,
                                     ui_.Reports_SelectedFieldsList_Appointments));
}

void frmReports::cboTimePeriod_Click() {
    // The filter frame sits below the date frame in the layout, so hiding one moves the other up.
    FrameDateRange_->setVisible(cboTimePeriod_->currentText() == kDateRangePeriod);
}

void frmReports::cboFilter_Click() {
    const int index = cboFilter_->currentIndex();
    const QString keep = cboList_->currentText();
    cboList_->clear();
    if (index <= 0) {
        cboList_->setVisible(false);
        return;
    }
    cboList_->setVisible(true);
    const QStringList names = DBSettings() ? ReportFilterNames(*DBSettings(), index) : QStringList();
    cboList_->addItems(names);
    // The shared filler keeps the current text when it is still an entry.
    cboList_->setCurrentIndex(names.contains(keep) ? int(names.indexOf(keep)) : (names.isEmpty() ? -1 : 0));
}

void frmReports::GetSelectedFields() {
    QStringList ticked;
    for (int i = 1; i < lvFields_->count(); ++i)
        if (lvFields_->item(i)->checkState() == Qt::Checked)
            ticked.append(lvFields_->item(i)->text());
    const QString list = ticked.join(QStringLiteral("\r\n"));
    if (cboTypes_->currentIndex() == 0)
        ui_.Reports_SelectedFieldsList_Tasks = list;
    else if (cboTypes_->currentIndex() == 1)
        ui_.Reports_SelectedFieldsList_Appointments = list;
}

void frmReports::SetSelectedFields(const QString& list) {
    const Dictionary<QString>* fields = ReportFieldsOfType(fields_, cboTypes_->currentIndex());
    if (!fields)
        return;
    const QStringList ticked = StoredTicks(*fields, list);
    // Each tick stores the list again, so a stored name no longer offered drops out.
    for (int i = 0; i < lvFields_->count(); ++i)
        if (ticked.contains(lvFields_->item(i)->text()))
            lvFields_->item(i)->setCheckState(Qt::Checked);
}

QStringList frmReports::TickedRows() const {
    QStringList ticked;
    for (int i = 0; i < lvFields_->count(); ++i)
        if (lvFields_->item(i)->checkState() == Qt::Checked)
            ticked.append(lvFields_->item(i)->text());
    return ticked;
}

QString frmReports::SelectedFields() {
    dicSelectedFields = Dictionary<QString>(CompareMode::Text);
    for (const QString& name : SelectedFieldNames(TickedRows()))
        dicSelectedFields.Add(name, name);
    return QStringLiteral("Select * from TABLENAME where ");
}

ReportChoices frmReports::Choices() const {
    ReportChoices c;
    c.typeIndex = cboTypes_->currentIndex();
    c.period = cboTimePeriod_->currentText();
    c.rangeStart = dtpStart_->date();
    c.rangeEnd = dtpEnd_->date();
    c.filterIndex = cboFilter_->currentIndex();
    c.listText = cboList_->currentText();
    c.ticked = TickedRows();
    return c;
}

ReportContext frmReports::Context() const {
    ReportContext x;
    x.dbChoice = Process().mySettings ? Process().mySettings->DBChoice : 0;
    x.fullView = blnFullView;
    x.userName = sCurrentUser();
    x.now = clock_();
    if (DBSettings())
        x.shortDateFormat = DBSettings()->ShortDateFormat;
    return x;
}

QString frmReports::DateText(const QDateTime& value) const {
    return DateTimeToText(value);
}

void frmReports::cmdShow_Click() {
    const Dictionary<QString>* fields = ReportFieldsOfType(fields_, cboTypes_->currentIndex());
    if (!fields || CountChosenFields(*fields, TickedRows()) == 0) {
        MsgBox(QStringLiteral("Please select at least one field to be included into the report!"),
               PromptIcon::Information, PromptButtons::Ok, kTitle);
        return;
    }
    report_.reset();
    chart_ = QImage();
    FrameDateRange_->setVisible(false);
    const PreparedReport prepared = PrepareReport(fields_, Choices(), Context());
    if (ShowReport(prepared)) {
        showPart(0);
        return;
    }
    // A failed or stopped run leaves the page without a report table.
    OutputHTML(ComposeReportPage(prepared, sCurrentUser(), DateTimeToText(clock_()), false, QString()));
    showPart(0);
}

bool frmReports::ShowReport(const PreparedReport& prepared) {
    SelectedFields();
    const int type = cboTypes_->currentIndex();
    if (type != 0 && type != 1)
        return false;
    blnShowingAppointments = type == 1;

    ReportRun run;
    {
        Progress progress(this, 0);
        run = RunReport(CurrentConnection(), prepared.def,
                        [&progress](qint64 rows) { return progress.Tick(rows); });
    }
    if (run.cancelled)
        return false;
    if (!run.ok) {
        Failure f = run.failure;
        f.label = QStringLiteral("fReports.ShowReport");
        subReportError(f);
        return false;
    }
    // As wide as the pane shows it, so the value labels at the bars' ends are not cut off.
    if (chkChart_->isChecked() && run.rowCount > 0)
        chart_ = RenderReportChart(run.chart, std::clamp(wwwReport_->viewport()->width() - 40, 400, 760));
    report_ = LastReport{prepared, std::move(run), DateTimeToText(clock_())};
    return true;
}

QString frmReports::fullPageHtml() const {
    if (!report_)
        return page_;
    const auto dateText = [this](const QDateTime& d) { return DateText(d); };
    return ComposeReportPage(
        report_->prepared, sCurrentUser(), report_->timeText, !chart_.isNull(),
        ReportSectionHtml(report_->prepared.def, report_->run, report_->prepared.header, dateText));
}

int frmReports::viewParts() const {
    if (!report_)
        return 1;
    return int(std::max<qint64>(1, (report_->run.rowCount + kViewRows - 1) / kViewRows));
}

void frmReports::showPart(int part) {
    part_ = std::clamp(part, 0, viewParts() - 1);
    const bool paged = viewParts() > 1;
    cmdPrevious_->setVisible(paged);
    cmdNext_->setVisible(paged);
    lblPart_->setVisible(paged);
    if (!report_)
        return;
    const qint64 first = qint64(part_) * kViewRows;
    const auto dateText = [this](const QDateTime& d) { return DateText(d); };
    // The chart above the first part only; the count and the totals stand on every part.
    OutputHTML(ComposeReportPage(report_->prepared, sCurrentUser(), report_->timeText,
                                 part_ == 0 && !chart_.isNull(),
                                 ReportSectionHtml(report_->prepared.def, report_->run,
                                                   report_->prepared.header, dateText, first, kViewRows)));
    cmdPrevious_->setEnabled(part_ > 0);
    cmdNext_->setEnabled(part_ + 1 < viewParts());
    const QLocale locale;
    lblPart_->setText(QStringLiteral("Rows %1 to %2 of %3")
                          .arg(locale.toString(first + 1),
                               locale.toString(std::min(report_->run.rowCount, first + kViewRows)),
                               locale.toString(report_->run.rowCount)));
}

void frmReports::OutputHTML(const QString& page) {
    page_ = page;
    wwwReport_->setHtml(page);
    if (editable_)
        wwwReportEditor_->setHtml(page);
}

void frmReports::mnuExportDoc_Click(int index) {
    switch (index) {
        case 0:
            ExportToFile(QStringLiteral("XLS"), false);
            break;
        case 1:
            ExportToFile(QStringLiteral("TXT"), false);
            break;
        case 2:
            ExportToFile(QStringLiteral("XML"), false);
            break;
        case 3:
            ExportToFile(QStringLiteral("HTML"), false);
            break;
        case 5:
            ExportToFile(QStringLiteral("TXT"), true);
            break;
        case 6:
            ExportToFile(QStringLiteral("HTML"), true);
            break;
        default:
            break;
    }
}

void frmReports::ExportToFile(const QString& format, bool append) {
    if (!report_)
        return;
    if (report_->run.rowCount == 0) {
        MsgBox(QStringLiteral("There is no data to be exported!"), PromptIcon::Information, PromptButtons::Ok,
               QStringLiteral("Tally Loom"));
        return;
    }
    const QString kind = format.toUpper();
    QString path;
    ExportFormat target = ExportFormat::Text;
    if (kind == u"XLS") {
        // The workbook is written as .xlsx, so the dialog offers that name.
        path = EnsureExtension(SaveFileToDisk(QStringLiteral("Excel SpreadSheets (*.xlsx)|*.xlsx"), this),
                               QStringLiteral("xlsx"));
        target = ExportFormat::Excel;
    } else if (kind == u"TXT") {
        const QString filter = QStringLiteral("Text files (*.txt)|*.txt");
        path = EnsureExtension(append ? OpenFileFromDisk(filter, this) : SaveFileToDisk(filter, this),
                               QStringLiteral("txt"));
        target = ExportFormat::Text;
    } else if (kind == u"HTML") {
        const QString filter = QStringLiteral("HTML files (*.htm;*.html)|*.htm;*.html");
        const QString answer = append ? OpenFileFromDisk(filter, this) : SaveFileToDisk(filter, this);
        path = EnsureExtension(answer, QStringLiteral("htm"));
        if (append && !path.isEmpty() && !QFileInfo::exists(path))
            path = EnsureExtension(answer, QStringLiteral("html"));
        target = ExportFormat::Html;
    } else if (kind == u"XML") {
        path = EnsureExtension(SaveFileToDisk(QStringLiteral("XML files (*.xml)|*.xml"), this),
                               QStringLiteral("xml"));
        target = ExportFormat::Xml;
    } else {
        return;
    }
    if (path.isEmpty())
        return;
    // The file holds the rows the user saw; one more read of the query tells whether they still hold.
    ReportCheck check;
    ExportOutcome out;
    {
        Progress progress(this, report_->run.rowCount);
        check = CheckReportCurrent(CurrentConnection(), report_->prepared.def, report_->run);
        out = ExportGeneratedReport(
            report_->run, report_->prepared.def, target, path, append,
            [this](const QDateTime& d) { return DateText(d); },
            [&progress](qint64 rows) { return progress.Tick(rows); });
    }
    if (!out.ok && !out.cancelled) {
        Failure f = out.failure;
        f.label = QStringLiteral("fReports.ExportToFile");
        subReportError(f);
        return;
    }
    if (!out.ok)
        return;
    if (!check.read)
        MsgBox(QStringLiteral("The report was exported as it was generated, but the database could not be "
                              "read again to tell whether its data changed since: ") +
                   check.failure.description,
               PromptIcon::Exclamation, PromptButtons::Ok, kTitle);
    else if (check.changed)
        MsgBox(ReportChangedText(check, report_->run.rowCount), PromptIcon::Exclamation, PromptButtons::Ok,
               kTitle);
}

void frmReports::PrintReport() {
    QPrinter printer(QPrinter::HighResolution);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    // A report in one part prints as the panes show it, edits included; a longer one prints every
    // row, not the part on show.
    if (viewParts() == 1) {
        (editable_ ? wwwReportEditor_->document() : wwwReport_->document())->print(&printer);
        return;
    }
    ReportPageDocument(fullPageHtml(), chart_)->print(&printer);
}

bool frmReports::SaveAsPdf() {
    const QString path = EnsureExtension(SaveFileToDisk(QStringLiteral("PDF files (*.pdf)|*.pdf"), this),
                                         QStringLiteral("pdf"));
    if (path.isEmpty())
        return false;
    QString error;
    std::unique_ptr<QTextDocument> whole;
    if (viewParts() > 1)
        whole = ReportPageDocument(fullPageHtml(), chart_);
    QTextDocument& document =
        whole ? *whole : *(editable_ ? wwwReportEditor_->document() : wwwReport_->document());
    if (!PrintDocumentToPdf(document, path, &error)) {
        subReportError(Failure{errnum::kUnspecified, error, 0, QStringLiteral("fReports.SaveAsPdf")});
        return false;
    }
    return true;
}

void frmReports::SaveUISettings() {
    ui_.Reports_TimePeriodIndex = qint16(cboTimePeriod_->currentIndex());
    ui_.Reports_ReportTypeIndex = qint16(cboTypes_->currentIndex());
    ui_.Reports_FilterByIndex = qint16(cboFilter_->currentIndex());
    const qint16 state = isMinimized() ? 1 : isMaximized() ? 2 : 0;
    if (state != 1)
        ui_.Reports_WindowState = state;
    if (state != 2) {
        ui_.Reports_Width = qint16(std::min(32767, width() * kUnitsPerPixel));
        ui_.Reports_Height = qint16(std::min(32767, height() * kUnitsPerPixel));
    }
    ui_.SaveReportsUIValues();
}

void frmReports::Exit() {
    reject();
}

void frmReports::done(int result) {
    if (!unloaded_) {
        unloaded_ = true;
        SaveUISettings();
        report_.reset();
    }
    QDialog::done(result);
}

void OpenReports(qint32 section) {
    Process().lngCurrentSection = section;
    cUISettings ui;
    frmReports form(ui);
    form.subSetCaption();
    RunScreen(form, g_driver);
}

void SetReportsDriver(std::function<void(frmReports&)> driver) {
    g_driver = std::move(driver);
}

}  // namespace tlm
