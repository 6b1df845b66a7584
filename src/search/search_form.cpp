#include "search/search_form.h"

#include <QAbstractTextDocumentLayout>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDateEdit>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHash>
#include <QHeaderView>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>
#include <QSplitter>
#include <QStyle>
#include <QTextDocument>
#include <QToolBar>
#include <QTreeView>
#include <QVBoxLayout>
#include <algorithm>

#include "core/codecs.h"
#include "core/error_report.h"
#include "core/file_services.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "database/connection.h"
#include "desktop/dialogs.h"
#include "desktop/item_pictures.h"
#include "desktop/look.h"
#include "desktop/ui_settings.h"
#include "desktop/window_services.h"
#include "domain/option_keys.h"
#include "settings/global_settings.h"

namespace tlm {

namespace {

std::function<void(frmSearch&)> g_driver;
std::function<bool(QPrinter&)> g_printHook;

// Window sizes are stored in the old units; 15 of them make a pixel.
constexpr int kUnitsPerPixel = 15;

qint16 ToUnits(int pixels) {
    return qint16(std::clamp(pixels * kUnitsPerPixel, 0, 32767));
}

QDateEdit* NewDate(QWidget* parent) {
    auto* d = new QDateEdit(parent);
    d->setCalendarPopup(true);
    d->setDisplayFormat(QLocale::system().dateFormat(QLocale::ShortFormat));
    return d;
}

QGroupBox* NewFrame(const QString& name, const QString& caption, QWidget* parent) {
    auto* g = new QGroupBox(caption, parent);
    g->setObjectName(name);
    return g;
}

}  // namespace

// ---- the list --------------------------------------------------------------------------------

SearchListModel::SearchListModel(QObject* parent) : QAbstractTableModel(parent) {}

void SearchListModel::SetHeaders(const QStringList& headers) {
    headers_ = headers;
    emit headerDataChanged(Qt::Horizontal, 0, int(headers_.size()) - 1);
}

void SearchListModel::Fill(const SearchResults& results) {
    beginResetModel();
    results_ = &results;
    Arrange();
    endResetModel();
}

void SearchListModel::Clear() {
    beginResetModel();
    rows_.clear();
    results_ = nullptr;
    endResetModel();
}

void SearchListModel::Arrange() {
    rows_.clear();
    if (!results_)
        return;
    rows_.reserve(size_t(results_->Count()));
    for (int i : SortedPositions(*results_, sortColumn_, sortOrder_ == Qt::DescendingOrder))
        rows_.push_back(Row{results_->Key(i), SearchRowValues(results_->Common(i))});
}

void SearchListModel::sort(int column, Qt::SortOrder order) {
    sortColumn_ = column >= 0 && column < 7 ? column : -1;
    sortOrder_ = order;
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    // Selections and the current row follow their records.
    const QModelIndexList before = persistentIndexList();
    QStringList keys;
    for (const QModelIndex& index : before)
        keys << Key(index.row());
    Arrange();
    QHash<QString, int> rowOf;
    for (int r = 0; r < rowCount(); ++r)
        rowOf.insert(rows_[size_t(r)].key, r);
    QModelIndexList after;
    for (int i = 0; i < before.size(); ++i) {
        const int row = rowOf.value(keys[i], -1);
        after << (row < 0 ? QModelIndex() : index(row, before[i].column()));
    }
    changePersistentIndexList(before, after);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

QString SearchListModel::Key(int row) const {
    return row >= 0 && row < rowCount() ? rows_[size_t(row)].key : QString();
}

QString SearchListModel::Text(int row, int column) const {
    return row >= 0 && row < rowCount() && column >= 0 && column < 7
               ? rows_[size_t(row)].values[size_t(column)]
               : QString();
}

int SearchListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(rows_.size());
}

int SearchListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : 7;
}

QVariant SearchListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return {};
    const Row& row = rows_[size_t(index.row())];
    if (role == Qt::DisplayRole)
        return row.values[size_t(index.column())];
    if (role == Qt::UserRole)
        return row.key;
    if (role == Qt::DecorationRole && index.column() == 0) {
        // The same pictures as the review's.
        static const QIcon task = TaskPicture();
        static const QIcon appointment = AppointmentPicture();
        return row.key.startsWith(u'T') ? task : appointment;
    }
    if (role == Qt::TextAlignmentRole && index.column() == 5)
        return int(Qt::AlignRight | Qt::AlignVCenter);  // amounts line up on their decimals
    return {};
}

