#pragma once

#include <QString>

#include "core/money.h"

namespace tlm {

class TlmItem;
struct cProject;
struct cTask;

// The cost of one item: its rate (from project, activity or member, by tpoUseRateFrom) times the
// worked minutes over the rate interval, exact to four decimals, half to even. 0 after a report
// when the interval is 0.
Money GetTotalCost(const TlmItem& item);

// Lookups in the global lists, case-insensitive; nullptr when absent.
const cProject* GetProjectObjectFromName(const QString& name);
const cTask* GetTaskObjectFromName(const QString& project, const QString& activity);

// True when the option is on and the finish (due) date lies on an earlier day than today.
bool HideExpiredProject(const QString& name);
bool HideExpiredTask(const QString& project, const QString& activity);

// A member's full name for a name the mail profile or the system gives: exact name, then
// address, then part of a name. Empty when nothing matches.
QString GetMatchingMemberNameFromRawName(const QString& raw);
// The mail profile's name, then the login name, matched to a member; unmatched, the raw name.
QString GetCurrentMemberName();

// Default values of a reported item, from the local settings; empty when their flags are off.
QString GetDefaultProjectValue();
QString GetDefaultActivityValue();
QString GetDefaultFieldValue(int field);  // 1..4
QString GetDefaultField1Value();
QString GetDefaultField2Value();
QString GetDefaultField3Value();
QString GetDefaultField4Value();

}  // namespace tlm
