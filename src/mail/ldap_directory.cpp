#include "mail/ldap_directory.h"

#include <ldap.h>
#include <sys/time.h>

#include <QByteArray>
#include <QCollator>
#include <QElapsedTimer>
#include <QHash>
#include <QRegularExpression>
#include <algorithm>
#include <utility>

#include "core/error_report.h"

namespace tlm {

namespace {

// What a search shows of an entry. The members of a group are not asked for here: a search that
// lists a group of 100,000 would otherwise carry all of them.
const char* const kEntryAttributes[] = {"objectClass", "cn", "displayName",      "mail",
                                        "department",  "ou", "departmentNumber", nullptr};
const QStringList kMemberAttributes = {QStringLiteral("member"), QStringLiteral("uniqueMember")};

// Requests in flight while the members are read. slapd closes an anonymous session with more
// than 100 pending requests.
constexpr int kReadsInFlight = 64;
// How often a wait looks at the job's cancel flag.
constexpr int kWaitSliceMs = 100;

QString First(const QStringList& values) {
    return values.isEmpty() ? QString() : values.first().trimmed();
}

timeval Seconds(int seconds) {
    timeval tv{};
    tv.tv_sec = seconds;
    return tv;
}

// The attribute's name and its range, if any: "member;range=1500-2999" gives member, 1500 and
// 2999; a range ending in "*" gives -1 as its end.
struct AttributeRange {
    QString name;
    bool ranged = false;
    qint64 low = 0;
    qint64 high = -1;
};

AttributeRange ParseDescription(const QString& description) {
    AttributeRange r;
    const QStringList parts = description.split(QLatin1Char(';'));
    r.name = parts.first();
    for (qsizetype i = 1; i < parts.size(); ++i) {
        const QString option = parts[i];
        if (!option.startsWith(QLatin1String("range="), Qt::CaseInsensitive))
            continue;
        const QString bounds = option.mid(6);
        const qsizetype dash = bounds.indexOf(QLatin1Char('-'));
        bool lowOk = false;
        r.low = bounds.left(dash).toLongLong(&lowOk);
        const QString high = bounds.mid(dash + 1);
        bool highOk = high == QLatin1String("*");
        if (!highOk)
            r.high = high.toLongLong(&highOk);
        r.ranged = dash > 0 && lowOk && highOk && (r.high < 0 || r.high >= r.low);
    }
    return r;
}

// "cn=x,dc=y#'0101'B": a uniqueMember value may carry a bit string after the DN.
QString WithoutUid(const QString& value) {
    static const QRegularExpression uid(QStringLiteral("#'[01]*'B$"));
    QString dn = value.trimmed();
    dn.remove(uid);
    return dn;
}

// The result code of a finished request; the message stays the caller's.
int ResultCode(::ldap* ld, LDAPMessage* message, LDAPControl*** controls = nullptr) {
    int code = LDAP_OTHER;
    const int rc = ldap_parse_result(ld, message, &code, nullptr, nullptr, nullptr, controls, 0);
    return rc == LDAP_SUCCESS ? code : rc;
}

// The connection or the server failed, as opposed to one entry that cannot be read.
bool ConnectionFailed(int code) {
    switch (code) {
        case LDAP_SERVER_DOWN:
        case LDAP_CONNECT_ERROR:
        case LDAP_TIMEOUT:
        case LDAP_TIMELIMIT_EXCEEDED:
        case LDAP_BUSY:
        case LDAP_UNAVAILABLE:
        case LDAP_LOCAL_ERROR:
        case LDAP_ENCODING_ERROR:
        case LDAP_DECODING_ERROR:
        case LDAP_NO_MEMORY:
        case LDAP_OPERATIONS_ERROR:
        case LDAP_PROTOCOL_ERROR:
        case LDAP_ADMINLIMIT_EXCEEDED:
            return true;
        default:
            return false;
    }
}

LdapRecord RecordFrom(::ldap* ld, LDAPMessage* message) {
    LdapRecord r;
    if (char* dn = ldap_get_dn(ld, message)) {
        r.dn = QString::fromUtf8(dn);
        ldap_memfree(dn);
    }
    BerElement* ber = nullptr;
    for (char* a = ldap_first_attribute(ld, message, &ber); a; a = ldap_next_attribute(ld, message, ber)) {
        QStringList out;
        if (berval** values = ldap_get_values_len(ld, message, a)) {
            for (berval** v = values; *v; ++v)
                out.append(QString::fromUtf8((*v)->bv_val, qsizetype((*v)->bv_len)));
            ldap_value_free_len(values);
        }
        r.attributes.append({QString::fromUtf8(a), out});
        ldap_memfree(a);
    }
    if (ber)
        ber_free(ber, 0);
    return r;
}

QByteArrayList Utf8(const QStringList& texts) {
    QByteArrayList out;
    for (const QString& t : texts)
        out.append(t.toUtf8());
    return out;
}

// A NULL-ended array over `bytes`, which must outlive it.
QList<char*> CArray(QByteArrayList& bytes) {
    QList<char*> out;
    for (QByteArray& b : bytes)
        out.append(b.data());
    out.append(nullptr);
    return out;
}

}  // namespace

QStringList LdapRecord::Values(const QString& name) const {
    QStringList out;
    for (const auto& [description, values] : attributes) {
        if (description.compare(name, Qt::CaseInsensitive) == 0)
            out += values;
    }
    return out;
}

std::optional<QStringList> ReadRangedValues(const LdapRecord& first, const QString& attribute,
                                            const LdapRecordReader& read, const DirectoryJob* job,
                                            QString* error) {
    QStringList out;
    LdapRecord record = first;
    qint64 expected = 0;  // the low end the next range must have
    for (;;) {
        bool rangeSeen = false;
        qint64 high = -1;
        for (const auto& [description, values] : record.attributes) {
            const AttributeRange r = ParseDescription(description);
            if (r.name.compare(attribute, Qt::CaseInsensitive) != 0)
                continue;
            if (!r.ranged) {
                // A plain description holds every value, and only comes as the first answer.
                if (expected == 0 && !rangeSeen)
                    out += values;
                continue;
            }
            if (rangeSeen || r.low != expected) {
                if (error)
                    *error = QStringLiteral("The directory sent the values of %1 of %2 out of order (%3).")
                                 .arg(attribute, record.dn, description);
                return std::nullopt;
            }
            rangeSeen = true;
            high = r.high;
            out += values;
        }
        if (expected > 0 && !rangeSeen) {
            if (error)
                *error = QStringLiteral("The directory stopped sending the values of %1 of %2 after %3.")
                             .arg(attribute, record.dn)
                             .arg(out.size());
            return std::nullopt;
        }
        if (!rangeSeen || high < 0)
            return out;
        expected = high + 1;
        if (job) {
            job->Report(out.size(), 0);
            if (job->Cancelled()) {
                if (error)
                    *error = QStringLiteral("Reading the members of %1 was cancelled.").arg(first.dn);
                return std::nullopt;
            }
        }
        const QString next = QStringLiteral("%1;range=%2-*").arg(attribute).arg(expected);
        std::optional<LdapRecord> more = read(first.dn, {next}, error);
        if (!more)
            return std::nullopt;
        record = std::move(*more);
    }
}

DirectoryEntry EntryFromRecord(const LdapRecord& record) {
    DirectoryEntry e;
    e.id = record.dn;
    QStringList classes = record.Values(QStringLiteral("objectClass"));
    for (QString& c : classes)
        c = c.trimmed().toLower();
    e.name = First(record.Values(QStringLiteral("displayName")));
    if (e.name.isEmpty())
        e.name = First(record.Values(QStringLiteral("cn")));
    if (classes.contains(QLatin1String("groupofnames")) ||
        classes.contains(QLatin1String("groupofuniquenames")) || classes.contains(QLatin1String("group"))) {
        e.type = AddressEntryType::DistributionList;
        e.mail = First(record.Values(QStringLiteral("mail")));
        return e;
    }
    const bool person =
        classes.contains(QLatin1String("person")) || classes.contains(QLatin1String("inetorgperson")) ||
        classes.contains(QLatin1String("organizationalperson")) || classes.contains(QLatin1String("user"));
    e.type = person ? AddressEntryType::DirectoryUser : AddressEntryType::Other;
    e.mail = First(record.Values(QStringLiteral("mail")));
    for (const char* attribute : {"department", "ou", "departmentNumber"}) {
        if (e.department.isEmpty())
            e.department = First(record.Values(QString::fromLatin1(attribute)));
    }
    return e;
}

QString DnDisplayName(const QString& dn) {
    const QByteArray text = dn.toUtf8();
    LDAPDN parsed = nullptr;
    if (ldap_str2dn(text.constData(), &parsed, LDAP_DN_FORMAT_LDAP) != LDAP_SUCCESS || !parsed ||
        !parsed[0]) {
        ldap_dnfree(parsed);
        return dn;
    }
    const LDAPAVA* chosen = parsed[0][0];
    for (int i = 0; parsed[0][i]; ++i) {
        const berval& attr = parsed[0][i]->la_attr;
        if (QByteArray(attr.bv_val, qsizetype(attr.bv_len)).compare("cn", Qt::CaseInsensitive) == 0) {
            chosen = parsed[0][i];
            break;
        }
    }
    // A value given as BER in hexadecimal ("cn=#0403…") is not text to show.
    QString name = dn;
    if (chosen && !(chosen->la_flags & LDAP_AVA_BINARY))
        name = QString::fromUtf8(chosen->la_value.bv_val, qsizetype(chosen->la_value.bv_len));
    ldap_dnfree(parsed);
    return name;
}

QString UnreadableMembersMessage(const QList<std::pair<QString, QStringList>>& byGroup) {
    QStringList lines;
    for (const auto& [group, dns] : byGroup) {
        for (const QString& dn : dns)
            lines.append(QStringLiteral("%1: %2 (%3)").arg(group, DnDisplayName(dn), dn));
    }
    if (lines.isEmpty())
        return QString();
    return QStringLiteral("These group members could not be read in the directory and are left out:\n") +
           NamedWithCount(lines);
}

QString LdapFilterEscape(const QString& text) {
    QString out;
    for (const QChar ch : text) {
        switch (ch.unicode()) {
            case '*':
                out += QStringLiteral("\\2a");
                break;
            case '(':
                out += QStringLiteral("\\28");
                break;
            case ')':
                out += QStringLiteral("\\29");
                break;
            case '\\':
                out += QStringLiteral("\\5c");
                break;
            case 0:
                out += QStringLiteral("\\00");
                break;
            default:
                out += ch;
        }
    }
    return out;
}

LdapDirectory::LdapDirectory(DirectorySettings settings) : settings_(std::move(settings)) {
    if (!settings_.password.isEmpty())
        RegisterSecret(settings_.password);
}

LdapDirectory::~LdapDirectory() {
    Close();
}

void LdapDirectory::Close() {
    if (ld_)
        ldap_unbind_ext_s(ld_, nullptr, nullptr);
    ld_ = nullptr;
}

QString LdapDirectory::Message(int code, const QString& doing) const {
    QString text;
    switch (code) {
        case LDAP_SERVER_DOWN:
        case LDAP_CONNECT_ERROR:
            text = QStringLiteral("The directory server %1 cannot be reached.").arg(settings_.url);
            break;
        case LDAP_TIMEOUT:
        case LDAP_TIMELIMIT_EXCEEDED:
            text = QStringLiteral("The directory server %1 did not answer within %2 seconds.")
                       .arg(settings_.url)
                       .arg(settings_.timeoutSeconds);
            break;
        case LDAP_INVALID_CREDENTIALS:
            text = QStringLiteral(
                       "The directory refused the bind DN or the password (%1). Check them in the "
                       "directory settings.")
                       .arg(settings_.bindDn);
            break;
        case LDAP_NO_SUCH_OBJECT:
            text = QStringLiteral("The base DN %1 is not in the directory.").arg(settings_.baseDn);
            break;
        default:
            text = QStringLiteral("The directory could not %1: %2 (%3).")
                       .arg(doing, QString::fromUtf8(ldap_err2string(code)))
                       .arg(code);
    }
    // The bind DN is shown, never the password, whatever the server echoed.
    return MaskSecrets(text);
}

bool LdapDirectory::Open(QString* error, const DirectoryJob* job) {
    if (ld_)
        return true;
    const auto fail = [&](int code, const QString& doing) {
        if (error)
            *error = Message(code, doing);
        Close();
        return false;
    };
    if (settings_.url.isEmpty()) {
        if (error)
            *error = QStringLiteral("No directory server is set.");
        return false;
    }
    int rc = ldap_initialize(&ld_, settings_.url.toUtf8().constData());
    if (rc != LDAP_SUCCESS || !ld_) {
        if (error)
            *error = QStringLiteral("The directory address %1 is not an LDAP URL.").arg(settings_.url);
        ld_ = nullptr;
        return false;
    }
    const int version = LDAP_VERSION3;
    ldap_set_option(ld_, LDAP_OPT_PROTOCOL_VERSION, &version);
    ldap_set_option(ld_, LDAP_OPT_REFERRALS, LDAP_OPT_OFF);
    const timeval timeout = Seconds(settings_.timeoutSeconds);
    ldap_set_option(ld_, LDAP_OPT_NETWORK_TIMEOUT, &timeout);
    ldap_set_option(ld_, LDAP_OPT_TIMEOUT, &timeout);
    // The result code of a request's answer, awaited in slices so a cancel is heard while the server
    // takes its time; false (the error set, the connection closed) when no answer came.
    const auto answer = [&](int msgid, const QString& doing, int* code) {
        LDAPMessage* reply = nullptr;
        const Wait wait = Next(msgid, &reply, job);
        if (wait != Wait::Message) {
            if (error)
                *error = WaitMessage(wait, doing);
            Close();
            return false;
        }
        *code = ResultCode(ld_, reply);
        ldap_msgfree(reply);
        return true;
    };
    const bool ldaps = settings_.url.startsWith(QLatin1String("ldaps:"), Qt::CaseInsensitive);
    if (settings_.startTls && !ldaps) {
        int msgid = 0;
        rc = ldap_start_tls(ld_, nullptr, nullptr, &msgid);
        if (rc == LDAP_SUCCESS) {
            if (!answer(msgid, QStringLiteral("start TLS"), &rc))
                return false;
            if (rc == LDAP_SUCCESS)
                rc = ldap_install_tls(ld_);
        }
        if (rc != LDAP_SUCCESS) {
            if (rc == LDAP_SERVER_DOWN || rc == LDAP_CONNECT_ERROR || rc == LDAP_TIMEOUT)
                return fail(rc, QString());
            if (error)
                *error = QStringLiteral("The directory server %1 did not start TLS: %2.")
                             .arg(settings_.url, QString::fromUtf8(ldap_err2string(rc)));
            Close();
            return false;
        }
    }
    QByteArray password = settings_.password.toUtf8();
    berval credentials{ber_len_t(password.size()), password.data()};
    const QByteArray bindDn = settings_.bindDn.toUtf8();
    int msgid = 0;
    rc = ldap_sasl_bind(ld_, bindDn.isEmpty() ? nullptr : bindDn.constData(), LDAP_SASL_SIMPLE, &credentials,
                        nullptr, nullptr, &msgid);
    password.fill('\0');
    if (rc != LDAP_SUCCESS)
        return fail(rc, QStringLiteral("bind"));
    if (!answer(msgid, QStringLiteral("bind"), &rc))
        return false;
    if (rc != LDAP_SUCCESS)
        return fail(rc, QStringLiteral("bind"));
    return true;
}

LdapDirectory::Wait LdapDirectory::Next(int msgid, LDAPMessage** message, const DirectoryJob* job) {
    *message = nullptr;
    QElapsedTimer quiet;
    quiet.start();
    for (;;) {
        if (job && job->Cancelled())
            return Wait::Cancelled;
        timeval slice{};
        slice.tv_usec = kWaitSliceMs * 1000;
        const int type = ldap_result(ld_, msgid, LDAP_MSG_ONE, &slice, message);
        if (type > 0)
            return Wait::Message;
        if (type < 0)
            return Wait::Failed;
        if (quiet.elapsed() >= qint64(settings_.timeoutSeconds) * 1000)
            return Wait::TimedOut;
    }
}

QString LdapDirectory::WaitMessage(Wait wait, const QString& doing) {
    int code = LDAP_OTHER;
    switch (wait) {
        case Wait::Cancelled:
            return QStringLiteral("Cancelled by the user.");
        case Wait::TimedOut:
            code = LDAP_TIMEOUT;
            break;
        case Wait::Failed:
            ldap_get_option(ld_, LDAP_OPT_RESULT_CODE, &code);
            break;
        case Wait::Message:
            break;
    }
    const QString text = Message(code, doing);
    // The connection cannot be trusted with the next request; a new one is made.
    Close();
    return text;
}

std::optional<QList<DirectoryEntry>> LdapDirectory::Search(const QString& text, QString* error, int pageSize,
                                                           DirectoryJob* job) {
    if (!Open(error, job))
        return std::nullopt;
    const QString term = LdapFilterEscape(text.trimmed());
    const QString kinds = QStringLiteral(
        "(|(objectClass=person)(objectClass=groupOfNames)(objectClass=groupOfUniqueNames)"
        "(objectClass=group))");
    const QString filter =
        term.isEmpty() ? kinds
                       : QStringLiteral("(&%1(|(cn=*%2*)(displayName=*%2*)(mail=*%2*)))").arg(kinds, term);
    const QByteArray base = settings_.baseDn.toUtf8();
    const QByteArray filterBytes = filter.toUtf8();
    timeval timeLimit = Seconds(settings_.timeoutSeconds);
    QList<DirectoryEntry> out;
    berval cookie{0, nullptr};
    const auto stop = [&](const QString& why) {
        ber_memfree(cookie.bv_val);
        if (error)
            *error = why;
        return std::nullopt;
    };
    ber_int_t estimate = 0;
    for (;;) {
        LDAPControl* page = nullptr;
        int rc = ldap_create_page_control(ld_, pageSize, &cookie, 0, &page);
        ber_memfree(cookie.bv_val);
        cookie = berval{0, nullptr};
        if (rc != LDAP_SUCCESS)
            return stop(Message(rc, QStringLiteral("search")));
        LDAPControl* controls[] = {page, nullptr};
        int msgid = 0;
        rc = ldap_search_ext(ld_, base.constData(), LDAP_SCOPE_SUBTREE, filterBytes.constData(),
                             const_cast<char**>(kEntryAttributes), 0, controls, nullptr, &timeLimit,
                             LDAP_NO_LIMIT, &msgid);
        ldap_control_free(page);
        if (rc != LDAP_SUCCESS) {
            const QString why = Message(rc, QStringLiteral("search"));
            if (ConnectionFailed(rc))
                Close();
            return stop(why);
        }
        int code = LDAP_OTHER;
        LDAPControl** returned = nullptr;
        for (bool done = false; !done;) {
            LDAPMessage* m = nullptr;
            const Wait wait = Next(msgid, &m, job);
            if (wait != Wait::Message) {
                if (ld_)
                    ldap_abandon_ext(ld_, msgid, nullptr, nullptr);
                return stop(WaitMessage(wait, QStringLiteral("search")));
            }
            switch (ldap_msgtype(m)) {
                case LDAP_RES_SEARCH_ENTRY:
                    out.append(EntryFromRecord(RecordFrom(ld_, m)));
                    if (job)
                        job->Report(out.size(), estimate > out.size() ? estimate : 0);
                    break;
                case LDAP_RES_SEARCH_RESULT:
                    code = ResultCode(ld_, m, &returned);
                    done = true;
                    break;
                default:  // references: referrals are not followed
                    break;
            }
            ldap_msgfree(m);
        }
        if (code != LDAP_SUCCESS) {
            ldap_controls_free(returned);
            const QString why = Message(code, QStringLiteral("search"));
            if (ConnectionFailed(code))
                Close();
            return stop(why);
        }
        LDAPControl* response =
            returned ? ldap_control_find(LDAP_CONTROL_PAGEDRESULTS, returned, nullptr) : nullptr;
        if (response)
            ldap_parse_pageresponse_control(ld_, response, &estimate, &cookie);
        ldap_controls_free(returned);
        if (!response || cookie.bv_len == 0)
            break;
    }
    ber_memfree(cookie.bv_val);
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(out.begin(), out.end(), [&](const DirectoryEntry& a, const DirectoryEntry& b) {
        return collator.compare(a.name, b.name) < 0;
    });
    return out;
}

std::optional<LdapRecord> LdapDirectory::ReadRecord(const QString& dn, const QStringList& attributes,
                                                    const DirectoryJob* job, QString* error) {
    const QByteArray base = dn.toUtf8();
    QByteArrayList names = Utf8(attributes);
    QList<char*> list = CArray(names);
    timeval timeLimit = Seconds(settings_.timeoutSeconds);
    int msgid = 0;
    int rc = ldap_search_ext(ld_, base.constData(), LDAP_SCOPE_BASE, "(objectClass=*)", list.data(), 0,
                             nullptr, nullptr, &timeLimit, 1, &msgid);
    std::optional<LdapRecord> record;
    while (rc == LDAP_SUCCESS) {
        LDAPMessage* m = nullptr;
        const Wait wait = Next(msgid, &m, job);
        if (wait != Wait::Message) {
            if (ld_)
                ldap_abandon_ext(ld_, msgid, nullptr, nullptr);
            if (error)
                *error = WaitMessage(wait, QStringLiteral("read %1").arg(dn));
            return std::nullopt;
        }
        const int type = ldap_msgtype(m);
        if (type == LDAP_RES_SEARCH_ENTRY)
            record = RecordFrom(ld_, m);
        if (type == LDAP_RES_SEARCH_RESULT)
            rc = ResultCode(ld_, m);
        ldap_msgfree(m);
        if (type == LDAP_RES_SEARCH_RESULT)
            break;
    }
    if (rc != LDAP_SUCCESS || !record) {
        if (error) {
            *error = rc == LDAP_SUCCESS || rc == LDAP_NO_SUCH_OBJECT
                         ? QStringLiteral("The entry %1 is not in the directory, or may not be read.").arg(dn)
                         : Message(rc, QStringLiteral("read %1").arg(dn));
        }
        if (ConnectionFailed(rc))
            Close();
        return std::nullopt;
    }
    return record;
}

GroupMembers LdapDirectory::Members(const DirectoryEntry& group, DirectoryJob* job) {
    GroupMembers result;
    const auto fail = [&](JobOutcome outcome, const QString& why) {
        result = GroupMembers{};
        result.outcome = outcome;
        result.error = why;
        return result;
    };
    if (group.type != AddressEntryType::DistributionList)
        return result;
    if (group.id.isEmpty())
        return fail(JobOutcome::Failed, QStringLiteral("The group %1 has no DN to read.").arg(group.name));
    QString error;
    const auto outcome = [&] { return job && job->Cancelled() ? JobOutcome::Cancelled : JobOutcome::Failed; };
    if (!Open(&error, job))
        return fail(outcome(), error);

    // The group's members, every range of them.
    std::optional<LdapRecord> entry = ReadRecord(group.id, kMemberAttributes, job, &error);
    if (!entry)
        return fail(outcome(), error);
    const LdapRecordReader reader = [&](const QString& dn, const QStringList& attributes, QString* why) {
        if (ld_)
            return ReadRecord(dn, attributes, job, why);
        if (why)
            *why = Message(LDAP_SERVER_DOWN, QString());
        return std::optional<LdapRecord>();
    };
    QStringList refs;
    for (const QString& attribute : kMemberAttributes) {
        const std::optional<QStringList> values = ReadRangedValues(*entry, attribute, reader, job, &error);
        if (!values)
            return fail(outcome(), error);
        for (const QString& v : *values)
            refs.append(WithoutUid(v));
    }

    // Each member by its DN, many requests in flight: a large group takes a few hundred round
    // trips rather than one per member.
    const qsizetype total = refs.size();
    QList<std::optional<DirectoryEntry>> read(total);
    QList<bool> unreadable(total, false);
    QHash<int, qsizetype> pending;
    timeval timeLimit = Seconds(settings_.timeoutSeconds);
    const auto abandonAll = [&] {
        for (auto it = pending.cbegin(); ld_ && it != pending.cend(); ++it)
            ldap_abandon_ext(ld_, it.key(), nullptr, nullptr);
        pending.clear();
    };
    qsizetype next = 0;
    qsizetype done = 0;
    if (job)
        job->Report(0, total);
    while (done < total) {
        while (pending.size() < kReadsInFlight && next < total) {
            const QByteArray dn = refs[next].toUtf8();
            int msgid = 0;
            const int rc = ldap_search_ext(ld_, dn.constData(), LDAP_SCOPE_BASE, "(objectClass=*)",
                                           const_cast<char**>(kEntryAttributes), 0, nullptr, nullptr,
                                           &timeLimit, 1, &msgid);
            if (rc == LDAP_SUCCESS) {
                pending.insert(msgid, next);
            } else if (ConnectionFailed(rc)) {
                abandonAll();
                const QString why = Message(rc, QStringLiteral("read the members of %1").arg(group.name));
                Close();
                return fail(JobOutcome::Failed, why);
            } else {
                unreadable[next] = true;
                ++done;
            }
            ++next;
        }
        if (pending.isEmpty())
            continue;
        LDAPMessage* m = nullptr;
        const Wait wait = Next(LDAP_RES_ANY, &m, job);
        if (wait != Wait::Message) {
            abandonAll();
            return fail(wait == Wait::Cancelled ? JobOutcome::Cancelled : JobOutcome::Failed,
                        wait == Wait::Cancelled
                            ? QStringLiteral("Reading the members of %1 was cancelled.").arg(group.name)
                            : WaitMessage(wait, QStringLiteral("read the members of %1").arg(group.name)));
        }
        const qsizetype at = pending.value(ldap_msgid(m), -1);
        const int type = ldap_msgtype(m);
        int code = LDAP_SUCCESS;
        if (at >= 0 && type == LDAP_RES_SEARCH_ENTRY) {
            read[at] = EntryFromRecord(RecordFrom(ld_, m));
        } else if (at >= 0 && type == LDAP_RES_SEARCH_RESULT) {
            code = ResultCode(ld_, m);
            pending.remove(ldap_msgid(m));
            ++done;
            if (code != LDAP_SUCCESS || !read[at])
                unreadable[at] = true;
            if (job)
                job->Report(done, total);
        }
        ldap_msgfree(m);
        if (ConnectionFailed(code)) {
            abandonAll();
            const QString why = Message(code, QStringLiteral("read the members of %1").arg(group.name));
            Close();
            return fail(JobOutcome::Failed, why);
        }
    }
    if (job && job->Cancelled())
        return fail(JobOutcome::Cancelled,
                    QStringLiteral("Reading the members of %1 was cancelled.").arg(group.name));
    for (qsizetype i = 0; i < total; ++i) {
        if (unreadable[i])
            result.unreadable.append(refs[i]);
        else
            result.members.append(*read[i]);
    }
    return result;
}

}  // namespace tlm
