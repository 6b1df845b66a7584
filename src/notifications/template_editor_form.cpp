#include "notifications/template_editor_form.h"

#include <QAction>
#include <QComboBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QSplitter>
#include <QTextBrowser>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>

#include "core/error_report.h"
#include "desktop/look.h"
#include "desktop/window_services.h"
#include "mail/mail_account_form.h"

namespace tlm {

namespace {

std::function<void(frmTemplates&)> g_driver;

// Typing re-renders at most this often, so a long body stays responsive.
constexpr int kPreviewDelayMs = 150;

}  // namespace

TagGrid::TagGrid(QWidget* parent) : QTableWidget(0, 2, parent) {
    setHorizontalHeaderLabels({QStringLiteral("Variable"), QStringLiteral("Description")});
    verticalHeader()->setVisible(false);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setDragEnabled(true);
    setDragDropMode(QAbstractItemView::DragOnly);
    CompactRows(this);
    FitColumns(this, 1, {}, {0});
}

void TagGrid::PopulateList(const QString& sTags, const QString& sDescriptions) {
    const QStringList tags = sTags.isEmpty() ? QStringList() : sTags.split(QLatin1Char(';'));
    const QStringList descriptions = sDescriptions.split(QStringLiteral("\r\n"));
    setRowCount(int(tags.size()));
    for (int r = 0; r < int(tags.size()); ++r) {
        setItem(r, 0, new QTableWidgetItem(tags[r]));
        setItem(r, 1, new QTableWidgetItem(descriptions.value(r)));
    }
    FitColumns(this, 1, {}, {0});  // the tags whole, the descriptions in the rest
}

QMimeData* TagGrid::dragData(int row, int col) const {
    QTableWidgetItem* cell = item(row, col);
    return cell ? mimeData({cell}) : nullptr;
}

QMimeData* TagGrid::mimeData(const QList<QTableWidgetItem*>& items) const {
    if (items.isEmpty() || items.first()->text().isEmpty())
        return nullptr;
    // Plain text only, so the subject line and the editor both take it as typed.
    auto* data = new QMimeData;
    data->setText(items.first()->text());
    return data;
}

frmTemplates::frmTemplates(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmTemplates"));
    auto* root = new QVBoxLayout(this);
    tb_ = new QToolBar(this);
    tb_->setToolButtonStyle(Qt::ToolButtonTextOnly);
    save_ = tb_->addAction(QStringLiteral("Save"), this, [this] { Save(); });
    exit_ = tb_->addAction(QStringLiteral("Exit"), this, &frmTemplates::Exit);
    tb_->addSeparator();
    account_ = tb_->addAction(QStringLiteral("Mail Account..."), this, &frmTemplates::OpenMailAccount);
    root->addWidget(tb_);

    auto* split = new QSplitter(Qt::Horizontal, this);
    frameTemplates_ = new QGroupBox(split);
    auto* left = new QVBoxLayout(frameTemplates_);
    auto* fields = new QFormLayout;
    cmbTemplate_ = new QComboBox(frameTemplates_);
    txtSubject_ = new QLineEdit(frameTemplates_);
    fields->addRow(QStringLiteral("Template:"), cmbTemplate_);
    fields->addRow(QStringLiteral("Subject:"), txtSubject_);
    left->addLayout(fields);

    auto* bodySplit = new QSplitter(Qt::Vertical, frameTemplates_);
    uHTMLEditor_ = new QPlainTextEdit(bodySplit);
    uHTMLEditor_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    uHTMLEditor_->setLineWrapMode(QPlainTextEdit::NoWrap);
    txtPreview_ = new QTextBrowser(bodySplit);
    txtPreview_->setOpenLinks(false);
    txtPreview_->setPalette(PaperPalette(txtPreview_->palette()));  // the mail as it arrives
    left->addWidget(bodySplit, 1);

    frameTags_ = new QGroupBox(split);
    auto* right = new QVBoxLayout(frameTags_);
    fpsTags_ = new TagGrid(frameTags_);
    right->addWidget(fpsTags_);
    split->setStretchFactor(0, 3);
    split->setStretchFactor(1, 2);
    root->addWidget(split, 1);

    previewTimer_ = new QTimer(this);
    previewTimer_->setSingleShot(true);
    previewTimer_->setInterval(kPreviewDelayMs);
    connect(previewTimer_, &QTimer::timeout, this, &frmTemplates::refreshPreview);
    connect(uHTMLEditor_, &QPlainTextEdit::textChanged, previewTimer_, qOverload<>(&QTimer::start));
    connect(cmbTemplate_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!loading_)
            ShowTemplate(index);
    });
    subSetCaptions();
    ApplyLook(this);
    resize(900, 600);
}

