#include "core/money.h"

#include <cmath>

#include "core/error_report.h"
#include "core/failure.h"

namespace tlm {

namespace {
__extension__ typedef __int128 Int128;  // exact products of money and ratios

Money Overflow(const char* routine) {
    subReportError(Failure{errnum::kOverflow, QStringLiteral("Overflow"), 0,
                           QStringLiteral("Money.") + QLatin1String(routine)});
    return Money{};
}
}  // namespace

Money Money::fromInt(std::int64_t whole) {
    if (whole > INT64_MAX / kScale || whole < INT64_MIN / kScale)
        return Overflow("fromInt");
    return Money{whole * kScale};
}

std::int64_t DivRoundHalfEven(std::int64_t num, std::int64_t den) {
    if (den < 0) {
        num = -num;
        den = -den;
    }
    std::int64_t q = num / den;
    std::int64_t r = num % den;
    if (r == 0)
        return q;
    const std::int64_t twice = 2 * (r < 0 ? -r : r);
    const int sign = (r < 0) ? -1 : 1;
    if (twice > den || (twice == den && (q % 2 != 0)))
        q += sign;
    return q;
}

std::optional<Money> Money::parse(const QString& input) {
    QString t = input.trimmed();
    t.remove(QLatin1Char(','));
    if (t.isEmpty())
        return std::nullopt;
    bool negative = false;
    int i = 0;
    if (t[0] == QLatin1Char('-') || t[0] == QLatin1Char('+')) {
        negative = t[0] == QLatin1Char('-');
        ++i;
    }
    if (i < t.size() && t[i] == QLatin1Char('$'))
        ++i;
    Int128 whole = 0;
    int digits = 0;
    for (; i < t.size() && t[i].isDigit(); ++i, ++digits) {
        whole = whole * 10 + t[i].digitValue();
        if (whole > (Int128(1) << 62))
            return std::nullopt;
    }
    // Up to four decimals exact; the rest decides the rounding, half to even.
    Int128 frac = 0;
    int fracDigits = 0;
    bool beyondNonZero = false;
    int fifth = -1;
    if (i < t.size() && t[i] == QLatin1Char('.')) {
        ++i;
        for (; i < t.size() && t[i].isDigit(); ++i) {
            const int d = t[i].digitValue();
            if (fracDigits < 4) {
                frac = frac * 10 + d;
                ++fracDigits;
            } else if (fifth < 0) {
                fifth = d;
            } else if (d != 0) {
                beyondNonZero = true;
            }
            ++digits;
        }
    }
    if (i != t.size() || digits == 0)
        return std::nullopt;
    while (fracDigits < 4) {
        frac *= 10;
        ++fracDigits;
    }
    Int128 units = whole * kScale + frac;
    if (fifth > 5 || (fifth == 5 && (beyondNonZero || (units % 2 != 0))))
        units += 1;
    if (units > INT64_MAX)
        return std::nullopt;
    return Money{negative ? -std::int64_t(units) : std::int64_t(units)};
}

Money Money::fromDouble(double value) {
    // Beyond the range the text would not parse; the test keeps it from being written at all.
    if (!std::isfinite(value) || std::fabs(value) >= double(INT64_MAX / kScale))
        return Overflow("fromDouble");
    // Ten decimals are past any money value's precision; the text then rounds exactly.
    const std::optional<Money> m = parse(QString::number(value, 'f', 10));
    return m ? *m : Overflow("fromDouble");
}

std::optional<Money> Money::fromVariant(const QVariant& v) {
    if (!v.isValid() || v.isNull())
        return Money{};
    if (v.metaType() == QMetaType::fromType<Money>())
        return v.value<Money>();
    switch (v.typeId()) {
        case QMetaType::Int:
        case QMetaType::Short:
        case QMetaType::Long:
        case QMetaType::LongLong:
        case QMetaType::UInt:
        case QMetaType::UShort:
        case QMetaType::Bool:
            return Money::fromInt(v.toLongLong());
        case QMetaType::ULongLong:
        case QMetaType::ULong:
            return v.toULongLong() > std::uint64_t(INT64_MAX) ? Overflow("fromVariant")
                                                              : Money::fromInt(v.toLongLong());
        case QMetaType::Double:
        case QMetaType::Float:
            return Money::fromDouble(v.toDouble());
        default:
            return Money::parse(v.toString());
    }
}

QString Money::toString(int decimals) const {
    if (decimals < 0)
        decimals = 0;
    if (decimals > 4)
        decimals = 4;
    std::int64_t scale = 1;
    for (int i = decimals; i < 4; ++i)
        scale *= 10;
    const std::int64_t rounded = DivRoundHalfEven(units, scale);
    std::int64_t div = 1;
    for (int i = 0; i < decimals; ++i)
        div *= 10;
    const bool neg = rounded < 0;
    const unsigned long long mag =
        neg ? 0ULL - static_cast<unsigned long long>(rounded) : static_cast<unsigned long long>(rounded);
    QString s = QString::number(mag / static_cast<unsigned long long>(div));
    if (decimals > 0)
        s += QLatin1Char('.') + QStringLiteral("%1").arg(mag % static_cast<unsigned long long>(div), decimals,
                                                         10, QLatin1Char('0'));
    return neg ? QLatin1Char('-') + s : s;
}

QString Money::toPlainString() const {
    QString s = toString(4);
    while (s.endsWith(QLatin1Char('0')))
        s.chop(1);
    if (s.endsWith(QLatin1Char('.')))
        s.chop(1);
    return s;
}

Money Money::mulDiv(std::int64_t num, std::int64_t den) const {
    if (den == 0)
        return Money{};
    const Int128 p = Int128(units) * num;
    Int128 q = p / den, r = p % den;
    if (r != 0) {
        const Int128 twice = 2 * (r < 0 ? -r : r);
        const Int128 d = den < 0 ? -Int128(den) : Int128(den);
        const int sign = ((r < 0) != (den < 0)) ? -1 : 1;
        if (twice > d || (twice == d && (q % 2 != 0)))
            q += sign;
    }
    if (q > INT64_MAX || q < INT64_MIN)
        return Overflow("mulDiv");
    return Money{std::int64_t(q)};
}

}  // namespace tlm
