#pragma once

#include <QList>
#include <QString>
#include <optional>

#include "mail/directory.h"
#include "mail/mail_profile.h"

struct ldap;

namespace tlm {

// One connection to an LDAP directory: simple bind (StartTLS when asked, ldaps by the URL), then
// searches of people and groups. Every call waits at most the settings' timeout. A message for the
// user never holds the password.
class LdapDirectory {
  public:
    explicit LdapDirectory(DirectorySettings settings);
    ~LdapDirectory();
    LdapDirectory(const LdapDirectory&) = delete;
    LdapDirectory& operator=(const LdapDirectory&) = delete;

    // Connects and binds unless already bound.
    bool Open(QString* error);
    void Close();

    // People and groups whose name or address holds `text` (all of them when it is empty), sorted
    // by name. The server sends them in pages, so its size limit does not cut a large directory
    // short. Nothing with the error set when the search failed.
    std::optional<QList<DirectoryEntry>> Search(const QString& text, QString* error, int pageSize = 250);
    // A group's members, one level deep: each member read by its DN; a group among them comes with
    // no members of its own. A member that cannot be read keeps the name of its DN and no address.
    QList<DirectoryEntry> Members(const DirectoryEntry& group, QString* error);

  private:
    QString Message(int code, const QString& doing) const;
    std::optional<DirectoryEntry> Read(const QString& dn, QString* error);

    DirectorySettings settings_;
    ::ldap* ld_ = nullptr;
};

// A search text made safe inside a filter: "*", "(", ")", "\" and NUL as hexadecimal escapes.
QString LdapFilterEscape(const QString& text);

}  // namespace tlm