QVariant SearchListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return headers_.value(section);
    // A column clicked for the first time sorts up, whatever the last column's direction was.
    if (orientation == Qt::Horizontal && role == Qt::InitialSortOrderRole)
        return int(Qt::AscendingOrder);
    return QAbstractTableModel::headerData(section, orientation, role);
}

// ---- the form --------------------------------------------------------------------------------

frmSearch::frmSearch(cDBSettings& global, cUISettings& ui, QWidget* parent)
    : QDialog(parent), global_(global), ui_(ui) {
    setObjectName(QStringLiteral("frmSearch"));
    setWindowTitle(QStringLiteral("Search reports"));
    setWindowFlag(Qt::WindowMaximizeButtonHint, true);
    setWindowFlag(Qt::WindowMinimizeButtonHint, true);
    auto* root = new QVBoxLayout(this);

    tb_ = new QToolBar(this);
    tb_->setToolButtonStyle(Qt::ToolButtonTextOnly);
    delete_ =
        tb_->addAction(QStringLiteral("Delete"), this, [this] { tbButtonClick(QStringLiteral("delete")); });
    print_ =
        tb_->addAction(QStringLiteral("Print"), this, [this] { tbButtonClick(QStringLiteral("print")); });
    pdf_ =
        tb_->addAction(QStringLiteral("Save as PDF"), this, [this] { tbButtonClick(QStringLiteral("pdf")); });
    root->addWidget(tb_);

    auto* split = new QSplitter(Qt::Horizontal, this);
    auto* panel = new QWidget(split);
    auto* left = new QVBoxLayout(panel);
    left->setContentsMargins(0, 0, 0, 0);
    auto* by = new QFormLayout;
    cmbSearchFields_ = new QComboBox(panel);
    cmbSearchFields_->setObjectName(QStringLiteral("cmbSearchFields"));
    // As wide as its longest entry, which comes after the window is made.
    cmbSearchFields_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    by->addRow(QStringLiteral("Search by:"), cmbSearchFields_);
    left->addLayout(by);

    FrameKeyword_ = NewFrame(QStringLiteral("FrameKeyword"), QStringLiteral("Enter Keyword"), panel);
    txtKeyword_ = new QLineEdit(FrameKeyword_);
    (new QVBoxLayout(FrameKeyword_))->addWidget(txtKeyword_);
    left->addWidget(FrameKeyword_);

    frameMembers_ = NewFrame(QStringLiteral("frameMembers"), QStringLiteral("Filter by Member"), panel);
    cmbMembers_ = new QComboBox(frameMembers_);
    (new QVBoxLayout(frameMembers_))->addWidget(cmbMembers_);
    left->addWidget(frameMembers_);

    FrameProject_ = NewFrame(QStringLiteral("FrameProject"), QString(), panel);
    auto* projectForm = new QFormLayout(FrameProject_);
    cmbProject_ = new QComboBox(FrameProject_);
    cmbTask_ = new QComboBox(FrameProject_);
    lblProject_ = new QLabel(FrameProject_);
    lblTask_ = new QLabel(FrameProject_);
    projectForm->addRow(lblProject_, cmbProject_);
    projectForm->addRow(lblTask_, cmbTask_);
    left->addWidget(FrameProject_);

    frameCost_ = NewFrame(QStringLiteral("frameCost"), QStringLiteral("Cost"), panel);
    auto* costRow = new QHBoxLayout(frameCost_);
    cboCostFunctions_ = new QComboBox(frameCost_);
    txtCostValue_ = new QLineEdit(frameCost_);
    costRow->addWidget(cboCostFunctions_);
    costRow->addWidget(txtCostValue_);
    left->addWidget(frameCost_);

    frameOn_ = NewFrame(QStringLiteral("frameOn"), QStringLiteral("On"), panel);
    dtOn_ = NewDate(frameOn_);
    (new QVBoxLayout(frameOn_))->addWidget(dtOn_);
    left->addWidget(frameOn_);

    FrameDateRange_ = NewFrame(QStringLiteral("FrameDateRange"), QStringLiteral("Between"), panel);
    auto* range = new QHBoxLayout(FrameDateRange_);
    dtStart_ = NewDate(FrameDateRange_);
    dtEnd_ = NewDate(FrameDateRange_);
    range->addWidget(dtStart_);
    range->addWidget(new QLabel(QStringLiteral("and"), FrameDateRange_));
    range->addWidget(dtEnd_);
    left->addWidget(FrameDateRange_);

    for (int n = 1; n <= 4; ++n) {
        auto* frame = NewFrame(QStringLiteral("FrameCustomField%1").arg(n), QString(), panel);
        auto* combo = new QComboBox(frame);
        (new QVBoxLayout(frame))->addWidget(combo);
        left->addWidget(frame);
        frameCustom_[size_t(n - 1)] = frame;
        cboCustomField_[size_t(n - 1)] = combo;
    }

    auto* typesRow = new QFormLayout;
    cmbTypes_ = new QComboBox(panel);
    lblTypes_ = new QLabel(QStringLiteral("Items:"), panel);
    typesRow->addRow(lblTypes_, cmbTypes_);
    left->addLayout(typesRow);
    auto* buttons = new QHBoxLayout;
    cmdSearch_ = new QPushButton(QStringLiteral("Search"), panel);
    cmdReset_ = new QPushButton(QStringLiteral("Reset"), panel);
    cmdSearch_->setDefault(true);
    buttons->addWidget(cmdSearch_);
    buttons->addWidget(cmdReset_);
    left->addLayout(buttons);
    left->addStretch(1);

    auto* right = new QSplitter(Qt::Vertical, split);
    auto* listPane = new QWidget(right);
    auto* listLayout = new QVBoxLayout(listPane);
    listLayout->setContentsMargins(0, 0, 0, 0);
    lblResult_ = new QLabel(QStringLiteral("Search Result: "), listPane);
    lvResult_ = new QTreeView(listPane);
    model_ = new SearchListModel(this);
    lvResult_->setModel(model_);
    lvResult_->setRootIsDecorated(false);
    lvResult_->setUniformRowHeights(true);
    lvResult_->setAllColumnsShowFocus(true);
    lvResult_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    lvResult_->setSelectionBehavior(QAbstractItemView::SelectRows);
    lvResult_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    // Load order until a header is clicked; a third click on a column goes back to it.
    lvResult_->header()->setSortIndicator(-1, Qt::AscendingOrder);
    lvResult_->header()->setSortIndicatorClearable(true);
    lvResult_->setSortingEnabled(true);
    lvResult_->header()->setStretchLastSection(false);
    listLayout->addWidget(lblResult_);
    listLayout->addWidget(lvResult_, 1);
    txtPreview_ = new QPlainTextEdit(right);
    txtPreview_->setReadOnly(true);
    right->setStretchFactor(0, 3);
    right->setStretchFactor(1, 1);
    split->setStretchFactor(0, 0);
    split->setStretchFactor(1, 1);
    root->addWidget(split, 1);

    connect(cmbSearchFields_, &QComboBox::currentIndexChanged, this, &frmSearch::ShowFrameFor);
    connect(cmbProject_, &QComboBox::currentIndexChanged, this, [this] { FillTasks(); });
    connect(cmdSearch_, &QPushButton::clicked, this, &frmSearch::cmdSearch);
    connect(cmdReset_, &QPushButton::clicked, this, &frmSearch::cmdReset);
    connect(lvResult_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& current) { ShowPreview(current.row()); });
    ApplyLook(this);
    FitColumns(lvResult_, 0, {}, {1, 5, 6});  // ID, cost and date whole; the subject stretches
}

