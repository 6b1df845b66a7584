#include "admin/pick_members_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "core/prompt.h"
#include "desktop/gui_dialogs.h"
#include "mail/ldap_directory.h"

namespace tlm {

namespace {

std::function<void(PickMembersDialog&)> g_driver;

QString KindText(const DirectoryEntry& e) {
    switch (e.type) {
        case AddressEntryType::DistributionList:
            return QStringLiteral("Group");
        case AddressEntryType::DirectoryUser:
        case AddressEntryType::Contact:
            return QStringLiteral("Person");
        case AddressEntryType::Other:
            break;
    }
    return QStringLiteral("Other");
}

bool Matches(const DirectoryEntry& e, const QString& text) {
    return text.isEmpty() || e.name.contains(text, Qt::CaseInsensitive) ||
           e.mail.contains(text, Qt::CaseInsensitive);
}

}  // namespace

PickMembersDialog::PickMembersDialog(QWidget* parent, DirectorySettings settings)
    : QDialog(parent), settings_(std::move(settings)) {
    setObjectName(QStringLiteral("PickMembersDialog"));
    resize(620, 520);
    auto* layout = new QVBoxLayout(this);

    auto* top = new QHBoxLayout;
    source_ = new QComboBox(this);
    source_->addItem(QStringLiteral("Directory"));
    source_->addItem(QStringLiteral("vCard files"));
    openFiles_ = new QPushButton(QStringLiteral("Open Files..."), this);
    top->addWidget(new QLabel(QStringLiteral("Show names from:"), this));
    top->addWidget(source_, 1);
    top->addWidget(openFiles_);
    layout->addLayout(top);

    server_ = new QGroupBox(QStringLiteral("Directory server"), this);
    auto* form = new QFormLayout(server_);
    url_ = new QLineEdit(settings_.url, server_);
    url_->setPlaceholderText(QStringLiteral("ldap://host:389 or ldaps://host:636"));
    base_ = new QLineEdit(settings_.baseDn, server_);
    bindDn_ = new QLineEdit(settings_.bindDn, server_);
    password_ = new QLineEdit(settings_.password, server_);
    password_->setEchoMode(QLineEdit::Password);
    startTls_ = new QCheckBox(QStringLiteral("Use StartTLS"), server_);
    startTls_->setChecked(settings_.startTls);
    auto* connectButton = new QPushButton(QStringLiteral("Connect"), server_);
    form->addRow(QStringLiteral("Server URL:"), url_);
    form->addRow(QStringLiteral("Base DN:"), base_);
    form->addRow(QStringLiteral("Bind DN:"), bindDn_);
    form->addRow(QStringLiteral("Password:"), password_);
    form->addRow(startTls_, connectButton);
    layout->addWidget(server_);

    search_ = new QLineEdit(this);
    search_->setPlaceholderText(QStringLiteral("Type a name or an address"));
    search_->setClearButtonEnabled(true);
    layout->addWidget(search_);

    results_ = new QTreeWidget(this);
    results_->setColumnCount(4);
    results_->setHeaderLabels({QStringLiteral("Name"), QStringLiteral("Email"), QStringLiteral("Department"),
                               QStringLiteral("Type")});
    results_->setRootIsDecorated(false);
    results_->setUniformRowHeights(true);
    results_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    results_->header()->setSectionResizeMode(QHeaderView::Stretch);
    layout->addWidget(results_, 3);

    status_ = new QLabel(this);
    status_->setWordWrap(true);
    layout->addWidget(status_);

    auto* row = new QHBoxLayout;
    add_ = new QPushButton(QStringLiteral("Add"), this);
    picked_ = new QListWidget(this);
    row->addWidget(add_, 0, Qt::AlignTop);
    row->addWidget(picked_, 1);
    layout->addLayout(row, 1);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);

    typing_ = new QTimer(this);
    typing_->setSingleShot(true);
    typing_->setInterval(300);

    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(add_, &QPushButton::clicked, this, &PickMembersDialog::AddSelected);
    connect(results_, &QTreeWidget::itemDoubleClicked, this, &PickMembersDialog::AddSelected);
    connect(openFiles_, &QPushButton::clicked, this, &PickMembersDialog::OpenFiles);
    connect(connectButton, &QPushButton::clicked, this, &PickMembersDialog::Connect);
    connect(search_, &QLineEdit::textChanged, typing_, qOverload<>(&QTimer::start));
    connect(typing_, &QTimer::timeout, this, &PickMembersDialog::Refresh);
    connect(source_, &QComboBox::currentIndexChanged, this, [this](int) { Refresh(); });
}

PickMembersDialog::~PickMembersDialog() = default;

void PickMembersDialog::setSource(Source source) {
    source_->setCurrentIndex(int(source));
}

