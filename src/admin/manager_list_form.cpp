#include "admin/manager_list_form.h"

#include <QAction>
#include <QApplication>
#include <QCursor>
#include <QLabel>
#include <QPalette>
#include <QProgressDialog>
#include <QResizeEvent>
#include <QSignalBlocker>
#include <QToolBar>
#include <QVBoxLayout>
#include <memory>

#include "admin/list_pickers_form.h"
#include "admin/member_import.h"
#include "admin/pick_members_form.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "desktop/grid_view.h"
#include "desktop/look.h"
#include "desktop/window_services.h"
#include "domain/value_names.h"
#include "settings/global_settings.h"

namespace tlm {

namespace {

std::function<void(frmManagerList&)> g_driver;

// 9500 by 6000 twips at 15 twips per pixel.
constexpr int kMinWidth = 633;
constexpr int kMinHeight = 400;
constexpr int kChunkRows = 1000;

QColor FromOle(qint32 ole) {
    const RgbColor c = RgbFromOleColor(ole);
    return QColor(c.red, c.green, c.blue);
}

// A progress window for long lists: it appears only when the work lasts, and the chunks between
// its steps keep the window answering.
class Progress {
  public:
    Progress(QWidget* owner, const QString& label, int rows) {
        if (rows <= kListProgressRows)
            return;
        dialog_ = std::make_unique<QProgressDialog>(label, QString(), 0, rows, owner);
        dialog_->setWindowModality(Qt::WindowModal);
        dialog_->setMinimumDuration(300);
        dialog_->setCancelButton(nullptr);
        dialog_->setValue(0);
    }
    void Step(int done) {
        if (!dialog_)
            return;
        dialog_->setValue(done);
        QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    }

  private:
    std::unique_ptr<QProgressDialog> dialog_;
};

}  // namespace

frmManagerList::frmManagerList(QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("Administration Panel"));
    setObjectName(QStringLiteral("frmManagerList"));
    setMinimumSize(kMinWidth, kMinHeight);
    resize(800, 533);
    auto* layout = new QVBoxLayout(this);
    tb_ = new QToolBar(this);
    tb_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    import_ = tb_->addAction(QStringLiteral("Import"), this, &frmManagerList::Import);
    apply_ = tb_->addAction(QStringLiteral("Apply"), this, &frmManagerList::Apply);
    save_ = tb_->addAction(QStringLiteral("Save"), this, &frmManagerList::Save);
    exit_ = tb_->addAction(QStringLiteral("Exit"), this, &frmManagerList::Exit);
    layout->addWidget(tb_);

    pMain_ = new QWidget(this);
    auto* panel = new QVBoxLayout(pMain_);
    panel->setContentsMargins(0, 0, 0, 0);  // the window's margins are around it already
    lblMain_ = new QLabel(pMain_);
    QFont bold = lblMain_->font();
    bold.setBold(true);
    lblMain_->setFont(bold);
    fps_ = new GridWidget(pMain_);
    fps_->setDeleteKeyAction(GridWidget::DeleteKey::DeleteRows);
    panel->addWidget(lblMain_);
    panel->addWidget(fps_, 1);
    layout->addWidget(pMain_, 1);

    connect(fps_, &GridWidget::buttonClicked, this, &frmManagerList::ButtonClicked);
    // The sorted column is marked yellow; the mark moves with the next sort.
    connect(fps_, &GridWidget::beforeUserSort, this, [this](int) {
        if (sortedColumn_ >= 0)
            SetColorToBlock(sortedColumn_, sortedColumn_, 0, fps_->rowCount() - 1, QColor());
    });
    connect(fps_, &GridWidget::afterUserSort, this, [this](int col) {
        sortedColumn_ = col;
        SetColorToBlock(col, col, 0, fps_->rowCount() - 1, QColor(255, 255, 0));
    });
    ApplyLook(this);
}

frmManagerList::~frmManagerList() = default;

void frmManagerList::Load() {
    section_ = Process().lngCurrentSection;
    clsAlwaysOnTop::MakeTopMost(this);
    subSetCaptions();
    subGetSettings();
    fps_->setUserSortEnabled(true);
}

QAction* frmManagerList::toolbarButton(const QString& key) const {
    for (QAction* a : {import_, apply_, save_, exit_})
        if (a->text() == key)
            return a;
    return nullptr;
}