frmSearch::~frmSearch() = default;

QGroupBox* frmSearch::frame(const QString& name) const {
    return findChild<QGroupBox*>(name);
}

QAction* frmSearch::toolbarButton(const QString& key) const {
    if (key == u"delete")
        return delete_;
    if (key == u"print")
        return print_;
    if (key == u"pdf")
        return pdf_;
    return nullptr;
}

void frmSearch::Initialize() {
    subTraceAction(QStringLiteral("Search.Initialize"));
    ui_.ReadSearchUIValues();
    model_->SetHeaders(SearchColumnHeaders(global_.ProjectTitle, global_.ActivityTitle));
    // The columns fit the list (FitColumns); the stored widths are still written for older versions.

    const QSignalBlocker blockFields(cmbSearchFields_);
    cmbSearchFields_->clear();
    cmbSearchFields_->addItems(FixedSearchEntries(global_.ProjectTitle, global_.ActivityTitle));
    for (int n = 1; n <= 4; ++n) {
        strCustomTitle_[size_t(n - 1)] = CustomFieldTitle(global_.GeneralSettings, n);
        QComboBox* combo = cboCustomField_[size_t(n - 1)];
        combo->clear();
        if (!IsCustomFieldActive(global_.GeneralSettings, n))
            continue;
        cmbSearchFields_->addItem(strCustomTitle_[size_t(n - 1)]);
        combo->addItems(global_.CustomLists[n - 1].Items.Keys());
    }
    cmbTypes_->clear();
    cmbTypes_->addItems(ItemTypeEntries());
    cboCostFunctions_->clear();
    cboCostFunctions_->addItems(CostFunctionEntries());

    cmbMembers_->clear();
    for (const auto& e : global_.Members.Items)
        cmbMembers_->addItem(e.item.Name);
    {
        const QSignalBlocker blockProjects(cmbProject_);
        cmbProject_->clear();
        cmbProject_->addItems(global_.Projects.Items.Keys());
        cmbProject_->setCurrentIndex(cmbProject_->count() > 0 ? 0 : -1);
    }
    FillTasks();

    FrameProject_->setTitle(QStringLiteral("Filter by ") + global_.ProjectTitle + u'/' +
                            global_.ActivityTitle);
    lblProject_->setText(global_.ProjectTitle + u':');
    lblTask_->setText(global_.ActivityTitle + u':');

    // A stored index the lists no longer have (a custom field turned off) is passed over.
    if (ui_.Search_SearchByIndex >= 0 && ui_.Search_SearchByIndex < cmbSearchFields_->count())
        cmbSearchFields_->setCurrentIndex(ui_.Search_SearchByIndex);
    else
        cmbSearchFields_->setCurrentIndex(0);
    ShowFrameFor(cmbSearchFields_->currentIndex());
    if (ui_.Search_ItemsTypeIndex >= 0 && ui_.Search_ItemsTypeIndex < cmbTypes_->count())
        cmbTypes_->setCurrentIndex(ui_.Search_ItemsTypeIndex);
    if (ui_.Search_CostFunctionIndex >= 0 && ui_.Search_CostFunctionIndex < cboCostFunctions_->count())
        cboCostFunctions_->setCurrentIndex(ui_.Search_CostFunctionIndex);
    resize(std::max(ui_.Search_Width / kUnitsPerPixel, 200),
           std::max(ui_.Search_Height / kUnitsPerPixel, 150));
    if (ui_.Search_WindowState == 2)
        setWindowState(windowState() | Qt::WindowMaximized);
    else if (ui_.Search_WindowState == 1)
        setWindowState(windowState() | Qt::WindowMinimized);
    const QDate today = QDate::currentDate();
    dtStart_->setDate(today.addDays(-7));
    dtEnd_->setDate(today);
    dtOn_->setDate(today);
}

