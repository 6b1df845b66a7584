#include "admin/pick_members_form.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QEventLoop>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QLocale>
#include <QProgressDialog>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <atomic>
#include <thread>

#include "core/prompt.h"
#include "desktop/dialogs.h"
#include "mail/ldap_directory.h"

namespace tlm {

namespace {

std::function<void(PickMembersDialog&)> g_driver;
std::function<std::unique_ptr<MemberDirectory>(const DirectorySettings&)> g_makeDirectory;

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

// A search or the reading of groups' members on a thread of its own. The screen looks at it on a
// timer; the answer is written before `finished` is set and read only after it was seen set.
struct PickMembersDialog::Task {
    enum Kind { Search, Members };
    explicit Task(Kind k) : kind(k) {
        job.progress = [this](qint64 d, qint64 n) {
            done.store(d);
            total.store(n);
        };
    }
    ~Task() {
        job.Cancel();
        if (thread.joinable())
            thread.join();
    }
    const Kind kind;
    DirectoryJob job;
    std::atomic<qint64> done{0};
    std::atomic<qint64> total{0};
    std::atomic<int> group{0};  // the group being read, an index into `groups`
    std::atomic<bool> finished{false};
    std::thread thread;
    std::shared_ptr<MemberDirectory> directory;  // what the thread uses, alive until it ended
    std::optional<QList<DirectoryEntry>> found;  // a search's answer
    QString error;
    QList<DirectoryEntry> groups;  // the groups to read
    QList<GroupMembers> members;   // one for each group read, in order
};

PickMembersDialog::PickMembersDialog(QWidget* parent, DirectorySettings settings)
    : QDialog(parent), settings_(std::move(settings)) {
    setObjectName(QStringLiteral("PickMembersDialog"));
    resize(620, 560);
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
    // The stored password never goes into the field: it only says whether there is one.
    password_ = new QLineEdit(server_);
    password_->setEchoMode(QLineEdit::Password);
    startTls_ = new QCheckBox(QStringLiteral("Use StartTLS"), server_);
    startTls_->setChecked(settings_.startTls);
    tlsWarning_ = new QLabel(
        QStringLiteral("Without StartTLS the password and the directory's answers cross the network "
                       "unencrypted. Turn it off only for a server that cannot do TLS."),
        server_);
    tlsWarning_->setWordWrap(true);
    tlsWarning_->setStyleSheet(QStringLiteral("color: #a40000;"));
    auto* connectButton = new QPushButton(QStringLiteral("Connect"), server_);
    form->addRow(QStringLiteral("Server URL:"), url_);
    form->addRow(QStringLiteral("Base DN:"), base_);
    form->addRow(QStringLiteral("Bind DN:"), bindDn_);
    form->addRow(QStringLiteral("Password:"), password_);
    form->addRow(startTls_, connectButton);
    form->addRow(tlsWarning_);
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

    auto* statusRow = new QHBoxLayout;
    status_ = new QLabel(this);
    status_->setWordWrap(true);
    stop_ = new QPushButton(QStringLiteral("Stop"), this);
    stop_->setVisible(false);
    statusRow->addWidget(status_, 1);
    statusRow->addWidget(stop_);
    layout->addLayout(statusRow);

    auto* row = new QHBoxLayout;
    auto* buttonsColumn = new QVBoxLayout;
    add_ = new QPushButton(QStringLiteral("Add"), this);
    remove_ = new QPushButton(QStringLiteral("Remove"), this);
    buttonsColumn->addWidget(add_);
    buttonsColumn->addWidget(remove_);
    buttonsColumn->addStretch(1);
    picked_ = new QListWidget(this);
    picked_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    row->addLayout(buttonsColumn);
    row->addWidget(picked_, 1);
    layout->addLayout(row, 1);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);

    typing_ = new QTimer(this);
    typing_->setSingleShot(true);
    typing_->setInterval(300);
    poll_ = new QTimer(this);
    poll_->setInterval(50);

