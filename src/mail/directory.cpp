#include "mail/directory.h"

#include <QFile>
#include <QStringList>

namespace tlm {

namespace {

struct ContentLine {
    QString name;        // upper case, group prefix removed
    QStringList params;  // upper case, as written
    QByteArray rawValue;
};

// Joins folded lines (a leading blank continues the line before) and the soft breaks of
// quoted-printable values, which continue on a line without a leading blank.
QList<QByteArray> Unfold(const QByteArray& text) {
    QList<QByteArray> lines;
    bool qpContinues = false;
    for (QByteArray line : text.split('\n')) {
        if (line.endsWith('\r'))
            line.chop(1);
        if (!lines.isEmpty() && (qpContinues || line.startsWith(' ') || line.startsWith('\t'))) {
            lines.last() += qpContinues ? line : line.mid(1);
        } else {
            lines.append(line);
        }
        const QByteArray& last = lines.last();
        const qsizetype colon = last.indexOf(':');
        qpContinues =
            colon > 0 && last.left(colon).toUpper().contains("QUOTED-PRINTABLE") && last.endsWith('=');
        if (qpContinues)
            lines.last().chop(1);
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

QString Decode(const ContentLine& c) {
    QByteArray bytes = c.rawValue;
    if (HasParam(c, QStringLiteral("QUOTED-PRINTABLE"))) {
        QByteArray out;
        for (qsizetype i = 0; i < bytes.size(); ++i) {
            bool ok = false;
            const int v = bytes[i] == '=' ? bytes.mid(i + 1, 2).toInt(&ok, 16) : 0;
            if (ok) {
                out += char(v);
                i += 2;
            } else {
                out += bytes[i];
            }
        }
        bytes = out;
    }
    bool latin1 = false;
    for (const QString& p : c.params) {
        if (p.startsWith(QLatin1String("CHARSET=")) &&
            (p.endsWith(QLatin1String("8859-1")) || p.endsWith(QLatin1String("1252"))))
            latin1 = true;
    }
    return latin1 ? QString::fromLatin1(bytes) : QString::fromUtf8(bytes);
}

// Splits at unescaped ";" and resolves the text escapes of vCard 3 and 4.
QStringList Components(const QString& value) {
    QStringList parts{QString()};
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar ch = value[i];
        if (ch == QLatin1Char('\\') && i + 1 < value.size()) {
            const QChar next = value[++i];
            parts.last() +=
                (next == QLatin1Char('n') || next == QLatin1Char('N')) ? QChar(QLatin1Char('\n')) : next;
        } else if (ch == QLatin1Char(';')) {
            parts.append(QString());
        } else {
            parts.last() += ch;
        }
    }
    for (QString& p : parts)
        p = p.trimmed();
    return parts;
}

}  // namespace

QList<DirectoryEntry> ParseVCards(const QByteArray& text) {
    QList<DirectoryEntry> entries;
    bool inCard = false;
    DirectoryEntry entry;
    QString fromN;
    bool mailIsPreferred = false;
    for (const QByteArray& raw : Unfold(text)) {
        const ContentLine c = Parse(raw);
        const QString value = Decode(c);
        if (c.name == QLatin1String("BEGIN") &&
            value.trimmed().compare(QLatin1String("VCARD"), Qt::CaseInsensitive) == 0) {
            inCard = true;
            entry = DirectoryEntry{};
            fromN.clear();
            mailIsPreferred = false;
        } else if (!inCard) {
            continue;
        } else if (c.name == QLatin1String("END")) {
            inCard = false;
            if (entry.name.isEmpty())
                entry.name = fromN;
            if (!entry.name.isEmpty() || !entry.mail.isEmpty())
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
        }
    }
    return entries;
}

QList<DirectoryEntry> ReadVCardFile(const QString& path, QString* error) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("The address file %1 cannot be read: %2").arg(path, f.errorString());
        return {};
    }
    const QByteArray text = f.readAll();
    QList<DirectoryEntry> entries = ParseVCards(text);
    if (entries.isEmpty() && error)
        *error = QStringLiteral("The address file %1 holds no vCard.").arg(path);
    return entries;
}

}  // namespace tlm