void frmSearch::ShowFrameFor(int index) {
    QGroupBox* fixed[] = {FrameKeyword_, frameMembers_,   FrameProject_, frameCost_,
                          frameOn_,      FrameDateRange_, frameOn_,      FrameDateRange_};
    for (QGroupBox* f : {FrameKeyword_, frameMembers_, FrameProject_, frameCost_, frameOn_, FrameDateRange_})
        f->hide();
    for (QGroupBox* f : frameCustom_)
        f->hide();
    cmbTypes_->show();
    lblTypes_->show();
    if (index >= 0 && index < 8) {
        fixed[index]->show();
        return;
    }
    const QString text = cmbSearchFields_->itemText(index);
    for (int n = 1; n <= 4; ++n) {
        if (text == strCustomTitle_[size_t(n - 1)]) {
            frameCustom_[size_t(n - 1)]->setTitle(QStringLiteral("Filter by ") + text);
            frameCustom_[size_t(n - 1)]->show();
            return;
        }
    }
}

void frmSearch::FillTasks() {
    const QString project = cmbProject_->currentText();
    if (project.isEmpty())
        return;
    subTraceAction(QStringLiteral("Search.cmbProject_Click"));
    cmbTask_->clear();
    // The empty entry first and chosen: a search by the project alone, until an activity is picked.
    cmbTask_->addItem(QString());
    if (const cSingleList* list = global_.AllTasksProjects.Find(project))
        cmbTask_->addItems(list->Items.Keys());
    cmbTask_->setCurrentIndex(0);
}

