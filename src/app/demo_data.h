#pragma once

#include <QDate>
#include <functional>

#include "core/failure.h"
#include "reported/sample_data.h"

namespace tlm {

class Connection;
class cDBSettings;

// The demo set: a dozen projects with managers, their activities, 30 members and a year of reported
// tasks and appointments up to today, most of them still unapproved.
SampleSpec DemoSpec(const QDate& today);

struct DemoOutcome {
    bool ok = false;
    bool alreadyFilled = false;  // projects or reported items were there: nothing was added
    SampleCounts counts;
    Failure failure;
};
// Fills the open database with the demo set, unless it holds projects or reported items already, so
// a second run adds nothing.
DemoOutcome FillDemoData(Connection& db, const SampleSpec& plan,
                         const std::function<bool(qint64 done, qint64 total)>& progress = {});

// After the first run created an empty database: asks whether to fill it, and reloads the settings
// when it was filled. Asked only when TLM_OFFER_DEMO is set (make run sets it).
void OfferDemoData(cDBSettings& global);

}  // namespace tlm
