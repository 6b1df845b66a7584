#include "mail/directory.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QStringDecoder>
#include <QStringList>

namespace tlm {

namespace {

struct ContentLine {
    QString name;        // upper case, group prefix removed
    QStringList params;  // upper case, as written
    QByteArray rawValue;
};

// Joins folded lines (a leading blank continues the line before) and the soft breaks of
// quoted-printable values, which continue on a line without a leading blank. Linear in the text:
// the head of a logical line (the text before its first ':') is looked at once, not again for each
// physical line folded onto it, so a folded line of megabytes takes no longer than its bytes.
QList<QByteArray> Unfold(const QByteArray& text) {
    QList<QByteArray> lines;
    bool qpContinues = false;
    qsizetype colon = -1;  // of the last logical line; -1 while it has none
    bool qpHead = false;   // its head names QUOTED-PRINTABLE
    const auto findHead = [&](const QByteArray& line, qsizetype from) {
        colon = line.indexOf(':', from);
        qpHead = colon > 0 && line.left(colon).toUpper().contains("QUOTED-PRINTABLE");
    };
    const qsizetype size = text.size();
    for (qsizetype start = 0; start <= size;) {
        qsizetype end = text.indexOf('\n', start);
        if (end < 0)
            end = size;
        QByteArrayView line(text.constData() + start, end - start);
        start = end + 1;
        if (line.endsWith('\r'))
            line.chop(1);
        if (!lines.isEmpty() && (qpContinues || line.startsWith(' ') || line.startsWith('\t'))) {
            QByteArray& last = lines.last();
            const qsizetype before = last.size();
            last += qpContinues ? line : line.sliced(1);
            if (colon < 0)
                findHead(last, before);
        } else {
            lines.append(line.toByteArray());
            findHead(lines.last(), 0);
        }
        QByteArray& last = lines.last();
        qpContinues = qpHead && last.endsWith('=');
        if (qpContinues)
            last.chop(1);
    }
    return lines;
}

ContentLine Parse(const QByteArray& line) {
    ContentLine c;
    const qsizetype colon = line.indexOf(':');
    if (colon <= 0)
        return c;
    QList<QByteArray> head = line.left(colon).split(';');
    QByteArray name = head.takeFirst().trimmed().toUpper();
    if (const qsizetype dot = name.lastIndexOf('.'); dot >= 0)
        name = name.mid(dot + 1);
    c.name = QString::fromLatin1(name);
    for (const QByteArray& p : head)
        c.params << QString::fromLatin1(p.trimmed().toUpper());
    c.rawValue = line.mid(colon + 1);
    return c;
}

bool HasParam(const ContentLine& c, const QString& word) {
    for (const QString& p : c.params) {
        // "PREF", "TYPE=INTERNET,PREF", "PREF=1", "ENCODING=QUOTED-PRINTABLE"
        const QString values = p.contains(QLatin1Char('=')) && !p.startsWith(QLatin1String("PREF="))
                                   ? p.section(QLatin1Char('='), 1)
                                   : p.section(QLatin1Char('='), 0, 0);
        if (values.split(QLatin1Char(',')).contains(word))
            return true;
    }
    return false;
}

QString Decode(const ContentLine& c, bool* badText = nullptr) {
    QByteArray bytes = c.rawValue;
    if (HasParam(c, QStringLiteral("QUOTED-PRINTABLE"))) {
        // "=" and two hexadecimal digits is a byte; anything else is kept as written.
        const auto hex = [](char ch) {
            return ch >= '0' && ch <= '9'   ? ch - '0'
                   : ch >= 'a' && ch <= 'f' ? ch - 'a' + 10
                   : ch >= 'A' && ch <= 'F' ? ch - 'A' + 10
                                            : -1;
        };
        const char* in = bytes.constData();
        const qsizetype size = bytes.size();
        QByteArray out(size, Qt::Uninitialized);
        char* to = out.data();
        for (qsizetype i = 0; i < size; ++i) {
            const int high = in[i] == '=' && i + 2 < size ? hex(in[i + 1]) : -1;
            const int low = high >= 0 ? hex(in[i + 2]) : -1;
            if (low >= 0) {
                *to++ = char(high * 16 + low);
                i += 2;
            } else {
                *to++ = in[i];
            }
        }
        out.truncate(to - out.constData());
        bytes = out;
    }
    bool latin1 = false;
    for (const QString& p : c.params) {
        if (p.startsWith(QLatin1String("CHARSET=")) &&
            (p.endsWith(QLatin1String("8859-1")) || p.endsWith(QLatin1String("1252"))))
            latin1 = true;
    }
    if (latin1)
        return QString::fromLatin1(bytes);
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8.decode(bytes);
    if (utf8.hasError() && badText)
        *badText = true;
    return text;
}

// Splits at unescaped ";" and resolves the text escapes of vCard 3 and 4. Runs between escapes are
// copied whole: a name of megabytes is not built a character at a time.
QStringList Components(const QString& value) {
    QStringList parts;
    QString current;
    const auto* text = reinterpret_cast<const char16_t*>(value.utf16());
    const qsizetype size = value.size();
    qsizetype run = 0;
    const auto takeRun = [&](qsizetype end) {
        current.append(reinterpret_cast<const QChar*>(text + run), end - run);
    };
    for (qsizetype i = 0; i < size; ++i) {
        const char16_t ch = text[i];
        if (ch == u'\\' && i + 1 < size) {
            takeRun(i);
            const char16_t next = text[++i];
            current += QChar(next == u'n' || next == u'N' ? u'\n' : next);
            run = i + 1;
        } else if (ch == u';') {
            takeRun(i);
            parts.append(current.trimmed());
            current.clear();
            run = i + 1;
        }
    }
    takeRun(size);
    parts.append(current.trimmed());
    return parts;
}

// Reads the whole file unless it is larger than the limit.
bool ReadWithinLimit(QFile& f, QByteArray* bytes) {
    if (f.size() > kVCardFileLimit)
        return false;
    // In blocks: read(limit + 1) would fill a buffer of the limit's size for every file. A file
    // that grows, or a pipe, is cut just past the limit.
    bytes->clear();
    bytes->reserve(qsizetype(qMin<qint64>(f.size(), kVCardFileLimit)) + 1);
    char block[64 * 1024];
    qint64 got = 0;
    while ((got = f.read(block, sizeof block)) > 0) {
        bytes->append(block, qsizetype(got));
        if (bytes->size() > kVCardFileLimit)
            return false;
    }
    return true;
}

QString LimitText() {
    return QStringLiteral("%1 MB").arg(kVCardFileLimit / (1024 * 1024));
}

}  // namespace

QList<DirectoryEntry> ParseVCards(const QByteArray& text) {
    return ParseVCards(text, QString(), nullptr);
}

QList<DirectoryEntry> ParseVCards(const QByteArray& text, const QString& source, QStringList* problems) {
    QList<DirectoryEntry> entries;
    bool inCard = false;
    int cardNumber = 0;
    DirectoryEntry entry;
    QString fromN;
    QString fault;  // why the open card cannot be read; empty while it can
    bool mailIsPreferred = false;
    const auto complain = [&](const QString& why) {
        if (!problems)
            return;
        const QString who = entry.name.isEmpty() ? fromN : entry.name;
        QString where = source.isEmpty() ? QStringLiteral("card %1").arg(cardNumber)
                                         : QStringLiteral("%1, card %2").arg(source).arg(cardNumber);
        if (!who.isEmpty())
            where += QStringLiteral(" (%1)").arg(who);
        problems->append(where + QStringLiteral(": ") + why);
    };
    for (const QByteArray& raw : Unfold(text)) {
        const ContentLine c = Parse(raw);
        bool badText = false;
        const QString value = Decode(c, &badText);
        if (c.name == QLatin1String("BEGIN") &&
            value.trimmed().compare(QLatin1String("VCARD"), Qt::CaseInsensitive) == 0) {
            if (inCard)
                complain(QStringLiteral("the card has no END line"));
            inCard = true;
            ++cardNumber;
            entry = DirectoryEntry{};
            fromN.clear();
            fault.clear();
            mailIsPreferred = false;
            continue;
        }
        if (!inCard)
            continue;
        if (c.name.isEmpty() && !raw.trimmed().isEmpty() && fault.isEmpty())
            fault = QStringLiteral("a line is not a vCard property");
        if (badText) {
            // A value that is not text is not taken, not even as the name the message shows.
            if (fault.isEmpty())
                fault = QStringLiteral("the text is not UTF-8");
            continue;
        }
        if (c.name == QLatin1String("END")) {
            inCard = false;
            if (entry.name.isEmpty())
                entry.name = fromN;
            if (!fault.isEmpty())
                complain(fault);
            else if (!entry.name.isEmpty() || !entry.mail.isEmpty())
                entries.append(entry);
        } else if (c.name == QLatin1String("FN")) {
            entry.name = Components(value).join(QLatin1Char(' ')).trimmed();
        } else if (c.name == QLatin1String("N")) {
            const QStringList n = Components(value);  // family; given; additional; prefix; suffix
            QStringList words;
            for (int i : {3, 1, 2, 0, 4}) {
                if (i < n.size() && !n[i].isEmpty())
                    words << n[i];
            }
            fromN = words.join(QLatin1Char(' '));
        } else if (c.name == QLatin1String("EMAIL")) {
            QString mail = Components(value).join(QLatin1Char(';'));
            if (mail.startsWith(QLatin1String("mailto:"), Qt::CaseInsensitive))
                mail = mail.mid(7);
            const bool preferred = HasParam(c, QStringLiteral("PREF"));
            if (!mail.isEmpty() && (entry.mail.isEmpty() || (preferred && !mailIsPreferred))) {
                entry.mail = mail;
                mailIsPreferred = preferred;
            }
        } else if (c.name == QLatin1String("ORG")) {
            const QStringList org = Components(value);
            if (org.size() > 1)
                entry.department = org[1];
        } else if (c.name == QLatin1String("KIND")) {
            const QString kind = value.trimmed().toLower();
            entry.type = kind == QLatin1String("group")        ? AddressEntryType::DistributionList
                         : kind == QLatin1String("individual") ? AddressEntryType::Contact
                                                               : AddressEntryType::Other;
        } else if (c.name == QLatin1String("MEMBER")) {
            if (const QString ref = value.trimmed(); !ref.isEmpty())
                entry.memberRefs.append(ref);
        } else if (c.name == QLatin1String("UID")) {
            entry.id = value.trimmed();
        }
    }
    if (inCard)
        complain(QStringLiteral("the card has no END line"));
    return entries;
}

QList<DirectoryEntry> ReadVCardFile(const QString& path, QString* error) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("The address file %1 cannot be read: %2").arg(path, f.errorString());
        return {};
    }
    QByteArray text;
    if (!ReadWithinLimit(f, &text)) {
        if (error)
            *error = QStringLiteral("The address file %1 is larger than %2 and is not read.")
                         .arg(path, LimitText());
        return {};
    }
    QList<DirectoryEntry> entries = ParseVCards(text);
    if (entries.isEmpty() && error)
        *error = QStringLiteral("The address file %1 holds no vCard.").arg(path);
    return entries;
}

