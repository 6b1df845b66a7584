#include "mail/ldap_directory.h"

#include <ldap.h>
#include <sys/time.h>

#include <QByteArray>
#include <QCollator>
#include <algorithm>
#include <utility>

#include "core/error_report.h"

namespace tlm {

namespace {

const char* const kAttributes[] = {"objectClass",      "cn",   "displayName", "mail",
                                   "department",       "ou",   "member",      "uniqueMember",
                                   "departmentNumber", nullptr};

QStringList Values(::ldap* ld, LDAPMessage* entry, const char* attribute) {
    QStringList out;
    berval** values = ldap_get_values_len(ld, entry, attribute);
    if (!values)
        return out;
    for (berval** v = values; *v; ++v)
        out.append(QString::fromUtf8((*v)->bv_val, qsizetype((*v)->bv_len)));
    ldap_value_free_len(values);
    return out;
}

QString First(const QStringList& values) {
    return values.isEmpty() ? QString() : values.first().trimmed();
}

// The value of a DN's first RDN: "cn=Ann Lee,ou=people" gives "Ann Lee".
QString RdnValue(const QString& dn) {
    const QString rdn = dn.section(QLatin1Char(','), 0, 0);
    return rdn.section(QLatin1Char('='), 1).trimmed();
}

DirectoryEntry EntryFrom(::ldap* ld, LDAPMessage* message) {
    DirectoryEntry e;
    if (char* dn = ldap_get_dn(ld, message)) {
        e.id = QString::fromUtf8(dn);
        ldap_memfree(dn);
    }
    QStringList classes = Values(ld, message, "objectClass");
    for (QString& c : classes)
        c = c.toLower();
    e.name = First(Values(ld, message, "displayName"));
    if (e.name.isEmpty())
        e.name = First(Values(ld, message, "cn"));
    if (classes.contains(QLatin1String("groupofnames")) ||
        classes.contains(QLatin1String("groupofuniquenames"))) {
        e.type = AddressEntryType::DistributionList;
        e.memberRefs = Values(ld, message, "member") + Values(ld, message, "uniqueMember");
        return e;
    }
    const bool person =
        classes.contains(QLatin1String("person")) || classes.contains(QLatin1String("inetorgperson")) ||
        classes.contains(QLatin1String("organizationalperson")) || classes.contains(QLatin1String("user"));
    e.type = person ? AddressEntryType::DirectoryUser : AddressEntryType::Other;
    e.mail = First(Values(ld, message, "mail"));
    for (const char* attribute : {"department", "ou", "departmentNumber"}) {
        if (e.department.isEmpty())
            e.department = First(Values(ld, message, attribute));
    }
    return e;
}

timeval Seconds(int seconds) {
    timeval tv{};
    tv.tv_sec = seconds;
    return tv;
}

}  // namespace

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

bool LdapDirectory::Open(QString* error) {
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
    const bool ldaps = settings_.url.startsWith(QLatin1String("ldaps:"), Qt::CaseInsensitive);
    if (settings_.startTls && !ldaps) {
        rc = ldap_start_tls_s(ld_, nullptr, nullptr);
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
    rc = ldap_sasl_bind_s(ld_, bindDn.isEmpty() ? nullptr : bindDn.constData(), LDAP_SASL_SIMPLE,
                          &credentials, nullptr, nullptr, nullptr);
    password.fill('\0');
    if (rc != LDAP_SUCCESS)
        return fail(rc, QStringLiteral("bind"));
    return true;
}

std::optional<QList<DirectoryEntry>> LdapDirectory::Search(const QString& text, QString* error,
                                                           int pageSize) {
    if (!Open(error))
        return std::nullopt;
    const QString term = LdapFilterEscape(text.trimmed());
    const QString kinds =
        QStringLiteral("(|(objectClass=person)(objectClass=groupOfNames)(objectClass=groupOfUniqueNames))");
    const QString filter =
        term.isEmpty() ? kinds
                       : QStringLiteral("(&%1(|(cn=*%2*)(displayName=*%2*)(mail=*%2*)))").arg(kinds, term);
    const QByteArray base = settings_.baseDn.toUtf8();
    const QByteArray filterBytes = filter.toUtf8();
    timeval timeout = Seconds(settings_.timeoutSeconds);
    QList<DirectoryEntry> out;
    berval cookie{0, nullptr};
    for (;;) {
        LDAPControl* page = nullptr;
        int rc = ldap_create_page_control(ld_, pageSize, &cookie, 0, &page);
        ber_memfree(cookie.bv_val);
        cookie = berval{0, nullptr};
        if (rc != LDAP_SUCCESS) {
            if (error)
                *error = Message(rc, QStringLiteral("search"));
            return std::nullopt;
        }
        LDAPControl* controls[] = {page, nullptr};
        LDAPMessage* result = nullptr;
        rc = ldap_search_ext_s(ld_, base.constData(), LDAP_SCOPE_SUBTREE, filterBytes.constData(),
                               const_cast<char**>(kAttributes), 0, controls, nullptr, &timeout, LDAP_NO_LIMIT,
                               &result);
        ldap_control_free(page);
        if (rc != LDAP_SUCCESS) {
            ldap_msgfree(result);
            if (error)
                *error = Message(rc, QStringLiteral("search"));
            if (rc == LDAP_SERVER_DOWN || rc == LDAP_TIMEOUT)
                Close();
            return std::nullopt;
        }
        for (LDAPMessage* m = ldap_first_entry(ld_, result); m; m = ldap_next_entry(ld_, m))
            out.append(EntryFrom(ld_, m));
        LDAPControl** returned = nullptr;
        int code = LDAP_SUCCESS;
        ldap_parse_result(ld_, result, &code, nullptr, nullptr, nullptr, &returned, 1);
        LDAPControl* response =
            returned ? ldap_control_find(LDAP_CONTROL_PAGEDRESULTS, returned, nullptr) : nullptr;
        ber_int_t estimate = 0;
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

std::optional<DirectoryEntry> LdapDirectory::Read(const QString& dn, QString* error) {
    const QByteArray base = dn.toUtf8();
    timeval timeout = Seconds(settings_.timeoutSeconds);
    LDAPMessage* result = nullptr;
    const int rc =
        ldap_search_ext_s(ld_, base.constData(), LDAP_SCOPE_BASE, "(objectClass=*)",
                          const_cast<char**>(kAttributes), 0, nullptr, nullptr, &timeout, 1, &result);
    std::optional<DirectoryEntry> entry;
    if (rc == LDAP_SUCCESS) {
        if (LDAPMessage* m = ldap_first_entry(ld_, result))
            entry = EntryFrom(ld_, m);
    } else if (error && rc != LDAP_NO_SUCH_OBJECT) {
        *error = Message(rc, QStringLiteral("read a group member"));
    }
    ldap_msgfree(result);
    return entry;
}

QList<DirectoryEntry> LdapDirectory::Members(const DirectoryEntry& group, QString* error) {
    QList<DirectoryEntry> out;
    if (group.type != AddressEntryType::DistributionList || !Open(error))
        return out;
    for (const QString& dn : group.memberRefs) {
        std::optional<DirectoryEntry> member = Read(dn, error);
        if (!member) {
            // A member that cannot be read is still named; it comes without an address.
            DirectoryEntry unread;
            unread.type = AddressEntryType::DirectoryUser;
            unread.id = dn;
            unread.name = RdnValue(dn);
            out.append(unread);
            continue;
        }
        member->memberRefs.clear();
        out.append(*member);
    }
    return out;
}

}  // namespace tlm
