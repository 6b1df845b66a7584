#include "core/ini_format.h"

#include <QIODevice>
#include <QStringDecoder>
#include <QStringList>
#include <algorithm>

namespace tlm {

namespace {

constexpr char kHex[] = "0123456789ABCDEF";

bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

bool IsSpecial(char c) {
    return c == '=' || c == '\n' || c == '\r' || c == '\\' || c == '"' || c == ';';
}

int HexValue(char16_t c) {
    if (c >= u'0' && c <= u'9')
        return c - u'0';
    if (c >= u'A' && c <= u'F')
        return c - u'A' + 10;
    if (c >= u'a' && c <= u'f')
        return c - u'a' + 10;
    return -1;
}

// One logical line: a "\" before a line end continues it, a line end inside quotes stays in it, and
// ";" outside quotes starts a comment. Returns false at the end of the data.
bool ReadLine(QByteArrayView data, qsizetype& pos, qsizetype& start, qsizetype& length, qsizetype& equals) {
    const qsizetype size = data.size();
    bool inQuotes = false;
    equals = -1;
    start = pos;
    while (start < size && IsSpace(data[start]))
        ++start;
    qsizetype i = start;
    while (i < size) {
        char c = data[i];
        while (!IsSpecial(c)) {
            if (++i == size)
                goto done;
            c = data[i];
        }
        ++i;
        if (c == '=') {
            if (!inQuotes && equals == -1)
                equals = i - 1;
        } else if (c == '\n' || c == '\r') {
            if (i == start + 1) {
                ++start;
            } else if (!inQuotes) {
                --i;
                goto done;
            }
        } else if (c == '\\') {
            if (i < size) {
                const char next = data[i++];
                if (i < size) {
                    const char after = data[i];
                    if ((next == '\n' && after == '\r') || (next == '\r' && after == '\n'))
                        ++i;
                }
            }
        } else if (c == '"') {
            inQuotes = !inQuotes;
        } else {  // ';'
            if (i == start + 1) {
                while (i < size && data[i] != '\n' && data[i] != '\r')
                    ++i;
                while (i < size && IsSpace(data[i]))
                    ++i;
                start = i;
            } else if (!inQuotes) {
                --i;
                goto done;
            }
        }
    }
done:
    pos = i;
    length = i - start;
    return length > 0;
}

// "%XX" and "%UXXXX" are characters, "\" is the group separator "/".
QString UnescapedKey(QByteArrayView key) {
    const QString decoded = QString::fromUtf8(key);
    const qsizetype size = decoded.size();
    QString result;
    result.reserve(size);
    qsizetype i = 0;
    while (i < size) {
        const char16_t c = decoded[i].unicode();
        if (c == u'\\') {
            result += u'/';
            ++i;
            continue;
        }
        if (c != u'%' || i == size - 1) {
            result += QChar(c);
            ++i;
            continue;
        }
        int digits = 2;
        qsizetype first = i + 1;
        if (decoded[first] == u'U') {
            ++first;
            digits = 4;
        }
        if (first + digits > size) {
            result += u'%';
            ++i;
            continue;
        }
        bool ok = false;
        const ushort code = QStringView(decoded).sliced(first, digits).toUShort(&ok, 16);
        if (!ok) {
            result += u'%';
            ++i;
            continue;
        }
        result += QChar(code);
        i = first + digits;
    }
    return result;
}

void ChopTrailingSpaces(QString& s, qsizetype limit) {
    qsizetype n = s.size();
    while (n > limit && (s[n - 1] == u' ' || s[n - 1] == u'\t'))
        --n;
    s.truncate(n);
}

// A value: quotes, backslash escapes (named, \x hex, octal) and, outside quotes, commas between the
// items of a list. Returns true when the value is a list.
bool UnescapedValue(QByteArrayView text, QString& single, QStringList& list) {
    static const char kEscapes[][2] = {{'a', '\a'}, {'b', '\b'},  {'f', '\f'}, {'n', '\n'},
                                       {'r', '\r'}, {'t', '\t'},  {'v', '\v'}, {'"', '"'},
                                       {'?', '?'},  {'\'', '\''}, {'\\', '\\'}};
    const qsizetype size = text.size();
    bool isList = false, inQuotes = false, quoted = false;
    qsizetype i = 0;
    qsizetype chopLimit = 0;
    const auto skipSpaces = [&] {
        while (i < size && (text[i] == ' ' || text[i] == '\t'))
            ++i;
    };
    skipSpaces();
    chopLimit = single.size();
    while (i < size) {
        const char c = text[i];
        if (c == '\\') {
            ++i;
            if (i >= size)
                break;
            const char e = text[i++];
            bool named = false;
            for (const auto& pair : kEscapes) {
                if (e == pair[0]) {
                    single += QLatin1Char(pair[1]);
                    named = true;
                    break;
                }
            }
            if (named) {
                chopLimit = single.size();
                continue;
            }
            if (e == 'x' || (e >= '0' && e <= '7')) {
                // Hex and octal run as long as their digits do; the value wraps at 16 bits.
                char16_t value = e == 'x' ? 0 : char16_t(e - '0');
                const int base = e == 'x' ? 16 : 8;
                bool any = e != 'x';
                while (i < size) {
                    const int d = HexValue(char16_t(uchar(text[i])));
                    if (d < 0 || d >= base)
                        break;
                    value = char16_t(value * base + d);
                    any = true;
                    ++i;
                }
                if (any)
                    single += QChar(value);
            } else if (e == '\n' || e == '\r') {
                if (i < size && (text[i] == '\n' || text[i] == '\r') && text[i] != e)
                    ++i;
            }
            // Any other escaped character is dropped, as QSettings drops it.
            chopLimit = single.size();
        } else if (c == '"') {
            ++i;
            quoted = true;
            inQuotes = !inQuotes;
            if (!inQuotes) {
                skipSpaces();
                chopLimit = single.size();
            }
        } else if (c == ',' && !inQuotes) {
            if (!quoted)
                ChopTrailingSpaces(single, chopLimit);
            if (!isList) {
                isList = true;
                list.clear();
            }
            list.append(single);
            single.clear();
            quoted = false;
            ++i;
            skipSpaces();
            chopLimit = 0;
        } else {
            qsizetype j = i + 1;
            while (j < size && text[j] != '\\' && text[j] != '"' && (text[j] != ',' || inQuotes))
                ++j;
            single += QString::fromUtf8(text.sliced(i, j - i));
            i = j;
        }
    }
    if (!quoted)
        ChopTrailingSpaces(single, chopLimit);
    if (isList)
        list.append(single);
    return isList;
}

// Strings only: "@@" is an escaped "@", "@String()" and "@ByteArray()" are text; every other "@"
// form (a serialized object, a rectangle) stays the text it is written as.
QVariant TextValue(const QString& s) {
    if (s.startsWith(u'@')) {
        if (s.endsWith(u')')) {
            if (s.startsWith(QLatin1String("@ByteArray(")))
                return QString::fromLatin1(QStringView(s).sliced(11).chopped(1).toLatin1());
            if (s.startsWith(QLatin1String("@String(")))
                return QStringView(s).sliced(8).chopped(1).toString();
            if (s == QLatin1String("@Invalid()"))
                return QVariant();
        }
        if (s.startsWith(QLatin1String("@@")))
            return s.sliced(1);
    }
    return s;
}

void EscapedKey(const QString& key, QByteArray& out) {
    for (const QChar qc : key) {
        const char16_t c = qc.unicode();
        if (c == u'/') {
            out += '\\';
        } else if ((c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') ||
                   c == u'_' || c == u'-' || c == u'.') {
            out += char(c);
        } else if (c <= 0xFF) {
            out += '%';
            out += kHex[c / 16];
            out += kHex[c % 16];
        } else {
            out += "%U";
            for (int shift = 12; shift >= 0; shift -= 4)
                out += kHex[(c >> shift) & 0xF];
        }
    }
}

QString TextOf(const QVariant& v) {
    if (!v.isValid())
        return QStringLiteral("@Invalid()");
    QString s = v.toString();
    if (s.contains(QChar::Null))
        return QStringLiteral("@String(") + s + u')';
    if (s.startsWith(u'@'))
        s.prepend(u'@');
    return s;
}

void EscapedValue(const QString& s, QByteArray& out) {
    const qsizetype start = out.size();
    bool needsQuotes = false, escapeNextIfDigit = false;
    const QByteArray utf8 = s.toUtf8();
    // Work on the UTF-8 bytes: everything from 0x80 up is copied as it is.
    for (const char byte : utf8) {
        const uchar c = uchar(byte);
        if (c == ';' || c == ',' || c == '=')
            needsQuotes = true;
        if (escapeNextIfDigit && HexValue(c) >= 0) {
            out += "\\x";
            out += QByteArray::number(c, 16);
            continue;
        }
        escapeNextIfDigit = false;
        switch (c) {
            case '\0':
                out += "\\0";
                escapeNextIfDigit = true;
                break;
            case '\a':
                out += "\\a";
                break;
            case '\b':
                out += "\\b";
                break;
            case '\f':
                out += "\\f";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            case '\v':
                out += "\\v";
                break;
            case '"':
            case '\\':
                out += '\\';
                out += char(c);
                break;
            default:
                if (c <= 0x1F) {
                    out += "\\x";
                    out += QByteArray::number(c, 16);
                    escapeNextIfDigit = true;
                } else {
                    out += char(c);
                }
        }
    }
    if (needsQuotes || (start < out.size() && (out[start] == ' ' || out[out.size() - 1] == ' '))) {
        out.insert(start, '"');
        out += '"';
    }
}

}  // namespace

bool ReadIniStrings(QIODevice& device, QSettings::SettingsMap& map) {
    const QByteArray bytes = device.readAll();
    QByteArrayView data(bytes);
    if (data.startsWith("\xef\xbb\xbf"))
        data = data.sliced(3);
    QString section;
    qsizetype pos = 0, start = 0, length = 0, equals = 0;
    while (ReadLine(data, pos, start, length, equals)) {
        const QByteArrayView line = data.sliced(start, length);
        if (line.startsWith('[')) {
            const qsizetype close = line.indexOf(']');
            const QByteArrayView name = line.sliced(1, (close < 0 ? line.size() : close) - 1).trimmed();
            if (name.compare("general", Qt::CaseInsensitive) == 0) {
                section.clear();
            } else {
                section = name.compare("%general", Qt::CaseInsensitive) == 0
                              ? QString::fromLatin1(name.sliced(1))
                              : UnescapedKey(name);
                section += u'/';
            }
            continue;
        }
        if (equals < 0)
            continue;  // a comment, or a damaged line: the rest of the file still reads
        const QString key = section + UnescapedKey(line.first(equals - start).trimmed());
        QString single;
        QStringList list;
        if (UnescapedValue(line.sliced(equals - start + 1), single, list)) {
            QStringList items;
            for (const QString& item : list)
                items.append(TextValue(item).toString());
            map.insert(key, items);
        } else {
            const QVariant value = TextValue(single);
            if (value.isValid())
                map.insert(key, value);
            else
                map.remove(key);
        }
    }
    // QSettings drops everything a custom reader read when it answers false; a damaged line must not
    // cost the good ones.
    return true;
}

bool WriteIniStrings(QIODevice& device, const QSettings::SettingsMap& map) {
    // [General] first, then each group in order; a key's first "/" names its section.
    QMap<QString, QList<QPair<QString, QVariant>>> sections;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        const qsizetype slash = it.key().indexOf(u'/');
        if (slash < 0)
            sections[QString()].append({it.key(), it.value()});
        else
            sections[it.key().left(slash)].append({it.key().mid(slash + 1), it.value()});
    }
    QByteArray out;
    bool first = true;
    for (auto it = sections.cbegin(); it != sections.cend(); ++it) {
        if (!first)
            out += '\n';
        first = false;
        QByteArray name;
        EscapedKey(it.key(), name);
        if (name.isEmpty())
            out += "[General]";
        else if (name.compare("general", Qt::CaseInsensitive) == 0)
            out += "[%General]";
        else
            out += '[' + name + ']';
        out += '\n';
        for (const auto& [key, value] : it.value()) {
            EscapedKey(key, out);
            out += '=';
            if (value.typeId() == QMetaType::QStringList) {
                const QStringList items = value.toStringList();
                if (items.isEmpty())
                    out += "@Invalid()";
                for (qsizetype i = 0; i < items.size(); ++i) {
                    if (i)
                        out += ", ";
                    EscapedValue(TextOf(items[i]), out);
                }
            } else {
                EscapedValue(TextOf(value), out);
            }
            out += '\n';
        }
    }
    return device.write(out) == out.size();
}

QSettings::Format IniStringsFormat() {
    static const QSettings::Format format =
        QSettings::registerFormat(QStringLiteral("conf"), ReadIniStrings, WriteIniStrings, Qt::CaseSensitive);
    return format;
}

}  // namespace tlm
