#pragma once

#include <QDialog>
#include <functional>
#include <memory>
#include <vector>

#include "mail/directory.h"
#include "mail/mail_profile.h"

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QTimer;
class QTreeWidget;

namespace tlm {

class MemberDirectory;

// The address book of the member import: the LDAP directory or vCard files, searched as the user
// types; picked entries go to the list below with the add button, and OK hands them over. The
// directory is searched, and the members of picked groups are read, on a thread of their own: the
// screen keeps answering, shows how far it got and can stop.
class PickMembersDialog : public QDialog, public AddressBookSource {
    Q_OBJECT
  public:
    explicit PickMembersDialog(QWidget* parent = nullptr,
                               DirectorySettings settings = LoadDirectorySettings());
    ~PickMembersDialog() override;

    std::optional<QList<DirectoryEntry>> AddressBook(const QString& title, const QString& addLabel) override;

    enum Source { Directory = 0, Files = 1 };
    void setSource(Source source);
    // Asks for vCard files (several at once) and lists their entries; unreadable cards are named
    // in one message.
    void OpenFiles();
    // Searches now instead of after the typing pause. A directory search runs in the background;
    // one still running is stopped first.
    void Refresh();
    // Stops a directory search that is running.
    void StopSearch();
    bool isSearching() const;
    // The selected results join the picked entries, each once.
    void AddSelected();
    // The selected picked entries leave the list.
    void RemoveSelected();
    // Takes the server fields, keeps them in the private settings file and searches again. A stored
    // password is kept unless one is typed; it is dropped when the server or the bind DN changed.
    void Connect();
    // Reads the members of the picked directory groups (with a progress window that can cancel)
    // and closes; a cancel or a failure leaves the dialog open with nothing taken.
    void accept() override;
    void reject() override;

    QLineEdit* searchBox() const { return search_; }
    QTreeWidget* results() const { return results_; }
    QListWidget* picked() const { return picked_; }
    QPushButton* addButton() const { return add_; }
    QPushButton* removeButton() const { return remove_; }
    QPushButton* stopButton() const { return stop_; }
    QLabel* status() const { return status_; }
    QLineEdit* serverUrl() const { return url_; }
    QLineEdit* baseDn() const { return base_; }
    QLineEdit* bindDn() const { return bindDn_; }
    QLineEdit* password() const { return password_; }
    QCheckBox* startTls() const { return startTls_; }
    QLabel* startTlsWarning() const { return tlsWarning_; }

  private:
    struct Task;
    void StartSearch();
    void Poll();
    void FinishTask();
    void ShowEntries(const QList<DirectoryEntry>& entries);
    void ShowServerState();
    std::shared_ptr<MemberDirectory> UsedDirectory();

    DirectorySettings settings_;
    std::shared_ptr<MemberDirectory> directory_;  // a task keeps the one it uses
    std::unique_ptr<Task> task_;                  // the search or the reading of members that runs
    std::vector<std::unique_ptr<Task>> retired_;  // searches of a server left, stopping on their own
    bool searchAgain_ = false;                    // the text changed while a search ran
    QList<DirectoryEntry> files_;                 // every entry of the files opened
    QList<DirectoryEntry> shown_;                 // the rows of the results, in order
    QList<DirectoryEntry> chosen_;                // the picked entries
    QList<bool> chosenFromDirectory_;
    QList<DirectoryEntry> handedOver_;  // what OK gives: the picked entries, groups with members
    QComboBox* source_ = nullptr;
    QPushButton* openFiles_ = nullptr;
    QLineEdit* search_ = nullptr;
    QTreeWidget* results_ = nullptr;
    QPushButton* add_ = nullptr;
    QPushButton* remove_ = nullptr;
    QPushButton* stop_ = nullptr;
    QListWidget* picked_ = nullptr;
    QLabel* status_ = nullptr;
    QTimer* typing_ = nullptr;
    QTimer* poll_ = nullptr;
    QGroupBox* server_ = nullptr;
    QLineEdit* url_ = nullptr;
    QLineEdit* base_ = nullptr;
    QLineEdit* bindDn_ = nullptr;
    QLineEdit* password_ = nullptr;
    QCheckBox* startTls_ = nullptr;
    QLabel* tlsWarning_ = nullptr;
};

// Widget tests drive the dialog instead of a blocking modal loop: the driver gets the shown dialog
// and ends it with accept() or reject(); a dialog left open counts as cancelled. An empty driver
// restores exec().
void SetPickMembersDriver(std::function<void(PickMembersDialog&)> driver);
// Widget tests give the dialog a directory of their own; an empty function restores the LDAP
// directory of the settings.
void SetPickMembersDirectory(std::function<std::unique_ptr<MemberDirectory>(const DirectorySettings&)> make);

}  // namespace tlm