namespace {

QString WithoutScheme(const QString& ref, const QString& scheme) {
    return ref.startsWith(scheme, Qt::CaseInsensitive) ? ref.mid(scheme.size()) : ref;
}

// A group's MEMBER lines against every card read. Members are copied without their own members,
// so a group within a group comes as an entry of its own and is not expanded further.
void ResolveGroups(QList<DirectoryEntry>& entries) {
    QHash<QString, qsizetype> byUid;
    QHash<QString, qsizetype> byMail;
    for (qsizetype i = 0; i < entries.size(); ++i) {
        if (!entries[i].id.isEmpty())
            byUid.insert(WithoutScheme(entries[i].id, QStringLiteral("urn:uuid:")).toLower(), i);
        if (!entries[i].mail.isEmpty() && !byMail.contains(entries[i].mail.toLower()))
            byMail.insert(entries[i].mail.toLower(), i);
    }
    for (DirectoryEntry& group : entries) {
        if (group.type != AddressEntryType::DistributionList)
            continue;
        group.members.clear();
        for (const QString& ref : group.memberRefs) {
            const QString uid = WithoutScheme(ref, QStringLiteral("urn:uuid:")).toLower();
            const QString mail = WithoutScheme(ref, QStringLiteral("mailto:")).toLower();
            qsizetype at = byUid.value(uid, -1);
            if (at < 0)
                at = byMail.value(mail, -1);
            if (at >= 0) {
                DirectoryEntry member = entries[at];
                member.members.clear();
                group.members.append(member);
            } else if (ref.startsWith(QLatin1String("mailto:"), Qt::CaseInsensitive)) {
                DirectoryEntry member;
                member.mail = WithoutScheme(ref, QStringLiteral("mailto:"));
                group.members.append(member);
            }
        }
    }
}

}  // namespace