SearchCriteria frmSearch::Criteria() const {
    SearchCriteria c;
    c.searchBy = cmbSearchFields_->currentText();
    c.itemsTypeIndex = cmbTypes_->currentIndex();
    c.keyword = txtKeyword_->text();
    c.member = cmbMembers_->currentText();
    c.project = cmbProject_->currentText();
    c.activity = cmbTask_->currentText();
    c.costFunction = cboCostFunctions_->currentText();
    c.costValue = txtCostValue_->text();
    c.on = dtOn_->date();
    c.start = dtStart_->date();
    c.end = dtEnd_->date();
    for (size_t i = 0; i < 4; ++i) {
        c.customTitles[i] = strCustomTitle_[i];
        c.customValues[i] = cboCustomField_[i]->currentText();
    }
    return c;
}

void frmSearch::cmdSearch() {
    subTraceAction(QStringLiteral("Search.cmdRetrieve.Click"));
    model_->Clear();
    const qint32 dbChoice = Process().mySettings ? Process().mySettings->DBChoice : 0;
    bool showDialog = true;
    DB::Initialize(showDialog);
    bool ran = false;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const bool ok = RunSearch(CurrentConnection(), Criteria(), dbChoice, colResults_, &ran);
    QApplication::restoreOverrideCursor();
    if (!ran || !ok)
        return;
    model_->Fill(colResults_);
    lblResult_->setText(QStringLiteral("Search Result: ") + QString::number(colResults_.Count()));
}

void frmSearch::cmdReset() {
    model_->Clear();
    lblResult_->setText(QStringLiteral("Search Result: "));
    colResults_.Clear();
    txtKeyword_->clear();
    txtPreview_->clear();
}

void frmSearch::ShowPreview(int row) {
    txtPreview_->clear();
    if (row < 0)
        return;
    const int position = colResults_.Find(model_->Key(row));
    if (position >= 0)
        txtPreview_->setPlainText(colResults_.Common(position).Body);
}

QList<bool> frmSearch::SelectedFlags() const {
    QList<bool> flags(model_->rowCount(), false);
    for (const QModelIndex& index : lvResult_->selectionModel()->selectedRows())
        flags[index.row()] = true;
    return flags;
}

QStringList frmSearch::SelectedKeys() const {
    QStringList keys;
    const QList<bool> flags = SelectedFlags();
    for (int row = 0; row < int(flags.size()); ++row)
        if (flags[row])
            keys << model_->Key(row);
    return keys;
}

int frmSearch::TotalSelectedItems() const {
    return int(lvResult_->selectionModel()->selectedRows().size());
}

void frmSearch::CheckAllItems(bool blnState) {
    if (blnState)
        lvResult_->selectAll();
    else
        lvResult_->clearSelection();
}

void frmSearch::tbButtonClick(const QString& key) {
    subTraceAction(QStringLiteral("Search.tb.ButtonClick"));
    if (key == u"print" || key == u"pdf") {
        subPrintSelectedItems(key == u"pdf");
        return;
    }
    if (key != u"delete")
        return;
    const int selected = TotalSelectedItems();
    if (model_->rowCount() == 0 || selected == 0)
        return;
    if (MsgBox(DeleteQuestion(selected), PromptIcon::Question, PromptButtons::YesNo) != PromptAnswer::Yes)
        return;
    const QList<bool> flags = SelectedFlags();
    const std::shared_ptr<Connection> connection = CurrentConnection();
    for (int row = 0; row < int(flags.size()); ++row) {
        if (!flags[row])
            continue;
        bool ok = false;
        const qint32 id = ToInt32(model_->Text(row, 1), &ok);
        deleteReport(connection, TableForKey(model_->Key(row)), id);
    }
    cmdSearch();
}

void frmSearch::subPrintSelectedItems(bool toPdf) {
    subTraceAction(QStringLiteral("Search.subPrintSelectedItems"));
    if (model_->rowCount() == 0)
        return;
    const int selected = TotalSelectedItems();
    if (selected > 1 &&
        MsgBox(PrintQuestion(selected), PromptIcon::Question, PromptButtons::YesNo) != PromptAnswer::Yes)
        return;
    const QString printTemplate = global_.MessageTemplates.GetValue(tpo::kPrintTemplate).toString();
    const QStringList pages = PrintPagesForKeys(colResults_, SelectedKeys(), printTemplate);
    if (!pages.isEmpty())
        OutputPages(pages, toPdf);
}

