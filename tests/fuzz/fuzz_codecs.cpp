// Value codecs, date texts, number texts and money: the texts other programs and users hand in.
#include <QRegularExpression>

#include "core/codecs.h"
#include "core/money.h"
#include "fuzz_support.h"

using namespace tlm;

namespace {

void CheckListEscape(const QString& s) {
    const QString encoded = EncodeValue(s);
    FUZZ_CHECK(!encoded.contains(u':') && !encoded.contains(u';') && !encoded.contains(u','), encoded);
    // The escape words have no escape of their own: only a text without them comes back whole.
    if (!s.contains(QLatin1String("COLON")) && !s.contains(QLatin1String("COMMA")))
        FUZZ_CHECK(DecodeValue(encoded) == s, encoded + QStringLiteral(" -> ") + DecodeValue(encoded));
}

void CheckDateText(const QString& s) {
    const QDateTime d = FromTallyloomDateFormat(s);
    FUZZ_CHECK(d.isValid() && d.time() == QTime(0, 0), d.toString(Qt::ISODate));
    FUZZ_CHECK(d.date().year() >= 100 && d.date().year() <= 9999, d.toString(Qt::ISODate));
    if (d == ZeroDate())
        return;
    const QString text = ToTallyloomDateFormat(d);
    static const QRegularExpression shape(
        QStringLiteral("^[1-9][0-9]{2,3}-(?:[1-9]|1[0-2])-(?:[1-9]|[12][0-9]|3[01])$"));
    FUZZ_CHECK(shape.match(text).hasMatch(), text);
    FUZZ_CHECK(FromTallyloomDateFormat(text) == d, text);
    FUZZ_CHECK(fncGetDateTextOrEmpty(d) == (IsEmptyDate(d) ? QString() : text), text);
}

// Month and day overflow carry as a date builder does; the three numbers come from the input bytes.
void CheckDateSerial(const uint8_t* data, size_t size) {
    if (size < 6)
        return;
    const auto number16 = [&](int i) {
        return int(qint16(quint16(data[2 * i]) | quint16(data[2 * i + 1]) << 8));
    };
    const int y = number16(0), m = number16(1), d = number16(2);
    const QDate date = DateSerial(y, m, d);
    const QString args = QStringLiteral("%1 %2 %3").arg(y).arg(m).arg(d);
    if (date.isValid())
        FUZZ_CHECK(date.year() >= 100 && date.year() <= 9999, args);
    if (y >= 100 && y <= 9999 && m >= 1 && m <= 12 && d >= 1 && d <= QDate(y, m, 1).daysInMonth())
        FUZZ_CHECK(date == QDate(y, m, d), args);
    if (y >= 100) {
        const QDate nextYear = DateSerial(y + 1, m, d);
        if (date.isValid() && nextYear.isValid())
            FUZZ_CHECK(DateSerial(y, m + 12, d) == nextYear, args);
    }
    if (date.isValid() && DateSerial(y, m, d + 1).isValid())
        FUZZ_CHECK(DateSerial(y, m, d + 1) == date.addDays(1), args);
}

void CheckNumberText(const QString& s) {
    bool ok16 = false, ok32 = false, over32 = false;
    const qint16 v16 = ToInt16(s, &ok16);
    const qint32 v32 = ToInt32(s, &ok32, &over32);
    const bool numeric = IsNumericText(s);
    if (ok32)
        FUZZ_CHECK(numeric, s);
    if (numeric && !ok32)
        FUZZ_CHECK(over32, s);
    if (ok16)
        FUZZ_CHECK(ok32 && v32 == v16, s);
    if (!numeric)
        FUZZ_CHECK(!ok16 && !ok32 && v16 == 0 && v32 == 0, s);
}

// Plain decimal text with at most four decimals: the exact count of ten-thousandths.
std::optional<std::int64_t> ExactUnits(const QString& s) {
    static const QRegularExpression plain(QStringLiteral("^(-?)([0-9]{1,14})(?:\\.([0-9]{0,4}))?$"));
    const auto m = plain.match(s);
    if (!m.hasMatch())
        return std::nullopt;
    std::int64_t units = m.captured(2).toLongLong() * Money::kScale;
    const QString frac = m.captured(3).leftJustified(4, u'0');
    units += frac.toLongLong();
    return m.captured(1).isEmpty() ? units : -units;
}

void CheckMoney(const QString& s) {
    const std::optional<Money> m = Money::parse(s);
    if (const auto exact = ExactUnits(s))
        FUZZ_CHECK(m && m->units == *exact, s);
    if (!m)
        return;
    const QString full = m->toString();
    FUZZ_CHECK(Money::parse(full) == m, s + QStringLiteral(" -> ") + full);
    FUZZ_CHECK(Money::parse(m->toPlainString()) == m, s + QStringLiteral(" -> ") + m->toPlainString());
    const auto cents = Money::parse(m->toString(2));
    FUZZ_CHECK(cents && cents->units == DivRoundHalfEven(m->units, 100) * 100,
               s + QStringLiteral(" -> ") + m->toString(2));
    // Rounding is half to even on the magnitude, so a sign in front only flips the value.
    QString t = s.trimmed();
    t.remove(u',');
    if (!t.isEmpty() && t[0] != u'-' && t[0] != u'+')
        FUZZ_CHECK(Money::parse(u'-' + t) == -*m, s);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString s = fuzz::Utf8(data, size);
    CheckListEscape(s);
    CheckDateText(s);
    CheckDateSerial(data, size);
    CheckNumberText(s);
    CheckMoney(s);
    return 0;
}