void frmManagerList::subSetCaptions() {
    pMain_->hide();
    import_->setVisible(false);
    const cDBSettings* settings = DBSettings();
    if (!settings || !IsListSection(section_))
        return;
    layout_ = ListLayoutFor(section_, *settings);
    import_->setVisible(section_ == 3);
    QStringList captions;
    for (const ListColumn& c : layout_.columns)
        captions.append(c.caption);
    fps_->setRowCount(0);
    fps_->setColumns(captions);
    for (int c = 0; c < layout_.columns.size(); ++c)
        fps_->setColumnHidden(c, layout_.columns[c].hidden);
    setWindowTitle(layout_.caption);
    lblMain_->setText(layout_.heading);
    pMain_->show();
    subResizeSpreadSheets();
}

void frmManagerList::subGetSettings() {
    const cDBSettings* settings = DBSettings();
    if (!settings || layout_.columns.isEmpty())
        return;
    for (int c = 0; c < layout_.columns.size(); ++c) {
        const ListColumn& col = layout_.columns[c];
        switch (col.kind) {
            case ListCellKind::Text:
                fps_->setTextColumn(c);
                break;
            case ListCellKind::Combo:
                fps_->setComboColumn(c, ComboListFor(col.combo, *settings));
                break;
            case ListCellKind::Currency:
                fps_->setCurrencyColumn(c, 2);
                break;
            case ListCellKind::Date:
                fps_->setDateColumn(c, QStringLiteral("yyyy-MM-dd"));
                break;
            case ListCellKind::Check:
                fps_->setCheckColumn(c);
                break;
            case ListCellKind::Button:
                fps_->setButtonColumn(c);
                break;
        }
    }
    const GridRows rows = ListToGridRows(section_, *settings);
    if (!rows.isEmpty()) {
        WriteRows(rows);
        if (layout_.colorButtonColumn >= 0)
            LoadColorButtons(layout_.colorIndexColumn, layout_.colorButtonColumn);
        if (layout_.notifyColumn >= 0)
            LoadNotifyButtons(layout_.notifyColumn, layout_.notifySingle);
    }
    // Like a spreadsheet, there is always an empty row to type a new entry into.
    fps_->setKeepBlankRow(true);
    fps_->clearChanged();
    dirty_ = false;
}

void frmManagerList::WriteRows(const GridRows& rows) {
    Progress progress(this, QStringLiteral("Loading the list..."), int(rows.size()));
    for (int first = 0; first < rows.size(); first += kChunkRows) {
        fps_->setMatrix(rows.mid(first, kChunkRows), first, 0);
        progress.Step(std::min(int(rows.size()), first + kChunkRows));
    }
}

GridRows frmManagerList::ReadRows(int rows) const {
    Progress progress(const_cast<frmManagerList*>(this), QStringLiteral("Saving the list..."), rows);
    GridRows out;
    out.reserve(rows);
    for (int first = 0; first < rows; first += kChunkRows) {
        const int count = std::min(kChunkRows, rows - first);
        out += fps_->matrix(first, 0, count, layout_.matrixColumns);
        progress.Step(first + count);
    }
    return out;
}

bool frmManagerList::subSaveSettings() {
    cDBSettings* settings = DBSettings();
    if (!IsListSection(section_) || !settings)
        return true;
    // A toolbar button takes no focus, so a cell still being typed in is taken in here.
    fps_->commitOpenEditor();
    const int rows = fps_->dataRowCount();
    // A row marked by an earlier refused save is cleared first.
    if (section_ == 1 && rows > 0)
        SetColorToBlock(3, 3, 0, rows - 1, QColor());
    const GridRows values = ReadRows(rows);
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const ListSaveOutcome outcome = SaveListFromGrid(section_, values, *settings);
    QApplication::restoreOverrideCursor();
    if (outcome.failedRow > 0) {
        // The message has been shown by the save; it is painted after, as the row is known then.
        SetColorToBlock(3, 3, outcome.failedRow - 1, outcome.failedRow - 1, QColor(255, 0, 0));
    }
    if (!outcome.saved)
        return false;
    fps_->clearChanged();
    dirty_ = false;
    saved_ = true;
    return true;
}

void frmManagerList::Import() {
    const cDBSettings* settings = DBSettings();
    if (section_ != 3 || !settings)
        return;
    fps_->commitOpenEditor();
    // The import matches the grid against the saved list, so a grid of another length is saved
    // first; the import goes on whatever the save gave.
    if (settings->Members.Items.Count() != fps_->dataRowCount())
        subSaveSettings();
    subImportFromAD();
}

