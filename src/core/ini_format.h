#pragma once

#include <QSettings>

namespace tlm {

// The settings file in the INI form QSettings writes, read as text only. QSettings' own reader turns
// "@Variant(...)" values into serialized objects, and a file written by hand or damaged can then ask
// for gigabytes; this program keeps only strings, so such a value stays the text it is.
//
// Written as QSettings writes its INI files (escapes, quoting, [General], "@@"), so a reader using
// QSettings' own INI format reads back every string this writes.
bool ReadIniStrings(QIODevice& device, QSettings::SettingsMap& map);
bool WriteIniStrings(QIODevice& device, const QSettings::SettingsMap& map);

// The registered format (".conf", case-sensitive keys) for QSettings(format, UserScope, org, app).
QSettings::Format IniStringsFormat();

}  // namespace tlm
