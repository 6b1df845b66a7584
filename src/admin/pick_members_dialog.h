#pragma once

#include <QDialog>
#include <functional>
#include <memory>

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

class LdapDirectory;

// The address book of the member import: the LDAP directory or vCard files, searched as the user
// types; picked entries go to the list below with the add button, and OK hands them over.
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
    // Searches now instead of after the typing pause.
    void Refresh();
    // The selected results join the picked entries, each once.
    void AddSelected();
    // Takes the server fields, keeps them in the private settings file and searches again.
    void Connect();

    QLineEdit* searchBox() const { return search_; }
    QTreeWidget* results() const { return results_; }
    QListWidget* picked() const { return picked_; }
    QPushButton* addButton() const { return add_; }
    QLabel* status() const { return status_; }
    QLineEdit* serverUrl() const { return url_; }
    QLineEdit* baseDn() const { return base_; }
    QLineEdit* bindDn() const { return bindDn_; }
    QLineEdit* password() const { return password_; }
    QCheckBox* startTls() const { return startTls_; }

  private:
    void ShowEntries(const QList<DirectoryEntry>& entries);
    QList<DirectoryEntry> PickedWithMembers();

    DirectorySettings settings_;
    std::unique_ptr<LdapDirectory> ldap_;
    QList<DirectoryEntry> files_;   // every entry of the files opened
    QList<DirectoryEntry> shown_;   // the rows of the results, in order
    QList<DirectoryEntry> chosen_;  // the picked entries
    QList<bool> chosenFromDirectory_;
    QComboBox* source_ = nullptr;
    QPushButton* openFiles_ = nullptr;
    QLineEdit* search_ = nullptr;
    QTreeWidget* results_ = nullptr;
    QPushButton* add_ = nullptr;
    QListWidget* picked_ = nullptr;
    QLabel* status_ = nullptr;
    QTimer* typing_ = nullptr;
    QGroupBox* server_ = nullptr;
    QLineEdit* url_ = nullptr;
    QLineEdit* base_ = nullptr;
    QLineEdit* bindDn_ = nullptr;
    QLineEdit* password_ = nullptr;
    QCheckBox* startTls_ = nullptr;
};

// Widget tests drive the dialog instead of a blocking modal loop: the driver gets the shown dialog
// and ends it with accept() or reject(); a dialog left open counts as cancelled. An empty driver
// restores exec().
void SetPickMembersDriver(std::function<void(PickMembersDialog&)> driver);

}  // namespace tlm