void frmManagerList::subImportFromAD() {
    const cDBSettings* settings = DBSettings();
    if (!settings)
        return;
    // The window stays as it is: hiding a modal window would end it. The picker is modal over it.
    const int rows = fps_->dataRowCount();
    QStringList names;
    names.reserve(rows);
    for (int r = 0; r < rows; ++r)
        names.append(fps_->text(r, 0));
    PickMembersDialog book(this);
    const std::optional<MemberImport> import = ImportMembers(&book, settings->Members, names);
    if (!import)
        return;
    for (const GridMemberRefresh& r : import->refresh) {
        fps_->setValue(r.row, 1, r.email);
        fps_->setValue(r.row, 2, r.department);
        fps_->setValue(r.row, 3, QVariant::fromValue(r.rate));
    }
    if (!import->newRows.isEmpty())
        fps_->setMatrix(import->newRows, rows, 0);
    if (!import->refresh.isEmpty() || !import->newRows.isEmpty())
        dirty_ = true;
}

void frmManagerList::Apply() {
    if (subSaveSettings())
        subGetSettings();
}

void frmManagerList::Save() {
    if (subSaveSettings()) {
        exiting_ = true;
        accept();
    }
}

void frmManagerList::Exit() {
    exiting_ = true;
    QDialog::reject();
}

void frmManagerList::reject() {
    if (!exiting_)
        fps_->commitOpenEditor();
    if (!exiting_ && hasUnsavedChanges()) {
        const PromptAnswer answer =
            MsgBox(QStringLiteral("The list has changes that are not saved. Save them before closing?"),
                   PromptIcon::Question, PromptButtons::YesNoCancel);
        if (answer == PromptAnswer::Cancel)
            return;
        if (answer == PromptAnswer::Yes && !subSaveSettings())
            return;
    }
    exiting_ = true;
    QDialog::reject();
}

void frmManagerList::done(int result) {
    QDialog::done(result);
    clsAlwaysOnTop::MakeNormal(this);
}

bool frmManagerList::hasUnsavedChanges() const {
    return dirty_ || fps_->isChanged();
}

void frmManagerList::ButtonClicked(int row, int col) {
    if (row < 0)
        return;
    if (section_ == 1 && col == layout_.colorButtonColumn) {
        if (fps_->text(row, 0).trimmed().isEmpty())
            return;
        const int current = ColorIndexFromCell(fps_->value(row, layout_.colorIndexColumn), 0);
        const ColorChoice choice = PickCategoryColor(this, qint16(current), QCursor::pos());
        if (choice.index == -1)
            return;
        fps_->setActiveCell(row, col);
        fps_->setButton(row, col, CategoryColorName(choice.index), FromOle(choice.color));
        fps_->setValue(row, layout_.colorIndexColumn, QString::number(choice.index));
        dirty_ = true;
        return;
    }
    if (col != layout_.notifyColumn || layout_.notifyColumn < 0)
        return;
    const QString name = fps_->text(row, 0);
    const QString project = section_ == 2 ? fps_->text(row, 1) : QString();
    RequestReportFromRow(section_, name, project, [this] { return PickRecipients(this); });
}

void frmManagerList::SetColorToBlock(int col1, int col2, int row1, int row2, const QColor& color) {
    if (row2 < row1 || row1 < 0)
        return;
    fps_->setBackColor(col1, col2, row1, row2, color);
}

void frmManagerList::LoadColorButtons(int indexCol, int buttonCol) {
    const QSignalBlocker block(fps_->model());
    const int rows = fps_->dataRowCount();
    int index = 0;
    for (int r = 0; r < rows; ++r) {
        index = ColorIndexFromCell(fps_->value(r, indexCol), index);
        fps_->setButton(r, buttonCol, CategoryColorName(index), FromOle(CategoryOleColor(index)));
    }
    fps_->viewport()->update();
}

void frmManagerList::LoadNotifyButtons(int col, bool single) {
    const QSignalBlocker block(fps_->model());
    const int rows = fps_->dataRowCount();
    const QString text = single ? QStringLiteral("Notify") : QStringLiteral("Notify All Members");
    const QColor face = palette().color(QPalette::Button);
    for (int r = 0; r < rows; ++r)
        fps_->setButton(r, col, text, face);
    fps_->viewport()->update();
}

void frmManagerList::subResizeSpreadSheets() {
    fps_->setFitColumnsOnResize(true);
}

void frmManagerList::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    if (!isMinimized())
        subResizeSpreadSheets();
}

void OpenManagerList(qint32 section) {
    Process().lngCurrentSection = section;
    frmManagerList form;
    form.Load();
    RunScreen(form, g_driver);
}

void SetManagerListDriver(std::function<void(frmManagerList&)> driver) {
    g_driver = std::move(driver);
}

}  // namespace tlm