VCardFiles ReadVCardFiles(const QStringList& paths) {
    VCardFiles out;
    for (const QString& path : paths) {
        QFile f(path);
        const QString shown = QFileInfo(path).fileName();
        if (!f.open(QIODevice::ReadOnly)) {
            out.problems.append(QStringLiteral("%1: %2").arg(shown, f.errorString()));
            continue;
        }
        QByteArray text;
        if (!ReadWithinLimit(f, &text)) {
            out.problems.append(
                QStringLiteral("%1: the file is larger than %2 and is not read").arg(shown, LimitText()));
            continue;
        }
        const qsizetype before = out.problems.size();
        const QList<DirectoryEntry> entries = ParseVCards(text, shown, &out.problems);
        if (entries.isEmpty() && out.problems.size() == before)
            out.problems.append(QStringLiteral("%1: the file holds no vCard").arg(shown));
        out.entries += entries;
    }
    ResolveGroups(out.entries);
    return out;
}

QString UnreadableCardsMessage(const QStringList& problems) {
    if (problems.isEmpty())
        return QString();
    return QStringLiteral("These address entries could not be read and are left out:\n") +
           NamedWithCount(problems);
}

QString NamedWithCount(const QStringList& lines) {
    constexpr qsizetype kNamed = 20;
    if (lines.size() <= kNamed)
        return lines.join(QLatin1Char('\n'));
    return lines.mid(0, kNamed).join(QLatin1Char('\n')) +
           QStringLiteral("\n... and %1 more").arg(lines.size() - kNamed);
}

}  // namespace tlm
