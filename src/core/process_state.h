#pragma once

#include <QString>
#include <QtGlobal>

namespace tlm {

class cMySettings;

// The few values that live for the whole process and that many routines read.
// One process serves one section, so one instance is enough; tests reset it.
struct ProcessState {
    bool blnManagerProcess = false;
    qint32 lngCurrentSection = 0;
    bool blnDatabaseSetup = false;
    bool blnNewDatabase = false;
    QString strMDBPath;
    cMySettings* mySettings = nullptr;  // owned by the program object built in main
};

ProcessState& Process();
void ResetProcessStateForTests();

}  // namespace tlm
