#include "review/review_form.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QProgressDialog>
#include <QPushButton>
#include <QResizeEvent>
#include <QSignalBlocker>
#include <QStyle>
#include <QVBoxLayout>
#include <algorithm>

#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "database/connection.h"
#include "desktop/item_pictures.h"
#include "desktop/look.h"
#include "desktop/ui_settings.h"
#include "desktop/window_services.h"
#include "settings/global_settings.h"

namespace tlm {

namespace {

std::function<void(frmReviewReports&)> g_driver;

// Window sizes are kept in twips, 15 to the pixel, as the client keeps them.
constexpr int kTwipsPerPixel = 15;
constexpr int kMinWidth = 640;
constexpr int kMinHeight = 360;
using namespace review_col;

// A locked cell is shaded a little towards the text colour, so the shade reads on light and dark
// palettes alike.
QColor LockedCellColour(const QPalette& palette) {
    const QColor base = palette.color(QPalette::Base), text = palette.color(QPalette::Text);
    const auto mix = [](int a, int b) { return (a * 9 + b) / 10; };
    return QColor(mix(base.red(), text.red()), mix(base.green(), text.green()),
                  mix(base.blue(), text.blue()));
}

int ToTwips(int pixels) {
    return std::min(32767, pixels * kTwipsPerPixel);
}

}  // namespace

frmReviewReports::frmReviewReports(cUISettings* ui, QWidget* parent) : QDialog(parent), ui_(ui) {
    if (!ui_) {
        ownUi_ = std::make_unique<cUISettings>();
        ui_ = ownUi_.get();
    }
    setObjectName(QStringLiteral("frmReviewReports"));
    setWindowTitle(QStringLiteral("Review Timesheets"));
    setMinimumSize(kMinWidth, kMinHeight);
    setSizeGripEnabled(true);

    auto* layout = new QVBoxLayout(this);
    auto* filters = new QHBoxLayout;
    cboFilter_ = new QComboBox(this);
    picValue_ = new QWidget(this);
    auto* valueLayout = new QHBoxLayout(picValue_);
    valueLayout->setContentsMargins(0, 0, 0, 0);
    cboValue_ = new QComboBox(picValue_);
    cboValue_->setMinimumContentsLength(18);
    cboValue_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    valueLayout->addWidget(cboValue_);
    cboTypes_ = new QComboBox(this);
    picOK_ = new QWidget(this);
    auto* okLayout = new QHBoxLayout(picOK_);
    okLayout->setContentsMargins(0, 0, 0, 0);
    cmdOK_ = new QPushButton(QStringLiteral("OK"), picOK_);
    cmdReset_ = new QPushButton(QStringLiteral("Reset"), picOK_);
    cmdOK_->setDefault(true);
    okLayout->addWidget(cmdOK_);
    okLayout->addWidget(cmdReset_);
    filters->addWidget(cboFilter_);
    filters->addWidget(picValue_);
    filters->addWidget(cboTypes_);
    filters->addWidget(picOK_);
    filters->addStretch(1);
    layout->addLayout(filters);

    auto* dates = new QHBoxLayout;
    chkQueryDate_ = new QCheckBox(QStringLiteral("Filter by reported date"), this);
    frameDateRange_ = new QGroupBox(this);
    auto* frame = new QHBoxLayout(frameDateRange_);
    cboBetweenOn_ = new QComboBox(frameDateRange_);
    dtStart_ = new QDateEdit(frameDateRange_);
    lblTo_ = new QLabel(QStringLiteral("and"), frameDateRange_);
    dtEnd_ = new QDateEdit(frameDateRange_);
    for (QDateEdit* d : {dtStart_, dtEnd_}) {
        d->setCalendarPopup(true);
        d->setDisplayFormat(QStringLiteral("yyyy-MM-dd"));
    }
    frame->addWidget(cboBetweenOn_);
    frame->addWidget(dtStart_);
    frame->addWidget(lblTo_);
    frame->addWidget(dtEnd_);
    dates->addWidget(chkQueryDate_);
    dates->addWidget(frameDateRange_);
    dates->addStretch(1);
    layout->addLayout(dates);

    pb_ = new QProgressBar(this);
    pb_->setRange(0, 100);
    pb_->setVisible(false);
    layout->addWidget(pb_);
    pWait_ = new QLabel(QStringLiteral("Choose the timesheets to review and press OK."), this);
    layout->addWidget(pWait_);
    fps_ = new ReviewGrid(this);
    fps_->reviewModel()->setIcons(TaskPicture(), AppointmentPicture());
    layout->addWidget(fps_, 1);
    auto* below = new QHBoxLayout;
    lblCount_ = new QLabel(this);
    cmdApproveSelected_ = new QPushButton(QStringLiteral("Approve Selected"), this);
    cmdDeclineSelected_ = new QPushButton(QStringLiteral("Decline Selected"), this);
    below->addWidget(lblCount_, 1);
    below->addWidget(cmdApproveSelected_);
    below->addWidget(cmdDeclineSelected_);
    layout->addLayout(below);

    connect(cboFilter_, &QComboBox::currentIndexChanged, this, [this] { cboFilterClick(); });
    connect(cboBetweenOn_, &QComboBox::currentIndexChanged, this, [this] { cboBetweenOnClick(); });
    connect(chkQueryDate_, &QCheckBox::toggled, this, [this] { chkQueryDateClick(); });
    connect(cmdOK_, &QPushButton::clicked, this, [this] { cmdOK(); });
    connect(cmdReset_, &QPushButton::clicked, this, [this] { cmdReset(); });
    connect(fps_, &ReviewGrid::buttonClicked, this, &frmReviewReports::ButtonClicked);
    connect(fps_, &ReviewGrid::valueEdited, this, &frmReviewReports::ComboSelChange);
    connect(cmdApproveSelected_, &QPushButton::clicked, this, [this] { ApproveSelected(); });
    connect(cmdDeclineSelected_, &QPushButton::clicked, this, [this] { DeclineSelected(); });
    const auto selectionChanged = [this] {
        const bool any = fps_->selectionModel()->hasSelection() && !filling_;
        cmdApproveSelected_->setEnabled(any);
        cmdDeclineSelected_->setEnabled(any);
    };
    connect(fps_->selectionModel(), &QItemSelectionModel::selectionChanged, this, selectionChanged);
    connect(fps_->model(), &QAbstractItemModel::modelReset, this, selectionChanged);
    connect(fps_->model(), &QAbstractItemModel::rowsRemoved, this, selectionChanged);
    selectionChanged();
    CompactRows(fps_);
    ApplyLook(this);
    subResizeSpreadSheets();
}

frmReviewReports::~frmReviewReports() = default;

void frmReviewReports::subSetUp() {
    const cDBSettings* global = DBSettings();
    if (!global) {
        subReportError(Failure{91, QStringLiteral("Object variable or With block variable not set"), 0,
                               QStringLiteral("ReviewReports.subSetUp")});
        return;
    }
    {
        const QSignalBlocker a(cboFilter_), b(cboTypes_), c(cboBetweenOn_);
        cboFilter_->clear();
        cboFilter_->addItems(ReviewFilterEntries(global->ProjectTitle));
        cboTypes_->clear();
        cboTypes_->addItems(ReviewTypeEntries());
        cboBetweenOn_->clear();
        cboBetweenOn_->addItems(ReviewBetweenOnEntries());
    }
    const QDate today = QDate::currentDate();
    dtStart_->setDate(today.addDays(-1));
    dtEnd_->setDate(today);
    options_ = ReadReviewOptions(*global);
    SetUpGrid();

    ui_->ReadAuditUIValues();
    // A stored index outside a list is left for the list's first entry.
    const auto pick = [](QComboBox* box, int index) {
        box->setCurrentIndex(index >= 0 && index < box->count() ? index : 0);
    };
    pick(cboFilter_, ui_->Audit_Filterindex);
    pick(cboTypes_, ui_->Audit_ReportTypeIndex);
    pick(cboBetweenOn_, ui_->Audit_Between);
    chkQueryDate_->setChecked(ui_->Audit_QueryByDate != 0);
    cboFilterClick();
    cboBetweenOnClick();
    chkQueryDateClick();
    resize(std::max(kMinWidth, ui_->Audit_Width / kTwipsPerPixel),
           std::max(kMinHeight, ui_->Audit_Height / kTwipsPerPixel));
    if (ui_->Audit_WindowState == 2)
        setWindowState(windowState() | Qt::WindowMaximized);
    cmdReset();
}

void frmReviewReports::SetUpGrid() {
    const cDBSettings* global = DBSettings();
    ReviewGridModel* model = fps_->reviewModel();
    model->setCaptions({QStringLiteral(" "), QStringLiteral("ID"), QStringLiteral("Subject"),
                        global ? global->ProjectTitle : QStringLiteral("Project"),
                        global ? global->ActivityTitle : QStringLiteral("Activity"), QStringLiteral("Cost"),
                        QStringLiteral("Reported"), QStringLiteral("Reported By"), QStringLiteral(" "),
                        QStringLiteral(" ")});
    const bool combos = options_.bEditProjectActivity && global;
    model->setComboColumns(combos, combos ? SplitTabList(global->Projects.ToStringTab()) : QStringList());
}

ReviewFilter frmReviewReports::filter() const {
    ReviewFilter f;
    f.filterIndex = cboFilter_->currentIndex();
    f.value = cboValue_->currentText();
    f.typesIndex = cboTypes_->currentIndex();
    f.queryByDate = chkQueryDate_->isChecked();
    // With "On" the end date is hidden and only the start counts.
    f.between = cboBetweenOn_->currentIndex() == 1;
    f.start = dtStart_->date();
    f.end = dtEnd_->date();
    return f;
}

SqlText frmReviewReports::GetSQL() const {
    const cMySettings* my = Process().mySettings;
    return tlm::GetSQL(filter(), my ? my->DBChoice : 0);
}

void frmReviewReports::cboFilterClick() {
    const cDBSettings* global = DBSettings();
    const int index = cboFilter_->currentIndex();
    cboValue_->clear();
    if (global)
        cboValue_->addItems(ReviewValueEntries(*global, index));
    // For "All" the value row goes and the buttons move up into its place.
    picValue_->setVisible(index >= 1 && index <= 3);
}

void frmReviewReports::cboBetweenOnClick() {
    frameDateRange_->setTitle(DateFrameCaption(cboBetweenOn_->currentText()));
    const bool between = cboBetweenOn_->currentIndex() == 1;
    lblTo_->setVisible(between);
    dtEnd_->setVisible(between);
    frameDateRange_->adjustSize();
}

void frmReviewReports::chkQueryDateClick() {
    frameDateRange_->setVisible(chkQueryDate_->isChecked());
    if (QLayout* l = layout())
        l->activate();
}

void frmReviewReports::cmdReset() {
    fps_->reviewModel()->clear();
    fps_->reviewModel()->setButtonCaption(kApprove, QString());
    fps_->reviewModel()->setButtonCaption(kDecline, QString());
    for (int c = 0; c < kCount; ++c)
        fps_->reviewModel()->setColumnLocked(c, false);
    activityLists_.clear();
    lblCount_->clear();
    pWait_->setVisible(true);
}

void frmReviewReports::SetProgress(int value) {
    pb_->setValue(value);
    marks_.append(value);
}

void frmReviewReports::LetWindowRepaint() {
    QCoreApplication::processEvents();
}

void frmReviewReports::cmdOK() {
    if (filling_)
        return;
    cmdReset();
    marks_.clear();
    pb_->setVisible(true);
    SetProgress(20);
    const cMySettings* my = Process().mySettings;
    const qint32 dbChoice = my ? my->DBChoice : 0;
    const ReviewFilter f = filter();
    const SqlText tasksSql = ReviewQueryFor(f, dbChoice, QStringLiteral("tReportedTasks"));
    const SqlText appointmentsSql = ReviewQueryFor(f, dbChoice, QStringLiteral("tReportedAppointments"));

    // While rows come in the window answers (it repaints and scrolls), but nothing starts anew.
    filling_ = true;
    picOK_->setEnabled(false);
    QVector<ReviewItem> items;
    const auto repaint = [this](int) { LetWindowRepaint(); };
    // A table that cannot be read is told and the other is still shown, as it always was.
    const auto read = [&](const SqlText& sql, bool appointments) {
        bool showDialog = true;
        DB::Initialize(showDialog);
        Failure failure;
        if (ReadReviewRows(sql, appointments, items, &failure, repaint) != ReviewReadEnd::Done)
            subReportError(failure);
    };
    if (WantsTasks(f.typesIndex)) {
        read(tasksSql, false);
        SetProgress(50);
    }
    if (WantsAppointments(f.typesIndex) && !closing_) {
        read(appointmentsSql, true);
        SetProgress(90);
    }
    // Tasks first, then appointments, each in the order the database gave them.
    if (!closing_)
        FillGrid(std::move(items));
    items = {};
    SetProgress(99);
    LoadNotifyButtons(kApprove, QStringLiteral("Approve"));
    LoadNotifyButtons(kDecline, QStringLiteral("Decline"));
    subResizeSpreadSheets();
    const int last = fps_->rowCount() - 1;
    // Locked cells are shaded only beside cells that can be edited: a shade on every row tells nothing.
    fps_->reviewModel()->setLockColour(
        options_.bEditProjectActivity || options_.bEditCost ? LockedCellColour(palette()) : QColor());
    LockCells(kID, kSubject, 0, last, true);
    if (!options_.bEditProjectActivity)
        LockCells(kProject, kActivity, 0, last, true);
    if (!options_.bEditCost)
        LockCells(kCost, kCost, 0, last, true);
    LockCells(kReported, kReportedBy, 0, last, true);
    pWait_->setVisible(false);
    pb_->setVisible(false);
    picOK_->setEnabled(true);
    filling_ = false;
    ShowRowCount();
}

void frmReviewReports::ShowRowCount() {
    const int rows = fps_->rowCount();
    lblCount_->setText(rows == 0   ? QStringLiteral("Nothing to review")
                       : rows == 1 ? QStringLiteral("1 timesheet")
                                   : QStringLiteral("%1 timesheets").arg(rows));
}

void frmReviewReports::FillGrid(QVector<ReviewItem> items) {
    ReviewGridModel* model = fps_->reviewModel();
    QVector<int> lists;
    const cDBSettings* global = DBSettings();
    if (options_.bEditProjectActivity && global) {
        // Each row's activity list is its project's; rows of one project share one list.
        lists.reserve(items.size());
        for (const ReviewItem& it : items) {
            auto known = activityLists_.constFind(it.ProjectValue);
            if (known == activityLists_.cend()) {
                QString tab;
                known = activityLists_.insert(
                    it.ProjectValue,
                    ActivityListForProject(*global, it.ProjectValue, &tab) ? model->internList(tab) : -1);
            }
            lists.append(*known);
        }
    }
    model->setItems(std::move(items), std::move(lists));
}

void frmReviewReports::LoadNotifyButtons(int col, const QString& caption) {
    // Every row has the same button: one caption for the column, not one cell per row.
    fps_->reviewModel()->setButtonCaption(col, caption, palette().color(QPalette::Button));
}

void frmReviewReports::LockCells(int col1, int col2, int row1, int row2, bool locked) {
    // A block over every row locks the columns; the model paints locked cells in the lock colour.
    if (row1 <= 0 && row2 >= fps_->rowCount() - 1) {
        for (int c = col1; c <= col2; ++c)
            fps_->reviewModel()->setColumnLocked(c, locked);
        return;
    }
    fps_->reviewModel()->lockCells(col1, col2, row1, row2, locked);
}

void frmReviewReports::SortCol(int col) {
    fps_->reviewModel()->sort(col, Qt::AscendingOrder);
}

void frmReviewReports::ButtonClicked(int row, int col) {
    if (filling_ || (col != kApprove && col != kDecline) || row < 0 || row >= fps_->rowCount())
        return;
    const ReviewRowTexts texts = fps_->reviewModel()->rowTexts(row);
    const ReviewButton button = col == kApprove ? ReviewButton::Approve : ReviewButton::Decline;
    if (ReviewButtonClicked(button, texts, options_, [this] { return AskDeclineReason(); })) {
        fps_->reviewModel()->dropRows({row});
        ShowRowCount();
    }
}

std::optional<QString> frmReviewReports::AskDeclineReason() {
    if (askReason_)
        return askReason_();
    bool ok = false;
    const QString reason = QInputDialog::getMultiLineText(
        this, QStringLiteral("Tally Loom Manager Process"),
        QStringLiteral("Reason for the decline, told to the member (may be left empty):"), QString(), &ok);
    if (!ok)
        return std::nullopt;
    return reason.trimmed();
}

void frmReviewReports::ApproveSelected() {
    RunBatch(ReviewAction::Approve);
}

void frmReviewReports::DeclineSelected() {
    RunBatch(ReviewAction::Decline);
}

void frmReviewReports::RunBatch(ReviewAction action) {
    if (filling_)
        return;
    const QVector<int> selected = fps_->selectedRowNumbers();
    if (selected.isEmpty())
        return;
    if (action == ReviewAction::Decline) {
        const cDBSettings* global = DBSettings();
        if (!global || !DeclineRemovesRows(*global))
            return;
    }
    const int total = int(selected.size());
    const QString question =
        action == ReviewAction::Approve ? ApproveManyQuestion(total) : DeclineManyQuestion(total);
    if (MsgBox(question, PromptIcon::Question, PromptButtons::YesNo) != PromptAnswer::Yes)
        return;
    QString reason;
    if (action == ReviewAction::Decline) {
        const std::optional<QString> given = AskDeclineReason();
        if (!given)
            return;
        reason = *given;
    }
    QVector<ReviewRowTexts> rows;
    rows.reserve(total);
    for (int r : selected)
        rows.append(fps_->reviewModel()->rowTexts(r));

    QProgressDialog progress(action == ReviewAction::Approve ? QStringLiteral("Approving timesheets...")
                                                             : QStringLiteral("Declining timesheets..."),
                             QStringLiteral("Cancel"), 0, total, this);
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(500);
    progress.setAutoClose(false);
    progress.setAutoReset(false);
    filling_ = true;
    const ReviewBatchOutcome outcome = ReviewRows(action, rows, options_, reason, [&](int done, int) {
        progress.setValue(done);
        if (batchHook_)
            batchHook_(progress, done);
        QCoreApplication::processEvents();
        return !progress.wasCanceled();
    });
    filling_ = false;
    progress.close();
    // The rows that went through leave the grid; the others stay as they were.
    fps_->reviewModel()->dropRows(selected.mid(0, outcome.done));
    ShowRowCount();
    if (outcome.kind == ReviewBatchOutcome::Kind::Refused)
        ShowReviewOutcome(outcome.refusal);
    const QString end = BatchEndText(action, outcome, total);
    if (!end.isEmpty())
        MsgBox(end, outcome.kind == ReviewBatchOutcome::Kind::Refused ? PromptIcon::Exclamation
                                                                      : PromptIcon::Information);
}

QString ApproveManyQuestion(int count) {
    return QStringLiteral("Continue approval for %1 timesheets?").arg(count);
}

QString DeclineManyQuestion(int count) {
    return QStringLiteral("Continue decline of %1 timesheets?").arg(count) + u'\n' +
           QStringLiteral("NOTE: If yes, these timesheets will be deleted from the database");
}

QString BatchEndText(ReviewAction action, const ReviewBatchOutcome& outcome, int total) {
    const QString verb =
        action == ReviewAction::Approve ? QStringLiteral("approved") : QStringLiteral("declined");
    const QString count = QStringLiteral("%1 of %2 timesheets %3").arg(outcome.done).arg(total).arg(verb);
    switch (outcome.kind) {
        case ReviewBatchOutcome::Kind::Done:
            return QString();
        case ReviewBatchOutcome::Kind::Cancelled:
            return QStringLiteral("Cancelled: ") + count +
                   QStringLiteral("; the others are left as they were.");
        case ReviewBatchOutcome::Kind::Refused:
            break;
    }
    return count + QStringLiteral("; stopped at timesheet #") + outcome.refusedRow.id + QStringLiteral(" '") +
           outcome.refusedRow.subject.trimmed() + QStringLiteral("', which was refused.");
}

bool ReviewButtonClicked(ReviewButton button, const ReviewRowTexts& row, const ReviewOptions& options,
                         const DeclineReasonAsker& askReason) {
    if (row.id.isEmpty())
        return false;
    const auto yes = [](const QString& question) {
        return MsgBox(question, PromptIcon::Question, PromptButtons::YesNo) == PromptAnswer::Yes;
    };
    ReviewOutcome outcome;
    if (button == ReviewButton::Approve) {
        if (!yes(ApproveQuestion(row.id, row.subject)))
            return false;
        outcome = ApproveDBItem(row.id, row.type, row.cells, options);
    } else {
        const cDBSettings* global = DBSettings();
        if (!global || !DeclineRemovesRows(*global))
            return false;
        if (!yes(DeclineQuestion(row.id, row.subject)))
            return false;
        QString reason;
        if (askReason) {
            const std::optional<QString> given = askReason();
            if (!given)
                return false;
            reason = *given;
        }
        outcome = DeleteDBItem(row.id, row.type, reason);
    }
    ShowReviewOutcome(outcome);
    return outcome.done();
}

void ShowReviewOutcome(const ReviewOutcome& outcome) {
    switch (outcome.kind) {
        case ReviewOutcome::Kind::Done:
            return;
        case ReviewOutcome::Kind::NoConnection:
            MsgBox(kNoConnectionText);
            return;
        case ReviewOutcome::Kind::NotQueued:
        case ReviewOutcome::Kind::ReadFailed:
        case ReviewOutcome::Kind::Refused:
            if (outcome.failure.isSet())
                subReportError(outcome.failure);
            return;
    }
}

void frmReviewReports::ComboSelChange(int row, int col) {
    if (col != kProject || !options_.bEditProjectActivity)
        return;
    const cDBSettings* global = DBSettings();
    if (!global)
        return;
    QString tab;
    if (!ActivityListForProject(*global, fps_->text(row, kProject), &tab))
        return;
    // The activity keeps its text even when the new project has no such activity: only the list
    // changes, and the row's activity stays until the user picks another.
    fps_->reviewModel()->setRowList(row, fps_->reviewModel()->internList(tab));
}

void frmReviewReports::subResizeSpreadSheets() {
    // The kind's picture and the row buttons have fixed widths, wide enough for "Decline" on its
    // face; the others fit their captions and contents (IDs, amounts and dates never cut) and the
    // subject takes the rest.
    const QFontMetrics fm = fps_->fontMetrics();
    const int face = std::max(fm.horizontalAdvance(QStringLiteral("Approve")),
                              fm.horizontalAdvance(QStringLiteral("Decline"))) +
                     2 * style()->pixelMetric(QStyle::PM_ButtonMargin, nullptr, this) + 8;
    FitColumns(fps_, kSubject,
               {{kType, CellTextNeed(fps_, QString(), true)}, {kApprove, face}, {kDecline, face}},
               {kID, kCost, kReported});
}

void frmReviewReports::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    subResizeSpreadSheets();
}

