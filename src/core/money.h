#pragma once

#include <QMetaType>
#include <QString>
#include <QVariant>
#include <compare>
#include <cstdint>
#include <optional>

namespace tlm {

// Currency: a 64-bit count of ten-thousandths. Never a floating-point value on the way in or out.
struct Money {
    std::int64_t units = 0;  // 1.0 == 10000

    static constexpr std::int64_t kScale = 10000;
    static Money fromUnits(std::int64_t u) { return Money{u}; }
    // Past about 9.2e14 a whole number has no place: "Overflow" goes through the failure path and
    // the value is 0, never a wrapped one.
    static Money fromInt(std::int64_t whole);
    // Parses "12", "-3.5", "1,234.5678", "0.00005" (rounded half to even to four decimals).
    static std::optional<Money> parse(const QString& text);
    // For values a driver hands back as double: rounded through their shortest decimal text.
    // Not finite or out of range: "Overflow" through the failure path, and 0.
    static Money fromDouble(double value);
    // From whatever a database or grid gives: Money, integers, decimal text, double. Null gives 0.
    static std::optional<Money> fromVariant(const QVariant& value);

    // "1234.5678"; with decimals < 4 rounded half to even ("67.50" with 2).
    QString toString(int decimals = 4) const;
    // Shortest form: "67.5", "8.4375", "12".
    QString toPlainString() const;
    double toDouble() const { return double(units) / kScale; }

    Money operator+(Money o) const { return Money{units + o.units}; }
    Money operator-(Money o) const { return Money{units - o.units}; }
    Money operator-() const { return Money{-units}; }
    Money& operator+=(Money o) {
        units += o.units;
        return *this;
    }
    // Multiply by a ratio num/den, rounding half to even once at the end. A result out of range
    // reports "Overflow" through the failure path and gives 0.
    Money mulDiv(std::int64_t num, std::int64_t den) const;
    auto operator<=>(const Money&) const = default;
};

// Division of integers rounded half to even.
std::int64_t DivRoundHalfEven(std::int64_t num, std::int64_t den);

}  // namespace tlm

Q_DECLARE_METATYPE(tlm::Money)
