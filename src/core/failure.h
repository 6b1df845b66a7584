#pragma once

#include <QString>
#include <QtGlobal>

namespace tlm {

// A failure is a number, a description, a line and a label ("Module.Routine").
// A routine that fails hands it to subReportError and returns its default.
struct Failure {
    qint32 number = 0;
    QString description;
    qint16 line = 0;
    QString label;
    QString source = QStringLiteral("Tally Loom Manager Process");

    bool isSet() const { return number != 0 || !description.isEmpty(); }
};

// Numbers used by the program's own failures.
namespace errnum {
inline constexpr qint32 kOverflow = 6;                       // a number outside its integer range
inline constexpr qint32 kTypeMismatch = 13;                  // a text that is no number or date
inline constexpr qint32 kAppNameEmpty = qint32(0x800403E8);  // "AppName may not be empty"
inline constexpr qint32 kKeyEmpty = qint32(0x800403EA);      // "Key may not be empty"
inline constexpr qint32 kSettingsOpen = qint32(0x800403EB);
inline constexpr qint32 kSettingsWrite = qint32(0x800403EC);
inline constexpr qint32 kUnspecified = qint32(0x80004005);  // the provider's "cannot connect" number
}  // namespace errnum

}  // namespace tlm