void frmReviewReports::SaveUISettings() {
    ui_->Audit_Filterindex = qint16(cboFilter_->currentIndex());
    ui_->Audit_ReportTypeIndex = qint16(cboTypes_->currentIndex());
    ui_->Audit_Between = qint16(cboBetweenOn_->currentIndex());
    ui_->Audit_QueryByDate = chkQueryDate_->isChecked() ? 1 : 0;
    ui_->Audit_WindowState = isMaximized() ? 2 : 0;
    if (!isMaximized() && !isMinimized()) {
        ui_->Audit_Width = qint16(ToTwips(width()));
        ui_->Audit_Height = qint16(ToTwips(height()));
    }
    ui_->SaveAuditUIValues();
}

void frmReviewReports::done(int result) {
    closing_ = true;
    SaveUISettings();
    QDialog::done(result);
}

void frmReviewReports::Exit() {
    reject();
}

void OpenReviewReports(qint32 section) {
    Process().lngCurrentSection = section;
    frmReviewReports form(UISettings());
    clsAlwaysOnTop::MakeTopMost(&form);
    form.subSetUp();
    RunScreen(form, g_driver);
}

void SetReviewReportsDriver(std::function<void(frmReviewReports&)> driver) {
    g_driver = std::move(driver);
}

}  // namespace tlm