void PickMembersDialog::OpenFiles() {
    const QStringList paths =
        OpenFilesFromDisk(QStringLiteral("vCard files (*.vcf *.vcard)|*.vcf;*.vcard|All files (*)|*"), this,
                          QStringLiteral("Open vCard Files"));
    if (paths.isEmpty())
        return;
    const VCardFiles read = ReadVCardFiles(paths);
    files_ += read.entries;
    {
        const QSignalBlocker block(source_);
        source_->setCurrentIndex(Files);
    }
    Refresh();
    if (!read.problems.isEmpty())
        MsgBox(UnreadableCardsMessage(read.problems), PromptIcon::Exclamation);
}

void PickMembersDialog::Connect() {
    settings_.url = url_->text().trimmed();
    settings_.baseDn = base_->text().trimmed();
    settings_.bindDn = bindDn_->text().trimmed();
    settings_.password = password_->text();
    settings_.startTls = startTls_->isChecked();
    ldap_.reset();
    Failure failure;
    if (!SaveDirectorySettings(settings_, &failure))
        MsgBox(QStringLiteral("The directory settings could not be saved: %1").arg(failure.description),
               PromptIcon::Exclamation);
    {
        const QSignalBlocker block(source_);
        source_->setCurrentIndex(Directory);
    }
    Refresh();
}

void PickMembersDialog::Refresh() {
    typing_->stop();
    const QString text = search_->text().trimmed();
    server_->setVisible(source_->currentIndex() == Directory);
    if (source_->currentIndex() == Files) {
        QList<DirectoryEntry> found;
        for (const DirectoryEntry& e : files_)
            if (Matches(e, text))
                found.append(e);
        status_->setText(files_.isEmpty() ? QStringLiteral("Open one or more vCard files.") : QString());
        ShowEntries(found);
        return;
    }
    if (settings_.url.isEmpty()) {
        status_->setText(QStringLiteral("No directory server is set; open vCard files instead."));
        ShowEntries({});
        return;
    }
    if (!ldap_)
        ldap_ = std::make_unique<LdapDirectory>(settings_);
    QString error;
    const std::optional<QList<DirectoryEntry>> found = ldap_->Search(text, &error);
    status_->setText(found ? QString() : error);
    ShowEntries(found.value_or(QList<DirectoryEntry>()));
}

void PickMembersDialog::ShowEntries(const QList<DirectoryEntry>& entries) {
    shown_ = entries;
    results_->clear();
    QList<QTreeWidgetItem*> items;
    items.reserve(entries.size());
    for (const DirectoryEntry& e : entries)
        items.append(new QTreeWidgetItem({e.name, e.mail, e.department, KindText(e)}));
    results_->addTopLevelItems(items);
}

void PickMembersDialog::AddSelected() {
    const bool fromDirectory = source_->currentIndex() == Directory;
    for (QTreeWidgetItem* item : results_->selectedItems()) {
        const int at = results_->indexOfTopLevelItem(item);
        if (at < 0 || at >= shown_.size())
            continue;
        const DirectoryEntry& e = shown_[at];
        bool known = false;
        for (const DirectoryEntry& c : chosen_)
            known = known || (c.id == e.id && c.name == e.name && c.mail == e.mail);
        if (known)
            continue;
        chosen_.append(e);
        chosenFromDirectory_.append(fromDirectory);
        picked_->addItem(e.mail.isEmpty() ? e.name : QStringLiteral("%1 <%2>").arg(e.name, e.mail));
    }
}

QList<DirectoryEntry> PickMembersDialog::PickedWithMembers() {
    QList<DirectoryEntry> out = chosen_;
    for (int i = 0; i < out.size(); ++i) {
        if (out[i].type != AddressEntryType::DistributionList || !chosenFromDirectory_[i] || !ldap_)
            continue;
        QString error;
        out[i].members = ldap_->Members(out[i], &error);
        if (!error.isEmpty())
            MsgBox(error, PromptIcon::Exclamation);
    }
    return out;
}

std::optional<QList<DirectoryEntry>> PickMembersDialog::AddressBook(const QString& title,
                                                                    const QString& addLabel) {
    setWindowTitle(title);
    add_->setText(addLabel);
    chosen_.clear();
    chosenFromDirectory_.clear();
    picked_->clear();
    {
        const QSignalBlocker block(source_);
        source_->setCurrentIndex(settings_.url.isEmpty() ? Files : Directory);
    }
    Refresh();
    int result = QDialog::Rejected;
    setResult(QDialog::Rejected);
    if (g_driver) {
        show();
        g_driver(*this);
        result = this->result();
        if (isVisible())
            QDialog::reject();
    } else {
        result = exec();
    }
    if (result != QDialog::Accepted)
        return std::nullopt;
    return PickedWithMembers();
}

void SetPickMembersDriver(std::function<void(PickMembersDialog&)> driver) {
    g_driver = std::move(driver);
}

}  // namespace tlm
