#pragma once

#include <QDateTime>
#include <QString>
#include <QVariant>

namespace tlm {

// The list escape over ":", ";" and ","; it has no escape of its own, so a literal "_COMMA_"
// comes back as ",".
QString EncodeValue(const QVariant& value);
QString DecodeValue(const QVariant& value);

// Names the system's zone file in TZ when TZ is unset. Every local date built (each date column of
// each row read) asks the C library for the zone, and without TZ it checks /etc/localtime on disk
// each time, which made loading rows several times slower. The zone stays the system's.
void PinLocalTimeZone();

// Day zero, 1899-12-30 00:00:00: the value of "no date" in every column and conversion.
QDateTime ZeroDate();
// Year 1899, 4501 (the mail side's "none") or 1 count as no date at all.
bool IsEmptyDate(const QDateTime& date);
bool IsEmptyDate(const QDate& date);

// Date text: "2026-3-7", locale-free, no zero padding.
QString ToTallyloomDateFormat(const QDateTime& date);
QString ToTallyloomDateFormat(const QDate& date);
QString fncGetDateTextOrEmpty(const QDateTime& date);
// Parts carry over as a date builder does: month 13 runs into the next year; bad text gives ZeroDate().
QDateTime FromTallyloomDateFormat(const QString& text);
// The user's short date and long time forms of the system locale, joined by a blank, as the
// members' client writes and reads a date in the shared settings ("M/d/yyyy" and "h:mm:ss AP"
// when the system names none).
QString SystemShortDateFormat();
QString SystemTimeFormat();
QString SystemDateTimeFormat();
// Builds a date carrying month and day overflow; years 0-29 and 30-99 are read as 2000s and 1900s.
// Returns an invalid date when the result is outside 100..9999.
QDate DateSerial(int year, int month, int day);

// The variant comparison of a list save: numbers and money by value, dates by value, texts exactly.
// A null new value is never a change; a non-null value against a null column always is.
bool IsFieldChanged(const QVariant& current, const QVariant& newValue);
// Loose equality as the save compares (no null handling).
bool VariantsEqual(const QVariant& a, const QVariant& b);

// Reads a text resource compiled into the program (":/<type>/<name>"), UTF-8.
QString ExtractResourceTextContent(const QString& resourceName, const QString& resourceType);
// Writes a resource's bytes to a file; the caller tests whether the file exists.
void ExtractFileFromRes(const QString& resourceName, const QString& resourceType, const QString& path);

// Number conversions of the program: IsNumeric-style test and rounding to a 16/32-bit integer
// (half to even). ok is false for a text that is no number or a value out of range.
bool IsNumericText(const QString& text);
// A value held as a machine number (integers of every width, double, float); not bool, not Money.
bool HoldsNumber(const QVariant& v);
qint16 ToInt16(const QString& text, bool* ok, bool* overflow = nullptr);
qint32 ToInt32(const QString& text, bool* ok, bool* overflow = nullptr);

}  // namespace tlm
