#include "reports/report_rows.h"

#include <QDataStream>
#include <QDate>
#include <QDateTime>
#include <QIODevice>
#include <cstring>

#include "core/money.h"

namespace tlm {

namespace {

// One byte before each cell says what follows.
enum Tag : char {
    kInvalid,
    kNullOfType,  // varint type id
    kText,        // varint length, UTF-8
    kNullText,    // a variant holding a null string
    kInt,         // zigzag varint
    kLong,        // zigzag varint
    kDouble,      // 8 bytes
    kFalse,
    kTrue,
    kLocalDateTime,  // zigzag varint ms since the epoch
    kUtcDateTime,    // zigzag varint ms since the epoch
    kMoney,          // zigzag varint units
    kBytes,          // varint length, bytes
    kDate,           // zigzag varint julian day
    kStreamed,       // varint length, the variant through QDataStream
};

void PutVarint(QByteArray& out, quint64 v) {
    while (v >= 0x80) {
        out.append(char(v | 0x80));
        v >>= 7;
    }
    out.append(char(v));
}

void PutSigned(QByteArray& out, qint64 v) {
    PutVarint(out, (quint64(v) << 1) ^ quint64(v >> 63));
}

void PutBytes(QByteArray& out, const char* data, qsizetype size) {
    PutVarint(out, quint64(size));
    out.append(data, size);
}

quint64 GetVarint(const QByteArray& in, qsizetype& pos) {
    quint64 v = 0;
    for (int shift = 0; pos < in.size() && shift < 64; shift += 7) {
        const auto b = quint8(in[pos++]);
        v |= quint64(b & 0x7f) << shift;
        if (!(b & 0x80))
            break;
    }
    return v;
}

qint64 GetSigned(const QByteArray& in, qsizetype& pos) {
    const quint64 v = GetVarint(in, pos);
    return qint64(v >> 1) ^ -qint64(v & 1);
}

void Encode(QByteArray& out, const QVariant& v) {
    if (!v.isValid()) {
        out.append(kInvalid);
        return;
    }
    if (v.isNull()) {
        out.append(kNullOfType);
        PutVarint(out, quint64(v.typeId()));
        return;
    }
    switch (v.typeId()) {
        case QMetaType::QString: {
            const QString& s = *static_cast<const QString*>(v.constData());
            if (s.isNull()) {
                out.append(kNullText);
                return;
            }
            out.append(kText);
            const QByteArray utf8 = s.toUtf8();
            PutBytes(out, utf8.constData(), utf8.size());
            return;
        }
        case QMetaType::Int:
            out.append(kInt);
            PutSigned(out, v.toInt());
            return;
        case QMetaType::LongLong:
            out.append(kLong);
            PutSigned(out, v.toLongLong());
            return;
        case QMetaType::Double: {
            out.append(kDouble);
            const double d = v.toDouble();
            char raw[sizeof d];
            std::memcpy(raw, &d, sizeof d);
            out.append(raw, sizeof d);
            return;
        }
        case QMetaType::Bool:
            out.append(v.toBool() ? kTrue : kFalse);
            return;
        case QMetaType::QDateTime: {
            const QDateTime d = v.toDateTime();
            if (d.isValid() && (d.timeSpec() == Qt::LocalTime || d.timeSpec() == Qt::UTC)) {
                out.append(d.timeSpec() == Qt::UTC ? kUtcDateTime : kLocalDateTime);
                PutSigned(out, d.toMSecsSinceEpoch());
                return;
            }
            break;
        }
        case QMetaType::QByteArray: {
            out.append(kBytes);
            const QByteArray b = v.toByteArray();
            PutBytes(out, b.constData(), b.size());
            return;
        }
        case QMetaType::QDate: {
            const QDate d = v.toDate();
            if (d.isValid()) {
                out.append(kDate);
                PutSigned(out, d.toJulianDay());
                return;
            }
            break;
        }
        default:
            if (v.metaType() == QMetaType::fromType<Money>()) {
                out.append(kMoney);
                PutSigned(out, v.value<Money>().units);
                return;
            }
            break;
    }
    if (v.metaType().hasRegisteredDataStreamOperators()) {
        QByteArray streamed;
        QDataStream s(&streamed, QIODevice::WriteOnly);
        s << v;
        out.append(kStreamed);
        PutBytes(out, streamed.constData(), streamed.size());
        return;
    }
    // Nothing else keeps it; its text is what the page and the exports would show.
    out.append(kText);
    const QByteArray utf8 = v.toString().toUtf8();
    PutBytes(out, utf8.constData(), utf8.size());
}

// Reads one cell at pos; with skip, only moves past it.
QVariant Decode(const QByteArray& in, qsizetype& pos, bool skip) {
    const char tag = in[pos++];
    const auto lengthThen = [&](auto make) -> QVariant {
        const auto n = qsizetype(GetVarint(in, pos));
        const qsizetype at = pos;
        pos += n;
        return skip ? QVariant() : make(in.constData() + at, n);
    };
    switch (tag) {
        case kInvalid:
            return QVariant();
        case kNullOfType: {
            const auto id = int(GetVarint(in, pos));
            return skip ? QVariant() : QVariant(QMetaType(id));
        }
        case kText:
            return lengthThen([](const char* p, qsizetype n) { return QVariant(QString::fromUtf8(p, n)); });
        case kNullText:
            return QVariant(QString());
        case kInt:
            return QVariant(int(GetSigned(in, pos)));
        case kLong:
            return QVariant(qlonglong(GetSigned(in, pos)));
        case kDouble: {
            double d = 0;
            std::memcpy(&d, in.constData() + pos, sizeof d);
            pos += qsizetype(sizeof d);
            return QVariant(d);
        }
        case kFalse:
            return QVariant(false);
        case kTrue:
            return QVariant(true);
        case kLocalDateTime:
        case kUtcDateTime: {
            const qint64 ms = GetSigned(in, pos);
            if (skip)
                return QVariant();
            return QVariant(
                QDateTime::fromMSecsSinceEpoch(ms, tag == kUtcDateTime ? Qt::UTC : Qt::LocalTime));
        }
        case kMoney:
            return QVariant::fromValue(Money::fromUnits(GetSigned(in, pos)));
        case kBytes:
            return lengthThen([](const char* p, qsizetype n) { return QVariant(QByteArray(p, n)); });
        case kDate:
            return QVariant(QDate::fromJulianDay(GetSigned(in, pos)));
        case kStreamed:
            return lengthThen([](const char* p, qsizetype n) {
                QVariant v;
                QDataStream s(QByteArray::fromRawData(p, n));
                s >> v;
                return v;
            });
        default:
            Q_UNREACHABLE();
    }
}

}  // namespace

ReportRows::ReportRows(QStringList columns, qsizetype rawLimit)
    : columns_(std::move(columns)), rawLimit_(rawLimit) {}

qsizetype ReportRows::HeldBytes() const {
    qsizetype n = open_.size();
    for (const Block& b : blocks_)
        n += b.bytes.size();
    return n;
}

void ReportRows::Append(const QVariant& value) {
    Encode(open_, value);
}

void ReportRows::CountRow() {
    ++count_;
    if (count_ % kRowsPerBlock == 0)
        CloseBlock();
}

void ReportRows::CloseBlock() {
    Block b;
    if (rawHeld_ + open_.size() > rawLimit_) {
        // Level 1: the rows are mostly repeated names and dates, which it already shrinks well.
        b.bytes = qCompress(open_, 1);
        b.compressed = true;
    } else {
        rawHeld_ += open_.size();
        b.bytes = open_;
        b.bytes.squeeze();
    }
    blocks_.push_back(std::move(b));
    open_.clear();
}

void ReportRows::Reader::Seek(qint64 row) {
    const qint64 block = row / kRowsPerBlock;
    if (block != block_ || row < next_) {
        if (block < qint64(rows_.blocks_.size())) {
            const Block& b = rows_.blocks_[size_t(block)];
            plain_ = b.compressed ? qUncompress(b.bytes) : b.bytes;
        } else {
            plain_ = rows_.open_;
        }
        block_ = block;
        pos_ = 0;
        next_ = block * kRowsPerBlock;
    }
    const qsizetype columns = rows_.columns_.size();
    for (; next_ < row; ++next_)
        for (qsizetype c = 0; c < columns; ++c)
            Decode(plain_, pos_, true);
    cells_.resize(size_t(columns));
    for (qsizetype c = 0; c < columns; ++c)
        cells_[size_t(c)] = Decode(plain_, pos_, false);
    ++next_;
    row_ = row;
}

const QVariant& ReportRows::Reader::At(qint64 row, int column) {
    if (row != row_)
        Seek(row);
    return cells_[size_t(column)];
}

}  // namespace tlm