frmTemplates::~frmTemplates() = default;

void frmTemplates::subSetCaptions() {
    setWindowTitle(QStringLiteral("Administration Panel : ") + QStringLiteral("Notification Templates"));
    frameTemplates_->setTitle(QStringLiteral("Templates"));
    frameTags_->setTitle(QStringLiteral("Tags (drag one into the subject or the body)"));
}

QAction* frmTemplates::toolbarButton(const QString& key) const {
    if (key == QLatin1String("Save"))
        return save_;
    if (key == QLatin1String("Exit"))
        return exit_;
    if (key == QLatin1String("MailAccount"))
        return account_;
    return nullptr;
}

void frmTemplates::subGetSettings() {
    // Defaults shown over a table that could not be read must not be saved over it.
    save_->setEnabled(editor_.Load());
    subGetSettings(editor_.templates());
}

void frmTemplates::subGetSettings(const cMessageTemplates& templates) {
    if (&templates != &editor_.templates())
        editor_.LoadFrom(templates);
    loading_ = true;
    cmbTemplate_->clear();
    cmbTemplate_->addItems(NotificationDisplayNames());
    cmbTemplate_->setCurrentIndex(0);
    loading_ = false;
    // Nothing is shown yet, so nothing is kept before index 0 comes up.
    txtBodyTag_.clear();
    ShowTemplate(0);
}

void frmTemplates::ShowTemplate(int index) {
    subTraceAction(QStringLiteral("fTemplates.lstTemplates.Click"));
    subSaveTemplate(txtBodyTag_);
    txtSubject_->clear();
    fpsTags_->PopulateList(TagGroupTags(TemplateEditor::TagGroupOf(index)),
                           TagGroupDescriptions(TemplateEditor::TagGroupOf(index)));
    txtSubject_->setEnabled(TemplateEditor::HasSubject(index));
    if (!TemplateEditor::IsValidIndex(index)) {
        txtSubject_->setText(QStringLiteral("Empty"));
        uHTMLEditor_->clear();
        txtBodyTag_.clear();
        return;
    }
    txtSubject_->setText(editor_.Subject(index));
    txtSubject_->setCursorPosition(0);  // a long subject shows its beginning
    uHTMLEditor_->setPlainText(editor_.Body(index));
    uHTMLEditor_->setVisible(true);
    txtBodyTag_ = QString::number(index);
    if (cmbTemplate_->currentIndex() != index) {
        loading_ = true;
        cmbTemplate_->setCurrentIndex(index);
        loading_ = false;
    }
    refreshPreview();
}

void frmTemplates::subSaveTemplate(const QString& sIndex) {
    // The editor shows line ends as LF; the stored texts have CR LF, and keep them.
    QString html = uHTMLEditor_->toPlainText();
    html.replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
    editor_.SaveTemplate(sIndex, txtSubject_->text(), html);
}

bool frmTemplates::Save() {
    if (!save_->isEnabled())
        return false;
    subTraceAction(QStringLiteral("fTemplates.SaveTemplate"));
    subSaveTemplate(txtBodyTag_);
    const bool saved = editor_.SaveGlobalSettings();
    accept();
    return saved;
}

void frmTemplates::Exit() {
    reject();
}

void frmTemplates::OpenMailAccount() {
    frmMailAccount::Edit(this);
}

void frmTemplates::refreshPreview() {
    previewTimer_->stop();
    txtPreview_->setHtml(uHTMLEditor_->toPlainText());
}

void OpenTemplates(qint32 /*section*/) {
    frmTemplates form;
    form.subGetSettings();
    RunScreen(form, g_driver);
}

void SetTemplatesDriver(std::function<void(frmTemplates&)> driver) {
    g_driver = std::move(driver);
}

}  // namespace tlm
