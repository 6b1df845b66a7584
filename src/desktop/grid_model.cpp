#include "desktop/grid_model.h"

#include <QDate>
#include <QDateTime>

#include "core/codecs.h"
#include "core/money.h"

namespace tlm {

namespace {

bool IsBlankVariant(const QVariant& v) {
    if (!v.isValid() || v.isNull())
        return true;
    if (v.typeId() == QMetaType::QString)
        return v.toString().trimmed().isEmpty();
    return false;
}

std::optional<QDate> ParseDateText(const GridColumn& column, const QString& input) {
    const QString t = input.trimmed();
    // The column's own format first, then the unpadded and ISO forms any list or export produces.
    for (const QString& format :
         {column.dateFormat, QStringLiteral("yyyy-M-d"), QStringLiteral("yyyy/M/d")}) {
        const QDate d = QDate::fromString(t, format);
        if (d.isValid())
            return d;
    }
    const QDateTime dt = QDateTime::fromString(t, Qt::ISODate);
    if (dt.isValid())
        return dt.date();
    return std::nullopt;
}

std::optional<qint64> ParseInteger(const QString& input) {
    bool ok = false;
    const qint64 n = input.trimmed().toLongLong(&ok);
    return ok ? std::optional<qint64>(n) : std::nullopt;
}

}  // namespace

QStringList SplitTabList(const QString& tabList) {
    if (tabList.isEmpty())
        return {};
    QStringList items = tabList.split(QLatin1Char('\t'));
    for (QString& item : items) {
        if (item.trimmed().isEmpty())
            item.clear();
    }
    // Only one blank choice is useful, and it goes last.
    items.removeAll(QString());
    if (tabList.split(QLatin1Char('\t')).size() > items.size())
        items.append(QString());
    return items;
}

std::optional<QVariant> NormaliseCellValue(const GridColumn& column, const QVariant& value) {
    switch (column.type) {
        case GridCellType::Text:
        case GridCellType::Combo:
        case GridCellType::Button:
        case GridCellType::Static:
            return QVariant(value.isNull() ? QString() : value.toString());
        case GridCellType::Currency: {
            if (IsBlankVariant(value))
                return QVariant();
            const auto m = Money::fromVariant(value);
            if (!m)
                return std::nullopt;
            return QVariant::fromValue(*m);
        }
        case GridCellType::Date: {
            if (IsBlankVariant(value))
                return QVariant();
            QDate d;
            if (value.typeId() == QMetaType::QDate) {
                d = value.toDate();
            } else if (value.typeId() == QMetaType::QDateTime) {
                d = value.toDateTime().date();
            } else {
                const auto parsed = ParseDateText(column, value.toString());
                if (!parsed)
                    return std::nullopt;
                d = *parsed;
            }
            if (!d.isValid())
                return std::nullopt;
            if (IsEmptyDate(d))
                return QVariant();
            return QVariant(d);
        }
        case GridCellType::Integer:
        case GridCellType::Colour: {
            if (IsBlankVariant(value))
                return QVariant();
            if (value.typeId() == QMetaType::QString) {
                const auto n = ParseInteger(value.toString());
                if (!n)
                    return std::nullopt;
                return QVariant(qlonglong(*n));
            }
            bool ok = false;
            const qlonglong n = value.toLongLong(&ok);
            if (!ok)
                return std::nullopt;
            return QVariant(n);
        }
        case GridCellType::Check: {
            if (IsBlankVariant(value))
                return QVariant(0);
            if (value.typeId() == QMetaType::QString) {
                const QString t = value.toString().trimmed();
                if (t.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0)
                    return QVariant(1);
                if (t.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0)
                    return QVariant(0);
                const auto n = ParseInteger(t);
                if (!n)
                    return std::nullopt;
                return QVariant(*n != 0 ? 1 : 0);
            }
            bool ok = false;
            const qlonglong n = value.toLongLong(&ok);
            if (!ok && value.typeId() != QMetaType::Bool)
                return std::nullopt;
            return QVariant(value.typeId() == QMetaType::Bool ? (value.toBool() ? 1 : 0) : (n != 0 ? 1 : 0));
        }
    }
    return std::nullopt;
}

std::optional<QVariant> ParseCellInput(const GridColumn& column, const QString& text) {
    switch (column.type) {
        case GridCellType::Text:
            return QVariant(column.maxLength > 0 ? text.left(column.maxLength) : text);
        case GridCellType::Combo: {
            if (column.comboEditable)
                return QVariant(text);
            if (text.trimmed().isEmpty())
                return QVariant(QString());
            for (const QString& item : column.comboItems) {
                if (item.compare(text.trimmed(), Qt::CaseInsensitive) == 0)
                    return QVariant(item);
            }
            return std::nullopt;
        }
        case GridCellType::Button:
        case GridCellType::Static:
            return std::nullopt;
        default:
            return NormaliseCellValue(column, QVariant(text));
    }
}

QString FormatCellValue(const GridColumn& column, const QVariant& value) {
    if (!value.isValid() || value.isNull())
        return column.type == GridCellType::Check ? QStringLiteral("0") : QString();
    switch (column.type) {
        case GridCellType::Currency: {
            const auto m = Money::fromVariant(value);
            return m ? m->toString(column.decimals) : value.toString();
        }
        case GridCellType::Date: {
            const QDate d =
                value.typeId() == QMetaType::QDateTime ? value.toDateTime().date() : value.toDate();
            if (!d.isValid() || IsEmptyDate(d))
                return QString();
            return d.toString(column.dateFormat);
        }
        case GridCellType::Check:
            return value.toLongLong() != 0 ? QStringLiteral("1") : QStringLiteral("0");
        default:
            return value.toString();
    }
}

bool IsEmptyCellValue(const GridColumn& column, const QVariant& value) {
    if (!value.isValid() || value.isNull())
        return true;
    switch (column.type) {
        case GridCellType::Check:
            return value.toLongLong() == 0;
        case GridCellType::Text:
        case GridCellType::Combo:
        case GridCellType::Button:
        case GridCellType::Static:
            return value.toString().isEmpty();
        default:
            return false;
    }
}

int CompareCellValues(const GridColumn& column, const QVariant& a, const QVariant& b) {
    auto three = [](auto x, auto y) { return x < y ? -1 : (y < x ? 1 : 0); };
    switch (column.type) {
        case GridCellType::Currency:
            return three(Money::fromVariant(a).value_or(Money{}), Money::fromVariant(b).value_or(Money{}));
        case GridCellType::Date:
            return three(a.toDate().toJulianDay(), b.toDate().toJulianDay());
        case GridCellType::Integer:
        case GridCellType::Colour:
        case GridCellType::Check:
            return three(a.toLongLong(), b.toLongLong());
        default: {
            const int c = a.toString().compare(b.toString(), Qt::CaseInsensitive);
            return c < 0 ? -1 : (c > 0 ? 1 : 0);
        }
    }
}

QString EncodeTabText(const QVector<QStringList>& rows) {
    QString out;
    for (const QStringList& row : rows) {
        for (qsizetype c = 0; c < row.size(); ++c) {
            if (c > 0)
                out += QLatin1Char('\t');
            const QString& cell = row[c];
            if (cell.contains(QLatin1Char('\t')) || cell.contains(QLatin1Char('\n')) ||
                cell.contains(QLatin1Char('\r')) || cell.startsWith(QLatin1Char('"'))) {
                QString quoted = cell;
                quoted.replace(QLatin1String("\""), QLatin1String("\"\""));
                out += QLatin1Char('"') + quoted + QLatin1Char('"');
            } else {
                out += cell;
            }
        }
        out += QLatin1Char('\n');
    }
    return out;
}

QVector<QStringList> DecodeTabText(const QString& text) {
    QVector<QStringList> rows;
    QStringList row;
    QString cell;
    bool quoted = false;
    bool cellStarted = false;
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar ch = text[i];
        if (quoted) {
            if (ch == QLatin1Char('"')) {
                if (i + 1 < n && text[i + 1] == QLatin1Char('"')) {
                    cell += ch;
                    ++i;
                } else {
                    quoted = false;
                }
            } else {
                cell += ch;
            }
            continue;
        }
        if (ch == QLatin1Char('"') && !cellStarted) {
            quoted = true;
            cellStarted = true;
        } else if (ch == QLatin1Char('\t')) {
            row.append(cell);
            cell.clear();
            cellStarted = false;
        } else if (ch == QLatin1Char('\r') || ch == QLatin1Char('\n')) {
            if (ch == QLatin1Char('\r') && i + 1 < n && text[i + 1] == QLatin1Char('\n'))
                ++i;
            row.append(cell);
            rows.append(row);
            row.clear();
            cell.clear();
            cellStarted = false;
        } else {
            cell += ch;
            cellStarted = true;
        }
    }
    // A last line without its newline still counts; a trailing newline adds no empty row.
    if (cellStarted || !cell.isEmpty() || !row.isEmpty()) {
        row.append(cell);
        rows.append(row);
    }
    return rows;
}

}  // namespace tlm