bool frmSearch::OutputPages(const QStringList& pages, bool toPdf) {
    subTraceAction(QStringLiteral("fSearch.OutputHTML"));
    QPrinter printer(QPrinter::HighResolution);
    if (toPdf) {
        QString path =
            SaveFileToDisk(QStringLiteral("PDF Files (*.pdf)|*.pdf"), this, QStringLiteral("Save as PDF"));
        if (path.isEmpty())
            return false;
        if (!path.endsWith(QStringLiteral(".pdf"), Qt::CaseInsensitive))
            path += QStringLiteral(".pdf");
        // Printed beside the target and put in place when whole: a failure keeps the old file.
        AtomicFile file(path);
        QString why;
        bool ok = file.open(&why);
        if (ok) {
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setOutputFileName(file.temporaryPath());
            ok = PrintHtmlPages(printer, pages) && file.commit(&why);
        }
        if (!ok)
            MsgBox(QStringLiteral("The file could not be written: ") + path +
                       (why.isEmpty() ? QString() : QStringLiteral(" (") + why + u')'),
                   PromptIcon::Exclamation);
        return ok;
    }
    bool accepted = false;
    if (g_printHook) {
        accepted = g_printHook(printer);
    } else {
        QPrintDialog dialog(&printer, this);
        accepted = dialog.exec() == QDialog::Accepted;
    }
    if (!accepted)
        return false;
    // One job per item, as each item is a document of its own.
    bool ok = true;
    for (const QString& page : pages)
        ok = PrintHtmlPages(printer, {page}) && ok;
    return ok;
}

bool PrintHtmlPages(QPrinter& printer, const QStringList& pages) {
    QPainter painter;
    if (!painter.begin(&printer)) {
        Failure f{errnum::kUnspecified, QStringLiteral("The printer could not be started."), 0,
                  QStringLiteral("fSearch.OutputHTML")};
        subReportError(f);
        return false;
    }
    const QSizeF area = printer.pageRect(QPrinter::DevicePixel).size();
    bool first = true;
    for (const QString& html : pages) {
        QTextDocument doc;
        doc.documentLayout()->setPaintDevice(&printer);
        doc.setPageSize(area);
        doc.setHtml(html);
        for (int p = 0; p < std::max(doc.pageCount(), 1); ++p) {
            if (!first)
                printer.newPage();
            first = false;
            painter.save();
            painter.translate(0, -p * area.height());
            doc.drawContents(&painter, QRectF(QPointF(0, p * area.height()), area));
            painter.restore();
        }
    }
    return painter.end();
}

void frmSearch::SaveUISettings() {
    subTraceAction(QStringLiteral("Search.SaveUISettings"));
    QHeaderView* h = lvResult_->header();
    ui_.Search_SubjectWidth = qint16(h->sectionSize(0));
    ui_.Search_IDWidth = qint16(h->sectionSize(1));
    ui_.Search_MemberWidth = qint16(h->sectionSize(2));
    ui_.Search_ProjectWidth = qint16(h->sectionSize(3));
    ui_.Search_TaskWidth = qint16(h->sectionSize(4));
    ui_.Search_CostWidth = qint16(h->sectionSize(5));
    ui_.Search_LastReportedWidth = qint16(h->sectionSize(6));
    ui_.Search_SearchByIndex = qint16(cmbSearchFields_->currentIndex());
    ui_.Search_ItemsTypeIndex = qint16(cmbTypes_->currentIndex());
    ui_.Search_CostFunctionIndex = qint16(cboCostFunctions_->currentIndex());
    const qint16 state = isMinimized() ? 1 : isMaximized() ? 2 : 0;
    if (state != 1)
        ui_.Search_WindowState = state;
    if (state != 2) {
        ui_.Search_Width = ToUnits(width());
        ui_.Search_Height = ToUnits(height());
    }
    ui_.SaveSearchUIValues();
}

void frmSearch::done(int result) {
    if (!saved_) {
        saved_ = true;
        SaveUISettings();
        colResults_.Clear();
    }
    QDialog::done(result);
}

void frmSearch::Exit() {
    reject();
}

void frmSearch::SetPrintDialogHook(std::function<bool(QPrinter&)> hook) {
    g_printHook = std::move(hook);
}

void OpenSearch(qint32 /*section*/) {
    cDBSettings* global = DBSettings();
    if (!global)
        return;
    cUISettings ui;
    frmSearch form(*global, ui);
    form.Initialize();
    RunScreen(form, g_driver);
}

void SetSearchDriver(std::function<void(frmSearch&)> driver) {
    g_driver = std::move(driver);
}

}  // namespace tlm
