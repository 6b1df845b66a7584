#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <atomic>
#include <functional>
#include <optional>
#include <utility>

#include "mail/directory.h"
#include "mail/mail_profile.h"

struct ldap;
struct ldapmsg;

namespace tlm {

// A directory task (a search, a group's members) run off the screen's thread. The screen calls
// Cancel() from its own thread; the task looks at it between the server's answers and at least every
// tenth of a second while it waits, and reports how far it got on its own thread.
class DirectoryJob {
  public:
    DirectoryJob() = default;
    explicit DirectoryJob(std::function<void(qint64 done, qint64 total)> onProgress)
        : progress(std::move(onProgress)) {}
    void Cancel() { cancel_.store(true); }
    bool Cancelled() const { return cancel_.load(); }
    // `done` of `total`; a total of 0 is not known yet.
    void Report(qint64 done, qint64 total) const {
        if (progress)
            progress(done, total);
    }
    std::function<void(qint64 done, qint64 total)> progress;

  private:
    std::atomic<bool> cancel_{false};
};

enum class JobOutcome { Done, Cancelled, Failed };

// A group's members as read: all of them, or (cancelled, failed) none, never only some.
struct GroupMembers {
    JobOutcome outcome = JobOutcome::Done;
    QList<DirectoryEntry> members;  // in the group's order; a member group comes without members
    QStringList unreadable;         // DNs of members whose entries could not be read, left out
    QString error;                  // why it failed or was stopped
};

// An entry as the server sent it: each attribute description as written ("member;range=0-1499")
// with its values.
struct LdapRecord {
    QString dn;
    QList<std::pair<QString, QStringList>> attributes;
    // The values of `name` without options, its name compared without regard to case.
    QStringList Values(const QString& name) const;
};

// Reads one entry by its DN, asking for the attribute descriptions given; nothing with `error` set
// when it cannot.
using LdapRecordReader = std::function<std::optional<LdapRecord>(
    const QString& dn, const QStringList& attributes, QString* error)>;

// The values of `attribute` of `first` in full. A server may send a long attribute in ranges
// ("member;range=0-1499"); the next range is asked for ("member;range=1500-*") until one ends in
// "*". Nothing with `error` set when a read fails, a range does not follow on, or the job is
// cancelled.
std::optional<QStringList> ReadRangedValues(const LdapRecord& first, const QString& attribute,
                                            const LdapRecordReader& read, const DirectoryJob* job,
                                            QString* error);

// What the address book shows of an entry: a person, a group (groupOfNames, groupOfUniqueNames,
// group) or something else.
DirectoryEntry EntryFromRecord(const LdapRecord& record);

// The name a DN gives by RFC 4514: the value of its first RDN, escapes resolved ("cn=Doe\, John,…"
// and "cn=Doe\2C John,…" give "Doe, John"); of a multi-valued RDN the cn, else the first value.
// A text that is no DN is given back as it is.
QString DnDisplayName(const QString& dn);

// The members that could not be read, of each group its DNs, in one message: at most 20 named by
// group, name and DN, the rest counted. Empty when there is none.
QString UnreadableMembersMessage(const QList<std::pair<QString, QStringList>>& byGroup);

// What the address book screen needs of a directory.
class MemberDirectory {
  public:
    virtual ~MemberDirectory() = default;
    // People and groups whose name or address holds `text` (all of them when it is empty), sorted
    // by name. Nothing with the error set when the search failed or was cancelled.
    virtual std::optional<QList<DirectoryEntry>> Search(const QString& text, QString* error, int pageSize,
                                                        DirectoryJob* job) = 0;
    // A group's members, one level deep.
    virtual GroupMembers Members(const DirectoryEntry& group, DirectoryJob* job) = 0;
};

// One connection to an LDAP directory: simple bind (StartTLS unless turned off, ldaps by the URL),
// then searches of people and groups. Every wait for the server ends after the settings' timeout
// without an answer. A message for the user never holds the password. One thread at a time.
class LdapDirectory : public MemberDirectory {
  public:
    explicit LdapDirectory(DirectorySettings settings);
    ~LdapDirectory() override;
    LdapDirectory(const LdapDirectory&) = delete;
    LdapDirectory& operator=(const LdapDirectory&) = delete;

    // Connects and binds unless already bound; the StartTLS and bind answers are awaited in slices
    // that hear the job's cancel (the TCP connect itself waits up to the timeout).
    bool Open(QString* error, const DirectoryJob* job = nullptr);
    void Close();

    // The server sends the entries in pages, so its size limit does not cut a large directory
    // short.
    std::optional<QList<DirectoryEntry>> Search(const QString& text, QString* error, int pageSize = 250,
                                                DirectoryJob* job = nullptr) override;
    // The group's entry is read again for its members (every range of them); the members are then
    // read by their DNs, many requests in flight at once. A group among them comes with no members
    // of its own; a member that cannot be read is listed in `unreadable`, not made up.
    GroupMembers Members(const DirectoryEntry& group, DirectoryJob* job = nullptr) override;

  private:
    enum class Wait { Message, Cancelled, TimedOut, Failed };
    Wait Next(int msgid, ldapmsg** message, const DirectoryJob* job);
    QString Message(int code, const QString& doing) const;
    QString WaitMessage(Wait wait, const QString& doing);
    std::optional<LdapRecord> ReadRecord(const QString& dn, const QStringList& attributes,
                                         const DirectoryJob* job, QString* error);

    DirectorySettings settings_;
    ::ldap* ld_ = nullptr;
};

// A search text made safe inside a filter: "*", "(", ")", "\" and NUL as hexadecimal escapes.
QString LdapFilterEscape(const QString& text);

}  // namespace tlm