    connect(buttons, &QDialogButtonBox::accepted, this, &PickMembersDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &PickMembersDialog::reject);
    connect(add_, &QPushButton::clicked, this, &PickMembersDialog::AddSelected);
    connect(remove_, &QPushButton::clicked, this, &PickMembersDialog::RemoveSelected);
    connect(stop_, &QPushButton::clicked, this, &PickMembersDialog::StopSearch);
    connect(results_, &QTreeWidget::itemDoubleClicked, this, &PickMembersDialog::AddSelected);
    connect(openFiles_, &QPushButton::clicked, this, &PickMembersDialog::OpenFiles);
    connect(connectButton, &QPushButton::clicked, this, &PickMembersDialog::Connect);
    connect(search_, &QLineEdit::textChanged, typing_, qOverload<>(&QTimer::start));
    connect(typing_, &QTimer::timeout, this, &PickMembersDialog::Refresh);
    connect(poll_, &QTimer::timeout, this, &PickMembersDialog::Poll);
    connect(source_, &QComboBox::currentIndexChanged, this, [this](int) { Refresh(); });
    connect(url_, &QLineEdit::textChanged, this, &PickMembersDialog::ShowServerState);
    connect(startTls_, &QCheckBox::toggled, this, &PickMembersDialog::ShowServerState);
    ShowServerState();
}

PickMembersDialog::~PickMembersDialog() = default;

void PickMembersDialog::setSource(Source source) {
    source_->setCurrentIndex(int(source));
}

std::shared_ptr<MemberDirectory> PickMembersDialog::UsedDirectory() {
    if (!directory_)
        directory_ = g_makeDirectory ? std::shared_ptr<MemberDirectory>(g_makeDirectory(settings_))
                                     : std::make_shared<LdapDirectory>(settings_);
    return directory_;
}

void PickMembersDialog::ShowServerState() {
    const bool ldaps = url_->text().trimmed().startsWith(QLatin1String("ldaps:"), Qt::CaseInsensitive);
    startTls_->setEnabled(!ldaps);
    tlsWarning_->setVisible(!ldaps && !startTls_->isChecked());
    password_->setPlaceholderText(settings_.password.isEmpty()
                                      ? QStringLiteral("No password is stored")
                                      : QStringLiteral("A password is stored; type one to replace it"));
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
    // A search of the old server stops on its own thread, while connecting to an unreachable
    // server may take the whole timeout; the screen does not wait for it.
    if (task_) {
        task_->job.Cancel();
        retired_.push_back(std::move(task_));
        poll_->start();
    }
    stop_->setVisible(false);
    searchAgain_ = false;
    const QString url = url_->text().trimmed();
    const QString bindDn = bindDn_->text().trimmed();
    const QString typed = password_->text();
    if (!typed.isEmpty())
        settings_.password = typed;
    else if (url != settings_.url || bindDn != settings_.bindDn || bindDn.isEmpty())
        settings_.password.clear();  // a stored password goes to no other server or account
    password_->clear();
    settings_.url = url;
    settings_.baseDn = base_->text().trimmed();
    settings_.bindDn = bindDn;
    settings_.startTls = startTls_->isChecked();
    directory_.reset();
    ShowServerState();
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
        StopSearch();
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
    if (task_) {
        // The search that runs is for a text no longer typed: it stops, and the new one starts
        // when it has.
        task_->job.Cancel();
        searchAgain_ = true;
        return;
    }
    StartSearch();
}

void PickMembersDialog::StartSearch() {
    auto task = std::make_unique<Task>(Task::Search);
    Task* t = task.get();
    t->directory = UsedDirectory();
    MemberDirectory* directory = t->directory.get();
    const QString text = search_->text().trimmed();
    t->thread = std::thread([t, directory, text] {
        t->found = directory->Search(text, &t->error, 250, &t->job);
        t->finished.store(true);
    });
    task_ = std::move(task);
    status_->setText(QStringLiteral("Searching the directory..."));
    stop_->setVisible(true);
    poll_->start();
}

void PickMembersDialog::StopSearch() {
    searchAgain_ = false;
    if (task_)
        task_->job.Cancel();
}

bool PickMembersDialog::isSearching() const {
    return task_ != nullptr;
}

void PickMembersDialog::Poll() {
    std::erase_if(retired_, [](const std::unique_ptr<Task>& t) { return t->finished.load(); });
    if (!task_) {
        if (retired_.empty())
            poll_->stop();
        return;
    }
    if (!task_->finished.load()) {
        if (!task_->job.Cancelled())
            status_->setText(QStringLiteral("Searching the directory... %1 found")
                                 .arg(QLocale().toString(task_->done.load())));
        return;
    }
    FinishTask();
}

void PickMembersDialog::FinishTask() {
    if (retired_.empty())
        poll_->stop();
    stop_->setVisible(false);
    const std::unique_ptr<Task> t = std::move(task_);
    t->thread.join();
    if (source_->currentIndex() != Directory)
        return;
    if (t->job.Cancelled()) {
        if (searchAgain_) {
            searchAgain_ = false;
            StartSearch();
        } else {
            status_->setText(QStringLiteral("The search was stopped."));
        }
        return;
    }
    status_->setText(t->found ? QString() : t->error);
    ShowEntries(t->found.value_or(QList<DirectoryEntry>()));
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

void PickMembersDialog::RemoveSelected() {
    for (int row = picked_->count() - 1; row >= 0; --row) {
        if (!picked_->item(row)->isSelected())
            continue;
        delete picked_->takeItem(row);
        chosen_.removeAt(row);
        chosenFromDirectory_.removeAt(row);
    }
}

void PickMembersDialog::accept() {
    task_.reset();  // a search still running is of no use now
    poll_->stop();
    stop_->setVisible(false);
    searchAgain_ = false;
    QList<qsizetype> groupsAt;
    for (qsizetype i = 0; i < chosen_.size(); ++i) {
        if (chosen_[i].type == AddressEntryType::DistributionList && chosenFromDirectory_[i])
            groupsAt.append(i);
    }
    QList<DirectoryEntry> out = chosen_;
    if (!groupsAt.isEmpty()) {
        Task t(Task::Members);
        for (qsizetype at : groupsAt)
            t.groups.append(chosen_[at]);
        t.directory = UsedDirectory();
        MemberDirectory* directory = t.directory.get();
        Task* running = &t;
        t.thread = std::thread([running, directory] {
            for (int g = 0; g < running->groups.size(); ++g) {
                running->group.store(g);
                running->done.store(0);
                running->total.store(0);
                GroupMembers read = directory->Members(running->groups[g], &running->job);
                const bool stop = read.outcome != JobOutcome::Done;
                running->members.append(std::move(read));
                if (stop)
                    break;
            }
            running->finished.store(true);
        });
        QProgressDialog progress(this);
        progress.setObjectName(QStringLiteral("ReadingMembers"));
        progress.setWindowTitle(windowTitle());
        progress.setWindowModality(Qt::WindowModal);
        progress.setAutoClose(false);
        progress.setAutoReset(false);
        progress.setMinimumDuration(300);
        progress.setRange(0, 0);
        progress.setLabelText(QStringLiteral("Reading the members of %1...").arg(t.groups.first().name));
        QEventLoop loop;
        QTimer tick;
        tick.setInterval(50);
        connect(&progress, &QProgressDialog::canceled, this, [running] { running->job.Cancel(); });
        connect(&tick, &QTimer::timeout, this, [&] {
            if (t.finished.load()) {
                loop.quit();
                return;
            }
            if (progress.wasCanceled() || t.job.Cancelled()) {
                t.job.Cancel();
                progress.setLabelText(QStringLiteral("Stopping..."));
                return;
            }
            const int g = t.group.load();
            const qint64 done = t.done.load();
            const qint64 total = t.total.load();
            const QLocale locale;
            QString text = QStringLiteral("Reading the members of %1").arg(t.groups.value(g).name);
            if (t.groups.size() > 1)
                text += QStringLiteral(" (group %1 of %2)").arg(g + 1).arg(t.groups.size());
            text += total > 0
                        ? QStringLiteral(": %1 of %2").arg(locale.toString(done), locale.toString(total))
                        : QStringLiteral(": %1").arg(locale.toString(done));
            progress.setLabelText(text);
            // The bar counts in thousandths: a group may have more members than an int holds.
            progress.setRange(0, total > 0 ? 1000 : 0);
            if (total > 0)
                progress.setValue(int(done * 1000 / total));
        });
        tick.start();
        loop.exec();
        t.thread.join();
        progress.close();
        QList<std::pair<QString, QStringList>> unreadable;
        for (qsizetype i = 0; i < t.members.size(); ++i) {
            const GroupMembers& read = t.members[i];
            if (read.outcome == JobOutcome::Cancelled) {
                status_->setText(QStringLiteral("Reading the members of %1 was cancelled; nothing was taken.")
                                     .arg(t.groups[i].name));
                return;
            }
            if (read.outcome == JobOutcome::Failed) {
                status_->setText(read.error);
                MsgBox(read.error, PromptIcon::Exclamation);
                return;
            }
            out[groupsAt[i]].members = read.members;
            if (!read.unreadable.isEmpty())
                unreadable.append({t.groups[i].name, read.unreadable});
        }
        if (!unreadable.isEmpty())
            MsgBox(UnreadableMembersMessage(unreadable), PromptIcon::Exclamation);
    }
    handedOver_ = out;
    QDialog::accept();
}

void PickMembersDialog::reject() {
    task_.reset();
    poll_->stop();
    searchAgain_ = false;
    QDialog::reject();
}

std::optional<QList<DirectoryEntry>> PickMembersDialog::AddressBook(const QString& title,
                                                                    const QString& addLabel) {
    setWindowTitle(title);
    add_->setText(addLabel);
    chosen_.clear();
    chosenFromDirectory_.clear();
    handedOver_.clear();
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
    task_.reset();
    poll_->stop();
    if (result != QDialog::Accepted)
        return std::nullopt;
    return handedOver_;
}

void SetPickMembersDriver(std::function<void(PickMembersDialog&)> driver) {
    g_driver = std::move(driver);
}

void SetPickMembersDirectory(std::function<std::unique_ptr<MemberDirectory>(const DirectorySettings&)> make) {
    g_makeDirectory = std::move(make);
}

}  // namespace tlm
